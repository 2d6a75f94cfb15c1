/// \file
/// The library is built with hidden symbols; what carries this mark is its
/// public interface.
#pragma once

/// Marks a class or function as part of the library's public interface
/// (default visibility in a library built with hidden symbols).
#define SORVANE_API __attribute__((visibility("default")))

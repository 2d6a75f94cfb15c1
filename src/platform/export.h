// The library is built with hidden symbols; what carries this mark is its
// public interface.
#pragma once

#define SORVANE_API __attribute__((visibility("default")))

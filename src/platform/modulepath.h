/// \file
/// Where the framework's own shared library was loaded from.
#pragma once

#include <platform/export.h>

#include <cstdint>

namespace platform {

/// The file name of the framework library's shared object.
inline constexpr char kFrameworkLibraryName[] = "libsorvane.so";

/// The path of the loaded framework library as the dynamic linker knows it.
/// \param buffer the caller's buffer; receives the path with its terminator.
/// \param size its size.
/// \return the length, or 0 when the code is not running from a library of
///         that name (linked in statically, say) or the path does not fit.
SORVANE_API std::uint32_t GetFrameworkLibraryPath(char* buffer, std::uint32_t size);

} // namespace platform

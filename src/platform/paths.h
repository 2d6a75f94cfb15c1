/// \file
/// File-system names as the server's callers know them: the long form of a
/// path and the user's temporary folder.
#pragma once

#include <platform/export.h>

#include <cstdint>

namespace platform {

/// The size of the buffer callers give GetLongPathNameA().
inline constexpr std::uint32_t LongPathLimit = 1024;
/// The size of the buffer callers give GetTempPathA().
inline constexpr std::uint32_t TempPathLimit = 260;

/// Expands a leading "~/" to the home folder and answers an existing path
/// as it is written (symbolic links are not followed into their targets).
/// \param path the path.
/// \param longPath the caller's buffer.
/// \param size its size in bytes.
/// \return the length written, or the size needed when the buffer is too
///         small, or 0 on failure; on failure the buffer holds the path as it
///         was, when it fits.
SORVANE_API std::uint32_t GetLongPathNameA(char const* path, char* longPath, std::uint32_t size);

/// The user's temporary folder: $TMPDIR, or /tmp, ending in "/".
/// \param size the size of the caller's buffer in bytes.
/// \param buffer the caller's buffer.
/// \return the length, the size needed when the buffer is too small, or 0.
SORVANE_API std::uint32_t GetTempPathA(std::uint32_t size, char* buffer);

} // namespace platform

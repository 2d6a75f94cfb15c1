// File-system names as the server's callers know them: the long form of a
// path and the user's temporary folder.
#pragma once

#include <platform/export.h>

#include <cstdint>

namespace platform {

// The buffers callers give these functions: a long-path expansion, and the
// temporary folder.
inline constexpr std::uint32_t LongPathLimit = 1024;
inline constexpr std::uint32_t TempPathLimit = 260;

// Expands a leading "~/" to the home folder and answers an existing path as
// it is written (symbolic links are not followed into their targets).
// Answers the length written, or the size needed when the
// buffer is too small, or 0 on failure; on failure the buffer holds the
// path as it was, when it fits.
SORVANE_API std::uint32_t GetLongPathNameA(char const* path, char* longPath, std::uint32_t size);

// $TMPDIR, or /tmp, ending in "/". Answers the length, the size needed when
// the buffer is too small, or 0.
SORVANE_API std::uint32_t GetTempPathA(std::uint32_t size, char* buffer);

} // namespace platform

// The thread's last error and the system's message for an error code,
// standing in for GetLastError, SetLastError and FormatMessageA over the C
// library's errno texts.
#pragma once

#include <platform/export.h>

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

enum : std::uint32_t {
    ERROR_SUCCESS = 0,
    ERROR_INVALID_PARAMETER = 87,
    ERROR_INSUFFICIENT_BUFFER = 122,
    ERROR_MR_MID_NOT_FOUND = 317,
};

// The message, or nothing for a code the system has no text for; then the
// last error is ERROR_MR_MID_NOT_FOUND.
SORVANE_API std::optional<std::string> FormatSystemMessage(std::uint32_t code);

// One slot per thread, apart from errno: the C library may change errno
// where the system calls here would leave their reason alone.
SORVANE_API std::uint32_t GetLastError();
SORVANE_API void SetLastError(std::uint32_t code);

} // namespace platform

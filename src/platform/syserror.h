/// \file
/// The thread's last error and the system's message for an error code,
/// standing in for GetLastError, SetLastError and FormatMessageA over the C
/// library's errno texts.
#pragma once

#include <platform/export.h>

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

/// System error numbers that the framework's calls leave as the last error.
enum : std::uint32_t {
    /// No error.
    ERROR_SUCCESS = 0,
    /// An argument is not valid.
    ERROR_INVALID_PARAMETER = 87,
    /// The caller's buffer is too small.
    ERROR_INSUFFICIENT_BUFFER = 122,
    /// There is no message text for the code.
    ERROR_MR_MID_NOT_FOUND = 317,
};

/// The system's message for an error code.
/// \param code a system error number.
/// \return the message, or nothing for a code the system has no text for;
///         then the last error is ERROR_MR_MID_NOT_FOUND.
SORVANE_API std::optional<std::string> FormatSystemMessage(std::uint32_t code);

/// The calling thread's last error. One slot per thread, apart from errno:
/// the C library may change errno where the system calls here would leave
/// their reason alone.
/// \return the code the last failed call of this thread left.
SORVANE_API std::uint32_t GetLastError();
/// Sets the calling thread's last error.
/// \param code the new last error.
SORVANE_API void SetLastError(std::uint32_t code);

} // namespace platform

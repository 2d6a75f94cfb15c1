// The system's message for an error code, standing in for FormatMessageA over
// the C library's errno texts.
#pragma once

#include <util/export.h>

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

// The message, or nothing for a code the system has no text for; then
// GetLastError() tells why.
SORVANE_API std::optional<std::string> FormatSystemMessage(std::uint32_t code);
SORVANE_API std::uint32_t GetLastError();

} // namespace platform

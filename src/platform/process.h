// Ending the process with a 32-bit exit code. A Linux parent sees only the
// low byte: 0xDEADF0CC arrives as 0xCC (204), -1 as 255.
#pragma once

#include <util/export.h>

#include <cstdint>

namespace platform {

// Through the normal library exit: static destructors and atexit run.
[[noreturn]] SORVANE_API void ExitProcess(std::uint32_t code);

} // namespace platform

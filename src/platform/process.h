// Ending the process with a 32-bit exit code, through the normal library exit
// (static destructors and exit handlers run). A Linux parent sees only the
// low byte: 0xDEADF0CC arrives as 0xCC (204), -1 as 255.
#pragma once

#include <platform/export.h>
#include <platform/replaceable.h>

#include <cstdint>

namespace platform {

class SORVANE_API ProcessService {
public:
    virtual ~ProcessService() = default;
    // Ends the process. A stand-in for tests may throw instead; one that
    // returns gets the real exit.
    virtual void Exit(std::uint32_t code) = 0;
    // Blocks the calling thread.
    virtual void Sleep(std::uint32_t milliseconds) = 0;
};

SORVANE_API Seam<ProcessService>& ProcessSeam();

[[noreturn]] SORVANE_API void ExitProcess(std::uint32_t code);
SORVANE_API void Sleep(std::uint32_t milliseconds);

} // namespace platform

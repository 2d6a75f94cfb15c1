/// \file
/// Ending the process with a 32-bit exit code, through the normal library exit
/// (static destructors and exit handlers run). A Linux parent sees only the
/// low byte: 0xDEADF0CC arrives as 0xCC (204), -1 as 255.
#pragma once

#include <platform/export.h>
#include <platform/replaceable.h>

#include <cstdint>

namespace platform {

/// \brief The process services that tests replace through ProcessSeam():
/// ending the process and sleeping.
class SORVANE_API ProcessService {
public:
    virtual ~ProcessService() = default;
    /// Ends the process. A stand-in for tests may throw instead; one that
    /// returns gets the real exit.
    /// \param code the 32-bit exit code; a Linux parent sees its low byte.
    virtual void Exit(std::uint32_t code) = 0;
    /// Blocks the calling thread.
    /// \param milliseconds how long.
    virtual void Sleep(std::uint32_t milliseconds) = 0;
};

/// \return the seam of the process services.
SORVANE_API Seam<ProcessService>& ProcessSeam();

/// Ends the process through the process service, with static destructors
/// and exit handlers run. Does not return.
/// \param code the 32-bit exit code; a Linux parent sees only its low byte
///        (0xDEADF0CC arrives as 204).
[[noreturn]] SORVANE_API void ExitProcess(std::uint32_t code);
/// Blocks the calling thread through the process service.
/// \param milliseconds how long.
SORVANE_API void Sleep(std::uint32_t milliseconds);

} // namespace platform

/// \file
/// The debugger output channel. With no debugger to listen, the text goes to
/// the system log at debug priority, so that it does not repeat the message
/// box's block on standard error.
#pragma once

#include <platform/export.h>
#include <platform/replaceable.h>

namespace platform {

/// \brief The debugger output channel; tests replace it through DebugOutputSeam().
class SORVANE_API DebugOutputService {
public:
    virtual ~DebugOutputService() = default;
    /// Writes one text to the channel.
    /// \param text 0-terminated text.
    virtual void Write(char const* text) = 0;
};

/// \return the seam of the debugger output channel.
SORVANE_API Seam<DebugOutputService>& DebugOutputSeam();

/// Writes a text to the debugger output channel: the system log at debug
/// priority unless a stand-in is in place.
/// \param text 0-terminated text.
SORVANE_API void OutputDebugStringA(char const* text);

} // namespace platform

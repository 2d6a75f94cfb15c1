// The debugger output channel. With no debugger to listen, the text goes to
// the system log at debug priority, so that it does not repeat the message
// box's block on standard error.
#pragma once

#include <platform/export.h>
#include <platform/replaceable.h>

namespace platform {

class SORVANE_API DebugOutputService {
public:
    virtual ~DebugOutputService() = default;
    virtual void Write(char const* text) = 0;
};

SORVANE_API Seam<DebugOutputService>& DebugOutputSeam();

SORVANE_API void OutputDebugStringA(char const* text);

} // namespace platform

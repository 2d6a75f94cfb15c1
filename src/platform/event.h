// An auto-reset event: Set wakes one waiter, or the next one to come, and the
// event clears itself as that waiter leaves.
#pragma once

#include <platform/export.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace platform {

class SORVANE_API AutoResetEvent {
public:
    AutoResetEvent() = default;
    AutoResetEvent(AutoResetEvent const&) = delete;
    AutoResetEvent& operator=(AutoResetEvent const&) = delete;

    void Set();
    void Wait();
    // True when the event was signalled, false when the time ran out.
    bool WaitFor(std::chrono::milliseconds timeout);

private:
    std::mutex mutex_;
    std::condition_variable signalled_;
    bool set_ = false;
};

} // namespace platform

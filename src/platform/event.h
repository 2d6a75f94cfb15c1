/// \file
/// An auto-reset event: Set wakes one waiter, or the next one to come, and the
/// event clears itself as that waiter leaves.
#pragma once

#include <platform/export.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace platform {

/// \brief An auto-reset event: Set wakes one waiter, or the next one to come,
/// and the event clears itself as that waiter leaves.
class SORVANE_API AutoResetEvent {
public:
    AutoResetEvent() = default;
    AutoResetEvent(AutoResetEvent const&) = delete;
    AutoResetEvent& operator=(AutoResetEvent const&) = delete;

    /// Signals the event: wakes one waiter, or lets the next one through.
    void Set();
    /// Waits until the event is signalled, and clears it.
    void Wait();
    /// Waits until the event is signalled or the time runs out.
    /// \param timeout the longest wait.
    /// \return true when the event was signalled (and is now clear), false when
    ///         the time ran out.
    bool WaitFor(std::chrono::milliseconds timeout);

private:
    std::mutex mutex_;
    std::condition_variable signalled_;
    bool set_ = false;
};

} // namespace platform

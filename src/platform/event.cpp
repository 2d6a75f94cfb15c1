#include <platform/event.h>

namespace platform {

void AutoResetEvent::Set() {
    {
        std::lock_guard lock(mutex_);
        set_ = true;
    }
    signalled_.notify_one();
}

void AutoResetEvent::Wait() {
    std::unique_lock lock(mutex_);
    signalled_.wait(lock, [this] { return set_; });
    set_ = false;
}

bool AutoResetEvent::WaitFor(std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex_);
    if (!signalled_.wait_for(lock, timeout, [this] { return set_; })) return false;
    set_ = false;
    return true;
}

} // namespace platform

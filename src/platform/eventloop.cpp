#include <platform/eventloop.h>

#include <algorithm>

namespace platform {

bool EventLoop::GetMessage(Message& out) {
    std::unique_lock lock(mutex_);
    for (;;) {
        if (!queue_.empty()) {
            out = std::move(queue_.front());
            queue_.pop_front();
            return true;
        }
        if (quit_) {
            quit_ = false;
            return false;
        }
        // Timers come only when nothing is queued, the earliest first.
        auto const next =
            std::min_element(timers_.begin(), timers_.end(),
                             [](Timer const& a, Timer const& b) { return a.due < b.due; });
        if (next == timers_.end()) {
            wake_.wait(lock);
            continue;
        }
        Clock::time_point const now = Clock::now();
        if (next->due <= now) {
            // A late timer fires once, not once for each period it missed.
            next->due = now + next->period;
            out = Message{next->target, WM_TIMER, next->id, 0, {}};
            return true;
        }
        wake_.wait_until(lock, next->due);
    }
}

void EventLoop::DispatchMessage(Message const& message) {
    if (message.task) {
        message.task();
    } else if (message.target != nullptr) {
        message.target->Deliver(message.message, message.wParam, message.lParam);
    }
}

void EventLoop::PostQuit() {
    {
        std::lock_guard lock(mutex_);
        quit_ = true;
    }
    wake_.notify_all();
}

void EventLoop::PostTask(std::function<void()> task) {
    {
        std::lock_guard lock(mutex_);
        queue_.push_back(Message{nullptr, 0, 0, 0, std::move(task)});
    }
    wake_.notify_all();
}

void EventLoop::PostMessage(MessageTarget* target, std::uint32_t message, std::uintptr_t wParam,
                            std::intptr_t lParam) {
    {
        std::lock_guard lock(mutex_);
        queue_.push_back(Message{target, message, wParam, lParam, {}});
    }
    wake_.notify_all();
}

void EventLoop::SetTimer(MessageTarget* target, std::uintptr_t id, std::uint32_t periodMs) {
    std::chrono::milliseconds const period(std::max(periodMs, kMinimumTimerMs));
    {
        std::lock_guard lock(mutex_);
        auto const due = Clock::now() + period;
        auto found = std::find_if(timers_.begin(), timers_.end(),
                                  [&](Timer const& t) { return t.target == target && t.id == id; });
        if (found != timers_.end()) {
            found->period = period;
            found->due = due;
        } else {
            timers_.push_back(Timer{target, id, period, due});
        }
    }
    wake_.notify_all();
}

void EventLoop::KillTimer(MessageTarget* target, std::uintptr_t id) {
    std::lock_guard lock(mutex_);
    std::erase_if(timers_, [&](Timer const& t) { return t.target == target && t.id == id; });
}

void EventLoop::Forget(MessageTarget* target) {
    std::lock_guard lock(mutex_);
    std::erase_if(timers_, [&](Timer const& t) { return t.target == target; });
    std::erase_if(queue_, [&](Message const& m) { return m.target == target; });
}

} // namespace platform

#include <splash/host/eventloop.h>

#include <algorithm>
#include <cstdint>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <systemd/sd-event.h>
#include <unistd.h>

namespace splash {

struct EventLoop::Watch {
    EventLoop* loop = nullptr;
    int id = 0;
    sd_event_source* source = nullptr;
    std::function<void()> onReady;
    ~Watch() { sd_event_source_disable_unref(source); }
};

namespace {

sd_event* Event(void* event) {
    return static_cast<sd_event*>(event);
}

int DrainWake(sd_event_source*, int fd, std::uint32_t, void*) {
    std::uint64_t count = 0;
    [[maybe_unused]] ssize_t const got = ::read(fd, &count, sizeof count);
    return 0;
}

} // namespace

EventLoop::EventLoop() {
    sd_event* event = nullptr;
    if (sd_event_new(&event) < 0) return;
    event_ = event;
    wakeFd_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    sd_event_source* source = nullptr;
    if (wakeFd_ >= 0 &&
        sd_event_add_io(event, &source, wakeFd_, EPOLLIN, DrainWake, nullptr) >= 0) {
        wakeSource_ = source;
    }
}

EventLoop::~EventLoop() {
    watches_.clear();
    sd_event_source_disable_unref(static_cast<sd_event_source*>(wakeSource_));
    if (wakeFd_ >= 0) ::close(wakeFd_);
    sd_event_unref(Event(event_));
}

void EventLoop::Wake() {
    std::uint64_t const one = 1;
    if (wakeFd_ >= 0) [[maybe_unused]]
        ssize_t const put = ::write(wakeFd_, &one, sizeof one);
}

bool EventLoop::GetMessage(Message& out) {
    for (;;) {
        std::uint64_t waitUsec = UINT64_MAX;
        {
            std::lock_guard lock(mutex_);
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
            if (next != timers_.end()) {
                Clock::time_point const now = Clock::now();
                if (next->due <= now) {
                    // A late timer fires once, not once for each period it missed.
                    next->due = now + next->period;
                    out = Message{next->target, WM_TIMER, next->id, 0, {}};
                    return true;
                }
                waitUsec =
                    static_cast<std::uint64_t>(
                        std::chrono::duration_cast<std::chrono::microseconds>(next->due - now)
                            .count()) +
                    1;
            }
        }
        if (event_ == nullptr) return false; // no way to wait: behave as quit
        sd_event_run(Event(event_), waitUsec);
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
    Wake();
}

void EventLoop::PostTask(std::function<void()> task) {
    {
        std::lock_guard lock(mutex_);
        queue_.push_back(Message{nullptr, 0, 0, 0, std::move(task)});
    }
    Wake();
}

void EventLoop::PostMessage(MessageTarget* target, std::uint32_t message, std::uintptr_t wParam,
                            std::intptr_t lParam) {
    {
        std::lock_guard lock(mutex_);
        queue_.push_back(Message{target, message, wParam, lParam, {}});
    }
    Wake();
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
    Wake();
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

int EventLoop::AddWatch(int fd, std::function<void()> onReady) {
    if (event_ == nullptr || fd < 0) return -1;
    auto watch = std::make_unique<Watch>();
    watch->loop = this;
    watch->id = nextWatchId_++;
    watch->onReady = std::move(onReady);
    // Readiness is level-triggered: the source sleeps until the task that
    // answers it has run, so one readiness is one task.
    auto const ready = [](sd_event_source* source, int, std::uint32_t, void* user) -> int {
        auto* w = static_cast<Watch*>(user);
        sd_event_source_set_enabled(source, SD_EVENT_OFF);
        EventLoop* loop = w->loop;
        int const id = w->id;
        loop->PostTask([loop, id] {
            auto const found = std::find_if(loop->watches_.begin(), loop->watches_.end(),
                                            [id](auto const& x) { return x->id == id; });
            if (found == loop->watches_.end()) return;
            Watch* current = found->get();
            current->onReady();
            // The callback may have removed its own watch.
            auto const still = std::find_if(loop->watches_.begin(), loop->watches_.end(),
                                            [id](auto const& x) { return x->id == id; });
            if (still != loop->watches_.end() && still->get() == current)
                sd_event_source_set_enabled(current->source, SD_EVENT_ON);
        });
        return 0;
    };
    sd_event_source* source = nullptr;
    if (sd_event_add_io(Event(event_), &source, fd, EPOLLIN, ready, watch.get()) < 0) return -1;
    watch->source = source;
    int const id = watch->id;
    watches_.push_back(std::move(watch));
    return id;
}

void EventLoop::RemoveWatch(int id) {
    std::erase_if(watches_, [id](auto const& w) { return w->id == id; });
}

} // namespace splash

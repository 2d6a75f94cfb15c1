// The main thread's message loop: posted messages and tasks in order, window
// timers when nothing else is waiting, watched descriptors (the bus, the
// display), and a quit request that any thread may post. It stands in for the
// thread message queue with GetMessage, DispatchMessage,
// PostThreadMessage(WM_QUIT), SetTimer and KillTimer. It waits in sd-event;
// other threads wake it through an eventfd.
#pragma once

#include <platform/export.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace splash {

enum : std::uint32_t {
    WM_CREATE = 0x0001,
    WM_PAINT = 0x000F,
    WM_TIMER = 0x0113,
    WM_LBUTTONDOWN = 0x0201,
};

// What a window message is delivered to.
class SORVANE_API MessageTarget {
public:
    virtual ~MessageTarget() = default;
    virtual void Deliver(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) = 0;
};

class SORVANE_API EventLoop {
public:
    // The shortest timer period; a request for less gets this.
    static constexpr std::uint32_t kMinimumTimerMs = 10;

    struct Message {
        MessageTarget* target = nullptr;
        std::uint32_t message = 0;
        std::uintptr_t wParam = 0;
        std::intptr_t lParam = 0;
        std::function<void()> task;
    };

    EventLoop();
    ~EventLoop();
    EventLoop(EventLoop const&) = delete;
    EventLoop& operator=(EventLoop const&) = delete;

    // Waits for the next message. False once a quit request is taken.
    bool GetMessage(Message& out);
    void DispatchMessage(Message const& message);

    // Any thread.
    void PostQuit();
    void PostTask(std::function<void()> task);
    void PostMessage(MessageTarget* target, std::uint32_t message, std::uintptr_t wParam,
                     std::intptr_t lParam);

    // A timer fires WM_TIMER with its id as wParam every period until killed.
    // Setting an id again restarts it with the new period.
    void SetTimer(MessageTarget* target, std::uintptr_t id, std::uint32_t periodMs);
    void KillTimer(MessageTarget* target, std::uintptr_t id);
    // Drops the target's timers and its queued messages: it is going away.
    void Forget(MessageTarget* target);

    // Main thread. Whenever fd is readable, onReady runs as a task of the
    // loop (never inside the wait), once per readiness. Answers an id for
    // RemoveWatch, or -1 when the descriptor cannot be watched.
    int AddWatch(int fd, std::function<void()> onReady);
    void RemoveWatch(int id);

private:
    using Clock = std::chrono::steady_clock;
    struct Timer {
        MessageTarget* target;
        std::uintptr_t id;
        std::chrono::milliseconds period;
        Clock::time_point due;
    };

    struct Watch;
    void Wake();

    std::mutex mutex_;
    std::deque<Message> queue_;
    std::vector<Timer> timers_;
    bool quit_ = false;

    // The waiting side; only the main thread touches it.
    void* event_ = nullptr; // sd_event
    int wakeFd_ = -1;
    void* wakeSource_ = nullptr; // sd_event_source
    std::vector<std::unique_ptr<Watch>> watches_;
    int nextWatchId_ = 1;
};

} // namespace splash

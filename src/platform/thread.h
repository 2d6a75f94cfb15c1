// Threads and a mutex for the active objects: a thread that is made
// suspended and counts suspensions as the platform's threads do, and a plain
// mutex.
//
// Suspension is cooperative: Suspend raises the thread's suspension count
// at once, and the thread stops at its next suspension point, where it waits
// until the count is back at 0. A new thread's first suspension point comes
// before its entry function runs; after that, SuspensionPoint() is one,
// called by the thread itself (the active objects call it each time their
// worker polls its dying counter). A thread that never reaches one is not
// stopped.
#pragma once

#include <platform/export.h>

#include <chrono>
#include <cstdint>
#include <memory>

namespace platform {

using ThreadStart = std::uint32_t (*)(void* argument);

// What Suspend and Resume answer for a thread that has ended, and the most
// suspensions a thread takes.
inline constexpr std::uint32_t kThreadFailed = 0xFFFFFFFF;
inline constexpr std::uint32_t kMaximumSuspendCount = 127;

// Relative priorities, mapped onto the scheduler's nice values.
enum : int {
    THREAD_PRIORITY_IDLE = -15,
    THREAD_PRIORITY_LOWEST = -2,
    THREAD_PRIORITY_BELOW_NORMAL = -1,
    THREAD_PRIORITY_NORMAL = 0,
    THREAD_PRIORITY_ABOVE_NORMAL = 1,
    THREAD_PRIORITY_HIGHEST = 2,
    THREAD_PRIORITY_TIME_CRITICAL = 15,
};

class SORVANE_API SystemThread {
public:
    struct State;

    // Starts a thread, suspended once, that will run start(argument). Null
    // when the system cannot make a thread.
    static std::shared_ptr<SystemThread> Create(ThreadStart start, void* argument);

    // The last holder's release leaves a running thread to end on its own.
    ~SystemThread();
    SystemThread(SystemThread const&) = delete;
    SystemThread& operator=(SystemThread const&) = delete;

    // Both answer the count before the call, or kThreadFailed once the
    // thread has ended (Suspend) or for a count at its limit.
    std::uint32_t Resume();
    std::uint32_t Suspend();
    // 1 when the scheduler took the mapped nice value, 0 when the priority
    // is not one of the above or the scheduler refused (raising a thread
    // needs the right to).
    int SetPriority(int priority);
    // True when the thread's entry function has returned within the time;
    // the thread is then gone once this returns.
    bool WaitForEnd(std::chrono::milliseconds timeout);
    // The thread's kernel id.
    std::uint32_t Id() const;

private:
    explicit SystemThread(std::shared_ptr<State> state);
    std::shared_ptr<State> state_;
};

// Where the calling thread stops while it is suspended. Does nothing in a
// thread that SystemThread did not make.
SORVANE_API void SuspensionPoint();

// A mutex that the thread holding it must not take again.
class SORVANE_API SystemMutex {
public:
    SystemMutex();
    ~SystemMutex();
    SystemMutex(SystemMutex const&) = delete;
    SystemMutex& operator=(SystemMutex const&) = delete;

    void Lock();
    void Unlock();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace platform

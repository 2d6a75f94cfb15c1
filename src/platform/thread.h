/// \file
/// Threads and a mutex for the active objects: a thread that is made
/// suspended and counts suspensions as the platform's threads do, and a plain
/// mutex.
///
/// Suspension is cooperative: Suspend raises the thread's suspension count
/// at once, and the thread stops at its next suspension point, where it waits
/// until the count is back at 0. A new thread's first suspension point comes
/// before its entry function runs; after that, SuspensionPoint() is one,
/// called by the thread itself (the active objects call it each time their
/// worker polls its dying counter). A thread that never reaches one is not
/// stopped.
#pragma once

#include <platform/export.h>

#include <chrono>
#include <cstdint>
#include <memory>

namespace platform {

/// A thread's entry function: it receives the argument given to Create and
/// answers the thread's exit code.
using ThreadStart = std::uint32_t (*)(void* argument);

// What Suspend and Resume answer for a thread that has ended, and the most
// suspensions a thread takes.
/// What Suspend and Resume answer for a thread that has ended, or for a
/// count at its limit.
inline constexpr std::uint32_t kThreadFailed = 0xFFFFFFFF;
/// The most suspensions a thread takes.
inline constexpr std::uint32_t kMaximumSuspendCount = 127;

/// Relative priorities, mapped onto the scheduler's nice values.
enum : int {
    /// The lowest.
    THREAD_PRIORITY_IDLE = -15,
    /// Two below normal.
    THREAD_PRIORITY_LOWEST = -2,
    /// One below normal.
    THREAD_PRIORITY_BELOW_NORMAL = -1,
    /// Normal.
    THREAD_PRIORITY_NORMAL = 0,
    /// One above normal.
    THREAD_PRIORITY_ABOVE_NORMAL = 1,
    /// Two above normal.
    THREAD_PRIORITY_HIGHEST = 2,
    /// The highest.
    THREAD_PRIORITY_TIME_CRITICAL = 15,
};

/// \brief A thread that is made suspended and counts suspensions as the
/// platform's threads do.
///
/// Suspension is cooperative: the thread stops at its next suspension point.
class SORVANE_API SystemThread {
public:
    struct State;

    /// Starts a thread, suspended once, that will run start(argument) once resumed.
    /// \param start the entry function.
    /// \param argument its argument.
    /// \return the thread, shared by its holders; null when the system cannot make one.
    static std::shared_ptr<SystemThread> Create(ThreadStart start, void* argument);

    /// The last holder's release leaves a running thread to end on its own.
    ~SystemThread();
    SystemThread(SystemThread const&) = delete;
    SystemThread& operator=(SystemThread const&) = delete;

    /// Lowers the suspension count; at 0 the thread runs on.
    /// \return the count before the call, or kThreadFailed.
    std::uint32_t Resume();
    /// Raises the suspension count; the thread stops at its next suspension point.
    /// \return the count before the call, or kThreadFailed once the thread has
    ///         ended or for a count at its limit.
    std::uint32_t Suspend();
    /// Sets the thread's relative priority.
    /// \param priority one of the THREAD_PRIORITY_ values.
    /// \return 1 when the scheduler took the mapped nice value, 0 when the
    ///         priority is not one of them or the scheduler refused (raising a
    ///         thread needs the right to).
    int SetPriority(int priority);
    /// Waits for the thread's entry function to return.
    /// \param timeout the longest wait.
    /// \return true when it returned within the time; the thread is then gone.
    bool WaitForEnd(std::chrono::milliseconds timeout);
    /// \return the thread's kernel id.
    std::uint32_t Id() const;

private:
    explicit SystemThread(std::shared_ptr<State> state);
    std::shared_ptr<State> state_;
};

/// Where the calling thread stops while it is suspended. Does nothing in a
/// thread that SystemThread did not make.
SORVANE_API void SuspensionPoint();

/// \brief A mutex that the thread holding it must not take again.
class SORVANE_API SystemMutex {
public:
    SystemMutex();
    ~SystemMutex();
    SystemMutex(SystemMutex const&) = delete;
    SystemMutex& operator=(SystemMutex const&) = delete;

    /// Takes the mutex, waiting while another thread holds it.
    void Lock();
    /// Gives the mutex back; only its holder may.
    void Unlock();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace platform

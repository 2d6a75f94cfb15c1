/// \file
/// Active objects and their synchronisation: a thread, a mutex with its
/// guard, an auto-reset event, and ActiveObject, which runs a worker object's
/// three steps on a thread of its own.
///
/// Threads are made suspended and count their suspensions. Suspension is
/// cooperative: a suspended thread stops at its next suspension point, which
/// for an active object's worker is each call of _get_isDying(), and before
/// anything runs at all for a new thread; see <platform/thread.h>.
#pragma once

#include <platform/export.h>

#include <cstdint>
#include <memory>

namespace platform {
class AutoResetEvent;
class SystemMutex;
class SystemThread;
} // namespace platform

/// \brief A handle on a thread that is made suspended and counts suspensions.
class SORVANE_API Thread {
public:
    /// A thread's entry function: it receives the argument and answers the exit code.
    using pfnThreadFunc = std::uint32_t (*)(void* pvArg);

    /// Makes the thread suspended, with the default stack; Resume() starts it.
    /// \param pfnStart the entry function.
    /// \param pvArg its argument.
    Thread(pfnThreadFunc pfnStart, void* pvArg);
    // Closes this handle on the thread; the thread itself runs on.
    ~Thread();
    /// A copy is a second handle on the same thread.
    /// \param other the handle copied.
    Thread(Thread const& other) = default;
    /// Makes this a second handle on the other's thread.
    /// \param other the handle copied.
    /// \return this handle.
    Thread& operator=(Thread const& other) = default;

    /// Lowers the suspension count.
    /// \return the count before the call, or 0xFFFFFFFF.
    std::uint32_t Resume();
    /// Raises the suspension count; the thread stops at its next suspension point.
    /// \return the count before the call, or 0xFFFFFFFF.
    std::uint32_t Suspend();
    /// Sets the thread's relative priority.
    /// \param nPriority a platform::THREAD_PRIORITY_ value.
    /// \return 1 when the scheduler took the priority, else 0.
    int SetPriority(int nPriority);
    /// Waits for the thread to end, for 2000 milliseconds at most, and says
    /// nothing of a timeout.
    void WaitForDeath();

    /// \return the thread's kernel id.
    std::uint32_t _get_nThreadId() const { return nThreadId; }

private:
    friend class ActiveObject;
    static constexpr int kDeathWaitMilliseconds = 2000;

    // True when the thread ended within the wait.
    bool WaitForDeathFor(int nMilliseconds);
    // Lifts every suspension.
    void ResumeFully();

    std::shared_ptr<platform::SystemThread> hThread;
    std::uint32_t nThreadId = 0;
};

/// \brief A mutual-exclusion lock, taken and left through Lock. Not recursive.
class SORVANE_API Mutex {
public:
    Mutex();
    ~Mutex();
    // A held lock cannot be copied into a second one.
    Mutex(Mutex const&) = delete;
    Mutex& operator=(Mutex const&) = delete;

private:
    friend class Lock;
    void Acquire();
    void Release();

    std::unique_ptr<platform::SystemMutex> pcsSection;
};

/// \brief Holds a mutex for its own life, unwinding included.
class SORVANE_API Lock {
public:
    /// Takes the mutex, waiting while another thread holds it.
    /// \param mtx the mutex, which must outlive the lock.
    explicit Lock(Mutex& mtx) : mtxHeld(mtx) { mtxHeld.Acquire(); }
    /// Gives the mutex back.
    ~Lock() { mtxHeld.Release(); }
    Lock(Lock const&) = delete;
    Lock& operator=(Lock const&) = delete;

private:
    Mutex& mtxHeld;
};

/// \brief An auto-reset event, unsignalled at first, unnamed: one Release()
/// lets one Wait() through, now or later. A copy shares the event.
class SORVANE_API Event {
public:
    Event();
    ~Event();
    /// Shares the other's event.
    /// \param other the event copied.
    Event(Event const& other) = default;
    /// Shares the other's event.
    /// \param other the event copied.
    /// \return this event.
    Event& operator=(Event const& other) = default;

    /// Signals the event.
    void Release();
    /// Waits until the event is signalled, and clears it.
    void Wait();
    /// The event itself, for identity.
    operator void*() const;

private:
    std::shared_ptr<platform::AutoResetEvent> hEvent;
};

/// \brief A worker object on a thread of its own.
///
/// The thread runs the initial step, the main body and the flushing step, in
/// that order; the main body polls _get_isDying() and ends when it is not 0.
/// End an active object by Kill(), then delete it. The handover at the
/// thread's end is guarded: the thread and Kill never both delete the Thread
/// object, and the object is not destroyed while its thread still uses it.
class SORVANE_API ActiveObject {
public:
    ActiveObject();
    /// Deletes a Thread object that is left, then waits for the thread to have
    /// left this object; a thread still in it after the wait ends the process
    /// through the fatal check.
    virtual ~ActiveObject();
    ActiveObject(ActiveObject const&) = delete;
    ActiveObject& operator=(ActiveObject const&) = delete;

    /// With no thread yet, makes one and resumes it; otherwise nothing.
    void Start();
    /// Suspends the thread, if any, at its next poll.
    void Stop();
    /// Sets the thread's relative priority.
    /// \param nPriority a platform::THREAD_PRIORITY_ value.
    /// \return 1 when the scheduler took it; 0 when it did not or there is no thread.
    int SetPriority(int nPriority);
    /// Counts the object as dying, runs the flushing step in the caller's
    /// thread, and then, when there is a thread, lifts its suspensions, waits
    /// for its end for 2000 milliseconds at most and deletes the Thread object.
    /// The flushing step runs both here and at the end of the thread's own run,
    /// so it must be safe to run twice and from either thread.
    void Kill();
    /// The dying counter. In the worker's thread it is also where a suspended
    /// worker stops.
    /// \return 0 while the object lives on.
    int _get_isDying();

protected:
    /// The initial step, run first in the new thread.
    virtual void InitThread() = 0;
    /// The main body, run second; it polls _get_isDying().
    virtual void Run() = 0;
    /// The flushing step, run last (and by Kill()).
    virtual void FlushThread() = 0;

private:
    struct Control;
    static std::uint32_t ThreadEntry(void* pvObject);
    void LeaveThread();
    Thread* TakeThread();

    std::unique_ptr<Control> pctl;
    Thread* pthrd = nullptr;
};

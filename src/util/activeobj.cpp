#include <util/activeobj.h>

#include <platform/event.h>
#include <platform/thread.h>
#include <util/exceptions.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace {

// How long a destroyed active object waits for its thread to leave it, on
// top of the wait that Kill has already given it.
constexpr std::chrono::milliseconds kLeaveWait{10000};

} // namespace

// ---- Thread -----------------------------------------------------------------

Thread::Thread(pfnThreadFunc pfnStart, void* pvArg)
    : hThread(platform::SystemThread::Create(pfnStart, pvArg)) {
    SV_FAIL_IF_NIL(hThread.get(), "hThread");
    nThreadId = hThread->Id();
}

Thread::~Thread() = default;

std::uint32_t Thread::Resume() {
    return hThread->Resume();
}

std::uint32_t Thread::Suspend() {
    return hThread->Suspend();
}

int Thread::SetPriority(int nPriority) {
    return hThread->SetPriority(nPriority);
}

void Thread::WaitForDeath() {
    WaitForDeathFor(kDeathWaitMilliseconds);
}

bool Thread::WaitForDeathFor(int nMilliseconds) {
    return hThread->WaitForEnd(std::chrono::milliseconds(nMilliseconds));
}

void Thread::ResumeFully() {
    std::uint32_t previous;
    do {
        previous = hThread->Resume();
    } while (previous > 1 && previous != platform::kThreadFailed);
}

// ---- Mutex, Event -----------------------------------------------------------

Mutex::Mutex() : pcsSection(std::make_unique<platform::SystemMutex>()) {}

Mutex::~Mutex() = default;

void Mutex::Acquire() {
    pcsSection->Lock();
}

void Mutex::Release() {
    pcsSection->Unlock();
}

Event::Event() : hEvent(std::make_shared<platform::AutoResetEvent>()) {}

Event::~Event() = default;

void Event::Release() {
    hEvent->Set();
}

void Event::Wait() {
    hEvent->Wait();
}

Event::operator void*() const {
    return hEvent.get();
}

// ---- ActiveObject -----------------------------------------------------------

struct ActiveObject::Control {
    std::atomic<int> isDying{0};
    // Guards pthrd and bThreadInside.
    std::mutex mutex;
    std::condition_variable left;
    bool bThreadInside = false;
};

ActiveObject::ActiveObject() : pctl(std::make_unique<Control>()) {}

ActiveObject::~ActiveObject() {
    pctl->isDying.fetch_add(1);
    if (Thread* const pthrdLeft = TakeThread()) {
        pthrdLeft->ResumeFully();
        delete pthrdLeft;
    }
    std::unique_lock lock(pctl->mutex);
    bool const bLeft =
        pctl->left.wait_for(lock, kLeaveWait, [this] { return !pctl->bThreadInside; });
    SV_CRIT_ASSERT(bLeft, "!bThreadInside");
}

void ActiveObject::Start() {
    std::lock_guard lock(pctl->mutex);
    if (pthrd != nullptr || pctl->bThreadInside) return;
    pthrd = new Thread(&ThreadEntry, this);
    pctl->bThreadInside = true;
    pthrd->Resume();
}

void ActiveObject::Stop() {
    std::lock_guard lock(pctl->mutex);
    if (pthrd != nullptr) pthrd->Suspend();
}

int ActiveObject::SetPriority(int nPriority) {
    std::lock_guard lock(pctl->mutex);
    return pthrd != nullptr ? pthrd->SetPriority(nPriority) : 0;
}

void ActiveObject::Kill() {
    pctl->isDying.fetch_add(1);
    FlushThread();
    // Taken out under the lock, so that the thread's own end finds nothing
    // to delete.
    Thread* const pthrdKilled = TakeThread();
    if (pthrdKilled == nullptr) return;
    pthrdKilled->ResumeFully();
    pthrdKilled->WaitForDeath();
    delete pthrdKilled;
}

int ActiveObject::_get_isDying() {
    platform::SuspensionPoint();
    return pctl->isDying.load();
}

std::uint32_t ActiveObject::ThreadEntry(void* pvObject) {
    auto* const pao = static_cast<ActiveObject*>(pvObject);
    pao->InitThread();
    pao->Run();
    pao->FlushThread();
    pao->LeaveThread();
    return 0;
}

Thread* ActiveObject::TakeThread() {
    std::lock_guard lock(pctl->mutex);
    Thread* const pthrdTaken = pthrd;
    pthrd = nullptr;
    return pthrdTaken;
}

// The thread's last touch of its object: after the unlock it reaches only its
// own Thread object, which nobody else holds any more.
void ActiveObject::LeaveThread() {
    Thread* pthrdOwn;
    {
        std::lock_guard lock(pctl->mutex);
        pthrdOwn = pthrd;
        pthrd = nullptr;
        pctl->bThreadInside = false;
        pctl->left.notify_all();
    }
    delete pthrdOwn;
}

#include <platform/thread.h>

#include <condition_variable>
#include <mutex>

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace platform {

struct SystemThread::State {
    ThreadStart start = nullptr;
    void* argument = nullptr;
    pthread_t thread{};

    std::mutex mutex;
    std::condition_variable changed;
    std::uint32_t suspendCount = 1; // made suspended
    pid_t tid = 0;
    bool ended = false;
    bool joined = false; // or detached: the system's handle is spent
};

namespace {

thread_local SystemThread::State* tCurrent = nullptr;

struct PriorityMapping {
    int priority;
    int nice;
};

// One step of the relative scale is five steps of nice; the two ends are the
// scheduler's ends.
constexpr PriorityMapping kPriorities[] = {
    {THREAD_PRIORITY_IDLE, 19},           {THREAD_PRIORITY_LOWEST, 10},
    {THREAD_PRIORITY_BELOW_NORMAL, 5},    {THREAD_PRIORITY_NORMAL, 0},
    {THREAD_PRIORITY_ABOVE_NORMAL, -5},   {THREAD_PRIORITY_HIGHEST, -10},
    {THREAD_PRIORITY_TIME_CRITICAL, -20},
};

void* RunThread(void* raw) {
    auto* holder = static_cast<std::shared_ptr<SystemThread::State>*>(raw);
    std::shared_ptr<SystemThread::State> const state = std::move(*holder);
    delete holder;
    {
        std::lock_guard lock(state->mutex);
        state->tid = ::gettid();
    }
    state->changed.notify_all();
    tCurrent = state.get();
    SuspensionPoint();
    state->start(state->argument);
    tCurrent = nullptr;
    {
        std::lock_guard lock(state->mutex);
        state->ended = true;
    }
    state->changed.notify_all();
    return nullptr;
}

} // namespace

std::shared_ptr<SystemThread> SystemThread::Create(ThreadStart start, void* argument) {
    auto state = std::make_shared<State>();
    state->start = start;
    state->argument = argument;
    auto* holder = new std::shared_ptr<State>(state);
    pthread_t thread{};
    if (::pthread_create(&thread, nullptr, &RunThread, holder) != 0) {
        delete holder;
        return nullptr;
    }
    std::unique_lock lock(state->mutex);
    state->thread = thread;
    state->changed.wait(lock, [&] { return state->tid != 0; });
    return std::shared_ptr<SystemThread>(new SystemThread(state));
}

SystemThread::SystemThread(std::shared_ptr<State> state) : state_(std::move(state)) {}

SystemThread::~SystemThread() {
    std::unique_lock lock(state_->mutex);
    if (state_->joined) return;
    state_->joined = true;
    bool const ended = state_->ended;
    lock.unlock();
    // An ended thread is only leaving: wait for it. A running one is left to
    // end by itself; it holds its own state.
    if (ended)
        ::pthread_join(state_->thread, nullptr);
    else
        ::pthread_detach(state_->thread);
}

std::uint32_t SystemThread::Resume() {
    std::uint32_t previous;
    {
        std::lock_guard lock(state_->mutex);
        previous = state_->suspendCount;
        if (previous == 0) return 0;
        --state_->suspendCount;
    }
    if (previous == 1) state_->changed.notify_all();
    return previous;
}

std::uint32_t SystemThread::Suspend() {
    std::lock_guard lock(state_->mutex);
    if (state_->ended || state_->suspendCount >= kMaximumSuspendCount) return kThreadFailed;
    return state_->suspendCount++;
}

int SystemThread::SetPriority(int priority) {
    for (PriorityMapping const& mapping : kPriorities) {
        if (mapping.priority != priority) continue;
        // Held so that the thread cannot end, and its id go to another,
        // between the test and the call.
        std::lock_guard lock(state_->mutex);
        if (state_->ended) return 0;
        return ::setpriority(PRIO_PROCESS, static_cast<id_t>(state_->tid), mapping.nice) == 0 ? 1
                                                                                              : 0;
    }
    return 0;
}

bool SystemThread::WaitForEnd(std::chrono::milliseconds timeout) {
    std::unique_lock lock(state_->mutex);
    if (!state_->changed.wait_for(lock, timeout, [&] { return state_->ended; })) return false;
    if (state_->joined) return true;
    state_->joined = true;
    lock.unlock();
    ::pthread_join(state_->thread, nullptr);
    return true;
}

std::uint32_t SystemThread::Id() const {
    std::lock_guard lock(state_->mutex);
    return static_cast<std::uint32_t>(state_->tid);
}

void SuspensionPoint() {
    SystemThread::State* const state = tCurrent;
    if (state == nullptr) return;
    std::unique_lock lock(state->mutex);
    state->changed.wait(lock, [&] { return state->suspendCount == 0; });
}

struct SystemMutex::Impl {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
};

SystemMutex::SystemMutex() : impl_(std::make_unique<Impl>()) {}

SystemMutex::~SystemMutex() {
    ::pthread_mutex_destroy(&impl_->mutex);
}

void SystemMutex::Lock() {
    ::pthread_mutex_lock(&impl_->mutex);
}

void SystemMutex::Unlock() {
    ::pthread_mutex_unlock(&impl_->mutex);
}

} // namespace platform

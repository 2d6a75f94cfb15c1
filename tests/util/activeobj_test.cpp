#include <util/activeobj.h>

#include <platform/thread.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

bool ThreadExists(std::uint32_t tid) {
    return ::access(("/proc/self/task/" + std::to_string(tid)).c_str(), F_OK) == 0;
}

// Polls its dying counter as fast as it can, counting polls.
class Worker : public ActiveObject {
public:
    std::atomic<int> inits{0}, flushes{0};
    std::atomic<long> polls{0};
    std::atomic<std::uint32_t> tid{0};

protected:
    void InitThread() override {
        tid = static_cast<std::uint32_t>(::gettid());
        ++inits;
    }
    void Run() override {
        while (_get_isDying() == 0)
            ++polls;
    }
    void FlushThread() override { ++flushes; }
};

bool PollsMove(Worker const& worker) {
    long const before = worker.polls.load();
    for (int i = 0; i < 200 && worker.polls.load() == before; ++i)
        std::this_thread::sleep_for(5ms);
    return worker.polls.load() != before;
}

} // namespace

TEST(ActiveObjectTest, StartsOnceStopsAndIsKilledWithinTheWait) {
    // Without a thread Stop and the priority do nothing, and Kill flushes once.
    Worker idle;
    idle.Stop();
    EXPECT_EQ(idle.SetPriority(platform::THREAD_PRIORITY_HIGHEST), 0);
    idle.Kill();
    EXPECT_EQ(idle.flushes.load(), 1);
    EXPECT_EQ(idle.inits.load(), 0);

    Worker worker;
    worker.Start();
    worker.Start();
    ASSERT_TRUE(PollsMove(worker));
    EXPECT_EQ(worker.inits.load(), 1);

    // Stop holds the worker at its next poll, and Kill lifts it to end it.
    worker.Stop();
    std::this_thread::sleep_for(20ms);
    long const held = worker.polls.load();
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(worker.polls.load(), held);
    EXPECT_EQ(worker.SetPriority(platform::THREAD_PRIORITY_LOWEST), 1);
    EXPECT_EQ(::getpriority(PRIO_PROCESS, worker.tid.load()), 10);

    auto const begin = Clock::now();
    worker.Kill();
    EXPECT_LT(Clock::now() - begin, 2500ms);
    EXPECT_EQ(worker.flushes.load(), 2); // in the caller, and at the thread's end
    EXPECT_FALSE(ThreadExists(worker.tid.load()));
    EXPECT_EQ(worker.SetPriority(0), 0);
}

TEST(ActiveObjectTest, AWorkerThatEndsByItselfLeavesNothingForKill) {
    struct Quick : ActiveObject {
        std::atomic<int> flushes{0};
        void InitThread() override {}
        void Run() override {}
        void FlushThread() override { ++flushes; }
    };
    for (int i = 0; i < 50; ++i) {
        auto* quick = new Quick;
        quick->Start();
        if (i % 2 == 0) std::this_thread::sleep_for(1ms); // end before or during Kill
        quick->Kill();
        EXPECT_EQ(quick->flushes.load(), 2);
        delete quick;
    }
}

TEST(ThreadTest, MadeSuspendedAndCountsSuspensions) {
    static std::atomic<long> steps{0};
    static std::atomic<bool> done{false};
    steps = 0;
    done = false;
    auto body = [](void*) -> std::uint32_t {
        while (!done) {
            platform::SuspensionPoint();
            ++steps;
        }
        return 0;
    };
    Thread thread(body, nullptr);
    EXPECT_NE(thread._get_nThreadId(), 0u);
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(steps.load(), 0);
    EXPECT_EQ(thread.Resume(), 1u);
    while (steps.load() == 0)
        std::this_thread::yield();
    EXPECT_EQ(thread.Suspend(), 0u);
    EXPECT_EQ(thread.Suspend(), 1u);
    std::this_thread::sleep_for(20ms);
    long const held = steps.load();
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(steps.load(), held);
    EXPECT_EQ(thread.Resume(), 2u);
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(steps.load(), held); // one suspension is still on
    EXPECT_EQ(thread.Resume(), 1u);
    while (steps.load() == held)
        std::this_thread::yield();
    EXPECT_EQ(thread.SetPriority(7), 0); // not a priority
    done = true;
    thread.WaitForDeath();
    EXPECT_FALSE(ThreadExists(thread._get_nThreadId()));
    EXPECT_EQ(thread.Suspend(), platform::kThreadFailed);
}

TEST(ThreadTest, WaitForDeathGivesUpAfterTwoSeconds) {
    static Event release;
    auto body = [](void*) -> std::uint32_t {
        release.Wait();
        return 0;
    };
    Thread thread(body, nullptr);
    thread.Resume();
    auto const begin = Clock::now();
    thread.WaitForDeath();
    EXPECT_GE(Clock::now() - begin, 1900ms);
    EXPECT_LT(Clock::now() - begin, 2500ms);
    release.Release();
    thread.WaitForDeath();
    EXPECT_FALSE(ThreadExists(thread._get_nThreadId()));
}

TEST(SynchronisationTest, LockExcludesAndUnwindsEventIsAutoReset) {
    Mutex mutex;
    long counter = 0;
    auto add = [&] {
        for (int i = 0; i < 20000; ++i) {
            Lock lock(mutex);
            ++counter;
        }
    };
    std::thread a(add), b(add);
    a.join();
    b.join();
    EXPECT_EQ(counter, 40000);

    // A guard left by an exception releases its mutex.
    EXPECT_THROW(
        {
            Lock lock(mutex);
            throw std::runtime_error("unwind");
        },
        std::runtime_error);
    auto taken = std::async(std::launch::async, [&] { Lock lock(mutex); });
    EXPECT_EQ(taken.wait_for(2s), std::future_status::ready);

    // One release lets one wait through; a copy is the same event.
    Event event;
    Event same = event;
    EXPECT_EQ(static_cast<void*>(event), static_cast<void*>(same));
    event.Release();
    same.Wait();
    std::atomic<bool> through{false};
    std::thread waiter([&] {
        event.Wait();
        through = true;
    });
    std::this_thread::sleep_for(50ms);
    EXPECT_FALSE(through.load());
    same.Release();
    waiter.join();
    EXPECT_TRUE(through.load());
}

#include "fakes.h"

#include <splash/module.h>

#include <platform/msgbox.h>
#include <splash/host/nullwindow.h>
#include <support/recording_box.h>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <thread>

using namespace splash;

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::uint32_t kIdleMs = 100;

// The server with fakes at every seam but the loop, the module and its
// monitor, which are the real ones.
class ServerTest : public ::testing::Test {
protected:
    ServerTest() : module(loop), windows(loop) { module._set_nShutdownIdleMs(kIdleMs); }

    int Run(char const* commandLine) { return ServerMain(commandLine, server); }

    // Once the class is published, a client makes one splash, uses it and
    // lets it go.
    void ClientDoes(std::function<void(ISplashWindow*)> use) {
        host.client = [this, use](ClassFactory& classes) {
            loop.PostTask([&classes, use] {
                ISplashWindow* made = nullptr;
                ASSERT_EQ(classes.CreateInstance(&made), platform::S_OK);
                use(made);
                made->Release();
            });
        };
    }

    splash::EventLoop loop;
    CExeModule module;
    splash::NullWindowSystem windows;
    FakeChecks checks;
    FakeRecentLists recent;
    NullSplashPainter painter;
    SplashServices services{windows, module, checks, recent, painter};
    ClassFactory factory{services};
    FakeHost host;
    FakeRegistrar registrar;
    ServerPlatform server{loop, module, host, registrar, factory};
    FakeProcess process;
    std::optional<platform::ScopedSeam<platform::ProcessService>> exitSeam{
        std::in_place, platform::ProcessSeam(), process};
    RecordingBox box;
    platform::ScopedSeam<platform::MessageBoxService> boxSeam{platform::MessageBoxSeam(), box};
};

// The lead characters of every switch, as the entry scans them.
std::string Tokens(char const* line) {
    std::string out;
    for (char const* t = FindSwitch(line, "-/"); t != nullptr; t = FindSwitch(t, "-/"))
        out += "[" + std::string(t) + "]";
    return out;
}

} // namespace

TEST(FindSwitchTest, StepsToEachLeadCharacter) {
    EXPECT_EQ(FindSwitch(nullptr, "-/"), nullptr);
    EXPECT_EQ(FindSwitch("", "-/"), nullptr);
    EXPECT_EQ(FindSwitch("plain", "-/"), nullptr);
    EXPECT_EQ(Tokens("splash /RegServer -x"), "[RegServer -x][x]");
    EXPECT_EQ(Tokens("/opt/orvel-tools/splash"),
              "[opt/orvel-tools/splash][orvel-tools/splash][tools/splash][splash]");
}

TEST_F(ServerTest, RegistrationSwitchesEndWithoutTheLoop) {
    for (char const* line : {"splash /RegServer", "splash -regserver", "splash /REGSERVER"}) {
        registrar.calls.clear();
        EXPECT_EQ(Run(line), 0) << line;
        EXPECT_EQ(registrar.calls, "apply+100 register") << line;
    }
    registrar.calls.clear();
    registrar.result = static_cast<HRESULT>(0x80070005);
    EXPECT_EQ(Run("/usr/bin/orvel-splash -UnregServer"), static_cast<int>(0x80070005));
    EXPECT_EQ(registrar.calls, "apply-100 unregister");
    EXPECT_EQ(host.calls.find("register "), std::string::npos);
    EXPECT_TRUE(box.shown.empty());
}

TEST_F(ServerTest, AnythingButEmbeddingIsRefused) {
    for (char const* line :
         {"splash", "splash /Automation", "splash /Embedding ", "splash -RegServer /x"}) {
        box.shown.clear();
        EXPECT_EQ(Run(line), 0) << line;
        EXPECT_EQ(box.shown, (std::vector<RecordingBox::Shown>{
                                 {"Do not run from the command line", "Splash", platform::MB_OK}}))
            << line;
    }
    EXPECT_TRUE(registrar.calls.empty());
    EXPECT_EQ(host.calls.find("register "), std::string::npos);
}

TEST_F(ServerTest, RoadOfOneRequestEndsAtTheTickAfterRelease) {
    // "/RegServer /Embedding" matches nothing at the first switch; the second
    // starts the server without registering.
    CSplashWindow* splash = nullptr;
    ClientDoes([&](ISplashWindow* made) {
        splash = static_cast<CSplashWindow*>(made);
        Bstr title(u"Heat Designer"), status(u"Loading units...");
        made->SetSplashTimeout(30);
        made->ShowSplash(title, nullptr, 13, 1, 2009, 2019, nullptr);
        made->SetStatusText(status);
        made->AddToRecentAppList(title, title);
    });
    try {
        Run("splash /RegServer /Embedding");
        ADD_FAILURE() << "the tick should have ended the process";
    } catch (ProcessExited const& exited) {
        EXPECT_EQ(exited.code, 0u);
    }
    EXPECT_TRUE(registrar.calls.empty());
    EXPECT_EQ(host.calls, "init register "); // the end runs nothing more
    ASSERT_NE(splash, nullptr);
    EXPECT_EQ(splash->RefCount(), 1u);
    EXPECT_EQ(recent.apps, 1);
    EXPECT_EQ(checks.registrationChecks, 1);
    splash->Release(); // what the process's end would have freed
}

TEST_F(ServerTest, UntimedSplashEndsThroughTheMonitorAfterTheIdleTime) {
    Clock::time_point released;
    // The client's is the last reference: window and lock go with it.
    ClientDoes([&](ISplashWindow* made) {
        made->SetSplashTimeout(-1);
        made->ShowSplash(nullptr, nullptr, 1, 0, 0, 0, nullptr);
        released = Clock::now();
    });
    module._set_nPostLoopDelayMs(250);
    EXPECT_EQ(Run("splash -Embedding"), 0);
    EXPECT_GE(Clock::now() - released, milliseconds(kIdleMs));
    EXPECT_EQ(host.calls, "init register revoke uninit");
    EXPECT_EQ(process.slept, std::vector<std::uint32_t>{250});
    EXPECT_EQ(module.GetLockCount(), 0);
}

TEST(ShutdownMonitorTest, UnlockRestartsTheIdleTimeAndALiveLockKeepsTheServer) {
    splash::EventLoop loop;
    CExeModule module(loop);
    module._set_nShutdownIdleMs(kIdleMs);
    ASSERT_TRUE(module.StartShutdownMonitor());

    // Quit arrives only after a full idle time from the last unlock.
    auto const quitAt = [&] {
        splash::EventLoop::Message message;
        while (loop.GetMessage(message))
            loop.DispatchMessage(message);
        return Clock::now();
    };
    module.Lock();
    module.Unlock();
    std::this_thread::sleep_for(milliseconds(kIdleMs / 2));
    module.Lock();
    Clock::time_point const lastUnlock = Clock::now();
    module.Unlock();
    EXPECT_GE(quitAt() - lastUnlock, milliseconds(kIdleMs));

    // A lock taken during the idle time and kept: at the timeout the count is
    // not 0, and the monitor goes back to waiting without limit.
    splash::EventLoop loop2;
    CExeModule module2(loop2);
    module2._set_nShutdownIdleMs(kIdleMs);
    module2.StartShutdownMonitor();
    module2.Lock();
    module2.Unlock();
    module2.Lock();
    std::this_thread::sleep_for(milliseconds(kIdleMs * 3));
    bool sentinelFirst = false;
    loop2.PostTask([&] { sentinelFirst = true; });
    splash::EventLoop::Message message;
    ASSERT_TRUE(loop2.GetMessage(message)); // no quit is waiting
    loop2.DispatchMessage(message);
    EXPECT_TRUE(sentinelFirst);
    module2.Unlock(); // now the count reaches 0 again
    EXPECT_FALSE(loop2.GetMessage(message));
}

TEST(EventLoopTest, TimersFireWhenNothingIsQueuedAndQuitComesFromAnyThread) {
    splash::EventLoop loop;
    struct Counter final : splash::MessageTarget {
        void Deliver(std::uint32_t message, std::uintptr_t wParam, std::intptr_t) override {
            if (message == splash::WM_TIMER) ticks += "t" + std::to_string(wParam);
        }
        std::string ticks;
    } target;
    loop.SetTimer(&target, 1, 0); // clamped to the shortest period
    loop.PostTask([] {});
    splash::EventLoop::Message message;
    ASSERT_TRUE(loop.GetMessage(message));
    EXPECT_TRUE(static_cast<bool>(message.task)); // the posted task first
    ASSERT_TRUE(loop.GetMessage(message));
    loop.DispatchMessage(message);
    EXPECT_EQ(target.ticks, "t1");
    loop.KillTimer(&target, 1);

    std::thread quitter([&] { loop.PostQuit(); });
    EXPECT_FALSE(loop.GetMessage(message));
    quitter.join();
}

using ServerDeathTest = ServerTest;

TEST_F(ServerDeathTest, TheTickEndsTheRealProcessWithZero) {
    exitSeam.reset();
    ClientDoes([](ISplashWindow* made) {
        made->SetSplashTimeout(20);
        made->ShowSplash(nullptr, nullptr, 1, 0, 0, 0, nullptr);
    });
    // The exit is not reached: the tick exits first.
    EXPECT_EXIT((Run("orvelsplash -Embedding"), std::exit(3)), ::testing::ExitedWithCode(0), "");
}

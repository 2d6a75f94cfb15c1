// The server process: its entry, the decisions on its command line, the lock
// count of live objects, and the monitor that ends the process once no
// object has been alive for a while.
#pragma once

#include <platform/event.h>
#include <platform/oletypes.h>
#include <splash/host/eventloop.h>
#include <splash/seams.h>
#include <splash/splashwindow.h>

#include <atomic>
#include <cstdint>
#include <thread>

namespace splash {

class CExeModule {
public:
    static constexpr std::uint32_t ShutdownIdleMs = 5000;
    static constexpr std::uint32_t PostLoopDelayMs = 1000;
    static constexpr char SwitchLeadChars[] = "-/";

    // The loop is the main thread's: the monitor posts its quit there.
    explicit CExeModule(splash::EventLoop& loop);
    // Stops a monitor that is still waiting; no thread outlives its module.
    ~CExeModule();
    CExeModule(CExeModule const&) = delete;
    CExeModule& operator=(CExeModule const&) = delete;

    // The loop object is the main thread's own; nothing to note.
    void Init() {}
    void Term() {}

    std::int32_t Lock();
    // Any thread. At zero, wakes the monitor and marks the activity.
    std::int32_t Unlock();
    std::int32_t GetLockCount() const { return lockCount_.load(); }

    // False when the event can't be made, else whether the thread was.
    bool StartShutdownMonitor();

    // The idle time and the delay after the loop, shortened by tests.
    void _set_nShutdownIdleMs(std::uint32_t ms) { shutdownIdleMs_ = ms; }
    void _set_nPostLoopDelayMs(std::uint32_t ms) { postLoopDelayMs_ = ms; }
    std::uint32_t _get_nPostLoopDelayMs() const { return postLoopDelayMs_; }

    platform::AutoResetEvent ShutdownEvent;
    // Written by both threads; the event's signal orders it well enough, and
    // a late set costs one more pass of the monitor.
    std::atomic<bool> ActivitySeen{false};

private:
    void MonitorShutdown();

    splash::EventLoop& loop_;
    std::atomic<std::int32_t> lockCount_{0};
    std::uint32_t shutdownIdleMs_ = ShutdownIdleMs;
    std::uint32_t postLoopDelayMs_ = PostLoopDelayMs;
    std::atomic<bool> stopping_{false};
    // The event is closed when the monitor quits; later signals go nowhere.
    std::atomic<bool> eventClosed_{false};
    std::thread monitor_;
};

// The class object: what a client's activation reaches.
class ClassFactory {
public:
    explicit ClassFactory(SplashServices& services) : services_(services) {}
    // Makes a splash object, which takes a lock on the module.
    HRESULT CreateInstance(ISplashWindow** object) {
        return CSplashWindow::CreateInstance(services_, object);
    }

private:
    SplashServices& services_;
};

// What the server entry reaches.
struct ServerPlatform {
    splash::EventLoop& loop;
    CExeModule& module;
    ClassObjectHost& host;
    ClassRegistrar& registrar;
    ClassFactory& factory;
};

// The position just after the first of leadChars in text, stepping by whole
// characters of the locale; null when there is none.
char const* FindSwitch(char const* text, char const* leadChars);

// What a command line asks of the server: the first switch that matches
// the whole rest of the line decides.
enum class ServerCommand { Unregister, Register, Serve, Refuse };
ServerCommand ReadCommandLine(char const* commandLine);

// The server entry: the whole command line, the program's path included.
// Returns the process's exit code.
int ServerMain(char const* commandLine, ServerPlatform& server);

} // namespace splash

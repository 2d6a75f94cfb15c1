#include <splash/module.h>

#include <platform/msgbox.h>
#include <platform/process.h>

#include <chrono>
#include <clocale>
#include <cstring>
#include <cwchar>
#include <strings.h>
#include <sys/syscall.h>
#include <unistd.h>

CExeModule::CExeModule(platform::EventLoop& loop) : loop_(loop) {}

CExeModule::~CExeModule() {
    stopping_ = true;
    ShutdownEvent.Set();
    if (monitor_.joinable()) monitor_.join();
}

void CExeModule::Init() {
    MainThreadId = static_cast<std::uint32_t>(::syscall(SYS_gettid));
}

std::int32_t CExeModule::Lock() {
    return ++lockCount_;
}

std::int32_t CExeModule::Unlock() {
    std::int32_t const count = --lockCount_;
    if (count == 0) {
        ActivitySeen = true;
        if (!eventClosed_) ShutdownEvent.Set();
    }
    return count;
}

bool CExeModule::StartShutdownMonitor() {
    if (monitor_.joinable()) return true;
    try {
        monitor_ = std::thread([this] { MonitorShutdown(); });
    } catch (std::system_error const&) {
        return false;
    }
    return true;
}

void CExeModule::MonitorShutdown() {
    for (;;) {
        ShutdownEvent.Wait();
        if (stopping_) return;
        // Every further unlock to zero starts the idle time anew.
        do {
            ActivitySeen = false;
        } while (ShutdownEvent.WaitFor(std::chrono::milliseconds(shutdownIdleMs_)) && !stopping_);
        if (stopping_) return;
        if (!ActivitySeen && lockCount_ == 0) break;
    }
    eventClosed_ = true;
    loop_.PostQuit();
}

char const* FindSwitch(char const* text, char const* leadChars) {
    if (text == nullptr || *text == '\0') return nullptr;
    std::mbstate_t state{};
    std::size_t left = std::strlen(text);
    while (*text != '\0') {
        if (std::strchr(leadChars, *text) != nullptr) return text + 1;
        // One whole character of the locale; a byte that starts none is a
        // step of its own.
        std::size_t step = std::mbrlen(text, left, &state);
        if (step == 0 || step > left) {
            step = 1;
            state = std::mbstate_t{};
        }
        text += step;
        left -= step;
    }
    return nullptr;
}

int ServerMain(char const* commandLine, ServerPlatform& server) {
    server.host.Initialize();
    server.module.Init();

    bool run = true;
    bool embedding = false;
    int result = 0;

    // Each comparison takes the whole rest of the line, so a switch with
    // anything after it matches nothing.
    for (char const* token = FindSwitch(commandLine, CExeModule::SwitchLeadChars); token != nullptr;
         token = FindSwitch(token, CExeModule::SwitchLeadChars)) {
        if (::strcasecmp(token, "UnregServer") == 0) {
            server.registrar.ApplyScript(ClassRegistrar::kAppScript, false);
            result = server.registrar.UnregisterServer();
            run = false;
            break;
        }
        if (::strcasecmp(token, "RegServer") == 0) {
            server.registrar.ApplyScript(ClassRegistrar::kAppScript, true);
            result = server.registrar.RegisterServer();
            run = false;
            break;
        }
        if (::strcasecmp(token, "Embedding") == 0) {
            embedding = true;
            break;
        }
    }

    if (run && !embedding) {
        platform::MessageBoxA(nullptr, "Do not run from the command line", "Splash",
                              platform::MB_OK);
        run = false;
    }

    if (run) {
        server.module.StartShutdownMonitor();
        // Not tested: the loop runs even if publishing failed.
        server.host.RegisterClassObjects(server.factory);
        platform::EventLoop::Message message;
        while (server.loop.GetMessage(message))
            server.loop.DispatchMessage(message);
        server.host.RevokeClassObjects();
        platform::Sleep(server.module._get_nPostLoopDelayMs());
    }

    server.module.Term();
    server.host.Uninitialize();
    return result;
}

#include <splash/module.h>

#include <platform/msgbox.h>
#include <platform/process.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <clocale>
#include <cstring>
#include <cwchar>
#include <string_view>

namespace splash {

CExeModule::CExeModule(splash::EventLoop& loop) : loop_(loop) {}

CExeModule::~CExeModule() {
    stopping_ = true;
    ShutdownEvent.Set();
    if (monitor_.joinable()) monitor_.join();
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

namespace {

// The whole rest of the line against a switch's name, in either case.
bool SwitchIs(char const* rest, std::string_view name) {
    std::string_view const text = rest;
    return text.size() == name.size() &&
           std::equal(text.begin(), text.end(), name.begin(), [](char a, char b) {
               return std::tolower(static_cast<unsigned char>(a)) ==
                      std::tolower(static_cast<unsigned char>(b));
           });
}

} // namespace

ServerCommand ReadCommandLine(char const* commandLine) {
    // Each comparison takes the whole rest of the line, so a switch with
    // anything after it matches nothing.
    for (char const* token = FindSwitch(commandLine, CExeModule::SwitchLeadChars); token != nullptr;
         token = FindSwitch(token, CExeModule::SwitchLeadChars)) {
        if (SwitchIs(token, "UnregServer")) return ServerCommand::Unregister;
        if (SwitchIs(token, "RegServer")) return ServerCommand::Register;
        if (SwitchIs(token, "Embedding")) return ServerCommand::Serve;
    }
    return ServerCommand::Refuse;
}

int ServerMain(char const* commandLine, ServerPlatform& server) {
    server.host.Initialize();
    server.module.Init();

    int result = 0;
    ServerCommand const command = ReadCommandLine(commandLine);
    if (command == ServerCommand::Unregister) {
        server.registrar.ApplyScript(ClassRegistrar::kAppScript, false);
        result = server.registrar.UnregisterServer();
    } else if (command == ServerCommand::Register) {
        server.registrar.ApplyScript(ClassRegistrar::kAppScript, true);
        result = server.registrar.RegisterServer();
    } else if (command == ServerCommand::Refuse) {
        platform::MessageBoxA(nullptr, "Do not run from the command line", "Splash",
                              platform::MB_OK);
    } else {
        server.module.StartShutdownMonitor();
        // A server that no client can reach (no bus, or the name is another
        // server's) ends at once; the host has said why.
        result = server.host.RegisterClassObjects(server.factory);
        if (platform::SUCCEEDED(result)) {
            splash::EventLoop::Message message;
            while (server.loop.GetMessage(message))
                server.loop.DispatchMessage(message);
        }
        server.host.RevokeClassObjects();
        if (platform::SUCCEEDED(result)) platform::Sleep(server.module._get_nPostLoopDelayMs());
    }

    server.module.Term();
    server.host.Uninitialize();
    return result;
}

} // namespace splash

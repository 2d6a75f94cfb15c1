// orvelsplash: the per-client splash server.
#include <platform/registry.h>
#include <platform/userhome.h>
#include <splash/host/bushost.h>
#include <splash/host/eventloop.h>
#include <splash/host/x11window.h>
#include <splash/module.h>
#include <splash/recentlists.h>
#include <splash/seams.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <string>

namespace {

// The command line as one text, the program's path first, as the server
// entry reads it.
std::string CommandLine(int argc, char** argv) {
    std::string line;
    for (int i = 0; i < argc; ++i) {
        if (i != 0) line += ' ';
        std::string const arg = argv[i];
        bool const quote = i == 0 && arg.find(' ') != std::string::npos;
        line += quote ? "\"" + arg + "\"" : arg;
    }
    return line;
}

} // namespace

int main(int argc, char** argv) {
    using namespace splash;
    // The narrow texts the store and the lists keep are UTF-8, the desktop's
    // one character set, whatever the locale the bus started us in.
    std::setlocale(LC_ALL, "");
    if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) std::setlocale(LC_CTYPE, "C.utf8");
    // A display or bus that goes away is an error on its connection, which
    // the server answers; it must not end the process by a signal.
    std::signal(SIGPIPE, SIG_IGN);

    std::string const commandLine = CommandLine(argc, argv);
    ServerCommand const command = ReadCommandLine(commandLine.c_str());
    // Per-user places are never made in a shared folder.
    if (command != ServerCommand::Refuse &&
        (platform::RegistryDatabasePath().empty() ||
         (command != ServerCommand::Serve && BusClassRegistrar::ServiceFilePath().empty()))) {
        std::fprintf(stderr, "orvelsplash: %s; %s\n", platform::kNoHomeText,
                     command == ServerCommand::Serve ? "this server ends" : "nothing registered");
        return 1;
    }

    splash::EventLoop loop;
    // Only a serving process shows anything.
    splash::SplashScreen const screen = command == ServerCommand::Serve
                                            ? splash::OpenSplashScreen(loop)
                                            : splash::ScreenlessSplash(loop);
    splash::WindowSystem& windows = *screen.windows;
    CExeModule module(loop);
    NullSplashChecks checks;
    BusClassHost host(loop);
    BusControlPanel controlPanel(host);
    RecentListStore recent(controlPanel, &loop);
    SplashPainter& painter = *screen.painter;
    SplashServices services{windows, module, checks, recent, painter};
    ClassFactory factory(services);
    BusClassRegistrar registrar;
    ServerPlatform server{loop, module, host, registrar, factory};

    HRESULT const result = ServerMain(commandLine.c_str(), server);
    if (result != 0 && command != ServerCommand::Serve) {
        std::fprintf(stderr, "orvelsplash: %s failed: %s\n",
                     command == ServerCommand::Register ? "registration" : "unregistration",
                     registrar.Failure().empty() ? "an unknown reason"
                                                 : registrar.Failure().c_str());
    }
    // A parent sees the low byte only: a failure must not read as 0 there.
    return result == 0 || (result & 0xFF) != 0 ? result : 1;
}

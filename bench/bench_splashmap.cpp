// How soon a splash is on the screen, beside a program of Xlib alone that
// maps a window of the same size, with the resident memory of each then.
// Warm: from the create call in a running server to the window painted and
// to it mapped. Cold, what a user waits for: from a client's activation call
// (the bus starting the server) to the window mapped, beside the bare
// program's start to its window mapped. Every sample is a process of its
// own, as every splash is. With no $DISPLAY, the run brings its own virtual
// server; the cold runs bring their own session bus.
#include <platform/busclient.h>
#include <platform/comalloc.h>
#include <splash/bitmapcache.h>
#include <splash/host/bushost.h>
#include <splash/host/eventloop.h>
#include <splash/host/x11window.h>
#include <splash/module.h>
#include <splash/splashimage.h>
#include <splash/splashpaint.h>
#include <splash/splashwindow.h>
#include <splashclient/splashclient.h>
#include <support/xvfb.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <filesystem>
#include <fstream>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

// The watcher's own connection, which sees windows mapped as another client
// on the desktop does.
#include <X11/Xlib.h>

using namespace splash;

namespace {

constexpr int kSamples = 21;
using Clock = std::chrono::steady_clock;

long ResidentKilobytes(std::string const& process = "self") {
    std::FILE* status = std::fopen(("/proc/" + process + "/status").c_str(), "r");
    if (status == nullptr) return -1;
    char line[256];
    long kb = -1;
    while (std::fgets(line, sizeof line, status) != nullptr)
        if (std::strncmp(line, "VmRSS:", 6) == 0) std::sscanf(line + 6, "%ld", &kb);
    std::fclose(status);
    return kb;
}

long long Nanoseconds(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(to - from).count();
}

// Sees each top-level window of the display mapped, as the X server tells
// every client that asks.
class MapWatcher {
public:
    MapWatcher() : display_(XOpenDisplay(nullptr)) {
        if (display_ == nullptr) return;
        XSelectInput(display_, DefaultRootWindow(display_), SubstructureNotifyMask);
        XSync(display_, False);
    }
    ~MapWatcher() {
        if (display_ != nullptr) XCloseDisplay(display_);
    }
    MapWatcher(MapWatcher const&) = delete;
    MapWatcher& operator=(MapWatcher const&) = delete;
    bool Ready() const { return display_ != nullptr; }

    // When the next window was seen mapped; nothing by the deadline.
    std::optional<Clock::time_point> NextMap(Clock::time_point deadline) {
        for (;;) {
            while (XPending(display_) > 0) {
                XEvent event;
                XNextEvent(display_, &event);
                if (event.type == MapNotify) return Clock::now();
            }
            auto const left =
                std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
            if (left.count() <= 0) return std::nullopt;
            pollfd ready{ConnectionNumber(display_), POLLIN, 0};
            poll(&ready, 1, static_cast<int>(left.count()) + 1);
        }
    }

private:
    Display* display_;
};

// The server as it runs: its display opened at start, then one client's
// create and show. Prints the nanoseconds to the window mapped (as another
// client sees it) and to the end of the first paint, and the resident
// kilobytes then.
int SplashSample() {
    splash::EventLoop loop;
    std::unique_ptr<splash::XWindowSystem> windows = splash::XWindowSystem::Open(loop);
    MapWatcher watcher;
    if (!windows || !watcher.Ready()) return 2;
    CExeModule module(loop);
    NullSplashChecks checks;
    NullRecentLists recent;

    struct TimedPainter final : SplashPainter {
        void Paint(splash::Window& window, SplashState& state) override {
            painter.Paint(window, state);
            if (!painted) painted = Clock::now();
        }
        CairoSplashPainter painter;
        std::optional<Clock::time_point> painted;
    } painter;
    SplashServices services{*windows, module, checks, recent, painter};

    BSTR const title = platform::SysAllocString(u"Heat Exchanger Designer");
    BSTR const subtitle = platform::SysAllocString(u"Orvel Engineering");
    BSTR const licensee = platform::SysAllocString(u"Acme Process Engineering Ltd.");

    Clock::time_point const start = Clock::now();
    ISplashWindow* object = nullptr;
    if (platform::FAILED(CSplashWindow::CreateInstance(services, &object))) return 3;
    object->SetSplashTimeout(-1);
    object->ShowSplash(title, subtitle, 8, 4, 2005, 2019, licensee);
    Clock::time_point const deadline = start + std::chrono::seconds(10);
    while (!painter.painted && Clock::now() < deadline) {
        splash::EventLoop::Message message;
        if (!loop.GetMessage(message)) break;
        loop.DispatchMessage(message);
    }
    std::optional<Clock::time_point> const mapped = watcher.NextMap(deadline);
    if (!painter.painted || !mapped) return 4;
    long const resident = ResidentKilobytes();
    std::printf("%lld %lld %ld\n", Nanoseconds(start, *mapped),
                Nanoseconds(start, *painter.painted), resident);

    object->Release();
    platform::SysFreeString(title);
    platform::SysFreeString(subtitle);
    platform::SysFreeString(licensee);
    return 0;
}

// Where a fresh server's start-up goes, phase by phase, in a process that
// links what the server links: from the parent's spawn to main (loading and
// linking the libraries, static initialisation), the session bus's
// connection, the display's, the first font (fontconfig's start), the
// bitmaps the first paint draws, and a first and a second paint (the second
// with its fonts and bitmaps made: drawing only). Prints the nanoseconds of
// each.
int PhaseSample(char const* spawned) {
    Clock::time_point const entered = Clock::now();
    long long const toMain =
        std::chrono::duration_cast<std::chrono::nanoseconds>(entered.time_since_epoch()).count() -
        std::atoll(spawned);
    std::string error;
    std::unique_ptr<platform::BusConnection> bus = platform::BusConnection::OpenUser(&error);
    Clock::time_point const busDone = Clock::now();
    splash::EventLoop loop;
    std::unique_ptr<splash::XWindowSystem> display = splash::XWindowSystem::Open(loop);
    Clock::time_point const displayDone = Clock::now();
    if (!bus || !display) return 2;
    { splash::Font const first("Arial", splash::CellHeight(16, 96), 700); }
    Clock::time_point const fontDone = Clock::now();
    // The one bitmap the first paint of this splash draws: the background.
    splash::ProgramBitmap(238, splash::BitmapRoute::AsStored);
    Clock::time_point const imagesDone = Clock::now();

    ImageWindowSystem windows;
    CExeModule module(loop);
    NullSplashChecks checks;
    NullRecentLists recent;
    CairoSplashPainter painter;
    SplashServices services{windows, module, checks, recent, painter};
    ISplashWindow* object = nullptr;
    if (platform::FAILED(CSplashWindow::CreateInstance(services, &object))) return 3;
    object->SetSplashTimeout(-1);
    BSTR const title = platform::SysAllocString(u"Heat Exchanger Designer");
    object->ShowSplash(title, title, 8, 4, 2005, 2019, title);
    Clock::time_point const paintStart = Clock::now();
    windows.LastWindow()->UpdateWindow();
    Clock::time_point const firstPaint = Clock::now();
    windows.LastWindow()->InvalidateRect(nullptr, true);
    windows.LastWindow()->UpdateWindow();
    Clock::time_point const secondPaint = Clock::now();
    std::printf("%lld %lld %lld %lld %lld %lld %lld\n", toMain, Nanoseconds(entered, busDone),
                Nanoseconds(busDone, displayDone), Nanoseconds(displayDone, fontDone),
                Nanoseconds(fontDone, imagesDone), Nanoseconds(paintStart, firstPaint),
                Nanoseconds(firstPaint, secondPaint));
    object->Release();
    platform::SysFreeString(title);
    return 0;
}

pid_t Spawn(std::vector<std::string> args, int outFd = -1) {
    std::vector<char*> argv;
    for (std::string& arg : args)
        argv.push_back(arg.data());
    argv.push_back(nullptr);
    pid_t const pid = fork();
    if (pid == 0) {
        if (outFd >= 0) dup2(outFd, STDOUT_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    return pid;
}

bool Gone(pid_t pid, Clock::time_point deadline) {
    while (Clock::now() < deadline) {
        if (kill(pid, 0) != 0) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return false;
}

// A session bus of the run's own, whose one service is the server.
class PrivateBus {
public:
    PrivateBus() {
        char folder[] = "/tmp/splashcold-XXXXXX";
        if (mkdtemp(folder) == nullptr) return;
        folder_ = folder;
        std::filesystem::create_directories(folder_ + "/services");
        // Another build of the server may stand in, to compare two builds.
        char const* const other = std::getenv("SPLASHMAP_SERVER");
        std::ofstream(folder_ + "/services/" + splashbus::kServiceName + ".service")
            << splash::BusClassRegistrar::ServiceFileText(other != nullptr ? other
                                                                           : ORVELSPLASH_PROGRAM);
        std::ofstream(folder_ + "/bus.conf")
            << "<busconfig><type>session</type><listen>unix:dir=" << folder_
            << "</listen><servicedir>" << folder_ << "/services</servicedir>"
            << "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
            << "<allow eavesdrop=\"true\"/><allow own=\"*\"/>"
            << "</policy></busconfig>\n";
        // The server's store, kept apart from the user's.
        setenv("ORVELTECH_REGISTRY", (folder_ + "/registry.db").c_str(), 1);
        int fds[2];
        if (pipe(fds) != 0) return;
        pid_ = Spawn({"/usr/bin/dbus-daemon", "--config-file", folder_ + "/bus.conf", "--nofork",
                      "--print-address=1"},
                     fds[1]);
        close(fds[1]);
        char buffer[512];
        ssize_t const got = read(fds[0], buffer, sizeof buffer - 1);
        close(fds[0]);
        if (got <= 0) return;
        address_.assign(buffer, static_cast<std::size_t>(got));
        address_.erase(address_.find_last_not_of('\n') + 1);
        setenv("DBUS_SESSION_BUS_ADDRESS", address_.c_str(), 1);
    }
    ~PrivateBus() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
        if (!folder_.empty()) std::filesystem::remove_all(folder_);
    }
    PrivateBus(PrivateBus const&) = delete;
    PrivateBus& operator=(PrivateBus const&) = delete;
    bool Ready() const { return !address_.empty(); }

private:
    std::string folder_;
    std::string address_;
    pid_t pid_ = -1;
};

struct ColdSample {
    long long mappedNs = 0;
    long residentKb = 0;
};

// A client's activation and show, the bus starting a fresh server, up to
// the window mapped; the server's resident memory then.
std::optional<ColdSample> ColdSplash(MapWatcher& watcher) {
    Clock::time_point const start = Clock::now();
    std::string error;
    std::unique_ptr<SplashClient> client = SplashClient::Create(&error);
    if (!client) {
        std::fprintf(stderr, "bench_splashmap: no splash (%s)\n", error.c_str());
        return std::nullopt;
    }
    client->SetSplashTimeout(10);
    client->ShowSplash("Heat Exchanger Designer", "Orvel Engineering", 8, 4, 2005, 2019,
                       "Acme Process Engineering Ltd.");
    std::optional<Clock::time_point> const mapped =
        watcher.NextMap(start + std::chrono::seconds(10));
    if (!mapped) {
        std::fputs("bench_splashmap: the splash was not mapped\n", stderr);
        return std::nullopt;
    }
    auto const server = static_cast<pid_t>(client->ServerProcessId());
    ColdSample const sample{Nanoseconds(start, *mapped), ResidentKilobytes(std::to_string(server))};
    client->Release();
    client.reset();
    // The next sample is a fresh process again.
    if (!Gone(server, Clock::now() + std::chrono::seconds(5))) {
        std::fputs("bench_splashmap: the server outlived its client\n", stderr);
        return std::nullopt;
    }
    return sample;
}

// The bare program started as a fresh process, up to its window mapped.
// What a child writes to the pipe until it closes it; the end is closed.
std::string ReadToEnd(int fd) {
    std::string output;
    char buffer[256];
    ssize_t got;
    while ((got = read(fd, buffer, sizeof buffer)) > 0)
        output.append(buffer, static_cast<std::size_t>(got));
    close(fd);
    return output;
}

std::optional<ColdSample> ColdBare(MapWatcher& watcher) {
    int fds[2];
    if (pipe(fds) != 0) return std::nullopt;
    Clock::time_point const start = Clock::now();
    pid_t const pid = Spawn({SPLASHMAP_BARE}, fds[1]);
    close(fds[1]);
    std::optional<Clock::time_point> const mapped =
        watcher.NextMap(start + std::chrono::seconds(10));
    std::string const output = ReadToEnd(fds[0]);
    waitpid(pid, nullptr, 0);
    long long bareNs = 0;
    long resident = -1;
    if (!mapped || std::sscanf(output.c_str(), "%lld %ld", &bareNs, &resident) != 2)
        return std::nullopt;
    return ColdSample{Nanoseconds(start, *mapped), resident};
}

// Runs a program and answers the numbers it printed, or nothing.
std::vector<long long> Run(std::vector<std::string> args) {
    std::vector<char*> argv;
    for (std::string& arg : args)
        argv.push_back(arg.data());
    argv.push_back(nullptr);
    int pipeFds[2];
    if (pipe(pipeFds) != 0) return {};
    pid_t const pid = fork();
    if (pid == 0) {
        dup2(pipeFds[1], STDOUT_FILENO);
        close(pipeFds[0]);
        close(pipeFds[1]);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(pipeFds[1]);
    std::string const output = ReadToEnd(pipeFds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return {};
    std::vector<long long> numbers;
    char const* p = output.c_str();
    char* end = nullptr;
    for (long long n = std::strtoll(p, &end, 10); end != p; n = std::strtoll(p, &end, 10)) {
        numbers.push_back(n);
        p = end;
    }
    return numbers;
}

template <class T> double Median(std::vector<T> values) {
    std::sort(values.begin(), values.end());
    std::size_t const n = values.size();
    return n % 2 == 1 ? static_cast<double>(values[n / 2])
                      : (static_cast<double>(values[n / 2 - 1]) + values[n / 2]) / 2.0;
}

// The phases of a fresh server's start, each sample a fresh process.
int Phases(std::string const& self) {
    constexpr char const* kNames[] = {"spawn to main (linking, static init)",
                                      "session bus connection",
                                      "display connection",
                                      "first font (fontconfig start)",
                                      "images of the first paint",
                                      "first paint, its other fonts",
                                      "a paint, fonts and images made"};
    constexpr std::size_t kCount = std::size(kNames);
    std::vector<std::vector<long long>> phases(kCount);
    for (int i = 0; i <= kSamples; ++i) {
        long long const now =
            std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch())
                .count();
        std::vector<long long> const s = Run({self, "--phases", std::to_string(now)});
        if (s.size() != kCount) {
            std::fprintf(stderr, "bench_splashmap: a phase sample failed\n");
            return 1;
        }
        if (i == 0) continue;
        for (std::size_t k = 0; k < kCount; ++k)
            phases[k].push_back(s[k]);
    }
    std::printf("\nphases of a fresh server's start, median of %d runs\n\n", kSamples);
    for (std::size_t k = 0; k < kCount; ++k)
        std::printf("%-40s %10.2f ms\n", kNames[k], Median(phases[k]) / 1e6);
    return 0;
}

// The cold start, each sample a fresh process: the server activated through
// the bus, and the bare program.
int ColdStart(std::string const& self) {
    PrivateBus bus;
    MapWatcher watcher;
    if (!bus.Ready() || !watcher.Ready()) {
        std::fprintf(stderr, "bench_splashmap: no private session bus for the cold start\n");
        return 1;
    }
    std::vector<long long> oursMapped, bareMapped;
    std::vector<long> oursResident, bareResident;
    // The first pair warms the caches of fonts and programs; it is not kept.
    for (int i = 0; i <= kSamples; ++i) {
        std::optional<ColdSample> const s = ColdSplash(watcher);
        std::optional<ColdSample> const b = ColdBare(watcher);
        if (!s || !b) {
            std::fprintf(stderr, "bench_splashmap: a cold sample failed (%s)\n",
                         !s ? "the server's" : "the bare program's");
            return 1;
        }
        if (i == 0) continue;
        oursMapped.push_back(s->mappedNs);
        oursResident.push_back(s->residentKb);
        bareMapped.push_back(b->mappedNs);
        bareResident.push_back(b->residentKb);
    }
    double const mapped = Median(oursMapped), bareMap = Median(bareMapped);
    double const resident = Median(oursResident), bareRes = Median(bareResident);
    std::printf("\ncold start, median of %d runs, each a fresh process\n\n", kSamples);
    std::printf("%-32s %14s %14s %8s\n", "", "orvelsplash", "bare Xlib", "ratio");
    std::printf("%-32s %14.2f %14.2f %8.2f\n", "start to mapped, ms", mapped / 1e6, bareMap / 1e6,
                mapped / bareMap);
    std::printf("%-32s %14.0f %14.0f %8.2f\n", "resident memory then, KiB", resident, bareRes,
                resident / bareRes);
    return Phases(self);
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--sample") == 0) return SplashSample();
    if (argc > 2 && std::strcmp(argv[1], "--phases") == 0) return PhaseSample(argv[2]);

    std::optional<ScopedXvfb> server;
    if (std::getenv("DISPLAY") == nullptr) {
        server.emplace("1280x800x24");
        if (!server->Running()) {
            std::fprintf(stderr, "bench_splashmap: no display, and %s\n",
                         server->Failure().c_str());
            return 1;
        }
        setenv("DISPLAY", server->Name().c_str(), 1);
    }

    std::string const self = "/proc/self/exe";
    char resolved[4096] = {};
    ssize_t const length = readlink(self.c_str(), resolved, sizeof resolved - 1);
    std::string const ours =
        length > 0 ? std::string(resolved, static_cast<std::size_t>(length)) : std::string(argv[0]);
    std::string const bare = SPLASHMAP_BARE;

    std::vector<long long> oursMapped, oursPainted, oursResident, bareMapped, bareResident;
    // The first pair warms the caches of fonts and programs; it is not kept.
    for (int i = 0; i <= kSamples; ++i) {
        std::vector<long long> const s = Run({ours, "--sample"});
        std::vector<long long> const b = Run({bare});
        if (s.size() != 3 || b.size() != 2) {
            std::fprintf(stderr, "bench_splashmap: a sample failed (%s)\n",
                         s.size() != 3 ? "the server's" : "the bare program's");
            return 1;
        }
        if (i == 0) continue;
        oursMapped.push_back(s[0]);
        oursPainted.push_back(s[1]);
        oursResident.push_back(s[2]);
        bareMapped.push_back(b[0]);
        bareResident.push_back(b[1]);
    }

    double const mapped = Median(oursMapped), painted = Median(oursPainted);
    double const resident = Median(oursResident);
    double const bareMap = Median(bareMapped), bareRes = Median(bareResident);
    std::printf("median of %d runs, each a process of its own\n\n", kSamples);
    std::printf("%-32s %14s %14s %8s\n", "", "orvelsplash", "bare Xlib", "ratio");
    std::printf("%-32s %14.2f %14s %8s\n", "create call to painted, ms", painted / 1e6, "-", "-");
    std::printf("%-32s %14.2f %14.2f %8.2f\n", "create call to mapped, ms", mapped / 1e6,
                bareMap / 1e6, mapped / bareMap);
    std::printf("%-32s %14.0f %14.0f %8.2f\n", "resident memory then, KiB", resident, bareRes,
                resident / bareRes);
    return ColdStart(ours);
}

// The time from a client's create call to the splash being mapped, and the
// server's resident memory then, beside a program of Xlib alone that maps a
// window of the same size. Every sample is a process of its own, as every
// splash is. With no $DISPLAY, the run brings its own virtual server.
#include <platform/comalloc.h>
#include <splash/host/eventloop.h>
#include <splash/module.h>
#include <splash/splashpaint.h>
#include <splash/splashwindow.h>
#include <splash/host/x11window.h>
#include <support/xvfb.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

using namespace splash;

namespace {

constexpr int kSamples = 15;
using Clock = std::chrono::steady_clock;

long ResidentKilobytes() {
    std::FILE* status = std::fopen("/proc/self/status", "r");
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

// The server as it runs: its display opened at start, then one client's
// create and show. Prints the nanoseconds to the first exposure and to the
// end of the first paint, and the resident kilobytes after it.
int SplashSample() {
    splash::EventLoop loop;
    std::unique_ptr<splash::XWindowSystem> windows = splash::XWindowSystem::Open(loop);
    if (!windows) return 2;
    CExeModule module(loop);
    NullSplashChecks checks;
    NullRecentLists recent;

    struct TimedPainter final : SplashPainter {
        void Paint(splash::Window& window, SplashState& state) override {
            if (!exposed) exposed = Clock::now();
            painter.Paint(window, state);
            if (!painted) painted = Clock::now();
        }
        CairoSplashPainter painter;
        std::optional<Clock::time_point> exposed, painted;
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
    if (!painter.painted) return 4;
    long const resident = ResidentKilobytes();
    std::printf("%lld %lld %ld\n", Nanoseconds(start, *painter.exposed),
                Nanoseconds(start, *painter.painted), resident);

    object->Release();
    platform::SysFreeString(title);
    platform::SysFreeString(subtitle);
    platform::SysFreeString(licensee);
    return 0;
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
    std::string output;
    char buffer[256];
    ssize_t got;
    while ((got = read(pipeFds[0], buffer, sizeof buffer)) > 0)
        output.append(buffer, static_cast<std::size_t>(got));
    close(pipeFds[0]);
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

double Median(std::vector<long long> values) {
    std::sort(values.begin(), values.end());
    std::size_t const n = values.size();
    return n % 2 == 1 ? static_cast<double>(values[n / 2])
                      : (static_cast<double>(values[n / 2 - 1]) + values[n / 2]) / 2.0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--sample") == 0) return SplashSample();

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
    std::printf("%-32s %14.2f %14.2f %8.2f\n", "create call to mapped, ms", mapped / 1e6,
                bareMap / 1e6, mapped / bareMap);
    std::printf("%-32s %14.2f %14s %8s\n", "create call to painted, ms", painted / 1e6, "-", "-");
    std::printf("%-32s %14.0f %14.0f %8.2f\n", "resident memory then, KiB", resident, bareRes,
                resident / bareRes);
    return 0;
}

// A virtual X server of one's own for the length of a scope, on a display
// number that nobody else holds, so that runs in parallel keep apart.
#pragma once

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

class ScopedXvfb {
public:
    // screen: WIDTHxHEIGHTxDEPTH; options go on the server's command line.
    explicit ScopedXvfb(std::string const& screen, std::vector<std::string> options = {})
        : options_(std::move(options)) {
        std::string const program = FindInPath("Xvfb");
        if (program.empty()) {
            failure_ = "Xvfb is not installed (the xvfb package)";
            return;
        }
        int const base = 1000 + static_cast<int>(getpid() % 20000);
        int starts = 0;
        for (int number = base; number < base + 40 && pid_ < 0 && starts < 5; ++number) {
            if (Exists(SocketPath(number)) || Exists("/tmp/.X" + std::to_string(number) + "-lock"))
                continue;
            ++starts;
            Start(program, number, screen);
        }
        if (pid_ < 0 && failure_.empty()) failure_ = "no free display number for Xvfb";
    }

    ~ScopedXvfb() {
        if (pid_ <= 0) return;
        kill(pid_, SIGTERM);
        int status = 0;
        waitpid(pid_, &status, 0);
    }

    ScopedXvfb(ScopedXvfb const&) = delete;
    ScopedXvfb& operator=(ScopedXvfb const&) = delete;

    bool Running() const { return pid_ > 0; }
    std::string const& Name() const { return name_; } // ":N", for XOpenDisplay and $DISPLAY
    std::string const& Failure() const { return failure_; }

private:
    static std::string SocketPath(int number) {
        return "/tmp/.X11-unix/X" + std::to_string(number);
    }

    static bool Exists(std::string const& path) {
        struct stat st {};
        return stat(path.c_str(), &st) == 0;
    }

    static std::string FindInPath(char const* name) {
        char const* path = std::getenv("PATH");
        std::string rest = path != nullptr ? path : "/usr/bin:/bin";
        for (std::size_t start = 0; start <= rest.size();) {
            std::size_t end = rest.find(':', start);
            if (end == std::string::npos) end = rest.size();
            std::string const candidate = rest.substr(start, end - start) + "/" + name;
            if (access(candidate.c_str(), X_OK) == 0) return candidate;
            start = end + 1;
        }
        return {};
    }

    static bool Accepts(std::string const& socketPath) {
        int const fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (fd < 0) return false;
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
        bool const ok = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        close(fd);
        return ok;
    }

    void Start(std::string const& program, int number, std::string const& screen) {
        std::string const display = ":" + std::to_string(number);
        std::vector<std::string> args = {program, display,     "-screen", "0",
                                         screen,  "-nolisten", "tcp",     "-noreset"};
        args.insert(args.end(), options_.begin(), options_.end());
        std::vector<char*> argv;
        for (std::string& arg : args)
            argv.push_back(arg.data());
        argv.push_back(nullptr);

        pid_t const pid = fork();
        if (pid < 0) {
            failure_ = std::string("fork: ") + std::strerror(errno);
            return;
        }
        if (pid == 0) {
            // The server goes with its test, however the test ends.
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            int const null = open("/dev/null", O_RDWR);
            dup2(null, STDOUT_FILENO);
            dup2(null, STDERR_FILENO);
            execv(argv[0], argv.data());
            _exit(127);
        }

        auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (std::chrono::steady_clock::now() < deadline) {
            int status = 0;
            if (waitpid(pid, &status, WNOHANG) == pid) {
                failure_ = "Xvfb " + display + " -screen 0 " + screen + " did not start";
                return; // e.g. another run took the number first
            }
            if (Accepts(SocketPath(number))) {
                pid_ = pid;
                name_ = display;
                failure_.clear();
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        failure_ = "Xvfb " + display + " did not answer within 10 s";
    }

    std::vector<std::string> options_;
    pid_t pid_ = -1;
    std::string name_;
    std::string failure_;
};

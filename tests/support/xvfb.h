// A virtual X server of one's own for the length of a scope. The server takes
// a display number that nobody else holds and writes it down once it accepts
// connections, so that runs in parallel keep apart.
#pragma once

#include <csignal>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

class ScopedXvfb {
public:
    // screen: WIDTHxHEIGHTxDEPTH; options go on the server's command line.
    explicit ScopedXvfb(std::string const& screen, std::vector<std::string> const& options = {}) {
        int ready[2];
        if (pipe(ready) != 0) {
            failure_ = "no pipe for Xvfb";
            return;
        }
        std::vector<std::string> args = {"Xvfb",      "-displayfd", std::to_string(ready[1]),
                                         "-screen",   "0",          screen,
                                         "-nolisten", "tcp",        "-noreset"};
        args.insert(args.end(), options.begin(), options.end());
        std::vector<char*> argv;
        for (std::string& arg : args)
            argv.push_back(arg.data());
        argv.push_back(nullptr);
        pid_ = fork();
        if (pid_ == 0) {
            // The server goes with its test, however the test ends.
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            close(ready[0]);
            int const null = open("/dev/null", O_RDWR);
            dup2(null, STDOUT_FILENO);
            dup2(null, STDERR_FILENO);
            execvp(argv[0], argv.data());
            _exit(127);
        }
        close(ready[1]);
        std::string number;
        pollfd wait{ready[0], POLLIN, 0};
        for (char c = 0; poll(&wait, 1, 10000) == 1 && read(ready[0], &c, 1) == 1 && c != '\n';)
            number += c;
        close(ready[0]);
        if (!number.empty()) name_ = ":" + number;
        if (pid_ > 0 && name_.empty()) Stop();
        if (name_.empty())
            failure_ = exitStatus_ == 127 ? "Xvfb is not installed (the xvfb package)"
                                          : "Xvfb -screen 0 " + screen + " did not start in 10 s";
    }

    ~ScopedXvfb() { Stop(); }
    ScopedXvfb(ScopedXvfb const&) = delete;
    ScopedXvfb& operator=(ScopedXvfb const&) = delete;

    bool Running() const { return !name_.empty(); }
    std::string const& Name() const { return name_; } // ":N", for XOpenDisplay and $DISPLAY
    std::string const& Failure() const { return failure_; }

private:
    void Stop() {
        if (pid_ <= 0) return;
        kill(pid_, SIGTERM);
        int status = 0;
        waitpid(pid_, &status, 0);
        exitStatus_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        pid_ = -1;
    }

    pid_t pid_ = -1;
    int exitStatus_ = -1;
    std::string name_;
    std::string failure_;
};

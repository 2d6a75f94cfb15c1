// What the internet and mail client tests share: servers of the tests' own
// (inet_servers.py beside this file) started on ephemeral loopback ports and
// stopped with the object, a scratch folder, and certificates made with
// openssl at test time.
#pragma once

#include <support/files.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace inet_test {

namespace fs = std::filesystem;

inline constexpr char kPython[] = "/usr/bin/python3";
inline constexpr char kUser[] = "user";
inline constexpr char kPassword[] = "secret";

inline std::string ServersScript() {
    return (fs::path(__FILE__).parent_path() / "inet_servers.py").string();
}

using test_support::ReadAll;
using test_support::ScratchDir;
using test_support::WriteAll;

// One server process; its standard input is held open, and closing it (then
// SIGTERM, should that not do) ends the server.
class Server {
public:
    explicit Server(std::vector<std::string> args) {
        int toChild[2], fromChild[2];
        // Close-on-exec, so that no other server holds these ends open.
        if (::pipe2(toChild, O_CLOEXEC) != 0 || ::pipe2(fromChild, O_CLOEXEC) != 0) return;
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, toChild[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, fromChild[1], STDOUT_FILENO);
        for (int fd : {toChild[0], toChild[1], fromChild[0], fromChild[1]})
            posix_spawn_file_actions_addclose(&actions, fd);
        args.insert(args.begin(), ServersScript());
        args.insert(args.begin(), kPython);
        std::vector<char*> argv;
        for (std::string& arg : args)
            argv.push_back(arg.data());
        argv.push_back(nullptr);
        if (::posix_spawn(&pid_, kPython, &actions, nullptr, argv.data(), environ) != 0) pid_ = -1;
        posix_spawn_file_actions_destroy(&actions);
        ::close(toChild[0]);
        ::close(fromChild[1]);
        stdin_ = toChild[1];
        ReadPort(fromChild[0]);
        ::close(fromChild[0]);
    }
    ~Server() {
        if (stdin_ >= 0) ::close(stdin_);
        if (pid_ <= 0) return;
        // A second to leave by itself, then it is told to.
        for (int i = 0; i < 20; ++i) {
            if (::waitpid(pid_, nullptr, WNOHANG) == pid_) return;
            ::usleep(50000);
        }
        ::kill(pid_, SIGTERM);
        ::waitpid(pid_, nullptr, 0);
    }
    Server(Server const&) = delete;
    Server& operator=(Server const&) = delete;

    int port() const { return port_; }
    // "127.0.0.1:<port>", with a prefix if given.
    std::string Address(std::string const& prefix = "") const {
        return prefix + "127.0.0.1:" + std::to_string(port_);
    }

private:
    void ReadPort(int fd) {
        std::string line;
        char c;
        while (::read(fd, &c, 1) == 1 && c != '\n')
            line += c;
        if (line.rfind("PORT ", 0) == 0) port_ = std::atoi(line.c_str() + 5);
    }

    pid_t pid_ = -1;
    int stdin_ = -1;
    int port_ = 0;
};

inline bool Run(std::string const& command) {
    return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

// A test authority, a server certificate it signed for a name that is not
// the loopback address, and a self-signed certificate nobody trusts.
struct Certificates {
    explicit Certificates(ScratchDir const& dir)
        : caCert(dir / "ca.pem"), serverCert(dir / "server.pem"), serverKey(dir / "server.key"),
          strangerCert(dir / "stranger.pem"), strangerKey(dir / "stranger.key") {
        std::string const ec = " -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes";
        std::string const caKey = dir / "ca.key";
        std::string const csr = dir / "server.csr";
        made = Run("openssl req -x509" + ec + " -days 2 -subj '/CN=Sorvane Test Authority'" +
                   " -keyout " + caKey + " -out " + caCert) &&
               Run("openssl req" + ec + " -subj '/CN=sorvane-test.invalid' -keyout " + serverKey +
                   " -out " + csr) &&
               Run("openssl x509 -req -days 2 -in " + csr + " -CA " + caCert + " -CAkey " + caKey +
                   " -CAcreateserial -out " + serverCert) &&
               Run("openssl req -x509" + ec + " -days 2 -subj '/CN=sorvane-test.invalid'" +
                   " -keyout " + strangerKey + " -out " + strangerCert);
    }
    std::string caCert, serverCert, serverKey, strangerCert, strangerKey;
    bool made = false;
};

} // namespace inet_test

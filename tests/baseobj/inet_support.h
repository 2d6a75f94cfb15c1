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
#include <sys/wait.h>
#include <unistd.h>

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
        args.insert(args.begin(), {kPython, ServersScript()});
        std::vector<char*> argv;
        for (std::string& arg : args)
            argv.push_back(arg.data());
        argv.push_back(nullptr);
        pid_ = ::fork();
        if (pid_ == 0) { // only calls that are safe in the child of a threaded process
            ::dup2(toChild[0], STDIN_FILENO);
            ::dup2(fromChild[1], STDOUT_FILENO);
            ::execv(kPython, argv.data());
            ::_exit(127);
        }
        ::close(toChild[0]);
        ::close(fromChild[1]);
        stdin_ = toChild[1];
        // The server's first line names its port.
        std::string line;
        for (char c; ::read(fromChild[0], &c, 1) == 1 && c != '\n';)
            line += c;
        if (line.rfind("PORT ", 0) == 0) port_ = std::atoi(line.c_str() + 5);
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

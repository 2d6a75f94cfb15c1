#include <splash/host/sparestart.h>

#include <cerrno>
#include <cstring>

#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace splash {

namespace {

// The pointers execve wants, made before the fork: after it only calls that
// are safe between fork and exec run.
std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

bool StartDetached(std::string const& program, std::vector<std::string> const& arguments,
                   std::vector<std::string> const& extra) {
    std::vector<std::string> argumentTexts = arguments;
    std::vector<std::string> environment;
    for (char** e = environ; *e != nullptr; ++e) {
        bool replaced = false;
        for (std::string const& added : extra) {
            std::size_t const eq = added.find('=');
            replaced = replaced || std::strncmp(*e, added.c_str(), eq + 1) == 0;
        }
        if (!replaced) environment.emplace_back(*e);
    }
    environment.insert(environment.end(), extra.begin(), extra.end());
    std::vector<char*> const argv = Pointers(argumentTexts);
    std::vector<char*> const envp = Pointers(environment);

    // Twice: the middle process ends at once, so the server is the child of
    // whoever reaps orphans.
    pid_t const middle = fork();
    if (middle < 0) return false;
    if (middle == 0) {
        setsid();
        pid_t const server = fork();
        if (server == 0) {
            execve(program.c_str(), argv.data(), envp.data());
            _exit(127);
        }
        _exit(server < 0 ? 1 : 0);
    }
    int status = 0;
    while (waitpid(middle, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace splash

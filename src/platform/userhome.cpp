#include <platform/userhome.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace platform {

std::string UserHome() {
    if (char const* home = std::getenv("HOME"); home != nullptr && *home == '/') return home;
    long const suggested = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(suggested > 0 ? static_cast<std::size_t>(suggested) : 4096);
    passwd entry{};
    passwd* found = nullptr;
    while (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE &&
           buffer.size() < (1u << 20))
        buffer.resize(buffer.size() * 2);
    if (found == nullptr || found->pw_dir == nullptr || found->pw_dir[0] != '/') return {};
    return found->pw_dir;
}

} // namespace platform

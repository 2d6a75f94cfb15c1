#include <platform/paths.h>
#include <platform/userhome.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

namespace platform {
namespace {

// Copies with its terminator; the size needed when it does not fit.
std::uint32_t Put(std::string const& text, char* buffer, std::uint32_t size) {
    if (text.size() + 1 > size || buffer == nullptr)
        return static_cast<std::uint32_t>(text.size() + 1);
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return static_cast<std::uint32_t>(text.size());
}

} // namespace

std::uint32_t GetLongPathNameA(char const* path, char* longPath, std::uint32_t size) {
    if (path == nullptr) return 0;
    std::string expanded = path;
    if (expanded.rfind("~/", 0) == 0) {
        std::string const home = UserHome();
        if (home.empty()) {
            Put(path, longPath, size);
            return 0;
        }
        expanded = home + expanded.substr(1);
    }
    // There are no short names to lengthen: a path that names something
    // comes back as it was written, links and all, and one that names
    // nothing fails.
    std::error_code error;
    if (!std::filesystem::exists(expanded, error)) {
        Put(path, longPath, size);
        return 0;
    }
    return Put(expanded, longPath, size);
}

std::uint32_t GetTempPathA(std::uint32_t size, char* buffer) {
    char const* tmp = std::getenv("TMPDIR");
    std::string folder = tmp != nullptr && *tmp != '\0' ? tmp : "/tmp";
    if (folder.back() != '/') folder += '/';
    return Put(folder, buffer, size);
}

} // namespace platform

#include <platform/modulepath.h>

#include <cstring>
#include <string_view>

#include <dlfcn.h>

namespace platform {

std::uint32_t GetFrameworkLibraryPath(char* buffer, std::uint32_t size) {
    Dl_info info{};
    if (::dladdr(reinterpret_cast<void*>(&GetFrameworkLibraryPath), &info) == 0 ||
        info.dli_fname == nullptr)
        return 0;
    std::string_view const path = info.dli_fname;
    std::size_t const slash = path.rfind('/');
    std::string_view const file = slash == std::string_view::npos ? path : path.substr(slash + 1);
    // The versioned names (libsorvane.so.0) are the same library.
    if (!file.starts_with(kFrameworkLibraryName)) return 0;
    if (path.size() + 1 > size) return 0;
    std::memcpy(buffer, path.data(), path.size() + 1);
    return static_cast<std::uint32_t>(path.size());
}

} // namespace platform

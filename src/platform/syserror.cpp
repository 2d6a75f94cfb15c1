#include <platform/syserror.h>

#include <cerrno>
#include <cstring>

namespace platform {

std::optional<std::string> FormatSystemMessage(std::uint32_t code) {
    // strerrordesc_np answers null for an unknown code where strerror would
    // make up "Unknown error N".
    char const* text = code <= 0x7fffffff ? strerrordesc_np(static_cast<int>(code)) : nullptr;
    if (text == nullptr) {
        errno = EINVAL;
        return std::nullopt;
    }
    return std::string(text);
}

std::uint32_t GetLastError() { return static_cast<std::uint32_t>(errno); }

} // namespace platform

#include <platform/syserror.h>

#include <cstring>

namespace platform {
namespace {

thread_local std::uint32_t tLastError = ERROR_SUCCESS;

} // namespace

std::optional<std::string> FormatSystemMessage(std::uint32_t code) {
    // strerrordesc_np answers null for an unknown code where strerror would
    // make up "Unknown error N".
    char const* text = code <= 0x7fffffff ? strerrordesc_np(static_cast<int>(code)) : nullptr;
    if (text == nullptr) {
        SetLastError(ERROR_MR_MID_NOT_FOUND);
        return std::nullopt;
    }
    return std::string(text);
}

std::uint32_t GetLastError() {
    return tLastError;
}

void SetLastError(std::uint32_t code) {
    tLastError = code;
}

} // namespace platform

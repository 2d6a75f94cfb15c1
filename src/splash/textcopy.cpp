#include <splash/textcopy.h>

#include <platform/codepage.h>
#include <platform/comalloc.h>

namespace splash {

namespace {

constexpr std::size_t kLongestConvertible = 0x3FFFFFFF;

} // namespace

std::optional<std::string> NarrowFromBstr(BSTR text) {
    if (text == nullptr) return std::nullopt;
    std::size_t const length = std::char_traits<OLECHAR>::length(text);
    if (length + 1 > kLongestConvertible) return std::nullopt;
    int const size =
        platform::WideCharToMultiByte(platform::CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 0) return std::nullopt;
    std::string narrow(static_cast<std::size_t>(size), '\0');
    if (platform::WideCharToMultiByte(platform::CP_ACP, 0, text, -1, narrow.data(), size, nullptr,
                                      nullptr) == 0) {
        return std::nullopt;
    }
    narrow.resize(std::char_traits<char>::length(narrow.c_str()));
    return narrow;
}

std::u16string WideFromNarrow(char const* text, std::uint32_t codePage) {
    int const size = platform::MultiByteToWideChar(codePage, 0, text, -1, nullptr, 0);
    if (size <= 1) return {};
    std::u16string wide(static_cast<std::size_t>(size), u'\0');
    platform::MultiByteToWideChar(codePage, 0, text, -1, wide.data(), size);
    wide.resize(static_cast<std::size_t>(size) - 1);
    return wide;
}

OwnedBstr::OwnedBstr(char16_t const* text)
    : text_(text != nullptr ? platform::SysAllocString(text) : nullptr) {}

OwnedBstr::~OwnedBstr() {
    platform::SysFreeString(text_);
}

} // namespace splash

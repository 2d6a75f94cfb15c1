#include <platform/guid.h>

#include <platform/comalloc.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace platform {
namespace {

constexpr std::size_t kTextLength = 38;
constexpr char kDigits[] = "0123456789ABCDEF";
// Where the dashes stand; every other place between the braces is a digit.
constexpr std::size_t kDashes[] = {9, 14, 19, 24};

int DigitValue(OLECHAR c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    return -1;
}

bool IsDash(std::size_t i) {
    for (std::size_t dash : kDashes) {
        if (i == dash) return true;
    }
    return false;
}

// The digits from at, count of them; the form has been checked.
std::uint32_t Hex(OLECHAR const* at, int count) {
    std::uint32_t value = 0;
    for (int i = 0; i < count; ++i)
        value = value << 4 | static_cast<std::uint32_t>(DigitValue(at[i]));
    return value;
}

bool WellFormed(OLECHAR const* text) {
    for (std::size_t i = 0; i < kTextLength; ++i) {
        OLECHAR const c = text[i];
        if (c == 0) return false;
        bool const ok = i == 0                 ? c == u'{'
                        : i == kTextLength - 1 ? c == u'}'
                        : IsDash(i)            ? c == u'-'
                                               : DigitValue(c) >= 0;
        if (!ok) return false;
    }
    return text[kTextLength] == 0;
}

} // namespace

HRESULT StringFromCLSID(GUID const& clsid, OLECHAR** text) {
    if (text == nullptr) return E_INVALIDARG;
    std::u16string out;
    auto put = [&out](std::uint32_t value, int count) {
        for (int shift = 4 * (count - 1); shift >= 0; shift -= 4) {
            out.push_back(static_cast<OLECHAR>(kDigits[(value >> shift) & 0xF]));
        }
    };
    out.push_back(u'{');
    put(clsid.Data1, 8);
    out.push_back(u'-');
    put(clsid.Data2, 4);
    out.push_back(u'-');
    put(clsid.Data3, 4);
    out.push_back(u'-');
    put(clsid.Data4[0], 2);
    put(clsid.Data4[1], 2);
    out.push_back(u'-');
    for (int i = 2; i < 8; ++i)
        put(clsid.Data4[i], 2);
    out.push_back(u'}');

    auto* block = static_cast<OLECHAR*>(CoTaskMemAlloc((out.size() + 1) * sizeof(OLECHAR)));
    *text = block;
    if (block == nullptr) return E_OUTOFMEMORY;
    std::char_traits<OLECHAR>::copy(block, out.c_str(), out.size() + 1);
    return S_OK;
}

HRESULT CLSIDFromString(OLECHAR const* text, GUID* clsid) {
    if (clsid == nullptr) return E_INVALIDARG;
    *clsid = GUID{};
    if (text == nullptr || !WellFormed(text)) return CO_E_CLASSSTRING;
    clsid->Data1 = Hex(text + 1, 8);
    clsid->Data2 = static_cast<std::uint16_t>(Hex(text + 10, 4));
    clsid->Data3 = static_cast<std::uint16_t>(Hex(text + 15, 4));
    clsid->Data4[0] = static_cast<std::uint8_t>(Hex(text + 20, 2));
    clsid->Data4[1] = static_cast<std::uint8_t>(Hex(text + 22, 2));
    for (int i = 2; i < 8; ++i) {
        clsid->Data4[i] = static_cast<std::uint8_t>(Hex(text + 25 + 2 * (i - 2), 2));
    }
    return S_OK;
}

} // namespace platform

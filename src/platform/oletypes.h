// The automation types that the framework's signatures carry. They live at
// global scope, where callers written against the system's headers expect
// them. Wide text is UTF-16, whatever the width of wchar_t.
#pragma once

#include <cstdint>

using OLECHAR = char16_t;
using BSTR = OLECHAR*;
using HRESULT = std::int32_t;

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2, Data3;
    std::uint8_t Data4[8];

    friend bool operator==(GUID const&, GUID const&) = default;
};
using CLSID = GUID;

namespace platform {

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);
inline constexpr HRESULT CO_E_CLASSSTRING = static_cast<HRESULT>(0x800401F3);

inline constexpr bool SUCCEEDED(HRESULT hr) {
    return hr >= 0;
}
inline constexpr bool FAILED(HRESULT hr) {
    return hr < 0;
}

// A system error number as a result: 0 is success, the rest the system's
// facility with the number's low 16 bits.
inline constexpr HRESULT HRESULT_FROM_WIN32(std::uint32_t code) {
    return code == 0 ? S_OK : static_cast<HRESULT>(0x80070000u | (code & 0xFFFFu));
}

} // namespace platform

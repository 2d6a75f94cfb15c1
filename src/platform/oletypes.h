/// \file
/// The automation types that the framework's signatures carry. They live at
/// global scope, where callers written against the system's headers expect
/// them. Wide text is UTF-16, whatever the width of wchar_t.
#pragma once

#include <cstdint>

/// One UTF-16 code unit of wide text.
using OLECHAR = char16_t;
/// Length-prefixed wide text from the task allocator (see <platform/comalloc.h>).
using BSTR = OLECHAR*;
/// A 32-bit result code: 0 or positive is success, negative is failure.
using HRESULT = std::int32_t;

/// \brief A 128-bit class or interface identifier, laid out as the system's.
struct GUID {
    /// The first group, as a number.
    std::uint32_t Data1;
    /// The second and third groups, as numbers.
    std::uint16_t Data2, Data3;
    /// The last two groups, as bytes in order.
    std::uint8_t Data4[8];

    /// Equal when all 16 bytes are.
    friend bool operator==(GUID const&, GUID const&) = default;
};
/** \var GUID::Data3
 * The third group, as a number. */
/// A class identifier.
using CLSID = GUID;

namespace platform {

/// Success.
inline constexpr HRESULT S_OK = 0;
/// An unspecified failure.
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
/// Access denied.
inline constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005);
/// An argument is not valid.
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);
/// Memory could not be had.
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);
/// The text is not a valid class identifier.
inline constexpr HRESULT CO_E_CLASSSTRING = static_cast<HRESULT>(0x800401F3);

/// \param hr a result code.
/// \return true when hr is a success code (0 or positive).
inline constexpr bool SUCCEEDED(HRESULT hr) {
    return hr >= 0;
}
/// \param hr a result code.
/// \return true when hr is a failure code (negative).
inline constexpr bool FAILED(HRESULT hr) {
    return hr < 0;
}

/// A system error number as a result: 0 is success, the rest the system's
/// facility with the number's low 16 bits.
/// \param code a system error number, as GetLastError() gives it.
/// \return S_OK for 0, else a failure code of the system's facility.
inline constexpr HRESULT HRESULT_FROM_WIN32(std::uint32_t code) {
    return code == 0 ? S_OK : static_cast<HRESULT>(0x80070000u | (code & 0xFFFFu));
}

} // namespace platform

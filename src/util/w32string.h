// A CPString that also speaks wide text, BSTR and GUID text. Narrow text is
// in the ANSI code page, which here is the character set of the current
// locale; wide text is UTF-16.
//
// The wide forms handed out come from the task allocator: free them with
// DestroyUniCodeString, and BSTRs with DestroyBSTRString.
#pragma once

#include <platform/oletypes.h>
#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

class SORVANE_API W32String : public CPString {
public:
    // The narrow form of wide text is built in a work area of this size,
    // terminator included; longer text fails to convert.
    static constexpr std::uint32_t kConversionArea = 1024;

    W32String() = default;
    // A text that does not convert leaves the string empty, and the report
    // log says so; a constructor has no other way to tell.
    explicit W32String(OLECHAR** text);

    using CPString::operator=;

    // On failure *wide is null and the answer 0.
    static short ConvertToUniCode(char const* text, OLECHAR** wide);
    static void DestroyUniCodeString(OLECHAR* wide);
    static void DestroyBSTRString(OLECHAR* text);

    // An empty string gives null, which is 0.
    short GetAsUniCode(OLECHAR** wide) const;
    // Null for an empty string: COM reads a null BSTR as empty text.
    BSTR GetAsBSTR() const;

    // The stored length is the wide length plus 1, not what the conversion
    // wrote: text that grows on the way to narrow form (any non-ASCII text
    // under UTF-8) reports fewer characters than it holds. Callers have
    // always lived with that. A null text changes nothing and answers 0;
    // a failed conversion leaves the string empty.
    short SetFromUniCode(OLECHAR** wide);

    short SetFromGUID(GUID guid);
    // Text that is not a GUID's braced form answers 0 with *guid all zero.
    short GetAsGUID(GUID* guid) const;

private:
    char const* Text() const;
};

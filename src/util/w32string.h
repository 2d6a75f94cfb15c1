/// \file
/// A CPString that also speaks wide text, BSTR and GUID text. Narrow text is
/// in the ANSI code page, which here is the character set of the current
/// locale; wide text is UTF-16.
///
/// The wide forms handed out come from the task allocator: free them with
/// DestroyUniCodeString, and BSTRs with DestroyBSTRString.
#pragma once

#include <platform/oletypes.h>
#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

/// \brief A CPString that also speaks wide text, BSTR and GUID text.
///
/// Narrow text is in the ANSI code page; wide text is UTF-16. The wide
/// forms handed out come from the task allocator: free them with
/// DestroyUniCodeString(), and BSTRs with DestroyBSTRString().
class SORVANE_API W32String : public CPString {
public:
    /// The narrow form of wide text is built in a work area of this size,
    /// terminator included; longer text fails to convert.
    static constexpr std::uint32_t kConversionArea = 1024;

    W32String() = default;
    /// A string from wide text. A text that does not convert leaves the string
    /// empty, and the report log says so.
    /// \param text points at the wide text.
    explicit W32String(OLECHAR** text);

    using CPString::operator=;

    /// Converts narrow text to wide.
    /// \param text the narrow text.
    /// \param wide receives the wide text, which the caller owns and frees with
    ///        DestroyUniCodeString(); null on failure.
    /// \return 1, or 0 on failure.
    static short ConvertToUniCode(char const* text, OLECHAR** wide);
    /// Frees wide text that this class handed out.
    /// \param wide the text, or null.
    static void DestroyUniCodeString(OLECHAR* wide);
    /// Frees a BSTR that this class handed out.
    /// \param text the BSTR, or null.
    static void DestroyBSTRString(OLECHAR* text);

    /// The text as wide text.
    /// \param wide receives the wide text, which the caller owns and frees with
    ///        DestroyUniCodeString(); an empty string gives null.
    /// \return 1, or 0 for an empty string or a failed conversion.
    short GetAsUniCode(OLECHAR** wide) const;
    /// \return the text as a BSTR, which the caller owns and frees with
    ///         DestroyBSTRString(); null for an empty string.
    BSTR GetAsBSTR() const;

    /// Sets the text from wide text. The stored length is the wide length plus
    /// 1, not what the conversion wrote: text that grows on the way to narrow
    /// form reports fewer characters than it holds.
    /// \param wide points at the wide text.
    /// \return 1; 0 for a null text (nothing changes) or a failed conversion
    ///         (the string is left empty).
    short SetFromUniCode(OLECHAR** wide);

    /// Sets the text to a GUID's registry form.
    /// \param guid the identifier.
    /// \return 1, or 0 when memory cannot be had.
    short SetFromGUID(GUID guid);
    /// Reads the text as a GUID's braced form.
    /// \param guid receives the identifier; all zero for text that is not one.
    /// \return 1, or 0 for text that is not a GUID.
    short GetAsGUID(GUID* guid) const;

private:
    char const* Text() const;
};

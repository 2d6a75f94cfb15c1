/// \file
/// An error text kept inside an object, so that an operation can fail by
/// answering null and leave its reason with the object for the caller to
/// read.
#pragma once

#include <util/createable.h>
#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

/// \brief An error text kept inside an object, so that an operation can fail
/// by answering null and leave its reason with the object for the caller to
/// read.
class SORVANE_API ErrorContainer : public virtual Createable {
public:
    ErrorContainer() = default;
    /// Releases the error text.
    ~ErrorContainer() override;
    // The error text is counted by this container alone.
    ErrorContainer(ErrorContainer const&) = delete;
    ErrorContainer& operator=(ErrorContainer const&) = delete;

    /// Sets the error text.
    /// \param error the text.
    void _set_strError(CPString const& error);
    /// Sets the error text.
    /// \param error the text.
    void _set_strError(char const* error);
    /// The error text. With no error yet, dest is emptied and the answer is one
    /// empty string shared by every container of the process: writing to it is
    /// writing to all of them.
    /// \param dest when not null, receives a copy of the text.
    /// \return the container's text, which it keeps.
    CPString& _get_strError(CPString* dest);
    /// The error text as a C string.
    /// \param dest when not null, receives a copy; it must hold the whole text.
    ///        With no error yet it is left alone.
    /// \return the container's text, or "" with no error yet.
    char const* _get_strError_As_sz(char* dest);
    /// Sets the error text to "text : 0x<n in hex>".
    /// \param text the text.
    /// \param n the number.
    void FormatErrorMessage(char const* text, std::uint32_t n);

protected:
    /// Appends to the error text.
    /// \param text what to append.
    /// \return the error text.
    CPString& AugmentstrError(char const* text);
    /// Appends to the error text.
    /// \param text what to append.
    /// \return the error text.
    CPString& AugmentstrError(CPString const& text);

private:
    CPString& ErrorText();

    CPString* pstrError = nullptr;
    static CPString* pstrErrEmpty;
};

/// \brief An error container that can give the system's text for an error code.
class SORVANE_API Win32ErrorContainer : public ErrorContainer {
public:
    /// The system's text for a code, or a note of why there is none.
    /// \param code the system error number.
    /// \param unused not read.
    /// \return a new string with one reference, which the caller releases.
    static CPString* Win32ErrorString(std::uint32_t code, CPString& unused);
};

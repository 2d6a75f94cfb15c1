// An error text kept inside an object, so that an operation can fail by
// answering null and leave its reason with the object for the caller to
// read.
#pragma once

#include <util/createable.h>
#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

class SORVANE_API ErrorContainer : public virtual Createable {
public:
    ErrorContainer() = default;
    ~ErrorContainer() override;
    // The error text is counted by this container alone.
    ErrorContainer(ErrorContainer const&) = delete;
    ErrorContainer& operator=(ErrorContainer const&) = delete;

    void _set_strError(CPString const& error);
    void _set_strError(char const* error);
    // With no error yet, dest is emptied and the answer is one empty string
    // shared by every container of the process: writing to it is writing to
    // all of them.
    CPString& _get_strError(CPString* dest);
    // dest must hold the whole text; with no error yet it is left alone.
    char const* _get_strError_As_sz(char* dest);
    void FormatErrorMessage(char const* text, std::uint32_t n);

protected:
    CPString& AugmentstrError(char const* text);
    CPString& AugmentstrError(CPString const& text);

private:
    CPString& ErrorText();

    CPString* pstrError = nullptr;
    static CPString* pstrErrEmpty;
};

class SORVANE_API Win32ErrorContainer : public ErrorContainer {
public:
    // The system's text for code, or a note of why there is none. The string
    // comes with one reference, for the caller to release. The second
    // argument is not read.
    static CPString* Win32ErrorString(std::uint32_t code, CPString& unused);
};

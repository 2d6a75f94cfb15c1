#include <util/errcont.h>

#include <platform/syserror.h>
#include <util/exceptions.h>

#include <new>
#include <optional>
#include <string>

// Lives for the process: callers keep the reference it is answered by.
CPString* ErrorContainer::pstrErrEmpty = nullptr;

ErrorContainer::~ErrorContainer() {
    if (pstrError != nullptr) pstrError->Release();
}

CPString& ErrorContainer::ErrorText() {
    if (pstrError == nullptr) {
        pstrError = new CPString;
        pstrError->AddRef();
    }
    return *pstrError;
}

void ErrorContainer::_set_strError(CPString const& error) {
    ErrorText() = error;
}

void ErrorContainer::_set_strError(char const* error) {
    ErrorText() = error;
}

CPString& ErrorContainer::_get_strError(CPString* dest) {
    if (pstrError != nullptr) {
        if (dest != nullptr) *dest = *pstrError;
        return *pstrError;
    }
    if (dest != nullptr) dest->Clear();
    if (pstrErrEmpty == nullptr) {
        pstrErrEmpty = new (std::nothrow) CPString;
        SV_FAIL_IF_NIL(pstrErrEmpty, "pstrErrEmpty");
        pstrErrEmpty->AddRef();
    }
    return *pstrErrEmpty;
}

char const* ErrorContainer::_get_strError_As_sz(char* dest) {
    if (pstrError == nullptr) return "";
    if (dest != nullptr) pstrError->StrCpy(dest, static_cast<std::uint32_t>(-1));
    return pstrError->GetBuffer();
}

void ErrorContainer::FormatErrorMessage(char const* text, std::uint32_t n) {
    ErrorText().SPrintF("%s : 0x%lx", text != nullptr ? text : "", static_cast<unsigned long>(n));
}

CPString& ErrorContainer::AugmentstrError(char const* text) {
    CPString& error = ErrorText();
    error += text;
    return error;
}

CPString& ErrorContainer::AugmentstrError(CPString const& text) {
    CPString& error = ErrorText();
    error += text;
    return error;
}

CPString* Win32ErrorContainer::Win32ErrorString(std::uint32_t code, CPString&) {
    auto* text = new CPString;
    text->AddRef();
    if (std::optional<std::string> const message = platform::FormatSystemMessage(code)) {
        *text = message->c_str();
    } else {
        // The numbers print as signed 32-bit words.
        std::uint32_t const reason = platform::GetLastError();
        text->SPrintF("Failed to get Win32 Error Message for %ld.  Reason: %ld",
                      static_cast<long>(static_cast<std::int32_t>(code)),
                      static_cast<long>(static_cast<std::int32_t>(reason)));
    }
    return text;
}

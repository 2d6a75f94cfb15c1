#include <util/exceptions.h>

#include <platform/debugout.h>
#include <platform/msgbox.h>
#include <platform/process.h>
#include <util/logobj.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

char* Exceptions::szFilePath = nullptr;
LogObj* Exceptions::plogThe = nullptr;
std::uint32_t Exceptions::nInstanceCount = 0;
char Exceptions::nExceptionMode = 0;
short Exceptions::bMailEnabled = 0;
char* Exceptions::szMailDestination = nullptr;
char Exceptions::szReport[Exceptions::kReportSize] = {};

namespace {

constexpr char kExceptionCaption[] = "Sorvane Exception";
constexpr char kRuntimeCaption[] = "Sorvane Runtime Error";
constexpr std::uint32_t kRuntimeExitCode = 0xFFFFFFFF; // -1

struct CheckText {
    char const* logLead; // the log line up to the file name
    char const* format;  // the report, with file, line and text
};

// Indexed by Exceptions::Check.
constexpr CheckText kCheckTexts[] = {
    {"Failure: NIL pointer in ", "Sorvane Exception: NIL Pointer Fail: File:: %s  Line %ld : %s\n"},
    {"Failure: expected NIL pointer in ",
     "Sorvane Exception: expected NIL Pointer: File:: %s  Line %ld : %s\n"},
    {"Warning: NIL pointer in ", "Sorvane Exception: NIL pointer Warn: File:: %s  Line %ld : %s\n"},
    {"Warning: assertion failed in ",
     "Sorvane Exception: Assertion Failed: File:: %s  Line %ld : %s\n"},
    {"Failure: assertion failed in ",
     "Sorvane Exception: Crit Assertion Failed: File:: %s  Line %ld : %s\n"},
};

char const* OrEmpty(char const* text) {
    return text != nullptr ? text : "";
}

// The report buffer is fixed, so a longer report is cut to fit.
void AppendReport(char* report, std::size_t size, char const* text) {
    std::size_t const used = std::strlen(report);
    std::snprintf(report + used, size - used, "%s", OrEmpty(text));
}

void FormatNumber(char (&out)[48], std::int32_t n) {
    std::snprintf(out, sizeof out, " %ld (0x%x)", static_cast<long>(n), static_cast<unsigned>(n));
}

} // namespace

Exceptions::Exceptions() {
    ++nInstanceCount;
}

Exceptions::~Exceptions() {
    if (--nInstanceCount != 0) return;
    delete plogThe;
    plogThe = nullptr;
    delete[] szFilePath;
    szFilePath = nullptr;
    delete[] szMailDestination;
    szMailDestination = nullptr;
}

Exceptions& Exceptions::_get_gexeptnsThe() {
    static Exceptions the;
    return the;
}

void Exceptions::Fatal(Check check, char const* file, std::int32_t line, char const* text) {
    CheckText const& texts = kCheckTexts[static_cast<int>(check)];
    szReport[0] = '\0';
    if (plogThe != nullptr) {
        *plogThe << texts.logLead << OrEmpty(file) << " at line " << line << " : " << OrEmpty(text)
                 << "\n";
    }
    std::snprintf(szReport, kReportSize, texts.format, OrEmpty(file), static_cast<long>(line),
                  OrEmpty(text));
    // Assert alone loses its formatted text and names the report only when
    // there is one; the others name it in any case (an unset path reads as
    // empty).
    if (check == Check::Assert) szReport[0] = '\0';
    if (check != Check::Assert || szFilePath != nullptr) {
        AppendReport(szReport, kReportSize, "Error report written to: ");
        AppendReport(szReport, kReportSize, szFilePath);
    }
    platform::OutputDebugStringA(szReport);
    platform::MessageBoxA(nullptr, szReport, kExceptionCaption, platform::MB_ICONSTOP);
    platform::ExitProcess(kDeadFocc);
}

void Exceptions::FailIfNIL(char const* file, std::int32_t line, char const* text) {
    if (file == nullptr || text == nullptr) return;
    Fatal(Check::FailIfNIL, file, line, text);
}

void Exceptions::FailIfNotNIL(char const* file, std::int32_t line, char const* text) {
    Fatal(Check::FailIfNotNIL, file, line, text);
}

void Exceptions::WarnIfNIL(char const* file, std::int32_t line, char const* text) {
    Fatal(Check::WarnIfNIL, file, line, text);
}

void Exceptions::Assert(char const* file, std::int32_t line, char const* text) {
    Fatal(Check::Assert, file, line, text);
}

void Exceptions::CritAssert(char const* file, std::int32_t line, char const* text) {
    Fatal(Check::CritAssert, file, line, text);
}

void Exceptions::RuntimeError(char const* file, std::int32_t line, char const*) {
    std::snprintf(szReport, kReportSize, "Runtime exception in module:: %s  Line %ld\n",
                  OrEmpty(file), static_cast<long>(line));
    platform::MessageBoxA(nullptr, szReport, kRuntimeCaption, platform::MB_ICONSTOP);
    platform::ExitProcess(kRuntimeExitCode);
}

void Exceptions::Comment(char const* file, std::int32_t line, char const* text) {
    if (plogThe == nullptr || text == nullptr) return;
    *plogThe << "Comment: \"" << text << "\" in " << OrEmpty(file) << " at line " << line << "\n";
}

void Exceptions::CommentN(char const* file, std::int32_t line, std::int32_t n, char const* text) {
    if (plogThe == nullptr || text == nullptr) return;
    char number[48];
    FormatNumber(number, n);
    *plogThe << "Comment: \"" << text << number << "\" in " << OrEmpty(file) << " at line " << line
             << "\n";
}

// The opening quotation mark has no partner: that is the log's form.
void Exceptions::WriteMessage(std::int32_t const* n, char const* text) {
    if (plogThe == nullptr || text == nullptr) return;
    *plogThe << "Message: \"" << text;
    if (n != nullptr) {
        char number[48];
        FormatNumber(number, *n);
        *plogThe << number;
    }
    *plogThe << "\n";
}

void Exceptions::Message(char const* text) {
    WriteMessage(nullptr, text);
}

void Exceptions::OPMessage(short bEnabled, char const* text) {
    if (bEnabled != 0) WriteMessage(nullptr, text);
}

void Exceptions::MessageN(std::int32_t n, char const* text) {
    WriteMessage(&n, text);
}

void Exceptions::OPMessageN(short bEnabled, std::int32_t n, char const* text) {
    if (bEnabled != 0) WriteMessage(&n, text);
}

void Exceptions::_set_szFilePath(char const* path) {
    if (path == nullptr) return;
    // The path's block is fixed; a longer path would run past it.
    SV_CRIT_ASSERT(std::strlen(path) < kPathSize, "strlen(szPath) < 1024");
    delete plogThe;
    plogThe = nullptr;
    delete[] szFilePath;
    szFilePath = new char[kPathSize];
    std::strcpy(szFilePath, path);
    plogThe = new (std::nothrow) LogObj(szFilePath);
    if (plogThe == nullptr) platform::ExitProcess(kRuntimeExitCode);
}

void Exceptions::_set_szMailDestination(char const* destination) {
    if (destination == nullptr) return;
    SV_CRIT_ASSERT(std::strlen(destination) < kPathSize, "strlen(szDestination) < 1024");
    if (szMailDestination == nullptr) szMailDestination = new char[kPathSize];
    std::strcpy(szMailDestination, destination);
}

// FWError ------------------------------------------------------------------

char FWError::szText[FWError::kTextSize] = {};
int FWError::nNumber = 0;

// The text's block is fixed; one that would run past it ends the process.
void FWError::Format(char const* format, ...) {
    va_list args;
    va_start(args, format);
    int const length = std::vsnprintf(szText, kTextSize, format, args);
    va_end(args);
    SV_CRIT_ASSERT(length < static_cast<int>(kTextSize), "nLength < 256");
}

FWError::FWError(int n, char const* text, char const* file, int line) {
    Format("%s %d %s %d\n", OrEmpty(text), n, OrEmpty(file), line);
    nNumber = n;
}

FWError::FWError(int n, char const* file, int line) {
    Format("Error %d %s %d\n", n, OrEmpty(file), line);
    nNumber = n;
}

FWError::FWError(char const* text, char const* file, int line) {
    Format("%s %s %d\n", OrEmpty(text), OrEmpty(file), line);
    nNumber = -1;
}

char const* FWError::ErrorString() {
    return szText;
}
int FWError::ErrorNumber() {
    return nNumber;
}
void FWError::Reset() {
    szText[0] = '\0';
    nNumber = 0;
}

// The framework's loud failures: fatal checks that report and end the
// process, messages to the report log, and the unit library's thrown type.
#pragma once

#include <platform/export.h>

#include <cstddef>
#include <cstdint>

class LogObj;

// The exit code of every failed check, and the plain integer thrown for a
// stale iteration or an unknown stream version.
inline constexpr std::uint32_t kDeadFocc = 0xDEADF0CC;

class SORVANE_API Exceptions {
public:
    Exceptions();
    ~Exceptions();
    Exceptions(Exceptions const&) = delete;
    Exceptions& operator=(Exceptions const&) = delete;

    // The one reporter of the process, made on first use.
    static Exceptions& _get_gexeptnsThe();

    // Fatal checks: the call site has already tested its condition. Only
    // FailIfNIL can come back, and only when handed no file or no text.
    void FailIfNIL(char const* file, std::int32_t line, char const* text);
    [[noreturn]] void FailIfNotNIL(char const* file, std::int32_t line, char const* text);
    [[noreturn]] void WarnIfNIL(char const* file, std::int32_t line, char const* text);
    [[noreturn]] void Assert(char const* file, std::int32_t line, char const* text);
    [[noreturn]] void CritAssert(char const* file, std::int32_t line, char const* text);
    [[noreturn]] void RuntimeError(char const* file, std::int32_t line, char const* text);

    // Report log lines; each does nothing until a report path is set.
    void Comment(char const* file, std::int32_t line, char const* text);
    void CommentN(char const* file, std::int32_t line, std::int32_t n, char const* text);
    void Message(char const* text);
    void OPMessage(short bEnabled, char const* text);
    void MessageN(std::int32_t n, char const* text);
    void OPMessageN(short bEnabled, std::int32_t n, char const* text);

    void _set_szFilePath(char const* path);
    static char const* _get_szFilePath() { return szFilePath; }
    void _set_bGenerateCallStacks(short) {}
    void _set_nExceptionMode(char mode) { nExceptionMode = mode; }
    void _set_bMailEnabled(short enabled) { bMailEnabled = enabled; }
    void _set_szMailDestination(char const* destination);

    static std::uint32_t _get_nInstanceCount() { return nInstanceCount; }

private:
    enum class Check { FailIfNIL, FailIfNotNIL, WarnIfNIL, Assert, CritAssert };
    [[noreturn]] void Fatal(Check check, char const* file, std::int32_t line, char const* text);
    void WriteMessage(std::int32_t const* n, char const* text);

    // Hooks that have no effect.
    void LogErrorToSystemLog() {}
    void LogSystemInfo() {}
    short DropMail() { return 0; }

    static constexpr std::uint32_t kPathSize = 1024;
    static constexpr std::uint32_t kReportSize = 2048;

    static char* szFilePath;
    static LogObj* plogThe;
    static std::uint32_t nInstanceCount;
    static char nExceptionMode;
    static short bMailEnabled;
    static char* szMailDestination;
    static char szReport[kReportSize];
};

// The unit library's thrown type. The object carries nothing: the text and
// number of the latest construction are process-wide.
class SORVANE_API FWError {
public:
    FWError(int n, char const* text, char const* file, int line);
    FWError(int n, char const* file, int line);
    FWError(char const* text, char const* file, int line);

    static char const* ErrorString();
    static int ErrorNumber();
    static void Reset();

private:
    __attribute__((format(printf, 1, 2))) static void Format(char const* format, ...);

    static constexpr unsigned kTextSize = 256;
    static char szText[kTextSize];
    static int nNumber;
};

// A unit reports itself by its name, its folder and file below src/ without
// the extension ("cpcoll/cplist"), made from the source path when it is
// compiled.
template <std::size_t N> struct SourceUnitName {
    char text[N] = {};
    consteval explicit SourceUnitName(char const (&path)[N]) {
        std::size_t from = 0;
        std::size_t to = N - 1;
        for (std::size_t i = 0; i + 4 <= N - 1; ++i)
            if (path[i] == 's' && path[i + 1] == 'r' && path[i + 2] == 'c' && path[i + 3] == '/')
                from = i + 4;
        for (std::size_t i = from; i < N - 1; ++i)
            if (path[i] == '.') to = i;
        for (std::size_t i = from; i < to; ++i)
            text[i - from] = path[i];
    }
};

#define SV_UNIT_NAME()                                                                             \
    ([]() -> char const* {                                                                         \
        static constexpr ::SourceUnitName<sizeof(__FILE__)> name(__FILE__);                       \
        return name.text;                                                                          \
    }())

// The fatal checks, written one way across the framework: test at the call
// site, report with the unit's name and line and the author's text for the
// condition.
#define SV_ASSERT(cond, text)                                                                      \
    ((cond) ? (void)0 : ::Exceptions::_get_gexeptnsThe().Assert(SV_UNIT_NAME(), __LINE__, text))
#define SV_CRIT_ASSERT(cond, text)                                                                 \
    ((cond) ? (void)0                                                                              \
            : ::Exceptions::_get_gexeptnsThe().CritAssert(SV_UNIT_NAME(), __LINE__, text))
#define SV_FAIL_IF_NIL(ptr, text)                                                                  \
    ((ptr) != nullptr ? (void)0                                                                    \
                      : ::Exceptions::_get_gexeptnsThe().FailIfNIL(SV_UNIT_NAME(), __LINE__, text))
#define SV_FAIL_IF_NOT_NIL(ptr, text)                                                              \
    ((ptr) == nullptr                                                                              \
         ? (void)0                                                                                 \
         : ::Exceptions::_get_gexeptnsThe().FailIfNotNIL(SV_UNIT_NAME(), __LINE__, text))
#define SV_WARN_IF_NIL(ptr, text)                                                                  \
    ((ptr) != nullptr ? (void)0                                                                    \
                      : ::Exceptions::_get_gexeptnsThe().WarnIfNIL(SV_UNIT_NAME(), __LINE__, text))

/// \file
/// The framework's loud failures: fatal checks that report and end the
/// process, messages to the report log, and the unit library's thrown type.
#pragma once

#include <platform/export.h>

#include <cstddef>
#include <cstdint>

class LogObj;

/// The exit code of every failed check (0xDEADF0CC), and the plain integer
/// thrown for a stale iteration or an unknown stream version.
inline constexpr std::uint32_t kDeadFocc = 0xDEADF0CC;

/// \brief The process's reporter of failures: fatal checks that report and
/// end the process, and messages to the report log.
///
/// A fatal check writes a line to the report log (when a report path is
/// set), sends its text to the debugger channel and the message box, and
/// ends the process with exit code kDeadFocc.
class SORVANE_API Exceptions {
public:
    Exceptions();
    ~Exceptions();
    Exceptions(Exceptions const&) = delete;
    Exceptions& operator=(Exceptions const&) = delete;

    /// \return the one reporter of the process, made on first use.
    static Exceptions& _get_gexeptnsThe();

    /// The fatal check of a pointer that must not be null; the call site has
    /// already tested it (SV_FAIL_IF_NIL). Ends the process, except when handed
    /// no file or no text: then it returns.
    /// \param file the unit's name.
    /// \param line the line.
    /// \param text the author's text for the condition.
    void FailIfNIL(char const* file, std::int32_t line, char const* text);
    /// The fatal check of a pointer that must be null (SV_FAIL_IF_NOT_NIL).
    /// Ends the process.
    /// \param file the unit's name.
    /// \param line the line.
    /// \param text the author's text for the condition.
    [[noreturn]] void FailIfNotNIL(char const* file, std::int32_t line, char const* text);
    /// The check of a pointer that should not be null (SV_WARN_IF_NIL). Ends
    /// the process, as the others do.
    /// \param file the unit's name.
    /// \param line the line.
    /// \param text the author's text for the condition.
    [[noreturn]] void WarnIfNIL(char const* file, std::int32_t line, char const* text);
    /// The fatal check of a condition (SV_ASSERT). Ends the process.
    /// \param file the unit's name.
    /// \param line the line.
    /// \param text the author's text for the condition.
    [[noreturn]] void Assert(char const* file, std::int32_t line, char const* text);
    /// The fatal check of a critical condition (SV_CRIT_ASSERT). Ends the process.
    /// \param file the unit's name.
    /// \param line the line.
    /// \param text the author's text for the condition.
    [[noreturn]] void CritAssert(char const* file, std::int32_t line, char const* text);
    /// Reports a runtime exception in a message box and ends the process.
    /// \param file the unit's name.
    /// \param line the line.
    /// \param text not read.
    [[noreturn]] void RuntimeError(char const* file, std::int32_t line, char const* text);

    /// Writes a comment line to the report log; does nothing until a report
    /// path is set.
    /// \param file the unit's name.
    /// \param line the line.
    /// \param text the comment.
    void Comment(char const* file, std::int32_t line, char const* text);
    /// Writes a comment line with a number to the report log; does nothing
    /// until a report path is set.
    /// \param file the unit's name.
    /// \param line the line.
    /// \param n the number, written after the text.
    /// \param text the comment.
    void CommentN(char const* file, std::int32_t line, std::int32_t n, char const* text);
    /// Writes a message line to the report log; does nothing until a report
    /// path is set.
    /// \param text the message.
    void Message(char const* text);
    /// Writes a message line when enabled.
    /// \param bEnabled non-zero to write.
    /// \param text the message.
    void OPMessage(short bEnabled, char const* text);
    /// Writes a message line with a number.
    /// \param n the number, written after the text.
    /// \param text the message.
    void MessageN(std::int32_t n, char const* text);
    /// Writes a message line with a number when enabled.
    /// \param bEnabled non-zero to write.
    /// \param n the number, written after the text.
    /// \param text the message.
    void OPMessageN(short bEnabled, std::int32_t n, char const* text);

    /// Sets the report log's path and opens a new log there; null does nothing.
    /// A path of 1024 bytes or more ends the process through the fatal check.
    /// \param path the report log's path.
    void _set_szFilePath(char const* path);
    /// \return the report log's path, or null when none is set.
    static char const* _get_szFilePath() { return szFilePath; }
    /// Accepted and not used.
    void _set_bGenerateCallStacks(short) {}
    /// Sets the exception mode, which is kept and not read.
    /// \param mode the mode.
    void _set_nExceptionMode(char mode) { nExceptionMode = mode; }
    /// Sets whether reports would be mailed; kept and not read.
    /// \param enabled non-zero to enable.
    void _set_bMailEnabled(short enabled) { bMailEnabled = enabled; }
    /// Sets the address reports would be mailed to; null does nothing. A text
    /// of 1024 bytes or more ends the process through the fatal check.
    /// \param destination the address.
    void _set_szMailDestination(char const* destination);

    /// \return the number of live Exceptions objects.
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

/// \brief The unit library's thrown type.
///
/// The object carries nothing: the text and number of the latest
/// construction are process-wide. A text longer than 255 bytes ends the
/// process through the fatal check.
class SORVANE_API FWError {
public:
    /// Sets the process's error to the number with a text.
    /// \param n the error number.
    /// \param text the text.
    /// \param file the source file.
    /// \param line the line.
    FWError(int n, char const* text, char const* file, int line);
    /// Sets the process's error to the number.
    /// \param n the error number.
    /// \param file the source file.
    /// \param line the line.
    FWError(int n, char const* file, int line);
    /// Sets the process's error to a text, with number -1.
    /// \param text the text.
    /// \param file the source file.
    /// \param line the line.
    FWError(char const* text, char const* file, int line);

    /// \return the text of the latest error.
    static char const* ErrorString();
    /// \return the number of the latest error.
    static int ErrorNumber();
    /// Clears the latest error.
    static void Reset();

private:
    __attribute__((format(printf, 1, 2))) static void Format(char const* format, ...);

    static constexpr unsigned kTextSize = 256;
    static char szText[kTextSize];
    static int nNumber;
};

/// \brief A unit's name, its folder and file below src/ without the extension
/// ("cpcoll/cplist"), made from the source path when it is compiled.
/// \tparam N the size of the path.
template <std::size_t N> struct SourceUnitName {
    /// The name, 0-terminated.
    char text[N] = {};
    /// \param path the source path, __FILE__.
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

/// The name of the unit being compiled, as SourceUnitName makes it.
#define SV_UNIT_NAME()                                                                             \
    ([]() -> char const* {                                                                         \
        static constexpr ::SourceUnitName<sizeof(__FILE__)> name(__FILE__);                       \
        return name.text;                                                                          \
    }())

/// The fatal check: test at the call site, report with the unit's name and
/// line and the author's text for the condition, and end the process with
/// exit code kDeadFocc when the condition is false.
/// \param cond the condition that must hold.
/// \param text the author's text for the condition.
#define SV_ASSERT(cond, text)                                                                      \
    ((cond) ? (void)0 : ::Exceptions::_get_gexeptnsThe().Assert(SV_UNIT_NAME(), __LINE__, text))
/// The critical fatal check: ends the process when the condition is false.
/// \param cond the condition that must hold.
/// \param text the author's text for the condition.
#define SV_CRIT_ASSERT(cond, text)                                                                 \
    ((cond) ? (void)0                                                                              \
            : ::Exceptions::_get_gexeptnsThe().CritAssert(SV_UNIT_NAME(), __LINE__, text))
/// Ends the process through the fatal check when the pointer is null.
/// \param ptr the pointer.
/// \param text the author's text for the condition.
#define SV_FAIL_IF_NIL(ptr, text)                                                                  \
    ((ptr) != nullptr ? (void)0                                                                    \
                      : ::Exceptions::_get_gexeptnsThe().FailIfNIL(SV_UNIT_NAME(), __LINE__, text))
/// Ends the process through the fatal check when the pointer is not null.
/// \param ptr the pointer.
/// \param text the author's text for the condition.
#define SV_FAIL_IF_NOT_NIL(ptr, text)                                                              \
    ((ptr) == nullptr                                                                              \
         ? (void)0                                                                                 \
         : ::Exceptions::_get_gexeptnsThe().FailIfNotNIL(SV_UNIT_NAME(), __LINE__, text))
/// Ends the process through the fatal check when the pointer is null.
/// \param ptr the pointer.
/// \param text the author's text for the condition.
#define SV_WARN_IF_NIL(ptr, text)                                                                  \
    ((ptr) != nullptr ? (void)0                                                                    \
                      : ::Exceptions::_get_gexeptnsThe().WarnIfNIL(SV_UNIT_NAME(), __LINE__, text))

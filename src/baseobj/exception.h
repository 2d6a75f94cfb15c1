/// \file
/// The front end of the scripting language: its keyword table and its error
/// table, and Exception, which turns an error code into a message. Nothing here
/// acts on a keyword; whoever consumes the tokens gives the codes a meaning.
#pragma once

#include <platform/export.h>

#include <cstddef>
#include <cstdint>
#include <span>

class CPStack;
class CPString;
class Token;

/// \brief One row of the keyword table. The scanner's reserved table takes
/// the rows marked bReserved, the token strings those marked bPrinted.
struct LanguageKeyword {
    /// The keyword's code.
    std::int32_t nCode;
    /// The keyword.
    char const* szText;
    /// The scanner reserves the word.
    bool bReserved;
    /// The code prints as the word.
    bool bPrinted;
};

/// Every row, in code order, which is also the order of entry: where two
/// codes share a word, the lower one is entered first and wins the scan.
/// \return the table.
SORVANE_API std::span<LanguageKeyword const> LanguageKeywords();

/// The code of the format marker "%s", which the scanner makes by itself.
inline constexpr std::int32_t kFormatMarkerCode = 31700;

/// \brief The language's thrown error: turns an error code into a message.
///
/// Thrown by value; the catcher reads szMessage as plain text. Building one
/// shows the message in a box unless boxes are disabled (flow-control codes
/// 200 to 203 never show).
class SORVANE_API Exception {
public:
    /// The size of the message.
    static constexpr std::size_t kMessageSize = 1024;

    /// The message of a code from the error table, after the texts of the live
    /// ExceptionContext guards.
    /// \param nCode the error code.
    /// \param szDetail the detail the code's text takes, or null.
    Exception(short nCode, char const* szDetail);
    /// As Exception(short, char const*), with the detail wrapped around the
    /// token's text and position.
    /// \param nCode the error code.
    /// \param ptok the token the error is at.
    /// \param szDetail the detail, or null.
    Exception(short nCode, Token* ptok, char const* szDetail);
    /// A message of the caller's own: the format, given the code where it has
    /// "%d". Stores no code and shows no box.
    /// \param szFormat the format.
    /// \param nCode the number.
    Exception(char const* szFormat, short nCode);

    /// Appends a line to the message.
    /// \param sz the text.
    void AugmentMessage(char const* sz);
    /// \return 1 when the message is not empty.
    short HasErrorString() const { return szMessage[0] != '\0' ? 1 : 0; }
    /// \return the error code.
    short _get_nException() const { return nException; }
    /// \return the row of the token the error is at, or 0.
    int _get_nRow() const { return nRow; }
    /// \return the column of the token the error is at, or 0.
    int _get_nCol() const { return nCol; }

    /// Disables or enables the message boxes of new exceptions.
    /// \param b non-zero to disable.
    static void _set_bDisableMessageBoxes(short b) { bDisableMessageBoxes = b; }
    /// \return non-zero when boxes are disabled.
    static short _get_bDisableMessageBoxes() { return bDisableMessageBoxes; }
    /// \return the texts pushed by live ExceptionContext guards, oldest first.
    static CPStack& _get_stkContexts();

    /// The row of the token the error is at.
    int nRow = 0;
    /// The column of the token the error is at.
    int nCol = 0;
    /// The error code.
    short nException = 0;
    /// The message.
    char szMessage[kMessageSize] = {};

private:
    void BuildErrorMessage(int nCode, char const* szDetail);

    static short bDisableMessageBoxes;
};

/// \brief Pushes a text that every Exception built in its scope begins with.
class SORVANE_API ExceptionContext {
public:
    /// \param sz the text, copied.
    explicit ExceptionContext(char const* sz);
    /// Takes a reference to the caller's string, given back at the end of the
    /// scope. A string nobody counts (on the stack, or new and not yet held) is
    /// copied instead and stays the caller's.
    /// \param pstr the text.
    explicit ExceptionContext(CPString* pstr);
    /// Pops the text.
    ~ExceptionContext();
    ExceptionContext(ExceptionContext const&) = delete;
    ExceptionContext& operator=(ExceptionContext const&) = delete;

private:
    void Push();

    CPString* pstrThisContext;
    bool bPushed = false;
};

// The front end of the scripting language: its keyword table and its error
// table, and Exception, which turns an error code into a message. Nothing here
// acts on a keyword; whoever consumes the tokens gives the codes a meaning.
#pragma once

#include <platform/export.h>

#include <cstddef>
#include <cstdint>
#include <span>

class CPStack;
class CPString;
class Token;

// One row of the keyword table. The scanner's reserved table takes the rows
// marked bReserved, the token strings those marked bPrinted.
struct LanguageKeyword {
    std::int32_t nCode;
    char const* szText;
    bool bReserved;
    bool bPrinted;
};

// Every row, in code order, which is also the order of entry: where two
// codes share a word, the lower one is entered first and wins the scan.
SORVANE_API std::span<LanguageKeyword const> LanguageKeywords();

// The code of the format marker "%s", which the scanner makes by itself.
inline constexpr std::int32_t kFormatMarkerCode = 31700;

// Thrown by value. The catcher reads szMessage as plain text.
class SORVANE_API Exception {
public:
    static constexpr std::size_t kMessageSize = 1024;

    Exception(short nCode, char const* szDetail);
    // The detail is wrapped around the token's text and position.
    Exception(short nCode, Token* ptok, char const* szDetail);
    // A message of the caller's own: the format, given the code where it has
    // "%d". Stores no code and shows no box.
    Exception(char const* szFormat, short nCode);

    void AugmentMessage(char const* sz);
    short HasErrorString() const { return szMessage[0] != '\0' ? 1 : 0; }
    short _get_nException() const { return nException; }
    int _get_nRow() const { return nRow; }
    int _get_nCol() const { return nCol; }

    static void _set_bDisableMessageBoxes(short b) { bDisableMessageBoxes = b; }
    static short _get_bDisableMessageBoxes() { return bDisableMessageBoxes; }
    // The texts pushed by live ExceptionContext guards, oldest first.
    static CPStack& _get_stkContexts();

    int nRow = 0;
    int nCol = 0;
    short nException = 0;
    char szMessage[kMessageSize] = {};

private:
    void BuildErrorMessage(int nCode, char const* szDetail);

    static short bDisableMessageBoxes;
};

// Pushes a text that every Exception built in its scope begins with.
class SORVANE_API ExceptionContext {
public:
    explicit ExceptionContext(char const* sz);
    // Takes a reference to the caller's string, given back at the end of the
    // scope. A string nobody counts (on the stack, or new and not yet held)
    // is copied instead and stays the caller's.
    explicit ExceptionContext(CPString* pstr);
    ~ExceptionContext();
    ExceptionContext(ExceptionContext const&) = delete;
    ExceptionContext& operator=(ExceptionContext const&) = delete;

private:
    void Push();

    CPString* pstrThisContext;
    bool bPushed = false;
};

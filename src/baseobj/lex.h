// The scanner: text from a stream or a buffer becomes Token objects, keywords
// of the language included. It is written by hand, one routine dispatching on
// the first character of each token. Scanners share class-level tables and a
// comment buffer, so they are for one thread at a time.
#pragma once

#include <util/createable.h>
#include <platform/export.h>

#include <cstdint>
#include <iosfwd>
#include <memory>

class Token;

// A fixed circular queue of characters with an attribute byte for each. It
// holds one character fewer than its slots; writing to a full queue drops
// the oldest character.
class SORVANE_API CharCQ : public Createable {
public:
    static constexpr int kSlots = 8096;

    explicit CharCQ(int nCookie = 0);
    CharCQ(CharCQ const& other);
    // Leaves the peek cursor as it was.
    CharCQ& operator=(CharCQ const& other);
    ~CharCQ() override = default;

    int QSize() const { return nH >= nT ? nH - nT : nH - nT + kSlots; }
    void Clear(int nCookieNew);
    void PutChar(char c);
    void PutChar(char c, int nAttribute);
    void PutString(char const* sz, int nAttribute);
    // Before the oldest; in a full queue the newest character is lost.
    void InsertChar(char c);
    void InsertString(char const* sz);
    // 0 from an empty queue.
    char GetChar();
    char GetChar(int* pnAttribute);
    char PeekChar();
    char PeekChar(int* pnAttribute);
    // Steps the peek cursor on, past the newest character too.
    char PeekNextChar(int* pnAttribute = nullptr);
    short IsInSet(char c) const;
    // Moves the queue to the start of the slots; the attributes stay behind.
    void RemoveFromSet(char c);
    void DumpSet(std::ostream* pos) const;
    // The caller's buffer needs room for the queue, its terminator and, for
    // an empty queue, a second byte.
    void GetQueue(char* buf);
    void SetQueue(char const* sz);
    short IsMT() const { return nH == nT ? 1 : 0; }
    // From the oldest character, round the slots.
    char& operator[](int i);
    char operator[](int i) const;

    int GetCookie() const { return nCookie; }
    void SetCookie(int n) { nCookie = n; }
    char const* _get_szQ() const { return szQ; }
    // Copies all the slots from the argument.
    void _set_szQ(char const* sz);
    char const* _get_arcDirection() const { return arcDirection; }
    void _set_arcDirection(char const* ac);
    int _get_nH() const { return nH; }
    void _set_nH(int n);
    int _get_nT() const { return nT; }
    void _set_nT(int n);
    int _get_nPeek() const { return nPeek; }
    void _set_nPeek(int n);
    int _get_nCookie() const { return nCookie; }
    void _set_nCookie(int n) { nCookie = n; }

private:
    static int Wrap(int n);

    char szQ[kSlots] = {};
    char arcDirection[kSlots] = {};
    int nH = 0;
    int nT = 0;
    int nPeek = -1;
    int nCookie;
};

// A set of byte values: one counter for each, indexed by the unsigned byte.
class SORVANE_API ScanCharSet {
public:
    static constexpr std::uint32_t kSize = 256;

    ScanCharSet();
    ScanCharSet(ScanCharSet const& other);
    // Copies the members; the two sets stay apart.
    ScanCharSet& operator=(ScanCharSet const& other);
    ~ScanCharSet() = default;

    unsigned char Contains(char c) const { return pbSet[static_cast<unsigned char>(c)]; }
    void Augment(char c) { ++pbSet[static_cast<unsigned char>(c)]; }
    void Diminish(char c) { --pbSet[static_cast<unsigned char>(c)]; }
    void Clear();
    // Makes this set the other's: a change through either shows in both.
    void Share(ScanCharSet const& other) { pbSet = other.pbSet; }
    std::uint32_t _get_nSize() const { return nSize; }

private:
    std::uint32_t nSize = kSize;
    std::shared_ptr<unsigned char[]> pbSet;
};

class SORVANE_API Scanner {
public:
    static constexpr std::uint32_t kCommentSize = 65535;

    // The stream is used, never deleted at the end; Reset with another
    // stream deletes it.
    explicit Scanner(std::istream* pis = nullptr);
    // Copies the sets and the look-ahead tokens; the streams and the buffer
    // are shared. A copy does not count as a live scanner.
    Scanner(Scanner const& other);
    // As the copy, but the two scanners then share their character sets.
    Scanner& operator=(Scanner const& other);
    ~Scanner();

    // The buffer is not owned and must stay until the scanner is done.
    void _set_pcBuffer(char const* pc);
    // Used, not owned, until a Reset with another stream deletes it.
    void SetInputStream(std::istream* pis);
    // Takes ownership: Reset deletes the stream, so it must come from new.
    void SetDumpStream(std::ostream* pos) { posDump = pos; }
    // Deletes the dump stream, and the present stream when given another.
    void Reset(std::istream* pis = nullptr);
    void ClearQueues() {}

    int Row() const { return nRow; }
    int Col() const { return nCol; }
    char _get_bHitLF() const { return bHitLF; }
    char _get_bHitFF() const { return bHitFF; }
    char const* _get_pcBuffer() const { return pcBuffer; }
    std::istream* _get_pisThis() const { return pisThis; }
    void _set_bIgnoreComments(char b) { bIgnoreComments = b; }
    void _set_bDisableReservedWords(char b) { bDisableReservedWords = b; }

    // Characters.
    int GetCharFromStream(char& c);
    char NextChar(int = 0);
    char PeekChar(int = 0);
    // Draws ahead from the source into a queue that NextChar never reads: the
    // characters it draws are gone for the scan.
    char PeekNextChar(int bQueued = 0);
    void UpdateRowCol(char c);
    void WhiteSpace(int = 0);

    // Tokens. Those handed out are the caller's to delete.
    Token* BuildToken();
    Token* GetTokenPtr();
    // The argument takes the value; it keeps its own position.
    short GetToken(Token* ptok);
    // The peeked tokens stay the scanner's.
    Token*& PeekTokenPtr();
    Token*& PeekToken2AheadPtr();
    short PeekToken(Token* ptok);
    short PeekToken2Ahead(Token* ptok);
    void ConsumePeekedToken();

    short Match(char const* sz);
    short Match(char c);
    short Match(float f);
    short Match(short n);
    short Match(std::int32_t n);
    short Match(double d);
    // As the 32-bit match: a value outside 32 bits is the fatal check.
    short Match(long n);
    short Match(unsigned long n);
    short Match(long long n);
    // A TY_BOOL token of the same truth.
    short Match(bool b);
    short MatchPeek(char const* sz);
    short MatchPeek(char c);
    short MatchPeek(float f);
    short MatchPeek(short n);
    short MatchPeek(std::int32_t n);
    short MatchPeek(double d);
    short MatchPeek(long n);
    short MatchPeek(unsigned long n);
    short MatchPeek(long long n);
    short MatchPeek(bool b);
    short MatchSpaces(int n);
    short Consume2(char const* sz);
    // Skips past the next line feed, or to the end of the input when none
    // comes; answers 1 either way.
    short Consume2EOL();
    short Consume2EOP();
    short Advance2Column(int n);
    short PeekNumeric();
    // The caller's to delete, as GetField's.
    Token* Catenate2EOL();
    Token* GetField(short nDataType, std::uint16_t nMaxLen);
    // The field stays the scanner's.
    Token* PeekField(short nDataType, std::uint16_t nMaxLen);

    // Character classes of identifiers and fields.
    void AugmentStringSpec(char c);
    void DiminishStringSpec(char c);
    void AugmentStringStartSpec(char c);
    void DiminishStringStartSpec(char c);
    void ResetStringSpec();
    void AugmentFieldDelimiterSet(char c);
    void DiminishFieldDelimiterSet(char c);
    void _set_bRecognizeStringLiterals(int b);
    int _get_bRecognizeStringLiterals() const;

    // The reserved table is shared by every scanner.
    void AddReservedSymbol(char const* sz, std::int32_t nCode);
    std::int32_t IsReservedSymbol(char const* sz) const;

    static std::uint16_t _get_nLiveCount() { return nLiveCount; }

private:
    // The character steps of NextChar, PeekChar, GetCharFromStream and
    // UpdateRowCol, inline for the scanner's own loops.
    int SourceChar(char& c);
    char TakeChar();
    char LookChar();
    void StepRowCol(char c);
    // The next character is the buffer's, unread and with nothing pushed
    // back: a loop may look at it in place, and take it as LookChar and
    // TakeChar together would.
    bool PlainBuffer() const;
    void TakeBufferChar(char c);
    template <class T> short MatchAny(T value, bool bConsume);
    void DeleteLookAhead();
    void PushBack(char c);
    void ReadIdentifier(Token* ptok);
    void ReadNumber(Token* ptok);
    void ReadPunctuation(Token* ptok);
    void ReadComment(Token* ptok, char cSecond);
    void ReadWholePart(short* pnRadix);
    short ConsumeDecimal();
    void ReadFractionalPart(bool bDigits = true);
    void ApplyExponent();

    std::istream* pisThis = nullptr;
    char const* pcBuffer = nullptr;
    std::ostream* posDump = nullptr;
    std::int32_t nWhole = 0;
    std::int32_t nExponent = 0;
    double dValue = 0.0;
    double dScale = 0.0;
    Token* ptokPeek = nullptr;
    Token* ptokPeek2 = nullptr;
    Token* ptokField = nullptr;
    Token* ptokMatch = nullptr;
    CharCQ cqAhead{1};
    CharCQ cqPushed{1};
    ScanCharSet csStringExtra;
    ScanCharSet csStringExcluded;
    ScanCharSet csStringStart;
    ScanCharSet csFieldDelimiters;
    int nRow = 1;
    int nCol = 1;
    int nPrevRow = 1;
    int nPrevCol = 1;
    unsigned int nPeekAhead = 0;
    int nReserved = 0;
    int bUseBuffer = 0;
    int nBufferPos = 0;
    int nBufferEnd = 0;
    char bHitLF = 0;
    char bHitFF = 0;
    char bIgnoreComments = 0;
    char bDisableReservedWords = 0;
    // A slot holds a byte, or kEmptySlot, which lies outside the bytes so that
    // a 255 in the input is never taken for an empty slot.
    std::int16_t cPushback1 = kEmptySlot;
    std::int16_t cPushback2 = kEmptySlot;

    static constexpr std::int16_t kEmptySlot = -1;
    static std::uint16_t nLiveCount;
};

/// \file
/// The scanner: text from a stream or a buffer becomes Token objects, keywords
/// of the language included. It is written by hand, one routine dispatching on
/// the first character of each token. Scanners share class-level tables and a
/// comment buffer, so they are for one thread at a time.
#pragma once

#include <util/createable.h>
#include <platform/export.h>

#include <cstdint>
#include <iosfwd>
#include <memory>

class Token;

/// \brief A fixed circular queue of characters with an attribute byte for
/// each. It holds one character fewer than its slots; writing to a full
/// queue drops the oldest character.
class SORVANE_API CharCQ : public Createable {
public:
    /// The number of slots.
    static constexpr int kSlots = 8096;

    /// \param nCookie a number the owner keeps with the queue.
    explicit CharCQ(int nCookie = 0);
    /// Copies the characters, attributes and cursors.
    /// \param other the queue copied.
    CharCQ(CharCQ const& other);
    /// Copies the characters and attributes; the peek cursor stays as it was.
    /// \param other the queue copied.
    /// \return this queue.
    CharCQ& operator=(CharCQ const& other);
    ~CharCQ() override = default;

    /// \return the number of characters queued.
    int QSize() const { return nH >= nT ? nH - nT : nH - nT + kSlots; }
    /// Empties the queue.
    /// \param nCookieNew the new cookie.
    void Clear(int nCookieNew);
    /// Appends a character with attribute 0.
    /// \param c the character.
    void PutChar(char c);
    /// Appends a character.
    /// \param c the character.
    /// \param nAttribute its attribute.
    void PutChar(char c, int nAttribute);
    /// Appends a text.
    /// \param sz the text.
    /// \param nAttribute the attribute of each character.
    void PutString(char const* sz, int nAttribute);
    /// Puts a character before the oldest; in a full queue the newest is lost.
    /// \param c the character.
    void InsertChar(char c);
    /// Puts a text before the oldest character.
    /// \param sz the text.
    void InsertString(char const* sz);
    /// \return the oldest character, taken off; 0 from an empty queue.
    char GetChar();
    /// Takes the oldest character off.
    /// \param pnAttribute receives its attribute.
    /// \return the character; 0 from an empty queue.
    char GetChar(int* pnAttribute);
    /// \return the oldest character, left queued; 0 from an empty queue.
    char PeekChar();
    /// Looks at the oldest character.
    /// \param pnAttribute receives its attribute.
    /// \return the character; 0 from an empty queue.
    char PeekChar(int* pnAttribute);
    /// Steps the peek cursor on, past the newest character too.
    /// \param pnAttribute when not null, receives the attribute.
    /// \return the character there.
    char PeekNextChar(int* pnAttribute = nullptr);
    /// \param c a character.
    /// \return 1 when the queue holds it.
    short IsInSet(char c) const;
    /// Removes every occurrence of a character and moves the queue to the start
    /// of the slots; the attributes stay behind.
    /// \param c the character.
    void RemoveFromSet(char c);
    /// Writes the queued characters.
    /// \param pos the stream; null does nothing.
    void DumpSet(std::ostream* pos) const;
    /// Copies the queue out.
    /// \param buf the caller's buffer; it needs room for the queue, its
    ///        terminator and, for an empty queue, a second byte.
    void GetQueue(char* buf);
    /// Replaces the queue with a text. A text of kSlots bytes or more ends the
    /// process through the fatal check.
    /// \param sz the text.
    void SetQueue(char const* sz);
    /// \return 1 when the queue is empty.
    short IsMT() const { return nH == nT ? 1 : 0; }
    /// A character counted from the oldest, round the slots.
    /// \param i the place.
    /// \return the character.
    char& operator[](int i);
    /// A character counted from the oldest, round the slots.
    /// \param i the place.
    /// \return the character.
    char operator[](int i) const;

    /// \return the cookie.
    int GetCookie() const { return nCookie; }
    /// \param n the new cookie.
    void SetCookie(int n) { nCookie = n; }
    /// \return the slots of characters.
    char const* _get_szQ() const { return szQ; }
    /// Copies all the slots from the argument.
    /// \param sz kSlots characters.
    void _set_szQ(char const* sz);
    /// \return the slots of attributes.
    char const* _get_arcDirection() const { return arcDirection; }
    /// Copies all the attribute slots from the argument.
    /// \param ac kSlots attributes.
    void _set_arcDirection(char const* ac);
    /// \return the head index.
    int _get_nH() const { return nH; }
    /// \param n the new head index, wrapped into the slots.
    void _set_nH(int n);
    /// \return the tail index.
    int _get_nT() const { return nT; }
    /// \param n the new tail index, wrapped into the slots.
    void _set_nT(int n);
    /// \return the peek cursor, or -1.
    int _get_nPeek() const { return nPeek; }
    /// \param n the new peek cursor.
    void _set_nPeek(int n);
    /// \return the cookie.
    int _get_nCookie() const { return nCookie; }
    /// \param n the new cookie.
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

/// \brief A set of byte values: one counter for each, indexed by the unsigned byte.
class SORVANE_API ScanCharSet {
public:
    /// The number of byte values.
    static constexpr std::uint32_t kSize = 256;

    ScanCharSet();
    /// \param other the set copied; the two stay apart.
    ScanCharSet(ScanCharSet const& other);
    /// Copies the members; the two sets stay apart.
    /// \param other the set copied.
    /// \return this set.
    ScanCharSet& operator=(ScanCharSet const& other);
    ~ScanCharSet() = default;

    /// \param c a byte.
    /// \return its counter; non-zero when in the set.
    unsigned char Contains(char c) const { return pbSet[static_cast<unsigned char>(c)]; }
    /// Raises a byte's counter.
    /// \param c the byte.
    void Augment(char c) { ++pbSet[static_cast<unsigned char>(c)]; }
    /// Lowers a byte's counter.
    /// \param c the byte.
    void Diminish(char c) { --pbSet[static_cast<unsigned char>(c)]; }
    /// Empties the set.
    void Clear();
    /// Makes this set the other's: a change through either shows in both.
    /// \param other the set shared.
    void Share(ScanCharSet const& other) { pbSet = other.pbSet; }
    /// \return the number of byte values.
    std::uint32_t _get_nSize() const { return nSize; }

private:
    std::uint32_t nSize = kSize;
    std::shared_ptr<unsigned char[]> pbSet;
};

/// \brief The scanner: text from a stream or a buffer becomes Token objects,
/// keywords of the language included.
///
/// Scanners share class-level tables and a comment buffer, so they are for
/// one thread at a time. Reading a token throws Exception 274 for an
/// identifier that is too long and 292 for an unterminated string or comment.
class SORVANE_API Scanner {
public:
    /// The size of the shared comment buffer.
    static constexpr std::uint32_t kCommentSize = 65535;

    /// \param pis the source; used, never deleted at the end (Reset with another
    ///        stream deletes it).
    explicit Scanner(std::istream* pis = nullptr);
    /// Copies the sets and the look-ahead tokens; the streams and the buffer are
    /// shared. A copy does not count as a live scanner.
    /// \param other the scanner copied.
    Scanner(Scanner const& other);
    /// As the copy, but the two scanners then share their character sets.
    /// \param other the scanner copied.
    /// \return this scanner.
    Scanner& operator=(Scanner const& other);
    /// Deletes the look-ahead tokens.
    ~Scanner();

    /// Scans a buffer instead of a stream.
    /// \param pc 0-terminated text; not owned, it must stay until the scanner is done.
    void _set_pcBuffer(char const* pc);
    /// Sets the source.
    /// \param pis the stream; used, not owned, until a Reset with another stream deletes it.
    void SetInputStream(std::istream* pis);
    /// Takes ownership of a stream that receives a dump: Reset deletes it, so
    /// it must come from new.
    /// \param pos the stream.
    void SetDumpStream(std::ostream* pos) { posDump = pos; }
    /// Deletes the dump stream, and the present stream when given another.
    /// \param pis the new source, or null to keep the present one.
    void Reset(std::istream* pis = nullptr);
    /// Nothing to clear.
    void ClearQueues() {}

    /// \return the row of the next character, from 1.
    int Row() const { return nRow; }
    /// \return the column of the next character, from 1.
    int Col() const { return nCol; }
    /// \return 1 when the last token read passed a line feed.
    char _get_bHitLF() const { return bHitLF; }
    /// \return 1 when the last token read passed a form feed.
    char _get_bHitFF() const { return bHitFF; }
    /// \return the buffer scanned, or null.
    char const* _get_pcBuffer() const { return pcBuffer; }
    /// \return the stream scanned, or null.
    std::istream* _get_pisThis() const { return pisThis; }
    /// \param b non-zero to skip comments rather than make tokens of them.
    void _set_bIgnoreComments(char b) { bIgnoreComments = b; }
    /// \param b non-zero to read reserved words as identifiers.
    void _set_bDisableReservedWords(char b) { bDisableReservedWords = b; }

    /// Reads one character from the source.
    /// \param c receives it.
    /// \return non-zero when a character was read.
    int GetCharFromStream(char& c);
    /// \return the next character, taken; 0 at the end.
    char NextChar(int = 0);
    /// \return the next character, left; 0 at the end.
    char PeekChar(int = 0);
    /// Draws ahead from the source into a queue that NextChar() never reads: the
    /// characters it draws are gone for the scan.
    /// \param bQueued non-zero to read from the queue.
    /// \return the character.
    char PeekNextChar(int bQueued = 0);
    /// Counts a character into the row and column.
    /// \param c the character.
    void UpdateRowCol(char c);
    /// Skips white space.
    void WhiteSpace(int = 0);

    /// Reads the next token from the source, past any peeked ones.
    /// \return a new token, which the caller deletes; null at the end.
    /// \throws Exception 274 or 292 for text that does not scan.
    Token* BuildToken();
    /// Takes the next token, a peeked one first.
    /// \return the token, which the caller deletes; null at the end.
    /// \throws Exception 274 or 292 for text that does not scan.
    Token* GetTokenPtr();
    /// Takes the next token into the argument, which keeps its own position.
    /// \param ptok receives the value.
    /// \return 1, or 0 at the end.
    /// \throws Exception 274 or 292 for text that does not scan.
    short GetToken(Token* ptok);
    /// \return the next token, which stays the scanner's; null at the end.
    /// \throws Exception 274 or 292 for text that does not scan.
    Token*& PeekTokenPtr();
    /// \return the token after the next, which stays the scanner's; null at the end.
    /// \throws Exception 274 or 292 for text that does not scan.
    Token*& PeekToken2AheadPtr();
    /// Copies the next token.
    /// \param ptok receives a copy.
    /// \return 1, or 0 at the end.
    /// \throws Exception 274 or 292 for text that does not scan.
    short PeekToken(Token* ptok);
    /// Copies the token after the next.
    /// \param ptok receives a copy.
    /// \return 1, or 0 at the end.
    /// \throws Exception 274 or 292 for text that does not scan.
    short PeekToken2Ahead(Token* ptok);
    /// Drops the peeked token.
    void ConsumePeekedToken();

    /// Takes the next token when it is that text (Token::Match()); every Match
    /// and MatchPeek may throw as PeekTokenPtr().
    /// \param sz the text.
    /// \return 1 when it matched and was taken, else 0.
    short Match(char const* sz);
    /// Takes the next token when it is that character.
    /// \param c the character.
    /// \return 1 when it matched and was taken, else 0.
    short Match(char c);
    /// Takes the next token when it is that TY_FLOAT.
    /// \param f the number.
    /// \return 1 when it matched and was taken, else 0.
    short Match(float f);
    /// Takes the next token when it is that TY_SHORT.
    /// \param n the number.
    /// \return 1 when it matched and was taken, else 0.
    short Match(short n);
    /// Takes the next token when it is that TY_LONG.
    /// \param n the number.
    /// \return 1 when it matched and was taken, else 0.
    short Match(std::int32_t n);
    /// Takes the next token when it is that TY_DOUBLE.
    /// \param d the number.
    /// \return 1 when it matched and was taken, else 0.
    short Match(double d);
    /// As the 32-bit match: a value outside 32 bits ends the process through
    /// the fatal check.
    /// \param n the number.
    /// \return 1 when it matched and was taken, else 0.
    short Match(long n);
    /// As Match(long).
    /// \param n the number.
    /// \return 1 when it matched and was taken, else 0.
    short Match(unsigned long n);
    /// As Match(long).
    /// \param n the number.
    /// \return 1 when it matched and was taken, else 0.
    short Match(long long n);
    /// Takes the next token when it is a TY_BOOL of the same truth.
    /// \param b the truth value.
    /// \return 1 when it matched and was taken, else 0.
    short Match(bool b);
    /// As Match(char const*), but the token stays.
    /// \param sz the text.
    /// \return 1 when the next token matches.
    short MatchPeek(char const* sz);
    /// As Match(char), but the token stays.
    /// \param c the character.
    /// \return 1 when the next token matches.
    short MatchPeek(char c);
    /// As Match(float), but the token stays.
    /// \param f the number.
    /// \return 1 when the next token matches.
    short MatchPeek(float f);
    /// As Match(short), but the token stays.
    /// \param n the number.
    /// \return 1 when the next token matches.
    short MatchPeek(short n);
    /// As Match(std::int32_t), but the token stays.
    /// \param n the number.
    /// \return 1 when the next token matches.
    short MatchPeek(std::int32_t n);
    /// As Match(double), but the token stays.
    /// \param d the number.
    /// \return 1 when the next token matches.
    short MatchPeek(double d);
    /// As Match(long), but the token stays.
    /// \param n the number.
    /// \return 1 when the next token matches.
    short MatchPeek(long n);
    /// As Match(unsigned long), but the token stays.
    /// \param n the number.
    /// \return 1 when the next token matches.
    short MatchPeek(unsigned long n);
    /// As Match(long long), but the token stays.
    /// \param n the number.
    /// \return 1 when the next token matches.
    short MatchPeek(long long n);
    /// As Match(bool), but the token stays.
    /// \param b the truth value.
    /// \return 1 when the next token matches.
    short MatchPeek(bool b);
    /// Takes blanks while they come, up to a count.
    /// \param n the count.
    /// \return 1 when n blanks were taken, else 0.
    short MatchSpaces(int n);
    /// Drops tokens up to one that begins with the text, which stays next.
    /// \param sz the text.
    /// \return 1 when found, 0 at the end.
    short Consume2(char const* sz);
    /// Skips past the next line feed, or to the end of the input when none comes.
    /// \return 1 either way.
    short Consume2EOL();
    /// Drops tokens up to the next form feed.
    /// \return 1 when one came, 0 at the end.
    short Consume2EOP();
    /// Skips characters up to a column of the line.
    /// \param n the column.
    /// \return 1 when reached, 0 at the end or past the line.
    short Advance2Column(int n);
    /// \return 1 when the next token is a number, or a '-' followed by another '-'.
    short PeekNumeric();
    /// Joins the tokens up to the end of the line into one text token, cut to
    /// 1,024 bytes.
    /// \return a new token, the caller's to delete; null at the end.
    Token* Catenate2EOL();
    /// Reads a field up to a field delimiter.
    /// \param nDataType the type the field is read as.
    /// \param nMaxLen the longest field, at most 255.
    /// \return a new token, the caller's to delete; null at the end.
    /// \throws Exception 274 for nMaxLen over 255.
    Token* GetField(short nDataType, std::uint16_t nMaxLen);
    /// Reads the next field ahead, as GetField(), and keeps it for GetField().
    /// \param nDataType the type the field is read as.
    /// \param nMaxLen the longest field, at most 255.
    /// \return the field, which stays the scanner's; null at the end.
    /// \throws Exception 274 for nMaxLen over 255.
    Token* PeekField(short nDataType, std::uint16_t nMaxLen);

    /// Lets identifiers hold a character.
    /// \param c the character.
    void AugmentStringSpec(char c);
    /// Keeps a character out of identifiers.
    /// \param c the character.
    void DiminishStringSpec(char c);
    /// Lets identifiers begin with a character.
    /// \param c the character.
    void AugmentStringStartSpec(char c);
    /// Stops identifiers beginning with a character.
    /// \param c the character.
    void DiminishStringStartSpec(char c);
    /// Puts the identifier classes back to the language's.
    void ResetStringSpec();
    /// Makes a character end fields.
    /// \param c the character.
    void AugmentFieldDelimiterSet(char c);
    /// Stops a character ending fields.
    /// \param c the character.
    void DiminishFieldDelimiterSet(char c);
    /// \param b non-zero to read quoted text as string literals.
    void _set_bRecognizeStringLiterals(int b);
    /// \return non-zero when quoted text reads as string literals.
    int _get_bRecognizeStringLiterals() const;

    /// Enters a reserved word in the table shared by every scanner.
    /// \param sz the word.
    /// \param nCode its code.
    void AddReservedSymbol(char const* sz, std::int32_t nCode);
    /// \param sz a word.
    /// \return its code in the reserved table, or 0.
    std::int32_t IsReservedSymbol(char const* sz) const;

    /// \return the number of live scanners (copies not counted).
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

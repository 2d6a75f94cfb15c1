#include <baseobj/lex.h>

#include <baseobj/exception.h>
#include <baseobj/token.h>
#include <cpcoll/cpdict.h>
#include <util/exceptions.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <istream>
#include <memory>
#include <new>
#include <ostream>
#include <string>

std::uint16_t Scanner::nLiveCount = 0;

namespace {

constexpr std::size_t kShortIdentifier = 32;
constexpr std::size_t kLongIdentifier = 254;
constexpr std::size_t kFieldSize = 256;
constexpr std::size_t kTokenText = 256;
constexpr std::size_t kLineSize = 1024;

// Character classes of the C locale, whatever locale the process runs in:
// bytes above 127 are in none of them.
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsAlpha(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool IsAlnum(char c) {
    return IsAlpha(c) || IsDigit(c);
}
bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
bool IsPunct(char c) {
    return c >= '!' && c <= '~' && !IsAlnum(c);
}
bool IsBinaryDigit(char c) {
    return c == '0' || c == '1';
}
bool IsHexDigit(char c) {
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// The negated value of a decimal digit, and a table of its own for the
// letters: B is 1.
std::int32_t HexValue(char c) {
    if (IsDigit(c)) return '0' - c;
    switch (c) {
    case 'a':
    case 'A':
        return 10;
    case 'b':
    case 'B':
        return 1;
    case 'c':
    case 'C':
        return 12;
    case 'd':
    case 'D':
        return 13;
    case 'e':
    case 'E':
        return 14;
    case 'f':
    case 'F':
        return 15;
    default:
        return 0;
    }
}

// The accumulators are 32-bit longs that wrap without notice.
std::int32_t Accumulate(std::int32_t n, std::int32_t nBase, std::int32_t nDigit) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(n) *
                                         static_cast<std::uint32_t>(nBase) +
                                     static_cast<std::uint32_t>(nDigit));
}

std::int32_t Negate(std::int32_t n) {
    return static_cast<std::int32_t>(0u - static_cast<std::uint32_t>(n));
}

int Wrapped(long long n) {
    return static_cast<int>(static_cast<std::uint32_t>(n));
}

// As Token's: where 32 bits cannot hold the value, x86 gives 0x80000000.
std::int32_t Trunc32(double d) {
    if (!(d > -2147483649.0 && d < 2147483648.0)) return INT32_MIN;
    return static_cast<std::int32_t>(d);
}

ScanCharSet& DefaultBody() {
    static ScanCharSet cs;
    return cs;
}

ScanCharSet& DefaultStart() {
    static ScanCharSet cs;
    return cs;
}

bool gbDefaultsBuilt = false;

void BuildDefaultSets() {
    if (gbDefaultsBuilt) return;
    gbDefaultsBuilt = true;
    for (int n = 0; n < 255; ++n) {
        auto const c = static_cast<char>(n);
        if (!IsAlnum(c)) continue;
        DefaultBody().Augment(c);
        if (IsAlpha(c)) DefaultStart().Augment(c);
    }
    DefaultStart().Augment('"');
    DefaultBody().Augment('_');
}

CPDictionary& ReservedTable() {
    static CPDictionary dct;
    return dct;
}

char gszComment[Scanner::kCommentSize];

// For each first byte, the lengths of the reserved words that begin with it
// (bit n for length n, bit 31 for 31 and longer), so that most identifiers
// are known not to be reserved without hashing them. It follows the table,
// which only AddReservedSymbol fills; an empty word is kept as "UnNamed".
std::array<std::uint32_t, 256> garnReservedLengths{};

std::uint32_t LengthBit(std::size_t nLength) {
    return std::uint32_t{1} << std::min<std::size_t>(nLength, 31);
}

void NoteReservedWord(char const* sz) {
    if (sz == nullptr) return;
    if (sz[0] == '\0') sz = "UnNamed";
    garnReservedLengths[static_cast<unsigned char>(sz[0])] |= LengthBit(std::strlen(sz));
}

bool MayBeReserved(char const* sz) {
    if (sz == nullptr) return false;
    std::uint32_t const nLengths = garnReservedLengths[static_cast<unsigned char>(sz[0])];
    return nLengths != 0 && (nLengths & LengthBit(std::strlen(sz))) != 0;
}

} // namespace

// CharCQ -------------------------------------------------------------------------

CharCQ::CharCQ(int nCookie) : nCookie(nCookie) {}

CharCQ::CharCQ(CharCQ const& other)
    : Createable(other), nH(other.nH), nT(other.nT), nPeek(other.nPeek), nCookie(other.nCookie) {
    std::memcpy(szQ, other.szQ, kSlots);
    std::memcpy(arcDirection, other.arcDirection, kSlots);
}

CharCQ& CharCQ::operator=(CharCQ const& other) {
    if (this == &other) return *this;
    Createable::operator=(other);
    std::memcpy(szQ, other.szQ, kSlots);
    std::memcpy(arcDirection, other.arcDirection, kSlots);
    nH = other.nH;
    nT = other.nT;
    nCookie = other.nCookie;
    return *this;
}

int CharCQ::Wrap(int n) {
    return (n % kSlots + kSlots) % kSlots;
}

void CharCQ::Clear(int nCookieNew) {
    nH = 0;
    nT = 0;
    nPeek = -1;
    nCookie = nCookieNew;
}

void CharCQ::PutChar(char c) {
    nPeek = -1;
    szQ[nH] = c;
    nH = Wrap(nH + 1);
    if (nH == nT) nT = Wrap(nT + 1);
}

void CharCQ::PutChar(char c, int nAttribute) {
    arcDirection[nH] = static_cast<char>(nAttribute);
    PutChar(c);
}

void CharCQ::PutString(char const* sz, int nAttribute) {
    for (; *sz != '\0'; ++sz)
        PutChar(*sz, nAttribute);
}

void CharCQ::InsertChar(char c) {
    nPeek = -1;
    nT = Wrap(nT - 1);
    szQ[nT] = c;
    if (nT == nH) nH = Wrap(nH - 1);
}

void CharCQ::InsertString(char const* sz) {
    for (std::size_t n = std::strlen(sz); n > 0; --n)
        InsertChar(sz[n - 1]);
}

char CharCQ::GetChar() {
    return GetChar(nullptr);
}

char CharCQ::GetChar(int* pnAttribute) {
    nPeek = -1;
    if (IsMT() != 0) return '\0';
    if (pnAttribute != nullptr) *pnAttribute = arcDirection[nT];
    char const c = szQ[nT];
    nT = Wrap(nT + 1);
    return c;
}

char CharCQ::PeekChar() {
    return PeekChar(nullptr);
}

char CharCQ::PeekChar(int* pnAttribute) {
    if (IsMT() != 0) return '\0';
    nPeek = nT;
    if (pnAttribute != nullptr) *pnAttribute = arcDirection[nT];
    return szQ[nT];
}

char CharCQ::PeekNextChar(int* pnAttribute) {
    if (IsMT() != 0) return '\0';
    if (nPeek == -1) return PeekChar(pnAttribute);
    nPeek = Wrap(nPeek + 1);
    if (pnAttribute != nullptr) *pnAttribute = arcDirection[nPeek];
    return szQ[nPeek];
}

short CharCQ::IsInSet(char c) const {
    for (int i = nT; i != nH; i = Wrap(i + 1))
        if (szQ[i] == c) return 1;
    return 0;
}

void CharCQ::RemoveFromSet(char c) {
    std::unique_ptr<char[]> temp(new (std::nothrow) char[kSlots]);
    if (!temp) return;
    nPeek = -1;
    int n = 0;
    for (int i = nT; i != nH; i = Wrap(i + 1))
        if (szQ[i] != c) temp[n++] = szQ[i];
    std::memcpy(szQ, temp.get(), static_cast<std::size_t>(n));
    nT = 0;
    nH = n;
}

void CharCQ::DumpSet(std::ostream* pos) const {
    if (pos == nullptr) return;
    int const nSize = QSize();
    *pos << "CharCQ Contents: (length " << nSize << ")\n{\n";
    for (int i = 0; i < nSize; ++i) {
        *pos << " (" << i << ", " << static_cast<int>(szQ[nH]) << ")"
             << ", ";
        if (i % 6 == 5) *pos << "\n";
    }
    *pos << "\n}\n";
}

void CharCQ::GetQueue(char* buf) {
    int const nSize = QSize();
    buf[0] = PeekChar();
    int i = 1;
    while (i < nSize)
        buf[i++] = PeekNextChar();
    buf[i] = '\0';
    nPeek = -1;
}

// The queue's slots are fixed, so a text that cannot fit ends the process
// through the fatal check.
void CharCQ::SetQueue(char const* sz) {
    std::size_t const nLength = std::strlen(sz);
    SV_ASSERT(nLength < static_cast<std::size_t>(kSlots), "strlen(sz) < 8096");
    std::memcpy(szQ, sz, nLength);
    nT = 0;
    nH = static_cast<int>(nLength);
    nPeek = -1;
}

char& CharCQ::operator[](int i) {
    return szQ[Wrap(Wrapped(static_cast<long long>(nT) + i))];
}

char CharCQ::operator[](int i) const {
    return szQ[Wrap(Wrapped(static_cast<long long>(nT) + i))];
}

void CharCQ::_set_szQ(char const* sz) {
    std::memcpy(szQ, sz, kSlots);
    nPeek = -1;
}

void CharCQ::_set_arcDirection(char const* ac) {
    std::memcpy(arcDirection, ac, kSlots);
    nPeek = -1;
}

// Any number is taken and wrapped into the slots, so an index never points
// outside them.
void CharCQ::_set_nH(int n) {
    nH = Wrap(n);
}
void CharCQ::_set_nT(int n) {
    nT = Wrap(n);
}
void CharCQ::_set_nPeek(int n) {
    nPeek = n == -1 ? -1 : Wrap(n);
}

// ScanCharSet ----------------------------------------------------------------------

ScanCharSet::ScanCharSet() : pbSet(new unsigned char[kSize]()) {}

ScanCharSet::ScanCharSet(ScanCharSet const& other)
    : nSize(other.nSize), pbSet(new unsigned char[kSize]) {
    std::memcpy(pbSet.get(), other.pbSet.get(), kSize);
}

ScanCharSet& ScanCharSet::operator=(ScanCharSet const& other) {
    if (pbSet != other.pbSet) std::memcpy(pbSet.get(), other.pbSet.get(), kSize);
    return *this;
}

void ScanCharSet::Clear() {
    std::memset(pbSet.get(), 0, kSize);
}

// Scanner: life ----------------------------------------------------------------------

Scanner::Scanner(std::istream* pis) {
    if (nLiveCount++ == 0) {
        BuildDefaultSets();
        Token::SetupReservedSymbols(this);
    }
    Reset(pis);
    bUseBuffer = 0;
    nBufferPos = 0;
    nBufferEnd = 0;
    pcBuffer = nullptr;
    bHitLF = 0;
    bHitFF = 0;
    bIgnoreComments = 0;
    bDisableReservedWords = 0;
    csStringStart = DefaultStart();
    cPushback1 = kEmptySlot;
    cPushback2 = kEmptySlot;
}

namespace {
Token* Duplicate(Token const* ptok) {
    if (ptok == nullptr) return nullptr;
    auto* const copy = new Token(*ptok);
    copy->_set_nRow(ptok->_get_nRow());
    copy->_set_nCol(ptok->_get_nCol());
    return copy;
}
} // namespace

// The copy takes its own look-ahead tokens: shared ones would be deleted by
// whichever of the two scanners ended first, under the other.
Scanner::Scanner(Scanner const& other)
    : pisThis(other.pisThis), pcBuffer(other.pcBuffer), posDump(other.posDump),
      nWhole(other.nWhole), nExponent(other.nExponent), dValue(other.dValue), dScale(other.dScale),
      ptokPeek(Duplicate(other.ptokPeek)), ptokPeek2(Duplicate(other.ptokPeek2)),
      ptokField(Duplicate(other.ptokField)), ptokMatch(nullptr), cqAhead(other.cqAhead),
      cqPushed(other.cqPushed), csStringExtra(other.csStringExtra),
      csStringExcluded(other.csStringExcluded), csStringStart(other.csStringStart),
      csFieldDelimiters(other.csFieldDelimiters), nRow(other.nRow), nCol(other.nCol),
      nPrevRow(other.nPrevRow), nPrevCol(other.nPrevCol), nPeekAhead(other.nPeekAhead),
      nReserved(other.nReserved), bUseBuffer(other.bUseBuffer), nBufferPos(other.nBufferPos),
      nBufferEnd(other.nBufferEnd), bHitLF(other.bHitLF), bHitFF(other.bHitFF),
      bIgnoreComments(other.bIgnoreComments), bDisableReservedWords(other.bDisableReservedWords),
      cPushback1(other.cPushback1), cPushback2(other.cPushback2) {}

Scanner& Scanner::operator=(Scanner const& other) {
    if (this == &other) return *this;
    DeleteLookAhead();
    delete ptokField;
    pisThis = other.pisThis;
    pcBuffer = other.pcBuffer;
    posDump = other.posDump;
    nWhole = other.nWhole;
    nExponent = other.nExponent;
    dValue = other.dValue;
    dScale = other.dScale;
    ptokPeek = Duplicate(other.ptokPeek);
    ptokPeek2 = Duplicate(other.ptokPeek2);
    ptokField = Duplicate(other.ptokField);
    ptokMatch = nullptr;
    cqAhead = other.cqAhead;
    cqPushed = other.cqPushed;
    csStringExtra.Share(other.csStringExtra);
    csStringExcluded.Share(other.csStringExcluded);
    csStringStart.Share(other.csStringStart);
    csFieldDelimiters.Share(other.csFieldDelimiters);
    nRow = other.nRow;
    nCol = other.nCol;
    nPrevRow = other.nPrevRow;
    nPrevCol = other.nPrevCol;
    nPeekAhead = other.nPeekAhead;
    nReserved = other.nReserved;
    bUseBuffer = other.bUseBuffer;
    nBufferPos = other.nBufferPos;
    nBufferEnd = other.nBufferEnd;
    bHitLF = other.bHitLF;
    bHitFF = other.bHitFF;
    bIgnoreComments = other.bIgnoreComments;
    bDisableReservedWords = other.bDisableReservedWords;
    cPushback1 = other.cPushback1;
    cPushback2 = other.cPushback2;
    return *this;
}

// The look-ahead tokens and the field read ahead are the scanner's own.
Scanner::~Scanner() {
    DeleteLookAhead();
    delete ptokField;
    --nLiveCount;
}

void Scanner::DeleteLookAhead() {
    delete ptokPeek;
    ptokPeek = nullptr;
    delete ptokPeek2;
    ptokPeek2 = nullptr;
}

void Scanner::_set_pcBuffer(char const* pc) {
    pcBuffer = pc;
    bUseBuffer = pc != nullptr ? 1 : 0;
    nBufferPos = 0;
    nBufferEnd = 0;
}

void Scanner::SetInputStream(std::istream* pis) {
    DeleteLookAhead();
    pisThis = pis;
    if (pis == nullptr) {
        nBufferPos = 0;
    } else {
        bUseBuffer = 0;
        pcBuffer = nullptr;
    }
}

void Scanner::Reset(std::istream* pis) {
    // The stream handed in again is the one in use: it is not deleted.
    if (pis != nullptr) {
        if (pis != pisThis) delete pisThis;
        pisThis = pis;
    }
    delete posDump;
    posDump = nullptr;
    DeleteLookAhead();
    csStringExtra.Clear();
    csStringExcluded.Clear();
    nRow = 1;
    nCol = 1;
    nPeekAhead = 0;
    nBufferPos = 0;
    cPushback1 = kEmptySlot;
    cPushback2 = kEmptySlot;
}

// Characters -------------------------------------------------------------------------

// With no source at all (no buffer, no stream) the input has ended.
// Inline: each character of a scan passes through these.
inline int Scanner::SourceChar(char& c) {
    if (bUseBuffer != 0 && pcBuffer != nullptr) {
        if (nBufferEnd == -1) {
            c = '\0';
            return 0;
        }
        c = pcBuffer[nBufferPos++];
        if (c == '\0') {
            nBufferEnd = -1;
            return 0;
        }
        return 1;
    }
    if (pisThis == nullptr || pisThis->eof()) {
        c = '\0';
        return 0;
    }
    int const ch = pisThis->get();
    c = ch == std::char_traits<char>::eof() ? '\0' : static_cast<char>(ch);
    return 1;
}

inline void Scanner::StepRowCol(char c) {
    switch (c) {
    case '\n':
        nCol = 1;
        bHitLF = 1;
        nRow = Wrapped(static_cast<long long>(nRow) + 1);
        break;
    case '\t':
        // Columns 1 to 7 go to 9 and column 8 to 17: so it was meant.
        nCol = Wrapped(static_cast<long long>(nCol) + 9 - nCol % 8);
        break;
    case '\f':
        bHitFF = 1;
        nCol = 1;
        nRow = Wrapped(static_cast<long long>(nRow) + 1);
        break;
    default:
        nCol = Wrapped(static_cast<long long>(nCol) + 1);
        break;
    }
}

inline char Scanner::TakeChar() {
    char c;
    if (cPushback1 != kEmptySlot) {
        c = static_cast<char>(cPushback1);
        cPushback1 = cPushback2;
        cPushback2 = kEmptySlot;
    } else {
        SourceChar(c);
    }
    StepRowCol(c);
    return c;
}

inline char Scanner::LookChar() {
    nPeekAhead = 0;
    if (cPushback1 == kEmptySlot) {
        char c;
        SourceChar(c);
        cPushback1 = static_cast<unsigned char>(c);
    }
    return static_cast<char>(cPushback1);
}

inline bool Scanner::PlainBuffer() const {
    return cPushback1 == kEmptySlot && bUseBuffer != 0 && pcBuffer != nullptr && nBufferEnd != -1;
}

// Only for a character other than 0, which LookChar would have marked as the
// end of the buffer.
inline void Scanner::TakeBufferChar(char c) {
    ++nBufferPos;
    nPeekAhead = 0;
    StepRowCol(c);
}

int Scanner::GetCharFromStream(char& c) {
    return SourceChar(c);
}

char Scanner::NextChar(int) {
    return TakeChar();
}

char Scanner::PeekChar(int) {
    return LookChar();
}

// cqPushed is never filled, so the queued branch falls through to cqAhead at
// the same index.
char Scanner::PeekNextChar(int bQueued) {
    ++nPeekAhead;
    long long const nPushed = cqPushed.QSize();
    if (bQueued != 0 && static_cast<long long>(nPeekAhead) <= nPushed - 1)
        return cqPushed[static_cast<int>(nPeekAhead)];
    long long nIndex = nPeekAhead;
    if (bQueued != 0) nIndex = static_cast<long long>(nPeekAhead) - (nPushed - 1) - 1;
    if (nIndex < cqAhead.QSize()) return cqAhead[static_cast<int>(nIndex)];
    char c;
    SourceChar(c);
    cqAhead.PutChar(c);
    return c;
}

void Scanner::UpdateRowCol(char c) {
    StepRowCol(c);
}

void Scanner::WhiteSpace(int) {
    for (;;) {
        if (PlainBuffer()) {
            for (char c; IsSpace(c = pcBuffer[nBufferPos]);)
                TakeBufferChar(c);
        }
        if (!IsSpace(LookChar())) break;
        TakeChar();
    }
}

void Scanner::PushBack(char c) {
    if (cPushback1 != kEmptySlot) cPushback2 = cPushback1;
    cPushback1 = static_cast<unsigned char>(c);
}

// Tokens -------------------------------------------------------------------------------

Token* Scanner::BuildToken() {
    SV_ASSERT(pisThis != nullptr || (pcBuffer != nullptr && bUseBuffer != 0),
              "pisThis || (pcBuffer && bUseBuffer)");
    for (;;) {
        bHitLF = 0;
        bHitFF = 0;
        nPrevRow = nRow;
        nPrevCol = nCol;
        WhiteSpace();
        char const c = LookChar();
        if (c == '\0' || c == '\xFF') return nullptr;
        std::unique_ptr<Token> ptok(new (std::nothrow) Token);
        if (!ptok) return nullptr;
        ptok->_set_nRow(static_cast<std::uint16_t>(nRow));
        ptok->_set_nCol(static_cast<std::uint16_t>(nCol));
        if (csStringStart.Contains(c) != 0) {
            ReadIdentifier(ptok.get());
        } else if (IsDigit(c) || c == '.' || c == '-') {
            ReadNumber(ptok.get());
        } else if (IsPunct(c)) {
            ReadPunctuation(ptok.get());
        } else {
            TakeChar();
            ptok->SetValue(c, 0);
        }
        if (bIgnoreComments != 0 && ptok->MatchType(TY_COMMENT) != 0) continue;
        return ptok.release();
    }
}

// The text is read into a buffer of the longest size on the stack. Only a
// text that is not a reserved word gets a block of its own, of the size the
// text grew to: the short one, or the long one from 31 characters on.
void Scanner::ReadIdentifier(Token* ptok) {
    char szIdentifier[kLongIdentifier];
    std::size_t nLength = 0;
    // Text that reaches the long size ends the scan.
    auto store = [&](char c, std::size_t nCutAt) {
        szIdentifier[nLength++] = c;
        if (nLength < kLongIdentifier) return;
        szIdentifier[nCutAt] = '\0';
        throw Exception(274, szIdentifier);
    };

    // Whether c goes on an unquoted identifier.
    ScanCharSet const& csBody = DefaultBody();
    auto const GoesOn = [&](char cAt) {
        return csBody.Contains(cAt) != 0 ? csStringExcluded.Contains(cAt) == 0
                                         : csStringExtra.Contains(cAt) != 0;
    };

    bool const bQuoted = LookChar() == '"';
    char c = TakeChar();
    for (;;) {
        if (c == '\\') {
            c = TakeChar();
            // \t stands for backspace and \r for form feed: the scanner's own escapes.
            if (c == 't')
                c = 8;
            else if (c == 'n')
                c = 10;
            else if (c == 'r')
                c = 12;
        }
        store(c, kLongIdentifier - 1);
        if (PlainBuffer()) {
            // The common case: a run of characters that neither end nor fail
            // the text, escape nothing and move the column by one each, taken
            // in place. The character after the run goes the long way.
            char const* const pcRun = pcBuffer + nBufferPos;
            std::size_t nRun = 0;
            for (char cNext; nLength < kLongIdentifier - 1; ++nRun) {
                cNext = pcRun[nRun];
                bool const bPlain = cNext != '\0' && cNext != '\\' && cNext != '\t' &&
                                    cNext != '\f' && cNext != '\n' &&
                                    (bQuoted ? cNext != '\r' && cNext != '"' : GoesOn(cNext));
                if (!bPlain) break;
                szIdentifier[nLength++] = cNext;
            }
            nBufferPos += static_cast<int>(nRun);
            nCol = Wrapped(static_cast<long long>(nCol) + static_cast<long long>(nRun));
        }
        c = LookChar();
        if (bQuoted) {
            if (c == '\0' || c == '\n' || c == '\r') throw Exception(292, "Unterminated String");
            if (nLength > 0 && c == '"') {
                store(c, 30);
                TakeChar();
                break;
            }
        } else if (!GoesOn(c)) {
            break;
        }
        TakeChar();
        if (c == '\0') break;
    }
    szIdentifier[nLength] = '\0';
    std::int32_t const nCode = IsReservedSymbol(szIdentifier);
    if (nCode != 0) {
        ptok->SetValueToken(nCode);
        return;
    }
    char* szOwn = nullptr;
    if (nLength < kShortIdentifier - 1) {
        szOwn = new char[kShortIdentifier];
    } else {
        szOwn = new (std::nothrow) char[kLongIdentifier];
        SV_FAIL_IF_NIL(szOwn, "szIdentifier");
    }
    std::memcpy(szOwn, szIdentifier, nLength + 1);
    ptok->AdoptValue(szOwn, static_cast<short>(nLength));
}

void Scanner::ReadNumber(Token* ptok) {
    short nRadix = 10;
    char const cFirst = LookChar();
    if (cFirst == '.') {
        TakeChar();
        if (!IsDigit(LookChar())) {
            ptok->SetValue('.', 0);
            return;
        }
        ReadFractionalPart();
        ApplyExponent();
        ptok->SetValue(dValue);
        return;
    }
    bool const bNegative = cFirst == '-';
    if (bNegative) {
        TakeChar();
        char c = LookChar();
        if (c == '.') {
            TakeChar();
            if (!IsDigit(LookChar())) {
                ptok->SetValue('-', 0);
                PushBack('.');
                return;
            }
            ConsumeDecimal();
            ReadFractionalPart();
            ApplyExponent();
            ptok->SetValue(-dValue);
            return;
        }
        if (!IsDigit(c)) {
            ptok->SetValue('-', 0);
            return;
        }
    }
    ReadWholePart(&nRadix);
    ptok->_set_nRadix(static_cast<unsigned char>(nRadix));
    if (ConsumeDecimal() != 0) {
        ReadFractionalPart();
        // Only the positive path rounds the whole part through single precision.
        dValue = (bNegative ? static_cast<double>(nWhole)
                            : static_cast<double>(static_cast<float>(nWhole))) +
                 dValue;
        ApplyExponent();
        ptok->SetValue(bNegative ? -dValue : dValue);
        return;
    }
    ReadFractionalPart(false);
    if (nExponent != 0) {
        dValue = static_cast<float>(nWhole);
        ApplyExponent();
        nWhole = Trunc32(dValue);
    }
    if (bNegative)
        ptok->SetValue(Negate(nWhole), 0);
    else if (nWhole >= -32768 && nWhole <= 32767)
        ptok->SetValue(static_cast<short>(nWhole), 0);
    else
        ptok->SetValue(nWhole, 0);
}

void Scanner::ReadWholePart(short* pnRadix) {
    nWhole = 0;
    *pnRadix = 10;
    char c = LookChar();
    if (c == '0') {
        TakeChar();
        c = LookChar();
        if (c == 'b') {
            TakeChar();
            *pnRadix = 2;
            while (IsBinaryDigit(c = LookChar())) {
                TakeChar();
                nWhole = Accumulate(nWhole, 2, c - '0');
            }
            return;
        }
        if (c == 'x') {
            TakeChar();
            *pnRadix = 16;
            while (IsHexDigit(c = LookChar())) {
                TakeChar();
                nWhole = Accumulate(nWhole, 16, HexValue(c));
            }
            return;
        }
    }
    while (IsDigit(c = LookChar())) {
        TakeChar();
        nWhole = Accumulate(nWhole, 10, c - '0');
    }
}

short Scanner::ConsumeDecimal() {
    if (LookChar() != '.') return 0;
    TakeChar();
    return 1;
}

// Without a full stop only an exponent is looked for, so that digits after a
// binary number begin the next token.
void Scanner::ReadFractionalPart(bool bDigits) {
    dValue = 0.0;
    dScale = 0.1;
    nExponent = 0;
    char c = LookChar();
    while (bDigits && IsDigit(c)) {
        TakeChar();
        dValue += (c - '0') * dScale;
        dScale /= 10;
        c = LookChar();
    }
    if (c != 'e' && c != 'E') return;
    TakeChar();
    char cSign = TakeChar();
    bool bKept = false;
    if (IsDigit(cSign)) {
        c = cSign;
        cSign = '+';
        bKept = true;
    } else if (cSign != '+' && cSign != '-') {
        // The e stays consumed, and the position has counted this character.
        cPushback1 = static_cast<unsigned char>(cSign);
        return;
    } else {
        c = LookChar();
    }
    bool bIgnore = false;
    while (IsDigit(c) || c == '.') {
        if (bKept)
            bKept = false;
        else
            TakeChar();
        if (c == '.') {
            // The character after the full stop goes unseen, and so do all
            // the digits after it.
            TakeChar();
            bIgnore = true;
        } else if (!bIgnore) {
            nExponent = Accumulate(nExponent, 10, c - '0');
        }
        c = LookChar();
    }
    if (cSign == '-') nExponent = Negate(nExponent);
}

// Repeated multiplication, whose rounding is wanted. Once the scale is
// infinite or zero it stays so, and the loop ends there.
void Scanner::ApplyExponent() {
    double dFactor = 1.0;
    if (nExponent > 0) {
        for (std::int32_t i = 0; i < nExponent && dFactor != HUGE_VAL; ++i)
            dFactor *= 10.0;
    } else if (nExponent < 0) {
        for (std::int64_t i = 0; i < -static_cast<std::int64_t>(nExponent) && dFactor != 0.0; ++i)
            dFactor /= 10.0;
    }
    dValue *= dFactor;
}

void Scanner::ReadPunctuation(Token* ptok) {
    char const c = TakeChar();
    if (c == '%') {
        if (LookChar() == 's') {
            TakeChar();
            ptok->SetValueToken(kFormatMarkerCode);
        } else {
            ptok->SetValue('%', 0);
        }
        return;
    }
    if (c == '/') {
        char const cNext = LookChar();
        if (cNext == '*' || cNext == '/')
            ReadComment(ptok, cNext);
        else
            ptok->SetValue('/', 0);
        return;
    }
    ptok->SetValue(c, 0);
}

// The comment buffer is shared and fixed at a 16-bit index's reach, so a
// longer comment ends the process through the fatal check.
void Scanner::ReadComment(Token* ptok, char cSecond) {
    std::size_t n = 0;
    auto store = [&n](char c) {
        SV_ASSERT(n < kCommentSize - 1, "nIndex < 65535");
        gszComment[n++] = c;
    };
    store('/');
    TakeChar();
    store(cSecond);
    if (cSecond == '*') {
        for (;;) {
            char const c = TakeChar();
            if (c == '\0') throw Exception(292, nullptr);
            store(c);
            if (c != '*') continue;
            char const cNext = LookChar();
            if (cNext == '\0') throw Exception(292, nullptr);
            if (cNext == '/') {
                TakeChar();
                store('/');
                break;
            }
        }
    } else {
        for (;;) {
            char const c = TakeChar();
            if (c == '\n' || c == '\r' || c == '\0') break;
            store(c);
        }
    }
    gszComment[n] = '\0';
    ptok->SetValue(gszComment);
    ptok->_set_nDataType(TY_COMMENT);
}

Token* Scanner::GetTokenPtr() {
    if (ptokPeek == nullptr) return BuildToken();
    Token* const ptok = ptokPeek;
    ptokPeek = ptokPeek2;
    ptokPeek2 = nullptr;
    nReserved = 0;
    return ptok;
}

short Scanner::GetToken(Token* ptok) {
    std::unique_ptr<Token> ptokNext(GetTokenPtr());
    if (!ptokNext) return 0;
    *ptok = *ptokNext;
    return 1;
}

Token*& Scanner::PeekTokenPtr() {
    if (ptokPeek == nullptr) ptokPeek = BuildToken();
    return ptokPeek;
}

Token*& Scanner::PeekToken2AheadPtr() {
    if (PeekTokenPtr() == nullptr) return ptokPeek;
    if (ptokPeek2 == nullptr) ptokPeek2 = BuildToken();
    return ptokPeek2;
}

short Scanner::PeekToken(Token* ptok) {
    Token* const ptokNext = PeekTokenPtr();
    if (ptokNext == nullptr) return 0;
    ptok->Copy(*ptokNext);
    return 1;
}

short Scanner::PeekToken2Ahead(Token* ptok) {
    Token* const ptokNext = PeekToken2AheadPtr();
    if (ptokNext == nullptr) return 0;
    ptok->Copy(*ptokNext);
    return 1;
}

void Scanner::ConsumePeekedToken() {
    if (ptokPeek == nullptr) return;
    delete ptokPeek;
    ptokPeek = ptokPeek2;
    ptokPeek2 = nullptr;
    nReserved = 0;
}

template <class T> short Scanner::MatchAny(T value, bool bConsume) {
    ptokMatch = PeekTokenPtr();
    if (ptokMatch == nullptr || ptokMatch->Match(value) == 0) return 0;
    if (bConsume) ConsumePeekedToken();
    return 1;
}

short Scanner::Match(char const* sz) {
    return MatchAny(sz, true);
}
short Scanner::Match(char c) {
    return MatchAny(c, true);
}
short Scanner::Match(float f) {
    return MatchAny(f, true);
}
short Scanner::Match(short n) {
    return MatchAny(n, true);
}
short Scanner::Match(std::int32_t n) {
    return MatchAny(n, true);
}
short Scanner::Match(double d) {
    return MatchAny(d, true);
}
short Scanner::MatchPeek(char const* sz) {
    return MatchAny(sz, false);
}
short Scanner::MatchPeek(char c) {
    return MatchAny(c, false);
}
short Scanner::MatchPeek(float f) {
    return MatchAny(f, false);
}
short Scanner::MatchPeek(short n) {
    return MatchAny(n, false);
}
short Scanner::MatchPeek(std::int32_t n) {
    return MatchAny(n, false);
}
short Scanner::MatchPeek(double d) {
    return MatchAny(d, false);
}
short Scanner::Match(long n) {
    return MatchAny(n, true);
}
short Scanner::Match(unsigned long n) {
    return MatchAny(n, true);
}
short Scanner::Match(long long n) {
    return MatchAny(n, true);
}
short Scanner::Match(bool b) {
    return MatchAny(b, true);
}
short Scanner::MatchPeek(long n) {
    return MatchAny(n, false);
}
short Scanner::MatchPeek(unsigned long n) {
    return MatchAny(n, false);
}
short Scanner::MatchPeek(long long n) {
    return MatchAny(n, false);
}
short Scanner::MatchPeek(bool b) {
    return MatchAny(b, false);
}

short Scanner::MatchSpaces(int n) {
    int nCount = 0;
    for (;;) {
        if (LookChar() != ' ') return 0;
        TakeChar();
        if (++nCount >= n) return 1;
    }
}

short Scanner::Consume2(char const* sz) {
    for (;;) {
        Token* const ptok = PeekTokenPtr();
        if (ptok == nullptr) return 0;
        if (ptok->MatchPrefix(sz) != 0) return 1;
        ConsumePeekedToken();
    }
}

// Reads up to the next line feed, or to the end of input when none comes.
short Scanner::Consume2EOL() {
    bHitLF = 0;
    while (bHitLF == 0)
        if (TakeChar() == '\0') break;
    return 1;
}

short Scanner::Consume2EOP() {
    bHitFF = 0;
    if (PeekTokenPtr() == nullptr) return 0;
    while (bHitFF == 0) {
        ConsumePeekedToken();
        if (PeekTokenPtr() == nullptr) return 0;
    }
    return 1;
}

short Scanner::Advance2Column(int n) {
    int const nStart = nCol;
    while (nCol < n) {
        if (TakeChar() == '\0') return 0;
        if (nCol < nStart) return 0;
    }
    return 1;
}

short Scanner::PeekNumeric() {
    Token* const ptok = PeekTokenPtr();
    if (ptok == nullptr) return 0;
    if (ptok->IsNumericType() != 0) return 1;
    if (ptok->Match('-') == 0) return 0;
    Token* const ptok2 = PeekToken2AheadPtr();
    return ptok2 != nullptr && ptok2->Match('-') != 0 ? 1 : 0;
}

// A token's text holds 256 bytes and the line 1,024: a longer token or line
// is cut to fit.
Token* Scanner::Catenate2EOL() {
    bHitLF = 0;
    Token* const ptokFirst = PeekTokenPtr();
    if (ptokFirst == nullptr) return nullptr;
    long long nRunning = ptokFirst->_get_nCol();
    std::string strLine;
    auto append = [&strLine](char const* sz, std::size_t n) {
        strLine.append(sz, std::min(n, kLineSize - 1 - strLine.size()));
    };
    while (bHitLF == 0) {
        std::unique_ptr<Token> ptok(GetTokenPtr());
        if (!ptok) return nullptr;
        char szText[kTokenText];
        ptok->FetchAsString(szText, sizeof szText, 6);
        long long const nTokenCol = ptok->_get_nCol();
        for (; nRunning < nTokenCol; ++nRunning)
            append(" ", 1);
        std::size_t const nText = std::strlen(szText);
        append(szText, nText);
        nRunning = nTokenCol + static_cast<long long>(nText);
        PeekTokenPtr();
    }
    auto* const ptokThis = new (std::nothrow) Token;
    SV_FAIL_IF_NIL(ptokThis, "ptokThis");
    ptokThis->SetValue(strLine.c_str());
    return ptokThis;
}

Token* Scanner::GetField(short nDataType, std::uint16_t nMaxLen) {
    if (nMaxLen > 255) throw Exception(274, "Specified nMaxLen > 255 in Scanner::GetField");
    if (ptokField != nullptr) {
        Token* const ptok = ptokField;
        ptokField = nullptr;
        return ptok;
    }
    char c = TakeChar();
    if (c == '\0') return nullptr;
    char szField[kFieldSize];
    std::size_t n = 0;
    while (c != '\0' && csFieldDelimiters.Contains(c) == 0) {
        if (n >= kFieldSize - 1 || n > nMaxLen) {
            szField[n] = '\0';
            throw Exception(274, szField);
        }
        szField[n++] = c;
        c = TakeChar();
    }
    szField[n] = '\0';
    auto* const ptokReturn = new (std::nothrow) Token;
    SV_FAIL_IF_NIL(ptokReturn, "ptokReturn");
    ptokReturn->_set_nDataType(static_cast<std::uint16_t>(nDataType));
    ptokReturn->SetValueFromString(szField);
    return ptokReturn;
}

Token* Scanner::PeekField(short nDataType, std::uint16_t nMaxLen) {
    if (ptokField == nullptr) ptokField = GetField(nDataType, nMaxLen);
    return ptokField;
}

// Character classes --------------------------------------------------------------------

void Scanner::AugmentStringSpec(char c) {
    if (csStringExcluded.Contains(c) != 0) csStringExcluded.Diminish(c);
    if (csStringExtra.Contains(c) == 0) csStringExtra.Augment(c);
}

void Scanner::DiminishStringSpec(char c) {
    if (csStringExtra.Contains(c) != 0) csStringExtra.Diminish(c);
    if (csStringExcluded.Contains(c) == 0) csStringExcluded.Augment(c);
}

void Scanner::AugmentStringStartSpec(char c) {
    if (csStringStart.Contains(c) == 0) csStringStart.Augment(c);
}

void Scanner::DiminishStringStartSpec(char c) {
    if (csStringStart.Contains(c) != 0) csStringStart.Diminish(c);
}

void Scanner::ResetStringSpec() {
    csStringExtra.Clear();
    csStringExcluded.Clear();
    csStringStart = DefaultStart();
}

void Scanner::AugmentFieldDelimiterSet(char c) {
    if (csFieldDelimiters.Contains(c) == 0) csFieldDelimiters.Augment(c);
}

void Scanner::DiminishFieldDelimiterSet(char c) {
    if (csFieldDelimiters.Contains(c) != 0) csFieldDelimiters.Diminish(c);
}

void Scanner::_set_bRecognizeStringLiterals(int b) {
    if (b != 0)
        AugmentStringStartSpec('"');
    else
        DiminishStringStartSpec('"');
}

int Scanner::_get_bRecognizeStringLiterals() const {
    return csStringStart.Contains('"') != 0 ? 1 : 0;
}

void Scanner::AddReservedSymbol(char const* sz, std::int32_t nCode) {
    NoteReservedWord(sz);
    ReservedTable().AddKeyString(sz, reinterpret_cast<void*>(static_cast<std::intptr_t>(nCode)));
}

std::int32_t Scanner::IsReservedSymbol(char const* sz) const {
    if (bDisableReservedWords != 0 || !MayBeReserved(sz)) return 0;
    void* const pv = ReservedTable().FindKeyString(sz);
    return static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(pv));
}

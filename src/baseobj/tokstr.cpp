#include <baseobj/tokstr.h>

#include <baseobj/exception.h>
#include <baseobj/lex.h>
#include <baseobj/token.h>
#include <util/exceptions.h>
#include <util/pstring.h>

#include <cstdio>
#include <cstring>
#include <istream>
#include <new>
#include <ostream>
#include <string>
#include <vector>

namespace {


constexpr std::int32_t kForCode = 31600;
constexpr char kTextPrecision = -12;
constexpr char kDumpPrecision = 6;
// The runs of white space written at once; longer runs go one by one.
constexpr std::int32_t kRowsAtOnce = 40;
constexpr std::int32_t kTabsAtOnce = 39;
constexpr std::int32_t kBlanksAtOnce = 79;
constexpr std::int32_t kTabWidth = 8;
constexpr std::int32_t kIndentWidth = 4;
// Room beyond a token's own text for the text of its value and escapes.
constexpr std::size_t kTextSlack = 512;

bool IsMarker(Token const* ptok) {
    return ptok != nullptr && ptok->MatchToken(kFormatMarkerCode) != 0;
}

Token* TokenOf(CPBucket const* pbkt) {
    return pbkt != nullptr ? static_cast<Token*>(pbkt->_get_pvData()) : nullptr;
}

// Each bucket a list owns, head to tail, at most Length() of them.
template <class F> void ForEachBucket(CPList& lst, F f) {
    CPBucket* pbkt = lst._get_pbktHead();
    for (std::uint32_t i = 0; i < lst.Length() && pbkt != nullptr; ++i) {
        CPBucket* const pbktNext = pbkt == lst._get_pbktTail() ? nullptr : pbkt->_get_pbktNext();
        f(pbkt);
        pbkt = pbktNext;
    }
}

void itReleaseToken(void* pv, void*) {
    if (pv != nullptr) static_cast<Token*>(pv)->Release();
}

std::size_t TextRoom(Token const& tok) {
    char const* const sz = tok._get_szVal();
    return (sz != nullptr ? std::strlen(sz) : 0) + kTextSlack;
}

// The token's text as the dump shows it.
std::string DumpTextOf(Token const& tok) {
    std::vector<char> buf(TextRoom(tok));
    tok.FetchAsString(buf.data(), buf.size(), kDumpPrecision);
    return buf.data();
}

// The token's text as the text from positions shows it: escapes doubled
// at most, so twice the room holds it.
std::string SourceTextOf(Token const& tok) {
    std::vector<char> buf(2 * TextRoom(tok));
    tok.FetchAsStringWithEscapeCharacters(buf.data(), kTextPrecision);
    return buf.data();
}

[[noreturn]] void TooFar(char const* szFormat, int nRow, int nCol) {
    char szDetail[64];
    std::snprintf(szDetail, sizeof szDetail, szFormat, nRow, nCol);
    throw Exception(307, szDetail);
}

// Runs of the same text, as many as asked.
std::string Run(char const* sz, std::int32_t n) {
    std::string out;
    for (std::int32_t i = 0; i < n; ++i)
        out += sz;
    return out;
}

unsigned char ReadByte(std::istream& in) {
    int const c = in.get();
    if (c == std::char_traits<char>::eof()) throw Exception(402, nullptr);
    return static_cast<unsigned char>(c);
}

std::uint32_t ReadLE(std::istream& in, int nBytes) {
    std::uint32_t value = 0;
    for (int i = 0; i < nBytes; ++i)
        value |= std::uint32_t{ReadByte(in)} << (8 * i);
    return value;
}

void WriteLE(std::ostream& out, std::uint32_t value) {
    for (int i = 0; i < 4; ++i)
        out.put(static_cast<char>((value >> (8 * i)) & 0xFF));
}

// The state of the dump, and its two targets.
class DumpAction : public IteratorAction {
public:
    DumpAction(char bRawIn, char bNoSpacesIn) : bRaw(bRawIn), bNoSpaces(bNoSpacesIn) {}
    short Execute() override {
        auto* const ptok = static_cast<Token*>(pvItem);
        if (ptok == nullptr) return 1;
        if (bRaw != 0)
            DumpRaw(*ptok);
        else
            DumpFormatted(*ptok);
        return 1;
    }

protected:
    virtual void Put(std::string const& text) = 0;

private:
    void DumpRaw(Token const& tok) {
        if (bStarted == 0)
            bStarted = 1;
        else if (bNoSpaces == 0)
            Put(" ");
        Put(DumpTextOf(tok));
    }
    void DumpFormatted(Token const& tok) {
        bool bIndent = false;
        if (tok.MatchToken(kForCode) != 0) {
            nForSemicolons = 2;
        } else if (tok.Match('}') != 0) {
            if (bJustBroke == 0) Put("\r\n");
            bIndent = true;
            if (nIndent > 0) --nIndent;
        } else if (bStarted == 0 && bNoSpaces == 0) {
            Put(" ");
        }
        bJustBroke = 0;
        if (bIndent) Indent();
        Put(DumpTextOf(tok));
        if (tok.Match('{') != 0) {
            Break(bIndent);
            ++nIndent;
        } else if (tok.Match(';') != 0) {
            if (nForSemicolons == 0)
                Break(bIndent);
            else
                --nForSemicolons;
        }
        if (bIndent) Indent();
    }
    void Break(bool& bIndent) {
        Put("\r\n");
        bJustBroke = 1;
        bIndent = true;
    }
    void Indent() { Put(Run(" ", kIndentWidth * nIndent)); }

    char bRaw;
    char bNoSpaces;
    char bStarted = 0;
    char bJustBroke = 0;
    short nForSemicolons = 0;
    signed char nIndent = 0;
};

class DumpToken2BufAction final : public DumpAction {
public:
    DumpToken2BufAction(char* buf, char bRawIn, char bNoSpacesIn)
        : DumpAction(bRawIn, bNoSpacesIn), pc(buf) {
        *pc = '\0';
    }

private:
    void Put(std::string const& text) override {
        std::memcpy(pc, text.c_str(), text.size() + 1);
        pc += text.size();
    }
    char* pc;
};

class DumpToken2CPStringAction final : public DumpAction {
public:
    DumpToken2CPStringAction(CPString* pstrIn, char bRawIn, char bNoSpacesIn)
        : DumpAction(bRawIn, bNoSpacesIn), pstr(pstrIn) {}

private:
    void Put(std::string const& text) override {
        if (!text.empty()) *pstr += text.c_str();
    }
    CPString* pstr;
};

} // namespace

// ---- Life -----------------------------------------------------------------

TokenStream::TokenStream(TokenStream const& other) : Createable() {
    Copy(const_cast<TokenStream*>(&other));
    Adopt(other.ptsSubstitute);
}

TokenStream& TokenStream::operator=(TokenStream const& other) {
    if (this == &other) return *this;
    Clear();
    Copy(const_cast<TokenStream*>(&other));
    Adopt(other.ptsSubstitute);
    pbktSubstitution = nullptr;
    return *this;
}

TokenStream::~TokenStream() {
    Clear();
    if (ptsSubstitute != nullptr) ptsSubstitute->Release();
}

void TokenStream::Clear() {
    lstTokens.DestroyAll(itReleaseToken);
    lstComments.DestroyAll(itReleaseToken);
    pbktSubstitution = nullptr;
}

void TokenStream::Copy(TokenStream* pts) {
    ForEachBucket(pts->lstTokens, [this](CPBucket* pbkt) { Append(lstTokens, TokenOf(pbkt)); });
    ForEachBucket(pts->lstComments, [this](CPBucket* pbkt) { Append(lstComments, TokenOf(pbkt)); });
    pbktNextTokenBucketInParentList = pts->pbktNextTokenBucketInParentList;
}

void TokenStream::Append(CPList& lst, Token* ptok) {
    if (ptok == nullptr) return;
    ptok->AddRef();
    lst.Add(ptok);
}

short TokenStream::Advance(std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i)
        if (lstTokens.Next() == 0) return 0;
    return 1;
}

void TokenStream::AddToken(Token* ptok) {
    Append(lstTokens, ptok);
}

void TokenStream::AddComment(Token* ptok) {
    Append(lstComments, ptok);
}

// ---- Substitution ---------------------------------------------------------

bool TokenStream::Reaches(TokenStream const* pts) const {
    for (; pts != nullptr; pts = pts->ptsSubstitute)
        if (pts == this) return true;
    return false;
}

void TokenStream::Adopt(TokenStream* pts) {
    if (pts == ptsSubstitute) return;
    // A stream that walked into itself would never come back out.
    SV_ASSERT(!Reaches(pts), "!Reaches(ptsSubstitute)");
    if (pts != nullptr) pts->AddRef();
    if (ptsSubstitute != nullptr) ptsSubstitute->Release();
    ptsSubstitute = pts;
}

void TokenStream::_set_ptsSubstitute(TokenStream* pts) {
    Adopt(pts);
    if (ptsSubstitute != nullptr) ptsSubstitute->Reset();
}

CPBucket* TokenStream::_get_pbktGot() const {
    if (pbktSubstitution != nullptr && ptsSubstitute != nullptr)
        return ptsSubstitute->_get_pbktGot();
    return lstTokens._get_pbktGot();
}

void TokenStream::Reset() {
    lstTokens.GotoResetPoint();
    pbktSubstitution = nullptr;
    if (ptsSubstitute != nullptr) ptsSubstitute->Reset();
}

CPBucket* TokenStream::FindBucket(Token* ptok) {
    return ptok != nullptr ? lstTokens.FindBucket(ptok) : nullptr;
}

void TokenStream::AddToken(Token* ptok, TokenStream* ptsFrom) {
    if (ptok == nullptr || ptsFrom == nullptr) return;
    CPBucket* pbkt = ptsFrom->_get_pbktGot();
    if (pbkt == nullptr) pbkt = ptsFrom->FindBucket(ptok);
    if (pbkt == nullptr) return;
    Token* const ptokThere = TokenOf(pbkt);
    if (ptokThere != ptok) {
        if (IsMarker(ptokThere)) {
            // The token was read through the marker: this stream stands for
            // it the same way, by the marker and the same substitute.
            TokenStream* const ptsSub = ptsFrom->ptsSubstitute;
            if (ptsSub == nullptr || TokenOf(ptsSub->_get_pbktGot()) != ptok)
                SV_ASSERT(false, "1 == 0");
            Adopt(ptsSub);
            if (TokenOf(lstTokens._get_pbktTail()) != ptokThere) Append(lstTokens, ptokThere);
            return;
        }
        SV_ASSERT(ptsFrom->FindBucket(ptok) != nullptr, "pbktToken");
        Append(lstTokens, ptok);
        return;
    }
    if (ptsFrom->pbktSubstitution != nullptr) {
        // Read from inside a substitution: the marker here, the token in a
        // substitute of this stream's own.
        if (ptsSubstitute == nullptr) {
            auto* const ptsNew = new (std::nothrow) TokenStream;
            SV_FAIL_IF_NIL(ptsNew, "ptsSubstitute");
            Adopt(ptsNew);
        }
        Token* const ptokMarker = TokenOf(ptsFrom->pbktSubstitution);
        if (TokenOf(lstTokens._get_pbktTail()) != ptokMarker) Append(lstTokens, ptokMarker);
        ptsSubstitute->AddToken(ptok);
        return;
    }
    Append(lstTokens, ptok);
}

// ---- The walk -------------------------------------------------------------

Token* TokenStream::PeekToken() {
    bPeeking = 0;
    Token* const ptok = static_cast<Token*>(lstTokens.Peek());
    if (ptok == nullptr || !IsMarker(ptok)) return ptok;
    if (ptsSubstitute != nullptr) {
        pbktSubstitution = lstTokens._get_pbktGot();
        if (Token* const ptokSub = ptsSubstitute->PeekToken()) return ptokSub;
    }
    Token* const ptokNext = static_cast<Token*>(lstTokens.PeekNext());
    pbktSubstitution = nullptr;
    return ptokNext;
}

Token* TokenStream::PeekNextToken() {
    for (;;) {
        if (pbktSubstitution != nullptr && ptsSubstitute != nullptr) {
            if (Token* const ptokSub = ptsSubstitute->PeekNextToken()) return ptokSub;
            pbktSubstitution = nullptr;
            continue;
        }
        Token* const ptok = static_cast<Token*>(lstTokens.PeekNext());
        if (ptok == nullptr || !IsMarker(ptok)) return ptok;
        pbktSubstitution = ptsSubstitute != nullptr ? lstTokens._get_pbktGot() : nullptr;
    }
}

Token* TokenStream::GetToken() {
    for (;;) {
        Token* const ptok = static_cast<Token*>(lstTokens.Peek());
        if (!IsMarker(ptok)) return static_cast<Token*>(lstTokens.Get());
        if (ptsSubstitute != nullptr)
            if (Token* const ptokSub = ptsSubstitute->GetToken()) return ptokSub;
        lstTokens.Get();
    }
}

Token* TokenStream::FetchToken() {
    return static_cast<Token*>(lstTokens.Get());
}

short TokenStream::ConsumePeekedToken() {
    GetToken();
    PeekToken();
    return 0;
}

void TokenStream::DeleteFirstToken() {
    itReleaseToken(lstTokens.RetrieveAndDetachTop(), nullptr);
}

void TokenStream::DeleteRemainingTokens() {
    while (Token* const ptok = static_cast<Token*>(lstTokens.Get())) {
        lstTokens.Detach(ptok);
        ptok->Release();
    }
}

void TokenStream::AdvancePastThisStream(TokenStream* pts) {
    pts->lstTokens._set_pbktCursor(pbktNextTokenBucketInParentList);
}

// ---- Scanning -------------------------------------------------------------

short TokenStream::ScanBuffer(char const* sz, char bStringLiterals) {
    Scanner scn;
    scn.AugmentStringSpec('\\');
    scn._set_pcBuffer(sz);
    scn._set_bRecognizeStringLiterals(bStringLiterals);
    lstComments.DestroyAll(itReleaseToken);
    while (Token* const ptokA = scn.GetTokenPtr()) {
        SV_ASSERT(ptokA->_get_nRefCount() == 0, "ptokA->_get_nRefCount() == 0");
        Append(ptokA->MatchType(TY_COMMENT) != 0 ? lstComments : lstTokens, ptokA);
    }
    Reset();
    return 1;
}

// ---- Text from positions --------------------------------------------------

void TokenStream::paramfuncStrCat(void* pvDst, void* pvSrc) {
    std::strcat(static_cast<char*>(pvDst), static_cast<char const*>(pvSrc));
}

void TokenStream::paramfuncCPStringAdd(void* pvDst, void* pvSrc) {
    auto const* const sz = static_cast<char const*>(pvSrc);
    if (sz[0] != '\0') *static_cast<CPString*>(pvDst) += sz;
}

void TokenStream::pfuncGetStringOne(void* pvBuf, void* ptok, void* pnLen) {
    auto* const pnLength = static_cast<std::int32_t*>(pnLen);
    std::string const text = SourceTextOf(*static_cast<Token*>(ptok));
    std::memcpy(static_cast<char*>(pvBuf) + *pnLength, text.c_str(), text.size() + 1);
    *pnLength += static_cast<std::int32_t>(text.size());
}

void TokenStream::pfuncGetStringTwo(void* pvStr, void* ptok, void* pnLen) {
    auto* const pnLength = static_cast<std::int32_t*>(pnLen);
    std::string const text = SourceTextOf(*static_cast<Token*>(ptok));
    paramfuncCPStringAdd(pvStr, const_cast<char*>(text.c_str()));
    *pnLength += static_cast<std::int32_t>(text.size());
}

short TokenStream::ComesFirst(Token* ptokA, Token* ptokB) {
    auto const nRowA = static_cast<std::int16_t>(ptokA->_get_nRow());
    auto const nRowB = static_cast<std::int16_t>(ptokB->_get_nRow());
    auto const nColA = static_cast<std::int16_t>(ptokA->_get_nCol());
    auto const nColB = static_cast<std::int16_t>(ptokB->_get_nCol());
    return nRowA < nRowB || (nRowA == nRowB && nColA < nColB) ? 1 : 0;
}

void TokenStream::AdvanceTo(Token* ptok, void* pvOut, std::int32_t* pnLen, std::int32_t* pnRow,
                            std::int32_t* pnCol, pfnParamFunc pfnAppend) {
    auto const nRow = static_cast<std::int16_t>(ptok->_get_nRow());
    auto const nCol = static_cast<std::int16_t>(ptok->_get_nCol());
    if (nRow < 0) return;

    std::int32_t nRows = nRow - *pnRow;
    if (nRows > kMaxGap) TooFar("Token at <<%d>>,%d", nRow, nCol);
    if (nRows < 0) nRows = 0;
    if (nRows != 0) {
        *pnCol = 1;
        if (nRows < kRowsAtOnce) {
            pfnAppend(pvOut, Run("\r\n", nRows).data());
            *pnLen += 2 * nRows + 1;
        } else {
            for (std::int32_t i = 0; i < nRows; ++i)
                pfnAppend(pvOut, const_cast<char*>("\r\n"));
        }
    }
    *pnRow = nRow;

    std::int32_t nCols = nCol - *pnCol;
    if (nCols > kMaxGap) TooFar("Token at %d,<<%d>>", nRow, nCol);
    if (nCols < 0) nCols = 0;
    std::int32_t const nTabs = nCols / kTabWidth;
    std::int32_t const nBlanks = nCols % kTabWidth;
    if (nTabs < kTabsAtOnce) {
        pfnAppend(pvOut, Run("\t", nTabs).data());
        *pnLen += nTabs;
        *pnCol += kTabWidth * nTabs;
    } else {
        for (std::int32_t i = 0; i < nTabs; ++i) {
            pfnAppend(pvOut, const_cast<char*>("\t"));
            *pnCol += kTabWidth;
        }
    }
    if (nBlanks < kBlanksAtOnce) {
        pfnAppend(pvOut, Run(" ", nBlanks).data());
        *pnLen += nBlanks;
        *pnCol += nBlanks;
    } else {
        for (std::int32_t i = 0; i < nBlanks; ++i) {
            pfnAppend(pvOut, const_cast<char*>(" "));
            ++*pnCol;
        }
    }
}

void TokenStream::ProduceWhitespaceAndToken(Token* ptok, void* pvOut, Position& pos,
                                            pfnParamFunc pfnAppend, pfnGetString pfnText) {
    AdvanceTo(ptok, pvOut, &pos.nLen, &pos.nRow, &pos.nCol, pfnAppend);
    pfnText(pvOut, ptok, &pos.nLen);
    std::string const text = SourceTextOf(*ptok);
    if (ptok->MatchType(TY_COMMENT) == 0) {
        pos.nCol += static_cast<std::int32_t>(text.size());
        return;
    }
    for (char const c : text) {
        if (c == '\n') {
            ++pos.nRow;
            pos.nCol = 1;
        } else {
            ++pos.nCol;
        }
    }
}

void TokenStream::Produce(void* pvOut, pfnParamFunc pfnAppend, pfnGetString pfnText) {
    Position pos;
    CPBucket* pbktTok = lstTokens._get_pbktHead();
    CPBucket* pbktCom = lstComments._get_pbktHead();
    std::uint32_t nTok = lstTokens.Length();
    std::uint32_t nCom = lstComments.Length();
    auto step = [](CPList& lst, CPBucket*& pbkt, std::uint32_t& nLeft) {
        pbkt = --nLeft == 0 || pbkt == lst._get_pbktTail() ? nullptr : pbkt->_get_pbktNext();
    };
    if (nTok == 0) pbktTok = nullptr;
    if (nCom == 0) pbktCom = nullptr;
    while (pbktTok != nullptr || pbktCom != nullptr) {
        Token* const ptok = TokenOf(pbktTok);
        Token* const pcom = TokenOf(pbktCom);
        if (pcom == nullptr || (ptok != nullptr && ComesFirst(ptok, pcom) != 0)) {
            ProduceWhitespaceAndToken(ptok, pvOut, pos, pfnAppend, pfnText);
            step(lstTokens, pbktTok, nTok);
        } else {
            ProduceWhitespaceAndToken(pcom, pvOut, pos, pfnAppend, pfnText);
            step(lstComments, pbktCom, nCom);
        }
    }
}

void TokenStream::ProduceBuffer(char* buf) {
    buf[0] = '\0';
    Produce(buf, paramfuncStrCat, pfuncGetStringOne);
}

void TokenStream::ProduceBuffer(CPString* pstr) {
    Produce(pstr, paramfuncCPStringAdd, pfuncGetStringTwo);
}

// ---- Dump -----------------------------------------------------------------

void TokenStream::DumpText(char* buf, char bRaw, char bNoSpaces) {
    DumpToken2BufAction action(buf, bRaw, bNoSpaces);
    lstTokens.ForEach(&action);
}

void TokenStream::DumpText(CPString* pstr, char bRaw, char bNoSpaces, short nDeltaSize) {
    pstr->Clear();
    pstr->_set_nDeltaSize(nDeltaSize);
    DumpToken2CPStringAction action(pstr, bRaw, bNoSpaces);
    lstTokens.ForEach(&action);
}

// ---- File form ------------------------------------------------------------

short TokenStream::StreamOut(std::ostream& out) {
    out.put(static_cast<char>(kMagic));
    out.put(static_cast<char>(kVersion));
    for (CPList* plst : {&lstTokens, &lstComments}) {
        WriteLE(out, plst->Length());
        ForEachBucket(*plst, [&out](CPBucket* pbkt) { out << *TokenOf(pbkt); });
    }
    return 1;
}

void TokenStream::ReadList(std::istream& in, CPList& lst, std::int32_t nVersion) {
    std::uint32_t const nCount = ReadLE(in, nVersion >= 2 ? 4 : 2);
    for (std::uint32_t i = 0; i < nCount; ++i) {
        auto* const ptokNew = new (std::nothrow) Token;
        SV_FAIL_IF_NIL(ptokNew, "ptokNew");
        ptokNew->AddRef();
        try {
            in >> *ptokNew;
        } catch (...) {
            ptokNew->Release();
            throw;
        }
        lst.Add(ptokNew);
    }
}

short TokenStream::StreamIn(std::istream& in) {
    if (ReadByte(in) != kMagic) throw Exception(402, nullptr);
    auto const nVersion = static_cast<std::int32_t>(static_cast<signed char>(ReadByte(in)));
    if (nVersion < 0) return 1;
    ReadList(in, lstTokens, nVersion);
    if (nVersion >= 1) ReadList(in, lstComments, nVersion);
    return 1;
}

// A scanned text kept as two lists, tokens and comments: the in-memory form
// of a small program or expression. The stream can be walked, with the
// marker token "%s" standing for a whole substitute stream that the walk
// descends into unnoticed; it gives its text back either from the tokens'
// positions, recreating the white space, or as a small pretty-printer of
// the language's braces and semicolons; and it has a binary file form.
#pragma once

#include <cpcoll/cplist.h>
#include <util/createable.h>
#include <platform/export.h>

#include <cstdint>
#include <iosfwd>

class CPString;
class Token;

class SORVANE_API TokenStream : public Createable {
public:
    // The file form: a magic byte and the version written.
    static constexpr unsigned char kMagic = 255;
    static constexpr unsigned char kVersion = 2;
    // How far a token may lie from the running position in the text from
    // positions, in rows or columns.
    static constexpr std::int32_t kMaxGap = 200;

    TokenStream() = default;
    // Each copied entry takes a reference of its own, and the copy shares
    // the substitute.
    TokenStream(TokenStream const& other);
    TokenStream& operator=(TokenStream const& other);
    ~TokenStream() override;

    // Releases every token and comment; the substitute stays.
    void Clear();
    // Appends the other's tokens and comments, each with a new reference.
    void Copy(TokenStream* pts);
    // The markers count, the substitute's tokens do not.
    std::int32_t Length() const { return static_cast<std::int32_t>(lstTokens.Length()); }
    // 1 when all n steps were made.
    short Advance(std::int32_t n);

    // Takes a reference and appends.
    void AddToken(Token* ptok);
    // Moves a token over from a stream being walked, with the marker and the
    // substitute it was read through, so that a template's layout survives.
    void AddToken(Token* ptok, TokenStream* ptsFrom);
    void AddComment(Token* ptok);

    // Takes a reference on the new substitute and resets it; null clears.
    void _set_ptsSubstitute(TokenStream* pts);
    TokenStream* _get_ptsSubstitute() const { return ptsSubstitute; }
    CPBucket* _get_pbktSubstitution() const { return pbktSubstitution; }
    void _set_pbktNextTokenBucketInParentList(CPBucket* pbkt) {
        pbktNextTokenBucketInParentList = pbkt;
    }
    CPBucket* _get_pbktNextTokenBucketInParentList() const {
        return pbktNextTokenBucketInParentList;
    }
    // Inside a substitution, the substitute's.
    CPBucket* _get_pbktGot() const;

    void SetResetPoint() { lstTokens.SetResetPoint(); }
    void ClearResetPoint() { lstTokens.ClearResetPoint(); }
    void Reset();

    // The walk. What these give stays the stream's.
    Token* PeekToken();
    Token* PeekNextToken();
    Token* GetToken();
    // The next entry, marker or not.
    Token* FetchToken();
    short ConsumePeekedToken();
    void DeleteFirstToken();
    void DeleteRemainingTokens();
    void AdvancePastThisStream(TokenStream* pts);

    // Appends what the scanner reads from the text; the comments read
    // replace those held. Scanner exceptions reach the caller with the
    // tokens read so far kept.
    short ScanBuffer(char const* sz, char bStringLiterals);

    // The text from positions. The buffer form places each token's text at
    // the counted length and appends the white space, so a row gap leaves a
    // zero byte before the token: the string form is the one to rely on.
    // The buffer is the caller's to size.
    void ProduceBuffer(char* buf);
    // Appends to the string.
    void ProduceBuffer(CPString* pstr);

    // The pretty-printed text, comments left out.
    void DumpText(char* buf, char bRaw, char bNoSpaces);
    void DumpText(CPString* pstr, char bRaw, char bNoSpaces, short nDeltaSize);

    // The file form, version 2; reading takes versions 0 and 1 too and
    // appends to what is held. A bad magic byte or data that ends early
    // throws Exception 402.
    short StreamIn(std::istream& in);
    short StreamOut(std::ostream& out);

    CPList& _get_lstTokens() { return lstTokens; }
    CPList& _get_lstComments() { return lstComments; }

private:
    // Output targets and text functions of the text from positions.
    using pfnParamFunc = void (*)(void* pvDst, void* pvSrc);
    using pfnGetString = void (*)(void* pvOut, void* ptok, void* pnLen);
    static void paramfuncStrCat(void* pvDst, void* pvSrc);
    static void paramfuncCPStringAdd(void* pvDst, void* pvSrc);
    static void pfuncGetStringOne(void* pvBuf, void* ptok, void* pnLen);
    static void pfuncGetStringTwo(void* pvStr, void* ptok, void* pnLen);
    static short ComesFirst(Token* ptokA, Token* ptokB);

    struct Position {
        std::int32_t nLen = 0;
        std::int32_t nRow = 1;
        std::int32_t nCol = 1;
    };
    void Produce(void* pvOut, pfnParamFunc pfnAppend, pfnGetString pfnText);
    static void ProduceWhitespaceAndToken(Token* ptok, void* pvOut, Position& pos,
                                          pfnParamFunc pfnAppend, pfnGetString pfnText);
    static void AdvanceTo(Token* ptok, void* pvOut, std::int32_t* pnLen, std::int32_t* pnRow,
                          std::int32_t* pnCol, pfnParamFunc pfnAppend);

    CPBucket* FindBucket(Token* ptok);
    void Append(CPList& lst, Token* ptok);
    // True when the chain of substitutes from pts comes back to this one.
    bool Reaches(TokenStream const* pts) const;
    void Adopt(TokenStream* pts);
    void ReadList(std::istream& in, CPList& lst, std::int32_t nVersion);

    CPList lstTokens;
    CPList lstComments;
    int bPeeking = 0;
    CPBucket* pbktSubstitution = nullptr;
    TokenStream* ptsSubstitute = nullptr;
    CPBucket* pbktNextTokenBucketInParentList = nullptr;
};

/// \file
/// A scanned text kept as two lists, tokens and comments: the in-memory form
/// of a small program or expression. The stream can be walked, with the
/// marker token "%s" standing for a whole substitute stream that the walk
/// descends into unnoticed; it gives its text back either from the tokens'
/// positions, recreating the white space, or as a small pretty-printer of
/// the language's braces and semicolons; and it has a binary file form.
#pragma once

#include <cpcoll/cplist.h>
#include <util/createable.h>
#include <platform/export.h>

#include <cstdint>
#include <iosfwd>

class CPString;
class Token;

/// \brief A scanned text kept as two lists, tokens and comments: the
/// in-memory form of a small program or expression.
///
/// The stream holds a reference on each token. It can be walked, with the
/// marker token "%s" standing for a whole substitute stream that the walk
/// descends into unnoticed; it gives its text back from the tokens'
/// positions or pretty-printed; and it has a binary file form.
class SORVANE_API TokenStream : public Createable {
public:
    /// The file form's first byte.
    static constexpr unsigned char kMagic = 255;
    /// The version of the file form written.
    static constexpr unsigned char kVersion = 2;
    /// How far a token may lie from the running position in the text from
    /// positions, in rows or columns.
    static constexpr std::int32_t kMaxGap = 200;

    TokenStream() = default;
    /// Each copied entry takes a reference of its own, and the copy shares the
    /// substitute.
    /// \param other the stream copied.
    TokenStream(TokenStream const& other);
    /// As the copy constructor, after releasing what is held.
    /// \param other the stream copied.
    /// \return this stream.
    TokenStream& operator=(TokenStream const& other);
    /// Releases every token and comment, and the substitute.
    ~TokenStream() override;

    /// Releases every token and comment; the substitute stays.
    void Clear();
    /// Appends the other's tokens and comments, each with a new reference.
    /// \param pts the other stream.
    void Copy(TokenStream* pts);
    /// \return the number of tokens; markers count, the substitute's tokens do not.
    std::int32_t Length() const { return static_cast<std::int32_t>(lstTokens.Length()); }
    /// Steps the walk on.
    /// \param n the steps.
    /// \return 1 when all n steps were made, else 0.
    short Advance(std::int32_t n);

    /// Appends a token and takes a reference on it.
    /// \param ptok the token.
    void AddToken(Token* ptok);
    /// Moves a token over from a stream being walked, with the marker and the
    /// substitute it was read through, so that a template's layout survives.
    /// \param ptok the token.
    /// \param ptsFrom the stream walked.
    void AddToken(Token* ptok, TokenStream* ptsFrom);
    /// Appends a comment and takes a reference on it.
    /// \param ptok the comment.
    void AddComment(Token* ptok);

    /// Sets the stream that the marker "%s" stands for; takes a reference on
    /// it and resets it.
    /// \param pts the substitute; null clears.
    void _set_ptsSubstitute(TokenStream* pts);
    /// \return the substitute, or null.
    TokenStream* _get_ptsSubstitute() const { return ptsSubstitute; }
    /// \return the marker's bucket while the walk is inside the substitute, else null.
    CPBucket* _get_pbktSubstitution() const { return pbktSubstitution; }
    /// \param pbkt the bucket the parent's walk goes on from.
    void _set_pbktNextTokenBucketInParentList(CPBucket* pbkt) {
        pbktNextTokenBucketInParentList = pbkt;
    }
    /// \return the bucket the parent's walk goes on from.
    CPBucket* _get_pbktNextTokenBucketInParentList() const {
        return pbktNextTokenBucketInParentList;
    }
    /// \return the bucket of the last token walked; inside a substitution, the
    ///         substitute's.
    CPBucket* _get_pbktGot() const;

    /// Makes the walk's place the reset point.
    void SetResetPoint() { lstTokens.SetResetPoint(); }
    /// Forgets the reset point.
    void ClearResetPoint() { lstTokens.ClearResetPoint(); }
    /// Puts the walk back at the first token.
    void Reset();

    /// \return the next token, descending into the substitute at a marker; null
    ///         at the end. It stays the stream's.
    Token* PeekToken();
    /// \return the token after the one peeked last, or null; it stays the stream's.
    Token* PeekNextToken();
    /// \return the next token, taken by the walk; null at the end. It stays the stream's.
    Token* GetToken();
    /// \return the next entry, marker or not; null at the end. It stays the stream's.
    Token* FetchToken();
    /// Takes the next token and peeks at the one after.
    /// \return 0.
    short ConsumePeekedToken();
    /// Removes the first token and releases it.
    void DeleteFirstToken();
    /// Removes and releases the tokens from the walk's place to the end.
    void DeleteRemainingTokens();
    /// Moves the walk of a parent stream past this one's marker.
    /// \param pts the parent stream.
    void AdvancePastThisStream(TokenStream* pts);

    /// Appends what the scanner reads from the text; the comments read replace
    /// those held.
    /// \param sz the text.
    /// \param bStringLiterals non-zero to read quoted text as string literals.
    /// \return 1.
    /// \throws Exception the scanner's, with the tokens read so far kept.
    short ScanBuffer(char const* sz, char bStringLiterals);

    /// The text from the tokens' positions. Each token's text goes at the
    /// counted length and the white space is appended, so a row gap leaves a
    /// zero byte before the token: the string form is the one to rely on.
    /// \param buf the caller's buffer, which the caller sizes.
    void ProduceBuffer(char* buf);
    /// Appends the text from the tokens' positions to a string.
    /// \param pstr the string.
    void ProduceBuffer(CPString* pstr);

    /// The pretty-printed text, comments left out.
    /// \param buf the caller's buffer, which the caller sizes.
    /// \param bRaw non-zero for the tokens' texts as they stand.
    /// \param bNoSpaces non-zero to leave out the blanks between tokens.
    void DumpText(char* buf, char bRaw, char bNoSpaces);
    /// The pretty-printed text, comments left out, into a string.
    /// \param pstr the string.
    /// \param bRaw non-zero for the tokens' texts as they stand.
    /// \param bNoSpaces non-zero to leave out the blanks between tokens.
    /// \param nDeltaSize the string's growth step.
    void DumpText(CPString* pstr, char bRaw, char bNoSpaces, short nDeltaSize);

    /// Reads the file form, versions 0 to 2, appending to what is held.
    /// \param in the stream.
    /// \return 1.
    /// \throws Exception 402 for a bad magic byte or data that ends early.
    short StreamIn(std::istream& in);
    /// Writes the file form, version 2.
    /// \param out the stream.
    /// \return 1.
    short StreamOut(std::ostream& out);

    /// \return the list of tokens.
    CPList& _get_lstTokens() { return lstTokens; }
    /// \return the list of comments.
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

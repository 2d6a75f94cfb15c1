// The framework's string: narrow, NUL-terminated text in a shared DynaBuffer
// with copy on write. Positions and counts are 16-bit in many operations,
// whatever the length: a position past 32767 comes back truncated.
//
// Some operations deliberately do not unshare (operator+=(char), operator[],
// GetBuffer): a write through them reaches every sharer.
#pragma once

#include <util/createable.h>
#include <util/dynabuf.h>
#include <platform/export.h>

#include <cstdint>
#include <iosfwd>

class SORVANE_API CPString : public Createable {
public:
    // Limits of the work areas and formats.
    static constexpr std::uint32_t lMaxSprintfSize = 4096;
    static constexpr std::uint32_t kReplaceLimit = 1024;
    static constexpr std::uint32_t kTerminateArea = 1024;
    static constexpr std::uint32_t kExtractArea = 4096;
    static constexpr std::uint32_t kNumberText = 32;
    static constexpr short kStringDeltaSize = 64;

    // Flags of Filter.
    enum : std::int32_t {
        FILTER_LEADING_SPACE = 0x0001,
        FILTER_TRAILING_SPACE = 0x0002,
        FILTER_INNER_SPACE = 0x0004,
        FILTER_LOWER = 0x0010,
        FILTER_UPPER = 0x0020,
        FILTER_CAPITALISE = 0x0040,
        FILTER_LEADING_PUNCT = 0x0100,
        FILTER_TRAILING_PUNCT = 0x0200,
        FILTER_INNER_PUNCT = 0x0400,
        FILTER_WORD_SPLIT = 0x1000,
    };

    CPString();
    // A buffer of that size; also sets the shared growth step to 64.
    explicit CPString(std::uint32_t nSize);
    CPString(CPString const& other);
    CPString(char const* text);
    ~CPString() override;

    // Releasing comes before sharing, so assigning a string to itself
    // empties it.
    virtual short Copy(CPString const& other);
    // The two numbers are for overriding classes.
    virtual short Copy(char const* text, std::uint32_t n1 = 0, std::uint32_t n2 = 0);
    virtual CPString& operator=(CPString const& other);
    virtual CPString& operator=(char const* text);
    short nvCopy(CPString const& other);
    void _set_szBuffer(char const* text);

    void AllocBuffer();
    void Adopt(char* block, std::int32_t size, char bOwner);
    void Clear();
    void GrowBy(std::int32_t count);
    void GrowTo(std::int32_t size);
    void _set_nDeltaSize(short size);
    std::int32_t _get_nBufferSize() const;
    std::int32_t Size() const { return _get_nBufferSize(); }
    std::int32_t Length() const;
    std::int32_t _get_nLength() const { return Length(); }
    // The raw length, which counts the terminator.
    void _set_nLength(std::uint32_t length);
    std::uint16_t _get_nCRC() const;
    // Does not unshare.
    char* GetBuffer();
    DynaBuffer* _get_pdybuf() const { return pdybuf; }

    // C-style access. A size of -1 means no limit.
    void StrCpy(char* dest, std::uint32_t size) const;
    void StrCat(char* dest) const;
    int StrCmp(char const* text) const;
    __attribute__((format(printf, 2, 3))) int SPrintF(char const* szFormat, ...);

    // Searching.
    short ContainsSubString(char const* pattern, std::int32_t* pos = nullptr,
                            short bFromEnd = 0) const;
    short ContainsChar(char c, std::int32_t* pos = nullptr) const;
    short FindChar(char c, short bFromEnd) const;
    short IsNumeric() const;
    short IsWhitespace() const;
    std::int32_t AsInt() const;
    double AsFloat() const;

    // Extraction and replacement.
    short ExtractSubString(CPString* dest, short start, short end) const;
    short ExtractBetweenDelimiters(CPString* dest, char open, char close) const;
    short ExtractTaggedValue(CPString* dest, char const* tag, char separator, char quote) const;
    short TerminateAfterSubString(char const* pattern);
    short ReplaceSubString(char const* oldText, char const* newText, short bFromEnd);
    short Substitute(char const* pattern, CPString const& replacement);
    // positions needs room for one more entry than there can be fields.
    short Split(char separator, short* positions, short bAfterSeparator) const;
    // Each field after the first keeps its leading separator. At most eight
    // fields; a null target appends its field to the last target given.
    short Split(char separator, CPString* p1, CPString* p2 = nullptr, CPString* p3 = nullptr,
                CPString* p4 = nullptr, CPString* p5 = nullptr, CPString* p6 = nullptr,
                CPString* p7 = nullptr, CPString* p8 = nullptr) const;

    // In-place changes; none touches an empty string.
    void UpperCase();
    void LowerCase();
    void Reverse();
    void RemoveSpaces();
    void MassagePathSeparators(short bToForward);
    short Filter(std::int32_t flags);
    // Placeholders that always answer 0.
    short MatchRegularExpression(char const* pattern);
    short SubstituteRegularExpression(char const* pattern, char const* replacement, char flags);

    CPString& operator+=(CPString const& other);
    CPString& operator+=(char const* text);
    // Does not unshare: every sharer sees the character.
    CPString& operator+=(char c);
    CPString& operator+=(int n);
    CPString& operator+=(long n);
    CPString& operator+=(short n);
    CPString& operator+=(float x);
    CPString& operator+=(double x);

    CPString& operator=(char c);
    CPString& operator=(int n);
    CPString& operator=(long n);
    CPString& operator=(short n);
    CPString& operator=(float x);
    CPString& operator=(double x);

    CPString operator+(char c) const;
    CPString operator+(int n) const;
    CPString operator+(long n) const;
    CPString operator+(short n) const;
    CPString operator+(float x) const;
    CPString operator+(double x) const;

    // Does not unshare. Past the text, or with no buffer, a shared dummy.
    char& operator[](std::int32_t index) const;

    std::int32_t ReadIStream(std::istream& in);

    SORVANE_API friend std::ostream& operator<<(std::ostream& out, CPString const& str);
    // Throws kDeadFocc for an unknown version or data that ends early.
    SORVANE_API friend std::istream& operator>>(std::istream& in, CPString& str);

protected:
    // Makes the buffer private to this string, creating one if needed.
    DynaBuffer* MakeUnique(std::uint32_t size = 0);
    void ReleaseBuffer();

    DynaBuffer* pdybuf = nullptr;

private:
    template <class T> CPString& AppendFormatted(char const* format, T value);
    template <class T> CPString& AssignFormatted(char const* format, T value);
    template <class T> CPString PlusFormatted(T value) const;
};

// Never-filled strings are unequal to everything, themselves included.
SORVANE_API bool operator==(CPString const& a, CPString const& b);
SORVANE_API bool operator==(CPString const& a, char const* b);
SORVANE_API bool operator==(char const* a, CPString const& b);
SORVANE_API bool operator!=(CPString const& a, CPString const& b);
SORVANE_API bool operator!=(CPString const& a, char const* b);
SORVANE_API bool operator!=(char const* a, CPString const& b);
// Not a lexical order: true only when a is a proper prefix of b.
SORVANE_API bool operator<(CPString const& a, CPString const& b);

SORVANE_API CPString operator+(CPString const& a, CPString const& b);
SORVANE_API CPString operator+(CPString const& a, char const* b);
SORVANE_API CPString operator+(char const* a, CPString const& b);

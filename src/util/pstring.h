/// \file
/// The framework's string: narrow, NUL-terminated text in a shared DynaBuffer
/// with copy on write. Positions and counts are 16-bit in many operations,
/// whatever the length: a position past 32767 comes back truncated.
///
/// Some operations deliberately do not unshare (operator+=(char), operator[],
/// GetBuffer): a write through them reaches every sharer.
#pragma once

#include <util/createable.h>
#include <util/dynabuf.h>
#include <platform/export.h>

#include <cstdint>
#include <iosfwd>

/// \brief The framework's string: narrow, 0-terminated text in a shared
/// DynaBuffer with copy on write.
///
/// Positions and counts are 16-bit in many operations, whatever the length:
/// a position past 32767 comes back truncated. Some operations deliberately
/// do not unshare (operator+=(char), operator[], GetBuffer): a write through
/// them reaches every sharer.
class SORVANE_API CPString : public Createable {
public:
    // Limits of the work areas and formats.
    /// The largest text SPrintF() makes, terminator included.
    static constexpr std::uint32_t lMaxSprintfSize = 4096;
    /// The longest result of ReplaceSubString().
    static constexpr std::uint32_t kReplaceLimit = 1024;
    /// The longest text TerminateAfterSubString() works on.
    static constexpr std::uint32_t kTerminateArea = 1024;
    /// The longest piece ExtractSubString() takes.
    static constexpr std::uint32_t kExtractArea = 4096;
    /// The work area of a number's text.
    static constexpr std::uint32_t kNumberText = 32;
    /// The growth step that CPString(std::uint32_t) sets.
    static constexpr short kStringDeltaSize = 64;

    /// Flags of Filter().
    enum : std::int32_t {
        /// Remove leading white space.
        FILTER_LEADING_SPACE = 0x0001,
        /// Remove trailing white space.
        FILTER_TRAILING_SPACE = 0x0002,
        /// Remove white space inside the text.
        FILTER_INNER_SPACE = 0x0004,
        /// Make lower case.
        FILTER_LOWER = 0x0010,
        /// Make upper case.
        FILTER_UPPER = 0x0020,
        /// Capitalise words.
        FILTER_CAPITALISE = 0x0040,
        /// Remove leading punctuation.
        FILTER_LEADING_PUNCT = 0x0100,
        /// Remove trailing punctuation.
        FILTER_TRAILING_PUNCT = 0x0200,
        /// Remove punctuation inside the text.
        FILTER_INNER_PUNCT = 0x0400,
        /// Put a blank where a capital follows a small letter (alone of the flags).
        FILTER_WORD_SPLIT = 0x1000,
    };

    CPString();
    /// A buffer of that size; also sets the shared growth step to 64.
    /// \param nSize the capacity.
    explicit CPString(std::uint32_t nSize);
    /// Shares the other string's buffer.
    /// \param other the string copied.
    CPString(CPString const& other);
    /// A copy of a text.
    /// \param text the text, or null for an empty string.
    CPString(char const* text);
    /// Releases the buffer.
    ~CPString() override;

    /// Shares the other string's buffer. Releasing comes before sharing, so
    /// copying a string to itself empties it.
    /// \param other the string copied.
    /// \return 1.
    virtual short Copy(CPString const& other);
    /// Copies a text into a private buffer; null empties the string.
    /// \param text the text.
    /// \param n1 for overriding classes.
    /// \param n2 for overriding classes.
    /// \return 1.
    virtual short Copy(char const* text, std::uint32_t n1 = 0, std::uint32_t n2 = 0);
    /// Copy(CPString const&).
    /// \param other the string copied.
    /// \return this string.
    virtual CPString& operator=(CPString const& other);
    /// Copy(char const*).
    /// \param text the text.
    /// \return this string.
    virtual CPString& operator=(char const* text);
    /// The non-virtual Copy(CPString const&).
    /// \param other the string copied.
    /// \return 1.
    short nvCopy(CPString const& other);
    /// Copies a text into a private buffer; null empties the string.
    /// \param text the text.
    void _set_szBuffer(char const* text);

    /// Makes an empty buffer when there is none.
    void AllocBuffer();
    /// Takes a block as the private buffer's.
    /// \param block the block, holding a 0-terminated text.
    /// \param size its capacity.
    /// \param bOwner non-zero when the string is to free the block.
    void Adopt(char* block, std::int32_t size, char bOwner);
    /// Releases the buffer: the string is empty (and never-filled).
    void Clear();
    /// Grows the private buffer.
    /// \param count bytes more.
    void GrowBy(std::int32_t count);
    /// Grows the private buffer to at least a size.
    /// \param size the least capacity.
    void GrowTo(std::int32_t size);
    /// Sets the process-wide growth step of buffers.
    /// \param size the step.
    void _set_nDeltaSize(short size);
    /// \return the buffer's capacity; 0 with no buffer.
    std::int32_t _get_nBufferSize() const;
    /// \return the buffer's capacity.
    std::int32_t Size() const { return _get_nBufferSize(); }
    /// \return the text's length, without the terminator.
    std::int32_t Length() const;
    /// \return the text's length, as Length().
    std::int32_t _get_nLength() const { return Length(); }
    /// Sets the raw length, which counts the terminator.
    /// \param length the raw length.
    void _set_nLength(std::uint32_t length);
    /// \return the CRC-16 of the text; 0 with no buffer.
    std::uint16_t _get_nCRC() const;
    /// The text's bytes. Does not unshare.
    /// \return the text, or null with no buffer.
    char* GetBuffer();
    /// \return the shared buffer, or null.
    DynaBuffer* _get_pdybuf() const { return pdybuf; }

    /// Copies the text to a C buffer.
    /// \param dest the caller's buffer.
    /// \param size its size; -1 means no limit.
    void StrCpy(char* dest, std::uint32_t size) const;
    /// Appends the text to a C string.
    /// \param dest the caller's 0-terminated text, with room for the result.
    void StrCat(char* dest) const;
    /// Compares as strcmp does.
    /// \param text the other text; null reads as "".
    /// \return as strcmp; -1 for a never-filled string.
    int StrCmp(char const* text) const;
    /// Formats as printf into the string. A result of lMaxSprintfSize bytes or
    /// more ends the process through the fatal check.
    /// \param szFormat the format; null ends the process through the fatal check.
    /// \return the length written.
    __attribute__((format(printf, 2, 3))) int SPrintF(char const* szFormat, ...);

    /// Looks for a text.
    /// \param pattern the text to find.
    /// \param pos when not null, receives where it begins.
    /// \param bFromEnd non-zero for the last occurrence.
    /// \return 1 when found, else 0.
    short ContainsSubString(char const* pattern, std::int32_t* pos = nullptr,
                            short bFromEnd = 0) const;
    /// Looks for a character.
    /// \param c the character.
    /// \param pos when not null, receives its first place.
    /// \return 1 when found, else 0.
    short ContainsChar(char c, std::int32_t* pos = nullptr) const;
    /// The place of a character. From the end, index 0 is never tested; from
    /// the start, only index 0 is, and a miss there ends the process through
    /// the fatal check.
    /// \param c the character.
    /// \param bFromEnd non-zero to search from the end.
    /// \return the place, or -1.
    short FindChar(char c, short bFromEnd) const;
    /// \return 1 when the text holds only digits, 'e', blanks, one '.', two
    ///         signs and one '^' (an empty text too), else 0.
    short IsNumeric() const;
    /// \return 1 when the text is all white space (or empty), else 0.
    short IsWhitespace() const;
    /// \return the text read as a decimal number; 0 when it is not one.
    std::int32_t AsInt() const;
    /// \return the text read as a floating number; 0 when it is not one.
    double AsFloat() const;

    /// Copies the characters from start to end, both included, to dest. A
    /// negative start, or a piece of kExtractArea bytes or more, ends the
    /// process through the fatal check.
    /// \param dest receives the piece.
    /// \param start the first place.
    /// \param end the last place; before start gives "".
    /// \return 1, or 0 for a null dest or a start past the text.
    short ExtractSubString(CPString* dest, short start, short end) const;
    /// Copies what lies between the first open and the first close character.
    /// \param dest receives the text.
    /// \param open the opening character.
    /// \param close the closing character.
    /// \return 1, or 0 when either is missing or nothing lies between.
    short ExtractBetweenDelimiters(CPString* dest, char open, char close) const;
    /// Copies the value after a tag, as in tag=value or tag="value".
    /// \param dest receives the value.
    /// \param tag the tag.
    /// \param separator the character after the tag, or 0.
    /// \param quote the quote around the value, or 0.
    /// \return 1, or 0 when the tag or a mark is missing.
    short ExtractTaggedValue(CPString* dest, char const* tag, char separator, char quote) const;
    /// Cuts the text after the first occurrence of a pattern. A text of
    /// kTerminateArea bytes or more ends the process through the fatal check.
    /// \param pattern the pattern.
    /// \return 1, or 0 when it is not found.
    short TerminateAfterSubString(char const* pattern);
    /// Replaces one occurrence of a text.
    /// \param oldText the text to replace.
    /// \param newText its replacement; null is "".
    /// \param bFromEnd non-zero for the last occurrence.
    /// \return 1, or 0 when not found or when the result would be longer than
    ///         kReplaceLimit (the report log says so).
    short ReplaceSubString(char const* oldText, char const* newText, short bFromEnd);
    /// Replaces the first occurrence of a pattern.
    /// \param pattern the pattern.
    /// \param replacement its replacement.
    /// \return 1, or 0 when not found.
    short Substitute(char const* pattern, CPString const& replacement);
    /// The places where the fields separated by a character begin.
    /// \param separator the separator.
    /// \param positions receives the fields' starts and, after the last, the
    ///        length; it needs room for one more entry than there can be fields.
    /// \param bAfterSeparator non-zero to start a field after its separator.
    /// \return the number of fields.
    short Split(char separator, short* positions, short bAfterSeparator) const;
    /// Splits the text into at most eight fields. Each field after the first
    /// keeps its leading separator; a null target appends its field to the last
    /// target given. More than eight fields end the process through the fatal
    /// check, as does a null p1.
    /// \param separator the separator.
    /// \param p1 the first field's target.
    /// \param p2 the second's, or null.
    /// \param p3 the third's, or null.
    /// \param p4 the fourth's, or null.
    /// \param p5 the fifth's, or null.
    /// \param p6 the sixth's, or null.
    /// \param p7 the seventh's, or null.
    /// \param p8 the eighth's, or null.
    /// \return the number of fields.
    short Split(char separator, CPString* p1, CPString* p2 = nullptr, CPString* p3 = nullptr,
                CPString* p4 = nullptr, CPString* p5 = nullptr, CPString* p6 = nullptr,
                CPString* p7 = nullptr, CPString* p8 = nullptr) const;

    /// Makes the text upper case; an empty string is not touched.
    void UpperCase();
    /// Makes the text lower case; an empty string is not touched.
    void LowerCase();
    /// Reverses the text; an empty string is not touched.
    void Reverse();
    /// Removes all white space.
    void RemoveSpaces();
    /// Turns every path separator one way.
    /// \param bToForward non-zero turns '\\' to '/', zero '/' to '\\'.
    void MassagePathSeparators(short bToForward);
    /// Applies the FILTER_ flags in place; an empty string is not touched.
    /// \param flags FILTER_ values.
    /// \return 0.
    short Filter(std::int32_t flags);
    /// A placeholder.
    /// \param pattern not read.
    /// \return 0.
    short MatchRegularExpression(char const* pattern);
    /// A placeholder.
    /// \param pattern not read.
    /// \param replacement not read.
    /// \param flags not read.
    /// \return 0.
    short SubstituteRegularExpression(char const* pattern, char const* replacement, char flags);

    /// Appends a string.
    /// \param other the string.
    /// \return this string.
    CPString& operator+=(CPString const& other);
    /// Appends a text.
    /// \param text the text.
    /// \return this string.
    CPString& operator+=(char const* text);
    /// Appends a character. Does not unshare: every sharer sees it.
    /// \param c the character.
    /// \return this string.
    CPString& operator+=(char c);
    /// Appends a number's text.
    /// \param n the number.
    /// \return this string.
    CPString& operator+=(int n);
    /// Appends a number's text.
    /// \param n the number.
    /// \return this string.
    CPString& operator+=(long n);
    /// Appends a number's text.
    /// \param n the number.
    /// \return this string.
    CPString& operator+=(short n);
    /// Appends a number's text.
    /// \param x the number.
    /// \return this string.
    CPString& operator+=(float x);
    /// Appends a number's text.
    /// \param x the number.
    /// \return this string.
    CPString& operator+=(double x);

    /// Sets the text to one character.
    /// \param c the character.
    /// \return this string.
    CPString& operator=(char c);
    /// Sets the text to a number's.
    /// \param n the number.
    /// \return this string.
    CPString& operator=(int n);
    /// Sets the text to a number's.
    /// \param n the number.
    /// \return this string.
    CPString& operator=(long n);
    /// Sets the text to a number's.
    /// \param n the number.
    /// \return this string.
    CPString& operator=(short n);
    /// Sets the text to a number's.
    /// \param x the number.
    /// \return this string.
    CPString& operator=(float x);
    /// Sets the text to a number's.
    /// \param x the number.
    /// \return this string.
    CPString& operator=(double x);

    /// \param c a character.
    /// \return the text with the character appended.
    CPString operator+(char c) const;
    /// \param n a number.
    /// \return the text with the number's text appended.
    CPString operator+(int n) const;
    /// \param n a number.
    /// \return the text with the number's text appended.
    CPString operator+(long n) const;
    /// \param n a number.
    /// \return the text with the number's text appended.
    CPString operator+(short n) const;
    /// \param x a number.
    /// \return the text with the number's text appended.
    CPString operator+(float x) const;
    /// \param x a number.
    /// \return the text with the number's text appended.
    CPString operator+(double x) const;

    /// A character of the text. Does not unshare. Past the text, or with no
    /// buffer, a shared dummy.
    /// \param index the place.
    /// \return the character.
    char& operator[](std::int32_t index) const;

    /// Reads what the stream has available into the string. The raw length is
    /// the count read, so the last character read does not count in Length().
    /// \param in the stream.
    /// \return the count read.
    std::int32_t ReadIStream(std::istream& in);

    /// Writes the string's binary stream form (its buffer's).
    /// \param out the stream.
    /// \param str the string.
    /// \return the stream.
    SORVANE_API friend std::ostream& operator<<(std::ostream& out, CPString const& str);
    /// Reads the string's binary stream form.
    /// \param in the stream.
    /// \param str the string.
    /// \return the stream.
    /// \throws std::uint32_t kDeadFocc for an unknown version or data that ends early.
    SORVANE_API friend std::istream& operator>>(std::istream& in, CPString& str);

protected:
    /// Makes the buffer private to this string, creating one if needed.
    /// \param size the least capacity.
    /// \return the buffer.
    DynaBuffer* MakeUnique(std::uint32_t size = 0);
    /// Gives up the buffer.
    void ReleaseBuffer();

    /// The shared buffer, or null.
    DynaBuffer* pdybuf = nullptr;

private:
    template <class T> CPString& AppendFormatted(char const* format, T value);
    template <class T> CPString& AssignFormatted(char const* format, T value);
    template <class T> CPString PlusFormatted(T value) const;
};

/// Compares two strings. Never-filled strings are unequal to everything,
/// themselves included.
/// \param a a string.
/// \param b a string.
/// \return true when both hold the same text.
SORVANE_API bool operator==(CPString const& a, CPString const& b);
/// \param a a string; never-filled is unequal to everything.
/// \param b a text; null is unequal to everything.
/// \return true when both hold the same text.
SORVANE_API bool operator==(CPString const& a, char const* b);
/// \param a a text; null is unequal to everything.
/// \param b a string; never-filled is unequal to everything.
/// \return true when both hold the same text.
SORVANE_API bool operator==(char const* a, CPString const& b);
/// \param a a string.
/// \param b a string.
/// \return the negation of operator==.
SORVANE_API bool operator!=(CPString const& a, CPString const& b);
/// \param a a string.
/// \param b a text.
/// \return the negation of operator==.
SORVANE_API bool operator!=(CPString const& a, char const* b);
/// \param a a text.
/// \param b a string.
/// \return the negation of operator==.
SORVANE_API bool operator!=(char const* a, CPString const& b);
/// Not a lexical order.
/// \param a a string.
/// \param b a string.
/// \return true only when a is a proper prefix of b.
SORVANE_API bool operator<(CPString const& a, CPString const& b);

/// \param a a string.
/// \param b a string.
/// \return the two joined.
SORVANE_API CPString operator+(CPString const& a, CPString const& b);
/// \param a a string.
/// \param b a text.
/// \return the two joined.
SORVANE_API CPString operator+(CPString const& a, char const* b);
/// \param a a text.
/// \param b a string.
/// \return the two joined.
SORVANE_API CPString operator+(char const* a, CPString const& b);

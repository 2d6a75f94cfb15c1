/// \file
/// A typed scalar with the position at which it was read: what the scanner
/// makes, and the base of every value of the framework. Conversions between
/// the types never fail; they give 0 or the truncated value.
#pragma once

#include <util/createable.h>
#include <platform/export.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <new>
#include <string>
#include <type_traits>

class CPDictionary;
class Scanner;

// Type codes are bits, so that a mask can test for several.
/// No value.
inline constexpr std::uint16_t TY_UNDEFINED = 0;
/// Characters (up to eight).
inline constexpr std::uint16_t TY_CHAR = 1;
/// A truth value.
inline constexpr std::uint16_t TY_BOOL = 2;
/// 16-bit numbers (up to four).
inline constexpr std::uint16_t TY_SHORT = 4;
/// 32-bit numbers (up to two).
inline constexpr std::uint16_t TY_LONG = 8;
/// Single-precision numbers (up to two).
inline constexpr std::uint16_t TY_FLOAT = 16;
/// A double-precision number.
inline constexpr std::uint16_t TY_DOUBLE = 32;
/// A text.
inline constexpr std::uint16_t TY_STRING = 64;
/// A comment's text.
inline constexpr std::uint16_t TY_COMMENT = 128;
/// A keyword or symbol of the language, by code.
inline constexpr std::uint16_t TY_TOKEN = 256;

/// \brief The collection's type code, which compares equal to its 16-bit word
/// read signed (-32768, as MapStringToType answers it) or unsigned (0x8000,
/// as nDataType holds it).
struct TypeCodeWord {
    /// The unsigned word.
    std::uint16_t nWord;
    /// \return the unsigned word, wherever a type code is taken.
    constexpr operator std::uint16_t() const noexcept { return nWord; }
};
/// \param n a type code, signed or unsigned.
/// \param code the collection's code.
/// \return true when n reads as the code's word.
template <std::integral T> constexpr bool operator==(T n, TypeCodeWord code) noexcept {
    if constexpr (std::is_signed_v<T>)
        if (n < 0) return static_cast<long long>(n) + 0x10000 == code.nWord;
    return static_cast<unsigned long long>(n) == static_cast<unsigned long long>(code.nWord);
}
/// A collection of values.
inline constexpr TypeCodeWord TY_COLLECTION{0x8000};

/// \brief A typed scalar with the position at which it was read: what the
/// scanner makes, and the base of every value of the framework.
///
/// Conversions between the types never fail; they give 0 or the truncated
/// value. Integers that do not fit 32 bits end the process through the fatal
/// check rather than being cut.
class SORVANE_API Token : public virtual Createable {
public:
    /// Where a token that was not read from a source says it stands.
    static constexpr std::uint16_t kNoPosition = 65535;
    /// The size of the area FetchStringPointer() writes a non-text token's text to.
    static constexpr std::size_t kStringPointerSize = 1024;

    Token();
    /// A copy has no position.
    /// \param other the token copied.
    Token(Token const& other);
    /// Frees the text.
    ~Token() override;
    /// Copies the value; the position stays as it was.
    /// \param other the token copied.
    /// \return this token.
    Token& operator=(Token const& other);

    /// Blocks of a token's size are kept for reuse, per thread; other sizes
    /// (derived classes) use the heap.
    /// \param nSize the block's size.
    /// \return the block.
    static void* operator new(std::size_t nSize);
    /// As the other operator new, answering null when memory cannot be had.
    /// \param nSize the block's size.
    /// \return the block, or null.
    static void* operator new(std::size_t nSize, std::nothrow_t const&) noexcept;
    /// Keeps a block of a token's size for reuse.
    /// \param pv the block.
    /// \param nSize its size.
    static void operator delete(void* pv, std::size_t nSize) noexcept;

    /// Makes the token undefined, without a position.
    void Initialize();
    /// Frees the text.
    void UnInitialize();
    /// Copies the value and the position.
    /// \param other the token copied.
    void Copy(Token const& other);
    /// Frees the text of a string or comment and nulls the pointer.
    void KillStringIfNeeded();

    /// Makes a TY_CHAR and stores an element; an index past the array is clamped
    /// to its last element.
    /// \param c the character.
    /// \param nIndex the element.
    void SetValue(char c, short nIndex = 0);
    /// Makes a TY_SHORT and stores an element (clamped as above).
    /// \param n the number.
    /// \param nIndex the element.
    void SetValue(short n, short nIndex = 0);
    /// Makes a TY_LONG and stores an element (clamped as above).
    /// \param n the number.
    /// \param nIndex the element.
    void SetValue(std::int32_t n, short nIndex = 0);
    /// Makes a TY_FLOAT and stores an element (clamped as above).
    /// \param f the number.
    /// \param nIndex the element.
    void SetValue(float f, short nIndex = 0);
    /// Makes a TY_DOUBLE.
    /// \param d the number.
    void SetValue(double d);
    /// Makes a TY_LONG as the 32-bit form does; a value outside 32 bits ends the
    /// process through the fatal check, never cut.
    /// \param n the number.
    /// \param nIndex the element.
    void SetValue(long n, short nIndex = 0);
    /// Makes a TY_LONG; a value outside 32 bits ends the process through the
    /// fatal check.
    /// \param n the number.
    /// \param nIndex the element.
    void SetValue(unsigned long n, short nIndex = 0);
    /// Makes a TY_LONG; a value outside 32 bits ends the process through the
    /// fatal check.
    /// \param n the number.
    /// \param nIndex the element.
    void SetValue(long long n, short nIndex = 0);
    /// Makes a TY_BOOL, as SetValueBool().
    /// \param b the truth value.
    void SetValue(bool b);
    /// Makes a TY_STRING holding a copy of the text; "<empty>" makes the token
    /// undefined instead.
    /// \param sz the text.
    void SetValue(char const* sz);
    /// Makes a TY_BOOL.
    /// \param b non-zero for true.
    void SetValueBool(short b);
    /// Makes a TY_TOKEN.
    /// \param nCode the keyword's or symbol's code.
    void SetValueToken(std::int32_t nCode);
    /// Makes a TY_STRING that takes ownership of the block, which must come from
    /// new[]; the token frees it with delete[].
    /// \param sz the text.
    /// \param nLen not used.
    void AdoptValue(char* sz, short nLen);
    /// Parses a text by the present type; an undefined token types itself.
    /// \param sz the text.
    void SetValueFromString(char const* sz);

    /// Converts from any type; the index counts only when the type already matches.
    /// \param nIndex the element.
    /// \return the value as a character.
    char FetchChar(short nIndex = 0) const;
    /// Converts from any type; the index counts only when the type already matches.
    /// \param nIndex the element.
    /// \return the value as a 16-bit number.
    short FetchShort(short nIndex = 0) const;
    /// Converts from any type; the index counts only when the type already matches.
    /// \param nIndex the element.
    /// \return the value as a 32-bit number.
    std::int32_t FetchLong(short nIndex = 0) const;
    /// Converts from any type; the index counts only when the type already matches.
    /// \param nIndex the element.
    /// \return the value as a single-precision number.
    float FetchFloat(short nIndex = 0) const;
    /// \return the value as a double-precision number.
    double FetchDouble() const;
    /// \return the value as a truth value, 0 or 1.
    short FetchBool() const;

    /// \return FetchChar(0).
    operator char() const { return FetchChar(0); }
    /// \return FetchShort(0).
    operator short() const { return FetchShort(0); }
    /// \return FetchLong(0).
    operator std::int32_t() const { return FetchLong(0); }
    /// \return FetchFloat(0).
    operator float() const { return FetchFloat(0); }
    /// \return FetchDouble().
    operator double() const { return FetchDouble(); }
    /// \return FetchLong(0).
    operator long() const { return FetchLong(0); }
    /// \return FetchLong(0).
    operator long long() const { return FetchLong(0); }
    /// A negative value does not fit: it ends the process through the fatal check.
    /// \return FetchLong(0).
    operator unsigned long() const;
    /// \return FetchBool() != 0.
    operator bool() const { return FetchBool() != 0; }

    /// Reads the token as the number's type would be read from it (FetchLong
    /// for any integer but char and short, FetchBool for a bool) and compares
    /// in full width: a number outside 32 bits is simply unequal.
    /// \tparam T an arithmetic type.
    /// \param tok the token.
    /// \param value the number.
    /// \return true when equal.
    template <class T>
    requires std::is_arithmetic_v<T>
    friend bool operator==(Token const& tok, T value) {
        if constexpr (std::is_same_v<T, bool>)
            return (tok.FetchBool() != 0) == value;
        else if constexpr (std::is_same_v<T, char>)
            return tok.FetchChar(0) == value;
        else if constexpr (std::is_same_v<T, short>)
            return tok.FetchShort(0) == value;
        else if constexpr (std::is_same_v<T, float>)
            return tok.FetchFloat(0) == value;
        else if constexpr (std::is_floating_point_v<T>)
            return tok.FetchDouble() == value;
        else if constexpr (std::is_signed_v<T>)
            return tok.FetchLong(0) == static_cast<long long>(value);
        else
            return tok.FetchLong(0) >= 0 && static_cast<unsigned long long>(tok.FetchLong(0)) ==
                                                static_cast<unsigned long long>(value);
    }

    /// The value's text.
    /// \param buf the caller's buffer, which the caller sizes.
    /// \param nPrecision digits after the point for floating numbers.
    void FetchAsString(char* buf, char nPrecision) const;
    /// The value's text, cut to fit.
    /// \param buf the caller's buffer.
    /// \param nSize its size.
    /// \param nPrecision digits after the point for floating numbers.
    void FetchAsString(char* buf, std::size_t nSize, char nPrecision) const;
    /// The value's text with precision 6.
    /// \param buf the caller's buffer, which the caller sizes.
    void GetAsString(char* buf) const { FetchAsString(buf, 6); }
    /// The value's text with the escapes of the language.
    /// \param buf the caller's buffer, which the caller sizes.
    /// \param nPrecision digits after the point for floating numbers.
    void FetchAsStringWithEscapeCharacters(char* buf, char nPrecision) const;
    /// The value's text as a literal of the language.
    /// \param buf the caller's buffer, which the caller sizes.
    void FetchStringLiteral(char* buf) const;
    /// \return the text of a text token, else the value's text in an area of the
    ///         class: only one result of a non-text token can be held at a time.
    char const* FetchStringPointer() const;
    /// \return the text of a TY_STRING, else "".
    char const* GetBuffer() const;
    /// \return the text of a TY_STRING, else null; the token keeps it.
    char const* _get_szVal() const;
    /// \return the text of a TY_STRING, else null; the token keeps it.
    char* _get_szVal();
    /// Gives up the text pointer, whatever the type; the type stays.
    /// \return the text, which the caller owns and frees with delete[]; may be null.
    char* DonateString();

    /// \return 1 for a TY_STRING whose text begins with '"'.
    short IsStringLiteral() const;
    /// \return 1 for a numeric type (TY_BOOL to TY_DOUBLE).
    short IsNumericType() const { return nDataType >= 2 && nDataType <= 63 ? 1 : 0; }
    /// \return 1 for a TY_TOKEN.
    short IsToken() const { return nDataType == TY_TOKEN ? 1 : 0; }
    /// \param nMask type codes.
    /// \return 1 when the token's type is one of them.
    short MatchType(std::uint16_t nMask) const { return (nDataType & nMask) != 0 ? 1 : 0; }

    /// Matches need the exact type; nothing is converted.
    /// \param c a character.
    /// \param nIndex the element.
    /// \return 1 for a TY_CHAR with that element.
    short Match(char c, short nIndex = 0) const;
    /// \param n a number.
    /// \param nIndex the element.
    /// \return 1 for a TY_SHORT with that element.
    short Match(short n, short nIndex = 0) const;
    /// \param n a number.
    /// \return 1 for a TY_LONG of that value.
    short Match(std::int32_t n) const;
    /// \param f a number.
    /// \param nIndex the element.
    /// \return 1 for a TY_FLOAT with that element.
    short Match(float f, short nIndex = 0) const;
    /// \param d a number.
    /// \return 1 for a TY_DOUBLE of that value.
    short Match(double d) const;
    /// As Match(std::int32_t); a value outside 32 bits ends the process through
    /// the fatal check.
    /// \param n a number.
    /// \return 1 for a TY_LONG of that value.
    short Match(long n) const;
    /// As Match(long).
    /// \param n a number.
    /// \return 1 for a TY_LONG of that value.
    short Match(unsigned long n) const;
    /// As Match(long).
    /// \param n a number.
    /// \return 1 for a TY_LONG of that value.
    short Match(long long n) const;
    /// As MatchBool().
    /// \param b a truth value.
    /// \return 1 for a TY_BOOL of that value.
    short Match(bool b) const;
    /// \param sz a text.
    /// \return 1 for a TY_STRING of that text.
    short Match(char const* sz) const;
    /// \param b a truth value.
    /// \return 1 for a TY_BOOL of that value.
    short MatchBool(short b) const;
    /// \param nCode a keyword's or symbol's code.
    /// \return 1 for a TY_TOKEN of that code.
    short MatchToken(std::int32_t nCode) const;
    /// \param c a character.
    /// \return 1 for a TY_STRING made only of that character.
    short MatchString(char c) const;
    /// \param sz a text.
    /// \return 1 for a TY_STRING that begins with it.
    short MatchPrefix(char const* sz) const;

    /// \return the row the token was read at, or kNoPosition.
    std::uint16_t _get_nRow() const { return nRow; }
    /// \param n the row.
    void _set_nRow(std::uint16_t n) { nRow = n; }
    /// \return the column the token was read at, or kNoPosition.
    std::uint16_t _get_nCol() const { return nCol; }
    /// \param n the column.
    void _set_nCol(std::uint16_t n) { nCol = n; }
    /// \return the type code.
    std::uint16_t _get_nDataType() const { return nDataType; }
    /// Changes the code alone: nothing is converted or freed.
    /// \param n the type code.
    void _set_nDataType(std::uint16_t n) { nDataType = n; }
    /// \return the radix the number was written in.
    unsigned char _get_nRadix() const { return nRadix; }
    /// \param n the radix.
    void _set_nRadix(unsigned char n) { nRadix = n; }
    /// The eight bytes of the value as the file form writes them.
    /// \param ab receives the bytes.
    void GetValueBytes(unsigned char (&ab)[8]) const;

    /// The name of a type code ("TY_LONG").
    /// \param nType the code.
    /// \param buf when not null, receives a copy.
    /// \return the name; "TY_UNDEFINED" for an unknown code.
    static char const* MapTypeToString(short nType, char* buf);
    /// \param sz a type's name, or an alias of one.
    /// \return its code; 0 for an unknown name.
    static short MapStringToType(char const* sz);
    /// The text of a keyword's or symbol's code.
    /// \param nCode the code.
    /// \param buf when not null, receives the text ("" when unknown); the caller sizes it.
    /// \return 1 when the code is known, else 0.
    static short MapSymbolID2String(std::int32_t nCode, char* buf);
    /// Enters the language's reserved words in a scanner's table.
    /// \param pscn the scanner.
    static void SetupReservedSymbols(Scanner* pscn);
    /// Frees the table of the codes' texts.
    static void UninitTokenStrings();
    /// \return the number of live tokens.
    static std::uint32_t _get_nTokenCount() { return nTokenCount; }

    /// Writes the value's text.
    /// \param out the stream.
    void Print(std::ostream& out) const;
    /// Writes the binary file form, version 3.
    /// \param out the stream.
    /// \param tok the token.
    /// \return the stream.
    SORVANE_API friend std::ostream& operator<<(std::ostream& out, Token const& tok);
    /// Reads the binary file form, of any version.
    /// \param in the stream.
    /// \param tok the token.
    /// \return the stream.
    /// \throws Exception 402 for a form it cannot read.
    SORVANE_API friend std::istream& operator>>(std::istream& in, Token& tok);

protected:
    /// Reads an element of the value's bytes.
    /// \tparam T the element's type.
    /// \param nIndex the element.
    /// \return the element.
    template <class T> T Get(int nIndex) const {
        T value;
        std::memcpy(&value, abValue + nIndex * sizeof(T), sizeof(T));
        return value;
    }
    /// Writes an element of the value's bytes.
    /// \tparam T the element's type.
    /// \param nIndex the element.
    /// \param value the element.
    template <class T> void Put(int nIndex, T value) {
        std::memcpy(abValue + nIndex * sizeof(T), &value, sizeof(T));
    }
    /// \param nPrecision digits after the point for floating numbers.
    /// \return the value's text.
    std::string TextForm(char nPrecision) const;

    /// The row the token was read at.
    std::uint16_t nRow = kNoPosition;
    /// The column the token was read at.
    std::uint16_t nCol = kNoPosition;
    /// The type code.
    std::uint16_t nDataType = TY_UNDEFINED;
    /// The radix the number was written in.
    unsigned char nRadix = 10;
    /// The value in its 32-bit layout, where a text pointer fills the first
    /// four bytes; a pointer is wider than that, so the text is held beside them
    /// and those bytes read 0 while it is there.
    alignas(8) unsigned char abValue[8] = {};
    /// The text of a string or comment, owned.
    char* szVal = nullptr;

private:
    static void InitTokenStrings();

    static CPDictionary* pdctTokenStrings;
    static std::uint32_t nTokenCount;
    static char szStringPointer[kStringPointerSize];
};

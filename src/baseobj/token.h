// A typed scalar with the position at which it was read: what the scanner
// makes, and the base of every value of the framework. Conversions between
// the types never fail; they give 0 or the truncated value.
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
inline constexpr std::uint16_t TY_UNDEFINED = 0;
inline constexpr std::uint16_t TY_CHAR = 1;
inline constexpr std::uint16_t TY_BOOL = 2;
inline constexpr std::uint16_t TY_SHORT = 4;
inline constexpr std::uint16_t TY_LONG = 8;
inline constexpr std::uint16_t TY_FLOAT = 16;
inline constexpr std::uint16_t TY_DOUBLE = 32;
inline constexpr std::uint16_t TY_STRING = 64;
inline constexpr std::uint16_t TY_COMMENT = 128;
inline constexpr std::uint16_t TY_TOKEN = 256;

// The collection code is the one whose 16-bit word reads differently signed
// (-32768, as MapStringToType answers it) and unsigned (0x8000, as nDataType
// holds it). It compares equal to either reading, and is the unsigned word
// wherever a type code is taken.
struct TypeCodeWord {
    std::uint16_t nWord;
    constexpr operator std::uint16_t() const noexcept { return nWord; }
};
template <std::integral T> constexpr bool operator==(T n, TypeCodeWord code) noexcept {
    if constexpr (std::is_signed_v<T>)
        if (n < 0) return static_cast<long long>(n) + 0x10000 == code.nWord;
    return static_cast<unsigned long long>(n) == static_cast<unsigned long long>(code.nWord);
}
inline constexpr TypeCodeWord TY_COLLECTION{0x8000};

class SORVANE_API Token : public virtual Createable {
public:
    // Where a token that was not read from a source says it stands.
    static constexpr std::uint16_t kNoPosition = 65535;
    static constexpr std::size_t kStringPointerSize = 1024;

    Token();
    // A copy has no position.
    Token(Token const& other);
    ~Token() override;
    // Leaves the position as it was.
    Token& operator=(Token const& other);

    // A scan makes and frees a token for each word it reads: blocks of a
    // token's size are kept for reuse, per thread, instead of going back to
    // the heap each time. Other sizes (derived classes) use the heap.
    static void* operator new(std::size_t nSize);
    static void* operator new(std::size_t nSize, std::nothrow_t const&) noexcept;
    static void operator delete(void* pv, std::size_t nSize) noexcept;

    void Initialize();
    void UnInitialize();
    void Copy(Token const& other);
    // Frees the text of a string or comment and nulls the pointer.
    void KillStringIfNeeded();

    // Setters free an old text, set the type and store the value. Indexes
    // past the array are clamped to its last element.
    void SetValue(char c, short nIndex = 0);
    void SetValue(short n, short nIndex = 0);
    void SetValue(std::int32_t n, short nIndex = 0);
    void SetValue(float f, short nIndex = 0);
    void SetValue(double d);
    // The wider integers store a TY_LONG as the 32-bit form does; a value
    // outside 32 bits is the fatal check, never cut.
    void SetValue(long n, short nIndex = 0);
    void SetValue(unsigned long n, short nIndex = 0);
    void SetValue(long long n, short nIndex = 0);
    // A TY_BOOL, as SetValueBool.
    void SetValue(bool b);
    // A copy of the text; "<empty>" makes the token undefined instead.
    void SetValue(char const* sz);
    void SetValueBool(short b);
    void SetValueToken(std::int32_t nCode);
    // Takes ownership of the block, which must come from new[]; the token
    // frees it with delete[]. The length is not used.
    void AdoptValue(char* sz, short nLen);
    // Parses by the present type; an undefined token types itself.
    void SetValueFromString(char const* sz);

    // Fetchers convert from any type; the index counts only when the type
    // already matches.
    char FetchChar(short nIndex = 0) const;
    short FetchShort(short nIndex = 0) const;
    std::int32_t FetchLong(short nIndex = 0) const;
    float FetchFloat(short nIndex = 0) const;
    double FetchDouble() const;
    short FetchBool() const;

    operator char() const { return FetchChar(0); }
    operator short() const { return FetchShort(0); }
    operator std::int32_t() const { return FetchLong(0); }
    operator float() const { return FetchFloat(0); }
    operator double() const { return FetchDouble(); }
    operator long() const { return FetchLong(0); }
    operator long long() const { return FetchLong(0); }
    // A negative value does not fit: the fatal check.
    operator unsigned long() const;
    operator bool() const { return FetchBool() != 0; }

    // tok == n reads the token as n's type would be read from it (FetchLong
    // for any integer but char and short, FetchBool for a bool) and compares
    // in full width: a number outside 32 bits is simply unequal.
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

    // Text forms. The buffers are the caller's to size; the sized form cuts
    // its text to fit.
    void FetchAsString(char* buf, char nPrecision) const;
    void FetchAsString(char* buf, std::size_t nSize, char nPrecision) const;
    void GetAsString(char* buf) const { FetchAsString(buf, 6); }
    void FetchAsStringWithEscapeCharacters(char* buf, char nPrecision) const;
    void FetchStringLiteral(char* buf) const;
    // Only one result of a non-text token can be held at a time.
    char const* FetchStringPointer() const;
    char const* GetBuffer() const;
    // The text of a TY_STRING, else null; the token keeps it.
    char const* _get_szVal() const;
    char* _get_szVal();
    // Gives up the text pointer, whatever the type; the type stays. The
    // caller owns the text and frees it with delete[].
    char* DonateString();

    short IsStringLiteral() const;
    short IsNumericType() const { return nDataType >= 2 && nDataType <= 63 ? 1 : 0; }
    short IsToken() const { return nDataType == TY_TOKEN ? 1 : 0; }
    short MatchType(std::uint16_t nMask) const { return (nDataType & nMask) != 0 ? 1 : 0; }

    // Matches need the exact type; nothing is converted.
    short Match(char c, short nIndex = 0) const;
    short Match(short n, short nIndex = 0) const;
    short Match(std::int32_t n) const;
    short Match(float f, short nIndex = 0) const;
    short Match(double d) const;
    // As Match(std::int32_t); a value outside 32 bits is the fatal check.
    short Match(long n) const;
    short Match(unsigned long n) const;
    short Match(long long n) const;
    // As MatchBool.
    short Match(bool b) const;
    short Match(char const* sz) const;
    short MatchBool(short b) const;
    short MatchToken(std::int32_t nCode) const;
    short MatchString(char c) const;
    short MatchPrefix(char const* sz) const;

    std::uint16_t _get_nRow() const { return nRow; }
    void _set_nRow(std::uint16_t n) { nRow = n; }
    std::uint16_t _get_nCol() const { return nCol; }
    void _set_nCol(std::uint16_t n) { nCol = n; }
    std::uint16_t _get_nDataType() const { return nDataType; }
    // Changes the code alone: nothing is converted or freed.
    void _set_nDataType(std::uint16_t n) { nDataType = n; }
    unsigned char _get_nRadix() const { return nRadix; }
    void _set_nRadix(unsigned char n) { nRadix = n; }
    // The eight bytes of the value as the file form writes them.
    void GetValueBytes(unsigned char (&ab)[8]) const;

    static char const* MapTypeToString(short nType, char* buf);
    static short MapStringToType(char const* sz);
    static short MapSymbolID2String(std::int32_t nCode, char* buf);
    static void SetupReservedSymbols(Scanner* pscn);
    static void UninitTokenStrings();
    static std::uint32_t _get_nTokenCount() { return nTokenCount; }

    void Print(std::ostream& out) const;
    // The binary file form, version 3; reading takes every older form too.
    SORVANE_API friend std::ostream& operator<<(std::ostream& out, Token const& tok);
    // Throws Exception 402 for a form it cannot read.
    SORVANE_API friend std::istream& operator>>(std::istream& in, Token& tok);

protected:
    // The value's eight bytes, read and written by element.
    template <class T> T Get(int nIndex) const {
        T value;
        std::memcpy(&value, abValue + nIndex * sizeof(T), sizeof(T));
        return value;
    }
    template <class T> void Put(int nIndex, T value) {
        std::memcpy(abValue + nIndex * sizeof(T), &value, sizeof(T));
    }
    std::string TextForm(char nPrecision) const;

    std::uint16_t nRow = kNoPosition;
    std::uint16_t nCol = kNoPosition;
    std::uint16_t nDataType = TY_UNDEFINED;
    unsigned char nRadix = 10;
    // The value in its 32-bit layout, where a text pointer fills the first
    // four bytes; a pointer is wider than that, so the text is held beside
    // them and those bytes read 0 while it is there.
    alignas(8) unsigned char abValue[8] = {};
    char* szVal = nullptr;

private:
    static void InitTokenStrings();

    static CPDictionary* pdctTokenStrings;
    static std::uint32_t nTokenCount;
    static char szStringPointer[kStringPointerSize];
};

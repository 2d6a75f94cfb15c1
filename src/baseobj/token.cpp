#include <baseobj/token.h>

#include <baseobj/exception.h>
#include <baseobj/lex.h>
#include <cpcoll/cpdict.h>
#include <util/exceptions.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <new>
#include <ostream>
#include <utility>

CPDictionary* Token::pdctTokenStrings = nullptr;
std::uint32_t Token::nTokenCount = 0;
char Token::szStringPointer[Token::kStringPointerSize] = {};

namespace {

// One value of the oldest file form, written as text.
template <class T> T ReadText(std::istream& in) {
    T value{};
    in >> value;
    return value;
}

constexpr char kEmpty[] = "<empty>";
constexpr std::size_t kMaxText = 65535;
constexpr unsigned char kFormVersion = 3;
char gszEmpty[1] = {'\0'};

// The table of token strings lives until the end of the program.
struct TokenStringsTeardown {
    ~TokenStringsTeardown() { Token::UninitTokenStrings(); }
} gTeardown;

short Clamp(short nIndex, short nLast) {
    // A negative index would reach before the value; it reads the first.
    if (nIndex < 0) return 0;
    return std::min(nIndex, nLast);
}

// Truncation toward zero through a 32-bit integer. Where that integer cannot
// hold the value the result is 0x80000000, as the x86 conversion gives.
std::int32_t Trunc32(double d) {
    if (!(d > -2147483649.0 && d < 2147483648.0)) return INT32_MIN;
    return static_cast<std::int32_t>(d);
}

bool IsSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

// The C library's decimal reader with a 32-bit long: leading space, a sign,
// digits, wrapping past the range. False when nothing was read.
bool ScanLong(char const* sz, std::int32_t& n) {
    if (sz == nullptr) return false;
    while (IsSpace(*sz))
        ++sz;
    bool const bNegative = *sz == '-';
    if (*sz == '-' || *sz == '+') ++sz;
    if (*sz < '0' || *sz > '9') return false;
    std::uint32_t u = 0;
    for (; *sz >= '0' && *sz <= '9'; ++sz)
        u = u * 10u + static_cast<std::uint32_t>(*sz - '0');
    n = static_cast<std::int32_t>(bNegative ? 0u - u : u);
    return true;
}

std::int32_t TextToLong(char const* sz) {
    std::int32_t n = 0;
    ScanLong(sz, n);
    return n;
}

bool ScanDouble(char const* sz, double& d) {
    if (sz == nullptr) return false;
    char* end = nullptr;
    double const value = std::strtod(sz, &end);
    if (end == sz) return false;
    d = value;
    return true;
}

double TextToDouble(char const* sz) {
    double d = 0.0;
    ScanDouble(sz, d);
    return d;
}

float TextToFloat(char const* sz) {
    if (sz == nullptr) return 0.0f;
    char* end = nullptr;
    float const f = std::strtof(sz, &end);
    return end != sz ? f : 0.0f;
}

std::string Printf(char const* format, auto value) {
    char buf[64];
    std::snprintf(buf, sizeof buf, format, value);
    return buf;
}

// "0b" and the bits from the highest set one down.
std::string Binary(std::uint32_t value) {
    std::string text = "0b";
    for (int bit = 31; bit >= 0; --bit) {
        if ((value >> bit) == 0) continue;
        text += ((value >> bit) & 1u) != 0 ? '1' : '0';
    }
    return text;
}

std::string Integer(std::int32_t n, unsigned char nRadix, int nBytes) {
    auto const bits = static_cast<std::uint32_t>(n);
    switch (nRadix) {
    case 16:
        return Printf("%x", bits);
    case 8:
        return Printf("%o", bits);
    case 2:
        return Binary(nBytes == 4 ? bits : bits & ((1u << (8 * nBytes)) - 1u));
    default:
        return Printf("%d", n);
    }
}

// Cuts "%.12g" text to p decimals, padding with zeros, without rounding; a
// negative p trims trailing zeros to one. An exponent survives the cut only
// when no padding took place.
std::string FixPrecision(std::string const& text, int p) {
    bool const bTrim = p < 0;
    if (bTrim) p = -p;
    // The text, the appended full stop, and a zero for each of p + 1 steps.
    std::string buf = text;
    std::size_t dot = buf.find('.');
    if (dot == std::string::npos) {
        dot = buf.size();
        buf += '.';
    }
    bool bPadded = false;
    std::size_t pos = dot;
    for (int i = 0; i < p + 1; ++i) {
        ++pos;
        if (pos >= buf.size()) {
            buf += '0';
            bPadded = true;
        }
    }
    if (bTrim) {
        do {
            --pos;
        } while (buf[pos] == '0');
        if (pos == dot) ++pos;
        ++pos;
    }
    std::string out = buf.substr(0, pos);
    if (!bPadded) {
        std::size_t const e = buf.find('e', pos);
        if (e != std::string::npos) out += buf.substr(e);
    }
    return out;
}

std::string Real(double d, char nPrecision) {
    return FixPrecision(Printf("%.12g", d), nPrecision);
}

// The file form's type index, and the type each index reads as.
int TypeIndex(std::uint16_t nType) {
    switch (nType) {
    case TY_CHAR:
        return 1;
    case TY_BOOL:
        return 2;
    case TY_SHORT:
        return 3;
    case TY_LONG:
        return 4;
    case TY_FLOAT:
        return 5;
    case TY_DOUBLE:
        return 6;
    case TY_STRING:
        return 7;
    case TY_TOKEN:
        return 8;
    case TY_COMMENT:
        return 9;
    case TY_COLLECTION:
        return 10;
    case TY_UNDEFINED:
        return 11;
    default:
        return 3;
    }
}

std::uint16_t IndexType(int nIndex) {
    constexpr std::uint16_t kTypes[] = {TY_UNDEFINED, TY_CHAR,    TY_BOOL,       TY_SHORT,
                                        TY_LONG,      TY_FLOAT,   TY_DOUBLE,     TY_STRING,
                                        TY_TOKEN,     TY_COMMENT, TY_COLLECTION, TY_UNDEFINED};
    return nIndex >= 0 && nIndex < 12 ? kTypes[nIndex] : TY_UNDEFINED;
}

bool IsText(std::uint16_t nType) {
    return nType == TY_STRING || nType == TY_COMMENT;
}

// A copy of a text whose length is taken as a short: from 32,768 characters
// on the allocation asks for a negative size, fails, and ends the process
// through the fatal check.
char* DuplicateText(char const* sz, char const* szCheck) {
    std::size_t const nLength = std::strlen(sz);
    int const nAlloc = static_cast<short>(nLength) + 2;
    char* copy = nullptr;
    if (nAlloc > 0 && static_cast<std::size_t>(nAlloc) > nLength)
        copy = new (std::nothrow) char[static_cast<std::size_t>(nAlloc)];
    SV_FAIL_IF_NIL(copy, szCheck);
    std::memcpy(copy, sz, nLength + 1);
    return copy;
}

[[noreturn]] void Unreadable(char const* szDetail = nullptr) {
    throw Exception(402, szDetail);
}

unsigned char GetByte(std::istream& in) {
    int const c = in.get();
    if (c == std::char_traits<char>::eof()) Unreadable();
    return static_cast<unsigned char>(c);
}

std::uint32_t GetLE(std::istream& in, int nBytes) {
    std::uint32_t value = 0;
    for (int i = 0; i < nBytes; ++i)
        value |= std::uint32_t{GetByte(in)} << (8 * i);
    return value;
}

void PutLE(std::ostream& out, std::uint32_t value, int nBytes) {
    for (int i = 0; i < nBytes; ++i)
        out.put(static_cast<char>((value >> (8 * i)) & 0xFF));
}

// Reads in steps, so that a corrupt length costs no more memory than the
// stream really holds.
char* GetText(std::istream& in, std::uint32_t nLength) {
    constexpr std::uint32_t kStep = 1u << 16;
    std::string data;
    while (data.size() < nLength) {
        std::size_t const want = std::min<std::size_t>(kStep, nLength - data.size());
        std::size_t const at = data.size();
        data.resize(at + want);
        in.read(data.data() + at, static_cast<std::streamsize>(want));
        if (static_cast<std::size_t>(in.gcount()) != want) Unreadable();
    }
    char* sz = new (std::nothrow) char[data.size() + 1];
    SV_FAIL_IF_NIL(sz, "obj.Value.szVal");
    std::memcpy(sz, data.data(), data.size());
    sz[data.size()] = '\0';
    return sz;
}

// A line as getline gives it, cut at its first carriage return.
void GetLine(std::istream& in, char* buf, std::streamsize nSize) {
    in.getline(buf, nSize);
    if (char* cr = std::strchr(buf, '\r')) *cr = '\0';
}

} // namespace

// Value access -----------------------------------------------------------------

void Token::GetValueBytes(unsigned char (&ab)[8]) const {
    std::memcpy(ab, abValue, sizeof ab);
}

// Life -------------------------------------------------------------------------

// The pool of token blocks -----------------------------------------------------

namespace {

// Free blocks, linked through their first word. Plain thread-local words,
// so that they stay usable for deletes that come after the thread's drain;
// in the static thread area, so that reaching them costs no call.
constexpr std::uint32_t kPoolKeep = 1024;
constexpr std::uint32_t kPoolClosed = 0xFFFFFFFF;
__attribute__((tls_model("initial-exec"))) thread_local void* tpvFreeTokens = nullptr;
__attribute__((tls_model("initial-exec"))) thread_local std::uint32_t tnFreeTokens = 0;
__attribute__((tls_model("initial-exec"))) thread_local bool tbDrainArmed = false;

// Gives the kept blocks back when the thread ends, and from then on lets
// every block go straight back to the heap.
struct TokenPoolDrain {
    ~TokenPoolDrain() {
        while (tpvFreeTokens != nullptr) {
            void* const pvNext = *static_cast<void**>(tpvFreeTokens);
            ::operator delete(tpvFreeTokens);
            tpvFreeTokens = pvNext;
        }
        tnFreeTokens = kPoolClosed;
    }
};

void* TakePooledToken() {
    void* const pv = tpvFreeTokens;
    tpvFreeTokens = *static_cast<void**>(pv);
    --tnFreeTokens;
    return pv;
}

bool KeepPooledToken(void* pv) {
    if (tnFreeTokens >= kPoolKeep) return false;
    if (!tbDrainArmed) {
        // The first block kept on this thread arms its drain.
        tbDrainArmed = true;
        static thread_local TokenPoolDrain drain;
        (void)drain;
    }
    *static_cast<void**>(pv) = tpvFreeTokens;
    tpvFreeTokens = pv;
    ++tnFreeTokens;
    return true;
}

} // namespace

void* Token::operator new(std::size_t nSize) {
    if (nSize == sizeof(Token) && tpvFreeTokens != nullptr) return TakePooledToken();
    return ::operator new(nSize);
}

void* Token::operator new(std::size_t nSize, std::nothrow_t const&) noexcept {
    if (nSize == sizeof(Token) && tpvFreeTokens != nullptr) return TakePooledToken();
    return ::operator new(nSize, std::nothrow);
}

void Token::operator delete(void* pv, std::size_t nSize) noexcept {
    if (pv == nullptr) return;
    if (nSize == sizeof(Token) && KeepPooledToken(pv)) return;
    ::operator delete(pv);
}

// Token ------------------------------------------------------------------------

Token::Token() {
    if (nTokenCount++ == 0) InitTokenStrings();
    Initialize();
}

Token::Token(Token const& other) : Createable() {
    ++nTokenCount;
    Initialize();
    Copy(other);
    nRow = kNoPosition;
    nCol = kNoPosition;
}

Token::~Token() {
    UnInitialize();
}

Token& Token::operator=(Token const& other) {
    Copy(other);
    return *this;
}

void Token::Initialize() {
    nDataType = TY_UNDEFINED;
    Put<std::int32_t>(0, 0);
    nRadix = 10;
}

void Token::UnInitialize() {
    KillStringIfNeeded();
    Initialize();
}

void Token::KillStringIfNeeded() {
    if (IsText(nDataType)) Put<std::int32_t>(0, 0);
    delete[] szVal;
    szVal = nullptr;
}

void Token::Copy(Token const& other) {
    if (&other == this) return;
    KillStringIfNeeded();
    nDataType = other.nDataType;
    nRadix = other.nRadix;
    std::memcpy(abValue, other.abValue, sizeof abValue);
    if (IsText(other.nDataType) && other.szVal != nullptr)
        szVal = DuplicateText(other.szVal, "Value.szVal");
}

// Setters ----------------------------------------------------------------------

void Token::SetValue(char c, short nIndex) {
    KillStringIfNeeded();
    nDataType = TY_CHAR;
    Put<char>(Clamp(nIndex, 3), c);
}

void Token::SetValue(short n, short nIndex) {
    KillStringIfNeeded();
    nDataType = TY_SHORT;
    Put<short>(Clamp(nIndex, 3), n);
}

void Token::SetValue(std::int32_t n, short nIndex) {
    KillStringIfNeeded();
    nDataType = TY_LONG;
    Put<std::int32_t>(Clamp(nIndex, 1), n);
}

void Token::SetValue(float f, short nIndex) {
    KillStringIfNeeded();
    nDataType = TY_FLOAT;
    Put<float>(Clamp(nIndex, 1), f);
}

void Token::SetValue(double d) {
    KillStringIfNeeded();
    nDataType = TY_DOUBLE;
    Put<double>(0, d);
}

void Token::SetValue(char const* sz) {
    KillStringIfNeeded();
    if (sz != nullptr && std::strcmp(sz, kEmpty) == 0) {
        nDataType = TY_UNDEFINED;
        return;
    }
    nDataType = TY_STRING;
    Put<std::int32_t>(0, 0);
    if (sz != nullptr) szVal = DuplicateText(sz, "Value.szVal");
}

void Token::SetValueBool(short b) {
    KillStringIfNeeded();
    nDataType = TY_BOOL;
    Put<short>(0, b > 0 ? 1 : 0);
}

void Token::SetValueToken(std::int32_t nCode) {
    KillStringIfNeeded();
    nDataType = TY_TOKEN;
    Put<std::int32_t>(0, nCode);
}

void Token::AdoptValue(char* sz, short) {
    KillStringIfNeeded();
    nDataType = TY_STRING;
    Put<std::int32_t>(0, 0);
    szVal = sz;
}

// Text that does not parse stores the work area's value, which is always 0.
void Token::SetValueFromString(char const* sz) {
    if (sz != nullptr && std::strstr(sz, kEmpty) != nullptr) {
        KillStringIfNeeded();
        nDataType = TY_UNDEFINED;
        return;
    }
    bool const bEmpty = sz == nullptr || *sz == '\0';
    switch (nDataType) {
    case TY_UNDEFINED:
        if (bEmpty) {
            SetValue(0.0);
        } else if (std::strchr(sz, '.') != nullptr) {
            double const d = TextToDouble(sz);
            if (std::isfinite(d) && d == std::trunc(d))
                SetValue(Trunc32(d), 0);
            else
                SetValue(d);
        } else {
            SetValue(TextToLong(sz), 0);
        }
        return;
    case TY_CHAR:
        SetValue(bEmpty ? '\0' : sz[0], 0);
        return;
    case TY_BOOL:
        SetValueBool(TextToLong(sz) != 0 ? 1 : 0);
        return;
    case TY_SHORT:
        SetValue(static_cast<short>(TextToLong(sz)), 0);
        return;
    case TY_FLOAT:
        SetValue(TextToFloat(sz), 0);
        return;
    case TY_DOUBLE:
        SetValue(bEmpty ? 0.0 : TextToDouble(sz));
        return;
    case TY_STRING:
        SetValue(sz);
        return;
    default:
        if (nDataType < 64) SetValue(TextToLong(sz), 0);
        return;
    }
}

// Fetchers ---------------------------------------------------------------------

char Token::FetchChar(short nIndex) const {
    switch (nDataType) {
    case TY_CHAR:
        return Get<char>(nIndex >= 0 && nIndex < 4 ? nIndex : 0);
    case TY_BOOL:
        return Get<short>(0) != 0 ? 1 : 0;
    case TY_SHORT:
        return static_cast<char>(Get<short>(0));
    case TY_LONG:
        return static_cast<char>(Get<std::int32_t>(0));
    case TY_FLOAT:
        return static_cast<char>(Trunc32(Get<float>(0)));
    case TY_DOUBLE:
        return static_cast<char>(Trunc32(Get<double>(0)));
    case TY_STRING:
    case TY_COMMENT:
        return szVal != nullptr ? szVal[0] : '\0';
    default:
        return static_cast<char>(Get<std::int32_t>(0));
    }
}

short Token::FetchShort(short nIndex) const {
    switch (nDataType) {
    case TY_CHAR:
        return Get<char>(0);
    case TY_BOOL:
        return Get<short>(0) != 0 ? 1 : 0;
    case TY_SHORT:
        return Get<short>(Clamp(nIndex, 1));
    case TY_LONG:
        return static_cast<short>(Get<std::int32_t>(0));
    case TY_FLOAT:
        return static_cast<short>(Trunc32(Get<float>(0)));
    case TY_DOUBLE:
        return static_cast<short>(Trunc32(Get<double>(0)));
    case TY_STRING:
    case TY_COMMENT:
        return static_cast<short>(TextToLong(szVal));
    default:
        return static_cast<short>(Get<std::int32_t>(0));
    }
}

std::int32_t Token::FetchLong(short nIndex) const {
    switch (nDataType) {
    case TY_CHAR:
        return Get<char>(0);
    case TY_BOOL:
        return Get<short>(0) != 0 ? 1 : 0;
    case TY_SHORT:
        return Get<short>(0);
    case TY_LONG:
        return Get<std::int32_t>(Clamp(nIndex, 1));
    case TY_FLOAT:
        return Trunc32(Get<float>(0));
    case TY_DOUBLE:
        return Trunc32(Get<double>(0));
    case TY_STRING:
    case TY_COMMENT:
        return TextToLong(szVal);
    default:
        return Get<short>(0);
    }
}

float Token::FetchFloat(short) const {
    switch (nDataType) {
    case TY_FLOAT:
        return Get<float>(0);
    case TY_DOUBLE:
        return static_cast<float>(Get<double>(0));
    case TY_STRING:
    case TY_COMMENT:
        return static_cast<float>(TextToDouble(szVal));
    default:
        return static_cast<float>(FetchDouble());
    }
}

double Token::FetchDouble() const {
    switch (nDataType) {
    case TY_CHAR:
        return Get<char>(0);
    case TY_BOOL:
        return Get<short>(0) != 0 ? 1.0 : 0.0;
    case TY_SHORT:
        return Get<short>(0);
    case TY_LONG:
        return Get<std::int32_t>(0);
    case TY_FLOAT:
        return Get<float>(0);
    case TY_DOUBLE:
        return Get<double>(0);
    case TY_STRING:
    case TY_COMMENT:
        return TextToDouble(szVal);
    default:
        return Get<std::int32_t>(0);
    }
}

short Token::FetchBool() const {
    switch (nDataType) {
    case TY_CHAR:
        return Get<char>(0) != 0 ? 1 : 0;
    case TY_BOOL:
    case TY_SHORT:
        return Get<short>(0) != 0 ? 1 : 0;
    case TY_LONG:
        return Get<std::int32_t>(0) != 0 ? 1 : 0;
    case TY_FLOAT:
        return Get<float>(0) != 0.0f ? 1 : 0;
    case TY_DOUBLE:
        return Get<double>(0) != 0.0 ? 1 : 0;
    case TY_STRING:
    case TY_COMMENT:
        return szVal != nullptr ? 1 : 0;
    default:
        return Get<std::int32_t>(0) != 0 ? 1 : 0;
    }
}

// Text -------------------------------------------------------------------------

std::string Token::TextForm(char nPrecision) const {
    switch (nDataType) {
    case TY_UNDEFINED:
        return kEmpty;
    case TY_CHAR: {
        char const c = Get<char>(0);
        if (nRadix == 16 || nRadix == 8 || nRadix == 2) return Integer(c, nRadix, 1);
        return c != '\0' ? std::string(1, c) : std::string();
    }
    case TY_BOOL:
        return Get<short>(0) != 0 ? "1" : "0";
    case TY_SHORT:
        return Integer(Get<short>(0), nRadix, 2);
    case TY_FLOAT:
        return Real(Get<float>(0), nPrecision);
    case TY_DOUBLE:
        return Real(Get<double>(0), nPrecision);
    case TY_STRING:
    case TY_COMMENT:
        if (szVal == nullptr) return std::string();
        SV_ASSERT(std::strlen(szVal) <= kMaxText, "1==0");
        return szVal;
    case TY_TOKEN: {
        std::int32_t const nCode = Get<std::int32_t>(0);
        InitTokenStrings();
        auto const* sz = static_cast<char const*>(
            pdctTokenStrings->FindKeyNum(static_cast<std::uint32_t>(nCode)));
        return sz != nullptr ? sz : "";
    }
    default:
        return Integer(Get<std::int32_t>(0), nRadix, 4);
    }
}

void Token::FetchAsString(char* buf, char nPrecision) const {
    std::string const text = TextForm(nPrecision);
    std::memcpy(buf, text.c_str(), text.size() + 1);
}

void Token::FetchAsString(char* buf, std::size_t nSize, char nPrecision) const {
    if (nSize == 0) return;
    std::string const text = TextForm(nPrecision);
    std::size_t const n = std::min(text.size(), nSize - 1);
    std::memcpy(buf, text.data(), n);
    buf[n] = '\0';
}

// The text is built whole before it is escaped, so no value runs past a
// fixed work buffer.
void Token::FetchAsStringWithEscapeCharacters(char* buf, char nPrecision) const {
    if (nDataType == TY_COMMENT) {
        FetchAsString(buf, nPrecision);
        return;
    }
    std::string const text = TextForm(nPrecision);
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char const c = text[i];
        switch (c) {
        case '"':
            out += i == 0 || i + 1 == text.size() ? "\"" : "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        default:
            out += c;
        }
    }
    std::memcpy(buf, out.c_str(), out.size() + 1);
}

void Token::FetchStringLiteral(char* buf) const {
    if (nDataType != TY_STRING || (szVal != nullptr && szVal[0] != '"')) {
        FetchAsString(buf, 6);
        return;
    }
    buf[0] = '\0';
    if (szVal == nullptr) return;
    std::size_t const nLength = std::strlen(szVal);
    SV_ASSERT(nLength < kMaxText, "1==0");
    // A lone quotation mark has no last character apart from its first.
    if (nLength < 2) return;
    std::memcpy(buf, szVal + 1, nLength - 2);
    buf[nLength - 2] = '\0';
}

char const* Token::FetchStringPointer() const {
    if (IsText(nDataType)) return szVal;
    FetchAsString(szStringPointer, sizeof szStringPointer, 6);
    return szStringPointer;
}

char const* Token::GetBuffer() const {
    return nDataType == TY_STRING ? szVal : gszEmpty;
}

char const* Token::_get_szVal() const {
    return nDataType == TY_STRING ? szVal : nullptr;
}

char* Token::_get_szVal() {
    return nDataType == TY_STRING ? szVal : nullptr;
}

char* Token::DonateString() {
    char* const sz = szVal;
    szVal = nullptr;
    Put<std::int32_t>(0, 0);
    return sz;
}

short Token::IsStringLiteral() const {
    return nDataType == TY_STRING && szVal != nullptr && szVal[0] == '"' ? 1 : 0;
}

// Matching ---------------------------------------------------------------------

short Token::Match(char c, short nIndex) const {
    return nDataType == TY_CHAR && FetchChar(nIndex) == c ? 1 : 0;
}

short Token::Match(short n, short nIndex) const {
    return nDataType == TY_SHORT && FetchShort(nIndex) == n ? 1 : 0;
}

short Token::Match(std::int32_t n) const {
    return nDataType == TY_LONG && FetchLong(0) == n ? 1 : 0;
}

short Token::Match(float f, short nIndex) const {
    return nDataType == TY_FLOAT && FetchFloat(nIndex) == f ? 1 : 0;
}

short Token::Match(double d) const {
    return nDataType == TY_DOUBLE && FetchDouble() == d ? 1 : 0;
}

short Token::Match(char const* sz) const {
    if (sz == nullptr) return 0;
    if (nDataType == TY_UNDEFINED) return std::strcmp(sz, kEmpty) == 0 ? 1 : 0;
    if (nDataType == TY_STRING && szVal != nullptr) return std::strcmp(szVal, sz) == 0 ? 1 : 0;
    return 0;
}

short Token::MatchBool(short b) const {
    return nDataType == TY_BOOL && FetchBool() == b ? 1 : 0;
}

short Token::MatchToken(std::int32_t nCode) const {
    return nDataType == TY_TOKEN && Get<std::int32_t>(0) == nCode ? 1 : 0;
}

short Token::MatchString(char c) const {
    if (nDataType != TY_STRING || szVal == nullptr) return 0;
    for (char const* p = szVal; *p != '\0'; ++p)
        if (*p != c) return 0;
    return 1;
}

short Token::MatchPrefix(char const* sz) const {
    if (nDataType != TY_STRING || szVal == nullptr || sz == nullptr) return 0;
    return std::strncmp(szVal, sz, std::strlen(sz)) == 0 ? 1 : 0;
}

// Names ------------------------------------------------------------------------

namespace {

struct TypeName {
    std::uint16_t nType;
    char const* szName;
};

constexpr TypeName kTypeNames[] = {
    {TY_UNDEFINED, "TY_UNDEFINED"},
    {TY_CHAR, "TY_CHAR"},
    {TY_BOOL, "TY_BOOL"},
    {TY_SHORT, "TY_SHORT"},
    {TY_LONG, "TY_LONG"},
    {TY_FLOAT, "TY_FLOAT"},
    {TY_DOUBLE, "TY_DOUBLE"},
    {TY_STRING, "TY_STRING"},
    {TY_COMMENT, "TY_COMMENT"},
    {TY_TOKEN, "TY_TOKEN"},
    {TY_COLLECTION, "TY_COLLECTION"},
};

struct TypeAlias {
    char const* szName;
    std::uint16_t nType;
};

constexpr TypeAlias kTypeAliases[] = {
    {"int", TY_SHORT},   {"short", TY_SHORT},   {"long", TY_LONG},
    {"float", TY_FLOAT}, {"double", TY_DOUBLE}, {"char", TY_CHAR},
};

// The words of Print and of the newest text form.
char const* PrintedName(std::uint16_t nType) {
    switch (nType) {
    case TY_CHAR:
        return "Char";
    case TY_BOOL:
        return "Bool";
    case TY_SHORT:
        return "Int16";
    case TY_LONG:
        return "Int32";
    case TY_FLOAT:
        return "Float32";
    case TY_DOUBLE:
        return "Float64";
    case TY_STRING:
        return "String";
    case TY_COMMENT:
        return "Comment";
    case TY_TOKEN:
        return "Token";
    default:
        return "";
    }
}

constexpr TypeAlias kFormNames[] = {
    {"Float64", TY_DOUBLE}, {"Int16", TY_SHORT}, {"String", TY_STRING}, {"Int32", TY_LONG},
    {"Float32", TY_FLOAT},  {"Char", TY_CHAR},   {"Boolean", TY_BOOL},
};

} // namespace

char const* Token::MapTypeToString(short nType, char* buf) {
    char const* szName = "TY_UNDEFINED";
    // The collection's name is known only on the way in.
    if (static_cast<std::uint16_t>(nType) != TY_COLLECTION) {
        for (TypeName const& name : kTypeNames)
            if (name.nType == static_cast<std::uint16_t>(nType)) szName = name.szName;
    }
    if (buf != nullptr) std::strcpy(buf, szName);
    return szName;
}

short Token::MapStringToType(char const* sz) {
    if (sz == nullptr) return 0;
    for (TypeName const& name : kTypeNames)
        if (std::strcmp(sz, name.szName) == 0) return static_cast<short>(name.nType);
    for (TypeAlias const& alias : kTypeAliases)
        if (std::strcmp(sz, alias.szName) == 0) return static_cast<short>(alias.nType);
    return 0;
}

void Token::InitTokenStrings() {
    if (pdctTokenStrings != nullptr) return;
    pdctTokenStrings = new (std::nothrow) CPDictionary(CPDictionary::kSlots);
    SV_FAIL_IF_NIL(pdctTokenStrings, "pdctTokenStrings");
    for (LanguageKeyword const& keyword : LanguageKeywords()) {
        if (!keyword.bPrinted) continue;
        std::size_t const nLength = std::strlen(keyword.szText);
        char* const copy = new char[nLength + 1];
        std::memcpy(copy, keyword.szText, nLength + 1);
        pdctTokenStrings->AddKeyNum(static_cast<std::uint32_t>(keyword.nCode), copy);
    }
}

namespace {
void itDeleteText(void* pvItem, void*) {
    delete[] static_cast<char*>(pvItem);
}
} // namespace

void Token::UninitTokenStrings() {
    if (pdctTokenStrings == nullptr) return;
    pdctTokenStrings->DestroyAll(itDeleteText);
    delete pdctTokenStrings;
    pdctTokenStrings = nullptr;
}

short Token::MapSymbolID2String(std::int32_t nCode, char* buf) {
    InitTokenStrings();
    auto const* sz =
        static_cast<char const*>(pdctTokenStrings->FindKeyNum(static_cast<std::uint32_t>(nCode)));
    if (buf != nullptr) std::strcpy(buf, sz != nullptr ? sz : "");
    return sz != nullptr ? 1 : 0;
}

void Token::SetupReservedSymbols(Scanner* pscn) {
    for (LanguageKeyword const& keyword : LanguageKeywords())
        if (keyword.bReserved) pscn->AddReservedSymbol(keyword.szText, keyword.nCode);
}

// Output and input -------------------------------------------------------------

void Token::Print(std::ostream& out) const {
    out << "R " << nRow << " C " << nCol << ": " << PrintedName(nDataType) << "\n"
        << TextForm(6) << "\n";
}

std::ostream& operator<<(std::ostream& out, Token const& tok) {
    out.put(static_cast<char>((kFormVersion << 4) | TypeIndex(tok.nDataType)));
    PutLE(out, tok.nRow, 2);
    PutLE(out, tok.nCol, 2);
    PutLE(out, tok.nRadix, 2);
    if (IsText(tok.nDataType)) {
        auto const nLength =
            static_cast<std::uint32_t>(tok.szVal != nullptr ? std::strlen(tok.szVal) : 0);
        PutLE(out, nLength, 4);
        PutLE(out, 0, 4);
        out.write(tok.szVal != nullptr ? tok.szVal : "", nLength);
    } else {
        out.write(reinterpret_cast<char const*>(tok.abValue), sizeof tok.abValue);
    }
    return out;
}

namespace {

// The oldest form: the type index alone, then the value as text.
void ReadOldestForm(std::istream& in, signed char nHeader, Token& tok) {
    tok._set_nDataType(IndexType(nHeader));
    switch (nHeader) {
    case 1:
        tok.SetValue(ReadText<char>(in), 0);
        break;
    case 2:
        tok.SetValueBool(ReadText<short>(in));
        break;
    case 3:
        tok.SetValue(ReadText<short>(in), 0);
        break;
    case 4:
        tok.SetValue(ReadText<std::int32_t>(in), 0);
        break;
    case 5:
        tok.SetValue(ReadText<float>(in), 0);
        break;
    case 6:
        tok.SetValue(ReadText<double>(in));
        break;
    case 7: {
        char szLine[256];
        GetLine(in, szLine, sizeof szLine);
        tok.SetValue(szLine);
        break;
    }
    default:
        break;
    }
}

// The type line of the newest text form, whose first letter is the header.
std::uint16_t ReadTextFormType(std::istream& in, signed char nHeader) {
    char szType[82] = {static_cast<char>(nHeader), '\0'};
    if (szType[0] == '\n') {
        szType[0] = '\0';
    } else {
        in.getline(szType + 1, 81);
        if (char* cr = std::strchr(szType, '\r')) *cr = '\0';
    }
    std::uint16_t nType = TY_UNDEFINED;
    bool bKnown = false;
    for (TypeAlias const& name : kFormNames) {
        if (std::strcmp(szType, name.szName) == 0) {
            nType = name.nType;
            bKnown = true;
        }
    }
    if (!bKnown) Unreadable("Unable to determine token data type");
    return nType;
}

// The newest text form: a line naming the type, then the value's line.
void ReadTextForm(std::istream& in, signed char nHeader, Token& tok) {
    std::uint16_t const nType = ReadTextFormType(in, nHeader);
    char szValue[256];
    GetLine(in, szValue, sizeof szValue);
    tok._set_nDataType(nType);
    tok.SetValueFromString(szValue);
}

} // namespace

std::istream& operator>>(std::istream& in, Token& tok) {
    tok.UnInitialize();
    auto const nHeader = static_cast<signed char>(GetByte(in));
    int const nVersion = nHeader / 16;
    if (nVersion >= 1 && nVersion <= 3) {
        tok.nDataType = IndexType(nHeader & 0x0F);
        if (nVersion >= 2) {
            tok.nRow = static_cast<std::uint16_t>(GetLE(in, 2));
            tok.nCol = static_cast<std::uint16_t>(GetLE(in, 2));
        }
        if (nVersion == 3) tok.nRadix = static_cast<unsigned char>(GetLE(in, 2));
        for (unsigned char& b : tok.abValue)
            b = GetByte(in);
        if (IsText(tok.nDataType)) {
            tok.szVal = GetText(in, tok.Get<std::uint32_t>(0));
            tok.Put<std::int32_t>(0, 0);
        }
    } else if (nHeader >= 0 && nHeader <= 9) {
        ReadOldestForm(in, nHeader, tok);
    } else {
        ReadTextForm(in, nHeader, tok);
    }
    if (tok.nDataType == TY_COLLECTION) tok.Put<std::int32_t>(0, 0);
    return in;
}

// Wider integers ---------------------------------------------------------------

namespace {

// A 64-bit caller's integer in the 32-bit value: one that does not fit ends
// the process rather than be stored or compared cut.
template <class T> std::int32_t Narrow(T n) {
    SV_ASSERT(std::in_range<std::int32_t>(n), "n >= LONG_MIN && n <= LONG_MAX");
    return static_cast<std::int32_t>(n);
}

} // namespace

void Token::SetValue(long n, short nIndex) {
    SetValue(Narrow(n), nIndex);
}

void Token::SetValue(unsigned long n, short nIndex) {
    SetValue(Narrow(n), nIndex);
}

void Token::SetValue(long long n, short nIndex) {
    SetValue(Narrow(n), nIndex);
}

void Token::SetValue(bool b) {
    SetValueBool(b ? 1 : 0);
}

short Token::Match(long n) const {
    return Match(Narrow(n));
}

short Token::Match(unsigned long n) const {
    return Match(Narrow(n));
}

short Token::Match(long long n) const {
    return Match(Narrow(n));
}

short Token::Match(bool b) const {
    return MatchBool(b ? 1 : 0);
}

Token::operator unsigned long() const {
    std::int32_t const n = FetchLong(0);
    SV_ASSERT(n >= 0, "n >= 0");
    return static_cast<unsigned long>(n);
}

#include <util/pstring.h>

#include <util/exceptions.h>

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <istream>
#include <ostream>
#include <string>
#include <string_view>

namespace {

constexpr std::uint32_t kNoLength = 0xFFFFFFFF; // -1: measure the text
char gcDummy = '\0';

bool IsSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}
bool IsPunct(char c) {
    return std::ispunct(static_cast<unsigned char>(c)) != 0;
}
char ToUpper(char c) {
    return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}
char ToLower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

// A number's text has a fixed block; a longer one would run past it.
template <class T>
void FormatNumber(char (&out)[CPString::kNumberText], char const* format, T value) {
    int const length = std::snprintf(out, sizeof out, format, value);
    SV_CRIT_ASSERT(length >= 0 && length < static_cast<int>(sizeof out), "nLength < 32");
}

} // namespace

// Construction and storage ---------------------------------------------------

CPString::CPString() = default;

CPString::CPString(std::uint32_t nSize) {
    AllocBuffer();
    pdybuf->GrowTo(nSize);
    DynaBuffer::_set_nDeltaSize(kStringDeltaSize);
}

CPString::CPString(CPString const& other) : Createable(other), pdybuf(other.pdybuf) {
    if (pdybuf != nullptr) pdybuf->AddRef();
}

CPString::CPString(char const* text) {
    AllocBuffer();
    if (text != nullptr) pdybuf->Copy(text, kNoLength);
}

CPString::~CPString() {
    ReleaseBuffer();
    SV_ASSERT(nRefCount == 0, "nRefCount == 0");
}

void CPString::AllocBuffer() {
    if (pdybuf != nullptr) return;
    pdybuf = new DynaBuffer();
    pdybuf->AddRef();
}

// A buffer whose own count is already 0 is left alone, as it always was.
void CPString::ReleaseBuffer() {
    if (pdybuf != nullptr && pdybuf->_get_nRefCount() != 0) pdybuf->Release();
    pdybuf = nullptr;
}

DynaBuffer* CPString::MakeUnique(std::uint32_t size) {
    if (pdybuf == nullptr) {
        AllocBuffer();
    } else {
        pdybuf = pdybuf->Unique(size);
    }
    if (size != 0) pdybuf->GrowTo(size);
    return pdybuf;
}

short CPString::Copy(CPString const& other) {
    return nvCopy(other);
}

short CPString::nvCopy(CPString const& other) {
    // Released first: when other is this string, its handle is null by the
    // time it is read, and the string ends up empty.
    ReleaseBuffer();
    pdybuf = other.pdybuf;
    if (pdybuf != nullptr) pdybuf->AddRef();
    return 1;
}

short CPString::Copy(char const* text, std::uint32_t, std::uint32_t) {
    _set_szBuffer(text);
    return 1;
}

void CPString::_set_szBuffer(char const* text) {
    if (text == nullptr) {
        Clear();
        return;
    }
    MakeUnique()->Copy(text, kNoLength);
}

CPString& CPString::operator=(CPString const& other) {
    Copy(other);
    return *this;
}

CPString& CPString::operator=(char const* text) {
    Copy(text);
    return *this;
}

void CPString::Adopt(char* block, std::int32_t size, char bOwner) {
    MakeUnique()->Adopt(block, size, kNoLength, bOwner);
}

void CPString::Clear() {
    ReleaseBuffer();
}

void CPString::GrowBy(std::int32_t count) {
    MakeUnique()->GrowBy(static_cast<std::uint32_t>(count));
}

void CPString::GrowTo(std::int32_t size) {
    MakeUnique()->GrowTo(static_cast<std::uint32_t>(size));
}

void CPString::_set_nDeltaSize(short size) {
    MakeUnique();
    DynaBuffer::_set_nDeltaSize(size);
}

std::int32_t CPString::_get_nBufferSize() const {
    return pdybuf != nullptr ? pdybuf->_get_nBufferSize() : 0;
}

std::int32_t CPString::Length() const {
    if (pdybuf == nullptr || pdybuf->_get_nLength() == 0) return 0;
    return static_cast<std::int32_t>(pdybuf->_get_nLength() - 1);
}

void CPString::_set_nLength(std::uint32_t length) {
    if (pdybuf != nullptr) pdybuf->_set_nLength(length);
}

std::uint16_t CPString::_get_nCRC() const {
    return pdybuf != nullptr ? pdybuf->_get_nCRC() : 0;
}

char* CPString::GetBuffer() {
    AllocBuffer();
    return pdybuf->GetBuffer();
}

// C-style access -------------------------------------------------------------

void CPString::StrCpy(char* dest, std::uint32_t size) const {
    if (dest == nullptr) return;
    std::int32_t const length = Length();
    if (length == 0) {
        if (size != 0) dest[0] = '\0';
        return;
    }
    // A zero size has no room even for the terminator.
    if (size == 0) return;
    char const* text = pdybuf->GetBuffer();
    std::uint32_t const stored = pdybuf->_get_nLength();
    std::uint32_t const count = size < stored ? size - 1 : static_cast<std::uint32_t>(length);
    std::memcpy(dest, text, count);
    dest[count] = '\0';
}

void CPString::StrCat(char* dest) const {
    if (dest != nullptr && Length() != 0) std::strcat(dest, pdybuf->GetBuffer());
}

int CPString::StrCmp(char const* text) const {
    if (pdybuf == nullptr) return -1;
    return std::strcmp(pdybuf->GetBuffer(), text != nullptr ? text : "");
}

int CPString::SPrintF(char const* szFormat, ...) {
    SV_ASSERT(szFormat != nullptr, "szFormat");
    DynaBuffer* buffer = MakeUnique();
    if (static_cast<std::uint32_t>(buffer->_get_nBufferSize()) < lMaxSprintfSize) {
        buffer->GrowTo(lMaxSprintfSize);
    }
    va_list args;
    va_start(args, szFormat);
    // Bounded by the block; a longer text ends through the fatal check.
    int const retValue = std::vsnprintf(
        buffer->GetBuffer(), static_cast<std::size_t>(buffer->_get_nBufferSize()), szFormat, args);
    va_end(args);
    SV_ASSERT(retValue >= 0 && static_cast<std::uint32_t>(retValue) < lMaxSprintfSize,
              "retValue < lMaxSprintfSize");
    buffer->_set_nLength(static_cast<std::uint32_t>(retValue) + 1);
    return retValue;
}

// Searching ------------------------------------------------------------------

short CPString::ContainsSubString(char const* pattern, std::int32_t* pos, short bFromEnd) const {
    std::int32_t const length = Length();
    if (length == 0 || pattern == nullptr) return 0;
    std::string_view const text(pdybuf->GetBuffer());
    std::string_view const needle(pattern);
    std::size_t found;
    if (bFromEnd != 0) {
        // The last occurrence, found forward in both texts reversed.
        std::string const reversedText(text.rbegin(), text.rend());
        std::string const reversedNeedle(needle.rbegin(), needle.rend());
        std::size_t const r = reversedText.find(reversedNeedle);
        if (r == std::string::npos) return 0;
        found = text.size() - r - needle.size();
    } else {
        found = text.find(needle);
        if (found == std::string_view::npos) return 0;
    }
    if (pos != nullptr) *pos = static_cast<std::int32_t>(found);
    return 1;
}

short CPString::ContainsChar(char c, std::int32_t* pos) const {
    std::int32_t const length = Length();
    char const* text = length != 0 ? pdybuf->GetBuffer() : "";
    for (std::int32_t i = 0; i < length; ++i) {
        if (text[i] == c) {
            if (pos != nullptr) *pos = i;
            return 1;
        }
    }
    return 0;
}

short CPString::FindChar(char c, short bFromEnd) const {
    std::int32_t const length = Length();
    if (length == 0) return -1;
    char const* text = pdybuf->GetBuffer();
    if (bFromEnd != 0) {
        // Index 0 is never tested.
        for (std::int32_t i = length - 1; i >= 1; --i) {
            if (text[i] == c) return static_cast<short>(i);
        }
        return -1;
    }
    if (text[0] == c) return 0;
    // The forward scan never moved past index 0 and so never returned; it
    // ends the process here instead of hanging.
    SV_CRIT_ASSERT(false, "FindChar: scan from start");
    return -1;
}

short CPString::IsNumeric() const {
    std::int32_t const length = Length();
    if (length == 0) return 1;
    char const* text = pdybuf->GetBuffer();
    int points = 0, signs = 0, carets = 0;
    for (std::int32_t i = 0; i < length; ++i) {
        char const c = text[i];
        if (std::isdigit(static_cast<unsigned char>(c)) != 0 || c == 'e' || IsSpace(c)) continue;
        if (c == '.' && ++points <= 1) continue;
        if ((c == '+' || c == '-') && ++signs <= 2) continue;
        if (c == '^' && ++carets <= 1) continue;
        return 0;
    }
    return 1;
}

short CPString::IsWhitespace() const {
    std::int32_t const length = Length();
    char const* text = length != 0 ? pdybuf->GetBuffer() : "";
    for (std::int32_t i = 0; i < length; ++i) {
        if (!IsSpace(text[i])) return 0;
    }
    return 1;
}

std::int32_t CPString::AsInt() const {
    if (Length() == 0) return 0;
    long value = 0;
    if (std::sscanf(pdybuf->GetBuffer(), "%ld", &value) != 1) return 0;
    return static_cast<std::int32_t>(value);
}

double CPString::AsFloat() const {
    if (Length() == 0) return 0.0;
    double value = 0.0;
    if (std::sscanf(pdybuf->GetBuffer(), "%lf", &value) != 1) return 0.0;
    return value;
}

// Extraction and replacement -------------------------------------------------

short CPString::ExtractSubString(CPString* dest, short start, short end) const {
    if (dest == nullptr) return 0;
    if (end < start) {
        *dest = "";
        return 1;
    }
    std::int32_t const length = Length();
    std::int32_t last = end;
    if (last > length - 1) last = length - 1;
    if (length < start) return 0;
    // A negative start would read before the text.
    SV_CRIT_ASSERT(start >= 0, "nStart >= 0");
    std::int32_t const count = last - start + 1;
    // The work area is fixed, so a longer piece ends through the fatal check.
    SV_CRIT_ASSERT(count < static_cast<std::int32_t>(kExtractArea), "nCount < 4096");
    std::string const piece(length != 0 ? pdybuf->GetBuffer() + start : "",
                            static_cast<std::size_t>(count));
    *dest = piece.c_str();
    return 1;
}

short CPString::ExtractBetweenDelimiters(CPString* dest, char open, char close) const {
    std::int32_t openAt = 0, closeAt = 0;
    if (ContainsChar(open, &openAt) == 0 || ContainsChar(close, &closeAt) == 0) return 0;
    std::int32_t const first = openAt + 1;
    std::int32_t const last = closeAt - 1;
    if (first >= last) return 0;
    return ExtractSubString(dest, static_cast<short>(first), static_cast<short>(last));
}

short CPString::ExtractTaggedValue(CPString* dest, char const* tag, char separator,
                                   char quote) const {
    if (dest == nullptr) return 0;
    dest->Clear();
    std::int32_t at = 0;
    if (tag == nullptr || ContainsSubString(tag, &at) == 0) return 0;
    std::string_view const text(pdybuf->GetBuffer());
    std::size_t p = static_cast<std::size_t>(at) + std::strlen(tag);
    for (char const mark : {separator, quote}) {
        if (mark == 0) continue;
        p = text.find(mark, p);
        if (p == std::string_view::npos) return 0;
        ++p;
    }
    // With no quote the value runs to the end; an unclosed quote is accepted.
    std::size_t const stop = quote != 0 ? std::min(text.find(quote, p), text.size()) : text.size();
    if (stop > p) *dest = std::string(text.substr(p, stop - p)).c_str();
    return 1;
}

short CPString::TerminateAfterSubString(char const* pattern) {
    std::int32_t const length = Length();
    if (length == 0 || pattern == nullptr) return 0;
    // The work area is fixed, so a longer text ends through the fatal check.
    SV_CRIT_ASSERT(length < static_cast<std::int32_t>(kTerminateArea), "nLength < 1024");
    std::int32_t at = 0;
    if (ContainsSubString(pattern, &at) == 0) return 0;
    std::string const kept(pdybuf->GetBuffer(),
                           static_cast<std::size_t>(at) + std::strlen(pattern));
    *this = kept.c_str();
    return 1;
}

short CPString::ReplaceSubString(char const* oldText, char const* newText, short bFromEnd) {
    if (oldText == nullptr) return 0;
    if (newText == nullptr) newText = "";
    std::uint32_t const oldLength = static_cast<std::uint32_t>(std::strlen(oldText));
    std::uint32_t const newLength = static_cast<std::uint32_t>(std::strlen(newText));
    // Unsigned on purpose: a shrinking result on a short text wraps and is
    // refused too.
    std::uint32_t const resultLength = static_cast<std::uint32_t>(Length()) + newLength - oldLength;
    if (resultLength >= kReplaceLimit + 1) {
        Exceptions::_get_gexeptnsThe().Message("String length exceeded in ReplaceSubString");
        return 0;
    }
    std::int32_t at = 0;
    if (ContainsSubString(oldText, &at, bFromEnd) == 0) return 0;
    // Exactly 1024 passes the test above but not the work area.
    SV_CRIT_ASSERT(resultLength < kReplaceLimit, "nLength < 1024");
    std::string_view const text(pdybuf->GetBuffer());
    std::string result(text.substr(0, static_cast<std::size_t>(at)));
    result += newText;
    result += text.substr(static_cast<std::size_t>(at) + oldLength);
    *this = result.c_str();
    return 1;
}

short CPString::Substitute(char const* pattern, CPString const& replacement) {
    std::int32_t at = 0;
    if (ContainsSubString(pattern, &at) == 0) return 0;
    std::string_view const text(pdybuf->GetBuffer());
    std::string result(text.substr(0, static_cast<std::size_t>(at)));
    if (replacement.Length() != 0) result += replacement.pdybuf->GetBuffer();
    result += text.substr(static_cast<std::size_t>(at) + std::strlen(pattern));
    *this = result.c_str();
    return 1;
}

short CPString::Split(char separator, short* positions, short bAfterSeparator) const {
    std::int32_t const length = Length();
    positions[0] = 0;
    positions[1] = static_cast<short>(length);
    if (length == 0) return 1;
    char const* text = pdybuf->GetBuffer();
    short fields = 1;
    for (std::int32_t i = 0; i < length; ++i) {
        if (text[i] != separator) continue;
        positions[fields] = static_cast<short>(bAfterSeparator != 0 ? i + 1 : i);
        positions[fields + 1] = static_cast<short>(length);
        ++fields;
    }
    return fields;
}

short CPString::Split(char separator, CPString* p1, CPString* p2, CPString* p3, CPString* p4,
                      CPString* p5, CPString* p6, CPString* p7, CPString* p8) const {
    constexpr int kMaxFields = 8;
    SV_FAIL_IF_NIL(p1, "pstr1");
    std::int32_t const length = Length();
    char const* text = length != 0 ? pdybuf->GetBuffer() : "";
    // The fields had a fixed table; more than eight would have run past it.
    SV_CRIT_ASSERT(std::count(text, text + length, separator) < kMaxFields, "nFields <= 8");
    short positions[kMaxFields + 1];
    short const fields = Split(separator, positions, 0);
    CPString* const targets[kMaxFields] = {p1, p2, p3, p4, p5, p6, p7, p8};
    CPString* last = p1;
    for (short i = 0; i < fields; ++i) {
        short const from = positions[i];
        short const to = static_cast<short>(positions[i + 1] - 1);
        if (targets[i] != nullptr) {
            last = targets[i];
            ExtractSubString(last, from, to);
        } else {
            CPString field;
            ExtractSubString(&field, from, to);
            *last += field;
        }
    }
    return fields;
}

// In-place changes -----------------------------------------------------------

namespace {

template <class Fn> void TransformBytes(DynaBuffer* buffer, std::int32_t length, Fn fn) {
    char* text = buffer->GetBuffer();
    for (std::int32_t i = 0; i < length; ++i)
        text[i] = fn(text[i]);
    buffer->_set_nLength(buffer->_get_nLength()); // the content changed: the CRC is stale
}

} // namespace

void CPString::UpperCase() {
    if (Length() != 0) TransformBytes(MakeUnique(), Length(), ToUpper);
}

void CPString::LowerCase() {
    if (Length() != 0) TransformBytes(MakeUnique(), Length(), ToLower);
}

void CPString::Reverse() {
    std::int32_t const length = Length();
    if (length == 0) return;
    char* text = MakeUnique()->GetBuffer();
    std::reverse(text, text + length);
    pdybuf->_set_nLength(pdybuf->_get_nLength());
}

void CPString::RemoveSpaces() {
    Filter(FILTER_LEADING_SPACE | FILTER_TRAILING_SPACE | FILTER_INNER_SPACE);
}

void CPString::MassagePathSeparators(short bToForward) {
    char const* from = bToForward != 0 ? "\\" : "/";
    char const* to = bToForward != 0 ? "/" : "\\";
    while (ReplaceSubString(from, to, 0) != 0) {
    }
}

namespace {

// A blank goes in where a capital follows a small letter.
std::string SplitAtWordStarts(char const* text, std::int32_t length) {
    std::string split;
    split.reserve(static_cast<std::size_t>(length) * 2);
    for (std::int32_t i = 0; i < length; ++i) {
        if (i > 0 && text[i] >= 'A' && text[i] <= 'Z' && text[i - 1] >= 'a' && text[i - 1] <= 'z')
            split += ' ';
        split += text[i];
    }
    return split;
}

// The last character of substance; from it on the state is trailing. The
// mark is a 16-bit word, so a long text without trailing flags turns
// trailing at 65535.
std::int32_t TrailingMark(char const* text, std::int32_t length, std::int32_t flags) {
    if ((flags & (CPString::FILTER_TRAILING_SPACE | CPString::FILTER_TRAILING_PUNCT)) == 0)
        return 65535;
    std::int32_t mark = length - 1;
    while (mark > 0 && (IsSpace(text[mark]) || IsPunct(text[mark])))
        --mark;
    return mark;
}

// One pass of Filter: each character is dropped or kept, and a kept letter
// may change its case. Leading blanks always go.
class FilterPass {
public:
    FilterPass(std::int32_t flags, std::int32_t mark) : flags_(flags), mark_(mark) {}

    // False when the character at index i is dropped.
    bool Keep(std::int32_t i, char& c) {
        if (i >= mark_) state_ = State::Trailing;
        return state_ == State::Leading ? KeepLeading(c) : KeepLater(c);
    }

private:
    enum class State { Leading, Inner, Trailing };

    bool Has(std::int32_t flags) const { return (flags_ & flags) != 0; }

    bool KeepLeading(char& c) {
        if (IsSpace(c)) return false;
        if (IsPunct(c)) {
            if (Has(CPString::FILTER_LEADING_PUNCT)) return false;
            state_ = State::Inner;
            return true;
        }
        state_ = State::Inner;
        if (Has(CPString::FILTER_CAPITALISE | CPString::FILTER_UPPER)) {
            c = ToUpper(c);
            capitalise_ = false;
        } else if (Has(CPString::FILTER_LOWER)) {
            c = ToLower(c);
        }
        return true;
    }

    bool KeepLater(char& c) {
        bool const inner = state_ == State::Inner;
        if (IsSpace(c)) {
            if (inner) capitalise_ = true;
            return !Has(inner ? CPString::FILTER_INNER_SPACE : CPString::FILTER_TRAILING_SPACE);
        }
        if (IsPunct(c))
            return !Has(inner ? CPString::FILTER_INNER_PUNCT : CPString::FILTER_TRAILING_PUNCT);
        if (Has(CPString::FILTER_CAPITALISE)) {
            c = capitalise_ ? ToUpper(c) : ToLower(c);
            capitalise_ = false;
        } else if (Has(CPString::FILTER_UPPER)) {
            c = ToUpper(c);
        } else if (Has(CPString::FILTER_LOWER)) {
            c = ToLower(c);
        }
        return true;
    }

    std::int32_t flags_;
    std::int32_t mark_;
    State state_ = State::Leading;
    bool capitalise_ = true;
};

} // namespace

short CPString::Filter(std::int32_t flags) {
    std::int32_t const length = Length();
    if (length == 0) return 0;

    if ((flags & FILTER_WORD_SPLIT) != 0) {
        static CPString* pstrScratch = new CPString();
        SV_FAIL_IF_NIL(pstrScratch, "pstrScratch");
        *pstrScratch = SplitAtWordStarts(pdybuf->GetBuffer(), length).c_str();
        *this = *pstrScratch;
        return 0;
    }

    char* text = MakeUnique()->GetBuffer();
    FilterPass pass(flags, TrailingMark(text, length, flags));
    std::int32_t out = 0;
    for (std::int32_t i = 0; i < length; ++i) {
        char c = text[i];
        if (pass.Keep(i, c)) text[out++] = c;
    }
    text[out] = '\0';
    pdybuf->_set_nLength(static_cast<std::uint32_t>(out) + 1);
    return 0;
}

short CPString::MatchRegularExpression(char const*) {
    return 0;
}

short CPString::SubstituteRegularExpression(char const*, char const*, char) {
    return 0;
}

// Operators ------------------------------------------------------------------

namespace {

// Appends count bytes that end in their own terminator, over the old one.
void AppendText(DynaBuffer* buffer, char const* text, std::uint32_t count) {
    std::uint32_t const length = buffer->_get_nLength();
    buffer->AddBuffer(text, count, length != 0 ? length - 1 : kNoLength);
}

} // namespace

CPString& CPString::operator+=(CPString const& other) {
    if (other.Length() == 0) return *this;
    std::uint32_t const otherLength = static_cast<std::uint32_t>(other.Length());
    DynaBuffer* buffer = MakeUnique(static_cast<std::uint32_t>(Length()) + otherLength + 1);
    // Read the other's text only now: when it is this string, the step above
    // may have moved it.
    AppendText(buffer, other.pdybuf->GetBuffer(), otherLength + 1);
    return *this;
}

CPString& CPString::operator+=(char const* text) {
    if (text == nullptr) return *this;
    std::string const copy(text); // text may point into this buffer
    std::uint32_t const count = static_cast<std::uint32_t>(copy.size());
    AppendText(MakeUnique(static_cast<std::uint32_t>(Length()) + count + 1), copy.c_str(),
               count + 1);
    return *this;
}

CPString& CPString::operator+=(char c) {
    AllocBuffer();
    char const pair[2] = {c, '\0'};
    AppendText(pdybuf, pair, 2);
    return *this;
}

template <class T> CPString& CPString::AppendFormatted(char const* format, T value) {
    char number[kNumberText];
    FormatNumber(number, format, value);
    return *this += static_cast<char const*>(number);
}

template <class T> CPString& CPString::AssignFormatted(char const* format, T value) {
    char number[kNumberText];
    FormatNumber(number, format, value);
    return *this = static_cast<char const*>(number);
}

template <class T> CPString CPString::PlusFormatted(T value) const {
    CPString copy(*this);
    copy += value;
    return copy;
}

CPString& CPString::operator+=(int n) {
    return AppendFormatted("%d", n);
}
CPString& CPString::operator+=(long n) {
    return AppendFormatted("%ld", n);
}
CPString& CPString::operator+=(short n) {
    return AppendFormatted("%d", static_cast<int>(n));
}
CPString& CPString::operator+=(float x) {
    return AppendFormatted("%.5f", static_cast<double>(x));
}
CPString& CPString::operator+=(double x) {
    return AppendFormatted("%.6f", x);
}

CPString& CPString::operator=(char c) {
    char const text[2] = {c, '\0'};
    return *this = static_cast<char const*>(text);
}
CPString& CPString::operator=(int n) {
    return AssignFormatted("%d", n);
}
CPString& CPString::operator=(long n) {
    return AssignFormatted("%ld", n);
}
CPString& CPString::operator=(short n) {
    return AssignFormatted("%d", static_cast<int>(n));
}
CPString& CPString::operator=(float x) {
    return AssignFormatted("%.5f", static_cast<double>(x));
}
CPString& CPString::operator=(double x) {
    return AssignFormatted("%.6f", x);
}

CPString CPString::operator+(char c) const {
    return PlusFormatted(c);
}
CPString CPString::operator+(int n) const {
    return PlusFormatted(n);
}
CPString CPString::operator+(long n) const {
    return PlusFormatted(n);
}
CPString CPString::operator+(short n) const {
    return PlusFormatted(n);
}
CPString CPString::operator+(float x) const {
    return PlusFormatted(x);
}
CPString CPString::operator+(double x) const {
    return PlusFormatted(x);
}

char& CPString::operator[](std::int32_t index) const {
    if (pdybuf == nullptr || index < 0) {
        gcDummy = '\0';
        return gcDummy;
    }
    return (*pdybuf)[static_cast<std::uint32_t>(index)];
}

std::int32_t CPString::ReadIStream(std::istream& in) {
    std::streamsize available = in.rdbuf() != nullptr ? in.rdbuf()->in_avail() : 0;
    if (available < 0) available = 0;
    available = std::min<std::streamsize>(available, 0x7FFFFFF0);
    DynaBuffer* buffer = MakeUnique();
    buffer->GrowTo(static_cast<std::uint32_t>(available)); // always one step past: room for the NUL
    in.read(buffer->GetBuffer(), available);
    auto const count = static_cast<std::uint32_t>(in.gcount());
    buffer->GetBuffer()[count] = '\0';
    // The count itself is the raw length, so the last character read does not
    // count in Length(); callers rely on that.
    buffer->_set_nLength(count);
    return static_cast<std::int32_t>(count);
}

std::ostream& operator<<(std::ostream& out, CPString const& str) {
    if (str.pdybuf != nullptr) return out << *str.pdybuf;
    // The form of an empty buffer, written without making one.
    static constexpr char kEmpty[6] = {'\xFF', '\0', '\0', '\0', '\0', '\0'};
    return out.write(kEmpty, sizeof kEmpty);
}

std::istream& operator>>(std::istream& in, CPString& str) {
    str.Clear();
    str.MakeUnique();
    return in >> *str.pdybuf;
}

// Comparison and concatenation -------------------------------------------------

bool operator==(CPString const& a, CPString const& b) {
    DynaBuffer* const left = a._get_pdybuf();
    DynaBuffer* const right = b._get_pdybuf();
    if (left == nullptr || right == nullptr) return false;
    return left->EqualityOperator(right) != 0;
}

bool operator==(CPString const& a, char const* b) {
    if (a._get_pdybuf() == nullptr || b == nullptr) return false;
    return std::strcmp(a._get_pdybuf()->GetBuffer(), b) == 0;
}

bool operator==(char const* a, CPString const& b) {
    return b == a;
}
bool operator!=(CPString const& a, CPString const& b) {
    return !(a == b);
}
bool operator!=(CPString const& a, char const* b) {
    return !(a == b);
}
bool operator!=(char const* a, CPString const& b) {
    return !(b == a);
}

bool operator<(CPString const& a, CPString const& b) {
    std::int32_t const left = a.Length();
    std::int32_t const right = b.Length();
    if (left >= right) return false;
    return left == 0 || std::memcmp(a._get_pdybuf()->GetBuffer(), b._get_pdybuf()->GetBuffer(),
                                    static_cast<std::size_t>(left)) == 0;
}

CPString operator+(CPString const& a, CPString const& b) {
    CPString result(a);
    result += b;
    return result;
}

CPString operator+(CPString const& a, char const* b) {
    CPString result(a);
    result += b;
    return result;
}

CPString operator+(char const* a, CPString const& b) {
    if (a == nullptr) return b;
    CPString result(a);
    result += b;
    return result;
}

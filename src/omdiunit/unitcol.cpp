#include <omdiunit/unitcol.h>

#include <omdiunit/omdiunit.h>
#include <omdiunit/unittables.h>
#include <util/exceptions.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace {

constexpr char const* kUnit = "omdiunit/unitcol";
constexpr int kLineTooBig = 197;
constexpr int kLineNoMemory = 221;
constexpr int kLineUnknownOperator = 885;

// The parser's work areas, shared by every parse: the text with each '*'
// made a terminator, and where each term starts and how long it is.
char szWork[UnitCollection::kMaxText + 1];
short anTermStart[UnitCollection::kMaxTerms];
short anTermLength[UnitCollection::kMaxTerms];

// The exponent as a 32-bit atoi reads it, kept in 16 bits: text that is no
// number gives 0.
short ReadExponent(char const* text) {
    long const n = std::strtol(text, nullptr, 10);
    long const clamped = std::clamp<long>(n, INT_MIN, INT_MAX);
    return static_cast<short>(static_cast<int>(clamped));
}

// Copies the text into the work area and notes the terms. Answers the term
// count, or 0 when there are more terms than the area holds: such a text
// has an empty term, so it would fail anyway.
short SplitTerms(char const* text, std::size_t nLength) {
    short nTerms = 0;
    std::size_t nStart = 0;
    auto note = [&](std::size_t nEnd) {
        if (nTerms == static_cast<short>(UnitCollection::kMaxTerms)) return false;
        anTermStart[nTerms] = static_cast<short>(nStart);
        anTermLength[nTerms] = static_cast<short>(nEnd - nStart);
        ++nTerms;
        return true;
    };
    for (std::size_t i = 0; i < nLength; ++i) {
        szWork[i] = text[i] == '*' ? '\0' : text[i];
        if (text[i] != '*') continue;
        if (!note(i)) return 0;
        nStart = i + 1;
    }
    szWork[nLength] = '\0';
    return note(nLength) ? nTerms : 0;
}

// One term: an exponent after the last '^', then the whole rest as a symbol,
// and failing that the first prefix that starts it and the unit after it.
bool ParseTerm(char* term, short nLength, UnitTerm& result) {
    short nExponent = 1;
    for (short i = static_cast<short>(nLength - 1); i >= 0; --i) {
        if (term[i] != '^') continue;
        term[i] = '\0';
        nExponent = ReadExponent(term + i + 1);
        nLength = i;
        break;
    }
    if (CUnit* pUnit = UnitFindSymbol(term)) {
        result = UnitTerm(-1, nExponent, pUnit);
        return true;
    }
    auto const prefixes = unittables::Prefixes();
    for (std::size_t p = 0; p < prefixes.size(); ++p) {
        char const* szPrefix = UnitTextOf(prefixes[p].Symbol());
        std::size_t const nPrefix = std::strlen(szPrefix);
        if (nPrefix >= static_cast<std::size_t>(nLength) ||
            std::strncmp(term, szPrefix, nPrefix) != 0)
            continue;
        CUnit* pUnit = UnitFindSymbol(term + nPrefix);
        if (pUnit == nullptr) return false;
        result = UnitTerm(static_cast<short>(p), nExponent, pUnit);
        return true;
    }
    return false;
}

bool LessBySymbol(UnitTerm const& a, UnitTerm const& b) {
    int const n = std::strcmp(a.SymbolText(), b.SymbolText());
    return n != 0 ? n < 0 : a.nPrefix < b.nPrefix;
}

bool LessById(UnitTerm const& a, UnitTerm const& b) {
    return (a.pUnit ? a.pUnit->ulId : 0u) < (b.pUnit ? b.pUnit->ulId : 0u);
}

bool SameSymbolAndPrefix(UnitTerm const& a, UnitTerm const& b) {
    return a.nPrefix == b.nPrefix && std::strcmp(a.SymbolText(), b.SymbolText()) == 0;
}

UnitTerm* AllocateTerms(short nCount) {
    if (nCount <= 0) return nullptr;
    auto* pTerms = new (std::nothrow) UnitTerm[static_cast<std::size_t>(nCount)];
    if (pTerms == nullptr) throw FWError(1, kUnit, kLineNoMemory);
    return pTerms;
}

} // namespace

// UnitTerm -------------------------------------------------------------------------

char const* UnitTerm::SymbolText() const {
    return pUnit != nullptr ? UnitTextOf(pUnit->Symbol()) : "";
}

CPString UnitTerm::Text() const {
    CPString text("");
    if (nPrefix >= 0) text += UnitTextOf(unittables::PrefixAt(nPrefix).Symbol());
    text += SymbolText();
    if (nExponent != 1) {
        char szExponent[16];
        std::snprintf(szExponent, sizeof szExponent, "^%d", nExponent);
        text += szExponent;
    }
    return text;
}

// UnitCollection -------------------------------------------------------------------

UnitCollection::UnitCollection(UnitCollection const& other) {
    *this = other;
}

UnitCollection& UnitCollection::operator=(UnitCollection const& other) {
    if (this == &other) return *this;
    UnitTerm* pNew = AllocateTerms(other.nCount);
    std::copy(other.pTerms, other.pTerms + std::max<short>(other.nCount, 0), pNew);
    Adopt(pNew, other.nCount);
    return *this;
}

UnitCollection::~UnitCollection() {
    delete[] pTerms;
}

void UnitCollection::Adopt(UnitTerm* pNew, short nNew) {
    delete[] pTerms;
    pTerms = pNew;
    nCount = nNew;
}

UnitTerm& UnitCollection::Term(short nIndex) {
    SV_ASSERT(nIndex >= 0 && nIndex < nCount, "nIndex < nCount");
    return pTerms[nIndex];
}

UnitTerm const& UnitCollection::Term(short nIndex) const {
    SV_ASSERT(nIndex >= 0 && nIndex < nCount, "nIndex < nCount");
    return pTerms[nIndex];
}

short UnitCollection::Parse(CPString const& text) {
    char const* sz = UnitTextOf(text);
    std::size_t const nLength = std::strlen(sz);
    if (nLength > kMaxText) throw FWError("unit string too big", kUnit, kLineTooBig);
    short const nTerms = SplitTerms(sz, nLength);
    if (nTerms == 0) return 0;
    // Held until every term has parsed: a failing or throwing term frees it.
    std::unique_ptr<UnitTerm[]> pNew(AllocateTerms(nTerms));
    for (short i = 0; i < nTerms; ++i)
        if (!ParseTerm(szWork + anTermStart[i], anTermLength[i], pNew[i])) return 0;
    Adopt(pNew.release(), nTerms);
    return 1;
}

void UnitCollection::SortBy(bool (*pfnLess)(UnitTerm const&, UnitTerm const&)) {
    if (nCount > 1) std::sort(pTerms, pTerms + nCount, pfnLess);
}

void UnitCollection::Simplify() {
    SortBy(LessBySymbol);
    short nNeighbours = 0;
    for (short i = 1; i < nCount; ++i)
        if (SameSymbolAndPrefix(pTerms[i - 1], pTerms[i])) ++nNeighbours;
    if (nNeighbours == 0) return;

    UnitTerm* pNew = AllocateTerms(nCount);
    short nNew = 0;
    for (short i = 0; i < nCount; ++i) {
        if (nNew > 0 && SameSymbolAndPrefix(pNew[nNew - 1], pTerms[i]))
            pNew[nNew - 1].nExponent =
                static_cast<short>(pNew[nNew - 1].nExponent + pTerms[i].nExponent);
        else
            pNew[nNew++] = pTerms[i];
    }
    short nKept = 0;
    for (short i = 0; i < nNew; ++i)
        if (pNew[i].nExponent != 0) pNew[nKept++] = pNew[i];
    Adopt(pNew, nKept);
}

UnitCollection UnitCollection::Numerator() const {
    UnitCollection result;
    UnitTerm* pNew = AllocateTerms(nCount);
    short nNew = 0;
    for (short i = 0; i < nCount; ++i)
        if (pTerms[i].nExponent > 0) pNew[nNew++] = pTerms[i];
    result.Adopt(pNew, nNew);
    return result;
}

UnitCollection UnitCollection::Denominator() const {
    UnitCollection result;
    UnitTerm* pNew = AllocateTerms(nCount);
    short nNew = 0;
    for (short i = 0; i < nCount; ++i)
        if (pTerms[i].nExponent < 0) pNew[nNew++] = pTerms[i];
    result.Adopt(pNew, nNew);
    return result;
}

void UnitCollection::Invert() {
    for (short i = 0; i < nCount; ++i)
        pTerms[i].nExponent = static_cast<short>(-pTerms[i].nExponent);
}

UnitCollection UnitCollection::Concatenate(UnitCollection const& right) const {
    int const nTotal = nCount + right.nCount;
    SV_ASSERT(nTotal <= SHRT_MAX, "nCount + right.nCount <= 32767");
    UnitCollection result;
    UnitTerm* pNew = AllocateTerms(static_cast<short>(nTotal));
    std::copy(pTerms, pTerms + nCount, pNew);
    std::copy(right.pTerms, right.pTerms + right.nCount, pNew + nCount);
    result.Adopt(pNew, static_cast<short>(nTotal));
    return result;
}

bool UnitCollection::operator==(UnitCollection const& other) const {
    UnitCollection left(*this);
    UnitCollection right(other);
    left.Simplify();
    right.Simplify();
    if (left.nCount != right.nCount) return false;
    return std::equal(left.pTerms, left.pTerms + left.nCount, right.pTerms);
}

CPString UnitCollection::Text() const {
    CPString text("");
    for (short i = 0; i < nCount; ++i) {
        if (i > 0) text += "*";
        text += pTerms[i].Text();
    }
    return text;
}

double UnitCollection::Reduce() {
    SortBy(LessById);
    double dFactor = 1.0;
    // Held until the end: a dropped term of another dimension throws.
    std::unique_ptr<UnitTerm[]> pNew(AllocateTerms(nCount));
    short nNew = 0;
    for (short i = 0; i < nCount; ++i) {
        if (nNew > 0 && !LessById(pNew[nNew - 1], pTerms[i]))
            dFactor = Convert(dFactor, pTerms[i].Text(), pNew[nNew - 1].Text(), 0);
        else
            pNew[nNew++] = pTerms[i];
    }
    Adopt(pNew.release(), nNew);
    return dFactor;
}

// Operations on unit texts -------------------------------------------------------------

short UnitOperation(CPString const& left, CPString const& right, char cOperator,
                    CPString& resultText, short* pbSameUnit) {
    if (cOperator != '*' && cOperator != '/' && cOperator != '+' && cOperator != '-')
        throw FWError("unknown unit operator", kUnit, kLineUnknownOperator);
    UnitCollection a;
    UnitCollection b;
    if (!a.Parse(left) || !b.Parse(right)) return 0;
    if (cOperator == '*' || cOperator == '/') {
        if (cOperator == '/') b.Invert();
        UnitCollection product = a.Concatenate(b);
        product.Simplify();
        resultText = product.Text();
        return 1;
    }
    a.Simplify();
    b.Simplify();
    if (IdFromString(a.Text()) != IdFromString(b.Text())) return 0;
    resultText = left;
    if (pbSameUnit != nullptr) *pbSameUnit = a == b ? 1 : 0;
    return 1;
}

short UnitSplit(CPString const& text, CPString& numerator, CPString& denominator) {
    UnitCollection terms;
    if (!terms.Parse(text)) return 0;
    numerator = terms.Numerator().Text();
    UnitCollection below = terms.Denominator();
    below.Invert();
    denominator = below.Text();
    return 1;
}

short UnitExpand(CPString const& text, CPString& expanded) {
    UnitCollection terms;
    if (!terms.Parse(text)) return 0;
    CPString result("");
    for (short i = 0; i < terms.Count(); ++i) {
        UnitTerm const& term = terms.Term(i);
        UnitCollection formula;
        bool const bExpand = term.nPrefix < 0 && term.pUnit != nullptr &&
                             term.pUnit->Composit().Length() > 0 &&
                             formula.Parse(term.pUnit->Composit());
        if (!bExpand) formula = UnitCollection();
        for (short j = 0; j < (bExpand ? formula.Count() : 1); ++j) {
            UnitTerm part = bExpand ? formula.Term(j) : term;
            if (bExpand) part.nExponent = static_cast<short>(part.nExponent * term.nExponent);
            if (result.Length() > 0) result += "*";
            char szExponent[16];
            std::snprintf(szExponent, sizeof szExponent, "^%d", part.nExponent);
            UnitTerm bare = part;
            bare.nExponent = 1;
            result += bare.Text();
            result += szExponent;
        }
    }
    expanded = result;
    return 1;
}

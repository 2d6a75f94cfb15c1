#include <omdiunit/unitpriv.h>

#include <omdiunit/omdiunit.h>

#include <cstdio>
#include <cstring>

namespace {

constexpr char const* kUnit = "omdiunit/unitpriv";
constexpr int kLineInternal = 38;

UnitHashTable* ptableSymbols = nullptr;

void DeleteString(CPString*& pstr) {
    delete pstr;
    pstr = nullptr;
}

} // namespace

// CUnit ----------------------------------------------------------------------

CPString& CUnit::EmptyString() {
    // Never deleted: units answer it until the process ends.
    static CPString* pstrEmpty = new CPString();
    return *pstrEmpty;
}

CPString& CUnit::Lazy(CPString*& pstr) {
    if (pstr == nullptr) pstr = new CPString();
    return *pstr;
}

void CUnit::Fill(CPString& str, char const* text) {
    str = text;
}

CPString& CUnit::What() {
    return EmptyString();
}
CPString& CUnit::Name() {
    return EmptyString();
}
CPString& CUnit::Symbol() {
    return EmptyString();
}
CPString& CUnit::Composit() {
    return EmptyString();
}
double CUnit::Factor() {
    return 1.0;
}
double CUnit::Offset() {
    return 0.0;
}

CPString& CUnit::DimensionText() {
    static CPString strText;
    strText = StringFromId(ulId);
    return strText;
}

// The built-in classes ---------------------------------------------------------

CSIBaseUnit::CSIBaseUnit(std::uint32_t id, char const* what, char const* name, char const* symbol)
    : CUnit(id) {
    Fill(What(), what);
    Fill(Name(), name);
    Fill(Symbol(), symbol);
}
CSIBaseUnit::~CSIBaseUnit() {
    DeleteString(pstrWhat);
    DeleteString(pstrName);
    DeleteString(pstrSymbol);
}

CSIDerivedUnit::CSIDerivedUnit(std::uint32_t id, char const* what, char const* name) : CUnit(id) {
    Fill(What(), what);
    Fill(Name(), name);
}
CSIDerivedUnit::~CSIDerivedUnit() {
    DeleteString(pstrWhat);
    DeleteString(pstrName);
}

CSIDerivedAUnit::CSIDerivedAUnit(std::uint32_t id, char const* what, char const* name,
                                 char const* symbol, char const* composit)
    : CSIDerivedAUnit(id, what, name, symbol) {
    Fill(Composit(), composit);
}
CSIDerivedAUnit::CSIDerivedAUnit(std::uint32_t id, char const* what, char const* name,
                                 char const* symbol)
    : CUnit(id) {
    Fill(What(), what);
    Fill(Name(), name);
    Fill(Symbol(), symbol);
}
CSIDerivedAUnit::~CSIDerivedAUnit() {
    DeleteString(pstrWhat);
    DeleteString(pstrName);
    DeleteString(pstrSymbol);
    DeleteString(pstrComposit);
}

CSIDerivedBUnit::CSIDerivedBUnit(std::uint32_t id, char const* what, char const* composit)
    : CUnit(id) {
    Fill(What(), what);
    Fill(Composit(), composit);
}
CSIDerivedBUnit::~CSIDerivedBUnit() {
    DeleteString(pstrWhat);
    DeleteString(pstrComposit);
}

ScaledUnitData::ScaledUnitData(char const* name, char const* symbol, double factor, double offset)
    : dFactor(factor), dOffset(offset) {
    Name() = name;
    Symbol() = symbol;
}
ScaledUnitData::~ScaledUnitData() {
    DeleteString(pstrName);
    DeleteString(pstrSymbol);
}
CPString& ScaledUnitData::Name() {
    if (pstrName == nullptr) pstrName = new CPString();
    return *pstrName;
}
CPString& ScaledUnitData::Symbol() {
    if (pstrSymbol == nullptr) pstrSymbol = new CPString();
    return *pstrSymbol;
}

UnitPrefix::UnitPrefix(short power, char const* name, char const* symbol) : nPower(power) {
    Name() = name;
    Symbol() = symbol;
}
UnitPrefix::~UnitPrefix() {
    DeleteString(pstrName);
    DeleteString(pstrSymbol);
}
CPString& UnitPrefix::Name() {
    if (pstrName == nullptr) pstrName = new CPString();
    return *pstrName;
}
CPString& UnitPrefix::Symbol() {
    if (pstrSymbol == nullptr) pstrSymbol = new CPString();
    return *pstrSymbol;
}

// UnitHashTable ----------------------------------------------------------------

std::uint32_t UnitSymbolHash(char const* key, std::uint32_t nBuckets) {
    SV_ASSERT(nBuckets != 0, "nBuckets != 0");
    if (key == nullptr) return 0;
    auto const nLength = static_cast<std::uint16_t>(std::strlen(key));
    if (nLength == 0) return 0;
    auto const* bytes = reinterpret_cast<unsigned char const*>(key);
    std::uint32_t nSum = 0;
    std::uint32_t const nWords = nLength / 4u;
    for (std::uint32_t i = 0; i < nWords; ++i) {
        unsigned char const* w = bytes + 4 * i;
        nSum += static_cast<std::uint32_t>(w[0]) | static_cast<std::uint32_t>(w[1]) << 8 |
                static_cast<std::uint32_t>(w[2]) << 16 | static_cast<std::uint32_t>(w[3]) << 24;
    }
    for (std::uint32_t i = nWords * 4; i < nLength; ++i)
        nSum += bytes[i];
    nSum += nLength;
    return nSum % nBuckets;
}

UnitHashTable::UnitHashTable(std::uint32_t nBucketCount, UnitHashFunction pfnHashIn,
                             UnitCompareFunction pfnCompareIn)
    : pfnHash(pfnHashIn), pfnCompare(pfnCompareIn), nBuckets(nBucketCount) {
    SV_ASSERT(nBuckets != 0, "nBuckets != 0");
    SV_FAIL_IF_NIL(pfnHash, "pfnHash");
    SV_FAIL_IF_NIL(pfnCompare, "pfnCompare");
    pBuckets = new HashList[nBuckets];
}

UnitHashTable::~UnitHashTable() {
    delete[] pBuckets;
}

HashList& UnitHashTable::Bucket(char const* key) {
    std::uint32_t const nIndex = pfnHash(key, nBuckets);
    SV_ASSERT(nIndex < nBuckets, "nIndex < nBuckets");
    return pBuckets[nIndex];
}

HashPair* UnitHashTable::Add(HashPair const& pair) {
    HashList& list = Bucket(pair.key);
    for (std::uint16_t i = 0; i < list.Count(); ++i)
        if (pfnCompare(list[i].key, pair.key) == 0) return &list[i];
    std::uint16_t const nIndex = list.Append(pair);
    ++nEntries;
    return &list[nIndex];
}

HashPair* UnitHashTable::Find(char const* key) {
    if (key == nullptr) return nullptr;
    HashList& list = Bucket(key);
    for (std::uint16_t i = 0; i < list.Count(); ++i)
        if (pfnCompare(list[i].key, key) == 0) return &list[i];
    return nullptr;
}

void UnitHashTable::Remove(char const* key) {
    if (key == nullptr) return;
    HashList& list = Bucket(key);
    for (std::uint16_t i = 0; i < list.Count(); ++i) {
        if (pfnCompare(list[i].key, key) != 0) continue;
        for (std::uint16_t j = i; j + 1 < list.Count(); ++j)
            list[j] = list[static_cast<std::uint16_t>(j + 1)];
        list.RemoveLast();
        --nEntries;
        return;
    }
}

void UnitHashTable::ForEach(void (*pfn)(HashPair& pair, void* pvArg), void* pvArg) {
    SV_FAIL_IF_NIL(pfn, "pfn");
    for (std::uint32_t b = 0; b < nBuckets; ++b)
        for (std::uint16_t i = 0; i < pBuckets[b].Count(); ++i)
            pfn(pBuckets[b][i], pvArg);
}

// The library's shared state -----------------------------------------------------

void UnitInternalError(char const* text, char const* detail, int line) {
    char szText[256];
    std::snprintf(szText, sizeof szText, "internal error : %.100s (%.100s) line %d",
                  text != nullptr ? text : "", detail != nullptr ? detail : "", line);
    throw FWError(szText, kUnit, kLineInternal);
}

UnitHashTable* UnitSymbolTable() {
    return ptableSymbols;
}

void UnitSetSymbolTable(UnitHashTable* ptable) {
    ptableSymbols = ptable;
}

CUnit* UnitFindSymbol(char const* symbol) {
    if (ptableSymbols == nullptr)
        UnitInternalError("no symbol table", "UnitInitialize not called", __LINE__);
    HashPair* pair = ptableSymbols->Find(symbol);
    return pair != nullptr ? pair->value : nullptr;
}

char const* UnitTextOf(CPString const& str) {
    DynaBuffer* pdybuf = str._get_pdybuf();
    if (pdybuf == nullptr || pdybuf->_get_nLength() == 0) return "";
    return pdybuf->GetBuffer();
}

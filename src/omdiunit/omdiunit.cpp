#include <omdiunit/omdiunit.h>

#include <omdiunit/cunitid.h>
#include <omdiunit/cuserunit.h>
#include <omdiunit/unitcol.h>
#include <omdiunit/unitpriv.h>
#include <omdiunit/unittables.h>
#include <util/exceptions.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace {

constexpr char const* kUnit = "omdiunit/omdiunit";
constexpr int kLineNotSameType = 569;
constexpr std::uint32_t kSymbolBuckets = 64;
constexpr std::size_t kQuantities = 45;
constexpr std::size_t kIdTextArea = 64;

std::uint16_t bInitialized = 0;
std::array<CUnit*, kQuantities> apunitQuantities{};

int CompareSymbols(char const* a, char const* b) {
    return std::strcmp(a, b);
}

// Steps of UnitInitialize ------------------------------------------------------

template <class Units> void AppendUnits(Units units, std::size_t& nAt) {
    for (auto& unit : units)
        apunitQuantities[nAt++] = &unit;
}

void FillQuantities() {
    std::size_t nAt = 0;
    AppendUnits(unittables::SIBaseUnits(), nAt);
    AppendUnits(unittables::SIDerivedUnits(), nAt);
    AppendUnits(unittables::SIDerivedAUnits(), nAt);
    AppendUnits(unittables::SIDerivedBUnits(), nAt);
    SV_ASSERT(nAt == kQuantities, "nTypes == 45");
    std::sort(apunitQuantities.begin(), apunitQuantities.end(),
              [](CUnit const* a, CUnit const* b) { return a->ulId < b->ulId; });
}

void AddSymbol(UnitHashTable& table, CUnit& unit) {
    table.Add(HashPair{UnitTextOf(unit.Symbol()), &unit});
}

template <class Units> void AddSymbols(UnitHashTable& table, Units units) {
    for (auto& unit : units)
        AddSymbol(table, unit);
}

// The order decides every clash of symbols: the first claim wins.
UnitHashTable* BuildSymbolTable() {
    auto* ptable = new UnitHashTable(kSymbolBuckets, UnitSymbolHash, CompareSymbols);
    AddSymbols(*ptable, unittables::SIBaseUnits());
    AddSymbols(*ptable, unittables::SIDerivedAUnits());
    AddSymbols(*ptable, unittables::SIOtherUnits());
    AddSymbols(*ptable, unittables::OtherUnits());
    AddSymbols(*ptable, unittables::OtherWUnits());
    return ptable;
}

void AddUserUnit(CUserUnit* puu, void* pvTable) {
    AddSymbol(*static_cast<UnitHashTable*>(pvTable), *puu);
}

CUnit* FindQuantity(std::uint32_t ulId) {
    auto it = std::lower_bound(apunitQuantities.begin(), apunitQuantities.end(), ulId,
                               [](CUnit const* p, std::uint32_t id) { return p->ulId < id; });
    return it != apunitQuantities.end() && (*it)->ulId == ulId ? *it : nullptr;
}

// Conversion steps ---------------------------------------------------------------

// The factor, offset and exponent of one term, with the offset dropped for a
// difference and inside a compound unit.
struct TermScale {
    double f;
    double o;
    short e;
    double dPrefix;
    bool bGram;
};

TermScale ScaleOf(UnitTerm const& term, short nTerms, short bDifference) {
    TermScale scale{term.pUnit->Factor(), term.pUnit->Offset(), term.nExponent, 1.0, false};
    if (bDifference != 0 || nTerms > 1) scale.o = 0.0;
    if (term.nPrefix >= 0) {
        int const nPower = term.nExponent * unittables::PrefixAt(term.nPrefix).Power();
        scale.dPrefix = nPower == 2 ? 10.0 * 10.0 : std::pow(10.0, nPower);
    }
    scale.bGram = term.pUnit == unittables::GramUnit();
    return scale;
}

double PowerOf(double f, short e) {
    return e == 1 ? f : std::pow(f, e);
}

} // namespace

// Tables ------------------------------------------------------------------------------

void UnitInitialize(char const* szFileName) {
    if (bInitialized != 0) return;
    bInitialized = 1;
    std::ifstream file;
    if (szFileName != nullptr) file.open(szFileName);
    FillQuantities();
    UnitHashTable* ptable = BuildSymbolTable();
    UnitSetSymbolTable(ptable);
    if (file.is_open()) {
        CUserUnit::ReadUnits(file, AddUserUnit, ptable);
        file.close();
    }
}

void UnitUnInitialize() {
    UnitHashTable* ptable = UnitSymbolTable();
    if (ptable == nullptr) return;
    delete ptable;
    UnitSetSymbolTable(nullptr);
    bInitialized = 0;
}

CPString UnitDefaultUserFile() {
    CPString path("");
    char const* szConfig = std::getenv("XDG_CONFIG_HOME");
    if (szConfig != nullptr && szConfig[0] != '\0') {
        path = szConfig;
    } else {
        char const* szHome = std::getenv("HOME");
        path = szHome != nullptr ? szHome : "";
        path += "/.config";
    }
    path += "/orveltech/units.txt";
    return path;
}

CPString UnitWhat(std::uint32_t ulId) {
    if ((ulId & unitid::kUserMask) != 0) return CUserUnit::DimensionName();
    CUnit* punit = FindQuantity(ulId);
    return punit != nullptr ? punit->What() : CPString("");
}

CPString UnitSymbol(std::uint32_t ulId) {
    if ((ulId & unitid::kUserMask) != 0) return CUserUnit::DimensionSymbol();
    CUnit* punit = FindQuantity(ulId);
    return punit != nullptr ? punit->Symbol() : CPString("");
}

CPString UnitComposit(std::uint32_t ulId) {
    CUnit* punit = FindQuantity(ulId);
    if (punit == nullptr) return CPString("");
    if (punit->Composit().Length() == 0) return StringFromId(ulId);
    return punit->Composit();
}

int UnitQuantityCount() {
    return static_cast<int>(kQuantities);
}

std::uint32_t IdFromType(int nIndex) {
    SV_ASSERT(nIndex >= 0 && nIndex < static_cast<int>(kQuantities), "nIndex < 45");
    SV_FAIL_IF_NIL(apunitQuantities[static_cast<std::size_t>(nIndex)], "pUnit");
    return apunitQuantities[static_cast<std::size_t>(nIndex)]->ulId;
}

CPString StringFromType(int nIndex) {
    return StringFromId(IdFromType(nIndex));
}

// Reading and writing dimensions ----------------------------------------------------------

std::uint32_t IdFromString(CPString const& strUnit) {
    UnitCollection terms;
    if (!terms.Parse(strUnit)) return 0;
    CUnitId sum;
    for (short i = 0; i < terms.Count(); ++i) {
        UnitTerm const& term = terms.Term(i);
        CUnitId id(term.pUnit->ulId);
        sum *= id.pow(term.nExponent);
    }
    return static_cast<std::uint32_t>(sum);
}

std::uint32_t xIdFromString(CPString const& strUnit) {
    try {
        return IdFromString(strUnit);
    } catch (FWError const&) {
        return 0;
    }
}

CPString StringFromId(std::uint32_t ulId) {
    CUnitId const id(ulId);
    struct Part {
        char cExponent;
        char const* szSymbol;
    };
    Part const parts[] = {
        {id.Length_Get(), "m"},      {id.Mass_Get(), "kg"},
        {id.Time_Get(), "s"},        {id.Current_Get(), "A"},
        {id.Temperature_Get(), "K"}, {id.Substance_Get(), "mol"},
        {id.Intensity_Get(), "cd"},  {id.User_Get(), UnitTextOf(CUserUnit::DimensionSymbol())},
    };
    char szText[kIdTextArea];
    std::size_t nLength = 0;
    szText[0] = '\0';
    for (Part const& part : parts) {
        if (part.cExponent == 0) continue;
        char szPart[kIdTextArea];
        int const n =
            part.cExponent == 1
                ? std::snprintf(szPart, sizeof szPart, "%s%s", nLength ? "*" : "", part.szSymbol)
                : std::snprintf(szPart, sizeof szPart, "%s%s^%d", nLength ? "*" : "", part.szSymbol,
                                part.cExponent);
        // The text area is fixed; a user symbol too long for it ends here.
        SV_CRIT_ASSERT(n >= 0 && nLength + static_cast<std::size_t>(n) < kIdTextArea,
                       "nLength < 64");
        std::memcpy(szText + nLength, szPart, static_cast<std::size_t>(n) + 1);
        nLength += static_cast<std::size_t>(n);
    }
    return CPString(szText);
}

namespace {

// "square kilometer": the exponent's word, the prefix's name, the unit's name.
CPString Describe(UnitTerm const& term) {
    CPString text("");
    int const nSize = std::abs(static_cast<int>(term.nExponent));
    auto const words = unittables::ExponentWords();
    if (nSize != 1 && static_cast<std::size_t>(nSize) < words.size()) {
        text += words[static_cast<std::size_t>(nSize)];
        text += " ";
    }
    if (term.nPrefix >= 0) text += unittables::PrefixAt(term.nPrefix).Name();
    text += term.pUnit->Name();
    return text;
}

} // namespace

CPString UnitGetInfo(CPString const& strUnit) {
    UnitCollection terms;
    CPString info("");
    if (!terms.Parse(strUnit)) return info;
    short nDescribed = 0;
    for (short i = 0; i < terms.Count(); ++i) {
        if (terms.Term(i).nExponent <= 0) continue;
        if (i > 0) info += " ";
        info += Describe(terms.Term(i));
        ++nDescribed;
    }
    if (nDescribed < terms.Count()) {
        info += " ";
        info += unittables::ExponentWords()[1];
        for (short i = 0; i < terms.Count(); ++i) {
            if (terms.Term(i).nExponent >= 0) continue;
            info += " ";
            info += Describe(terms.Term(i));
        }
    }
    return info;
}

// Conversion ----------------------------------------------------------------------------------

double ConvertToSI(double const& dValue, CPString const& strUnit, short bDifference) {
    UnitCollection terms;
    if (!terms.Parse(strUnit)) return 0.0;
    return ConvertToSI(dValue, terms, bDifference);
}

double ConvertToSI(double const& dValue, UnitCollection const& terms, short bDifference) {
    double value = dValue;
    for (short i = static_cast<short>(terms.Count() - 1); i >= 0; --i) {
        TermScale const s = ScaleOf(terms.Term(i), terms.Count(), bDifference);
        if (s.o == 0.0 || s.e != 1)
            value *= PowerOf(s.f, s.e);
        else
            value = value * s.f + s.o;
        value *= s.dPrefix;
        if (s.bGram) value *= std::pow(0.001, s.e);
    }
    return value;
}

double ConvertFromSI(double const& dValue, CPString const& strUnit, short bDifference) {
    UnitCollection terms;
    if (!terms.Parse(strUnit)) return 0.0;
    return ConvertFromSI(dValue, terms, bDifference);
}

double ConvertFromSI(double const& dValue, UnitCollection const& terms, short bDifference) {
    double value = dValue;
    for (short i = static_cast<short>(terms.Count() - 1); i >= 0; --i) {
        TermScale const s = ScaleOf(terms.Term(i), terms.Count(), bDifference);
        if (s.o == 0.0 || s.e != 1)
            value /= PowerOf(s.f, s.e);
        else
            value = (value - s.o) / s.f;
        value /= s.dPrefix;
        if (s.bGram) value /= std::pow(0.001, s.e);
    }
    return value;
}

double UnitRound(double x, double dGrain) {
    if (x == 0.0) return 0.0;
    double const l = std::log10(std::fabs(x));
    if (l < 0.0) {
        double const dDigits = std::min(std::trunc(1.0 - l), 65535.0);
        auto const n = static_cast<std::uint16_t>(dDigits);
        dGrain /= std::pow(10.0, n);
    }
    double const hi = std::ceil(x / dGrain) * dGrain;
    double const lo = std::ceil(x / -dGrain) * -dGrain;
    return hi - x > x - lo ? lo : hi;
}

double Convert(double const& dValue, CPString const& strFrom, CPString const& strTo,
               short bDifference) {
    if (std::strcmp(UnitTextOf(strFrom), UnitTextOf(strTo)) == 0) return dValue;
    if (IdFromString(strFrom) != IdFromString(strTo))
        throw FWError("not same type", kUnit, kLineNotSameType);
    double const dSI = ConvertToSI(dValue, strFrom, bDifference);
    return UnitRound(ConvertFromSI(dSI, strTo, bDifference), kUnitConvertGrain);
}

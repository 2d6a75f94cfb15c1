#include <baseobj/unitstr.h>

#include <baseobj/cxcache.h>
#include <baseobj/exception.h>
#include <baseobj/fileobject.h>
#include <baseobj/lex.h>
#include <baseobj/token.h>
#include <baseobj/xmlparser.h>
#include <cpcoll/cpdict.h>
#include <cpcoll/cplist.h>
#include <cpcoll/cpstack.h>
#include <omdiunit/cunitid.h>
#include <omdiunit/omdiunit.h>
#include <omdiunit/unitpriv.h>
#include <util/exceptions.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>

namespace {

// Wire gauges in inches, indexed by gauge number. Index 0 is in the tables
// but is never answered: only 1 to the last index are gauges.
constexpr std::array<double, 41> kAwgInches = {
    0.325,  0.289,  0.258,  0.229,  0.204,  0.182,  0.162,  0.144,  0.128, 0.114,  0.102,
    0.091,  0.081,  0.072,  0.064,  0.057,  0.051,  0.045,  0.04,   0.036, 0.032,  0.0285,
    0.0253, 0.0226, 0.0201, 0.0179, 0.0159, 0.0142, 0.0126, 0.0113, 0.01,  0.0089, 0.008,
    0.0071, 0.0063, 0.0056, 0.005,  0.0045, 0.004,  0.0035, 0.0031};
constexpr std::array<double, 37> kBwgInches = {
    0.34,  0.3,   0.284, 0.259, 0.238, 0.22,  0.203, 0.18,  0.165, 0.148, 0.134, 0.12,  0.109,
    0.095, 0.083, 0.072, 0.065, 0.058, 0.049, 0.042, 0.035, 0.032, 0.028, 0.025, 0.022, 0.02,
    0.018, 0.016, 0.014, 0.013, 0.012, 0.01,  0.009, 0.008, 0.007, 0.005, 0.004};

template <std::size_t N> double Gauge(std::array<double, N> const& table, double dValue) {
    auto const n = static_cast<short>(dValue);
    if (n < 1 || static_cast<std::size_t>(n) >= N) return 0.0;
    return table[static_cast<std::size_t>(n)];
}

double AwgGauge(double dValue) {
    return Gauge(kAwgInches, dValue);
}
double BwgGauge(double dValue) {
    return Gauge(kBwgInches, dValue);
}
double Percent(double dValue) {
    return dValue / 100.0;
}
double Identity(double dValue) {
    return dValue;
}

// The foreign notation's names and ours; an empty text of ours drops the
// name and leaves its function to act on the value.
struct UnitMapping {
    char const* szForeign;
    char const* szOurs;
    double (*pfn)(double);
};

constexpr UnitMapping kUnitMappings[] = {
    {"hr", "h", nullptr},         {"day", "d", nullptr},         {"barrel", "bbl", nullptr},
    {"dyne", "dyn", nullptr},     {"Percent", "", Percent},      {"%", "", Percent},
    {"STD_m", "m", nullptr},      {"ACT_m", "m", nullptr},       {"seconds", "s", nullptr},
    {"rel_to_air", "", Identity}, {"AWG", "in", AwgGauge},       {"BWG", "in", BwgGauge},
    {"USG", "galUS", nullptr},    {"gal\\US", "galUS", nullptr},
};

// The process-wide state behind every UnitString. It is made on first use
// and never destroyed, so that objects released late in the process's end
// still find it.
struct UnitStringStatics {
    CPDictionary dctKnownBaseUnitStrings;
    CPDictionary dctKnownTexts;
    CPSymmetricMap smapTranslations;
    CreateableCache cxcTranslated;
    CreateableCache cxcForeign;
    CreateableCache cxcSpare;
    CPString strPreferencesFilePath{""};
    CPString strPreferredUnitSetName{""};
    UnitPreferences prefsThe;
    bool bCachesSized = false;
};

UnitStringStatics& Statics() {
    static UnitStringStatics* const pstatics = new UnitStringStatics;
    return *pstatics;
}

char const* TextOf(CPString const& str) {
    return UnitTextOf(str);
}

bool IsEmpty(CPString const& str) {
    return TextOf(str)[0] == '\0';
}

// Every "deg" removed, again and again, until none is left.
std::string WithoutDeg(char const* szText) {
    std::string text = szText;
    for (std::size_t at = text.find("deg"); at != std::string::npos; at = text.find("deg"))
        text.erase(at, 3);
    return text;
}

void itReleaseUnitString(void* pv, void*) {
    static_cast<UnitString*>(pv)->Release();
}

// A scanner over a unit text: digits end a name, so 'm3' is a name and a
// number, and a backslash may stand inside one. Unit names are never the
// language's keywords.
void SetUpUnitScanner(Scanner& scn, char const* szText) {
    scn._set_pcBuffer(szText);
    for (char c = '0'; c <= '9'; ++c)
        scn.DiminishStringSpec(c);
    scn.AugmentStringSpec('\\');
    scn._set_bDisableReservedWords(1);
}

std::string TokenText(Token const& tok) {
    if (tok.MatchType(TY_STRING) != 0) {
        char const* sz = tok.FetchStringPointer();
        return sz != nullptr ? sz : "";
    }
    char buf[Token::kStringPointerSize];
    tok.FetchAsString(buf, sizeof buf, 6);
    return buf;
}

bool IsChar(Token const* ptok, char c) {
    return ptok != nullptr && ptok->MatchType(TY_CHAR) != 0 && ptok->FetchChar() == c;
}

[[noreturn]] void ThrowInequivalent(char const* szWhat, CPString const& a, CPString const& b) {
    std::string const text = std::string("Cannot perform ") + szWhat +
                             ": Unit dimensions inequivalent |" + TextOf(a) + "| , |" + TextOf(b) +
                             "|";
    throw Exception(1344, text.c_str());
}

} // namespace

// The class ------------------------------------------------------------------

std::uint32_t UnitString::nInstanceCount = 0;
std::uint32_t UnitString::nParses = 0;
std::uint32_t UnitString::nScans = 0;
std::uint32_t UnitString::nTranslationSetups = 0;

UnitString::UnitString() {
    if (++nInstanceCount == 1) InitializeUnits();
}

UnitString::UnitString(UnitString const& other) : CPString() {
    { UnitString const unstrStartUp; }
    Copy(other);
}

UnitString::UnitString(char const* szText) : UnitString() {
    Copy(szText);
}

UnitString::~UnitString() {
    --nInstanceCount;
}

std::uint16_t UnitString::AddRef() {
    return Createable::AddRef();
}

std::uint16_t UnitString::Release() {
    return Createable::Release();
}

void UnitString::Clear() {
    nUnitID = 0;
    bBaseUnits = 0;
}

void UnitString::RemoveDeg() {
    if (std::strstr(TextOf(*this), "deg") == nullptr) return;
    std::string const text = WithoutDeg(TextOf(*this));
    CPString::Copy(text.c_str());
}

short UnitString::Copy(CPString const& other) {
    Clear();
    CPString::Copy(other);
    ValidateUnitString(static_cast<UnitString*>(nullptr));
    return 1;
}

short UnitString::Copy(char const* text, std::uint32_t n1, std::uint32_t n2) {
    Clear();
    CPString::Copy(text != nullptr ? text : "", n1, n2);
    RemoveDeg();
    ValidateUnitString(static_cast<UnitString*>(nullptr));
    return 1;
}

short UnitString::Copy(UnitString const& other) {
    Clear();
    if (std::strstr(TextOf(other), "deg") != nullptr) {
        std::string const text = TextOf(other);
        return Copy(text.c_str());
    }
    CPString::Copy(other);
    if (other.nUnitID != 0)
        nUnitID = other.nUnitID;
    else
        ValidateUnitString(static_cast<UnitString*>(nullptr));
    return 1;
}

CPString& UnitString::operator=(CPString const& other) {
    Copy(other);
    return *this;
}

CPString& UnitString::operator=(char const* text) {
    Copy(text);
    return *this;
}

UnitString& UnitString::operator=(UnitString const& other) {
    Copy(other);
    return *this;
}

// Start-up and the caches ------------------------------------------------------

void UnitString::InitializeUnits() {
    InitTranslations();
    UnitStringStatics& s = Statics();
    if (s.bCachesSized) return;
    s.bCachesSized = true;
    s.cxcTranslated._set_nMaxElements(kCacheSize);
    s.cxcForeign._set_nMaxElements(kCacheSize);
    s.cxcSpare._set_nMaxElements(kCacheSize);
    // The preferences read at start-up are a convenience: a file that is
    // missing or wrong leaves them empty rather than failing the first unit.
    try {
        if (IsEmpty(s.strPreferencesFilePath)) {
            CPString const strDefault = DefaultPreferencesPath();
            LoadUnitPreferences(TextOf(strDefault), nullptr, 0);
        } else {
            LoadUnitPreferences(nullptr, nullptr, 0);
        }
    } catch (std::uint32_t) {
    }
}

// Runs each time the live count rises to 1. The map is filled afresh rather
// than added to, so that it stays the size of the table however often the
// count falls to 0.
void UnitString::InitTranslations() {
    ++nTranslationSetups;
    Statics().smapTranslations.Clear();
    for (UnitMapping const& m : kUnitMappings)
        AddUnitMapping(m.szForeign, m.szOurs, m.pfn);
}

void UnitString::AddUnitMapping(char const* szForeign, char const* szOurs, double (*pfn)(double)) {
    Statics().smapTranslations.AddMapping(szForeign, szOurs, new UnitTxParms(pfn));
}

std::int32_t UnitString::KnownId(CPString const& str) {
    char const* sz = TextOf(str);
    if (sz[0] == '\0') return 0;
    auto const word = reinterpret_cast<std::uintptr_t>(Statics().dctKnownTexts.FindKeyString(sz));
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(word));
}

// Parses a text not seen before; a text with a unit is remembered.
std::int32_t UnitString::ParseId(CPString const& str) {
    ++nParses;
    auto const nId = static_cast<std::int32_t>(xIdFromString(str));
    if (nId != 0) {
        auto const word = static_cast<std::uintptr_t>(static_cast<std::uint32_t>(nId));
        Statics().dctKnownTexts.AddKeyString(TextOf(str), reinterpret_cast<void*>(word));
    }
    return nId;
}

UnitString* UnitString::UnitStringFromID(std::int32_t nId) {
    CPDictionary& dct = Statics().dctKnownBaseUnitStrings;
    auto const nKey = static_cast<std::uintptr_t>(static_cast<std::uint32_t>(nId));
    if (auto* const punstr = static_cast<UnitString*>(dct.FindKeyNum(nKey))) return punstr;
    auto* const punstrReturn = new (std::nothrow) UnitString;
    SV_FAIL_IF_NIL(punstrReturn, "punstrReturn");
    punstrReturn->AddRef();
    punstrReturn->Copy(StringFromId(static_cast<std::uint32_t>(nId)));
    // The text is the canonical one of its id.
    punstrReturn->bBaseUnits = 1;
    dct.AddKeyNum(nKey, punstrReturn);
    return punstrReturn;
}

void UnitString::PurgeCaches() {
    Statics().dctKnownBaseUnitStrings.DestroyAll(itReleaseUnitString);
}

CPDictionary& UnitString::_get_dctKnownBaseUnitStrings() {
    return Statics().dctKnownBaseUnitStrings;
}
CPDictionary& UnitString::_get_dctKnownTexts() {
    return Statics().dctKnownTexts;
}
CPSymmetricMap& UnitString::_get_smapTranslations() {
    return Statics().smapTranslations;
}
CreateableCache& UnitString::_get_cxcTranslated() {
    return Statics().cxcTranslated;
}
CreateableCache& UnitString::_get_cxcForeign() {
    return Statics().cxcForeign;
}
CreateableCache& UnitString::_get_cxcSpare() {
    return Statics().cxcSpare;
}

// Ids and validation ---------------------------------------------------------------

short UnitString::Exists(UnitString* p) {
    UnitString& unstr = p != nullptr ? *p : *this;
    if (unstr.nUnitID != 0) return 1;
    unstr.nUnitID = KnownId(unstr);
    if (unstr.nUnitID == 0) unstr.nUnitID = ParseId(unstr);
    return unstr.nUnitID != 0 ? 1 : 0;
}

short UnitString::Exists(CPString* p) {
    if (p == nullptr) return Exists(static_cast<UnitString*>(nullptr));
    std::int32_t nId = KnownId(*p);
    if (nId == 0) nId = ParseId(*p);
    return nId != 0 ? 1 : 0;
}

void UnitString::ValidateUnitString(UnitString* p) {
    UnitString& unstr = p != nullptr ? *p : *this;
    if (IsEmpty(unstr) || unstr.nUnitID != 0) return;
    if (Exists(&unstr) != 0) return;
    std::string const text = TextOf(unstr);
    unstr.CPString::Copy("");
    // The target is empty now, so a mapped function acts on the value alone
    // and no conversion can throw.
    CPString strScratch("");
    unstr.TranslateFromKresk(text.c_str(), strScratch, 0.0);
    if (IsEmpty(strScratch)) return;
    unstr.CPString::Copy(strScratch);
    if (Exists(&unstr) == 0) unstr.CPString::Copy("");
}

void UnitString::ValidateUnitString(CPString* p) {
    if (p == nullptr || IsEmpty(*p) || Exists(p) != 0) return;
    std::string const text = TextOf(*p);
    CPString strScratch("");
    TranslateFromKresk(text.c_str(), strScratch, 0.0);
    if (IsEmpty(strScratch) || Exists(&strScratch) == 0) {
        std::string const detail = "Invalid Unit: " + text;
        throw Exception(1343, detail.c_str());
    }
    p->Copy(strScratch);
}

short UnitString::EquivalentDimensions(CPString* p) {
    if (p == nullptr) return nUnitID == 0 ? 1 : 0;
    std::int32_t nId = KnownId(*p);
    if (nId == 0) nId = ParseId(*p);
    return nId == nUnitID ? 1 : 0;
}

short UnitString::EquivalentDimensions(char const* sz) {
    CPString str(sz != nullptr ? sz : "");
    return EquivalentDimensions(&str);
}

UnitString* UnitString::BaseUnits() {
    if (bBaseUnits != 0) {
        AddRef();
        return this;
    }
    if (nUnitID == 0) ValidateUnitString(static_cast<UnitString*>(nullptr));
    UnitString* const punstr = UnitStringFromID(nUnitID);
    punstr->AddRef();
    return punstr;
}

short UnitString::GetDisplayUnits(double dValue, CPString* pstrInto, char* pcDecimals,
                                  char* szPurpose) {
    SV_ASSERT(pstrInto != nullptr, "pstrInto");
    return Statics().prefsThe.GetUnitPreference(dValue, this, pstrInto, pcDecimals, szPurpose);
}

// The foreign notation ---------------------------------------------------------

double UnitString::ApplyTranslation(double (*pfn)(double), double dValue, bool bDenominator,
                                    CPString const& strOut) {
    if (!bDenominator) {
        return !IsEmpty(*this) ? Convert(dValue, *this, strOut, 0) : pfn(dValue);
    }
    return dValue / (!IsEmpty(*this) ? Convert(1.0, *this, strOut, 0) : pfn(1.0));
}

double UnitString::TranslateFromKresk(char const* szText, CPString& strOut, double dValue) {
    strOut.CPString::Copy("");
    if (szText == nullptr) return dValue;
    UnitStringStatics& s = Statics();
    if (auto* const pstrHit = static_cast<CPString*>(s.cxcTranslated.Find(szText))) {
        strOut.CPString::Copy(*pstrHit);
        return dValue;
    }
    ++nScans;
    Scanner scn;
    SetUpUnitScanner(scn, szText);
    bool bDenominator = false;
    bool bFunctionApplied = false;
    std::string out;
    for (std::unique_ptr<Token> ptok(scn.GetTokenPtr()); ptok; ptok.reset(scn.GetTokenPtr())) {
        if (ptok->MatchType(TY_CHAR) != 0) {
            char const c = ptok->FetchChar();
            if (c == '-' || c == '/') {
                if (c == '/') bDenominator = true;
                if (!out.empty()) out += '*';
                continue;
            }
            // Any other character is a name of its own, which is how "%"
            // reaches the map.
            char const szChar[2] = {c, '\0'};
            ptok->SetValue(szChar);
        }
        if (ptok->MatchType(TY_STRING) == 0) continue;
        CPString strName(TokenText(*ptok).c_str());
        CPString strMapped("");
        auto* const ptx =
            static_cast<UnitTxParms*>(s.smapTranslations.RetrieveA(&strName, &strMapped));
        if (ptx == nullptr) {
            out += TextOf(strName);
        } else {
            out += TextOf(strMapped);
            if (ptx->pfnTransform != nullptr) {
                bFunctionApplied = true;
                CPString const strSoFar(out.c_str());
                dValue = ApplyTranslation(ptx->pfnTransform, dValue, bDenominator, strSoFar);
            }
        }
        Token* const ptokNext = scn.PeekTokenPtr();
        if (ptokNext != nullptr && ptokNext->IsNumericType() != 0) {
            out += bDenominator ? "^-" : "^";
            out += TokenText(*ptokNext);
            scn.ConsumePeekedToken();
        } else if (bDenominator) {
            out += "^-1";
        }
    }
    strOut.CPString::Copy(out.c_str());
    // An empty text would be kept under the dictionary's name for empty keys.
    if (!bFunctionApplied && szText[0] != '\0')
        s.cxcTranslated.Add(szText, new CPString(out.c_str()));
    return dValue;
}

short UnitString::GetKRESKUnitString(CPString* pstrOut) {
    if (pstrOut == nullptr) return 0;
    char const* const szText = TextOf(*this);
    UnitStringStatics& s = Statics();
    if (auto* const pstrHit = static_cast<CPString*>(s.cxcForeign.Find(szText))) {
        pstrOut->CPString::Copy(*pstrHit);
        return 1;
    }
    Scanner scn;
    SetUpUnitScanner(scn, szText);
    std::string numerator;
    std::string denominator;
    auto const join = [](std::string& side, std::string const& part) {
        if (!side.empty()) side += '-';
        side += part;
    };
    for (std::unique_ptr<Token> ptokTerm(scn.GetTokenPtr()); ptokTerm;
         ptokTerm.reset(scn.GetTokenPtr())) {
        std::string const term = TokenText(*ptokTerm);
        std::unique_ptr<Token> ptokNext(scn.GetTokenPtr());
        if (!ptokNext || IsChar(ptokNext.get(), '*')) {
            join(numerator, term);
            if (!ptokNext) break;
            continue;
        }
        if (IsChar(ptokNext.get(), '^')) {
            std::unique_ptr<Token> ptokExponent(scn.GetTokenPtr());
            short const nExponent = ptokExponent ? ptokExponent->FetchShort() : 0;
            if (nExponent >= 1) {
                join(numerator, term + (ptokExponent ? TokenText(*ptokExponent) : ""));
            } else {
                int const nSize = nExponent < 0 ? -nExponent : nExponent;
                join(denominator, nSize == 1 ? term : term + std::to_string(nSize));
            }
            // The separator behind the exponent; the text may end here.
            std::unique_ptr<Token> ptokSeparator(scn.GetTokenPtr());
            if (!ptokSeparator) break;
            continue;
        }
        std::string const report =
            std::string("Unable to parse unit string ") + szText + " " + TokenText(*ptokNext);
        Exceptions::_get_gexeptnsThe().Comment(SV_UNIT_NAME(), __LINE__, report.c_str());
        return 0;
    }
    std::string result = numerator;
    if (!denominator.empty()) result = (numerator.empty() ? "1" : numerator) + "/" + denominator;
    pstrOut->CPString::Copy(result.c_str());
    if (szText[0] != '\0') s.cxcForeign.Add(szText, new CPString(result.c_str()));
    return 1;
}

// Conversion and operations ------------------------------------------------------

double UnitString::ConvertTo(char const* szTarget, double dValue, CPString* pstrActual,
                             short bDifference) {
    UnitString unstrTarget;
    unstrTarget.CPString::Copy(szTarget != nullptr ? szTarget : "");
    return ConvertTo(unstrTarget, dValue, pstrActual, bDifference);
}

double UnitString::ConvertTo(UnitString& target, double dValue, CPString* pstrActual,
                             short bDifference) {
    std::string const text = WithoutDeg(TextOf(target));
    CPString strTarget(text.c_str());
    UnitStringStatics& s = Statics();
    if (auto* const pstrHit = static_cast<CPString*>(s.cxcTranslated.Find(text.c_str()))) {
        strTarget.CPString::Copy(*pstrHit);
    } else if (Exists(&strTarget) == 0) {
        CPString strTranslated("");
        dValue = TranslateFromKresk(text.c_str(), strTranslated, dValue);
        strTarget.CPString::Copy(strTranslated);
    }
    if (IsEmpty(*this)) {
        if (pstrActual != nullptr) pstrActual->Copy(strTarget);
        return dValue;
    }
    ValidateUnitString(static_cast<UnitString*>(nullptr));
    ValidateUnitString(&strTarget);
    if (EquivalentDimensions(&strTarget) == 0) ThrowInequivalent("conversion", *this, strTarget);
    if (pstrActual != nullptr) pstrActual->Copy(strTarget);
    try {
        if (bBaseUnits != 0) return ConvertFromSI(dValue, strTarget, bDifference);
        return Convert(dValue, *this, strTarget, bDifference);
    } catch (FWError const&) {
        std::string const detail = std::string("Error Converting: |") + TextOf(*this) + "| to |" +
                                   TextOf(strTarget) + "|  " + FWError::ErrorString() + "(" +
                                   std::to_string(FWError::ErrorNumber()) + ")";
        throw Exception(1344, detail.c_str());
    }
}

namespace {

// The packed id of a product or quotient; a field past its limit is the
// unit library's fault as far as values are concerned.
std::int32_t CombinedId(std::int32_t nLeft, std::int32_t nRight, bool bDivide) {
    try {
        CUnitId const left(static_cast<std::uint32_t>(nLeft));
        CUnitId const right(static_cast<std::uint32_t>(nRight));
        CUnitId const result = bDivide ? left / right : left * right;
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(result));
    } catch (FWError const&) {
        throw Exception(2000, "Units library internal error");
    }
}

bool Absent(UnitString const* p) {
    return p == nullptr || IsEmpty(*p);
}

UnitString* Referenced(UnitString* p) {
    p->AddRef();
    return p;
}

} // namespace

UnitString* UnitString::PerformOperation(UnitString* punstrLeft, UnitString* punstrRight,
                                         char nOperation) {
    if (Absent(punstrLeft) && Absent(punstrRight)) return nullptr;
    if (Absent(punstrLeft)) return Referenced(punstrRight);
    if (Absent(punstrRight)) return Referenced(punstrLeft);
    punstrLeft->ValidateUnitString(static_cast<UnitString*>(nullptr));
    punstrRight->ValidateUnitString(static_cast<UnitString*>(nullptr));
    std::int32_t const nLeft = punstrLeft->nUnitID;
    std::int32_t const nRight = punstrRight->nUnitID;
    switch (nOperation) {
    case opMultiply: {
        std::int32_t const nId = CombinedId(nLeft, nRight, false);
        if (nId == 0) return Referenced(new UnitString);
        return Referenced(UnitStringFromID(nId));
    }
    case opDivide: {
        if (nLeft == nRight) return nullptr;
        std::int32_t const nId = CombinedId(nLeft, nRight, true);
        if (nId == 0) return nullptr;
        return Referenced(UnitStringFromID(nId));
    }
    case opSubtract:
        if (punstrRight->EquivalentDimensions(punstrLeft) == 0)
            ThrowInequivalent("subtraction", *punstrRight, *punstrLeft);
        return Referenced(punstrLeft);
    default:
        if (punstrRight->EquivalentDimensions(punstrLeft) == 0)
            ThrowInequivalent("add", *punstrRight, *punstrLeft);
        return Referenced(punstrLeft);
    }
}

// Preferences of the process ------------------------------------------------------

short UnitString::LoadUnitPreferences(char const* szPath, char const* szSet, short bMerge) {
    UnitStringStatics& s = Statics();
    if (szPath != nullptr) s.strPreferencesFilePath.CPString::Copy(szPath);
    if (szSet != nullptr) s.strPreferredUnitSetName.CPString::Copy(szSet);
    return s.prefsThe.ReadPreferencesFile(TextOf(s.strPreferencesFilePath), bMerge);
}

void UnitString::_set_strPreferencesFilePath(char const* szPath) {
    Statics().strPreferencesFilePath.CPString::Copy(szPath != nullptr ? szPath : "");
}

void UnitString::_set_strPreferredUnitSetName(char const* szName) {
    Statics().strPreferredUnitSetName.CPString::Copy(szName != nullptr ? szName : "");
}

CPString& UnitString::_get_strPreferencesFilePath() {
    return Statics().strPreferencesFilePath;
}

CPString& UnitString::_get_strPreferredUnitSetName() {
    return Statics().strPreferredUnitSetName;
}

CPString UnitString::DefaultPreferencesPath() {
    std::string path;
    char const* szConfig = std::getenv("XDG_CONFIG_HOME");
    if (szConfig != nullptr && szConfig[0] != '\0') {
        path = szConfig;
    } else {
        char const* szHome = std::getenv("HOME");
        path = std::string(szHome != nullptr ? szHome : "") + "/.config";
    }
    path += "/orveltech/unitprefs.xml";
    return CPString(path.c_str());
}

UnitPreferences& UnitString::_get_prefsThe() {
    return Statics().prefsThe;
}

// UnitPreferences ------------------------------------------------------------

namespace {

constexpr char kDefaultPurpose[] = "Default";

// The decimals of a list that exists but holds no range.
constexpr char kEmptyListDecimals = 6;

char const* PurposeOrDefault(char const* szPurpose) {
    return szPurpose != nullptr && szPurpose[0] != '\0' ? szPurpose : kDefaultPurpose;
}

void itDeleteRangeSpec(void* pv, void*) {
    delete static_cast<RangeSpec*>(pv);
}

void itDeleteRangeList(void* pv, void*) {
    auto* const plst = static_cast<CPList*>(pv);
    plst->DestroyAll(itDeleteRangeSpec);
    delete plst;
}

void itDeletePurpose(void* pv, void*) {
    auto* const pdct = static_cast<CPDictionary*>(pv);
    pdct->DestroyAll(itDeleteRangeList);
    delete pdct;
}

// What the handlers of one read share: where a "Range" goes.
struct PreferencesReading {
    UnitPreferences* pprefs = nullptr;
    bool bInUnit = false;
    std::int32_t nId = 0;
    std::string purpose;
};

bool Is(char const* a, char const* b) {
    return std::strcmp(a, b) == 0;
}

std::int32_t UnitAttribute(char const* szName, char const* szValue, std::int32_t nId) {
    if (Is(szName, "NISTString") || Is(szName, "UnitString")) {
        UnitString unstr;
        unstr.Copy(szValue);
        return unstr._get_nUnitID();
    }
    if (Is(szName, "KRESKString")) {
        UnitString unstr;
        CPString strOurs("");
        unstr.TranslateFromKresk(szValue, strOurs, 0.0);
        unstr.Copy(strOurs);
        return unstr._get_nUnitID();
    }
    return nId;
}

void StartPreference(void* pv, char const* pszName, char const** ppszAttributes) {
    auto& r = *static_cast<PreferencesReading*>(pv);
    bool const bUnit = Is(pszName, "Unit");
    bool const bPurpose = Is(pszName, "Purpose");
    bool const bRange = Is(pszName, "Range");
    if (bUnit) {
        r.bInUnit = true;
        r.purpose.clear();
    } else if (bRange && !r.bInUnit) {
        throw UnitPreferences::kRangeOutsideUnit;
    } else if (!bPurpose && !bRange) {
        return;
    }
    double dStart = 0.0;
    std::string display;
    int nDecimals = 4;
    for (char const** pp = ppszAttributes; pp[0] != nullptr && pp[1] != nullptr; pp += 2) {
        if (bUnit) {
            r.nId = UnitAttribute(pp[0], pp[1], r.nId);
        } else if (bPurpose) {
            if (Is(pp[0], "Name")) r.purpose = pp[1];
        } else if (Is(pp[0], "Start")) {
            std::sscanf(pp[1], "%lf", &dStart);
        } else if (Is(pp[0], "DisplayString")) {
            display = pp[1];
        } else if (Is(pp[0], "Decimals")) {
            std::sscanf(pp[1], "%d", &nDecimals);
        }
    }
    if (bRange && r.nId != 0)
        r.pprefs->AddRange(r.nId, dStart, display.c_str(), static_cast<short>(nDecimals),
                           r.purpose.c_str());
}

void EndPreference(void* pv, char const* pszName) {
    auto& r = *static_cast<PreferencesReading*>(pv);
    if (Is(pszName, "Unit"))
        r.bInUnit = false;
    else if (Is(pszName, "Purpose"))
        r.purpose.clear();
}

void TextOfPreference(void*, char const*, int) {}

struct FileBufferDeleter {
    void operator()(char* pc) const { FileObject::DeleteBuffer(pc); }
};

} // namespace

UnitPreferences::UnitPreferences() : pdctPurposes(new CPDictionary) {}

UnitPreferences::UnitPreferences(UnitPreferences const& other)
    : Createable(other), pdctPurposes(new CPDictionary) {
    CopyFrom(other);
}

UnitPreferences& UnitPreferences::operator=(UnitPreferences const& other) {
    if (this == &other) return *this;
    Clear();
    CopyFrom(other);
    return *this;
}

UnitPreferences::~UnitPreferences() {
    Clear();
    delete pdctPurposes;
}

void UnitPreferences::Clear() {
    pdctPurposes->DestroyAll(itDeletePurpose);
}

void UnitPreferences::CopyFrom(UnitPreferences const& other) {
    struct Walk {
        UnitPreferences* pTo;
        char const* szPurpose;
        std::int32_t nId;
    } walk{this, nullptr, 0};
    other.pdctPurposes->ForEach(
        [](void* pvPurpose, void* pvWalk, std::uintptr_t nKey) {
            auto& w = *static_cast<Walk*>(pvWalk);
            w.szPurpose = TextOf(*reinterpret_cast<CPString*>(nKey));
            static_cast<CPDictionary*>(pvPurpose)->ForEach(
                [](void* pvList, void* pvWalkIn, std::uintptr_t nId) {
                    auto& wi = *static_cast<Walk*>(pvWalkIn);
                    wi.nId = static_cast<std::int32_t>(static_cast<std::uint32_t>(nId));
                    static_cast<CPList*>(pvList)->ForEach(
                        [](void* pvRange, void* pvWalkRange) {
                            auto& wr = *static_cast<Walk*>(pvWalkRange);
                            auto const& range = *static_cast<RangeSpec*>(pvRange);
                            wr.pTo->AddRange(wr.nId, range.dStart, TextOf(range.strDisplay),
                                             range.nDecimals, wr.szPurpose);
                        },
                        pvWalkIn);
                },
                pvWalk);
        },
        &walk);
}

short UnitPreferences::ReadPreferencesFile(char const* szPath, short bMerge) {
    if (bMerge == 0) Clear();
    // The file is read here so that its buffer is freed also when a handler
    // throws; the reader then parses it in place.
    std::int32_t nLength = 0;
    std::unique_ptr<char, FileBufferDeleter> pcBuffer(
        szPath != nullptr && szPath[0] != '\0' ? FileObject::CreateBuffer(szPath, 0, &nLength)
                                               : nullptr);
    if (!pcBuffer) return 1;
    return ReadPreferencesText(pcBuffer.get(), 1);
}

short UnitPreferences::ReadPreferencesText(char* szText, short bMerge) {
    if (bMerge == 0) Clear();
    PreferencesReading reading;
    reading.pprefs = this;
    XMLReader reader;
    return reader.ReadXMLFile(szText, 0, StartPreference, EndPreference, TextOfPreference, &reading,
                              1);
}

void UnitPreferences::AddRange(std::int32_t nId, double dStart, char const* szDisplay,
                               short nDecimals, char const* szPurpose) {
    auto* const prangespecA = new (std::nothrow) RangeSpec;
    SV_FAIL_IF_NIL(prangespecA, "prangespecA");
    prangespecA->dStart = dStart;
    prangespecA->strDisplay.CPString::Copy(szDisplay != nullptr ? szDisplay : "");
    prangespecA->nDecimals = nDecimals;
    char const* const szKey = PurposeOrDefault(szPurpose);
    auto* pdctThisPurpose = static_cast<CPDictionary*>(pdctPurposes->FindKeyString(szKey));
    if (pdctThisPurpose == nullptr) {
        pdctThisPurpose = new (std::nothrow) CPDictionary;
        SV_FAIL_IF_NIL(pdctThisPurpose, "pdctThisPurpose");
        pdctPurposes->AddKeyString(szKey, pdctThisPurpose);
    }
    auto const nKey = static_cast<std::uintptr_t>(static_cast<std::uint32_t>(nId));
    auto* plstThisID = static_cast<CPList*>(pdctThisPurpose->FindKeyNum(nKey));
    if (plstThisID == nullptr) {
        plstThisID = new (std::nothrow) CPList;
        SV_FAIL_IF_NIL(plstThisID, "plstThisID");
        pdctThisPurpose->AddKeyNum(nKey, plstThisID);
    }
    plstThisID->Add(prangespecA);
}

namespace {

CPList* RangesOf(CPDictionary* pdctPurposes, char const* szPurpose, std::int32_t nId) {
    auto* const pdct =
        static_cast<CPDictionary*>(pdctPurposes->FindKeyString(PurposeOrDefault(szPurpose)));
    if (pdct == nullptr) return nullptr;
    return static_cast<CPList*>(
        pdct->FindKeyNum(static_cast<std::uintptr_t>(static_cast<std::uint32_t>(nId))));
}

} // namespace

short UnitPreferences::GetUnitPreference(double dValue, UnitString* punstr, CPString* pstrInto,
                                         char* pcDecimals, char const* szPurpose) {
    if (punstr == nullptr) return 0;
    CPList* const plst = RangesOf(pdctPurposes, szPurpose, punstr->_get_nUnitID());
    if (plst == nullptr) return 0;
    RangeSpec const* prangeTaken = nullptr;
    for (std::uint32_t n = 0; n < plst->Length(); ++n) {
        auto const* const prange = static_cast<RangeSpec const*>(plst->RetrieveIDX(n));
        if (n != 0 && prange->dStart > dValue) break;
        prangeTaken = prange;
    }
    if (prangeTaken == nullptr) {
        if (pstrInto != nullptr) pstrInto->CPString::Copy(TextOf(*punstr));
        if (pcDecimals != nullptr) *pcDecimals = kEmptyListDecimals;
        return 0;
    }
    if (pstrInto != nullptr) pstrInto->CPString::Copy(prangeTaken->strDisplay);
    if (pcDecimals != nullptr) *pcDecimals = static_cast<char>(prangeTaken->nDecimals);
    return 1;
}

std::uint32_t UnitPreferences::PurposeCount() const {
    return pdctPurposes->Length();
}

std::uint32_t UnitPreferences::RangeCount(char const* szPurpose, std::int32_t nId) const {
    CPList const* const plst = RangesOf(pdctPurposes, szPurpose, nId);
    return plst != nullptr ? plst->Length() : 0;
}

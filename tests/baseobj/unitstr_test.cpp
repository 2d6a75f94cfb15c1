#include <baseobj/unitstr.h>

#include <baseobj/cxcache.h>
#include <baseobj/exception.h>
#include <cpcoll/cpdict.h>
#include <cpcoll/cpstack.h>
#include <omdiunit/omdiunit.h>
#include <omdiunit/unitpriv.h>

#include "baseobj/support.h"
#include <support/files.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <tuple>

namespace {

using test_support::ScratchDir;
using test_support::WriteAll;

std::string Text(CPString const& str) {
    return UnitTextOf(str);
}

// A UnitString on the heap with one reference, released at the end.
struct Held {
    explicit Held(char const* sz) : p(new UnitString(sz)) { p->AddRef(); }
    ~Held() { p->Release(); }
    Held(Held const&) = delete;
    Held& operator=(Held const&) = delete;
    UnitString* p;
};

std::int32_t Id(char const* sz) {
    return static_cast<std::int32_t>(IdFromString(CPString(sz)));
}

// The unit tables built once for the program, and boxes recorded rather
// than shown.
class UnitStringTest : public baseobj_test::BoxedTest {
protected:
    static void SetUpTestSuite() {
        // The first UnitString reads the per-user preferences; keep the
        // user's own file out of the tests.
        setenv("XDG_CONFIG_HOME", "/nonexistent/sorvane-tests", 1);
        if (UnitSymbolTable() == nullptr) UnitInitialize(nullptr);
    }
    // f throws the Exception nCode with a message that holds szText.
    template <class F> static void ExpectThrown(F f, short nCode, std::string const& szText) {
        try {
            f();
            ADD_FAILURE() << "no exception, " << szText;
        } catch (Exception const& e) {
            EXPECT_EQ(e._get_nException(), nCode);
            EXPECT_NE(std::string(e.szMessage).find(szText), std::string::npos) << e.szMessage;
        }
    }
};

TEST_F(UnitStringTest, AssignmentValidatesTranslatesAndDropsDeg) {
    std::tuple<char const*, char const*, std::int32_t> const cases[] = {
        {"degC", "C", Id("K")},
        {"dedegg", "", 0}, // "deg" removed until none is left: nothing stays
        {"xyz", "", 0},
        {"m3/hr", "m^3*h^-1", 0xFC03},
        {"kPa", "kPa", Id("m^-1*kg*s^-2")},
        {"kJ/kgmole-C", "kJ*kgmole^-1*C^-1", Id("J*mol^-1*K^-1")},
        {"", "", 0},
        {"\"kg", "", 0}, // the scanner's open quote: no unit, and no throw
    };
    for (auto const& [szIn, szText, nId] : cases) {
        UnitString unstr(szIn);
        EXPECT_EQ(Text(unstr), szText) << szIn;
        EXPECT_EQ(unstr._get_nUnitID(), nId) << szIn;
        EXPECT_EQ(unstr._get_bBaseUnits(), 0) << szIn;
    }
    UnitString unstrKPa("kPa");
    UnitString unstrPa("Pa");
    EXPECT_EQ(unstrKPa.EquivalentDimensions(&unstrPa), 1);
    EXPECT_EQ(unstrKPa.EquivalentDimensions("m"), 0);
    // A CPString keeps "deg"; a UnitString source with it is read again.
    UnitString unstrCopy;
    unstrCopy.Copy(CPString("degF"));
    EXPECT_EQ(Text(unstrCopy), "");
    unstrCopy.CPString::Copy("degF");
    UnitString unstrFromUnit;
    unstrFromUnit.Copy(unstrCopy);
    EXPECT_EQ(Text(unstrFromUnit), "F");
    EXPECT_EQ(unstrFromUnit._get_nUnitID(), Id("K"));
}

TEST_F(UnitStringTest, BaseUnitsAreSharedAndPlainTextsValidated) {
    UnitString unstr("kPa");
    UnitString* const punstrBase = unstr.BaseUnits();
    ASSERT_NE(punstrBase, nullptr);
    EXPECT_EQ(Text(*punstrBase), "m^-1*kg*s^-2");
    EXPECT_EQ(punstrBase->_get_bBaseUnits(), 1);
    UnitString* const punstrAgain = UnitString("Pa").BaseUnits();
    EXPECT_EQ(punstrAgain, punstrBase);
    // Base units of base units are themselves.
    UnitString* const punstrSelf = punstrBase->BaseUnits();
    EXPECT_EQ(punstrSelf, punstrBase);
    for (UnitString* p : {punstrSelf, punstrAgain, punstrBase})
        p->Release();

    // Validating a plain text throws only when it names no unit.
    CPString strBad("xyz");
    ExpectThrown([&] { unstr.ValidateUnitString(&strBad); }, 1343, "Invalid Unit: xyz");
    CPString strForeign("m3/hr");
    unstr.ValidateUnitString(&strForeign);
    EXPECT_EQ(Text(strForeign), "m^3*h^-1");
    CPString strOurs("kPa");
    unstr.ValidateUnitString(&strOurs);
    EXPECT_EQ(Text(strOurs), "kPa");
}

TEST_F(UnitStringTest, ForeignTextsTranslateWithTheirValues) {
    std::tuple<char const*, double, char const*, double> const cases[] = {
        {"1/s", 1.0, "s^-1", 1.0},
        {"2/s", 1.0, "s^-1", 1.0},
        {"1-s", 1.0, "s", 1.0},
        {"m3/hr", 1.0, "m^3*h^-1", 1.0},
        {"kJ/kgmole-C", 1.0, "kJ*kgmole^-1*C^-1", 1.0},
        {"kg/m2/s", 1.0, "kg*m^-2*s^-1", 1.0},
        {"barrel/day", 1.0, "bbl*d^-1", 1.0},
        {"USG", 1.0, "galUS", 1.0},
        {"in", 1.0, "in", 1.0},
        {"%", 50.0, "", 0.5},
        {"Percent", 20.0, "", 0.2},
        {"kg/%", 1.0, "kg*^-1", 100.0},
        {"rel_to_air", 3.0, "", 3.0},
        {"AWG", 0.0, "in", 0.0},
        {"AWG", 1.0, "in", 0.289},
        {"AWG", 12.9, "in", 0.081},
        {"AWG", 40.0, "in", 0.0031},
        {"AWG", 41.0, "in", 0.0},
        {"AWG", -3.0, "in", 0.0},
        {"AWG", 65536.0 + 12.0, "in", 0.081}, // 16 bits of the gauge
        {"AWG", 1e300, "in", 0.0},
        {"BWG", 36.0, "in", 0.004},
        {"BWG", 37.0, "in", 0.0}};
    UnitString unstrEmpty;
    for (auto const& [szForeign, dIn, szOurs, dOut] : cases) {
        CPString strOut("leftover");
        double const d = unstrEmpty.TranslateFromKresk(szForeign, strOut, dIn);
        EXPECT_EQ(Text(strOut), szOurs) << szForeign;
        EXPECT_DOUBLE_EQ(d, dOut) << szForeign << " " << dIn;
    }
}

TEST_F(UnitStringTest, OursWrittenInTheForeignNotation) {
    std::tuple<char const*, short, char const*> const cases[] = {
        {"kJ*kgmole^-1*C^-1", 1, "kJ/kgmole-C"}, {"m^3*h^-1", 1, "m3/h"}, {"s^-1", 1, "1/s"},
        {"kg*m^2*s^-2", 1, "kg-m2/s2"},          {"m", 1, "m"},           {"m+s", 0, "untouched"}};
    for (auto const& [szOurs, nResult, szForeign] : cases) {
        UnitString unstr;
        unstr.CPString::Copy(szOurs);
        CPString strOut("untouched");
        EXPECT_EQ(unstr.GetKRESKUnitString(&strOut), nResult) << szOurs;
        EXPECT_EQ(Text(strOut), szForeign) << szOurs;
        // A second call answers from the cache, the same.
        if (nResult == 1) {
            CPString strAgain("");
            unstr.GetKRESKUnitString(&strAgain);
            EXPECT_EQ(Text(strAgain), szForeign);
        }
    }
    UnitString unstr("m");
    EXPECT_EQ(unstr.GetKRESKUnitString(nullptr), 0);
}

TEST_F(UnitStringTest, ConvertToFollowsTheTargetAndChecksDimensions) {
    std::tuple<char const*, char const*, double, short, double, char const*> const cases[] = {
        {"m", "ft", 1.0, 0, 3.28083, "ft"},
        {"C", "degF", 100.0, 0, 212.0, "F"},
        {"degC", "F", 10.0, 1, 18.0, "F"},
        {"m^3*s^-1", "m3/hr", 1.0, 0, 3600.0, "m^3*h^-1"},
        {"", "kPa", 7.0, 0, 7.0, "kPa"}};
    for (auto const& [szFrom, szTo, dIn, bDifference, dOut, szActual] : cases) {
        UnitString unstr(szFrom);
        CPString strActual("");
        EXPECT_NEAR(unstr.ConvertTo(szTo, dIn, &strActual, bDifference), dOut, 1e-9)
            << szFrom << " to " << szTo;
        EXPECT_EQ(Text(strActual), szActual);
    }
    // Texts met before convert on their kept terms, exactly as Convert would.
    std::tuple<char const*, char const*> const pairs[] = {
        {"kPa", "psi"},        {"C", "F"},
        {"kC", "K"},           {"g^2", "lb^2"},
        {"kg*m^2*s^-2", "J"},  {"psig", "psia"},
        {"km*h^-1", "m*s^-1"}, {"J*kg^-1*C^-1", "J*g^-1*F^-1"}};
    for (auto const& [szFrom, szTo] : pairs) {
        UnitString unstr(szFrom);
        for (double d : {0.0, -40.0, 1.5e-7, 123456.789}) {
            for (short bDifference : {0, 1}) {
                double const dExpected = Convert(d, szFrom, szTo, bDifference);
                for (int nTimes = 0; nTimes < 2; ++nTimes)
                    EXPECT_EQ(unstr.ConvertTo(szTo, d, nullptr, bDifference), dExpected)
                        << szFrom << " to " << szTo << " " << d << " " << bDifference;
            }
        }
    }
    UnitString unstrM("m");
    ExpectThrown([&] { unstrM.ConvertTo("s", 1.0, nullptr, 0); }, 1344,
                 "Cannot perform conversion: Unit dimensions inequivalent |m| , |s|");
    // Base units convert from SI without rounding.
    UnitString* const punstrBase = UnitString("kPa").BaseUnits();
    EXPECT_DOUBLE_EQ(punstrBase->ConvertTo("kPa", 1.0, nullptr, 0), 0.001);
    punstrBase->Release();
}

TEST_F(UnitStringTest, OperationsCombineUnits) {
    // The operands live on the heap and are held, as values hold their
    // units, so that an answer that is an operand can be released.
    Held const m("m"), ft("ft"), s("s"), perM("m^-1"), empty("");
    using U = UnitString;

    EXPECT_EQ(U::PerformOperation(nullptr, nullptr, U::opMultiply), nullptr);
    EXPECT_EQ(U::PerformOperation(empty.p, nullptr, U::opAdd), nullptr);
    // pSame: the operand answered, or null for a shared result
    std::tuple<UnitString*, UnitString*, char, UnitString*, char const*> const cases[] = {
        {nullptr, s.p, U::opDivide, s.p, "s"},
        {m.p, empty.p, U::opDivide, m.p, "m"},
        {m.p, ft.p, U::opAdd, m.p, "m"},
        {ft.p, m.p, U::opSubtract, ft.p, "ft"},
        {m.p, ft.p, U::opMultiply, nullptr, "m^2"},
        {m.p, s.p, U::opDivide, nullptr, "m*s^-1"},
        {m.p, perM.p, U::opMultiply, nullptr, ""}};
    for (auto const& [pLeft, pRight, nOperation, pSame, szText] : cases) {
        UnitString* const presult = U::PerformOperation(pLeft, pRight, nOperation);
        ASSERT_NE(presult, nullptr) << szText;
        if (pSame != nullptr) {
            EXPECT_EQ(presult, pSame);
        }
        EXPECT_EQ(Text(*presult), szText);
        EXPECT_EQ(presult->_get_bBaseUnits() != 0, pSame == nullptr && szText[0] != '\0');
        presult->Release();
    }
    EXPECT_EQ(U::PerformOperation(m.p, ft.p, U::opDivide), nullptr);
    ExpectThrown([&] { U::PerformOperation(m.p, s.p, U::opAdd); }, 1344,
                 "Cannot perform add: Unit dimensions inequivalent |s| , |m|");
    ExpectThrown([&] { U::PerformOperation(m.p, s.p, U::opSubtract); }, 1344,
                 "Cannot perform subtraction");
}

TEST_F(UnitStringTest, EachTextIsParsedOnce) {
    char const* const texts[] = {"mm*Gs^-2", "Mg*dam^3", "kA*ms"};
    for (char const* sz : texts) {
        std::uint32_t const nBefore = UnitString::_get_nParses();
        UnitString first(sz);
        EXPECT_EQ(UnitString::_get_nParses(), nBefore + 1) << sz;
        for (int i = 0; i < 3; ++i) {
            UnitString again(sz);
            EXPECT_EQ(again._get_nUnitID(), first._get_nUnitID());
            EXPECT_EQ(first.EquivalentDimensions(sz), 1);
            first.ConvertTo(sz, 1.0, nullptr, 0);
        }
        EXPECT_EQ(UnitString::_get_nParses(), nBefore + 1) << sz;
    }
    // A foreign text is scanned once; later translations come from the cache.
    UnitString unstr;
    CPString strOut("");
    unstr.TranslateFromKresk("kW/m2-K", strOut, 1.0);
    std::uint32_t const nScans = UnitString::_get_nScans();
    for (int i = 0; i < 3; ++i)
        unstr.TranslateFromKresk("kW/m2-K", strOut, 1.0);
    EXPECT_EQ(UnitString::_get_nScans(), nScans);
    EXPECT_EQ(Text(strOut), "kW*m^-2*K^-1");
}

TEST_F(UnitStringTest, CachesKeepTheirSize) {
    UnitString unstr;
    for (CreateableCache* pcxc : {&UnitString::_get_cxcTranslated(), &UnitString::_get_cxcForeign(),
                                  &UnitString::_get_cxcSpare()})
        EXPECT_EQ(pcxc->_get_nMaxElements(), UnitString::kCacheSize);
    CreateableCache& cxc = UnitString::_get_cxcTranslated();
    std::uint32_t nLargest = 0;
    for (int i = 0; i < 3 * static_cast<int>(UnitString::kCacheSize); ++i) {
        CPString strOut("");
        std::string const foreign = "kg/unit_" + std::string(1, static_cast<char>('a' + i % 26)) +
                                    std::string(1, static_cast<char>('a' + i / 26));
        unstr.TranslateFromKresk(foreign.c_str(), strOut, 1.0);
        EXPECT_LE(cxc.Length(), UnitString::kCacheSize);
        nLargest = std::max(nLargest, cxc.Length());
    }
    EXPECT_EQ(nLargest, UnitString::kCacheSize);
    // A text that changes the value is never kept: its value depends on the call.
    std::uint32_t const nScans = UnitString::_get_nScans();
    CPString strOut("");
    EXPECT_DOUBLE_EQ(unstr.TranslateFromKresk("AWG", strOut, 10.0), 0.102);
    EXPECT_DOUBLE_EQ(unstr.TranslateFromKresk("AWG", strOut, 20.0), 0.032);
    EXPECT_EQ(UnitString::_get_nScans(), nScans + 2);
}

TEST_F(UnitStringTest, TranslationsAreSetUpAgainWhenTheLiveCountRisesFromZero) {
    UnitString::PurgeCaches();
    ASSERT_EQ(UnitString::_get_nInstanceCount(), 0u);
    std::uint32_t const nSetups = UnitString::_get_nTranslationSetups();
    {
        UnitString first("m3/hr");
        UnitString second("barrel");
        EXPECT_EQ(UnitString::_get_nTranslationSetups(), nSetups + 1);
        EXPECT_EQ(UnitString::_get_nInstanceCount(), 2u);
    }
    EXPECT_EQ(UnitString::_get_nInstanceCount(), 0u);
    for (int round = 2; round <= 4; ++round) {
        UnitString unstr("m3/hr");
        EXPECT_EQ(Text(unstr), "m^3*h^-1");
        EXPECT_EQ(UnitString::_get_nTranslationSetups(), nSetups + round);
    }
    // The map stays the size of its table however often it is set up.
    CPString strKey("hr");
    CPString strOut("");
    EXPECT_NE(UnitString::_get_smapTranslations().RetrieveA(&strKey, &strOut), nullptr);
    EXPECT_EQ(UnitString::_get_smapTranslations()._get_dctA().Length(), 14u);
    // The caches outlive the objects and keep their size.
    EXPECT_EQ(UnitString::_get_cxcTranslated()._get_nMaxElements(), UnitString::kCacheSize);
}

// Preferences -----------------------------------------------------------------

constexpr char kPreferences[] = R"(<?xml version="1.0"?>
<Unit NISTString="Pa">
  <Purpose Name="Default">
    <Range Start="0" DisplayString="kPa" Decimals="2"/>
    <Range Start="1000" DisplayString="MPa" Decimals="3"/>
    <Range Start="1e9" DisplayString="GPa"/>
  </Purpose>
  <Purpose Name="Process">
    <Range Start="-100" DisplayString="bar" Decimals="1"/>
  </Purpose>
  <Range Start="5e9" DisplayString="psi" Decimals="0"/>
</Unit>
<Unit KRESKString="m3/hr">
  <Range Start="0" DisplayString="m^3*s^-1" Decimals="5"/>
</Unit>
<Unit UnitString="xyz">
  <Range Start="0" DisplayString="never" Decimals="1"/>
</Unit>
<Unit NISTString="K">
  <Purpose Name="Process">
    <Range Start="abc" DisplayString="C" Decimals="x"/>
  </Purpose>
</Unit>
<End/>
)";

constexpr char kMorePreferences[] = R"(<Unit NISTString="Pa">
  <Purpose Name="Process">
    <Range Start="100" DisplayString="atm" Decimals="4"/>
  </Purpose>
</Unit>
<Unit NISTString="m">
  <Range Start="0" DisplayString="ft" Decimals="2"/>
</Unit>
<End/>
)";

TEST_F(UnitStringTest, PreferencesAnswerByPurposeAndValue) {
    ScratchDir dir;
    std::string const path = dir.Path("unitprefs.xml");
    WriteAll(path, kPreferences);
    UnitPreferences prefs;
    EXPECT_EQ(prefs.ReadPreferencesFile(path.c_str(), 0), 1);

    UnitString unstrPa("Pa");
    UnitString unstrFlow("m^3*h^-1");
    UnitString unstrK("K");
    UnitString unstrM("m");
    struct Case {
        double dValue;
        UnitString* punstr;
        char const* szPurpose;
        short nResult;
        char const* szDisplay;
        int nDecimals;
    };
    Case const cases[] = {
        {-5.0, &unstrPa, nullptr, 1, "kPa", 2}, // below the first start: the first
        {999.0, &unstrPa, "", 1, "kPa", 2},
        {1000.0, &unstrPa, "Default", 1, "MPa", 3},
        {2e9, &unstrPa, nullptr, 1, "GPa", 4}, // no Decimals: 4
        {6e9, &unstrPa, nullptr, 1, "psi", 0},
        {0.0, &unstrPa, "Process", 1, "bar", 1},
        {50.0, &unstrFlow, nullptr, 1, "m^3*s^-1", 5},
        {50.0, &unstrK, "Process", 1, "C", 4}, // no numbers: start 0, decimals 4
        {50.0, &unstrM, nullptr, 0, "unchanged", -1},
        {50.0, &unstrPa, "Storage", 0, "unchanged", -1}};
    auto const check = [](UnitPreferences& p, Case const& c) {
        CPString strInto("unchanged");
        char cDecimals = -1;
        EXPECT_EQ(p.GetUnitPreference(c.dValue, c.punstr, &strInto, &cDecimals, c.szPurpose),
                  c.nResult)
            << c.dValue << " " << Text(*c.punstr);
        EXPECT_EQ(Text(strInto), c.szDisplay) << c.dValue << " " << Text(*c.punstr);
        EXPECT_EQ(cDecimals, c.nDecimals) << c.dValue << " " << Text(*c.punstr);
    };
    for (Case const& c : cases)
        check(prefs, c);
    // A Range directly in a Unit is under "Default", after the purpose closed.
    EXPECT_EQ(prefs.RangeCount("Default", unstrPa._get_nUnitID()), 4u);
    EXPECT_EQ(prefs.RangeCount("Default", 0), 0u);
    EXPECT_EQ(prefs.PurposeCount(), 2u);

    // A copy answers the same.
    UnitPreferences copy(prefs);
    for (Case const& c : cases)
        check(copy, c);

    // Merging a second file adds to the lists; reading without merging replaces.
    std::string const more = dir.Path("more.xml");
    WriteAll(more, kMorePreferences);
    prefs.ReadPreferencesFile(more.c_str(), 1);
    Case const merged[] = {{150.0, &unstrPa, "Process", 1, "atm", 4},
                           {50.0, &unstrPa, "Process", 1, "bar", 1},
                           {50.0, &unstrM, nullptr, 1, "ft", 2},
                           {1000.0, &unstrPa, nullptr, 1, "MPa", 3}};
    for (Case const& c : merged)
        check(prefs, c);
    prefs.ReadPreferencesFile(more.c_str(), 0);
    check(prefs, {1000.0, &unstrPa, nullptr, 0, "unchanged", -1});
    check(prefs, {50.0, &unstrM, nullptr, 1, "ft", 2});
    // A file that is missing clears and still answers 1.
    EXPECT_EQ(prefs.ReadPreferencesFile(dir.Path("missing.xml").c_str(), 0), 1);
    EXPECT_EQ(prefs.PurposeCount(), 0u);
}

TEST_F(UnitStringTest, MalformedPreferencesGiveWhatWasReadOrTheThrow) {
    UnitString unstrPa("Pa");
    // nRanges: of Pa under "Default"
    std::tuple<char const*, std::string, bool, std::uint32_t> const cases[] = {
        {"a root of another name is ignored",
         "<Prefs><Unit NISTString=\"Pa\"><Range Start=\"0\" DisplayString=\"kPa\"/></Unit></Prefs>"
         "<End/>",
         false, 1},
        {"a Range as root", "<Range Start=\"0\" DisplayString=\"kPa\"/><End/>", true, 0},
        {"a Range after its Unit closed",
         "<Unit NISTString=\"Pa\"><Range Start=\"0\" DisplayString=\"kPa\"/></Unit>"
         "<Range Start=\"1\" DisplayString=\"MPa\"/><End/>",
         true, 1},
        {"truncated inside a tag",
         "<Unit NISTString=\"Pa\"><Range Start=\"0\" DisplayString=\"kPa\"/><Range Sta", false, 1},
        {"truncated after a whole tag",
         "<Unit NISTString=\"Pa\"><Range Start=\"0\" DisplayString=\"kPa\"/>", false, 1},
        {"truncated inside the unit's tag", "<Unit NISTString=\"Pa\"><Range Start=\"0\" Dis", false,
         0},
        {"a foreign unit the scanner refuses",
         "<Unit KRESKString=\"&quot;Pa\"><Range Start=\"0\" DisplayString=\"kPa\"/></Unit><End/>",
         false, 0},
        {"no XML at all", "Pa kPa 0 2", false, 0},
        {"empty", "", false, 0}};
    for (auto const& [szName, xml, bThrows, nRanges] : cases) {
        UnitPreferences prefs;
        std::string text = xml;
        bool bThrew = false;
        try {
            prefs.ReadPreferencesText(text.data(), 0);
        } catch (std::uint32_t n) {
            EXPECT_EQ(n, 0xDEADBEEFu);
            bThrew = true;
        }
        EXPECT_EQ(bThrew, bThrows) << szName;
        EXPECT_EQ(prefs.RangeCount(nullptr, unstrPa._get_nUnitID()), nRanges) << szName;
    }
}

TEST_F(UnitStringTest, ProcessPreferencesLoadFromTheStoredPath) {
    ScratchDir dir;
    std::string const path = dir.Path("unitprefs.xml");
    WriteAll(path, kPreferences);
    EXPECT_EQ(UnitString::LoadUnitPreferences(path.c_str(), "metric", 0), 1);
    EXPECT_EQ(Text(UnitString::_get_strPreferencesFilePath()), path);
    EXPECT_EQ(Text(UnitString::_get_strPreferredUnitSetName()), "metric");
    UnitString unstrPa("Pa");
    CPString strInto("");
    char cDecimals = 0;
    EXPECT_EQ(unstrPa.GetDisplayUnits(5000.0, &strInto, &cDecimals, nullptr), 1);
    EXPECT_EQ(Text(strInto), "MPa");
    UnitString::_get_prefsThe().Clear();
    EXPECT_EXIT(unstrPa.GetDisplayUnits(1.0, nullptr, nullptr, nullptr),
                ::testing::ExitedWithCode(0xCC), "");
}

} // namespace

#include <baseobj/cpval.h>

#include <baseobj/unitstr.h>
#include <omdiunit/omdiunit.h>
#include <util/pstring.h>

#include "cpval_support.h"
#include "support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <tuple>

namespace {

using namespace baseobj_test;

class CPValueTest : public BoxedTest {
protected:
    void SetUp() override { UnitInitialize(nullptr); }
};

// A golden file is hex text: bytes in pairs of digits, "#" to the end of a
// line a remark.
std::string Golden(std::string const& name) {
    std::ifstream in(std::filesystem::path(__FILE__).parent_path() / "golden" / name);
    EXPECT_TRUE(in.is_open()) << name;
    std::string bytes;
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream fields(line.substr(0, line.find('#')));
        std::string pair;
        while (fields >> pair)
            bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
    }
    return bytes;
}

std::string Written(CPValue& val) {
    std::ostringstream out;
    out << val;
    return out.str();
}

// The code and message of what fn throws as an Exception; 0 when nothing.
using Failure = std::pair<short, std::string>;
Failure Thrown(std::function<void()> const& fn) {
    try {
        fn();
    } catch (Exception const& e) {
        return {e._get_nException(), e.szMessage};
    }
    return {0, ""};
}

// Each case builds the value that its golden file holds: set, then given
// units and a name where it has them.
struct GoldenCase {
    char const* szFile;
    std::function<void(CPValue&)> set;
    char const* szUnits;
    char const* szName;
};

TEST_F(CPValueTest, FileFormsMatchTheGoldenBytesBothWays) {
    auto const collection = [](CPValue& v) {
        auto* x = new CPValue;
        x->Set(1.5);
        x->_set_punstrUnits("m");
        v.AddSubvalue(x, "x");
        auto* y = new CPValue;
        y->Set("a");
        v.AddSubvalue(y, "y");
        v._set_nSelector(1);
    };
    GoldenCase const cases[] = {
        {"cpval_undefined.hex", [](CPValue&) {}, nullptr, nullptr},
        {"cpval_char_named.hex", [](CPValue& v) { v.Set('A'); }, nullptr, "c"},
        {"cpval_bool.hex", [](CPValue& v) { v.SetBool(1); }, nullptr, nullptr},
        {"cpval_short.hex", [](CPValue& v) { v.Set(short{-2}); }, nullptr, "n"},
        {"cpval_long_units_named.hex", [](CPValue& v) { v.Set(std::int32_t{100000}); }, "m", "len"},
        {"cpval_float_units.hex", [](CPValue& v) { v.Set(1.5f); }, "kPa", nullptr},
        {"cpval_double_units_named.hex", [](CPValue& v) { v.Set(3.28); }, "ft", "d"},
        {"cpval_string_named.hex", [](CPValue& v) { v.Set("hi"); }, nullptr, "s"},
        {"cpval_collection.hex", collection, nullptr, "coll"}};
    for (GoldenCase const& c : cases) {
        SCOPED_TRACE(c.szFile);
        std::string const golden = Golden(c.szFile);
        ASSERT_FALSE(golden.empty());
        CPValue built;
        c.set(built);
        if (c.szUnits != nullptr) built._set_punstrUnits(c.szUnits);
        if (c.szName != nullptr) built._set_szName(c.szName);
        EXPECT_EQ(Written(built), golden);

        std::istringstream in(golden);
        CPValue read;
        in >> read;
        EXPECT_EQ(in.peek(), std::char_traits<char>::eof());
        EXPECT_EQ(Written(read), golden);
        EXPECT_EQ(read.GetType(), built.GetType());
        EXPECT_EQ(Str(read), Str(built));
        EXPECT_EQ(Units(read), Units(built));
    }
}

TEST_F(CPValueTest, BadOrShortFilesFailClearly) {
    std::string const golden = Golden("cpval_collection.hex");
    for (std::string const& bad : {std::string("\xFE\x01", 2), std::string("\xFF\x02", 2),
                                   std::string("\x01\xFF", 2), std::string()}) {
        std::istringstream in(bad + golden.substr(2));
        CPValue val;
        EXPECT_EQ(Thrown([&] { in >> val; }), Failure(401, "Unknown File Version"));
    }
    // Every cut of the file fails by a throw, reading nothing past its end.
    for (std::size_t n = 0; n < golden.size(); ++n) {
        std::istringstream in(golden.substr(0, n));
        CPValue val;
        bool bThrew = false;
        try {
            in >> val;
        } catch (Exception const& e) {
            bThrew = e._get_nException() == 402;
        } catch (std::uint32_t u) {
            bThrew = u == 0xDEADF0CC;
        }
        EXPECT_TRUE(bThrew) << "cut at " << n;
    }
}

TEST_F(CPValueTest, DeepNestingIsRefused) {
    std::string nested;
    for (int i = 0; i <= CPValue::kMaxFileDepth + 1; ++i)
        nested += std::string("\xFF\x01\x3A\xFF\xFF\xFF\xFF\x0A\x00", 9) + std::string(8, '\0') +
                  std::string("\x01\x00\x00\x00", 4);
    std::istringstream in(nested);
    CPValue val;
    EXPECT_EQ(Thrown([&] { in >> val; }).first, 402);
}

// A value in one unit assigned a number in another keeps its own unit and
// holds what the unit library's Convert gives.
TEST_F(CPValueTest, AssignmentAcrossUnitsMatchesConvert) {
    std::tuple<char const*, char const*, double> const pairs[] = {
        {"m", "ft", 1.0},       {"ft", "m", 3.0},     {"km", "m", 2.5},   {"in", "cm", 12.0},
        {"kPa", "Pa", 101.325}, {"h", "s", 1.5},      {"lb", "kg", 10.0}, {"K", "C", 300.0},
        {"C", "F", 100.0},      {"m^3", "ft^3", 2.0}, {"kJ", "J", 0.25},  {"m", "m", 7.0}};
    for (auto const& [szFrom, szTo, d] : pairs) {
        SCOPED_TRACE(std::string(szFrom) + " -> " + szTo);
        ValueOf source(d, szFrom);
        ValueOf target(0.0, szTo);
        target = source;
        EXPECT_EQ(target.GetAsDouble(), Convert(d, CPString(szFrom), CPString(szTo), 0));
        UnitString expected(szTo);
        EXPECT_EQ(Units(target), expected.GetBuffer());
    }
}

TEST_F(CPValueTest, UnitsOfOtherDimensionsAreRefused) {
    for (auto const& [szFrom, szTo] : {std::pair{"s", "m"}, {"kg", "Pa"}, {"m^2", "m^3"}}) {
        ValueOf source(2.0, szFrom);
        ValueOf target(5.0, szTo);
        EXPECT_EQ(Thrown([&] { target.Set(&source); }),
                  Failure(1344, "Invalid unit conversion From " + Units(source) +
                                    " To: " + Units(target)));
        EXPECT_EQ(target.GetAsDouble(), 5.0);
        // Changing units in place is refused the same way.
        EXPECT_EQ(Thrown([&] { target.AssignUnits(szFrom); }).first, 1344);
    }
}

TEST_F(CPValueTest, UnitsOnAssignmentFollowTheFlag) {
    ValueOf metres(4.0, "m");
    // A number without units keeps the target's units as they are.
    ValueOf plain(static_cast<short>(3));
    metres = plain;
    EXPECT_EQ(Shown(metres), "3 |m|");
    // A unitless target loses the source's units.
    CPValue bare;
    ValueOf feet(1.0, "ft");
    bare = feet;
    EXPECT_EQ(Shown(bare), "1.000000 ||");
    // Without the flag the source's units come over.
    metres._set_bPreserveUnitsOnAssignment(0);
    metres = feet;
    EXPECT_EQ(Shown(metres), "1.000000 |ft|");
}

TEST_F(CPValueTest, ChecksOfSet) {
    CPValue val;
    EXPECT_EQ(std::tuple(val.IsDefined(), val._get_nSelector(), Str(val)),
              std::tuple(short{0}, short{-1}, "<empty>"));

    auto* upper = new CPValue;
    upper->Set(10.0);
    val.SetUpperBound(upper);
    val.Set(10.0);
    EXPECT_EQ(Thrown([&] { val.Set(10.5); }),
              Failure(106, "Invalid Range Value of 10.500000 higher than upper bound 10.000000"));
    EXPECT_EQ(val.GetAsDouble(), 10.0);
    val.ClearBounds();

    // Only the top parent's lock counts, and only for Set(CPValue *).
    CPValue parent;
    auto* child = new CPValue;
    child->_set_szName("kid");
    parent.AddSubvalue(child, "kid");
    ValueOf two(2.0);
    child->SetLockedStatus(1);
    child->Set(&two);
    EXPECT_EQ(child->GetAsDouble(), 2.0);
    parent.SetLockedStatus(1);
    EXPECT_EQ(Thrown([&] { child->Set(&two); }), Failure(321, "Cannot assign to locked value kid"));
    parent.Set(two);
    EXPECT_EQ(parent.GetAsDouble(), 2.0);

    CPValue undefined;
    val._set_bCannotAssumeUndefinedState(1);
    EXPECT_EQ(Thrown([&] { val.Set(&undefined); }).first, 350);
    val._set_bCannotAssumeUndefinedState(0);
    val.Set(&undefined);
    EXPECT_EQ(val.GetType(), TY_UNDEFINED);
}

TEST_F(CPValueTest, StateFlagsAndPromotion) {
    CPValue val;
    val.SetDefineStatus(7);
    EXPECT_EQ(val._get_nDefStatus(), 3);
    val.SetLockedReason(1);
    EXPECT_EQ(val.WhyLocked(), 1);
    EXPECT_EQ(val.IsLocked(), 0);
    EXPECT_EQ(val._get_nFlags(), 0x86u | 0x20u);

    std::tuple<std::function<void(CPValue&)>, short, short> const promotions[] = {
        {[](CPValue& v) { v.Set(std::int32_t{1}); }, TY_DOUBLE, 1},
        {[](CPValue& v) { v.Set("x"); }, TY_DOUBLE, 0},
        {[](CPValue& v) { v.Set(1.0); }, static_cast<short>(TY_COLLECTION), 0},
        {[](CPValue& v) { v.Set(1.0); }, TY_SHORT, 0}};
    for (auto const& [set, nTo, nExpected] : promotions) {
        CPValue v;
        set(v);
        EXPECT_EQ(v.CanPromoteTo(nTo), nExpected);
    }

    val._set_pstrPurpose("the PressureDropAcross");
    EXPECT_EQ(val.IsDelta(), 1);
    val._set_pstrPurpose("Temperature");
    EXPECT_EQ(val.IsDelta(), 0);
}

TEST_F(CPValueTest, TypesAndTextForms) {
    ValueOf val(3.75, "m");
    val.SetType(TY_LONG);
    EXPECT_EQ(val.GetType(), TY_LONG);
    EXPECT_EQ(Shown(val), "3 |m|");

    ValueOf read(std::int32_t{0}, "m");
    read.SetFromString("2.5|m(DeltaTemp)", 1);
    EXPECT_EQ(read.GetAsDouble(), 2.5);
    EXPECT_STREQ(read._get_pstrPurpose_As_sz(), "DeltaTemp");
    read.SetFromString("100|cm", 0);
    EXPECT_EQ(Shown(read), "1.000000 |m|");

    ValueOf shown(2.0, "m");
    shown._set_pstrPurpose("Length");
    CPString strWho;
    shown.WhoAmI(&strWho);
    EXPECT_STREQ(strWho.GetBuffer(), "2.000000 |m|  (Length)");
    double dSI = 0.0;
    char szBase[256];
    shown._set_punstrUnits("ft");
    EXPECT_EQ(shown.GetAsSI(&dSI, szBase), 1);
    EXPECT_EQ(dSI, Convert(2.0, CPString("ft"), CPString("m"), 0));
    EXPECT_STREQ(szBase, "m");

    CPValue coll;
    auto* x = new CPValue;
    x->Set(std::int32_t{1});
    coll.AddSubvalue(x, "x");
    auto* y = new CPValue;
    y->Set("a");
    coll.AddSubvalue(y, "y");
    EXPECT_EQ(Str(coll), "{'x': 1 , 'y': \"a\"}");
    int nVisited = 0;
    coll.ForEach([](void*, void* pv) { ++*static_cast<int*>(pv); }, &nVisited);
    EXPECT_EQ(nVisited, 2);
    coll._set_nSelector(1);
    EXPECT_EQ(Str(coll), "a");
    coll._set_nSelector(5);
    EXPECT_EQ(coll._get_nSelector(), -1);

    // Collections nested 22 deep: from the twenty-first on the print is cut.
    CPValue deep;
    CPValue* at = &deep;
    for (int i = 0; i < 22; ++i) {
        auto* inner = new CPValue;
        inner->PromoteToCollection(0);
        at->AddSubvalue(inner);
        at = inner;
    }
    std::string const text = Str(deep);
    EXPECT_NE(text.find("{{{{{{{{{{{{{{{{{{{{OVERFLOW in CPVAL.CPP::PrintValueAsExpression}"),
              std::string::npos);
}

TEST_F(CPValueTest, PooledValuesComeBackClean) {
    CPValue* pval = CPValue::NewValue();
    pval->Set(5.0);
    pval->_set_punstrUnits("m");
    pval->_set_szName("pooled");
    pval->Release();
    CPValue* again = CPValue::NewValue();
    EXPECT_EQ(again, pval);
    EXPECT_EQ(Shown(*again), "<empty> ||");
    EXPECT_EQ(again->_get_szName(nullptr), nullptr);
    again->Release();
}

TEST_F(CPValueTest, DisplayUsesThePreferredUnits) {
    UnitPreferences& prefs = UnitString::_get_prefsThe();
    UnitString const metres("m");
    prefs.AddRange(metres._get_nUnitID(), 0.0, "cm", 2, nullptr);
    ValueOf val(1.5, "m");
    char buf[256];
    val.GetDisplayString(buf, nullptr);
    double d = 0.0;
    char szUnits[256];
    char cDecimals = 0;
    short const bFound = val.GetAsPreferred(&d, szUnits, &cDecimals);
    prefs.Clear();
    EXPECT_STREQ(buf, "150.000000 |cm| ");
    EXPECT_EQ(std::tuple(bFound, d, std::string(szUnits), cDecimals),
              std::tuple(short{1}, 150.0, "cm", char{2}));
    // The value itself is not changed by showing it.
    EXPECT_EQ(Shown(val), "1.500000 |m|");
}

} // namespace

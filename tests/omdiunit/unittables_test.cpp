#include <omdiunit/cunitid.h>
#include <omdiunit/omdiunit.h>
#include <omdiunit/unitcol.h>
#include <omdiunit/unittables.h>

#include "support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

using namespace unittables;
using omdiunit_test::UnitsTest;

namespace {

// "L^-1 M T^-2" as a dimension; "1" is none.
std::uint32_t IdOfExponents(std::string const& text) {
    CUnitId id;
    std::istringstream words(text);
    std::string word;
    while (words >> word) {
        if (word == "1") continue;
        std::size_t const caret = word.find('^');
        int const n = caret == std::string::npos ? 1 : std::stoi(word.substr(caret + 1));
        using Setter = void (CUnitId::*)(char);
        static constexpr std::pair<char, Setter> kFields[] = {
            {'L', &CUnitId::Length_Set},      {'M', &CUnitId::Mass_Set},
            {'T', &CUnitId::Time_Set},        {'I', &CUnitId::Current_Set},
            {'K', &CUnitId::Temperature_Set}, {'N', &CUnitId::Substance_Set},
            {'J', &CUnitId::Intensity_Set},   {'U', &CUnitId::User_Set}};
        auto const* const pfield = std::find_if(std::begin(kFields), std::end(kFields),
                                                [&](auto const& f) { return f.first == word[0]; });
        if (pfield == std::end(kFields)) {
            ADD_FAILURE() << "exponent " << word;
            continue;
        }
        CUnitId field;
        (field.*pfield->second)(1);
        id *= field.pow(static_cast<short>(n));
    }
    return static_cast<std::uint32_t>(id);
}

// The unit's own symbol when the symbol table finds that very unit, else the
// coherent text of its dimension.
CPString TextFor(CUnit& unit) {
    char const* symbol = UnitTextOf(unit.Symbol());
    UnitCollection terms;
    if (symbol[0] != '\0' && terms.Parse(symbol) && terms.Count() == 1 &&
        terms.Term(0).pUnit == &unit && terms.Term(0).nPrefix < 0)
        return symbol;
    return StringFromId(unit.ulId);
}

// Into SI and back, and the dimension of the text is the unit's.
void ExpectRoundTrip(CUnit& unit) {
    CPString const text = TextFor(unit);
    SCOPED_TRACE(std::string(UnitTextOf(unit.Name())) + " as " + UnitTextOf(text));
    for (double value : {1.0, -40.0, 1234.5}) {
        double const si = ConvertToSI(value, text, 0);
        double const back = ConvertFromSI(si, text, 0);
        EXPECT_NEAR(back, value, std::fabs(value) * 1e-12);
    }
    EXPECT_EQ(IdFromString(text), unit.ulId);
}

template <class Rows, class Units> void ExpectRowsMatchUnits(Rows rows, Units units) {
    ASSERT_EQ(rows.size(), units.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(units[i].ulId, rows[i].nId) << i;
        if (rows[i].szExponents != nullptr) {
            EXPECT_EQ(IdOfExponents(rows[i].szExponents), rows[i].nId) << rows[i].szExponents;
        }
        ExpectRoundTrip(units[i]);
    }
}

} // namespace

using UnitTablesTest = UnitsTest;

TEST_F(UnitTablesTest, EveryRowConvertsBackAndItsIdMatchesItsExponents) {
    EXPECT_EQ((std::vector{SIBaseRows().size(), SIDerivedRows().size(), SIDerivedARows().size(),
                           SIDerivedBRows().size(), SIOtherRows().size(), OtherWRows().size(),
                           OtherRows().size(), PrefixRows().size()}),
              (std::vector<std::size_t>{7, 11, 13, 14, 7, 13, 125, 20}));

    ExpectRowsMatchUnits(SIBaseRows(), SIBaseUnits());
    ExpectRowsMatchUnits(SIDerivedRows(), SIDerivedUnits());
    ExpectRowsMatchUnits(SIDerivedARows(), SIDerivedAUnits());
    ExpectRowsMatchUnits(SIDerivedBRows(), SIDerivedBUnits());
    ExpectRowsMatchUnits(SIOtherRows(), SIOtherUnits());
    ExpectRowsMatchUnits(OtherWRows(), OtherWUnits());
    ExpectRowsMatchUnits(OtherRows(), OtherUnits());

    // Each prefix scales the meter by its power.
    for (PrefixRow const& prefix : PrefixRows()) {
        std::string const text = std::string(prefix.szSymbol) + "m";
        EXPECT_NEAR(ConvertToSI(1.0, text.c_str(), 0), std::pow(10.0, prefix.nPower),
                    std::pow(10.0, prefix.nPower) * 1e-12)
            << prefix.szName;
    }
}

TEST_F(UnitTablesTest, QuantitiesAreSortedAndDistinct) {
    ASSERT_EQ(UnitQuantityCount(), 45);
    std::set<std::uint32_t> ids;
    for (int i = 0; i < UnitQuantityCount(); ++i) {
        ids.insert(IdFromType(i));
        if (i > 0) {
            EXPECT_LT(IdFromType(i - 1), IdFromType(i));
        }
    }
    EXPECT_EQ(ids.size(), 45u);
    EXPECT_STREQ(UnitTextOf(StringFromType(0)), "m");
}

TEST_F(UnitTablesTest, LookupByDimension) {
    std::tuple<std::uint32_t, char const*, char const*, char const*> const cases[] = {
        {0xF87F, "pressure", "Pa", "N*m^-2"},
        {0xFC00, "frequency", "Hz", "s^-1"}, // no formula: the coherent text
        {0x3, "volume", "", "m^3"},
        {0xF802, "specific_energy", "", "J*kg*-1"},
        {0x40, "mass", "g", "kg"},
        {0x5, "", "", ""}};
    for (auto const& [id, what, symbol, composit] : cases) {
        EXPECT_STREQ(UnitTextOf(UnitWhat(id)), what) << std::hex << id;
        EXPECT_STREQ(UnitTextOf(UnitSymbol(id)), symbol) << std::hex << id;
        EXPECT_STREQ(UnitTextOf(UnitComposit(id)), composit) << std::hex << id;
    }
}

TEST_F(UnitTablesTest, InitialisingRunsOnceUntilUndone) {
    omdiunit_test::UserFile file("dimension\n1.0 zork first\n");
    UnitInitialize(file.path.c_str()); // already built: nothing changes
    EXPECT_EQ(IdFromString("zork"), 0u);
    UnitUnInitialize();
    UnitUnInitialize();
    UnitInitialize(file.path.c_str());
    EXPECT_EQ(IdFromString("zork"), 0x10000000u);
    EXPECT_EQ(IdFromString("Pa"), 0xF87Fu);
    UnitUnInitialize();
    UnitInitialize("/nonexistent/units.txt"); // silently without user units
    EXPECT_EQ(IdFromString("zork"), 0u);
    EXPECT_EQ(IdFromString("m"), 1u);
}

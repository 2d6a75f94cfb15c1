#include <omdiunit/omdiunit.h>

#include "support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>

using omdiunit_test::ThrownText;
using omdiunit_test::UnitsTest;

using UnitConvertTest = UnitsTest;

TEST_F(UnitConvertTest, IntoAndOutOfSI) {
    std::tuple<double, char const*, short, double> const cases[] = {
        {1.0, "kg", 0, 1.0},
        {1.0, "g", 0, 0.001},
        {1.0, "g^2", 0, 1e-06},
        {1.0, "kPa^2", 0, 1e06}, // the prefix takes the exponent too
        {1.0, "t", 0, 1000.0},   // mass factors are in kilograms
        {1.0, "mg", 0, 1e-06},
        {0.0, "C", 0, 273.15},
        {0.0, "C", 1, 0.0}, // a difference has no offset
        {32.0, "F", 0, 32.0 * 0.55555555555 + 255.37222222222},
        {1.0, "C^2", 0, 1.0}, // no offset with an exponent
        {1.0, "C*m", 0, 1.0}, // nor in a compound unit
        {0.0, "psig", 0, 101325.0},
        {2.0, "kC", 0, 275150.0}, // prefix after the offset
        {1.0, "km*h^-1", 0, 1000.0 / 3600.0},
        {1.0, "xyz", 0, 0.0},
        {1.0, "", 0, 0.0}};
    for (auto const& [value, unit, difference, si] : cases) {
        EXPECT_NEAR(ConvertToSI(value, unit, difference), si, std::fabs(si) * 1e-14) << unit;
        if (si == 0.0 || std::string(unit) == "kC") continue;
        EXPECT_NEAR(ConvertFromSI(si, unit, difference), value, std::fabs(value) * 1e-12 + 1e-12)
            << unit;
    }
    // A prefixed offset unit does not come back: the offset is undone before
    // the prefix is.
    EXPECT_NEAR(ConvertFromSI(275150.0, "kC", 0), (275150.0 - 273.15) / 1000.0, 1e-9);
}

TEST_F(UnitConvertTest, BetweenUnits) {
    std::tuple<double, char const*, char const*, short, double> const cases[] = {
        {0.0, "C", "K", 0, 273.15},
        {32.0, "F", "K", 0, UnitRound(32.0 * 0.55555555555 + 255.37222222222, 1e-05)},
        {10.0, "C", "F", 1, UnitRound(10.0 / 0.55555555555, 1e-05)},
        {0.0, "psig", "psia", 0, UnitRound(101325.0 / 6894.757, 1e-05)},
        {12.5, "ft", "m", 0, 3.81001},
        {1.0, "mi", "km", 0, 1.60934},
        {1.0, "m", "mi", 0, 0.000621371}, // small values keep more digits
        {5.0, "xyz", "xyz", 0, 5.0},      // equal texts are not parsed
        {5.0, "xyz", "abc", 0, 0.0},      // both unknown: id 0 each
        {1.0, "J*kg^-1*C^-1", "J*kg^-1*K^-1", 0, 1.0},
        {1.0, "dam", "m", 0, 10.0}};
    for (auto const& [value, from, to, difference, expected] : cases)
        EXPECT_DOUBLE_EQ(Convert(value, from, to, difference), expected) << from << " to " << to;

    EXPECT_EQ(ThrownText([] { Convert(1.0, "m", "s", 0); }),
              "not same type omdiunit/omdiunit 569\n");
    EXPECT_EQ(ThrownText([] { Convert(1.0, "m", "xyz", 0); }),
              "not same type omdiunit/omdiunit 569\n");
    EXPECT_EQ(ThrownText([] { (void)IdFromString("m^64"); }),
              "exponent overflow : length 64 (3F) omdiunit/cunitid 177\n");
    EXPECT_EQ(xIdFromString("m^64"), 0u);
}

TEST(UnitRoundTest, GrainFollowsTheSize) {
    EXPECT_EQ(UnitRound(0.0, 1e-05), 0.0);
    EXPECT_DOUBLE_EQ(UnitRound(123456.123456, 1e-05), 123456.12346);
    EXPECT_DOUBLE_EQ(UnitRound(-2.000004, 1e-05), -2.0);
    EXPECT_DOUBLE_EQ(UnitRound(0.00123456789, 1e-05), 0.00123457);
    EXPECT_DOUBLE_EQ(UnitRound(2.5, 1.0), 3.0); // a tie goes up
    EXPECT_DOUBLE_EQ(UnitRound(-2.5, 1.0), -2.0);
}

TEST_F(UnitConvertTest, DimensionTexts) {
    std::tuple<char const*, std::uint32_t, char const*> const cases[] = {
        {"Pa", 0xF87F, "m^-1*kg*s^-2"},
        {"kg*m^2*s^-2", 0xF842, "m^2*kg*s^-2"},
        {"/R", 0x3F0F842, "m^2*kg*s^-2*K^-1*mol^-1"},
        {"cd*A*m^-1", 0x401003F, "m^-1*A*cd"},
        {"/\00193", 0, ""}};
    for (auto const& [unit, id, text] : cases) {
        EXPECT_EQ(IdFromString(unit), id) << unit;
        EXPECT_STREQ(UnitTextOf(StringFromId(id)), text);
    }
}

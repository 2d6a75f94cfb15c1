#include <omdiunit/omdiunit.h>
#include <omdiunit/unitcol.h>
#include <omdiunit/unittables.h>

#include "support.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

using omdiunit_test::ThrownText;
using omdiunit_test::UnitsTest;

using UnitParseTest = UnitsTest;

namespace {

std::string Text(UnitCollection const& terms) {
    return UnitTextOf(terms.Text());
}

UnitCollection Parsed(char const* text) {
    UnitCollection terms;
    EXPECT_TRUE(terms.Parse(text)) << text;
    return terms;
}

} // namespace

TEST_F(UnitParseTest, Terms) {
    // prefix: null for none
    std::tuple<char const*, char const*, char const*, short> const cases[] = {
        {"kg", "kilo", "gram", 1},
        {"dam", "deka", "meter", 1},
        {"dm", "deci", "meter", 1},
        {"min", nullptr, "minute", 1},
        {"Pa", nullptr, "pascal", 1},
        {"cd", nullptr, "candela", 1},
        {"ft", nullptr, "foot (US survey)", 1},
        {"mol", nullptr, "mole", 1},
        {"kPa^2", "kilo", "pascal", 2},
        {"s^-1", nullptr, "second", -1},
        {"m^", nullptr, "meter", 0},
        {"m^abc", nullptr, "meter", 0},
        {"u", nullptr, "unified atomic mass unit", 1},
        {"\00192m", "micro", "meter", 1},
        {"mmHg", nullptr, "millimeter of mercury", 1},
        {"kft", "kilo", "foot (US survey)", 1}, // a prefix on any unit
        // Where table units share a symbol, the first to claim it wins.
        {"gpm", nullptr, "gallon per minute", 1},
        {"Farad", nullptr, "farad", 1},
        {"F", nullptr, "degree Fahrenheit", 1},
        {"C", nullptr, "degree Celcius", 1},
        {"d", nullptr, "day", 1},
        {"h", nullptr, "hour", 1},
        {"T", nullptr, "tesla", 1},
        {"G", nullptr, "gauss", 1},
        {"\00194", nullptr, "ohm", 1},
        {"l.y.", nullptr, "light year", 1},
        {"Btu\\IT", nullptr, "British thermal unit (international table)", 1},
    };
    for (auto const& [text, prefix, unit, exponent] : cases) {
        UnitCollection terms;
        ASSERT_TRUE(terms.Parse(text)) << text;
        ASSERT_EQ(terms.Count(), 1);
        UnitTerm const& term = terms.Term(0);
        if (prefix == nullptr)
            EXPECT_EQ(term.nPrefix, -1) << text;
        else
            EXPECT_STREQ(UnitTextOf(unittables::PrefixAt(term.nPrefix).Name()), prefix);
        EXPECT_STREQ(UnitTextOf(term.pUnit->Name()), unit) << text;
        EXPECT_EQ(term.nExponent, exponent) << text;
    }
}

TEST_F(UnitParseTest, FailuresLeaveTheCollectionAsItWas) {
    UnitCollection terms = Parsed("m*s");
    // The first matching prefix decides, and no later one is tried ("dax");
    // the last '^' splits, so "m^2^3" looks for a unit "m^2"; blanks and '/'
    // are not part of the form.
    for (char const* bad : {"", "m*", "*m", "xyz", "dax", "m s", "m/s", "(m)", "m^2^3"}) {
        EXPECT_FALSE(terms.Parse(bad)) << bad;
        EXPECT_EQ(Text(terms), "m*s");
    }
    EXPECT_EQ(IdFromString("xyz"), 0u);
    EXPECT_EQ(IdFromString("m^"), 0u);

    std::string text(255, 'm');
    for (std::size_t i = 1; i < text.size(); i += 2)
        text[i] = '*';
    EXPECT_TRUE(terms.Parse(text.c_str())); // 128 terms, the most that fit
    EXPECT_EQ(terms.Count(), 128);
    EXPECT_EQ(IdFromString("m*m*m"), 0x3u);
    std::string stars(255, '*');
    EXPECT_FALSE(terms.Parse(stars.c_str()));
    EXPECT_EQ(ThrownText([&] { terms.Parse((text + "m").c_str()); }),
              "unit string too big omdiunit/unitcol 197\n");
    EXPECT_EQ(ThrownText([] { (void)xIdFromString(std::string(256, 'm').c_str()); }), "no error");
}

TEST_F(UnitParseTest, SimplifyAndTheOtherOperations) {
    std::tuple<char const*, char const*> const cases[] = {
        {"m*s*m^-1", "s"},     // merged, and the zero dropped
        {"s*m", "m*s"},        // sorted only
        {"m^0*s", "m^0*s"},    // nothing merged: the zero stays
        {"km*m*km", "m*km^2"}, // by unit symbol; prefixes keep runs apart
        {"N*m*N^-1*m^-1", ""}, // everything cancels
        {"kg*m^2*s^-2*kg^-1", "m^2*s^-2"}};
    for (auto const& [text, simplified] : cases) {
        UnitCollection terms = Parsed(text);
        terms.Simplify();
        EXPECT_EQ(Text(terms), simplified) << text;
    }

    UnitCollection const pressure = Parsed("kg*m^-1*s^-2");
    EXPECT_EQ(Text(pressure.Numerator()), "kg");
    EXPECT_EQ(Text(pressure.Denominator()), "m^-1*s^-2");
    UnitCollection inverted = pressure;
    inverted.Invert();
    EXPECT_EQ(Text(inverted), "kg^-1*m*s^2");
    EXPECT_EQ(Text(pressure.Concatenate(Parsed("m"))), "kg*m^-1*s^-2*m");
    EXPECT_TRUE(Parsed("m*s") == Parsed("s*m"));
    EXPECT_TRUE(Parsed("m*m") == Parsed("m^2"));
    EXPECT_FALSE(Parsed("m*s") == Parsed("m*s*s"));
    EXPECT_FALSE(Parsed("km") == Parsed("m"));

    UnitCollection mixed = Parsed("ft*m*s");
    double const factor = mixed.Reduce();
    ASSERT_EQ(mixed.Count(), 2);
    bool const keptMeter = Text(mixed) == "m*s";
    EXPECT_TRUE(keptMeter || Text(mixed) == "ft*s");
    EXPECT_EQ(factor, keptMeter ? Convert(1.0, "ft", "m", 0) : Convert(1.0, "m", "ft", 0));
}

TEST_F(UnitParseTest, OperationsOnTexts) {
    CPString result;
    short same = -1;
    ASSERT_TRUE(UnitOperation("kg*m", "s^2", '/', result, &same));
    EXPECT_STREQ(UnitTextOf(result), "kg*m*s^-2");
    ASSERT_TRUE(UnitOperation("N", "m^-1", '*', result, &same));
    EXPECT_STREQ(UnitTextOf(result), "N*m^-1");
    ASSERT_TRUE(UnitOperation("N*m", "J", '+', result, &same));
    EXPECT_STREQ(UnitTextOf(result), "N*m");
    EXPECT_EQ(same, 0);
    ASSERT_TRUE(UnitOperation("m*N", "N*m", '-', result, &same));
    EXPECT_EQ(same, 1);
    EXPECT_FALSE(UnitOperation("m", "s", '+', result, &same));
    EXPECT_EQ(ThrownText([&] { UnitOperation("m", "m", '%', result, &same); }),
              "unknown unit operator omdiunit/unitcol 885\n");

    CPString numerator;
    CPString denominator;
    ASSERT_TRUE(UnitSplit("kg*m^-3*s^-1", numerator, denominator));
    EXPECT_STREQ(UnitTextOf(numerator), "kg");
    EXPECT_STREQ(UnitTextOf(denominator), "m^3*s");

    CPString expanded;
    ASSERT_TRUE(UnitExpand("Pa^2*s", expanded));
    EXPECT_STREQ(UnitTextOf(expanded), "N^2*m^-4*s^1");
    ASSERT_TRUE(UnitExpand("kPa", expanded)); // a prefixed term stays whole
    EXPECT_STREQ(UnitTextOf(expanded), "kPa^1");
}

TEST_F(UnitParseTest, Descriptions) {
    std::tuple<char const*, char const*> const cases[] = {
        {"kPa*m^2", "kilopascal square meter"},
        {"m*s^-1", "meter per second"},
        {"kg*m^-3", "kilogram per cubic meter"},
        {"s^-1*m", " meter per second"}, // the blank stands for the first term
        {"m^4", "quartic meter"},
        {"m^5", "meter"}, // no word past four
        {"m^0", " per"},
        {"xyz", ""}};
    for (auto const& [text, info] : cases)
        EXPECT_STREQ(UnitTextOf(UnitGetInfo(text)), info) << text;
}

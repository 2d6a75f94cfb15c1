#include <omdiunit/cunitid.h>

#include "support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <tuple>

using omdiunit_test::ThrownText;

TEST(CUnitIdTest, UnpacksAndPacksEveryField) {
    CUnitId const pressure(0xF87F);
    EXPECT_EQ(std::tuple(pressure.Length_Get(), pressure.Mass_Get(), pressure.Time_Get()),
              std::tuple(char{-1}, char{1}, char{-2}));
    EXPECT_EQ(pressure.Count(), 3);
    EXPECT_EQ(static_cast<std::uint32_t>(pressure), 0xF87Fu);

    // Each field at its most negative value, alone, lands in its own bits.
    struct Case {
        std::uint32_t word;
        int expected;
        char (CUnitId::*get)() const;
    };
    Case const cases[] = {
        {0x20, -32, &CUnitId::Length_Get},         {0x200, -8, &CUnitId::Mass_Get},
        {0x8000, -32, &CUnitId::Time_Get},         {0x80000, -8, &CUnitId::Current_Get},
        {0x400000, -4, &CUnitId::Temperature_Get}, {0x2000000, -4, &CUnitId::Substance_Get},
        {0x8000000, -2, &CUnitId::Intensity_Get},  {0x20000000, -2, &CUnitId::User_Get}};
    for (Case const& c : cases) {
        CUnitId const id(c.word);
        EXPECT_EQ((id.*c.get)(), c.expected) << std::hex << c.word;
        EXPECT_EQ(id.Count(), 1);
        EXPECT_EQ(static_cast<std::uint32_t>(id), c.word);
    }

    std::mt19937 random(18);
    for (int i = 0; i < 10000; ++i) {
        std::uint32_t const word = random() & 0x3FFFFFFFu;
        ASSERT_EQ(static_cast<std::uint32_t>(CUnitId(word)), word) << std::hex << word;
    }
}

TEST(CUnitIdTest, ValidationUsesTheMasksAsLimits) {
    CUnitId id;
    id.Length_Set(-62);
    EXPECT_NO_THROW((void)static_cast<std::uint32_t>(id));
    id.Length_Set(-63);
    EXPECT_EQ(ThrownText([&] { (void)static_cast<std::uint32_t>(id); }),
              "exponent overflow : length -63 (3F) omdiunit/cunitid 177\n");
    id.Length_Set(64);
    EXPECT_EQ(ThrownText([&] { id.Validate(); }),
              "exponent overflow : length 64 (3F) omdiunit/cunitid 177\n");

    // Mass 9 is within the mask's limit of 15 and wraps when packed.
    CUnitId mass;
    mass.Mass_Set(9);
    EXPECT_EQ(CUnitId(static_cast<std::uint32_t>(mass)).Mass_Get(), -7);
    CUnitId seven;
    seven.Mass_Set(7);
    CUnitId const fourteen = seven * seven;
    EXPECT_EQ(fourteen.Mass_Get(), 14);
    EXPECT_EQ(CUnitId(static_cast<std::uint32_t>(fourteen)).Mass_Get(), -2);

    // Fields are checked in the unpacked order: mass before length.
    CUnitId both;
    both.Length_Set(100);
    both.Mass_Set(16);
    EXPECT_EQ(ThrownText([&] { both.Validate(); }),
              "exponent overflow : mass 16 (0F) omdiunit/cunitid 177\n");
    CUnitId user;
    user.User_Set(-3);
    EXPECT_EQ(ThrownText([&] { user.Validate(); }),
              "exponent overflow : user -3 (03) omdiunit/cunitid 177\n");
}

TEST(CUnitIdTest, Arithmetic) {
    CUnitId const length(0x1);
    CUnitId const time(0x400);
    EXPECT_EQ(static_cast<std::uint32_t>(length / time), 0xFC01u);
    CUnitId velocity(0xFC01);
    EXPECT_EQ(static_cast<std::uint32_t>(velocity.pow(-2)), 0x83Eu);
    EXPECT_EQ(static_cast<std::uint32_t>(CUnitId(0xF87F).pow(1)), 0xF87Fu);
    EXPECT_EQ(static_cast<std::uint32_t>(CUnitId(0xF87F).pow(0)), 0u);

    // Sums keep the left operand and demand equal dimensions.
    EXPECT_EQ(static_cast<std::uint32_t>(length + CUnitId(0x1)), 0x1u);
    CUnitId sum(0x1);
    EXPECT_EQ(ThrownText([&] { (void)(length + time); }),
              "units not equal : + omdiunit/cunitid 55\n");
    EXPECT_EQ(ThrownText([&] { (void)(length - time); }),
              "units not equal : - omdiunit/cunitid 55\n");
    EXPECT_EQ(ThrownText([&] { sum += time; }), "units not equal : += omdiunit/cunitid 55\n");
    EXPECT_EQ(ThrownText([&] { sum -= time; }), "units not equal : -= omdiunit/cunitid 55\n");
}

#include <omdiunit/cuserunit.h>
#include <omdiunit/unitpriv.h>
#include <omdiunit/unittables.h>

#include "support.h"
#include <support/fatal.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using omdiunit_test::ThrownText;

TEST(UnitHashTableTest, SymbolHash) {
    EXPECT_EQ(UnitSymbolHash("m", 64), (109u + 1u) % 64u);
    EXPECT_EQ(UnitSymbolHash("", 64), 0u);
    EXPECT_EQ(UnitSymbolHash(nullptr, 64), 0u);
    // "abcd" is one little-endian word, then the length; "abcde" adds 'e'.
    std::uint32_t const word = 'a' | 'b' << 8 | 'c' << 16 | static_cast<std::uint32_t>('d') << 24;
    EXPECT_EQ(UnitSymbolHash("abcd", 1000), (word + 4) % 1000);
    EXPECT_EQ(UnitSymbolHash("abcde", 1000), (word + 'e' + 5) % 1000);
    // Bytes above 0x7F count as unsigned.
    EXPECT_EQ(UnitSymbolHash("\xFF", 1000), 256u);
}

TEST(UnitHashTableTest, FirstClaimWinsRemoveAndVisitInBucketOrder) {
    CSIBaseUnit first(0x1, "length", "meter", "m");
    CSIBaseUnit second(0x400, "time", "second", "s");
    // Every key in one bucket, so that order within a bucket shows.
    UnitHashTable table(
        4, [](char const*, std::uint32_t) { return 2u; }, std::strcmp);
    table.Add({"a", &first});
    EXPECT_EQ(table.Add({"a", &second})->value, &first);
    EXPECT_EQ(table.Count(), 1u);
    for (char const* key : {"b", "c", "d"})
        table.Add({key, &second});
    table.Remove("b");
    table.Remove("zz");
    EXPECT_EQ(table.Count(), 3u);
    EXPECT_EQ(table.Find("b"), nullptr);
    EXPECT_EQ(table.Find("a")->value, &first);
    std::string visited;
    table.ForEach([](HashPair& pair, void* pv) { *static_cast<std::string*>(pv) += pair.key; },
                  &visited);
    EXPECT_EQ(visited, "acd");
}

TEST(UnitHashTableTest, ArraysGrowInBlocksOfTwelve) {
    TDynArray<int> array;
    EXPECT_EQ(array.Capacity(), 12);
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(array.Append(i * 10), i);
    EXPECT_EQ(array.Capacity(), 12);
    array.Append(120);
    EXPECT_EQ(array.Capacity(), 24);
    for (std::uint16_t i = 0; i < 13; ++i)
        EXPECT_EQ(array[i], i * 10);
    array.RemoveLast();
    EXPECT_EQ(array.Count(), 12);
}

TEST(UnitHashTableDeathTest, IndexPastTheCountEndsTheProcess) {
    TDynArray<int> array;
    array.Append(1);
    EXPECT_EXIT(array[1], ::testing::ExitedWithCode(kFatalStatus), "");
}

TEST(CUnitTest, AbsentTextsAreOneSharedEmptyString) {
    CSIDerivedUnit volume(0x3, "volume", "cubic meter");
    CSIDerivedBUnit viscosity(0xFC7F, "dynamic_viscosity", "Pa*s");
    CUnit& a = volume;
    CUnit& b = viscosity;
    EXPECT_EQ(&a.Symbol(), &CUnit::EmptyString());
    EXPECT_EQ(&b.Name(), &CUnit::EmptyString());
    EXPECT_EQ(&b.Symbol(), &CUnit::EmptyString());
    EXPECT_EQ(a.Composit().Length(), 0);
    EXPECT_STREQ(UnitTextOf(b.Composit()), "Pa*s");

    // One text for every unit's dimension: the second call overwrites it.
    CPString& first = a.DimensionText();
    EXPECT_STREQ(UnitTextOf(first), "m^3");
    CPString& second = b.DimensionText();
    EXPECT_EQ(&first, &second);
    EXPECT_STREQ(UnitTextOf(first), "m^-1*kg*s^-1");

    // The factor comes before the id in the second group of other units.
    COtherWUnit tex("tex", "tex", 1e-06, 0x7F, 0.0);
    EXPECT_EQ(tex.ulId, 0x7Fu);
    EXPECT_EQ(tex.Factor(), 1e-06);

    CUserUnit user("furlong per fortnight", "fpf", 2.5, 0.0);
    EXPECT_EQ(user.ulId, 0x10000000u);
    EXPECT_EQ(&user.DimensionText(), &CUnit::EmptyString());
    EXPECT_EQ(&user.What(), &CUserUnit::DimensionName());
}

TEST(CUnitTest, InternalErrorText) {
    EXPECT_EQ(ThrownText([] { UnitInternalError("no symbol table", "x", 12); }),
              "internal error : no symbol table (x) line 12 omdiunit/unitpriv 38\n");
    UnitUnInitialize();
    EXPECT_EQ(ThrownText([] { (void)IdFromString("m"); }).rfind("internal error", 0), 0u);
}

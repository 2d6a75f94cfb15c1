#include <omdiunit/cuserunit.h>
#include <omdiunit/omdiunit.h>
#include <omdiunit/unitcol.h>

#include "support.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <tuple>

using omdiunit_test::ThrownText;
using omdiunit_test::UserFile;

namespace {

class UserUnitTest : public ::testing::Test {
protected:
    void TearDown() override { UnitUnInitialize(); }
    void Load(std::string const& text) {
        UserFile file(text);
        UnitUnInitialize();
        UnitInitialize(file.path.c_str());
    }
};

// A stream whose source fails after its text: the stream goes bad.
class FailingSource : public std::streambuf {
public:
    explicit FailingSource(std::string text) : data(std::move(text)) {
        setg(data.data(), data.data(), data.data() + data.size());
    }

protected:
    int_type underflow() override { throw std::runtime_error("device gone"); }

private:
    std::string data;
};

} // namespace

TEST_F(UserUnitTest, FileDefinesOneDimensionAndItsUnits) {
    std::uint32_t const before = CUserUnit::Count();
    Load("# money, for cost estimates\n"
         "  currency\n"
         "# the defining unit first\n"
         "1.0 EUR euro, the reference\n"
         "1.08 USD US dollar\n"
         "2.5 m a unit whose symbol is taken\n"
         "# trailing comment\n");
    EXPECT_EQ(CUserUnit::Count(), before + 3);
    EXPECT_STREQ(UnitTextOf(CUserUnit::DimensionName()), "currency");
    EXPECT_STREQ(UnitTextOf(CUserUnit::DimensionSymbol()), "EUR");
    CUserUnit* dollar = CUserUnit::At(before + 1);
    ASSERT_NE(dollar, nullptr);
    EXPECT_STREQ(UnitTextOf(dollar->Name()), "US dollar");
    EXPECT_STREQ(UnitTextOf(dollar->What()), "currency");
    EXPECT_EQ(dollar->Offset(), 0.0);

    EXPECT_EQ(IdFromString("USD"), 0x10000000u);
    EXPECT_EQ(IdFromString("m"), 0x1u); // the built-in meter came first
    EXPECT_EQ(IdFromString("kUSD*m^-2"), 0x1000003Eu);
    EXPECT_DOUBLE_EQ(Convert(10.0, "USD", "EUR", 0), 10.8);
    EXPECT_DOUBLE_EQ(Convert(1.0, "kEUR", "USD", 0), UnitRound(1000.0 / 1.08, 1e-05));
    EXPECT_STREQ(UnitTextOf(StringFromId(0x10000000)), "EUR");
    EXPECT_STREQ(UnitTextOf(StringFromId(0x1000003E)), "m^-2*EUR");
    EXPECT_STREQ(UnitTextOf(UnitWhat(0x1000003E)), "currency");
    EXPECT_STREQ(UnitTextOf(UnitSymbol(0x20000000)), "EUR");
    EXPECT_STREQ(UnitTextOf(UnitGetInfo("USD*h^-1")), "US dollar per hour");
}

TEST_F(UserUnitTest, ReadingStopsQuietlyOrFailsLoudly) {
    std::tuple<std::string, std::uint32_t> const cases[] = {
        {"# only a comment\n", 0},
        {"", 0},
        {"dimension only", 0},
        {"dim\n1.0 a\n", 1},                 // no name: an empty one
        {"dim\nabc def\n2.0 b second\n", 1}, // a factor that does not read ends it
        {"dim\n1.0 a\n#x\n#y", 1},
        {"dim\n#" + std::string(300, 'c') + "\n1.0 a\n", 0}, // long comment
    };
    for (auto const& [text, added] : cases) {
        CUserUnit::DimensionName() = "";
        std::uint32_t const before = CUserUnit::Count();
        std::istringstream in(text);
        CUserUnit::ReadUnits(in, nullptr, nullptr);
        EXPECT_EQ(CUserUnit::Count() - before, added) << text;
    }
    CUserUnit::DimensionName() = "";
    std::istringstream comment("# only a comment\n");
    CUserUnit::ReadUnits(comment, nullptr, nullptr);
    EXPECT_STREQ(UnitTextOf(CUserUnit::DimensionName()), "");

    FailingSource source("dim\n1.0 a first\n2.0 b");
    std::istream bad(&source);
    EXPECT_EQ(ThrownText([&] { CUserUnit::ReadUnits(bad, nullptr, nullptr); }),
              "Error 2 omdiunit/cuserunit 167\n");
    EXPECT_EQ(ThrownText([] { CUserUnit::AddToArray(nullptr); }),
              "Error 3 omdiunit/cuserunit 87\n");
}

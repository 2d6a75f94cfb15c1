// Words added to the shared reserved table at run time are recognised at
// once, by every scanner, whatever their first byte and length.
#include <baseobj/lex.h>
#include <baseobj/token.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

TEST(ScannerReservedTest, WordsAddedLaterAreFoundAndOnlyThey) {
    Scanner scnAdding;
    std::string const szLong(40, 'q');
    struct Case {
        std::string word;
        std::int32_t nCode;
    } const cases[] = {{"zzqq_unusual", 31901}, {"Q", 31902}, {szLong, 31903}};
    for (Case const& c : cases)
        scnAdding.AddReservedSymbol(c.word.c_str(), c.nCode);

    Scanner scn;
    for (Case const& c : cases) {
        SCOPED_TRACE(c.word);
        EXPECT_EQ(scn.IsReservedSymbol(c.word.c_str()), c.nCode);
        // Same first byte, other lengths; same length, other text.
        EXPECT_EQ(scn.IsReservedSymbol((c.word + "x").c_str()), 0);
        EXPECT_EQ(scn.IsReservedSymbol(c.word.substr(1).c_str()), 0);
        EXPECT_EQ(scn.IsReservedSymbol(("x" + c.word.substr(1)).c_str()), 0);
    }
    EXPECT_EQ(scn.IsReservedSymbol((szLong + "q").c_str()), 0);

    scn._set_pcBuffer("zzqq_unusual zzqq_unusua Q");
    std::unique_ptr<Token> ptok{scn.GetTokenPtr()};
    EXPECT_EQ(ptok->MatchToken(31901), 1);
    ptok.reset(scn.GetTokenPtr());
    EXPECT_EQ(ptok->Match("zzqq_unusua"), 1);
    ptok.reset(scn.GetTokenPtr());
    EXPECT_EQ(ptok->MatchToken(31902), 1);

    scn._set_bDisableReservedWords(1);
    EXPECT_EQ(scn.IsReservedSymbol("Q"), 0);
}

} // namespace

// A 64-bit caller's integers and truths on tokens and the scanner mean what
// the 32-bit forms mean; a value that does not fit ends the process.
#include <baseobj/exception.h>
#include <baseobj/lex.h>
#include <baseobj/token.h>
#include <util/pstring.h>

#include <support/fatal.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <sstream>

namespace {

using Set = std::function<void(Token&)>;

TEST(TokenWide, SettersStoreWhatTheThirtyTwoBitFormStores) {
    struct Case {
        Set wide, narrow;
    } const cases[] = {
        {[](Token& t) { t.SetValue(-5L); }, [](Token& t) { t.SetValue(-5); }},
        {[](Token& t) { t.SetValue(7UL, 1); }, [](Token& t) { t.SetValue(7, 1); }},
        {[](Token& t) { t.SetValue(LLONG_MIN >> 32); }, [](Token& t) { t.SetValue(INT32_MIN); }},
        {[](Token& t) { t.SetValue(true); }, [](Token& t) { t.SetValueBool(1); }},
    };
    for (Case const& c : cases) {
        Token wide, narrow;
        c.wide(wide);
        c.narrow(narrow);
        unsigned char abWide[8], abNarrow[8];
        wide.GetValueBytes(abWide);
        narrow.GetValueBytes(abNarrow);
        EXPECT_EQ(wide._get_nDataType(), narrow._get_nDataType());
        EXPECT_EQ(std::memcmp(abWide, abNarrow, 8), 0);
    }
}

TEST(TokenWide, MatchesAndComparisonsMeanWhatTheySay) {
    Token tok;
    tok.SetValue(-1);
    EXPECT_TRUE(tok.Match(-1L) && tok.Match(-1LL) && tok == -1 && -1L == tok);
    // Compared whole, never cut: these are other numbers.
    EXPECT_FALSE(tok == 0xFFFFFFFFUL || tok == -1 + (1LL << 32));
    long const l = tok;
    EXPECT_EQ(l, -1);
    tok.SetValue(short{1});
    EXPECT_FALSE(tok.Match(1L)); // the exact type, as ever
    tok.SetValueBool(1);
    EXPECT_TRUE(tok.Match(true) && !tok.Match(false) && tok == true && bool(tok));

    std::istringstream in("100000 5");
    Scanner scn(&in);
    EXPECT_EQ(scn.Match(100000L), 1);
    EXPECT_EQ(scn.MatchPeek(5UL), 0); // a small number scans as a short
}

TEST(TokenWide, AValueOutsideThirtyTwoBitsIsTheFatalCheck) {
    std::function<void()> const cases[] = {
        [] { Token().SetValue((1L << 32) + 3); },
        [] { Token().SetValue(ULONG_MAX); },
        [] { Token().Match(LLONG_MIN); },
        [] {
            Token t;
            t.SetValue(-1);
            [[maybe_unused]] unsigned long const n = t;
        },
        [] {
            std::istringstream in("3");
            Scanner(&in).Match(1L << 40);
        },
    };
    for (auto const& statement : cases)
        EXPECT_EXIT(statement(), ::testing::ExitedWithCode(kFatalStatus), "");
}

TEST(TokenWide, TheCollectionCodeEqualsBothReadingsOfItsWord) {
    short const nMapped = Token::MapStringToType("TY_COLLECTION");
    EXPECT_EQ(nMapped, -32768);
    EXPECT_TRUE(nMapped == TY_COLLECTION && int{nMapped} == TY_COLLECTION);
    EXPECT_TRUE(std::uint16_t{0x8000} == TY_COLLECTION);
    EXPECT_FALSE(0x18000 == TY_COLLECTION || short{0} == TY_COLLECTION);
}

TEST(ExceptionContextOwnership, AStringNobodyCountsStaysTheCallers) {
    Exception::_set_bDisableMessageBoxes(1);
    CPString onStack("on the stack: ");
    auto* const pstrCounted = new CPString("counted: ");
    pstrCounted->AddRef();
    for (CPString* pstr : {&onStack, pstrCounted}) {
        std::uint16_t const nBefore = pstr->_get_nRefCount();
        {
            ExceptionContext guard(pstr);
            EXPECT_EQ(std::strncmp(Exception(402, "").szMessage, pstr->GetBuffer(), 8), 0);
        }
        EXPECT_EQ(pstr->_get_nRefCount(), nBefore);
    }
    EXPECT_STREQ(onStack.GetBuffer(), "on the stack: ");
    pstrCounted->Release();
}

} // namespace

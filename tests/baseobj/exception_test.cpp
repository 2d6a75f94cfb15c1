#include <baseobj/exception.h>
#include <baseobj/lex.h>
#include <baseobj/token.h>
#include <cpcoll/cpstack.h>
#include <util/pstring.h>

#include "support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace baseobj_test;

using ExceptionMessageTest = QuietTest;
using ExceptionBoxTest = BoxedTest;

} // namespace

TEST(LanguageTablesTest, EveryWordScansToItsCodeAndPrintsBack) {
    auto const keywords = LanguageKeywords();
    EXPECT_EQ(keywords.size(), 94u); // 93 words and the format marker
    std::map<std::string, std::int32_t> firstCode;
    for (LanguageKeyword const& keyword : keywords) {
        if (keyword.bReserved) {
            // A word with two codes scans as the lower, which comes first.
            std::int32_t const nCode =
                firstCode.emplace(keyword.szText, keyword.nCode).first->second;
            TextScanner scanner(keyword.szText);
            auto tok = scanner.Next();
            ASSERT_NE(tok, nullptr);
            EXPECT_TRUE(tok->MatchToken(nCode)) << keyword.szText;
            EXPECT_EQ(scanner.scn.IsReservedSymbol(keyword.szText), nCode);
            EXPECT_EQ(scanner.Next(), nullptr);
        }
        char word[64];
        EXPECT_EQ(Token::MapSymbolID2String(keyword.nCode, word), keyword.bPrinted ? 1 : 0);
        EXPECT_STREQ(word, keyword.bPrinted ? keyword.szText : "");
    }
    char word[64];
    EXPECT_EQ(Token::MapSymbolID2String(31621, word), 1);
    EXPECT_STREQ(word, "InvokeMethod");
    EXPECT_EQ(Token::MapSymbolID2String(31634, word), 1);
    EXPECT_STREQ(word, "GetObject");
    for (std::int32_t const unassigned : {31502, 31627, 31628, 0})
        EXPECT_EQ(Token::MapSymbolID2String(unassigned, word), 0);

    TextScanner scanner("InvokeMethod GetObject traverse_relation true false %s Print");
    EXPECT_TRUE(scanner.Next()->MatchToken(31509));
    EXPECT_TRUE(scanner.Next()->MatchToken(31520));
    auto traverse = scanner.Next();
    EXPECT_TRUE(traverse->MatchToken(31527));
    EXPECT_EQ(Text(*traverse), "");
    EXPECT_TRUE(scanner.Next()->Match("true"));
    EXPECT_TRUE(scanner.Next()->Match("false"));
    EXPECT_TRUE(scanner.Next()->MatchToken(kFormatMarkerCode));
    EXPECT_TRUE(scanner.Next()->Match("Print")); // case counts
}

TEST_F(ExceptionMessageTest, MessagesFollowTheErrorTable) {
    struct Case {
        short nCode;
        char const* szDetail;
        char const* szMessage;
    };
    Case const cases[] = {
        {101, "f", "f: Incorrect Parameters"},
        {106, "7", "Invalid Range 7"},
        {200, "ignored", "Branch"},
        {214, "x", "Expected input, got x"},
        {274, "abc", "String literal too long: abc"},
        {290, "here", "Unexpected closing bracehere"},
        {292, nullptr, "Unexpected end of file: "},
        {293, ";", "Expected ; got unexpected end of line."},
        {342, "!", "Newline in string!"},
        {346, "x", "Expected Dereference Operator '->', got : x"},
        {350, "v", "Cannot assign undefined to valuev"},
        {402, "Unable to determine token data type", "Unable to Load File"},
        {600, "f", "f: C DLL Call threw exception"},
        {1344, "m to s", "Invalid unit conversion m to s"},
        {2000, "just this", "just this"},
        {999, "d", "Unknown error code 999"},
        {-5, nullptr, "Unknown error code -5"},
    };
    for (Case const& c : cases) {
        Exception const e(c.nCode, c.szDetail);
        EXPECT_STREQ(e.szMessage, c.szMessage) << c.nCode;
        EXPECT_EQ(e._get_nException(), c.nCode);
        EXPECT_EQ(e.nRow, 0);
        EXPECT_EQ(e.nCol, 0);
        EXPECT_TRUE(e.HasErrorString());
    }
    EXPECT_TRUE(box.shown.empty());
}

TEST_F(ExceptionBoxTest, BoxIsShownUnlessDisabledOrAFlowSignal) {
    ASSERT_EQ(Exception::_get_bDisableMessageBoxes(), 0);
    Exception const shown(264, "}");
    ASSERT_EQ(box.shown.size(), 1u);
    EXPECT_EQ(box.shown[0].caption, "Exception");
    EXPECT_EQ(box.shown[0].text, "Expected semicolon, got }");
    EXPECT_EQ(box.shown[0].style, platform::MB_OK);
    char const* const signals[] = {"Branch", "break", "next", "return"};
    for (short nCode = 200; nCode <= 203; ++nCode)
        EXPECT_STREQ(Exception(nCode, nullptr).szMessage, signals[nCode - 200]);
    Exception::_set_bDisableMessageBoxes(1);
    Exception const quiet(264, "}");
    Exception::_set_bDisableMessageBoxes(0);
    EXPECT_EQ(box.shown.size(), 1u);
    // The caller's own format: the code where "%d" stands, and never a box.
    Exception const formatted("failure %d (%%)", 42);
    EXPECT_STREQ(formatted.szMessage, "failure 42 (%)");
    EXPECT_EQ(formatted._get_nException(), 0);
    EXPECT_STREQ(Exception("plain %s text", 7).szMessage, "plain %s text");
    EXPECT_FALSE(Exception("", 7).HasErrorString());
    EXPECT_EQ(box.shown.size(), 1u);
}

TEST_F(ExceptionMessageTest, ContextsLeadTheMessageOldestFirstWhileInScope) {
    auto* pstrShared = new CPString("reading units.xml");
    pstrShared->AddRef();
    {
        ExceptionContext outer("loading model");
        ExceptionContext inner(pstrShared);
        EXPECT_EQ(pstrShared->_get_nRefCount(), 2);
        Exception e(230, "speed");
        EXPECT_STREQ(e.szMessage, "loading model\nreading units.xml\nUnresolved symbol speed");
        e.AugmentMessage("at line 3");
        EXPECT_STREQ(e.szMessage,
                     "loading model\nreading units.xml\nUnresolved symbol speed\n  at line 3");
    }
    EXPECT_EQ(pstrShared->_get_nRefCount(), 1);
    EXPECT_EQ(Exception::_get_stkContexts().Length(), 0u);
    EXPECT_STREQ(Exception(230, "speed").szMessage, "Unresolved symbol speed");
    pstrShared->Release();

    // More guards than the stack holds: those that found no room stay out,
    // and every guard still ends cleanly.
    {
        std::vector<std::unique_ptr<ExceptionContext>> guards;
        for (int i = 0; i < 300; ++i)
            guards.push_back(std::make_unique<ExceptionContext>("reading a"));
        EXPECT_EQ(Exception::_get_stkContexts().Length(), 255u);
        // A message longer than its 1,024 bytes is cut, not overrun.
        Exception const e(250, "tail");
        EXPECT_EQ(std::strlen(e.szMessage), Exception::kMessageSize - 1);
        while (!guards.empty())
            guards.pop_back();
    }
    EXPECT_EQ(Exception::_get_stkContexts().Length(), 0u);
}

TEST_F(ExceptionMessageTest, TokenFormWrapsTheTokenAndTakesItsPosition) {
    TextScanner scanner("\n  count 2.5");
    auto word = scanner.Next();
    Exception const atWord(261, word.get(), "in header");
    EXPECT_STREQ(atWord.szMessage, "Expected string, got (2:3): \"count\" in header");
    EXPECT_EQ(atWord.nRow, 2);
    EXPECT_EQ(atWord.nCol, 3);
    // Other types print with precision 6; a null detail is one blank.
    auto number = scanner.Next();
    EXPECT_STREQ(Exception(261, number.get(), nullptr).szMessage,
                 "Expected string, got (2:9): \"2.500000\"  ");
    // A token that was never placed prints 65535 for both.
    Token unplaced;
    unplaced.SetValue(static_cast<short>(4));
    EXPECT_STREQ(Exception(264, &unplaced, "x").szMessage,
                 "Expected semicolon, got (65535:65535): \"4\" x");
    unplaced._set_nRow(0);
    Exception const noRow(264, &unplaced, "x");
    EXPECT_STREQ(noRow.szMessage, "Expected semicolon, got \"4\" x");
    EXPECT_EQ(noRow.nCol, 65535);
}

#include <baseobj/lex.h>

#include "support.h"
#include <support/fatal.h>
#include <support/files.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace baseobj_test;
using ::testing::ExitedWithCode;

std::string Drain(CharCQ& cq) {
    std::string out;
    while (cq.IsMT() == 0)
        out += cq.GetChar();
    return out;
}

std::string Words(Scanner& scn) {
    std::string out;
    while (Token* ptok = scn.GetTokenPtr()) {
        out += (out.empty() ? "" : "|") + Text(*ptok);
        delete ptok;
    }
    return out;
}

using ScannerTest = QuietTest;

} // namespace

TEST(CharCQTest, CircularQueueDropsTheOldestAndInsertsBeforeIt) {
    CharCQ cq(7);
    EXPECT_EQ(cq.GetCookie(), 7);
    EXPECT_EQ(cq.GetChar(), '\0');
    cq.PutString("bcd", -2);
    cq.InsertChar('a');
    EXPECT_EQ(cq.QSize(), 4);
    int nAttribute = 0;
    EXPECT_EQ(cq.PeekChar(&nAttribute), 'a');
    EXPECT_EQ(cq.PeekNextChar(&nAttribute), 'b');
    EXPECT_EQ(nAttribute, -2); // sign-extended
    EXPECT_EQ(cq[3], 'd');
    EXPECT_EQ(cq[-1 - CharCQ::kSlots], cq[-1]); // any index falls on a slot
    EXPECT_EQ(Drain(cq), "abcd");

    // A full queue holds one character fewer than its slots.
    for (int i = 0; i < CharCQ::kSlots; ++i)
        cq.PutChar(static_cast<char>('0' + i % 10));
    EXPECT_EQ(cq.QSize(), CharCQ::kSlots - 1);
    EXPECT_EQ(cq.PeekChar(), '1'); // the first was overwritten
    cq.InsertChar('X');            // and now the newest is lost
    EXPECT_EQ(cq.QSize(), CharCQ::kSlots - 1);
    EXPECT_EQ(cq.GetChar(), 'X');

    // Peeking runs on past the newest character into stale slots.
    cq.Clear(3);
    cq.PutString("xy", 0);
    cq.GetChar();
    EXPECT_EQ(cq.PeekChar(), 'y');
    EXPECT_EQ(cq.PeekNextChar(), cq._get_szQ()[cq._get_nH()]);
}

TEST(CharCQTest, QueueCopiesMovesAndDumps) {
    CharCQ cq(1);
    char buf[16];
    std::memset(buf, 'x', sizeof buf);
    cq.GetQueue(buf);
    EXPECT_EQ(buf[0], '\0');
    EXPECT_EQ(buf[1], '\0'); // an empty queue's terminator lands one on
    cq.PutString("a-b-c", 5);
    cq.GetQueue(buf);
    EXPECT_STREQ(buf, "a-b-c");
    EXPECT_EQ(cq._get_nPeek(), -1);
    cq.PeekChar();
    CharCQ const copy(cq);
    EXPECT_EQ(copy._get_nPeek(), cq._get_nPeek());
    CharCQ assigned(2);
    assigned = cq;
    EXPECT_EQ(assigned._get_nPeek(), -1);
    EXPECT_EQ(assigned.GetCookie(), 1);

    cq.GetChar();
    cq.RemoveFromSet('-');
    EXPECT_EQ(cq._get_nT(), 0);
    EXPECT_EQ(cq._get_nH(), 2);
    int nAttribute = 0;
    cq.PeekChar(&nAttribute);
    EXPECT_EQ(nAttribute, 5); // the attributes stay where they were
    EXPECT_EQ(Drain(cq), "bc");

    // Every entry shows the character at the head, and a comma follows the
    // last one too.
    cq.SetQueue("01234567");
    cq.SetQueue("0123456");
    std::ostringstream dump;
    cq.DumpSet(&dump);
    EXPECT_EQ(dump.str(), "CharCQ Contents: (length 7)\n{\n (0, 55),  (1, 55),  (2, 55),  (3, 55), "
                          " (4, 55),  (5, 55), \n (6, 55), \n}\n");
}

TEST_F(ScannerTest, LookAheadAndMatchingHandTokensOverInOrder) {
    TextScanner text("alpha 5 40000 - - x");
    Scanner& scn = text.scn;
    EXPECT_TRUE(scn.PeekTokenPtr()->Match("alpha"));
    EXPECT_EQ(scn.PeekToken2AheadPtr()->FetchShort(), 5);
    Token peeked;
    peeked._set_nRow(9);
    EXPECT_EQ(scn.PeekToken2Ahead(&peeked), 1);
    EXPECT_EQ(peeked._get_nRow(), 9); // a copy keeps the argument's position
    EXPECT_FALSE(scn.Match("beta"));
    EXPECT_TRUE(scn.MatchPeek("alpha"));
    EXPECT_TRUE(scn.Match("alpha"));
    // Integers come as short or long by size: 5 only matches as a short.
    EXPECT_FALSE(scn.Match(std::int32_t{5}));
    EXPECT_TRUE(scn.PeekNumeric());
    EXPECT_TRUE(scn.Match(static_cast<short>(5)));
    EXPECT_TRUE(scn.Match(std::int32_t{40000}));
    EXPECT_TRUE(scn.PeekNumeric()); // a minus with a minus after it
    Token got;
    got._set_nCol(77);
    EXPECT_EQ(scn.GetToken(&got), 1);
    EXPECT_TRUE(got.Match('-'));
    EXPECT_EQ(got._get_nCol(), 77);
    EXPECT_FALSE(scn.PeekNumeric());
    scn.ConsumePeekedToken();
    std::unique_ptr<Token> last(scn.GetTokenPtr());
    EXPECT_EQ(last->_get_nCol(), 19);
    EXPECT_EQ(scn.GetTokenPtr(), nullptr);
    EXPECT_EQ(scn.GetToken(&got), 0);
    EXPECT_FALSE(scn.Match('x'));
    EXPECT_FALSE(scn.PeekNumeric());
}

TEST_F(ScannerTest, CharacterLookAheadIsDestructiveAndPushbackComesFirst) {
    TextScanner text("abcd");
    Scanner& scn = text.scn;
    EXPECT_EQ(scn.PeekChar(), 'a');
    EXPECT_EQ(scn.PeekNextChar(), 'b');
    EXPECT_EQ(scn.PeekNextChar(1), 'c');
    EXPECT_EQ(scn.PeekChar(), 'a');
    EXPECT_EQ(scn.PeekNextChar(), 'c'); // the queue is read from its second entry
    EXPECT_EQ(scn.Col(), 1);
    EXPECT_EQ(scn.NextChar(), 'a');
    EXPECT_EQ(scn.NextChar(), 'd'); // b and c are gone for the scan
    EXPECT_EQ(scn.Col(), 3);
    EXPECT_EQ(scn.NextChar(), '\0');
}

TEST_F(ScannerTest, LinesPagesColumnsAndFields) {
    TextScanner spaces("   x  y\nnext line here\n\fpage two\n");
    Scanner& scn = spaces.scn;
    EXPECT_EQ(scn.MatchSpaces(2), 1);
    EXPECT_EQ(scn.MatchSpaces(0), 1); // one blank is taken all the same
    EXPECT_EQ(scn.MatchSpaces(1), 0);
    EXPECT_EQ(scn.Advance2Column(6), 1);
    EXPECT_EQ(scn.PeekChar(), ' ');
    EXPECT_EQ(scn.Advance2Column(30), 0); // a new line was passed
    EXPECT_EQ(scn.Row(), 2);
    EXPECT_EQ(scn.Consume2EOL(), 1);
    EXPECT_EQ(scn.Row(), 3);
    EXPECT_EQ(scn.Consume2EOP(), 1); // stops with the token after the page
    EXPECT_TRUE(scn.Match("page"));
    EXPECT_EQ(scn.Consume2("tw"), 1);
    EXPECT_TRUE(scn.MatchPeek("two"));
    EXPECT_EQ(scn.Consume2("absent"), 0);
    EXPECT_EQ(scn.Consume2EOL(), 1); // at the end it returns all the same

    TextScanner lines("say   hello  world 7\nlast words");
    EXPECT_TRUE(lines.scn.Match("say"));
    std::unique_ptr<Token> line(lines.scn.Catenate2EOL());
    ASSERT_NE(line, nullptr);
    EXPECT_STREQ(line->GetBuffer(), "hello  world 7");
    EXPECT_EQ(lines.scn.Catenate2EOL(), nullptr); // no line feed: the text is lost

    TextScanner fields(",,a b;42;" + std::string(300, 'z'));
    Scanner& fld = fields.scn;
    fld.AugmentFieldDelimiterSet(',');
    fld.AugmentFieldDelimiterSet(';');
    for (char const* expected : {"", "", "a b"}) {
        std::unique_ptr<Token> field(fld.GetField(TY_STRING, 10));
        EXPECT_STREQ(field->GetBuffer(), expected);
    }
    Token* const peeked = fld.PeekField(TY_SHORT, 10);
    EXPECT_TRUE(peeked->Match(static_cast<short>(42)));
    EXPECT_EQ(fld.PeekField(TY_SHORT, 10), peeked);
    std::unique_ptr<Token> taken(fld.GetField(TY_STRING, 0));
    EXPECT_EQ(taken.get(), peeked);
    // The text shown is nMaxLen + 1 long.
    EXPECT_EQ(ThrownText([&] { fld.GetField(TY_STRING, 4); }),
              "274 String literal too long: zzzzz");
    EXPECT_EQ(ThrownText([&] { fld.GetField(TY_STRING, 256); }),
              "274 String literal too long: Specified nMaxLen > 255 in Scanner::GetField");
    fld.DiminishFieldDelimiterSet(';');
    EXPECT_THROW(fld.GetField(TY_STRING, 255), Exception); // 255 characters at most
}

TEST_F(ScannerTest, CharacterClassesShapeIdentifiers) {
    TextScanner text("a.b a_b _x \"q\" a\\tb a\\");
    Scanner& scn = text.scn;
    scn.AugmentStringSpec('.');
    scn.AugmentStringSpec('\\');
    EXPECT_TRUE(scn.Match("a.b"));
    scn.DiminishStringSpec('_');
    EXPECT_TRUE(scn.Match("a"));
    EXPECT_TRUE(scn.Match('_'));
    EXPECT_TRUE(scn.Match("b"));
    scn.AugmentStringStartSpec('_');
    EXPECT_TRUE(scn.Match("_x"));
    scn._set_bRecognizeStringLiterals(0);
    EXPECT_TRUE(scn.Match('"'));
    EXPECT_TRUE(scn.Match("q"));
    EXPECT_TRUE(scn.Match('"'));
    EXPECT_TRUE(scn.Match("a\bb")); // escapes count in identifiers too
    EXPECT_TRUE(scn.PeekTokenPtr()->MatchPrefix("a"));
    scn.ResetStringSpec();
    EXPECT_TRUE(scn._get_bRecognizeStringLiterals());

    TextScanner words("if /* note */ 7 while");
    words.scn._set_bIgnoreComments(1);
    words.scn._set_bDisableReservedWords(1);
    EXPECT_EQ(Words(words.scn), "if|7|while");
    EXPECT_EQ(words.scn.IsReservedSymbol("if"), 0);

    // The reserved table is one for all scanners.
    TextScanner other("unit_word");
    other.scn.AddReservedSymbol("unit_word", 40001);
    TextScanner again("unit_word");
    EXPECT_TRUE(again.Next()->MatchToken(40001));
}

TEST_F(ScannerTest, BufferEndIsStickyAndSourcesSwitch) {
    std::string const first = "one two";
    Scanner scn;
    scn._set_pcBuffer(first.c_str());
    EXPECT_EQ(Words(scn), "one|two");
    EXPECT_EQ(scn.GetTokenPtr(), nullptr);
    scn.Reset();
    EXPECT_EQ(scn.GetTokenPtr(), nullptr); // the end stays after a reset
    scn._set_pcBuffer(first.c_str());
    EXPECT_EQ(scn.GetTokenPtr(), nullptr); // the end already peeked waits in the pushback
    scn.Reset();
    EXPECT_EQ(Words(scn), "one|two");
    EXPECT_EQ(scn.Row(), 1);
    EXPECT_EQ(scn.Col(), 8); // Reset set the position back

    std::istringstream in("three\nfour");
    scn.Reset();
    scn.SetInputStream(&in);
    EXPECT_EQ(scn._get_pcBuffer(), nullptr);
    EXPECT_EQ(Words(scn), "three|four");
    EXPECT_EQ(scn.Row(), 2);
    scn.SetInputStream(nullptr);
}

TEST_F(ScannerTest, CopiesTakeTheirOwnSetsAndAssignmentsShareThem) {
    std::uint16_t const nLive = Scanner::_get_nLiveCount();
    TextScanner text("x a.b c.d");
    Scanner& scn = text.scn;
    EXPECT_EQ(Scanner::_get_nLiveCount(), nLive + 1);
    scn.PeekTokenPtr();
    {
        Scanner copy(scn);
        EXPECT_EQ(Scanner::_get_nLiveCount(), nLive + 1); // a copy is not counted
        copy.AugmentStringSpec('.');
        EXPECT_TRUE(copy.Match("x")); // its own look-ahead
        EXPECT_TRUE(copy.Match("a.b"));
    }
    EXPECT_EQ(Scanner::_get_nLiveCount(), nLive); // but its end is
    EXPECT_TRUE(scn.Match("x"));
    EXPECT_TRUE(scn.Match("a"));
    EXPECT_TRUE(scn.Match('.'));
    EXPECT_TRUE(scn.Match("b"));
    Scanner shared;
    shared = scn;
    shared.AugmentStringSpec('.');
    EXPECT_TRUE(scn.Match("c.d"));
}

TEST(ScannerDeathTest, ScanningWithoutASourceEndsTheProcess) {
    EXPECT_EXIT(
        {
            Scanner scn;
            scn.BuildToken();
        },
        ExitedWithCode(kFatalStatus), "");
}

// Words added to the shared reserved table at run time are recognised at
// once, by every scanner, whatever their first byte and length.
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

// Every input of scanner_corpus/ is scanned from a buffer and from a stream,
// and the listing of its tokens (position, type, exact value) or of the
// error that ended it must equal NAME.expected, or NAME.stream.expected for
// the stream where the two sources part. SORVANE_UPDATE_CORPUS=1 rewrites
// the listings, to be read before they are committed.
namespace {

namespace fs = std::filesystem;
using test_support::ReadAll;
using test_support::WriteAll;

fs::path CorpusDir() {
    return fs::path(__FILE__).parent_path() / "scanner_corpus";
}

std::string Describe(Token const& tok) {
    char line[512];
    char szType[32];
    Token::MapTypeToString(static_cast<short>(tok._get_nDataType()), szType);
    std::string value;
    switch (tok._get_nDataType()) {
    case TY_CHAR: {
        char const c[2] = {tok.FetchChar(0), '\0'};
        value = c[0] == '\0' ? "'\\x00'" : Quote(c, std::string::npos, '\'');
        break;
    }
    case TY_SHORT:
    case TY_LONG:
        value = std::to_string(tok.FetchLong(0));
        break;
    case TY_DOUBLE: {
        char number[64];
        std::snprintf(number, sizeof number, "%.17g", tok.FetchDouble());
        value = number;
        break;
    }
    case TY_STRING:
    case TY_COMMENT:
        value = Quote(tok.FetchStringPointer());
        break;
    case TY_TOKEN: {
        auto const nCode = static_cast<std::int32_t>(tok.FetchDouble());
        char word[64];
        Token::MapSymbolID2String(nCode, word);
        value = std::to_string(nCode) + " " + Quote(word);
        break;
    }
    default:
        value = "?";
    }
    std::snprintf(line, sizeof line, "%u:%u %s %s", tok._get_nRow(), tok._get_nCol(), szType,
                  value.c_str());
    std::string out = line;
    if (tok._get_nRadix() != 10) out += " radix " + std::to_string(tok._get_nRadix());
    return out + "\n";
}

std::string Listing(Scanner& scn) {
    std::string out;
    try {
        while (std::unique_ptr<Token> ptok{scn.GetTokenPtr()})
            out += Describe(*ptok);
        out += "end " + std::to_string(scn.Row()) + ":" + std::to_string(scn.Col()) + "\n";
    } catch (Exception const& e) {
        out += "error " + std::to_string(e._get_nException()) + " " + Quote(e.szMessage) + " at " +
               std::to_string(scn.Row()) + ":" + std::to_string(scn.Col()) + "\n";
    }
    return out;
}

std::string ScanBuffer(std::string const& input) {
    Scanner scn;
    scn._set_pcBuffer(input.c_str());
    return Listing(scn);
}

std::string ScanStream(std::string const& input) {
    std::istringstream in(input);
    Scanner scn(&in);
    return Listing(scn);
}

} // namespace

using ScannerCorpusTest = QuietTest;

TEST_F(ScannerCorpusTest, EachInputScansAsItsListingFromBothSources) {
    std::vector<fs::path> inputs;
    for (auto const& entry : fs::directory_iterator(CorpusDir()))
        if (entry.path().extension() == ".in") inputs.push_back(entry.path());
    ASSERT_GE(inputs.size(), 10u);
    for (fs::path const& input : inputs) {
        SCOPED_TRACE(input.filename().string());
        std::string const text = ReadAll(input);
        fs::path expected = input, streamExpected = input;
        expected.replace_extension(".expected");
        streamExpected.replace_extension(".stream.expected");
        std::string const buffer = ScanBuffer(text), stream = ScanStream(text);
        if (std::getenv("SORVANE_UPDATE_CORPUS") != nullptr) {
            WriteAll(expected, buffer);
            if (stream != buffer)
                WriteAll(streamExpected, stream);
            else
                fs::remove(streamExpected);
            continue;
        }
        ASSERT_TRUE(fs::exists(expected));
        EXPECT_EQ(ReadAll(expected), buffer) << "the buffer";
        EXPECT_EQ(ReadAll(fs::exists(streamExpected) ? streamExpected : expected), stream)
            << "the stream";
    }
}

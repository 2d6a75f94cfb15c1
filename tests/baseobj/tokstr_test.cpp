#include <baseobj/tokstr.h>

#include <util/pstring.h>

#include "support.h"
#include <support/fatal.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace baseobj_test;

class TokenStreamTest : public BoxedTest {};

// The texts a walk gives, up to its end.
std::string Walk(TokenStream& ts) {
    std::string out;
    while (Token* ptok = ts.GetToken())
        out += Text(*ptok) + " ";
    return out;
}

std::string Produced(TokenStream& ts) {
    CPString str("");
    ts.ProduceBuffer(&str);
    return str.GetBuffer();
}

std::string Dumped(TokenStream& ts, char bRaw, char bNoSpaces) {
    CPString str;
    ts.DumpText(&str, bRaw, bNoSpaces, 16);
    std::string const viaString = str.Length() > 0 ? str.GetBuffer() : "";
    std::vector<char> buf(4096);
    ts.DumpText(buf.data(), bRaw, bNoSpaces);
    EXPECT_EQ(viaString, buf.data());
    return viaString;
}

// Golden file forms of "a; // c", laid out by hand from the format's table:
// v2 with 32-bit counts, v1 with 16-bit counts, v0 with no comments.
std::string Golden(char const* name) {
    std::filesystem::path const path =
        std::filesystem::path(__FILE__).parent_path() / "golden" / name;
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

Token* Positioned(char const* sz, std::uint16_t nRow, std::uint16_t nCol) {
    auto* ptok = new Token;
    ptok->SetValue(sz);
    ptok->_set_nRow(nRow);
    ptok->_set_nCol(nCol);
    return ptok;
}

} // namespace

TEST_F(TokenStreamTest, WalkThroughMarkersAndSubstitutes) {
    TokenStream empty;
    EXPECT_EQ(empty.PeekToken(), nullptr);
    EXPECT_EQ(empty.GetToken(), nullptr);
    EXPECT_EQ(empty.Advance(0), 1);
    EXPECT_EQ(empty.Advance(1), 0);

    TokenStream ts;
    ts.ScanBuffer("a %s b %s c", 1);
    EXPECT_EQ(ts.Length(), 5);
    // With no substitute the markers are passed over.
    EXPECT_EQ(Walk(ts), "a b c ");
    ts.Reset();
    std::string peeked;
    for (Token* ptok = ts.PeekToken(); ptok != nullptr; ptok = ts.PeekNextToken())
        peeked += Text(*ptok) + " ";
    EXPECT_EQ(peeked, "a b c ");

    // Each marker reads on from where the substitute stands; a used-up
    // substitute lets the walk go on in the parent.
    auto* sub = new TokenStream;
    sub->ScanBuffer("x y z", 1);
    ts._set_ptsSubstitute(sub);
    ts.Reset();
    EXPECT_EQ(Text(*ts.GetToken()), "a");
    EXPECT_EQ(Text(*ts.GetToken()), "x");
    EXPECT_EQ(Walk(ts), "y z b c ");
    ts.Reset();
    EXPECT_EQ(Text(*ts.PeekToken()), "a");
    EXPECT_EQ(Text(*ts.PeekNextToken()), "x");
    EXPECT_NE(ts._get_pbktSubstitution(), nullptr);
    EXPECT_EQ(Text(*ts.PeekNextToken()), "y");
    EXPECT_EQ(Text(*ts.PeekNextToken()), "z");
    EXPECT_EQ(Text(*ts.PeekNextToken()), "b");
    EXPECT_EQ(ts._get_pbktSubstitution(), nullptr);

    TokenStream copy(ts);
    EXPECT_EQ(copy.Length(), 5);
    EXPECT_EQ(copy._get_ptsSubstitute(), sub);
    EXPECT_EXIT(sub->_set_ptsSubstitute(&ts), ::testing::ExitedWithCode(kFatalStatus), "");

    ts.Reset();
    EXPECT_EQ(ts.Advance(2), 1);
    ts.DeleteRemainingTokens();
    EXPECT_EQ(ts.Length(), 2);
    ts.DeleteFirstToken();
    ts.Reset();
    EXPECT_EQ(Walk(ts), "x y z ");
}

TEST_F(TokenStreamTest, TokensMovedFromATemplateKeepTheirSubstitution) {
    TokenStream tmpl;
    tmpl.ScanBuffer("a %s b", 1);
    auto* sub = new TokenStream;
    sub->ScanBuffer("x y", 1);
    tmpl._set_ptsSubstitute(sub);

    TokenStream out;
    while (Token* ptok = tmpl.PeekToken()) {
        out.AddToken(ptok, &tmpl);
        tmpl.GetToken();
    }
    EXPECT_EQ(out.Length(), 3);
    ASSERT_NE(out._get_ptsSubstitute(), nullptr);
    EXPECT_EQ(out._get_ptsSubstitute()->Length(), 2);
    out.Reset();
    EXPECT_EQ(Walk(out), "a x y b ");
}

TEST_F(TokenStreamTest, TextFromPositions) {
    char const* const source = "a = b; // note\n  for (i = 0; i < 3; i++) { x = \"q\\\"t\"; }\n"
                               "\t\tend /* two\nlines */ %s";
    TokenStream ts;
    ts.ScanBuffer(source, 1);
    EXPECT_EQ(ts._get_lstComments().Length(), 2u);
    EXPECT_EQ(Produced(ts), "a = b; // note\r\n  for (i = 0; i < 3; i++) { x = \"q\\\"t\"; }\r\n"
                            "\t\tend /* two\nlines */ %s");

    // The buffer form puts a zero byte before the first token of a new row.
    char buf[256];
    TokenStream two;
    two.ScanBuffer("a\n b", 1);
    two.ProduceBuffer(buf);
    EXPECT_STREQ(buf, "a\r\n ");
    EXPECT_STREQ(buf + 5, "b");

    // A token with no position adds no white space.
    TokenStream placed;
    placed.AddToken(Positioned("p", 3, 4));
    placed.AddToken(Positioned("q", 65535, 65535));
    EXPECT_EQ(Produced(placed), "\r\n\r\n   pq");

    struct {
        std::uint16_t nRow, nCol;
        char const* text;
    } const tooFar[] = {{202, 1, "Token at <<202>>,1"}, {1, 210, "Token at 1,<<210>>"}};
    for (auto const& c : tooFar) {
        TokenStream far;
        far.AddToken(Positioned("t", c.nRow, c.nCol));
        std::string const thrown = Thrown([&] { Produced(far); });
        EXPECT_EQ(thrown.rfind("307 ", 0), 0u) << thrown;
        EXPECT_NE(thrown.find(c.text), std::string::npos) << thrown;
    }
    // Long gaps go out one by one: 50 rows, 45 tabs.
    TokenStream wide;
    wide.AddToken(Positioned("w", 51, 1 + 8 * 45 - 200));
    wide.AddToken(Positioned("w", 51, 200));
    std::string const text = Produced(wide);
    EXPECT_EQ(text.find("w"), 100u + 20u);
}

TEST_F(TokenStreamTest, Dumps) {
    TokenStream ts;
    ts.ScanBuffer("for (i = 0; i < 3; i++) { x; { y; } } z; // gone", 1);
    EXPECT_EQ(Dumped(ts, 1, 1), "for(i=0;i<3;i++){x;{y;}}z;");
    EXPECT_EQ(Dumped(ts, 1, 0), "for ( i = 0 ; i < 3 ; i + + ) { x ; { y ; } } z ;");
    // A closing brace right after a break writes the indent of the line it
    // ends, and every line's trailing indent stays.
    EXPECT_EQ(Dumped(ts, 0, 0), "for ( i = 0 ; i < 3 ; i + + ) {\r\n     x ;\r\n     {\r\n"
                                "         y ;\r\n            }    \r\n} z ;\r\n");
    EXPECT_EQ(Dumped(ts, 0, 1), "for(i=0;i<3;i++){\r\n    x;\r\n    {\r\n        y;\r\n"
                                "            }    \r\n}z;\r\n");
}

TEST_F(TokenStreamTest, FileFormGoldenAndDamaged) {
    std::string const v2 = Golden("tokstr_v2.bin");
    ASSERT_EQ(v2.size(), 60u);
    TokenStream scanned;
    scanned.ScanBuffer("a; // c", 1);
    std::ostringstream written;
    EXPECT_EQ(scanned.StreamOut(written), 1);
    EXPECT_EQ(written.str(), v2);

    for (char const* name : {"tokstr_v2.bin", "tokstr_v1.bin", "tokstr_v0.bin"}) {
        TokenStream ts;
        std::istringstream in(Golden(name));
        EXPECT_EQ(ts.StreamIn(in), 1);
        ts.Reset();
        EXPECT_EQ(Walk(ts), "a ; ") << name;
        EXPECT_EQ(ts._get_lstComments().Length(), name[8] == '0' ? 0u : 1u) << name;
        std::ostringstream again;
        ts.StreamOut(again);
        if (name[8] != '0') {
            EXPECT_EQ(again.str(), v2) << name;
        }
    }

    // Reading appends; a negative version reads nothing more.
    TokenStream twice;
    std::istringstream both(v2 + v2 + "\xFF\xFF");
    twice.StreamIn(both);
    twice.StreamIn(both);
    EXPECT_EQ(twice.StreamIn(both), 1);
    EXPECT_EQ(twice.Length(), 4);

    // Every cut of the file, and a bad magic byte, fail with 402.
    std::vector<std::string> bad{"\x7F\x02" + v2.substr(2)};
    for (std::size_t n = 0; n < v2.size(); ++n)
        bad.push_back(v2.substr(0, n));
    for (std::string const& bytes : bad) {
        TokenStream ts;
        std::istringstream in(bytes);
        EXPECT_EQ(Thrown([&] { ts.StreamIn(in); }).substr(0, 4), "402 ") << bytes.size();
    }
}

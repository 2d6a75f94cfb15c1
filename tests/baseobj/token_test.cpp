#include <baseobj/token.h>
#include <baseobj/tokstr.h>
#include <util/pstring.h>

#include "support.h"
#include <support/fatal.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace baseobj_test;
using ::testing::ExitedWithCode;
using Set = std::function<void(Token&)>;

Token Make(auto value) {
    Token tok;
    tok.SetValue(value);
    return tok;
}

std::string Precise(Token const& tok, char nPrecision) {
    char buf[512];
    tok.FetchAsString(buf, nPrecision);
    return buf;
}

std::string Written(Token const& tok) {
    std::ostringstream out;
    out << tok;
    return out.str();
}

Token ReadBack(std::string const& bytes) {
    std::istringstream in(bytes);
    Token tok;
    in >> tok;
    return tok;
}

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

TEST(TokenTest, NewCopiedAndAssignedTokensKeepTheirOwnPositions) {
    Token fresh;
    EXPECT_EQ(fresh._get_nDataType(), TY_UNDEFINED);
    EXPECT_EQ(Text(fresh), "<empty>");
    EXPECT_TRUE(fresh.Match("<empty>"));
    EXPECT_EQ(fresh._get_nRow(), 65535);
    EXPECT_EQ(fresh._get_nRadix(), 10);

    Token source;
    source.SetValue("text");
    source._set_nRow(4);
    source._set_nCol(9);
    Token const copy(source);
    EXPECT_TRUE(copy.Match("text"));
    EXPECT_NE(copy.GetBuffer(), source.GetBuffer()); // the text is duplicated
    EXPECT_EQ(copy._get_nRow(), 65535);
    EXPECT_EQ(copy._get_nCol(), 65535);
    Token assigned;
    assigned._set_nRow(1);
    assigned = source;
    EXPECT_TRUE(assigned.Match("text"));
    EXPECT_EQ(assigned._get_nRow(), 1);

    // "<empty>" undefines, and the text held before is let go.
    assigned.SetValue("<empty>");
    EXPECT_EQ(assigned._get_nDataType(), TY_UNDEFINED);
    EXPECT_EQ(assigned._get_szVal(), nullptr);
    EXPECT_EQ(Make("<empty> and more")._get_nDataType(), TY_STRING);
    Token donor = Make("mine");
    char* const sz = donor.DonateString();
    EXPECT_STREQ(sz, "mine");
    EXPECT_EQ(donor._get_nDataType(), TY_STRING);
    EXPECT_EQ(donor._get_szVal(), nullptr);
    delete[] sz;
}

TEST(TokenTest, SettersClampTheirIndexesAndFetchersTheirsDifferently) {
    Token tok;
    tok.SetValue('a', 2);
    tok.SetValue('z', 9); // clamped to 3
    EXPECT_EQ(tok.FetchChar(2), 'a');
    EXPECT_EQ(tok.FetchChar(3), 'z');
    EXPECT_EQ(tok.FetchChar(4), tok.FetchChar(0)); // 4 and above read the first
    tok.SetValue(static_cast<short>(7), 3);
    EXPECT_EQ(tok.FetchShort(3), tok.FetchShort(1)); // 2 and above read the second
    tok.SetValue(static_cast<short>(5), 1);
    EXPECT_EQ(tok.FetchShort(9), 5);
    // A setter stores its element alone: the first long still holds the
    // shorts, and only FetchLong(1) sees the second.
    tok.SetValue(std::int32_t{-9}, 5);
    EXPECT_EQ(tok.FetchLong(1), -9);
    EXPECT_EQ(tok.FetchLong(0), 5 << 16);
    EXPECT_EQ(tok.FetchDouble(), 5 << 16);
    tok.SetValueBool(-1);
    EXPECT_TRUE(tok.MatchBool(0));
    tok.SetValueBool(3);
    EXPECT_TRUE(tok.MatchBool(1));
    EXPECT_FALSE(tok.MatchBool(3));
}

TEST(TokenTest, FetchersConvertFromEveryType) {
    Token c = Make('A');
    EXPECT_EQ(c.FetchLong(), 65);
    EXPECT_EQ(Make('\xF0').FetchShort(), -16);

    Token s = Make(static_cast<short>(-300));
    EXPECT_EQ(s.FetchChar(), static_cast<char>(-300 & 0xFF));
    EXPECT_EQ(s.FetchLong(), -300);
    Token l = Make(std::int32_t{70000});
    EXPECT_EQ(l.FetchShort(), static_cast<short>(70000 - 65536));

    EXPECT_EQ(Make(-1.9).FetchLong(), -1);
    EXPECT_EQ(Make(2.5f).FetchChar(), 2);
    EXPECT_EQ(Make(1e10).FetchLong(), INT32_MIN); // past 32 bits, as x86 gives
    EXPECT_EQ(Make(std::nan("")).FetchLong(), INT32_MIN);
    EXPECT_TRUE(Make(std::nan("")).FetchBool());

    EXPECT_EQ(Make("12abc").FetchLong(), 12);
    EXPECT_EQ(Make("  -70000").FetchShort(), static_cast<short>(-70000));
    EXPECT_DOUBLE_EQ(Make("2.5e1x").FetchDouble(), 25.0);
    EXPECT_TRUE(Make("").FetchBool()); // the pointer counts, not the text

    // A symbolic token reads its code as a long only through FetchDouble:
    // FetchLong takes the first short.
    Token code;
    code.SetValueToken(70000);
    EXPECT_DOUBLE_EQ(code.FetchDouble(), 70000.0);
    EXPECT_EQ(code.FetchLong(), static_cast<short>(70000 - 65536));
}

TEST(TokenTest, TextFormsFollowTypeRadixAndPrecision) {
    Token s = Make(static_cast<short>(255));
    s._set_nRadix(16);
    EXPECT_EQ(Text(s), "ff");
    s._set_nRadix(2);
    EXPECT_EQ(Text(s), "0b11111111");
    s.SetValue(static_cast<short>(0));
    EXPECT_EQ(Text(s), "0b");
    s.SetValue(static_cast<short>(-1));
    EXPECT_EQ(Text(s), "0b1111111111111111");
    s._set_nRadix(16);
    EXPECT_EQ(Text(s), "ffffffff"); // a short is widened with its sign
    Token code;
    code.SetValueToken(31602);
    EXPECT_EQ(Text(code), "if");
    code.SetValueToken(12);
    EXPECT_EQ(Text(code), "");

    // 2/3 is cut, not rounded.
    struct {
        double value;
        char nPrecision;
        char const* text;
    } const precise[] = {{1.5, 6, "1.500000"},    {1.5, -6, "1.5"},
                         {3.0, -6, "3.0"},        {3.0, 0, "3."},
                         {2.0 / 3.0, 3, "0.666"}, {1e20, 6, "1e+20.000000"},
                         {1.5e20, 6, "1.5e+200"}, {1.23456789012e20, 6, "1.234567e+20"},
                         {100.0, -12, "100.0"}};
    for (auto const& c : precise)
        EXPECT_EQ(Precise(Make(c.value), c.nPrecision), c.text) << c.value;

    char buf[64];
    Token quoted = Make("\"say \"hi\"\\\tnow\n\"");
    quoted.FetchAsStringWithEscapeCharacters(buf, 6);
    EXPECT_STREQ(buf, "\"say \\\"hi\\\"\\\\\\tnow\\n\"");
    quoted.FetchStringLiteral(buf);
    EXPECT_STREQ(buf, "say \"hi\"\\\tnow\n");
    Make("bare").FetchStringLiteral(buf);
    EXPECT_STREQ(buf, "bare");
    Make("\"").FetchStringLiteral(buf);
    EXPECT_STREQ(buf, "");
    EXPECT_TRUE(quoted.IsStringLiteral());

    // Non-text values share one buffer; texts give their own pointer.
    Token const one = Make(std::int32_t{1});
    char const* const pointer = one.FetchStringPointer();
    EXPECT_STREQ(pointer, "1");
    EXPECT_STREQ(Make(std::int32_t{2}).FetchStringPointer(), "2");
    EXPECT_STREQ(pointer, "2");
    EXPECT_EQ(quoted.FetchStringPointer(), quoted.GetBuffer());
    EXPECT_STREQ(one.GetBuffer(), "");
}

TEST(TokenTest, MatchesNeedTheExactType) {
    EXPECT_FALSE(Make(std::int32_t{5}).Match(static_cast<short>(5)));
    EXPECT_FALSE(Make(static_cast<short>(5)).Match(std::int32_t{5}));
    EXPECT_FALSE(Make(5.0f).Match(5.0));
    EXPECT_TRUE(Make(5.0f).Match(5.0f, 1)); // the index is not used
    Token comment = Make("// note");
    comment._set_nDataType(TY_COMMENT);
    EXPECT_FALSE(comment.Match("// note"));
    EXPECT_TRUE(comment.MatchType(TY_COMMENT | TY_STRING));
    EXPECT_FALSE(Make("Abc").Match("abc"));
    EXPECT_TRUE(Make("").MatchString('='));
    EXPECT_FALSE(Make("==-").MatchString('='));
    EXPECT_TRUE(Make("prefixed").MatchPrefix("pre"));
    EXPECT_FALSE(Make("pre").MatchPrefix("prefixed"));
    EXPECT_FALSE(Make('3').IsNumericType());
    EXPECT_FALSE(Make("3").IsNumericType());
}

TEST(TokenTest, TextIsParsedByThePresentType) {
    Token tok;
    auto parsed = [&tok](char const* sz) -> Token& {
        tok.UnInitialize();
        tok.SetValueFromString(sz);
        return tok;
    };
    EXPECT_TRUE(parsed("12").Match(std::int32_t{12}));
    EXPECT_TRUE(parsed("2.0").Match(std::int32_t{2})); // no fractional part: a long
    EXPECT_TRUE(parsed("2.5").Match(2.5));
    EXPECT_TRUE(parsed("").Match(0.0));

    tok.SetValue(static_cast<short>(1));
    tok.SetValueFromString("70000");
    EXPECT_TRUE(tok.Match(static_cast<short>(70000 - 65536)));
    tok.SetValueBool(0);
    tok.SetValueFromString("-3");
    EXPECT_TRUE(tok.MatchBool(1));
    tok.SetValue("old");
    tok.SetValueFromString("new");
    EXPECT_TRUE(tok.Match("new"));
    tok._set_nDataType(TY_COMMENT);
    tok.SetValueFromString("dropped");
    EXPECT_EQ(tok._get_nDataType(), TY_COMMENT);
    EXPECT_STREQ(tok.FetchStringPointer(), "new");
    tok.SetValueFromString("has <empty> inside");
    EXPECT_EQ(tok._get_nDataType(), TY_UNDEFINED);
    // Codes below 64 that name no type read as a long.
    tok._set_nDataType(3);
    tok.SetValueFromString("77");
    EXPECT_TRUE(tok.Match(std::int32_t{77}));
}

TEST(TokenTest, TypeNamesAndPrint) {
    char buf[32];
    EXPECT_STREQ(Token::MapTypeToString(TY_DOUBLE, buf), "TY_DOUBLE");
    EXPECT_STREQ(buf, "TY_DOUBLE");
    EXPECT_STREQ(Token::MapTypeToString(static_cast<short>(TY_COLLECTION), nullptr),
                 "TY_UNDEFINED");
    EXPECT_EQ(Token::MapStringToType("int"), TY_SHORT);
    EXPECT_EQ(Token::MapStringToType("Int16"), 0);

    std::ostringstream out;
    Token b;
    b.SetValueBool(1);
    b._set_nRow(2);
    b._set_nCol(5);
    b.Print(out);
    Token().Print(out);
    Make(0.5).Print(out);
    EXPECT_EQ(out.str(),
              "R 2 C 5: Bool\n1\nR 65535 C 65535: \n<empty>\nR 65535 C 65535: Float64\n0.500000\n");
}

TEST(TokenTest, FileFormIsByteExactAndReadsBackWithItsPosition) {
    Token s = Make(static_cast<short>(0x1234));
    s._set_nRow(3);
    s._set_nCol(0x0102);
    s._set_nRadix(16);
    EXPECT_EQ(Written(s),
              std::string("\x33\x03\x00\x02\x01\x10\x00\x34\x12\x00\x00\x00\x00\x00\x00", 15));
    Token str = Make("ab");
    EXPECT_EQ(Written(str),
              std::string("\x37\xff\xff\xff\xff\x0a\x00\x02\x00\x00\x00\x00\x00\x00\x00"
                          "ab",
                          17));
    Token nullText = Make(static_cast<char const*>(nullptr));
    EXPECT_EQ(Written(nullText).size(), 15u);
    EXPECT_EQ(Written(Token())[0], '\x3b');
    Token odd;
    odd._set_nDataType(3); // no type: written as a short
    EXPECT_EQ(Written(odd)[0], '\x33');

    Token comment = Make("/* c */");
    comment._set_nDataType(TY_COMMENT);
    Token code;
    code.SetValueToken(31606);
    Token b;
    b.SetValueBool(1);
    for (Token const* tok : {&s, &str, &nullText, &comment, &code, &b}) {
        Token const again = ReadBack(Written(*tok));
        EXPECT_EQ(again._get_nDataType(), tok->_get_nDataType());
        EXPECT_EQ(again._get_nRow(), tok->_get_nRow());
        EXPECT_EQ(again._get_nCol(), tok->_get_nCol());
        EXPECT_EQ(again._get_nRadix(), tok->_get_nRadix());
        EXPECT_EQ(Text(again), Text(*tok));
        EXPECT_EQ(Written(again), Written(*tok));
    }
    Token vector;
    vector._set_nDataType(TY_COLLECTION);
    std::string bytes = Written(vector);
    bytes[7] = '\x55'; // a collection's first long is cleared on reading
    EXPECT_EQ(ReadBack(bytes).FetchDouble(), 0.0);

    // Older forms: version 1 has no position, version 2 no radix.
    Token placed;
    placed._set_nRow(8);
    std::istringstream v1(std::string("\x14\x07\x00\x00\x00\x00\x00\x00\x00", 9));
    v1 >> placed;
    EXPECT_TRUE(placed.Match(std::int32_t{7}));
    EXPECT_EQ(placed._get_nRow(), 8);
    Token const v2 =
        ReadBack(std::string("\x27\x01\x00\x02\x00\x03\x00\x00\x00\x00\x00\x00\x00xyz", 16));
    EXPECT_STREQ(v2.GetBuffer(), "xyz");
    EXPECT_EQ(v2._get_nCol(), 2);
}

TEST(TokenTest, TextFormsOfTheFileAreReadToo) {
    Exception::_set_bDisableMessageBoxes(1);
    Token tok;
    // Each token read as its type's name and its text.
    auto read = [&tok](std::string const& text) {
        std::istringstream in(text);
        std::vector<std::string> got;
        for (int i = 0; i < 4; ++i) {
            in >> tok;
            char szType[32];
            got.push_back(Token::MapTypeToString(static_cast<short>(tok._get_nDataType()), szType) +
                          (" " + Text(tok)));
        }
        return got;
    };
    EXPECT_EQ(
        read("\x03 42\x07line one\r\n\x02 5\x01 q"),
        (std::vector<std::string>{"TY_SHORT 42", "TY_STRING line one", "TY_BOOL 1", "TY_CHAR q"}));
    EXPECT_EQ(read("Int16\r\n42\nBoolean\n7\nString\nhello there\nFloat64\n2.5\n"),
              (std::vector<std::string>{"TY_SHORT 42", "TY_BOOL 1", "TY_STRING hello there",
                                        "TY_DOUBLE 2.500000"}));

    // What cannot be read throws 402, the detail unused by its message.
    for (std::string const& bad :
         {std::string("Bool\n1\n"), std::string(), std::string("\x37\0\0\0\0\0\0", 7),
          std::string("\x37\0\0\0\0\0\0\x09\0\0\0\0\0\0\0abc", 18)}) {
        std::istringstream in(bad);
        EXPECT_EQ(ThrownText([&] { in >> tok; }), "402 Unable to Load File")
            << bad.size() << " bytes";
    }
    Exception::_set_bDisableMessageBoxes(0);
}

TEST(TokenDeathTest, OverlongTextEndsTheProcess) {
    // The length of a copied text was a short: from 32,768 on the copy fails.
    std::string const longText(40000, 'x');
    EXPECT_EXIT(Make(longText.c_str()), ExitedWithCode(kFatalStatus), "Value.szVal");
    std::string const tooLong(70000, 'x');
    char* const block = new char[tooLong.size() + 1];
    std::memcpy(block, tooLong.c_str(), tooLong.size() + 1);
    Token adopted;
    adopted.AdoptValue(block, 0);
    char buf[16];
    EXPECT_EXIT(adopted.FetchAsString(buf, sizeof buf, 6), ExitedWithCode(kFatalStatus), "");
}

// A 64-bit caller's integers and truths on tokens and the scanner mean what
// the 32-bit forms mean; a value that does not fit ends the process.
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

// Token streams: walks, texts, dumps and their file form.
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
        std::string const thrown = ThrownText([&] { Produced(far); });
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
        EXPECT_EQ(ThrownText([&] { ts.StreamIn(in); }).substr(0, 4), "402 ") << bytes.size();
    }
}

#include <util/exceptions.h>
#include <util/pstring.h>
#include <util/w32string.h>

#include <platform/comalloc.h>
#include <platform/msgbox.h>
#include <support/fatal.h>
#include <support/scoped_locale.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace {

using ::testing::ExitedWithCode;

std::string Text(CPString& s) {
    return s.GetBuffer();
}

// A call's result and the text it left, read after the call.
std::string After(std::int32_t nResult, CPString& s) {
    return std::to_string(nResult) + " " + Text(s);
}

W32String FromWide(std::u16string wide) {
    OLECHAR* text = wide.data();
    return W32String(&text);
}

std::u16string WideOf(W32String const& str) {
    OLECHAR* wide = nullptr;
    if (str.GetAsUniCode(&wide) == 0) return u"<null>";
    std::u16string result(wide);
    W32String::DestroyUniCodeString(wide);
    return result;
}

} // namespace

TEST(CPStringTest, SharingAndCopyOnWrite) {
    CPString a("abc");
    CPString b(a);
    EXPECT_EQ(a._get_pdybuf(), b._get_pdybuf());
    EXPECT_EQ(a._get_pdybuf()->_get_nRefCount(), 2);

    // A character is appended to the shared buffer: both see it.
    b += 'd';
    EXPECT_EQ(Text(a) + "|" + Text(b), "abcd|abcd");
    // A text is appended to a private copy: only one sees it.
    b += "ef";
    EXPECT_EQ(Text(a) + "|" + Text(b), "abcd|abcdef");
    EXPECT_NE(a._get_pdybuf(), b._get_pdybuf());

    // GetBuffer and operator[] reach every sharer too.
    CPString c(a);
    c[0] = 'X';
    EXPECT_EQ(Text(a), "Xbcd");
    EXPECT_EQ(c[99], '\0');
    c[99] = 'q'; // the dummy
    EXPECT_EQ(c[4], '\0');

    // Self-assignment releases before sharing: the string ends empty.
    CPString& alias = a;
    a = alias;
    EXPECT_EQ(a._get_pdybuf(), nullptr);
    EXPECT_EQ(a.Length(), 0);
    EXPECT_EQ(Text(c), "Xbcd"); // the other holder kept the buffer
    CPString s("self");
    s += s;
    EXPECT_EQ(Text(s), "selfself");
}

TEST(CPStringTest, ComparisonRules) {
    CPString never1, never2;
    EXPECT_FALSE(never1 == never2);
    EXPECT_TRUE(never1 != never2);
    EXPECT_FALSE(never1 == "");
    EXPECT_FALSE(CPString("a") == static_cast<char const*>(nullptr));

    CPString abc("abc"), abcd("abcd"), abd("abd"), b("b"), empty("");
    EXPECT_TRUE(abc == "abc" && "abc" == abc && abc == CPString("abc"));
    EXPECT_TRUE(empty == CPString(""));
    // Less is "proper prefix of", case counting.
    EXPECT_TRUE(abc < abcd);
    EXPECT_TRUE(empty < b);
    EXPECT_TRUE(never1 < b);
    EXPECT_FALSE(abc < abd || b < abcd || abcd < abc || abc < abc || CPString("ABC") < abcd);

    EXPECT_EQ(never1.StrCmp("x"), -1);
    EXPECT_LT(abc.StrCmp("abd"), 0);
    EXPECT_EQ(abc.StrCmp("abc"), 0);
}

TEST(CPStringTest, ConcatenationAndNumbers) {
    CPString s("n=");
    s += 42;
    s += ' ';
    s += 3L;
    s += static_cast<short>(-7);
    s += ' ';
    s += 1.5f;
    s += ' ';
    s += 2.25;
    EXPECT_EQ(Text(s), "n=42 3-7 1.50000 2.250000");

    CPString t;
    t = 'c';
    EXPECT_EQ(Text(t), "c");
    t = 1.0;
    CPString u = t + 5;
    EXPECT_EQ(Text(u) + "|" + Text(t), "1.0000005|1.000000");

    CPString none, word("w");
    CPString sums[] = {none + word, static_cast<char const*>(nullptr) + word, word + "x",
                       "x" + word};
    EXPECT_EQ(Text(sums[0]) + "|" + Text(sums[1]) + "|" + Text(sums[2]) + "|" + Text(sums[3]),
              "w|w|wx|xw");
}

TEST(CPStringTest, SearchAndCharacterTests) {
    CPString s("abcabc");
    std::int32_t pos = -1;
    EXPECT_EQ(s.ContainsSubString("bc", &pos), 1);
    EXPECT_EQ(pos, 1);
    EXPECT_EQ(s.ContainsSubString("bc", &pos, 1), 1);
    EXPECT_EQ(pos, 4);
    EXPECT_EQ(s.ContainsSubString("zz", &pos), 0);
    EXPECT_EQ(s.ContainsSubString(nullptr), 0);
    EXPECT_EQ(CPString("").ContainsSubString("a"), 0);
    EXPECT_EQ(s.ContainsChar('c', &pos), 1);
    EXPECT_EQ(pos, 2);

    // From the end, index 0 is never tested.
    EXPECT_EQ(s.FindChar('a', 1), 3);
    EXPECT_EQ(CPString("ab").FindChar('a', 1), -1);
    EXPECT_EQ(s.FindChar('a', 0), 0);
    EXPECT_EQ(CPString().FindChar('a', 1), -1);
    EXPECT_EXIT(CPString("ab").FindChar('b', 0), ExitedWithCode(kFatalStatus), "FindChar");

    for (char const* numeric : {"", "1e5", " 12 ", "1-2+3", "-1.5^2", "12"})
        EXPECT_EQ(CPString(numeric).IsNumeric(), 1) << numeric;
    for (char const* other : {"1E5", "1.2.3", "1+2+3-4", "^2^3", "12a"})
        EXPECT_EQ(CPString(other).IsNumeric(), 0) << other;
    EXPECT_EQ(CPString(" \t\n").IsWhitespace(), 1);
    EXPECT_EQ(CPString().IsWhitespace(), 1);
    EXPECT_EQ(CPString(" x ").IsWhitespace(), 0);
    EXPECT_EQ(CPString(" 42abc").AsInt(), 42);
    EXPECT_EQ(CPString("abc").AsInt(), 0);
    EXPECT_DOUBLE_EQ(CPString("2.5e1").AsFloat(), 25.0);
}

TEST(CPStringTest, ExtractionAndSplitting) {
    CPString s("Hello, world");
    CPString dest("old");
    EXPECT_EQ(After(s.ExtractSubString(&dest, 7, 100), dest), "1 world"); // end clamped
    EXPECT_EQ(s.ExtractSubString(&dest, 3, 2), 1);                        // end before start: empty
    EXPECT_EQ(dest.Length(), 0);
    dest = "kept";
    EXPECT_EQ(After(s.ExtractSubString(&dest, 20, 30), dest), "0 kept");

    // Fewer than two characters between the delimiters count as none.
    EXPECT_EQ(CPString("(a)").ExtractBetweenDelimiters(&dest, '(', ')'), 0);
    EXPECT_EQ(After(CPString("x(ab)y").ExtractBetweenDelimiters(&dest, '(', ')'), dest), "1 ab");

    CPString tagged("name = \"Pump 1\" size=\"big");
    EXPECT_EQ(After(tagged.ExtractTaggedValue(&dest, "name", '=', '"'), dest), "1 Pump 1");
    // An unclosed value is accepted.
    EXPECT_EQ(After(tagged.ExtractTaggedValue(&dest, "size", '=', '"'), dest), "1 big");
    EXPECT_EQ(tagged.ExtractTaggedValue(&dest, "size", ':', '"'), 0);
    EXPECT_EQ(tagged.ExtractTaggedValue(&dest, "mass", '=', '"'), 0);
    EXPECT_EQ(tagged.ExtractTaggedValue(nullptr, "name", '=', '"'), 0);

    short positions[8];
    EXPECT_EQ(CPString("a,b,c").Split(',', positions, 1), 3);
    EXPECT_EQ(std::vector<short>(positions, positions + 4), (std::vector<short>{0, 2, 4, 5}));
    CPString a, b, c;
    EXPECT_EQ(CPString("a,b,c").Split(',', &a, &b, &c), 3);
    EXPECT_EQ(Text(a) + "|" + Text(b) + "|" + Text(c), "a|,b|,c"); // the separator leads
    EXPECT_EQ(CPString("1;2;3;4").Split(';', &a, &b), 4);          // the rest piles up
    EXPECT_EQ(Text(a) + "|" + Text(b), "1|;2;3;4");
}

TEST(CPStringTest, ReplacementAndItsLimit) {
    CPString s("a/b/c");
    EXPECT_EQ(After(s.ReplaceSubString("/", "::", 1), s), "1 a/b::c");
    s.MassagePathSeparators(0);
    EXPECT_EQ(Text(s), "a\\b::c");
    s.MassagePathSeparators(1);
    EXPECT_EQ(Text(s), "a/b::c");
    EXPECT_EQ(After(s.Substitute("::", CPString("-")), s), "1 a/b-c");
    EXPECT_EQ(After(s.TerminateAfterSubString("b"), s), "1 a/b");
    EXPECT_EQ(s.TerminateAfterSubString("q"), 0);

    // Shrinking a short text wraps the unsigned length check and is refused.
    CPString tiny("ab");
    EXPECT_EQ(tiny.ReplaceSubString("abc", "", 0), 0);
    // Too long: refused with a log message, and the loop stops at once.
    std::string const longPath(2000, '/');
    CPString big(longPath.c_str());
    big.MassagePathSeparators(0);
    EXPECT_EQ(Text(big), longPath);
}

TEST(CPStringDeathTest, WorkAreasEndTheProcessWhereTheyWouldOverrun) {
    std::string const text(1023, 'a'), huge(5000, 'x');
    CPString dest;
    std::function<void()> const overruns[] = {
        [&] { CPString(text.c_str()).ReplaceSubString("a", "bb", 0); },
        [&] { CPString(huge.c_str()).ExtractSubString(&dest, 0, 4200); },
        [&] { CPString(huge.c_str()).TerminateAfterSubString("x"); },
        [&] { CPString("1,2,3,4,5,6,7,8,9").Split(',', &dest); },
        [] { CPString().SPrintF("%5000d", 1); },
    };
    for (auto const& statement : overruns)
        EXPECT_EXIT(statement(), ExitedWithCode(kFatalStatus), "");
}

TEST(CPStringTest, FilterModes) {
    struct Case {
        char const* in;
        std::int32_t flags;
        char const* out;
    } const cases[] = {
        {"  Heat  Exchanger  ", 7, "HeatExchanger"},
        {"HeatExchanger", 0x1000, "Heat Exchanger"},
        {"HEAT", 0x1000, "HEAT"},
        {"  heat exCHANGER  ", 0x0040, "Heat Exchanger  "},
        {"...pump, big!!", 0x0100 | 0x0200, "pump, big"},
        {"a, b; c", 0x0400 | 0x0004, "abc"},
        {"Mixed Case", 0x0010, "mixed case"},
        {"Mixed Case", 0x0020, "MIXED CASE"},
        {"(lead", 0x0040, "(Lead"},
        {" !?", 0x0002 | 0x0200, ""},
    };
    for (Case const& c : cases) {
        CPString s(c.in);
        EXPECT_EQ(s.Filter(c.flags), 0);
        EXPECT_EQ(Text(s), c.out) << c.in << " / " << c.flags;
        EXPECT_EQ(s.Length(), static_cast<std::int32_t>(std::string(c.out).size()));
    }
    CPString crc("abc");
    std::uint16_t const before = crc._get_nCRC();
    crc.UpperCase();
    EXPECT_NE(crc._get_nCRC(), before); // the cached CRC was dropped
    crc.Reverse();
    EXPECT_EQ(Text(crc), "CBA");
    crc.LowerCase();
    EXPECT_EQ(Text(crc), "cba");
    EXPECT_EQ(crc.MatchRegularExpression("c.*"), 0);
}

TEST(CPStringTest, CStyleAccessFormattingAndStreams) {
    CPString s("abcdef");
    char out[16] = "zz";
    s.StrCpy(out, 4);
    EXPECT_STREQ(out, "abc");
    s.StrCpy(out, 0xFFFFFFFF);
    EXPECT_STREQ(out, "abcdef");
    CPString().StrCpy(out, 16);
    EXPECT_STREQ(out, "");
    std::strcpy(out, "x-");
    s.StrCat(out);
    EXPECT_STREQ(out, "x-abcdef");

    CPString f;
    EXPECT_EQ(After(f.SPrintF("%s=%d", "n", 5), f), "3 n=5");
    EXPECT_EQ(f.Length(), 3);
    EXPECT_GE(f.Size(), 4096);
    CPString sized(100u);
    EXPECT_EQ(DynaBuffer::_get_nDeltaSize(), 64);
    EXPECT_EQ(sized.Size(), 128); // grown with the step of 32, then the step set to 64

    std::stringstream io;
    CPString none, back, empty("x");
    io << s << none;
    io >> back >> empty;
    EXPECT_TRUE(back == s);
    EXPECT_EQ(empty.Length(), 0);
    std::istringstream raw("abcdef");
    CPString read;
    EXPECT_EQ(read.ReadIStream(raw), 6);
    // The count is the raw length, so the last character is not counted.
    EXPECT_EQ(read.Length(), 5);
    EXPECT_STREQ(read.GetBuffer(), "abcdef");
}

// The wide forms of a string.
TEST(W32String, RoundTripsThroughWideBstrAndGuidText) {
    W32String str = FromWide(u"Hello, world");
    EXPECT_EQ(str.Length(), 12);
    EXPECT_STREQ(str.GetBuffer(), "Hello, world");
    EXPECT_EQ(WideOf(str), u"Hello, world");
    BSTR bstr = str.GetAsBSTR();
    ASSERT_NE(bstr, nullptr);
    EXPECT_EQ(platform::SysStringLen(bstr), 12u);
    EXPECT_EQ(std::u16string(bstr), u"Hello, world");
    W32String::DestroyBSTRString(bstr);
    // Under C, foreign characters come out as '?'.
    EXPECT_STREQ(FromWide(u"caf\u00E9").GetBuffer(), "caf?");

    GUID const guid = {0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    EXPECT_EQ(str.SetFromGUID(guid), 1);
    EXPECT_STREQ(str.GetBuffer(), "{00020400-0000-0000-C000-000000000046}");
    GUID back{};
    EXPECT_EQ(str.GetAsGUID(&back), 1);
    EXPECT_EQ(back, guid);
    str = "{00020400-0000-0000-C000-00000000004}";
    EXPECT_EQ(str.GetAsGUID(&back), 0);
    EXPECT_EQ(back, GUID{});

    // An empty string has no wide forms at all.
    W32String empty;
    EXPECT_EQ(WideOf(empty), u"<null>");
    EXPECT_EQ(empty.GetAsBSTR(), nullptr);
    back = guid;
    EXPECT_EQ(empty.GetAsGUID(&back), 0);
    EXPECT_EQ(back, GUID{});
}

TEST(W32String, NonAsciiUnderUtf8KeepsTheWideLengthQuirk) {
    ScopedLocale utf8("C.UTF-8");
    if (!utf8.ok()) GTEST_SKIP() << "no C.UTF-8 locale";
    std::u16string wide = u"Gr\u00FC\u00DFe \u20AC";
    char const narrow[] = "Gr\xC3\xBC\xC3\x9F"
                          "e \xE2\x82\xAC";

    // The constructor stores what the conversion wrote.
    W32String built = FromWide(wide);
    EXPECT_STREQ(built.GetBuffer(), narrow);
    EXPECT_EQ(built.Length(), static_cast<std::int32_t>(sizeof narrow - 1));
    EXPECT_EQ(WideOf(built), wide);

    // SetFromUniCode stores the wide length, whatever the bytes, and unshares.
    W32String set;
    set = "old text";
    W32String sharer(set);
    OLECHAR* text = wide.data();
    EXPECT_EQ(set.SetFromUniCode(&text), 1);
    EXPECT_STREQ(set.GetBuffer(), narrow);
    EXPECT_EQ(set.Length(), static_cast<std::int32_t>(wide.size()));
    EXPECT_STREQ(sharer.GetBuffer(), "old text");
    EXPECT_EQ(WideOf(set), wide);
}

TEST(W32StringDeathTest, TextPastTheConversionAreaIsLoggedAndLeftEmpty) {
    // The longest that fits: 1023 characters and the terminator.
    EXPECT_EQ(FromWide(std::u16string(1023, u'x')).Length(), 1023);

    // In a child, so that its report path does not reach other tests.
    std::string const log = test_support::ChildReport(
        [] { std::exit(FromWide(std::u16string(1024, u'x')).Length() == 0 ? 0 : 1); }, 0);
    EXPECT_NE(log.find("Comment: \"String constructor failed.\""), std::string::npos) << log;

    // The limit is on bytes: 512 two-byte characters and the terminator
    // are one too many.
    ScopedLocale utf8("C.UTF-8");
    if (!utf8.ok()) GTEST_SKIP() << "no C.UTF-8 locale";
    EXPECT_EQ(FromWide(std::u16string(511, u'\u00E9')).Length(), 1022);
    EXPECT_EQ(FromWide(std::u16string(512, u'\u00E9')).Length(), 0);
}

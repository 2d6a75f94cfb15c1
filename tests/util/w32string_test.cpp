#include <util/w32string.h>

#include <platform/comalloc.h>
#include <support/fatal.h>
#include <support/scoped_locale.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

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

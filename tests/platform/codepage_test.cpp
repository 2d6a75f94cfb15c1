#include <platform/codepage.h>
#include <platform/comalloc.h>
#include <platform/guid.h>
#include <platform/syserror.h>

#include <support/scoped_locale.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using namespace platform;

// Each through a size query first, as callers do.
std::u16string ToWide(char const* text, int length = -1) {
    int const needed = MultiByteToWideChar(CP_ACP, 0, text, length, nullptr, 0);
    std::u16string wide(static_cast<std::size_t>(needed), u'\0');
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, text, length, wide.data(), needed), needed);
    return wide;
}

std::string ToNarrow(std::u16string const& wide, int* usedDefault = nullptr) {
    int const length = static_cast<int>(wide.size());
    int const needed =
        WideCharToMultiByte(CP_ACP, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(needed), '\0');
    EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, wide.data(), length, narrow.data(), needed, nullptr,
                                  usedDefault),
              needed);
    return narrow;
}

} // namespace

TEST(Codepage, Utf8RoundTripsAndReplacesInvalidBytes) {
    ScopedLocale utf8("C.UTF-8");
    if (!utf8.ok()) GTEST_SKIP() << "no C.UTF-8 locale";
    EXPECT_EQ(AnsiCharset(), "UTF-8");

    char const text[] = "Gr\xC3\xBC\xC3\x9F"
                        "e \xE2\x82\xAC \xF0\x9D\x84\x9E";
    std::u16string const wide = ToWide(text);
    EXPECT_EQ(wide, std::u16string(u"Grüße € \U0001D11E") + u'\0');
    EXPECT_EQ(ToNarrow(wide), std::string(text, sizeof text));

    // One replacement per invalid byte, a cut-off sequence included; an
    // explicit length converts no terminator.
    EXPECT_EQ(ToWide("a\xFF\xFE"
                     "b"),
              std::u16string(u"a\uFFFD\uFFFDb") + u'\0');
    EXPECT_EQ(ToWide("x\xE2\x82", 3), u"x\uFFFD\uFFFD");
    int used = 0;
    EXPECT_EQ(ToNarrow(std::u16string{u'a', char16_t(0xD800), u'b'}, &used), "a?b");
    EXPECT_EQ(used, 1);
}

TEST(Codepage, TheCLocaleIsAsciiWithTheDefaultCharacter) {
    EXPECT_EQ(AnsiCharset(), "ANSI_X3.4-1968");
    int used = -1;
    EXPECT_EQ(ToNarrow(u"plain", &used), "plain");
    EXPECT_EQ(used, 0);
    // A surrogate pair is one character, so one replacement.
    EXPECT_EQ(ToNarrow(u"\u00E9t\U0001D11E!", &used), "?t?!");
    EXPECT_EQ(used, 1);
    EXPECT_EQ(ToWide("\x80z"), std::u16string(u"\uFFFDz") + u'\0');
}

TEST(Codepage, FailuresAnswerZeroWithTheirReason) {
    OLECHAR wide[4];
    char narrow[4];
    SetLastError(0);
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "abcd", -1, wide, 4), 0);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, u"abcd", -1, narrow, 4, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    // Success leaves the reason of before.
    SetLastError(0);
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "abc", -1, wide, 4), 4);
    EXPECT_EQ(GetLastError(), 0u);

    int const invalid[] = {
        MultiByteToWideChar(CP_ACP, 0, nullptr, -1, wide, 4),
        MultiByteToWideChar(CP_ACP, 0, "abc", 0, wide, 4),
        MultiByteToWideChar(CP_ACP, 0, "abc", -1, nullptr, 4),
        MultiByteToWideChar(1252, 0, "abc", -1, wide, 4),
        WideCharToMultiByte(CP_ACP, 0, u"abc", -1, narrow, -1, nullptr, nullptr),
    };
    for (int result : invalid)
        EXPECT_EQ(result, 0);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(Bstr, LayoutIsByteCountPrefixTextAndTerminator) {
    BSTR text = SysAllocString(u"ab\u20AC");
    ASSERT_NE(text, nullptr);
    unsigned char bytes[12];
    std::memcpy(bytes, reinterpret_cast<unsigned char const*>(text) - 4, sizeof bytes);
    unsigned char const expected[12] = {6, 0, 0, 0, 'a', 0, 'b', 0, 0xAC, 0x20, 0, 0};
    EXPECT_EQ(0, std::memcmp(bytes, expected, sizeof bytes));
    EXPECT_EQ(SysStringLen(text), 3u);
    SysFreeString(text);

    // The prefix, not a 0 character, ends the text.
    BSTR embedded = SysAllocStringLen(u"a\0b", 3);
    EXPECT_EQ(SysStringLen(embedded), 3u);
    EXPECT_EQ(std::u16string(embedded, 4), std::u16string(u"a\0b\0", 4));
    SysFreeString(embedded);

    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    SysFreeString(nullptr);
}

TEST(Guid, TextBothWaysAndMalformedTextGivesZero) {
    GUID const guid = {
        0x6B29FC40, 0xCA47, 0x1067, {0xB3, 0x1D, 0x00, 0xDD, 0x01, 0x06, 0x62, 0xDA}};
    OLECHAR* text = nullptr;
    ASSERT_EQ(StringFromCLSID(guid, &text), S_OK);
    EXPECT_EQ(std::u16string(text), u"{6B29FC40-CA47-1067-B31D-00DD010662DA}");
    CoTaskMemFree(text);
    GUID back{};
    EXPECT_EQ(CLSIDFromString(u"{6b29fc40-ca47-1067-b31d-00dd010662da}", &back), S_OK);
    EXPECT_EQ(back, guid);

    char16_t const* const malformed[] = {
        u"6B29FC40-CA47-1067-B31D-00DD010662DA",
        u"{6B29FC40-CA47-1067-B31D-00DD010662D}",
        u"{6B29FC40-CA47-1067-B31D-00DD010662DA}x",
        u"{6B29FC4-0CA47-1067-B31D-00DD010662DA}",
        u"{6B29FC40-CA47-1067-B31D-00DD010662DG}",
        u"{6B29FC40-CA47-1067-B31D-00DD010662DA ",
        u"",
        nullptr,
    };
    for (char16_t const* bad : malformed) {
        back = guid;
        EXPECT_EQ(CLSIDFromString(bad, &back), CO_E_CLASSSTRING);
        EXPECT_EQ(back, GUID{});
    }
}

#include <baseobj/resmnkr.h>

#include "support.h"

#include <baseobj/exception.h>
#include <util/pstring.h>

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace {

using ResourceMonikerTest = baseobj_test::BoxedTest;
using ::testing::ExitedWithCode;
constexpr int kFatalStatus = 0xCC;

std::string Str(CPString str) {
    return str.Length() > 0 ? str.GetBuffer() : "";
}

std::string Built(ResourceMoniker& mk, short nForm) {
    mk._set_nFormCode(nForm);
    CPString str;
    mk.BuildMonikerString(&str);
    return Str(str);
}

// Each text's container, its path as drive and nodes, and its text built in
// the bracketed form, which reads back to the same moniker, and in the arrow
// form.
TEST_F(ResourceMonikerTest, TextsParseAndBuildBack) {
    // path: the drive with ":", each node after "|"
    std::tuple<char const*, char const*, char const*, char const*, char const*, char const*> const
        rows[] = {{R"(C:\dir\file)", "volume", "dos", "C:|dir|file", R"([volume@dos]C:\dir\file)",
                   R"(<volume>->C:\dir\file)"},
                  {R"([FlatText@notes.txt]C:\a b\c.txt)", "flattext", "dos flattext",
                   "C:|a b|c.txt", R"([flattext@dos flattext]C:\a b\c.txt)",
                   R"(<flattext>->C:\a b\c.txt)"},
                  {R"([store@D:\x]\y)", "store", "D:x", "|y", R"([store@D:x]\y)", R"(<store>->\y)"},
                  {"[store]", "store", "dos", "", "[store@dos]", "<store>->"},
                  // A POSIX path: "/" cannot begin a name, so it is a node of its own.
                  {"/home/x/file", "volume", "dos", "|/|home/x/file",
                   R"([volume@dos]\/\home/x/file)", R"(<volume>->\/\home/x/file)"},
                  {"[volume@/srv/data]/home/x", "volume", "/srv/data", "|/|home/x",
                   R"([volume@/srv/data]\/\home/x)", R"(<volume>->\/\home/x)"},
                  {"rel (1)-x&y", "volume", "dos", "|rel (1)-x&y", "[volume@dos]\\rel (1)-x&y",
                   "<volume>->\\rel (1)-x&y"},
                  // Reserved words are plain names here.
                  {"if:\\while", "volume", "dos", "if:|while", "[volume@dos]if:\\while",
                   "<volume>->if:\\while"},
                  {"", "", "", "", "[]", ""}};
    for (auto const& [text, type, file, szPath, szBracketed, arrow] : rows) {
        SCOPED_TRACE(text);
        ResourceMoniker mk;
        mk.Scan(text);
        EXPECT_EQ(Str(mk._get_strContainerType()), type);
        EXPECT_EQ(Str(mk._get_strContainerFilePath()), file);
        std::string path;
        for (EdgeSpec* pes = mk.GetFirstSubval(); pes != nullptr; pes = mk.GetNextSubval())
            path += ResourceMoniker::IsDrive(pes) != 0
                        ? std::string(pes->_get_szName(nullptr)) + ":"
                        : "|" + std::string(pes->_get_szName(nullptr));
        EXPECT_EQ(path, szPath);
        std::string const bracketed = Built(mk, 1);
        EXPECT_EQ(bracketed, szBracketed);
        EXPECT_EQ(Built(mk, PMoniker::kArrowForm), arrow);
        if (text[0] == '\0') continue;
        ResourceMoniker mkAgain;
        mkAgain.Scan(bracketed.c_str());
        EXPECT_EQ(Built(mkAgain, 1), bracketed);
    }
}

TEST_F(ResourceMonikerTest, LastNodeAndSubvalues) {
    ResourceMoniker mk;
    CPString str;
    mk.Scan("[a@b]");
    EXPECT_EQ(mk.HasSubvalues(), 0);
    mk.BuildLastNodeInMonikerString(&str);
    EXPECT_EQ(Str(str), "");
    mk.Scan(R"(C:\dir\file.txt)");
    mk.BuildLastNodeInMonikerString(&str);
    EXPECT_EQ(Str(str), R"(\file.txt)");
    ASSERT_NE(mk.GetDrive(), nullptr);
    EXPECT_STREQ(mk.GetDrive()->_get_szName(nullptr), "C");

    ResourceMoniker mkMade;
    mkMade.AddDrive("E");
    mkMade.AddPathNode("x");
    EXPECT_EQ(Built(mkMade, PMoniker::kArrowForm), R"(E:\x)");
}

TEST_F(ResourceMonikerTest, AnOpenContainerFails) {
    ResourceMoniker mk;
    for (char const* text : {"[a", "[a@b", "[a@b c"}) {
        SCOPED_TRACE(text);
        try {
            mk.Scan(text);
            ADD_FAILURE() << "no exception";
        } catch (Exception const& e) {
            EXPECT_EQ(e._get_nException(), 270);
        }
    }
    EXPECT_EXIT(mk.Scan("  [  "), ExitedWithCode(kFatalStatus), "");
}

} // namespace

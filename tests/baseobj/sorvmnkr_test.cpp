#include <baseobj/sorvmnkr.h>

#include "navgraph.h"
#include "support.h"

#include <baseobj/exception.h>
#include <util/pstring.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>

namespace {

using SorvaneMonikerTest = baseobj_test::BoxedTest;

std::string Built(PMoniker& mk) {
    CPString str;
    mk.BuildMonikerString(&str);
    return str.Length() > 0 ? str.GetBuffer() : "";
}

std::string Subvalues(PMoniker& mk) {
    std::string text;
    for (EdgeSpec* pes = mk.GetFirstSubval(); pes != nullptr; pes = mk.GetNextSubval())
        text += pes->_get_nType() == EdgeSpec::kSelectByName
                    ? "." + std::string(pes->_get_szName(nullptr))
                    : "#" + std::to_string(pes->_get_nDX());
    return text;
}

TEST_F(SorvaneMonikerTest, TextsParseAndBuildBack) {
    // flags: item specified, indirection, fetch the item: 1, 2, 4
    // bracketed: the form for any code but the arrow's
    std::tuple<char const*, char const*, char const*, char const*, int, char const*,
               char const*> const rows[] = {
        {"<a>->b:c[2]", "a", "b", ".c#2", 1, "<a>->b:c[2]", "[a@b]"},
        {"[a:x]->b", "a:x", "b", "", 3, "[a:x]->b", "[a:x@b]"},
        {"b", "", "b", "", 0, "b", "[@b]"},
        {"parent:sub[3]", "", "parent", ".sub#3", 0, "parent:sub[3]", "[@parent]"},
        // The item alone asks for the item; written back, it keeps the arrow.
        {"<a>", "a", "", "", 5, "<a>->", "[a]"},
        {"[a]", "a", "", "", 7, "[a]->", "[a]"},
        {"<my item>->p.q/r:s-t[-1][0]", "my item", "p.q/r", ".s-t#-1#0", 1,
         "<my item>->p.q/r:s-t[-1][0]", "[my item@p.q/r]"},
        {"  <a> -> b : c [ 2 ]", "a", "b ", ".c #2", 1, "<a>->b :c [2]", "[a@b ]"}};
    for (auto const& [text, item, parent, subvalues, flags, built, bracketed] : rows) {
        SCOPED_TRACE(text);
        SorvaneMoniker mk;
        mk.Scan(text);
        EXPECT_STREQ(mk._get_szItemName(nullptr), item);
        EXPECT_STREQ(mk._get_szParentName(nullptr), parent);
        EXPECT_EQ(Subvalues(mk), subvalues);
        EXPECT_EQ(mk.ItemSpecified(), (flags & 1) != 0 ? 1 : 0);
        EXPECT_EQ(mk._get_bItemIndirection(), (flags & 2) != 0 ? 1 : 0);
        EXPECT_EQ(mk._get_bFetchItemHandle(), (flags & 4) != 0 ? 1 : 0);
        EXPECT_EQ(Built(mk), built);
        mk._set_nFormCode(1);
        EXPECT_EQ(Built(mk), bracketed);
    }
}

TEST_F(SorvaneMonikerTest, BadTextsThrowTheirCodes) {
    std::tuple<char const*, short, char const*> const rows[] = {
        {"", 214, "Expected input, got "},
        {"<a", 271, "Expected closing angular bracket >, got "},
        {"[a>->b", 270, "Expected closing square bracket ], got "},
        {"<a>-b", 214, "Expected input, got "},
        {"<a>->", 214, "Expected input, got "},
        {"<a>->b->c", 214, "Expected input, got "}, // arrows do not nest
        {"b:", 214, "Expected input, got "},
        {"b[x]", 214, "Expected input, got "}};
    for (auto const& [text, code, message] : rows) {
        SCOPED_TRACE(text);
        SorvaneMoniker mk;
        try {
            mk.Scan(text);
            ADD_FAILURE() << "no exception";
        } catch (Exception const& e) {
            EXPECT_EQ(e._get_nException(), code);
            EXPECT_EQ(std::string(e.szMessage).substr(0, std::strlen(message)), message);
        }
    }
}

TEST_F(SorvaneMonikerTest, HeadIsMadeOnDemandAndJoinsAppend) {
    SorvaneMoniker mk;
    mk._set_szParentName("p");
    EXPECT_STREQ(mk._get_szItemName(nullptr), "");
    EXPECT_EQ(mk.ItemSpecified(), 0);
    mk._set_szItemName("i");
    EXPECT_EQ(mk.ItemSpecified(), 1);
    EXPECT_EQ(Built(mk), "<i>->p");

    SorvaneMoniker mkTail;
    mkTail.Scan("q:r[4]");
    mk.Concat(&mkTail);
    mk.Concat(&mk);
    // The other's item step is empty and has no name or index to join.
    EXPECT_EQ(Built(mk), "<i>->p:q:r[4]:i:p:q:r[4]");
}

// The sub-values lead from the parent through the graph.
TEST_F(SorvaneMonikerTest, SubvaluesWalkFromTheParent) {
    navgraph::Sample g;
    SorvaneMoniker mk;
    mk.Scan("<it>->root:a[1]");
    EXPECT_EQ(navgraph::Tag(mk.FollowPath(g.root, PMoniker::kFind, PMoniker::kHeadSteps)), "x");
    EXPECT_EQ(navgraph::Tag(mk.TraversePath(g.root, PMoniker::kFind)), "x");
    mk.ReleasePath(g.root);
}

} // namespace

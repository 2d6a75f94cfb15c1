#include <baseobj/mnkr.h>

#include "navgraph.h"
#include "support.h"

#include <baseobj/exception.h>
#include <util/pstring.h>

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace {

using navgraph::Sample;
using navgraph::Tag;

class PathTest : public baseobj_test::BoxedTest {
protected:
    void SetUp() override { PMoniker::_set_pfnNodeIndex(navgraph::ValueOf); }
    void TearDown() override { PMoniker::_set_pfnNodeIndex(nullptr); }
    Sample g;
};

std::string Built(PMoniker& mk) {
    CPString str;
    mk.BuildMonikerString(&str);
    return str.Length() > 0 ? str.GetBuffer() : "";
}

// Text, the text built back, and where finding from the root ends.
TEST_F(PathTest, PathsParseBuildBackAndWalk) {
    std::tuple<char const*, char const*, char const*> const rows[] = {
        {":a:b", ":a:b", "b"},
        {":a[2]", ":a[2]", "y"},
        {"a:x", ":a:x", "x"}, // a leading name needs no colon
        {"", "", "null"},
        {":a:zz", ":a:zz", "null"},
        {":a[9]", ":a[9]", "null"},
        {":a[:two]", ":a[2]", "y"},     // the index a node gives
        {":a[[:two]]", ":a[2]", "y"},   // [:two] is 2, the root's third node is two
        {":a[ :one ]", ":a[1]", "x"},   // the expression's spacing does not count
        {":a[:missing]", ":a[0]", "b"}, // an expression that leads nowhere is 0
        {":a[]", ":a[0]", "b"},
        {":q-r", ":q-r", "null"}};
    for (auto const& [text, built, found] : rows) {
        SCOPED_TRACE(text);
        PMoniker mk;
        mk.ScanPath(text, g.root);
        EXPECT_EQ(Built(mk), built);
        EXPECT_EQ(Tag(mk.FollowPath(g.root, PMoniker::kFind, 0)), found);
        EXPECT_EQ(Tag(g.root->FollowPath(text, PMoniker::kFind, 0)), found);
    }
}

TEST_F(PathTest, ExpressionsWithoutANodeOrAReaderGiveZero) {
    PMoniker mk;
    mk.Scan(":a[:two]");
    EXPECT_EQ(Built(mk), ":a[0]");
    PMoniker::_set_pfnNodeIndex(nullptr);
    mk.Clear();
    mk.ScanPath(":a[:two]", g.root);
    EXPECT_EQ(Built(mk), ":a[0]");
}

TEST_F(PathTest, BadPathsThrow) {
    std::tuple<std::string, short> const rows[] = {
        {":", 214},
        {":a[", 270},
        {":a[2", 270},
        {":a[[:two]", 270},
        // A name too long for a step is refused, not cut.
        {"://" + std::string(3000, 'n'), 274}};
    for (auto const& [text, code] : rows) {
        SCOPED_TRACE(text.substr(0, 20));
        PMoniker mk;
        try {
            mk.ScanPath(text.c_str(), g.root);
            ADD_FAILURE() << "no exception";
        } catch (Exception const& e) {
            EXPECT_EQ(e._get_nException(), code);
        }
    }
}

TEST_F(PathTest, FollowCreatesCutsAndSkips) {
    PMoniker mk;
    mk.Scan(":a:n1:n2");
    EXPECT_EQ(Tag(mk.FollowPath(g.root, PMoniker::kFind, 0)), "null");
    Navigable* const pnavMade = mk.FollowPath(g.root, PMoniker::kCreate, 0);
    ASSERT_NE(pnavMade, nullptr);
    EXPECT_EQ(mk.FollowPath(g.root, PMoniker::kFind, 0), pnavMade);
    // Skipping the first step walks from a.
    EXPECT_EQ(mk.FollowPath(g.a, PMoniker::kFind, 1), pnavMade);
    EXPECT_EQ(mk.FollowPath(g.a, PMoniker::kFind, -1), nullptr);
    // The cut gives the node and drops the last link only.
    EXPECT_EQ(mk.FollowPath(g.root, PMoniker::kFindAndCut, 0), pnavMade);
    EXPECT_EQ(mk.FollowPath(g.root, PMoniker::kFind, 0), nullptr);
    EXPECT_EQ(Tag(g.root->FollowPath(":a:n1", PMoniker::kFind, 0)), Tag(g.a->edges[3].pnode));

    g.a->bBarren = true;
    EXPECT_EQ(g.root->FollowPath(":a:more", PMoniker::kCreate, 0), nullptr);
}

// The head's two steps are passed over; the nodes ride on the steps until
// they are released.
TEST_F(PathTest, TraverseWalksInternalNodes) {
    PMoniker mk;
    mk.AddNode("item", RT_CONTAINMENT);
    mk.AddNode("parent", RT_CONTAINMENT);
    mk.AddNode("a", RT_CONTAINMENT);
    mk.AddNode(1, RT_CONTAINMENT);
    EXPECT_EQ(Tag(mk.TraversePath(g.root, PMoniker::kFind)), "x");
    mk.ReleasePath(g.root);
    EXPECT_EQ(g.root->released, (std::vector<std::string>{"a", "x"}));
    EXPECT_EQ(mk.GetLastSubval()->_get_pvAttachedObject(), nullptr);

    mk.AddNode("fresh", RT_CONTAINMENT);
    EXPECT_EQ(mk.TraversePath(g.root, PMoniker::kFind), nullptr);
    void* const pvMade = mk.TraversePath(g.root, PMoniker::kCreate);
    EXPECT_EQ(Tag(mk.TraversePath(g.root, PMoniker::kFindAndCut)), Tag(pvMade));
    EXPECT_EQ(mk.TraversePath(g.root, PMoniker::kFind), nullptr);

    g.a->edges[1].pnode->bBarren = true;
    try {
        mk.TraversePath(g.root, PMoniker::kCreate);
        ADD_FAILURE() << "no exception";
    } catch (Exception const& e) {
        EXPECT_EQ(e._get_nException(), 1);
        EXPECT_STREQ(e.szMessage, "Sorvane Moniker: Failure Createing Node");
    }
}

TEST_F(PathTest, KeptTextComesBackAsWritten) {
    PMoniker mk;
    mk.ScanBuffer(" :a : b", 1);
    EXPECT_EQ(mk.GetStepCount(), 2);
    EXPECT_EQ(Built(mk), " :a : b");
    char buf[64];
    EXPECT_STREQ(mk.BuildMonikerString(buf), " :a : b");
    mk.ClearCachedMoniker();
    EXPECT_EQ(Built(mk), ":a:b");
    CPString strLoose("kept"); // no holder: the moniker copies it
    mk.CacheString(&strLoose);
    EXPECT_EQ(strLoose._get_nRefCount(), 0);
    EXPECT_EQ(Built(mk), "kept");
    mk.Clear();
    EXPECT_EQ(Built(mk), "");
}

TEST_F(PathTest, LongPathRoundTrips) {
    std::string text;
    for (int i = 0; text.size() < 4096; ++i)
        text += ":n" + std::to_string(i);
    text.resize(4096);
    if (text.back() == ':' || text.back() == 'n') text.back() = '7';
    PMoniker mk;
    mk.Scan(text.c_str());
    EXPECT_EQ(Built(mk), text);
    Navigable* const pnavEnd = mk.FollowPath(g.root, PMoniker::kCreate, 0);
    ASSERT_NE(pnavEnd, nullptr);
    EXPECT_EQ(g.root->FollowPath(text.c_str(), PMoniker::kFind, 0), pnavEnd);
}

} // namespace

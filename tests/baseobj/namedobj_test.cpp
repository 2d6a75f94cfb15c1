#include <baseobj/namedobj.h>

#include <util/pstring.h>

#include <support/fatal.h>

#include "navgraph.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace {

using ::testing::ExitedWithCode;

using navgraph::Graph;
using navgraph::gSpan;
using navgraph::Node;
using navgraph::Tag;

// Walk functions that write the node's tag after a prefix into a string.
template <char P> void Log(Navigable* pnav, void* pv) {
    *static_cast<std::string*>(pv) += std::string(1, P) + Tag(pnav) + " ";
}
template <char P> int LogTrue(Navigable* pnav, void* pv) {
    Log<P>(pnav, pv);
    return 1;
}
// Only nodes with a tag that begins with 'a' let the walk in.
int LogAndOpenA(Navigable* pnav, void* pv) {
    Log<'f'>(pnav, pv);
    return Tag(pnav)[0] == 'a' ? 1 : 0;
}
int IsTag(Navigable* pnav, void* pv) {
    return Tag(pnav) == static_cast<char const*>(pv) ? 1 : 0;
}
void Count(Navigable*, void* pv) {
    ++*static_cast<long*>(pv);
}

// A direct path tells a text from an index by the low 16 bits of its
// address, so the test's texts sit where those bits are 1000 or more.
char* TextAt(char const* text) {
    static char area[4096];
    static std::size_t used = 0;
    char* p = area + used;
    while ((reinterpret_cast<std::uintptr_t>(p) & 0xFFFF) < Navigable::kDirectIndexLimit)
        ++p;
    std::strcpy(p, text);
    used = static_cast<std::size_t>(p - area) + std::strlen(text) + 1;
    return p;
}

// The relation of each of a node's edges, in order.
std::vector<int> Relations(Node const* pnode) {
    std::vector<int> relations;
    for (Node::Edge const& e : pnode->edges)
        relations.push_back(e.nRelation);
    return relations;
}

// root -> a -> (a1, a2), root -> b -> b1
struct SmallTree {
    SmallTree() {
        n.push_back(g.Make("root"));
        for (auto [nParent, tag] : {std::pair{0, "a"}, {0, "b"}, {1, "a1"}, {1, "a2"}, {2, "b1"}})
            n.push_back(g.Add(n[nParent], tag));
    }
    Graph g;
    std::vector<Node*> n;
};

} // namespace

TEST(EdgeSpecTest, DefaultsSelectionDirectionCopyAndPool) {
    EdgeSpec es;
    EXPECT_EQ(es._get_nRelationType(), RT_CONTAINMENT);
    EXPECT_EQ(es._get_nType(), 0);
    EXPECT_STREQ(es._get_szName(nullptr), "");
    EXPECT_STREQ(es._get_szSupplemental(), "");

    es.SetIndex(7);
    EXPECT_EQ(es._get_nType(), 2);
    es.SetName("child");
    EXPECT_EQ(es._get_nType(), 1);
    EXPECT_EQ(es._get_nDX(), 7);
    es._set_nRelationType(static_cast<short>(RT_NAMED | RT_IN));
    EXPECT_EQ(es.GetRelationType(), RT_NAMED);
    EXPECT_EQ(es.GetRelationDirectedness(), 1);
    es._set_nRelationType(static_cast<short>(0xFF00 | RT_NAMED));
    EXPECT_EQ(es.GetRelationDirectedness(), -1);

    Recycler<EdgeSpec>& pool = EdgeSpec::_get_recycler();
    EdgeSpec* pes = pool.Get();
    pes->SetName("used");
    pool.Put(pes);
    EdgeSpec* again = pool.Get();
    EXPECT_EQ(again, pes);
    EXPECT_STREQ(again->_get_szName(nullptr), "");
    EXPECT_EQ(again->_get_nType(), 0);
    pool.Put(again);

    std::string const tooLong(EdgeSpec::kTextRoom, 'n');
    EXPECT_EXIT(EdgeSpec().SetName(tooLong.c_str()), ExitedWithCode(kFatalStatus), "");
}

TEST(NavigableTest, RelationTextsBothWays) {
    std::tuple<short, char const*, short> const toText[] = {
        {0x180, "RT_NAMED | RT_IN", 1},
        {RT_CONNECTION, "RT_CONNECTION | RT_OUT", 1},
        {0x108, "RT_SUMMARY | RT_IN", 1},
        {RT_REFERENCE, "RT_REFERENCE | RT_OUT", 1},
        {RT_CONTAINMENT, "", 0},
        {0x101, "", 0},
        {3, "", 0},
        {0x280, "", 0}};
    for (auto const& [nCode, text, result] : toText) {
        char buf[64] = "stale";
        EXPECT_EQ(Navigable::ConvertRelation2String(nCode, buf), result) << nCode;
        EXPECT_STREQ(buf, text) << nCode;
    }
    std::tuple<char const*, short, short> const toCode[] = {
        {"rt_named | rt_out", 0x80, 1},       {"RT_NAMED", 0x180, 1},
        {" RT_CONTAINMENT ", 0x101, 1},       {"nonsense", 0x100, 0},
        {"RT_NAMED|RT_CONNECTION", 0x104, 1}, {"RT_OUT", 0, 0}};
    for (auto const& [szText, nExpected, result] : toCode) {
        std::string text = szText;
        short nCode = -1;
        EXPECT_EQ(Navigable::ConvertString2Relation(text.data(), &nCode), result) << szText;
        EXPECT_EQ(nCode, nExpected) << szText;
    }
}

TEST(NavigableTest, NameDefaultsAndDirectPaths) {
    Graph g;
    Node* root = g.Make("root");
    CPString who;
    root->WhoAmI(&who);
    EXPECT_EQ(who, "X");

    Node* kids[3];
    for (Node*& k : kids) {
        k = g.Make("k");
        EdgeSpec es;
        root->AddRelation(k, &es);
    }
    Node* leaf = g.Make("leaf");
    Graph::Link(kids[2], leaf);
    char* name = TextAt("leaf");
    EXPECT_EQ(root->FollowDirectPath(reinterpret_cast<void*>(2), name), leaf);
    EXPECT_EQ(root->steps, (std::vector<std::string>{"#2"}));
    EXPECT_EQ(kids[2]->steps, (std::vector<std::string>{"leaf"}));
    char* missing = TextAt("missing");
    EXPECT_EQ(root->FollowDirectPath(missing, reinterpret_cast<void*>(0)), nullptr);

    // Interning makes what is missing and relates it by the step.
    char* made = TextAt("made");
    Navigable* pnav = root->InternDirectPath(reinterpret_cast<void*>(1), made, made);
    ASSERT_NE(pnav, nullptr);
    EXPECT_EQ(kids[1]->edges.size(), 1u);
    EXPECT_EQ(kids[1]->edges[0].name, "made");
    EXPECT_EQ(root->InternDirectPath(reinterpret_cast<void*>(1), made, made), pnav);
}

TEST(NavigableTest, LinkingBothEnds) {
    Graph g;
    Node* a = g.Make("a");
    Node* b = g.Make("b");
    b->_set_szName("b");

    char sup[] = "Attr_";
    EXPECT_EQ(a->ForgeRelation(b, RT_REFERENCE, sup), 1);
    EXPECT_EQ(Relations(a), std::vector<int>{RT_REFERENCE});
    EXPECT_EQ(Relations(b), std::vector<int>{RT_REFERENCE | RT_IN});
    EXPECT_EQ(b->edges[0].nType, 0);

    // A back link flips the direction, so an incoming relation links back out.
    char name[] = "kid";
    EXPECT_EQ(a->AddRelatedNode(b, static_cast<short>(RT_NAMED | RT_IN), 1, name, nullptr), 1);
    EXPECT_EQ(b->edges.back().name, "kid");
    EXPECT_EQ(a->AddRelatedNode(b, RT_CREATION, 0, nullptr, nullptr), 1);
    EXPECT_EQ(a->edges.back().nType, 2);
    EXPECT_EQ(Relations(a), (std::vector<int>{RT_REFERENCE, RT_NAMED | RT_IN, RT_CREATION}));
    EXPECT_EQ(Relations(b), (std::vector<int>{RT_REFERENCE | RT_IN, RT_NAMED}));

    EXPECT_EQ(a->UnlinkRelatedNode(b, static_cast<short>(RT_NAMED | RT_IN)), 1);
    EXPECT_EQ(a->UnlinkRelatedNode(b, RT_SUMMARY), 0);
    EXPECT_EQ(Relations(a), (std::vector<int>{RT_REFERENCE, RT_CREATION}));
    EXPECT_EQ(Relations(b), std::vector<int>{RT_REFERENCE | RT_IN});
}

TEST(NavigableTest, WalkOrdersAndTheirFunctions) {
    SmallTree t;
    std::tuple<short, char const*> const cases[] = {
        {0, "<a fa >a <b fb >b "},
        {1, "<a fa |a <a1 fa1 |a1 >a1 <a2 fa2 |a2 >a2 >a <b fb |b <b1 fb1 |b1 >b1 >b "},
        {2, "<a <a1 |a1 fa1 >a1 <a2 |a2 fa2 >a2 |a fa >a <b <b1 |b1 fb1 >b1 |b fb >b "},
        {7, ""}};
    for (auto const& [nOrder, expected] : cases) {
        std::string log;
        t.n[0]->ForEach(Log<'f'>, &log, nOrder, RT_CONTAINMENT, nullptr, Log<'<'>, Log<'>'>,
                        Log<'|'>);
        EXPECT_EQ(log, expected) << nOrder;
        std::string intLog;
        t.n[0]->ForEach(LogTrue<'f'>, &intLog, nOrder, RT_CONTAINMENT, nullptr, LogTrue<'<'>,
                        LogTrue<'>'>, LogTrue<'|'>);
        EXPECT_EQ(intLog, expected) << nOrder;
    }

    // The int form descends only where fn (parent first) or fnBefore
    // (children first) said so.
    std::string log;
    t.n[0]->ForEach(LogAndOpenA, &log, 1, RT_CONTAINMENT, nullptr);
    EXPECT_EQ(log, "fa fa1 fa2 fb ");
    log.clear();
    t.n[0]->ForEach(LogTrue<'f'>, &log, 2, RT_CONTAINMENT, nullptr, LogAndOpenA);
    EXPECT_EQ(log, "fa fa1 fa1 fa2 fa2 fa fb fb ");

    // The condition picks nodes; the descent goes on regardless.
    log.clear();
    char const* want = "b1";
    t.n[0]->ForEachThat(Log<'f'>, &log, IsTag, const_cast<char*>(want), 1, RT_CONTAINMENT, nullptr);
    EXPECT_EQ(log, "fb1 ");
    log.clear();
    t.n[0]->ForEachThat(Log<'f'>, &log, nullptr, nullptr, 2, RT_CONTAINMENT, nullptr);
    EXPECT_EQ(log, "fa1 fa2 fa fb1 fb ");

    // Another relation sees nothing.
    log.clear();
    t.n[0]->ForEach(Log<'f'>, &log, 1, RT_NAMED, nullptr);
    EXPECT_EQ(log, "");
}

TEST(NavigableTest, FirstThatOrdersAndSkips) {
    SmallTree t;
    Navigable* root = t.n[0];
    EXPECT_EQ(Tag(root->FirstThat(nullptr, nullptr, 0, RT_CONTAINMENT, nullptr)), "a");
    EXPECT_EQ(Tag(root->FirstThat(nullptr, nullptr, 2, RT_CONTAINMENT, nullptr)), "a1");
    char a2[] = "a2", b1[] = "b1", a[] = "a";
    EXPECT_EQ(Tag(root->FirstThat(IsTag, a2, 0, RT_CONTAINMENT, nullptr)), "null");
    EXPECT_EQ(Tag(root->FirstThat(IsTag, a2, 1, RT_CONTAINMENT, nullptr)), "a2");
    EXPECT_EQ(Tag(root->FirstThat(IsTag, b1, 2, RT_CONTAINMENT, nullptr)), "b1");
    // A skipped node is passed over with everything under it.
    EXPECT_EQ(Tag(root->FirstThat(IsTag, a2, 1, RT_CONTAINMENT, nullptr, IsTag, a)), "null");
    EXPECT_EQ(Tag(root->FirstThat(nullptr, nullptr, 1, RT_CONTAINMENT, nullptr, IsTag, a)), "b");
    EXPECT_EQ(Tag(root->FirstThat(nullptr, nullptr, 5, RT_CONTAINMENT, nullptr)), "null");
}

TEST(NavigableTest, CyclesEndWhereTheyMeetTheirPath) {
    // a -> b -> c -> a, c -> c, b -> a
    Graph g;
    Node* a = g.Make("a");
    Node* b = g.Make("b");
    Node* c = g.Make("c");
    Graph::Link(a, b);
    Graph::Link(b, c);
    Graph::Link(c, a);
    Graph::Link(c, c);
    Graph::Link(b, a);
    std::string log;
    a->ForEach(Log<'f'>, &log, 1, RT_CONTAINMENT, nullptr);
    EXPECT_EQ(log, "fb fc fa fc fa ");
    log.clear();
    a->ForEach(LogTrue<'f'>, &log, 2, RT_CONTAINMENT, nullptr);
    EXPECT_EQ(log, "fa fc fc fa fb ");
    char none[] = "none";
    EXPECT_EQ(a->FirstThat(IsTag, none, 2, RT_CONTAINMENT, nullptr), nullptr);
    log.clear();
    b->ForEachThat(Log<'f'>, &log, nullptr, nullptr, 1, RT_CONTAINMENT, nullptr);
    EXPECT_EQ(log, "fc fa fb fc fa fb ");
}

TEST(NavigableTest, LongChainWalksWithoutDeepStack) {
    constexpr long kLength = 100000;
    Graph g;
    Node* head = g.Make("n0");
    Node* prev = head;
    for (long i = 1; i < kLength; ++i) {
        Node* next = g.Make(i == kLength - 1 ? "last" : "n");
        Graph::Link(prev, next);
        prev = next;
    }
    Graph::Link(prev, head); // and back to the start

    gSpan = {};
    for (short nOrder : {1, 2}) {
        long n = 0;
        head->ForEach(Count, &n, nOrder, RT_CONTAINMENT, nullptr);
        EXPECT_EQ(n, kLength) << nOrder;
    }
    char last[] = "last";
    EXPECT_EQ(head->FirstThat(IsTag, last, 1, RT_CONTAINMENT, nullptr), prev);
    EXPECT_EQ(head->FirstThat(IsTag, last, 2, RT_CONTAINMENT, nullptr), prev);
    // Every cursor was opened from the same depth of stack.
    EXPECT_LT(gSpan.hi - gSpan.lo, 4096u);
}

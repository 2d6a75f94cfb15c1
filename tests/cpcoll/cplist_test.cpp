#include <cpcoll/cplist.h>

#include "support.h"

#include <cstdint>
#include <memory>
#include <thread>

namespace {

using namespace cpcoll_test;

// The chain read both ways, so that a broken back link shows.
std::vector<void*> Backward(CPList const& lst) {
    std::vector<void*> out;
    for (CPBucket* pbkt = lst._get_pbktTail(); pbkt != nullptr; pbkt = pbkt->_get_pbktPrev())
        out.insert(out.begin(), pbkt->_get_pvData());
    return out;
}

void ExpectChain(CPList const& lst, std::vector<void*> const& expected) {
    EXPECT_EQ(Forward(lst), expected);
    EXPECT_EQ(Backward(lst), expected);
    EXPECT_EQ(lst.Length(), expected.size());
}

void FillList(CPList& lst, int n) {
    for (int i = 0; i < n; ++i)
        lst.Add(Item(i));
}

int itNotIs(void* pvItem, void* pvUnwanted) {
    return pvItem != pvUnwanted ? 1 : 0;
}

int itAddressAtLeast(void* pvItem, void* pvLimit) {
    return pvItem >= pvLimit ? 1 : 0;
}

} // namespace

TEST(CPListTest, TheCursorWalksAndAddingDoesNotMoveIt) {
    CPList lst;
    lst.GotoTop();
    EXPECT_EQ(lst.Retrieve(), nullptr);
    EXPECT_EQ(lst.Next(), 0);
    EXPECT_EQ(lst.RetrieveAndDetachTop(), nullptr);
    EXPECT_EQ(lst.DetachAll(), 1);

    FillList(lst, 3);
    EXPECT_EQ(lst._get_pbktCursor(), nullptr); // adding never placed it
    lst.GotoTop();
    EXPECT_EQ(lst._get_nDXCursor(), 0);
    EXPECT_EQ(lst.Next(), 1);
    EXPECT_EQ(lst._get_nDXCursor(), -1);
    EXPECT_EQ(lst.Next(), 1);
    EXPECT_EQ(lst.Retrieve(), Item(2));
    EXPECT_EQ(lst.Next(), 0);
    EXPECT_EQ(lst.Next(), 0);
    lst.Add(Item(3)); // an exhausted cursor stays so
    EXPECT_EQ(lst.Retrieve(), nullptr);

    lst.GotoBottom();
    EXPECT_EQ(lst._get_nDXCursor(), 3);
    EXPECT_EQ(lst.Prev(), 1);
    EXPECT_EQ(lst.Retrieve(), Item(2));
    lst.GotoTop();
    EXPECT_EQ(lst.Prev(), 0);
    EXPECT_EQ(lst._get_pbktCursor(), nullptr);
}

TEST(CPListTest, IndexedReadsUseTheKnownIndexBothWays) {
    CPList lst;
    FillList(lst, 5);
    EXPECT_EQ(lst.RetrieveIDX(2), Item(2));
    EXPECT_EQ(lst._get_nDXCursor(), 2);
    EXPECT_EQ(lst.RetrieveIDX(3), Item(3));
    EXPECT_EQ(lst.RetrieveIDX(1), Item(1)); // back by Prev
    EXPECT_EQ(lst._get_nDXCursor(), 1);

    lst.GotoBottom();
    EXPECT_EQ(lst.RetrieveIDX(3), Item(3));
    CPBucket* const pbktAt = lst._get_pbktCursor();
    EXPECT_EQ(lst.RetrieveIDX(5), nullptr); // Length: nothing moves
    EXPECT_EQ(lst._get_pbktCursor(), pbktAt);
    EXPECT_EQ(lst._get_nDXCursor(), 3);

    EXPECT_EQ(lst[-1], Item(4));
    EXPECT_EQ(lst[-6], nullptr); // a large index

    // An index forgotten by a step starts again from the top.
    lst.Next();
    EXPECT_EQ(lst.RetrieveIDX(4), Item(4));
}

TEST(CPListTest, InsertingPlacesAroundTheCursor) {
    CPList lst;
    EXPECT_EQ(lst.InsertAfter(Item(0)), 0);
    EXPECT_EQ(lst.Length(), 0u);
    EXPECT_EQ(lst.Insert(Item(1)), 1);
    ExpectChain(lst, {Item(1)});
    EXPECT_EQ(lst.Retrieve(), Item(1)); // the cursor rests on it

    EXPECT_EQ(lst.InsertAfter(Item(3)), 1); // after the tail: the new tail
    EXPECT_EQ(lst._get_pbktTail()->_get_pvData(), Item(3));
    EXPECT_EQ(lst.Insert(Item(0)), 1); // before the head: the new head
    ExpectChain(lst, {Item(0), Item(1), Item(3)});
    EXPECT_EQ(lst.Retrieve(), Item(1));

    lst.Next();
    EXPECT_EQ(lst.Insert(Item(2)), 1); // between
    EXPECT_EQ(lst.InsertAfter(Item(4)), 1);
    ExpectChain(lst, {Item(0), Item(1), Item(2), Item(3), Item(4)});

    // A null cursor counts as the head, where it then stays.
    lst.GotoBottom();
    lst.Next();
    EXPECT_EQ(lst.Insert(Item(5)), 1);
    ExpectChain(lst, {Item(5), Item(0), Item(1), Item(2), Item(3), Item(4)});
    EXPECT_EQ(lst.Retrieve(), Item(0));

    // Intern adds only what isn't there, and its search moves the cursor.
    lst.Intern(Item(2));
    EXPECT_EQ(lst.Length(), 6u);
    EXPECT_EQ(lst.Retrieve(), Item(2));
    lst.Intern(Item(6));
    EXPECT_EQ(lst.Length(), 7u);
    EXPECT_EQ(lst._get_pbktTail()->_get_pvData(), Item(6));
}

TEST(CPListTest, PeekingAndTheResetPoint) {
    CPList lst;
    FillList(lst, 3);
    lst.GotoTop();
    EXPECT_EQ(lst.Peek(), Item(0));
    EXPECT_EQ(lst.PeekNext(), Item(1));
    EXPECT_EQ(lst.PeekNext(), Item(2));
    EXPECT_EQ(lst._get_pbktGot(), lst._get_pbktTail());
    EXPECT_EQ(lst.PeekNext(), nullptr); // at the tail: nothing moves
    EXPECT_EQ(lst.PeekNext(), nullptr);
    EXPECT_EQ(lst.Retrieve(), Item(0)); // the cursor never moved
    EXPECT_EQ(lst.Get(), Item(0));
    EXPECT_EQ(lst.PeekNext(), Item(1)); // Get dropped the peek pointer

    lst.SetResetPoint();
    lst.Next();
    lst.GotoResetPoint();
    EXPECT_EQ(lst.Retrieve(), Item(1));
    EXPECT_EQ(lst._get_nDXCursor(), -1);
    lst.Next();
    lst.Add(Item(3)); // every change clears it
    lst.GotoResetPoint();
    EXPECT_EQ(lst.Retrieve(), Item(0));
}

TEST(CPListTest, DetachingFollowsTheCursorAndSearchesMoveIt) {
    CPList lst;
    FillList(lst, 4);
    lst.GotoTop();
    lst.Next();
    EXPECT_EQ(lst.Exists(Item(1)), 1); // rests on it
    EXPECT_EQ(lst.Detach(Item(1)), 1);
    EXPECT_EQ(lst.Retrieve(), Item(2)); // moved on to the next
    ExpectChain(lst, {Item(0), Item(2), Item(3)});

    lst.GotoTop();
    EXPECT_EQ(lst.Detach(Item(7)), 0);
    EXPECT_EQ(lst._get_pbktCursor(), nullptr); // the search ran to the end
    EXPECT_EQ(lst.Exists(Item(7)), 0);

    EXPECT_EQ(lst.Detach(Item(3)), 1); // the tail
    EXPECT_EQ(lst.Detach(Item(0)), 1); // the head
    ExpectChain(lst, {Item(2)});
    EXPECT_EQ(lst.Detach(Item(2)), 1);
    ExpectChain(lst, {});

    FillList(lst, 3);
    lst.GotoTop();
    EXPECT_EQ(lst.RetrieveAndDetachTop(), Item(0));
    EXPECT_EQ(lst.Retrieve(), Item(1)); // the cursor is on the new head
    ExpectChain(lst, {Item(1), Item(2)});
    lst.GotoTop();
    CPBucket* const pbktTop = lst._get_pbktHead();
    lst.UnlinkTopBucket(); // unlinks only: the count and the reference stay
    pbktTop->Release();
    EXPECT_EQ(lst.Retrieve(), Item(2));
    EXPECT_EQ(lst._get_pbktHead()->_get_pbktPrev(), nullptr);
    EXPECT_EQ(lst.Length(), 2u);
}

TEST(CPListTest, KillFunctionsSeeEachElementOnce) {
    CPList lst;
    FillList(lst, 3);
    EXPECT_EQ(lst.Destroy(Item(1), Kills::Record), 1);
    EXPECT_EQ(lst.Destroy(Item(7), Kills::Record), 1); // absent: still 1
    EXPECT_EQ(Kills::seen, std::vector<void*>{Item(1)});
    ExpectChain(lst, {Item(0), Item(2)});

    EXPECT_EQ(lst.DestroyAll(Kills::Record), 1);
    EXPECT_EQ(Kills::seen, (std::vector<void*>{Item(1), Item(0), Item(2)}));
    ExpectChain(lst, {});
    EXPECT_EQ(lst._get_pbktCursor(), nullptr);
}

TEST(CPListTest, DetachAllThatKeepsTheAcceptedAndLeavesTheCount) {
    CPList lst;
    FillList(lst, 4);
    std::int16_t const nXACT = lst._get_nXACT();
    lst.DetachAllThat(itNotIs, Item(2));
    EXPECT_EQ(Forward(lst), (std::vector<void*>{Item(0), Item(1), Item(3)}));
    EXPECT_EQ(Backward(lst), (std::vector<void*>{Item(0), Item(1), Item(3)}));
    EXPECT_EQ(lst.Length(), 4u);
    EXPECT_EQ(lst._get_nXACT(), nXACT);
    // Reads past the real end find nothing, and the list still empties.
    EXPECT_EQ(lst.RetrieveIDX(3), nullptr);
    EXPECT_EQ(lst.DetachAll(), 1);
    EXPECT_EQ(lst.Length(), 0u);
}

TEST(CPListTest, ConditionWalks) {
    CPList lst;
    FillList(lst, 5);
    EXPECT_EQ(lst.FirstThat(nullptr, nullptr), nullptr);
    EXPECT_EQ(lst.FirstThat(itAddressAtLeast, Item(2)), Item(2));
    EXPECT_EQ(lst.Retrieve(), Item(2)); // the cursor follows the match
    EXPECT_EQ(lst._get_nDXCursor(), -1);
    EXPECT_EQ(lst.NextThat(itAddressAtLeast, Item(2)), Item(3));
    EXPECT_EQ(lst.NextThat(itAddressAtLeast, Item(2)), Item(4));
    EXPECT_EQ(lst.NextThat(itAddressAtLeast, Item(2)), nullptr);
    EXPECT_EQ(lst._get_pbktCursor(), nullptr);
    // Over and over: each FirstThat starts afresh.
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(lst.FirstThat(itIs, Item(1)), Item(1));

    // A change between the two is a fault of the walk.
    EXPECT_EQ(lst.FirstThat(itIs, Item(0)), Item(0));
    lst.Add(Item(5));
    EXPECT_THROW(lst.NextThat(itIs, Item(5)), unsigned int);

    // AllThat counts only an answer of exactly 1.
    std::unique_ptr<CPCollection> const ptwos(lst.AllThat(itAnswerTwo, nullptr));
    EXPECT_EQ(ptwos->Length(), 0u);
    std::unique_ptr<CPCollection> const pupper(lst.AllThat(itAddressAtLeast, Item(4)));
    ASSERT_NE(dynamic_cast<CPList*>(pupper.get()), nullptr);
    ExpectChain(*static_cast<CPList*>(pupper.get()), {Item(4), Item(5)});

    // The container walk's condition sees the bucket.
    CPBucket* const pbkt = lst.FirstInternalContainerThat(itIs, lst._get_pbktTail());
    EXPECT_EQ(pbkt, lst._get_pbktTail());
    EXPECT_EQ(lst._get_pbktCursor(), pbkt);
}

namespace {

// Moves the cursor of its list, which the list puts back, and accepts the
// element it was made for.
struct Wanderer final : IteratorAction {
    CPList* plst;
    void* pvWanted;
    std::vector<void*> seen;
    short Execute() override {
        seen.push_back(pvItem);
        plst->GotoBottom();
        return pvItem == pvWanted ? 1 : 0;
    }
};

struct NestingWalk {
    CPList* plst;
    std::vector<void*> seen{};
};

void itWalkInside(void* pvItem, void* pvWalk) {
    auto* const walk = static_cast<NestingWalk*>(pvWalk);
    walk->seen.push_back(pvItem);
    if (pvItem == Item(0)) walk->plst->ForEach(itCollect, &walk->seen);
}

} // namespace

TEST(CPListTest, ActionWalksPutTheCursorBackAndFunctionWalksLeaveItAlone) {
    CPList lst;
    FillList(lst, 3);
    Wanderer wanderer;
    wanderer.plst = &lst;
    wanderer.pvWanted = Item(1);
    EXPECT_EQ(lst.FirstThat(&wanderer), Item(1));
    EXPECT_EQ(lst.Retrieve(), Item(1));
    EXPECT_EQ(lst.NextThat(&wanderer), nullptr);
    EXPECT_EQ(wanderer.seen, (std::vector<void*>{Item(0), Item(1), Item(2)}));

    wanderer.seen.clear();
    lst.ForEach(&wanderer);
    EXPECT_EQ(wanderer.seen, (std::vector<void*>{Item(0), Item(1), Item(2)}));

    // The function walk has its own position: it nests, and the list's
    // cursor stays where it was.
    lst.GotoTop();
    lst.Next();
    NestingWalk walk{&lst};
    lst.ForEach(itWalkInside, &walk);
    EXPECT_EQ(walk.seen,
              (std::vector<void*>{Item(0), Item(0), Item(1), Item(2), Item(1), Item(2)}));
    EXPECT_EQ(lst.Retrieve(), Item(1));
}

TEST(CPListTest, BucketsAreCountedAndMayBeShared) {
    CPList first;
    FillList(first, 2);
    CPBucket* const pbktShared = first._get_pbktTail();
    EXPECT_EQ(pbktShared->_get_nRefCount(), 1);
    {
        // The caller links; the list only counts. Its chain stops at its tail.
        CPList second;
        second.AddBucket(first._get_pbktHead());
        second.AddBucket(pbktShared);
        EXPECT_EQ(second.Length(), 2u);
        EXPECT_EQ(pbktShared->_get_nRefCount(), 2);
        second.GotoTop();
        EXPECT_EQ(second.Get(), Item(0));
        EXPECT_EQ(second.Get(), Item(1));
        EXPECT_EQ(second.Get(), nullptr);
    }
    EXPECT_EQ(pbktShared->_get_nRefCount(), 1);
    ExpectChain(first, {Item(0), Item(1)});
}

TEST(CPListTest, CopiesAliasTheBucketsAndCanBothBeDestroyed) {
    auto psource = std::make_unique<CPList>();
    FillList(*psource, 3);
    EXPECT_EQ(psource->FirstThat(itAddressAtLeast, Item(0)), Item(0));
    auto const pcopy = std::make_unique<CPList>(*psource);
    EXPECT_EQ(pcopy->_get_pbktHead(), psource->_get_pbktHead());
    EXPECT_EQ(pcopy->Retrieve(), Item(0));
    CPList assigned;
    FillList(assigned, 1);
    assigned = *psource;
    EXPECT_EQ(assigned._get_pbktTail(), psource->_get_pbktTail());
    CPList const& same = assigned;
    assigned = same;
    psource.reset();
    // Each goes on with the source's walk, on buckets it holds itself.
    EXPECT_EQ(pcopy->NextThat(itAddressAtLeast, Item(0)), Item(1));
    EXPECT_EQ(assigned.NextThat(itAddressAtLeast, Item(0)), Item(1));
    EXPECT_EQ(assigned.Length(), 3u);
}

TEST(CPHashTableTest, AListWithAnUnreadTable) {
    CPHashTable table;
    table.Add(Item(2));
    table.Add(Item(0));
    table.Add(Item(1));
    ExpectChain(table, {Item(2), Item(0), Item(1)});
    CPHashTable copy(table);
    for (int n = 0; n < 256; ++n)
        EXPECT_EQ(copy._get_Entry(static_cast<std::uint8_t>(n)), (CPHashTable::Entry{0, 0}));
    std::unique_ptr<CPCollection> const pnew(table.CreateInstance());
    EXPECT_NE(dynamic_cast<CPHashTable*>(pnew.get()), nullptr);
}

TEST(CPListDeathTest, PreconditionsReportTheirOwnText) {
    std::string const unit = "cpcoll/cplist";
    ExpectAssertion([] { CPList().Exists(nullptr); }, unit, "pvItem2Find !=0");
    ExpectAssertion([] { CPList().Detach(nullptr); }, unit, "pvItem2Find !=0");
    ExpectAssertion([] { CPList().AddBucket(nullptr); }, unit, "pbktA !=0");
    ExpectAssertion([] { CPList().DetachBucket(nullptr); }, unit, "pvBucket2Kill");
    ExpectAssertion([] { CPList().Destroy(Item(0), nullptr); }, unit, "pfnKillFunc!=0");
    ExpectAssertion([] { CPList().DestroyAll(nullptr); }, unit, "pfnKillFunc !=0");
    ExpectAssertion([] { CPList().NextThat(nullptr, nullptr); }, unit, "pfnCondFunc !=0");
    ExpectAssertion([] { CPList().AllThat(nullptr, nullptr); }, unit, "pfnCondFunc !=0");
    ExpectAssertion([] { CPList().DetachAllThat(nullptr, nullptr); }, unit, "pfnCondFunc !=0");
}

// An indexed read behind the known index lands where the walk back by Prev
// lands, after every kind of change to the links made since the reads in
// order: by the list, by hand, by a list sharing the buckets. Two threads
// reading and changing lists of their own share nothing unguarded.
namespace {

constexpr int kItems = 8;

std::vector<CPBucket*> Buckets(CPList const& lst) {
    std::vector<CPBucket*> out;
    for (CPBucket* pbkt = lst._get_pbktHead(); pbkt != nullptr; pbkt = pbkt->_get_pbktNext())
        out.push_back(pbkt);
    return out;
}

// Where RetrieveIDX(n) must land, by the steps of Prev and Next over the
// links as they are now.
CPBucket* Walked(CPList const& lst, std::uint32_t n) {
    CPBucket* pbkt = lst._get_pbktHead();
    std::int64_t nSteps = n;
    if (lst._get_nDXCursor() != -1) {
        pbkt = lst._get_pbktCursor();
        nSteps = static_cast<std::int64_t>(n) - lst._get_nDXCursor();
    }
    for (; nSteps < 0 && pbkt != nullptr; ++nSteps)
        pbkt = pbkt == lst._get_pbktHead() ? nullptr : pbkt->_get_pbktPrev();
    for (; nSteps > 0 && pbkt != nullptr; --nSteps)
        pbkt = pbkt == lst._get_pbktTail() ? nullptr : pbkt->_get_pbktNext();
    return pbkt;
}

// A list that can let go of its buckets without touching them, for links
// that a case left in disorder.
struct TestList : CPList {
    void Forget() {
        InitPointers();
        ClearLength();
    }
};

TEST(CPListPathTest, ReadsBackLandWhereTheWalkBackLands) {
    // The buckets a change holds beyond the list's and the test's own.
    std::vector<CPBucket*> held;
    TestList other;
    using Change = std::function<void(TestList&, std::vector<CPBucket*> const&)>;
    struct Case {
        char const* what;
        Change change;
    };
    Case const cases[] = {
        {"nothing", [](TestList&, auto const&) {}},
        {"a back link set by hand", [](TestList&, auto const& b) { b[4]->_set_pbktPrev(b[2]); }},
        {"a forward link set by hand", [](TestList&, auto const& b) { b[1]->_set_pbktNext(b[5]); }},
        {"a bucket assigned over another", [](TestList&, auto const& b) { *b[5] = *b[2]; }},
        {"the head set by hand", [](TestList& lst, auto const& b) { lst._set_pbktHead(b[3]); }},
        {"the cursor set by hand", [](TestList& lst, auto const& b) { lst._set_pbktCursor(b[6]); }},
        {"an insert at the cursor",
         [&held](TestList& lst, auto const&) {
             lst.Insert(Item(7));
             held.push_back(lst._get_pbktCursor()->_get_pbktPrev());
         }},
        {"an unlink of the head", [](TestList& lst, auto const&) { lst.UnlinkTopBucket(); }},
        {"buckets taken by another list, which unlinks one",
         [&held, &other](TestList&, auto const& b) {
             other.AddBucket(b[2]);
             other.AddBucket(b[3]);
             other.UnlinkBucket(b[3]);
             held.insert(held.end(), {b[2], b[3]});
         }},
        {"a copy that unlinks a bucket",
         [&held](TestList& lst, auto const& b) {
             CPList copy(lst);
             copy.UnlinkBucket(b[3]);
             held.push_back(b[3]);
         }},
    };
    for (Case const& c : cases) {
        for (std::uint32_t nRead : {0u, 1u, 3u, 5u}) {
            SCOPED_TRACE(testing::Message() << c.what << ", read " << nRead);
            TestList lst;
            for (int i = 0; i < kItems; ++i)
                lst.Add(Item(i));
            std::vector<CPBucket*> const buckets = Buckets(lst);
            for (CPBucket* pbkt : buckets)
                pbkt->AddRef();
            // The second pass reads the path learnt on its way back to 0.
            for (int nPass = 0; nPass < 2; ++nPass)
                for (std::uint32_t i = 0; i < kItems - 1; ++i)
                    ASSERT_EQ(lst.RetrieveIDX(i), Item(static_cast<int>(i)));
            CPBucket const saved = *buckets[5];
            c.change(lst, buckets);
            CPBucket* const pbktExpected = Walked(lst, nRead);
            EXPECT_EQ(lst.RetrieveIDX(nRead),
                      pbktExpected != nullptr ? pbktExpected->_get_pvData() : nullptr);
            EXPECT_EQ(lst._get_pbktCursor(), pbktExpected);
            EXPECT_EQ(lst._get_nDXCursor(), static_cast<std::int32_t>(nRead));
            // Both lists let go, and the test gives back every reference.
            *buckets[5] = saved;
            lst.Forget();
            other.Forget();
            for (CPBucket* pbkt : buckets) {
                pbkt->Release();
                pbkt->Release();
            }
            for (CPBucket* pbkt : held)
                pbkt->Release();
            held.clear();
        }
    }
}

// Each thread reads its own list in order and back, and sets links by hand;
// the counts the lists keep are their own or atomic, which the thread
// sanitizer checks. The lists are made before the threads start: the count
// of live objects is a class-level one, for one thread at a time.
TEST(CPListPathTest, TwoThreadsOnTwoLists) {
    CPList lists[2];
    for (CPList& lst : lists)
        for (int i = 0; i < kItems; ++i)
            lst.Add(Item(i));
    auto const work = [](CPList* plst) {
        std::vector<void*> const items = Forward(*plst);
        for (int nRound = 0; nRound < 2000; ++nRound) {
            for (std::uint32_t i = 0; i < kItems; ++i)
                ASSERT_EQ(plst->RetrieveIDX(i), items[i]);
            ASSERT_EQ(plst->RetrieveIDX(1), items[1]);
            plst->_get_pbktHead()->_set_pbktPrev(nullptr);
            ASSERT_EQ(plst->RetrieveIDX(0), items[0]);
        }
    };
    std::thread first(work, &lists[0]);
    std::thread second(work, &lists[1]);
    first.join();
    second.join();
}

} // namespace

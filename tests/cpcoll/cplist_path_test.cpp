// An indexed read behind the known index lands where the walk back by Prev
// lands, after every kind of change to the links made since the reads in
// order: by the list, by hand, by a list sharing the buckets. Two threads
// reading and changing lists of their own share nothing unguarded.
#include <cpcoll/cplist.h>

#include "support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

namespace {

using namespace cpcoll_test;

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

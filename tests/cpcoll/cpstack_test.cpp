#include <cpcoll/cpstack.h>
#include <cpcoll/crlist.h>
#include <util/pstring.h>

#include "support.h"

namespace {

using namespace cpcoll_test;

std::vector<void*> ByIndex(CPStack& stk) {
    std::vector<void*> out;
    for (std::uint32_t n = 0; n < stk.Length(); ++n)
        out.push_back(stk.RetrieveIDX(n));
    return out;
}

void Fill(CPStack& stk, int n) {
    for (int i = 0; i < n; ++i)
        stk.Push(Item(i));
}

void itCount(void*, void* pvCount) {
    ++*static_cast<int*>(pvCount);
}

std::string Text(CPString& str) {
    return str.GetBuffer();
}

} // namespace

TEST(CPStackTest, PushesUpToTheCapacityAndPopsNewestFirst) {
    CPStack stk;
    EXPECT_EQ(stk.Pop(), nullptr);
    EXPECT_EQ(stk._get_nXACT(), 0);
    for (int i = 0; i < 255; ++i)
        ASSERT_EQ(stk.Push(Item(i % 8)), 1u);
    EXPECT_EQ(stk.Push(Item(0)), 0u);
    stk.Add(Item(1));
    EXPECT_EQ(stk.Length(), 255u);

    CPStack small(4);
    Fill(small, 3);
    EXPECT_EQ(small.Bottom(), Item(0));
    EXPECT_EQ(ByIndex(small), (std::vector<void*>{Item(2), Item(1), Item(0)}));
    EXPECT_EQ(small.RetrieveIDX(3), nullptr);
    EXPECT_EQ(small.Pop(), Item(2));

    // Detaching pops down to the element; an absent one empties the stack.
    Fill(small, 4);
    EXPECT_EQ(small.Detach(Item(1)), 1);
    EXPECT_EQ(ByIndex(small), (std::vector<void*>{Item(0), Item(1), Item(0)}));
    EXPECT_EQ(small.Detach(Item(0)), 1);
    EXPECT_EQ(small.Length(), 2u);
    EXPECT_EQ(small.Detach(Item(7)), 0);
    EXPECT_EQ(small.Length(), 0u);
    Fill(small, 3);
    EXPECT_EQ(small.Destroy(Item(1), Kills::Record), 1);
    EXPECT_EQ(small.Destroy(Item(5), Kills::Record), 0);
    EXPECT_EQ(Kills::seen, std::vector<void*>{Item(1)});
    Kills::seen.clear();
    Fill(small, 3);
    small.DestroyAll(Kills::Record);
    EXPECT_EQ(Kills::seen, (std::vector<void*>{Item(0), Item(1), Item(2)}));
    Kills::seen.clear();
}

TEST(CPStackTest, TheCursorRunsOldestFirstAndWraps) {
    CPStack stk(2);
    Fill(stk, 2);
    stk.GotoTop();
    EXPECT_EQ(stk.Retrieve(), stk.RetrieveIDX(stk.Length() - 1));
    EXPECT_EQ(stk.Next(), 1);
    EXPECT_EQ(stk.Next(), 2);
    // One past a full stack still reads inside the vector.
    EXPECT_EQ(stk.Retrieve(), nullptr);
    EXPECT_EQ(stk.Next(), 0);

    // Position objects: oldest first, and a walk ends at the newest entry
    // even where an earlier pop left one behind it.
    CPStack popped;
    Fill(popped, 3);
    popped.Pop();
    Iterator* const piter = popped.GetIterator();
    std::vector<void*> seen;
    piter->forEach(itCollect, &seen);
    EXPECT_EQ(seen, (std::vector<void*>{Item(0), Item(1)}));
    IterationState* const pits = piter->_get_pitsThe();
    pits->gotoIDX(0);
    EXPECT_EQ(pits->retrieve(), Item(1));
    EXPECT_EQ(pits->gotoIDX(5), 1);
    EXPECT_EQ(pits->retrieve(), Item(1));
    delete piter;

    // The walk's 16-bit counter stops at 32768 entries.
    CPStack large(40000);
    for (int i = 0; i < 40000; ++i)
        large.Push(Item(0));
    int nSeen = 0;
    large.ForEach(itCount, &nSeen);
    EXPECT_EQ(nSeen, 32768);
}

TEST(CPSymmetricMapTest, MappingsAreFoundFromEitherSideAndCounted) {
    bool bGone1 = false, bGone2 = false, bGone3 = false;
    auto* const pobj1 = new Counted(&bGone1);
    auto* const pobj2 = new Counted(&bGone2);
    auto* const pobj3 = new Counted(&bGone3);
    pobj1->AddRef();
    {
        CPSymmetricMap map;
        map.AddMapping("metre", "m", pobj1);
        map.AddMapping("metre", "mtr", pobj2);
        EXPECT_EQ(pobj1->_get_nRefCount(), 2);

        CPString strOut("unchanged");
        CPString strKey("metre");
        CPString strUnknown("foot");
        EXPECT_EQ(map.RetrieveA(&strUnknown, &strOut), nullptr);
        EXPECT_EQ(Text(strOut), "unchanged");
        EXPECT_EQ(map.RetrieveA(nullptr, &strOut), nullptr);
        // The oldest mapping wins.
        EXPECT_EQ(map.RetrieveA(&strKey, &strOut), pobj1);
        EXPECT_EQ(Text(strOut), "m");
        // From the B side the B key comes back.
        CPString strB("mtr");
        EXPECT_EQ(map.RetrieveB(&strB, &strOut), pobj2);
        EXPECT_EQ(Text(strOut), "mtr");

        CrList lst;
        lst.Add(pobj1);
        map.GetAllThatMatchKeyA(strKey, lst);
        ASSERT_EQ(lst.Length(), 2u);
        EXPECT_EQ(static_cast<MapKeyPair*>(lst.RetrieveIDX(1))->_get_pcreateableTxData(), pobj2);

        // A third mapping nests lists; readers still see pairs, oldest first.
        map.AddMapping("metre", "metres", pobj3);
        EXPECT_EQ(map.RetrieveA(&strKey, &strOut), pobj1);
        map.GetAllThatMatchKeyA(strKey, lst);
        ASSERT_EQ(lst.Length(), 3u);
        for (std::uint32_t n = 0; n < 3; ++n)
            EXPECT_NE(dynamic_cast<MapKeyPair*>(lst.RetrieveIDX(n)), nullptr);
        EXPECT_EQ(static_cast<MapKeyPair*>(lst.RetrieveIDX(2))->_get_pcreateableTxData(), pobj3);
    }
    EXPECT_TRUE(bGone2);
    EXPECT_TRUE(bGone3);
    EXPECT_FALSE(bGone1);
    EXPECT_EQ(pobj1->_get_nRefCount(), 1);
    pobj1->Release();
    EXPECT_TRUE(bGone1);
}

TEST(CPStackDeathTest, WalksAStackLacksReportTheirText) {
    char const* const unit = "cpcoll/cpstack";
    ExpectAssertion([] { CPStack().FirstThat(itIs, nullptr); }, unit, "1==0");
    ExpectAssertion([] { CPStack().NextThat(itIs, nullptr); }, unit, "1==0");
    ExpectAssertion([] { CPStack().AllThat(itIs, nullptr); }, unit, "1==0");
}

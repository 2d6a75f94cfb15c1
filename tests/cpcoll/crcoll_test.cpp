#include <cpcoll/btree.h>
#include <cpcoll/cpdict.h>
#include <cpcoll/cpstack.h>
#include <cpcoll/crdict.h>
#include <cpcoll/crlist.h>
#include <cpcoll/crtree.h>
#include <cpcoll/recycler.h>
#include <util/pstring.h>

#include "support.h"

namespace {

using namespace cpcoll_test;

// What both keyed classes promise: the first entry under a key stays, each
// entry holds one reference, removal gives it back, and number keys keep
// their pointer width through the lookups.
template <class Keyed> void CheckKeyed() {
    bool bGone = false;
    Counted held;
    Counted other;
    held.AddRef();
    other.AddRef();
    auto* const pfresh = new Counted(&bGone);
    {
        Keyed crc;
        EXPECT_EQ(crc.AddKeyNum(1, &held), 1);
        EXPECT_EQ(crc.AddKeyNum(1, &other), 0);
        EXPECT_EQ(crc.FindKeyNum(1), &held);
        EXPECT_EQ(held._get_nRefCount(), 2);
        EXPECT_EQ(other._get_nRefCount(), 1);
        EXPECT_EQ(crc.RemoveKeyNum(2), 0);
        EXPECT_EQ(crc[1], &held);
        EXPECT_EQ(crc.RemoveKeyNum(1), 1);
        EXPECT_EQ(held._get_nRefCount(), 1);
        EXPECT_EQ(crc.Length(), 0u);
        // An entry nobody else counts goes with the collection.
        EXPECT_EQ(crc.AddKeyNum(3, pfresh), 1);
        EXPECT_EQ(crc.AddKeyNum(4, &other), 1);
        crc.GotoTop();
        EXPECT_EQ(crc.Retrieve(), pfresh);
    }
    EXPECT_TRUE(bGone);
    EXPECT_EQ(other._get_nRefCount(), 1);

    Keyed texts;
    // On the heap: a tree's string key goes into a pool that counts it.
    auto* const pstrKey = new CPString("beta");
    pstrKey->AddRef();
    CPString& strKey = *pstrKey;
    EXPECT_EQ(texts.AddKeyString("alpha", &held), 1);
    EXPECT_EQ(texts.AddKeyString(&strKey, &other), 1);
    EXPECT_EQ(texts.AddKeyString("beta", &held), 0);
    EXPECT_EQ(texts.ExistsKeyString(&strKey), 1);
    EXPECT_EQ(texts.FindKeyString("alpha"), &held);
    // Detaching leaves the collection's reference with the caller.
    texts.DetachKeyString("alpha");
    EXPECT_EQ(texts.FindKeyString("alpha"), nullptr);
    EXPECT_EQ(held._get_nRefCount(), 2);
    held.Release();
    EXPECT_EQ(texts.RemoveKeyString(&strKey), 1);
    EXPECT_EQ(other._get_nRefCount(), 1);
    EXPECT_EQ(texts.RemoveKeyString("gamma"), 0);
    pstrKey->Release();

    constexpr std::uintptr_t kHigh = std::uintptr_t{1} << 32;
    // Alike in their low 32 bits, and so in their slot.
    constexpr std::uintptr_t keys[] = {3, kHigh + 3, (kHigh << 8) + 3};
    Createable entries[3];
    Keyed wide;
    for (int i = 0; i < 3; ++i) {
        entries[i].AddRef(); // held here too, so the collection never deletes it
        ASSERT_EQ(wide.AddKeyNum(keys[i], &entries[i]), 1);
    }
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(wide[keys[i]], &entries[i]) << keys[i];
    EXPECT_EQ(wide[2 * kHigh + 3], nullptr);
    wide.RemoveAll();
}

struct Pooled : Createable, Recyclable {
    Pooled() { ++nLive; }
    ~Pooled() override { --nLive; }
    void InitializeObject() override { ++nInit; }
    void UnInitializeObject() override { ++nUnInit; }
    int nInit = 0;
    int nUnInit = 0;
    static inline int nLive = 0;
};

} // namespace

TEST(CrListTest, EachAddHoldsAReference) {
    Counted held;
    held.AddRef();
    bool bGone = false;
    auto* const pfresh = new Counted(&bGone);
    {
        CrList lst;
        EXPECT_EQ(lst.Remove(&held), 1);
        lst.Add(&held);
        lst.Add(&held);
        EXPECT_EQ(held._get_nRefCount(), 3);
        EXPECT_EQ(lst.Remove(&held), 1);
        EXPECT_EQ(lst.Length(), 1u);
        EXPECT_EQ(held._get_nRefCount(), 2);
        EXPECT_EQ(lst.Remove(pfresh), 1);
        lst.Add(pfresh);
        EXPECT_EQ(lst.RetrieveIDX(1), pfresh);
        lst.RemoveAll();
        EXPECT_TRUE(bGone);
        lst.Add(&held);
    }
    EXPECT_EQ(held._get_nRefCount(), 1);
}

TEST(CrDictionaryTest, KeyedEntriesHoldAReference) {
    CheckKeyed<CrDictionary>();
}

TEST(CrTreeTest, KeyedEntriesHoldAReference) {
    CheckKeyed<CrTree>();
    // The walks run in key order.
    Counted a;
    Counted b;
    a.AddRef();
    b.AddRef();
    CrTree tree;
    tree.AddKeyNum(9, &a);
    tree.AddKeyNum(2, &b);
    std::vector<void*> seen;
    tree.ForEach(itCollect, &seen);
    EXPECT_EQ(seen, (std::vector<void*>{&b, &a}));
    auto* const plf = dynamic_cast<Leaf*>(tree.FirstThatInternalContainer(itAnswerTwo, nullptr));
    ASSERT_NE(plf, nullptr);
    EXPECT_EQ(plf->_get_pvValue(), static_cast<Createable*>(&b));
}

TEST(CrCollectionDeathTest, NullEntriesAndMissingWalksReport) {
    Counted entry;
    ExpectAssertion([] { CrDictionary().AddKeyNum(1, nullptr); }, "cpcoll/crdict", "pcrEntry");
    ExpectAssertion([] { CrTree().AddKeyString("a", nullptr); }, "cpcoll/crtree", "pcrEntry");
    ExpectAssertion([] { CrDictionary().AllThatInternalContainer(itIs, nullptr); }, "cpcoll/crdict",
                    "1==0");
    ExpectAssertion([] { CrTree().AllThatInternalContainer(itIs, nullptr); }, "cpcoll/crtree",
                    "1==0");
    ExpectAssertion([] { CrTree().ForEach(CrKeyedCollection::pfnKeyFunc{}, nullptr); },
                    "cpcoll/btree", "1==0");
}

// A const stack reads as the stack does.
TEST(StackConst, IndexingAConstStackReadsAsRetrieveIDX) {
    int items[3];
    CPStack stk(4);
    for (int& n : items)
        stk.Push(&n);
    CPStack const& view = stk;
    for (std::uint32_t n = 0; n < 5; ++n)
        EXPECT_EQ(view[n], stk.RetrieveIDX(n)) << n;
}

TEST(RecyclerTest, ThePoolKeepsUpTo255AndReleasesTheRest) {
    {
        Recycler<Pooled> pool;
        Pooled* const pFresh = pool.Get();
        EXPECT_EQ(pFresh->_get_nRefCount(), 1);
        EXPECT_EQ(pFresh->nInit, 0);
        EXPECT_EQ(pool.Put(pFresh), 1);
        EXPECT_EQ(pFresh->nUnInit, 1);
        // The last one put back comes out first, set up again, same count.
        EXPECT_EQ(pool.Get(), pFresh);
        EXPECT_EQ(pFresh->nInit, 1);
        pool.Put(pFresh);

        // Warm: taking and giving back makes nothing new.
        int const nLive = Pooled::nLive;
        for (int i = 0; i < 1000; ++i)
            pool.Put(pool.Get());
        EXPECT_EQ(Pooled::nLive, nLive);

        std::vector<Pooled*> out;
        for (int i = 0; i < 256; ++i)
            out.push_back(pool.Get());
        EXPECT_EQ(Pooled::nLive, 256);
        for (int i = 0; i < 255; ++i)
            ASSERT_EQ(pool.Put(out[i]), 1);
        EXPECT_EQ(pool.Put(out[255]), 0);
        EXPECT_EQ(Pooled::nLive, 255);
        EXPECT_EQ(pool._get_nPooled(), 255u);
    }
    EXPECT_EQ(Pooled::nLive, 0);
}

// Long chains: a search answers, and leaves the chain's cursor, as the walk
// by index (or FirstThat, for ExistsKeyNum) does, also after the chain or a
// key was changed from outside, and through many adds and removals in a mixed
// order (on an absent key the cursor rests on the last entry).
#include <cpcoll/cpdict.h>
#include <util/pstring.h>

#include "support.h"

#include <algorithm>
#include <random>

namespace {

using namespace cpcoll_test;

constexpr std::uint32_t kSlot = 5;
constexpr std::uint32_t kChain = 40;

std::uintptr_t NumberIn(std::uint32_t n) {
    return kSlot + 256u * n;
}

// Texts that all hash to kSlot, in the order found.
std::vector<std::string> TextsIn(std::uint32_t nCount) {
    std::vector<std::string> out;
    for (int i = 0; out.size() < nCount; ++i) {
        std::string const text = "key" + std::to_string(i);
        if (CPDictionary::HashOnCardinal(CPDictionary::HashOnString(text.c_str())) == kSlot)
            out.push_back(text);
    }
    return out;
}

CPBucket* BucketAt(CPList const& lst, std::uint32_t n) {
    CPBucket* pbkt = lst._get_pbktHead();
    while (n-- != 0)
        pbkt = pbkt->_get_pbktNext();
    return pbkt;
}

// Where the walk by index leaves the chain: on entry n, or on the last one
// after a miss.
void ExpectWalkedTo(CPList const& lst, std::uint32_t n) {
    EXPECT_EQ(lst._get_pbktCursor(), BucketAt(lst, n));
    EXPECT_EQ(lst._get_pbktGot(), BucketAt(lst, n));
    EXPECT_EQ(lst._get_nDXCursor(), static_cast<std::int32_t>(n));
}

void ExpectSearchesAsTheWalk(std::uint32_t nChain) {
    std::vector<std::string> const texts = TextsIn(nChain / 2);
    CPDictionary dct;
    // Number and string keys mixed in one chain.
    for (std::uint32_t n = 0; n < nChain / 2; ++n) {
        dct.AddKeyNum(NumberIn(n), Item(n % 8));
        dct.AddKeyString(texts[n].c_str(), Item((n + 1) % 8));
    }
    CPList& lst = *dct._get_plstSlot(kSlot);
    ASSERT_EQ(lst.Length(), nChain);
    for (std::uint32_t n = 0; n < nChain / 2; ++n) {
        SCOPED_TRACE(n);
        EXPECT_EQ(dct.FindKeyNum(NumberIn(n)), Item(n % 8));
        ExpectWalkedTo(lst, 2 * n);
        EXPECT_EQ(dct._get_pdaLastFound(), BucketAt(lst, 2 * n)->_get_pvData());
        CPString strKey(texts[n].c_str());
        EXPECT_EQ(dct.FindKeyString(&strKey), Item((n + 1) % 8));
        ExpectWalkedTo(lst, 2 * n + 1);
        // The number of a string's slot is not a string key, and the reverse.
        EXPECT_EQ(dct.FindKeyNum(CPDictionary::HashOnString(texts[n].c_str())), nullptr);
        EXPECT_EQ(dct.FindKeyString(std::to_string(NumberIn(n)).c_str()), nullptr);
    }
    EXPECT_EQ(dct.FindKeyNum(NumberIn(nChain)), nullptr);
    ExpectWalkedTo(lst, nChain - 1);
    EXPECT_EQ(dct._get_pdaLastFound(), nullptr);

    // ExistsKeyNum answers as the chain's FirstThat: the chain's NextThat
    // goes on after the match.
    EXPECT_EQ(dct.ExistsKeyNum(NumberIn(1)), 1);
    EXPECT_EQ(lst._get_pbktCursor(), BucketAt(lst, 2));
    EXPECT_EQ(lst._get_nDXCursor(), -1);
    auto const itAny = [](void*, void*) { return 1; };
    EXPECT_EQ(lst.NextThat(itAny, nullptr), BucketAt(lst, 3)->_get_pvData());
    EXPECT_EQ(dct.ExistsKeyNum(NumberIn(nChain)), 0);
    EXPECT_EQ(lst._get_pbktCursor(), nullptr);

    // A removal takes the key's own association, wherever in the chain.
    dct.DetachKeyNum(NumberIn(1));
    EXPECT_EQ(dct.FindKeyNum(NumberIn(1)), nullptr);
    EXPECT_EQ(dct.FindKeyNum(NumberIn(0)), Item(0));
    EXPECT_EQ(dct.FindKeyNum(NumberIn(2)), Item(2));
    EXPECT_EQ(lst.Length(), nChain - 1);
}

// Chains shorter than the index's threshold are scanned, longer ones found
// through the index: both answer as the walk.
TEST(CPDictionaryLongChainTest, SearchesLeaveTheChainAsTheWalkDoes) {
    for (std::uint32_t const nChain : {6u, kChain}) {
        SCOPED_TRACE(nChain);
        ExpectSearchesAsTheWalk(nChain);
    }
}

TEST(CPDictionaryLongChainTest, ChangesFromOutsideAndRemovalsAreSeen) {
    CPDictionary dct;
    for (std::uint32_t n = 0; n < kChain; ++n)
        dct.AddKeyNum(NumberIn(n), Item(n % 8));
    CPList& lst = *dct._get_plstSlot(kSlot);
    ASSERT_NE(dct.FindKeyNum(NumberIn(0)), nullptr);

    // A key set on an association already in the chain.
    static_cast<CPDictionaryAssociation*>(BucketAt(lst, 10)->_get_pvData())
        ->SetKeyCardinal(NumberIn(1000));
    EXPECT_EQ(dct.FindKeyNum(NumberIn(10)), nullptr);
    EXPECT_EQ(dct.FindKeyNum(NumberIn(1000)), Item(10 % 8));
    ExpectWalkedTo(lst, 10);

    // An association put by hand into a bucket of the chain, and taken out.
    CPDictionaryAssociation daInBucket;
    daInBucket.SetKeyCardinal(NumberIn(3000));
    daInBucket.SetValue(Item(6));
    CPBucket* const pbkt12 = BucketAt(lst, 12);
    void* const pvKept = pbkt12->_get_pvData();
    pbkt12->_set_pvData(&daInBucket);
    EXPECT_EQ(dct.FindKeyNum(NumberIn(3000)), Item(6));
    EXPECT_EQ(dct.FindKeyNum(NumberIn(12)), nullptr);
    pbkt12->_set_pvData(pvKept);
    EXPECT_EQ(dct.FindKeyNum(NumberIn(12)), Item(12 % 8));

    // An association put into the chain itself.
    CPDictionaryAssociation daOutside;
    daOutside.SetKeyCardinal(NumberIn(2000));
    daOutside.SetValue(Item(7));
    lst.GotoTop();
    lst.Insert(&daOutside);
    EXPECT_EQ(dct.FindKeyNum(NumberIn(2000)), Item(7));
    ExpectWalkedTo(lst, 0);
    lst.Detach(&daOutside);

    // Removals through the dictionary.
    for (std::uint32_t n = 0; n < kChain; n += 3)
        dct.DetachKeyNum(n == 10 ? NumberIn(1000) : NumberIn(n));
    for (std::uint32_t n = 0; n < kChain; ++n) {
        SCOPED_TRACE(n);
        bool const bGone = n % 3 == 0;
        EXPECT_EQ(dct.FindKeyNum(n == 10 ? NumberIn(1000) : NumberIn(n)),
                  bGone ? nullptr : Item(n % 8));
        if (!bGone) ExpectWalkedTo(lst, n - n / 3 - 1);
    }
}

TEST(CPDictionaryChurnTest, SearchesAgreeWithTheChainThroughAddsAndRemovals) {
    CPDictionary dct;
    std::vector<std::uintptr_t> model; // the chain's keys in order
    std::mt19937 random(16);
    for (int round = 0; round < 3000; ++round) {
        std::uintptr_t const nKey = NumberIn(random() % 300);
        bool const bPresent = std::find(model.begin(), model.end(), nKey) != model.end();
        if (random() % 3 != 0) {
            dct.AddKeyNum(nKey, Item(1));
            if (!bPresent) model.push_back(nKey);
        } else if (bPresent) {
            dct.DetachKeyNum(nKey);
            model.erase(std::find(model.begin(), model.end(), nKey));
        }
        std::uintptr_t const nProbe = NumberIn(random() % 300);
        auto const at = std::find(model.begin(), model.end(), nProbe);
        SCOPED_TRACE(round);
        ASSERT_EQ(dct.FindKeyNum(nProbe), at != model.end() ? Item(1) : nullptr);
        CPList const* const plst = dct._get_plstSlot(kSlot);
        if (plst == nullptr) {
            ASSERT_TRUE(model.empty());
            continue;
        }
        auto const nAt =
            static_cast<std::int32_t>(at != model.end() ? at - model.begin() : model.size() - 1);
        ASSERT_EQ(plst->_get_nDXCursor(), nAt);
        ASSERT_EQ(static_cast<CPDictionaryAssociation*>(plst->_get_pbktCursor()->_get_pvData())
                      ->GetKeyCardinal(),
                  model[static_cast<std::size_t>(nAt)]);
    }
}

} // namespace

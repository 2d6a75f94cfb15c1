// Number keys keep their pointer width through the counted collections'
// lookups, and a const stack reads as the stack does.
#include <cpcoll/cpstack.h>
#include <cpcoll/crdict.h>
#include <cpcoll/crtree.h>

#include <gtest/gtest.h>

#include <cstdint>

namespace {

template <class Keyed> class KeyWidth : public ::testing::Test {};
using KeyedCollections = ::testing::Types<CrDictionary, CrTree>;
TYPED_TEST_SUITE(KeyWidth, KeyedCollections);

TYPED_TEST(KeyWidth, AWideKeyFindsItsOwnEntry) {
    constexpr std::uintptr_t kHigh = std::uintptr_t{1} << 32;
    // Alike in their low 32 bits, and so in their slot.
    constexpr std::uintptr_t keys[] = {3, kHigh + 3, (kHigh << 8) + 3};
    Createable entries[3];
    TypeParam coll;
    for (int i = 0; i < 3; ++i) {
        entries[i].AddRef(); // held here too, so the collection never deletes it
        ASSERT_EQ(coll.AddKeyNum(keys[i], &entries[i]), 1);
    }
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(coll[keys[i]], &entries[i]) << keys[i];
    EXPECT_EQ(coll[2 * kHigh + 3], nullptr);
    coll.RemoveAll();
}

TEST(StackConst, IndexingAConstStackReadsAsRetrieveIDX) {
    int items[3];
    CPStack stk(4);
    for (int& n : items)
        stk.Push(&n);
    CPStack const& view = stk;
    for (std::uint32_t n = 0; n < 5; ++n)
        EXPECT_EQ(view[n], stk.RetrieveIDX(n)) << n;
}

} // namespace

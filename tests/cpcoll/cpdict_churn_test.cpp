// A long chain taken through many adds and removals in a mixed order: each
// search still finds what a walk of the chain finds, and leaves the chain's
// cursor on the entry's position (or the last one for an absent key).
#include <cpcoll/cpdict.h>

#include "support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace {

using namespace cpcoll_test;

constexpr std::uint32_t kSlot = 7;

std::uintptr_t KeyIn(std::uint32_t n) {
    return kSlot + 256u * n;
}

TEST(CPDictionaryChurnTest, SearchesAgreeWithTheChainThroughAddsAndRemovals) {
    CPDictionary dct;
    std::vector<std::uintptr_t> model; // the chain's keys in order
    std::mt19937 random(16);
    for (int round = 0; round < 3000; ++round) {
        std::uintptr_t const nKey = KeyIn(random() % 300);
        bool const bPresent = std::find(model.begin(), model.end(), nKey) != model.end();
        if (random() % 3 != 0) {
            dct.AddKeyNum(nKey, Item(1));
            if (!bPresent) model.push_back(nKey);
        } else if (bPresent) {
            dct.DetachKeyNum(nKey);
            model.erase(std::find(model.begin(), model.end(), nKey));
        }
        std::uintptr_t const nProbe = KeyIn(random() % 300);
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

#include <cpcoll/cpcollec.h>
#include <cpcoll/cpdict.h>
#include <cpcoll/cplist.h>
#include <util/pstring.h>

#include "support.h"

namespace {

using namespace cpcoll_test;

int ByAddressDescending(void const* a, void const* b) {
    void* const pa = *static_cast<void* const*>(a);
    void* const pb = *static_cast<void* const*>(b);
    return pa < pb ? 1 : pa > pb ? -1 : 0;
}

} // namespace

TEST(CPCollectionTest, TheFacadeRecordsAKindAndStoresNothing) {
    CPList lst;
    EXPECT_EQ(lst.IsMT(), 1);
    EXPECT_EQ(lst._get_nKeyKind(), CPCollection::keyKindNone);
    EXPECT_EQ(lst.add(Item(0)), 0);
    EXPECT_EQ(lst._get_nKeyKind(), CPCollection::keyKindPlain);
    EXPECT_EQ(lst.add(Item(0), 5L), 0);
    EXPECT_EQ(lst._get_nKeyKind(), CPCollection::keyKindPlain);
    EXPECT_EQ(lst.removeByProbe(Item(0)), nullptr);

    CPDictionary dct;
    CPString key("k");
    EXPECT_EQ(dct.add(Item(1), &key), 0);
    EXPECT_EQ(dct.add(Item(1), "k"), 0); // the same family
    EXPECT_EQ(dct._get_nKeyKind(), CPCollection::keyKindString);
    EXPECT_EQ(dct.find("k"), nullptr);
    EXPECT_EQ(dct.Length() + lst.Length(), 0u);
    EXPECT_EQ(dct._get_nXACT(), 0);
}

TEST(CPCollectionTest, VectorsStopAtANullElementAndOnlyFillAnEmptyCollection) {
    CPList lst;
    EXPECT_EQ(lst.BuildVector(), nullptr);
    AddAll(lst, {Item(0), nullptr, Item(2)});
    void** const ppv = lst.BuildVector();
    ASSERT_NE(ppv, nullptr);
    EXPECT_EQ(ppv[0], Item(0));
    EXPECT_EQ(ppv[1], nullptr);
    EXPECT_EQ(ppv[2], nullptr); // left unset by the fill
    delete[] ppv;

    void* source[] = {Item(3), Item(4)};
    lst.BuildFromVector(source, 2);
    EXPECT_EQ(lst.Length(), 3u);
    CPList empty;
    empty.BuildFromVector(source, 0);
    EXPECT_EQ(empty.Length(), 0u);
    empty.BuildFromVector(source, 2);
    EXPECT_EQ(Forward(empty), (std::vector<void*>{Item(3), Item(4)}));
}

TEST(CPCollectionTest, SortRebuildsTheListAndSortedCopyNeverFills) {
    CPList lst;
    lst.Add(Item(1));
    std::int16_t const before = lst._get_nXACT();
    lst.Sort(ByAddressDescending);
    EXPECT_EQ(Forward(lst), std::vector<void*>{Item(1)});
    EXPECT_NE(lst._get_nXACT(), before);

    AddAll(lst, {Item(5), Item(3)});
    lst.Sort(ByAddressDescending);
    EXPECT_EQ(Forward(lst), (std::vector<void*>{Item(5), Item(3), Item(1)}));

    // The guard wants this collection non-empty, where building from the
    // vector does nothing: both ways the target is left as it was.
    CPList target;
    target.SortedCopy(&lst, ByAddressDescending);
    EXPECT_EQ(target.Length(), 0u);
    target.Add(Item(0));
    target.SortedCopy(&lst, ByAddressDescending);
    EXPECT_EQ(Forward(target), std::vector<void*>{Item(0)});
}

TEST(CPCollectionTest, CopyFromFillsOnlyAnEmptyCollectionThroughTheSourceCursor) {
    CPList source;
    AddAll(source, {Item(0), Item(1), nullptr, Item(3)});

    CPList full;
    full.Add(Item(7));
    full.CopyFrom(&source);
    EXPECT_EQ(Forward(full), std::vector<void*>{Item(7)});

    CPList empty;
    empty.CopyFrom(&source);
    EXPECT_EQ(Forward(empty), (std::vector<void*>{Item(0), Item(1)}));
    EXPECT_EQ(source.Retrieve(), nullptr); // its cursor rests on the null element

    // Into itself: the walk covers what was there, once.
    empty.AddFrom(&empty);
    EXPECT_EQ(Forward(empty), (std::vector<void*>{Item(0), Item(1), Item(0), Item(1)}));

    // A dictionary's cursor walk feeds a list in slot order.
    CPDictionary dct;
    dct.AddKeyNum(9, Item(5));
    dct.AddKeyNum(1, Item(4));
    CPList fromDictionary;
    fromDictionary.AddFrom(&dct);
    EXPECT_EQ(Forward(fromDictionary), (std::vector<void*>{Item(4), Item(5)}));
}

TEST(CPCollectionDeathTest, PreconditionsReportTheUnit) {
    ExpectAssertion([] { CPList().AddFrom(nullptr); }, "cpcoll/cpcollec", "pclFrom");
    ExpectAssertion([] { CPList().SortedCopy(nullptr, ByAddressDescending); }, "cpcoll/cpcollec",
                    "pcollFrom");
    // The one public way to count below zero.
    ExpectAssertion([] { CPDictionary().DetachKeyString("absent"); }, "cpcoll/cpcollec",
                    "nLength >0");
}

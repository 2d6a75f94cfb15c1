#include <cpcoll/cpdict.h>
#include <cpcoll/cplist.h>
#include <cpcoll/iterate.h>

#include "support.h"

#include <memory>

namespace {

using namespace cpcoll_test;

// Walk callbacks: the argument is a std::vector<void*> that collects.
void itCollectContainer(CPInternalContainer* pic, void* pvSeen) {
    static_cast<std::vector<void*>*>(pvSeen)->push_back(pic);
}

short itMatches(void* pvItem, void* pvWanted) {
    return pvItem == pvWanted ? 1 : 0;
}

short itAlways(void*, void*) {
    return 1;
}

short itContainerHolds(CPInternalContainer* pic, void* pvWanted) {
    return pic->_get_pvTheData() == pvWanted ? 1 : 0;
}

short itAlwaysContainer(CPInternalContainer*, void*) {
    return 1;
}

std::unique_ptr<CPList> ListOf(std::initializer_list<void*> elements) {
    auto plst = std::make_unique<CPList>();
    AddAll(*plst, elements);
    return plst;
}

std::unique_ptr<Iterator> IteratorOn(Iterable& coll) {
    return std::unique_ptr<Iterator>(coll.GetIterator());
}

} // namespace

TEST(IteratorTest, WalksRunFromTheTopAndEndAtANullElement) {
    auto const plst = ListOf({Item(0), Item(1), nullptr, Item(2)});
    auto const piter = IteratorOn(*plst);

    std::vector<void*> seen;
    EXPECT_EQ(piter->forEach(itCollect, &seen), 1);
    EXPECT_EQ(seen, (std::vector<void*>{Item(0), Item(1)}));

    EXPECT_EQ(piter->firstThat(itMatches, Item(1)), Item(1));
    EXPECT_EQ(piter->firstThat(itMatches, Item(2)), nullptr); // behind the null
    EXPECT_EQ(piter->firstThat(itAlways, nullptr), Item(0));
    EXPECT_EQ(piter->nextThat(itAlways, nullptr), Item(1));
    EXPECT_EQ(piter->nextThat(itAlways, nullptr), nullptr);

    // The container forms: element conditions see the data, and firstThat
    // answers the element either way.
    CPBucket* const pbktHead = plst->_get_pbktHead();
    EXPECT_EQ(piter->firstThat(itContainerHolds, Item(1)), Item(1));
    EXPECT_EQ(piter->firstinternalcontainerThat(itMatches, Item(0)), pbktHead);
    EXPECT_EQ(piter->nextinternalcontainerThat(itAlwaysContainer, nullptr),
              pbktHead->_get_pbktNext());

    std::vector<void*> containers;
    EXPECT_EQ(piter->forEach(itCollectContainer, &containers), 1);
    EXPECT_EQ(containers.size(), 4u); // the container form goes on past a null element

    // Neither walk touched the list's own cursor.
    plst->GotoTop();
    plst->Next();
    piter->forEach(itCollect, &seen);
    EXPECT_EQ(plst->Retrieve(), Item(1));

    // An empty list: top is a place, and there is nothing to read.
    CPList empty;
    auto const pempty = IteratorOn(empty);
    EXPECT_EQ(pempty->_get_pitsThe()->gotoTop(), 1);
    EXPECT_EQ(pempty->_get_pitsThe()->retrieve(), nullptr);
}

TEST(IteratorTest, AChangedCollectionFaultsEveryStepUntilPlacedAgain) {
    auto const plst = ListOf({Item(0), Item(1), Item(2)});
    auto const piter = IteratorOn(*plst);
    IterationState* const pits = piter->_get_pitsThe();

    pits->gotoTop();
    plst->Add(Item(3));
    EXPECT_THROW(pits->gotoNext(), unsigned int);
    EXPECT_THROW(pits->gotoPrev(), unsigned int);
    EXPECT_THROW(pits->retrieveInternalContainer(), unsigned int);
    unsigned int fault = 0;
    try {
        pits->retrieve();
    } catch (unsigned int thrown) {
        fault = thrown;
    }
    EXPECT_EQ(fault, 0xDEADF0CCu);

    // Placing revives it, and the walk then sees the new element.
    EXPECT_EQ(pits->gotoIDX(1), 1);
    EXPECT_EQ(pits->retrieve(), Item(1));
    EXPECT_EQ(pits->gotoBottom(), 1);
    EXPECT_EQ(pits->retrieve(), Item(3));

    // A removal counts as a change too.
    pits->gotoTop();
    EXPECT_NE(plst->RetrieveAndDetachTop(), nullptr);
    EXPECT_THROW(pits->retrieve(), unsigned int);
}

namespace {

struct AddingWalk {
    CPList* plst;
    int calls = 0;
};

void itAddToTheList(void*, void* pvWalk) {
    auto* const walk = static_cast<AddingWalk*>(pvWalk);
    ++walk->calls;
    walk->plst->Add(Item(7)); // not the fault yet: that comes at the next step
}

struct NestedWalk {
    Iterator* piter;
    std::vector<void*> inner{};
};

void itWalkAgain(void*, void* pvWalk) {
    auto* const walk = static_cast<NestedWalk*>(pvWalk);
    walk->piter->forEach(itCollect, &walk->inner);
}

} // namespace

TEST(IteratorTest, AnActionThatChangesTheCollectionOrReentersFaults) {
    auto const plst = ListOf({Item(0), Item(1)});
    auto const piter = IteratorOn(*plst);

    AddingWalk adding{plst.get()};
    EXPECT_THROW(piter->forEach(itAddToTheList, &adding), unsigned int);
    EXPECT_EQ(adding.calls, 1);
    EXPECT_EQ(plst->Length(), 3u);
    // The interrupted walk left its mark: this Iterator can't walk again.
    std::vector<void*> seen;
    EXPECT_THROW(piter->forEach(itCollect, &seen), unsigned int);
    EXPECT_TRUE(seen.empty());

    // A walk of one Iterator inside its own walk faults; another Iterator
    // nests freely and walks on its own.
    auto const pouter = IteratorOn(*plst);
    auto const pinner = IteratorOn(*plst);
    NestedWalk self{pouter.get()};
    EXPECT_THROW(pouter->forEach(itWalkAgain, &self), unsigned int);
    auto const pfresh = IteratorOn(*plst);
    NestedWalk other{pinner.get()};
    EXPECT_EQ(pfresh->forEach(itWalkAgain, &other), 1);
    EXPECT_EQ(other.inner.size(), 9u); // three inner walks of three

    // forEachThat keeps the same guard and acts only on matches.
    auto const pthat = IteratorOn(*plst);
    seen.clear();
    EXPECT_EQ(pthat->forEachThat(itMatches, Item(1), itCollect, &seen), 1);
    EXPECT_EQ(seen, std::vector<void*>{Item(1)});
}

TEST(IteratorTest, TransactionNumbersWrapAtSixteenBits) {
    auto const plst = ListOf({Item(0)});
    auto const piter = IteratorOn(*plst);
    IterationState* const pits = piter->_get_pitsThe();
    pits->gotoTop();
    for (int i = 0; i < 65535; ++i)
        plst->Add(Item(1));
    EXPECT_THROW(pits->gotoNext(), unsigned int);
    plst->Add(Item(2)); // the 65,536th change
    EXPECT_EQ(plst->_get_nXACT(), pits->_get_nXACT());
    EXPECT_EQ(pits->gotoNext(), 1);
    EXPECT_EQ(pits->retrieve(), Item(1));
}

TEST(IteratorTest, AllThatMakesACollectionOfTheSameClass) {
    auto const plst = ListOf({Item(0), Item(1), Item(2)});
    auto const piter = IteratorOn(*plst);
    std::unique_ptr<CPCollection> const pmatch(piter->allThat(itMatches, Item(1)));
    ASSERT_NE(dynamic_cast<CPList*>(pmatch.get()), nullptr);
    EXPECT_EQ(pmatch->Length(), 1u);
    EXPECT_EQ(pmatch->RetrieveIDX(0), Item(1));

    // The container form adds through a slot every collection ignores.
    std::unique_ptr<CPCollection> const pnone(piter->allThat(itAlwaysContainer, nullptr));
    EXPECT_EQ(pnone->Length(), 0u);

    // A dictionary's sibling adds each element by its own address.
    CPDictionary dct;
    dct.AddKeyString("x", Item(4));
    auto const pdict = IteratorOn(dct);
    std::unique_ptr<CPCollection> const pdictMatch(pdict->allThat(itAlways, nullptr));
    auto* const pdctMatch = dynamic_cast<CPDictionary*>(pdictMatch.get());
    ASSERT_NE(pdctMatch, nullptr);
    EXPECT_EQ(pdctMatch->FindKeyNum(reinterpret_cast<std::uintptr_t>(Item(4))), Item(4));
}

TEST(ListIterationStateTest, IndexedPlacingWalksOnlyForward) {
    auto const plst = ListOf({Item(0), Item(1), Item(2), Item(3)});
    ListIterationState its(plst.get());

    // A new position knows its index as 0 but has no bucket: walking
    // forward from nothing stays at nothing.
    EXPECT_EQ(its.gotoIDX(2), 1);
    EXPECT_EQ(its.retrieve(), nullptr);

    its.gotoTop();
    EXPECT_EQ(its.gotoIDX(4), 0); // Length: nothing moves
    EXPECT_EQ(its._get_nDXCursor(), 0);
    EXPECT_EQ(its.gotoIDX(2), 1);
    EXPECT_EQ(its.retrieve(), Item(2));
    EXPECT_EQ(its._get_nDXCursor(), 2);
    EXPECT_EQ(its.gotoIDX(3), 1);
    EXPECT_EQ(its.retrieve(), Item(3));
    // Behind the known index the distance wraps and the walk runs off the
    // end, though the index is recorded as asked.
    EXPECT_EQ(its.gotoIDX(1), 1);
    EXPECT_EQ(its._get_pbktCursor(), nullptr);
    EXPECT_EQ(its.retrieve(), nullptr);
    EXPECT_EQ(its._get_nDXCursor(), 1);

    // A step forgets the index, so the next placing starts from the top.
    its.gotoTop();
    its.gotoNext();
    EXPECT_EQ(its._get_nDXCursor(), -1);
    EXPECT_EQ(its.gotoIDX(1), 1);
    EXPECT_EQ(its.retrieve(), Item(1));

    EXPECT_EQ(its.gotoBottom(), 1);
    EXPECT_EQ(its._get_nDXCursor(), 3);
    EXPECT_EQ(its.gotoNext(), 0);
    EXPECT_EQ(its._get_pbktCursor(), nullptr);
    EXPECT_EQ(its.gotoNext(), 0);
    its.gotoTop();
    EXPECT_EQ(its.gotoPrev(), 0);
    EXPECT_EQ(its._get_pbktCursor(), nullptr);
    its.gotoBottom();
    EXPECT_EQ(its.gotoPrev(), 1);
    EXPECT_EQ(its.retrieve(), Item(2));
    EXPECT_EQ(its.I_get_pbktGot(), its._get_pbktCursor());

    // The reset point is the position's own; the list's cursor never moved.
    its.setResetPoint();
    its.gotoTop();
    its.gotoResetPoint();
    EXPECT_EQ(its.retrieve(), Item(2));
    its.clearResetPoint();
    its.gotoResetPoint(); // with none: the top
    EXPECT_EQ(its.retrieve(), Item(0));
    EXPECT_EQ(plst->_get_pbktCursor(), nullptr);
}

TEST(DictionaryIterationStateTest, WalksSlotsInOrderAndNeverBack) {
    CPDictionary dct;
    auto const pempty = IteratorOn(dct);
    EXPECT_EQ(pempty->_get_pitsThe()->gotoTop(), 0);
    std::vector<void*> seen;
    EXPECT_EQ(pempty->forEach(itCollect, &seen), 1);
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(pempty->_get_pitsThe()->gotoBottom(), 0); // as gotoTop

    dct.AddKeyNum(7, Item(1));
    dct.AddKeyNum(2, Item(0));
    dct.AddKeyNum(258, Item(2)); // slot 2, behind 2
    dct.AddKeyNum(255, Item(3));
    auto const piter = IteratorOn(dct);
    EXPECT_EQ(piter->forEach(itCollect, &seen), 1);
    EXPECT_EQ(seen, (std::vector<void*>{Item(0), Item(2), Item(1), Item(3)}));

    IterationState* const pits = piter->_get_pitsThe();
    EXPECT_EQ(pits->gotoIDX(1), 1);
    EXPECT_EQ(pits->retrieve(), Item(2));
    EXPECT_EQ(pits->gotoPrev(), 1);
    EXPECT_EQ(pits->retrieve(), Item(2));
    EXPECT_EQ(pits->gotoIDX(4), 0);
    EXPECT_EQ(pits->gotoIDX(0xFFFFFFFF), 0);
    EXPECT_EQ(pits->gotoBottom(), 1);
    EXPECT_EQ(pits->retrieve(), Item(3));
    EXPECT_EQ(pits->gotoNext(), 0);
    EXPECT_EQ(pits->retrieve(), nullptr);

    // The container is the chain's bucket, which holds the association.
    pits->gotoTop();
    auto* const pbkt = static_cast<CPBucket*>(pits->retrieveInternalContainer());
    auto* const pda = static_cast<CPDictionaryAssociation*>(pbkt->_get_pvData());
    EXPECT_EQ(pda->GetKeyCardinal(), 2u);

    dct.DetachKeyNum(7);
    EXPECT_THROW(pits->gotoNext(), unsigned int);
}

TEST(IteratorTest, CopiesShareOnePositionAndResettingItKeepsIt) {
    auto const plst = ListOf({Item(0), Item(1)});
    auto* const piter = plst->GetIterator();
    IterationState* const pits = piter->_get_pitsThe();
    piter->_set_pitsThe(pits); // the same one again: still usable
    EXPECT_EQ(pits->gotoTop(), 1);
    {
        Iterator copy(*piter);
        EXPECT_EQ(copy._get_pitsThe(), pits);
        Iterator assigned;
        assigned = copy;
        EXPECT_EQ(assigned.firstThat(itMatches, Item(1)), Item(1));
    }
    EXPECT_EQ(pits->retrieve(), Item(1)); // moved by the copies, still alive
    piter->_set_pitsThe(nullptr);
    delete piter;
}

TEST(IteratorDeathTest, AnIterableOfNoKindHasNoPositionToGive) {
    EXPECT_EXIT(
        {
            Iterable bare;
            bare.GetIterator();
        },
        ::testing::ExitedWithCode(kFatalStatus), "NIL Pointer Fail: File:: cpcoll/iterate .*pitsA");
}

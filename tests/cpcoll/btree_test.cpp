#include <cpcoll/btree.h>
#include <cpcoll/crdict.h>
#include <util/pstring.h>

#include "support.h"

#include <cstdint>
#include <initializer_list>
#include <map>
#include <random>

namespace {

using namespace cpcoll_test;

std::uintptr_t KeyOf(Leaf const* plf) {
    return reinterpret_cast<std::uintptr_t>(plf->_get_pvKey());
}

// key/balance(left,right), "-" for a missing child.
std::string Shape(Leaf const* plf) {
    if (plf == nullptr) return "-";
    std::string out = std::to_string(KeyOf(plf)) + "/" + std::to_string(plf->_get_nBalance());
    if (plf->_get_plfLeft() != nullptr || plf->_get_plfRight() != nullptr)
        out += "(" + Shape(plf->_get_plfLeft()) + "," + Shape(plf->_get_plfRight()) + ")";
    return out;
}

void* Value(std::uintptr_t n) {
    return reinterpret_cast<void*>(n * 16 + 8);
}

// A positive number adds that key, a negative one removes it.
void Apply(CPTree& tree, std::initializer_list<int> ops) {
    tree.ExistsKeyNum(0);
    for (int op : ops) {
        if (op > 0)
            tree.AddKeyNum(static_cast<std::uintptr_t>(op), Value(static_cast<std::uintptr_t>(op)));
        else
            tree.DetachKeyNum(static_cast<std::uintptr_t>(-op));
    }
}

std::string ShapeAfter(std::initializer_list<int> ops) {
    CPTree tree;
    Apply(tree, ops);
    return Shape(tree._get_plfRoot());
}

std::vector<std::uintptr_t> ChainKeys(CPTree const& tree) {
    std::vector<std::uintptr_t> out;
    for (Leaf* plf = tree._get_plfHead(); plf != nullptr; plf = plf->_get_plfNext())
        out.push_back(KeyOf(plf));
    return out;
}

void InOrder(Leaf* plf, Leaf* plfParent, std::vector<Leaf*>& out) {
    if (plf == nullptr) return;
    ASSERT_EQ(plf->_get_plfParent(), plfParent);
    InOrder(plf->_get_plfLeft(), plf, out);
    out.push_back(plf);
    InOrder(plf->_get_plfRight(), plf, out);
}

// Order, parent links, and a chain that is the in-order walk both ways.
void CheckLinks(CPTree const& tree, std::map<std::uintptr_t, void*> const& expected) {
    std::vector<Leaf*> inOrder;
    InOrder(tree._get_plfRoot(), nullptr, inOrder);
    ASSERT_EQ(inOrder.size(), expected.size());
    ASSERT_EQ(tree.Length(), expected.size());
    auto it = expected.begin();
    for (std::size_t i = 0; i < inOrder.size(); ++i, ++it) {
        ASSERT_EQ(KeyOf(inOrder[i]), it->first);
        ASSERT_EQ(inOrder[i]->_get_pvValue(), it->second);
        ASSERT_EQ(inOrder[i]->_get_plfPrev(), i == 0 ? nullptr : inOrder[i - 1]);
        ASSERT_EQ(inOrder[i]->_get_plfNext(), i + 1 == inOrder.size() ? nullptr : inOrder[i + 1]);
    }
    ASSERT_EQ(tree._get_plfHead(), inOrder.empty() ? nullptr : inOrder.front());
    ASSERT_EQ(tree._get_plfTail(), inOrder.empty() ? nullptr : inOrder.back());
}

int itKeyAbove(void* pvLeaf, void* pvMin) {
    return KeyOf(static_cast<Leaf*>(pvLeaf)) > *static_cast<std::uintptr_t*>(pvMin) ? 1 : 0;
}

int itDetachOwnKey(void* pvItem, void* pvTree) {
    return static_cast<CPTree*>(pvTree)->Detach(pvItem);
}

} // namespace

// Each line drives one rotation case; the comment names the steps it takes.
TEST(CPTreeTest, InsertsAndRemovesGiveExactShapes) {
    // Single rotations.
    EXPECT_EQ(ShapeAfter({1, 2, 3}), "2/0(1/0,3/0)");
    EXPECT_EQ(ShapeAfter({3, 2, 1}), "2/0(1/0,3/0)");
    // Double rotations: the child is turned first.
    EXPECT_EQ(ShapeAfter({1, 3, 2}), "2/0(1/0,3/0)");
    EXPECT_EQ(ShapeAfter({3, 1, 2}), "2/0(1/0,3/0)");
    // Filling the parent's empty side still counts one level up: a rotation
    // that true heights would not call for, and a factor that drifts.
    EXPECT_EQ(ShapeAfter({4, 2, 6, 1, 3}), "2/1(1/0,4/-1(3/0,6/0))");
    EXPECT_EQ(ShapeAfter({3, 8, 4, 9, 5}), "8/-1(4/1(3/0,5/0),9/0)");
    // Double rotations whose inner child leans: the tables' rows for a
    // first node of factor 1 (or -1) with a second of the same.
    EXPECT_EQ(ShapeAfter({6, 4, 3, 8, 9, 5}), "6/0(4/0(3/0,5/0),8/1(-,9/0))");
    EXPECT_EQ(ShapeAfter({8, 6, 4, 3, 2, 5}), "4/0(3/-1(2/0,-),6/0(5/0,8/0))");
    // A pre-rotation that needs one of its own: three rotations in one add.
    EXPECT_EQ(ShapeAfter({2, 3, 9, 4, 7, 6}), "6/0(3/0(2/0,4/0),7/1(-,9/0))");
    EXPECT_EQ(ShapeAfter({6, 7, 1, 2, 4, 3}), "3/0(2/-1(1/0,-),6/0(4/0,7/0))");

    // Removal of a leaf whose sibling is even: one rotation, height kept.
    EXPECT_EQ(ShapeAfter({1, 8, 3, 7, 17, -1}), "8/-1(7/-1(3/1,-),17/0)");
    EXPECT_EQ(ShapeAfter({2, 9, 6, 1, 3, -9}), "2/1(1/0,3/1(-,6/-1))");
    // Sibling leaning away: rotation, and the climb goes on.
    EXPECT_EQ(ShapeAfter({4, 8, 3, 9, -3}), "8/0(4/0,9/0)");
    EXPECT_EQ(ShapeAfter({5, 7, 4, 2, -7}), "4/0(2/0,5/0)");
    // Sibling leaning in: double rotation.
    EXPECT_EQ(ShapeAfter({2, 7, 9, 8, -2}), "8/0(7/0,9/0)");
    EXPECT_EQ(ShapeAfter({9, 1, 6, 2, -9}), "2/0(1/0,6/0)");
    EXPECT_EQ(ShapeAfter({3, 7, 2, 6, 4, 1, 5, -1}), "5/0(3/0(2/0,4/0),6/1(-,7/0))");
    EXPECT_EQ(ShapeAfter({7, 8, 1, 4, 6, 9, 5, -8}), "5/0(4/-1(1/0,-),7/0(6/0,9/0))");
    // Drifted factors send a pre-rotation to a missing child: the guard
    // leaves it, and the outer rotation goes ahead.
    EXPECT_EQ(ShapeAfter({1, 8, 3, 7, 17, -1, 2, -2}), "8/-1(7/-1(3/1,-),17/0)");
    EXPECT_EQ(ShapeAfter({6, 7, 4, 5, 2, -7, 18, -18}), "4/1(2/0,5/1(-,6/-1))");
    // Two children: the predecessor replaces a left-leaning leaf, the
    // successor any other; with and without a rotation below.
    EXPECT_EQ(ShapeAfter({4, 3, 7, 2, -4}), "3/0(2/0,7/0)");
    EXPECT_EQ(ShapeAfter({1, 9, 2, -2}), "9/-1(1/0,-)");
    EXPECT_EQ(ShapeAfter({9, 7, 12, 8, 3, 1, 5, -9}), "3/1(1/0,7/-1(5/0,8/0(-,12/0)))");
    EXPECT_EQ(ShapeAfter({2, 5, 3, 7, 4, 6, 9, -3}), "7/-1(5/1(4/0(2/0,-),6/0),9/0)");
    // The last leaf.
    EXPECT_EQ(ShapeAfter({5, -5}), "-");
}

TEST(CPTreeTest, RandomInsertsAndRemovesMatchAnOrderedMap) {
    std::mt19937 rng(20240611);
    CPTree tree;
    tree.ExistsKeyNum(0);
    std::map<std::uintptr_t, void*> expected;
    for (int step = 0; step < 12000; ++step) {
        std::uintptr_t const nKey = 1 + rng() % 600;
        if (rng() % 5 < 3) {
            void* const pv = Value(nKey * 1000 + static_cast<std::uintptr_t>(step));
            tree.AddKeyNum(nKey, pv);
            expected[nKey] = pv;
        } else {
            auto const found = expected.find(nKey);
            void* const pvWas = found != expected.end() ? found->second : nullptr;
            EXPECT_EQ(tree.DeleteBalance(reinterpret_cast<void*>(nKey)), pvWas);
            expected.erase(nKey);
        }
        ASSERT_NO_FATAL_FAILURE(CheckLinks(tree, expected)) << "step " << step;
        ASSERT_EQ(tree.Smallest(), expected.empty() ? nullptr : expected.begin()->second);
        ASSERT_EQ(tree.Largest(), expected.empty() ? nullptr : expected.rbegin()->second);
    }
}

TEST(CPTreeTest, KeysReplaceAndKindsAreFixedOnce) {
    CPTree tree;
    // An element is its own key; adding it again stores nothing new.
    tree.Add(Item(1));
    tree.Add(Item(1));
    EXPECT_EQ(tree.Length(), 1u);
    EXPECT_EQ(tree._get_etdsState(), CPTree::etreeUnset);
    EXPECT_EQ(tree.Detach(Item(1)), 1);
    EXPECT_EQ(tree._get_plfHead(), nullptr);

    // A second add under a key replaces the element without a change that
    // would invalidate a position.
    CPTree nums;
    nums.AddKeyNum(5, Item(0));
    nums.AddKeyNum(1, Item(1));
    nums.AddKeyNum(3, Item(2));
    Iterator* const piter = nums.GetIterator();
    piter->_get_pitsThe()->gotoTop();
    std::int16_t const nXACT = nums._get_nXACT();
    nums.AddKeyNum(3, Item(3));
    EXPECT_EQ(nums._get_nXACT(), nXACT);
    EXPECT_EQ(nums.Length(), 3u);
    EXPECT_EQ(piter->_get_pitsThe()->retrieve(), Item(1));
    delete piter;
    // By key, not by position.
    EXPECT_EQ(nums.RetrieveIDX(3), Item(3));
    EXPECT_EQ(nums.RetrieveIDX(2), nullptr);

    // A stored null: the leaf goes, and the answer says absent.
    nums.AddKeyNum(9, nullptr);
    EXPECT_EQ(nums.ExistsKeyNum(9), 0);
    EXPECT_EQ(nums.Detach(reinterpret_cast<void*>(9)), 0);
    EXPECT_EQ(ChainKeys(nums), (std::vector<std::uintptr_t>{1, 3, 5}));

    // Texts compare as bytes, case first; the tree keeps the caller's text.
    CPTree texts;
    EXPECT_EQ(texts.ExistsKeyString("b"), 0);
    EXPECT_EQ(texts._get_etdsState(), CPTree::etreeString);
    char szKey[] = "beta";
    texts.AddKeyString(szKey, Item(0));
    texts.AddKeyString("Zulu", Item(1));
    texts.AddKeyString("alpha", Item(2));
    std::vector<void*> seen;
    texts.ForEach(itCollect, &seen);
    EXPECT_EQ(seen, (std::vector<void*>{Item(1), Item(2), Item(0)}));
    EXPECT_EQ(texts.FindKeyString("beta"), Item(0));
    texts.DestroyKeyString("alpha", Kills::Record);
    EXPECT_EQ(Kills::seen, std::vector<void*>{Item(2)});

    // A CPString key is kept alive by the shared pool (as its key and its
    // entry) until it is detached.
    auto* const pstr = new CPString("gamma");
    pstr->AddRef();
    texts.AddKeyString(pstr, Item(3));
    EXPECT_EQ(pstr->_get_nRefCount(), 3);
    EXPECT_EQ(CPTree::_get_pcrdctStringKeys()->ExistsKeyString(pstr), 1);
    EXPECT_EQ(texts.FindKeyString(pstr), Item(3));
    texts.DetachKeyString(pstr);
    EXPECT_EQ(pstr->_get_nRefCount(), 1);
    EXPECT_EQ(texts.FindKeyString("gamma"), nullptr);
    pstr->Release();
}

TEST(CPTreeTest, WalksFollowTheChain) {
    CPTree tree;
    for (int n : {4, 2, 6, 1, 3, 5})
        tree.AddKeyNum(static_cast<std::uintptr_t>(n), Item(n));

    // NextThat goes on from the cursor, which FirstThat left past the match.
    EXPECT_EQ(tree.FirstThat(itAnswerTwo, nullptr), Item(1));
    EXPECT_EQ(tree.NextThat(itAnswerTwo, nullptr), Item(2));
    std::uintptr_t nMin = 4;
    auto* const plf = static_cast<Leaf*>(tree.FirstThatInternalContainer(itKeyAbove, &nMin));
    EXPECT_EQ(KeyOf(plf), 5u);

    // A cursor on a removed leaf moves on to the next one.
    tree.GotoTop();
    tree.Next();
    tree.DetachKeyNum(2);
    EXPECT_EQ(tree.Retrieve(), Item(3));

    CPCollection* const pclAbove = tree.AllThatInternalContainer(itKeyAbove, &nMin);
    auto* const ptreeAbove = static_cast<CPTree*>(pclAbove);
    EXPECT_EQ(ptreeAbove->_get_etdsState(), CPTree::etreeNumber);
    EXPECT_EQ(ChainKeys(*ptreeAbove), (std::vector<std::uintptr_t>{5, 6}));
    delete pclAbove;

    // A condition may remove its own leaf.
    CPTree own;
    for (int n = 0; n < 4; ++n)
        own.Add(Item(n));
    EXPECT_EQ(own.FirstThat(itDetachOwnKey, &own), Item(0));
    EXPECT_EQ(own.NextThat(itDetachOwnKey, &own), Item(1));
    EXPECT_EQ(own.Length(), 2u);
    own.DestroyAll(Kills::Record);
    EXPECT_EQ(Kills::seen, (std::vector<void*>{Item(2), Item(3)}));
}

TEST(CPTreeTest, MergeZipsBothChainsIntoOneBalancedTree) {
    CPTree into;
    CPTree from;
    for (int n : {1, 3, 5, 7})
        into.AddKeyNum(static_cast<std::uintptr_t>(n), Item(n));
    for (int n : {2, 3, 4, 6})
        from.AddKeyNum(static_cast<std::uintptr_t>(n), Value(static_cast<std::uintptr_t>(n)));
    EXPECT_EQ(Shape(from._get_plfRoot()), "3/1(2/0,4/1(-,6/0))");
    into.Merge(&from);
    EXPECT_EQ(into.Length(), 7u);
    EXPECT_EQ(from.Length(), 0u);
    EXPECT_EQ(from._get_plfRoot(), nullptr);
    EXPECT_EQ(into.FindKeyNum(3), Item(3));
    EXPECT_EQ(into.FindKeyNum(6), Value(6));
    EXPECT_EQ(into._get_bDeleteLeaves(), 1);
    EXPECT_EQ(from._get_bDeleteLeaves(), 1);
    // Only the pivot gets a new factor; the others keep their old ones
    // (2 from the source's root side, 3 and 5 from the receiver's).
    EXPECT_EQ(Shape(into._get_plfRoot()), "4/0(2/0(1/0,3/1),6/0(5/1,7/0))");
    std::map<std::uintptr_t, void*> zipped;
    for (std::uintptr_t n = 1; n <= 7; ++n)
        zipped[n] = n % 2 != 0 ? Item(static_cast<int>(n)) : Value(n);
    ASSERT_NO_FATAL_FAILURE(CheckLinks(into, zipped));

    // An empty source rebuilds the receiver.
    CPTree drifted;
    Apply(drifted, {6, 7, 4, 5, 2, -7, 18, -18});
    CPTree none;
    drifted.Merge(&none);
    EXPECT_EQ(Shape(drifted._get_plfRoot()), "5/-1(4/1(2/0,-),6/-1)");

    // Larger counts recurse on both sides.
    CPTree big;
    CPTree more;
    for (std::uintptr_t n = 1; n <= 20; ++n)
        (n % 2 != 0 ? big : more).AddKeyNum(n, Value(n));
    big.Merge(&more);
    std::map<std::uintptr_t, void*> all;
    for (std::uintptr_t n = 1; n <= 20; ++n)
        all[n] = Value(n);
    ASSERT_NO_FATAL_FAILURE(CheckLinks(big, all));
    EXPECT_EQ(KeyOf(big._get_plfRoot()), 11u);
    EXPECT_EQ(big._get_plfRoot()->_get_nBalance(), -1);
}

TEST(CPTreeDeathTest, MisusedKeysReportTheirOwnText) {
    char const* const unit = "cpcoll/btree";
    ExpectAssertion(
        [] {
            CPTree tree;
            tree.AddKeyString("a", Item(0));
            tree.AddKeyNum(1, Item(1));
        },
        unit, "etdsState == etreeNumber");
    ExpectAssertion(
        [] {
            CPTree tree;
            tree.ExistsKeyNum(1);
            tree.AddKeyString("a", Item(0));
        },
        unit, "etdsState == etreeString");
    ExpectAssertion([] { CPTree().FindKeyNum(1); }, unit, "etdsState == etreeNumber");
    ExpectAssertion([] { CPTree().ForEach(CPTree::pfnKeyFunc{}, nullptr); }, unit, "1==0");
    ExpectAssertion([] { CPTree().Merge(nullptr); }, unit, "ptreeFrom !=0");
}

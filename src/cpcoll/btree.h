// The sorted keyed collection: a height-balanced binary tree whose leaves are
// also threaded in key order as a doubly linked chain, so that walks,
// Smallest and Largest never descend. One tree holds number keys or string
// keys, never both; the first keyed operation decides.
//
// The balancing is not textbook: the climb after an insert starts one level
// above the new leaf's parent whatever happened there, so the stored factors
// may drift from the true heights, and the rotations guard against that. The
// resulting shape is part of the contract (Merge and walks by position
// depend on it), so the steps must not be "corrected".
#pragma once

#include <cpcoll/cpcollec.h>
#include <cpcoll/iterate.h>
#include <platform/export.h>

#include <cstdint>

class CPTree;
class CrDictionary;

// A node of the tree and a link of the chain. The inherited pvTheData is
// never set, so container walks of an Iterator see nothing in it.
class SORVANE_API Leaf : public CPInternalContainer {
public:
    Leaf(void* pvKeyA, void* pvValueA) : pvKey(pvKeyA), pvValue(pvValueA) {}
    Leaf(Leaf const&) = delete;
    Leaf& operator=(Leaf const&) = delete;
    ~Leaf() override = default;

    void* _get_pvKey() const { return pvKey; }
    void* _get_pvValue() const { return pvValue; }
    void _set_pvValue(void* pv) { pvValue = pv; }
    Leaf* _get_plfRight() const { return plfRight; }
    Leaf* _get_plfLeft() const { return plfLeft; }
    Leaf* _get_plfParent() const { return plfParent; }
    Leaf* _get_plfNext() const { return plfNext; }
    Leaf* _get_plfPrev() const { return plfPrev; }
    std::int16_t _get_nBalance() const { return nBalance; }

    // False at the root.
    bool IsLeftChild() const { return plfParent != nullptr && plfParent->plfLeft == this; }
    bool IsRightChild() const { return plfParent != nullptr && plfParent->plfRight == this; }
    // The parent's link that points here; null at the root.
    Leaf** LinkInParent() {
        if (plfParent == nullptr) return nullptr;
        return plfParent->plfLeft == this ? &plfParent->plfLeft : &plfParent->plfRight;
    }
    Leaf* Leftmost() {
        Leaf* plf = this;
        while (plf->plfLeft != nullptr)
            plf = plf->plfLeft;
        return plf;
    }
    Leaf* Rightmost() {
        Leaf* plf = this;
        while (plf->plfRight != nullptr)
            plf = plf->plfRight;
        return plf;
    }

private:
    friend class CPTree;

    void* pvKey;
    void* pvValue;
    Leaf* plfRight = nullptr;
    Leaf* plfLeft = nullptr;
    Leaf* plfParent = nullptr;
    Leaf* plfNext = nullptr;
    Leaf* plfPrev = nullptr;
    // Right height minus left height as far as the stored factors know.
    std::int16_t nBalance = 0;
};

// A position in a tree: a leaf of the chain.
class SORVANE_API TreeIterationState : public IterationState {
public:
    explicit TreeIterationState(CPCollection* pcl) : IterationState(pcl) {}
    TreeIterationState(TreeIterationState const& other)
        : Createable(), IterationState(other), plfCurrent(other.plfCurrent) {}
    TreeIterationState& operator=(TreeIterationState const& other);
    ~TreeIterationState() override = default;

    short vgotoTop() override;
    short vgotoBottom() override;
    short vgotoNext() override;
    short vgotoPrev() override;
    void* vretrieve() override;
    CPInternalContainer* vretrieveInternalContainer() override;

    Leaf* _get_plfCurrent() const { return plfCurrent; }

private:
    CPTree* Tree() const;

    Leaf* plfCurrent = nullptr;
};

class SORVANE_API CPTree : public CPKeyedCollection {
public:
    enum enumTreeDataState : std::int32_t {
        etreeUnset = 0,
        etreeNumber = 1,
        etreeString = 2,
    };

    using pfnKeyFunc = void (*)(void* pvItem, void* pvUser, std::uintptr_t nKey);

    // The key that makes an element its own key.
    static inline void* const kSelfKey = reinterpret_cast<void*>(~std::uintptr_t{0});

    CPTree() = default;
    // Leaves belong to one tree; the framework never copies a tree.
    CPTree(CPTree const&) = delete;
    CPTree& operator=(CPTree const&) = delete;
    ~CPTree() override;

    CPCollection* CreateInstance() override;
    IterationState* CreateIterationState() override;

    // Adding. A key already present has its element replaced, with no change
    // of count or transaction number.
    void Add(void* pvData, void* pvKey);
    // The element is its own key.
    void Add(void* pv) override;
    void AddKeyNum(std::uintptr_t nKey, void* pv) override;
    // The tree keeps the caller's pointer: the text must outlive the entry.
    void AddKeyString(char const* szKey, void* pv, std::uint32_t* pulHash = nullptr) override;
    // Keyed by the string's buffer. The string goes into a pool shared by all
    // trees, which takes a reference on it, so it must be a heap object.
    void AddKeyString(CPString* pstrKey, void* pv) override;
    void AddInternalContainer(CPInternalContainer* pic) override;

    // Removing. Each answers through DeleteBalance, so a stored null element
    // reads as absent though its leaf goes.
    void* DeleteBalance(void* pvKey);
    // By key, not by element.
    char Detach(void* pv) override;
    void DetachLeaf(Leaf* plf);
    void DetachKeyNum(std::uintptr_t nKey) override;
    void DetachKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    // Also lets the pool give the string up.
    void DetachKeyString(CPString* pstrKey) override;
    // Does nothing while leaves are kept (bDeleteLeaves 0).
    char Destroy(void* pvKey, pfnKillFunc pfnKill) override;
    void DestroyKeyNum(std::uintptr_t nKey, pfnKillFunc pfnKill) override;
    void DestroyKeyString(char const* szKey, pfnKillFunc pfnKill,
                          std::uint32_t* pulHash = nullptr) override;
    // Leaves the string in the pool.
    void DestroyKeyString(CPString* pstrKey, pfnKillFunc pfnKill) override;
    // With bDeleteLeaves 0 the leaves are only let go of, as Merge needs.
    char DetachAll() override;
    char DestroyAll(pfnKillFunc pfnKill) override;

    // Lookup. The short of FindLeaf is not used.
    Leaf* FindLeaf(void* pvKey, short nUnused = 0) const;
    void* Find(void* pvKey) const;
    void* FindKeyNum(std::uintptr_t nKey) override;
    void* FindKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    void* FindKeyString(CPString* pstrKey) override;
    // These fix the key kind of a new tree. A stored null answers 0.
    std::int32_t ExistsKeyNum(std::uintptr_t nKey) override;
    std::int32_t ExistsKeyString(CPString* pstrKey) override;
    std::int32_t ExistsKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    // By number key, not by position.
    void* RetrieveIDX(std::uint32_t n) override;
    void* Smallest() const { return plfHead != nullptr ? plfHead->pvValue : nullptr; }
    void* Largest() const { return plfTail != nullptr ? plfTail->pvValue : nullptr; }

    // The tree's own cursor, along the chain.
    void GotoTop() override { plfCursor = plfHead; }
    void GotoBottom() override { plfCursor = plfTail; }
    std::int32_t Next() override {
        if (plfCursor == nullptr) return 0;
        plfCursor = plfCursor->plfNext;
        return plfCursor != nullptr ? 1 : 0;
    }
    std::int32_t Prev() override {
        if (plfCursor == nullptr) return 0;
        plfCursor = plfCursor->plfPrev;
        return plfCursor != nullptr ? 1 : 0;
    }
    void* Retrieve() override { return plfCursor != nullptr ? plfCursor->pvValue : nullptr; }
    Leaf* RetrieveLeaf() const { return plfCursor; }
    void* RetrieveInternalContainer() override { return plfCursor; }

    // Walks in ascending key order. None but FirstThat and NextThat moves
    // the cursor.
    void ForEach(pfnKillFunc pfn, void* pvUser) override;
    // The key goes over as a number word, a string key included.
    void ForEach(IteratorAction* pia) override;
    // Not available: reports "1==0".
    void ForEach(pfnKeyFunc pfn, void* pvUser);
    void ForEachLeaf(pfnKillFunc pfn, void* pvUser);
    // The function may delete the leaf it is given.
    void ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) override;
    void* FirstThat(pfnCondFunc pfnCond, void* pvUser) override;
    // From the cursor, not after it: the cursor stands past the last match.
    void* NextThat(pfnCondFunc pfnCond, void* pvUser) override;
    void* FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;
    void* NextThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;
    CPCollection* AllThat(pfnCondFunc pfnCond, void* pvUser) override;
    CPCollection* AllThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;

    // Takes every leaf of ptreeFrom, which ends empty, and rebuilds one
    // balanced tree. On a common key this tree's element stays and the
    // other's is dropped without a kill function.
    void Merge(CPTree* ptreeFrom);
    // A balanced tree of n leaves sorted by key. Only pivots get a new
    // factor; leaves placed at the bottom keep the one they had.
    static Leaf* BuildTree(Leaf** pplf, std::uint32_t n, std::int32_t* pnDepth);

    // No check is made, and there is nothing to print.
    short ValidateTree() { return 1; }
    short ValidateBranch(Leaf*) { return 1; }
    void Print() {}
    void PrintBranch(Leaf*) {}

    Leaf* _get_plfRoot() const { return plfRoot; }
    void _set_plfRoot(Leaf* plf) { plfRoot = plf; }
    Leaf* _get_plfHead() const { return plfHead; }
    void _set_plfHead(Leaf* plf) { plfHead = plf; }
    Leaf* _get_plfTail() const { return plfTail; }
    void _set_plfTail(Leaf* plf) { plfTail = plf; }
    enumTreeDataState _get_etdsState() const { return etdsState; }
    void _set_etdsState(enumTreeDataState e) { etdsState = e; }
    std::int16_t _get_bDeleteLeaves() const { return bDeleteLeaves; }
    void _set_bDeleteLeaves(std::int16_t b) { bDeleteLeaves = b; }

    // The strings whose buffers serve as keys, shared by all trees.
    static CrDictionary* _get_pcrdctStringKeys() { return pcrdctStringKeys; }

protected:
    // The new leaf's parent is always its neighbour in key order, so the
    // chain needs no search.
    virtual void ListInsert(Leaf* plfNew, Leaf* plfPos);
    virtual void ListRemove(Leaf* plf);

private:
    bool IsGreaterThan(void const* pvA, void const* pvB) const;
    bool IsEqualTo(void const* pvA, void const* pvB) const;
    // Negative, 0 or positive as a is below, equal to or above b.
    int Compare(void const* pvA, void const* pvB) const;
    void TakeKeyKind(enumTreeDataState e);
    void AssertKeyKind(enumTreeDataState e, std::int32_t line = __builtin_LINE()) const;
    void UpdateBalance(Leaf* plf);
    // Left for a negative side, right otherwise.
    void Rotate(Leaf* plf, short nSide);
    void RotateLeft(Leaf* plfX);
    void RotateRight(Leaf* plfX);
    void HelpDeleteBalance(short nSide, Leaf* plf);
    std::uint32_t BuildVectorFromTwoTrees(CPTree* ptreeFrom, Leaf*** pppVector);
    CPCollection* AllThatOf(pfnCondFunc pfnCond, void* pvUser, bool bLeaf);
    static CrDictionary* StringKeys();

    enumTreeDataState etdsState = etreeUnset;
    Leaf* plfRoot = nullptr;
    Leaf* plfHead = nullptr;
    Leaf* plfTail = nullptr;
    Leaf* plfCursor = nullptr;
    std::int16_t bDeleteLeaves = 1;

    static CrDictionary* pcrdctStringKeys;
};

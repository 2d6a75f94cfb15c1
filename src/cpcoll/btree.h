/// \file
/// The sorted keyed collection: a height-balanced binary tree whose leaves are
/// also threaded in key order as a doubly linked chain, so that walks,
/// Smallest and Largest never descend. One tree holds number keys or string
/// keys, never both; the first keyed operation decides.
///
/// The balancing is not textbook: the climb after an insert starts one level
/// above the new leaf's parent whatever happened there, so the stored factors
/// may drift from the true heights, and the rotations guard against that. The
/// resulting shape is part of the contract (Merge and walks by position
/// depend on it), so the steps must not be "corrected".
#pragma once

#include <cpcoll/cpcollec.h>
#include <cpcoll/iterate.h>
#include <platform/export.h>

#include <cstdint>

class CPTree;
class CrDictionary;

/// \brief A node of the tree and a link of its key-ordered chain. The
/// inherited pvTheData is never set, so container walks of an Iterator see
/// nothing in it.
class SORVANE_API Leaf : public CPInternalContainer {
public:
    /// \param pvKeyA the key: a number word or a text pointer.
    /// \param pvValueA the element, not owned.
    Leaf(void* pvKeyA, void* pvValueA) : pvKey(pvKeyA), pvValue(pvValueA) {}
    Leaf(Leaf const&) = delete;
    Leaf& operator=(Leaf const&) = delete;
    ~Leaf() override = default;

    /// \return the key.
    void* _get_pvKey() const { return pvKey; }
    /// \return the element.
    void* _get_pvValue() const { return pvValue; }
    /// \param pv the new element, not owned.
    void _set_pvValue(void* pv) { pvValue = pv; }
    /// \return the right child, or null.
    Leaf* _get_plfRight() const { return plfRight; }
    /// \return the left child, or null.
    Leaf* _get_plfLeft() const { return plfLeft; }
    /// \return the parent, or null at the root.
    Leaf* _get_plfParent() const { return plfParent; }
    /// \return the next leaf in key order, or null.
    Leaf* _get_plfNext() const { return plfNext; }
    /// \return the previous leaf in key order, or null.
    Leaf* _get_plfPrev() const { return plfPrev; }
    /// \return the right height minus the left as far as the stored factors know.
    std::int16_t _get_nBalance() const { return nBalance; }

    /// \return true when this is its parent's left child; false at the root.
    bool IsLeftChild() const { return plfParent != nullptr && plfParent->plfLeft == this; }
    /// \return true when this is its parent's right child; false at the root.
    bool IsRightChild() const { return plfParent != nullptr && plfParent->plfRight == this; }
    /// \return the parent's link that points here; null at the root.
    Leaf** LinkInParent() {
        if (plfParent == nullptr) return nullptr;
        return plfParent->plfLeft == this ? &plfParent->plfLeft : &plfParent->plfRight;
    }
    /// \return the leftmost leaf below this one (this one when it has no left child).
    Leaf* Leftmost() {
        Leaf* plf = this;
        while (plf->plfLeft != nullptr)
            plf = plf->plfLeft;
        return plf;
    }
    /// \return the rightmost leaf below this one (this one when it has no right child).
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

/// \brief A position in a tree: a leaf of the chain.
class SORVANE_API TreeIterationState : public IterationState {
public:
    /// \param pcl the tree, which must outlive the position.
    explicit TreeIterationState(CPCollection* pcl) : IterationState(pcl) {}
    /// A copy is a new position at the same place, held by nobody yet.
    /// \param other the position copied.
    TreeIterationState(TreeIterationState const& other)
        : Createable(), IterationState(other), plfCurrent(other.plfCurrent) {}
    /// Takes the other's place.
    /// \param other the position copied.
    /// \return this position.
    TreeIterationState& operator=(TreeIterationState const& other);
    ~TreeIterationState() override = default;

    short vgotoTop() override;
    short vgotoBottom() override;
    short vgotoNext() override;
    short vgotoPrev() override;
    void* vretrieve() override;
    CPInternalContainer* vretrieveInternalContainer() override;

    /// \return the leaf at the position, or null.
    Leaf* _get_plfCurrent() const { return plfCurrent; }

private:
    CPTree* Tree() const;

    Leaf* plfCurrent = nullptr;
};

/// \brief The sorted keyed collection: a height-balanced binary tree whose
/// leaves are also threaded in key order as a doubly linked chain.
///
/// One tree holds number keys or string keys, never both; the first keyed
/// operation decides, and a key of the other kind ends the process through
/// the fatal check. A key already present has its element replaced. The
/// elements are not owned.
class SORVANE_API CPTree : public CPKeyedCollection {
public:
    /// The kind of key a tree holds.
    enum enumTreeDataState : std::int32_t {
        /// Not decided yet.
        etreeUnset = 0,
        /// Number keys.
        etreeNumber = 1,
        /// Text keys.
        etreeString = 2,
    };

    /// A walk's function that also receives the key word.
    using pfnKeyFunc = void (*)(void* pvItem, void* pvUser, std::uintptr_t nKey);

    /// The key that makes an element its own key.
    static inline void* const kSelfKey = reinterpret_cast<void*>(~std::uintptr_t{0});

    CPTree() = default;
    // Leaves belong to one tree; the framework never copies a tree.
    CPTree(CPTree const&) = delete;
    CPTree& operator=(CPTree const&) = delete;
    /// Deletes the leaves (when bDeleteLeaves is set); the elements stay.
    ~CPTree() override;

    CPCollection* CreateInstance() override;
    IterationState* CreateIterationState() override;

    /// Adds an element under a key. A key already present has its element
    /// replaced, with no change of count or transaction number.
    /// \param pvData the element, not owned.
    /// \param pvKey the key, or kSelfKey.
    void Add(void* pvData, void* pvKey);
    /// Adds an element as its own key.
    /// \param pv the element, not owned.
    void Add(void* pv) override;
    void AddKeyNum(std::uintptr_t nKey, void* pv) override;
    /// Adds an element under a text key. The tree keeps the caller's pointer:
    /// the text must outlive the entry.
    /// \param szKey the key.
    /// \param pv the element, not owned.
    /// \param pulHash not used.
    void AddKeyString(char const* szKey, void* pv, std::uint32_t* pulHash = nullptr) override;
    /// Adds an element keyed by the string's buffer. The string goes into a
    /// pool shared by all trees, which takes a reference on it, so it must be a
    /// heap object.
    /// \param pstrKey the key.
    /// \param pv the element, not owned.
    void AddKeyString(CPString* pstrKey, void* pv) override;
    void AddInternalContainer(CPInternalContainer* pic) override;

    /// Removes the leaf of a key and rebalances.
    /// \param pvKey the key.
    /// \return the element it held, or null (a stored null reads as absent,
    ///         though its leaf goes).
    void* DeleteBalance(void* pvKey);
    /// Removes an entry by key, not by element.
    /// \param pv the key.
    /// \return non-zero when an element was removed.
    char Detach(void* pv) override;
    /// Removes a leaf of this tree.
    /// \param plf the leaf.
    void DetachLeaf(Leaf* plf);
    void DetachKeyNum(std::uintptr_t nKey) override;
    void DetachKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    /// Removes the entry of a string key and lets the pool give the string up.
    /// \param pstrKey the key.
    void DetachKeyString(CPString* pstrKey) override;
    /// Removes an entry by key and hands its element to the kill function. Does
    /// nothing while leaves are kept (bDeleteLeaves 0).
    /// \param pvKey the key.
    /// \param pfnKill disposes of the element.
    /// \return non-zero when an element was removed.
    char Destroy(void* pvKey, pfnKillFunc pfnKill) override;
    void DestroyKeyNum(std::uintptr_t nKey, pfnKillFunc pfnKill) override;
    void DestroyKeyString(char const* szKey, pfnKillFunc pfnKill,
                          std::uint32_t* pulHash = nullptr) override;
    /// Removes the entry of a string key and hands its element to the kill
    /// function; the string stays in the pool.
    /// \param pstrKey the key.
    /// \param pfnKill disposes of the element.
    void DestroyKeyString(CPString* pstrKey, pfnKillFunc pfnKill) override;
    /// Removes every entry; with bDeleteLeaves 0 the leaves are only let go of,
    /// as Merge() needs.
    /// \return 1.
    char DetachAll() override;
    char DestroyAll(pfnKillFunc pfnKill) override;

    /// \param pvKey a key.
    /// \param nUnused not used.
    /// \return its leaf, or null.
    Leaf* FindLeaf(void* pvKey, short nUnused = 0) const;
    /// \param pvKey a key.
    /// \return its element, or null.
    void* Find(void* pvKey) const;
    void* FindKeyNum(std::uintptr_t nKey) override;
    void* FindKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    void* FindKeyString(CPString* pstrKey) override;
    /// Fixes the key kind of a new tree.
    /// \param nKey a number key.
    /// \return non-zero when it holds a non-null element.
    std::int32_t ExistsKeyNum(std::uintptr_t nKey) override;
    /// Fixes the key kind of a new tree.
    /// \param pstrKey a string key.
    /// \return non-zero when it holds a non-null element.
    std::int32_t ExistsKeyString(CPString* pstrKey) override;
    /// Fixes the key kind of a new tree.
    /// \param szKey a text key.
    /// \param pulHash not used.
    /// \return non-zero when it holds a non-null element.
    std::int32_t ExistsKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    /// By number key, not by position.
    /// \param n a number key.
    /// \return its element, or null.
    void* RetrieveIDX(std::uint32_t n) override;
    /// \return the element of the smallest key, or null.
    void* Smallest() const { return plfHead != nullptr ? plfHead->pvValue : nullptr; }
    /// \return the element of the largest key, or null.
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
    /// \return the leaf at the cursor, or null.
    Leaf* RetrieveLeaf() const { return plfCursor; }
    /// \return the leaf at the cursor, or null.
    void* RetrieveInternalContainer() override { return plfCursor; }

    /// Calls a function on every element in ascending key order; the cursor stays.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    void ForEach(pfnKillFunc pfn, void* pvUser) override;
    /// Calls the action on every element in key order; the key goes over as a
    /// number word, a string key included.
    /// \param pia the action.
    void ForEach(IteratorAction* pia) override;
    /// Not available: ends the process through the fatal check ("1==0").
    /// \param pfn not used.
    /// \param pvUser not used.
    void ForEach(pfnKeyFunc pfn, void* pvUser);
    /// Calls a function on every leaf in key order.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    void ForEachLeaf(pfnKillFunc pfn, void* pvUser);
    /// Calls a function on every leaf; the function may delete the leaf it is given.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    void ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) override;
    void* FirstThat(pfnCondFunc pfnCond, void* pvUser) override;
    /// The next element that meets the condition, from the cursor, not after
    /// it: the cursor stands past the last match.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return the element, or null.
    void* NextThat(pfnCondFunc pfnCond, void* pvUser) override;
    void* FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;
    void* NextThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;
    CPCollection* AllThat(pfnCondFunc pfnCond, void* pvUser) override;
    CPCollection* AllThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;

    /// Takes every leaf of the other tree, which ends empty, and rebuilds one
    /// balanced tree. On a common key this tree's element stays and the other's
    /// is dropped without a kill function.
    /// \param ptreeFrom the other tree.
    void Merge(CPTree* ptreeFrom);
    /// A balanced tree of leaves sorted by key. Only pivots get a new factor;
    /// leaves placed at the bottom keep the one they had.
    /// \param pplf the leaves.
    /// \param n their count.
    /// \param pnDepth receives the tree's depth.
    /// \return the root.
    static Leaf* BuildTree(Leaf** pplf, std::uint32_t n, std::int32_t* pnDepth);

    /// No check is made.
    /// \return 1.
    short ValidateTree() { return 1; }
    /// No check is made.
    /// \return 1.
    short ValidateBranch(Leaf*) { return 1; }
    /// There is nothing to print.
    void Print() {}
    /// There is nothing to print.
    void PrintBranch(Leaf*) {}

    /// \return the root, or null.
    Leaf* _get_plfRoot() const { return plfRoot; }
    /// \param plf the new root.
    void _set_plfRoot(Leaf* plf) { plfRoot = plf; }
    /// \return the first leaf in key order, or null.
    Leaf* _get_plfHead() const { return plfHead; }
    /// \param plf the new first leaf.
    void _set_plfHead(Leaf* plf) { plfHead = plf; }
    /// \return the last leaf in key order, or null.
    Leaf* _get_plfTail() const { return plfTail; }
    /// \param plf the new last leaf.
    void _set_plfTail(Leaf* plf) { plfTail = plf; }
    /// \return the kind of key the tree holds.
    enumTreeDataState _get_etdsState() const { return etdsState; }
    /// \param e the kind of key.
    void _set_etdsState(enumTreeDataState e) { etdsState = e; }
    /// \return non-zero when removing deletes leaves.
    std::int16_t _get_bDeleteLeaves() const { return bDeleteLeaves; }
    /// \param b non-zero to delete leaves on removal.
    void _set_bDeleteLeaves(std::int16_t b) { bDeleteLeaves = b; }

    /// \return the pool of strings whose buffers serve as keys, shared by all trees.
    static CrDictionary* _get_pcrdctStringKeys() { return pcrdctStringKeys; }

protected:
    /// Links a new leaf into the chain beside its parent, its neighbour in key
    /// order, so the chain needs no search.
    /// \param plfNew the new leaf.
    /// \param plfPos its parent.
    virtual void ListInsert(Leaf* plfNew, Leaf* plfPos);
    /// Unlinks a leaf from the chain.
    /// \param plf the leaf.
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

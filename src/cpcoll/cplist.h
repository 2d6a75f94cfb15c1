// The doubly linked list of untyped elements, with its own cursor, a reset
// point and a peek pointer for parsers that must back up; its position
// object; and CPHashTable, a list that carries a reserved table and no hash.
#pragma once

#include <cpcoll/cpcollec.h>
#include <cpcoll/iterate.h>
#include <platform/export.h>

#include <array>
#include <cstdint>

class CPList;

// A position in a list: a bucket, with a reset point and a peek pointer of
// its own and the index of the cursor where known (-1 where not).
class SORVANE_API ListIterationState : public IterationState {
public:
    explicit ListIterationState(CPCollection* pcl) : IterationState(pcl) {}
    // A copy is a new position at the same place, held by nobody yet.
    ListIterationState(ListIterationState const& other)
        : Createable(), IterationState(other), pbktResetPoint(other.pbktResetPoint),
          pbktCursor(other.pbktCursor), pbktGot(other.pbktGot), pbktPeek(other.pbktPeek),
          nDXCursor(other.nDXCursor) {}
    // The same place, in another list that shares the buckets.
    ListIterationState(CPCollection* pcl, ListIterationState const& other)
        : ListIterationState(other) {
        pclAssociated = pcl;
    }
    ListIterationState& operator=(ListIterationState const& other);
    ~ListIterationState() override = default;

    short vgotoTop() override;
    short vgotoBottom() override;
    // Walks only forward from a known index: a target behind it runs off the
    // end and leaves the cursor null.
    short vgotoIDX(std::uint32_t n) override;
    short vgotoNext() override;
    short vgotoPrev() override;
    void* vretrieve() override;
    CPInternalContainer* vretrieveInternalContainer() override;

    void* peek();
    void setResetPoint() { pbktResetPoint = pbktCursor; }
    void clearResetPoint() {
        pbktResetPoint = nullptr;
        nDXCursor = -1;
    }
    void gotoResetPoint();
    // Where a scan from the top that stops at pbkt (null: that ran off the
    // end) leaves the position.
    void settleScan(CPBucket* pbkt);
    CPBucket* getPredecessor(CPBucket* pbkt) const;
    CPBucket* _get_pbktCursor() const { return pbktCursor; }
    CPBucket* I_get_pbktGot() const { return pbktGot; }
    std::int32_t _get_nDXCursor() const { return nDXCursor; }

private:
    CPList* List() const;

    CPBucket* pbktResetPoint = nullptr;
    CPBucket* pbktCursor = nullptr;
    CPBucket* pbktGot = nullptr;
    CPBucket* pbktPeek = nullptr;
    std::int32_t nDXCursor = 0;
};

class SORVANE_API CPList : public CPFlatCollection {
public:
    CPList();
    // A copy aliases the source's buckets and takes a reference on each, so
    // that the two may be destroyed in any order as long as neither changes
    // its chain in between.
    CPList(CPList const& other);
    CPList& operator=(CPList const& other);
    ~CPList() override;

    CPCollection* CreateInstance() override;
    IterationState* CreateIterationState() override;

    // Cursor.
    // Final and inline, so that a walk of a list known as such costs no call.
    void GotoTop() final {
        pbktCursor = pbktHead;
        nDXCursor = 0;
        pbktPeek = nullptr;
        StartPath();
    }
    void GotoBottom() final {
        pbktCursor = pbktTail;
        nDXCursor = static_cast<std::int32_t>(nLength - 1);
        pbktPeek = nullptr;
        bCursorOnPath = false;
    }
    // At the tail the cursor runs off to null, where it stays.
    std::int32_t Next() final {
        nDXCursor = -1;
        if (pbktCursor == pbktTail)
            pbktCursor = nullptr;
        else if (pbktCursor != nullptr)
            pbktCursor = pbktCursor->_get_pbktNext();
        return pbktCursor != nullptr ? 1 : 0;
    }
    std::int32_t Prev() final {
        nDXCursor = -1;
        if (pbktCursor == nullptr || pbktCursor == pbktHead) {
            pbktCursor = nullptr;
            return 0;
        }
        pbktCursor = pbktCursor->_get_pbktPrev();
        return pbktCursor != nullptr ? 1 : 0;
    }
    void* Retrieve() final {
        pbktGot = pbktCursor;
        return pbktCursor != nullptr ? pbktCursor->_get_pvData() : nullptr;
    }
    // Constant per step for indexes read in order: the known index is kept
    // across the steps, which forget it.
    void* RetrieveIDX(std::uint32_t n) final {
        if (n >= nLength) return nullptr;
        // The next index in order, the common case, is one step on.
        if (nDXCursor != -1 && n == static_cast<std::uint32_t>(nDXCursor) + 1 &&
            pbktCursor != nullptr && pbktCursor != pbktTail) {
            CPBucket* const pbktFrom = pbktCursor;
            pbktCursor = pbktFrom->_get_pbktNext();
            KeepToPath(pbktFrom);
            nDXCursor = static_cast<std::int32_t>(n);
            return Retrieve();
        }
        return WalkToIDX(n);
    }
    // A negative index counts from the end.
    void* operator[](int n);
    CPBucket* RetrieveBucket() {
        pbktGot = pbktCursor;
        return pbktCursor;
    }
    void* Peek();
    void* PeekNext();
    void* Get();
    void SetResetPoint() { pbktResetPoint = pbktCursor; }
    void ClearResetPoint() {
        pbktResetPoint = nullptr;
        nDXCursor = -1;
    }
    void GotoResetPoint();
    CPBucket* GetPredecessor(CPBucket* pbkt) const;

    // For a caller that already knows where a search ends (a keyed index
    // kept beside the list): these leave the list exactly as the search
    // would. After GotoTop and RetrieveIDX from 0 up to n, with pbkt the
    // bucket at index n:
    void SettleIndexedRead(CPBucket* pbkt, std::uint32_t n) {
        pbktPeek = nullptr;
        pbktCursor = pbkt;
        pbktGot = pbkt;
        nDXCursor = static_cast<std::int32_t>(n);
        bCursorOnPath = false;
    }
    // After FirstThat whose condition first holds for pbktMatch (null: for
    // none); answers what FirstThat would.
    void* SettleFirstThat(CPBucket* pbktMatch);
    // Detach of the element in pbkt, a bucket of this list, without the
    // search: the list ends as Detach leaves it.
    char DetachKnownBucket(CPBucket* pbkt);

    CPBucket* _get_pbktCursor() const { return pbktCursor; }
    // Leaves the index alone.
    void _set_pbktCursor(CPBucket* pbkt) {
        pbktCursor = pbkt;
        bCursorOnPath = false;
    }
    CPBucket* _get_pbktHead() const { return pbktHead; }
    // An end set by hand may bring buckets of another list.
    void _set_pbktHead(CPBucket* pbkt) {
        pbktHead = pbkt;
        TakeForeignBuckets();
    }
    CPBucket* _get_pbktTail() const { return pbktTail; }
    void _set_pbktTail(CPBucket* pbkt) {
        pbktTail = pbkt;
        TakeForeignBuckets();
    }
    CPBucket* _get_pbktGot() const { return pbktGot; }
    std::int32_t _get_nDXCursor() const { return nDXCursor; }

    // Counts the changes of the list's buckets and their links made by the
    // list itself. What was learnt of the links stays true while this and
    // CPBucket::_get_nLinksSetFromOutside() stay as they were, unless the
    // list shares buckets with another (a copy, buckets taken by AddBucket or
    // an end set by hand), whose changes it can't see.
    std::uint32_t _get_nEdits() const { return nEdits; }
    bool _get_bSharesBuckets() const { return bSharesBuckets; }

    // Adding. None moves the cursor unless it says so.
    void Add(void* pv) final;
    void Intern(void* pv);
    // Before the cursor; a null cursor counts as the head.
    int Insert(void* pv);
    int InsertAfter(void* pv);
    // The caller links the bucket; the list only takes it into its count.
    void AddBucket(CPBucket* pbktA);
    void AddInternalContainer(CPInternalContainer* pic) override;

    // Removing. Nodes go, elements stay unless a kill function is given.
    char Detach(void* pv) override;
    // Releases a bucket already counted out by the caller.
    void DetachBucket(void* pvBucket2Kill);
    void UnlinkBucket(CPBucket* pbkt);
    void UnlinkTopBucket();
    void* RetrieveAndDetachTop();
    char DetachAll() override;
    char Destroy(void* pv, pfnKillFunc pfnKill) override;
    char DestroyAll(pfnKillFunc pfnKill) override;
    // Keeps the elements the condition accepts. The count is left as it
    // was, too high by the number detached.
    void DetachAllThat(pfnCondFunc pfnCond, void* pvUser);

    // Searching. Each search moves the cursor.
    CPBucket* FindBucket(void* pvItem2Find);
    short Exists(void* pv);
    void* FirstThat(pfnCondFunc pfnCond, void* pvUser) override;
    // Only after FirstThat, with no change to the list in between.
    void* NextThat(pfnCondFunc pfnCond, void* pvUser) override;
    void* FirstThat(IteratorAction* pia);
    void* NextThat(IteratorAction* pia);
    CPBucket* FirstInternalContainerThat(pfnCondFunc pfnCond, void* pvUser);
    // Only conditions that answer exactly 1 select.
    CPCollection* AllThat(pfnCondFunc pfnCond, void* pvUser) override;
    // Through an iterator of its own: leaves the cursor alone and may nest.
    void ForEach(pfnKillFunc pfn, void* pvUser) override;
    void ForEach(IteratorAction* pia) override;

protected:
    void InitPointers();

private:
    // The walk DetachAll releases: from the head, at most Length() buckets.
    template <class F> void ForOwnBuckets(F f);
    void* WalkToIDX(std::uint32_t n);
    void* JumpOnPath(std::uint32_t n);

    // A change of the list's own buckets or links; one made on shared
    // buckets also counts for the others' sake.
    void NoteEdit() {
        ++nEdits;
        if (bSharesBuckets) CPBucket::NoteLinksSetFromOutside();
    }
    void TakeForeignBuckets() {
        bSharesBuckets = true;
        bCursorOnPath = false;
        NoteEdit();
    }

    // The path: the buckets from the head to the cursor, reached by
    // nDXCursor steps of Next, each the next one's predecessor and none
    // after the first the head, with no link changed since. On it a walk back
    // by Prev retraces the steps, so a read behind the cursor can take the
    // shorter way to where that walk would land.
    void StartPath() {
        bCursorOnPath = true;
        nPathEdits = nEdits;
        nPathLinksSetFromOutside = CPBucket::_get_nLinksSetFromOutside();
    }
    void KeepToPath(CPBucket const* pbktFrom) {
        if (pbktCursor == nullptr || pbktCursor->_get_pbktPrev() != pbktFrom ||
            pbktCursor == pbktHead)
            bCursorOnPath = false;
    }
    bool CursorOnPath() const {
        return bCursorOnPath && !bSharesBuckets && nPathEdits == nEdits &&
               nPathLinksSetFromOutside == CPBucket::_get_nLinksSetFromOutside();
    }
    CPBucket* NewBucket(void* pv);
    ListIterationState* FreshInternalState();
    void FollowInternalState(CPList const& other);

    CPBucket* pbktHead = nullptr;
    CPBucket* pbktTail = nullptr;
    CPBucket* pbktResetPoint = nullptr;
    CPBucket* pbktCursor = nullptr;
    CPBucket* pbktGot = nullptr;
    CPBucket* pbktPeek = nullptr;
    std::int32_t nDXCursor = -1;
    Iterator iterInternal;
    CPBucket* pbktPrevFound = nullptr;
    CPBucket* pbktFound = nullptr;
    std::uint32_t nEdits = 0;
    bool bSharesBuckets = false;
    // Whether the cursor is on the path (above), as of the two counts; read
    // only while nDXCursor is known.
    bool bCursorOnPath = false;
    std::uint32_t nPathEdits = 0;
    std::uint32_t nPathLinksSetFromOutside = 0;
};

// A list with a table of 256 two-word entries reserved for a hash that was
// never written: elements go to the end like in any list.
class SORVANE_API CPHashTable : public CPList {
public:
    using Entry = std::array<std::uint32_t, 2>;

    CPHashTable() = default;
    CPHashTable(CPHashTable const& other) = default;
    CPHashTable& operator=(CPHashTable const& other) = default;
    ~CPHashTable() override = default;

    CPCollection* CreateInstance() override;
    IterationState* CreateIterationState() override;
    void AddInternalContainer(CPInternalContainer* pic) override;

    Entry const& _get_Entry(std::uint8_t n) const { return arTable[n]; }

private:
    std::array<Entry, 256> arTable{};
};

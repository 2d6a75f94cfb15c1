/// \file
/// The doubly linked list of untyped elements, with its own cursor, a reset
/// point and a peek pointer for parsers that must back up; its position
/// object; and CPHashTable, a list that carries a reserved table and no hash.
#pragma once

#include <cpcoll/cpcollec.h>
#include <cpcoll/iterate.h>
#include <platform/export.h>

#include <array>
#include <cstdint>
#include <vector>

class CPList;

/// \brief A position in a list: a bucket, with a reset point and a peek
/// pointer of its own and the index of the cursor where known (-1 where not).
class SORVANE_API ListIterationState : public IterationState {
public:
    /// \param pcl the list, which must outlive the position.
    explicit ListIterationState(CPCollection* pcl) : IterationState(pcl) {}
    /// A copy is a new position at the same place, held by nobody yet.
    /// \param other the position copied.
    ListIterationState(ListIterationState const& other)
        : Createable(), IterationState(other), pbktResetPoint(other.pbktResetPoint),
          pbktCursor(other.pbktCursor), pbktGot(other.pbktGot), pbktPeek(other.pbktPeek),
          nDXCursor(other.nDXCursor) {}
    /// The same place, in another list that shares the buckets.
    /// \param pcl the other list.
    /// \param other the position copied.
    ListIterationState(CPCollection* pcl, ListIterationState const& other)
        : ListIterationState(other) {
        pclAssociated = pcl;
    }
    /// Takes the other's place.
    /// \param other the position copied.
    /// \return this position.
    ListIterationState& operator=(ListIterationState const& other);
    ~ListIterationState() override = default;

    short vgotoTop() override;
    short vgotoBottom() override;
    /// Walks only forward from a known index: a target behind it runs off the
    /// end and leaves the cursor null.
    /// \param n the index, from 0.
    /// \return non-zero when there is such an element.
    short vgotoIDX(std::uint32_t n) override;
    short vgotoNext() override;
    short vgotoPrev() override;
    void* vretrieve() override;
    CPInternalContainer* vretrieveInternalContainer() override;

    /// \return the element after the position, or null; the position stays.
    void* peek();
    /// Makes the position the reset point.
    void setResetPoint() { pbktResetPoint = pbktCursor; }
    /// Forgets the reset point and the known index.
    void clearResetPoint() {
        pbktResetPoint = nullptr;
        nDXCursor = -1;
    }
    /// Goes back to the reset point.
    void gotoResetPoint();
    /// Where a scan from the top that stops at a bucket leaves the position.
    /// \param pbkt the bucket it stopped at; null when it ran off the end.
    void settleScan(CPBucket* pbkt);
    /// \param pbkt a bucket of the list.
    /// \return the bucket before it, or null.
    CPBucket* getPredecessor(CPBucket* pbkt) const;
    /// \return the bucket at the position, or null.
    CPBucket* _get_pbktCursor() const { return pbktCursor; }
    /// \return the bucket of the last retrieve, or null.
    CPBucket* I_get_pbktGot() const { return pbktGot; }
    /// \return the index of the position, or -1 where not known.
    std::int32_t _get_nDXCursor() const { return nDXCursor; }

private:
    CPList* List() const;

    CPBucket* pbktResetPoint = nullptr;
    CPBucket* pbktCursor = nullptr;
    CPBucket* pbktGot = nullptr;
    CPBucket* pbktPeek = nullptr;
    std::int32_t nDXCursor = 0;
};

/// \brief The doubly linked list of untyped elements, with its own cursor, a
/// reset point and a peek pointer for parsers that must back up.
///
/// Adding moves no cursor unless it says so; removing drops nodes and keeps
/// elements unless a kill function is given.
class SORVANE_API CPList : public CPFlatCollection {
public:
    CPList();
    /// A copy aliases the source's buckets and takes a reference on each, so
    /// that the two may be destroyed in any order as long as neither changes its
    /// chain in between.
    /// \param other the list copied.
    CPList(CPList const& other);
    /// Aliases the other's buckets, as the copy constructor.
    /// \param other the list copied.
    /// \return this list.
    CPList& operator=(CPList const& other);
    /// Releases the buckets; the elements stay.
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
    /// Steps the cursor forward; at the tail it runs off to null, where it stays.
    /// \return 1 while it is on an element.
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
    /// The element at an index, moving the cursor there. Constant per step for
    /// indexes read in order.
    /// \param n the index, from 0.
    /// \return the element, or null past the end.
    void* RetrieveIDX(std::uint32_t n) final {
        if (n >= nLength) return nullptr;
        // On the path, both ways of walking land on the path's bucket.
        if (nDXCursor != -1 && n < vecPath.size() && CursorOnPath()) {
            PathStep const step = vecPath[n];
            pbktCursor = pbktGot = step.pbkt;
            nDXCursor = static_cast<std::int32_t>(n);
            return step.pv;
        }
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
    /// The element at an index; a negative index counts from the end.
    /// \param n the index.
    /// \return the element, or null.
    void* operator[](int n);
    /// \return the bucket at the cursor, or null.
    CPBucket* RetrieveBucket() {
        pbktGot = pbktCursor;
        return pbktCursor;
    }
    /// Sets the peek pointer at the cursor.
    /// \return the element there, or null.
    void* Peek();
    /// Moves the peek pointer on, leaving the cursor; the first call after
    /// the cursor moved peeks at the cursor.
    /// \return the element there, or null past the tail.
    void* PeekNext();
    /// Retrieves the element at the cursor and steps past it.
    /// \return the element, or null.
    void* Get();
    /// Makes the cursor's place the reset point.
    void SetResetPoint() { pbktResetPoint = pbktCursor; }
    /// Forgets the reset point and the known index.
    void ClearResetPoint() {
        pbktResetPoint = nullptr;
        nDXCursor = -1;
    }
    /// Moves the cursor back to the reset point.
    void GotoResetPoint();
    /// \param pbkt a bucket of the list.
    /// \return the bucket before it, or null.
    CPBucket* GetPredecessor(CPBucket* pbkt) const;

    /// For a caller that already knows where a search ends (a keyed index kept
    /// beside the list): leaves the list exactly as GotoTop() and RetrieveIDX()
    /// from 0 up to n would.
    /// \param pbkt the bucket at index n.
    /// \param n the index.
    void SettleIndexedRead(CPBucket* pbkt, std::uint32_t n) {
        pbktPeek = nullptr;
        pbktCursor = pbkt;
        pbktGot = pbkt;
        nDXCursor = static_cast<std::int32_t>(n);
        bCursorOnPath = false;
    }
    /// Leaves the list as FirstThat() would, whose condition first holds for a
    /// known bucket.
    /// \param pbktMatch that bucket; null when it holds for none.
    /// \return what FirstThat() would.
    void* SettleFirstThat(CPBucket* pbktMatch);
    /// Detaches the element in a bucket of this list without the search: the
    /// list ends as Detach() leaves it.
    /// \param pbkt the bucket.
    /// \return as Detach().
    char DetachKnownBucket(CPBucket* pbkt);

    /// \return the bucket at the cursor, or null.
    CPBucket* _get_pbktCursor() const { return pbktCursor; }
    /// Moves the cursor; the known index is left alone.
    /// \param pbkt a bucket of the list, or null.
    void _set_pbktCursor(CPBucket* pbkt) {
        pbktCursor = pbkt;
        bCursorOnPath = false;
    }
    /// \return the first bucket, or null.
    CPBucket* _get_pbktHead() const { return pbktHead; }
    /// Sets the first bucket; an end set by hand may bring buckets of another
    /// list, so the list counts as sharing its buckets from then on.
    /// \param pbkt the new first bucket.
    void _set_pbktHead(CPBucket* pbkt) {
        pbktHead = pbkt;
        TakeForeignBuckets();
    }
    /// \return the last bucket, or null.
    CPBucket* _get_pbktTail() const { return pbktTail; }
    /// Sets the last bucket, as _set_pbktHead() does the first.
    /// \param pbkt the new last bucket.
    void _set_pbktTail(CPBucket* pbkt) {
        pbktTail = pbkt;
        TakeForeignBuckets();
    }
    /// \return the bucket of the last retrieve, or null.
    CPBucket* _get_pbktGot() const { return pbktGot; }
    /// \return the cursor's index, or -1 where not known.
    std::int32_t _get_nDXCursor() const { return nDXCursor; }

    /// Counts the changes of the list's buckets and their links made by the
    /// list itself. What was learnt of the links stays true while this and
    /// CPBucket::_get_nLinksSetFromOutside() stay as they were, unless the
    /// list shares buckets with another (a copy, buckets taken by AddBucket()
    /// or an end set by hand), whose changes it can't see.
    /// \return the count.
    std::uint32_t _get_nEdits() const { return nEdits; }
    /// \return whether the list shares buckets with another.
    bool _get_bSharesBuckets() const { return bSharesBuckets; }

    /// Adds an element at the end; the cursor stays.
    /// \param pv the element, not owned.
    void Add(void* pv) final;
    /// Adds an element at the end unless it is there already.
    /// \param pv the element, not owned.
    void Intern(void* pv);
    /// Inserts an element before the cursor; a null cursor counts as the head.
    /// \param pv the element, not owned.
    /// \return 1.
    int Insert(void* pv);
    /// Inserts an element after the cursor.
    /// \param pv the element, not owned.
    /// \return 1, or 0 when the cursor is null (nothing is inserted).
    int InsertAfter(void* pv);
    /// Takes a bucket into the count; the caller links it.
    /// \param pbktA the bucket.
    void AddBucket(CPBucket* pbktA);
    /// Ignored.
    /// \param pic the node.
    void AddInternalContainer(CPInternalContainer* pic) override;

    /// Removes the first bucket of an element; the element stays.
    /// \param pv the element.
    /// \return non-zero when it was there.
    char Detach(void* pv) override;
    /// Releases a bucket already counted out by the caller.
    /// \param pvBucket2Kill the bucket.
    void DetachBucket(void* pvBucket2Kill);
    /// Unlinks a bucket from the chain and counts it out.
    /// \param pbkt a bucket of the list.
    void UnlinkBucket(CPBucket* pbkt);
    /// Unlinks the first bucket and counts it out.
    void UnlinkTopBucket();
    /// Removes the first element.
    /// \return the element, or null for an empty list.
    void* RetrieveAndDetachTop();
    /// Removes every bucket; the elements stay.
    /// \return 1.
    char DetachAll() override;
    /// Removes an element and hands it to the kill function.
    /// \param pv the element.
    /// \param pfnKill disposes of it; null ends the process through the fatal check.
    /// \return 1, found or not.
    char Destroy(void* pv, pfnKillFunc pfnKill) override;
    /// Removes every element and hands each to the kill function.
    /// \param pfnKill disposes of them.
    /// \return 1.
    char DestroyAll(pfnKillFunc pfnKill) override;
    /// Detaches the elements the condition accepts. The count is left as it
    /// was, too high by the number detached.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    void DetachAllThat(pfnCondFunc pfnCond, void* pvUser);

    /// Finds the bucket of an element, moving the cursor there.
    /// \param pvItem2Find the element.
    /// \return the bucket, or null.
    CPBucket* FindBucket(void* pvItem2Find);
    /// \param pv an element.
    /// \return non-zero when the list holds it; the cursor moves.
    short Exists(void* pv);
    /// Moves the cursor to the first element that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return the element, or null.
    void* FirstThat(pfnCondFunc pfnCond, void* pvUser) override;
    /// Moves the cursor to the next element that meets the condition; only
    /// after FirstThat(), with no change to the list in between.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return the element, or null.
    void* NextThat(pfnCondFunc pfnCond, void* pvUser) override;
    /// Moves the cursor to the first element for which the action answers non-zero.
    /// \param pia the action.
    /// \return the element, or null.
    void* FirstThat(IteratorAction* pia);
    /// Moves the cursor to the next element for which the action answers non-zero.
    /// \param pia the action.
    /// \return the element, or null.
    void* NextThat(IteratorAction* pia);
    /// Moves the cursor to the first element that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return its bucket, or null.
    CPBucket* FirstInternalContainerThat(pfnCondFunc pfnCond, void* pvUser);
    /// The elements that meet the condition; only conditions that answer
    /// exactly 1 select.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return a new list with a count of 0, the caller's to delete; it shares
    ///         the elements.
    CPCollection* AllThat(pfnCondFunc pfnCond, void* pvUser) override;
    /// Calls a function on every element, through an iterator of its own: it
    /// leaves the cursor alone and may nest.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    void ForEach(pfnKillFunc pfn, void* pvUser) override;
    /// Calls the action on every element, through an iterator of its own.
    /// \param pia the action.
    void ForEach(IteratorAction* pia) override;

protected:
    /// Empties the chain's pointers and the cursor.
    void InitPointers();

private:
    // The walk DetachAll releases: from the head, at most Length() buckets.
    template <class F> void ForOwnBuckets(F f);
    void* WalkToIDX(std::uint32_t n);
    void* JumpOnPath(std::uint32_t n);
    void LearnPathToCursor();

    // A change of the list's own buckets or links; one made on shared
    // buckets also counts for the others' sake.
    void NoteEdit() {
        ++nEdits;
        bCursorOnPath = false;
        if (bSharesBuckets) CPBucket::NoteLinksSetFromOutside();
    }
    void TakeForeignBuckets() {
        bSharesBuckets = true;
        NoteEdit();
    }

    // The path: the buckets from the head to the cursor, reached by
    // nDXCursor steps of Next, each the next one's predecessor and none
    // after the first the head, with no link or element changed since. On it
    // a walk back by Prev retraces the steps, so a read behind the cursor
    // lands on the path's bucket, and so does a read ahead that stays within
    // the path's buckets learnt so far (vecPath, taken at the first read back
    // and valid while the two counts stay as they were). A list that shares
    // its buckets can't see their changes and has no path.
    void StartPath() {
        bCursorOnPath = !bSharesBuckets;
        std::uint32_t const nLinks = CPBucket::_get_nLinksSetFromOutside();
        if (nPathEdits == nEdits && nPathLinksSetFromOutside == nLinks) return;
        vecPath.clear();
        nPathEdits = nEdits;
        nPathLinksSetFromOutside = nLinks;
    }
    void KeepToPath(CPBucket const* pbktFrom) {
        if (pbktCursor == nullptr || pbktCursor->_get_pbktPrev() != pbktFrom ||
            pbktCursor == pbktHead)
            bCursorOnPath = false;
    }
    // Any edit of the list's own leaves the path (NoteEdit).
    bool CursorOnPath() const {
        return bCursorOnPath && nPathLinksSetFromOutside == CPBucket::_get_nLinksSetFromOutside();
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
    // Whether the cursor is on the path (above), as of the count of links
    // set from outside; read only while nDXCursor is known.
    bool bCursorOnPath = false;
    // The two counts as of the path's start.
    std::uint32_t nPathEdits = 0;
    std::uint32_t nPathLinksSetFromOutside = 0;
    // The path's buckets by index, and their elements, as far as learnt.
    struct PathStep {
        CPBucket* pbkt;
        void* pv;
    };
    std::vector<PathStep> vecPath;
};

/// \brief A list with a table of 256 two-word entries reserved for a hash that
/// was never written: elements go to the end like in any list.
class SORVANE_API CPHashTable : public CPList {
public:
    /// One entry of the reserved table.
    using Entry = std::array<std::uint32_t, 2>;

    CPHashTable() = default;
    /// \param other the table copied, as CPList(CPList const&).
    CPHashTable(CPHashTable const& other) = default;
    /// \param other the table copied.
    /// \return this table.
    CPHashTable& operator=(CPHashTable const& other) = default;
    ~CPHashTable() override = default;

    CPCollection* CreateInstance() override;
    IterationState* CreateIterationState() override;
    void AddInternalContainer(CPInternalContainer* pic) override;

    /// \param n the entry's index.
    /// \return the entry, always zero.
    Entry const& _get_Entry(std::uint8_t n) const { return arTable[n]; }

private:
    std::array<Entry, 256> arTable{};
};

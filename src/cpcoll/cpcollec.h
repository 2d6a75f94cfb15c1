/// \file
/// The bases of the collections: what every collection shares (its count, its
/// transaction number, the virtual interface the iterators and the reference
/// collections rely on), what unkeyed sequences add, what keyed collections
/// add, and the nodes that wrap one element.
///
/// A collection owns its nodes and never its elements: elements leave only
/// through a kill function that the caller hands in.
#pragma once

#include <cpcoll/iterate.h>
#include <platform/export.h>
#include <util/createable.h>

#include <atomic>
#include <cstdint>

class CPString;

/// A collection's kill function: called with the element first and always
/// null second; it disposes of the element.
using pfnKillFunc = void (*)(void* pvItem, void* pvUser);
/// A condition on an element: non-zero means a match.
using pfnCondFunc = int (*)(void* pvItem, void* pvUser);
/// A comparison as qsort takes it.
using pfnCompareFunc = int (*)(void const*, void const*);

/// \brief The node that wraps one element.
class SORVANE_API CPInternalContainer : public virtual Createable {
public:
    CPInternalContainer() = default;
    ~CPInternalContainer() override = default;

    /// \return the element.
    void* _get_pvTheData() const { return pvTheData; }
    /// Sets the element, counted as a change from outside (see
    /// CPBucket::_get_nLinksSetFromOutside()).
    /// \param pv the element, not owned.
    void _set_pvTheData(void* pv);

protected:
    /// The element.
    void* pvTheData = nullptr;
};

/// \brief The node of a list. Counted: each list it is linked into holds one
/// reference, so that lists may share buckets.
class SORVANE_API CPBucket : public CPInternalContainer {
public:
    CPBucket() = default;
    /// A copy holds the same element and links.
    /// \param other the bucket copied.
    CPBucket(CPBucket const& other) = default;
    /// Takes the other's element and links: counted as links set from outside.
    /// \param other the bucket copied.
    /// \return this bucket.
    CPBucket& operator=(CPBucket const& other) {
        CPInternalContainer::operator=(other);
        pbktNext = other.pbktNext;
        pbktPrev = other.pbktPrev;
        NoteLinksSetFromOutside();
        return *this;
    }
    ~CPBucket() override = default;

    /// \return the next node, or null.
    CPBucket* _get_pbktNext() const { return pbktNext; }
    /// \param pbkt the next node; counted as a link set from outside.
    void _set_pbktNext(CPBucket* pbkt) {
        pbktNext = pbkt;
        NoteLinksSetFromOutside();
    }
    /// \return the previous node, or null.
    CPBucket* _get_pbktPrev() const { return pbktPrev; }
    /// \param pbkt the previous node; counted as a link set from outside.
    void _set_pbktPrev(CPBucket* pbkt) {
        pbktPrev = pbkt;
        NoteLinksSetFromOutside();
    }
    /// \return the element.
    void* _get_pvData() const { return pvTheData; }
    /// \param pv the element, not owned; counted as a change from outside.
    void _set_pvData(void* pv) { _set_pvTheData(pv); }

    /// Counts, for the whole process, the links and elements set other than by
    /// a list on buckets of its own: by the setters above, or by a list that
    /// shares its buckets with another. A list trusts what it learnt of its
    /// buckets (the path of its in-order reads, a dictionary's index of a
    /// chain) only while this and its own count of changes stay as they were.
    /// \return the count.
    static std::uint32_t _get_nLinksSetFromOutside() {
        return nLinksSetFromOutside.load(std::memory_order_relaxed);
    }
    /// Adds one to the count of links set from outside.
    static void NoteLinksSetFromOutside() {
        nLinksSetFromOutside.fetch_add(1, std::memory_order_relaxed);
    }

private:
    friend class CPList;

    // A list's own linking and the element of its new bucket, counted by the
    // list.
    void SetData(void* pv) { pvTheData = pv; }
    void LinkNext(CPBucket* pbkt) { pbktNext = pbkt; }
    void LinkPrev(CPBucket* pbkt) { pbktPrev = pbkt; }

    CPBucket* pbktNext = nullptr;
    CPBucket* pbktPrev = nullptr;

    static std::atomic<std::uint32_t> nLinksSetFromOutside;
};

/// \brief What every collection shares: its count, its transaction number,
/// and the virtual interface the iterators and the counted collections rely on.
///
/// A collection owns its nodes and never its elements: elements leave only
/// through a kill function that the caller hands in.
class SORVANE_API CPCollection : public Iterable {
public:
    /// Which family of the generic facade a collection has been used through.
    enum : std::int8_t {
        /// Not used yet.
        keyKindNone = 0,
        /// Pointer keys.
        keyKindPointer = 1,
        /// Number keys.
        keyKindNumber = 2,
        /// Text keys.
        keyKindString = 3,
        /// No keys.
        keyKindPlain = 4,
    };

    CPCollection() = default;
    /// Copies take the fields, not the contents.
    /// \param other the collection copied.
    CPCollection(CPCollection const& other) = default;
    /// Takes the fields, not the contents.
    /// \param other the collection copied.
    /// \return this collection.
    CPCollection& operator=(CPCollection const& other) = default;
    ~CPCollection() override = default;

    /// \return a new empty collection of the same class, which the caller owns (count 0).
    virtual CPCollection* CreateInstance() = 0;

    /// A slot of the generic facade; every concrete collection keeps it as a
    /// stub, so that the facade stores nothing.
    /// \param pv the element.
    /// \param pvKey the key.
    /// \return 0.
    virtual short vadd(void* pv, void* pvKey);
    /// A stub slot of the generic facade.
    /// \param pv the element.
    /// \param pstrKey the key.
    /// \return 0.
    virtual short vadd(void* pv, CPString* pstrKey);
    /// A stub slot of the generic facade.
    /// \param pv the element.
    /// \param szKey the key.
    /// \return 0.
    virtual short vadd(void* pv, char const* szKey);
    /// A stub slot of the generic facade.
    /// \param pv the element.
    /// \param nKey the key.
    /// \return 0.
    virtual short vadd(void* pv, std::int32_t nKey);
    /// A stub slot of the generic facade.
    /// \param pv the element.
    /// \return 0.
    virtual short vadd(void* pv);
    /// A stub slot of the generic facade.
    /// \param pvProbe the element.
    /// \return null.
    virtual void* vremoveByProbe(void* pvProbe);
    /// A stub slot of the generic facade.
    /// \param pvKey the key.
    /// \return null.
    virtual void* vremove(void* pvKey);
    /// A stub slot of the generic facade.
    /// \param pstrKey the key.
    /// \return null.
    virtual void* vremove(CPString* pstrKey);
    /// A stub slot of the generic facade.
    /// \param szKey the key.
    /// \return null.
    virtual void* vremove(char const* szKey);
    /// A stub slot of the generic facade.
    /// \param nKey the key.
    /// \return null.
    virtual void* vremove(std::int32_t nKey);
    /// A stub slot of the generic facade.
    /// \param pvKey the key.
    /// \return null.
    virtual void* vfind(void* pvKey);
    /// A stub slot of the generic facade.
    /// \param pstrKey the key.
    /// \return null.
    virtual void* vfind(CPString* pstrKey);
    /// A stub slot of the generic facade.
    /// \param szKey the key.
    /// \return null.
    virtual void* vfind(char const* szKey);
    /// A stub slot of the generic facade.
    /// \param nKey the key.
    /// \return null.
    virtual void* vfind(std::int32_t nKey);

    /// Calls the action object on every element, with the collection's own cursor.
    /// \param pia the action; its fields are filled before each call.
    virtual void ForEach(IteratorAction* pia);
    /// Calls a function on every element, with the collection's own cursor.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    virtual void ForEach(pfnKillFunc pfn, void* pvUser);
    /// Moves the collection's cursor to the first element that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return the element, or null.
    virtual void* FirstThat(pfnCondFunc pfnCond, void* pvUser);
    /// Moves the collection's cursor to the next element that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return the element, or null.
    virtual void* NextThat(pfnCondFunc pfnCond, void* pvUser);
    /// The elements that meet the condition.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return a new collection with a count of 0, the caller's to delete; it
    ///         shares the elements, which it does not own.
    virtual CPCollection* AllThat(pfnCondFunc pfnCond, void* pvUser) = 0;

    /// Adds an element (at the end of a sequence).
    /// \param pv the element, not owned.
    virtual void Add(void* pv) = 0;
    /// Adds a node; every collection ignores it.
    /// \param pic the node.
    virtual void AddInternalContainer(CPInternalContainer* pic) = 0;
    /// Removes an element and hands it to the kill function.
    /// \param pv the element.
    /// \param pfnKill disposes of it.
    /// \return non-zero when it was there.
    virtual char Destroy(void* pv, pfnKillFunc pfnKill) = 0;
    /// \param n an index, from 0.
    /// \return the element there, or null.
    virtual void* RetrieveIDX(std::uint32_t n) = 0;
    /// Removes an element without disposing of it.
    /// \param pv the element.
    /// \return non-zero when it was there.
    virtual char Detach(void* pv) = 0;
    /// Removes every element without disposing of any.
    /// \return non-zero.
    virtual char DetachAll() = 0;
    /// Removes every element and hands each to the kill function.
    /// \param pfnKill disposes of them.
    /// \return non-zero.
    virtual char DestroyAll(pfnKillFunc pfnKill) = 0;

    /// Moves the collection's cursor to the first element.
    virtual void GotoTop() = 0;
    /// Moves the collection's cursor to the last element.
    virtual void GotoBottom() = 0;
    /// Steps the collection's cursor forward.
    /// \return non-zero while it is on an element.
    virtual std::int32_t Next() = 0;
    /// Steps the collection's cursor back.
    /// \return non-zero while it is on an element.
    virtual std::int32_t Prev() = 0;
    /// \return the element at the collection's cursor, or null.
    virtual void* Retrieve() = 0;

    /// The elements in cursor order, up to the first null one.
    /// \return a new vector the caller frees with delete[]; null for an empty collection.
    virtual void** BuildVector();

    /// \return the number of elements.
    std::uint32_t Length() const { return nLength; }
    /// \return 1 when the collection is empty.
    char IsMT() const { return nLength == 0 ? 1 : 0; }
    /// \return the transaction number, raised by every change of the count.
    std::int16_t _get_nXACT() const { return nXACT; }
    /// \return the facade family used so far, a keyKind value.
    std::int8_t _get_nKeyKind() const { return nKeyKind; }

    /// The generic facade: the first family used fixes the kind, and the others
    /// then answer 0 or null without reaching the collection.
    /// \param pv the element.
    /// \param pvKey the key.
    /// \return the slot's answer, or 0.
    short add(void* pv, void* pvKey);
    /// The generic facade's add with a number key.
    /// \param pv the element.
    /// \param nKey the key.
    /// \return the slot's answer, or 0.
    short add(void* pv, std::int32_t nKey);
    /// The generic facade's add with a text key.
    /// \param pv the element.
    /// \param szKey the key.
    /// \return the slot's answer, or 0.
    short add(void* pv, char const* szKey);
    /// The generic facade's add with a string key.
    /// \param pv the element.
    /// \param pstrKey the key.
    /// \return the slot's answer, or 0.
    short add(void* pv, CPString* pstrKey);
    /// The generic facade's add without a key.
    /// \param pv the element.
    /// \return the slot's answer, or 0.
    short add(void* pv);
    /// The generic facade's remove of an element.
    /// \param pvProbe the element.
    /// \return the slot's answer, or null.
    void* removeByProbe(void* pvProbe);
    /// The generic facade's remove by pointer key.
    /// \param pvKey the key.
    /// \return the slot's answer, or null.
    void* remove(void* pvKey);
    /// The generic facade's remove by number key.
    /// \param nKey the key.
    /// \return the slot's answer, or null.
    void* remove(std::int32_t nKey);
    /// The generic facade's remove by text key.
    /// \param szKey the key.
    /// \return the slot's answer, or null.
    void* remove(char const* szKey);
    /// The generic facade's remove by string key.
    /// \param pstrKey the key.
    /// \return the slot's answer, or null.
    void* remove(CPString* pstrKey);
    /// The generic facade's find by pointer key.
    /// \param pvKey the key.
    /// \return the slot's answer, or null.
    void* find(void* pvKey);
    /// The generic facade's find by number key.
    /// \param nKey the key.
    /// \return the slot's answer, or null.
    void* find(std::int32_t nKey);
    /// The generic facade's find by text key.
    /// \param szKey the key.
    /// \return the slot's answer, or null.
    void* find(char const* szKey);
    /// The generic facade's find by string key.
    /// \param pstrKey the key.
    /// \return the slot's answer, or null.
    void* find(CPString* pstrKey);

    /// Adds the source's elements (shared, not copied) when this is empty.
    /// \param pclFrom the source.
    void CopyFrom(CPCollection* pclFrom);
    /// Walks the source's own cursor and adds each element here, up to the
    /// first null one.
    /// \param pclFrom the source.
    void AddFrom(CPCollection* pclFrom);

protected:
    /// Counts one more element and raises the transaction number; with the two
    /// below, the only ways a count changes, and so the whole of the
    /// invalidation of iteration states.
    /// \return the new count.
    std::uint32_t IncrementLength() {
        ++nXACT;
        return ++nLength;
    }
    /// Counts one element less and raises the transaction number. On an empty
    /// collection it ends the process through the fatal check.
    /// \return the new count.
    std::uint32_t DecrementLength() {
        if (nLength == 0) ReportEmpty();
        ++nXACT;
        return --nLength;
    }
    /// Counts no elements and raises the transaction number.
    void ClearLength() {
        ++nXACT;
        nLength = 0;
    }

    /// The transaction number.
    std::int16_t nXACT = 0;
    /// The number of elements.
    std::uint32_t nLength = 0;
    /// The facade family used so far.
    std::int8_t nKeyKind = keyKindNone;

private:
    bool TakeKind(std::int8_t kind);
    // Reports "nLength >0".
    void ReportEmpty() const;
};

/// \brief What unkeyed sequences add to a collection: building from a vector
/// and sorting.
class SORVANE_API CPFlatCollection : public CPCollection {
public:
    CPFlatCollection() = default;
    /// \param other the collection copied (its fields).
    CPFlatCollection(CPFlatCollection const& other) = default;
    /// \param other the collection copied (its fields).
    /// \return this collection.
    CPFlatCollection& operator=(CPFlatCollection const& other) = default;
    ~CPFlatCollection() override = default;

    /// Adds the n entries in order, only into an empty collection.
    /// \param ppv the entries.
    /// \param n their count.
    virtual void BuildFromVector(void** ppv, std::uint32_t n);
    /// Sorts the elements; equal elements have no fixed order.
    /// \param pfnCompare receives pointers to the element pointers.
    virtual void Sort(pfnCompareFunc pfnCompare);

    /// Meant to fill this collection with the source's elements in order, but
    /// it runs only when this one is not empty, where adding from a vector does
    /// nothing.
    /// \param pcollFrom the source.
    /// \param pfnCompare the order.
    void SortedCopy(CPCollection* pcollFrom, pfnCompareFunc pfnCompare);
};

/// \brief What keyed collections add: elements under number or text keys.
///
/// Number keys are pointer-sized: collections of objects are keyed by the
/// objects' addresses. A hash given with a text key is a precomputed one
/// (null: the text is hashed).
class SORVANE_API CPKeyedCollection : public CPCollection {
public:
    CPKeyedCollection() = default;
    /// \param other the collection copied (its fields).
    CPKeyedCollection(CPKeyedCollection const& other) = default;
    /// \param other the collection copied (its fields).
    /// \return this collection.
    CPKeyedCollection& operator=(CPKeyedCollection const& other) = default;
    ~CPKeyedCollection() override = default;

    /// Adds an element under a number key.
    /// \param nKey the key.
    /// \param pv the element, not owned.
    virtual void AddKeyNum(std::uintptr_t nKey, void* pv) = 0;
    /// Adds an element under a text key.
    /// \param szKey the key.
    /// \param pv the element, not owned.
    /// \param pulHash the key's precomputed hash, or null.
    virtual void AddKeyString(char const* szKey, void* pv, std::uint32_t* pulHash) = 0;
    /// Adds an element under a string key.
    /// \param pstrKey the key.
    /// \param pv the element, not owned.
    virtual void AddKeyString(CPString* pstrKey, void* pv) = 0;
    /// Removes the entry of a text key without disposing of its element.
    /// \param szKey the key.
    /// \param pulHash the key's precomputed hash, or null.
    virtual void DetachKeyString(char const* szKey, std::uint32_t* pulHash) = 0;
    /// Removes the entry of a string key without disposing of its element.
    /// \param pstrKey the key.
    virtual void DetachKeyString(CPString* pstrKey) = 0;
    /// Removes the entry of a number key without disposing of its element.
    /// \param nKey the key.
    virtual void DetachKeyNum(std::uintptr_t nKey) = 0;
    /// Removes the entry of a number key and hands its element to the kill function.
    /// \param nKey the key.
    /// \param pfnKill disposes of the element.
    virtual void DestroyKeyNum(std::uintptr_t nKey, pfnKillFunc pfnKill) = 0;
    /// Removes the entry of a text key and hands its element to the kill function.
    /// \param szKey the key.
    /// \param pfnKill disposes of the element.
    /// \param pulHash the key's precomputed hash, or null.
    virtual void DestroyKeyString(char const* szKey, pfnKillFunc pfnKill,
                                  std::uint32_t* pulHash) = 0;
    /// Removes the entry of a string key and hands its element to the kill function.
    /// \param pstrKey the key.
    /// \param pfnKill disposes of the element.
    virtual void DestroyKeyString(CPString* pstrKey, pfnKillFunc pfnKill) = 0;
    /// \param nKey a number key.
    /// \return its element, or null.
    virtual void* FindKeyNum(std::uintptr_t nKey) = 0;
    /// \param szKey a text key.
    /// \param pulHash its precomputed hash, or null.
    /// \return its element, or null.
    virtual void* FindKeyString(char const* szKey, std::uint32_t* pulHash) = 0;
    /// \param pstrKey a string key.
    /// \return its element, or null.
    virtual void* FindKeyString(CPString* pstrKey) = 0;
    /// \param nKey a number key.
    /// \return non-zero when it is there.
    virtual std::int32_t ExistsKeyNum(std::uintptr_t nKey) = 0;
    /// \param pstrKey a string key.
    /// \return non-zero when it is there.
    virtual std::int32_t ExistsKeyString(CPString* pstrKey) = 0;
    /// \param szKey a text key.
    /// \param pulHash its precomputed hash, or null.
    /// \return non-zero when it is there.
    virtual std::int32_t ExistsKeyString(char const* szKey, std::uint32_t* pulHash) = 0;
    /// Calls a function on the node of every entry.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    virtual void ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) = 0;
    /// The nodes that meet the condition.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return a new collection, the caller's to delete.
    virtual CPCollection* AllThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) = 0;
    /// Moves the cursor to the first node that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return the node, or null.
    virtual void* FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) = 0;
    /// Moves the cursor to the next node that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return the node, or null.
    virtual void* NextThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) = 0;
    /// \return the node at the cursor, or null.
    virtual void* RetrieveInternalContainer() = 0;
};

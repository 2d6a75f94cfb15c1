// The bases of the collections: what every collection shares (its count, its
// transaction number, the virtual interface the iterators and the reference
// collections rely on), what unkeyed sequences add, what keyed collections
// add, and the nodes that wrap one element.
//
// A collection owns its nodes and never its elements: elements leave only
// through a kill function that the caller hands in.
#pragma once

#include <cpcoll/iterate.h>
#include <platform/export.h>
#include <util/createable.h>

#include <atomic>
#include <cstdint>

class CPString;

// Called with the element first and always null second.
using pfnKillFunc = void (*)(void* pvItem, void* pvUser);
// Non-zero means a match.
using pfnCondFunc = int (*)(void* pvItem, void* pvUser);
using pfnCompareFunc = int (*)(void const*, void const*);

// The node that wraps one element.
class SORVANE_API CPInternalContainer : public virtual Createable {
public:
    CPInternalContainer() = default;
    ~CPInternalContainer() override = default;

    void* _get_pvTheData() const { return pvTheData; }
    void _set_pvTheData(void* pv) { pvTheData = pv; }

protected:
    void* pvTheData = nullptr;
};

// The node of a list. Counted: each list it is linked into holds one
// reference, so that lists may share buckets.
class SORVANE_API CPBucket : public CPInternalContainer {
public:
    CPBucket() = default;
    CPBucket(CPBucket const& other) = default;
    // Takes the other's links too: counted as links set from outside.
    CPBucket& operator=(CPBucket const& other) {
        CPInternalContainer::operator=(other);
        pbktNext = other.pbktNext;
        pbktPrev = other.pbktPrev;
        NoteLinksSetFromOutside();
        return *this;
    }
    ~CPBucket() override = default;

    CPBucket* _get_pbktNext() const { return pbktNext; }
    void _set_pbktNext(CPBucket* pbkt) {
        pbktNext = pbkt;
        NoteLinksSetFromOutside();
    }
    CPBucket* _get_pbktPrev() const { return pbktPrev; }
    void _set_pbktPrev(CPBucket* pbkt) {
        pbktPrev = pbkt;
        NoteLinksSetFromOutside();
    }
    void* _get_pvData() const { return pvTheData; }
    void _set_pvData(void* pv) { pvTheData = pv; }

    // Counts, for the whole process, the links set other than by a list on
    // buckets of its own: by the setters above, or by a list that shares its
    // buckets with another. A list trusts what it learnt of its links (the
    // path of its in-order reads, a dictionary's index of a chain) only while
    // this and its own count of changes stay as they were.
    static std::uint32_t _get_nLinksSetFromOutside() {
        return nLinksSetFromOutside.load(std::memory_order_relaxed);
    }
    static void NoteLinksSetFromOutside() {
        nLinksSetFromOutside.fetch_add(1, std::memory_order_relaxed);
    }

private:
    friend class CPList;

    // A list's own linking, counted by the list.
    void LinkNext(CPBucket* pbkt) { pbktNext = pbkt; }
    void LinkPrev(CPBucket* pbkt) { pbktPrev = pbkt; }

    CPBucket* pbktNext = nullptr;
    CPBucket* pbktPrev = nullptr;

    static std::atomic<std::uint32_t> nLinksSetFromOutside;
};

class SORVANE_API CPCollection : public Iterable {
public:
    // Which family of the generic facade a collection has been used through.
    enum : std::int8_t {
        keyKindNone = 0,
        keyKindPointer = 1,
        keyKindNumber = 2,
        keyKindString = 3,
        keyKindPlain = 4,
    };

    CPCollection() = default;
    // Copies take the fields, not the contents.
    CPCollection(CPCollection const& other) = default;
    CPCollection& operator=(CPCollection const& other) = default;
    ~CPCollection() override = default;

    // A new empty collection of the same class, the caller's (count 0).
    virtual CPCollection* CreateInstance() = 0;

    // The slots behind the generic facade. Every concrete collection keeps
    // them as stubs, so that the facade stores nothing.
    virtual short vadd(void* pv, void* pvKey);
    virtual short vadd(void* pv, CPString* pstrKey);
    virtual short vadd(void* pv, char const* szKey);
    virtual short vadd(void* pv, std::int32_t nKey);
    virtual short vadd(void* pv);
    virtual void* vremoveByProbe(void* pvProbe);
    virtual void* vremove(void* pvKey);
    virtual void* vremove(CPString* pstrKey);
    virtual void* vremove(char const* szKey);
    virtual void* vremove(std::int32_t nKey);
    virtual void* vfind(void* pvKey);
    virtual void* vfind(CPString* pstrKey);
    virtual void* vfind(char const* szKey);
    virtual void* vfind(std::int32_t nKey);

    // Walks of the collection's own cursor.
    virtual void ForEach(IteratorAction* pia);
    virtual void ForEach(pfnKillFunc pfn, void* pvUser);
    virtual void* FirstThat(pfnCondFunc pfnCond, void* pvUser);
    virtual void* NextThat(pfnCondFunc pfnCond, void* pvUser);
    // A new collection with a count of 0, the caller's to delete; it shares
    // the elements, which it does not own.
    virtual CPCollection* AllThat(pfnCondFunc pfnCond, void* pvUser) = 0;

    virtual void Add(void* pv) = 0;
    virtual void AddInternalContainer(CPInternalContainer* pic) = 0;
    virtual char Destroy(void* pv, pfnKillFunc pfnKill) = 0;
    virtual void* RetrieveIDX(std::uint32_t n) = 0;
    virtual char Detach(void* pv) = 0;
    virtual char DetachAll() = 0;
    virtual char DestroyAll(pfnKillFunc pfnKill) = 0;

    virtual void GotoTop() = 0;
    virtual void GotoBottom() = 0;
    virtual std::int32_t Next() = 0;
    virtual std::int32_t Prev() = 0;
    virtual void* Retrieve() = 0;

    // The elements in cursor order, up to the first null one, in a new
    // vector the caller frees with delete[]; null for an empty collection.
    virtual void** BuildVector();

    std::uint32_t Length() const { return nLength; }
    char IsMT() const { return nLength == 0 ? 1 : 0; }
    std::int16_t _get_nXACT() const { return nXACT; }
    std::int8_t _get_nKeyKind() const { return nKeyKind; }

    // The generic facade: the first family used fixes the kind, and the
    // others then answer 0 or null without reaching the collection.
    short add(void* pv, void* pvKey);
    short add(void* pv, std::int32_t nKey);
    short add(void* pv, char const* szKey);
    short add(void* pv, CPString* pstrKey);
    short add(void* pv);
    void* removeByProbe(void* pvProbe);
    void* remove(void* pvKey);
    void* remove(std::int32_t nKey);
    void* remove(char const* szKey);
    void* remove(CPString* pstrKey);
    void* find(void* pvKey);
    void* find(std::int32_t nKey);
    void* find(char const* szKey);
    void* find(CPString* pstrKey);

    // Adds the source's elements (shared, not copied) when this is empty.
    void CopyFrom(CPCollection* pclFrom);
    // Walks the source's own cursor and adds each element here, up to the
    // first null one.
    void AddFrom(CPCollection* pclFrom);

protected:
    // The only ways a count changes, and so the whole of the invalidation of
    // iteration states.
    // Inline, so that a push or a pop costs no call.
    std::uint32_t IncrementLength() {
        ++nXACT;
        return ++nLength;
    }
    std::uint32_t DecrementLength() {
        if (nLength == 0) ReportEmpty();
        ++nXACT;
        return --nLength;
    }
    void ClearLength() {
        ++nXACT;
        nLength = 0;
    }

    std::int16_t nXACT = 0;
    std::uint32_t nLength = 0;
    std::int8_t nKeyKind = keyKindNone;

private:
    bool TakeKind(std::int8_t kind);
    // Reports "nLength >0".
    void ReportEmpty() const;
};

class SORVANE_API CPFlatCollection : public CPCollection {
public:
    CPFlatCollection() = default;
    CPFlatCollection(CPFlatCollection const& other) = default;
    CPFlatCollection& operator=(CPFlatCollection const& other) = default;
    ~CPFlatCollection() override = default;

    // Adds the n entries in order, only into an empty collection.
    virtual void BuildFromVector(void** ppv, std::uint32_t n);
    // compare receives pointers to the element pointers; equal elements have
    // no fixed order.
    virtual void Sort(pfnCompareFunc pfnCompare);

    // Meant to fill this collection with the source's elements in order, but
    // it runs only when this one is not empty, where adding from a vector
    // does nothing.
    void SortedCopy(CPCollection* pcollFrom, pfnCompareFunc pfnCompare);
};

class SORVANE_API CPKeyedCollection : public CPCollection {
public:
    CPKeyedCollection() = default;
    CPKeyedCollection(CPKeyedCollection const& other) = default;
    CPKeyedCollection& operator=(CPKeyedCollection const& other) = default;
    ~CPKeyedCollection() override = default;

    // Number keys are pointer-sized: collections of objects are keyed by the
    // objects' addresses. A hash given with a text key is a precomputed one
    // (null: the text is hashed).
    virtual void AddKeyNum(std::uintptr_t nKey, void* pv) = 0;
    virtual void AddKeyString(char const* szKey, void* pv, std::uint32_t* pulHash) = 0;
    virtual void AddKeyString(CPString* pstrKey, void* pv) = 0;
    virtual void DetachKeyString(char const* szKey, std::uint32_t* pulHash) = 0;
    virtual void DetachKeyString(CPString* pstrKey) = 0;
    virtual void DetachKeyNum(std::uintptr_t nKey) = 0;
    virtual void DestroyKeyNum(std::uintptr_t nKey, pfnKillFunc pfnKill) = 0;
    virtual void DestroyKeyString(char const* szKey, pfnKillFunc pfnKill,
                                  std::uint32_t* pulHash) = 0;
    virtual void DestroyKeyString(CPString* pstrKey, pfnKillFunc pfnKill) = 0;
    virtual void* FindKeyNum(std::uintptr_t nKey) = 0;
    virtual void* FindKeyString(char const* szKey, std::uint32_t* pulHash) = 0;
    virtual void* FindKeyString(CPString* pstrKey) = 0;
    virtual std::int32_t ExistsKeyNum(std::uintptr_t nKey) = 0;
    virtual std::int32_t ExistsKeyString(CPString* pstrKey) = 0;
    virtual std::int32_t ExistsKeyString(char const* szKey, std::uint32_t* pulHash) = 0;
    virtual void ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) = 0;
    // As AllThat: a new collection, the caller's to delete.
    virtual CPCollection* AllThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) = 0;
    virtual void* FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) = 0;
    virtual void* NextThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) = 0;
    virtual void* RetrieveInternalContainer() = 0;
};

// The stack of untyped elements in a vector of fixed size, which never grows
// and refuses pushes when full; and the symmetric map, whose mappings join
// two string keys and a counted object and can be found from either side.
#pragma once

#include <cpcoll/cpcollec.h>
#include <cpcoll/crdict.h>
#include <cpcoll/iterate.h>
#include <util/createable.h>
#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

class CrList;

// A position in a stack: an index into its vector, oldest first.
class SORVANE_API StackIterationState : public IterationState {
public:
    explicit StackIterationState(CPCollection* pcl) : IterationState(pcl) {}
    StackIterationState(StackIterationState const& other)
        : Createable(), IterationState(other), nIndex(other.nIndex) {}
    StackIterationState& operator=(StackIterationState const& other);
    ~StackIterationState() override = default;

    short vgotoTop() override;
    short vgotoBottom() override;
    // n counts from the newest; past the end nothing moves, and the answer
    // is 1 either way.
    short vgotoIDX(std::uint32_t n) override;
    // Past the newest entry the index wraps round to the oldest.
    short vgotoNext() override;
    short vgotoPrev() override;
    void* vretrieve() override;
    CPInternalContainer* vretrieveInternalContainer() override;

    std::uint32_t _get_nIndex() const { return nIndex; }

private:
    std::uint32_t nIndex = 0;
};

class SORVANE_API CPStack : public CPCollection {
public:
    static constexpr std::uint32_t kDefaultCapacity = 0xFF;

    // The vector is made here once, for the stack's whole life.
    explicit CPStack(std::uint32_t nCapacity = kDefaultCapacity);
    CPStack(CPStack const&) = delete;
    CPStack& operator=(CPStack const&) = delete;
    ~CPStack() override;

    CPCollection* CreateInstance() override;
    // A new position with a count of 0, the caller's to delete.
    IterationState* CreateIterationState() override;

    // A full stack answers 0 and keeps nothing.
    std::uint32_t Push(void* pv) {
        if (nTop >= nCapacity) return 0;
        IncrementLength();
        pvVector[nTop++] = pv;
        return 1;
    }
    // Drops the element silently when full.
    void Add(void* pv) override;
    void* Pop() {
        if (nTop == 0) return nullptr;
        DecrementLength();
        return pvVector[--nTop];
    }
    void* Top() const { return nTop != 0 ? pvVector[nTop - 1] : nullptr; }
    void* Bottom() const { return nTop != 0 ? pvVector[0] : nullptr; }
    // From the top: 0 is the newest.
    void* RetrieveIDX(std::uint32_t n) override {
        return n < nTop ? pvVector[nTop - 1 - n] : nullptr;
    }
    void* operator[](std::uint32_t n) const { return n < nTop ? pvVector[nTop - 1 - n] : nullptr; }
    // Pop until the element comes off: everything above it goes too, and an
    // absent element empties the stack.
    char Detach(void* pv) override;
    char Destroy(void* pv, pfnKillFunc pfnKill) override;
    char DetachAll() override;
    char DestroyAll(pfnKillFunc pfnKill) override;
    void AddInternalContainer(CPInternalContainer* pic) override;

    // Oldest to newest.
    void ForEach(pfnKillFunc pfn, void* pvUser) override;
    // Not available: each reports "1==0".
    void ForEach(IteratorAction* pia) override;
    void* FirstThat(pfnCondFunc pfnCond, void* pvUser) override;
    void* NextThat(pfnCondFunc pfnCond, void* pvUser) override;
    CPCollection* AllThat(pfnCondFunc pfnCond, void* pvUser) override;

    // The cursor's top is the oldest entry, the opposite of the indexed
    // order. It can reach one past the newest entry, where Retrieve reads
    // whatever the vector holds there: a walk by cursor stops by count.
    void GotoTop() override { nCursor = 0; }
    void GotoBottom() override { nCursor = nTop != 0 ? nTop - 1 : 0; }
    std::int32_t Next() override {
        nCursor = nCursor >= nTop ? 0 : nCursor + 1;
        return static_cast<std::int32_t>(nCursor);
    }
    std::int32_t Prev() override {
        if (nCursor != 0) --nCursor;
        return static_cast<std::int32_t>(nCursor);
    }
    void* Retrieve() override { return pvVector[nCursor]; }

    // The entry at an index from the oldest, as the position object reads
    // it; the vector has one spare entry past its capacity, so any index a
    // cursor can reach is inside it.
    void* _get_pvEntry(std::uint32_t n) const { return pvVector[n]; }
    std::uint32_t _get_nCapacity() const { return nCapacity; }
    std::uint32_t _get_nTop() const { return nTop; }
    std::uint32_t _get_nCursor() const { return nCursor; }

private:
    void** pvVector;
    std::uint32_t nCapacity;
    std::uint32_t nTop = 0;
    std::uint32_t nCursor = 0;
};

// One mapping: two keys and the object carried, on which it holds a
// reference.
class SORVANE_API MapKeyPair : public Createable {
public:
    MapKeyPair(CPString const& strAA, CPString const& strBA, Createable* pcreateable);
    MapKeyPair(char const* szA, char const* szB, Createable* pcreateable);
    // A copy takes a reference of its own, so that both copies can let go.
    MapKeyPair(MapKeyPair const& other);
    MapKeyPair& operator=(MapKeyPair const& other);
    ~MapKeyPair() override;

    CPString& _get_strA() { return strA; }
    CPString const& _get_strA() const { return strA; }
    CPString& _get_strB() { return strB; }
    CPString const& _get_strB() const { return strB; }
    Createable* _get_pcreateableTxData() const { return pcreateableTxData; }

private:
    CPString strA;
    CPString strB;
    Createable* pcreateableTxData;
};

// Each key maps to its pair while one mapping has it, and to a CrList of
// what it mapped to before when more do. A third mapping of one key nests a
// list in a list; readers then look through to the oldest pair.
class SORVANE_API CPSymmetricMap : public Createable {
public:
    CPSymmetricMap() = default;
    CPSymmetricMap(CPSymmetricMap const&) = delete;
    CPSymmetricMap& operator=(CPSymmetricMap const&) = delete;
    ~CPSymmetricMap() override;

    // The pair copies both keys and takes a reference on the object.
    void AddMapping(CPString const& strA, CPString const& strB, Createable* pcreateable);
    void AddMapping(char const* szA, char const* szB, Createable* pcreateable);
    // The oldest mapping of the key wins. Both sides answer with the B key,
    // so that a search from B gives its own key back. A null argument, or an
    // unknown key, answers null and leaves pstrOut alone.
    // The object answered stays the map's: no reference is given.
    Createable* RetrieveA(CPString const* pstrKey, CPString* pstrOut);
    Createable* RetrieveB(CPString const* pstrKey, CPString* pstrOut);
    // Empties the list, then fills it with every pair of the key.
    void GetAllThatMatchKeyA(CPString const& strKey, CrList& lstOut);
    void GetAllThatMatchKeyB(CPString const& strKey, CrList& lstOut);
    void Clear();

    CrDictionary& _get_dctA() { return dctA; }
    CrDictionary& _get_dctB() { return dctB; }

private:
    static void Insert(CrDictionary& dct, CPString& strKey, MapKeyPair* pmkp);
    static MapKeyPair* Lookup(CrDictionary& dct, CPString const* pstrKey);
    static void Collect(Createable* pcrEntry, CrList& lstOut);
    Createable* Retrieve(CrDictionary& dct, CPString const* pstrKey, CPString* pstrOut);

    CrDictionary dctA;
    CrDictionary dctB;
};

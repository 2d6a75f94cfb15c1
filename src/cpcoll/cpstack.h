/// \file
/// The stack of untyped elements in a vector of fixed size, which never grows
/// and refuses pushes when full; and the symmetric map, whose mappings join
/// two string keys and a counted object and can be found from either side.
#pragma once

#include <cpcoll/cpcollec.h>
#include <cpcoll/crdict.h>
#include <cpcoll/iterate.h>
#include <util/createable.h>
#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

class CrList;

/// \brief A position in a stack: an index into its vector, oldest first.
class SORVANE_API StackIterationState : public IterationState {
public:
    /// \param pcl the stack, which must outlive the position.
    explicit StackIterationState(CPCollection* pcl) : IterationState(pcl) {}
    /// A copy is a new position at the same place, held by nobody yet.
    /// \param other the position copied.
    StackIterationState(StackIterationState const& other)
        : Createable(), IterationState(other), nIndex(other.nIndex) {}
    /// Takes the other's place.
    /// \param other the position copied.
    /// \return this position.
    StackIterationState& operator=(StackIterationState const& other);
    ~StackIterationState() override = default;

    short vgotoTop() override;
    short vgotoBottom() override;
    /// n counts from the newest; past the end nothing moves.
    /// \param n the index.
    /// \return 1 either way.
    short vgotoIDX(std::uint32_t n) override;
    /// Past the newest entry the index wraps round to the oldest.
    /// \return non-zero.
    short vgotoNext() override;
    short vgotoPrev() override;
    void* vretrieve() override;
    CPInternalContainer* vretrieveInternalContainer() override;

    /// \return the index, from the oldest.
    std::uint32_t _get_nIndex() const { return nIndex; }

private:
    std::uint32_t nIndex = 0;
};

/// \brief The stack of untyped elements in a vector of fixed size, which
/// never grows and refuses pushes when full. The elements are not owned.
class SORVANE_API CPStack : public CPCollection {
public:
    /// The capacity of a stack made without one.
    static constexpr std::uint32_t kDefaultCapacity = 0xFF;

    /// The vector is made here once, for the stack's whole life.
    /// \param nCapacity the most elements it holds.
    explicit CPStack(std::uint32_t nCapacity = kDefaultCapacity);
    CPStack(CPStack const&) = delete;
    CPStack& operator=(CPStack const&) = delete;
    ~CPStack() override;

    CPCollection* CreateInstance() override;
    /// \return a new position with a count of 0, the caller's to delete.
    IterationState* CreateIterationState() override;

    /// Pushes an element.
    /// \param pv the element, not owned.
    /// \return 1, or 0 for a full stack, which keeps nothing.
    std::uint32_t Push(void* pv) {
        if (nTop >= nCapacity) return 0;
        IncrementLength();
        pvVector[nTop++] = pv;
        return 1;
    }
    /// Pushes an element; a full stack drops it silently.
    /// \param pv the element, not owned.
    void Add(void* pv) override;
    /// \return the newest element, taken off; null for an empty stack.
    void* Pop() {
        if (nTop == 0) return nullptr;
        DecrementLength();
        return pvVector[--nTop];
    }
    /// \return the newest element, or null.
    void* Top() const { return nTop != 0 ? pvVector[nTop - 1] : nullptr; }
    /// \return the oldest element, or null.
    void* Bottom() const { return nTop != 0 ? pvVector[0] : nullptr; }
    /// From the top: 0 is the newest.
    /// \param n the index.
    /// \return the element, or null.
    void* RetrieveIDX(std::uint32_t n) override {
        return n < nTop ? pvVector[nTop - 1 - n] : nullptr;
    }
    /// From the top: 0 is the newest.
    /// \param n the index.
    /// \return the element, or null.
    void* operator[](std::uint32_t n) const { return n < nTop ? pvVector[nTop - 1 - n] : nullptr; }
    /// Pops until the element comes off: everything above it goes too, and an
    /// absent element empties the stack.
    /// \param pv the element.
    /// \return non-zero when it was found.
    char Detach(void* pv) override;
    char Destroy(void* pv, pfnKillFunc pfnKill) override;
    char DetachAll() override;
    char DestroyAll(pfnKillFunc pfnKill) override;
    void AddInternalContainer(CPInternalContainer* pic) override;

    /// Calls a function on every element, oldest to newest.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    void ForEach(pfnKillFunc pfn, void* pvUser) override;
    /// Not available: ends the process through the fatal check ("1==0").
    /// \param pia not used.
    void ForEach(IteratorAction* pia) override;
    /// Not available: ends the process through the fatal check ("1==0").
    /// \param pfnCond not used.
    /// \param pvUser not used.
    /// \return nothing.
    void* FirstThat(pfnCondFunc pfnCond, void* pvUser) override;
    /// Not available: ends the process through the fatal check ("1==0").
    /// \param pfnCond not used.
    /// \param pvUser not used.
    /// \return nothing.
    void* NextThat(pfnCondFunc pfnCond, void* pvUser) override;
    /// Not available: ends the process through the fatal check ("1==0").
    /// \param pfnCond not used.
    /// \param pvUser not used.
    /// \return nothing.
    CPCollection* AllThat(pfnCondFunc pfnCond, void* pvUser) override;

    /// Moves the cursor to the oldest entry: the cursor's top is the opposite of
    /// the indexed order.
    void GotoTop() override { nCursor = 0; }
    /// Moves the cursor to the newest entry.
    void GotoBottom() override { nCursor = nTop != 0 ? nTop - 1 : 0; }
    /// Steps the cursor toward the newest; it can reach one past the newest
    /// entry, and from there wraps to the oldest. A walk by cursor stops by count.
    /// \return the cursor's index.
    std::int32_t Next() override {
        nCursor = nCursor >= nTop ? 0 : nCursor + 1;
        return static_cast<std::int32_t>(nCursor);
    }
    /// Steps the cursor toward the oldest, stopping there.
    /// \return the cursor's index.
    std::int32_t Prev() override {
        if (nCursor != 0) --nCursor;
        return static_cast<std::int32_t>(nCursor);
    }
    /// \return whatever the vector holds at the cursor.
    void* Retrieve() override { return pvVector[nCursor]; }

    /// The entry at an index from the oldest, as the position object reads it;
    /// the vector has one spare entry past its capacity.
    /// \param n the index.
    /// \return the entry.
    void* _get_pvEntry(std::uint32_t n) const { return pvVector[n]; }
    /// \return the capacity.
    std::uint32_t _get_nCapacity() const { return nCapacity; }
    /// \return the number of elements.
    std::uint32_t _get_nTop() const { return nTop; }
    /// \return the cursor's index, from the oldest.
    std::uint32_t _get_nCursor() const { return nCursor; }

private:
    void** pvVector;
    std::uint32_t nCapacity;
    std::uint32_t nTop = 0;
    std::uint32_t nCursor = 0;
};

/// \brief One mapping of a symmetric map: two keys and the object carried,
/// on which it holds a reference.
class SORVANE_API MapKeyPair : public Createable {
public:
    /// \param strAA the A key, copied.
    /// \param strBA the B key, copied.
    /// \param pcreateable the object; the pair takes a reference.
    MapKeyPair(CPString const& strAA, CPString const& strBA, Createable* pcreateable);
    /// \param szA the A key, copied.
    /// \param szB the B key, copied.
    /// \param pcreateable the object; the pair takes a reference.
    MapKeyPair(char const* szA, char const* szB, Createable* pcreateable);
    /// A copy takes a reference of its own, so that both copies can let go.
    /// \param other the pair copied.
    MapKeyPair(MapKeyPair const& other);
    /// Takes the other's keys and object, with a reference of its own.
    /// \param other the pair copied.
    /// \return this pair.
    MapKeyPair& operator=(MapKeyPair const& other);
    /// Releases the object.
    ~MapKeyPair() override;

    /// \return the A key.
    CPString& _get_strA() { return strA; }
    /// \return the A key.
    CPString const& _get_strA() const { return strA; }
    /// \return the B key.
    CPString& _get_strB() { return strB; }
    /// \return the B key.
    CPString const& _get_strB() const { return strB; }
    /// \return the object carried, still the pair's.
    Createable* _get_pcreateableTxData() const { return pcreateableTxData; }

private:
    CPString strA;
    CPString strB;
    Createable* pcreateableTxData;
};

/// \brief Mappings that join two string keys and a counted object and can be
/// found from either side.
///
/// Each key maps to its pair while one mapping has it, and to a CrList of
/// what it mapped to before when more do; readers look through to the
/// oldest pair.
class SORVANE_API CPSymmetricMap : public Createable {
public:
    CPSymmetricMap() = default;
    CPSymmetricMap(CPSymmetricMap const&) = delete;
    CPSymmetricMap& operator=(CPSymmetricMap const&) = delete;
    /// Releases every mapping.
    ~CPSymmetricMap() override;

    /// Adds a mapping; the pair copies both keys and takes a reference on the object.
    /// \param strA the A key.
    /// \param strB the B key.
    /// \param pcreateable the object.
    void AddMapping(CPString const& strA, CPString const& strB, Createable* pcreateable);
    /// Adds a mapping; the pair copies both keys and takes a reference on the object.
    /// \param szA the A key.
    /// \param szB the B key.
    /// \param pcreateable the object.
    void AddMapping(char const* szA, char const* szB, Createable* pcreateable);
    /// Finds the oldest mapping of an A key.
    /// \param pstrKey the key.
    /// \param pstrOut receives the mapping's B key.
    /// \return the object, which stays the map's (no reference is given); null
    ///         for a null argument or an unknown key, with pstrOut left alone.
    Createable* RetrieveA(CPString const* pstrKey, CPString* pstrOut);
    /// Finds the oldest mapping of a B key.
    /// \param pstrKey the key.
    /// \param pstrOut receives the mapping's B key: a search from B gives its
    ///        own key back.
    /// \return the object, which stays the map's (no reference is given); null
    ///         for a null argument or an unknown key, with pstrOut left alone.
    Createable* RetrieveB(CPString const* pstrKey, CPString* pstrOut);
    /// Empties the list, then fills it with every pair of an A key.
    /// \param strKey the key.
    /// \param lstOut receives the pairs, each with a reference of the list's.
    void GetAllThatMatchKeyA(CPString const& strKey, CrList& lstOut);
    /// Empties the list, then fills it with every pair of a B key.
    /// \param strKey the key.
    /// \param lstOut receives the pairs, each with a reference of the list's.
    void GetAllThatMatchKeyB(CPString const& strKey, CrList& lstOut);
    /// Removes every mapping.
    void Clear();

    /// \return the dictionary of A keys.
    CrDictionary& _get_dctA() { return dctA; }
    /// \return the dictionary of B keys.
    CrDictionary& _get_dctB() { return dctB; }

private:
    static void Insert(CrDictionary& dct, CPString& strKey, MapKeyPair* pmkp);
    static MapKeyPair* Lookup(CrDictionary& dct, CPString const* pstrKey);
    static void Collect(Createable* pcrEntry, CrList& lstOut);
    Createable* Retrieve(CrDictionary& dct, CPString const* pstrKey, CPString* pstrOut);

    CrDictionary dctA;
    CrDictionary dctB;
};

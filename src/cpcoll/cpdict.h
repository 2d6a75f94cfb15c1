/// \file
/// The dictionary: 256 fixed slots, each a chain (a CPList) of associations
/// made on demand. A number key goes to the slot of its low byte, a string key
/// to the slot of the low byte of its CRC-16; one dictionary may hold both.
/// It never grows or rehashes, so a search walks a chain of about Length()/256
/// entries. A CPString key brings its cached CRC and is not hashed again.
#pragma once

#include <cpcoll/cpcollec.h>
#include <cpcoll/cplist.h>
#include <platform/export.h>
#include <util/crc16.h>
#include <util/createable.h>
#include <util/pstring.h>

#include <array>
#include <atomic>
#include <cstdint>

class CPDictionary;

/// \brief One key and one value of a dictionary. A string key is held by a
/// counted reference.
class SORVANE_API CPDictionaryAssociation : public Createable {
public:
    CPDictionaryAssociation() = default;
    CPDictionaryAssociation(CPDictionaryAssociation const&) = delete;
    CPDictionaryAssociation& operator=(CPDictionaryAssociation const&) = delete;
    /// Releases a string key.
    ~CPDictionaryAssociation() override;

    /// Sets a text key. An empty text is stored as "UnNamed", though the entry
    /// stays where the empty text hashed: it can then be found by neither.
    /// \param szKey the key.
    void SetKeyString(char const* szKey);
    /// Sets a string key: holds the given string when somebody counts it,
    /// otherwise a copy.
    /// \param pstrKey the key.
    void SetKeyString(CPString* pstrKey);
    /// Sets a number key.
    /// \param nKey the key.
    void SetKeyCardinal(std::uintptr_t nKey);
    /// Exact: case counts, and a number key never matches a text.
    /// \param szKey a text.
    /// \return 1 when the key is that text.
    short MatchKeyString(char const* szKey) const {
        if (bUseString != 1 || pstrKey == nullptr) return 0;
        return *pstrKey == szKey ? 1 : 0;
    }
    /// \param n a number.
    /// \return 1 when the key is that number (never for a string key).
    short MatchKeyCardinal(std::uintptr_t n) const {
        if (bUseString == 1) return 0;
        return nKey == n ? 1 : 0;
    }

    /// \return the number key, or 0 for a string key.
    std::uintptr_t GetKeyCardinal() const { return bUseString == 1 ? 0 : nKey; }
    /// \return the string key, or null for a number key.
    CPString* _get_pstrKey() const { return bUseString == 1 ? pstrKey : nullptr; }
    /// \return the word a walk hands over as the key: the string or the number.
    std::uintptr_t _get_nKeyWord() const;
    /// The key's text.
    /// \param szBuffer when not null, receives a copy (no limit on the length);
    ///        a number key empties it.
    /// \return the key's own text; an empty text for a number key.
    char const* GetKeyString(char* szBuffer) const;
    /// The key's text.
    /// \param pstrDest when not null, receives a copy.
    /// \return the key's own text; an empty text for a number key.
    char const* GetKeyString(CPString* pstrDest) const;

    /// \return the value.
    void* GetValue() const { return pvValue; }
    /// \param pv the new value, not owned.
    void SetValue(void* pv) { pvValue = pv; }
    /// \return 1 for a string key.
    char _get_bUseString() const { return bUseString; }
    /// Sets whether the key is a string; counted as a key edit.
    /// \param b 1 for a string key.
    void _set_bUseString(char b) {
        NoteKeyEdit();
        bUseString = b;
    }

    /// Counts the keys set through the calls above, which may reach an
    /// association already in a dictionary: a dictionary's search index is
    /// only trusted while this is unchanged. A dictionary keys its own new
    /// associations without counting.
    /// \return the count.
    static std::uint32_t _get_nKeyEdits() { return nKeyEdits.load(std::memory_order_relaxed); }

private:
    friend class CPDictionary;

    void AssignKeyString(char const* szKey);
    void AssignKeyString(CPString* pstrKey);
    void AssignKeyCardinal(std::uintptr_t nKey);
    void ReleaseKeyString();
    void HoldKeyString(CPString* pstr);

    char bUseString = 1;
    std::uintptr_t nKey = 0;
    void* pvValue = nullptr;
    // The string a string key counts; kept apart from the number so that a
    // flag changed by hand never frees a number.
    CPString* pstrKey = nullptr;

    static void NoteKeyEdit() { nKeyEdits.fetch_add(1, std::memory_order_relaxed); }

    static std::atomic<std::uint32_t> nKeyEdits;
};

/// \brief A position in a dictionary: a slot and a bucket of that slot's chain.
class SORVANE_API DictionaryIterationState : public IterationState {
public:
    /// \param pcl the dictionary, which must outlive the position.
    explicit DictionaryIterationState(CPCollection* pcl) : IterationState(pcl) {}
    /// A copy is a new position at the same place, held by nobody yet.
    /// \param other the position copied.
    DictionaryIterationState(DictionaryIterationState const& other)
        : Createable(), IterationState(other), pbktCurrent(other.pbktCurrent), nSlot(other.nSlot) {}
    /// Takes the other's place.
    /// \param other the position copied.
    /// \return this position.
    DictionaryIterationState& operator=(DictionaryIterationState const& other);
    ~DictionaryIterationState() override = default;

    short vgotoTop() override;
    short vgotoBottom() override;
    short vgotoIDX(std::uint32_t n) override;
    short vgotoNext() override;
    /// There is no walking back.
    /// \return 1, and moves nothing.
    short vgotoPrev() override;
    void* vretrieve() override;
    /// \return the bucket of the chain, which holds the association.
    CPInternalContainer* vretrieveInternalContainer() override;

    /// \return the bucket at the position, or null.
    CPBucket* _get_pbktCurrent() const { return pbktCurrent; }
    /// \return the slot of the position, or -1.
    std::int16_t _get_nSlot() const { return nSlot; }

private:
    CPDictionary* Dictionary() const;
    void Place(std::uint32_t nSlotAt, bool bAtTail);

    CPBucket* pbktCurrent = nullptr;
    std::int16_t nSlot = -1;
};

/// \brief The dictionary: 256 fixed slots, each a chain (a CPList) of
/// associations made on demand.
///
/// A number key goes to the slot of its low byte, a string key to the slot
/// of the low byte of its CRC-16; one dictionary may hold both. It never
/// grows or rehashes. A key already present is ignored on add: the old value
/// stays. The elements are not owned.
class SORVANE_API CPDictionary : public CPKeyedCollection {
public:
    /// The number of slots.
    static constexpr std::uint32_t kSlots = 256;
    /// What NextNonblankSlot() answers when no slot follows.
    static constexpr std::uint32_t kNoSlot = 0xFFFFFFFF;

    /// A walk's function that also receives the key word.
    using pfnKeyFunc = void (*)(void* pvItem, void* pvUser, std::uintptr_t nKey);

    /// \param nSlots has no effect: the table is always 256.
    explicit CPDictionary(std::uint32_t nSlots = kSlots);
    /// A copy aliases the source's chains, each counted, so that the two may be
    /// destroyed in any order as long as neither changes in between.
    /// \param other the dictionary copied.
    CPDictionary(CPDictionary const& other);
    /// Aliases the other's chains, as the copy constructor.
    /// \param other the dictionary copied.
    /// \return this dictionary.
    CPDictionary& operator=(CPDictionary const& other);
    /// Releases the chains and associations; the elements stay.
    ~CPDictionary() override;

    /// \param n a number key.
    /// \return its slot, the low byte.
    static std::uint32_t HashOnCardinal(std::uintptr_t n) { return n & 0xFF; }
    /// \param szText a text key.
    /// \return its hash, the CRC-16 of the text.
    static std::uint32_t HashOnString(char const* szText);
    /// \return 256.
    std::uint32_t _get_nNumberOfSlots() const { return kSlots; }
    /// \param n a slot.
    /// \return the first slot at or after n that has a chain, or kNoSlot.
    std::uint32_t NextNonblankSlot(std::uint32_t n) const;
    /// \param n a slot.
    /// \return its chain, or null.
    CPList* _get_plstSlot(std::uint32_t n) const { return n < kSlots ? arplstSlots[n] : nullptr; }
    /// \return the association of the last search, or null.
    CPDictionaryAssociation* _get_pdaLastFound() const { return pdaLastFound; }
    /// \return the cursor's slot, or -1.
    std::int16_t _get_nSlotCursor() const { return nSlotCursor; }
    /// \return 1 when the position vector must be rebuilt.
    char _get_bVectorStale() const { return bVectorStale; }

    CPCollection* CreateInstance() override;
    IterationState* CreateIterationState() override;

    // Adding. A key already present is ignored: the old value stays.
    void AddKeyNum(std::uintptr_t nKey, void* pv) override;
    void AddKeyString(char const* szKey, void* pv, std::uint32_t* pulHash = nullptr) override;
    /// Adds an element under a string key; holds a reference on a key string
    /// somebody counts, else a copy of it. A key already present is ignored.
    /// \param pstrKey the key.
    /// \param pv the element, not owned.
    void AddKeyString(CPString* pstrKey, void* pv) override;
    /// Adds an element keyed by the pointer itself: a set of pointers.
    /// \param pv the element, not owned.
    void Add(void* pv) override;
    void AddInternalContainer(CPInternalContainer* pic) override;
    /// Adds each association of a list, with its key and value.
    /// \param plst a list of CPDictionaryAssociation.
    void AddList(CPList* plst);

    /// Removes the entry of a text key without disposing of its element. The
    /// count is lowered even for an absent key; an absent key in a slot that
    /// has a chain ends the process through the fatal check.
    /// \param szKey the key.
    /// \param pulHash the key's precomputed hash, or null.
    void DetachKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    /// Removes the entry of a string key, as the text form.
    /// \param pstrKey the key.
    void DetachKeyString(CPString* pstrKey) override;
    void DetachKeyNum(std::uintptr_t nKey) override;
    void DestroyKeyNum(std::uintptr_t nKey, pfnKillFunc pfnKill) override;
    void DestroyKeyString(char const* szKey, pfnKillFunc pfnKill,
                          std::uint32_t* pulHash = nullptr) override;
    void DestroyKeyString(CPString* pstrKey, pfnKillFunc pfnKill) override;
    /// Detaches an element by value; only an element under a string key is found.
    /// \param pv the element.
    /// \return non-zero when it was detached.
    char Detach(void* pv) override;
    char Destroy(void* pv, pfnKillFunc pfnKill) override;
    char DetachAll() override;
    char DestroyAll(pfnKillFunc pfnKill) override;

    /// A stored null and an absent key both find null.
    /// \param nKey a number key.
    /// \return its element, or null.
    void* FindKeyNum(std::uintptr_t nKey) override;
    void* FindKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    void* FindKeyString(CPString* pstrKey) override;
    std::int32_t ExistsKeyNum(std::uintptr_t nKey) override;
    std::int32_t ExistsKeyString(CPString* pstrKey) override;
    std::int32_t ExistsKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    /// \param pv an element.
    /// \return non-zero when some key holds it.
    std::int32_t ExistsValue(void* pv);
    /// By number key, not by position.
    /// \param nKey a number key.
    /// \return its element, or null.
    void* operator[](std::uintptr_t nKey);

    /// Rebuilds the vector of associations in walk order (slot by slot, then
    /// insertion order) when the dictionary changed.
    void RefreshParallelVector();
    /// \param n a position in walk order.
    /// \return the association there, or null.
    CPDictionaryAssociation* RetrieveDAIDX(std::int32_t n);
    /// By position in walk order, through the vector rebuilt after each change.
    /// \param n the position.
    /// \return the element there, or null.
    void* RetrieveIDX(std::uint32_t n) override;

    // The dictionary's own cursor: a slot, and that chain's own cursor.
    void GotoTop() override;
    void GotoBottom() override;
    std::int32_t Next() override;
    /// There is no walking back.
    /// \return 0.
    std::int32_t Prev() override;
    void* Retrieve() override;
    /// \return the association under the cursor, or null.
    void* RetrieveInternalContainer() override;

    /// Calls a function on every element, by slot and index; the cursor stays.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    void ForEach(pfnKillFunc pfn, void* pvUser) override;
    /// Calls a function on every element with its key word; the cursor stays.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    void ForEach(pfnKeyFunc pfn, void* pvUser);
    /// A walk of the cursor that fills in the action's element and key.
    /// \param pia the action.
    void ForEach(IteratorAction* pia) override;
    void ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) override;
    /// Calls a function with each key number (0 for a string key) and the value.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    void ForEachKeyCardinal(pfnKillFunc pfn, void* pvUser);
    /// The first element whose key number meets the condition.
    /// \param pfnCond the condition, called with the key number.
    /// \param pvUser its second argument.
    /// \return the element, or null.
    void* FirstThatKeyCardinal(pfnCondFunc pfnCond, void* pvUser);
    void* FirstThat(pfnCondFunc pfnCond, void* pvUser) override;
    void* FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;
    /// Not available: ends the process through the fatal check ("1==0").
    /// \param pfnCond not used.
    /// \param pvUser not used.
    /// \return nothing.
    void* NextThat(pfnCondFunc pfnCond, void* pvUser) override;
    /// Not available: ends the process through the fatal check ("1==0").
    /// \param pfnCond not used.
    /// \param pvUser not used.
    /// \return nothing.
    void* NextThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;
    CPCollection* AllThat(pfnCondFunc pfnCond, void* pvUser) override;
    CPCollection* AllThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;

    /// The key texts, each followed by "\r\n", for a dictionary whose elements
    /// are themselves associations.
    /// \param pszOut the caller's buffer, which the caller sizes.
    void StringKeyList(char* pszOut);

protected:
    /// Finds the association of a text key.
    /// \param szKey the key.
    /// \param pulHash its precomputed hash, or null.
    /// \param pulSlot when not null, receives the slot.
    /// \return the association, or null.
    CPDictionaryAssociation* FindDAKeyString(char const* szKey, std::uint32_t* pulHash,
                                             std::uint32_t* pulSlot);

    /// The hasher of text keys.
    static crc16 c16The;

private:
    // A compact copy of a long chain's keys, kept beside it so that a search
    // scans an array instead of following the buckets; the chain stays the
    // truth, and a search leaves the chain's cursor where its own walk would.
    struct ChainIndex;
    struct ChainIndexes;
    ChainIndex* IndexOf(std::uint32_t nSlot);
    ChainIndex* IndexInStep(std::uint32_t nSlot);
    void ForgetIndex(std::uint32_t nSlot);
    CPDictionaryAssociation* SettleIndexedSearch(CPList* plst, ChainIndex const& cix,
                                                 std::uint32_t n, std::uint32_t nScan);
    void DetachAssociation(std::uint32_t nSlot, CPDictionaryAssociation* pda);

    void AddAssociation(std::uint32_t nSlot, CPDictionaryAssociation* pda);
    void DropEmptyChain(std::uint32_t nSlot);
    void DropChain(std::uint32_t nSlot, pfnKillFunc pfnKill);
    CPDictionaryAssociation* FindDAKeyNum(std::uintptr_t nKey);
    CPDictionaryAssociation* FirstDAKeyNum(std::uintptr_t nKey);
    CPDictionaryAssociation* CursorAssociation() const;
    void RemoveKeyString(char const* szKey, std::uint32_t nHash, pfnKillFunc pfnKill);
    void RemoveKeyNum(std::uintptr_t nKey, pfnKillFunc pfnKill);
    void Forget(CPDictionaryAssociation* pda);
    CPCollection* AllThatOf(pfnCondFunc pfnCond, void* pvUser, bool bAssociation);
    void* FirstThatOf(pfnCondFunc pfnCond, void* pvUser, bool bAssociation);

    std::int16_t nSlotCursor = -1;
    std::array<CPList*, kSlots> arplstSlots{};
    char bVectorStale = 1;
    CPDictionaryAssociation** ppdaVector = nullptr;
    CPDictionaryAssociation* pdaLastFound = nullptr;
    // Made on the first search of a long chain; never shared by a copy.
    ChainIndexes* pcixIndexes = nullptr;
};

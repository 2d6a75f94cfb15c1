// The dictionary: 256 fixed slots, each a chain (a CPList) of associations
// made on demand. A number key goes to the slot of its low byte, a string key
// to the slot of the low byte of its CRC-16; one dictionary may hold both.
// It never grows or rehashes, so a search walks a chain of about Length()/256
// entries. A CPString key brings its cached CRC and is not hashed again.
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

// One key and one value. A string key is held by a counted reference.
class SORVANE_API CPDictionaryAssociation : public Createable {
public:
    CPDictionaryAssociation() = default;
    CPDictionaryAssociation(CPDictionaryAssociation const&) = delete;
    CPDictionaryAssociation& operator=(CPDictionaryAssociation const&) = delete;
    ~CPDictionaryAssociation() override;

    // An empty text is stored as "UnNamed", though the entry stays where the
    // empty text hashed: it can then be found by neither.
    void SetKeyString(char const* szKey);
    // Holds the given string when somebody counts it, otherwise a copy.
    void SetKeyString(CPString* pstrKey);
    void SetKeyCardinal(std::uintptr_t nKey);
    // Exact: case counts, and a number key never matches a text.
    short MatchKeyString(char const* szKey) const {
        if (bUseString != 1 || pstrKey == nullptr) return 0;
        return *pstrKey == szKey ? 1 : 0;
    }
    short MatchKeyCardinal(std::uintptr_t n) const {
        if (bUseString == 1) return 0;
        return nKey == n ? 1 : 0;
    }

    std::uintptr_t GetKeyCardinal() const { return bUseString == 1 ? 0 : nKey; }
    CPString* _get_pstrKey() const { return bUseString == 1 ? pstrKey : nullptr; }
    // The word a walk hands over as the key: the string or the number.
    std::uintptr_t _get_nKeyWord() const;
    // Copies the key text into szBuffer when given (no limit on the length)
    // and answers the key's own text; a number key empties the buffer and
    // answers an empty text.
    char const* GetKeyString(char* szBuffer) const;
    char const* GetKeyString(CPString* pstrDest) const;

    void* GetValue() const { return pvValue; }
    void SetValue(void* pv) { pvValue = pv; }
    char _get_bUseString() const { return bUseString; }
    void _set_bUseString(char b) {
        NoteKeyEdit();
        bUseString = b;
    }

    // Counts the keys set through the calls above, which may reach an
    // association already in a dictionary: a dictionary's search index is
    // only trusted while this is unchanged. A dictionary keys its own new
    // associations without counting.
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

// A position in a dictionary: a slot and a bucket of that slot's chain.
class SORVANE_API DictionaryIterationState : public IterationState {
public:
    explicit DictionaryIterationState(CPCollection* pcl) : IterationState(pcl) {}
    // A copy is a new position at the same place, held by nobody yet.
    DictionaryIterationState(DictionaryIterationState const& other)
        : Createable(), IterationState(other), pbktCurrent(other.pbktCurrent), nSlot(other.nSlot) {}
    DictionaryIterationState& operator=(DictionaryIterationState const& other);
    ~DictionaryIterationState() override = default;

    short vgotoTop() override;
    short vgotoBottom() override;
    short vgotoIDX(std::uint32_t n) override;
    short vgotoNext() override;
    // There is no walking back: answers 1 and moves nothing.
    short vgotoPrev() override;
    void* vretrieve() override;
    // The bucket of the chain, which holds the association.
    CPInternalContainer* vretrieveInternalContainer() override;

    CPBucket* _get_pbktCurrent() const { return pbktCurrent; }
    std::int16_t _get_nSlot() const { return nSlot; }

private:
    CPDictionary* Dictionary() const;
    void Place(std::uint32_t nSlotAt, bool bAtTail);

    CPBucket* pbktCurrent = nullptr;
    std::int16_t nSlot = -1;
};

class SORVANE_API CPDictionary : public CPKeyedCollection {
public:
    static constexpr std::uint32_t kSlots = 256;
    static constexpr std::uint32_t kNoSlot = 0xFFFFFFFF;

    using pfnKeyFunc = void (*)(void* pvItem, void* pvUser, std::uintptr_t nKey);

    // The slot count has no effect: the table is always 256.
    explicit CPDictionary(std::uint32_t nSlots = kSlots);
    // A copy aliases the source's chains, each counted, so that the two may
    // be destroyed in any order as long as neither changes in between.
    CPDictionary(CPDictionary const& other);
    CPDictionary& operator=(CPDictionary const& other);
    ~CPDictionary() override;

    static std::uint32_t HashOnCardinal(std::uintptr_t n) { return n & 0xFF; }
    static std::uint32_t HashOnString(char const* szText);
    std::uint32_t _get_nNumberOfSlots() const { return kSlots; }
    // The first slot at or after n that has a chain, or kNoSlot.
    std::uint32_t NextNonblankSlot(std::uint32_t n) const;
    CPList* _get_plstSlot(std::uint32_t n) const { return n < kSlots ? arplstSlots[n] : nullptr; }
    CPDictionaryAssociation* _get_pdaLastFound() const { return pdaLastFound; }
    std::int16_t _get_nSlotCursor() const { return nSlotCursor; }
    char _get_bVectorStale() const { return bVectorStale; }

    CPCollection* CreateInstance() override;
    IterationState* CreateIterationState() override;

    // Adding. A key already present is ignored: the old value stays.
    void AddKeyNum(std::uintptr_t nKey, void* pv) override;
    void AddKeyString(char const* szKey, void* pv, std::uint32_t* pulHash = nullptr) override;
    // Holds a reference on a key string somebody counts, else a copy of it.
    void AddKeyString(CPString* pstrKey, void* pv) override;
    // Keyed by the pointer itself: a set of pointers.
    void Add(void* pv) override;
    void AddInternalContainer(CPInternalContainer* pic) override;
    // Each association's key and value.
    void AddList(CPList* plst);

    // Removing. The string forms lower the count even for an absent key; an
    // absent key in a slot that has a chain is an assertion.
    void DetachKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    void DetachKeyString(CPString* pstrKey) override;
    void DetachKeyNum(std::uintptr_t nKey) override;
    void DestroyKeyNum(std::uintptr_t nKey, pfnKillFunc pfnKill) override;
    void DestroyKeyString(char const* szKey, pfnKillFunc pfnKill,
                          std::uint32_t* pulHash = nullptr) override;
    void DestroyKeyString(CPString* pstrKey, pfnKillFunc pfnKill) override;
    // Only an element under a string key is detached by value.
    char Detach(void* pv) override;
    char Destroy(void* pv, pfnKillFunc pfnKill) override;
    char DetachAll() override;
    char DestroyAll(pfnKillFunc pfnKill) override;

    // Lookup. A stored null and an absent key both find null.
    void* FindKeyNum(std::uintptr_t nKey) override;
    void* FindKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    void* FindKeyString(CPString* pstrKey) override;
    std::int32_t ExistsKeyNum(std::uintptr_t nKey) override;
    std::int32_t ExistsKeyString(CPString* pstrKey) override;
    std::int32_t ExistsKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    std::int32_t ExistsValue(void* pv);
    // By number key, not by position.
    void* operator[](std::uintptr_t nKey);

    // By position in walk order (slot by slot, then insertion order), through
    // a vector rebuilt after each change.
    void RefreshParallelVector();
    CPDictionaryAssociation* RetrieveDAIDX(std::int32_t n);
    void* RetrieveIDX(std::uint32_t n) override;

    // The dictionary's own cursor: a slot, and that chain's own cursor.
    void GotoTop() override;
    void GotoBottom() override;
    std::int32_t Next() override;
    // Always 0: there is no walking back.
    std::int32_t Prev() override;
    void* Retrieve() override;
    // The association under the cursor.
    void* RetrieveInternalContainer() override;

    // Walks by slot and index; they leave the dictionary's cursor alone.
    void ForEach(pfnKillFunc pfn, void* pvUser) override;
    void ForEach(pfnKeyFunc pfn, void* pvUser);
    // A walk of the cursor that fills in the action's key.
    void ForEach(IteratorAction* pia) override;
    void ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) override;
    // The function gets each key number (0 for a string key) and the value.
    void ForEachKeyCardinal(pfnKillFunc pfn, void* pvUser);
    void* FirstThatKeyCardinal(pfnCondFunc pfnCond, void* pvUser);
    void* FirstThat(pfnCondFunc pfnCond, void* pvUser) override;
    void* FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;
    // Not available: both report "1==0".
    void* NextThat(pfnCondFunc pfnCond, void* pvUser) override;
    void* NextThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;
    CPCollection* AllThat(pfnCondFunc pfnCond, void* pvUser) override;
    CPCollection* AllThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;

    // The key texts, each followed by "\r\n", for a dictionary whose elements
    // are themselves associations. The buffer is the caller's to size.
    void StringKeyList(char* pszOut);

protected:
    CPDictionaryAssociation* FindDAKeyString(char const* szKey, std::uint32_t* pulHash,
                                             std::uint32_t* pulSlot);

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

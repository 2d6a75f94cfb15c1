#include <cpcoll/cpstack.h>

#include <cpcoll/crlist.h>
#include <util/exceptions.h>

#include <new>

// StackIterationState --------------------------------------------------------

StackIterationState& StackIterationState::operator=(StackIterationState const& other) {
    IterationState::operator=(other);
    nIndex = other.nIndex;
    return *this;
}

short StackIterationState::vgotoTop() {
    nIndex = 0;
    return 1;
}

short StackIterationState::vgotoBottom() {
    std::uint32_t const nLen = pclAssociated->Length();
    nIndex = nLen != 0 ? nLen - 1 : 0;
    return 1;
}

short StackIterationState::vgotoIDX(std::uint32_t n) {
    std::uint32_t const nLen = pclAssociated->Length();
    if (n < nLen) nIndex = nLen - n - 1;
    return 1;
}

short StackIterationState::vgotoNext() {
    nIndex = nIndex >= pclAssociated->Length() ? 0 : nIndex + 1;
    return 1;
}

short StackIterationState::vgotoPrev() {
    if (nIndex != 0) --nIndex;
    return 1;
}

void* StackIterationState::vretrieve() {
    // Past the newest entry a stale one from an earlier pop would be read,
    // and the walk, which wraps there, would go round for ever.
    if (nIndex >= pclAssociated->Length()) return nullptr;
    return static_cast<CPStack*>(pclAssociated)->_get_pvEntry(nIndex);
}

CPInternalContainer* StackIterationState::vretrieveInternalContainer() {
    return static_cast<CPInternalContainer*>(vretrieve());
}

// CPStack --------------------------------------------------------------------

// One spare entry past the capacity, null until written: the cursor may
// stand one past a full stack, and a read there must stay inside.
CPStack::CPStack(std::uint32_t nCapacityA)
    : pvVector(new void*[static_cast<std::size_t>(nCapacityA) + 1]()), nCapacity(nCapacityA) {}

CPStack::~CPStack() {
    DetachAll();
    delete[] pvVector;
}

CPCollection* CPStack::CreateInstance() {
    return new (std::nothrow) CPStack(kDefaultCapacity);
}

IterationState* CPStack::CreateIterationState() {
    return new (std::nothrow) StackIterationState(this);
}

void CPStack::Add(void* pv) {
    Push(pv);
}

void CPStack::AddInternalContainer(CPInternalContainer*) {}

char CPStack::Detach(void* pv) {
    for (;;) {
        void* const pvTop = Pop();
        if (pvTop == nullptr) return 0;
        if (pvTop == pv) return 1;
    }
}

char CPStack::Destroy(void* pv, pfnKillFunc pfnKill) {
    for (;;) {
        void* const pvTop = Pop();
        if (pvTop == nullptr) return 0;
        if (pvTop == pv) {
            if (pfnKill != nullptr) pfnKill(pvTop, nullptr);
            return 1;
        }
    }
}

char CPStack::DetachAll() {
    nTop = 0;
    nCursor = 0;
    ClearLength();
    return 1;
}

char CPStack::DestroyAll(pfnKillFunc pfnKill) {
    if (pfnKill != nullptr) ForEach(pfnKill, nullptr);
    return DetachAll();
}

// The counter is 16-bit signed: past 32767 it turns negative, reads as a
// huge unsigned index, and the walk ends there.
void CPStack::ForEach(pfnKillFunc pfn, void* pvUser) {
    for (std::int16_t i = 0; static_cast<std::uint32_t>(static_cast<std::int32_t>(i)) < nTop; ++i)
        pfn(pvVector[i], pvUser);
}

void CPStack::ForEach(IteratorAction*) {
    SV_ASSERT(1 == 0, "1==0");
}

void* CPStack::FirstThat(pfnCondFunc, void*) {
    SV_ASSERT(1 == 0, "1==0");
    return nullptr;
}

void* CPStack::NextThat(pfnCondFunc, void*) {
    SV_ASSERT(1 == 0, "1==0");
    return nullptr;
}

CPCollection* CPStack::AllThat(pfnCondFunc, void*) {
    SV_ASSERT(1 == 0, "1==0");
    return nullptr;
}

// MapKeyPair -----------------------------------------------------------------

MapKeyPair::MapKeyPair(CPString const& strAA, CPString const& strBA, Createable* pcreateable)
    : strA(strAA), strB(strBA), pcreateableTxData(pcreateable) {
    if (pcreateableTxData != nullptr) pcreateableTxData->AddRef();
}

MapKeyPair::MapKeyPair(char const* szA, char const* szB, Createable* pcreateable)
    : strA(szA), strB(szB), pcreateableTxData(pcreateable) {
    if (pcreateableTxData != nullptr) pcreateableTxData->AddRef();
}

MapKeyPair::MapKeyPair(MapKeyPair const& other)
    : Createable(other), strA(other.strA), strB(other.strB),
      pcreateableTxData(other.pcreateableTxData) {
    if (pcreateableTxData != nullptr) pcreateableTxData->AddRef();
}

MapKeyPair& MapKeyPair::operator=(MapKeyPair const& other) {
    if (this == &other) return *this;
    Createable::operator=(other);
    strA = other.strA;
    strB = other.strB;
    if (other.pcreateableTxData != nullptr) other.pcreateableTxData->AddRef();
    if (pcreateableTxData != nullptr) pcreateableTxData->Release();
    pcreateableTxData = other.pcreateableTxData;
    return *this;
}

MapKeyPair::~MapKeyPair() {
    if (pcreateableTxData != nullptr) pcreateableTxData->Release();
    pcreateableTxData = nullptr;
}

// CPSymmetricMap -------------------------------------------------------------

CPSymmetricMap::~CPSymmetricMap() {
    Clear();
}

// A second mapping of a key wraps whatever the key held in a new list with
// the new pair, so a third nests the old list inside.
void CPSymmetricMap::Insert(CrDictionary& dct, CPString& strKey, MapKeyPair* pmkp) {
    Createable* const pcrOld = dct.FindKeyString(&strKey);
    if (pcrOld == nullptr) {
        dct.AddKeyString(&strKey, pmkp);
        return;
    }
    auto* const plst = new CrList;
    plst->Add(pcrOld);
    plst->Add(pmkp);
    dct.RemoveKeyString(&strKey);
    dct.AddKeyString(&strKey, plst);
}

void CPSymmetricMap::AddMapping(CPString const& strA, CPString const& strB,
                                Createable* pcreateable) {
    auto* const pmkp = new MapKeyPair(strA, strB, pcreateable);
    // Keyed by the pair's own strings, which nobody else can change.
    Insert(dctA, pmkp->_get_strA(), pmkp);
    Insert(dctB, pmkp->_get_strB(), pmkp);
}

void CPSymmetricMap::AddMapping(char const* szA, char const* szB, Createable* pcreateable) {
    CPString strA(szA);
    CPString strB(szB);
    AddMapping(strA, strB, pcreateable);
}

// A list's first entry is the oldest mapping; one nested by a third mapping
// is looked through rather than read as a pair.
// The dictionary reads the key through a pointer it may not change: it is
// given a copy, which shares the key's text.
MapKeyPair* CPSymmetricMap::Lookup(CrDictionary& dct, CPString const* pstrKey) {
    CPString strKey(*pstrKey);
    Createable* pcr = dct.FindKeyString(&strKey);
    while (pcr != nullptr) {
        if (auto* const pmkp = dynamic_cast<MapKeyPair*>(pcr)) return pmkp;
        auto* const plst = dynamic_cast<CrList*>(pcr);
        if (plst == nullptr) return nullptr;
        plst->GotoTop();
        pcr = plst->Retrieve();
    }
    return nullptr;
}

Createable* CPSymmetricMap::Retrieve(CrDictionary& dct, CPString const* pstrKey,
                                     CPString* pstrOut) {
    if (pstrKey == nullptr || pstrOut == nullptr) return nullptr;
    MapKeyPair* const pmkp = Lookup(dct, pstrKey);
    if (pmkp == nullptr) return nullptr;
    *pstrOut = pmkp->_get_strB();
    return pmkp->_get_pcreateableTxData();
}

Createable* CPSymmetricMap::RetrieveA(CPString const* pstrKey, CPString* pstrOut) {
    return Retrieve(dctA, pstrKey, pstrOut);
}

Createable* CPSymmetricMap::RetrieveB(CPString const* pstrKey, CPString* pstrOut) {
    return Retrieve(dctB, pstrKey, pstrOut);
}

// Nested lists are flattened, so that the result holds pairs only.
void CPSymmetricMap::Collect(Createable* pcrEntry, CrList& lstOut) {
    if (dynamic_cast<MapKeyPair*>(pcrEntry) != nullptr) {
        lstOut.Add(pcrEntry);
        return;
    }
    auto* const plst = dynamic_cast<CrList*>(pcrEntry);
    if (plst == nullptr) return;
    plst->GotoTop();
    for (Createable* pcr; (pcr = plst->Retrieve()) != nullptr; plst->Next())
        Collect(pcr, lstOut);
}

void CPSymmetricMap::GetAllThatMatchKeyA(CPString const& strKey, CrList& lstOut) {
    lstOut.RemoveAll();
    CPString strLookup(strKey);
    if (Createable* const pcr = dctA.FindKeyString(&strLookup)) Collect(pcr, lstOut);
}

void CPSymmetricMap::GetAllThatMatchKeyB(CPString const& strKey, CrList& lstOut) {
    lstOut.RemoveAll();
    CPString strLookup(strKey);
    if (Createable* const pcr = dctB.FindKeyString(&strLookup)) Collect(pcr, lstOut);
}

void CPSymmetricMap::Clear() {
    dctA.RemoveAll();
    dctB.RemoveAll();
}

#include <cpcoll/cpcollec.h>

#include <util/exceptions.h>

#include <cstdlib>
#include <new>

std::atomic<std::uint32_t> CPBucket::nLinksSetFromOutside{0};

// What a list learnt of its buckets holds their elements too.
void CPInternalContainer::_set_pvTheData(void* pv) {
    pvTheData = pv;
    CPBucket::NoteLinksSetFromOutside();
}

// The facade's slots ----------------------------------------------------------

short CPCollection::vadd(void*, void*) {
    return 0;
}
short CPCollection::vadd(void*, CPString*) {
    return 0;
}
short CPCollection::vadd(void*, char const*) {
    return 0;
}
short CPCollection::vadd(void*, std::int32_t) {
    return 0;
}
short CPCollection::vadd(void*) {
    return 0;
}
void* CPCollection::vremoveByProbe(void*) {
    return nullptr;
}
void* CPCollection::vremove(void*) {
    return nullptr;
}
void* CPCollection::vremove(CPString*) {
    return nullptr;
}
void* CPCollection::vremove(char const*) {
    return nullptr;
}
void* CPCollection::vremove(std::int32_t) {
    return nullptr;
}
void* CPCollection::vfind(void*) {
    return nullptr;
}
void* CPCollection::vfind(CPString*) {
    return nullptr;
}
void* CPCollection::vfind(char const*) {
    return nullptr;
}
void* CPCollection::vfind(std::int32_t) {
    return nullptr;
}

// The facade -----------------------------------------------------------------

bool CPCollection::TakeKind(std::int8_t kind) {
    if (nKeyKind == keyKindNone) nKeyKind = kind;
    return nKeyKind == kind;
}

short CPCollection::add(void* pv, void* pvKey) {
    return TakeKind(keyKindPointer) ? vadd(pv, pvKey) : 0;
}

short CPCollection::add(void* pv, std::int32_t nKey) {
    return TakeKind(keyKindNumber) ? vadd(pv, nKey) : 0;
}

short CPCollection::add(void* pv, char const* szKey) {
    return TakeKind(keyKindString) ? vadd(pv, szKey) : 0;
}

short CPCollection::add(void* pv, CPString* pstrKey) {
    return TakeKind(keyKindString) ? vadd(pv, pstrKey) : 0;
}

short CPCollection::add(void* pv) {
    return TakeKind(keyKindPlain) ? vadd(pv) : 0;
}

void* CPCollection::removeByProbe(void* pvProbe) {
    return nKeyKind == keyKindPlain ? vremoveByProbe(pvProbe) : nullptr;
}

// The pointer-keyed remove and the finds called themselves on a matching
// kind, which no path ever reached; they go to their slots instead.
void* CPCollection::remove(void* pvKey) {
    return nKeyKind == keyKindPointer ? vremove(pvKey) : nullptr;
}

void* CPCollection::remove(std::int32_t nKey) {
    return nKeyKind == keyKindNumber ? vremove(nKey) : nullptr;
}

void* CPCollection::remove(char const* szKey) {
    return nKeyKind == keyKindString ? vremove(szKey) : nullptr;
}

void* CPCollection::remove(CPString* pstrKey) {
    return nKeyKind == keyKindString ? vremove(pstrKey) : nullptr;
}

void* CPCollection::find(void* pvKey) {
    return nKeyKind == keyKindPointer ? vfind(pvKey) : nullptr;
}

void* CPCollection::find(std::int32_t nKey) {
    return nKeyKind == keyKindNumber ? vfind(nKey) : nullptr;
}

void* CPCollection::find(char const* szKey) {
    return nKeyKind == keyKindString ? vfind(szKey) : nullptr;
}

void* CPCollection::find(CPString* pstrKey) {
    return nKeyKind == keyKindString ? vfind(pstrKey) : nullptr;
}

// Cursor walks ---------------------------------------------------------------

void CPCollection::ForEach(IteratorAction* pia) {
    GotoTop();
    for (void* pv; (pv = Retrieve()) != nullptr; Next()) {
        pia->pvItem = pv;
        pia->Execute();
    }
}

void CPCollection::ForEach(pfnKillFunc pfn, void* pvUser) {
    GotoTop();
    for (void* pv; (pv = Retrieve()) != nullptr; Next())
        pfn(pv, pvUser);
}

void* CPCollection::FirstThat(pfnCondFunc pfnCond, void* pvUser) {
    GotoTop();
    for (void* pv; (pv = Retrieve()) != nullptr; Next())
        if (pfnCond(pv, pvUser) != 0) return pv;
    return nullptr;
}

void* CPCollection::NextThat(pfnCondFunc pfnCond, void* pvUser) {
    Next();
    for (void* pv; (pv = Retrieve()) != nullptr; Next())
        if (pfnCond(pv, pvUser) != 0) return pv;
    return nullptr;
}

void** CPCollection::BuildVector() {
    if (nLength == 0) return nullptr;
    // Zeroed: a null element ends the fill and leaves the rest unset.
    void** const ppvVector = new (std::nothrow) void*[nLength]();
    SV_FAIL_IF_NIL(ppvVector, "ppvVector");
    GotoTop();
    std::uint32_t i = 0;
    // An element count below the elements there are stops the fill at the
    // vector's end.
    for (void* pv; i < nLength && (pv = Retrieve()) != nullptr; Next())
        ppvVector[i++] = pv;
    return ppvVector;
}

// Counting -------------------------------------------------------------------

void CPCollection::ReportEmpty() const {
    SV_ASSERT(nLength > 0, "nLength >0");
}

// Copying --------------------------------------------------------------------

void CPCollection::CopyFrom(CPCollection* pclFrom) {
    if (nLength == 0) AddFrom(pclFrom);
}

void CPCollection::AddFrom(CPCollection* pclFrom) {
    SV_ASSERT(pclFrom != nullptr, "pclFrom");
    if (pclFrom->Length() == 0) return;
    // Bounded by the source's count: adding a collection to itself would
    // otherwise walk into its own new entries for ever.
    std::uint32_t const n = pclFrom->Length();
    pclFrom->GotoTop();
    std::uint32_t i = 0;
    for (void* pv; i < n && (pv = pclFrom->Retrieve()) != nullptr; pclFrom->Next(), ++i)
        Add(pv);
}

// CPFlatCollection -----------------------------------------------------------

void CPFlatCollection::BuildFromVector(void** ppv, std::uint32_t n) {
    if (nLength != 0 || ppv == nullptr || n < 1) return;
    for (std::uint32_t i = 0; i < n; ++i)
        Add(ppv[i]);
}

void CPFlatCollection::Sort(pfnCompareFunc pfnCompare) {
    if (nLength == 0) return;
    void** const ppv = BuildVector();
    std::uint32_t const n = nLength;
    std::qsort(ppv, n, sizeof(void*), pfnCompare);
    DetachAll();
    BuildFromVector(ppv, n);
    delete[] ppv;
}

void CPFlatCollection::SortedCopy(CPCollection* pcollFrom, pfnCompareFunc pfnCompare) {
    SV_ASSERT(pcollFrom != nullptr, "pcollFrom");
    if (pcollFrom->Length() == 0 || nLength == 0) return;
    void** const ppv = pcollFrom->BuildVector();
    std::uint32_t const n = pcollFrom->Length();
    std::qsort(ppv, n, sizeof(void*), pfnCompare);
    BuildFromVector(ppv, n);
    delete[] ppv;
}

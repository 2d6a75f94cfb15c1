#include <cpcoll/crlist.h>

#include <cpcoll/cplist.h>
#include <util/exceptions.h>

#include <new>

namespace {

Createable* AsEntry(void* pv) {
    return static_cast<Createable*>(pv);
}

} // namespace

void CrCollection::itReleaseCreateable(void* pv, void*) {
    AsEntry(pv)->Release();
}

CrList::CrList() : plstThe(new (std::nothrow) CPList) {
    SV_FAIL_IF_NIL(plstThe, "plstThe");
    plstThe->AddRef();
}

CrList::~CrList() {
    RemoveAll();
    plstThe->Release();
}

short CrList::Add(Createable* pcr) {
    // A null entry would be counted through null; that ends the process.
    SV_CRIT_ASSERT(pcr != nullptr, "pcr !=0");
    plstThe->Add(pcr);
    pcr->AddRef();
    return 1;
}

short CrList::Remove(Createable* pcr) {
    return plstThe->Destroy(pcr, itReleaseCreateable);
}

void CrList::RemoveAll() {
    plstThe->DestroyAll(itReleaseCreateable);
}

std::uint32_t CrList::Length() {
    return plstThe->Length();
}

void CrList::ForEach(pfnKillFunc pfn, void* pvUser) {
    plstThe->ForEach(pfn, pvUser);
}

void CrList::GotoTop() {
    plstThe->GotoTop();
}

void CrList::GotoBottom() {
    plstThe->GotoBottom();
}

std::int32_t CrList::Next() {
    return plstThe->Next();
}

std::int32_t CrList::Prev() {
    return plstThe->Prev();
}

Createable* CrList::Retrieve() {
    return AsEntry(plstThe->Retrieve());
}

Createable* CrList::RetrieveIDX(std::uint32_t n) {
    return AsEntry(plstThe->RetrieveIDX(n));
}

Createable* CrList::FirstThat(pfnCondFunc pfnCond, void* pvUser) {
    return AsEntry(plstThe->FirstThat(pfnCond, pvUser));
}

Createable* CrList::NextThat(pfnCondFunc pfnCond, void* pvUser) {
    return AsEntry(plstThe->NextThat(pfnCond, pvUser));
}

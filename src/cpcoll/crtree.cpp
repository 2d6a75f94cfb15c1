#include <cpcoll/crtree.h>

#include <cpcoll/btree.h>
#include <util/exceptions.h>

namespace {

// Checks report the unit's name, not the source path, and the caller's line.

Createable* AsEntry(void* pv) {
    return static_cast<Createable*>(pv);
}

Createable* AsLeaf(void* pv) {
    return static_cast<Leaf*>(pv);
}

} // namespace

CrTree::CrTree() : ptreeThe(new CPTree) {
    ptreeThe->AddRef();
}

CrTree::~CrTree() {
    RemoveAll();
    ptreeThe->Release();
}

// Adding and removing ---------------------------------------------------------

// The test for the key comes first, which hides the tree's own replacing.
short CrTree::AddKeyNum(std::uintptr_t nKey, Createable* pcrEntry) {
    if (ExistsKeyNum(nKey) != 0) return 0;
    ptreeThe->AddKeyNum(nKey, pcrEntry);
    SV_ASSERT(pcrEntry != nullptr, "pcrEntry");
    pcrEntry->AddRef();
    return 1;
}

short CrTree::AddKeyString(char const* szKey, Createable* pcrEntry, std::uint32_t* pulHash) {
    if (ExistsKeyString(szKey, pulHash) != 0) return 0;
    ptreeThe->AddKeyString(szKey, pcrEntry, pulHash);
    SV_ASSERT(pcrEntry != nullptr, "pcrEntry");
    pcrEntry->AddRef();
    return 1;
}

short CrTree::AddKeyString(CPString* pstrKey, Createable* pcrEntry) {
    if (ExistsKeyString(pstrKey) != 0) return 0;
    ptreeThe->AddKeyString(pstrKey, pcrEntry);
    SV_ASSERT(pcrEntry != nullptr, "pcrEntry");
    pcrEntry->AddRef();
    return 1;
}

short CrTree::RemoveKeyString(char const* szKey, std::uint32_t* pulHash) {
    if (FindKeyString(szKey, pulHash) == nullptr) return 0;
    ptreeThe->DestroyKeyString(szKey, itReleaseCreateable, pulHash);
    return 1;
}

short CrTree::RemoveKeyString(CPString* pstrKey) {
    if (FindKeyString(pstrKey) == nullptr) return 0;
    ptreeThe->DestroyKeyString(pstrKey, itReleaseCreateable);
    return 1;
}

short CrTree::RemoveKeyNum(std::uintptr_t nKey) {
    if (FindKeyNum(nKey) == nullptr) return 0;
    ptreeThe->DestroyKeyNum(nKey, itReleaseCreateable);
    return 1;
}

void CrTree::RemoveAll() {
    ptreeThe->DestroyAll(itReleaseCreateable);
}

void CrTree::DetachKeyNum(std::uintptr_t nKey) {
    ptreeThe->DetachKeyNum(nKey);
}

void CrTree::DetachKeyString(char const* szKey, std::uint32_t* pulHash) {
    ptreeThe->DetachKeyString(szKey, pulHash);
}

void CrTree::DetachKeyString(CPString* pstrKey) {
    ptreeThe->DetachKeyString(pstrKey);
}

// Lookup ---------------------------------------------------------------------

Createable* CrTree::FindKeyNum(std::uintptr_t nKey) {
    return AsEntry(ptreeThe->FindKeyNum(nKey));
}

Createable* CrTree::FindKeyString(char const* szKey, std::uint32_t* pulHash) {
    return AsEntry(ptreeThe->FindKeyString(szKey, pulHash));
}

Createable* CrTree::FindKeyString(CPString* pstrKey) {
    return AsEntry(ptreeThe->FindKeyString(pstrKey));
}

short CrTree::ExistsKeyNum(std::uintptr_t nKey) {
    return ptreeThe->ExistsKeyNum(nKey) != 0 ? 1 : 0;
}

short CrTree::ExistsKeyString(CPString* pstrKey) {
    return ptreeThe->ExistsKeyString(pstrKey) != 0 ? 1 : 0;
}

short CrTree::ExistsKeyString(char const* szKey, std::uint32_t* pulHash) {
    return ptreeThe->ExistsKeyString(szKey, pulHash) != 0 ? 1 : 0;
}

Createable* CrTree::operator[](std::uint32_t nKey) {
    return AsEntry(ptreeThe->RetrieveIDX(nKey));
}

// Walks and the cursor -------------------------------------------------------

std::uint32_t CrTree::Length() {
    return ptreeThe->Length();
}

void CrTree::ForEach(pfnKillFunc pfn, void* pvUser) {
    ptreeThe->ForEach(pfn, pvUser);
}

void CrTree::ForEach(pfnKeyFunc pfn, void* pvUser) {
    ptreeThe->ForEach(pfn, pvUser);
}

void CrTree::ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) {
    ptreeThe->ForEachInternalContainer(pfn, pvUser);
}

Createable* CrTree::FirstThat(pfnCondFunc pfnCond, void* pvUser) {
    return AsEntry(ptreeThe->FirstThat(pfnCond, pvUser));
}

Createable* CrTree::FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) {
    return AsLeaf(ptreeThe->FirstThatInternalContainer(pfnCond, pvUser));
}

Createable* CrTree::NextThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) {
    return AsLeaf(ptreeThe->NextThatInternalContainer(pfnCond, pvUser));
}

CrCollection* CrTree::AllThatInternalContainer(pfnCondFunc, void*) {
    SV_ASSERT(1 == 0, "1==0");
    return nullptr;
}

void CrTree::GotoTop() {
    ptreeThe->GotoTop();
}

void CrTree::GotoBottom() {
    ptreeThe->GotoBottom();
}

std::int32_t CrTree::Next() {
    return ptreeThe->Next();
}

std::int32_t CrTree::Prev() {
    return ptreeThe->Prev();
}

Createable* CrTree::Retrieve() {
    return AsEntry(ptreeThe->Retrieve());
}

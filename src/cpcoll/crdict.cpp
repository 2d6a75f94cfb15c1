#include <cpcoll/crdict.h>

#include <cpcoll/cpdict.h>
#include <util/exceptions.h>

#include <new>

namespace {

// Checks report the unit's name, not the source path, and the caller's line.

Createable* AsEntry(void* pv) {
    return static_cast<Createable*>(pv);
}

} // namespace

CrDictionary::CrDictionary() : pdctThe(new (std::nothrow) CPDictionary) {
    if (pdctThe != nullptr) pdctThe->AddRef();
}

CrDictionary::~CrDictionary() {
    RemoveAll();
    if (pdctThe != nullptr) pdctThe->Release();
}

// Adding and removing ---------------------------------------------------------

// A dictionary that could not be made stores nothing.
short CrDictionary::AddKeyNum(std::uintptr_t nKey, Createable* pcrEntry) {
    if (pdctThe == nullptr) return 0;
    if (ExistsKeyNum(nKey) != 0) return 0;
    pdctThe->AddKeyNum(nKey, pcrEntry);
    SV_ASSERT(pcrEntry != nullptr, "pcrEntry");
    pcrEntry->AddRef();
    return 1;
}

short CrDictionary::AddKeyString(char const* szKey, Createable* pcrEntry, std::uint32_t* pulHash) {
    if (pdctThe == nullptr) return 0;
    if (ExistsKeyString(szKey, pulHash) != 0) return 0;
    pdctThe->AddKeyString(szKey, pcrEntry, pulHash);
    SV_ASSERT(pcrEntry != nullptr, "pcrEntry");
    pcrEntry->AddRef();
    return 1;
}

short CrDictionary::AddKeyString(CPString* pstrKey, Createable* pcrEntry) {
    if (pdctThe == nullptr) return 0;
    if (ExistsKeyString(pstrKey) != 0) return 0;
    pdctThe->AddKeyString(pstrKey, pcrEntry);
    SV_ASSERT(pcrEntry != nullptr, "pcrEntry");
    pcrEntry->AddRef();
    return 1;
}

short CrDictionary::RemoveKeyString(char const* szKey, std::uint32_t* pulHash) {
    if (FindKeyString(szKey, pulHash) == nullptr) return 0;
    pdctThe->DestroyKeyString(szKey, itReleaseCreateable, pulHash);
    return 1;
}

short CrDictionary::RemoveKeyString(CPString* pstrKey) {
    if (FindKeyString(pstrKey) == nullptr) return 0;
    pdctThe->DestroyKeyString(pstrKey, itReleaseCreateable);
    return 1;
}

short CrDictionary::RemoveKeyNum(std::uintptr_t nKey) {
    if (FindKeyNum(nKey) == nullptr) return 0;
    pdctThe->DestroyKeyNum(nKey, itReleaseCreateable);
    return 1;
}

void CrDictionary::RemoveAll() {
    if (pdctThe != nullptr) pdctThe->DestroyAll(itReleaseCreateable);
}

void CrDictionary::DetachKeyNum(std::uintptr_t nKey) {
    if (pdctThe != nullptr) pdctThe->DetachKeyNum(nKey);
}

void CrDictionary::DetachKeyString(char const* szKey, std::uint32_t* pulHash) {
    if (pdctThe != nullptr) pdctThe->DetachKeyString(szKey, pulHash);
}

void CrDictionary::DetachKeyString(CPString* pstrKey) {
    if (pdctThe != nullptr) pdctThe->DetachKeyString(pstrKey);
}

// Lookup ---------------------------------------------------------------------

Createable* CrDictionary::FindKeyNum(std::uintptr_t nKey) {
    return pdctThe != nullptr ? AsEntry(pdctThe->FindKeyNum(nKey)) : nullptr;
}

Createable* CrDictionary::FindKeyString(char const* szKey, std::uint32_t* pulHash) {
    return pdctThe != nullptr ? AsEntry(pdctThe->FindKeyString(szKey, pulHash)) : nullptr;
}

Createable* CrDictionary::FindKeyString(CPString* pstrKey) {
    return pdctThe != nullptr ? AsEntry(pdctThe->FindKeyString(pstrKey)) : nullptr;
}

short CrDictionary::ExistsKeyNum(std::uintptr_t nKey) {
    return pdctThe != nullptr && pdctThe->ExistsKeyNum(nKey) != 0 ? 1 : 0;
}

short CrDictionary::ExistsKeyString(CPString* pstrKey) {
    return pdctThe != nullptr && pdctThe->ExistsKeyString(pstrKey) != 0 ? 1 : 0;
}

short CrDictionary::ExistsKeyString(char const* szKey, std::uint32_t* pulHash) {
    return pdctThe != nullptr && pdctThe->ExistsKeyString(szKey, pulHash) != 0 ? 1 : 0;
}

Createable* CrDictionary::operator[](std::uint32_t nKey) {
    return pdctThe != nullptr ? AsEntry((*pdctThe)[nKey]) : nullptr;
}

// Walks and the cursor -------------------------------------------------------

std::uint32_t CrDictionary::Length() {
    return pdctThe != nullptr ? pdctThe->Length() : 0;
}

void CrDictionary::ForEach(pfnKillFunc pfn, void* pvUser) {
    if (pdctThe != nullptr) pdctThe->ForEach(pfn, pvUser);
}

void CrDictionary::ForEach(pfnKeyFunc pfn, void* pvUser) {
    if (pdctThe != nullptr) pdctThe->ForEach(pfn, pvUser);
}

void CrDictionary::ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) {
    if (pdctThe != nullptr) pdctThe->ForEachInternalContainer(pfn, pvUser);
}

Createable* CrDictionary::FirstThat(pfnCondFunc pfnCond, void* pvUser) {
    return pdctThe != nullptr ? AsEntry(pdctThe->FirstThat(pfnCond, pvUser)) : nullptr;
}

Createable* CrDictionary::FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) {
    if (pdctThe == nullptr) return nullptr;
    return static_cast<CPDictionaryAssociation*>(
        pdctThe->FirstThatInternalContainer(pfnCond, pvUser));
}

Createable* CrDictionary::NextThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) {
    if (pdctThe == nullptr) return nullptr;
    return static_cast<CPDictionaryAssociation*>(
        pdctThe->NextThatInternalContainer(pfnCond, pvUser));
}

CrCollection* CrDictionary::AllThatInternalContainer(pfnCondFunc, void*) {
    SV_ASSERT(1 == 0, "1==0");
    return nullptr;
}

void CrDictionary::GotoTop() {
    if (pdctThe != nullptr) pdctThe->GotoTop();
}

void CrDictionary::GotoBottom() {
    if (pdctThe != nullptr) pdctThe->GotoBottom();
}

std::int32_t CrDictionary::Next() {
    return pdctThe != nullptr ? pdctThe->Next() : 0;
}

std::int32_t CrDictionary::Prev() {
    return pdctThe != nullptr ? pdctThe->Prev() : 0;
}

Createable* CrDictionary::Retrieve() {
    return pdctThe != nullptr ? AsEntry(pdctThe->Retrieve()) : nullptr;
}

CPDictionaryAssociation* CrDictionary::RetrieveInternalContainer() {
    if (pdctThe == nullptr) return nullptr;
    return static_cast<CPDictionaryAssociation*>(pdctThe->RetrieveInternalContainer());
}

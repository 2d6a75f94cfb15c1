#include <cpcoll/crdict.h>

#include <cpcoll/cpdict.h>
#include <cpcoll/crkeyed.h>
#include <util/exceptions.h>

#include <new>

namespace {

void CheckEntry(Createable* pcrEntry) {
    SV_ASSERT(pcrEntry != nullptr, "pcrEntry");
}

using Keys = crkeyed::CountedKeys<CPDictionary, CheckEntry>;

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
    return Keys{pdctThe}.AddFirst([&] { return ExistsKeyNum(nKey); },
                                  [&](CPDictionary& d) { d.AddKeyNum(nKey, pcrEntry); }, pcrEntry);
}

short CrDictionary::AddKeyString(char const* szKey, Createable* pcrEntry, std::uint32_t* pulHash) {
    return Keys{pdctThe}.AddFirst(
        [&] { return ExistsKeyString(szKey, pulHash); },
        [&](CPDictionary& d) { d.AddKeyString(szKey, pcrEntry, pulHash); }, pcrEntry);
}

short CrDictionary::AddKeyString(CPString* pstrKey, Createable* pcrEntry) {
    return Keys{pdctThe}.AddFirst([&] { return ExistsKeyString(pstrKey); },
                                  [&](CPDictionary& d) { d.AddKeyString(pstrKey, pcrEntry); },
                                  pcrEntry);
}

short CrDictionary::RemoveKeyString(char const* szKey, std::uint32_t* pulHash) {
    return Keys::RemoveFound(
        [&] { return FindKeyString(szKey, pulHash); },
        [&] { pdctThe->DestroyKeyString(szKey, itReleaseCreateable, pulHash); });
}

short CrDictionary::RemoveKeyString(CPString* pstrKey) {
    return Keys::RemoveFound([&] { return FindKeyString(pstrKey); },
                             [&] { pdctThe->DestroyKeyString(pstrKey, itReleaseCreateable); });
}

short CrDictionary::RemoveKeyNum(std::uintptr_t nKey) {
    return Keys::RemoveFound([&] { return FindKeyNum(nKey); },
                             [&] { pdctThe->DestroyKeyNum(nKey, itReleaseCreateable); });
}

void CrDictionary::RemoveAll() {
    Keys{pdctThe}.Do([](CPDictionary& d) { d.DestroyAll(itReleaseCreateable); });
}

void CrDictionary::DetachKeyNum(std::uintptr_t nKey) {
    Keys{pdctThe}.Do([&](CPDictionary& d) { d.DetachKeyNum(nKey); });
}

void CrDictionary::DetachKeyString(char const* szKey, std::uint32_t* pulHash) {
    Keys{pdctThe}.Do([&](CPDictionary& d) { d.DetachKeyString(szKey, pulHash); });
}

void CrDictionary::DetachKeyString(CPString* pstrKey) {
    Keys{pdctThe}.Do([&](CPDictionary& d) { d.DetachKeyString(pstrKey); });
}

// Lookup ---------------------------------------------------------------------

Createable* CrDictionary::FindKeyNum(std::uintptr_t nKey) {
    return Keys{pdctThe}.Entry([&](CPDictionary& d) { return d.FindKeyNum(nKey); });
}

Createable* CrDictionary::FindKeyString(char const* szKey, std::uint32_t* pulHash) {
    return Keys{pdctThe}.Entry([&](CPDictionary& d) { return d.FindKeyString(szKey, pulHash); });
}

Createable* CrDictionary::FindKeyString(CPString* pstrKey) {
    return Keys{pdctThe}.Entry([&](CPDictionary& d) { return d.FindKeyString(pstrKey); });
}

short CrDictionary::ExistsKeyNum(std::uintptr_t nKey) {
    return Keys{pdctThe}.Exists([&](CPDictionary& d) { return d.ExistsKeyNum(nKey); });
}

short CrDictionary::ExistsKeyString(CPString* pstrKey) {
    return Keys{pdctThe}.Exists([&](CPDictionary& d) { return d.ExistsKeyString(pstrKey); });
}

short CrDictionary::ExistsKeyString(char const* szKey, std::uint32_t* pulHash) {
    return Keys{pdctThe}.Exists([&](CPDictionary& d) { return d.ExistsKeyString(szKey, pulHash); });
}

Createable* CrDictionary::operator[](std::uintptr_t nKey) {
    return Keys{pdctThe}.Entry([&](CPDictionary& d) { return d[nKey]; });
}

// Walks and the cursor -------------------------------------------------------

std::uint32_t CrDictionary::Length() {
    return Keys{pdctThe}.Answer(std::uint32_t{0}, [](CPDictionary& d) { return d.Length(); });
}

void CrDictionary::ForEach(pfnKillFunc pfn, void* pvUser) {
    Keys{pdctThe}.Do([&](CPDictionary& d) { d.ForEach(pfn, pvUser); });
}

void CrDictionary::ForEach(pfnKeyFunc pfn, void* pvUser) {
    Keys{pdctThe}.Do([&](CPDictionary& d) { d.ForEach(pfn, pvUser); });
}

void CrDictionary::ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) {
    Keys{pdctThe}.Do([&](CPDictionary& d) { d.ForEachInternalContainer(pfn, pvUser); });
}

Createable* CrDictionary::FirstThat(pfnCondFunc pfnCond, void* pvUser) {
    return Keys{pdctThe}.Entry([&](CPDictionary& d) { return d.FirstThat(pfnCond, pvUser); });
}

Createable* CrDictionary::FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) {
    return Keys{pdctThe}.Entry<CPDictionaryAssociation>(
        [&](CPDictionary& d) { return d.FirstThatInternalContainer(pfnCond, pvUser); });
}

Createable* CrDictionary::NextThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) {
    return Keys{pdctThe}.Entry<CPDictionaryAssociation>(
        [&](CPDictionary& d) { return d.NextThatInternalContainer(pfnCond, pvUser); });
}

CrCollection* CrDictionary::AllThatInternalContainer(pfnCondFunc, void*) {
    SV_ASSERT(1 == 0, "1==0");
    return nullptr;
}

void CrDictionary::GotoTop() {
    Keys{pdctThe}.Do([](CPDictionary& d) { d.GotoTop(); });
}

void CrDictionary::GotoBottom() {
    Keys{pdctThe}.Do([](CPDictionary& d) { d.GotoBottom(); });
}

std::int32_t CrDictionary::Next() {
    return Keys{pdctThe}.Answer(std::int32_t{0}, [](CPDictionary& d) { return d.Next(); });
}

std::int32_t CrDictionary::Prev() {
    return Keys{pdctThe}.Answer(std::int32_t{0}, [](CPDictionary& d) { return d.Prev(); });
}

Createable* CrDictionary::Retrieve() {
    return Keys{pdctThe}.Entry([](CPDictionary& d) { return d.Retrieve(); });
}

CPDictionaryAssociation* CrDictionary::RetrieveInternalContainer() {
    return Keys{pdctThe}.Answer(
        static_cast<CPDictionaryAssociation*>(nullptr), [](CPDictionary& d) {
            return static_cast<CPDictionaryAssociation*>(d.RetrieveInternalContainer());
        });
}

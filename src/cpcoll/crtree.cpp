#include <cpcoll/crtree.h>

#include <cpcoll/btree.h>
#include <cpcoll/crkeyed.h>
#include <util/exceptions.h>

namespace {

void CheckEntry(Createable* pcrEntry) {
    SV_ASSERT(pcrEntry != nullptr, "pcrEntry");
}

using Keys = crkeyed::CountedKeys<CPTree, CheckEntry>;

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
    return Keys{ptreeThe}.AddFirst([&] { return ExistsKeyNum(nKey); },
                                   [&](CPTree& t) { t.AddKeyNum(nKey, pcrEntry); }, pcrEntry);
}

short CrTree::AddKeyString(char const* szKey, Createable* pcrEntry, std::uint32_t* pulHash) {
    return Keys{ptreeThe}.AddFirst([&] { return ExistsKeyString(szKey, pulHash); },
                                   [&](CPTree& t) { t.AddKeyString(szKey, pcrEntry, pulHash); },
                                   pcrEntry);
}

short CrTree::AddKeyString(CPString* pstrKey, Createable* pcrEntry) {
    return Keys{ptreeThe}.AddFirst([&] { return ExistsKeyString(pstrKey); },
                                   [&](CPTree& t) { t.AddKeyString(pstrKey, pcrEntry); }, pcrEntry);
}

short CrTree::RemoveKeyString(char const* szKey, std::uint32_t* pulHash) {
    return Keys::RemoveFound(
        [&] { return FindKeyString(szKey, pulHash); },
        [&] { ptreeThe->DestroyKeyString(szKey, itReleaseCreateable, pulHash); });
}

short CrTree::RemoveKeyString(CPString* pstrKey) {
    return Keys::RemoveFound([&] { return FindKeyString(pstrKey); },
                             [&] { ptreeThe->DestroyKeyString(pstrKey, itReleaseCreateable); });
}

short CrTree::RemoveKeyNum(std::uintptr_t nKey) {
    return Keys::RemoveFound([&] { return FindKeyNum(nKey); },
                             [&] { ptreeThe->DestroyKeyNum(nKey, itReleaseCreateable); });
}

void CrTree::RemoveAll() {
    Keys{ptreeThe}.Do([](CPTree& t) { t.DestroyAll(itReleaseCreateable); });
}

void CrTree::DetachKeyNum(std::uintptr_t nKey) {
    Keys{ptreeThe}.Do([&](CPTree& t) { t.DetachKeyNum(nKey); });
}

void CrTree::DetachKeyString(char const* szKey, std::uint32_t* pulHash) {
    Keys{ptreeThe}.Do([&](CPTree& t) { t.DetachKeyString(szKey, pulHash); });
}

void CrTree::DetachKeyString(CPString* pstrKey) {
    Keys{ptreeThe}.Do([&](CPTree& t) { t.DetachKeyString(pstrKey); });
}

// Lookup ---------------------------------------------------------------------

Createable* CrTree::FindKeyNum(std::uintptr_t nKey) {
    return Keys{ptreeThe}.Entry([&](CPTree& t) { return t.FindKeyNum(nKey); });
}

Createable* CrTree::FindKeyString(char const* szKey, std::uint32_t* pulHash) {
    return Keys{ptreeThe}.Entry([&](CPTree& t) { return t.FindKeyString(szKey, pulHash); });
}

Createable* CrTree::FindKeyString(CPString* pstrKey) {
    return Keys{ptreeThe}.Entry([&](CPTree& t) { return t.FindKeyString(pstrKey); });
}

short CrTree::ExistsKeyNum(std::uintptr_t nKey) {
    return Keys{ptreeThe}.Exists([&](CPTree& t) { return t.ExistsKeyNum(nKey); });
}

short CrTree::ExistsKeyString(CPString* pstrKey) {
    return Keys{ptreeThe}.Exists([&](CPTree& t) { return t.ExistsKeyString(pstrKey); });
}

short CrTree::ExistsKeyString(char const* szKey, std::uint32_t* pulHash) {
    return Keys{ptreeThe}.Exists([&](CPTree& t) { return t.ExistsKeyString(szKey, pulHash); });
}

Createable* CrTree::operator[](std::uintptr_t nKey) {
    return Keys{ptreeThe}.Entry([&](CPTree& t) { return t.FindKeyNum(nKey); });
}

// Walks and the cursor -------------------------------------------------------

std::uint32_t CrTree::Length() {
    return Keys{ptreeThe}.Answer(std::uint32_t{0}, [](CPTree& t) { return t.Length(); });
}

void CrTree::ForEach(pfnKillFunc pfn, void* pvUser) {
    Keys{ptreeThe}.Do([&](CPTree& t) { t.ForEach(pfn, pvUser); });
}

void CrTree::ForEach(pfnKeyFunc pfn, void* pvUser) {
    Keys{ptreeThe}.Do([&](CPTree& t) { t.ForEach(pfn, pvUser); });
}

void CrTree::ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) {
    Keys{ptreeThe}.Do([&](CPTree& t) { t.ForEachInternalContainer(pfn, pvUser); });
}

Createable* CrTree::FirstThat(pfnCondFunc pfnCond, void* pvUser) {
    return Keys{ptreeThe}.Entry([&](CPTree& t) { return t.FirstThat(pfnCond, pvUser); });
}

Createable* CrTree::FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) {
    return Keys{ptreeThe}.Entry<Leaf>(
        [&](CPTree& t) { return t.FirstThatInternalContainer(pfnCond, pvUser); });
}

Createable* CrTree::NextThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) {
    return Keys{ptreeThe}.Entry<Leaf>(
        [&](CPTree& t) { return t.NextThatInternalContainer(pfnCond, pvUser); });
}

CrCollection* CrTree::AllThatInternalContainer(pfnCondFunc, void*) {
    SV_ASSERT(1 == 0, "1==0");
    return nullptr;
}

void CrTree::GotoTop() {
    Keys{ptreeThe}.Do([](CPTree& t) { t.GotoTop(); });
}

void CrTree::GotoBottom() {
    Keys{ptreeThe}.Do([](CPTree& t) { t.GotoBottom(); });
}

std::int32_t CrTree::Next() {
    return Keys{ptreeThe}.Answer(std::int32_t{0}, [](CPTree& t) { return t.Next(); });
}

std::int32_t CrTree::Prev() {
    return Keys{ptreeThe}.Answer(std::int32_t{0}, [](CPTree& t) { return t.Prev(); });
}

Createable* CrTree::Retrieve() {
    return Keys{ptreeThe}.Entry([](CPTree& t) { return t.Retrieve(); });
}

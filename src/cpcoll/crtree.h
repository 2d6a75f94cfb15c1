// The counted tree: a CPTree whose entries are Createables, each holding one
// reference from add to remove. Unlike the tree itself it keeps the first
// entry under a key: an add tests for the key before it stores.
#pragma once

#include <cpcoll/crlist.h>
#include <platform/export.h>

#include <cstdint>

class CPTree;

class SORVANE_API CrTree : public CrKeyedCollection {
public:
    CrTree();
    CrTree(CrTree const&) = delete;
    CrTree& operator=(CrTree const&) = delete;
    ~CrTree() override;

    short AddKeyNum(std::uintptr_t nKey, Createable* pcrEntry) override;
    short AddKeyString(char const* szKey, Createable* pcrEntry,
                       std::uint32_t* pulHash = nullptr) override;
    short AddKeyString(CPString* pstrKey, Createable* pcrEntry) override;
    short RemoveKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    short RemoveKeyString(CPString* pstrKey) override;
    short RemoveKeyNum(std::uintptr_t nKey) override;
    void RemoveAll() override;
    // Out of the tree with its reference still counted: the caller now has
    // that reference to give back.
    void DetachKeyNum(std::uintptr_t nKey);
    void DetachKeyString(char const* szKey, std::uint32_t* pulHash = nullptr);
    void DetachKeyString(CPString* pstrKey);

    Createable* FindKeyNum(std::uintptr_t nKey) override;
    Createable* FindKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    Createable* FindKeyString(CPString* pstrKey) override;
    short ExistsKeyNum(std::uintptr_t nKey) override;
    short ExistsKeyString(CPString* pstrKey) override;
    short ExistsKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    // By number key, not by position; the key keeps its pointer width.
    Createable* operator[](std::uintptr_t nKey);

    std::uint32_t Length() override;
    void ForEach(pfnKillFunc pfn, void* pvUser) override;
    // The tree refuses it: reports "1==0".
    void ForEach(pfnKeyFunc pfn, void* pvUser) override;
    void ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) override;
    Createable* FirstThat(pfnCondFunc pfnCond, void* pvUser);
    Createable* FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;
    Createable* NextThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;
    // Not available: reports "1==0".
    CrCollection* AllThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;

    void GotoTop() override;
    void GotoBottom() override;
    std::int32_t Next() override;
    std::int32_t Prev() override;
    Createable* Retrieve() override;

    CPTree* _get_ptreeThe() const { return ptreeThe; }

private:
    CPTree* ptreeThe;
};

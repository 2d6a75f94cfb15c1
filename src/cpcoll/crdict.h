// The counted dictionary: a CPDictionary whose entries are Createables, each
// holding one reference from add to remove.
#pragma once

#include <cpcoll/crlist.h>
#include <platform/export.h>

#include <cstdint>

class CPDictionary;
class CPDictionaryAssociation;

class SORVANE_API CrDictionary : public CrKeyedCollection {
public:
    CrDictionary();
    CrDictionary(CrDictionary const&) = delete;
    CrDictionary& operator=(CrDictionary const&) = delete;
    ~CrDictionary() override;

    short AddKeyNum(std::uintptr_t nKey, Createable* pcrEntry) override;
    short AddKeyString(char const* szKey, Createable* pcrEntry,
                       std::uint32_t* pulHash = nullptr) override;
    short AddKeyString(CPString* pstrKey, Createable* pcrEntry) override;
    short RemoveKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    short RemoveKeyString(CPString* pstrKey) override;
    short RemoveKeyNum(std::uintptr_t nKey) override;
    void RemoveAll() override;
    // Out of the dictionary with its reference still counted: the caller now
    // has that reference to give back.
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
    CPDictionaryAssociation* RetrieveInternalContainer();

    CPDictionary* _get_pdctThe() const { return pdctThe; }

private:
    // Null only when it could not be made; every reader answers nothing then.
    CPDictionary* pdctThe;
};

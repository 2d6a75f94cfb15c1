// The counted collections: thin wrappers over one CP collection each, which
// take a reference on every Createable they are given and give it back on
// removal, so that an entry lives as long as a collection holds it and
// nobody has to remember a kill function. They are not CPCollections: they
// have no transaction number, no Iterator and no generic facade.
//
// This unit holds the family's bases and the list; crdict and crtree hold
// the keyed two.
#pragma once

#include <cpcoll/cpcollec.h>
#include <util/createable.h>
#include <platform/export.h>

#include <cstdint>

class CPList;
class CPString;

class SORVANE_API CrCollection : public Createable {
public:
    CrCollection() = default;
    ~CrCollection() override = default;

    virtual std::uint32_t Length() = 0;
    virtual void RemoveAll() = 0;
    virtual void ForEach(pfnKillFunc pfn, void* pvUser) = 0;
    virtual void GotoTop() = 0;
    virtual void GotoBottom() = 0;
    virtual std::int32_t Next() = 0;
    virtual std::int32_t Prev() = 0;
    virtual Createable* Retrieve() = 0;

protected:
    // The family's kill function: gives back the collection's reference.
    static void itReleaseCreateable(void* pv, void* pvUser);
};

class SORVANE_API CrFlatCollection : public CrCollection {
public:
    CrFlatCollection() = default;
    ~CrFlatCollection() override = default;

    virtual short Add(Createable* pcr) = 0;
    virtual short Remove(Createable* pcr) = 0;
};

class SORVANE_API CrKeyedCollection : public CrCollection {
public:
    using pfnKeyFunc = void (*)(void* pvItem, void* pvUser, std::uintptr_t nKey);

    CrKeyedCollection() = default;
    ~CrKeyedCollection() override = default;

    // A key in use answers 0 and takes no reference: the old entry stays.
    virtual short AddKeyNum(std::uintptr_t nKey, Createable* pcrEntry) = 0;
    virtual short AddKeyString(char const* szKey, Createable* pcrEntry, std::uint32_t* pulHash) = 0;
    virtual short AddKeyString(CPString* pstrKey, Createable* pcrEntry) = 0;
    // An absent key answers 0.
    virtual short RemoveKeyString(char const* szKey, std::uint32_t* pulHash) = 0;
    virtual short RemoveKeyString(CPString* pstrKey) = 0;
    virtual short RemoveKeyNum(std::uintptr_t nKey) = 0;
    // No new reference goes with what a Find answers.
    virtual Createable* FindKeyNum(std::uintptr_t nKey) = 0;
    virtual Createable* FindKeyString(char const* szKey, std::uint32_t* pulHash) = 0;
    virtual Createable* FindKeyString(CPString* pstrKey) = 0;
    virtual short ExistsKeyNum(std::uintptr_t nKey) = 0;
    virtual short ExistsKeyString(CPString* pstrKey) = 0;
    virtual short ExistsKeyString(char const* szKey, std::uint32_t* pulHash) = 0;
    virtual void ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) = 0;
    virtual CrCollection* AllThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) = 0;
    virtual Createable* FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) = 0;
    virtual Createable* NextThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) = 0;
    using CrCollection::ForEach;
    virtual void ForEach(pfnKeyFunc pfn, void* pvUser) = 0;
};

class SORVANE_API CrList : public CrFlatCollection {
public:
    CrList();
    // The family is never copied: a copy would share the list uncounted.
    CrList(CrList const&) = delete;
    CrList& operator=(CrList const&) = delete;
    ~CrList() override;

    // No precaution: the same entry added twice holds two references.
    short Add(Createable* pcr) override;
    // Answers 1, found or not.
    short Remove(Createable* pcr) override;
    void RemoveAll() override;

    std::uint32_t Length() override;
    void ForEach(pfnKillFunc pfn, void* pvUser) override;
    void GotoTop() override;
    void GotoBottom() override;
    std::int32_t Next() override;
    std::int32_t Prev() override;
    Createable* Retrieve() override;
    Createable* RetrieveIDX(std::uint32_t n);
    Createable* FirstThat(pfnCondFunc pfnCond, void* pvUser);
    Createable* NextThat(pfnCondFunc pfnCond, void* pvUser);

    CPList* _get_plstThe() const { return plstThe; }

private:
    CPList* plstThe;
};

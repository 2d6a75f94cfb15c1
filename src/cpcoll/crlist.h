/// \file
/// The counted collections: thin wrappers over one CP collection each, which
/// take a reference on every Createable they are given and give it back on
/// removal, so that an entry lives as long as a collection holds it and
/// nobody has to remember a kill function. They are not CPCollections: they
/// have no transaction number, no Iterator and no generic facade.
///
/// This unit holds the family's bases and the list; crdict and crtree hold
/// the keyed two.
#pragma once

#include <cpcoll/cpcollec.h>
#include <util/createable.h>
#include <platform/export.h>

#include <cstdint>

class CPList;
class CPString;

/// \brief The base of the counted collections, which take a reference on
/// every Createable they are given and give it back on removal.
///
/// They are not CPCollections: they have no transaction number, no Iterator
/// and no generic facade.
class SORVANE_API CrCollection : public Createable {
public:
    CrCollection() = default;
    ~CrCollection() override = default;

    /// \return the number of entries.
    virtual std::uint32_t Length() = 0;
    /// Removes every entry, giving back each reference.
    virtual void RemoveAll() = 0;
    /// Calls a function on every entry.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    virtual void ForEach(pfnKillFunc pfn, void* pvUser) = 0;
    /// Moves the cursor to the first entry.
    virtual void GotoTop() = 0;
    /// Moves the cursor to the last entry.
    virtual void GotoBottom() = 0;
    /// Steps the cursor forward.
    /// \return non-zero while it is on an entry.
    virtual std::int32_t Next() = 0;
    /// Steps the cursor back.
    /// \return non-zero while it is on an entry.
    virtual std::int32_t Prev() = 0;
    /// \return the entry at the cursor, or null; no reference goes with it.
    virtual Createable* Retrieve() = 0;

protected:
    /// The family's kill function: gives back the collection's reference.
    /// \param pv the entry.
    /// \param pvUser not used.
    static void itReleaseCreateable(void* pv, void* pvUser);
};

/// \brief A counted collection without keys.
class SORVANE_API CrFlatCollection : public CrCollection {
public:
    CrFlatCollection() = default;
    ~CrFlatCollection() override = default;

    /// Adds an entry and takes a reference on it.
    /// \param pcr the entry.
    /// \return 1 when stored.
    virtual short Add(Createable* pcr) = 0;
    /// Removes an entry and gives its reference back.
    /// \param pcr the entry.
    /// \return 1.
    virtual short Remove(Createable* pcr) = 0;
};

/// \brief A counted collection with number or text keys.
class SORVANE_API CrKeyedCollection : public CrCollection {
public:
    /// A walk's function that also receives the key word.
    using pfnKeyFunc = void (*)(void* pvItem, void* pvUser, std::uintptr_t nKey);

    CrKeyedCollection() = default;
    ~CrKeyedCollection() override = default;

    /// Adds an entry under a number key and takes a reference on it. A key in
    /// use answers 0 and takes no reference: the old entry stays.
    /// \param nKey the key.
    /// \param pcrEntry the entry.
    /// \return 1 when stored, else 0.
    virtual short AddKeyNum(std::uintptr_t nKey, Createable* pcrEntry) = 0;
    /// Adds an entry under a text key, as AddKeyNum().
    /// \param szKey the key.
    /// \param pcrEntry the entry.
    /// \param pulHash the key's precomputed hash, or null.
    /// \return 1 when stored, else 0.
    virtual short AddKeyString(char const* szKey, Createable* pcrEntry, std::uint32_t* pulHash) = 0;
    /// Adds an entry under a string key, as AddKeyNum().
    /// \param pstrKey the key.
    /// \param pcrEntry the entry.
    /// \return 1 when stored, else 0.
    virtual short AddKeyString(CPString* pstrKey, Createable* pcrEntry) = 0;
    /// Removes the entry of a text key and gives its reference back.
    /// \param szKey the key.
    /// \param pulHash the key's precomputed hash, or null.
    /// \return 1, or 0 for an absent key.
    virtual short RemoveKeyString(char const* szKey, std::uint32_t* pulHash) = 0;
    /// Removes the entry of a string key and gives its reference back.
    /// \param pstrKey the key.
    /// \return 1, or 0 for an absent key.
    virtual short RemoveKeyString(CPString* pstrKey) = 0;
    /// Removes the entry of a number key and gives its reference back.
    /// \param nKey the key.
    /// \return 1, or 0 for an absent key.
    virtual short RemoveKeyNum(std::uintptr_t nKey) = 0;
    /// \param nKey a number key.
    /// \return its entry, or null; no new reference goes with it.
    virtual Createable* FindKeyNum(std::uintptr_t nKey) = 0;
    /// \param szKey a text key.
    /// \param pulHash its precomputed hash, or null.
    /// \return its entry, or null; no new reference goes with it.
    virtual Createable* FindKeyString(char const* szKey, std::uint32_t* pulHash) = 0;
    /// \param pstrKey a string key.
    /// \return its entry, or null; no new reference goes with it.
    virtual Createable* FindKeyString(CPString* pstrKey) = 0;
    /// \param nKey a number key.
    /// \return non-zero when it is there.
    virtual short ExistsKeyNum(std::uintptr_t nKey) = 0;
    /// \param pstrKey a string key.
    /// \return non-zero when it is there.
    virtual short ExistsKeyString(CPString* pstrKey) = 0;
    /// \param szKey a text key.
    /// \param pulHash its precomputed hash, or null.
    /// \return non-zero when it is there.
    virtual short ExistsKeyString(char const* szKey, std::uint32_t* pulHash) = 0;
    /// Calls a function on the node of every entry.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    virtual void ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) = 0;
    /// The nodes that meet the condition.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return a new collection, the caller's.
    virtual CrCollection* AllThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) = 0;
    /// The first node that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return the entry there, or null.
    virtual Createable* FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) = 0;
    /// The next node that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return the entry there, or null.
    virtual Createable* NextThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) = 0;
    using CrCollection::ForEach;
    /// Calls a function on every entry with its key word.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    virtual void ForEach(pfnKeyFunc pfn, void* pvUser) = 0;
};

/// \brief The counted list: a CPList of Createables, each holding one
/// reference from add to remove. Never copied: a copy would share the list
/// uncounted.
class SORVANE_API CrList : public CrFlatCollection {
public:
    CrList();
    // The family is never copied: a copy would share the list uncounted.
    CrList(CrList const&) = delete;
    CrList& operator=(CrList const&) = delete;
    /// Gives back the reference of every entry.
    ~CrList() override;

    /// Adds an entry at the end and takes a reference on it. No precaution:
    /// the same entry added twice holds two references.
    /// \param pcr the entry.
    /// \return 1.
    short Add(Createable* pcr) override;
    /// Removes an entry and gives its reference back.
    /// \param pcr the entry.
    /// \return 1, found or not.
    short Remove(Createable* pcr) override;
    void RemoveAll() override;

    std::uint32_t Length() override;
    void ForEach(pfnKillFunc pfn, void* pvUser) override;
    void GotoTop() override;
    void GotoBottom() override;
    std::int32_t Next() override;
    std::int32_t Prev() override;
    Createable* Retrieve() override;
    /// \param n an index, from 0.
    /// \return the entry there, or null; no reference goes with it.
    Createable* RetrieveIDX(std::uint32_t n);
    /// Moves the cursor to the first entry that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return the entry, or null.
    Createable* FirstThat(pfnCondFunc pfnCond, void* pvUser);
    /// Moves the cursor to the next entry that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return the entry, or null.
    Createable* NextThat(pfnCondFunc pfnCond, void* pvUser);

    /// \return the list inside.
    CPList* _get_plstThe() const { return plstThe; }

private:
    CPList* plstThe;
};

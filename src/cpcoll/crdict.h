/// \file
/// The counted dictionary: a CPDictionary whose entries are Createables, each
/// holding one reference from add to remove.
#pragma once

#include <cpcoll/crlist.h>
#include <platform/export.h>

#include <cstdint>

class CPDictionary;
class CPDictionaryAssociation;

/// \brief The counted dictionary: a CPDictionary whose entries are
/// Createables, each holding one reference from add to remove.
class SORVANE_API CrDictionary : public CrKeyedCollection {
public:
    CrDictionary();
    CrDictionary(CrDictionary const&) = delete;
    CrDictionary& operator=(CrDictionary const&) = delete;
    /// Gives back the reference of every entry.
    ~CrDictionary() override;

    short AddKeyNum(std::uintptr_t nKey, Createable* pcrEntry) override;
    short AddKeyString(char const* szKey, Createable* pcrEntry,
                       std::uint32_t* pulHash = nullptr) override;
    short AddKeyString(CPString* pstrKey, Createable* pcrEntry) override;
    short RemoveKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    short RemoveKeyString(CPString* pstrKey) override;
    short RemoveKeyNum(std::uintptr_t nKey) override;
    void RemoveAll() override;
    /// Takes an entry out with its reference still counted: the caller now has
    /// that reference to give back.
    /// \param nKey the key.
    void DetachKeyNum(std::uintptr_t nKey);
    /// Takes an entry out with its reference still counted: the caller now has
    /// that reference to give back.
    /// \param szKey the key.
    /// \param pulHash the key's precomputed hash, or null.
    void DetachKeyString(char const* szKey, std::uint32_t* pulHash = nullptr);
    /// Takes an entry out with its reference still counted: the caller now has
    /// that reference to give back.
    /// \param pstrKey the key.
    void DetachKeyString(CPString* pstrKey);

    Createable* FindKeyNum(std::uintptr_t nKey) override;
    Createable* FindKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    Createable* FindKeyString(CPString* pstrKey) override;
    short ExistsKeyNum(std::uintptr_t nKey) override;
    short ExistsKeyString(CPString* pstrKey) override;
    short ExistsKeyString(char const* szKey, std::uint32_t* pulHash = nullptr) override;
    /// By number key, not by position; the key keeps its pointer width.
    /// \param nKey the key.
    /// \return its entry, or null; no reference goes with it.
    Createable* operator[](std::uintptr_t nKey);

    std::uint32_t Length() override;
    void ForEach(pfnKillFunc pfn, void* pvUser) override;
    void ForEach(pfnKeyFunc pfn, void* pvUser) override;
    void ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) override;
    /// Moves the cursor to the first entry that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvUser its second argument.
    /// \return the entry, or null.
    Createable* FirstThat(pfnCondFunc pfnCond, void* pvUser);
    Createable* FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;
    Createable* NextThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;
    /// Not available: ends the process through the fatal check ("1==0").
    /// \param pfnCond not used.
    /// \param pvUser not used.
    /// \return nothing.
    CrCollection* AllThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) override;

    void GotoTop() override;
    void GotoBottom() override;
    std::int32_t Next() override;
    std::int32_t Prev() override;
    Createable* Retrieve() override;
    /// \return the association at the cursor, or null.
    CPDictionaryAssociation* RetrieveInternalContainer();

    /// \return the dictionary inside; null only when it could not be made, and
    ///         then every reader answers nothing.
    CPDictionary* _get_pdctThe() const { return pdctThe; }

private:
    // Null only when it could not be made; every reader answers nothing then.
    CPDictionary* pdctThe;
};

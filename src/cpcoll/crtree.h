/// \file
/// The counted tree: a CPTree whose entries are Createables, each holding one
/// reference from add to remove. Unlike the tree itself it keeps the first
/// entry under a key: an add tests for the key before it stores.
#pragma once

#include <cpcoll/crlist.h>
#include <platform/export.h>

#include <cstdint>

class CPTree;

/// \brief The counted tree: a CPTree whose entries are Createables, each
/// holding one reference from add to remove.
///
/// Unlike the tree itself it keeps the first entry under a key: an add
/// tests for the key before it stores.
class SORVANE_API CrTree : public CrKeyedCollection {
public:
    CrTree();
    CrTree(CrTree const&) = delete;
    CrTree& operator=(CrTree const&) = delete;
    /// Gives back the reference of every entry.
    ~CrTree() override;

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
    /// \param pulHash not used.
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
    /// The tree refuses it: ends the process through the fatal check ("1==0").
    /// \param pfn not used.
    /// \param pvUser not used.
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

    /// \return the tree inside.
    CPTree* _get_ptreeThe() const { return ptreeThe; }

private:
    CPTree* ptreeThe;
};

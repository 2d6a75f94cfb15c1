/// \file
/// A keyed cache of counted objects with a size limit. Reaching the limit
/// evicts before the next add: the least recently used third in mode 0, the
/// whole cache in any other mode. Its hit counts can be written to the report
/// log as it goes.
#pragma once

#include <cpcoll/btree.h>
#include <cpcoll/cpdict.h>
#include <util/createable.h>
#include <platform/export.h>

#include <cstdint>

/// \brief An entry of a CreateableCache: the object, on which it holds a
/// reference, and the time of its last access in milliseconds of the tick count.
class SORVANE_API CacheObject : public Createable {
public:
    /// \param pcreateable the object; the entry takes a reference.
    explicit CacheObject(Createable* pcreateable);
    CacheObject(CacheObject const&) = delete;
    CacheObject& operator=(CacheObject const&) = delete;
    /// Releases the object.
    ~CacheObject() override;

    /// \return the object, still the entry's.
    Createable* _get_pcreateable() const { return pcreateable; }
    /// Gives up the object held and holds the new one.
    /// \param pcr the new object; the entry takes a reference.
    void _set_pcreateable(Createable* pcr);
    /// \return the tick count of the last access.
    std::uint32_t _get_nLastAccess() const { return nLastAccess; }
    /// Notes an access now.
    void Touch();

private:
    Createable* pcreateable;
    std::uint32_t nLastAccess = 0;
};

/// \brief A keyed cache of counted objects with a size limit.
///
/// Reaching the limit evicts before the next add: the least recently used
/// third in mode cacheLRU, the whole cache in cacheClear. Its hit counts can
/// be written to the report log as it goes.
class SORVANE_API CreateableCache : public Createable {
public:
    /// How a full cache makes room.
    enum CacheMode : std::int32_t {
        /// Evict the least recently used third.
        cacheLRU = 0,
        /// Evict everything.
        cacheClear = 1,
    };

    /// Makes the object of a number key on a miss.
    using pfnCxNumFunc = Createable* (*)(std::uint32_t nKey);
    /// Makes the object of a text key on a miss.
    using pfnCxStringFunc = Createable* (*)(char const* szKey);

    /// \param nMaxElements the size limit.
    /// \param mode how a full cache makes room.
    explicit CreateableCache(std::uint32_t nMaxElements = 10, CacheMode mode = cacheClear);
    CreateableCache(CreateableCache const&) = delete;
    CreateableCache& operator=(CreateableCache const&) = delete;
    /// Releases every object.
    ~CreateableCache() override;

    /// Evicts first if the cache is full, even when the key is there already,
    /// then holds the object under the key, replacing one held there. Counts
    /// neither a request nor a hit.
    /// \param nKey the key.
    /// \param pcreateable the object; the cache takes a reference.
    /// \return 1.
    char Add(std::int32_t nKey, Createable* pcreateable);
    /// As Add(std::int32_t, Createable*), under a text key.
    /// \param szKey the key.
    /// \param pcreateable the object; the cache takes a reference.
    /// \return 1.
    char Add(char const* szKey, Createable* pcreateable);
    /// Looks a number key up; number and text keys never match each other.
    /// \param nKey the key.
    /// \return the object, with no reference given to the caller; null on a miss.
    Createable* Find(std::int32_t nKey);
    /// Looks a text key up.
    /// \param szKey the key.
    /// \return the object, with no reference given to the caller; null on a miss.
    Createable* Find(char const* szKey);
    /// Finds a number key; on a miss the function makes the object, which is
    /// added unless null.
    /// \param nKey the key.
    /// \param fnCxFunc makes the object.
    /// \return the object, with no reference given to the caller, or null.
    Createable* Intern(std::uint32_t nKey, pfnCxNumFunc fnCxFunc);
    /// Finds a text key; on a miss the function makes the object, which is added
    /// unless null.
    /// \param szKey the key.
    /// \param fnCxFunc makes the object.
    /// \return the object, with no reference given to the caller, or null.
    Createable* Intern(char const* szKey, pfnCxStringFunc fnCxFunc);
    /// Removes the entry of a number key and releases its object.
    /// \param nKey the key.
    /// \return 1.
    char Remove(std::int32_t nKey);
    /// Removes the entry of a text key and releases its object. A null key
    /// ends the process through the fatal check, and an absent key is the
    /// caller's to rule out (see CPDictionary::DetachKeyString()).
    /// \param szKey the key.
    /// \return 1.
    char Remove(char const* szKey);
    /// Removes every entry.
    void Clear();
    /// \return the number of entries.
    std::uint32_t Length() const { return dctThe.Length(); }
    /// Calls a function with each entry's object.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    void ForEach(pfnKillFunc pfn, void* pvUser);

    /// \return hits over requests as whole numbers: 0 unless every request was a hit.
    double _get_HitRatio() const;
    /// \return the number of lookups.
    std::uint32_t _get_nRequests() const { return nRequests; }
    /// \return the number of lookups that found their key.
    std::uint32_t _get_nHits() const { return nHits; }
    /// \return the size limit.
    std::uint32_t _get_nMaxElements() const { return nMaxElements; }
    /// \param n the new size limit.
    void _set_nMaxElements(std::uint32_t n) { nMaxElements = n; }
    /// \return how a full cache makes room.
    CacheMode _get_eMode() const { return eMode; }
    /// Writes the hit counts of every cache of the process to the report log,
    /// or stops.
    /// \param b non-zero to write.
    static void _set_bLogStatistics(std::int16_t b) { bLogStatistics = b; }

private:
    void Trim();
    // Not a strict selection of the oldest third: a candidate replaces the
    // first kept entry that is newer than it, not the newest.
    void RemoveLRUCacheObject();
    void Hit();
    void Miss();
    __attribute__((format(printf, 2, 0))) void Count(char const* szFormat);
    void Set(CacheObject* pcxo, Createable* pcreateable);

    CPDictionary dctThe;
    std::uint32_t nMaxElements;
    CacheMode eMode;
    std::uint32_t nRequests = 0;
    std::uint32_t nHits = 0;

    static std::int16_t bLogStatistics;
};

/// \brief A class-level base for objects with a clean-up of their own.
/// Nothing in the framework derives from it.
class SORVANE_API Staticable {
public:
    /// \param nArgument kept for the derived class.
    explicit Staticable(short nArgument = 0);
    /// Copies the argument.
    Staticable(Staticable const&) = default;
    /// Copies the argument.
    /// \return this object.
    Staticable& operator=(Staticable const&) = default;
    virtual ~Staticable();

    /// The derived class's clean-up; nothing here.
    virtual void Destructor() {}

    /// \return 1 in every object.
    std::int16_t _get_nConstructed() const { return nConstructed; }
    /// \return the argument given to the constructor.
    std::int16_t _get_nArgument() const { return nArgument; }

private:
    // Raised by the constructor and never cleared by the class; it starts at
    // 0 here, so it reads 1 in every object.
    std::int16_t nConstructed = 0;
    std::int16_t nArgument;

    static CPTree treeToRelease;
};

// A keyed cache of counted objects with a size limit. Reaching the limit
// evicts before the next add: the least recently used third in mode 0, the
// whole cache in any other mode. Its hit counts can be written to the report
// log as it goes.
#pragma once

#include <cpcoll/btree.h>
#include <cpcoll/cpdict.h>
#include <util/createable.h>
#include <platform/export.h>

#include <cstdint>

// An entry: the object, on which it holds a reference, and the time of its
// last access in milliseconds of the tick count.
class SORVANE_API CacheObject : public Createable {
public:
    explicit CacheObject(Createable* pcreateable);
    CacheObject(CacheObject const&) = delete;
    CacheObject& operator=(CacheObject const&) = delete;
    ~CacheObject() override;

    Createable* _get_pcreateable() const { return pcreateable; }
    // Gives up the object held and holds the new one.
    void _set_pcreateable(Createable* pcr);
    std::uint32_t _get_nLastAccess() const { return nLastAccess; }
    void Touch();

private:
    Createable* pcreateable;
    std::uint32_t nLastAccess = 0;
};

class SORVANE_API CreateableCache : public Createable {
public:
    enum CacheMode : std::int32_t {
        cacheLRU = 0,
        cacheClear = 1,
    };

    using pfnCxNumFunc = Createable* (*)(std::uint32_t nKey);
    using pfnCxStringFunc = Createable* (*)(char const* szKey);

    explicit CreateableCache(std::uint32_t nMaxElements = 10, CacheMode mode = cacheClear);
    CreateableCache(CreateableCache const&) = delete;
    CreateableCache& operator=(CreateableCache const&) = delete;
    ~CreateableCache() override;

    // Evicts first if the cache is full, even when the key is there already,
    // then holds the object under the key, replacing one held there. Counts
    // neither a request nor a hit. Answers 1.
    char Add(std::int32_t nKey, Createable* pcreateable);
    char Add(char const* szKey, Createable* pcreateable);
    // A hit gives no reference to the caller. Number and string keys never
    // match each other.
    Createable* Find(std::int32_t nKey);
    Createable* Find(char const* szKey);
    // On a miss the function makes the object, which is added unless null.
    Createable* Intern(std::uint32_t nKey, pfnCxNumFunc fnCxFunc);
    Createable* Intern(char const* szKey, pfnCxStringFunc fnCxFunc);
    char Remove(std::int32_t nKey);
    char Remove(char const* szKey);
    void Clear();
    std::uint32_t Length() const { return dctThe.Length(); }
    // The function gets each entry's object.
    void ForEach(pfnKillFunc pfn, void* pvUser);

    // Hits over requests as whole numbers: 0 unless every request was a hit.
    double _get_HitRatio() const;
    std::uint32_t _get_nRequests() const { return nRequests; }
    std::uint32_t _get_nHits() const { return nHits; }
    std::uint32_t _get_nMaxElements() const { return nMaxElements; }
    void _set_nMaxElements(std::uint32_t n) { nMaxElements = n; }
    CacheMode _get_eMode() const { return eMode; }
    // For every cache of the process.
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

// A class-level base for objects with a clean-up of their own. Nothing in
// the framework derives from it, and nothing fills its tree.
class SORVANE_API Staticable {
public:
    explicit Staticable(short nArgument = 0);
    Staticable(Staticable const&) = default;
    Staticable& operator=(Staticable const&) = default;
    virtual ~Staticable();

    virtual void Destructor() {}

    std::int16_t _get_nConstructed() const { return nConstructed; }
    std::int16_t _get_nArgument() const { return nArgument; }

private:
    // Raised by the constructor and never cleared by the class; it starts at
    // 0 here, so it reads 1 in every object.
    std::int16_t nConstructed = 0;
    std::int16_t nArgument;

    static CPTree treeToRelease;
};

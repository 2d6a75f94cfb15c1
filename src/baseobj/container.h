// The abstract store of data resources, and the two caches of the process
// in front of every store: resources by the text of their moniker, and
// buffers by the last part of it. A client derives a container class for its
// own storage form and registers it with the ResourceManager; the framework
// holds no store of its own.
#pragma once

#include <platform/export.h>
#include <util/createable.h>
#include <util/errcont.h>
#include <util/pstring.h>

#include <cstdint>

class CreateableCache;
class DataResource;
class ResourceMoniker;

// A buffer kept in the cache of buffers, under the last part of a moniker's
// text, so that a store read many times is read from its file once. A class
// that keeps a file's bytes derives from it and says when its copy is old.
class SORVANE_API BuffCacheObj : public Createable {
public:
    BuffCacheObj() = default;
    BuffCacheObj(BuffCacheObj const&) = delete;
    BuffCacheObj& operator=(BuffCacheObj const&) = delete;
    ~BuffCacheObj() override = default;

    // Non-zero when the buffer no longer holds what its source holds.
    virtual short IsStale() { return 0; }

    CPString& _get_strBuffer() { return strBuffer; }

private:
    CPString strBuffer;
};

class SORVANE_API Container : public ErrorContainer {
public:
    // Makes an empty resource of the type named, or answers null.
    using pfnResourceMaker = DataResource* (*)(char const* szType);
    // Makes the buffer for the key, or answers null.
    using pfnBuffMaker = BuffCacheObj* (*)(char const* szKey);
    // Called once for each resource a store lists, with its text.
    using pfnListFunc = void (*)(char const* szResourceText, void* pvUser);

    // The sizes of the two caches.
    static constexpr std::uint32_t kResourceCacheSize = 50;
    static constexpr std::uint32_t kBufferCacheSize = 25;

    Container() = default;
    Container(Container const&) = delete;
    Container& operator=(Container const&) = delete;
    ~Container() override = default;

    // What a store gives, in this order.
    // Opens the store the moniker names. Non-zero on success.
    virtual short OpenStore(ResourceMoniker& rmnkr) = 0;
    // Called at every close by the manager; the store may be opened again.
    virtual short CloseStore() = 0;
    // Calls pfn with the text of each resource kept. Non-zero on success.
    virtual short ListStoredResources(ResourceMoniker& rmnkr, pfnListFunc pfn, void* pvUser) = 0;
    // Removes the resource from the store. Non-zero on success.
    virtual short DeleteStoredResource(ResourceMoniker& rmnkr) = 0;
    // Non-zero when the store's copy of the resource has changed since this
    // process last read or wrote it, so that a cached copy is old.
    virtual short IsCachedResourceStale(ResourceMoniker& rmnkr) = 0;
    // Reads the resource into pdrInto, or into a new resource of the stored
    // type when pdrInto is null. The resource read, or null with the error
    // text set.
    virtual DataResource* ReadStoredResource(ResourceMoniker& rmnkr, DataResource* pdrInto) = 0;
    // Writes the resource, attributes first. Non-zero on success.
    virtual short WriteStoredResource(ResourceMoniker& rmnkr, DataResource* pdr) = 0;
    // Non-zero when the store holds the resource.
    virtual short StoredResourceExists(ResourceMoniker& rmnkr) = 0;
    // Makes what was written durable. Non-zero on success.
    virtual short FlushStore() = 0;

    // Reads through the cache of resources. Bit 0 of the mode asks for a
    // shared, read-only copy: two such reads give the same object. Without
    // it the caller gets a copy of its own. The result's access mode is the
    // mode asked for. A new resource comes with no reference: the caller, its
    // first holder, adds one.
    DataResource* ReadResource(ResourceMoniker& rmnkr, char cMode, DataResource* pdr);
    // Writes the resource and drops any cached copy of it. pdr on success,
    // null with the error text set otherwise.
    DataResource* WriteResource(ResourceMoniker& rmnkr, char cMode, DataResource* pdr);
    // Drops any cached copy and removes the resource from the store.
    short DeleteResource(ResourceMoniker& rmnkr);
    // The buffer under the last part of the moniker's text, made by the maker
    // when it is not cached or is stale. On failure, null, with the reason in
    // the error text shared by all containers.
    static BuffCacheObj* GetBuffCacheObj(ResourceMoniker& rmnkr, pfnBuffMaker pfnMaker);
    // Looks at every cached resource; none is found wanting.
    static void ValidateCachedResources();
    static void itValidateResource(void* pvItem, void* pvUser);

    // The text a resource is cached under, "[type@file]\path", and its last
    // part, the drive and the path, that a buffer is cached under.
    static CPString MonikerText(ResourceMoniker& rmnkr);
    static CPString MonikerLastPart(ResourceMoniker& rmnkr);

    static void CreateCaches();
    static void EliminateCaches();
    static CreateableCache* _get_pcxcResources() { return pcxcResources; }
    static CreateableCache* _get_pcxcBuffers() { return pcxcBuffers; }
    static ErrorContainer& _get_errShared();
    static pfnResourceMaker _get_fnResourceMakerFunction() { return fnResourceMakerFunction; }
    static void _set_fnResourceMakerFunction(pfnResourceMaker pfn) {
        fnResourceMakerFunction = pfn;
    }

    char const* _get_szName() const;
    void _set_szName(char const* sz) { strName = sz != nullptr ? sz : ""; }

private:
    static DataResource* MakeResource(CPString& strType);
    static DataResource* CachedResource(CPString const& strKey);
    DataResource* CopyOfCached(DataResource* presCached, DataResource* pdr);
    void CacheAfterRead(CPString const& strKey, char cMode, DataResource* pdr);
    static void DropCachedCopy(CPString const& strKey);
    static void DropCachedCopy(CPString& strResourceText, CPString const& strKey);

    CPString strName;

    static CreateableCache* pcxcResources;
    static CreateableCache* pcxcBuffers;
    static pfnResourceMaker fnResourceMakerFunction;
};

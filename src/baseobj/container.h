/// \file
/// The abstract store of data resources, and the two caches of the process
/// in front of every store: resources by the text of their moniker, and
/// buffers by the last part of it. A client derives a container class for its
/// own storage form and registers it with the ResourceManager; the framework
/// holds no store of its own.
#pragma once

#include <platform/export.h>
#include <util/createable.h>
#include <util/errcont.h>
#include <util/pstring.h>

#include <cstdint>

class CreateableCache;
class DataResource;
class ResourceMoniker;

/// \brief A buffer kept in the cache of buffers, under the last part of a
/// moniker's text, so that a store read many times is read from its file once.
///
/// A class that keeps a file's bytes derives from it and says when its copy is old.
class SORVANE_API BuffCacheObj : public Createable {
public:
    BuffCacheObj() = default;
    BuffCacheObj(BuffCacheObj const&) = delete;
    BuffCacheObj& operator=(BuffCacheObj const&) = delete;
    ~BuffCacheObj() override = default;

    /// \return non-zero when the buffer no longer holds what its source holds; 0 here.
    virtual short IsStale() { return 0; }

    /// \return the buffer.
    CPString& _get_strBuffer() { return strBuffer; }

private:
    CPString strBuffer;
};

/// \brief The abstract store of data resources, with the two caches of the
/// process in front of every store: resources by the text of their moniker,
/// and buffers by the last part of it.
///
/// A client derives a container class for its own storage form and
/// registers it with the ResourceManager; the framework holds no store of
/// its own. A failure answers null or 0 and leaves its reason in the error text.
class SORVANE_API Container : public ErrorContainer {
public:
    /// Makes an empty resource of the type named, or answers null.
    using pfnResourceMaker = DataResource* (*)(char const* szType);
    /// Makes the buffer for the key, or answers null.
    using pfnBuffMaker = BuffCacheObj* (*)(char const* szKey);
    /// Called once for each resource a store lists, with its text.
    using pfnListFunc = void (*)(char const* szResourceText, void* pvUser);

    /// The size of the cache of resources.
    static constexpr std::uint32_t kResourceCacheSize = 50;
    /// The size of the cache of buffers.
    static constexpr std::uint32_t kBufferCacheSize = 25;

    Container() = default;
    Container(Container const&) = delete;
    Container& operator=(Container const&) = delete;
    ~Container() override = default;

    /// Opens the store the moniker names.
    /// \param rmnkr the moniker.
    /// \return non-zero on success.
    virtual short OpenStore(ResourceMoniker& rmnkr) = 0;
    /// Called at every close by the manager; the store may be opened again.
    /// \return non-zero on success.
    virtual short CloseStore() = 0;
    /// Calls a function with the text of each resource kept.
    /// \param rmnkr the store's moniker.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    /// \return non-zero on success.
    virtual short ListStoredResources(ResourceMoniker& rmnkr, pfnListFunc pfn, void* pvUser) = 0;
    /// Removes the resource from the store.
    /// \param rmnkr the resource's moniker.
    /// \return non-zero on success.
    virtual short DeleteStoredResource(ResourceMoniker& rmnkr) = 0;
    /// \param rmnkr the resource's moniker.
    /// \return non-zero when the store's copy has changed since this process
    ///         last read or wrote it, so that a cached copy is old.
    virtual short IsCachedResourceStale(ResourceMoniker& rmnkr) = 0;
    /// Reads a resource.
    /// \param rmnkr the resource's moniker.
    /// \param pdrInto the resource to read into, or null for a new resource of
    ///        the stored type.
    /// \return the resource read, or null with the error text set.
    virtual DataResource* ReadStoredResource(ResourceMoniker& rmnkr, DataResource* pdrInto) = 0;
    /// Writes a resource, attributes first.
    /// \param rmnkr the resource's moniker.
    /// \param pdr the resource.
    /// \return non-zero on success.
    virtual short WriteStoredResource(ResourceMoniker& rmnkr, DataResource* pdr) = 0;
    /// \param rmnkr a resource's moniker.
    /// \return non-zero when the store holds it.
    virtual short StoredResourceExists(ResourceMoniker& rmnkr) = 0;
    /// Makes what was written durable.
    /// \return non-zero on success.
    virtual short FlushStore() = 0;

    /// Reads through the cache of resources.
    /// \param rmnkr the resource's moniker.
    /// \param cMode bit 0 (DataResource::ACCESS_MODE_READONLY) asks for a shared,
    ///        read-only copy: two such reads give the same object; without it
    ///        the caller gets a copy of its own. The result's access mode is the
    ///        mode asked for.
    /// \param pdr the resource to read into, or null.
    /// \return the resource, or null with the error text set. A new resource
    ///         comes with no reference: the caller, its first holder, adds one.
    DataResource* ReadResource(ResourceMoniker& rmnkr, char cMode, DataResource* pdr);
    /// Writes the resource and drops any cached copy of it.
    /// \param rmnkr the resource's moniker.
    /// \param cMode the access mode.
    /// \param pdr the resource.
    /// \return pdr on success, null with the error text set otherwise.
    DataResource* WriteResource(ResourceMoniker& rmnkr, char cMode, DataResource* pdr);
    /// Drops any cached copy and removes the resource from the store.
    /// \param rmnkr the resource's moniker.
    /// \return DeleteStoredResource()'s answer.
    short DeleteResource(ResourceMoniker& rmnkr);
    /// The buffer under the last part of the moniker's text, made by the maker
    /// when it is not cached or is stale.
    /// \param rmnkr the moniker.
    /// \param pfnMaker makes the buffer.
    /// \return the buffer, kept by the cache; null on failure, with the reason in
    ///         the error text shared by all containers.
    static BuffCacheObj* GetBuffCacheObj(ResourceMoniker& rmnkr, pfnBuffMaker pfnMaker);
    /// Looks at every cached resource; none is found wanting.
    static void ValidateCachedResources();
    /// Looks at one cached resource.
    /// \param pvItem the resource.
    /// \param pvUser not used.
    static void itValidateResource(void* pvItem, void* pvUser);

    /// \param rmnkr a moniker.
    /// \return the text a resource is cached under, `[type@file]\path`.
    static CPString MonikerText(ResourceMoniker& rmnkr);
    /// \param rmnkr a moniker.
    /// \return the last part of its text, the drive and the path, that a buffer
    ///         is cached under.
    static CPString MonikerLastPart(ResourceMoniker& rmnkr);

    /// Makes the two caches, if not made.
    static void CreateCaches();
    /// Frees the two caches.
    static void EliminateCaches();
    /// \return the cache of resources, or null.
    static CreateableCache* _get_pcxcResources() { return pcxcResources; }
    /// \return the cache of buffers, or null.
    static CreateableCache* _get_pcxcBuffers() { return pcxcBuffers; }
    /// \return the error text shared by all containers.
    static ErrorContainer& _get_errShared();
    /// \return the maker of resources by type.
    static pfnResourceMaker _get_fnResourceMakerFunction() { return fnResourceMakerFunction; }
    /// \param pfn the maker of resources by type.
    static void _set_fnResourceMakerFunction(pfnResourceMaker pfn) {
        fnResourceMakerFunction = pfn;
    }

    /// \return the container's name, or "".
    char const* _get_szName() const;
    /// \param sz the container's name; null is "".
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

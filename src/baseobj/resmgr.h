/// \file
/// The process's front of resource storage. Clients register their container
/// classes by storage type and their resource classes by type name, then read
/// and write resources by the text that names them, such as
/// "[type@/path/of/store]folder\name". Nothing here throws: a failure answers
/// null and leaves its reason in the manager's error text.
#pragma once

#include <baseobj/container.h>
#include <cpcoll/cpdict.h>
#include <platform/export.h>
#include <util/errcont.h>
#include <util/pstring.h>

#include <cstdint>

class DataResource;
class ResourceMoniker;

/// \brief The process's front of resource storage.
///
/// Clients register their container classes by storage type and their
/// resource classes by type name, then read and write resources by the text
/// that names them, such as `[type@/path/of/store]folder\name`. Nothing here
/// throws: a failure answers null or 0 and leaves its reason in the
/// manager's error text.
class SORVANE_API ResourceManager : public ErrorContainer {
public:
    /// Makes a container of the storage type named, or answers null.
    using pfnContainerMaker = Container* (*)(char const* szType);
    /// Makes an empty resource of the type named, or answers null.
    using pfnResourceMaker = Container::pfnResourceMaker;
    /// Called once for each resource a store lists, with its text.
    using pfnListFunc = Container::pfnListFunc;

    /// The first manager made in the process, however made, is the process's.
    ResourceManager();
    ResourceManager(ResourceManager const&) = delete;
    ResourceManager& operator=(ResourceManager const&) = delete;
    /// Releases every open container.
    ~ResourceManager() override;

    /// \return the process's manager, made on first use.
    static ResourceManager& _get_grmThe();
    /// \return a new manager, owned by the caller.
    static ResourceManager* CreateInstance();
    /// \param b non-zero to write the time of each read to the report log.
    static void _set_bLogResources(char b) { bLogResources = b; }
    /// \return non-zero when reads are logged.
    static char _get_bLogResources() { return bLogResources; }
    /// \return non-zero when the process's manager was made on first use.
    static short _get_bAutomatiallyAllocatedGRM() { return bAutomatiallyAllocatedGRM; }
    /// \return the number of live managers.
    static std::uint32_t _get_nInstanceCount() { return nInstanceCount; }

    /// Registers a container class. Storage types compare without regard to
    /// case; a type registered again takes the new maker.
    /// \param szName the storage type.
    /// \param pfnMaker makes its containers.
    /// \return 1.
    short RegisterContainerType(char const* szName, pfnContainerMaker pfnMaker);
    /// Registers a resource class; a type registered again takes the new maker.
    /// \param szName the type name.
    /// \param pfnMaker makes its resources.
    /// \return 1.
    short RegisterResourceType(char const* szName, pfnResourceMaker pfnMaker);
    /// \return the number of container types registered.
    std::uint32_t GetRegisteredContainerCount() const { return dctContainerMakers.Length(); }
    /// \return the number of resource types registered.
    std::uint32_t GetRegisiteredResourceCount() const { return dctResourceMakers.Length(); }

    /// Opens the store a moniker names. One container serves every resource of
    /// its store: a store opened once stays open, and is found again, until the
    /// manager goes.
    /// \param prmnkr the moniker.
    /// \return the container, with a reference for the caller, which
    ///         CloseContainer() gives back; null on failure.
    Container* OpenContainer(ResourceMoniker* prmnkr);
    /// Gives back the reference of OpenContainer().
    /// \param pcontainer the container.
    /// \return 1, or 0 for null.
    short CloseContainer(Container* pcontainer);
    /// \param szType a storage type.
    /// \return a container from its registered maker, or null.
    Container* CreateContainer(char const* szType);
    /// \param szType a resource type.
    /// \return an empty resource from its registered maker, or null.
    DataResource* MakeResource(char const* szType);

    /// Reads a resource by its text.
    /// \param strResSpec the text.
    /// \param cMode bit 0 asks for the shared, read-only copy.
    /// \param pdr a resource to read into, which must be counted by its holder; or null.
    /// \return the resource (see Container::ReadResource()), or null with the error text set.
    DataResource* ReadResource(CPString& strResSpec, char cMode, DataResource* pdr);
    /// Reads a resource by its text.
    /// \param szResSpec the text.
    /// \param cMode bit 0 asks for the shared, read-only copy.
    /// \param pdr a resource to read into, or null.
    /// \return the resource, or null with the error text set.
    DataResource* ReadResource(char const* szResSpec, char cMode, DataResource* pdr);
    /// Writes a resource; one read read-only is refused.
    /// \param strResSpec the text.
    /// \param pdr the resource.
    /// \return pdr, or null with the error text set.
    DataResource* WriteResource(CPString& strResSpec, DataResource* pdr);
    /// Writes a resource; one read read-only is refused.
    /// \param szResSpec the text.
    /// \param pdr the resource.
    /// \return pdr, or null with the error text set.
    DataResource* WriteResource(char const* szResSpec, DataResource* pdr);
    /// Removes the resource from its store and from the cache.
    /// \param szResSpec the text.
    /// \return non-zero on success.
    short DeleteResource(char const* szResSpec);
    /// Calls a function with the text of each resource in the store that the
    /// text names ("[type@/path/of/store]" is enough).
    /// \param szStoreText the store's text.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    /// \return non-zero on success.
    short ListResources(char const* szStoreText, pfnListFunc pfn, void* pvUser);
    /// Validates nothing.
    /// \return 0.
    short ValidateResources() { return 0; }

private:
    static DataResource* itResourceMaker(char const* szType);
    static void itReleaseContainer(void* pvItem, void* pvUser);

    // The moniker of a resource text, or an error text when it names no
    // resource.
    bool ScanResourceText(CPString& strResSpec, ResourceMoniker& rmnkr, bool bNeedResource);
    void TakeError(Container* pcontainer);

    CPDictionary dctContainerMakers;
    CPDictionary dctOpenContainers;
    CPDictionary dctResourceMakers;

    static ResourceManager* prmThe;
    static std::uint32_t nInstanceCount;
    static char bLogResources;
    static short bAutomatiallyAllocatedGRM;
};

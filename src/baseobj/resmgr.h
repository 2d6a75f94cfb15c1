// The process's front of resource storage. Clients register their container
// classes by storage type and their resource classes by type name, then read
// and write resources by the text that names them, such as
// "[type@/path/of/store]folder\name". Nothing here throws: a failure answers
// null and leaves its reason in the manager's error text.
#pragma once

#include <baseobj/container.h>
#include <cpcoll/cpdict.h>
#include <platform/export.h>
#include <util/errcont.h>
#include <util/pstring.h>

#include <cstdint>

class DataResource;
class ResourceMoniker;

class SORVANE_API ResourceManager : public ErrorContainer {
public:
    // Makes a container of the storage type named, or answers null.
    using pfnContainerMaker = Container* (*)(char const* szType);
    using pfnResourceMaker = Container::pfnResourceMaker;
    using pfnListFunc = Container::pfnListFunc;

    // The first manager made in the process, however made, is the process's.
    ResourceManager();
    ResourceManager(ResourceManager const&) = delete;
    ResourceManager& operator=(ResourceManager const&) = delete;
    ~ResourceManager() override;

    // The process's manager, made on first use.
    static ResourceManager& _get_grmThe();
    static ResourceManager* CreateInstance();
    static void _set_bLogResources(char b) { bLogResources = b; }
    static char _get_bLogResources() { return bLogResources; }
    static short _get_bAutomatiallyAllocatedGRM() { return bAutomatiallyAllocatedGRM; }
    static std::uint32_t _get_nInstanceCount() { return nInstanceCount; }

    // Storage types compare without regard to case; a type registered again
    // takes the new maker.
    short RegisterContainerType(char const* szName, pfnContainerMaker pfnMaker);
    short RegisterResourceType(char const* szName, pfnResourceMaker pfnMaker);
    std::uint32_t GetRegisteredContainerCount() const { return dctContainerMakers.Length(); }
    std::uint32_t GetRegisiteredResourceCount() const { return dctResourceMakers.Length(); }

    // One container serves every resource of its store: a store opened once
    // stays open, and is found again, until the manager goes. The container
    // comes with a reference for the caller, which CloseContainer gives back.
    Container* OpenContainer(ResourceMoniker* prmnkr);
    short CloseContainer(Container* pcontainer);
    // A container of the type from its registered maker, or null.
    Container* CreateContainer(char const* szType);
    // An empty resource of the type from its registered maker, or null.
    DataResource* MakeResource(char const* szType);

    // Bit 0 of the mode asks for the shared, read-only copy. A resource
    // handed in must be counted by its holder.
    DataResource* ReadResource(CPString& strResSpec, char cMode, DataResource* pdr);
    DataResource* ReadResource(char const* szResSpec, char cMode, DataResource* pdr);
    // A resource read read-only is refused.
    DataResource* WriteResource(CPString& strResSpec, DataResource* pdr);
    DataResource* WriteResource(char const* szResSpec, DataResource* pdr);
    // Removes the resource from its store and from the cache. Non-zero on
    // success.
    short DeleteResource(char const* szResSpec);
    // Calls pfn with the text of each resource in the store that
    // the text names ("[type@/path/of/store]" is enough). Non-zero on
    // success.
    short ListResources(char const* szStoreText, pfnListFunc pfn, void* pvUser);
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

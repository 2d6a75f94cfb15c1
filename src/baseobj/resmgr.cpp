#include <baseobj/resmgr.h>

#include <baseobj/datares.h>
#include <baseobj/exception.h>
#include <baseobj/resmnkr.h>
#include <util/exceptions.h>

#include <chrono>
#include <cstdio>
#include <new>

ResourceManager* ResourceManager::prmThe = nullptr;
std::uint32_t ResourceManager::nInstanceCount = 0;
char ResourceManager::bLogResources = 0;
short ResourceManager::bAutomatiallyAllocatedGRM = 0;

namespace {

constexpr char kInvalidText[] = "Invalid Resource Specification: ";
constexpr char kBadRefCount[] = "Invalid Entering Refcount";
constexpr char kNoResource[] = "No Resource Supplied";
constexpr char kReadOnly[] = "Cannot save resource that was opened as read-only";
constexpr char kUnknownStore[] = "Unregistered Container Type: ";
constexpr char kLoadLine[] = "Resource Load: File, TickCount, LoadTime:\t";

// Milliseconds of a monotonic clock as a 32-bit tick count, which wraps.
std::uint32_t TickCount() {
    auto const now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

template <class Fn> void* FunctionWord(Fn pfn) {
    return reinterpret_cast<void*>(pfn);
}

template <class Fn> Fn FunctionOf(void* pv) {
    return reinterpret_cast<Fn>(pv);
}

char const* Text(CPString& str) {
    return str.Length() != 0 ? str.GetBuffer() : "";
}

// Keeps the maker under a name of its own, replacing one kept there.
void Keep(CPDictionary& dct, CPString* pstrName, void* pvMaker) {
    pstrName->AddRef();
    if (dct.ExistsKeyString(pstrName) != 0) dct.DetachKeyString(pstrName);
    dct.AddKeyString(pstrName, pvMaker);
    pstrName->Release();
}

// Whether the text scanned as a moniker; a text that does not throws.
bool Scanned(char const* szText, ResourceMoniker& rmnkr) {
    try {
        rmnkr.ScanBuffer(szText, 0);
    } catch (Exception const&) {
        return false;
    }
    return true;
}

Exceptions& Reporter() {
    return Exceptions::_get_gexeptnsThe();
}

} // namespace

// The process's manager ---------------------------------------------------------

ResourceManager::ResourceManager() {
    ++nInstanceCount;
    if (prmThe == nullptr) prmThe = this;
    Container::_set_fnResourceMakerFunction(itResourceMaker);
}

ResourceManager::~ResourceManager() {
    --nInstanceCount;
    dctContainerMakers.DetachAll();
    dctResourceMakers.DetachAll();
    dctOpenContainers.DestroyAll(itReleaseContainer);
    if (prmThe == this) prmThe = nullptr;
}

ResourceManager& ResourceManager::_get_grmThe() {
    if (prmThe == nullptr) {
        auto* const prm = new (std::nothrow) ResourceManager;
        SV_FAIL_IF_NIL(prm, "prmThe");
        // Kept for the life of the process.
        prm->AddRef();
        bAutomatiallyAllocatedGRM = 1;
    }
    return *prmThe;
}

ResourceManager* ResourceManager::CreateInstance() {
    return new ResourceManager;
}

DataResource* ResourceManager::itResourceMaker(char const* szType) {
    return _get_grmThe().MakeResource(szType);
}

void ResourceManager::itReleaseContainer(void* pvItem, void*) {
    if (pvItem != nullptr) static_cast<Container*>(pvItem)->Release();
}

// Registration ----------------------------------------------------------------

short ResourceManager::RegisterContainerType(char const* szName, pfnContainerMaker pfnMaker) {
    auto* const pstrContainerName = new (std::nothrow) CPString(szName != nullptr ? szName : "");
    SV_FAIL_IF_NIL(pstrContainerName, "pstrContainerName");
    pstrContainerName->LowerCase();
    Keep(dctContainerMakers, pstrContainerName, FunctionWord(pfnMaker));
    return 1;
}

short ResourceManager::RegisterResourceType(char const* szName, pfnResourceMaker pfnMaker) {
    auto* const pstrClassName = new (std::nothrow) CPString(szName != nullptr ? szName : "");
    SV_FAIL_IF_NIL(pstrClassName, "pstrClassName");
    Keep(dctResourceMakers, pstrClassName, FunctionWord(pfnMaker));
    return 1;
}

Container* ResourceManager::CreateContainer(char const* szType) {
    CPString type(szType != nullptr ? szType : "");
    type.LowerCase();
    void* const pv = dctContainerMakers.FindKeyString(Text(type));
    if (pv == nullptr) return nullptr;
    return FunctionOf<pfnContainerMaker>(pv)(Text(type));
}

DataResource* ResourceManager::MakeResource(char const* szType) {
    void* const pv = dctResourceMakers.FindKeyString(szType != nullptr ? szType : "");
    if (pv == nullptr) return nullptr;
    return FunctionOf<pfnResourceMaker>(pv)(szType);
}

// Containers ----------------------------------------------------------------------

Container* ResourceManager::OpenContainer(ResourceMoniker* prmnkr) {
    if (prmnkr == nullptr) return nullptr;
    CPString path(prmnkr->_get_strContainerFilePath());
    CPString type(prmnkr->_get_strContainerType());
    if (auto* const pcontainer =
            static_cast<Container*>(dctOpenContainers.FindKeyString(Text(path)))) {
        pcontainer->AddRef();
        return pcontainer;
    }
    Container* const pcontainer = CreateContainer(Text(type));
    if (pcontainer == nullptr) {
        CPString error(kUnknownStore);
        error += Text(type);
        _set_strError(error);
        return nullptr;
    }
    pcontainer->AddRef();
    if (pcontainer->OpenStore(*prmnkr) == 0) {
        TakeError(pcontainer);
        pcontainer->Release();
        return nullptr;
    }
    dctOpenContainers.AddKeyString(Text(path), pcontainer);
    pcontainer->AddRef();
    pcontainer->_set_szName(Text(path));
    return pcontainer;
}

short ResourceManager::CloseContainer(Container* pcontainer) {
    if (pcontainer == nullptr) return 0;
    pcontainer->CloseStore();
    pcontainer->Release();
    return 1;
}

void ResourceManager::TakeError(Container* pcontainer) {
    CPString error;
    pcontainer->_get_strError(&error);
    _set_strError(error);
}

// Resource texts ---------------------------------------------------------------

bool ResourceManager::ScanResourceText(CPString& strResSpec, ResourceMoniker& rmnkr,
                                       bool bNeedResource) {
    if (Scanned(Text(strResSpec), rmnkr) && (!bNeedResource || rmnkr.HasSubvalues() != 0))
        return true;
    CPString error(kInvalidText);
    error += Text(strResSpec);
    _set_strError(error);
    return false;
}

// Reading and writing -------------------------------------------------------------

DataResource* ResourceManager::ReadResource(CPString& strResSpec, char cMode, DataResource* pdr) {
    CPString strText(Text(strResSpec));
    if (pdr != nullptr && pdr->_get_nRefCount() == 0) {
        _set_strError(kBadRefCount);
        return nullptr;
    }
    std::uint32_t const ulStart = bLogResources != 0 ? TickCount() : 0;
    ResourceMoniker rmnkr;
    if (!ScanResourceText(strText, rmnkr, true)) return nullptr;
    Container* const pcontainer = OpenContainer(&rmnkr);
    if (pcontainer == nullptr) return nullptr;
    DataResource* const presResult = pcontainer->ReadResource(rmnkr, cMode, pdr);
    if (presResult == nullptr) {
        TakeError(pcontainer);
        CPString error;
        _get_strError(&error);
        Reporter().Comment(SV_UNIT_NAME(), __LINE__, Text(error));
    }
    CloseContainer(pcontainer);
    if (bLogResources != 0) {
        CPString line(kLoadLine);
        CPString file(rmnkr._get_strContainerFilePath());
        CPString numbers;
        numbers.SPrintF("%s\t%ld\t%ld", Text(file), static_cast<long>(ulStart),
                        static_cast<long>(TickCount() - ulStart));
        line += numbers;
        Reporter().Message(Text(line));
    }
    return presResult;
}

DataResource* ResourceManager::ReadResource(char const* szResSpec, char cMode, DataResource* pdr) {
    auto* const pstrResSpec = new (std::nothrow) CPString(szResSpec != nullptr ? szResSpec : "");
    SV_FAIL_IF_NIL(pstrResSpec, "pstrResSpec");
    pstrResSpec->AddRef();
    DataResource* const presResult = ReadResource(*pstrResSpec, cMode, pdr);
    pstrResSpec->Release();
    return presResult;
}

DataResource* ResourceManager::WriteResource(CPString& strResSpec, DataResource* pdr) {
    CPString strText(Text(strResSpec));
    if (bLogResources != 0) {
        CPString note("Resource Save Call:");
        note += Text(strText);
        Reporter().Comment(SV_UNIT_NAME(), __LINE__, Text(note));
    }
    if (pdr == nullptr) {
        _set_strError(kNoResource);
        return nullptr;
    }
    if (pdr->_get_cAccessMode() == DataResource::ACCESS_MODE_READONLY) {
        _set_strError(kReadOnly);
        return nullptr;
    }
    ResourceMoniker rmnkr;
    // A text that names no resource is no write, and no error either.
    if (!Scanned(Text(strText), rmnkr) || rmnkr.HasSubvalues() == 0) return nullptr;
    DataResource* presResult = nullptr;
    if (Container* const pcontainer = OpenContainer(&rmnkr)) {
        presResult = pcontainer->WriteResource(rmnkr, 0, pdr);
        if (presResult == nullptr) TakeError(pcontainer);
        CloseContainer(pcontainer);
    }
    if (bLogResources != 0)
        Reporter().CommentN(SV_UNIT_NAME(), __LINE__, presResult != nullptr ? 1 : 0,
                            "Resource Save Call Result: ");
    return presResult;
}

DataResource* ResourceManager::WriteResource(char const* szResSpec, DataResource* pdr) {
    auto* const pstrResSpec = new (std::nothrow) CPString(szResSpec != nullptr ? szResSpec : "");
    SV_FAIL_IF_NIL(pstrResSpec, "pstrResSpec");
    pstrResSpec->AddRef();
    DataResource* const presResult = WriteResource(*pstrResSpec, pdr);
    pstrResSpec->Release();
    return presResult;
}

short ResourceManager::DeleteResource(char const* szResSpec) {
    CPString strText(szResSpec != nullptr ? szResSpec : "");
    ResourceMoniker rmnkr;
    if (!ScanResourceText(strText, rmnkr, true)) return 0;
    Container* const pcontainer = OpenContainer(&rmnkr);
    if (pcontainer == nullptr) return 0;
    short const done = pcontainer->DeleteResource(rmnkr);
    if (done == 0) TakeError(pcontainer);
    CloseContainer(pcontainer);
    return done;
}

short ResourceManager::ListResources(char const* szStoreText, pfnListFunc pfn, void* pvUser) {
    CPString strText(szStoreText != nullptr ? szStoreText : "");
    ResourceMoniker rmnkr;
    if (!ScanResourceText(strText, rmnkr, false)) return 0;
    Container* const pcontainer = OpenContainer(&rmnkr);
    if (pcontainer == nullptr) return 0;
    short const done = pcontainer->ListStoredResources(rmnkr, pfn, pvUser);
    if (done == 0) TakeError(pcontainer);
    CloseContainer(pcontainer);
    return done;
}

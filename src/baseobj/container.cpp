#include <baseobj/container.h>

#include <baseobj/cxcache.h>
#include <baseobj/datares.h>
#include <baseobj/exception.h>
#include <baseobj/resmnkr.h>
#include <util/exceptions.h>

#include <new>

CreateableCache* Container::pcxcResources = nullptr;
CreateableCache* Container::pcxcBuffers = nullptr;
Container::pfnResourceMaker Container::fnResourceMakerFunction = nullptr;

namespace {

constexpr char kNoFile[] = "Failed to open file for input: ";
// Any form code but the arrow form's writes the store's type and file.
constexpr short kBracketForm = 1;

// The moniker a resource text names; false when the text does not
// scan.
bool ScanResourceText(CPString& strResourceText, ResourceMoniker& rmnkr) {
    try {
        rmnkr.ScanBuffer(strResourceText.GetBuffer(), 0);
    } catch (Exception const&) {
        return false;
    }
    return true;
}

// Gives back a resource made here that nobody took.
void Discard(DataResource* pdr) {
    if (pdr == nullptr || pdr->_get_nRefCount() != 0) return;
    pdr->AddRef();
    pdr->Release();
}

} // namespace

// Texts and caches ------------------------------------------------------------

// The bracketed form, "[type@file]" and the path, whatever the text the
// moniker was scanned from: the arrow form leaves the file out, and two
// spellings of one resource must meet in the cache.
CPString Container::MonikerText(ResourceMoniker& rmnkr) {
    CPString text;
    short const nFormCode = rmnkr._get_nFormCode();
    rmnkr._set_nFormCode(kBracketForm);
    rmnkr.BuildFirstPartOfMonikerString(&text);
    rmnkr.BuildLastPartOfMonikerString(&text);
    rmnkr._set_nFormCode(nFormCode);
    return text;
}

CPString Container::MonikerLastPart(ResourceMoniker& rmnkr) {
    CPString text;
    rmnkr.BuildLastPartOfMonikerString(&text);
    return text;
}

void Container::CreateCaches() {
    if (pcxcResources == nullptr) {
        pcxcResources =
            new (std::nothrow) CreateableCache(kResourceCacheSize, CreateableCache::cacheLRU);
        SV_FAIL_IF_NIL(pcxcResources, "pcxcResources");
        pcxcResources->AddRef();
    }
    if (pcxcBuffers == nullptr) {
        pcxcBuffers =
            new (std::nothrow) CreateableCache(kBufferCacheSize, CreateableCache::cacheLRU);
        SV_FAIL_IF_NIL(pcxcBuffers, "pcxcBuffers");
        pcxcBuffers->AddRef();
    }
}

void Container::EliminateCaches() {
    if (pcxcResources != nullptr) pcxcResources->Release();
    if (pcxcBuffers != nullptr) pcxcBuffers->Release();
    pcxcResources = nullptr;
    pcxcBuffers = nullptr;
}

ErrorContainer& Container::_get_errShared() {
    // Lives for the process, like the caches it speaks for.
    static auto* const perrShared = [] {
        auto* p = new ErrorContainer;
        p->AddRef();
        return p;
    }();
    return *perrShared;
}

char const* Container::_get_szName() const {
    return strName.Length() != 0 ? strName._get_pdybuf()->GetBuffer() : "";
}

void Container::ValidateCachedResources() {
    if (pcxcResources != nullptr) pcxcResources->ForEach(itValidateResource, nullptr);
}

void Container::itValidateResource(void*, void*) {}

DataResource* Container::MakeResource(CPString& strType) {
    if (fnResourceMakerFunction == nullptr) return nullptr;
    return fnResourceMakerFunction(strType.Length() != 0 ? strType.GetBuffer() : "");
}

DataResource* Container::CachedResource(CPString const& strKey) {
    Createable* const pcr = pcxcResources->Find(strKey._get_pdybuf()->GetBuffer());
    return pcr != nullptr ? dynamic_cast<DataResource*>(pcr) : nullptr;
}

// Only shared, read-only copies are cached, so a cached copy is never the
// one a writer holds.
void Container::DropCachedCopy(CPString const& strKey) {
    DataResource* const presCached = CachedResource(strKey);
    if (presCached == nullptr) return;
    SV_ASSERT((presCached->_get_cAccessMode() & DataResource::ACCESS_MODE_READONLY) != 0,
              "presCached->cAccessMode & ACCESS_MODE_READONLY");
    pcxcResources->Remove(strKey._get_pdybuf()->GetBuffer());
}

// A resource may be written under another name than the one it came from:
// the copy cached under that one is old too.
void Container::DropCachedCopy(CPString& strResourceText, CPString const& strKey) {
    if (strResourceText.Length() == 0 || strResourceText == strKey) return;
    ResourceMoniker rmnkr;
    if (!ScanResourceText(strResourceText, rmnkr)) return;
    CPString const key = MonikerText(rmnkr);
    if (key.Length() != 0) DropCachedCopy(key);
}

// Reading -------------------------------------------------------------------

// A private copy of the cached resource, in pdr when one is given.
DataResource* Container::CopyOfCached(DataResource* presCached, DataResource* pdr) {
    DataResource* const pdrNew =
        pdr != nullptr ? pdr : MakeResource(presCached->GetResourceType(nullptr));
    if (pdrNew == nullptr) return nullptr;
    if (presCached->CloneResource(pdrNew) == nullptr) {
        if (pdrNew != pdr) Discard(pdrNew);
        return nullptr;
    }
    pdrNew->_set_cAccessMode(0);
    return pdrNew;
}

// A reader that keeps its resource to itself, or may change it, leaves a
// read-only copy in the cache; otherwise the resource it got is the shared
// one.
void Container::CacheAfterRead(CPString const& strKey, char cMode, DataResource* pdr) {
    char const* const key = strKey._get_pdybuf()->GetBuffer();
    if ((cMode & DataResource::ACCESS_MODE_READONLY) == 0 ||
        (cMode & DataResource::ACCESS_MODE_PRIVATE) != 0) {
        DataResource* const pdrCopy = MakeResource(pdr->GetResourceType(nullptr));
        if (pdrCopy == nullptr) return;
        if (pdr->CloneResource(pdrCopy) == nullptr) {
            Discard(pdrCopy);
            return;
        }
        pdrCopy->_set_cAccessMode(DataResource::ACCESS_MODE_READONLY);
        pcxcResources->Add(key, pdrCopy);
    } else {
        pcxcResources->Add(key, pdr);
    }
}

DataResource* Container::ReadResource(ResourceMoniker& rmnkr, char cMode, DataResource* pdr) {
    CreateCaches();
    CPString const key = MonikerText(rmnkr);
    SV_ASSERT(key.Length() != 0, "strMoniker.Length() != 0");
    DataResource* presResult = nullptr;
    if (DataResource* const presCached = CachedResource(key)) {
        // The shared copy is the cache's: nothing is read into it.
        if (pdr == presCached) pdr = nullptr;
        if (IsCachedResourceStale(rmnkr) != 0) {
            pcxcResources->Remove(key._get_pdybuf()->GetBuffer());
        } else if ((cMode & DataResource::ACCESS_MODE_READONLY) == 0) {
            presResult = CopyOfCached(presCached, pdr);
        } else if (pdr == nullptr) {
            presResult = presCached;
        } else {
            pcxcResources->Remove(key._get_pdybuf()->GetBuffer());
        }
    }
    if (presResult == nullptr) {
        presResult = ReadStoredResource(rmnkr, pdr);
        if (presResult != nullptr) CacheAfterRead(key, cMode, presResult);
    }
    if (presResult != nullptr) presResult->_set_cAccessMode(cMode);
    return presResult;
}

// Writing and removing -------------------------------------------------------

DataResource* Container::WriteResource(ResourceMoniker& rmnkr, char cMode, DataResource* pdr) {
    CreateCaches();
    CPString const key = MonikerText(rmnkr);
    SV_ASSERT(key.Length() != 0, "strMoniker.Length() != 0");
    if (pdr == nullptr) {
        _set_strError("No Resource Supplied");
        return nullptr;
    }
    DropCachedCopy(key);
    DropCachedCopy(pdr->_get_strResourceSpecification(), key);
    if (WriteStoredResource(rmnkr, pdr) == 0) return nullptr;
    // Kept as the shared copy, the resource becomes read-only like every
    // cached one.
    if ((cMode & DataResource::ACCESS_MODE_READONLY) != 0 &&
        (cMode & DataResource::ACCESS_MODE_PRIVATE) == 0) {
        pdr->_set_cAccessMode(cMode);
        pcxcResources->Add(key._get_pdybuf()->GetBuffer(), pdr);
    }
    return pdr;
}

short Container::DeleteResource(ResourceMoniker& rmnkr) {
    CreateCaches();
    CPString const key = MonikerText(rmnkr);
    SV_ASSERT(key.Length() != 0, "strMoniker.Length() != 0");
    // Removing a key that is not there would upset the dictionary's count.
    if (CachedResource(key) != nullptr) pcxcResources->Remove(key._get_pdybuf()->GetBuffer());
    return DeleteStoredResource(rmnkr);
}

// Buffers -------------------------------------------------------------------

BuffCacheObj* Container::GetBuffCacheObj(ResourceMoniker& rmnkr, pfnBuffMaker pfnMaker) {
    CreateCaches();
    CPString key = MonikerLastPart(rmnkr);
    char const* const szKey = key.Length() != 0 ? key.GetBuffer() : "";
    auto const make = [&]() -> BuffCacheObj* {
        BuffCacheObj* const p = pfnMaker != nullptr ? pfnMaker(szKey) : nullptr;
        if (p == nullptr) {
            CPString error(kNoFile);
            error += szKey;
            _get_errShared()._set_strError(error);
            return nullptr;
        }
        pcxcBuffers->Add(szKey, p);
        return p;
    };
    Createable* const pcr = pcxcBuffers->Find(szKey);
    auto* pbuf = pcr != nullptr ? dynamic_cast<BuffCacheObj*>(pcr) : nullptr;
    if (pbuf == nullptr) return make();
    if (pbuf->IsStale() != 0) {
        pcxcBuffers->Remove(szKey);
        return make();
    }
    return pbuf;
}

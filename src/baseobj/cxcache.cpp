#include <baseobj/cxcache.h>

#include <cpcoll/cplist.h>
#include <util/exceptions.h>

#include <chrono>
#include <cstdio>

namespace {

// Checks and log lines report the unit's name, not the source path, and the
// caller's line.

// Milliseconds of a monotonic clock as a 32-bit tick count, which wraps:
// access times compare as unsigned 32-bit words.
std::uint32_t GetTickCount() {
    auto const now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

// Number keys are 32-bit words: a key given as signed and one given as
// unsigned name the same entry.
std::uintptr_t NumKey(std::int32_t nKey) {
    return static_cast<std::uint32_t>(nKey);
}

CacheObject* AsCacheObject(void* pv) {
    return static_cast<CacheObject*>(pv);
}

void itReleaseCacheObject(void* pv, void*) {
    AsCacheObject(pv)->Release();
}

} // namespace

// CacheObject ----------------------------------------------------------------

CacheObject::CacheObject(Createable* pcr) : pcreateable(pcr), nLastAccess(GetTickCount()) {
    if (pcreateable != nullptr) pcreateable->AddRef();
}

CacheObject::~CacheObject() {
    if (pcreateable != nullptr) pcreateable->Release();
}

void CacheObject::_set_pcreateable(Createable* pcr) {
    if (pcr != nullptr) pcr->AddRef();
    if (pcreateable != nullptr) pcreateable->Release();
    pcreateable = pcr;
}

void CacheObject::Touch() {
    nLastAccess = GetTickCount();
}

// CreateableCache ------------------------------------------------------------

std::int16_t CreateableCache::bLogStatistics = 0;

CreateableCache::CreateableCache(std::uint32_t nMaxElementsA, CacheMode mode)
    : nMaxElements(nMaxElementsA), eMode(mode) {}

CreateableCache::~CreateableCache() {
    Clear();
}

void CreateableCache::Set(CacheObject* pcxo, Createable* pcreateable) {
    pcxo->_set_pcreateable(pcreateable);
    pcxo->Touch();
}

char CreateableCache::Add(std::int32_t nKey, Createable* pcreateable) {
    SV_ASSERT(pcreateable != nullptr, "pcreateableA");
    Trim();
    if (CacheObject* const pcxo = AsCacheObject(dctThe.FindKeyNum(NumKey(nKey)))) {
        Set(pcxo, pcreateable);
        return 1;
    }
    auto* const pcxo = new CacheObject(pcreateable);
    pcxo->AddRef();
    dctThe.AddKeyNum(NumKey(nKey), pcxo);
    return 1;
}

char CreateableCache::Add(char const* szKey, Createable* pcreateable) {
    SV_ASSERT(szKey != nullptr, "szKey");
    SV_ASSERT(pcreateable != nullptr, "pcreateableA");
    Trim();
    if (CacheObject* const pcxo = AsCacheObject(dctThe.FindKeyString(szKey))) {
        Set(pcxo, pcreateable);
        return 1;
    }
    auto* const pcxo = new CacheObject(pcreateable);
    pcxo->AddRef();
    dctThe.AddKeyString(szKey, pcxo);
    return 1;
}

Createable* CreateableCache::Find(std::int32_t nKey) {
    CacheObject* const pcxo = AsCacheObject(dctThe.FindKeyNum(NumKey(nKey)));
    if (pcxo == nullptr) {
        Miss();
        return nullptr;
    }
    Hit();
    pcxo->Touch();
    return pcxo->_get_pcreateable();
}

Createable* CreateableCache::Find(char const* szKey) {
    SV_ASSERT(szKey != nullptr, "szKey");
    CacheObject* const pcxo = AsCacheObject(dctThe.FindKeyString(szKey));
    if (pcxo == nullptr) {
        Miss();
        return nullptr;
    }
    Hit();
    pcxo->Touch();
    return pcxo->_get_pcreateable();
}

Createable* CreateableCache::Intern(std::uint32_t nKey, pfnCxNumFunc fnCxFunc) {
    SV_ASSERT(fnCxFunc != nullptr, "fnCxFunc");
    if (Createable* const pcr = Find(static_cast<std::int32_t>(nKey))) return pcr;
    Createable* const pcr = fnCxFunc(nKey);
    if (pcr != nullptr) Add(static_cast<std::int32_t>(nKey), pcr);
    return pcr;
}

Createable* CreateableCache::Intern(char const* szKey, pfnCxStringFunc fnCxFunc) {
    SV_ASSERT(fnCxFunc != nullptr, "fnCxFunc");
    SV_ASSERT(szKey != nullptr, "szKey");
    if (Createable* const pcr = Find(szKey)) return pcr;
    Createable* const pcr = fnCxFunc(szKey);
    if (pcr != nullptr) Add(szKey, pcr);
    return pcr;
}

char CreateableCache::Remove(std::int32_t nKey) {
    dctThe.DestroyKeyNum(NumKey(nKey), itReleaseCacheObject);
    return 1;
}

// As with the dictionary's own string removal, an absent key is the
// caller's to rule out.
char CreateableCache::Remove(char const* szKey) {
    SV_ASSERT(szKey != nullptr, "szKey");
    dctThe.DestroyKeyString(szKey, itReleaseCacheObject);
    return 1;
}

void CreateableCache::Clear() {
    dctThe.ForEach(itReleaseCacheObject, nullptr);
    dctThe.DetachAll();
}

void CreateableCache::ForEach(pfnKillFunc pfn, void* pvUser) {
    dctThe.GotoTop();
    for (void* pv; (pv = dctThe.Retrieve()) != nullptr; dctThe.Next())
        pfn(AsCacheObject(pv)->_get_pcreateable(), pvUser);
}

double CreateableCache::_get_HitRatio() const {
    if (nRequests == 0) return 0;
    return static_cast<double>(nHits / nRequests);
}

// Eviction -------------------------------------------------------------------

void CreateableCache::Trim() {
    if (Length() < nMaxElements) return;
    if (eMode == cacheLRU)
        RemoveLRUCacheObject();
    else
        Clear();
}

void CreateableCache::RemoveLRUCacheObject() {
    std::uint32_t const nTarget = Length() / 3;
    CPList lstOldest;
    dctThe.GotoTop();
    for (void* pv; (pv = dctThe.RetrieveInternalContainer()) != nullptr; dctThe.Next()) {
        auto* const pda = static_cast<CPDictionaryAssociation*>(pv);
        if (lstOldest.Length() != nTarget) {
            lstOldest.Add(pda);
            continue;
        }
        std::uint32_t const nAccess = AsCacheObject(pda->GetValue())->_get_nLastAccess();
        for (CPBucket* pbkt = lstOldest._get_pbktHead(); pbkt != nullptr;
             pbkt = pbkt->_get_pbktNext()) {
            auto const* const pdaKept = static_cast<CPDictionaryAssociation*>(pbkt->_get_pvData());
            if (AsCacheObject(pdaKept->GetValue())->_get_nLastAccess() > nAccess) {
                pbkt->_set_pvData(pda);
                break;
            }
        }
    }
    if (lstOldest.Length() == 0) return;
    for (CPBucket* pbkt = lstOldest._get_pbktHead(); pbkt != nullptr;
         pbkt = pbkt->_get_pbktNext()) {
        auto* const pda = static_cast<CPDictionaryAssociation*>(pbkt->_get_pvData());
        if (CPString* const pstrKey = pda->_get_pstrKey())
            dctThe.DestroyKeyString(pstrKey, itReleaseCacheObject);
        else
            dctThe.DestroyKeyNum(pda->GetKeyCardinal(), itReleaseCacheObject);
    }
}

// Counting -------------------------------------------------------------------

void CreateableCache::Hit() {
    ++nRequests;
    ++nHits;
    Count("Cache Hit.  nRequests: %ld, nHits: %ld, CacheSize: %ld");
}

void CreateableCache::Miss() {
    ++nRequests;
    Count("Cache Miss.  nRequests: %ld, nHits: %ld, CacheSize: %ld");
}

// Past a thousand of each the counters start again from the ratio, so that
// they stay small.
void CreateableCache::Count(char const* szFormat) {
    if (nRequests > 1000 && nHits > 1000) {
        double const dRatio = static_cast<double>(nHits) / nRequests;
        nHits = 1;
        nRequests = static_cast<std::uint32_t>(1.0 / dRatio);
    }
    if (bLogStatistics == 0) return;
    char szLine[128];
    // The counts print as 32-bit longs: that is the log's form.
    std::snprintf(szLine, sizeof szLine, szFormat,
                  static_cast<long>(static_cast<std::int32_t>(nRequests)),
                  static_cast<long>(static_cast<std::int32_t>(nHits)),
                  static_cast<long>(static_cast<std::int32_t>(Length())));
    Exceptions::_get_gexeptnsThe().Comment(SV_UNIT_NAME(), __LINE__, szLine);
}

// Staticable -----------------------------------------------------------------

CPTree Staticable::treeToRelease;

Staticable::Staticable(short nArgumentA) : nArgument(nArgumentA) {
    ++nConstructed;
}

Staticable::~Staticable() {
    Destructor();
}

#include <cpcoll/iterate.h>

#include <cpcoll/cpcollec.h>
#include <util/exceptions.h>

#include <new>

namespace {

// The private actions of allThat: the walked collection's new sibling is
// their argument.
void itAddToCollection(void* pvItem, void* pvUser) {
    static_cast<CPCollection*>(pvUser)->Add(pvItem);
}

void itAddInternalContainer(CPInternalContainer* pic, void* pvUser) {
    static_cast<CPCollection*>(pvUser)->AddInternalContainer(pic);
}

void* DataOf(CPInternalContainer* pic) {
    return pic != nullptr ? pic->_get_pvTheData() : nullptr;
}

} // namespace

// Iterator -------------------------------------------------------------------

Iterator::Iterator(Iterator const& other)
    : Createable(other), bInWalk(other.bInWalk), pitsThe(other.pitsThe) {
    if (pitsThe != nullptr) pitsThe->AddRef();
}

Iterator& Iterator::operator=(Iterator const& other) {
    Createable::operator=(other);
    bInWalk = other.bInWalk;
    _set_pitsThe(other.pitsThe);
    return *this;
}

Iterator::~Iterator() {
    if (pitsThe != nullptr) pitsThe->Release();
}

void Iterator::_set_pitsThe(IterationState* pits) {
    // Taking the new one first keeps a position that is set again alive.
    if (pits != nullptr) pits->AddRef();
    if (pitsThe != nullptr) pitsThe->Release();
    pitsThe = pits;
}

// Walking without a position would go through null; that ends the process.
IterationState* Iterator::Position() const {
    SV_CRIT_ASSERT(pitsThe != nullptr, "pitsThe !=0");
    return pitsThe;
}

short Iterator::forEach(IteratorActionFunc pfnAction, void* pvArg) {
    if (bInWalk != 0) throw IterationFault;
    bInWalk = 1;
    IterationState* const pits = Position();
    if (pits->gotoTop() != 0) {
        for (void* pv; (pv = pits->retrieve()) != nullptr; pits->gotoNext())
            pfnAction(pv, pvArg);
    }
    if (bInWalk == 0) throw IterationFault;
    bInWalk = 0;
    return 1;
}

short Iterator::forEach(IteratorContainerActionFunc pfnAction, void* pvArg) {
    if (bInWalk != 0) throw IterationFault;
    bInWalk = 1;
    IterationState* const pits = Position();
    if (pits->gotoTop() != 0) {
        for (CPInternalContainer* pic; (pic = pits->retrieveInternalContainer()) != nullptr;
             pits->gotoNext())
            pfnAction(pic, pvArg);
    }
    if (bInWalk == 0) throw IterationFault;
    bInWalk = 0;
    return 1;
}

short Iterator::forEachThat(IteratorCondFunc pfnCond, void* pvCondArg, IteratorActionFunc pfnAction,
                            void* pvActionArg) {
    if (bInWalk != 0) throw IterationFault;
    bInWalk = 1;
    IterationState* const pits = Position();
    if (pits->gotoTop() != 0) {
        for (void* pv; (pv = pits->retrieve()) != nullptr; pits->gotoNext())
            if (pfnCond(pv, pvCondArg) != 0) pfnAction(pv, pvActionArg);
    }
    if (bInWalk == 0) throw IterationFault;
    bInWalk = 0;
    return 1;
}

short Iterator::forEachThat(IteratorContainerCondFunc pfnCond, void* pvCondArg,
                            IteratorContainerActionFunc pfnAction, void* pvActionArg) {
    if (bInWalk != 0) throw IterationFault;
    bInWalk = 1;
    IterationState* const pits = Position();
    if (pits->gotoTop() != 0) {
        for (CPInternalContainer* pic; (pic = pits->retrieveInternalContainer()) != nullptr;
             pits->gotoNext())
            if (pfnCond(pic, pvCondArg) != 0) pfnAction(pic, pvActionArg);
    }
    if (bInWalk == 0) throw IterationFault;
    bInWalk = 0;
    return 1;
}

CPCollection* Iterator::allThat(IteratorCondFunc pfnCond, void* pvArg) {
    CPCollection* const pclNew = Position()->_get_pclAssociated()->CreateInstance();
    forEachThat(pfnCond, pvArg, itAddToCollection, pclNew);
    return pclNew;
}

CPCollection* Iterator::allThat(IteratorContainerCondFunc pfnCond, void* pvArg) {
    CPCollection* const pclNew = Position()->_get_pclAssociated()->CreateInstance();
    forEachThat(pfnCond, pvArg, itAddInternalContainer, pclNew);
    return pclNew;
}

// The loop shared by the firstThat and nextThat families: from the top or
// one step on, read each entry and answer the first one the match accepts.
template <class Retrieve, class Match>
void* Iterator::Scan(bool fromTop, Retrieve retrieve, Match match) {
    IterationState* const pits = Position();
    if (fromTop) {
        if (pits->gotoTop() == 0) return nullptr;
    } else {
        pits->gotoNext();
    }
    for (;;) {
        auto* const p = retrieve(pits);
        if (p == nullptr) return nullptr;
        if (match(p)) return p;
        pits->gotoNext();
    }
}

namespace {

auto const kElement = [](IterationState* pits) { return pits->retrieve(); };
auto const kContainer = [](IterationState* pits) { return pits->retrieveInternalContainer(); };

} // namespace

void* Iterator::firstThat(IteratorCondFunc pfnCond, void* pvArg) {
    return Scan(true, kElement, [&](void* pv) { return pfnCond(pv, pvArg) != 0; });
}

void* Iterator::firstThat(IteratorContainerCondFunc pfnCond, void* pvArg) {
    return DataOf(static_cast<CPInternalContainer*>(Scan(
        true, kContainer, [&](CPInternalContainer* pic) { return pfnCond(pic, pvArg) != 0; })));
}

CPInternalContainer* Iterator::firstinternalcontainerThat(IteratorCondFunc pfnCond, void* pvArg) {
    return static_cast<CPInternalContainer*>(Scan(true, kContainer, [&](CPInternalContainer* pic) {
        return pfnCond(pic->_get_pvTheData(), pvArg) != 0;
    }));
}

CPInternalContainer* Iterator::firstinternalcontainerThat(IteratorContainerCondFunc pfnCond,
                                                          void* pvArg) {
    return static_cast<CPInternalContainer*>(
        Scan(true, kContainer, [&](CPInternalContainer* pic) { return pfnCond(pic, pvArg) != 0; }));
}

void* Iterator::nextThat(IteratorCondFunc pfnCond, void* pvArg) {
    return Scan(false, kElement, [&](void* pv) { return pfnCond(pv, pvArg) != 0; });
}

void* Iterator::nextThat(IteratorContainerCondFunc pfnCond, void* pvArg) {
    return DataOf(static_cast<CPInternalContainer*>(Scan(
        false, kContainer, [&](CPInternalContainer* pic) { return pfnCond(pic, pvArg) != 0; })));
}

CPInternalContainer* Iterator::nextinternalcontainerThat(IteratorCondFunc pfnCond, void* pvArg) {
    return static_cast<CPInternalContainer*>(Scan(false, kContainer, [&](CPInternalContainer* pic) {
        return pfnCond(pic->_get_pvTheData(), pvArg) != 0;
    }));
}

CPInternalContainer* Iterator::nextinternalcontainerThat(IteratorContainerCondFunc pfnCond,
                                                         void* pvArg) {
    return static_cast<CPInternalContainer*>(Scan(
        false, kContainer, [&](CPInternalContainer* pic) { return pfnCond(pic, pvArg) != 0; }));
}

// Iterable -------------------------------------------------------------------

Iterator* Iterable::GetIterator() {
    Iterator* const piterA = new (std::nothrow) Iterator;
    SV_FAIL_IF_NIL(piterA, "piterA");
    IterationState* const pitsA = CreateIterationState();
    SV_FAIL_IF_NIL(pitsA, "pitsA");
    piterA->_set_pitsThe(pitsA);
    return piterA;
}

// IterationState -------------------------------------------------------------

IterationState& IterationState::operator=(IterationState const& other) {
    nXACT = other.nXACT;
    pclAssociated = other.pclAssociated;
    return *this;
}

void IterationState::CheckXACT() const {
    if (nXACT != pclAssociated->_get_nXACT()) throw IterationFault;
}

short IterationState::gotoTop() {
    nXACT = pclAssociated->_get_nXACT();
    return vgotoTop();
}

short IterationState::gotoBottom() {
    nXACT = pclAssociated->_get_nXACT();
    return vgotoBottom();
}

short IterationState::gotoIDX(std::uint32_t n) {
    nXACT = pclAssociated->_get_nXACT();
    return vgotoIDX(n);
}

short IterationState::gotoNext() {
    CheckXACT();
    return vgotoNext();
}

short IterationState::gotoPrev() {
    CheckXACT();
    return vgotoPrev();
}

void* IterationState::retrieve() {
    CheckXACT();
    return vretrieve();
}

CPInternalContainer* IterationState::retrieveInternalContainer() {
    CheckXACT();
    return vretrieveInternalContainer();
}

short IterationState::vgotoIDX(std::uint32_t n) {
    vgotoTop();
    // Past the end a step moves nothing more, so the walk stops at the first
    // failed step rather than counting out the rest.
    for (std::uint32_t i = 0; i < n; ++i)
        if (vgotoNext() == 0) break;
    return 1;
}

void* IterationState::get() {
    void* const pv = retrieve();
    gotoNext();
    return pv;
}

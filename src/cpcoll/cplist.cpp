#include <cpcoll/cplist.h>

#include <util/exceptions.h>

#include <new>

namespace {

void* DataOf(CPBucket const* pbkt) {
    return pbkt != nullptr ? pbkt->_get_pvData() : nullptr;
}

// A list's condition answers an int; an Iterator's answers 16 bits. The
// call carries the condition and its value through the Iterator's argument.
struct CondCall {
    pfnCondFunc pfnCond;
    void* pvUser;
};

short itCallCond(void* pvItem, void* pvCall) {
    auto const* const call = static_cast<CondCall const*>(pvCall);
    return call->pfnCond(pvItem, call->pvUser) != 0 ? 1 : 0;
}

// The cursor walk of the IteratorAction forms: the action may move the
// cursor, which is put back after each call.
void* ActionWalk(CPList& lst, IteratorAction* pia, bool bStopOnMatch) {
    for (void* pv; (pv = lst.Retrieve()) != nullptr; lst.Next()) {
        pia->pvItem = pv;
        CPBucket* const pbktSaved = lst._get_pbktCursor();
        short const bMatch = pia->Execute();
        lst._set_pbktCursor(pbktSaved);
        if (bStopOnMatch && bMatch != 0) return pv;
    }
    return nullptr;
}

} // namespace

// ListIterationState ---------------------------------------------------------

ListIterationState& ListIterationState::operator=(ListIterationState const& other) {
    IterationState::operator=(other);
    pbktResetPoint = other.pbktResetPoint;
    pbktCursor = other.pbktCursor;
    pbktGot = other.pbktGot;
    pbktPeek = other.pbktPeek;
    nDXCursor = other.nDXCursor;
    return *this;
}

CPList* ListIterationState::List() const {
    return static_cast<CPList*>(pclAssociated);
}

short ListIterationState::vgotoTop() {
    pbktCursor = List()->_get_pbktHead();
    nDXCursor = 0;
    pbktPeek = nullptr;
    return 1;
}

short ListIterationState::vgotoBottom() {
    pbktCursor = List()->_get_pbktTail();
    nDXCursor = static_cast<std::int32_t>(List()->Length() - 1);
    pbktPeek = nullptr;
    return 1;
}

short ListIterationState::vgotoIDX(std::uint32_t n) {
    if (n >= List()->Length()) return 0;
    if (nDXCursor == -1) {
        gotoTop();
        for (std::uint32_t i = 0; i < n && pbktCursor != nullptr; ++i)
            gotoNext();
    } else {
        // A target behind the known index wraps to a long forward walk. Once
        // the cursor has run off the end the remaining steps move nothing,
        // so the walk stops there.
        std::uint32_t nDistance = n - static_cast<std::uint32_t>(nDXCursor);
        for (; nDistance != 0 && pbktCursor != nullptr; --nDistance)
            gotoNext();
    }
    nDXCursor = static_cast<std::int32_t>(n);
    return 1;
}

short ListIterationState::vgotoNext() {
    nDXCursor = -1;
    if (pbktCursor == List()->_get_pbktTail()) {
        pbktCursor = nullptr;
        return 0;
    }
    if (pbktCursor == nullptr) return 0;
    pbktCursor = pbktCursor->_get_pbktNext();
    return 1;
}

short ListIterationState::vgotoPrev() {
    nDXCursor = -1;
    if (pbktCursor == nullptr || pbktCursor == List()->_get_pbktHead()) {
        pbktCursor = nullptr;
        return 0;
    }
    pbktCursor = pbktCursor->_get_pbktPrev();
    return pbktCursor != nullptr ? 1 : 0;
}

void* ListIterationState::vretrieve() {
    pbktGot = pbktCursor;
    return DataOf(pbktCursor);
}

CPInternalContainer* ListIterationState::vretrieveInternalContainer() {
    pbktGot = pbktCursor;
    return pbktCursor;
}

void* ListIterationState::peek() {
    pbktPeek = pbktCursor;
    pbktGot = pbktCursor;
    return DataOf(pbktCursor);
}

void ListIterationState::gotoResetPoint() {
    if (pbktResetPoint == nullptr) {
        gotoTop();
        return;
    }
    pbktCursor = pbktResetPoint;
    nDXCursor = -1;
    pbktPeek = nullptr;
}

void ListIterationState::settleScan(CPBucket* pbkt) {
    nXACT = pclAssociated->_get_nXACT();
    pbktResetPoint = nullptr;
    pbktPeek = nullptr;
    pbktCursor = pbkt;
    pbktGot = pbkt;
    // Only a scan that stopped at the top has not stepped.
    nDXCursor = pbkt != nullptr && pbkt == List()->_get_pbktHead() ? 0 : -1;
}

CPBucket* ListIterationState::getPredecessor(CPBucket* pbkt) const {
    return List()->GetPredecessor(pbkt);
}

// CPList: life -----------------------------------------------------------------

CPList::CPList() = default;

CPList::CPList(CPList const& other)
    : Createable(other), CPFlatCollection(other), pbktHead(other.pbktHead),
      pbktTail(other.pbktTail), pbktResetPoint(other.pbktResetPoint), pbktCursor(other.pbktCursor),
      pbktGot(other.pbktGot), pbktPeek(other.pbktPeek), nDXCursor(other.nDXCursor),
      iterInternal(other.iterInternal), pbktPrevFound(other.pbktPrevFound),
      pbktFound(other.pbktFound) {
    ForOwnBuckets([](CPBucket* pbkt) { pbkt->AddRef(); });
    FollowInternalState(other);
    TakeForeignBuckets();
}

// A copy goes on with the source's last FirstThat from the same bucket, but
// on a position of its own, so that it doesn't depend on the source living.
void CPList::FollowInternalState(CPList const& other) {
    auto const* const pits = static_cast<ListIterationState*>(other.iterInternal._get_pitsThe());
    iterInternal._set_pitsThe(pits != nullptr ? new (std::nothrow) ListIterationState(this, *pits)
                                              : nullptr);
}

CPList& CPList::operator=(CPList const& other) {
    if (this == &other) return *this;
    // The buckets held so far are given back rather than lost.
    ForOwnBuckets([](CPBucket* pbkt) { pbkt->Release(); });
    CPFlatCollection::operator=(other);
    pbktHead = other.pbktHead;
    pbktTail = other.pbktTail;
    pbktResetPoint = other.pbktResetPoint;
    pbktCursor = other.pbktCursor;
    pbktGot = other.pbktGot;
    pbktPeek = other.pbktPeek;
    nDXCursor = other.nDXCursor;
    iterInternal = other.iterInternal;
    pbktPrevFound = other.pbktPrevFound;
    pbktFound = other.pbktFound;
    ForOwnBuckets([](CPBucket* pbkt) { pbkt->AddRef(); });
    FollowInternalState(other);
    TakeForeignBuckets();
    return *this;
}

CPList::~CPList() {
    DetachAll();
}

template <class F> void CPList::ForOwnBuckets(F f) {
    CPBucket* pbkt = pbktHead;
    for (std::uint32_t i = 0; i < nLength && pbkt != nullptr; ++i) {
        // Read before f, which may free the bucket; a chain shared past the
        // tail is not this list's.
        CPBucket* const pbktNext = pbkt == pbktTail ? nullptr : pbkt->_get_pbktNext();
        f(pbkt);
        pbkt = pbktNext;
    }
}

void CPList::InitPointers() {
    pbktHead = nullptr;
    pbktTail = nullptr;
    pbktResetPoint = nullptr;
    pbktCursor = nullptr;
    pbktGot = nullptr;
    pbktPeek = nullptr;
    nDXCursor = -1;
    vecPath = {};
    // Empty: nothing is shared any more.
    NoteEdit();
    bSharesBuckets = false;
    bCursorOnPath = false;
}

CPCollection* CPList::CreateInstance() {
    return new (std::nothrow) CPList;
}

IterationState* CPList::CreateIterationState() {
    return new (std::nothrow) ListIterationState(this);
}

// Cursor -------------------------------------------------------------------------

void* CPList::operator[](int n) {
    std::uint32_t nIndex = static_cast<std::uint32_t>(n);
    if (n < 0) nIndex += nLength;
    return RetrieveIDX(nIndex);
}

void* CPList::WalkToIDX(std::uint32_t n) {
    if (nDXCursor != -1 && n < static_cast<std::uint32_t>(nDXCursor) && CursorOnPath())
        return JumpOnPath(n);
    if (nDXCursor != -1) {
        // Off the end, further steps move nothing.
        std::int64_t nSteps = static_cast<std::int64_t>(n) - nDXCursor;
        if (nSteps < 0) bCursorOnPath = false;
        for (; nSteps < 0 && pbktCursor != nullptr; ++nSteps)
            Prev();
        for (; nSteps > 0 && pbktCursor != nullptr; --nSteps) {
            CPBucket* const pbktFrom = pbktCursor;
            Next();
            KeepToPath(pbktFrom);
        }
    } else {
        GotoTop();
        for (std::uint32_t i = 0; i < n && pbktCursor != nullptr; ++i) {
            CPBucket* const pbktFrom = pbktCursor;
            Next();
            KeepToPath(pbktFrom);
        }
    }
    nDXCursor = static_cast<std::int32_t>(n);
    return Retrieve();
}

// Index n on the path behind the cursor, where the walk back would land.
// The path's buckets are learnt up to the cursor the first time, at the cost
// of the reads in order that led there; the cursor stays on the path.
void* CPList::JumpOnPath(std::uint32_t n) {
    LearnPathToCursor();
    pbktCursor = vecPath[n].pbkt;
    nDXCursor = static_cast<std::int32_t>(n);
    return Retrieve();
}

void CPList::LearnPathToCursor() {
    auto const nTo = static_cast<std::size_t>(nDXCursor);
    CPBucket* pbkt = vecPath.empty() ? pbktHead : vecPath.back().pbkt->_get_pbktNext();
    for (; vecPath.size() <= nTo; pbkt = pbkt->_get_pbktNext())
        vecPath.push_back(PathStep{pbkt, pbkt->_get_pvData()});
    SV_ASSERT(vecPath[nTo].pbkt == pbktCursor, "vecPath[nDXCursor] == pbktCursor");
}

void* CPList::Peek() {
    pbktPeek = pbktCursor;
    pbktGot = pbktCursor;
    return DataOf(pbktCursor);
}

void* CPList::PeekNext() {
    if (pbktPeek == nullptr) return Peek();
    if (pbktPeek == pbktTail) return nullptr;
    pbktPeek = pbktPeek->_get_pbktNext();
    pbktGot = pbktPeek;
    return DataOf(pbktPeek);
}

void* CPList::Get() {
    pbktPeek = nullptr;
    void* const pv = Retrieve();
    Next();
    return pv;
}

void CPList::GotoResetPoint() {
    if (pbktResetPoint == nullptr) {
        GotoTop();
        return;
    }
    pbktCursor = pbktResetPoint;
    nDXCursor = -1;
    pbktPeek = nullptr;
}

CPBucket* CPList::GetPredecessor(CPBucket* pbkt) const {
    if (pbkt == nullptr || pbkt == pbktHead) return nullptr;
    return pbkt->_get_pbktPrev();
}

// Adding -------------------------------------------------------------------------

void CPList::Add(void* pv) {
    CPBucket* const pbktNew = new (std::nothrow) CPBucket;
    SV_ASSERT(pbktNew != nullptr, "pbktNew !=0");
    pbktNew->AddRef();
    ClearResetPoint();
    pbktNew->SetData(pv);
    NoteEdit();
    if (pbktTail != nullptr) {
        pbktTail->LinkNext(pbktNew);
        pbktNew->LinkPrev(pbktTail);
    } else {
        pbktHead = pbktNew;
    }
    pbktTail = pbktNew;
    IncrementLength();
}

void CPList::Intern(void* pv) {
    if (FindBucket(pv) != nullptr) return;
    ClearResetPoint();
    Add(pv);
}

CPBucket* CPList::NewBucket(void* pv) {
    CPBucket* const pbktNew = new (std::nothrow) CPBucket;
    SV_FAIL_IF_NIL(pbktNew, "pbktNew");
    pbktNew->AddRef();
    pbktNew->SetData(pv);
    return pbktNew;
}

int CPList::Insert(void* pv) {
    ClearResetPoint();
    CPBucket* const pbktNew = NewBucket(pv);
    NoteEdit();
    if (pbktCursor == nullptr) {
        pbktCursor = pbktHead;
        nDXCursor = -1;
    }
    if (pbktCursor == nullptr) {
        pbktCursor = pbktHead = pbktTail = pbktNew;
        nDXCursor = -1;
    } else {
        CPBucket* const pbktPred = GetPredecessor(pbktCursor);
        pbktNew->LinkPrev(pbktPred);
        pbktNew->LinkNext(pbktCursor);
        if (pbktPred != nullptr) pbktPred->LinkNext(pbktNew);
        pbktCursor->LinkPrev(pbktNew);
        if (pbktCursor == pbktHead) pbktHead = pbktNew;
    }
    IncrementLength();
    return 1;
}

int CPList::InsertAfter(void* pv) {
    if (pbktCursor == nullptr) return 0;
    ClearResetPoint();
    CPBucket* const pbktNew = NewBucket(pv);
    NoteEdit();
    CPBucket* const pbktNext = pbktCursor->_get_pbktNext();
    pbktNew->LinkPrev(pbktCursor);
    pbktNew->LinkNext(pbktNext);
    if (pbktNext != nullptr) pbktNext->LinkPrev(pbktNew);
    pbktCursor->LinkNext(pbktNew);
    if (pbktCursor == pbktTail) pbktTail = pbktNew;
    IncrementLength();
    return 1;
}

void CPList::AddBucket(CPBucket* pbktA) {
    SV_ASSERT(pbktA != nullptr, "pbktA !=0");
    pbktA->AddRef();
    ClearResetPoint();
    // Its links are the caller's, and may be another list's.
    TakeForeignBuckets();
    if (pbktHead == nullptr) pbktHead = pbktA;
    pbktTail = pbktA;
    IncrementLength();
}

void CPList::AddInternalContainer(CPInternalContainer*) {}

// Removing -----------------------------------------------------------------------

char CPList::Detach(void* pv) {
    ClearResetPoint();
    CPBucket* const pbkt = FindBucket(pv);
    if (pbkt == nullptr) return 0;
    DecrementLength();
    DetachBucket(pbkt);
    return 1;
}

char CPList::DetachKnownBucket(CPBucket* pbkt) {
    ClearResetPoint();
    // Where FindBucket would have stopped.
    pbktPeek = nullptr;
    pbktFound = pbkt;
    pbktPrevFound = GetPredecessor(pbkt);
    pbktCursor = pbkt;
    pbktGot = pbkt;
    DecrementLength();
    DetachBucket(pbkt);
    return 1;
}

void CPList::DetachBucket(void* pvBucket2Kill) {
    SV_ASSERT(pvBucket2Kill != nullptr, "pvBucket2Kill");
    auto* const pbkt = static_cast<CPBucket*>(pvBucket2Kill);
    UnlinkBucket(pbkt);
    pbkt->Release();
}

void CPList::UnlinkBucket(CPBucket* pbkt) {
    if (pbkt == nullptr) return;
    ClearResetPoint();
    NoteEdit();
    CPBucket* const pbktPred = GetPredecessor(pbkt);
    // A chain shared past the tail belongs to another list from there on.
    CPBucket* const pbktNext = pbkt == pbktTail ? nullptr : pbkt->_get_pbktNext();
    if (pbktCursor == pbkt) {
        pbktCursor = pbktNext;
        nDXCursor = -1;
    }
    if (pbktPred != nullptr)
        pbktPred->LinkNext(pbktNext);
    else
        pbktHead = pbktNext;
    if (pbktNext != nullptr)
        pbktNext->LinkPrev(pbktPred);
    else
        pbktTail = pbktPred;
}

void CPList::UnlinkTopBucket() {
    ClearResetPoint();
    if (pbktHead == nullptr) return;
    NoteEdit();
    CPBucket* const pbktOld = pbktHead;
    pbktHead = pbktOld == pbktTail ? nullptr : pbktOld->_get_pbktNext();
    if (pbktCursor == pbktOld) {
        pbktCursor = pbktHead;
        nDXCursor = -1;
    }
    if (pbktOld == pbktTail) pbktTail = nullptr;
    if (pbktHead != nullptr) pbktHead->LinkPrev(nullptr);
}

void* CPList::RetrieveAndDetachTop() {
    GotoTop();
    CPBucket* const pbktOld = pbktHead;
    if (pbktOld == nullptr) return nullptr;
    void* const pv = pbktOld->_get_pvData();
    UnlinkTopBucket();
    pbktOld->Release();
    DecrementLength();
    return pv;
}

char CPList::DetachAll() {
    ClearResetPoint();
    GotoTop();
    ForOwnBuckets([](CPBucket* pbkt) { pbkt->Release(); });
    InitPointers();
    ClearLength();
    return 1;
}

char CPList::Destroy(void* pv, pfnKillFunc pfnKill) {
    SV_ASSERT(pfnKill != nullptr, "pfnKillFunc!=0");
    ClearResetPoint();
    CPBucket* const pbkt = FindBucket(pv);
    if (pbkt != nullptr) {
        DecrementLength();
        pfnKill(pv, nullptr);
        DetachBucket(pbkt);
    }
    return 1;
}

char CPList::DestroyAll(pfnKillFunc pfnKill) {
    SV_ASSERT(pfnKill != nullptr, "pfnKillFunc !=0");
    ClearResetPoint();
    GotoTop();
    ForOwnBuckets([pfnKill](CPBucket* pbkt) {
        pfnKill(pbkt->_get_pvData(), nullptr);
        pbkt->Release();
    });
    InitPointers();
    ClearLength();
    return 1;
}

void CPList::DetachAllThat(pfnCondFunc pfnCond, void* pvUser) {
    SV_ASSERT(pfnCond != nullptr, "pfnCondFunc !=0");
    ClearResetPoint();
    GotoTop();
    void* pv = Retrieve();
    CPBucket* pbkt = RetrieveBucket();
    while (pv != nullptr) {
        Next();
        if (pfnCond(pv, pvUser) == 0) DetachBucket(pbkt);
        pv = Retrieve();
        pbkt = RetrieveBucket();
    }
}

// Searching ----------------------------------------------------------------------

CPBucket* CPList::FindBucket(void* pvItem2Find) {
    SV_ASSERT(pvItem2Find != nullptr, "pvItem2Find !=0");
    pbktPrevFound = nullptr;
    pbktFound = nullptr;
    GotoTop();
    CPBucket* pbktBehind = nullptr;
    for (CPBucket* pbkt; (pbkt = RetrieveBucket()) != nullptr; Next()) {
        if (pbkt->_get_pvData() == pvItem2Find) {
            pbktFound = pbkt;
            pbktPrevFound = pbktBehind;
            return pbkt;
        }
        pbktBehind = pbkt;
    }
    return nullptr;
}

short CPList::Exists(void* pv) {
    return FindBucket(pv) != nullptr ? 1 : 0;
}

// The state of the last FirstThat is nobody else's once a new one starts, so
// it is placed afresh instead of being replaced by a new allocation.
ListIterationState* CPList::FreshInternalState() {
    auto* pits = static_cast<ListIterationState*>(iterInternal._get_pitsThe());
    if (pits != nullptr && pits->_get_nRefCount() == 1 && pits->_get_pclAssociated() == this) {
        *pits = ListIterationState(this);
        return pits;
    }
    pits = static_cast<ListIterationState*>(CreateIterationState());
    iterInternal._set_pitsThe(pits);
    return pits;
}

void* CPList::FirstThat(pfnCondFunc pfnCond, void* pvUser) {
    if (pfnCond == nullptr || nLength == 0) return nullptr;
    ListIterationState* const pits = FreshInternalState();
    CondCall call{pfnCond, pvUser};
    void* const pv = iterInternal.firstThat(itCallCond, &call);
    pbktCursor = pits->_get_pbktCursor();
    nDXCursor = -1;
    return pv;
}

void* CPList::SettleFirstThat(CPBucket* pbktMatch) {
    if (nLength == 0) return nullptr;
    FreshInternalState()->settleScan(pbktMatch);
    pbktCursor = pbktMatch;
    nDXCursor = -1;
    return DataOf(pbktMatch);
}

void* CPList::NextThat(pfnCondFunc pfnCond, void* pvUser) {
    SV_ASSERT(pfnCond != nullptr, "pfnCondFunc !=0");
    CondCall call{pfnCond, pvUser};
    void* const pv = iterInternal.nextThat(itCallCond, &call);
    pbktCursor = static_cast<ListIterationState*>(iterInternal._get_pitsThe())->_get_pbktCursor();
    nDXCursor = -1;
    return pv;
}

void* CPList::FirstThat(IteratorAction* pia) {
    GotoTop();
    return ActionWalk(*this, pia, true);
}

void* CPList::NextThat(IteratorAction* pia) {
    Next();
    return ActionWalk(*this, pia, true);
}

CPBucket* CPList::FirstInternalContainerThat(pfnCondFunc pfnCond, void* pvUser) {
    if (pfnCond == nullptr) return nullptr;
    GotoTop();
    for (CPBucket* pbkt; (pbkt = RetrieveBucket()) != nullptr; Next())
        if (pfnCond(pbkt, pvUser) != 0) return pbkt;
    return nullptr;
}

CPCollection* CPList::AllThat(pfnCondFunc pfnCond, void* pvUser) {
    SV_ASSERT(pfnCond != nullptr, "pfnCondFunc !=0");
    CPList* const plstNew = new (std::nothrow) CPList;
    SV_FAIL_IF_NIL(plstNew, "plstNew");
    GotoTop();
    for (void* pv; (pv = Retrieve()) != nullptr; Next())
        if (pfnCond(pv, pvUser) == 1) plstNew->Add(pv);
    return plstNew;
}

void CPList::ForEach(pfnKillFunc pfn, void* pvUser) {
    if (nLength == 0) return;
    Iterator iterLocal;
    iterLocal._set_pitsThe(CreateIterationState());
    iterLocal.forEach(pfn, pvUser);
}

void CPList::ForEach(IteratorAction* pia) {
    GotoTop();
    ActionWalk(*this, pia, false);
}

// CPHashTable --------------------------------------------------------------------

CPCollection* CPHashTable::CreateInstance() {
    return new (std::nothrow) CPHashTable;
}

IterationState* CPHashTable::CreateIterationState() {
    return new (std::nothrow) ListIterationState(this);
}

void CPHashTable::AddInternalContainer(CPInternalContainer*) {}

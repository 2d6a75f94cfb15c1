#include <baseobj/notifier.h>

#include <cpcoll/cplist.h>
#include <cpcoll/crtree.h>
#include <util/exceptions.h>

#include <cstdint>
#include <new>
#include <vector>

std::uint32_t Notification::ulInstanceCount = 0;
std::uint32_t Notifier::ulInstanceCount = 0;
std::uint32_t Notifiable::ulInstanceCount = 0;

namespace {

std::uintptr_t Key(void const* pv) {
    return reinterpret_cast<std::uintptr_t>(pv);
}

// Tells a call that runs on an object whether the object was destroyed
// under it. The object points at the innermost flag; a flag passes the news
// outward as the calls unwind.
class LifeFlag {
public:
    // The object holds the flag's address only while the flag lives: the
    // destructor puts the outer one back.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-pointer"
    explicit LifeFlag(bool*& slotIn) : slot(slotIn), pbOuter(slotIn) { slot = &bGone; }
#pragma GCC diagnostic pop
    LifeFlag(LifeFlag const&) = delete;
    LifeFlag& operator=(LifeFlag const&) = delete;
    ~LifeFlag() {
        if (!bGone)
            slot = pbOuter;
        else if (pbOuter != nullptr)
            *pbOuter = true;
    }
    bool Gone() const { return bGone; }

private:
    bool*& slot;
    bool* pbOuter;
    bool bGone = false;
};

void MarkGone(bool*& pbGone) {
    if (pbGone != nullptr) *pbGone = true;
    pbGone = nullptr;
}

// The records of a tree that share a bit with the mask, each held by a
// reference of the caller's, so that a record cut from both trees during a
// send lives until the send is done with it.
class Snapshot {
public:
    Snapshot(CrTree* ptree, std::uint32_t ulMask) {
        if (ptree == nullptr) return;
        ptree->GotoTop();
        for (Createable* pcr; (pcr = ptree->Retrieve()) != nullptr; ptree->Next()) {
            auto* const pcrec = static_cast<Notification*>(pcr);
            if (!pcrec->SharesMask(ulMask)) continue;
            pcrec->AddRef();
            records.push_back(pcrec);
        }
    }
    Snapshot(Snapshot const&) = delete;
    Snapshot& operator=(Snapshot const&) = delete;
    ~Snapshot() {
        for (Notification* pcrec : records)
            pcrec->Release();
    }
    std::vector<Notification*> records;
};

// Whether the record is still the link under that key: one cut during a
// send is not, and neither is one whose key was taken by a new link.
bool StillLinked(CrTree* ptree, void const* pvKey, Notification* pcrec) {
    return ptree != nullptr && ptree->FindKeyNum(Key(pvKey)) == pcrec;
}

CrTree* NewTree(char const* szName) {
    auto* const ptree = new (std::nothrow) CrTree;
    SV_FAIL_IF_NIL(ptree, szName);
    ptree->AddRef();
    return ptree;
}

short RemoveFrom(CrTree*& ptree, void const* pvKey) {
    if (pvKey == nullptr || ptree == nullptr) return 0;
    short const nResult = ptree->RemoveKeyNum(Key(pvKey));
    if (ptree->Length() == 0) {
        ptree->Release();
        ptree = nullptr;
    }
    return nResult;
}

// Puts a new record under the key; a key already in use leaves the record
// out, and one that nobody holds yet is destroyed.
char AddTo(CrTree*& ptree, void const* pvKey, Notification* pcrec, char const* szTree) {
    if (ptree == nullptr) ptree = NewTree(szTree);
    if (ptree->AddKeyNum(Key(pvKey), pcrec) != 0) return 1;
    if (pcrec->_get_nRefCount() == 0) delete pcrec;
    return 0;
}

// Calls each function of the list with the record's two ends and mask. The
// list is read first, so that a function may change it.
void CallInterceptList(CPList* plst, Notification* pcrec) {
    if (plst == nullptr || pcrec == nullptr) return;
    std::vector<void*> fns;
    plst->GotoTop();
    for (void* pv; (pv = plst->Retrieve()) != nullptr; plst->Next())
        fns.push_back(pv);
    for (void* pv : fns)
        if (pv != nullptr)
            reinterpret_cast<pfnNotifyIntercept>(pv)(
                pcrec->_get_pnsNotifier(), pcrec->_get_pnsNotifiable(), pcrec->_get_ulMask());
}

// One end of a link: the notifier or the receiver.
template <class End> using EndOf = End* (Notification::*)() const;

// The far ends of the links in a tree that name this end and share a bit
// with the mask; each far end is told to drop its side as it is found. The
// tree can't change during its own walk, so the caller cuts its own side
// afterwards, from the list this gives.
template <class Near, class Far, class CutFar>
std::vector<Far*> CutFarEnds(CrTree* ptree, std::uint32_t ulMask, EndOf<Near> nearEnd,
                             Near const* pnsNear, EndOf<Far> farEnd, CutFar cutFar) {
    std::vector<Far*> lstCut;
    if (ptree == nullptr) return lstCut;
    ptree->GotoTop();
    for (Createable* pcr; (pcr = ptree->Retrieve()) != nullptr; ptree->Next()) {
        auto* const pcrec = static_cast<Notification*>(pcr);
        if ((pcrec->*nearEnd)() != pnsNear || !pcrec->SharesMask(ulMask)) continue;
        cutFar((pcrec->*farEnd)());
        lstCut.push_back((pcrec->*farEnd)());
    }
    return lstCut;
}

// Calls the function for the far end of each link that shares a bit with
// the mask, as the links stood at the call. The tree is read through the
// owner's member, since a call may cut links or destroy the owner: a link
// cut since is passed over, and the walk stops once the owner is gone.
template <class Far, class Fn>
void ForEachFarEnd(CrTree* const& ptree, bool*& pbGone, std::uint32_t ulMask, EndOf<Far> farEnd,
                   Fn fn) {
    Snapshot const snapshot(ptree, ulMask);
    LifeFlag const flag(pbGone);
    for (Notification* pcrec : snapshot.records) {
        if (flag.Gone()) return;
        if (StillLinked(ptree, (pcrec->*farEnd)(), pcrec)) fn((pcrec->*farEnd)());
    }
}

} // namespace

// ---- Notification ---------------------------------------------------------

Notification::Notification(std::uint32_t ulMaskIn, Notifiable* pnsNotifiableIn,
                           Notifier* pnsNotifierIn)
    : ulMask(ulMaskIn), pnsNotifier(pnsNotifierIn), pnsNotifiable(pnsNotifiableIn) {
    ++ulInstanceCount;
}

Notification::~Notification() {
    --ulInstanceCount;
}

std::uint32_t Notification::RemoveMask(std::uint32_t ulBits) {
    ulMask &= ulBits == 0 ? 1u : 0u;
    return ulMask;
}

// ---- Notifier -------------------------------------------------------------

Notifier::Notifier() {
    ++ulInstanceCount;
}

Notifier::~Notifier() {
    MarkGone(pbGone);
    Notify(kNotifyNotifierGoing);
    DisconnectAllNotifiables(0xFFFFFFFF);
    --ulInstanceCount;
}

Notification* Notifier::Find(Notifiable* pns) const {
    if (ptreeNotifiables == nullptr) return nullptr;
    return static_cast<Notification*>(ptreeNotifiables->FindKeyNum(Key(pns)));
}

char Notifier::ConnectNotifiable(Notifiable* pns, std::uint32_t ulMask) {
    if (pns == nullptr) return 0;
    Notification* pcrecA = Find(pns);
    if (pcrecA == nullptr) {
        pcrecA = new (std::nothrow) Notification(ulMask, pns, this);
        SV_FAIL_IF_NIL(pcrecA, "pcrecA");
        if (AddNotifiable(pcrecA, pns) == 0) return 0;
        pns->AddNotifier(pcrecA, this);
        return 1;
    }
    SV_ASSERT(pcrecA->IsNotifier(this), "pcrecA->IsNotifier(this)");
    SV_ASSERT(pcrecA->IsNotifiable(pns), "pcrecA->IsNotifiable(pnsNotifiable)");
    pcrecA->AddMask(ulMask);
    return 1;
}

char Notifier::DisconnectNotifiable(Notifiable* pns, std::uint32_t ulMask) {
    if (pns == nullptr) return 0;
    Notification* const pcrecA = Find(pns);
    if (pcrecA == nullptr) return 0;
    SV_ASSERT(pcrecA->IsNotifier(this), "pcrecA->IsNotifier(this)");
    SV_ASSERT(pcrecA->IsNotifiable(pns), "pcrecA->IsNotifiable(pnsNotifiable)");
    if (pcrecA->RemoveMask(ulMask) == 0) {
        pns->RemoveNotifier(this);
        RemoveNotifiable(pns);
    }
    return 1;
}

void Notifier::DisconnectAllNotifiables(std::uint32_t ulMask) {
    auto const lstCut =
        CutFarEnds(ptreeNotifiables, ulMask, &Notification::_get_pnsNotifier,
                   static_cast<Notifier const*>(this), &Notification::_get_pnsNotifiable,
                   [this](Notifiable* pns) { pns->RemoveNotifier(this); });
    for (Notifiable* pns : lstCut)
        RemoveNotifiable(pns);
}

char Notifier::SwapNotifiables(Notifiable* pnsOld, Notifiable* pnsNew) {
    SV_ASSERT(pnsOld != nullptr, "pnsOld");
    SV_ASSERT(pnsNew != nullptr, "pnsNew");
    Notification* const pcrecA = Find(pnsOld);
    if (pcrecA == nullptr) return 0;
    SV_ASSERT(pcrecA->IsNotifiable(pnsOld), "pcrecA->IsNotifiable(pnsOld)");
    SV_ASSERT(pcrecA->IsNotifier(this), "pcrecA->IsNotifier(this)");
    std::uint32_t const ulMask = pcrecA->_get_ulMask();
    SV_ASSERT(pnsOld->RemoveNotifier(this) != 0, "pnsOld->RemoveNotifier(this)");
    SV_ASSERT(RemoveNotifiable(pnsOld) != 0, "RemoveNotifiable(pnsOld)");
    return ConnectNotifiable(pnsNew, ulMask);
}

void Notifier::ForEachNotifiable(std::uint32_t ulMask, pfnNotifiableFunc pfn, void* pvUser) {
    ForEachFarEnd(ptreeNotifiables, pbGone, ulMask, &Notification::_get_pnsNotifiable,
                  [pfn, pvUser](Notifiable* pns) { pfn(pns, pvUser); });
}

void Notifier::Notify(std::uint32_t ulMask) {
    if (ptreeNotifiables == nullptr) return;
    Snapshot const lstNotifications(ptreeNotifiables, ulMask);
    LifeFlag const flag(pbGone);
    std::uint32_t const nCutBefore = nLinksCut;
    for (Notification* pcrec : lstNotifications.records) {
        if (flag.Gone()) return;
        if (nLinksCut == nCutBefore ||
            StillLinked(ptreeNotifiables, pcrec->_get_pnsNotifiable(), pcrec))
            SendDispatch(pcrec);
    }
}

char Notifier::IsNotifiable(Notifiable* pns, std::uint32_t ulMask) {
    Notification const* const pcrec = Find(pns);
    return pcrec != nullptr && pcrec->SharesMask(ulMask) ? 1 : 0;
}

void Notifier::SendDispatch(Notification* pcrec) {
    if (bSending != 0 || pcrec == nullptr) return;
    bSending = 1;
    LifeFlag const flag(pbGone);
    pcrec->_get_pnsNotifiable()->ReceiveDispatch(pcrec);
    if (!flag.Gone()) bSending = 0;
}

char Notifier::AddNotifiable(Notification* pcrec, Notifiable* pns) {
    if (pcrec == nullptr || pns == nullptr) {
        Exceptions::_get_gexeptnsThe().Message("Notifier::AddNotifiable 'assertion' fail");
        return 0;
    }
    return AddTo(ptreeNotifiables, pns, pcrec, "ptreeNotifiables");
}

short Notifier::RemoveNotifiable(Notifiable* pns) {
    ++nLinksCut;
    return RemoveFrom(ptreeNotifiables, pns);
}

void Notifier::CallIntercepts(CPList* plst, Notification* pcrec) {
    CallInterceptList(plst, pcrec);
}

// ---- Notifiable -----------------------------------------------------------

Notifiable::Notifiable() {
    ++ulInstanceCount;
}

Notifiable::~Notifiable() {
    MarkGone(pbGone);
    DisconnectAllNotifiers(0xFFFFFFFF);
    --ulInstanceCount;
}

Notification* Notifiable::Find(Notifier* pns) const {
    if (ptreeNotifiers == nullptr) return nullptr;
    return static_cast<Notification*>(ptreeNotifiers->FindKeyNum(Key(pns)));
}

char Notifiable::ConnectNotifier(Notifier* pns, std::uint32_t ulMask) {
    if (pns == nullptr) return 0;
    Notification* pcrecA = Find(pns);
    if (pcrecA == nullptr) {
        pcrecA = new (std::nothrow) Notification(ulMask, this, pns);
        SV_FAIL_IF_NIL(pcrecA, "pcrecA");
        if (AddNotifier(pcrecA, pns) == 0) return 0;
        pns->AddNotifiable(pcrecA, this);
        return 1;
    }
    SV_ASSERT(pcrecA->IsNotifiable(this), "pcrecA->IsNotifiable(this)");
    SV_ASSERT(pcrecA->IsNotifier(pns), "pcrecA->IsNotifier(pnsNotifier)");
    pcrecA->AddMask(ulMask);
    return 1;
}

char Notifiable::DisconnectNotifier(Notifier* pns, std::uint32_t ulMask) {
    if (pns == nullptr) return 0;
    Notification* const pcrecA = Find(pns);
    if (pcrecA == nullptr) return 0;
    SV_ASSERT(pcrecA->IsNotifiable(this), "pcrecA->IsNotifiable(this)");
    SV_ASSERT(pcrecA->IsNotifier(pns), "pcrecA->IsNotifier(pnsNotifier)");
    if (pcrecA->RemoveMask(ulMask) == 0) {
        pns->RemoveNotifiable(this);
        RemoveNotifier(pns);
    }
    return 1;
}

void Notifiable::DisconnectAllNotifiers(std::uint32_t ulMask) {
    auto const lstCut =
        CutFarEnds(ptreeNotifiers, ulMask, &Notification::_get_pnsNotifiable,
                   static_cast<Notifiable const*>(this), &Notification::_get_pnsNotifier,
                   [this](Notifier* pns) { pns->RemoveNotifiable(this); });
    for (Notifier* pns : lstCut)
        RemoveNotifier(pns);
}

char Notifiable::SwapNotifiers(Notifier* pnsOld, Notifier* pnsNew) {
    SV_ASSERT(pnsOld != nullptr, "pnsOld");
    SV_ASSERT(pnsNew != nullptr, "pnsNew");
    Notification* const pcrecA = Find(pnsOld);
    if (pcrecA == nullptr) return 0;
    SV_ASSERT(pcrecA->IsNotifier(pnsOld), "pcrecA->IsNotifier(pnsOld)");
    SV_ASSERT(pcrecA->IsNotifiable(this), "pcrecA->IsNotifiable(this)");
    std::uint32_t const ulMask = pcrecA->_get_ulMask();
    SV_ASSERT(pnsOld->RemoveNotifiable(this) != 0, "pnsOld->RemoveNotifiable(this)");
    SV_ASSERT(RemoveNotifier(pnsOld) != 0, "RemoveNotifier(pnsOld)");
    return ConnectNotifier(pnsNew, ulMask);
}

void Notifiable::ForEachNotifier(std::uint32_t ulMask, pfnNotifierFunc pfn, void* pvUser) {
    ForEachFarEnd(ptreeNotifiers, pbGone, ulMask, &Notification::_get_pnsNotifier,
                  [pfn, pvUser](Notifier* pns) { pfn(pns, pvUser); });
}

char Notifiable::IsNotifier(Notifier* pns, std::uint32_t ulMask) {
    Notification const* const pcrec = Find(pns);
    return pcrec != nullptr && pcrec->SharesMask(ulMask) ? 1 : 0;
}

void Notifiable::ReceiveDispatch(Notification* pcrec) {
    if (bReceiving != 0 || pcrec == nullptr) return;
    bReceiving = 1;
    LifeFlag const flag(pbGone);
    ReceiveNotification(pcrec->_get_pnsNotifier(), pcrec->_get_ulMask());
    if (!flag.Gone()) bReceiving = 0;
}

char Notifiable::AddNotifier(Notification* pcrec, Notifier* pns) {
    SV_ASSERT(pns != nullptr, "pnsKey");
    SV_ASSERT(pcrec != nullptr, "pcrecThe");
    return AddTo(ptreeNotifiers, pns, pcrec, "ptreeNotifiers");
}

short Notifiable::RemoveNotifier(Notifier* pns) {
    return RemoveFrom(ptreeNotifiers, pns);
}

void Notifiable::CallIntercepts(CPList* plst, Notification* pcrec) {
    CallInterceptList(plst, pcrec);
}

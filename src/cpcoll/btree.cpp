#include <cpcoll/btree.h>

#include <cpcoll/crdict.h>
#include <util/exceptions.h>
#include <util/pstring.h>

#include <cstring>
#include <new>

namespace {

void* KeyOf(std::uintptr_t nKey) {
    return reinterpret_cast<void*>(nKey);
}

} // namespace

// TreeIterationState ---------------------------------------------------------

TreeIterationState& TreeIterationState::operator=(TreeIterationState const& other) {
    IterationState::operator=(other);
    plfCurrent = other.plfCurrent;
    return *this;
}

CPTree* TreeIterationState::Tree() const {
    return static_cast<CPTree*>(pclAssociated);
}

short TreeIterationState::vgotoTop() {
    plfCurrent = Tree()->_get_plfHead();
    return 1;
}

short TreeIterationState::vgotoBottom() {
    plfCurrent = Tree()->_get_plfTail();
    return 1;
}

short TreeIterationState::vgotoNext() {
    if (plfCurrent == nullptr) return 0;
    plfCurrent = plfCurrent->_get_plfNext();
    return plfCurrent != nullptr ? 1 : 0;
}

short TreeIterationState::vgotoPrev() {
    if (plfCurrent == nullptr) return 0;
    plfCurrent = plfCurrent->_get_plfPrev();
    return plfCurrent != nullptr ? 1 : 0;
}

void* TreeIterationState::vretrieve() {
    return plfCurrent != nullptr ? plfCurrent->_get_pvValue() : nullptr;
}

CPInternalContainer* TreeIterationState::vretrieveInternalContainer() {
    return plfCurrent;
}

// CPTree: life ---------------------------------------------------------------

CrDictionary* CPTree::pcrdctStringKeys = nullptr;

CPTree::~CPTree() {
    DetachAll();
}

CPCollection* CPTree::CreateInstance() {
    return new (std::nothrow) CPTree;
}

IterationState* CPTree::CreateIterationState() {
    return new (std::nothrow) TreeIterationState(this);
}

void CPTree::AddInternalContainer(CPInternalContainer*) {}

CrDictionary* CPTree::StringKeys() {
    if (pcrdctStringKeys == nullptr) {
        pcrdctStringKeys = new (std::nothrow) CrDictionary;
        SV_FAIL_IF_NIL(pcrdctStringKeys, "pcrdctStringKeys");
    }
    return pcrdctStringKeys;
}

// Keys -----------------------------------------------------------------------

bool CPTree::IsGreaterThan(void const* pvA, void const* pvB) const {
    if (etdsState == etreeUnset || etdsState == etreeNumber)
        return reinterpret_cast<std::uintptr_t>(pvA) > reinterpret_cast<std::uintptr_t>(pvB);
    return std::strcmp(static_cast<char const*>(pvA), static_cast<char const*>(pvB)) > 0;
}

bool CPTree::IsEqualTo(void const* pvA, void const* pvB) const {
    if (pvA == pvB) return true;
    if (etdsState == etreeUnset || etdsState == etreeNumber) return false;
    return std::strcmp(static_cast<char const*>(pvA), static_cast<char const*>(pvB)) == 0;
}

// Both tests at the price of one comparison, for the descents.
int CPTree::Compare(void const* pvA, void const* pvB) const {
    if (pvA == pvB) return 0;
    if (etdsState == etreeUnset || etdsState == etreeNumber)
        return reinterpret_cast<std::uintptr_t>(pvA) > reinterpret_cast<std::uintptr_t>(pvB) ? 1
                                                                                             : -1;
    return std::strcmp(static_cast<char const*>(pvA), static_cast<char const*>(pvB));
}

void CPTree::TakeKeyKind(enumTreeDataState e) {
    if (etdsState == etreeUnset) etdsState = e;
}

void CPTree::AssertKeyKind(enumTreeDataState e, std::int32_t line) const {
    // Reported at the caller's line.
    if (etdsState != e)
        Exceptions::_get_gexeptnsThe().Assert(
            SV_UNIT_NAME(), line,
            e == etreeNumber ? "etdsState == etreeNumber" : "etdsState == etreeString");
}

// Adding ---------------------------------------------------------------------

void CPTree::Add(void* pvData, void* pvKey) {
    if (pvKey == kSelfKey) pvKey = pvData;
    if (plfRoot == nullptr) {
        plfRoot = new Leaf(pvKey, pvData);
        ListInsert(plfRoot, nullptr);
        IncrementLength();
        return;
    }
    Leaf* plf = plfRoot;
    for (;;) {
        int const nOrder = Compare(pvKey, plf->pvKey);
        if (nOrder == 0) {
            plf->pvValue = pvData;
            return;
        }
        bool const bRight = nOrder > 0;
        Leaf*& plfChild = bRight ? plf->plfRight : plf->plfLeft;
        if (plfChild != nullptr) {
            plf = plfChild;
            continue;
        }
        Leaf* const plfNew = new Leaf(pvKey, pvData);
        plfChild = plfNew;
        plfNew->plfParent = plf;
        plf->nBalance = static_cast<std::int16_t>(plf->nBalance + (bRight ? 1 : -1));
        ListInsert(plfNew, plf);
        IncrementLength();
        UpdateBalance(plf);
        return;
    }
}

void CPTree::Add(void* pv) {
    Add(pv, kSelfKey);
}

void CPTree::AddKeyNum(std::uintptr_t nKey, void* pv) {
    TakeKeyKind(etreeNumber);
    AssertKeyKind(etreeNumber);
    Add(pv, KeyOf(nKey));
}

void CPTree::AddKeyString(char const* szKey, void* pv, std::uint32_t*) {
    TakeKeyKind(etreeString);
    AssertKeyKind(etreeString);
    Add(pv, const_cast<char*>(szKey));
}

void CPTree::AddKeyString(CPString* pstrKey, void* pv) {
    TakeKeyKind(etreeString);
    AssertKeyKind(etreeString);
    if (pstrKey == nullptr) return;
    Add(pv, pstrKey->GetBuffer());
    CrDictionary* const pcrdct = StringKeys();
    if (pcrdct->ExistsKeyString(pstrKey) == 0) pcrdct->AddKeyString(pstrKey, pstrKey);
}

// The chain ------------------------------------------------------------------

void CPTree::ListInsert(Leaf* plfNew, Leaf* plfPos) {
    if (plfNew == nullptr) return;
    if (plfHead == nullptr) {
        plfHead = plfTail = plfNew;
        plfNew->plfNext = plfNew->plfPrev = nullptr;
        return;
    }
    SV_ASSERT(plfPos != nullptr, "plfPos != 0");
    if (IsGreaterThan(plfPos->pvKey, plfNew->pvKey)) {
        plfNew->plfNext = plfPos;
        plfNew->plfPrev = plfPos->plfPrev;
        if (plfPos->plfPrev != nullptr)
            plfPos->plfPrev->plfNext = plfNew;
        else
            plfHead = plfNew;
        plfPos->plfPrev = plfNew;
    } else {
        plfNew->plfPrev = plfPos;
        plfNew->plfNext = plfPos->plfNext;
        if (plfPos->plfNext != nullptr)
            plfPos->plfNext->plfPrev = plfNew;
        else
            plfTail = plfNew;
        plfPos->plfNext = plfNew;
    }
}

void CPTree::ListRemove(Leaf* plf) {
    if (plf == nullptr || plfHead == nullptr) return;
    // The cursor would be left on a leaf about to be freed; it moves on.
    if (plfCursor == plf) plfCursor = plf->plfNext;
    if (plf->plfPrev != nullptr)
        plf->plfPrev->plfNext = plf->plfNext;
    else
        plfHead = plf->plfNext;
    if (plf->plfNext != nullptr)
        plf->plfNext->plfPrev = plf->plfPrev;
    else
        plfTail = plf->plfPrev;
}

// Balancing ------------------------------------------------------------------

// Climbs from the new leaf's parent's parent, whether or not the parent got
// taller: that is what makes the stored factors drift.
void CPTree::UpdateBalance(Leaf* plf) {
    for (;;) {
        Leaf* const plfUp = plf->plfParent;
        if (plfUp == nullptr) return;
        plfUp->nBalance =
            static_cast<std::int16_t>(plfUp->nBalance + (plf->IsLeftChild() ? -1 : 1));
        if (plfUp->nBalance == 0) return;
        if (plfUp->nBalance == 2) {
            RotateLeft(plfUp);
            return;
        }
        if (plfUp->nBalance == -2) {
            RotateRight(plfUp);
            return;
        }
        plf = plfUp;
    }
}

void CPTree::RotateLeft(Leaf* plfX) {
    if (plfX->plfRight == nullptr) return;
    Leaf** const pplfLink = plfX->LinkInParent();
    Leaf* const plfP = plfX->plfParent;
    if (plfX->plfRight->nBalance == -1) RotateRight(plfX->plfRight);
    Leaf* const plfR = plfX->plfRight;
    if (plfP != nullptr) {
        *pplfLink = plfR;
        plfR->plfParent = plfP;
    } else {
        plfRoot = plfR;
        plfR->plfParent = nullptr;
    }
    plfX->plfRight = plfR->plfLeft;
    if (plfX->plfRight != nullptr) plfX->plfRight->plfParent = plfX;
    plfX->plfParent = plfR;
    plfR->plfLeft = plfX;
    bool const bXRight = plfX->nBalance == 1;
    bool const bRRight = plfR->nBalance == 1;
    if (bXRight) {
        plfX->nBalance = bRRight ? -1 : 0;
        plfR->nBalance = -1;
    } else {
        plfX->nBalance = bRRight ? 0 : 1;
        plfR->nBalance = bRRight ? 0 : -1;
    }
}

void CPTree::RotateRight(Leaf* plfX) {
    if (plfX->plfLeft == nullptr) return;
    Leaf** const pplfLink = plfX->LinkInParent();
    Leaf* const plfP = plfX->plfParent;
    if (plfX->plfLeft->nBalance == 1) RotateLeft(plfX->plfLeft);
    Leaf* const plfL = plfX->plfLeft;
    if (plfP != nullptr) {
        *pplfLink = plfL;
        plfL->plfParent = plfP;
    } else {
        plfRoot = plfL;
        plfL->plfParent = nullptr;
    }
    plfX->plfLeft = plfL->plfRight;
    if (plfX->plfLeft != nullptr) plfX->plfLeft->plfParent = plfX;
    plfX->plfParent = plfL;
    plfL->plfRight = plfX;
    bool const bXLeft = plfX->nBalance == -1;
    bool const bLLeft = plfL->nBalance == -1;
    if (bXLeft) {
        plfX->nBalance = bLLeft ? 1 : 0;
        plfL->nBalance = 1;
    } else {
        plfX->nBalance = bLLeft ? 0 : -1;
        plfL->nBalance = bLLeft ? 0 : 1;
    }
}

void CPTree::Rotate(Leaf* plf, short nSide) {
    if (nSide < 0)
        RotateLeft(plf);
    else
        RotateRight(plf);
}

// nSide is the side of p that lost height: -1 left, 1 right.
void CPTree::HelpDeleteBalance(short nSide, Leaf* plf) {
    while (plf != nullptr) {
        plf->nBalance = static_cast<std::int16_t>(plf->nBalance - nSide);
        if (plf->nBalance == -2 * nSide) {
            Rotate(plf, nSide);
            plf = plf->plfParent;
            // The subtree kept its height.
            if (plf != nullptr && plf->nBalance == nSide) plf = nullptr;
        } else if (plf->nBalance == -nSide) {
            plf = nullptr;
        }
        if (plf != nullptr) {
            nSide = plf->IsLeftChild() ? -1 : 1;
            plf = plf->plfParent;
        }
    }
}

// Removing -------------------------------------------------------------------

void* CPTree::DeleteBalance(void* pvKey) {
    if (plfRoot == nullptr) return nullptr;
    if (IsEqualTo(plfRoot->pvKey, pvKey) && plfRoot->plfLeft == nullptr &&
        plfRoot->plfRight == nullptr) {
        DecrementLength();
        Leaf* const plf = plfRoot;
        void* const pv = plf->pvValue;
        ListRemove(plf);
        if (bDeleteLeaves != 0) delete plf;
        plfRoot = nullptr;
        return pv;
    }
    Leaf* const plf = FindLeaf(pvKey, -1);
    if (plf == nullptr) return nullptr;
    void* const pv = plf->pvValue;
    DetachLeaf(plf);
    return pv;
}

void CPTree::DetachLeaf(Leaf* plf) {
    DecrementLength();
    ListRemove(plf);
    short const nSide = plf->IsLeftChild() ? -1 : 1;
    Leaf* const plfParent = plf->plfParent;
    if (plf->plfLeft == nullptr || plf->plfRight == nullptr) {
        Leaf* const plfChild = plf->plfLeft != nullptr ? plf->plfLeft : plf->plfRight;
        if (plfChild != nullptr) plfChild->plfParent = plfParent;
        if (Leaf** const pplfLink = plf->LinkInParent())
            *pplfLink = plfChild;
        else
            plfRoot = plfChild;
        if (bDeleteLeaves != 0) delete plf;
        if (plfParent != nullptr) HelpDeleteBalance(nSide, plfParent);
        return;
    }
    // Two children: the neighbour in key order on the heavier side (the
    // right one when even) takes the leaf's place.
    bool const bFromLeft = plf->nBalance == -1;
    Leaf* const plfR = bFromLeft ? plf->plfLeft->Rightmost() : plf->plfRight->Leftmost();
    Leaf* const plfRChild = bFromLeft ? plfR->plfLeft : plfR->plfRight;
    short const nRSide = plfR->IsLeftChild() ? -1 : 1;
    Leaf* const plfRParent = plfR->plfParent;
    *plfR->LinkInParent() = plfRChild;
    if (plfRChild != nullptr) plfRChild->plfParent = plfRParent;
    // Rotations here may move the leaf itself, so its place is read after.
    HelpDeleteBalance(nRSide, plfRParent);
    plfR->nBalance = plf->nBalance;
    plfR->plfParent = plf->plfParent;
    if (Leaf** const pplfLink = plf->LinkInParent())
        *pplfLink = plfR;
    else
        plfRoot = plfR;
    plfR->plfLeft = plf->plfLeft;
    if (plfR->plfLeft != nullptr) plfR->plfLeft->plfParent = plfR;
    plfR->plfRight = plf->plfRight;
    if (plfR->plfRight != nullptr) plfR->plfRight->plfParent = plfR;
    if (bDeleteLeaves != 0) delete plf;
}

char CPTree::Detach(void* pv) {
    return DeleteBalance(pv) != nullptr ? 1 : 0;
}

void CPTree::DetachKeyNum(std::uintptr_t nKey) {
    AssertKeyKind(etreeNumber);
    DeleteBalance(KeyOf(nKey));
}

void CPTree::DetachKeyString(char const* szKey, std::uint32_t*) {
    AssertKeyKind(etreeString);
    DeleteBalance(const_cast<char*>(szKey));
}

void CPTree::DetachKeyString(CPString* pstrKey) {
    AssertKeyKind(etreeString);
    DeleteBalance(pstrKey->GetBuffer());
    StringKeys()->RemoveKeyString(pstrKey);
}

char CPTree::Destroy(void* pvKey, pfnKillFunc pfnKill) {
    if (bDeleteLeaves == 0) return 1;
    void* const pv = DeleteBalance(pvKey);
    if (pv != nullptr && pfnKill != nullptr) pfnKill(pv, nullptr);
    return 1;
}

void CPTree::DestroyKeyNum(std::uintptr_t nKey, pfnKillFunc pfnKill) {
    AssertKeyKind(etreeNumber);
    void* const pv = DeleteBalance(KeyOf(nKey));
    if (pv != nullptr && pfnKill != nullptr) pfnKill(pv, nullptr);
}

void CPTree::DestroyKeyString(char const* szKey, pfnKillFunc pfnKill, std::uint32_t*) {
    AssertKeyKind(etreeString);
    void* const pv = DeleteBalance(const_cast<char*>(szKey));
    if (pv != nullptr && pfnKill != nullptr) pfnKill(pv, nullptr);
}

void CPTree::DestroyKeyString(CPString* pstrKey, pfnKillFunc pfnKill) {
    AssertKeyKind(etreeString);
    void* const pv = DeleteBalance(pstrKey->GetBuffer());
    if (pv != nullptr && pfnKill != nullptr) pfnKill(pv, nullptr);
}

char CPTree::DetachAll() {
    ClearLength();
    if (bDeleteLeaves != 0) {
        for (Leaf* plf = plfHead; plf != nullptr;) {
            Leaf* const plfNext = plf->plfNext;
            delete plf;
            plf = plfNext;
        }
    }
    plfHead = plfTail = plfRoot = plfCursor = nullptr;
    return 1;
}

char CPTree::DestroyAll(pfnKillFunc pfnKill) {
    ClearLength();
    if (bDeleteLeaves != 0) {
        for (Leaf* plf = plfHead; plf != nullptr;) {
            Leaf* const plfNext = plf->plfNext;
            if (pfnKill != nullptr) pfnKill(plf->pvValue, nullptr);
            delete plf;
            plf = plfNext;
        }
    }
    plfHead = plfTail = plfRoot = plfCursor = nullptr;
    return 1;
}

// Lookup ---------------------------------------------------------------------

Leaf* CPTree::FindLeaf(void* pvKey, short) const {
    Leaf* plf = plfRoot;
    if (etdsState == etreeString) {
        while (plf != nullptr) {
            int const nOrder = Compare(pvKey, plf->pvKey);
            if (nOrder == 0) return plf;
            plf = nOrder < 0 ? plf->plfLeft : plf->plfRight;
        }
        return nullptr;
    }
    // Number keys compare in place, the descent's one hot loop.
    auto const nKey = reinterpret_cast<std::uintptr_t>(pvKey);
    while (plf != nullptr) {
        auto const nLeafKey = reinterpret_cast<std::uintptr_t>(plf->pvKey);
        if (nKey == nLeafKey) return plf;
        plf = nKey < nLeafKey ? plf->plfLeft : plf->plfRight;
    }
    return nullptr;
}

void* CPTree::Find(void* pvKey) const {
    Leaf const* const plf = FindLeaf(pvKey);
    return plf != nullptr ? plf->pvValue : nullptr;
}

void* CPTree::FindKeyNum(std::uintptr_t nKey) {
    AssertKeyKind(etreeNumber);
    return Find(KeyOf(nKey));
}

void* CPTree::FindKeyString(char const* szKey, std::uint32_t*) {
    AssertKeyKind(etreeString);
    return Find(const_cast<char*>(szKey));
}

void* CPTree::FindKeyString(CPString* pstrKey) {
    AssertKeyKind(etreeString);
    return Find(pstrKey->GetBuffer());
}

// The element would be the answer, but it does not fit the result's width;
// its truth is what callers read.
std::int32_t CPTree::ExistsKeyNum(std::uintptr_t nKey) {
    TakeKeyKind(etreeNumber);
    return Find(KeyOf(nKey)) != nullptr ? 1 : 0;
}

std::int32_t CPTree::ExistsKeyString(CPString* pstrKey) {
    TakeKeyKind(etreeString);
    return Find(pstrKey->GetBuffer()) != nullptr ? 1 : 0;
}

std::int32_t CPTree::ExistsKeyString(char const* szKey, std::uint32_t*) {
    TakeKeyKind(etreeString);
    return Find(const_cast<char*>(szKey)) != nullptr ? 1 : 0;
}

void* CPTree::RetrieveIDX(std::uint32_t n) {
    return FindKeyNum(n);
}

// Walks ----------------------------------------------------------------------

void CPTree::ForEach(pfnKillFunc pfn, void* pvUser) {
    if (nLength == 0) return;
    for (Leaf* plf = plfHead; plf != nullptr; plf = plf->plfNext)
        pfn(plf->pvValue, pvUser);
}

void CPTree::ForEach(IteratorAction* pia) {
    for (Leaf* plf = plfHead; plf != nullptr; plf = plf->plfNext) {
        pia->pvItem = plf->pvValue;
        pia->SetKeyNum(reinterpret_cast<std::uintptr_t>(plf->pvKey));
        pia->Execute();
    }
}

void CPTree::ForEach(pfnKeyFunc, void*) {
    SV_ASSERT(1 == 0, "1==0");
}

void CPTree::ForEachLeaf(pfnKillFunc pfn, void* pvUser) {
    if (nLength == 0) return;
    for (Leaf* plf = plfHead; plf != nullptr; plf = plf->plfNext)
        pfn(plf, pvUser);
}

void CPTree::ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) {
    if (nLength == 0) return;
    for (Leaf* plf = plfHead; plf != nullptr;) {
        Leaf* const plfNext = plf->plfNext;
        pfn(plf, pvUser);
        plf = plfNext;
    }
}

void* CPTree::FirstThat(pfnCondFunc pfnCond, void* pvUser) {
    SV_ASSERT(pfnCond != nullptr, "pfnCondFunc !=0");
    plfCursor = plfHead;
    return NextThat(pfnCond, pvUser);
}

// Each step reads before the condition runs and moves on after, so that a
// condition that removes its leaf (which moves the cursor on) skips nothing
// and leaves nothing freed in hand.
void* CPTree::NextThat(pfnCondFunc pfnCond, void* pvUser) {
    SV_ASSERT(pfnCond != nullptr, "pfnCondFunc !=0");
    while (plfCursor != nullptr) {
        Leaf* const plf = plfCursor;
        void* const pv = plf->pvValue;
        int const nMatch = pfnCond(pv, pvUser);
        if (plfCursor == plf) plfCursor = plf->plfNext;
        if (nMatch != 0) return pv;
    }
    return nullptr;
}

void* CPTree::FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) {
    SV_ASSERT(pfnCond != nullptr, "pfnCondFunc !=0");
    plfCursor = plfHead;
    return NextThatInternalContainer(pfnCond, pvUser);
}

void* CPTree::NextThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) {
    SV_ASSERT(pfnCond != nullptr, "pfnCondFunc !=0");
    while (plfCursor != nullptr) {
        Leaf* const plf = plfCursor;
        int const nMatch = pfnCond(plf, pvUser);
        if (plfCursor == plf) plfCursor = plf->plfNext;
        if (nMatch != 0) return plf;
    }
    return nullptr;
}

CPCollection* CPTree::AllThatOf(pfnCondFunc pfnCond, void* pvUser, bool bLeaf) {
    SV_ASSERT(pfnCond != nullptr, "pfnCondFunc !=0");
    auto* const ptreeA = new (std::nothrow) CPTree;
    SV_FAIL_IF_NIL(ptreeA, "ptreeA");
    for (Leaf* plf = plfHead; plf != nullptr; plf = plf->plfNext) {
        void* const pvSeen = bLeaf ? static_cast<void*>(plf) : plf->pvValue;
        if (pfnCond(pvSeen, pvUser) == 0) continue;
        if (etdsState == etreeNumber || etdsState == etreeUnset)
            ptreeA->AddKeyNum(reinterpret_cast<std::uintptr_t>(plf->pvKey), plf->pvValue);
        else
            ptreeA->AddKeyString(static_cast<char const*>(plf->pvKey), plf->pvValue, nullptr);
    }
    return ptreeA;
}

CPCollection* CPTree::AllThat(pfnCondFunc pfnCond, void* pvUser) {
    return AllThatOf(pfnCond, pvUser, false);
}

CPCollection* CPTree::AllThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) {
    return AllThatOf(pfnCond, pvUser, true);
}

// Merging --------------------------------------------------------------------

std::uint32_t CPTree::BuildVectorFromTwoTrees(CPTree* ptreeFrom, Leaf*** pppVector) {
    Leaf** const pplf = new Leaf*[static_cast<std::size_t>(nLength) + ptreeFrom->nLength];
    *pppVector = pplf;
    bDeleteLeaves = 0;
    ptreeFrom->bDeleteLeaves = 0;
    GotoTop();
    ptreeFrom->GotoTop();
    Leaf* plfA = plfCursor;
    Leaf* plfB = ptreeFrom->plfCursor;
    std::uint32_t n = 0;
    Leaf* plfLast = nullptr;
    while (plfA != nullptr || plfB != nullptr) {
        if (plfA != nullptr) plfA->plfRight = plfA->plfLeft = plfA->plfParent = nullptr;
        if (plfB != nullptr) plfB->plfRight = plfB->plfLeft = plfB->plfParent = nullptr;
        Leaf* plfTaken;
        if (plfA == nullptr) {
            plfTaken = plfB;
            plfB = plfB->plfNext;
        } else if (plfB == nullptr || IsGreaterThan(plfB->pvKey, plfA->pvKey)) {
            plfTaken = plfA;
            plfA = plfA->plfNext;
        } else if (IsGreaterThan(plfA->pvKey, plfB->pvKey)) {
            plfTaken = plfB;
            plfB = plfB->plfNext;
        } else {
            plfTaken = plfA;
            plfA = plfA->plfNext;
            Leaf* const plfDropped = plfB;
            plfB = plfB->plfNext;
            delete plfDropped;
        }
        plfTaken->plfPrev = plfLast;
        plfTaken->plfNext = nullptr;
        if (plfLast != nullptr) plfLast->plfNext = plfTaken;
        plfLast = plfTaken;
        pplf[n++] = plfTaken;
    }
    DetachAll();
    ptreeFrom->DetachAll();
    bDeleteLeaves = 1;
    ptreeFrom->bDeleteLeaves = 1;
    return n;
}

void CPTree::Merge(CPTree* ptreeFrom) {
    SV_ASSERT(ptreeFrom != nullptr, "ptreeFrom !=0");
    // Each leaf would meet itself as a common key and be freed while kept.
    SV_CRIT_ASSERT(ptreeFrom != this, "ptreeFrom != this");
    Leaf** pplf = nullptr;
    std::uint32_t const n = BuildVectorFromTwoTrees(ptreeFrom, &pplf);
    nLength = n;
    std::int32_t nDepth = 0;
    plfRoot = BuildTree(pplf, n, &nDepth);
    plfHead = n != 0 ? pplf[0] : nullptr;
    plfTail = n != 0 ? pplf[n - 1] : nullptr;
    delete[] pplf;
}

Leaf* CPTree::BuildTree(Leaf** pplf, std::uint32_t n, std::int32_t* pnDepth) {
    if (n == 0) return nullptr;
    std::uint32_t const nLeft = n / 2;
    std::uint32_t const nRight = n - nLeft - 1;
    Leaf* const plfPivot = pplf[nLeft];
    std::int32_t const nDelta =
        static_cast<std::int32_t>(nRight) - static_cast<std::int32_t>(nLeft);
    SV_ASSERT(nDelta <= 0xFFFF, "nDelta <= 0xFFFF");
    plfPivot->nBalance = static_cast<std::int16_t>(nDelta);
    plfPivot->plfLeft = plfPivot->plfRight = plfPivot->plfParent = nullptr;

    auto const hang = [](Leaf* plfParent, Leaf*& plfLink, Leaf* plfChild) {
        plfLink = plfChild;
        plfChild->plfParent = plfParent;
    };
    // Up to three leaves hang as they are; more are a subtree of their own.
    auto const side = [&](Leaf** pplfSide, std::uint32_t nSide, Leaf*& plfLink, bool bRight) {
        switch (nSide) {
        case 0:
            break;
        case 1:
            hang(plfPivot, plfLink, pplfSide[0]);
            break;
        case 2:
            if (bRight) {
                hang(plfPivot, plfLink, pplfSide[0]);
                hang(pplfSide[0], pplfSide[0]->plfRight, pplfSide[1]);
            } else {
                hang(plfPivot, plfLink, pplfSide[1]);
                hang(pplfSide[1], pplfSide[1]->plfLeft, pplfSide[0]);
            }
            break;
        case 3:
            hang(plfPivot, plfLink, pplfSide[1]);
            hang(pplfSide[1], pplfSide[1]->plfLeft, pplfSide[0]);
            hang(pplfSide[1], pplfSide[1]->plfRight, pplfSide[2]);
            break;
        default:
            ++*pnDepth;
            hang(plfPivot, plfLink, BuildTree(pplfSide, nSide, pnDepth));
            break;
        }
    };
    side(pplf, nLeft, plfPivot->plfLeft, false);
    side(pplf + nLeft + 1, nRight, plfPivot->plfRight, true);
    return plfPivot;
}

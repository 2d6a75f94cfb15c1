#include <baseobj/namedobj.h>

#include <baseobj/mnkr.h>
#include <util/exceptions.h>
#include <util/pstring.h>

#include <array>
#include <cstring>
#include <new>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace {

// A copy of the text in a block of new[].
char* Duplicate(char const* sz) {
    std::size_t const n = std::strlen(sz) + 1;
    char* const p = new (std::nothrow) char[n];
    SV_FAIL_IF_NIL(p, "szName");
    if (p != nullptr) std::memcpy(p, sz, n);
    return p;
}

// The rooms of a step are fixed, so a longer text ends through the check.
void CopyIntoRoom(char* room, char const* sz) {
    std::size_t const n = std::strlen(sz);
    SV_ASSERT(n < EdgeSpec::kTextRoom, "strlen(sz) < 2048");
    std::memcpy(room, sz, n + 1);
}

// The kinds that have a text, in the order the text is looked for.
struct RelationName {
    char const* szKind;
    short nKind;
};
constexpr std::array<RelationName, 7> kRelationNames{{
    {"RT_CONNECTION", RT_CONNECTION},
    {"RT_SUMMARY", RT_SUMMARY},
    {"RT_CREATION", RT_CREATION},
    {"RT_OWNERSHIP", RT_OWNERSHIP},
    {"RT_REFERENCE", RT_REFERENCE},
    {"RT_NAMED", RT_NAMED},
    {"RT_CONTAINMENT", RT_CONTAINMENT},
}};
constexpr short kLastNamedKind = 6; // containment has no text of its own

bool IsEnd(void* pv) {
    return pv == Navigable::kEndOfPath;
}

} // namespace

// ---- NamedObject ----------------------------------------------------------

NamedObject::NamedObject(NamedObject const& other) : Createable(other) {
    if (other.szName != nullptr) szName = Duplicate(other.szName);
}

NamedObject& NamedObject::operator=(NamedObject const& other) {
    if (this != &other) _set_szName(other.szName);
    return *this;
}

NamedObject::~NamedObject() {
    delete[] szName;
}

char* NamedObject::_get_szName(char* dest) const {
    if (dest != nullptr) {
        if (szName != nullptr)
            std::strcpy(dest, szName);
        else
            dest[0] = '\0';
    }
    return szName;
}

void NamedObject::_set_szName(char const* sz) {
    char* const pNew = sz != nullptr ? Duplicate(sz) : nullptr;
    delete[] szName;
    szName = pNew;
}

// ---- EdgeSpec -------------------------------------------------------------

EdgeSpec::EdgeSpec(EdgeSpec const& other) : Createable(other), Recyclable(other) {
    CopyFields(other);
}

EdgeSpec& EdgeSpec::operator=(EdgeSpec const& other) {
    if (this != &other) CopyFields(other);
    return *this;
}

void EdgeSpec::CopyFields(EdgeSpec const& other) {
    bDirectSpec = other.bDirectSpec;
    nType = other.nType;
    nRelationType = other.nRelationType;
    nDX = other.nDX;
    std::memcpy(szName, other.szName, kTextRoom);
    std::memcpy(szSupplemental, other.szSupplemental, kTextRoom);
    pvAttachedObject = other.pvAttachedObject;
}

void EdgeSpec::Initialize() {
    bDirectSpec = 0;
    nType = kSelectNothing;
    nRelationType = RT_CONTAINMENT;
    nDX = 0;
    szName[0] = '\0';
    szSupplemental[0] = '\0';
    pvAttachedObject = nullptr;
}

void EdgeSpec::SetName(char const* sz) {
    CopyIntoRoom(szName, sz);
    nType = kSelectByName;
}

void EdgeSpec::SetIndex(std::int32_t n) {
    nDX = n;
    nType = kSelectByIndex;
}

char* EdgeSpec::_get_szName(char* dest) {
    if (dest != nullptr) std::strcpy(dest, szName);
    return szName;
}

void EdgeSpec::_set_szSupplemental(char const* sz) {
    CopyIntoRoom(szSupplemental, sz);
}

Recycler<EdgeSpec>& EdgeSpec::_get_recycler() {
    static Recycler<EdgeSpec> recycler;
    return recycler;
}

// ---- Navigable: the operations with a body --------------------------------

void Navigable::WhoAmI(CPString* pstr) {
    if (pstr != nullptr) *pstr = "X";
}

Navigable* Navigable::CreateRelatedNode(EdgeSpec* pes) {
    Navigable* const pnav = CreateInstance();
    if (pnav != nullptr) AddRelation(pnav, pes);
    return pnav;
}

// ---- Relation texts -------------------------------------------------------

short Navigable::ConvertRelation2String(short nRelation, char* sz) {
    sz[0] = '\0';
    short const nKind = static_cast<short>(nRelation & ~RT_IN);
    if ((nRelation & ~(RT_IN | 0xFF)) != 0) return 0;
    for (short i = 0; i < kLastNamedKind; ++i) {
        if (kRelationNames[i].nKind != nKind) continue;
        std::strcpy(sz, kRelationNames[i].szKind);
        std::strcat(sz, (nRelation & RT_IN) != 0 ? " | RT_IN" : " | RT_OUT");
        return 1;
    }
    return 0;
}

short Navigable::ConvertString2Relation(char* sz, short* pnRelation) {
    CPString str(sz);
    str.Filter(0x27);
    std::string_view const text = str.Length() > 0 ? str.GetBuffer() : "";
    bool const bOut = text.find("RT_OUT") != std::string_view::npos;
    short nCode = 0;
    short nResult = 0;
    for (RelationName const& name : kRelationNames) {
        if (text.find(name.szKind) == std::string_view::npos) continue;
        nCode = name.nKind;
        nResult = 1;
        break;
    }
    if (!bOut) nCode = static_cast<short>(nCode + RT_IN);
    if (pnRelation != nullptr) *pnRelation = nCode;
    return nResult;
}

// ---- Steps built for one call ---------------------------------------------

Navigable* Navigable::FollowDirectPath(void* a0, void* a1, void* a2, void* a3, void* a4, void* a5,
                                       void* a6, void* a7, void* a8, void* a9) {
    void* const args[] = {a0, a1, a2, a3, a4, a5, a6, a7, a8, a9};
    Navigable* pnav = this;
    for (void* const pv : args) {
        if (IsEnd(pv) || pnav == nullptr) break;
        // Only the low 16 bits tell an index from a text here.
        auto const nLow = static_cast<std::uint16_t>(reinterpret_cast<std::uintptr_t>(pv));
        if (nLow < kDirectIndexLimit)
            pnav = pnav->TraverseRelation(static_cast<short>(nLow), RT_CONTAINMENT);
        else
            pnav = pnav->TraverseRelation(static_cast<char*>(pv), RT_CONTAINMENT);
    }
    return pnav;
}

Navigable* Navigable::InternDirectPath(void* a0, void* a1, void* a2, void* a3, void* a4, void* a5,
                                       void* a6, void* a7, void* a8, void* a9) {
    void* const args[] = {a0, a1, a2, a3, a4, a5, a6, a7, a8, a9};
    EdgeSpec es;
    es._set_nRelationType(RT_CONTAINMENT);
    Navigable* pnav = this;
    for (void* const pv : args) {
        if (IsEnd(pv) || pnav == nullptr) break;
        auto const nWord = reinterpret_cast<std::uintptr_t>(pv);
        if (nWord < kDirectIndexLimit)
            es.SetIndex(static_cast<std::int32_t>(nWord));
        else
            es.SetName(static_cast<char const*>(pv));
        Navigable* const pnavNext = pnav->TraverseRelation(&es);
        pnav = pnavNext != nullptr ? pnavNext : pnav->CreateRelatedNode(&es);
    }
    return pnav;
}

Navigable* Navigable::FollowPath(char const* szPath, short nCreate, short nSkip) {
    PMoniker mk;
    mk.ScanPath(szPath, this);
    return mk.FollowPath(this, nCreate, nSkip);
}

Navigable* Navigable::FollowPath(PMoniker* pmk, short nCreate, short nSkip) {
    return pmk != nullptr ? pmk->FollowPath(this, nCreate, nSkip) : nullptr;
}

short Navigable::ForgeRelation(Navigable* pnav, short nRelation, char* szSupplemental) {
    EdgeSpec es;
    es._set_nRelationType(nRelation);
    if (szSupplemental != nullptr) es._set_szSupplemental(szSupplemental);
    AddRelation(pnav, &es);
    es._set_nRelationType(static_cast<short>(nRelation | RT_IN));
    pnav->AddRelation(this, &es);
    return 1;
}

Navigable* Navigable::TraverseRelation(char* szName, short nRelation) {
    EdgeSpec es;
    es._set_nRelationType(nRelation);
    es.SetName(szName);
    return TraverseRelation(&es);
}

Navigable* Navigable::TraverseRelation(short nIndex, short nRelation) {
    EdgeSpec es;
    es._set_nRelationType(nRelation);
    es.SetIndex(nIndex);
    return TraverseRelation(&es);
}

short Navigable::AddRelatedNode(Navigable* pnav, short nRelation, short bLinkBack, char* szName,
                                char* szBackName) {
    EdgeSpec es;
    es._set_nRelationType(nRelation);
    if (szName != nullptr)
        es.SetName(szName);
    else
        es.SetIndex(0);
    AddRelation(pnav, &es);
    if (bLinkBack != 0) {
        es._set_nRelationType(static_cast<short>(nRelation ^ RT_IN));
        if (szBackName != nullptr) es.SetName(szBackName);
        pnav->AddRelation(this, &es);
    }
    return 1;
}

short Navigable::RemoveRelation(Navigable* pnav, short nRelation, char* szSupplemental) {
    EdgeSpec es;
    char const* const szOther = pnav->_get_szName(nullptr);
    es.SetName(szOther != nullptr ? szOther : "");
    if (szSupplemental != nullptr) es._set_szSupplemental(szSupplemental);
    es._set_nRelationType(nRelation);
    return RemoveRelation(pnav, &es);
}

short Navigable::UnlinkRelatedNode(Navigable* pnav, short nRelation) {
    short const nResult = RemoveRelation(pnav, nRelation, nullptr);
    if (nResult != 0) pnav->RemoveRelation(this, static_cast<short>(nRelation ^ RT_IN), nullptr);
    return nResult;
}

// ---- Walks ----------------------------------------------------------------

namespace {

// One level of a walk: a node whose related nodes are being taken, and the
// node taken from it that waits for its Leave.
struct Level {
    Navigable* pnavFrom;
    Navigable* pnavPending = nullptr;
    bool bStarted = false;
};

} // namespace

void Navigable::Walk(Visitor& visitor, short nRelation, char* szSupplemental) {
    // The levels live on the heap, so a long chain costs no stack; a node on
    // the path is not walked again, since that would restart the cursor the
    // path is using.
    std::vector<Level> levels{{this}};
    std::unordered_set<Navigable*> path{this};
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.pnavPending != nullptr) {
            Navigable* const pnavDone = std::exchange(level.pnavPending, nullptr);
            if (visitor.Leave(pnavDone)) return;
        }
        Navigable* pnav = nullptr;
        if (level.bStarted) {
            pnav = level.pnavFrom->GetNextRelatedNode();
        } else {
            level.bStarted = true;
            if (level.pnavFrom->GetRelatedNodeCount(nRelation, szSupplemental) > 0)
                pnav = level.pnavFrom->GetFirstRelatedNode(nRelation, szSupplemental);
        }
        if (pnav == nullptr) {
            path.erase(level.pnavFrom);
            levels.pop_back();
            continue;
        }
        switch (visitor.Enter(pnav)) {
        case Visitor::Step::Stop:
            return;
        case Visitor::Step::Pass:
            break;
        case Visitor::Step::Leave:
            if (visitor.Leave(pnav)) return;
            break;
        case Visitor::Step::Descend:
            if (!path.insert(pnav).second) {
                if (visitor.Leave(pnav)) return;
                break;
            }
            level.pnavPending = pnav;
            levels.push_back(Level{pnav}); // level is not used past this
            break;
        }
    }
}

namespace {

template <class F> void CallIf(F fn, Navigable* pnav, void* pvUser) {
    if (fn != nullptr) fn(pnav, pvUser);
}

using Step = Navigable::Visitor::Step;

// A walk that calls the hooks around each node in one of three orders: 0,
// the node alone; 1, the node then its children; 2, the children then the
// node. The kinds of walk differ only in what a node's entry does.
template <class Fn> class HookedVisitor : public Navigable::Visitor {
public:
    HookedVisitor(Fn fnIn, void* pvUserIn, short nOrderIn, Fn fnBeforeIn, Fn fnAfterIn,
                  Fn fnBetweenIn)
        : fn(fnIn), pvUser(pvUserIn), nOrder(nOrderIn), fnBefore(fnBeforeIn), fnAfter(fnAfterIn),
          fnBetween(fnBetweenIn) {}
    bool Leave(Navigable* pnav) override {
        if (nOrder == 2) {
            CallIf(fnBetween, pnav, pvUser);
            fn(pnav, pvUser);
        }
        CallIf(fnAfter, pnav, pvUser);
        return false;
    }

protected:
    // Order 0 for both kinds: the hooks and the node, nothing below it.
    Step EnterAlone(Navigable* pnav) {
        CallIf(fnBefore, pnav, pvUser);
        fn(pnav, pvUser);
        CallIf(fnAfter, pnav, pvUser);
        return Step::Pass;
    }

    Fn fn;
    void* pvUser;
    short nOrder;
    Fn fnBefore, fnAfter, fnBetween;
};

// Goes into every node's children.
class ActionVisitor final : public HookedVisitor<pfnNavAction> {
public:
    using HookedVisitor::HookedVisitor;
    Step Enter(Navigable* pnav) override {
        switch (nOrder) {
        case 0:
            return EnterAlone(pnav);
        case 1:
            CallIf(fnBefore, pnav, pvUser);
            fn(pnav, pvUser);
            CallIf(fnBetween, pnav, pvUser);
            return Step::Descend;
        case 2:
            CallIf(fnBefore, pnav, pvUser);
            return Step::Descend;
        default:
            return Step::Pass;
        }
    }
};

// Goes into a node's children only when the node's function (order 1) or
// its before-hook (order 2) answers non-zero.
class CondVisitor final : public HookedVisitor<pfnNavCond> {
public:
    using HookedVisitor::HookedVisitor;
    Step Enter(Navigable* pnav) override {
        switch (nOrder) {
        case 0:
            return EnterAlone(pnav);
        case 1: {
            CallIf(fnBefore, pnav, pvUser);
            int const r = fn(pnav, pvUser);
            CallIf(fnBetween, pnav, pvUser);
            return r != 0 ? Step::Descend : Step::Leave;
        }
        case 2: {
            int const r = fnBefore != nullptr ? fnBefore(pnav, pvUser) : 1;
            return r != 0 ? Step::Descend : Step::Leave;
        }
        default:
            return Step::Pass;
        }
    }
};

class ThatVisitor final : public Navigable::Visitor {
public:
    ThatVisitor(pfnNavAction fnIn, void* pvUserIn, pfnNavCond fnCondIn, void* pvCondUserIn,
                short nOrderIn)
        : fn(fnIn), pvUser(pvUserIn), fnCond(fnCondIn), pvCondUser(pvCondUserIn), nOrder(nOrderIn) {
    }
    Step Enter(Navigable* pnav) override {
        switch (nOrder) {
        case 0:
            Apply(pnav);
            return Step::Pass;
        case 1:
            Apply(pnav);
            return Step::Descend;
        case 2:
            return Step::Descend;
        default:
            return Step::Pass;
        }
    }
    bool Leave(Navigable* pnav) override {
        if (nOrder == 2) Apply(pnav);
        return false;
    }

private:
    void Apply(Navigable* pnav) {
        if (fnCond == nullptr || fnCond(pnav, pvCondUser) != 0) fn(pnav, pvUser);
    }
    pfnNavAction fn;
    void* pvUser;
    pfnNavCond fnCond;
    void* pvCondUser;
    short nOrder;
};

class FirstVisitor final : public Navigable::Visitor {
public:
    FirstVisitor(pfnNavCond fnIn, void* pvUserIn, short nOrderIn, pfnNavCond fnSkipIn,
                 void* pvSkipUserIn)
        : fn(fnIn), pvUser(pvUserIn), nOrder(nOrderIn), fnSkip(fnSkipIn), pvSkipUser(pvSkipUserIn) {
    }
    Step Enter(Navigable* pnav) override {
        if (fnSkip != nullptr && fnSkip(pnav, pvSkipUser) != 0) return Step::Pass;
        switch (nOrder) {
        case 0:
            return Found(pnav) ? Step::Stop : Step::Pass;
        case 1:
            return Found(pnav) ? Step::Stop : Step::Descend;
        case 2:
            return Step::Descend;
        default:
            return Step::Pass;
        }
    }
    bool Leave(Navigable* pnav) override { return nOrder == 2 && Found(pnav); }
    Navigable* pnavResult = nullptr;

private:
    bool Found(Navigable* pnav) {
        if (fn != nullptr && fn(pnav, pvUser) == 0) return false;
        pnavResult = pnav;
        return true;
    }
    pfnNavCond fn;
    void* pvUser;
    short nOrder;
    pfnNavCond fnSkip;
    void* pvSkipUser;
};

} // namespace

void Navigable::ForEach(pfnNavAction fn, void* pvUser, short nOrder, short nRelation,
                        char* szSupplemental, pfnNavAction fnBefore, pfnNavAction fnAfter,
                        pfnNavAction fnBetween) {
    SV_ASSERT(fn != nullptr, "fn");
    ActionVisitor visitor(fn, pvUser, nOrder, fnBefore, fnAfter, fnBetween);
    Walk(visitor, nRelation, szSupplemental);
}

void Navigable::ForEach(pfnNavCond fn, void* pvUser, short nOrder, short nRelation,
                        char* szSupplemental, pfnNavCond fnBefore, pfnNavCond fnAfter,
                        pfnNavCond fnBetween) {
    SV_ASSERT(fn != nullptr, "fn");
    CondVisitor visitor(fn, pvUser, nOrder, fnBefore, fnAfter, fnBetween);
    Walk(visitor, nRelation, szSupplemental);
}

void Navigable::ForEachThat(pfnNavAction fn, void* pvUser, pfnNavCond fnCond, void* pvCondUser,
                            short nOrder, short nRelation, char* szSupplemental) {
    SV_ASSERT(fn != nullptr, "fn");
    ThatVisitor visitor(fn, pvUser, fnCond, pvCondUser, nOrder);
    Walk(visitor, nRelation, szSupplemental);
}

Navigable* Navigable::FirstThat(pfnNavCond fn, void* pvUser, short nOrder, short nRelation,
                                char* szSupplemental, pfnNavCond fnSkip, void* pvSkipUser) {
    FirstVisitor visitor(fn, pvUser, nOrder, fnSkip, pvSkipUser);
    Walk(visitor, nRelation, szSupplemental);
    return visitor.pnavResult;
}

#include <baseobj/mnkr.h>

#include <baseobj/exception.h>
#include <baseobj/lex.h>
#include <baseobj/namedobj.h>
#include <baseobj/token.h>
#include <baseobj/tokstr.h>
#include <util/exceptions.h>
#include <util/pstring.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

PMoniker::pfnNodeIndex PMoniker::pfnIndexOfNode = nullptr;

namespace {

// How deep bracketed expressions may nest inside one another; deeper ones
// give the index 0, as any expression that cannot be evaluated does. Each
// level reads the rest of its expression again, so the depth bounds the work
// to a small multiple of the text.
constexpr int kMaxExpressionDepth = 8;
thread_local int gnExpressionDepth = 0;

// How much of a name too long for a step its exception shows.
constexpr std::size_t kNameShown = 64;

constexpr char const kCreateFailure[] = "Sorvane Moniker: Failure Createing Node";

// The steps of a list in order, read from its buckets so that a walk leaves
// the list's cursor alone.
std::vector<EdgeSpec*> StepsOf(CPList const& lst) {
    std::vector<EdgeSpec*> steps;
    steps.reserve(lst.Length());
    CPBucket* pbkt = lst._get_pbktHead();
    for (std::uint32_t i = 0; i < lst.Length() && pbkt != nullptr; ++i) {
        steps.push_back(static_cast<EdgeSpec*>(pbkt->_get_pvData()));
        pbkt = pbkt->_get_pbktNext();
    }
    return steps;
}

bool IsChar(Token const* ptok, char c) {
    return ptok != nullptr && ptok->Match(c) != 0;
}

bool IsName(Token const* ptok) {
    return ptok != nullptr && ptok->MatchType(TY_STRING | TY_TOKEN) != 0;
}

// Counts a bracketed expression's nesting for as long as it is evaluated.
class DepthGuard {
public:
    DepthGuard() { ++gnExpressionDepth; }
    ~DepthGuard() { --gnExpressionDepth; }
    DepthGuard(DepthGuard const&) = delete;
    DepthGuard& operator=(DepthGuard const&) = delete;
    static bool TooDeep() { return gnExpressionDepth >= kMaxExpressionDepth; }
};

} // namespace

// ---- Life -------------------------------------------------------------------

PMoniker::PMoniker() = default;

PMoniker::~PMoniker() {
    Clear();
}

void PMoniker::Clear() {
    lstSteps.DestroyAll(itReleaseEdgeSpec);
    ClearCachedMoniker();
}

void PMoniker::itReleaseEdgeSpec(void* pvItem, void*) {
    if (pvItem != nullptr) EdgeSpec::_get_recycler().Put(static_cast<EdgeSpec*>(pvItem));
}

short PMoniker::Scan(char const* sz) {
    Clear();
    return ScanPath(sz, nullptr);
}

// ---- Steps ------------------------------------------------------------------

EdgeSpec* PMoniker::NewStep(short nRelation) {
    EdgeSpec* const pes = EdgeSpec::_get_recycler().Get();
    SV_FAIL_IF_NIL(pes, "pvspecA");
    pes->_set_nRelationType(nRelation);
    lstSteps.Add(pes);
    return pes;
}

void PMoniker::AddNode(EdgeSpec* pes, short nRelation) {
    EdgeSpec* const pesNew = NewStep(nRelation);
    if (pes == nullptr) return;
    *pesNew = *pes;
    pesNew->_set_nRelationType(nRelation);
}

void PMoniker::AddNode(std::int32_t nIndex, short nRelation) {
    NewStep(nRelation)->SetIndex(nIndex);
}

void PMoniker::AddNode(char const* szName, short nRelation) {
    NewStep(nRelation)->SetName(szName != nullptr ? szName : "");
}

void PMoniker::AddNode(char const* szName, short nRelation, char* szSupplemental) {
    EdgeSpec* const pes = NewStep(nRelation);
    pes->SetName(szName != nullptr ? szName : "");
    if (szSupplemental != nullptr) pes->_set_szSupplemental(szSupplemental);
}

EdgeSpec* PMoniker::GetFirstStep() {
    lstSteps.GotoTop();
    return static_cast<EdgeSpec*>(lstSteps.Retrieve());
}

EdgeSpec* PMoniker::GetNextStep() {
    lstSteps.Next();
    return static_cast<EdgeSpec*>(lstSteps.Retrieve());
}

EdgeSpec* PMoniker::GetFirstSubval() {
    return GetStep(kHeadSteps);
}

EdgeSpec* PMoniker::GetNextSubval() {
    return GetNextStep();
}

EdgeSpec* PMoniker::GetLastSubval() {
    if (HasSubvalues() == 0) return nullptr;
    lstSteps.GotoBottom();
    return static_cast<EdgeSpec*>(lstSteps.Retrieve());
}

short PMoniker::HasSubvalues() const {
    return GetStepCount() > kHeadSteps ? 1 : 0;
}

EdgeSpec* PMoniker::GetStep(std::int32_t n) {
    if (n < 0 || n >= GetStepCount()) return nullptr;
    return static_cast<EdgeSpec*>(lstSteps.RetrieveIDX(static_cast<std::uint32_t>(n)));
}

// ---- Scanning ---------------------------------------------------------------

short PMoniker::ScanBuffer(char const* sz, short bCacheText) {
    short const nResult = Scan(sz);
    if (bCacheText != 0) {
        CPString str(sz != nullptr ? sz : "");
        CacheString(&str);
    }
    return nResult;
}

short PMoniker::ScanPath(char const* sz, Navigable* pnav) {
    if (sz == nullptr) return 1;
    Scanner scn;
    scn._set_pcBuffer(sz);
    scn.AugmentStringSpec('-');
    for (;;) {
        std::unique_ptr<Token> ptok(scn.GetTokenPtr());
        if (!ptok) break;
        if (IsChar(ptok.get(), ':')) {
            std::unique_ptr<Token> ptokName(scn.GetTokenPtr());
            if (!ptokName) throw Exception(214, "end of path");
            AddNameStep(ptokName.get());
        } else if (IsChar(ptok.get(), '[')) {
            ScanIndex(scn, pnav);
        } else if (IsName(ptok.get())) {
            AddNameStep(ptok.get());
        }
    }
    NoteEnd(scn);
    return 1;
}

void PMoniker::AddNameStep(Token* ptok) {
    CPString strName;
    TokenNameOf(ptok, &strName);
    AddNode(strName.Length() > 0 ? strName.GetBuffer() : "", RT_CONTAINMENT);
}

// After "[": a number and "]", or an expression up to the matching "]".
void PMoniker::ScanIndex(Scanner& scn, Navigable* pnav) {
    Token* const ptokPeek = scn.PeekTokenPtr();
    if (ptokPeek != nullptr && ptokPeek->IsNumericType() != 0) {
        std::unique_ptr<Token> ptokNumber(scn.GetTokenPtr());
        std::unique_ptr<Token> ptokClose(scn.GetTokenPtr());
        if (!IsChar(ptokClose.get(), ']')) throw Exception(270, ptokClose.get(), nullptr);
        AddNode(ptokNumber->FetchLong(), RT_CONTAINMENT);
        return;
    }
    TokenStream ts;
    int nDepth = 1;
    for (;;) {
        Token* const ptok = scn.GetTokenPtr();
        if (ptok == nullptr) throw Exception(270, "end of path");
        if (IsChar(ptok, '[')) ++nDepth;
        if (IsChar(ptok, ']') && --nDepth == 0) {
            delete ptok;
            break;
        }
        ts.AddToken(ptok);
    }
    CPString strExpression;
    ts.DumpText(&strExpression, 1, 1, CPString::kStringDeltaSize);
    std::int32_t nIndex = 0;
    if (strExpression.Length() > 0 && pnav != nullptr)
        nIndex = EvaluateIndex(strExpression.GetBuffer(), pnav);
    AddNode(nIndex, RT_CONTAINMENT);
}

// The expression is a path of its own, followed from pnav; the node it
// reaches gives the index. Whatever fails gives 0.
std::int32_t PMoniker::EvaluateIndex(char const* szPath, Navigable* pnav) {
    if (DepthGuard::TooDeep() || pfnIndexOfNode == nullptr) return 0;
    DepthGuard guard;
    try {
        PMoniker mkPath;
        mkPath.ScanPath(szPath, pnav);
        Navigable* const pnavFound = mkPath.FollowPath(pnav, kFind, 0);
        return pnavFound != nullptr ? pfnIndexOfNode(pnavFound) : 0;
    } catch (Exception const&) {
        return 0;
    }
}

void PMoniker::NoteEnd(Scanner const& scn) {
    nRow = static_cast<short>(scn.Row());
    nCol = static_cast<short>(scn.Col());
}

void PMoniker::TokenTextOf(Token* ptok, CPString* pstr) {
    *pstr = "";
    if (ptok == nullptr) return;
    if (ptok->MatchType(TY_STRING) != 0) {
        if (ptok->_get_szVal() != nullptr) *pstr = ptok->_get_szVal();
        return;
    }
    if (ptok->MatchType(TY_COMMENT) != 0) {
        // A comment's text is read whole as a string's, from a copy.
        Token tokText(*ptok);
        tokText._set_nDataType(TY_STRING);
        if (tokText._get_szVal() != nullptr) *pstr = tokText._get_szVal();
        return;
    }
    char buf[Token::kStringPointerSize];
    ptok->FetchAsString(buf, sizeof buf, 6);
    *pstr = buf;
}

void PMoniker::TokenNameOf(Token* ptok, CPString* pstr) {
    TokenTextOf(ptok, pstr);
    CheckNameRoom(*pstr);
}

void PMoniker::CheckNameRoom(CPString& str) {
    if (static_cast<std::size_t>(str.Length()) < EdgeSpec::kTextRoom) return;
    std::string const strStart(str.GetBuffer(), kNameShown);
    throw Exception(274, strStart.c_str());
}

void PMoniker::_set_pfnNodeIndex(pfnNodeIndex pfn) {
    pfnIndexOfNode = pfn;
}

PMoniker::pfnNodeIndex PMoniker::_get_pfnNodeIndex() {
    return pfnIndexOfNode;
}

// ---- Walks ------------------------------------------------------------------

Navigable* PMoniker::FollowPath(Navigable* pnav, short nCreate, short nSkip) {
    std::vector<EdgeSpec*> const steps = StepsOf(lstSteps);
    // The skip counts down to 0, so a negative one runs through the list.
    std::size_t i =
        nSkip < 0 ? steps.size() : std::min(steps.size(), static_cast<std::size_t>(nSkip));
    Navigable* pnavCurrent = pnav;
    Navigable* pnavPrevious = nullptr;
    Navigable* pnavFound = nullptr;
    EdgeSpec* pesLast = nullptr;
    for (; i < steps.size() && pnavCurrent != nullptr; ++i) {
        pnavFound = pnavCurrent->TraverseRelation(steps[i]);
        if (pnavFound == nullptr) {
            if (nCreate == kFind || nCreate == kFindAndCut) break;
            pnavFound = pnavCurrent->CreateRelatedNode(steps[i]);
            if (pnavFound == nullptr) break;
        }
        pnavPrevious = pnavCurrent;
        pesLast = steps[i];
        pnavCurrent = pnavFound;
    }
    if (pnavFound != nullptr && nCreate == kFindAndCut && pnavPrevious != nullptr)
        pnavPrevious->RemoveRelation(pnavFound, pesLast);
    return pnavFound;
}

void* PMoniker::TraversePath(Navigable* pnav, short nCreate) {
    if (pnav == nullptr) return nullptr;
    std::vector<EdgeSpec*> const steps = StepsOf(lstSteps);
    void* pvNode = pnav->GetRoot();
    void* pvPrevious = nullptr;
    EdgeSpec* pesLast = nullptr;
    for (std::size_t i = kHeadSteps; i < steps.size() && pvNode != nullptr; ++i) {
        void* pvNext = pnav->TraverseStep(pvNode, steps[i]);
        if (pvNext == nullptr && nCreate != kFind && nCreate != kFindAndCut) {
            pvNext = pnav->CreateNode(pvNode, steps[i]);
            if (pvNext == nullptr) {
                Exception e(kCreateFailure, 1);
                e.nException = 1;
                throw e;
            }
        }
        steps[i]->_set_pvAttachedObject(pvNext);
        pvPrevious = pvNode;
        pesLast = steps[i];
        pvNode = pvNext;
    }
    if (pvNode != nullptr && nCreate == kFindAndCut && pesLast != nullptr)
        static_cast<Navigable*>(pvPrevious)->RemoveRelation(pesLast);
    return pvNode;
}

void PMoniker::ReleasePath(Navigable* pnav) {
    std::vector<EdgeSpec*> const steps = StepsOf(lstSteps);
    for (std::size_t i = kHeadSteps; i < steps.size(); ++i) {
        void* const pv = steps[i]->_get_pvAttachedObject();
        if (pv == nullptr) continue;
        steps[i]->_set_pvAttachedObject(nullptr);
        if (pnav != nullptr) pnav->ReleaseNode(pv);
    }
}

// ---- Text -------------------------------------------------------------------

void PMoniker::CacheString(CPString* pstr) {
    ClearCachedMoniker();
    if (pstr == nullptr) return;
    if (pstr->_get_nRefCount() == 0) {
        pstr = new (std::nothrow) CPString(*pstr);
        SV_FAIL_IF_NIL(pstr, "pstrCached");
    }
    pstr->AddRef();
    pstrCached = pstr;
}

void PMoniker::CacheMoniker() {
    ClearCachedMoniker();
    CPString str;
    BuildMonikerString(&str);
    CacheString(&str);
}

void PMoniker::ClearCachedMoniker() {
    if (pstrCached == nullptr) return;
    pstrCached->Release();
    pstrCached = nullptr;
}

char* PMoniker::BuildMonikerString(char* buf) {
    CPString str;
    BuildMonikerString(&str);
    if (str.Length() > 0)
        std::strcpy(buf, str.GetBuffer());
    else
        buf[0] = '\0';
    return buf;
}

void PMoniker::BuildMonikerString(CPString* pstr) {
    if (pstrCached != nullptr) {
        pstr->Copy(pstrCached->Length() > 0 ? pstrCached->GetBuffer() : "");
        return;
    }
    pstr->Copy("");
    BuildFirstPartOfMonikerString(pstr);
    BuildLastPartOfMonikerString(pstr);
}

void PMoniker::BuildFirstPartOfMonikerString(CPString*) {}

void PMoniker::BuildLastPartOfMonikerString(CPString* pstr) {
    for (EdgeSpec* const pes : StepsOf(lstSteps))
        AppendStep(pstr, pes);
}

void PMoniker::AppendStep(CPString* pstr, EdgeSpec* pes) {
    if (pes->_get_nType() == EdgeSpec::kSelectByName) {
        *pstr += ":";
        *pstr += pes->_get_szName(nullptr);
    } else if (pes->_get_nType() == EdgeSpec::kSelectByIndex) {
        CPString strIndex;
        strIndex.SPrintF("[%d]", static_cast<int>(pes->_get_nDX()));
        *pstr += strIndex;
    }
}

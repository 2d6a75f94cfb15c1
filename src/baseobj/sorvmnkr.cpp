#include <baseobj/sorvmnkr.h>

#include <baseobj/exception.h>
#include <baseobj/lex.h>
#include <baseobj/namedobj.h>
#include <baseobj/token.h>
#include <util/exceptions.h>
#include <util/pstring.h>

#include <cstring>
#include <memory>
#include <vector>

namespace {

// What a name may hold besides letters, digits and "_": all but the
// delimiters "<", ">", "[", "]" and ":".
constexpr char const kNameCharacters[] = "/!@#$%^&*()-={}`~+|\\?;., ";

constexpr std::int32_t kItemStep = 0;
constexpr std::int32_t kParentStep = 1;

char gszNoName[1] = {'\0'};

bool IsChar(Token const* ptok, char c) {
    return ptok != nullptr && ptok->Match(c) != 0;
}

std::unique_ptr<Token> NextToken(Scanner& scn) {
    return std::unique_ptr<Token>(scn.GetTokenPtr());
}

// The text of the next token, which must be there.
void RequireName(Scanner& scn, CPString* pstr) {
    std::unique_ptr<Token> ptok = NextToken(scn);
    if (!ptok) throw Exception(214, nullptr, nullptr);
    PMoniker::TokenNameOf(ptok.get(), pstr);
}

char const* Text(CPString& str) {
    return str.Length() > 0 ? str.GetBuffer() : "";
}

char* NameOf(EdgeSpec* pes, char* dest) {
    if (pes == nullptr) {
        if (dest != nullptr) dest[0] = '\0';
        return gszNoName;
    }
    return pes->_get_szName(dest);
}

} // namespace

// ---- Scanning ---------------------------------------------------------------

short SorvaneMoniker::Scan(char const* sz) {
    Clear();
    bItemIndirection = 0;
    bItemSpecified = 0;
    bFetchItemHandle = 0;
    Scanner scn;
    scn._set_pcBuffer(sz != nullptr ? sz : "");
    for (char const* pc = kNameCharacters; *pc != '\0'; ++pc)
        scn.AugmentStringSpec(*pc);
    if (ScanHead(scn)) ScanSubvalues(scn);
    NoteEnd(scn);
    return 1;
}

// The item, the arrow and the parent. False when the moniker names the item
// alone and nothing follows.
bool SorvaneMoniker::ScanHead(Scanner& scn) {
    std::unique_ptr<Token> ptok = NextToken(scn);
    if (!ptok) throw Exception(214, nullptr, nullptr);
    bool const bDirect = IsChar(ptok.get(), '<');
    bool const bIndirect = IsChar(ptok.get(), '[');
    CPString strName;
    if (!bDirect && !bIndirect) {
        // No item: the token is the parent, and the item's step stays empty.
        TokenNameOf(ptok.get(), &strName);
        NewStep(RT_CONTAINMENT);
        AddNode(Text(strName), RT_CONTAINMENT);
        return true;
    }
    if (bIndirect) scn.AugmentStringSpec(':');
    RequireName(scn, &strName);
    bItemSpecified = 1;
    bItemIndirection = bIndirect ? 1 : 0;
    std::unique_ptr<Token> ptokClose = NextToken(scn);
    if (bDirect && !IsChar(ptokClose.get(), '>')) {
        Exceptions::_get_gexeptnsThe().Comment(
            SV_UNIT_NAME(), __LINE__, "Expected angular closing bracket after immed. deref spec");
        throw Exception(271, ptokClose.get(), nullptr);
    }
    if (bIndirect && !IsChar(ptokClose.get(), ']')) throw Exception(270, ptokClose.get(), nullptr);
    if (bIndirect) scn.DiminishStringSpec(':');
    AddNode(Text(strName), RT_CONTAINMENT);

    if (!IsChar(scn.PeekTokenPtr(), '-')) {
        bFetchItemHandle = 1;
        return false;
    }
    scn.ConsumePeekedToken();
    std::unique_ptr<Token> ptokArrow = NextToken(scn);
    if (!IsChar(ptokArrow.get(), '>')) {
        Exceptions::_get_gexeptnsThe().Comment(SV_UNIT_NAME(), __LINE__,
                                               "dereference operator not found");
        throw Exception(214, ptokArrow.get(), nullptr);
    }
    RequireName(scn, &strName);
    AddNode(Text(strName), RT_CONTAINMENT);
    return true;
}

// ":name" and "[n]" to the end of the text.
void SorvaneMoniker::ScanSubvalues(Scanner& scn) {
    for (;;) {
        std::unique_ptr<Token> ptok = NextToken(scn);
        if (!ptok) return;
        if (IsChar(ptok.get(), ':')) {
            CPString strName;
            RequireName(scn, &strName);
            AddNode(Text(strName), RT_CONTAINMENT);
            continue;
        }
        if (!IsChar(ptok.get(), '[')) throw Exception(214, ptok.get(), nullptr);
        std::unique_ptr<Token> ptokIndex = NextToken(scn);
        if (!ptokIndex) throw Exception(214, nullptr, nullptr);
        if (ptokIndex->IsNumericType() == 0) throw Exception(214, ptokIndex.get(), nullptr);
        std::unique_ptr<Token> ptokClose = NextToken(scn);
        if (!IsChar(ptokClose.get(), ']')) throw Exception(270, ptokClose.get(), nullptr);
        AddNode(ptokIndex->FetchLong(), RT_CONTAINMENT);
    }
}

// ---- The head ---------------------------------------------------------------

void SorvaneMoniker::EnsureHead() {
    while (GetStepCount() < kHeadSteps)
        NewStep(RT_CONTAINMENT);
}

char* SorvaneMoniker::_get_szItemName(char* dest) {
    return NameOf(GetStep(kItemStep), dest);
}

void SorvaneMoniker::_set_szItemName(char const* sz) {
    EnsureHead();
    GetStep(kItemStep)->SetName(sz != nullptr ? sz : "");
}

char* SorvaneMoniker::_get_szParentName(char* dest) {
    return NameOf(GetStep(kParentStep), dest);
}

void SorvaneMoniker::_set_szParentName(char const* sz) {
    EnsureHead();
    GetStep(kParentStep)->SetName(sz != nullptr ? sz : "");
}

short SorvaneMoniker::ItemSpecified() {
    return bItemSpecified != 0 || _get_szItemName(nullptr)[0] != '\0' ? 1 : 0;
}

// ---- Joining ----------------------------------------------------------------

void SorvaneMoniker::itAddEdgeSpec(void* pvItem, void* pvUser) {
    auto* const pes = static_cast<EdgeSpec*>(pvItem);
    auto* const pmk = static_cast<SorvaneMoniker*>(pvUser);
    if (pes == nullptr || pmk == nullptr) return;
    if (pes->_get_nType() == EdgeSpec::kSelectByName)
        pmk->AddNode(pes->_get_szName(nullptr), pes->_get_nRelationType());
    else if (pes->_get_nType() == EdgeSpec::kSelectByIndex)
        pmk->AddNode(pes->_get_nDX(), pes->_get_nRelationType());
}

void SorvaneMoniker::Concat(SorvaneMoniker* pmk) {
    if (pmk == nullptr) return;
    // Taken first, so that a moniker joined to itself doubles once.
    std::vector<EdgeSpec*> steps;
    for (std::int32_t i = 0; i < pmk->GetStepCount(); ++i)
        steps.push_back(pmk->GetStep(i));
    for (EdgeSpec* const pes : steps)
        itAddEdgeSpec(pes, this);
}

// ---- Text -------------------------------------------------------------------

void SorvaneMoniker::BuildFirstPartOfMonikerString(CPString* pstr) {
    char const* const szItem = _get_szItemName(nullptr);
    if (nFormCode != kArrowForm) {
        *pstr += "[";
        *pstr += szItem;
        char const* const szParent = _get_szParentName(nullptr);
        if (szParent[0] != '\0') {
            *pstr += "@";
            *pstr += szParent;
        }
        *pstr += "]";
        return;
    }
    if (szItem[0] == '\0') return;
    *pstr += bItemIndirection != 0 ? "[" : "<";
    *pstr += szItem;
    *pstr += bItemIndirection != 0 ? "]" : ">";
    *pstr += "->";
}

void SorvaneMoniker::BuildLastPartOfMonikerString(CPString* pstr) {
    if (nFormCode != kArrowForm) return;
    *pstr += _get_szParentName(nullptr);
    for (std::int32_t i = kHeadSteps; i < GetStepCount(); ++i)
        AppendStep(pstr, GetStep(i));
}

#include <baseobj/resmnkr.h>

#include <baseobj/exception.h>
#include <baseobj/lex.h>
#include <baseobj/namedobj.h>
#include <baseobj/token.h>
#include <util/exceptions.h>

#include <cstring>
#include <memory>

namespace {

// What a path node may hold besides letters, digits and "_".
constexpr char const kNodeCharacters[] = ". &/-)(";
// What a container's file path may hold as well.
constexpr char const kFilePathCharacters[] = ":\\";

constexpr std::int32_t kTypeStep = 0;
constexpr std::int32_t kFilePathStep = 1;

bool IsChar(Token const* ptok, char c) {
    return ptok != nullptr && ptok->Match(c) != 0;
}

std::unique_ptr<Token> NextToken(Scanner& scn) {
    return std::unique_ptr<Token>(scn.GetTokenPtr());
}

char const* Text(CPString& str) {
    return str.Length() > 0 ? str.GetBuffer() : "";
}

char const* NameOf(EdgeSpec* pes) {
    return pes != nullptr ? pes->_get_szName(nullptr) : "";
}

} // namespace

// ---- Scanning ---------------------------------------------------------------

short ResourceMoniker::Scan(char const* sz) {
    Clear();
    Scanner scn;
    scn._set_pcBuffer(sz != nullptr ? sz : "");
    scn._set_bDisableReservedWords(1);
    for (char const* pc = kNodeCharacters; *pc != '\0'; ++pc)
        scn.AugmentStringSpec(*pc);
    std::unique_ptr<Token> ptok = NextToken(scn);
    if (ptok) {
        if (IsChar(ptok.get(), '[')) {
            ScanContainer(scn);
            ptok = NextToken(scn);
        } else {
            SetHead(kVolumeType, kDosSubType);
        }
        ScanNodes(scn, ptok.release());
    }
    NoteEnd(scn);
    return 1;
}

// After "[": the type, then "@" and the file path, then "]".
void ResourceMoniker::ScanContainer(Scanner& scn) {
    std::unique_ptr<Token> ptokContainer = NextToken(scn);
    SV_ASSERT(ptokContainer != nullptr, "ptokContainer");
    CPString strType;
    TokenNameOf(ptokContainer.get(), &strType);
    strType.LowerCase();
    CPString strFilePath;
    if (IsChar(scn.PeekTokenPtr(), '@')) {
        scn.ConsumePeekedToken();
        for (char const* pc = kFilePathCharacters; *pc != '\0'; ++pc)
            scn.AugmentStringSpec(*pc);
        // The path runs to the "]", however many tokens it takes: a path
        // that begins with "/" or "." is more than one.
        for (Token* ptokPath = scn.PeekTokenPtr(); ptokPath != nullptr && !IsChar(ptokPath, ']');
             ptokPath = scn.PeekTokenPtr()) {
            CPString strPart;
            TokenTextOf(ptokPath, &strPart);
            strFilePath += Text(strPart);
            scn.ConsumePeekedToken();
        }
        CheckNameRoom(strFilePath);
        for (char const* pc = kFilePathCharacters; *pc != '\0'; ++pc)
            scn.DiminishStringSpec(*pc);
    }
    std::unique_ptr<Token> ptokClose = NextToken(scn);
    if (!IsChar(ptokClose.get(), ']')) throw Exception(270, ptokClose.get(), nullptr);
    if (std::strcmp(Text(strType), kFlatTextType) == 0)
        SetHead(Text(strType), kDosFlatTextSubType);
    else
        SetHead(strType.Length() > 0 ? Text(strType) : kVolumeType,
                strFilePath.Length() > 0 ? Text(strFilePath) : kDosSubType);
}

// "\" separates; a name followed by ":" is the drive; any other token is a
// path node.
void ResourceMoniker::ScanNodes(Scanner& scn, Token* ptokFirst) {
    std::unique_ptr<Token> ptok(ptokFirst);
    for (; ptok; ptok = NextToken(scn)) {
        if (IsChar(ptok.get(), '\\')) continue;
        CPString strName;
        TokenNameOf(ptok.get(), &strName);
        if (ptok->MatchType(TY_STRING) != 0 && IsChar(scn.PeekTokenPtr(), ':')) {
            scn.ConsumePeekedToken();
            AddDrive(Text(strName));
        } else {
            AddPathNode(Text(strName));
        }
    }
}

// ---- Steps ------------------------------------------------------------------

void ResourceMoniker::EnsureHead() {
    while (GetStepCount() < kHeadSteps)
        NewStep(RT_CONTAINMENT);
}

void ResourceMoniker::SetHead(char const* szType, char const* szFilePath) {
    _set_strContainerType(szType);
    _set_strContainerFilePath(szFilePath);
}

void ResourceMoniker::AddDrive(char const* szDrive) {
    EnsureHead();
    EdgeSpec* const pes = NewStep(RT_CONTAINMENT);
    pes->SetName(szDrive != nullptr ? szDrive : "");
    pes->_set_szSupplemental(kDriveMarker);
}

void ResourceMoniker::AddPathNode(char const* szNode) {
    EnsureHead();
    AddNode(szNode, RT_CONTAINMENT);
}

short ResourceMoniker::IsDrive(EdgeSpec* pes) {
    return pes != nullptr && std::strcmp(pes->_get_szSupplemental(), kDriveMarker) == 0 ? 1 : 0;
}

EdgeSpec* ResourceMoniker::GetDrive() {
    for (std::int32_t i = kHeadSteps; i < GetStepCount(); ++i)
        if (IsDrive(GetStep(i)) != 0) return GetStep(i);
    return nullptr;
}

CPString ResourceMoniker::_get_strContainerType() {
    return CPString(NameOf(GetStep(kTypeStep)));
}

CPString ResourceMoniker::_get_strContainerFilePath() {
    return CPString(NameOf(GetStep(kFilePathStep)));
}

void ResourceMoniker::_set_strContainerType(char const* sz) {
    EnsureHead();
    GetStep(kTypeStep)->SetName(sz != nullptr ? sz : "");
}

void ResourceMoniker::_set_strContainerFilePath(char const* sz) {
    EnsureHead();
    GetStep(kFilePathStep)->SetName(sz != nullptr ? sz : "");
}

// ---- Text -------------------------------------------------------------------

void ResourceMoniker::BuildFirstPartOfMonikerString(CPString* pstr) {
    char const* const szType = NameOf(GetStep(kTypeStep));
    if (nFormCode == kArrowForm) {
        if (szType[0] == '\0') return;
        *pstr += "<";
        *pstr += szType;
        *pstr += ">->";
        return;
    }
    *pstr += "[";
    *pstr += szType;
    char const* const szFilePath = NameOf(GetStep(kFilePathStep));
    if (szFilePath[0] != '\0') {
        *pstr += "@";
        *pstr += szFilePath;
    }
    *pstr += "]";
}

void ResourceMoniker::BuildLastPartOfMonikerString(CPString* pstr) {
    for (std::int32_t i = kHeadSteps; i < GetStepCount(); ++i) {
        EdgeSpec* const pes = GetStep(i);
        if (IsDrive(pes) != 0) {
            *pstr += pes->_get_szName(nullptr);
            *pstr += ":";
        } else {
            *pstr += "\\";
            *pstr += pes->_get_szName(nullptr);
        }
    }
}

void ResourceMoniker::BuildLastNodeInMonikerString(CPString* pstr) {
    pstr->Copy("");
    for (std::int32_t i = GetStepCount() - 1; i >= kHeadSteps; --i) {
        EdgeSpec* const pes = GetStep(i);
        if (IsDrive(pes) != 0) continue;
        *pstr += "\\";
        *pstr += pes->_get_szName(nullptr);
        return;
    }
}

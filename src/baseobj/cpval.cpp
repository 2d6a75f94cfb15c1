#include <baseobj/cpval.h>

#include <baseobj/exception.h>
#include <baseobj/sorvmnkr.h>
#include <baseobj/unitstr.h>
#include <cpcoll/btree.h>
#include <cpcoll/cpdict.h>
#include <cpcoll/cplist.h>
#include <util/exceptions.h>
#include <util/pstring.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <new>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

double CPValue::dbTolerance = 1e-09;
int CPValue::nPrintedCollections = 0;

namespace {

constexpr char kOverflowText[] = "OVERFLOW in CPVAL.CPP::PrintValueAsExpression";
// The room of one scalar's text in prints and messages.
constexpr std::size_t kScalarText = 8192;

void itReleaseValue(void* pvItem, void*) {
    static_cast<CPValue*>(pvItem)->Release();
}

template <class T> void Replace(T*& pSlot, T* pNew) {
    if (pNew != nullptr) pNew->AddRef();
    if (pSlot != nullptr) pSlot->Release();
    pSlot = pNew;
}

std::string Name(CPValue const& val) {
    char const* sz = val._get_szName(nullptr);
    return sz != nullptr ? sz : "";
}

std::string Text(CPValue& val, char nPrecision) {
    static char szText[kScalarText];
    val.GetAsString(szText, nPrecision);
    return szText;
}

// A new UnitString of the text, with one reference for the caller; a text
// that the scanner refuses frees it again.
UnitString* NewUnits(char const* sz, char const* szCheck) {
    auto* const punstr = new (std::nothrow) UnitString;
    SV_FAIL_IF_NIL(punstr, szCheck);
    punstr->AddRef();
    try {
        punstr->Copy(sz);
    } catch (...) {
        punstr->Release();
        throw;
    }
    return punstr;
}

std::string UnitText(UnitString const* punstr) {
    if (punstr == nullptr) return {};
    return const_cast<UnitString*>(punstr)->GetBuffer();
}

// File form helpers -----------------------------------------------------------

[[noreturn]] void Unreadable() {
    throw Exception(402, nullptr);
}

std::uint32_t GetLE(std::istream& in, int nBytes) {
    std::uint32_t value = 0;
    for (int i = 0; i < nBytes; ++i) {
        int const c = in.get();
        if (c == std::char_traits<char>::eof()) Unreadable();
        value |= static_cast<std::uint32_t>(static_cast<unsigned char>(c)) << (8 * i);
    }
    return value;
}

void PutLE(std::ostream& out, std::uint32_t value, int nBytes) {
    for (int i = 0; i < nBytes; ++i)
        out.put(static_cast<char>((value >> (8 * i)) & 0xFF));
}

// A string in its stream form with its check value worked out, so that the
// same value always writes the same bytes; no text writes the empty form.
void PutText(std::ostream& out, std::string const& text) {
    CPString str;
    if (!text.empty()) {
        str = text.c_str();
        str._get_nCRC();
    }
    out << str;
}

std::string GetText(std::istream& in) {
    CPString str;
    in >> str;
    return str.GetBuffer();
}

} // namespace

// Construction ----------------------------------------------------------------

CPValue::CPValue() {
    Construct();
}

CPValue::CPValue(CPValue& other) : Createable(), Navigable(), Token(), Recyclable() {
    Construct();
    Copy(other);
}

CPValue::CPValue(CPValue* pvalFrom) {
    Construct();
    SV_FAIL_IF_NIL(pvalFrom, "pvalFrom");
    Copy(*pvalFrom);
}

CPValue::CPValue(Token& tok) {
    Construct();
    Copy(tok);
}

CPValue::~CPValue() {
    Initialize();
    ClearBounds();
    _set_plstReferences(nullptr);
    ReleaseAttributes();
    Replace<CPDictionary>(pdctAttributes, nullptr);
}

void CPValue::Construct() {
    PutBits(kPreserveUnits, 1);
    PutBits(kBoundToProxy, 0);
    Initialize();
    ClearBounds();
    _set_pstrPurpose(static_cast<CPString*>(nullptr));
    PutBits(kCannotAssumeUndefined, 0);
}

void CPValue::Initialize() {
    ReleaseSubvalues();
    // The text of a string is freed with the rest of the token.
    if (_get_bBoundToProxy() == 0) Token::UnInitialize();
    PutBits(kDefStatus, 0);
    PutBits(kDefStatusReason, 0);
    PutBits(kLockStatus, 0);
    PutBits(kLockStatusReason, 0);
    PutBits(kRelationEncoder, 0);
    PutBits(kSublistRepresentation, 0);
    PutBits(kValueParameter, 0);
    PutBits(kReserved, 0);
    nSelector = -1;
    pvalParent = nullptr;
    ClearVectorRepresentation();
    _set_punstrUnits(static_cast<UnitString*>(nullptr));
    _set_pstrPurpose(static_cast<CPString*>(nullptr));
    if (_get_bBoundToProxy() == 0) Put<double>(0, 0.0);
}

// A subvalue that goes with its last reference hands its own subvalues to
// the same work list, so a deep tree costs heap, not stack. One that lives
// on loses its parent link.
void CPValue::ReleaseSubvalues() {
    std::vector<std::pair<CPValue*, CPValue*>> pending;
    auto take = [&pending](CPValue* pvalOwner) {
        CPCollection* const pcl = pvalOwner->m_pclValues;
        if (pcl == nullptr) return;
        pvalOwner->m_pclValues = nullptr;
        std::uint32_t const n = pcl->Length();
        pcl->GotoTop();
        for (std::uint32_t i = 0; i < n; ++i, pcl->Next())
            if (void* const pv = pcl->Retrieve())
                pending.emplace_back(static_cast<CPValue*>(pv), pvalOwner);
        pcl->DestroyAll([](void*, void*) {});
        delete pcl;
    };
    take(this);
    while (!pending.empty()) {
        auto const [pval, pvalOwner] = pending.back();
        pending.pop_back();
        if (pval->nRefCount == 1) take(pval);
        if (pval->pvalParent == pvalOwner) pval->pvalParent = nullptr;
        pval->Release();
    }
}

// The pool ---------------------------------------------------------------------

Recycler<CPValue>& CPValue::_get_recycler() {
    static Recycler<CPValue> recycler;
    return recycler;
}

CPValue* CPValue::NewValue() {
    CPValue* pval = _get_recycler().Get();
    pval->bFromRecycler = true;
    return pval;
}

std::uint16_t CPValue::Release() {
    if (nRefCount == 1 && bFromRecycler) {
        // A full pool releases the value again, and then it is deleted.
        bFromRecycler = false;
        _get_recycler().Put(this);
        return 0;
    }
    return Createable::Release();
}

void CPValue::InitializeObject() {
    Initialize();
}

// A pooled value holds nothing: no text, units, bounds, subvalues or name.
void CPValue::UnInitializeObject() {
    Initialize();
    ClearBounds();
    _set_szName(nullptr);
    ReleaseAttributes();
    PutBits(kPreserveUnits, 1);
    PutBits(kCannotAssumeUndefined, 0);
}

// Type and state -----------------------------------------------------------------

CPValue* CPValue::GetApplicableValue() {
    CPValue* pval = this;
    // A value never holds itself; the bound only stops a graph made wrong.
    for (int i = 0; i < kMaxFileDepth * 16; ++i) {
        if (pval->IsCollection() == 0 || pval->nSelector < 0) break;
        CPValue* const pvalNext =
            pval->GetSubvalueByIndex(static_cast<std::uint32_t>(pval->nSelector));
        if (pvalNext == nullptr) break;
        pval = pvalNext;
    }
    return pval;
}

CPValue* CPValue::GetTopParent() {
    CPValue* pval = this;
    for (std::size_t i = 0; i < kMaxParentChain && pval->pvalParent != nullptr; ++i)
        pval = pval->pvalParent;
    return pval;
}

std::uint16_t CPValue::GetType() {
    return GetApplicableValue()->DataTypeThrough();
}

short CPValue::MatchType(std::uint16_t n) {
    if (n == TY_COLLECTION) return IsCollection();
    return GetType() == n ? 1 : 0;
}

short CPValue::CanPromoteTo(short nType) {
    if (nType == static_cast<short>(TY_COLLECTION)) return 0;
    return static_cast<short>(GetType()) <= nType ? 1 : 0;
}

short CPValue::IsDelta() {
    if (pstrPurpose == nullptr) return 0;
    return pstrPurpose->ContainsSubString("DeltaTemp") != 0 ||
                   pstrPurpose->ContainsSubString("PressureDrop") != 0
               ? 1
               : 0;
}

// The value's text is kept in a buffer shared by all values, the token is
// emptied and the text parsed again in the new type; the units stay.
void CPValue::SetType(std::uint16_t nNew) {
    static char szBuffer[kTypeTextSize];
    CPValue* const pval = GetApplicableValue();
    if (pval->DataTypeThrough() == nNew) return;
    if (pval->DataTypeThrough() == TY_UNDEFINED) {
        pval->_set_nDataType(nNew);
        return;
    }
    pval->FetchAsString(szBuffer, sizeof szBuffer, 6);
    if (pval->_get_bBoundToProxy() == 0) pval->Token::UnInitialize();
    pval->_set_nDataType(nNew);
    if (nNew == TY_COLLECTION) return;
    UnitString* const punstrKept = pval->punstrUnits;
    pval->punstrUnits = nullptr;
    try {
        pval->SetFromString(szBuffer);
    } catch (...) {
        pval->_set_punstrUnits(static_cast<UnitString*>(nullptr));
        pval->punstrUnits = punstrKept;
        throw;
    }
    pval->_set_punstrUnits(static_cast<UnitString*>(nullptr));
    pval->punstrUnits = punstrKept;
}

// Setters ---------------------------------------------------------------------------

void CPValue::ThrowIfLocked() {
    // Only the top parent's lock counts.
    if (GetTopParent()->IsLocked() != 0) throw Exception(321, Name(*this).c_str());
}

void CPValue::Set(CPValue* pval) {
    SV_FAIL_IF_NIL(pval, "pval");
    CPValue* const pvalTarget = GetApplicableValue();
    ThrowIfLocked();
    if (pval->DataTypeThrough() != TY_UNDEFINED)
        pvalTarget->TestBounds(pval);
    else if (_get_bCannotAssumeUndefinedState() != 0)
        throw Exception(350, nullptr);
    *pvalTarget = *pval;
}

void CPValue::Set(CPValue& val) {
    CPValue* const pvalTarget = GetApplicableValue();
    if (val.DataTypeThrough() != TY_UNDEFINED)
        pvalTarget->TestBounds(&val);
    else if (_get_bCannotAssumeUndefinedState() != 0)
        throw Exception(350, nullptr);
    *pvalTarget = val;
}

void CPValue::Set(char c, unsigned char i) {
    CPValue* const pval = GetApplicableValue();
    pval->TestBounds(static_cast<double>(c));
    pval->SetValue(c, i);
}

void CPValue::Set(short n, unsigned char i) {
    CPValue* const pval = GetApplicableValue();
    pval->TestBounds(static_cast<double>(n));
    pval->SetValue(n, i);
}

void CPValue::Set(std::int32_t n, unsigned char i) {
    CPValue* const pval = GetApplicableValue();
    pval->TestBounds(static_cast<double>(n));
    pval->SetValue(n, i);
}

void CPValue::Set(float f, unsigned char i) {
    CPValue* const pval = GetApplicableValue();
    pval->TestBounds(static_cast<double>(f));
    pval->SetValue(f, i);
}

void CPValue::Set(double d) {
    CPValue* const pval = GetApplicableValue();
    pval->TestBounds(d);
    pval->SetValue(d);
}

void CPValue::Set(char const* sz) {
    GetApplicableValue()->SetValue(sz);
}

void CPValue::SetBool(short b) {
    GetApplicableValue()->SetValueBool(b);
}

// Getters -----------------------------------------------------------------------------

char CPValue::GetAsChar() {
    return GetApplicableValue()->FetchChar(0);
}

short CPValue::GetAsShort(unsigned char i) {
    return GetApplicableValue()->FetchShort(i);
}

short CPValue::GetAsBool() {
    return GetApplicableValue()->FetchBool();
}

std::int32_t CPValue::GetAsLong() {
    return GetApplicableValue()->FetchLong(0);
}

float CPValue::GetAsFloat(unsigned char i) {
    return GetApplicableValue()->FetchFloat(i);
}

double CPValue::GetAsDouble() {
    return GetApplicableValue()->FetchDouble();
}

// Assignment ----------------------------------------------------------------------------

CPValue& CPValue::operator=(Token& tok) {
    Copy(tok);
    return *this;
}

CPValue& CPValue::operator=(char c) {
    Set(c);
    return *this;
}

CPValue& CPValue::operator=(short n) {
    Set(n);
    return *this;
}

CPValue& CPValue::operator=(std::int32_t n) {
    Set(n);
    return *this;
}

CPValue& CPValue::operator=(float f) {
    Set(f);
    return *this;
}

CPValue& CPValue::operator=(double d) {
    Set(d);
    return *this;
}

CPValue& CPValue::operator=(char const* sz) {
    Set(sz);
    return *this;
}

// Nothing has changed when this throws.
void CPValue::CheckUnitsOfAssignment(CPValue& src) {
    if (punstrUnits == nullptr || src.punstrUnits == nullptr) return;
    if (punstrUnits->EquivalentDimensions(src.punstrUnits) != 0) return;
    std::string const text = "From " + UnitText(src.punstrUnits) + " To: " + UnitText(punstrUnits);
    throw Exception(1344, text.c_str());
}

CPValue& CPValue::operator=(CPValue& src) {
    if (&src == this) return *this;
    bool const bPreserve = _get_bPreserveUnitsOnAssignment() != 0;
    if (bPreserve) CheckUnitsOfAssignment(src);
    UnitString* const punstrFormer = punstrUnits;
    if (punstrFormer != nullptr) punstrFormer->AddRef();
    try {
        Copy(src);
        if (bPreserve) GiveUnitsBack(punstrFormer, IsDelta());
    } catch (...) {
        if (punstrFormer != nullptr) punstrFormer->Release();
        throw;
    }
    if (punstrFormer != nullptr) punstrFormer->Release();
    return *this;
}

// AssignUnits with the units that this value held before a copy, passed as
// the object itself so that its text is not read again.
void CPValue::GiveUnitsBack(UnitString* punstrFormer, short bDelta) {
    CPValue* const pval = GetApplicableValue();
    if (punstrFormer == nullptr || punstrFormer->Length() == 0 || pval->IsCollection() != 0) {
        std::string const former = UnitText(punstrFormer);
        AssignUnits(punstrFormer != nullptr ? former.c_str() : nullptr, bDelta, 0);
        return;
    }
    if (pval->IsNumericType() == 0) return;
    if (pval->punstrUnits == nullptr) {
        pval->_set_punstrUnits(punstrFormer);
        return;
    }
    if (pval->punstrUnits->EquivalentDimensions(punstrFormer) == 0)
        throw Exception(1344, UnitText(pval->punstrUnits).c_str());
    double const d =
        pval->punstrUnits->ConvertTo(*punstrFormer, pval->FetchDouble(), nullptr, bDelta);
    pval->SetValue(d);
    pval->_set_punstrUnits(punstrFormer);
}

void CPValue::Copy(CPValue& src) {
    if (&src == this) return;
    CPValue* const pvalKeptParent = pvalParent;
    InitializeObject();
    CopyTokenThrough(src);
    pvalParent = pvalKeptParent;
    PutBits(kDefStatus, src._get_nDefStatus());
    PutBits(kDefStatusReason, src._get_nDefStatusReason());
    TestBounds(&src);
    if (pvalUpperBound == nullptr) _set_pvalUpperBound(src.pvalUpperBound);
    if (pvalLowerBound == nullptr) _set_pvalLowerBound(src.pvalLowerBound);
    PutBits(kCannotAssumeUndefined, src._get_bCannotAssumeUndefinedState());
    _set_punstrUnits(src.punstrUnits);
    _set_pstrPurpose(src.pstrPurpose);
    _set_pnvgContext(src.pnvgContext);
    _set_plstReferences(src.plstReferences);
    if (src.IsCollection() != 0) CopySubvalues(src);
}

void CPValue::CopySubvalues(CPValue& src) {
    PutBits(kSublistRepresentation, 0);
    m_pclValues = new (std::nothrow) CPList;
    SV_FAIL_IF_NIL(m_pclValues, "m_pclValues");
    if (src.m_pclValues != nullptr) {
        std::uint32_t const n = src.m_pclValues->Length();
        for (std::uint32_t i = 0; i < n; ++i) {
            CPValue* const pvalSub = src.GetSubvalueByIndex(i);
            auto* const pvalClone = new (std::nothrow) CPValue(*pvalSub);
            SV_FAIL_IF_NIL(pvalClone, "pvalNew");
            pvalClone->_set_szName(pvalSub->_get_szName(nullptr));
            AddSubvalue(pvalClone, nullptr, 1);
        }
    }
    nSelector = src.nSelector;
}

void CPValue::Copy(Token& tok) {
    Initialize();
    if (_get_bBoundToProxy() == 0) Token::Copy(tok);
}

// Bounds -----------------------------------------------------------------------------------

void CPValue::ClearBounds() {
    _set_pvalUpperBound(nullptr);
    _set_pvalLowerBound(nullptr);
}

void CPValue::_set_pvalUpperBound(CPValue* pval) {
    Replace(pvalUpperBound, pval);
}

void CPValue::_set_pvalLowerBound(CPValue* pval) {
    Replace(pvalLowerBound, pval);
}

namespace {

[[noreturn]] void OutOfRange(char const* szFormat, std::string const& value, CPValue* pvalBound) {
    static char szBound[kScalarText];
    pvalBound->GetDisplayString(szBound, nullptr);
    std::string message = szFormat;
    message.replace(message.find("%s"), 2, value);
    message.replace(message.find("%s"), 2, szBound);
    throw Exception(106, message.c_str());
}

std::string Fixed(double d) {
    char buf[512];
    std::snprintf(buf, sizeof buf, "%lf", d);
    return buf;
}

} // namespace

short CPValue::TestBounds(double d) {
    if (pvalUpperBound != nullptr && d > pvalUpperBound->GetAsDouble())
        OutOfRange("Value of %s higher than upper bound %s", Fixed(d), pvalUpperBound);
    if (pvalLowerBound != nullptr && d < pvalLowerBound->GetAsDouble())
        OutOfRange("Value of %s below lower bound %s", Fixed(d), pvalLowerBound);
    return 1;
}

short CPValue::TestBounds(CPValue* pval) {
    if (pvalUpperBound == nullptr && pvalLowerBound == nullptr) return 1;
    double const d = pval->GetAsDouble();
    if (pvalUpperBound != nullptr && d > pvalUpperBound->GetAsDouble())
        OutOfRange("Value of %s higher than upper bound %s", Text(*pval, 6), pvalUpperBound);
    if (pvalLowerBound != nullptr && d < pvalLowerBound->GetAsDouble())
        OutOfRange("Value of %s below lower bound %s", Text(*pval, 6), pvalLowerBound);
    return 1;
}

// Optional members ---------------------------------------------------------------------------

UnitString* CPValue::_get_punstrUnits(CPString* pstr) const {
    if (pstr != nullptr && punstrUnits != nullptr) *pstr = punstrUnits->GetBuffer();
    return punstrUnits;
}

void CPValue::_set_punstrUnits(UnitString* punstr) {
    Replace(punstrUnits, punstr);
}

void CPValue::_set_punstrUnits(char const* sz) {
    if (sz == nullptr || *sz == '\0') {
        _set_punstrUnits(static_cast<UnitString*>(nullptr));
        return;
    }
    UnitString* const punstrA = NewUnits(sz, "punstrA");
    _set_punstrUnits(punstrA);
    punstrA->Release();
}

char* CPValue::_get_punstrUnits_As_sz(char* buf) const {
    std::string const text = UnitText(punstrUnits);
    if (buf != nullptr) std::memcpy(buf, text.c_str(), text.size() + 1);
    return buf;
}

void CPValue::_set_pstrPurpose(CPString* pstr) {
    Replace(pstrPurpose, pstr);
}

void CPValue::_set_pstrPurpose(char const* sz) {
    if (sz == nullptr || *sz == '\0') {
        _set_pstrPurpose(static_cast<CPString*>(nullptr));
        return;
    }
    auto* const pstr = new (std::nothrow) CPString(sz);
    SV_FAIL_IF_NIL(pstr, "pstrPurpose");
    _set_pstrPurpose(pstr);
}

char const* CPValue::_get_pstrPurpose_As_sz() const {
    return pstrPurpose != nullptr ? pstrPurpose->GetBuffer() : "";
}

void CPValue::_set_pnvgContext(Navigable* pnvg) {
    Replace(pnvgContext, pnvg);
}

// The list is shared by copies; its last holder releases the path texts.
void CPValue::_set_plstReferences(CPList* plst) {
    if (plstReferences != nullptr && plstReferences != plst &&
        plstReferences->_get_nRefCount() == 1)
        plstReferences->DestroyAll([](void* pv, void*) { static_cast<CPString*>(pv)->Release(); });
    Replace(plstReferences, plst);
}

// Units ---------------------------------------------------------------------------------------

void CPValue::AssignUnits(char const* szUnits, short bDelta, short bForce) {
    CPValue* const pval = GetApplicableValue();
    if (pval->IsCollection() != 0) {
        for (CPValue* pvalSub = pval->GetFirstSubvalue(); pvalSub != nullptr;
             pvalSub = pval->GetNextSubvalue())
            if (pvalSub->IsNumericType() != 0 || bForce != 0)
                pvalSub->AssignUnits(szUnits, bDelta, bForce);
        pval->_set_punstrUnits(static_cast<UnitString*>(nullptr));
        if (szUnits != nullptr && *szUnits != '\0') {
            UnitString* const punstrNew = NewUnits(szUnits, "punstrNew");
            pval->_set_punstrUnits(punstrNew);
            punstrNew->Release();
        }
        return;
    }
    if (pval->IsNumericType() == 0) return;
    if (szUnits == nullptr || *szUnits == '\0') {
        pval->_set_punstrUnits(static_cast<UnitString*>(nullptr));
        return;
    }
    if (pval->punstrUnits == nullptr) {
        UnitString* const punstrNew = NewUnits(szUnits, "punstrNew");
        bool const bNamed = punstrNew->Length() != 0;
        if (bNamed) pval->_set_punstrUnits(punstrNew);
        double d = 0.0;
        try {
            // A scaled form with no units of its own: only the number moves.
            if (!bNamed) d = punstrNew->ConvertTo(szUnits, pval->FetchDouble(), nullptr, bDelta);
        } catch (...) {
            punstrNew->Release();
            throw;
        }
        punstrNew->Release();
        if (!bNamed) pval->Set(d);
        return;
    }
    if (pval->punstrUnits->EquivalentDimensions(szUnits) == 0)
        throw Exception(1344, UnitText(pval->punstrUnits).c_str());
    double const d = pval->punstrUnits->ConvertTo(szUnits, pval->FetchDouble(), nullptr, bDelta);
    pval->SetValue(d);
    pval->_set_punstrUnits(szUnits);
}

// Text ------------------------------------------------------------------------------------------

namespace {

// "value|units(purpose)": what follows the first bar, to the next bar, the
// end or the room of the buffers.
void SplitUnitsAndPurpose(char const* sz, std::string& units, std::string& purpose) {
    char const* pcBar = sz != nullptr ? std::strchr(sz, '|') : nullptr;
    if (pcBar == nullptr) return;
    bool bInPurpose = false;
    std::size_t n = 0;
    for (char const* pc = pcBar + 1; *pc != '\0' && *pc != '|' && n < 255; ++pc, ++n) {
        if (!bInPurpose && *pc == '(') {
            bInPurpose = true;
        } else if (bInPurpose) {
            if (*pc != ')') purpose += *pc;
        } else {
            units += *pc;
        }
    }
}

bool HasFraction(char const* sz) {
    if (std::strchr(sz, '.') == nullptr) return false;
    double d = 0.0;
    if (std::sscanf(sz, "%lf", &d) != 1) return false;
    return d != static_cast<double>(static_cast<long long>(d));
}

} // namespace

void CPValue::SetFromString(char const* sz, short bKeepFraction) {
    CPValue* const pval = GetApplicableValue();
    std::string units;
    std::string purpose;
    SplitUnitsAndPurpose(sz, units, purpose);
    CPValue valTemp;
    if (bKeepFraction != 0 && pval->punstrUnits != nullptr && sz != nullptr && HasFraction(sz) &&
        pval->DataTypeThrough() < TY_FLOAT)
        pval->SetType(TY_FLOAT);
    valTemp._set_nDataType(pval->DataTypeThrough());
    valTemp.Token::SetValueFromString(sz);
    if (!units.empty()) valTemp._set_punstrUnits(units.c_str());
    pval->Set(&valTemp);
    if (!purpose.empty()) pval->_set_pstrPurpose(purpose.c_str());
}

void CPValue::GetAsString(char* buf, char nPrecision) {
    CPValue* const pval = GetApplicableValue();
    if (pval->IsCollection() == 0) {
        pval->FetchAsString(buf, nPrecision);
        return;
    }
    nPrintedCollections = 0;
    std::string text;
    PrintValueAsExpression(pval, text);
    std::memcpy(buf, text.c_str(), text.size() + 1);
}

void CPValue::PrintValueAsExpression(CPValue* pval, std::string& out) {
    if (pval->IsCollection() == 0) {
        std::string const text = Text(*pval, 6);
        out += pval->nDataType == TY_STRING ? "\"" + text + "\"" : text;
        return;
    }
    if (++nPrintedCollections > kMaxPrintedCollections) {
        out += kOverflowText;
        return;
    }
    out += "{";
    std::uint32_t const n = pval->GetSubvalueCount();
    for (std::uint32_t i = 0; i < n; ++i) {
        CPValue* const pvalSub = pval->GetSubvalueByIndex(i);
        if (i != 0) out += " , ";
        if (char const* szName = pvalSub->_get_szName(nullptr)) {
            out += "'";
            out += szName;
            out += "': ";
        }
        PrintValueAsExpression(pvalSub, out);
    }
    out += "}";
}

namespace {

void ReportUnitFailure(std::string const& units, Exception const& e) {
    std::string const text = "Invalid Unit String " + units + " " + e.szMessage;
    Exceptions::_get_gexeptnsThe().Comment(SV_UNIT_NAME(), __LINE__, text.c_str());
}

// The unit word people read: the foreign notation where it can be written.
std::string UnitWord(UnitString* punstr, std::string const& fallback) {
    CPString strWord;
    if (punstr != nullptr && punstr->GetKRESKUnitString(&strWord) != 0 && strWord.Length() != 0)
        return strWord.GetBuffer();
    return fallback;
}

} // namespace

short CPValue::GetAsPreferred(double* pd, char* szUnits, char* pcDecimals) {
    CPValue* const pval = GetApplicableValue();
    UnitString* const punstr = pval->punstrUnits;
    if (punstr == nullptr || pval->IsNumericType() == 0) return 0;
    try {
        double dSI = 0.0;
        char szBase[kUnitTextSize];
        pval->GetAsSI(&dSI, szBase);
        CPString strPreferred;
        char cDecimals = 6;
        char szPurpose[kUnitTextSize] = {};
        std::strncat(szPurpose, pval->_get_pstrPurpose_As_sz(), sizeof szPurpose - 1);
        if (punstr->GetDisplayUnits(dSI, &strPreferred, &cDecimals, szPurpose) == 0 ||
            strPreferred.Length() == 0)
            return 0;
        CPValue valTemp;
        valTemp._set_bPreserveUnitsOnAssignment(0);
        valTemp = *pval;
        valTemp.AssignUnits(strPreferred.GetBuffer(), pval->IsDelta());
        if (pd != nullptr) *pd = valTemp.GetAsDouble();
        if (szUnits != nullptr) valTemp._get_punstrUnits_As_sz(szUnits);
        if (pcDecimals != nullptr) *pcDecimals = cDecimals;
        return 1;
    } catch (Exception const& e) {
        ReportUnitFailure(UnitText(punstr), e);
    }
    return 0;
}

short CPValue::GetAsSI(double* pd, char* szUnits) {
    CPValue* const pval = GetApplicableValue();
    UnitString* const punstr = pval->punstrUnits;
    double d = pval->GetAsDouble();
    std::string base;
    if (punstr != nullptr && punstr->Length() != 0) {
        UnitString* const punstrBase = punstr->BaseUnits();
        if (punstrBase != nullptr) {
            base = punstrBase->GetBuffer();
            d = punstr->ConvertTo(*punstrBase, d, nullptr, pval->IsDelta());
            punstrBase->Release();
        }
    }
    if (pd != nullptr) *pd = d;
    if (szUnits != nullptr) std::memcpy(szUnits, base.c_str(), base.size() + 1);
    return punstr != nullptr ? 1 : 0;
}

// The number in the preferred units of its quantity where there are any,
// and the unit word behind it.
void CPValue::GetDisplayString(char* buf, CPString* pstr) {
    CPValue* const pval = GetApplicableValue();
    std::string text;
    if (pval->IsCollection() != 0 || pval->punstrUnits == nullptr) {
        text = Text(*pval, 6);
    } else {
        std::string const own = UnitText(pval->punstrUnits);
        double d = 0.0;
        char szPreferred[kUnitTextSize] = {};
        char cDecimals = 6;
        if (pval->IsNumericType() != 0 && pval->GetAsPreferred(&d, szPreferred, &cDecimals) != 0 &&
            own != szPreferred) {
            CPValue valTemp;
            valTemp._set_bPreserveUnitsOnAssignment(0);
            valTemp = *pval;
            valTemp.AssignUnits(szPreferred, pval->IsDelta());
            text = Text(valTemp, 6);
            UnitString unstrPreferred(szPreferred);
            text += pval->nDataType != TY_UNDEFINED
                        ? " |" + UnitWord(&unstrPreferred, szPreferred) + "| "
                        : "";
        } else {
            text = Text(*pval, 6);
            if (pval->nDataType != TY_UNDEFINED)
                text += " |" + UnitWord(pval->punstrUnits, own) + "| ";
        }
    }
    if (buf != nullptr) std::memcpy(buf, text.c_str(), text.size() + 1);
    if (pstr != nullptr) *pstr = text.c_str();
}

void CPValue::WhoAmI(CPString* pstr) {
    if (pstr == nullptr) return;
    GetDisplayString(nullptr, pstr);
    if (pstrPurpose != nullptr) {
        *pstr += " (";
        *pstr += *pstrPurpose;
        *pstr += ")";
    }
}

// Subvalues ---------------------------------------------------------------------------------------

std::uint32_t CPValue::GetSubvalueCount() const {
    CPCollection* const pcl = _get_pclValues();
    return pcl != nullptr ? pcl->Length() : 0;
}

CPValue* CPValue::GetFirstSubvalue() {
    CPCollection* const pcl = _get_pclValues();
    if (pcl == nullptr) return nullptr;
    pcl->GotoTop();
    return static_cast<CPValue*>(pcl->Retrieve());
}

CPValue* CPValue::GetNextSubvalue() {
    CPCollection* const pcl = _get_pclValues();
    if (pcl == nullptr) return nullptr;
    pcl->Next();
    return static_cast<CPValue*>(pcl->Retrieve());
}

CPValue* CPValue::GetSubvalueByIndex(std::uint32_t n) {
    CPCollection* const pcl = _get_pclValues();
    if (pcl == nullptr || n >= pcl->Length()) return nullptr;
    if (!HoldsTree()) return static_cast<CPValue*>(pcl->RetrieveIDX(n));
    // A tree's index reads number keys; the position is along its chain.
    pcl->GotoTop();
    for (std::uint32_t i = 0; i < n; ++i)
        pcl->Next();
    return static_cast<CPValue*>(pcl->Retrieve());
}

CPValue* CPValue::GetSubvalueByName(char const* szName) {
    CPCollection* const pcl = _get_pclValues();
    if (szName == nullptr || pcl == nullptr) return nullptr;
    if (HoldsTree()) return FindInTree(pcl, szName);
    std::uint32_t const n = pcl->Length();
    pcl->GotoTop();
    for (std::uint32_t i = 0; i < n; ++i, pcl->Next()) {
        auto* const pval = static_cast<CPValue*>(pcl->Retrieve());
        char const* sz = pval->_get_szName(nullptr);
        if (sz != nullptr && std::strcmp(sz, szName) == 0) return pval;
    }
    return nullptr;
}

void CPValue::PromoteToCollection(short bKeepValue, short) {
    if (IsCollection() != 0) return;
    CPValue* pvalSingle = nullptr;
    if (bKeepValue != 0) {
        pvalSingle = new (std::nothrow) CPValue(*this);
        SV_FAIL_IF_NIL(pvalSingle, "pvalSingle");
        pvalSingle->AddRef();
    }
    SetType(TY_COLLECTION);
    if (m_pclValues == nullptr) m_pclValues = NewCollection(_get_nSublistRepresentation());
    if (pvalSingle != nullptr) {
        AddSubvalue(pvalSingle, nullptr, 1);
        pvalSingle->Release();
    }
}

CPValue* CPValue::AddSubvalue(CPValue* pval, char const* szName, short bKeepBoth) {
    SV_FAIL_IF_NIL(pval, "pvalNew");
    pval->pvalParent = this;
    if (IsCollection() == 0) {
        PromoteToCollection(0, -1);
    } else if (m_pclValues == nullptr) {
        m_pclValues = NewCollection(_get_nSublistRepresentation());
    }
    if (szName != nullptr) {
        if (bKeepBoth == 0) {
            DeleteNamedValue(szName);
            pval->_set_szName(szName);
        } else {
            std::string name = std::string(szName).substr(0, 255);
            while (GetSubvalueByName(name.c_str()) != nullptr && name.size() < 255)
                name += 'X';
            pval->_set_szName(name.c_str());
        }
    }
    pval->AddRef();
    AddToCollection(pval);
    return pval;
}

short CPValue::DeleteValue(CPValue* pval) {
    CPCollection* const pcl = _get_pclValues();
    if (pcl == nullptr || pval == nullptr) return 0;
    if (HoldsTree()) {
        // The tree lets go by key.
        char const* sz = pval->_get_szName(nullptr);
        auto* const ptree = static_cast<CPTree*>(pcl);
        if (FindInTree(ptree, sz != nullptr ? sz : "") != pval) return 0;
        ptree->DetachKeyString(sz != nullptr ? sz : "");
    } else if (pcl->Detach(pval) == 0) {
        return 0;
    }
    pval->Release();
    return 1;
}

short CPValue::DeleteNamedValue(char const* szName) {
    SV_FAIL_IF_NIL(szName, "szValName");
    return DeleteValue(GetSubvalueByName(szName));
}

short CPValue::DeleteIndexedValue(short n) {
    if (n < 0) return 0;
    return DeleteValue(GetSubvalueByIndex(static_cast<std::uint32_t>(n)));
}

short CPValue::DeleteAllSubvalues() {
    CPCollection* const pcl = _get_pclValues();
    if (pcl == nullptr) return 0;
    pcl->DestroyAll(itReleaseValue);
    return 1;
}

void CPValue::ForEach(pfnKillFunc pfn, void* pvUser) {
    SV_FAIL_IF_NIL(m_pclValues, "m_pclValues");
    m_pclValues->ForEach(pfn, pvUser);
}

CPValue* CPValue::GetSelection() {
    if (IsCollection() == 0 || nSelector < 0) return this;
    CPValue* const pval = GetSubvalueByIndex(static_cast<std::uint32_t>(nSelector));
    return pval != nullptr ? pval : this;
}

void CPValue::_set_nSelector(short n, short bForce) {
    if (bForce != 0) {
        nSelector = n;
    } else if (_get_pclValues() == nullptr) {
        nSelector = -1;
    } else {
        nSelector = static_cast<std::uint16_t>(n) >= GetSubvalueCount() ? -1 : n;
    }
}

// Navigable
// ------------------------------------------------------------------------------------------

namespace {

short Kind(short nRelation) {
    return static_cast<short>(nRelation & 0xFF);
}

} // namespace

short CPValue::AddRelation(Navigable* pnav, EdgeSpec* pes) {
    if (pes == nullptr) return 0;
    if (Kind(pes->_get_nRelationType()) == RT_REFERENCE && pnav != nullptr) {
        char const* sz = pnav->_get_szName(nullptr);
        return AddPseudoRelation(sz != nullptr ? sz : "", pes);
    }
    if (Kind(pes->_get_nRelationType()) != RT_CONTAINMENT) return 0;
    auto* const pval = dynamic_cast<CPValue*>(pnav);
    if (pval == nullptr) return 0;
    char szName[EdgeSpec::kTextRoom];
    bool const bByName = pes->_get_nType() == EdgeSpec::kSelectByName;
    AddSubvalue(pval, bByName ? pes->_get_szName(szName) : nullptr, 0);
    return 1;
}

short CPValue::RemoveRelation(Navigable*, EdgeSpec* pes) {
    return RemoveRelation(pes);
}

short CPValue::RemoveRelation(EdgeSpec* pes) {
    if (pes != nullptr && Kind(pes->_get_nRelationType()) == RT_REFERENCE) {
        char szName[EdgeSpec::kTextRoom];
        CPString* const pstr = FindReference(pes->_get_szName(szName));
        if (pstr == nullptr) return 0;
        plstReferences->Detach(pstr);
        pstr->Release();
        return 1;
    }
    if (pes == nullptr || Kind(pes->_get_nRelationType()) != RT_CONTAINMENT) return 0;
    if (pes->_get_nType() == EdgeSpec::kSelectByName) {
        char szName[EdgeSpec::kTextRoom];
        return DeleteNamedValue(pes->_get_szName(szName));
    }
    if (pes->_get_nType() == EdgeSpec::kSelectByIndex)
        return DeleteIndexedValue(static_cast<short>(pes->_get_nDX()));
    return 0;
}

Navigable* CPValue::TraverseRelation(EdgeSpec* pes) {
    // A reference may lead to any kind of node.
    if (pes != nullptr && Kind(pes->_get_nRelationType()) == RT_REFERENCE) {
        char szName[EdgeSpec::kTextRoom];
        return FollowReference(FindReference(pes->_get_szName(szName)));
    }
    return static_cast<CPValue*>(TraverseStep(this, pes));
}

short CPValue::GetRelatedNodeCount(short nRelation, char*) {
    switch (Kind(nRelation)) {
    case RT_CONTAINMENT:
        return static_cast<short>(GetSubvalueCount());
    case RT_REFERENCE:
        return plstReferences != nullptr ? static_cast<short>(plstReferences->Length()) : 0;
    default:
        return 0;
    }
}

// Attributes are walked only when the supplemental text asks for them.
Navigable* CPValue::GetFirstRelatedNode(short nRelation, char* szSupplemental) {
    nWalkRelation = Kind(nRelation);
    nWalkIndex = 0;
    if (nWalkRelation == RT_CONTAINMENT) return GetFirstSubvalue();
    if (nWalkRelation == RT_NAMED &&
        (szSupplemental == nullptr || std::strstr(szSupplemental, "Attr") == nullptr))
        nWalkRelation = 0;
    return RelatedNodeAt(0);
}

Navigable* CPValue::GetNextRelatedNode() {
    if (nWalkRelation == RT_CONTAINMENT) return GetNextSubvalue();
    return RelatedNodeAt(++nWalkIndex);
}

Navigable* CPValue::CreateInstance() {
    return new CPValue;
}

Navigable* CPValue::CreateRelatedNode(EdgeSpec* pes) {
    if (pes == nullptr || Kind(pes->_get_nRelationType()) != RT_CONTAINMENT) return nullptr;
    return static_cast<CPValue*>(CreateNode(this, pes));
}

void* CPValue::TraverseStep(void* pvNode, EdgeSpec* pes) {
    auto* const pval = static_cast<CPValue*>(pvNode);
    if (pval == nullptr || pes == nullptr) return nullptr;
    char szEdge[EdgeSpec::kTextRoom];
    switch (Kind(pes->_get_nRelationType())) {
    case RT_CONTAINMENT:
        break;
    case RT_NAMED: {
        // Through the graph an attribute is an object held elsewhere: a
        // stored one, a bound or the parent; a field's new value is not.
        char const* szSupplemental = pes->_get_szSupplemental();
        if (std::strstr(szSupplemental, "Attr_") == nullptr) return nullptr;
        char const* szName = pes->_get_szName(szEdge);
        if (std::strcmp(szName, "UpperBound") == 0) return pval->pvalUpperBound;
        if (std::strcmp(szName, "LowerBound") == 0) return pval->pvalLowerBound;
        if (std::strcmp(szName, "Parent") == 0) return pval->pvalParent;
        if (pval->pdctAttributes == nullptr) return nullptr;
        return pval->pdctAttributes->FindKeyString(szName);
    }
    case RT_REFERENCE:
        return dynamic_cast<CPValue*>(
            pval->FollowReference(pval->FindReference(pes->_get_szName(szEdge))));
    default:
        return nullptr;
    }
    if (pes->_get_nType() == EdgeSpec::kSelectByName) {
        char szName[EdgeSpec::kTextRoom];
        return pval->GetSubvalueByName(pes->_get_szName(szName));
    }
    if (pes->_get_nType() == EdgeSpec::kSelectByIndex)
        return pval->GetSubvalueByIndex(static_cast<std::uint32_t>(pes->_get_nDX()));
    return nullptr;
}

void* CPValue::CreateNode(void* pvNode, EdgeSpec* pes) {
    auto* const pval = static_cast<CPValue*>(pvNode);
    if (pval == nullptr || pes == nullptr) return nullptr;
    bool const bByName = pes->_get_nType() == EdgeSpec::kSelectByName;
    if (!bByName && pes->_get_nType() != EdgeSpec::kSelectByIndex) return nullptr;
    auto* const pvalNew = new (std::nothrow) CPValue;
    SV_FAIL_IF_NIL(pvalNew, "pvalNew");
    char szName[EdgeSpec::kTextRoom];
    pval->AddSubvalue(pvalNew, bByName ? pes->_get_szName(szName) : nullptr, 0);
    return pvalNew;
}

// Subvalues: representations, searches, typed adding, selection, vectors
// -------------------------------------------------------------------------------------------------

namespace {

// The key of an unnamed subvalue in the tree form.
constexpr char kNoName[] = "";

char const* KeyOf(CPValue* pval) {
    char const* sz = pval->_get_szName(nullptr);
    return sz != nullptr ? sz : kNoName;
}

// Registered here so that a bracketed path reads a value as its number.
[[maybe_unused]] bool const bNodeIndexRegistered =
    (PMoniker::_set_pfnNodeIndex(&CPValue::NodeIndexOf), true);

} // namespace

// A tree takes its key kind from its first keyed question; only the
// existence test may ask a new one.
CPValue* CPValue::FindInTree(CPCollection* pcl, char const* szKey) {
    auto* const ptree = static_cast<CPTree*>(pcl);
    if (ptree->ExistsKeyString(szKey) == 0) return nullptr;
    return static_cast<CPValue*>(ptree->FindKeyString(szKey));
}

bool CPValue::HoldsTree() const {
    return dynamic_cast<CPTree*>(m_pclValues) != nullptr;
}

CPCollection* CPValue::NewCollection(char nKind) {
    CPCollection* pcl = nullptr;
    if (nKind == 1)
        pcl = new (std::nothrow) CPTree;
    else
        pcl = new (std::nothrow) CPList;
    SV_FAIL_IF_NIL(pcl, "m_pclValues");
    return pcl;
}

// The tree holds one subvalue per name: a namesake already there goes, and
// with it its reference.
void CPValue::AddToCollection(CPValue* pval) {
    if (!HoldsTree()) {
        m_pclValues->Add(pval);
        return;
    }
    auto* const ptree = static_cast<CPTree*>(m_pclValues);
    char const* szKey = KeyOf(pval);
    if (CPValue* const pvalOld = FindInTree(ptree, szKey)) {
        ptree->DetachKeyString(szKey);
        if (pvalOld != pval) pvalOld->Release();
    }
    ptree->AddKeyString(szKey, pval);
}

CPList* CPValue::_get_plstValues() {
    if (IsCollection() == 0) return nullptr;
    ConvertSublistRepresentation(0);
    _set_nSublistRepresentation(0);
    return static_cast<CPList*>(m_pclValues);
}

void CPValue::ConvertSublistRepresentation(char nKind) {
    if (nKind != 0 && nKind != 1) throw kBadRepresentation;
    if (nKind == 0) {
        if (!HoldsTree()) return;
        auto* const plstA = new (std::nothrow) CPList;
        SV_FAIL_IF_NIL(plstA, "plstA");
        plstA->CopyFrom(m_pclValues);
        m_pclValues->DestroyAll([](void*, void*) {});
        delete m_pclValues;
        m_pclValues = plstA;
        return;
    }
    if (HoldsTree()) return;
    auto* const ptreeA = new (std::nothrow) CPTree;
    SV_FAIL_IF_NIL(ptreeA, "ptreeA");
    CPCollection* const plstOld = m_pclValues;
    m_pclValues = ptreeA;
    if (plstOld == nullptr) {
        if (IsCollection() == 0) ReleaseSubvalues();
        return;
    }
    std::uint32_t const n = plstOld->Length();
    plstOld->GotoTop();
    for (std::uint32_t i = 0; i < n; ++i, plstOld->Next())
        if (void* const pv = plstOld->Retrieve()) AddToCollection(static_cast<CPValue*>(pv));
    plstOld->DestroyAll([](void*, void*) {});
    delete plstOld;
}

CPValue* CPValue::FirstSubvalueThat(pfnSubvalueTest pfn, void* pvUser) {
    std::int32_t const n = FindIndexOfMatchingSubval(pfn, pvUser);
    return n < 0 ? nullptr : GetSubvalueByIndex(static_cast<std::uint32_t>(n));
}

std::int32_t CPValue::FindIndexWhere(bool (*pfnMatch)(CPValue*, void const*), void const* pvProbe) {
    CPCollection* const pcl = _get_pclValues();
    if (pcl == nullptr) return -1;
    std::uint32_t const n = pcl->Length();
    pcl->GotoTop();
    for (std::uint32_t i = 0; i < n; ++i, pcl->Next()) {
        auto* const pval = static_cast<CPValue*>(pcl->Retrieve());
        if (pval != nullptr && pfnMatch(pval, pvProbe)) return static_cast<std::int32_t>(i);
    }
    return -1;
}

std::int32_t CPValue::FindIndexOfMatchingSubval(pfnSubvalueTest pfn, void* pvUser) {
    if (pfn == nullptr) return -1;
    struct Test {
        pfnSubvalueTest pfn;
        void* pvUser;
    } const test{pfn, pvUser};
    return FindIndexWhere(
        [](CPValue* pval, void const* pv) {
            auto const* ptest = static_cast<Test const*>(pv);
            return ptest->pfn(pval, ptest->pvUser) != 0;
        },
        &test);
}

namespace {

// A subvalue matches a number when its reading as the number's type is equal.
template <typename T, T (*Read)(CPValue&)> bool ReadsAs(CPValue* pval, void const* pv) {
    return Read(*pval) == *static_cast<T const*>(pv);
}

char ReadChar(CPValue& val) {
    return val.GetAsChar();
}
short ReadShort(CPValue& val) {
    return val.GetAsShort();
}
std::int32_t ReadLong(CPValue& val) {
    return val.GetAsLong();
}
float ReadFloat(CPValue& val) {
    return val.GetAsFloat();
}
double ReadDouble(CPValue& val) {
    return val.GetAsDouble();
}

} // namespace

std::int32_t CPValue::FindIndexOfMatchingSubval(char c) {
    return FindIndexWhere(ReadsAs<char, ReadChar>, &c);
}

std::int32_t CPValue::FindIndexOfMatchingSubval(short n) {
    return FindIndexWhere(ReadsAs<short, ReadShort>, &n);
}

std::int32_t CPValue::FindIndexOfMatchingSubval(std::int32_t n) {
    return FindIndexWhere(ReadsAs<std::int32_t, ReadLong>, &n);
}

std::int32_t CPValue::FindIndexOfMatchingSubval(float f) {
    return FindIndexWhere(ReadsAs<float, ReadFloat>, &f);
}

std::int32_t CPValue::FindIndexOfMatchingSubval(double d) {
    return FindIndexWhere(ReadsAs<double, ReadDouble>, &d);
}

std::int32_t CPValue::FindIndexOfMatchingSubval(char const* sz) {
    if (sz == nullptr) return -1;
    return FindIndexWhere(
        [](CPValue* pval, void const* pv) {
            return Text(*pval, 6) == static_cast<char const*>(pv);
        },
        sz);
}

namespace {

// A new value for AddSubvalue, set by the caller's function.
template <class Setter> CPValue* NewSetValue(Setter set) {
    auto* const pvalNew = new (std::nothrow) CPValue;
    SV_FAIL_IF_NIL(pvalNew, "pvalNew");
    pvalNew->AddRef();
    try {
        set(*pvalNew);
    } catch (...) {
        pvalNew->Release();
        throw;
    }
    return pvalNew;
}

// Adds the new value and drops the maker's reference.
CPValue* AddNew(CPValue& valTo, CPValue* pvalNew, char const* szName, short bKeepBoth) {
    valTo.AddSubvalue(pvalNew, szName, bKeepBoth);
    pvalNew->Release();
    return pvalNew;
}

} // namespace

CPValue* CPValue::AddSubvalue(short n, char const* szName, short bKeepBoth) {
    return AddNew(*this, NewSetValue([n](CPValue& val) { val.Set(n); }), szName, bKeepBoth);
}

CPValue* CPValue::AddSubvalue(std::int32_t n, char const* szName, short bKeepBoth) {
    return AddNew(*this, NewSetValue([n](CPValue& val) { val.Set(n); }), szName, bKeepBoth);
}

CPValue* CPValue::AddSubvalue(float f, char const* szName, short bKeepBoth) {
    return AddNew(*this, NewSetValue([f](CPValue& val) { val.Set(f); }), szName, bKeepBoth);
}

CPValue* CPValue::AddSubvalue(double d, char const* szName, short bKeepBoth) {
    return AddNew(*this, NewSetValue([d](CPValue& val) { val.Set(d); }), szName, bKeepBoth);
}

CPValue* CPValue::AddSubvalue(char const* sz, char const* szName, short bKeepBoth) {
    return AddNew(*this, NewSetValue([sz](CPValue& val) { val.Set(sz); }), szName, bKeepBoth);
}

short CPValue::SetSelectedSubvalue(char const* szName) {
    SV_FAIL_IF_NIL(szName, "szValueName");
    if (IsCollection() == 0) return 0;
    std::int32_t const n = FindIndexWhere(
        [](CPValue* pval, void const* pv) {
            char const* sz = pval->_get_szName(nullptr);
            return sz != nullptr && std::strcmp(sz, static_cast<char const*>(pv)) == 0;
        },
        szName);
    if (n < 0) return 0;
    _set_nSelector(static_cast<short>(n));
    return 1;
}

short CPValue::IsSelectedChild() {
    if (pvalParent == nullptr) return 0;
    return pvalParent->IsCollection() != 0 && pvalParent->nSelector >= 0 &&
                   pvalParent->GetSelection() == this
               ? 1
               : 0;
}

void* CPValue::BuildVectorRepresentation(short nType, void* pBuf, short nBytes) {
    CPCollection* const pcl = _get_pclValues();
    if (pcl == nullptr) return nullptr;
    std::size_t nSize = 0;
    switch (nType) {
    case TY_BOOL:
    case TY_SHORT:
        nSize = 2;
        break;
    case TY_LONG:
    case TY_FLOAT:
        nSize = 4;
        break;
    case TY_DOUBLE:
        nSize = 8;
        break;
    default:
        return nullptr;
    }
    std::uint32_t const n = pcl->Length();
    std::size_t const nTotal = nSize * n;
    auto* pbOut = static_cast<unsigned char*>(pBuf);
    if (pbOut != nullptr) {
        if (nBytes != -1 && (nBytes < 0 || static_cast<std::size_t>(nBytes) < nTotal))
            return nullptr;
    } else {
        if (pvVector != nullptr) return pvVector;
        pbOut = static_cast<unsigned char*>(std::malloc(nTotal != 0 ? nTotal : 1));
        SV_FAIL_IF_NIL(pbOut, "pvVector");
        pvVector = pbOut;
    }
    pcl->GotoTop();
    for (std::uint32_t i = 0; i < n; ++i, pcl->Next(), pbOut += nSize) {
        auto* const pval = static_cast<CPValue*>(pcl->Retrieve());
        if (nSize == 2) {
            short const v = pval->GetAsShort();
            std::memcpy(pbOut, &v, nSize);
        } else if (nType == TY_LONG) {
            std::int32_t const v = pval->GetAsLong();
            std::memcpy(pbOut, &v, nSize);
        } else if (nType == TY_FLOAT) {
            float const v = pval->GetAsFloat();
            std::memcpy(pbOut, &v, nSize);
        } else {
            double const v = pval->GetAsDouble();
            std::memcpy(pbOut, &v, nSize);
        }
    }
    return pBuf != nullptr ? pBuf : pvVector;
}

void CPValue::ClearVectorRepresentation() {
    std::free(pvVector);
    pvVector = nullptr;
}

// Attributes
// -------------------------------------------------------------------------------------------------

namespace {

// The fixed names, in the order they are tested; any other is free.
enum class Attr {
    UnitString,
    UpperBound,
    LowerBound,
    Vector,
    Parent,
    DefinitionStatus,
    DefinitionStatusReason,
    LockStatus,
    LockStatusReason,
    DataType,
    RelationEncoder,
    PreserveUnitsOnAssignment,
    CannotAssumeUndefinedState,
    Purpose,
    Selector,
    ValueParameter,
    ValCount,
    Tolerance,
    Free,
};

constexpr std::array<std::string_view, static_cast<std::size_t>(Attr::Free)> kFixedAttributes{
    "UnitString",
    "UpperBound",
    "LowerBound",
    "Vector",
    "Parent",
    "DefinitionStatus",
    "DefinitionStatusReason",
    "LockStatus",
    "LockStatusReason",
    "DataType",
    "RelationEncoder",
    "PreserveUnitsOnAssignment",
    "CannotAssumeUndefinedState",
    "Purpose",
    "Selector",
    "ValueParameter",
    "ValCount",
    "Tolerance",
};

Attr AttributeOf(char const* szName) {
    for (std::size_t i = 0; i < kFixedAttributes.size(); ++i)
        if (kFixedAttributes[i] == szName) return static_cast<Attr>(i);
    return Attr::Free;
}

CPValue* NewAttributeValue() {
    auto* const pvalNew = new (std::nothrow) CPValue;
    SV_FAIL_IF_NIL(pvalNew, "pvalNew");
    pvalNew->AddRef();
    return pvalNew;
}

template <class T> CPValue* NewAttributeValue(std::uint16_t nType, T v) {
    CPValue* const pvalNew = NewAttributeValue();
    pvalNew->_set_nDataType(nType);
    pvalNew->SetValue(v);
    return pvalNew;
}

CPValue* NewAttributeText(char const* sz) {
    CPValue* const pvalNew = NewAttributeValue();
    pvalNew->_set_nDataType(TY_STRING);
    try {
        pvalNew->SetFromString(sz);
    } catch (...) {
        pvalNew->Release();
        throw;
    }
    return pvalNew;
}

} // namespace

short CPValue::SetAttribute(char const* szName, CPValue* pval) {
    if (szName == nullptr || pval == nullptr) return 0;
    switch (AttributeOf(szName)) {
    case Attr::UnitString:
        _set_punstrUnits(Text(*pval, 6).c_str());
        break;
    case Attr::UpperBound:
        _set_pvalUpperBound(pval);
        break;
    case Attr::LowerBound:
        _set_pvalLowerBound(pval);
        break;
    case Attr::Vector:
        // An address does not fit the 32-bit number: 0 lets the kept
        // array go, any other number leaves it.
        if (pval->GetAsLong() == 0) ClearVectorRepresentation();
        break;
    case Attr::Parent:
        _set_pvalParent(pval);
        break;
    case Attr::DefinitionStatus:
        SetDefineStatus(pval->GetAsChar());
        break;
    case Attr::DefinitionStatusReason:
        SetDefineReason(pval->GetAsChar());
        break;
    case Attr::LockStatus:
        SetLockedStatus(pval->GetAsChar());
        break;
    case Attr::LockStatusReason:
        SetLockedReason(pval->GetAsChar());
        break;
    case Attr::DataType:
        SetType(static_cast<std::uint16_t>(pval->GetAsShort()));
        break;
    case Attr::RelationEncoder:
        _set_bRelationEncoder(static_cast<char>(pval->GetAsBool()));
        break;
    case Attr::PreserveUnitsOnAssignment:
        _set_bPreserveUnitsOnAssignment(static_cast<char>(pval->GetAsBool()));
        break;
    case Attr::CannotAssumeUndefinedState:
        _set_bCannotAssumeUndefinedState(static_cast<char>(pval->GetAsBool()));
        break;
    case Attr::Purpose:
        _set_pstrPurpose(Text(*pval, 6).c_str());
        break;
    case Attr::Selector:
        _set_nSelector(pval->GetAsShort());
        break;
    case Attr::ValueParameter:
        _set_bValueParameter(static_cast<char>(pval->GetAsBool()));
        break;
    case Attr::ValCount:
        break;
    case Attr::Tolerance:
        _set_dbTolerance(pval->GetAsDouble());
        break;
    case Attr::Free:
        if (pdctAttributes == nullptr) {
            pdctAttributes = new (std::nothrow) CPDictionary;
            SV_FAIL_IF_NIL(pdctAttributes, "pdctAttributes");
            pdctAttributes->AddRef();
        }
        // The new one is held before the old goes: they may be the same.
        pval->AddRef();
        if (pdctAttributes->ExistsKeyString(szName) != 0)
            pdctAttributes->DestroyKeyString(szName, itReleaseValue);
        pdctAttributes->AddKeyString(szName, pval);
        break;
    }
    return 1;
}

CPValue* CPValue::GetAttribute(char const* szName) {
    if (szName == nullptr) return nullptr;
    switch (AttributeOf(szName)) {
    case Attr::UnitString:
        return NewAttributeText(UnitText(punstrUnits).c_str());
    case Attr::UpperBound:
        return pvalUpperBound;
    case Attr::LowerBound:
        return pvalLowerBound;
    case Attr::Vector:
        return NewAttributeValue(TY_LONG, static_cast<std::int32_t>(pvVector != nullptr ? 1 : 0));
    case Attr::Parent:
        return pvalParent;
    case Attr::DefinitionStatus:
        return NewAttributeValue(TY_SHORT, IsDefined());
    case Attr::DefinitionStatusReason:
        return NewAttributeValue(TY_SHORT, static_cast<short>(WhyNotDefined() | WhoDefinedMe()));
    case Attr::LockStatus:
        return NewAttributeValue(TY_SHORT, IsLocked());
    case Attr::LockStatusReason:
        return NewAttributeValue(TY_SHORT, WhyLocked());
    case Attr::DataType:
        return NewAttributeValue(TY_SHORT, static_cast<short>(GetType()));
    case Attr::RelationEncoder:
        return NewAttributeValue(TY_SHORT, static_cast<short>(_get_bRelationEncoder()));
    case Attr::PreserveUnitsOnAssignment:
        return NewAttributeValue(TY_SHORT, static_cast<short>(_get_bPreserveUnitsOnAssignment()));
    case Attr::CannotAssumeUndefinedState:
        return NewAttributeValue(TY_SHORT, static_cast<short>(_get_bCannotAssumeUndefinedState()));
    case Attr::Purpose:
        return NewAttributeText(_get_pstrPurpose_As_sz());
    case Attr::Selector:
        return NewAttributeValue(TY_SHORT, nSelector);
    case Attr::ValueParameter:
        return NewAttributeValue(TY_CHAR, _get_bValueParameter());
    case Attr::ValCount:
        return NewAttributeValue(TY_SHORT, static_cast<short>(GetSubvalueCount()));
    case Attr::Tolerance:
        return NewAttributeValue(TY_DOUBLE, _get_dbTolerance());
    case Attr::Free:
        break;
    }
    if (pdctAttributes == nullptr) return nullptr;
    return static_cast<CPValue*>(pdctAttributes->FindKeyString(szName));
}

short CPValue::DeleteAttribute(char const* szName) {
    if (szName == nullptr) return 0;
    switch (AttributeOf(szName)) {
    case Attr::UnitString:
        _set_punstrUnits(static_cast<UnitString*>(nullptr));
        break;
    case Attr::UpperBound:
        _set_pvalUpperBound(nullptr);
        break;
    case Attr::LowerBound:
        _set_pvalLowerBound(nullptr);
        break;
    case Attr::Vector:
        ClearVectorRepresentation();
        break;
    case Attr::Parent:
        pvalParent = nullptr;
        break;
    case Attr::DefinitionStatus:
        SetDefineStatus(0);
        break;
    case Attr::DefinitionStatusReason:
        SetDefineReason(0);
        break;
    case Attr::LockStatus:
        SetLockedStatus(0);
        break;
    case Attr::LockStatusReason:
        SetLockedReason(0);
        break;
    case Attr::DataType: {
        // The number or text goes with the type; a collection keeps both.
        CPValue* const pvalAt = GetApplicableValue();
        if (pvalAt->IsCollection() != 0) return 0;
        if (pvalAt->_get_bBoundToProxy() == 0) {
            pvalAt->Token::UnInitialize();
            pvalAt->Put<double>(0, 0.0);
        }
        pvalAt->_set_nDataType(TY_UNDEFINED);
        break;
    }
    case Attr::RelationEncoder:
        _set_bRelationEncoder(0);
        break;
    case Attr::PreserveUnitsOnAssignment:
        _set_bPreserveUnitsOnAssignment(0);
        break;
    case Attr::CannotAssumeUndefinedState:
        _set_bCannotAssumeUndefinedState(0);
        break;
    case Attr::Purpose:
        _set_pstrPurpose(static_cast<CPString*>(nullptr));
        break;
    case Attr::Selector:
        nSelector = -1;
        break;
    case Attr::ValueParameter:
        _set_bValueParameter(0);
        break;
    case Attr::ValCount:
    case Attr::Tolerance:
        return 0;
    case Attr::Free:
        if (pdctAttributes == nullptr || pdctAttributes->ExistsKeyString(szName) == 0) return 0;
        pdctAttributes->DestroyKeyString(szName, itReleaseValue);
        break;
    }
    return 1;
}

void CPValue::CopyExtraAttributes(CPValue* pval) {
    if (pval == nullptr || pval == this || pval->pdctAttributes == nullptr) return;
    CPDictionary* const pdct = pval->pdctAttributes;
    pdct->RefreshParallelVector();
    std::uint32_t const n = pdct->Length();
    for (std::uint32_t i = 0; i < n; ++i) {
        CPDictionaryAssociation* const pda = pdct->RetrieveDAIDX(static_cast<std::int32_t>(i));
        if (pda == nullptr || pda->_get_pstrKey() == nullptr) continue;
        SetAttribute(pda->GetKeyString(static_cast<char*>(nullptr)),
                     static_cast<CPValue*>(pda->GetValue()));
    }
}

void CPValue::ReleaseAttributes() {
    if (pdctAttributes == nullptr) return;
    pdctAttributes->DestroyAll(itReleaseValue);
    Replace<CPDictionary>(pdctAttributes, nullptr);
}

// Places in the graph
// -------------------------------------------------------------------------------------------------

std::int32_t CPValue::NodeIndexOf(Navigable* pnav) {
    auto* const pval = dynamic_cast<CPValue*>(pnav);
    return pval != nullptr ? pval->GetAsLong() : 0;
}

namespace {

void AppendIndent(std::string& out, int nIndent) {
    if (nIndent > 0) out.append(static_cast<std::size_t>(nIndent), ' ');
}

} // namespace

void CPValue::AppendRelationRecord(std::string& out, int nIndent, char const* szRelType,
                                   char const* szTarget, char const* szSupplemental) {
    if (szTarget == nullptr || std::strcmp(szTarget, "<empty>") == 0) return;
    AppendIndent(out, nIndent);
    out += "<Relation ";
    out += "RelType=\"";
    out += szRelType != nullptr ? szRelType : "";
    out += "\" Target=\"";
    out += szTarget;
    out += "\"";
    if (szSupplemental != nullptr && *szSupplemental != '\0') {
        out += " Supplemental=\"";
        out += szSupplemental;
        out += "\"";
    }
    out += "/>\n";
}

CPValue* CPValue::InternSubvalue(char const* szName) {
    if (szName == nullptr) return nullptr;
    CPValue* const pval = GetSubvalueByName(szName);
    if (pval != nullptr) return pval;
    auto* const pvalNew = NewAttributeValue();
    return AddNew(*this, pvalNew, szName, 0);
}

namespace {

// The subvalue steps of the moniker walked from pval: 0 finds, 1 creates,
// -1 finds and then cuts the last link. The previous node comes back too.
CPValue* WalkSubvalues(CPValue* pval, SorvaneMoniker* pmk, short nCreate, CPValue** ppvalPrevious) {
    if (pval == nullptr || pmk == nullptr) return nullptr;
    CPValue* pvalPrevious = nullptr;
    for (EdgeSpec* pes = pmk->GetFirstSubval(); pes != nullptr && pval != nullptr;
         pes = pmk->GetNextSubval()) {
        auto* pvalNext = static_cast<CPValue*>(pval->TraverseStep(pval, pes));
        if (pvalNext == nullptr && nCreate == PMoniker::kCreate)
            pvalNext = static_cast<CPValue*>(pval->CreateNode(pval, pes));
        pvalPrevious = pval;
        pval = pvalNext;
    }
    if (ppvalPrevious != nullptr) *ppvalPrevious = pvalPrevious;
    return pval;
}

} // namespace

CPValue* CPValue::InternSubvalue(SorvaneMoniker* pmk) {
    return WalkSubvalues(this, pmk, PMoniker::kCreate, nullptr);
}

CPValue* CPValue::GetSubvalue(SorvaneMoniker* pmk) {
    return WalkSubvalues(this, pmk, PMoniker::kFind, nullptr);
}

short CPValue::DeleteSubvalue(SorvaneMoniker* pmk) {
    CPValue* pvalPrevious = nullptr;
    CPValue* const pval = WalkSubvalues(this, pmk, PMoniker::kFind, &pvalPrevious);
    if (pval == nullptr || pvalPrevious == nullptr || pval == this) return 0;
    return pvalPrevious->DeleteValue(pval);
}

short CPValue::AddPseudoRelation(char const* szPath, EdgeSpec* pes) {
    if (szPath == nullptr || pes == nullptr) return 0;
    if (Kind(pes->_get_nRelationType()) != RT_REFERENCE) return 0;
    if (plstReferences == nullptr) {
        auto* const plst = new (std::nothrow) CPList;
        SV_FAIL_IF_NIL(plst, "plstMyReferences");
        _set_plstReferences(plst);
    }
    auto* const pstr = new (std::nothrow) CPString(szPath);
    SV_FAIL_IF_NIL(pstr, "pstrPath");
    pstr->AddRef();
    plstReferences->Add(pstr);
    return 1;
}

CPString* CPValue::FindReference(char const* szPath) {
    if (plstReferences == nullptr || szPath == nullptr) return nullptr;
    std::uint32_t const n = plstReferences->Length();
    plstReferences->GotoTop();
    for (std::uint32_t i = 0; i < n; ++i, plstReferences->Next()) {
        auto* const pstr = static_cast<CPString*>(plstReferences->Retrieve());
        if (pstr != nullptr && *pstr == szPath) return pstr;
    }
    return nullptr;
}

Navigable* CPValue::FollowReference(CPString* pstrPath) {
    if (pstrPath == nullptr || pnvgContext == nullptr) return nullptr;
    return pnvgContext->FollowPath(pstrPath->GetBuffer(), PMoniker::kFind, 0);
}

// Attributes come in the dictionary's order, references each followed.
Navigable* CPValue::RelatedNodeAt(std::uint32_t n) {
    if (nWalkRelation == RT_NAMED && pdctAttributes != nullptr && n < pdctAttributes->Length()) {
        pdctAttributes->RefreshParallelVector();
        return static_cast<CPValue*>(pdctAttributes->RetrieveIDX(n));
    }
    if (nWalkRelation == RT_REFERENCE && plstReferences != nullptr && n < plstReferences->Length())
        return FollowReference(static_cast<CPString*>(plstReferences->RetrieveIDX(n)));
    return nullptr;
}

// ":name" for a named step, "[n]" for an unnamed one by its position, from
// the top parent down; the parent chain is walked, not recursed.
std::string CPValue::StepsFromTop() {
    std::vector<std::string> steps;
    CPValue* pval = this;
    for (std::size_t i = 0; i < kMaxParentChain && pval->pvalParent != nullptr; ++i) {
        CPValue* const pvalParentOf = pval->pvalParent;
        if (char const* sz = pval->_get_szName(nullptr); sz != nullptr && *sz != '\0') {
            steps.push_back(std::string(":") + sz);
        } else {
            std::int32_t const n = pvalParentOf->FindIndexWhere(
                [](CPValue* pvalSub, void const* pv) { return pvalSub == pv; }, pval);
            // Built by appends: g++ 12 at -O3 misreads "[" + string as an
            // overlapping copy (-Wrestrict).
            std::string step = "[";
            step += std::to_string(n < 0 ? 0 : n);
            step += ']';
            steps.push_back(std::move(step));
        }
        pval = pvalParentOf;
    }
    std::string text;
    for (auto it = steps.rbegin(); it != steps.rend(); ++it)
        text += *it;
    return text;
}

short CPValue::BuildThisValuesMoniker(CPValue* pval) {
    if (pval == nullptr) return 0;
    std::vector<CPValue*> chain;
    for (CPValue* pvalAt = this; chain.size() < kMaxParentChain && pvalAt->pvalParent != nullptr;
         pvalAt = pvalAt->pvalParent)
        chain.push_back(pvalAt);
    short bAdded = 0;
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        CPValue* const pvalStep = *it;
        if (char const* sz = pvalStep->_get_szName(nullptr); sz != nullptr && *sz != '\0') {
            pval->AddSubvalue(sz, nullptr, 1);
        } else {
            std::int32_t const n = pvalStep->pvalParent->FindIndexWhere(
                [](CPValue* pvalSub, void const* pv) { return pvalSub == pv; }, pvalStep);
            pval->AddSubvalue(n < 0 ? 0 : n, nullptr, 1);
        }
        bAdded = 1;
    }
    return bAdded;
}

char* CPValue::BuildThisValuesMoniker(char* buf) {
    if (buf == nullptr) return nullptr;
    std::string const text = StepsFromTop();
    std::memcpy(buf, text.c_str(), text.size() + 1);
    return buf;
}

void CPValue::BuildThisValuesMoniker(CPString* pstr) {
    if (pstr != nullptr) *pstr = StepsFromTop().c_str();
}

// The file form
// -----------------------------------------------------------------------------------------

std::ostream& operator<<(std::ostream& out, CPValue& val) {
    out.put(static_cast<char>(CPValue::kFileMagic));
    out.put(static_cast<char>(CPValue::kFileVersion));
    out << static_cast<Token const&>(val);
    if (val.IsCollection() != 0) {
        std::uint32_t const n = val.GetSubvalueCount();
        PutLE(out, n, 4);
        for (std::uint32_t i = 0; i < n; ++i)
            out << *val.GetSubvalueByIndex(i);
    }
    PutText(out, UnitText(val.punstrUnits));
    PutText(out, Name(val));
    PutLE(out, static_cast<std::uint16_t>(val.nSelector), 2);
    return out;
}

std::istream& operator>>(std::istream& in, CPValue& val) {
    val.ReadFrom(in, 0);
    return in;
}

// A unit text that the scanner cannot read at all makes the data unreadable
// rather than passing the scanner's complaint on.
void CPValue::SetUnitsRead(std::string const& units) {
    try {
        _set_punstrUnits(units.c_str());
    } catch (Exception const&) {
        Unreadable();
    }
}

void CPValue::ReadFrom(std::istream& in, int nDepth) {
    if (nDepth > kMaxFileDepth) Unreadable();
    // Data that ends is unreadable; data of another kind has no version.
    if (GetLE(in, 1) != kFileMagic || GetLE(in, 1) != kFileVersion) throw Exception(401, nullptr);
    Token tok;
    in >> tok;
    // The value's place in a graph is not part of its file form.
    CPValue* const pvalKeptParent = pvalParent;
    if (tok._get_nDataType() != TY_COLLECTION) {
        Copy(tok);
    } else {
        Initialize();
        std::uint32_t const n = GetLE(in, 4);
        PromoteToCollection(0);
        for (std::uint32_t i = 0; i < n; ++i) {
            auto* const pvalThe = new (std::nothrow) CPValue;
            SV_FAIL_IF_NIL(pvalThe, "pvalThe");
            pvalThe->AddRef();
            try {
                pvalThe->ReadFrom(in, nDepth + 1);
            } catch (...) {
                pvalThe->Release();
                throw;
            }
            AddSubvalue(pvalThe, nullptr, 0);
            pvalThe->Release();
        }
    }
    pvalParent = pvalKeptParent;
    std::string const units = GetText(in);
    std::string const name = GetText(in);
    if (!units.empty()) SetUnitsRead(units);
    if (!name.empty()) _set_szName(name.c_str());
    _set_nSelector(static_cast<short>(GetLE(in, 2)), 1);
}

// Arithmetic and comparison
// ------------------------------------------------------------------------

namespace {

constexpr char kEmptyText[] = "<empty>";
// Room of each half of a string sum.
constexpr std::size_t kSumText = 1024;

bool HasUnits(UnitString const* punstr) {
    return punstr != nullptr && punstr->Length() != 0;
}

bool IsStringPair(std::uint16_t ta, std::uint16_t tb) {
    return ta != tb && (ta == TY_STRING || tb == TY_STRING);
}

std::uint16_t Higher(std::uint16_t ta, std::uint16_t tb) {
    return ta > tb ? ta : tb;
}

// Integer arithmetic wraps as the machine's 32-bit words do.
std::int32_t Wrap(std::int64_t n) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(n)));
}

std::int64_t IntDivide(std::int64_t a, std::int64_t b) {
    SV_ASSERT(b != 0, "nDivisor != 0");
    return a / b;
}

std::int64_t IntRemainder(std::int64_t a, std::int64_t b) {
    SV_ASSERT(b != 0, "nDivisor != 0");
    return a % b;
}

// A floating number cut to an integer; beyond the range of the remainder
// it stops at the range.
std::int64_t Truncated(double d) {
    constexpr double kLimit = 9.2e18;
    if (!(d > -kLimit)) return static_cast<std::int64_t>(-kLimit);
    if (d > kLimit) return static_cast<std::int64_t>(kLimit);
    return static_cast<std::int64_t>(d);
}

std::string TokenText(Token const& tok) {
    static char szText[ProxyValue::kTextSize];
    tok.FetchAsString(szText, sizeof szText, 6);
    return szText;
}

[[noreturn]] void ThrowInequivalent(char const* szWhat, UnitString const* punstrA,
                                    UnitString const* punstrB) {
    std::string const text = std::string("Cannot perform ") + szWhat +
                             ": Unit dimensions inequivalent |" + UnitText(punstrB) + "| , |" +
                             UnitText(punstrA) + "|";
    throw Exception(1344, text.c_str());
}

// Nothing has been computed when this throws.
void RequireSameDimensions(char const* szWhat, UnitString* punstrA, UnitString* punstrB) {
    if (!HasUnits(punstrA) || !HasUnits(punstrB)) return;
    if (punstrA->EquivalentDimensions(punstrB) == 0) ThrowInequivalent(szWhat, punstrA, punstrB);
}

} // namespace

Token* CPValue::FetchToken() {
    ProxyValue* const p = Bound();
    if (p == nullptr) return this;
    auto* const ptokReturn = new (std::nothrow) Token;
    SV_FAIL_IF_NIL(ptokReturn, "ptokReturn");
    switch (static_cast<std::uint16_t>(p->GetDataType())) {
    case TY_CHAR:
        ptokReturn->SetValue(p->FetchChar(), 0);
        break;
    case TY_BOOL:
        ptokReturn->SetValueBool(p->FetchBool());
        break;
    case TY_SHORT:
        ptokReturn->SetValue(p->FetchShort(), 0);
        break;
    case TY_LONG:
        ptokReturn->SetValue(p->FetchLong(), 0);
        break;
    case TY_FLOAT:
        ptokReturn->SetValue(p->FetchFloat(), 0);
        break;
    case TY_DOUBLE:
        ptokReturn->SetValue(p->FetchDouble());
        break;
    case TY_STRING: {
        static char szText[ProxyValue::kTextSize];
        szText[0] = '\0';
        p->FetchAsString(szText);
        ptokReturn->SetValue(szText);
        break;
    }
    default:
        break;
    }
    return ptokReturn;
}

void CPValue::ReleaseToken(Token* ptok, CPValue* pval) {
    if (ptok == nullptr || ptok == static_cast<Token*>(pval) ||
        ptok == static_cast<Token*>(pval->GetApplicableValue()))
        return;
    delete ptok;
}

Token* CPValue::ValueToSIToken(CPValue* pval, short bDelta) {
    CPValue* const pvalThe = pval->GetApplicableValue();
    UnitString* const punstr = pvalThe->punstrUnits;
    if (!HasUnits(punstr)) return pvalThe->FetchToken();
    UnitString* const punstrBase = punstr->BaseUnits();
    if (punstrBase == nullptr || UnitText(punstrBase) == UnitText(punstr)) {
        if (punstrBase != nullptr) punstrBase->Release();
        return pvalThe->FetchToken();
    }
    Token* const ptokOwn = pvalThe->FetchToken();
    auto* const ptokSIValue = new (std::nothrow) Token(*ptokOwn);
    ReleaseToken(ptokOwn, pvalThe);
    SV_FAIL_IF_NIL(ptokSIValue, "ptokSIValue");
    try {
        ptokSIValue->SetValue(
            punstr->ConvertTo(*punstrBase, pvalThe->FetchDouble(), nullptr, bDelta));
    } catch (...) {
        delete ptokSIValue;
        punstrBase->Release();
        throw;
    }
    punstrBase->Release();
    return ptokSIValue;
}

void CPValue::GetSITokens(Token** pptokA, CPValue* pvalA, Token** pptokB, CPValue* pvalB,
                          short nOperation) {
    CPValue* const pA = pvalA->GetApplicableValue();
    CPValue* const pB = pvalB->GetApplicableValue();
    short bDeltaA = 1;
    short bDeltaB = 1;
    if (nOperation == 0) {
        bDeltaA = pA->IsDelta();
        bDeltaB = pB->IsDelta();
    } else if (nOperation == 2) {
        bDeltaA = pA->IsDelta();
        bDeltaB = bDeltaA != 0 && pB->IsDelta() == 0 ? 0 : 1;
    }
    bool const bBoth = HasUnits(pA->punstrUnits) && HasUnits(pB->punstrUnits);
    bool bConvert = bBoth;
    // A dividend with units over a plain divisor keeps its own units.
    if (nOperation == 3) bConvert = !(HasUnits(pA->punstrUnits) && !HasUnits(pB->punstrUnits));
    if (!bConvert) {
        *pptokA = pA->FetchToken();
        *pptokB = pB->FetchToken();
        return;
    }
    *pptokA = ValueToSIToken(pA, bDeltaA);
    try {
        *pptokB = ValueToSIToken(pB, bDeltaB);
    } catch (...) {
        ReleaseToken(*pptokA, pA);
        throw;
    }
}

void CPValue::AssignResultantUnits(CPValue* a, CPValue* b, CPValue* r, char nOperation) {
    CPValue* const pA = a->GetApplicableValue();
    CPValue* const pB = b->GetApplicableValue();
    CPValue* const pR = r->GetApplicableValue();
    // A result may be one of its operands: their units are held first.
    UnitString* const punstrA = HasUnits(pA->punstrUnits) ? pA->punstrUnits : nullptr;
    UnitString* const punstrB = HasUnits(pB->punstrUnits) ? pB->punstrUnits : nullptr;
    short const bDelta = pA->IsDelta() != 0 && pB->IsDelta() != 0 ? 1 : 0;
    if (punstrA != nullptr) punstrA->AddRef();
    if (punstrB != nullptr) punstrB->AddRef();
    auto const assign = [pR](UnitString* punstr, short bDeltaOfResult) {
        pR->_set_punstrUnits(static_cast<UnitString*>(nullptr));
        if (punstr != nullptr) pR->AssignUnits(UnitText(punstr).c_str(), bDeltaOfResult);
    };
    try {
        if (punstrA == nullptr && punstrB == nullptr) {
            assign(nullptr, 0);
        } else if (punstrA == nullptr) {
            if (nOperation != UnitString::opDivide) {
                assign(punstrB, 0);
            } else {
                UnitString* const punstrQ =
                    UnitString::PerformOperation(nullptr, punstrB, UnitString::opDivide);
                assign(punstrQ, 0);
                if (punstrQ != nullptr) punstrQ->Release();
            }
        } else if (punstrB == nullptr) {
            pR->_set_punstrUnits(punstrA);
        } else if (nOperation == UnitString::opAdd || nOperation == UnitString::opSubtract) {
            // The number is in base units: it comes back to the first's units,
            // whose object the result shares.
            UnitString* const punstrBase = punstrA->BaseUnits();
            if (pR->IsNumericType() == 0) {
                pR->_set_punstrUnits(punstrBase);
                punstrBase->Release();
            } else {
                double d = 0.0;
                try {
                    d = punstrBase->ConvertTo(*punstrA, pR->FetchDouble(), nullptr, bDelta);
                } catch (...) {
                    punstrBase->Release();
                    throw;
                }
                punstrBase->Release();
                pR->SetValue(d);
                pR->_set_punstrUnits(punstrA);
            }
        } else {
            UnitString* const punstrR = UnitString::PerformOperation(punstrA, punstrB, nOperation);
            assign(punstrR, 0);
            if (punstrR != nullptr) punstrR->Release();
        }
    } catch (...) {
        if (punstrA != nullptr) punstrA->Release();
        if (punstrB != nullptr) punstrB->Release();
        throw;
    }
    if (punstrA != nullptr) punstrA->Release();
    if (punstrB != nullptr) punstrB->Release();
}

namespace {

// The result of one scalar operation in the type of the operands' tokens.
struct ScalarStep {
    Token const& a;
    Token const& b;
    CPValue& r;
};

void AddStep(ScalarStep s, std::uint16_t nType) {
    static char szLeft[kSumText];
    static char szRight[kSumText];
    switch (nType) {
    case TY_SHORT:
        s.r.Set(static_cast<short>(s.a.FetchShort() + s.b.FetchShort()));
        break;
    case TY_LONG:
        s.r.Set(Wrap(std::int64_t{s.a.FetchLong()} + s.b.FetchLong()));
        break;
    case TY_FLOAT:
        s.r.Set(s.a.FetchFloat() + s.b.FetchFloat());
        break;
    case TY_DOUBLE:
        s.r.Set(s.a.FetchDouble() + s.b.FetchDouble());
        break;
    case TY_CHAR:
        s.r.Set(static_cast<char>(s.a.FetchChar() + s.b.FetchChar()));
        break;
    case TY_STRING:
        szLeft[0] = '\0';
        std::strncat(szLeft, TokenText(s.a).c_str(), sizeof szLeft - 1);
        szRight[0] = '\0';
        std::strncat(szRight, TokenText(s.b).c_str(), sizeof szRight - 1);
        std::strncat(szLeft, szRight, sizeof szLeft - 1 - std::strlen(szLeft));
        s.r.Set(static_cast<char const*>(szLeft));
        break;
    case TY_BOOL:
        s.r.SetBool(s.a.FetchBool() != 0 || s.b.FetchBool() != 0 ? 1 : 0);
        break;
    default:
        break;
    }
}

void SubStep(ScalarStep s, std::uint16_t nType) {
    switch (nType) {
    case TY_SHORT:
        s.r.Set(static_cast<short>(s.a.FetchShort() - s.b.FetchShort()));
        break;
    case TY_LONG:
        s.r.Set(Wrap(std::int64_t{s.a.FetchLong()} - s.b.FetchLong()));
        break;
    case TY_FLOAT:
        s.r.Set(s.a.FetchFloat() - s.b.FetchFloat());
        break;
    case TY_DOUBLE:
        s.r.Set(s.a.FetchDouble() - s.b.FetchDouble());
        break;
    case TY_CHAR:
        s.r.Set(static_cast<char>(s.a.FetchChar() - s.b.FetchChar()));
        break;
    case TY_STRING:
        s.r.Set(static_cast<short>(0));
        break;
    case TY_BOOL:
        s.r.SetBool(s.a.FetchBool() != s.b.FetchBool() ? 1 : 0);
        break;
    default:
        break;
    }
}

void MulStep(ScalarStep s, std::uint16_t nType) {
    switch (nType) {
    case TY_SHORT:
        s.r.Set(static_cast<short>(s.a.FetchShort() * s.b.FetchShort()));
        break;
    case TY_LONG:
        s.r.Set(Wrap(std::int64_t{s.a.FetchLong()} * s.b.FetchLong()));
        break;
    case TY_FLOAT:
        s.r.Set(s.a.FetchFloat() * s.b.FetchFloat());
        break;
    case TY_DOUBLE:
        s.r.Set(s.a.FetchDouble() * s.b.FetchDouble());
        break;
    case TY_CHAR:
        s.r.Set(static_cast<char>(s.a.FetchChar() * s.b.FetchChar()));
        break;
    case TY_STRING:
        AddStep(s, TY_STRING);
        break;
    case TY_BOOL:
        s.r.SetBool(s.a.FetchBool() != 0 && s.b.FetchBool() != 0 ? 1 : 0);
        break;
    default:
        break;
    }
}

void DivStep(ScalarStep s, std::uint16_t nType) {
    switch (nType) {
    case TY_SHORT:
        s.r.Set(static_cast<short>(IntDivide(s.a.FetchShort(), s.b.FetchShort())));
        break;
    case TY_LONG:
        s.r.Set(Wrap(IntDivide(s.a.FetchLong(), s.b.FetchLong())));
        break;
    case TY_FLOAT:
        s.r.Set(s.a.FetchFloat() / s.b.FetchFloat());
        break;
    case TY_DOUBLE:
        s.r.Set(s.a.FetchDouble() / s.b.FetchDouble());
        break;
    case TY_CHAR:
        s.r.Set(static_cast<char>(IntDivide(s.a.FetchChar(), s.b.FetchChar())));
        break;
    case TY_BOOL:
        s.r.SetBool(static_cast<short>(IntDivide(s.a.FetchBool(), s.b.FetchBool()) != 0 ? 1 : 0));
        break;
    default:
        s.r.Set(static_cast<short>(0));
        break;
    }
}

void ModStep(ScalarStep s, std::uint16_t nType) {
    switch (nType) {
    case TY_FLOAT:
    case TY_DOUBLE:
        s.r.Set(static_cast<double>(
            IntRemainder(Truncated(s.a.FetchDouble()), Truncated(s.b.FetchDouble()))));
        break;
    case TY_SHORT:
        s.r.Set(static_cast<short>(IntRemainder(s.a.FetchShort(), s.b.FetchShort())));
        break;
    case TY_LONG:
        s.r.Set(Wrap(IntRemainder(s.a.FetchLong(), s.b.FetchLong())));
        break;
    case TY_CHAR:
        s.r.Set(static_cast<char>(IntRemainder(s.a.FetchChar(), s.b.FetchChar())));
        break;
    case TY_STRING:
        s.r.Set("");
        break;
    case TY_BOOL:
        s.r.SetBool(static_cast<short>(IntDivide(s.a.FetchBool(), s.b.FetchBool()) != 0 ? 1 : 0));
        break;
    default:
        break;
    }
}

} // namespace

void CPValue::ScalarArithmetic(Arith op, CPValue* pvalA, CPValue* pvalB, CPValue& r) {
    std::uint16_t const nWorking = Higher(pvalA->GetType(), pvalB->GetType());
    short nCode = 2;
    char nUnits = UnitString::opAdd;
    switch (op) {
    case Arith::kAdd:
        RequireSameDimensions("add", pvalA->punstrUnits, pvalB->punstrUnits);
        break;
    case Arith::kSub:
        RequireSameDimensions("subtraction", pvalA->punstrUnits, pvalB->punstrUnits);
        break;
    case Arith::kMod:
        RequireSameDimensions("remainder", pvalA->punstrUnits, pvalB->punstrUnits);
        nCode = 1;
        break;
    case Arith::kMul:
        nCode = 1;
        nUnits = UnitString::opMultiply;
        break;
    case Arith::kDiv:
        nCode = 3;
        nUnits = UnitString::opDivide;
        break;
    }
    Token* ptokA = nullptr;
    Token* ptokB = nullptr;
    GetSITokens(&ptokA, pvalA, &ptokB, pvalB, nCode);
    try {
        ScalarStep const step{*ptokA, *ptokB, r};
        std::uint16_t const nType = Higher(ptokA->_get_nDataType(), ptokB->_get_nDataType());
        switch (op) {
        case Arith::kAdd:
            AddStep(step, nType);
            break;
        case Arith::kSub:
            SubStep(step, nType);
            break;
        case Arith::kMul:
            MulStep(step, nType);
            break;
        case Arith::kDiv:
            DivStep(step, nType);
            break;
        case Arith::kMod:
            ModStep(step, nType);
            break;
        }
        AssignResultantUnits(pvalA, pvalB, &r, nUnits);
    } catch (...) {
        ReleaseToken(ptokA, pvalA);
        ReleaseToken(ptokB, pvalB);
        throw;
    }
    ReleaseToken(ptokA, pvalA);
    ReleaseToken(ptokB, pvalB);
    r.SetType(nWorking);
}

void CPValue::CollectionArithmetic(Arith op, CPValue* pvalColl, CPValue* pvalScalar, CPValue& r) {
    // The scalar may be the result itself, which the copy overwrites.
    CPValue valScalar(*pvalScalar);
    r.Copy(*pvalColl);
    std::uint32_t const n = r.GetSubvalueCount();
    for (std::uint32_t i = 0; i < n; ++i) {
        CPValue* const pvalSub = r.GetSubvalueByIndex(i);
        switch (op) {
        case Arith::kAdd:
            *pvalSub += valScalar;
            break;
        case Arith::kSub:
            *pvalSub -= valScalar;
            break;
        case Arith::kMul:
            *pvalSub *= valScalar;
            break;
        case Arith::kDiv:
            *pvalSub /= valScalar;
            break;
        case Arith::kMod:
            break;
        }
    }
}

void CPValue::AddOperator(CPValue& a, CPValue& b, CPValue* pResult) {
    CPValue& r = pResult != nullptr ? *pResult : *this;
    CPValue* const pA = a.GetApplicableValue();
    CPValue* const pB = b.GetApplicableValue();
    std::uint16_t const ta = pA->GetType();
    std::uint16_t const tb = pB->GetType();
    if (ta == TY_UNDEFINED) return r.Copy(*pB);
    if (tb == TY_UNDEFINED) return r.Copy(*pA);
    if (IsStringPair(ta, tb)) {
        std::string const text = Text(*pA, 6) + Text(*pB, 6);
        return r.Set(text.c_str());
    }
    if (ta == TY_COLLECTION && tb == TY_COLLECTION) return r.Set(static_cast<short>(0));
    if (ta == TY_COLLECTION) return CollectionArithmetic(Arith::kAdd, pA, pB, r);
    if (tb == TY_COLLECTION) return CollectionArithmetic(Arith::kAdd, pB, pA, r);
    ScalarArithmetic(Arith::kAdd, pA, pB, r);
}

void CPValue::SubOperator(CPValue& a, CPValue& b, CPValue& r) {
    CPValue* const pA = a.GetApplicableValue();
    CPValue* const pB = b.GetApplicableValue();
    std::uint16_t const ta = pA->GetType();
    std::uint16_t const tb = pB->GetType();
    if (ta == TY_UNDEFINED) return r.Copy(*pB);
    if (tb == TY_UNDEFINED) return r.Copy(*pA);
    if (IsStringPair(ta, tb)) return r.Set(static_cast<short>(0));
    if (ta == TY_COLLECTION && tb == TY_COLLECTION) return r.Set(static_cast<short>(0));
    if (ta == TY_COLLECTION) return CollectionArithmetic(Arith::kSub, pA, pB, r);
    if (tb == TY_COLLECTION) return CollectionArithmetic(Arith::kSub, pB, pA, r);
    ScalarArithmetic(Arith::kSub, pA, pB, r);
}

void CPValue::MulOperator(CPValue& a, CPValue& b, CPValue& r) {
    CPValue* const pA = a.GetApplicableValue();
    CPValue* const pB = b.GetApplicableValue();
    std::uint16_t const ta = pA->GetType();
    std::uint16_t const tb = pB->GetType();
    if (ta == TY_UNDEFINED || tb == TY_UNDEFINED) return r.Set(kEmptyText);
    if (IsStringPair(ta, tb)) return r.Set(static_cast<short>(0));
    if (ta == TY_COLLECTION) return CollectionArithmetic(Arith::kMul, pA, pB, r);
    if (tb == TY_COLLECTION) return CollectionArithmetic(Arith::kMul, pB, pA, r);
    ScalarArithmetic(Arith::kMul, pA, pB, r);
}

void CPValue::DivOperator(CPValue& a, CPValue& b, CPValue& r) {
    CPValue* const pA = a.GetApplicableValue();
    CPValue* const pB = b.GetApplicableValue();
    std::uint16_t const ta = pA->GetType();
    std::uint16_t const tb = pB->GetType();
    if (ta == TY_UNDEFINED || tb == TY_UNDEFINED) return r.Set(kEmptyText);
    bool const bFloating = tb == TY_FLOAT || tb == TY_DOUBLE;
    if (tb != TY_COLLECTION && (bFloating ? pB->GetAsDouble() == 0.0 : pB->GetAsLong() == 0))
        throw Exception(501, nullptr);
    if (IsStringPair(ta, tb)) return r.Set(static_cast<short>(0));
    if (ta == TY_COLLECTION && tb == TY_COLLECTION) return r.Set(static_cast<short>(0));
    if (ta == TY_COLLECTION) return CollectionArithmetic(Arith::kDiv, pA, pB, r);
    if (tb == TY_COLLECTION) return CollectionArithmetic(Arith::kDiv, pB, pA, r);
    ScalarArithmetic(Arith::kDiv, pA, pB, r);
}

void CPValue::ModOperator(CPValue& a, CPValue& b, CPValue& r) {
    CPValue* const pA = a.GetApplicableValue();
    CPValue* const pB = b.GetApplicableValue();
    std::uint16_t const ta = pA->GetType();
    std::uint16_t const tb = pB->GetType();
    if (ta == TY_UNDEFINED || tb == TY_UNDEFINED) return r.Set(kEmptyText);
    if (IsStringPair(ta, tb) || ta == TY_COLLECTION || tb == TY_COLLECTION)
        return r.Set(static_cast<short>(0));
    ScalarArithmetic(Arith::kMod, pA, pB, r);
}

CPValue& CPValue::operator+=(CPValue& b) {
    AddOperator(*this, b, this);
    return *this;
}

CPValue& CPValue::operator-=(CPValue& b) {
    SubOperator(*this, b, *this);
    return *this;
}

CPValue& CPValue::operator*=(CPValue& b) {
    MulOperator(*this, b, *this);
    return *this;
}

CPValue& CPValue::operator/=(CPValue& b) {
    DivOperator(*this, b, *this);
    return *this;
}

// Logic, negation ---------------------------------------------------------------------------------

void CPValue::LogicOperator(Logic op, CPValue& a, CPValue& b, CPValue& r) {
    CPValue* const pA = a.GetApplicableValue();
    CPValue* const pB = b.GetApplicableValue();
    std::uint16_t const ta = pA->GetType();
    std::uint16_t const tb = pB->GetType();
    if (ta == TY_UNDEFINED) return r.Copy(*pB);
    if (tb == TY_UNDEFINED) return r.Copy(*pA);
    if (IsStringPair(ta, tb) || ta == TY_COLLECTION || tb == TY_COLLECTION) return r.SetBool(0);
    bool const bA = pA->GetAsBool() != 0;
    bool const bB = pB->GetAsBool() != 0;
    bool bResult = false;
    switch (op) {
    case Logic::kOr:
        bResult = bA || bB;
        break;
    case Logic::kXor:
        bResult = bA != bB;
        break;
    case Logic::kAnd:
        bResult = bA && bB;
        break;
    }
    r.SetBool(bResult ? 1 : 0);
    r.GetApplicableValue()->_set_punstrUnits(static_cast<UnitString*>(nullptr));
    r.SetType(Higher(ta, tb));
}

void CPValue::OrOperator(CPValue& a, CPValue& b, CPValue& r) {
    LogicOperator(Logic::kOr, a, b, r);
}

void CPValue::XorOperator(CPValue& a, CPValue& b, CPValue& r) {
    LogicOperator(Logic::kXor, a, b, r);
}

void CPValue::AndOperator(CPValue& a, CPValue& b, CPValue& r) {
    LogicOperator(Logic::kAnd, a, b, r);
}

namespace {

// One or zero in the value's own numeric type; false for other types.
bool SetNumber(CPValue& r, std::uint16_t nType, double d) {
    switch (nType) {
    case TY_CHAR:
        r.Set(static_cast<char>(d));
        return true;
    case TY_BOOL:
        r.SetBool(d != 0.0 ? 1 : 0);
        return true;
    case TY_SHORT:
        r.Set(static_cast<short>(d));
        return true;
    case TY_LONG:
        r.Set(static_cast<std::int32_t>(d));
        return true;
    case TY_FLOAT:
        r.Set(static_cast<float>(d));
        return true;
    case TY_DOUBLE:
        r.Set(d);
        return true;
    default:
        return false;
    }
}

} // namespace

void CPValue::NotOperator(CPValue& a) {
    CPValue* const pA = a.GetApplicableValue();
    std::uint16_t const t = pA->GetType();
    if (t == TY_UNDEFINED) return Copy(a);
    bool const bFloating = t == TY_FLOAT || t == TY_DOUBLE;
    bool const bZero = bFloating ? pA->GetAsDouble() == 0.0 : pA->GetAsLong() == 0;
    if (SetNumber(*this, t, bZero ? 1.0 : 0.0))
        GetApplicableValue()->_set_punstrUnits(static_cast<UnitString*>(nullptr));
}

void CPValue::NegOperator(CPValue& a) {
    CPValue* const pA = a.GetApplicableValue();
    std::uint16_t const t = pA->GetType();
    if (t == TY_UNDEFINED) return Copy(a);
    if (t == TY_COLLECTION) {
        Copy(*pA);
        std::uint32_t const n = GetSubvalueCount();
        for (std::uint32_t i = 0; i < n; ++i) {
            CPValue* const pvalSub = GetSubvalueByIndex(i);
            pvalSub->NegOperator(*pvalSub);
        }
        return;
    }
    if (t < TY_CHAR || t > TY_DOUBLE) return;
    // Read before the copy, which may be of this value itself.
    double const d = pA->GetAsDouble();
    std::int32_t const n = pA->GetAsLong();
    Copy(*pA);
    switch (t) {
    case TY_FLOAT:
    case TY_DOUBLE:
        SetNumber(*this, t, -d);
        break;
    case TY_LONG:
        Set(Wrap(-std::int64_t{n}));
        break;
    default:
        SetNumber(*this, t, static_cast<double>(Wrap(-std::int64_t{n})));
        break;
    }
}

// Comparison
// ------------------------------------------------------------------------------------------

int CPValue::Compare(CPValue* pvalA, CPValue* pvalB, bool bOrdering) {
    UnitString* const punstrA = pvalA->punstrUnits;
    UnitString* const punstrB = pvalB->punstrUnits;
    if (HasUnits(punstrA) && HasUnits(punstrB) && punstrA->EquivalentDimensions(punstrB) == 0) {
        if (bOrdering) ThrowInequivalent("comparison", punstrA, punstrB);
        return 2;
    }
    Token* ptokA = nullptr;
    Token* ptokB = nullptr;
    GetSITokens(&ptokA, pvalA, &ptokB, pvalB, 0);
    int nResult = 0;
    std::uint16_t const nType = Higher(ptokA->_get_nDataType(), ptokB->_get_nDataType());
    if (nType == TY_FLOAT || nType == TY_DOUBLE) {
        double const a = ptokA->FetchDouble();
        double const b = ptokB->FetchDouble();
        // The band is |b| x dbTolerance either side of b.
        double const t = (b < 0.0 ? -b : b) * dbTolerance;
        nResult = a < b - t ? -1 : (a > b + t ? 1 : 0);
    } else if (nType == TY_STRING) {
        int const n = TokenText(*ptokA).compare(TokenText(*ptokB));
        nResult = n < 0 ? -1 : (n > 0 ? 1 : 0);
    } else {
        std::int32_t const a = ptokA->FetchLong();
        std::int32_t const b = ptokB->FetchLong();
        nResult = a < b ? -1 : (a > b ? 1 : 0);
    }
    ReleaseToken(ptokA, pvalA);
    ReleaseToken(ptokB, pvalB);
    return nResult;
}

short CPValue::IsEquivalentTo(CPValue* pval) {
    SV_FAIL_IF_NIL(pval, "pval");
    CPValue* const pA = GetApplicableValue();
    CPValue* const pB = pval->GetApplicableValue();
    std::uint16_t const ta = pA->GetType();
    std::uint16_t const tb = pB->GetType();
    if (ta == TY_UNDEFINED || tb == TY_UNDEFINED) return ta == tb ? 1 : 0;
    if (IsStringPair(ta, tb)) return 0;
    if (ta == TY_STRING && tb == TY_STRING) {
        if (Text(*pA, 6) != Text(*pB, 6)) return 0;
        bool const bUnitsA = HasUnits(pA->punstrUnits);
        bool const bUnitsB = HasUnits(pB->punstrUnits);
        if (!bUnitsA && !bUnitsB) return 1;
        return bUnitsA && bUnitsB &&
                       pA->punstrUnits->_get_nUnitID() == pB->punstrUnits->_get_nUnitID()
                   ? 1
                   : 0;
    }
    if (ta == TY_COLLECTION && tb == TY_COLLECTION) {
        std::uint32_t const n = pA->GetSubvalueCount();
        if (n != pB->GetSubvalueCount()) return 0;
        for (std::uint32_t i = 0; i < n; ++i)
            if (pA->GetSubvalueByIndex(i)->IsEquivalentTo(pB->GetSubvalueByIndex(i)) == 0) return 0;
        return 1;
    }
    if (ta == TY_COLLECTION || tb == TY_COLLECTION) return 0;
    return Compare(pA, pB, false) == 0 ? 1 : 0;
}

short CPValue::Ordered(CPValue* pval, Order order) {
    SV_FAIL_IF_NIL(pval, "pval");
    CPValue* const pA = GetApplicableValue();
    CPValue* const pB = pval->GetApplicableValue();
    std::uint16_t const ta = pA->GetType();
    std::uint16_t const tb = pB->GetType();
    if (ta == TY_UNDEFINED || tb == TY_UNDEFINED || IsStringPair(ta, tb) || ta == TY_COLLECTION ||
        tb == TY_COLLECTION)
        return 0;
    int const n = Compare(pA, pB, true);
    switch (order) {
    case Order::kLess:
        return n < 0 ? 1 : 0;
    case Order::kLE:
        return n <= 0 ? 1 : 0;
    case Order::kGreater:
        return n > 0 ? 1 : 0;
    case Order::kGE:
        return n >= 0 ? 1 : 0;
    }
    return 0;
}

short CPValue::IsGreaterThan(CPValue* pval) {
    return Ordered(pval, Order::kGreater);
}

short CPValue::IsGreaterThanOrEqualTo(CPValue* pval) {
    return Ordered(pval, Order::kGE);
}

short CPValue::IsLessThan(CPValue* pval) {
    return Ordered(pval, Order::kLess);
}

short CPValue::IsLessThanOrEqualTo(CPValue* pval) {
    return Ordered(pval, Order::kLE);
}

void CPValue::OrderOperator(Order order, CPValue& a, CPValue& b, CPValue& r) {
    short const bResult = a.Ordered(&b, order);
    r.Set(bResult);
    r.GetApplicableValue()->_set_punstrUnits(static_cast<UnitString*>(nullptr));
}

void CPValue::LessOperator(CPValue& a, CPValue& b, CPValue& r) {
    OrderOperator(Order::kLess, a, b, r);
}

void CPValue::LEOperator(CPValue& a, CPValue& b, CPValue& r) {
    OrderOperator(Order::kLE, a, b, r);
}

void CPValue::GreaterOperator(CPValue& a, CPValue& b, CPValue& r) {
    OrderOperator(Order::kGreater, a, b, r);
}

void CPValue::GEOperator(CPValue& a, CPValue& b, CPValue& r) {
    OrderOperator(Order::kGE, a, b, r);
}

// Proxy values
// -----------------------------------------------------------------------------------------

short CPValue::BindToProxy(ProxyValue* p) {
    pproxy = p;
    PutBits(kBoundToProxy, p != nullptr ? 1 : 0);
    return 1;
}

std::uint16_t CPValue::DataTypeThrough() const {
    if (ProxyValue* const p = Bound()) return static_cast<std::uint16_t>(p->GetDataType());
    return nDataType;
}

void CPValue::_set_nDataType(std::uint16_t n) {
    if (ProxyValue* const p = Bound()) {
        p->SetDataType(static_cast<short>(n));
        return;
    }
    Token::_set_nDataType(n);
}

void CPValue::CopyTokenThrough(CPValue& src) {
    Token* const ptok = src.FetchToken();
    if (ProxyValue* const p = Bound()) {
        p->SetFromToken(ptok);
    } else {
        Token::UnInitialize();
        Token::Copy(*ptok);
    }
    ReleaseToken(ptok, &src);
}

void CPValue::SetValue(char c, short nIndex) {
    if (ProxyValue* const p = Bound())
        p->SetValue(c);
    else
        Token::SetValue(c, nIndex);
}

void CPValue::SetValue(short n, short nIndex) {
    if (ProxyValue* const p = Bound())
        p->SetValue(n);
    else
        Token::SetValue(n, nIndex);
}

void CPValue::SetValue(std::int32_t n, short nIndex) {
    if (ProxyValue* const p = Bound())
        p->SetValue(n);
    else
        Token::SetValue(n, nIndex);
}

void CPValue::SetValue(float f, short nIndex) {
    if (ProxyValue* const p = Bound())
        p->SetValue(f);
    else
        Token::SetValue(f, nIndex);
}

void CPValue::SetValue(double d) {
    if (ProxyValue* const p = Bound())
        p->SetValue(d);
    else
        Token::SetValue(d);
}

void CPValue::SetValue(char const* sz) {
    if (ProxyValue* const p = Bound())
        p->SetValue(sz);
    else
        Token::SetValue(sz);
}

void CPValue::SetValueBool(short b) {
    if (ProxyValue* const p = Bound())
        p->SetValueBool(b);
    else
        Token::SetValueBool(b);
}

char CPValue::FetchChar(short nIndex) const {
    if (ProxyValue* const p = Bound()) return p->FetchChar();
    return Token::FetchChar(nIndex);
}

short CPValue::FetchShort(short nIndex) const {
    if (ProxyValue* const p = Bound()) return p->FetchShort();
    return Token::FetchShort(nIndex);
}

std::int32_t CPValue::FetchLong(short nIndex) const {
    if (ProxyValue* const p = Bound()) return p->FetchLong();
    return Token::FetchLong(nIndex);
}

float CPValue::FetchFloat(short nIndex) const {
    if (ProxyValue* const p = Bound()) return p->FetchFloat();
    return Token::FetchFloat(nIndex);
}

double CPValue::FetchDouble() const {
    if (ProxyValue* const p = Bound()) return p->FetchDouble();
    return Token::FetchDouble();
}

short CPValue::FetchBool() const {
    if (ProxyValue* const p = Bound()) return p->FetchBool();
    return Token::FetchBool();
}

void CPValue::FetchAsString(char* buf, char nPrecision) const {
    if (ProxyValue* const p = Bound()) {
        p->FetchAsString(buf);
        return;
    }
    Token::FetchAsString(buf, nPrecision);
}

void CPValue::FetchAsString(char* buf, std::size_t nSize, char nPrecision) const {
    ProxyValue* const p = Bound();
    if (p == nullptr) {
        Token::FetchAsString(buf, nSize, nPrecision);
        return;
    }
    if (nSize == 0) return;
    static char szText[ProxyValue::kTextSize];
    szText[0] = '\0';
    p->FetchAsString(szText);
    std::size_t const nLength = std::strlen(szText);
    std::size_t const n = nLength < nSize ? nLength : nSize - 1;
    std::memcpy(buf, szText, n);
    buf[n] = '\0';
}

void CPValue::FetchStringLiteral(char* buf) const {
    if (ProxyValue* const p = Bound()) {
        p->FetchStringLiteral(buf);
        return;
    }
    Token::FetchStringLiteral(buf);
}

short CPValue::IsStringLiteral() const {
    if (ProxyValue* const p = Bound()) return p->IsStringLiteral();
    return Token::IsStringLiteral();
}

short CPValue::IsNumericType() const {
    if (ProxyValue* const p = Bound()) return p->IsNumericType();
    return Token::IsNumericType();
}

// ProxyValue
// --------------------------------------------------------------------------------------------

short ProxyValue::CopyToToken(Token* ptok) {
    SV_FAIL_IF_NIL(ptok, "ptok");
    ptok->SetValue(std::int32_t{1234}, 0);
    return 1;
}

short ProxyValue::SetFromToken(Token* ptok) {
    SV_FAIL_IF_NIL(ptok, "ptok");
    static char szWork[kTextSize];
    SetDataType(static_cast<short>(ptok->_get_nDataType()));
    ptok->FetchAsString(szWork, sizeof szWork, 6);
    return SetFromString(szWork);
}

namespace {

// What "%d" and "%ld" read, wrapping as a 32-bit word does.
std::int32_t LeadingInteger(char const* sz) {
    return Wrap(std::strtoll(sz, nullptr, 10));
}

} // namespace

short ProxyValue::SetFromString(char const* sz) {
    if (sz == nullptr) return 0;
    if (std::strstr(sz, kEmptyText) != nullptr) return SetDataType(TY_UNDEFINED);
    switch (static_cast<std::uint16_t>(GetDataType())) {
    case TY_SHORT:
        return SetValue(static_cast<short>(LeadingInteger(sz)));
    case TY_LONG:
        return SetValue(LeadingInteger(sz));
    case TY_FLOAT:
        return SetValue(std::strtof(sz, nullptr));
    case TY_DOUBLE:
        return SetValue(std::strtod(sz, nullptr));
    case TY_CHAR:
        return SetValue(sz[0]);
    case TY_BOOL:
        return SetValueBool(LeadingInteger(sz) != 0 ? 1 : 0);
    case TY_STRING:
        return SetValue(sz);
    default:
        return 0;
    }
}

short ProxyValue::IsStringLiteral() {
    if (GetDataType() != static_cast<short>(TY_STRING)) return 0;
    static char szText[kTextSize];
    szText[0] = '\0';
    FetchAsString(szText);
    return szText[0] == '"' ? 1 : 0;
}

// TokenProxyValue
// ----------------------------------------------------------------------------------------

TokenProxyValue::~TokenProxyValue() {
    SetToken(nullptr);
}

void TokenProxyValue::CreateToken() {
    auto* const ptokNew = new (std::nothrow) Token;
    SV_FAIL_IF_NIL(ptokNew, "ptok");
    SetToken(ptokNew);
}

void TokenProxyValue::SetToken(Token* ptokNew) {
    if (ptokNew != nullptr) ptokNew->AddRef();
    if (ptok != nullptr) ptok->Release();
    ptok = ptokNew;
}

short TokenProxyValue::GetDataType() {
    return ptok != nullptr ? static_cast<short>(ptok->_get_nDataType()) : 0;
}

short TokenProxyValue::SetDataType(short n) {
    if (ptok == nullptr) return 0;
    ptok->_set_nDataType(static_cast<std::uint16_t>(n));
    return 1;
}

short TokenProxyValue::SetValue(char const* sz) {
    if (ptok == nullptr) return 0;
    ptok->SetValue(sz);
    return 1;
}

short TokenProxyValue::SetValue(double d) {
    if (ptok == nullptr) return 0;
    ptok->SetValue(d);
    return 1;
}

short TokenProxyValue::SetValue(float f) {
    if (ptok == nullptr) return 0;
    ptok->SetValue(f, 0);
    return 1;
}

short TokenProxyValue::SetValue(std::int32_t n) {
    if (ptok == nullptr) return 0;
    ptok->SetValue(n, 0);
    return 1;
}

short TokenProxyValue::SetValue(short n) {
    if (ptok == nullptr) return 0;
    ptok->SetValue(n, 0);
    return 1;
}

short TokenProxyValue::SetValue(char c) {
    if (ptok == nullptr) return 0;
    ptok->SetValue(c, 0);
    return 1;
}

short TokenProxyValue::SetValueBool(short b) {
    if (ptok == nullptr) return 0;
    ptok->SetValueBool(b);
    return 1;
}

char TokenProxyValue::FetchChar() {
    return ptok != nullptr ? ptok->FetchChar(0) : '\0';
}

short TokenProxyValue::FetchShort() {
    return ptok != nullptr ? ptok->FetchShort(0) : 0;
}

short TokenProxyValue::FetchBool() {
    return ptok != nullptr ? ptok->FetchBool() : 0;
}

std::int32_t TokenProxyValue::FetchLong() {
    return ptok != nullptr ? ptok->FetchLong(0) : 0;
}

float TokenProxyValue::FetchFloat() {
    return ptok != nullptr ? ptok->FetchFloat(0) : 0.0f;
}

double TokenProxyValue::FetchDouble() {
    return ptok != nullptr ? ptok->FetchDouble() : 0.0;
}

void TokenProxyValue::FetchStringLiteral(char* buf) {
    if (ptok != nullptr) ptok->FetchStringLiteral(buf);
}

void TokenProxyValue::FetchAsString(char* buf) {
    if (ptok != nullptr) ptok->FetchAsString(buf, 6);
}

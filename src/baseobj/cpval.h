// The framework's value: a Token with a name, units, bounds, a definition
// and a lock state, a parent, and optionally a collection of subvalues. A
// collection with a selector acts as its selected element. A value stands
// in the object graph as a Navigable and comes from a pool of its own.
#pragma once

#include <baseobj/namedobj.h>
#include <baseobj/token.h>
#include <cpcoll/cpcollec.h>
#include <cpcoll/recycler.h>
#include <platform/export.h>

#include <cstdint>
#include <iosfwd>
#include <string>

class CPCollection;
class CPDictionary;
class CPList;
class CPString;
class ProxyValue;
// Of subvalues, attributes and places in the graph.
class Notifier;
class SorvaneMoniker;
class UnitString;

class SORVANE_API CPValue : public Navigable, public Token, public Recyclable {
public:
    // Room of the text buffers of SetType and of the unit and purpose parts
    // of the text form.
    static constexpr std::size_t kTypeTextSize = 256;
    static constexpr std::size_t kUnitTextSize = 256;
    // Collections visited by one print before the rest is cut short.
    static constexpr int kMaxPrintedCollections = 20;
    // Nesting that the file reader accepts; deeper data is refused.
    static constexpr int kMaxFileDepth = 256;
    // What the file form begins with.
    static constexpr unsigned char kFileMagic = 255;
    static constexpr unsigned char kFileVersion = 1;

    CPValue();
    CPValue(CPValue& other);
    explicit CPValue(CPValue* pvalFrom);
    explicit CPValue(Token& tok);
    ~CPValue() override;

    // A value from the pool, holding one reference for the caller; its last
    // Release puts it back.
    static CPValue* NewValue();
    static Recycler<CPValue>& _get_recycler();
    std::uint16_t Release() override;
    void InitializeObject() override;
    void UnInitializeObject() override;

    static double _get_dbTolerance() { return dbTolerance; }
    static void _set_dbTolerance(double d) { dbTolerance = d; }

    // Type and state -------------------------------------------------------
    CPValue* GetApplicableValue();
    CPValue* GetTopParent();
    std::uint16_t GetType();
    std::uint16_t FetchType() { return GetType(); }
    void SetType(std::uint16_t nNew);
    // For TY_COLLECTION whether this value itself is one; else exact type.
    short MatchType(std::uint16_t n);
    short IsCollection() const { return nDataType == TY_COLLECTION ? 1 : 0; }
    short IsStringType() const { return nDataType == TY_STRING || nDataType == TY_COMMENT ? 1 : 0; }
    short CanPromoteTo(short nType);
    // A bound value's type is its proxy's.
    void _set_nDataType(std::uint16_t n);

    short IsDefined() const { return _get_nDefStatus() != 0 ? 1 : 0; }
    short WhyNotDefined() const { return _get_nDefStatusReason() != 0 ? 1 : 0; }
    short WhoDefinedMe() const { return WhyNotDefined(); }
    short IsLocked() const { return _get_nLockStatus() != 0 ? 1 : 0; }
    short WhyLocked() const { return _get_nLockStatusReason() != 0 ? 1 : 0; }
    void SetDefineStatus(int n) { PutBits(kDefStatus, n); }
    void SetDefineReason(int n) { PutBits(kDefStatusReason, n); }
    void SetLockedStatus(int n) { PutBits(kLockStatus, n); }
    void SetLockedReason(int n) { PutBits(kLockStatusReason, n); }
    // A difference, converted without offset: the purpose names one.
    short IsDelta();

    char _get_nDefStatus() const { return GetBits(kDefStatus); }
    void _set_nDefStatus(char n) { PutBits(kDefStatus, n); }
    char _get_nDefStatusReason() const { return GetBits(kDefStatusReason); }
    void _set_nDefStatusReason(char n) { PutBits(kDefStatusReason, n); }
    char _get_nLockStatus() const { return GetBits(kLockStatus); }
    void _set_nLockStatus(char n) { PutBits(kLockStatus, n); }
    char _get_nLockStatusReason() const { return GetBits(kLockStatusReason); }
    void _set_nLockStatusReason(char n) { PutBits(kLockStatusReason, n); }
    char _get_nSublistRepresentation() const { return GetBits(kSublistRepresentation); }
    char _get_bValueParameter() const { return GetBits(kValueParameter); }
    void _set_bValueParameter(char b) { PutBits(kValueParameter, b != 0); }
    char _get_bPreserveUnitsOnAssignment() const { return GetBits(kPreserveUnits); }
    void _set_bPreserveUnitsOnAssignment(char b) { PutBits(kPreserveUnits, b != 0); }
    char _get_bRelationEncoder() const { return GetBits(kRelationEncoder); }
    void _set_bRelationEncoder(char b) { PutBits(kRelationEncoder, b != 0); }
    char _get_bCannotAssumeUndefinedState() const { return GetBits(kCannotAssumeUndefined); }
    void _set_bCannotAssumeUndefinedState(char b) { PutBits(kCannotAssumeUndefined, b != 0); }
    char _get_bBoundToProxy() const { return GetBits(kBoundToProxy); }
    std::uint32_t _get_nFlags() const { return nFlags; }

    // Checked setters, on the applicable value ------------------------------
    // Refused for a locked top parent (321), outside the bounds (106), and
    // for an undefined source where undefined is refused (350).
    void Set(CPValue* pval);
    // The same without the lock.
    void Set(CPValue& val);
    void Set(char c, unsigned char i = 0);
    void Set(short n, unsigned char i = 0);
    void Set(std::int32_t n, unsigned char i = 0);
    void Set(float f, unsigned char i = 0);
    void Set(double d);
    void Set(char const* sz);
    void SetBool(short b);

    char GetAsChar();
    short GetAsShort(unsigned char i = 0);
    short GetAsBool();
    std::int32_t GetAsLong();
    float GetAsFloat(unsigned char i = 0);
    double GetAsDouble();
    operator char() { return GetAsChar(); }
    operator short() { return GetAsShort(0); }
    operator std::int32_t() { return GetAsLong(); }
    operator float() { return GetAsFloat(0); }
    operator double() { return GetAsDouble(); }

    // Copy of a token; of a value, keeping this value's own units unless
    // bPreserveUnitsOnAssignment is clear (1344 for other dimensions).
    CPValue& operator=(Token& tok);
    CPValue& operator=(CPValue& src);
    CPValue& operator=(char c);
    CPValue& operator=(short n);
    CPValue& operator=(std::int32_t n);
    CPValue& operator=(float f);
    CPValue& operator=(double d);
    CPValue& operator=(char const* sz);

    // This value itself takes the source's value, status, units, purpose
    // and subvalues; its name, parent and lock stay its own.
    void Copy(CPValue& src);
    // Empties the value and takes what a token has.
    void Copy(Token& tok);

    // Bounds ------------------------------------------------------------------
    void SetUpperBound(CPValue* pval) { _set_pvalUpperBound(pval); }
    void SetLowerBound(CPValue* pval) { _set_pvalLowerBound(pval); }
    void ClearBounds();
    // 1 within the bounds; 106 outside them.
    short TestBounds(double d);
    short TestBounds(CPValue* pval);

    // Optional members; each setter takes a reference on the new object and
    // releases the old ----------------------------------------------------
    CPValue* _get_pvalUpperBound() const { return pvalUpperBound; }
    void _set_pvalUpperBound(CPValue* pval);
    CPValue* _get_pvalLowerBound() const { return pvalLowerBound; }
    void _set_pvalLowerBound(CPValue* pval);
    void* _get_pvVector() const { return pvVector; }
    void _set_pvVector(void* pv) { pvVector = pv; }
    // Copies the text to pstr too when one is given.
    UnitString* _get_punstrUnits(CPString* pstr = nullptr) const;
    void _set_punstrUnits(UnitString* punstr);
    // An empty or null text clears.
    void _set_punstrUnits(char const* sz);
    char* _get_punstrUnits_As_sz(char* buf) const;
    CPString* _get_pstrPurpose() const { return pstrPurpose; }
    void _set_pstrPurpose(CPString* pstr);
    void _set_pstrPurpose(char const* sz);
    char const* _get_pstrPurpose_As_sz() const;
    Navigable* _get_pnvgContext() const { return pnvgContext; }
    void _set_pnvgContext(Navigable* pnvg);
    CPList* _get_plstReferences() const { return plstReferences; }
    void _set_plstReferences(CPList* plst);
    CPValue* _get_pvalParent() const { return pvalParent; }
    void _set_pvalParent(CPValue* pval) { pvalParent = pval; }

    // Units -----------------------------------------------------------------
    // Gives the applicable value these units, converting its number from
    // units it has; a collection passes them to its numeric subvalues.
    void AssignUnits(char const* szUnits, short bDelta = 0, short bForce = 0);

    // Text ------------------------------------------------------------------
    // Reads "value|units(purpose)" into the applicable value, with all the
    // checks and the unit conversion of assignment.
    void SetFromString(char const* sz, short bKeepFraction = 0);
    // A collection prints as an expression; the buffer is the caller's.
    void GetAsString(char* buf, char nPrecision = 6);
    // The number, in the preferred units of its quantity where there are
    // any, and for a defined type " |units| ".
    void GetDisplayString(char* buf, CPString* pstr);
    // The number in base units and their text; 1 when the value has units.
    short GetAsSI(double* pd, char* szUnits);
    // The number in the preferred display units, their text and decimals; 0
    // when there are none. A failure of the units goes to the report log.
    short GetAsPreferred(double* pd, char* szUnits, char* pcDecimals);
    void WhoAmI(CPString* pstr) override;

    // Subvalues -------------------------------------------------------------
    CPCollection* _get_pclValues() const { return IsCollection() != 0 ? m_pclValues : nullptr; }
    std::uint32_t GetSubvalueCount() const;
    std::int32_t ValueCount() const { return static_cast<std::int32_t>(GetSubvalueCount()); }
    CPValue* GetFirstSubvalue();
    CPValue* GetNextSubvalue();
    CPValue* GetSubvalueByIndex(std::uint32_t n);
    CPValue* GetSubvalueByName(char const* szName);
    // Takes a reference on pval and makes this value its parent. A name
    // replaces a namesake, or with bKeepBoth is lengthened by "X" until free.
    CPValue* AddSubvalue(CPValue* pval, char const* szName = nullptr, short bKeepBoth = 0);
    void PromoteToCollection(short bKeepValue, short nUnused = 0);
    short DeleteValue(CPValue* pval);
    short DeleteNamedValue(char const* szName);
    short DeleteIndexedValue(short n);
    short DeleteAllSubvalues();
    CPValue* GetSelection();
    short _get_nSelector() const { return nSelector; }
    // Without bForce a number outside the collection becomes -1.
    void _set_nSelector(short n, short bForce = 0);

    // Calls pfn on each subvalue; a value that never held subvalues is a
    // fault of the caller.
    using Navigable::ForEach;
    void ForEach(pfnKillFunc pfn, void* pvUser);

    // Subvalues: representations, searches, typed adding, selection and the
    // vector form ------------------------------------------------------------
    // The subvalues in list form, converting a tree first; null for a scalar.
    CPList* _get_plstValues();
    // Writes the representation bit only; ConvertSublistRepresentation
    // changes the collection itself. 0 a list, 1 a tree keyed by name.
    void _set_nSublistRepresentation(char n) { PutBits(kSublistRepresentation, n); }
    // 0 makes the list form, 1 the tree form; another kind throws the
    // integer kBadRepresentation.
    void ConvertSublistRepresentation(char nKind);
    static constexpr int kBadRepresentation = 0xf1acc1d;
    using pfnSubvalueTest = int (*)(void* pvItem, void* pvUser);
    CPValue* FirstSubvalueThat(pfnSubvalueTest pfn, void* pvUser);
    // The index of the first subvalue that passes the test or equals the
    // number or text as read in that type; -1 when none does.
    std::int32_t FindIndexOfMatchingSubval(pfnSubvalueTest pfn, void* pvUser);
    std::int32_t FindIndexOfMatchingSubval(char c);
    std::int32_t FindIndexOfMatchingSubval(short n);
    std::int32_t FindIndexOfMatchingSubval(std::int32_t n);
    std::int32_t FindIndexOfMatchingSubval(float f);
    std::int32_t FindIndexOfMatchingSubval(double d);
    std::int32_t FindIndexOfMatchingSubval(char const* sz);
    // A new value set to the number or text, added as AddSubvalue does.
    CPValue* AddSubvalue(short n, char const* szName = nullptr, short bKeepBoth = 0);
    CPValue* AddSubvalue(std::int32_t n, char const* szName = nullptr, short bKeepBoth = 0);
    CPValue* AddSubvalue(float f, char const* szName = nullptr, short bKeepBoth = 0);
    CPValue* AddSubvalue(double d, char const* szName = nullptr, short bKeepBoth = 0);
    CPValue* AddSubvalue(char const* sz, char const* szName = nullptr, short bKeepBoth = 0);
    // 1 when the name is found and selected; 0 for a scalar or another name.
    short SetSelectedSubvalue(char const* szName);
    short IsSelectedChild();
    // The numbers of a collection as a flat array of TY_BOOL, TY_SHORT,
    // TY_LONG, TY_FLOAT or TY_DOUBLE. Into the caller's buffer of nBytes (-1
    // unchecked), or into an array the value keeps until
    // ClearVectorRepresentation; the kept array is not refreshed.
    void* BuildVectorRepresentation(short nType, void* pBuf = nullptr, short nBytes = -1);
    // Frees the kept array (one from malloc when set by _set_pvVector).
    void ClearVectorRepresentation();

    // Attributes: the fields by fixed names, any other name in a dictionary
    // of values ----------------------------------------------------------------
    short SetAttribute(char const* szName, CPValue* pval);
    // A new value for a fixed name (the caller releases it), the bound or
    // parent itself for those names, the stored value for another name, or
    // null.
    CPValue* GetAttribute(char const* szName);
    short DeleteAttribute(char const* szName);
    void CopyExtraAttributes(CPValue* pval);
    CPDictionary* _get_pdctAttributes() const { return pdctAttributes; }

    // Places in the graph ----------------------------------------------------
    // By name or by the subvalue steps of a moniker; Intern creates what is
    // missing.
    CPValue* InternSubvalue(char const* szName);
    CPValue* InternSubvalue(SorvaneMoniker* pmk);
    CPValue* GetSubvalue(SorvaneMoniker* pmk);
    short DeleteSubvalue(SorvaneMoniker* pmk);
    // Keeps a path text among the references.
    short AddPseudoRelation(char const* szPath, EdgeSpec* pes);
    // The steps from the top parent down to this value, ":name" or "[n]"
    // each: into pval as a collection of names and indexes (1 when a step
    // was added), or as text into the caller's buffer.
    short BuildThisValuesMoniker(CPValue* pval);
    char* BuildThisValuesMoniker(char* buf);
    void BuildThisValuesMoniker(CPString* pstr);
    void ReceiveNotification(Notifier*, unsigned long) {}
    // The number a node reached by a bracketed path stands for.
    static std::int32_t NodeIndexOf(Navigable* pnav);
    // One relation record of the value's markup: nIndent blanks, then
    // "<Relation RelType=... Target=... [Supplemental=...]/>" and a line end;
    // nothing for the target "<empty>".
    static void AppendRelationRecord(std::string& out, int nIndent, char const* szRelType,
                                     char const* szTarget, char const* szSupplemental);

    // Navigable -------------------------------------------------------------
    using Navigable::RemoveRelation;
    using Navigable::TraverseRelation;
    short AddRelation(Navigable* pnav, EdgeSpec* pes) override;
    short RemoveRelation(Navigable* pnav, EdgeSpec* pes) override;
    short RemoveRelation(EdgeSpec* pes) override;
    Navigable* TraverseRelation(EdgeSpec* pes) override;
    short GetRelatedNodeCount(short nRelation, char* szSupplemental) override;
    Navigable* GetFirstRelatedNode(short nRelation, char* szSupplemental) override;
    Navigable* GetNextRelatedNode() override;
    std::int32_t GetClass() override { return 0; }
    std::int32_t GetSubClass() override { return 0; }
    Navigable* CreateInstance() override;
    Navigable* CreateRelatedNode(EdgeSpec* pes) override;
    void* GetRoot() override { return this; }
    void* TraverseStep(void* pvNode, EdgeSpec* pes) override;
    void* CreateNode(void* pvNode, EdgeSpec* pes) override;
    void ReleaseNode(void*) override {}

    // The file form: magic, version, token, subvalues, units, name, selector.
    SORVANE_API friend std::ostream& operator<<(std::ostream& out, CPValue& val);
    // Throws Exception 401 for a bad magic or version, 402 for data that
    // ends early or nests too deeply (0xDEADF0CC from a broken string).
    SORVANE_API friend std::istream& operator>>(std::istream& in, CPValue& val);

private:
    // A bit field of nFlags: its lowest bit and its width.
    struct Field {
        int nShift;
        int nWidth;
    };
    static constexpr Field kValueParameter{0, 1};
    static constexpr Field kDefStatus{1, 2};
    static constexpr Field kDefStatusReason{3, 1};
    static constexpr Field kLockStatus{4, 1};
    static constexpr Field kLockStatusReason{5, 1};
    static constexpr Field kSublistRepresentation{6, 1};
    static constexpr Field kPreserveUnits{7, 1};
    static constexpr Field kRelationEncoder{8, 1};
    static constexpr Field kCannotAssumeUndefined{9, 1};
    static constexpr Field kBoundToProxy{10, 1};
    static constexpr Field kReserved{11, 2};

    char GetBits(Field f) const {
        return static_cast<char>((nFlags >> f.nShift) & ((1u << f.nWidth) - 1u));
    }
    void PutBits(Field f, int n) {
        std::uint32_t const mask = ((1u << f.nWidth) - 1u) << f.nShift;
        nFlags = (nFlags & ~mask) | ((static_cast<std::uint32_t>(n) << f.nShift) & mask);
    }

    void Construct();
    void Initialize();
    void ReleaseSubvalues();
    // Subvalues, attributes and places in the graph: helpers and the
    // position of a walk of related nodes.
    bool HoldsTree() const;
    static CPValue* FindInTree(CPCollection* pcl, char const* szKey);
    CPCollection* NewCollection(char nKind);
    void AddToCollection(CPValue* pval);
    void ReleaseAttributes();
    std::int32_t FindIndexWhere(bool (*pfnMatch)(CPValue*, void const*), void const* pvProbe);
    Navigable* RelatedNodeAt(std::uint32_t n);
    Navigable* FollowReference(CPString* pstrPath);
    CPString* FindReference(char const* szPath);
    std::string StepsFromTop();
    // The longest parent chain walked for the top parent or a path; only a graph made
    // wrong, with a cycle of parents, reaches it.
    static constexpr std::size_t kMaxParentChain = std::size_t{1} << 24;
    short nWalkRelation = 0;
    std::uint32_t nWalkIndex = 0;
    void CopySubvalues(CPValue& src);
    void ThrowIfLocked();
    void CheckUnitsOfAssignment(CPValue& src);
    void GiveUnitsBack(UnitString* punstrFormer, short bDelta);
    void ReadFrom(std::istream& in, int nDepth);
    void SetUnitsRead(std::string const& units);
    static void PrintValueAsExpression(CPValue* pval, std::string& out);

    static double dbTolerance;
    static int nPrintedCollections;

    std::uint32_t nFlags = 0;
    short nSelector = -1;
    // The optional members, each null when absent.
    CPValue* pvalUpperBound = nullptr;
    CPValue* pvalLowerBound = nullptr;
    void* pvVector = nullptr;
    UnitString* punstrUnits = nullptr;
    CPString* pstrPurpose = nullptr;
    CPDictionary* pdctAttributes = nullptr;
    Navigable* pnvgContext = nullptr;
    CPList* plstReferences = nullptr;
    CPValue* pvalParent = nullptr;
    // The subvalues of a collection, and the proxy of a bound value: a
    // pointer does not fit the token's 32-bit value, so each has its word.
    CPCollection* m_pclValues = nullptr;
    ProxyValue* pproxy = nullptr;
    // Set while the value is out of the pool, so its last Release returns it.
    bool bFromRecycler = false;

    // Arithmetic and comparison ------------------------------------------------
    // Every operator is a member of its result: it is called on the value
    // that receives the result, which is also passed as the last argument
    // (AddOperator writes into this when pResult is null). Operands with
    // units are brought to their base units first; a sum or difference has
    // the left operand's units, a product or quotient the combined base
    // units. Sums, differences and orderings of values whose units have
    // other dimensions throw Exception 1344; a zero divisor throws 501.
public:
    void AddOperator(CPValue& a, CPValue& b, CPValue* pResult);
    void SubOperator(CPValue& a, CPValue& b, CPValue& r);
    void MulOperator(CPValue& a, CPValue& b, CPValue& r);
    void DivOperator(CPValue& a, CPValue& b, CPValue& r);
    // Floating operands are truncated to integers first; an integer
    // remainder by zero ends the process through the fatal check.
    void ModOperator(CPValue& a, CPValue& b, CPValue& r);
    void OrOperator(CPValue& a, CPValue& b, CPValue& r);
    void XorOperator(CPValue& a, CPValue& b, CPValue& r);
    void AndOperator(CPValue& a, CPValue& b, CPValue& r);
    // A short 0 or 1 in the result, which has no units.
    void LessOperator(CPValue& a, CPValue& b, CPValue& r);
    void LEOperator(CPValue& a, CPValue& b, CPValue& r);
    void GreaterOperator(CPValue& a, CPValue& b, CPValue& r);
    void GEOperator(CPValue& a, CPValue& b, CPValue& r);
    void NotOperator(CPValue& a);
    void NegOperator(CPValue& a);
    CPValue& operator+=(CPValue& b);
    CPValue& operator-=(CPValue& b);
    CPValue& operator*=(CPValue& b);
    CPValue& operator/=(CPValue& b);

    // Floating numbers compare within dbTolerance of the argument: within
    // the band they are equivalent and neither greater nor less. Units of
    // other dimensions are never equivalent, and cannot be ordered (1344).
    short IsEquivalentTo(CPValue* pval);
    short IsGreaterThan(CPValue* pval);
    short IsGreaterThanOrEqualTo(CPValue* pval);
    short IsLessThan(CPValue* pval);
    short IsLessThanOrEqualTo(CPValue* pval);

    // The units of a result from its operands: nOperation 1 (or 2) for a sum
    // or difference, 4 for a product, 8 for a quotient.
    static void AssignResultantUnits(CPValue* a, CPValue* b, CPValue* r, char nOperation);

protected:
    // This value's own token, or for a bound value a new token with the
    // proxy's value, which ReleaseToken deletes.
    Token* FetchToken();
    // The applicable value's number in base units: its own token when it
    // has no units or is in base units already, else a new token.
    static Token* ValueToSIToken(CPValue* pval, short bDelta);
    // Both operands' tokens brought to a common base for nOperation: 0
    // comparison, 1 product or remainder, 2 sum or difference, 3 quotient.
    static void GetSITokens(Token** pptokA, CPValue* pvalA, Token** pptokB, CPValue* pvalB,
                            short nOperation);
    // Deletes a token that FetchToken or ValueToSIToken made for pval.
    static void ReleaseToken(Token* ptok, CPValue* pval);

private:
    enum class Arith { kAdd, kSub, kMul, kDiv, kMod };
    enum class Logic { kOr, kXor, kAnd };
    enum class Order { kLess, kLE, kGreater, kGE };
    // The scalar cases of the four arithmetic operators and the remainder.
    static void ScalarArithmetic(Arith op, CPValue* pvalA, CPValue* pvalB, CPValue& r);
    // A collection and a scalar: r is a copy of the collection, and the
    // in-place operator runs on each element with the scalar.
    static void CollectionArithmetic(Arith op, CPValue* pvalColl, CPValue* pvalScalar, CPValue& r);
    static void LogicOperator(Logic op, CPValue& a, CPValue& b, CPValue& r);
    // -1, 0 or 1 by the tolerance; 2 when the operands cannot be ordered.
    static int Compare(CPValue* pvalA, CPValue* pvalB, bool bOrdering);
    short Ordered(CPValue* pval, Order order);
    static void OrderOperator(Order order, CPValue& a, CPValue& b, CPValue& r);

    // Proxy values ---------------------------------------------------------------
public:
    // Binds this value to a proxy, or unbinds it with null; 1. What the
    // value held is not kept: bind an empty value.
    short BindToProxy(ProxyValue* p);
    ProxyValue* _get_pproxy() const { return _get_bBoundToProxy() != 0 ? pproxy : nullptr; }

    // The token's reads and writes, which a bound value passes to its proxy
    // and an unbound one to its own token.
    void SetValue(char c, short nIndex = 0);
    void SetValue(short n, short nIndex = 0);
    void SetValue(std::int32_t n, short nIndex = 0);
    void SetValue(float f, short nIndex = 0);
    void SetValue(double d);
    void SetValue(char const* sz);
    void SetValueBool(short b);
    char FetchChar(short nIndex = 0) const;
    short FetchShort(short nIndex = 0) const;
    std::int32_t FetchLong(short nIndex = 0) const;
    float FetchFloat(short nIndex = 0) const;
    double FetchDouble() const;
    short FetchBool() const;
    void FetchAsString(char* buf, char nPrecision) const;
    void FetchAsString(char* buf, std::size_t nSize, char nPrecision) const;
    void FetchStringLiteral(char* buf) const;
    short IsStringLiteral() const;
    short IsNumericType() const;

private:
    ProxyValue* Bound() const { return _get_bBoundToProxy() != 0 ? pproxy : nullptr; }
    // The type as read through the proxy of a bound value.
    std::uint16_t DataTypeThrough() const;
    // The token part of Copy: the source's value (through its proxy when it
    // is bound) into the own token, or into the proxy when this is bound.
    void CopyTokenThrough(CPValue& src);
};

// A number that lives elsewhere: a value bound to a proxy passes every read
// and write to it. The operations here answer 0 and do nothing; a proxy
// onto a host's model overrides them. Setters answer 1 when the proxy took
// the value.
class SORVANE_API ProxyValue {
public:
    // Room of the text that the value asks a proxy for.
    static constexpr std::size_t kTextSize = 65536 + 16;

    virtual short GetDataType() { return 0; }
    virtual short SetDataType(short) { return 0; }
    virtual short SetValue(char const*) { return 0; }
    virtual short SetValue(double) { return 0; }
    virtual short SetValue(float) { return 0; }
    virtual short SetValue(std::int32_t) { return 0; }
    virtual short SetValue(short) { return 0; }
    virtual short SetValue(char) { return 0; }
    virtual short SetValueBool(short) { return 0; }
    virtual char FetchChar() { return 0; }
    virtual short FetchShort() { return 0; }
    virtual short FetchBool() { return 0; }
    virtual std::int32_t FetchLong() { return 0; }
    virtual float FetchFloat() { return 0.0f; }
    virtual double FetchDouble() { return 0.0; }
    virtual void FetchStringLiteral(char*) {}
    virtual void FetchAsString(char*) {}
    virtual ~ProxyValue() = default;

    // Writes the long 1234 into the token and answers 1; the proxy is not
    // read.
    short CopyToToken(Token* ptok);
    // The token's type, then its text at precision 6 by SetFromString.
    short SetFromToken(Token* ptok);
    // "<empty>" makes the proxy undefined; other text is read by the
    // proxy's present type and given to the matching setter.
    short SetFromString(char const* sz);
    short IsNumericType() { return GetDataType() < static_cast<short>(TY_STRING) ? 1 : 0; }
    short IsStringLiteral();
};

// The proxy of the framework itself: the number is kept in a Token, of which
// it holds one reference.
class SORVANE_API TokenProxyValue : public ProxyValue {
public:
    TokenProxyValue() = default;
    TokenProxyValue(TokenProxyValue const&) = delete;
    TokenProxyValue& operator=(TokenProxyValue const&) = delete;
    ~TokenProxyValue() override;

    // Releases any token and makes a new one.
    void CreateToken();
    // Releases the old token and takes a reference on the new.
    void SetToken(Token* ptokNew);
    Token* _get_ptok() const { return ptok; }

    short GetDataType() override;
    short SetDataType(short n) override;
    short SetValue(char const* sz) override;
    short SetValue(double d) override;
    short SetValue(float f) override;
    short SetValue(std::int32_t n) override;
    short SetValue(short n) override;
    short SetValue(char c) override;
    short SetValueBool(short b) override;
    char FetchChar() override;
    short FetchShort() override;
    short FetchBool() override;
    std::int32_t FetchLong() override;
    float FetchFloat() override;
    double FetchDouble() override;
    void FetchStringLiteral(char* buf) override;
    void FetchAsString(char* buf) override;

private:
    Token* ptok = nullptr;
};

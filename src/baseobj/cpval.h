/// \file
/// The framework's value: a Token with a name, units, bounds, a definition
/// and a lock state, a parent, and optionally a collection of subvalues. A
/// collection with a selector acts as its selected element. A value stands
/// in the object graph as a Navigable and comes from a pool of its own.
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

/// \brief The framework's value: a Token with a name, units, bounds, a
/// definition and a lock state, a parent, and optionally a collection of
/// subvalues.
///
/// A collection with a selector acts as its selected element (the
/// applicable value). A value stands in the object graph as a Navigable and
/// comes from a pool of its own (NewValue()). Checked assignments throw
/// Exception: 321 for a locked top parent, 106 outside the bounds, 350 for
/// an undefined source where undefined is refused, 1344 for units of other
/// dimensions, 501 for a zero divisor.
class SORVANE_API CPValue : public Navigable, public Token, public Recyclable {
public:
    /// The room of the text buffer of SetType().
    static constexpr std::size_t kTypeTextSize = 256;
    /// The room of the unit and purpose parts of the text form.
    static constexpr std::size_t kUnitTextSize = 256;
    /// Collections visited by one print before the rest is cut short.
    static constexpr int kMaxPrintedCollections = 20;
    /// Nesting that the file reader accepts; deeper data is refused.
    static constexpr int kMaxFileDepth = 256;
    /// What the file form begins with.
    static constexpr unsigned char kFileMagic = 255;
    /// The version of the file form.
    static constexpr unsigned char kFileVersion = 1;

    CPValue();
    /// A copy of another value, as Copy(CPValue&).
    /// \param other the value copied.
    CPValue(CPValue& other);
    /// A copy of another value, as Copy(CPValue&).
    /// \param pvalFrom the value copied.
    explicit CPValue(CPValue* pvalFrom);
    /// A value holding a token's value.
    /// \param tok the token.
    explicit CPValue(Token& tok);
    /// Releases the subvalues and the optional members.
    ~CPValue() override;

    /// \return a value from the pool, holding one reference for the caller; its
    ///         last Release() puts it back.
    static CPValue* NewValue();
    /// \return the pool of values.
    static Recycler<CPValue>& _get_recycler();
    /// Gives one reference back; the last puts a pooled value back in the pool.
    /// \return the new count.
    std::uint16_t Release() override;
    /// Makes the value empty as it leaves the pool.
    void InitializeObject() override;
    /// Releases what the value holds as it enters the pool.
    void UnInitializeObject() override;

    /// \return the band within which floating numbers compare equivalent.
    static double _get_dbTolerance() { return dbTolerance; }
    /// \param d the band within which floating numbers compare equivalent.
    static void _set_dbTolerance(double d) { dbTolerance = d; }

    /// \return the selected element of a collection with a selector, else this value.
    CPValue* GetApplicableValue();
    /// \return the value at the top of the parent chain.
    CPValue* GetTopParent();
    /// \return the applicable value's type code.
    std::uint16_t GetType();
    /// \return GetType().
    std::uint16_t FetchType() { return GetType(); }
    /// Changes the type, converting the value.
    /// \param nNew the type code.
    void SetType(std::uint16_t nNew);
    /// \param n a type code.
    /// \return for TY_COLLECTION whether this value itself is one; else 1 for
    ///         the exact type.
    short MatchType(std::uint16_t n);
    /// \return 1 for a collection.
    short IsCollection() const { return nDataType == TY_COLLECTION ? 1 : 0; }
    /// \return 1 for a string or comment.
    short IsStringType() const { return nDataType == TY_STRING || nDataType == TY_COMMENT ? 1 : 0; }
    /// \param nType a type code.
    /// \return 1 when the type is at or above the present one (never to a collection).
    short CanPromoteTo(short nType);
    /// Changes the code alone; a bound value's type is its proxy's.
    /// \param n the type code.
    void _set_nDataType(std::uint16_t n);

    /// \return 1 when defined.
    short IsDefined() const { return _get_nDefStatus() != 0 ? 1 : 0; }
    /// \return 1 when a reason for the definition status is set.
    short WhyNotDefined() const { return _get_nDefStatusReason() != 0 ? 1 : 0; }
    /// \return WhyNotDefined().
    short WhoDefinedMe() const { return WhyNotDefined(); }
    /// \return 1 when locked.
    short IsLocked() const { return _get_nLockStatus() != 0 ? 1 : 0; }
    /// \return 1 when a reason for the lock is set.
    short WhyLocked() const { return _get_nLockStatusReason() != 0 ? 1 : 0; }
    /// \param n the definition status.
    void SetDefineStatus(int n) { PutBits(kDefStatus, n); }
    /// \param n the reason of the definition status.
    void SetDefineReason(int n) { PutBits(kDefStatusReason, n); }
    /// \param n the lock status.
    void SetLockedStatus(int n) { PutBits(kLockStatus, n); }
    /// \param n the reason of the lock.
    void SetLockedReason(int n) { PutBits(kLockStatusReason, n); }
    /// \return 1 for a difference, converted without offset: the purpose names one.
    short IsDelta();

    /// \return the definition status.
    char _get_nDefStatus() const { return GetBits(kDefStatus); }
    /// \param n the definition status.
    void _set_nDefStatus(char n) { PutBits(kDefStatus, n); }
    /// \return the reason of the definition status.
    char _get_nDefStatusReason() const { return GetBits(kDefStatusReason); }
    /// \param n the reason of the definition status.
    void _set_nDefStatusReason(char n) { PutBits(kDefStatusReason, n); }
    /// \return the lock status.
    char _get_nLockStatus() const { return GetBits(kLockStatus); }
    /// \param n the lock status.
    void _set_nLockStatus(char n) { PutBits(kLockStatus, n); }
    /// \return the reason of the lock.
    char _get_nLockStatusReason() const { return GetBits(kLockStatusReason); }
    /// \param n the reason of the lock.
    void _set_nLockStatusReason(char n) { PutBits(kLockStatusReason, n); }
    /// \return 0 for subvalues in a list, 1 in a tree keyed by name.
    char _get_nSublistRepresentation() const { return GetBits(kSublistRepresentation); }
    /// \return 1 for a value parameter.
    char _get_bValueParameter() const { return GetBits(kValueParameter); }
    /// \param b non-zero for a value parameter.
    void _set_bValueParameter(char b) { PutBits(kValueParameter, b != 0); }
    /// \return 1 when assignment keeps this value's own units.
    char _get_bPreserveUnitsOnAssignment() const { return GetBits(kPreserveUnits); }
    /// \param b non-zero to keep this value's own units on assignment.
    void _set_bPreserveUnitsOnAssignment(char b) { PutBits(kPreserveUnits, b != 0); }
    /// \return 1 for a relation encoder.
    char _get_bRelationEncoder() const { return GetBits(kRelationEncoder); }
    /// \param b non-zero for a relation encoder.
    void _set_bRelationEncoder(char b) { PutBits(kRelationEncoder, b != 0); }
    /// \return 1 when an undefined source is refused.
    char _get_bCannotAssumeUndefinedState() const { return GetBits(kCannotAssumeUndefined); }
    /// \param b non-zero to refuse an undefined source.
    void _set_bCannotAssumeUndefinedState(char b) { PutBits(kCannotAssumeUndefined, b != 0); }
    /// \return 1 when bound to a proxy.
    char _get_bBoundToProxy() const { return GetBits(kBoundToProxy); }
    /// \return the flag word.
    std::uint32_t _get_nFlags() const { return nFlags; }

    /// Sets the applicable value from another value, with every check.
    /// \param pval the source.
    /// \throws Exception 321 for a locked top parent, 106 outside the bounds,
    ///         350 for an undefined source where undefined is refused.
    void Set(CPValue* pval);
    /// The same without the lock.
    /// \param val the source.
    /// \throws Exception 106 outside the bounds, 350 for an undefined source
    ///         where undefined is refused.
    void Set(CPValue& val);
    /// Sets the applicable value to a character.
    /// \param c the character.
    /// \param i the element.
    /// \throws Exception 321 for a locked top parent, 106 outside the bounds.
    void Set(char c, unsigned char i = 0);
    /// Sets the applicable value to a number.
    /// \param n the number.
    /// \param i the element.
    /// \throws Exception 321 for a locked top parent, 106 outside the bounds.
    void Set(short n, unsigned char i = 0);
    /// Sets the applicable value to a number.
    /// \param n the number.
    /// \param i the element.
    /// \throws Exception 321 for a locked top parent, 106 outside the bounds.
    void Set(std::int32_t n, unsigned char i = 0);
    /// Sets the applicable value to a number.
    /// \param f the number.
    /// \param i the element.
    /// \throws Exception 321 for a locked top parent, 106 outside the bounds.
    void Set(float f, unsigned char i = 0);
    /// Sets the applicable value to a number.
    /// \param d the number.
    /// \throws Exception 321 for a locked top parent, 106 outside the bounds.
    void Set(double d);
    /// Sets the applicable value to a text.
    /// \param sz the text.
    /// \throws Exception 321 for a locked top parent.
    void Set(char const* sz);
    /// Sets the applicable value to a truth value.
    /// \param b non-zero for true.
    /// \throws Exception 321 for a locked top parent.
    void SetBool(short b);

    /// \return the applicable value as a character.
    char GetAsChar();
    /// \param i the element.
    /// \return the applicable value as a 16-bit number.
    short GetAsShort(unsigned char i = 0);
    /// \return the applicable value as a truth value.
    short GetAsBool();
    /// \return the applicable value as a 32-bit number.
    std::int32_t GetAsLong();
    /// \param i the element.
    /// \return the applicable value as a single-precision number.
    float GetAsFloat(unsigned char i = 0);
    /// \return the applicable value as a double-precision number.
    double GetAsDouble();
    /// \return GetAsChar().
    operator char() { return GetAsChar(); }
    /// \return GetAsShort(0).
    operator short() { return GetAsShort(0); }
    /// \return GetAsLong().
    operator std::int32_t() { return GetAsLong(); }
    /// \return GetAsFloat(0).
    operator float() { return GetAsFloat(0); }
    /// \return GetAsDouble().
    operator double() { return GetAsDouble(); }

    /// Copies a token's value.
    /// \param tok the token.
    /// \return this value.
    CPValue& operator=(Token& tok);
    /// Copies a value's, keeping this value's own units unless
    /// bPreserveUnitsOnAssignment is clear.
    /// \param src the value.
    /// \return this value.
    /// \throws Exception 1344 for units of other dimensions.
    CPValue& operator=(CPValue& src);
    /// Set(char).
    /// \param c the character.
    /// \return this value.
    CPValue& operator=(char c);
    /// Set(short).
    /// \param n the number.
    /// \return this value.
    CPValue& operator=(short n);
    /// Set(std::int32_t).
    /// \param n the number.
    /// \return this value.
    CPValue& operator=(std::int32_t n);
    /// Set(float).
    /// \param f the number.
    /// \return this value.
    CPValue& operator=(float f);
    /// Set(double).
    /// \param d the number.
    /// \return this value.
    CPValue& operator=(double d);
    /// Set(char const*).
    /// \param sz the text.
    /// \return this value.
    CPValue& operator=(char const* sz);

    /// This value itself takes the source's value, status, units, purpose and
    /// subvalues; its name, parent and lock stay its own.
    /// \param src the source.
    void Copy(CPValue& src);
    /// Empties the value and takes what a token has.
    /// \param tok the token.
    void Copy(Token& tok);

    /// \param pval the upper bound; the value takes a reference.
    void SetUpperBound(CPValue* pval) { _set_pvalUpperBound(pval); }
    /// \param pval the lower bound; the value takes a reference.
    void SetLowerBound(CPValue* pval) { _set_pvalLowerBound(pval); }
    /// Releases both bounds.
    void ClearBounds();
    /// \param d a number.
    /// \return 1 within the bounds; 106 outside them.
    short TestBounds(double d);
    /// \param pval a value.
    /// \return 1 within the bounds; 106 outside them.
    short TestBounds(CPValue* pval);

    /// \return the upper bound, or null.
    CPValue* _get_pvalUpperBound() const { return pvalUpperBound; }
    /// Takes a reference on the new bound and releases the old.
    /// \param pval the bound, or null.
    void _set_pvalUpperBound(CPValue* pval);
    /// \return the lower bound, or null.
    CPValue* _get_pvalLowerBound() const { return pvalLowerBound; }
    /// Takes a reference on the new bound and releases the old.
    /// \param pval the bound, or null.
    void _set_pvalLowerBound(CPValue* pval);
    /// \return the kept vector form, or null.
    void* _get_pvVector() const { return pvVector; }
    /// \param pv a vector from malloc, which the value frees.
    void _set_pvVector(void* pv) { pvVector = pv; }
    /// \param pstr when given, receives the units' text.
    /// \return the units, kept by the value; null for none.
    UnitString* _get_punstrUnits(CPString* pstr = nullptr) const;
    /// Takes a reference on the new units and releases the old.
    /// \param punstr the units, or null.
    void _set_punstrUnits(UnitString* punstr);
    /// Sets the units by text; an empty or null text clears.
    /// \param sz the units' text.
    void _set_punstrUnits(char const* sz);
    /// \param buf the caller's buffer, which receives the units' text.
    /// \return buf.
    char* _get_punstrUnits_As_sz(char* buf) const;
    /// \return the purpose, or null.
    CPString* _get_pstrPurpose() const { return pstrPurpose; }
    /// Takes a reference on the new purpose and releases the old.
    /// \param pstr the purpose, or null.
    void _set_pstrPurpose(CPString* pstr);
    /// Sets the purpose by text.
    /// \param sz the purpose.
    void _set_pstrPurpose(char const* sz);
    /// \return the purpose's text, or "".
    char const* _get_pstrPurpose_As_sz() const;
    /// \return the context node, or null.
    Navigable* _get_pnvgContext() const { return pnvgContext; }
    /// \param pnvg the context node; the value takes a reference.
    void _set_pnvgContext(Navigable* pnvg);
    /// \return the kept path texts, or null.
    CPList* _get_plstReferences() const { return plstReferences; }
    /// \param plst the list of path texts, which the value takes over.
    void _set_plstReferences(CPList* plst);
    /// \return the parent, or null.
    CPValue* _get_pvalParent() const { return pvalParent; }
    /// \param pval the parent, not counted.
    void _set_pvalParent(CPValue* pval) { pvalParent = pval; }

    /// Gives the applicable value these units, converting its number from
    /// units it has; a collection passes them to its numeric subvalues.
    /// \param szUnits the units' text.
    /// \param bDelta non-zero converts as a difference.
    /// \param bForce non-zero sets the units without converting.
    /// \throws Exception 1344 for units of other dimensions.
    void AssignUnits(char const* szUnits, short bDelta = 0, short bForce = 0);

    /// Reads "value|units(purpose)" into the applicable value, with all the
    /// checks and the unit conversion of assignment.
    /// \param sz the text.
    /// \param bKeepFraction non-zero keeps a fraction of an integer type.
    /// \throws Exception as Set() and operator=(CPValue&).
    void SetFromString(char const* sz, short bKeepFraction = 0);
    /// The value's text; a collection prints as an expression.
    /// \param buf the caller's buffer, which the caller sizes.
    /// \param nPrecision digits after the point.
    void GetAsString(char* buf, char nPrecision = 6);
    /// The number, in the preferred units of its quantity where there are any,
    /// and for a defined type " |units| ".
    /// \param buf the caller's buffer, or null.
    /// \param pstr receives the text, when not null.
    void GetDisplayString(char* buf, CPString* pstr);
    /// The number in base units and their text.
    /// \param pd receives the number.
    /// \param szUnits receives the units' text.
    /// \return 1 when the value has units.
    short GetAsSI(double* pd, char* szUnits);
    /// The number in the preferred display units, their text and decimals. A
    /// failure of the units goes to the report log.
    /// \param pd receives the number.
    /// \param szUnits receives the units' text.
    /// \param pcDecimals receives the decimals.
    /// \return 1, or 0 when there are no preferred units.
    short GetAsPreferred(double* pd, char* szUnits, char* pcDecimals);
    /// Describes the value: its moniker.
    /// \param pstr receives the description.
    void WhoAmI(CPString* pstr) override;

    /// \return the subvalues of a collection, or null.
    CPCollection* _get_pclValues() const { return IsCollection() != 0 ? m_pclValues : nullptr; }
    /// \return the number of subvalues.
    std::uint32_t GetSubvalueCount() const;
    /// \return the number of subvalues.
    std::int32_t ValueCount() const { return static_cast<std::int32_t>(GetSubvalueCount()); }
    /// \return the first subvalue, or null.
    CPValue* GetFirstSubvalue();
    /// \return the next subvalue, or null.
    CPValue* GetNextSubvalue();
    /// \param n an index.
    /// \return the subvalue there, or null.
    CPValue* GetSubvalueByIndex(std::uint32_t n);
    /// \param szName a name.
    /// \return the subvalue of that name, or null.
    CPValue* GetSubvalueByName(char const* szName);
    /// Adds a subvalue: takes a reference on it and makes this value its parent.
    /// \param pval the subvalue.
    /// \param szName its name, or null. A name replaces a namesake, or with
    ///        bKeepBoth is lengthened by "X" until free.
    /// \param bKeepBoth non-zero keeps a namesake.
    /// \return pval.
    CPValue* AddSubvalue(CPValue* pval, char const* szName = nullptr, short bKeepBoth = 0);
    /// Makes the value a collection.
    /// \param bKeepValue non-zero keeps the present value as the first subvalue.
    /// \param nUnused not used.
    void PromoteToCollection(short bKeepValue, short nUnused = 0);
    /// Removes and releases a subvalue.
    /// \param pval the subvalue.
    /// \return 1, or 0 when it is not one.
    short DeleteValue(CPValue* pval);
    /// Removes and releases a subvalue by name.
    /// \param szName the name.
    /// \return 1, or 0 when there is none.
    short DeleteNamedValue(char const* szName);
    /// Removes and releases a subvalue by index.
    /// \param n the index.
    /// \return 1, or 0 when there is none.
    short DeleteIndexedValue(short n);
    /// Removes and releases every subvalue.
    /// \return 1, or 0 for a scalar.
    short DeleteAllSubvalues();
    /// \return the selected subvalue, or null.
    CPValue* GetSelection();
    /// \return the selector, or -1.
    short _get_nSelector() const { return nSelector; }
    /// Selects a subvalue.
    /// \param n its index.
    /// \param bForce without it a number outside the collection becomes -1.
    void _set_nSelector(short n, short bForce = 0);

    // Calls pfn on each subvalue; a value that never held subvalues is a
    // fault of the caller.
    using Navigable::ForEach;
    /// Calls a function on each subvalue; a value that never held subvalues is
    /// a fault of the caller.
    /// \param pfn the function.
    /// \param pvUser its second argument.
    void ForEach(pfnKillFunc pfn, void* pvUser);

    /// \return the subvalues in list form, converting a tree first; null for a scalar.
    CPList* _get_plstValues();
    /// Writes the representation bit only; ConvertSublistRepresentation()
    /// changes the collection itself.
    /// \param n 0 a list, 1 a tree keyed by name.
    void _set_nSublistRepresentation(char n) { PutBits(kSublistRepresentation, n); }
    /// Converts the subvalues' collection.
    /// \param nKind 0 makes the list form, 1 the tree form.
    /// \throws int kBadRepresentation for another kind.
    void ConvertSublistRepresentation(char nKind);
    /// The integer ConvertSublistRepresentation() throws for an unknown kind.
    static constexpr int kBadRepresentation = 0xf1acc1d;
    /// A test of a subvalue: non-zero passes.
    using pfnSubvalueTest = int (*)(void* pvItem, void* pvUser);
    /// \param pfn the test.
    /// \param pvUser its second argument.
    /// \return the first subvalue that passes, or null.
    CPValue* FirstSubvalueThat(pfnSubvalueTest pfn, void* pvUser);
    /// \param pfn the test.
    /// \param pvUser its second argument.
    /// \return the index of the first subvalue that passes; -1 when none does.
    std::int32_t FindIndexOfMatchingSubval(pfnSubvalueTest pfn, void* pvUser);
    /// \param c a character.
    /// \return the index of the first subvalue equal to it as read in that type; -1 when none.
    std::int32_t FindIndexOfMatchingSubval(char c);
    /// \param n a number.
    /// \return the index of the first subvalue equal to it as read in that type; -1 when none.
    std::int32_t FindIndexOfMatchingSubval(short n);
    /// \param n a number.
    /// \return the index of the first subvalue equal to it as read in that type; -1 when none.
    std::int32_t FindIndexOfMatchingSubval(std::int32_t n);
    /// \param f a number.
    /// \return the index of the first subvalue equal to it as read in that type; -1 when none.
    std::int32_t FindIndexOfMatchingSubval(float f);
    /// \param d a number.
    /// \return the index of the first subvalue equal to it as read in that type; -1 when none.
    std::int32_t FindIndexOfMatchingSubval(double d);
    /// \param sz a text.
    /// \return the index of the first subvalue equal to it; -1 when none.
    std::int32_t FindIndexOfMatchingSubval(char const* sz);
    /// Adds a new value set to the number, as AddSubvalue(CPValue*, char const*, short).
    /// \param n the number.
    /// \param szName its name, or null.
    /// \param bKeepBoth non-zero keeps a namesake.
    /// \return the new subvalue, held by this value.
    CPValue* AddSubvalue(short n, char const* szName = nullptr, short bKeepBoth = 0);
    /// Adds a new value set to the number.
    /// \param n the number.
    /// \param szName its name, or null.
    /// \param bKeepBoth non-zero keeps a namesake.
    /// \return the new subvalue, held by this value.
    CPValue* AddSubvalue(std::int32_t n, char const* szName = nullptr, short bKeepBoth = 0);
    /// Adds a new value set to the number.
    /// \param f the number.
    /// \param szName its name, or null.
    /// \param bKeepBoth non-zero keeps a namesake.
    /// \return the new subvalue, held by this value.
    CPValue* AddSubvalue(float f, char const* szName = nullptr, short bKeepBoth = 0);
    /// Adds a new value set to the number.
    /// \param d the number.
    /// \param szName its name, or null.
    /// \param bKeepBoth non-zero keeps a namesake.
    /// \return the new subvalue, held by this value.
    CPValue* AddSubvalue(double d, char const* szName = nullptr, short bKeepBoth = 0);
    /// Adds a new value set to the text.
    /// \param sz the text.
    /// \param szName its name, or null.
    /// \param bKeepBoth non-zero keeps a namesake.
    /// \return the new subvalue, held by this value.
    CPValue* AddSubvalue(char const* sz, char const* szName = nullptr, short bKeepBoth = 0);
    /// Selects a subvalue by name.
    /// \param szName the name.
    /// \return 1 when found and selected; 0 for a scalar or another name.
    short SetSelectedSubvalue(char const* szName);
    /// \return 1 when this value is its parent's selected subvalue.
    short IsSelectedChild();
    /// The numbers of a collection as a flat array.
    /// \param nType TY_BOOL, TY_SHORT, TY_LONG, TY_FLOAT or TY_DOUBLE.
    /// \param pBuf the caller's buffer, or null for an array the value keeps
    ///        until ClearVectorRepresentation() (not refreshed).
    /// \param nBytes the buffer's size; -1 unchecked.
    /// \return the array.
    void* BuildVectorRepresentation(short nType, void* pBuf = nullptr, short nBytes = -1);
    /// Frees the kept array.
    void ClearVectorRepresentation();

    /// Sets an attribute: the fields by fixed names, any other name in a
    /// dictionary of values.
    /// \param szName the name.
    /// \param pval the value.
    /// \return 1, or 0 for a null argument.
    short SetAttribute(char const* szName, CPValue* pval);
    /// \param szName an attribute's name.
    /// \return a new value for a fixed name (the caller releases it), the bound
    ///         or parent itself for those names, the stored value for another
    ///         name, or null.
    CPValue* GetAttribute(char const* szName);
    /// Removes an attribute.
    /// \param szName the name.
    /// \return 1, or 0 when there is none.
    short DeleteAttribute(char const* szName);
    /// Copies the attributes of the dictionary from another value.
    /// \param pval the other value.
    void CopyExtraAttributes(CPValue* pval);
    /// \return the dictionary of other attributes, or null.
    CPDictionary* _get_pdctAttributes() const { return pdctAttributes; }

    /// \param szName a subvalue's name.
    /// \return the subvalue, made when missing.
    CPValue* InternSubvalue(char const* szName);
    /// \param pmk a moniker whose sub-value steps lead from here.
    /// \return the subvalue, made with what is missing.
    CPValue* InternSubvalue(SorvaneMoniker* pmk);
    /// \param pmk a moniker whose sub-value steps lead from here.
    /// \return the subvalue, or null.
    CPValue* GetSubvalue(SorvaneMoniker* pmk);
    /// Removes the subvalue a moniker leads to.
    /// \param pmk the moniker.
    /// \return 1, or 0 when there is none.
    short DeleteSubvalue(SorvaneMoniker* pmk);
    /// Keeps a path text among the references.
    /// \param szPath the path.
    /// \param pes a reference step.
    /// \return 1, or 0 for a null argument or a step that is no reference.
    short AddPseudoRelation(char const* szPath, EdgeSpec* pes);
    /// The steps from the top parent down to this value as a collection of
    /// names and indexes.
    /// \param pval receives the steps.
    /// \return 1 when a step was added.
    short BuildThisValuesMoniker(CPValue* pval);
    /// The steps from the top parent down to this value, ":name" or "[n]" each.
    /// \param buf the caller's buffer, which the caller sizes.
    /// \return buf.
    char* BuildThisValuesMoniker(char* buf);
    /// The steps from the top parent down to this value, ":name" or "[n]" each.
    /// \param pstr receives the text.
    void BuildThisValuesMoniker(CPString* pstr);
    /// Hears nothing.
    void ReceiveNotification(Notifier*, unsigned long) {}
    /// \param pnav a node reached by a bracketed path.
    /// \return the number it stands for.
    static std::int32_t NodeIndexOf(Navigable* pnav);
    /// One relation record of the value's markup: nIndent blanks, then
    /// `<Relation RelType=... Target=... [Supplemental=...]/>` and a line end;
    /// nothing for the target "<empty>".
    /// \param out the text appended to.
    /// \param nIndent the blanks.
    /// \param szRelType the relation's text.
    /// \param szTarget the target's text.
    /// \param szSupplemental the supplemental text, or null.
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
    /// \return 0.
    std::int32_t GetClass() override { return 0; }
    /// \return 0.
    std::int32_t GetSubClass() override { return 0; }
    Navigable* CreateInstance() override;
    Navigable* CreateRelatedNode(EdgeSpec* pes) override;
    /// \return this value: a value is its own internal node.
    void* GetRoot() override { return this; }
    void* TraverseStep(void* pvNode, EdgeSpec* pes) override;
    void* CreateNode(void* pvNode, EdgeSpec* pes) override;
    /// Nothing to give back.
    void ReleaseNode(void*) override {}

    /// Writes the file form: magic, version, token, subvalues, units, name, selector.
    /// \param out the stream.
    /// \param val the value.
    /// \return the stream.
    SORVANE_API friend std::ostream& operator<<(std::ostream& out, CPValue& val);
    /// Reads the file form.
    /// \param in the stream.
    /// \param val the value.
    /// \return the stream.
    /// \throws Exception 401 for a bad magic or version, 402 for data that ends
    ///         early or nests too deeply (std::uint32_t 0xDEADF0CC from a broken string).
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
    /// The sum of two values. Every operator is a member of its result: it is
    /// called on the value that receives the result. Operands with units are
    /// brought to their base units first; a sum or difference has the left
    /// operand's units, a product or quotient the combined base units.
    /// \param a the left operand.
    /// \param b the right operand.
    /// \param pResult the result; this value when null.
    /// \throws Exception 1344 for units of other dimensions.
    void AddOperator(CPValue& a, CPValue& b, CPValue* pResult);
    /// The difference of two values.
    /// \param a the left operand.
    /// \param b the right operand.
    /// \param r the result.
    /// \throws Exception 1344 for units of other dimensions.
    void SubOperator(CPValue& a, CPValue& b, CPValue& r);
    /// The product of two values.
    /// \param a the left operand.
    /// \param b the right operand.
    /// \param r the result.
    void MulOperator(CPValue& a, CPValue& b, CPValue& r);
    /// The quotient of two values.
    /// \param a the dividend.
    /// \param b the divisor.
    /// \param r the result.
    /// \throws Exception 501 for a zero divisor.
    void DivOperator(CPValue& a, CPValue& b, CPValue& r);
    /// The remainder; floating operands are truncated to integers first. An
    /// integer remainder by zero ends the process through the fatal check.
    /// \param a the dividend.
    /// \param b the divisor.
    /// \param r the result.
    void ModOperator(CPValue& a, CPValue& b, CPValue& r);
    /// The bitwise or of two values.
    /// \param a the left operand.
    /// \param b the right operand.
    /// \param r the result.
    void OrOperator(CPValue& a, CPValue& b, CPValue& r);
    /// The bitwise exclusive or of two values.
    /// \param a the left operand.
    /// \param b the right operand.
    /// \param r the result.
    void XorOperator(CPValue& a, CPValue& b, CPValue& r);
    /// The bitwise and of two values.
    /// \param a the left operand.
    /// \param b the right operand.
    /// \param r the result.
    void AndOperator(CPValue& a, CPValue& b, CPValue& r);
    /// A short 0 or 1 in the result, which has no units.
    /// \param a the left operand.
    /// \param b the right operand.
    /// \param r the result.
    /// \throws Exception 1344 for units of other dimensions.
    void LessOperator(CPValue& a, CPValue& b, CPValue& r);
    /// A short 0 or 1 in the result, which has no units.
    /// \param a the left operand.
    /// \param b the right operand.
    /// \param r the result.
    /// \throws Exception 1344 for units of other dimensions.
    void LEOperator(CPValue& a, CPValue& b, CPValue& r);
    /// A short 0 or 1 in the result, which has no units.
    /// \param a the left operand.
    /// \param b the right operand.
    /// \param r the result.
    /// \throws Exception 1344 for units of other dimensions.
    void GreaterOperator(CPValue& a, CPValue& b, CPValue& r);
    /// A short 0 or 1 in the result, which has no units.
    /// \param a the left operand.
    /// \param b the right operand.
    /// \param r the result.
    /// \throws Exception 1344 for units of other dimensions.
    void GEOperator(CPValue& a, CPValue& b, CPValue& r);
    /// The logical negation of a value into this one.
    /// \param a the operand.
    void NotOperator(CPValue& a);
    /// The arithmetic negation of a value into this one.
    /// \param a the operand.
    void NegOperator(CPValue& a);
    /// Adds a value to this one.
    /// \param b the operand.
    /// \return this value.
    /// \throws Exception 1344 for units of other dimensions.
    CPValue& operator+=(CPValue& b);
    /// Subtracts a value from this one.
    /// \param b the operand.
    /// \return this value.
    /// \throws Exception 1344 for units of other dimensions.
    CPValue& operator-=(CPValue& b);
    /// Multiplies this value by another.
    /// \param b the operand.
    /// \return this value.
    CPValue& operator*=(CPValue& b);
    /// Divides this value by another.
    /// \param b the operand.
    /// \return this value.
    /// \throws Exception 501 for a zero divisor.
    CPValue& operator/=(CPValue& b);

    /// Floating numbers compare within dbTolerance of the argument. Units of
    /// other dimensions are never equivalent.
    /// \param pval the other value.
    /// \return 1 when equivalent.
    short IsEquivalentTo(CPValue* pval);
    /// \param pval the other value.
    /// \return 1 when greater, beyond the tolerance.
    /// \throws Exception 1344 for units of other dimensions.
    short IsGreaterThan(CPValue* pval);
    /// \param pval the other value.
    /// \return 1 when greater or equivalent.
    /// \throws Exception 1344 for units of other dimensions.
    short IsGreaterThanOrEqualTo(CPValue* pval);
    /// \param pval the other value.
    /// \return 1 when less, beyond the tolerance.
    /// \throws Exception 1344 for units of other dimensions.
    short IsLessThan(CPValue* pval);
    /// \param pval the other value.
    /// \return 1 when less or equivalent.
    /// \throws Exception 1344 for units of other dimensions.
    short IsLessThanOrEqualTo(CPValue* pval);

    /// Gives a result the units of its operands.
    /// \param a the left operand.
    /// \param b the right operand.
    /// \param r the result.
    /// \param nOperation 1 (or 2) for a sum or difference, 4 for a product, 8
    ///        for a quotient.
    static void AssignResultantUnits(CPValue* a, CPValue* b, CPValue* r, char nOperation);

protected:
    /// \return this value's own token, or for a bound value a new token with the
    ///         proxy's value, which ReleaseToken() deletes.
    Token* FetchToken();
    /// The applicable value's number in base units.
    /// \param pval the value.
    /// \param bDelta non-zero converts as a difference.
    /// \return its own token when it has no units or is in base units already,
    ///         else a new token, which ReleaseToken() deletes.
    static Token* ValueToSIToken(CPValue* pval, short bDelta);
    /// Both operands' tokens brought to a common base.
    /// \param pptokA receives the left token.
    /// \param pvalA the left operand.
    /// \param pptokB receives the right token.
    /// \param pvalB the right operand.
    /// \param nOperation 0 comparison, 1 product or remainder, 2 sum or
    ///        difference, 3 quotient.
    /// \throws Exception 1344 for units of other dimensions where they must match.
    static void GetSITokens(Token** pptokA, CPValue* pvalA, Token** pptokB, CPValue* pvalB,
                            short nOperation);
    /// Deletes a token that FetchToken() or ValueToSIToken() made for a value.
    /// \param ptok the token.
    /// \param pval the value.
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
    /// Binds this value to a proxy, or unbinds it. What the value held is not
    /// kept: bind an empty value.
    /// \param p the proxy, not owned; null unbinds.
    /// \return 1.
    short BindToProxy(ProxyValue* p);
    /// \return the proxy, or null when not bound.
    ProxyValue* _get_pproxy() const { return _get_bBoundToProxy() != 0 ? pproxy : nullptr; }

    /// Token::SetValue(char, short), through the proxy of a bound value.
    /// \param c the character.
    /// \param nIndex the element.
    void SetValue(char c, short nIndex = 0);
    /// Token::SetValue(short, short), through the proxy of a bound value.
    /// \param n the number.
    /// \param nIndex the element.
    void SetValue(short n, short nIndex = 0);
    /// Token::SetValue(std::int32_t, short), through the proxy of a bound value.
    /// \param n the number.
    /// \param nIndex the element.
    void SetValue(std::int32_t n, short nIndex = 0);
    /// Token::SetValue(float, short), through the proxy of a bound value.
    /// \param f the number.
    /// \param nIndex the element.
    void SetValue(float f, short nIndex = 0);
    /// Token::SetValue(double), through the proxy of a bound value.
    /// \param d the number.
    void SetValue(double d);
    /// Token::SetValue(char const*), through the proxy of a bound value.
    /// \param sz the text.
    void SetValue(char const* sz);
    /// Token::SetValueBool(), through the proxy of a bound value.
    /// \param b non-zero for true.
    void SetValueBool(short b);
    /// Token::FetchChar(), through the proxy of a bound value.
    /// \param nIndex the element.
    /// \return the value as a character.
    char FetchChar(short nIndex = 0) const;
    /// Token::FetchShort(), through the proxy of a bound value.
    /// \param nIndex the element.
    /// \return the value as a 16-bit number.
    short FetchShort(short nIndex = 0) const;
    /// Token::FetchLong(), through the proxy of a bound value.
    /// \param nIndex the element.
    /// \return the value as a 32-bit number.
    std::int32_t FetchLong(short nIndex = 0) const;
    /// Token::FetchFloat(), through the proxy of a bound value.
    /// \param nIndex the element.
    /// \return the value as a single-precision number.
    float FetchFloat(short nIndex = 0) const;
    /// \return the value as a double-precision number, through the proxy of a bound value.
    double FetchDouble() const;
    /// \return the value as a truth value, through the proxy of a bound value.
    short FetchBool() const;
    /// Token::FetchAsString(), through the proxy of a bound value.
    /// \param buf the caller's buffer, which the caller sizes.
    /// \param nPrecision digits after the point.
    void FetchAsString(char* buf, char nPrecision) const;
    /// Token::FetchAsString(), cut to fit, through the proxy of a bound value.
    /// \param buf the caller's buffer.
    /// \param nSize its size.
    /// \param nPrecision digits after the point.
    void FetchAsString(char* buf, std::size_t nSize, char nPrecision) const;
    /// Token::FetchStringLiteral(), through the proxy of a bound value.
    /// \param buf the caller's buffer, which the caller sizes.
    void FetchStringLiteral(char* buf) const;
    /// \return Token::IsStringLiteral(), through the proxy of a bound value.
    short IsStringLiteral() const;
    /// \return Token::IsNumericType(), through the proxy of a bound value.
    short IsNumericType() const;

private:
    ProxyValue* Bound() const { return _get_bBoundToProxy() != 0 ? pproxy : nullptr; }
    // The type as read through the proxy of a bound value.
    std::uint16_t DataTypeThrough() const;
    // The token part of Copy: the source's value (through its proxy when it
    // is bound) into the own token, or into the proxy when this is bound.
    void CopyTokenThrough(CPValue& src);
};

/// \brief A number that lives elsewhere: a value bound to a proxy passes
/// every read and write to it.
///
/// The operations here answer 0 and do nothing; a proxy onto a host's model
/// overrides them. Setters answer 1 when the proxy took the value.
class SORVANE_API ProxyValue {
public:
    /// The room of the text that the value asks a proxy for.
    static constexpr std::size_t kTextSize = 65536 + 16;

    /// \return the type code; 0 here.
    virtual short GetDataType() { return 0; }
    /// Sets the type code.
    /// \return 1 when taken; 0 here.
    virtual short SetDataType(short) { return 0; }
    /// Sets a text.
    /// \return 1 when taken; 0 here.
    virtual short SetValue(char const*) { return 0; }
    /// Sets a number.
    /// \return 1 when taken; 0 here.
    virtual short SetValue(double) { return 0; }
    /// Sets a number.
    /// \return 1 when taken; 0 here.
    virtual short SetValue(float) { return 0; }
    /// Sets a number.
    /// \return 1 when taken; 0 here.
    virtual short SetValue(std::int32_t) { return 0; }
    /// Sets a number.
    /// \return 1 when taken; 0 here.
    virtual short SetValue(short) { return 0; }
    /// Sets a character.
    /// \return 1 when taken; 0 here.
    virtual short SetValue(char) { return 0; }
    /// Sets a truth value.
    /// \return 1 when taken; 0 here.
    virtual short SetValueBool(short) { return 0; }
    /// \return the value as a character; 0 here.
    virtual char FetchChar() { return 0; }
    /// \return the value as a 16-bit number; 0 here.
    virtual short FetchShort() { return 0; }
    /// \return the value as a truth value; 0 here.
    virtual short FetchBool() { return 0; }
    /// \return the value as a 32-bit number; 0 here.
    virtual std::int32_t FetchLong() { return 0; }
    /// \return the value as a single-precision number; 0 here.
    virtual float FetchFloat() { return 0.0f; }
    /// \return the value as a double-precision number; 0 here.
    virtual double FetchDouble() { return 0.0; }
    /// Writes the value as a literal into a buffer of kTextSize; nothing here.
    virtual void FetchStringLiteral(char*) {}
    /// Writes the value's text into a buffer of kTextSize; nothing here.
    virtual void FetchAsString(char*) {}
    virtual ~ProxyValue() = default;

    /// Writes the long 1234 into the token; the proxy is not read.
    /// \param ptok the token.
    /// \return 1.
    short CopyToToken(Token* ptok);
    /// Sets the token's type, then its text at precision 6 by SetFromString().
    /// \param ptok the token.
    /// \return SetFromString()'s answer.
    short SetFromToken(Token* ptok);
    /// "<empty>" makes the proxy undefined; other text is read by the proxy's
    /// present type and given to the matching setter.
    /// \param sz the text.
    /// \return the setter's answer.
    short SetFromString(char const* sz);
    /// \return 1 when the proxy's type is below TY_STRING.
    short IsNumericType() { return GetDataType() < static_cast<short>(TY_STRING) ? 1 : 0; }
    /// \return 1 when the proxy's text is a string literal.
    short IsStringLiteral();
};

/// \brief The proxy of the framework itself: the number is kept in a Token,
/// of which it holds one reference.
class SORVANE_API TokenProxyValue : public ProxyValue {
public:
    TokenProxyValue() = default;
    TokenProxyValue(TokenProxyValue const&) = delete;
    TokenProxyValue& operator=(TokenProxyValue const&) = delete;
    /// Releases the token.
    ~TokenProxyValue() override;

    /// Releases any token and makes a new one.
    void CreateToken();
    /// Releases the old token and takes a reference on the new.
    /// \param ptokNew the token.
    void SetToken(Token* ptokNew);
    /// \return the token, or null.
    Token* _get_ptok() const { return ptok; }

    /// \return the token's type; 0 without a token.
    short GetDataType() override;
    /// Sets the token's type.
    /// \param n the type code.
    /// \return 1, or 0 without a token.
    short SetDataType(short n) override;
    /// \param sz the text.
    /// \return 1, or 0 without a token.
    short SetValue(char const* sz) override;
    /// \param d the number.
    /// \return 1, or 0 without a token.
    short SetValue(double d) override;
    /// \param f the number.
    /// \return 1, or 0 without a token.
    short SetValue(float f) override;
    /// \param n the number.
    /// \return 1, or 0 without a token.
    short SetValue(std::int32_t n) override;
    /// \param n the number.
    /// \return 1, or 0 without a token.
    short SetValue(short n) override;
    /// \param c the character.
    /// \return 1, or 0 without a token.
    short SetValue(char c) override;
    /// \param b non-zero for true.
    /// \return 1, or 0 without a token.
    short SetValueBool(short b) override;
    char FetchChar() override;
    short FetchShort() override;
    short FetchBool() override;
    std::int32_t FetchLong() override;
    float FetchFloat() override;
    double FetchDouble() override;
    /// Writes the token's value as a literal.
    /// \param buf the caller's buffer.
    void FetchStringLiteral(char* buf) override;
    /// Writes the token's text.
    /// \param buf the caller's buffer.
    void FetchAsString(char* buf) override;

private:
    Token* ptok = nullptr;
};

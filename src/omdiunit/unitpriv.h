/// \file
/// What a unit of measure is: the CUnit family with names, a scale and an
/// offset, the prefixes, and the small string-keyed hash table through which
/// units are found by symbol.
#pragma once

#include <omdiunit/cunitid.h>
#include <util/createable.h>
#include <util/exceptions.h>
#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

/// \brief The base of every unit of measure.
///
/// A value in the unit is value * Factor() + Offset() in coherent SI, except
/// that mass factors are relative to the kilogram while the gram row itself
/// has factor 1; the conversions repair that.
class SORVANE_API CUnit {
public:
    /// \param id the unit's packed dimension.
    explicit CUnit(std::uint32_t id) : ulId(id) {}
    CUnit(CUnit const&) = delete;
    CUnit& operator=(CUnit const&) = delete;
    virtual ~CUnit() = default;

    /// \return the quantity the unit measures; EmptyString() when it holds none.
    virtual CPString& What();
    /// \return the unit's name; EmptyString() when it holds none.
    virtual CPString& Name();
    /// \return the unit's symbol; EmptyString() when it holds none.
    virtual CPString& Symbol();
    /// \return 1 for a unit of the SI, else 0.
    virtual int IsSI() = 0;
    /// The dimension as text. One text shared by every unit: each call
    /// overwrites the last answer.
    /// \return the text.
    virtual CPString& DimensionText();
    /// \return the unit's composition in other units; EmptyString() when it holds none.
    virtual CPString& Composit();
    /// \return the factor to coherent SI; 1 here.
    virtual double Factor();
    /// \return the offset to coherent SI; 0 here.
    virtual double Offset();

    /// \return the one empty string for every text a unit does not hold; it
    ///         lives to the end of the process.
    static CPString& EmptyString();

    /// The unit's packed dimension.
    std::uint32_t ulId;

protected:
    /// Creates the string on first use.
    /// \param pstr the string's pointer.
    /// \return the string.
    static CPString& Lazy(CPString*& pstr);
    /// Sets a string's text.
    /// \param str the string.
    /// \param text the text.
    static void Fill(CPString& str, char const* text);
};

/// \brief A base unit of the SI (metre, kilogram, ...).
class SORVANE_API CSIBaseUnit : public CUnit {
public:
    /// \param id the packed dimension.
    /// \param what the quantity.
    /// \param name the name.
    /// \param symbol the symbol.
    CSIBaseUnit(std::uint32_t id, char const* what, char const* name, char const* symbol);
    /// Frees the texts.
    ~CSIBaseUnit() override;
    CPString& What() override { return Lazy(pstrWhat); }
    CPString& Name() override { return Lazy(pstrName); }
    CPString& Symbol() override { return Lazy(pstrSymbol); }
    int IsSI() override { return 1; }

private:
    CPString* pstrWhat = nullptr;
    CPString* pstrName = nullptr;
    CPString* pstrSymbol = nullptr;
};

/// \brief A derived unit of the SI with a name and no symbol.
class SORVANE_API CSIDerivedUnit : public CUnit {
public:
    /// \param id the packed dimension.
    /// \param what the quantity.
    /// \param name the name.
    CSIDerivedUnit(std::uint32_t id, char const* what, char const* name);
    /// Frees the texts.
    ~CSIDerivedUnit() override;
    CPString& What() override { return Lazy(pstrWhat); }
    CPString& Name() override { return Lazy(pstrName); }
    int IsSI() override { return 1; }

private:
    CPString* pstrWhat = nullptr;
    CPString* pstrName = nullptr;
};

/// \brief A derived unit of the SI with a name and a symbol, and optionally
/// its composition.
class SORVANE_API CSIDerivedAUnit : public CUnit {
public:
    /// \param id the packed dimension.
    /// \param what the quantity.
    /// \param name the name.
    /// \param symbol the symbol.
    /// \param composit the composition in other units.
    CSIDerivedAUnit(std::uint32_t id, char const* what, char const* name, char const* symbol,
                    char const* composit);
    /// \param id the packed dimension.
    /// \param what the quantity.
    /// \param name the name.
    /// \param symbol the symbol.
    CSIDerivedAUnit(std::uint32_t id, char const* what, char const* name, char const* symbol);
    /// Frees the texts.
    ~CSIDerivedAUnit() override;
    CPString& What() override { return Lazy(pstrWhat); }
    CPString& Name() override { return Lazy(pstrName); }
    CPString& Symbol() override { return Lazy(pstrSymbol); }
    CPString& Composit() override { return Lazy(pstrComposit); }
    int IsSI() override { return 1; }

private:
    CPString* pstrWhat = nullptr;
    CPString* pstrName = nullptr;
    CPString* pstrSymbol = nullptr;
    CPString* pstrComposit = nullptr;
};

/// \brief A derived unit of the SI known by its composition alone.
class SORVANE_API CSIDerivedBUnit : public CUnit {
public:
    /// \param id the packed dimension.
    /// \param what the quantity.
    /// \param composit the composition in other units.
    CSIDerivedBUnit(std::uint32_t id, char const* what, char const* composit);
    /// Frees the texts.
    ~CSIDerivedBUnit() override;
    CPString& What() override { return Lazy(pstrWhat); }
    CPString& Composit() override { return Lazy(pstrComposit); }
    int IsSI() override { return 1; }

private:
    CPString* pstrWhat = nullptr;
    CPString* pstrComposit = nullptr;
};

/// \brief The data of a scaled unit: name, symbol, factor and offset. Each
/// scaled class holds one and derives from CUnit directly; they differ in
/// their constructors' argument order and in IsSI.
struct SORVANE_API ScaledUnitData {
    /// \param name the name.
    /// \param symbol the symbol.
    /// \param factor the factor to coherent SI.
    /// \param offset the offset to coherent SI.
    ScaledUnitData(char const* name, char const* symbol, double factor, double offset);
    ScaledUnitData(ScaledUnitData const&) = delete;
    ScaledUnitData& operator=(ScaledUnitData const&) = delete;
    /// Frees the texts.
    ~ScaledUnitData();
    /// \return the name.
    CPString& Name();
    /// \return the symbol.
    CPString& Symbol();

    /// The name, made on first use.
    CPString* pstrName = nullptr;
    /// The symbol, made on first use.
    CPString* pstrSymbol = nullptr;
    /// The factor to coherent SI.
    double dFactor;
    /// The offset to coherent SI.
    double dOffset;
};

/// The overrides of CUnit that a scaled unit answers from its ScaledUnitData.
#define SV_SCALED_UNIT_OVERRIDES                                                                   \
    CPString& Name() override {                                                                    \
        return data.Name();                                                                        \
    }                                                                                              \
    CPString& Symbol() override {                                                                  \
        return data.Symbol();                                                                      \
    }                                                                                              \
    double Factor() override {                                                                     \
        return data.dFactor;                                                                       \
    }                                                                                              \
    double Offset() override {                                                                     \
        return data.dOffset;                                                                       \
    }

/// \brief A scaled unit accepted beside the SI (litre, hour, ...).
class SORVANE_API CSIOtherUnit : public CUnit {
public:
    /// \param name the name.
    /// \param symbol the symbol.
    /// \param id the packed dimension.
    /// \param factor the factor to coherent SI.
    /// \param offset the offset to coherent SI.
    CSIOtherUnit(char const* name, char const* symbol, std::uint32_t id, double factor,
                 double offset)
        : CUnit(id), data(name, symbol, factor, offset) {}
    SV_SCALED_UNIT_OVERRIDES
    int IsSI() override { return 1; }

private:
    ScaledUnitData data;
};

/// \brief A scaled unit outside the SI.
class SORVANE_API COtherUnit : public CUnit {
public:
    /// \param name the name.
    /// \param symbol the symbol.
    /// \param id the packed dimension.
    /// \param factor the factor to coherent SI.
    /// \param offset the offset to coherent SI.
    COtherUnit(char const* name, char const* symbol, std::uint32_t id, double factor, double offset)
        : CUnit(id), data(name, symbol, factor, offset) {}
    SV_SCALED_UNIT_OVERRIDES
    int IsSI() override { return 0; }

private:
    ScaledUnitData data;
};

/// \brief A scaled unit outside the SI whose constructor takes the factor
/// before the id; callers rely on that order.
class SORVANE_API COtherWUnit : public CUnit {
public:
    /// \param name the name.
    /// \param symbol the symbol.
    /// \param factor the factor to coherent SI.
    /// \param id the packed dimension.
    /// \param offset the offset to coherent SI.
    COtherWUnit(char const* name, char const* symbol, double factor, std::uint32_t id,
                double offset)
        : CUnit(id), data(name, symbol, factor, offset) {}
    SV_SCALED_UNIT_OVERRIDES
    int IsSI() override { return 0; }

private:
    ScaledUnitData data;
};

#undef SV_SCALED_UNIT_OVERRIDES

/// \brief A decimal prefix: its power of ten, its name and its symbol.
class SORVANE_API UnitPrefix {
public:
    /// \param power the power of ten.
    /// \param name the name.
    /// \param symbol the symbol.
    UnitPrefix(short power, char const* name, char const* symbol);
    UnitPrefix(UnitPrefix const&) = delete;
    UnitPrefix& operator=(UnitPrefix const&) = delete;
    /// Frees the texts.
    ~UnitPrefix();
    /// \return the power of ten.
    short Power() const { return nPower; }
    /// \return the name.
    CPString& Name();
    /// \return the symbol.
    CPString& Symbol();

private:
    short nPower;
    CPString* pstrName = nullptr;
    CPString* pstrSymbol = nullptr;
};

/// \brief The value beside each pair of the foreign notation's translations:
/// a function that changes the value, or none.
class SORVANE_API UnitTxParms : public Createable {
public:
    /// \param pfn the function, or null.
    explicit UnitTxParms(double (*pfn)(double) = nullptr) : pfnTransform(pfn) {}
    /// The function that changes the value, or null.
    double (*pfnTransform)(double);
};

/// \brief A growable array in blocks of 12 elements with 16-bit count and capacity.
/// \tparam T the element type.
template <class T> class TDynArray {
public:
    /// The growth step.
    static constexpr std::uint16_t kBlockSize = 12;

    TDynArray() : pElements(new T[kBlockSize]), nCount(0), nCapacity(kBlockSize) {}
    TDynArray(TDynArray const&) = delete;
    TDynArray& operator=(TDynArray const&) = delete;
    ~TDynArray() { delete[] pElements; }

    /// An element; an index past the count ends the process through the fatal check.
    /// \param nIndex the index.
    /// \return the element.
    T& operator[](std::uint16_t nIndex) {
        SV_ASSERT(nIndex < nCount, "nIndex < nCount");
        return pElements[nIndex];
    }
    /// \return the number of elements.
    std::uint16_t Count() const { return nCount; }
    /// \return the room.
    std::uint16_t Capacity() const { return nCapacity; }

    /// Makes room at the end. A 16-bit count cannot pass 65535 elements, so the
    /// array stops there through the fatal check.
    /// \param item the element, copied.
    /// \return the new element's index.
    std::uint16_t Append(T const& item) {
        SV_ASSERT(nCount < 0xFFF0, "nCount < 0xFFF0");
        if (nCount >= nCapacity) Grow(nCount);
        pElements[nCount] = item;
        return nCount++;
    }
    /// Drops the last element, if any.
    void RemoveLast() {
        if (nCount > 0) --nCount;
    }

private:
    void Grow(std::uint16_t nWanted) {
        auto const nNew = static_cast<std::uint16_t>(kBlockSize * (nWanted / kBlockSize + 1));
        T* pNew = new T[nNew];
        for (std::uint16_t i = nCount; i > 0; --i)
            pNew[i - 1] = pElements[i - 1];
        delete[] pElements;
        pElements = pNew;
        nCapacity = nNew;
    }

    T* pElements;
    std::uint16_t nCount;
    std::uint16_t nCapacity;
};

/// \brief An entry of the symbol table: a symbol and its unit.
struct HashPair {
    /// The symbol.
    char const* key = nullptr;
    /// The unit.
    CUnit* value = nullptr;
};

/// \brief A bucket of the symbol table.
class HashList : public TDynArray<HashPair> {};

/// The hash of a key into a bucket count.
using UnitHashFunction = std::uint32_t (*)(char const* key, std::uint32_t nBuckets);
/// A comparison of two keys: 0 for equal.
using UnitCompareFunction = int (*)(char const* a, char const* b);

/// \brief The small string-keyed hash table through which units are found by symbol.
class SORVANE_API UnitHashTable {
public:
    /// \param nBuckets the number of buckets.
    /// \param pfnHash the hash.
    /// \param pfnCompare the comparison of keys.
    UnitHashTable(std::uint32_t nBuckets, UnitHashFunction pfnHash, UnitCompareFunction pfnCompare);
    UnitHashTable(UnitHashTable const&) = delete;
    UnitHashTable& operator=(UnitHashTable const&) = delete;
    /// Frees the buckets; the units are not owned.
    ~UnitHashTable();

    /// Adds a pair. The first pair under a key keeps it: adding again changes
    /// nothing.
    /// \param pair the pair.
    /// \return the pair in the table (the one already there for a known key).
    HashPair* Add(HashPair const& pair);
    /// \param key a symbol.
    /// \return its pair, or null.
    HashPair* Find(char const* key);
    /// Removes the pair of a key, if any.
    /// \param key the symbol.
    void Remove(char const* key);
    /// Calls a function on every pair.
    /// \param pfn the function.
    /// \param pvArg its second argument.
    void ForEach(void (*pfn)(HashPair& pair, void* pvArg), void* pvArg);
    /// \return the number of pairs.
    std::uint32_t Count() const { return nEntries; }

private:
    HashList& Bucket(char const* key);

    UnitHashFunction pfnHash;
    UnitCompareFunction pfnCompare;
    std::uint32_t nBuckets;
    HashList* pBuckets;
    std::uint32_t nEntries = 0;
};

/// The hash of a symbol: its 32-bit little-endian words, its remaining bytes
/// and its length, summed, modulo the bucket count.
/// \param key the symbol.
/// \param nBuckets the bucket count.
/// \return the bucket.
SORVANE_API std::uint32_t UnitSymbolHash(char const* key, std::uint32_t nBuckets);

/// Throws FWError for a broken invariant of the unit library.
/// \param text the error's text.
/// \param detail more text, or null.
/// \param line the source line.
/// \throws FWError always.
[[noreturn]] SORVANE_API void UnitInternalError(char const* text, char const* detail, int line);

/// \return the symbol table, which exists between UnitInitialize() and
///         UnitUnInitialize(); null outside.
SORVANE_API UnitHashTable* UnitSymbolTable();
/// Sets the symbol table; for the unit library itself.
/// \param ptable the table, or null.
void UnitSetSymbolTable(UnitHashTable* ptable);
/// \param symbol a unit's symbol.
/// \return its unit, or null.
/// \throws FWError when the table has not been built.
SORVANE_API CUnit* UnitFindSymbol(char const* symbol);

/// \param str a string.
/// \return its text for reading; "" when it holds none.
SORVANE_API char const* UnitTextOf(CPString const& str);

// What a unit of measure is: the CUnit family with names, a scale and an
// offset, the prefixes, and the small string-keyed hash table through which
// units are found by symbol.
#pragma once

#include <omdiunit/cunitid.h>
#include <util/createable.h>
#include <util/exceptions.h>
#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

// The base of every unit. A value in the unit is value * Factor() + Offset()
// in coherent SI, except that mass factors are relative to the kilogram while
// the gram row itself has factor 1; the conversions repair that.
class SORVANE_API CUnit {
public:
    explicit CUnit(std::uint32_t id) : ulId(id) {}
    CUnit(CUnit const&) = delete;
    CUnit& operator=(CUnit const&) = delete;
    virtual ~CUnit() = default;

    virtual CPString& What();
    virtual CPString& Name();
    virtual CPString& Symbol();
    virtual int IsSI() = 0;
    // One text shared by every unit: each call overwrites the last answer.
    virtual CPString& DimensionText();
    virtual CPString& Composit();
    virtual double Factor();
    virtual double Offset();

    // One empty string for every text a unit does not hold; it lives to the
    // end of the process.
    static CPString& EmptyString();

    std::uint32_t ulId;

protected:
    // Creates the string on first use.
    static CPString& Lazy(CPString*& pstr);
    static void Fill(CPString& str, char const* text);
};

class SORVANE_API CSIBaseUnit : public CUnit {
public:
    CSIBaseUnit(std::uint32_t id, char const* what, char const* name, char const* symbol);
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

class SORVANE_API CSIDerivedUnit : public CUnit {
public:
    CSIDerivedUnit(std::uint32_t id, char const* what, char const* name);
    ~CSIDerivedUnit() override;
    CPString& What() override { return Lazy(pstrWhat); }
    CPString& Name() override { return Lazy(pstrName); }
    int IsSI() override { return 1; }

private:
    CPString* pstrWhat = nullptr;
    CPString* pstrName = nullptr;
};

class SORVANE_API CSIDerivedAUnit : public CUnit {
public:
    CSIDerivedAUnit(std::uint32_t id, char const* what, char const* name, char const* symbol,
                    char const* composit);
    CSIDerivedAUnit(std::uint32_t id, char const* what, char const* name, char const* symbol);
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

class SORVANE_API CSIDerivedBUnit : public CUnit {
public:
    CSIDerivedBUnit(std::uint32_t id, char const* what, char const* composit);
    ~CSIDerivedBUnit() override;
    CPString& What() override { return Lazy(pstrWhat); }
    CPString& Composit() override { return Lazy(pstrComposit); }
    int IsSI() override { return 1; }

private:
    CPString* pstrWhat = nullptr;
    CPString* pstrComposit = nullptr;
};

// The data of a scaled unit: name, symbol, factor and offset. Each scaled
// class holds one and derives from CUnit directly; they differ in their
// constructors' argument order and in IsSI.
struct SORVANE_API ScaledUnitData {
    ScaledUnitData(char const* name, char const* symbol, double factor, double offset);
    ScaledUnitData(ScaledUnitData const&) = delete;
    ScaledUnitData& operator=(ScaledUnitData const&) = delete;
    ~ScaledUnitData();
    CPString& Name();
    CPString& Symbol();

    CPString* pstrName = nullptr;
    CPString* pstrSymbol = nullptr;
    double dFactor;
    double dOffset;
};

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

class SORVANE_API CSIOtherUnit : public CUnit {
public:
    CSIOtherUnit(char const* name, char const* symbol, std::uint32_t id, double factor,
                 double offset)
        : CUnit(id), data(name, symbol, factor, offset) {}
    SV_SCALED_UNIT_OVERRIDES
    int IsSI() override { return 1; }

private:
    ScaledUnitData data;
};

class SORVANE_API COtherUnit : public CUnit {
public:
    COtherUnit(char const* name, char const* symbol, std::uint32_t id, double factor, double offset)
        : CUnit(id), data(name, symbol, factor, offset) {}
    SV_SCALED_UNIT_OVERRIDES
    int IsSI() override { return 0; }

private:
    ScaledUnitData data;
};

// The factor comes before the id here, and callers rely on that order.
class SORVANE_API COtherWUnit : public CUnit {
public:
    COtherWUnit(char const* name, char const* symbol, double factor, std::uint32_t id,
                double offset)
        : CUnit(id), data(name, symbol, factor, offset) {}
    SV_SCALED_UNIT_OVERRIDES
    int IsSI() override { return 0; }

private:
    ScaledUnitData data;
};

#undef SV_SCALED_UNIT_OVERRIDES

// A decimal prefix: its power of ten, its name and its symbol.
class SORVANE_API UnitPrefix {
public:
    UnitPrefix(short power, char const* name, char const* symbol);
    UnitPrefix(UnitPrefix const&) = delete;
    UnitPrefix& operator=(UnitPrefix const&) = delete;
    ~UnitPrefix();
    short Power() const { return nPower; }
    CPString& Name();
    CPString& Symbol();

private:
    short nPower;
    CPString* pstrName = nullptr;
    CPString* pstrSymbol = nullptr;
};

// The value beside each pair of the foreign notation's translations: a
// function that changes the value, or none.
class SORVANE_API UnitTxParms : public Createable {
public:
    explicit UnitTxParms(double (*pfn)(double) = nullptr) : pfnTransform(pfn) {}
    double (*pfnTransform)(double);
};

// A growable array in blocks of 12 elements with 16-bit count and capacity.
template <class T> class TDynArray {
public:
    static constexpr std::uint16_t kBlockSize = 12;

    TDynArray() : pElements(new T[kBlockSize]), nCount(0), nCapacity(kBlockSize) {}
    TDynArray(TDynArray const&) = delete;
    TDynArray& operator=(TDynArray const&) = delete;
    ~TDynArray() { delete[] pElements; }

    T& operator[](std::uint16_t nIndex) {
        SV_ASSERT(nIndex < nCount, "nIndex < nCount");
        return pElements[nIndex];
    }
    std::uint16_t Count() const { return nCount; }
    std::uint16_t Capacity() const { return nCapacity; }

    // Makes room at the end and answers the new element's index. A 16-bit
    // count cannot pass 65535 elements, so the array stops there.
    std::uint16_t Append(T const& item) {
        SV_ASSERT(nCount < 0xFFF0, "nCount < 0xFFF0");
        if (nCount >= nCapacity) Grow(nCount);
        pElements[nCount] = item;
        return nCount++;
    }
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

struct HashPair {
    char const* key = nullptr;
    CUnit* value = nullptr;
};

class HashList : public TDynArray<HashPair> {};

using UnitHashFunction = std::uint32_t (*)(char const* key, std::uint32_t nBuckets);
using UnitCompareFunction = int (*)(char const* a, char const* b);

class SORVANE_API UnitHashTable {
public:
    UnitHashTable(std::uint32_t nBuckets, UnitHashFunction pfnHash, UnitCompareFunction pfnCompare);
    UnitHashTable(UnitHashTable const&) = delete;
    UnitHashTable& operator=(UnitHashTable const&) = delete;
    ~UnitHashTable();

    // The first pair under a key keeps it: adding again changes nothing and
    // answers the pair already there.
    HashPair* Add(HashPair const& pair);
    HashPair* Find(char const* key);
    void Remove(char const* key);
    void ForEach(void (*pfn)(HashPair& pair, void* pvArg), void* pvArg);
    std::uint32_t Count() const { return nEntries; }

private:
    HashList& Bucket(char const* key);

    UnitHashFunction pfnHash;
    UnitCompareFunction pfnCompare;
    std::uint32_t nBuckets;
    HashList* pBuckets;
    std::uint32_t nEntries = 0;
};

// The hash of a symbol: its 32-bit little-endian words, its remaining bytes
// and its length, summed, modulo the bucket count.
SORVANE_API std::uint32_t UnitSymbolHash(char const* key, std::uint32_t nBuckets);

// Throws FWError for a broken invariant of the unit library.
[[noreturn]] SORVANE_API void UnitInternalError(char const* text, char const* detail, int line);

// The symbol table, which exists between UnitInitialize and
// UnitUnInitialize; null outside.
SORVANE_API UnitHashTable* UnitSymbolTable();
void UnitSetSymbolTable(UnitHashTable* ptable);
// The unit of a symbol, or null. Throws the internal error when the table
// has not been built.
SORVANE_API CUnit* UnitFindSymbol(char const* symbol);

// The text of a string for reading, "" when it holds none.
SORVANE_API char const* UnitTextOf(CPString const& str);

// The client's own dimension: units read from a text file, all of the one
// user dimension, found by symbol beside the built-in units.
#pragma once

#include <omdiunit/unitpriv.h>
#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>
#include <iosfwd>

class SORVANE_API CUserUnit : public CUnit {
public:
    CUserUnit(char const* name, char const* symbol, double factor, double offset);
    ~CUserUnit() override;

    // The name of the user dimension, shared by every user unit.
    CPString& What() override { return DimensionName(); }
    CPString& Name() override { return strName; }
    CPString& Symbol() override { return strSymbol; }
    int IsSI() override { return 0; }
    CPString& DimensionText() override { return EmptyString(); }
    double Factor() override { return dFactor; }
    double Offset() override { return dOffset; }

    // The dimension's name (the file's first line) and its symbol (that of
    // the file's first unit).
    static CPString& DimensionName();
    static CPString& DimensionSymbol();

    // The units read so far, in the order of reading.
    static std::uint32_t Count() { return nUserUnits; }
    static CUserUnit* At(std::uint32_t nIndex);
    static void AddToArray(CUserUnit* puu);
    static std::int32_t LiveCount() { return nLiveCount; }

    // Reads the user unit file from the stream and hands each new unit to
    // pfnAdded. A stream in its bad state after a line throws FWError 2.
    static void ReadUnits(std::istream& in, void (*pfnAdded)(CUserUnit* puu, void* pvArg),
                          void* pvArg);

private:
    CPString strName;
    CPString strSymbol;
    double dFactor;
    double dOffset;

    static CPString* pstrDimensionName;
    static CPString* pstrDimensionSymbol;
    static CUserUnit** ppuuUnits;
    static std::uint32_t nUserUnits;
    static std::int32_t nLiveCount;
};

/// \file
/// The client's own dimension: units read from a text file, all of the one
/// user dimension, found by symbol beside the built-in units.
#pragma once

#include <omdiunit/unitpriv.h>
#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>
#include <iosfwd>

/// \brief A unit of the client's own dimension, read from the user unit
/// file and found by symbol beside the built-in units.
class SORVANE_API CUserUnit : public CUnit {
public:
    /// \param name the name.
    /// \param symbol the symbol.
    /// \param factor the factor to the dimension's first unit.
    /// \param offset the offset.
    CUserUnit(char const* name, char const* symbol, double factor, double offset);
    /// Counts the unit out.
    ~CUserUnit() override;

    /// \return the name of the user dimension, shared by every user unit.
    CPString& What() override { return DimensionName(); }
    CPString& Name() override { return strName; }
    CPString& Symbol() override { return strSymbol; }
    int IsSI() override { return 0; }
    /// \return an empty text.
    CPString& DimensionText() override { return EmptyString(); }
    double Factor() override { return dFactor; }
    double Offset() override { return dOffset; }

    /// \return the dimension's name, the file's first line.
    static CPString& DimensionName();
    /// \return the dimension's symbol, that of the file's first unit.
    static CPString& DimensionSymbol();

    /// \return the number of units read so far.
    static std::uint32_t Count() { return nUserUnits; }
    /// \param nIndex a place in the order of reading.
    /// \return the unit there, or null.
    static CUserUnit* At(std::uint32_t nIndex);
    /// Appends a unit to those read; the array does not own it.
    /// \param puu the unit.
    static void AddToArray(CUserUnit* puu);
    /// \return the number of live user units.
    static std::int32_t LiveCount() { return nLiveCount; }

    /// Reads the user unit file from the stream and hands each new unit to a
    /// function.
    /// \param in the stream.
    /// \param pfnAdded receives each new unit, which it owns.
    /// \param pvArg its second argument.
    /// \throws FWError 2 for a stream in its bad state after a line.
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

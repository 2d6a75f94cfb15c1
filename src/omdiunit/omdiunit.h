/// \file
/// The unit library's entry points: building the tables, looking up a
/// dimension, reading a unit text, and converting values between units.
#pragma once

#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

class UnitCollection;

/// Builds the table of quantities and the symbol table, then reads the user
/// unit file if one is named and opens. Runs once until UnitUnInitialize().
/// \param szFileName the user unit file, or null; the framework's own tools
///        use UnitDefaultUserFile().
/// \throws FWError from CUserUnit::ReadUnits() for a file that fails while read.
SORVANE_API void UnitInitialize(char const* szFileName);
/// Frees the tables and the user units.
SORVANE_API void UnitUnInitialize();
/// \return the per-user file that the framework's tools read by default:
///         $XDG_CONFIG_HOME/orveltech/units.txt, or ~/.config/orveltech/units.txt.
SORVANE_API CPString UnitDefaultUserFile();

/// \param ulId a dimension.
/// \return its quantity's name; empty when no table row has that dimension.
SORVANE_API CPString UnitWhat(std::uint32_t ulId);
/// \param ulId a dimension.
/// \return its symbol; empty when no table row has that dimension.
SORVANE_API CPString UnitSymbol(std::uint32_t ulId);
/// \param ulId a dimension.
/// \return its formula; empty when no table row has that dimension.
SORVANE_API CPString UnitComposit(std::uint32_t ulId);
/// \return the number of coherent quantities.
SORVANE_API int UnitQuantityCount();
/// \param nIndex a place in the table of quantities sorted by id.
/// \return the quantity's dimension.
SORVANE_API std::uint32_t IdFromType(int nIndex);
/// \param nIndex a place in the table of quantities sorted by id.
/// \return the quantity's text.
SORVANE_API CPString StringFromType(int nIndex);

/// The dimension of a unit text.
/// \param strUnit the unit text.
/// \return the dimension; 0 when it does not parse, which is also the id of
///         a dimensionless unit.
/// \throws FWError for an exponent past its field's limit.
SORVANE_API std::uint32_t IdFromString(CPString const& strUnit);
/// As IdFromString(), answering 0 for an overflowing exponent too.
/// \param strUnit the unit text.
/// \return the dimension, or 0.
SORVANE_API std::uint32_t xIdFromString(CPString const& strUnit);
/// The canonical text of a dimension: m, kg, s, A, K, mol, cd, then the user
/// dimension's symbol, each with "^n" unless n is 1.
/// \param ulId the dimension.
/// \return the text.
SORVANE_API CPString StringFromId(std::uint32_t ulId);
/// \param strUnit a unit text.
/// \return words that describe it, such as "kilopascal square meter".
SORVANE_API CPString UnitGetInfo(CPString const& strUnit);

/// Converts a value in a unit to coherent SI. An offset applies only to a
/// unit of one term with exponent 1.
/// \param dValue the value.
/// \param strUnit its unit text.
/// \param bDifference non-zero treats the value as a difference: no offsets.
/// \return the value in SI; 0 when the text does not parse.
SORVANE_API double ConvertToSI(double const& dValue, CPString const& strUnit, short bDifference);
/// Converts a value in coherent SI to a unit, as ConvertToSI().
/// \param dValue the value in SI.
/// \param strUnit the unit text.
/// \param bDifference non-zero treats the value as a difference: no offsets.
/// \return the value in the unit; 0 when the text does not parse.
SORVANE_API double ConvertFromSI(double const& dValue, CPString const& strUnit, short bDifference);
/// Converts a value to coherent SI on a unit text already parsed.
/// \param dValue the value.
/// \param terms its unit's terms.
/// \param bDifference non-zero treats the value as a difference.
/// \return the value in SI.
SORVANE_API double ConvertToSI(double const& dValue, UnitCollection const& terms,
                               short bDifference);
/// Converts a value from coherent SI on a unit text already parsed.
/// \param dValue the value in SI.
/// \param terms the unit's terms.
/// \param bDifference non-zero treats the value as a difference.
/// \return the value in the unit.
SORVANE_API double ConvertFromSI(double const& dValue, UnitCollection const& terms,
                                 short bDifference);
/// The grain to which Convert() rounds its results.
inline constexpr double kUnitConvertGrain = 1e-05;
/// Converts a value between two units. The result is rounded to five
/// decimals, or to as many more as a value below 1 needs.
/// \param dValue the value.
/// \param strFrom its unit text.
/// \param strTo the unit wanted.
/// \param bDifference non-zero treats the value as a difference: no offsets.
/// \return the converted value.
/// \throws FWError "not same type" when the dimensions differ.
SORVANE_API double Convert(double const& dValue, CPString const& strFrom, CPString const& strTo,
                           short bDifference);
/// The rounding of Convert(): to a multiple of dGrain, finer for small values.
/// \param x the value.
/// \param dGrain the grain.
/// \return the rounded value.
SORVANE_API double UnitRound(double x, double dGrain);

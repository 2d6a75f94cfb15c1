// The unit library's entry points: building the tables, looking up a
// dimension, reading a unit text, and converting values between units.
#pragma once

#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

class UnitCollection;

// Builds the table of quantities and the symbol table, then reads the user
// unit file if one is named and opens. Runs once until UnitUnInitialize.
// The framework's own tools look for the file in
// $XDG_CONFIG_HOME/orveltech/ (see UnitDefaultUserFile).
SORVANE_API void UnitInitialize(char const* szFileName);
SORVANE_API void UnitUnInitialize();
// The per-user file that the framework's tools read by default:
// $XDG_CONFIG_HOME/orveltech/units.txt, or ~/.config/orveltech/units.txt.
SORVANE_API CPString UnitDefaultUserFile();

// Quantity name, symbol and formula of a dimension; empty when no table row
// has that dimension.
SORVANE_API CPString UnitWhat(std::uint32_t ulId);
SORVANE_API CPString UnitSymbol(std::uint32_t ulId);
SORVANE_API CPString UnitComposit(std::uint32_t ulId);
// The number of coherent quantities, and the id and text of one of them, by
// its place in the table sorted by id.
SORVANE_API int UnitQuantityCount();
SORVANE_API std::uint32_t IdFromType(int nIndex);
SORVANE_API CPString StringFromType(int nIndex);

// The dimension of a unit text; 0 when it does not parse, which is also the
// id of a dimensionless unit. An exponent past its field's limit throws.
SORVANE_API std::uint32_t IdFromString(CPString const& strUnit);
// The same, answering 0 for an overflowing exponent too.
SORVANE_API std::uint32_t xIdFromString(CPString const& strUnit);
// The canonical text of a dimension: m, kg, s, A, K, mol, cd, then the user
// dimension's symbol, each with "^n" unless n is 1.
SORVANE_API CPString StringFromId(std::uint32_t ulId);
// Words that describe a unit text, such as "kilopascal square meter".
SORVANE_API CPString UnitGetInfo(CPString const& strUnit);

// A non-zero bDifference treats the value as a difference: no offsets.
// An offset applies only to a unit of one term with exponent 1.
SORVANE_API double ConvertToSI(double const& dValue, CPString const& strUnit, short bDifference);
SORVANE_API double ConvertFromSI(double const& dValue, CPString const& strUnit, short bDifference);
// The same on a unit text already parsed into its terms.
SORVANE_API double ConvertToSI(double const& dValue, UnitCollection const& terms,
                               short bDifference);
SORVANE_API double ConvertFromSI(double const& dValue, UnitCollection const& terms,
                                 short bDifference);
// The grain to which Convert rounds its results.
inline constexpr double kUnitConvertGrain = 1e-05;
// Throws FWError "not same type" when the dimensions differ. The result is
// rounded to five decimals, or to as many more as a value below 1 needs.
SORVANE_API double Convert(double const& dValue, CPString const& strFrom, CPString const& strTo,
                           short bDifference);
// The rounding of Convert: to a multiple of dGrain, finer for small values.
SORVANE_API double UnitRound(double x, double dGrain);

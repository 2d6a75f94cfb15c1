/// \file
/// The built-in vocabulary of the unit library: the rows of every table as
/// constant data, and the unit objects made from them. The rows stand as the
/// suite defines them, odd spellings, shared symbols and factors
/// included, since stored values and user files depend on them.
#pragma once

#include <omdiunit/unitpriv.h>
#include <platform/export.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

/// The built-in vocabulary of the unit library: the rows of every table as
/// constant data, and the unit objects made from them. In the rows, the byte
/// 0x01 begins the symbols of the angstrom, micro, pi and ohm; a parser sees
/// it as any other byte.
namespace unittables {

/// \brief A row of the SI base units. The exponents column uses L, M, T, I,
/// K, N, J and U for length, mass, time, current, temperature, substance,
/// intensity and user; "1" is none.
struct SIBaseRow {
    /// The packed dimension.
    std::uint32_t nId;
    /// The exponents column.
    char const* szExponents;
    /// The quantity.
    char const* szWhat;
    /// The name.
    char const* szName;
    /// The symbol.
    char const* szSymbol;
};
/// \brief A row of the named SI derived units without a symbol.
struct SIDerivedRow {
    /// The packed dimension.
    std::uint32_t nId;
    /// The exponents column.
    char const* szExponents;
    /// The quantity.
    char const* szWhat;
    /// The name.
    char const* szName;
};
/// \brief A row of the SI derived units with a symbol; a null formula is a
/// row built without one.
struct SIDerivedARow {
    /// The packed dimension.
    std::uint32_t nId;
    /// The exponents column.
    char const* szExponents;
    /// The quantity.
    char const* szWhat;
    /// The name.
    char const* szName;
    /// The symbol.
    char const* szSymbol;
    /// The formula in other units, or null.
    char const* szComposit;
};
/// \brief A row of the SI derived units known by their formula.
struct SIDerivedBRow {
    /// The packed dimension.
    std::uint32_t nId;
    /// The exponents column.
    char const* szExponents;
    /// The quantity.
    char const* szWhat;
    /// The formula in other units.
    char const* szComposit;
};
/// \brief A row of the scaled units.
struct ScaledRow {
    /// The name.
    char const* szName;
    /// The symbol.
    char const* szSymbol;
    /// The packed dimension.
    std::uint32_t nId;
    /// The factor to coherent SI.
    double dFactor;
    /// The offset to coherent SI.
    double dOffset;
    /// The exponents column; null where the table has none.
    char const* szExponents;
};
/// \brief A row of the decimal prefixes.
struct PrefixRow {
    /// The power of ten.
    short nPower;
    /// The name.
    char const* szName;
    /// The symbol.
    char const* szSymbol;
};

/// \return the rows of the SI base units.
SORVANE_API std::span<SIBaseRow const> SIBaseRows();
/// \return the rows of the SI derived units without a symbol.
SORVANE_API std::span<SIDerivedRow const> SIDerivedRows();
/// \return the rows of the SI derived units with a symbol.
SORVANE_API std::span<SIDerivedARow const> SIDerivedARows();
/// \return the rows of the SI derived units known by their formula.
SORVANE_API std::span<SIDerivedBRow const> SIDerivedBRows();
/// \return the rows of the scaled units accepted beside the SI.
SORVANE_API std::span<ScaledRow const> SIOtherRows();
/// \return the rows of the scaled units built as COtherWUnit.
SORVANE_API std::span<ScaledRow const> OtherWRows();
/// \return the rows of the other scaled units.
SORVANE_API std::span<ScaledRow const> OtherRows();
/// \return the rows of the decimal prefixes.
SORVANE_API std::span<PrefixRow const> PrefixRows();
/// \return the words that describe the size of an exponent, by that size.
SORVANE_API std::span<char const* const> ExponentWords();

/// Builds one array of unit objects from a table of rows, element by
/// element in place, since units are neither copied nor moved.
/// \tparam Unit the unit class.
/// \tparam N the number of rows.
/// \tparam Make makes the unit of a row's index.
/// \tparam I the indexes.
/// \param make makes the unit of a row's index.
/// \return the units.
template <class Unit, std::size_t N, class Make, std::size_t... I>
std::array<Unit, N> BuildUnits(Make make, std::index_sequence<I...>) {
    return {{make(I)...}};
}
/// Builds one array of unit objects from a table of N rows.
/// \tparam Unit the unit class.
/// \tparam N the number of rows.
/// \tparam Make makes the unit of a row's index.
/// \param make makes the unit of a row's index.
/// \return the units.
template <class Unit, std::size_t N, class Make> std::array<Unit, N> BuildUnits(Make make) {
    return BuildUnits<Unit, N>(make, std::make_index_sequence<N>{});
}

/// The unit objects, one array per class, in the rows' order. They are made
/// on first use and live until the process ends.
/// \return the SI base units.
SORVANE_API std::span<CSIBaseUnit> SIBaseUnits();
/// \return the SI derived units without a symbol.
SORVANE_API std::span<CSIDerivedUnit> SIDerivedUnits();
/// \return the SI derived units with a symbol.
SORVANE_API std::span<CSIDerivedAUnit> SIDerivedAUnits();
/// \return the SI derived units known by their formula.
SORVANE_API std::span<CSIDerivedBUnit> SIDerivedBUnits();
/// \return the scaled units accepted beside the SI.
SORVANE_API std::span<CSIOtherUnit> SIOtherUnits();
/// \return the scaled units built as COtherWUnit.
SORVANE_API std::span<COtherWUnit> OtherWUnits();
/// \return the other scaled units.
SORVANE_API std::span<COtherUnit> OtherUnits();
/// \return the decimal prefixes.
SORVANE_API std::span<UnitPrefix> Prefixes();
/// One prefix by its index; an index past the table ends the process
/// through the fatal check.
/// \param nIndex the index.
/// \return the prefix.
SORVANE_API UnitPrefix& PrefixAt(short nIndex);

/// \return the mass base unit, whose factor of 1 is relative to the gram.
SORVANE_API CUnit const* GramUnit();

} // namespace unittables

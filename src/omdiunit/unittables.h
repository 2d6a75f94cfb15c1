// The built-in vocabulary of the unit library: the rows of every table as
// constant data, and the unit objects made from them. The rows stand as the
// suite defines them, odd spellings, shared symbols and factors
// included, since stored values and user files depend on them.
#pragma once

#include <omdiunit/unitpriv.h>
#include <platform/export.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

// In the rows, the byte 0x01 begins the symbols of the angstrom, micro, pi
// and ohm; a parser sees it as any other byte.
namespace unittables {

// The exponents column uses L, M, T, I, K, N, J and U for length, mass,
// time, current, temperature, substance, intensity and user; "1" is none.
struct SIBaseRow {
    std::uint32_t nId;
    char const* szExponents;
    char const* szWhat;
    char const* szName;
    char const* szSymbol;
};
struct SIDerivedRow {
    std::uint32_t nId;
    char const* szExponents;
    char const* szWhat;
    char const* szName;
};
// A null formula is a row built without one.
struct SIDerivedARow {
    std::uint32_t nId;
    char const* szExponents;
    char const* szWhat;
    char const* szName;
    char const* szSymbol;
    char const* szComposit;
};
struct SIDerivedBRow {
    std::uint32_t nId;
    char const* szExponents;
    char const* szWhat;
    char const* szComposit;
};
struct ScaledRow {
    char const* szName;
    char const* szSymbol;
    std::uint32_t nId;
    double dFactor;
    double dOffset;
    // Null where the table has no exponents column.
    char const* szExponents;
};
struct PrefixRow {
    short nPower;
    char const* szName;
    char const* szSymbol;
};

SORVANE_API std::span<SIBaseRow const> SIBaseRows();
SORVANE_API std::span<SIDerivedRow const> SIDerivedRows();
SORVANE_API std::span<SIDerivedARow const> SIDerivedARows();
SORVANE_API std::span<SIDerivedBRow const> SIDerivedBRows();
SORVANE_API std::span<ScaledRow const> SIOtherRows();
SORVANE_API std::span<ScaledRow const> OtherWRows();
SORVANE_API std::span<ScaledRow const> OtherRows();
SORVANE_API std::span<PrefixRow const> PrefixRows();
// The words that describe the size of an exponent, by that size.
SORVANE_API std::span<char const* const> ExponentWords();

// Builds one array of unit objects from a table of rows, element by element
// in place, since units are neither copied nor moved.
template <class Unit, std::size_t N, class Make, std::size_t... I>
std::array<Unit, N> BuildUnits(Make make, std::index_sequence<I...>) {
    return {{make(I)...}};
}
template <class Unit, std::size_t N, class Make> std::array<Unit, N> BuildUnits(Make make) {
    return BuildUnits<Unit, N>(make, std::make_index_sequence<N>{});
}

// The unit objects, one array per class, in the rows' order. They are made
// on first use and live until the process ends.
SORVANE_API std::span<CSIBaseUnit> SIBaseUnits();
SORVANE_API std::span<CSIDerivedUnit> SIDerivedUnits();
SORVANE_API std::span<CSIDerivedAUnit> SIDerivedAUnits();
SORVANE_API std::span<CSIDerivedBUnit> SIDerivedBUnits();
SORVANE_API std::span<CSIOtherUnit> SIOtherUnits();
SORVANE_API std::span<COtherWUnit> OtherWUnits();
SORVANE_API std::span<COtherUnit> OtherUnits();
SORVANE_API std::span<UnitPrefix> Prefixes();
// One prefix by its index; an index past the table ends the process.
SORVANE_API UnitPrefix& PrefixAt(short nIndex);

// The mass base unit, whose factor of 1 is relative to the gram.
SORVANE_API CUnit const* GramUnit();

} // namespace unittables

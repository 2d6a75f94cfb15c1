// The decimal prefixes, in the order in which a term is tried against them
// ("deka" before "deci", so "dam" is the decameter), and the words that
// describe an exponent's size.
#include <omdiunit/unittables.h>

#include <util/exceptions.h>

namespace unittables {
namespace {

constexpr PrefixRow kPrefixes[] = {
    {3, "kilo", "k"},
    {-9, "nano", "n"},
    {-6, "micro",
     "\x01"
     "92"},
    {-3, "milli", "m"},
    {1, "deka", "da"},
    {-1, "deci", "d"},
    {-2, "centi", "c"},
    {2, "hecto", "h"},
    {6, "mega", "M"},
    {9, "giga", "G"},
    {-18, "atto", "a"},
    {-15, "femto", "f"},
    {-12, "pico", "p"},
    {12, "tera", "T"},
    {15, "peta", "P"},
    {18, "exa", "E"},
    {21, "zetta", "Z"},
    {-24, "yocto", "y"},
    {-21, "zepto", "z"},
    {24, "yotta", "Y"},
};

constexpr char const* kExponentWords[] = {" ", "per", "square", "cubic", "quartic"};

} // namespace

std::span<PrefixRow const> PrefixRows() {
    return kPrefixes;
}

std::span<char const* const> ExponentWords() {
    return kExponentWords;
}

std::span<UnitPrefix> Prefixes() {
    static auto prefixes = BuildUnits<UnitPrefix, std::size(kPrefixes)>([](std::size_t i) {
        PrefixRow const& r = kPrefixes[i];
        return UnitPrefix(r.nPower, r.szName, r.szSymbol);
    });
    return prefixes;
}

UnitPrefix& PrefixAt(short nIndex) {
    auto const prefixes = Prefixes();
    SV_ASSERT(nIndex >= 0 && static_cast<std::size_t>(nIndex) < prefixes.size(), "nPrefix < 20");
    return prefixes[static_cast<std::size_t>(nIndex)];
}

} // namespace unittables

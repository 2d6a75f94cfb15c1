// The SI family of the built-in units: the base units, the coherent derived
// quantities, the named derived units, the quantities known by formula, and
// the units accepted beside SI.
#include <omdiunit/unittables.h>

namespace unittables {
namespace {

constexpr SIBaseRow kSIBase[] = {
    {0x1, "L", "length", "meter", "m"},
    {0x40, "M", "mass", "gram", "g"},
    {0x400, "T", "time", "second", "s"},
    {0x10000, "I", "electric_current", "ampere", "A"},
    {0x100000, "K", "thermodynamic_temperature", "kelvin", "K"},
    {0x800000, "N", "amount_of_substance", "mole", "mol"},
    {0x4000000, "J", "luminous_intensity", "candela", "cd"},
};

constexpr SIDerivedRow kSIDerived[] = {
    {0x3, "L^3", "volume", "cubic meter"},
    {0x2, "L^2", "area", "square meter"},
    {0xfc01, "L T^-1", "velocity", "meter per second"},
    {0xf801, "L T^-2", "acceleration", "meter per second squared"},
    {0x3f, "L^-1", "wave_number", "reciprocal meter"},
    {0x7d, "L^-3 M", "density", "kilogram per cubic meter"},
    {0x43, "L^3 M", "specific_volume", "cubic meter per kilogram"},
    {0x1003e, "L^-2 I", "current_density", "ampere per square meter"},
    {0x1003f, "L^-1 I", "magnetic_field_strength", "ampere per meter"},
    {0x80003d, "L^-3 N", "concentration", "mole per cubic meter"},
    {0x400003e, "L^-2 J", "luminance", "candela per square meter"},
};

// Three rows have no formula and are built without one. "J*kg*-1" stands
// with '*' for '^', and "permitivity" is so spelled.
constexpr SIDerivedARow kSIDerivedA[] = {
    {0xfc00, "T^-1", "frequency", "hertz", "Hz", nullptr},
    {0xf841, "L M T^-2", "force", "newton", "N", nullptr},
    {0xf87f, "L^-1 M T^-2", "pressure", "pascal", "Pa", "N*m^-2"},
    {0xf842, "L^2 M T^-2", "energy", "joule", "J", "N*m"},
    {0xf442, "L^2 M T^-3", "power", "watt", "W", "J*s^-1"},
    {0x10400, "T I", "charge", "coulomb", "Coul", nullptr},
    {0xff442, "L^2 M T^-3 I^-1", "potential", "volt", "V", "W*A^-1"},
    {0x213fe, "L^-2 M^-1 T^4 I^2", "capacitance", "farad", "Farad", "C*V^-1"},
    {0xef442, "L^2 M T^-3 I^-2", "resistance", "ohm",
     "\x01"
     "94",
     "V*A^-1"},
    {0x20ffe, "L^-2 M^-1 T^3 I^2", "conductance", "siemens", "S", "A*V^-1"},
    {0xff842, "L^2 M T^-2 I^-1", "magnetic_flux", "weber", "Wb", "V*s"},
    {0xff840, "M T^-2 I^-1", "magnetic_flux_density", "tesla", "T", "Wb*m^-2"},
    {0xef842, "L^2 M T^-2 I^-2", "inductance", "henry", "H", "Wb*A^-1"},
};

constexpr SIDerivedBRow kSIDerivedB[] = {
    {0xfc7f, "L^-1 M T^-1", "dynamic_viscosity", "Pa*s"},
    {0xf840, "M T^-2", "surface_tension", "N*m^-1"},
    {0xf440, "M T^-3", "irradiance", "W*m^-2"},
    {0x70f842, "L^2 M T^-2 K^-1", "heat_capacity", "J*K^-1"},
    {0x70f802, "L^2 T^-2 K^-1", "specific_heat_capacity", "J*K^-1*kg^-1"},
    {0xf802, "L^2 T^-2", "specific_energy", "J*kg*-1"},
    {0x70f441, "L M T^-3 K^-1", "thermal_conductivity", "W*m^-1*K^-1"},
    {0xff441, "L M T^-3 I^-1", "field_strength", "V*m^-1"},
    {0x1043d, "L^-3 T I", "charge_density", "C*m^-3"},
    {0x1043e, "L^-2 T I", "flux_density", "C*m^-2"},
    {0x213fd, "L^-3 M^-1 T^4 I^2", "permitivity", "F*m^-1"},
    {0xef841, "L M T^-2 I^-2", "permeability", "H*m^-1"},
    {0x380f842, "L^2 M T^-2 N^-1", "molar_energy", "J*mol^-1"},
    {0x3f0f842, "L^2 M T^-2 K^-1 N^-1", "molar_heat_capacity", "J*mol^-1*K^-1"},
};

constexpr ScaledRow kSIOther[] = {
    {"liter", "L", 0x3, 0.001, 0.0, "L^3"},
    {"tonne", "t", 0x40, 1000.0, 0.0, "M"},
    {"minute", "min", 0x400, 60.0, 0.0, "T"},
    {"day", "d", 0x400, 86400.0, 0.0, "T"},
    {"hour", "h", 0x400, 3600.0, 0.0, "T"},
    {"unified atomic mass unit", "u", 0x40, 1.6605402e-27, 0.0, "M"},
    {"electronvolt", "eV", 0xf842, 1.60217733e-19, 0.0, "L^2 M T^-2"},
};

} // namespace

std::span<SIBaseRow const> SIBaseRows() {
    return kSIBase;
}
std::span<SIDerivedRow const> SIDerivedRows() {
    return kSIDerived;
}
std::span<SIDerivedARow const> SIDerivedARows() {
    return kSIDerivedA;
}
std::span<SIDerivedBRow const> SIDerivedBRows() {
    return kSIDerivedB;
}
std::span<ScaledRow const> SIOtherRows() {
    return kSIOther;
}

std::span<CSIBaseUnit> SIBaseUnits() {
    static auto units = BuildUnits<CSIBaseUnit, std::size(kSIBase)>([](std::size_t i) {
        SIBaseRow const& r = kSIBase[i];
        return CSIBaseUnit(r.nId, r.szWhat, r.szName, r.szSymbol);
    });
    return units;
}

std::span<CSIDerivedUnit> SIDerivedUnits() {
    static auto units = BuildUnits<CSIDerivedUnit, std::size(kSIDerived)>([](std::size_t i) {
        SIDerivedRow const& r = kSIDerived[i];
        return CSIDerivedUnit(r.nId, r.szWhat, r.szName);
    });
    return units;
}

std::span<CSIDerivedAUnit> SIDerivedAUnits() {
    static auto units = BuildUnits<CSIDerivedAUnit, std::size(kSIDerivedA)>([](std::size_t i) {
        SIDerivedARow const& r = kSIDerivedA[i];
        return r.szComposit != nullptr
                   ? CSIDerivedAUnit(r.nId, r.szWhat, r.szName, r.szSymbol, r.szComposit)
                   : CSIDerivedAUnit(r.nId, r.szWhat, r.szName, r.szSymbol);
    });
    return units;
}

std::span<CSIDerivedBUnit> SIDerivedBUnits() {
    static auto units = BuildUnits<CSIDerivedBUnit, std::size(kSIDerivedB)>([](std::size_t i) {
        SIDerivedBRow const& r = kSIDerivedB[i];
        return CSIDerivedBUnit(r.nId, r.szWhat, r.szComposit);
    });
    return units;
}

std::span<CSIOtherUnit> SIOtherUnits() {
    static auto units = BuildUnits<CSIOtherUnit, std::size(kSIOther)>([](std::size_t i) {
        ScaledRow const& r = kSIOther[i];
        return CSIOtherUnit(r.szName, r.szSymbol, r.nId, r.dFactor, r.dOffset);
    });
    return units;
}

CUnit const* GramUnit() {
    return &SIBaseUnits()[1];
}

} // namespace unittables

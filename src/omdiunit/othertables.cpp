// The other units: the second group with its own constructor order, then
// the long table of customary, technical and physical-constant units.
#include <omdiunit/unittables.h>

namespace unittables {
namespace {

// Both "gpm" rows share a symbol, so only the first is found by parsing.
// The id of "Faraday constant" is temperature over substance, and "Pi" has
// no dimension.
constexpr ScaledRow kOtherW[] = {
    {"Pi",
     "/\x01"
     "93",
     0x0, 3.141592653589793, 0.0, "1"},
    {"clo", "clo", 0x100fc0, 0.155, 0.0, "M^-1 T^3 K"},
    {"debye", "D", 0x10401, 3.335641e-30, 0.0, "L T I"},
    {"denier", "denier", 0x7f, 1.111111e-07, 0.0, "L^-1 M"},
    {"tex", "tex", 0x7f, 1e-06, 0.0, "L^-1 M"},
    {"gallon per minute", "gpm", 0xfc03, 6.30902e-05, 0.0, "L^3 T^-1"},
    {"us gallon per minute", "gpm", 0xfc03, 6.30902e-05, 0.0, "L^3 T^-1"},
    {"langley", "langley", 0xf840, 41840.0, 0.0, "M T^-2"},
    {"rhe", "rhe", 0x7c1, 10.0, 0.0, "L M^-1 T"},
    {"stokes", "St", 0xfc02, 0.0001, 0.0, "L^2 T^-1"},
    {"molar volume (ideal gas)", "/V\\m", 0x3800003, 0.0224141, 0.0, "L^3 N^-1"},
    {"Faraday constant", "/F", 0x3900000, 96485.309, 0.0, "K N^-1"},
    {"Avogadro's number", "/N\\a", 0x3800000, 6.0221367e+23, 0.0, "N^-1"},
};

// "Celcius" and "fluid once" are so spelled. "ft" is the survey foot, "Btu"
// and "cal" the mean values; the gauge pressures carry the atmosphere as
// their offset; "dwt", "fermi", "lbmole", "/e" and "/h" stand as stored.
constexpr ScaledRow kOther[] = {
    {"acre", "acre", 0x2, 4046.873, 0.0, nullptr},
    {"angstrom",
     "\x01"
     "90",
     0x1, 1e-10, 0.0, nullptr},
    {"are", "are", 0x2, 100.0, 0.0, nullptr},
    {"astronomical unit", "AU", 0x1, 149597900000.0, 0.0, nullptr},
    {"standard atmosphere", "atm", 0xf87f, 101325.0, 0.0, nullptr},
    {"technical atmosphere", "at", 0xf87f, 98066.5, 0.0, nullptr},
    {"bar", "bar", 0xf87f, 100000.0, 0.0, nullptr},
    {"barn", "b", 0x2, 1e-28, 0.0, nullptr},
    {"barrel", "bbl", 0x3, 0.1589873, 0.0, nullptr},
    {"biot", "Bi", 0x10000, 10.0, 0.0, nullptr},
    {"British thermal unit (mean)", "Btu", 0xf842, 1055.87, 0.0, nullptr},
    {"British thermal unit (thermochemical)", "Btu\\th", 0xf842, 1054.35, 0.0, nullptr},
    {"British thermal unit (international table)", "Btu\\IT", 0xf842, 1055.05585262, 0.0, nullptr},
    {"bushel", "bu", 0x3, 0.03523907, 0.0, nullptr},
    {"calorie (thermochemical)", "cal\\th", 0xf842, 4.184, 0.0, nullptr},
    {"calorie (international table)", "cal\\IT", 0xf842, 4.1868, 0.0, nullptr},
    {"calorie (mean)", "cal", 0xf842, 4.19002, 0.0, nullptr},
    {"carat", "carat", 0x40, 0.0002, 0.0, nullptr},
    {"centimeter of mercury", "cmHg", 0xf87f, 1333.224, 0.0, nullptr},
    {"chain", "ch", 0x1, 20.11684, 0.0, nullptr},
    {"circular mil", "cmil", 0x2, 5.067e-10, 0.0, nullptr},
    {"cord", "cord", 0x3, 3.624556, 0.0, nullptr},
    {"cup", "cup", 0x3, 0.0002365882, 0.0, nullptr},
    {"darcy", "darcy", 0x2, 9.869233e-13, 0.0, nullptr},
    {"degree Celcius", "C", 0x100000, 1.0, 273.15, nullptr},
    {"degree Fahrenheit", "F", 0x100000, 0.55555555555, 255.37222222222, nullptr},
    {"degree Rankine", "R", 0x100000, 0.55555555555, 0.0, nullptr},
    {"delta degree Celcius", "delC", 0x100000, 1.0, 0.0, nullptr},
    {"delta degree Fahrenheit", "delF", 0x100000, 0.55555555555, 0.0, nullptr},
    {"delta degree Rankine", "delR", 0x100000, 0.55555555555, 0.0, nullptr},
    {"dyne", "dyn", 0xf841, 1e-05, 0.0, nullptr},
    {"erg", "erg", 0xf842, 1e-07, 0.0, nullptr},
    {"faraday", "faraday", 0x10400, 96485.31, 0.0, nullptr},
    {"fathom", "fathom", 0x1, 1.828804, 0.0, nullptr},
    {"fermi", "fermi", 0x1, 1e-14, 0.0, nullptr},
    {"fluid ounce (US)", "fl_ozUS", 0x3, 2.957353e-05, 0.0, nullptr},
    {"fluid once", "fl_oz", 0x3, 2.841306e-05, 0.0, nullptr},
    {"foot (US survey)", "ft", 0x1, 0.3048006, 0.0, nullptr},
    {"foot (international)", "ftI", 0x1, 0.3048, 0.0, nullptr},
    {"foot of mercury", "ftHg", 0xf87f, 40636.66, 0.0, nullptr},
    {"franklin", "Fr", 0x10400, 3.335641e-10, 0.0, nullptr},
    {"gal", "Gal", 0xf801, 0.01, 0.0, nullptr},
    {"gallon (imperial)", "gal", 0x3, 0.00454609, 0.0, nullptr},
    {"gallon (US)", "galUS", 0x3, 0.003785412, 0.0, nullptr},
    {"gauss", "G", 0xff840, 0.0001, 0.0, nullptr},
    {"gilbert", "Gi", 0x10000, 0.7957747, 0.0, nullptr},
    {"gill (imperial)", "gi", 0x3, 0.0001420653, 0.0, nullptr},
    {"gill (US)", "giUS", 0x3, 0.0001182941, 0.0, nullptr},
    {"grain", "gr", 0x40, 6.479891e-05, 0.0, nullptr},
    {"hectare", "ha", 0x2, 10000.0, 0.0, nullptr},
    {"horsepower", "hp", 0xf442, 745.6999, 0.0, nullptr},
    {"horsepower (UK)", "hp\\UK", 0xf442, 745.7, 0.0, nullptr},
    {"horsepower (electric)", "hp\\electric", 0xf442, 746.0, 0.0, nullptr},
    {"horsepower (metric)", "hp\\metric", 0xf442, 735.4988, 0.0, nullptr},
    {"hundredweight (long)", "long", 0x40, 50.80235, 0.0, nullptr},
    {"hundredweight (short)", "short", 0x40, 45.35924, 0.0, nullptr},
    {"inch", "in", 0x1, 0.0254, 0.0, nullptr},
    {"inch of mercury", "inHg", 0xf87f, 3376.85, 0.0, nullptr},
    {"inch of water", "inWater", 0xf87f, 248.84, 0.0, nullptr},
    {"kilogram-force", "kgf", 0xf841, 9.80665, 0.0, nullptr},
    {"kilopond", "kp", 0xf841, 9.80665, 0.0, nullptr},
    {"kip", "kip", 0xf841, 4448.222, 0.0, nullptr},
    {"nautical mile per hour", "knot", 0xfc01, 0.5144444, 0.0, nullptr},
    {"lambert", "lambert", 0x400003e, 3183.099, 0.0, nullptr},
    {"light year", "l.y.", 0x1, 9460730000000000.0, 0.0, nullptr},
    {"maxwell", "Mx", 0xff842, 1e-08, 0.0, nullptr},
    {"mho", "mho", 0x20ffe, 1.0, 0.0, nullptr},
    {"micron", "micron", 0x1, 1e-06, 0.0, nullptr},
    {"mile", "mi", 0x1, 1609.344, 0.0, nullptr},
    {"millimeter of mercury", "mmHg", 0xf87f, 133.3224, 0.0, nullptr},
    {"mil", "mil", 0x1, 2.54e-05, 0.0, nullptr},
    {"nautical mile", "mi\\nautical", 0x1, 1852.0, 0.0, nullptr},
    {"ounce", "oz", 0x40, 0.02834952, 0.0, nullptr},
    {"ounce (troy)", "oz\\troy", 0x40, 0.03110348, 0.0, nullptr},
    {"ounce force", "ozf", 0xf841, 0.2780139, 0.0, nullptr},
    {"parsec", "pc", 0x1, 3.085678e+16, 0.0, nullptr},
    {"peck", "pk", 0x3, 0.008809768, 0.0, nullptr},
    {"pennyweight", "dwt", 0x40, 1.555174, 0.0, nullptr},
    {"pica", "pica", 0x1, 0.004233333, 0.0, nullptr},
    {"pint (dry)", "dry_pt", 0x3, 0.0005506105, 0.0, nullptr},
    {"pint (liquid)", "liq_pt", 0x3, 0.0004731765, 0.0, nullptr},
    {"pint (mean)", "pt", 0x3, 0.00051, 0.0, nullptr},
    {"point", "Pt", 0x1, 0.0003527778, 0.0, nullptr},
    {"pound", "lb", 0x40, 0.4535924, 0.0, nullptr},
    {"pound (troy)", "lb\\troy", 0x40, 0.3732417, 0.0, nullptr},
    {"poundal", "poundal", 0xf841, 0.138255, 0.0, nullptr},
    {"pound force", "lbf", 0xf841, 4.448222, 0.0, nullptr},
    {"10^15 Btu\\IT", "quad", 0xf842, 1.055056e+18, 0.0, nullptr},
    {"quart (dry)", "dry_qt", 0x3, 0.001101221, 0.0, nullptr},
    {"quart (liquid)", "liq_qt", 0x3, 0.0009463529, 0.0, nullptr},
    {"quart (mean)", "qt", 0x3, 0.0010375, 0.0, nullptr},
    {"rod", "rd", 0x1, 5.02921, 0.0, nullptr},
    {"shake", "shake", 0x400, 1e-08, 0.0, nullptr},
    {"slug", "slug", 0x40, 14.5939, 0.0, nullptr},
    {"stere", "st", 0x3, 1.0, 0.0, nullptr},
    {"stilb", "sb", 0x400003e, 10000.0, 0.0, nullptr},
    {"tablespoon", "tbs", 0x3, 1.478676e-05, 0.0, nullptr},
    {"teaspoon", "tsp", 0x3, 4.928922e-06, 0.0, nullptr},
    {"therm (EC)", "therm", 0xf842, 105506000.0, 0.0, nullptr},
    {"therm (US)", "therm\\US", 0xf842, 105480400.0, 0.0, nullptr},
    {"assay ton", "AT", 0x40, 0.02916667, 0.0, nullptr},
    {"torr", "Torr", 0xf87f, 133.3224, 0.0, nullptr},
    {"yard", "yd", 0x1, 0.9144, 0.0, nullptr},
    {"year, 365 day", "year", 0x400, 31536000.0, 0.0, nullptr},
    {"x unit", "xu", 0x1, 1.002e-13, 0.0, nullptr},
    {"poise", "P", 0xfc7f, 0.1, 0.0, nullptr},
    {"oersted", "Oe", 0x1003f, 79.57747, 0.0, nullptr},
    {"gravity", "/g\\n", 0xf801, 9.80665, 0.0, nullptr},
    {"electron charge", "/e", 0x10400, 1.6027733e-19, 0.0, nullptr},
    {"electron rest mass", "/m\\e", 0x40, 9.1093897e-31, 0.0, nullptr},
    {"neutron rest mass", "/m\\n", 0x40, 1.6749286e-27, 0.0, nullptr},
    {"proton rest mass", "/m\\p", 0x40, 1.6726231e-27, 0.0, nullptr},
    {"molar gas constant", "/R", 0x3f0f842, 8.31451, 0.0, nullptr},
    {"Planck's constant", "/h", 0xf442, 6.6260755e-34, 0.0, nullptr},
    {"Rydberg constant", "/R\\H", 0xf842, 2.1798741e-18, 0.0, nullptr},
    {"speed of light", "/c", 0xfc01, 299792458.0, 0.0, nullptr},
    {"Bohr radius", "/a\\0", 0x1, 5.29177e-11, 0.0, nullptr},
    {"week, 7 day", "Wk", 0x400, 604800.0, 0.0, nullptr},
    {"ton, imperial (short)", "Ton", 0x40, 907.185, 0.0, nullptr},
    {"pound force per square inch", "psi", 0xf87f, 6894.757, 0.0, nullptr},
    {"Pressure (Gauge)", "psig", 0xf87f, 6894.757, 101325.0, nullptr},
    {"Pressure (Gauge)", "Pag", 0xf87f, 1.0, 101325.0, nullptr},
    {"Pressure (Absolute)", "psia", 0xf87f, 6894.757, 0.0, nullptr},
    {"lb Mole", "lbmole", 0x800000, 454.0, 0.0, nullptr},
    {"kg Mole", "kgmole", 0x800000, 1000.0, 0.0, nullptr},
};

} // namespace

std::span<ScaledRow const> OtherWRows() {
    return kOtherW;
}
std::span<ScaledRow const> OtherRows() {
    return kOther;
}

std::span<COtherWUnit> OtherWUnits() {
    static auto units = BuildUnits<COtherWUnit, std::size(kOtherW)>([](std::size_t i) {
        ScaledRow const& r = kOtherW[i];
        return COtherWUnit(r.szName, r.szSymbol, r.dFactor, r.nId, r.dOffset);
    });
    return units;
}

std::span<COtherUnit> OtherUnits() {
    static auto units = BuildUnits<COtherUnit, std::size(kOther)>([](std::size_t i) {
        ScaledRow const& r = kOther[i];
        return COtherUnit(r.szName, r.szSymbol, r.nId, r.dFactor, r.dOffset);
    });
    return units;
}

} // namespace unittables

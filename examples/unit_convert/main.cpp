// Converting units of measure: values between units of the same dimension,
// temperatures as readings and as differences, a unit text described, and a
// conversion between dimensions refused.
#include <omdiunit/omdiunit.h>
#include <util/exceptions.h>
#include <util/pstring.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace {

struct Conversion {
    double value;
    char const* from;
    char const* to;
    // A difference is converted without the offset of its units: 10 C
    // warmer is 18 F warmer, while a reading of 10 C is 50 F.
    short difference;
};

// Units are written in the library's notation: "*" between terms, "^"
// before an exponent, negative exponents for what stands below the line.
constexpr Conversion kConversions[] = {
    {12.5, "ft", "m", 0}, {1.0, "atm", "kPa", 0}, {100.0, "L*min^-1", "m^3*h^-1", 0},
    {10.0, "C", "F", 0},  {10.0, "C", "F", 1},    {2.0, "kW*h", "MJ", 0},
};

} // namespace

int main() {
    // The tables are built once per process. No user unit file here: the
    // framework's own tools read the one UnitDefaultUserFile() names.
    UnitInitialize(nullptr);

    for (Conversion const& c : kConversions)
        std::printf("%g %s = %g %s%s\n", c.value, c.from,
                    Convert(c.value, c.from, c.to, c.difference), c.to,
                    c.difference != 0 ? " (as a difference)" : "");

    // A unit text has a dimension, an id built from the exponents of the
    // base units, which names its quantity.
    CPString const unit("kPa*m^2");
    std::uint32_t const id = IdFromString(unit);
    CPString info = UnitGetInfo(unit);
    CPString base = StringFromId(id);
    CPString quantity = UnitWhat(id);
    std::printf("%s: %s, in base units %s, a %s\n", "kPa*m^2", info.GetBuffer(), base.GetBuffer(),
                quantity.Length() != 0 ? quantity.GetBuffer() : "quantity without a name");

    // Units of different dimensions do not convert: FWError, with the
    // library's message, which ends in a line feed, in FWError::ErrorString().
    try {
        Convert(1.0, "m", "s", 0);
        std::printf("metres converted to seconds\n");
        return 1;
    } catch (FWError const&) {
        std::string message = FWError::ErrorString();
        message.erase(message.find_last_not_of('\n') + 1);
        std::printf("m to s: refused (%s)\n", message.c_str());
    }
    UnitUnInitialize();
    return 0;
}

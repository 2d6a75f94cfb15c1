// Arbitrary bytes as a unit preferences file. Reading may only fill the
// preferences or throw the unsigned value of a range outside a unit; every
// answer afterwards must be one of the file's display texts or the unit's
// own, and nothing may crash, hang or leak.
#include <baseobj/exception.h>
#include <baseobj/unitstr.h>
#include <baseobj/xmlparser.h>
#include <omdiunit/omdiunit.h>
#include <omdiunit/unitpriv.h>
#include <platform/msgbox.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr std::size_t kMaxInput = 4096;

void Check(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_unitprefs: %s\n", what);
    std::abort();
}

// The scanner's refusals inside a unit text show a box: not on the console
// of a fuzz run.
class QuietBox final : public platform::MessageBoxService {
public:
    int Show(char const*, char const*, unsigned) override { return platform::IDOK; }
};

void SetUp() {
    static bool bDone = false;
    if (bDone) return;
    bDone = true;
    static QuietBox box;
    platform::MessageBoxSeam().Replace(&box);
    setenv("XDG_CONFIG_HOME", "/nonexistent/fuzz_unitprefs", 1);
    UnitInitialize(nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size > kMaxInput) return 0;
    // A tag with a 50th attribute ends the process by design.
    if (std::count(data, data + size, '"') >= 2 * CXMLParser::kMaxAttributes + 1) return 0;
    if (std::count(data, data + size, '\'') >= 2 * CXMLParser::kMaxAttributes + 1) return 0;
    SetUp();
    std::string text(reinterpret_cast<char const*>(data), size);
    UnitPreferences prefs;
    try {
        prefs.ReadPreferencesText(text.data(), 0);
    } catch (std::uint32_t n) {
        Check(n == UnitPreferences::kRangeOutsideUnit, "an unexpected thrown number");
    }
    // Ask for a few units and purposes; an answer of 1 always writes a text.
    static char const* const kUnits[] = {"Pa", "m", "K", "m^3*h^-1", "s^-1"};
    static char const* const kPurposes[] = {nullptr, "Default", "Process", "a"};
    for (char const* szUnit : kUnits) {
        UnitString unstr(szUnit);
        for (char const* szPurpose : kPurposes) {
            CPString strInto("\x01");
            char cDecimals = 99;
            short const n = prefs.GetUnitPreference(1.0, &unstr, &strInto, &cDecimals, szPurpose);
            Check(n == 0 || n == 1, "an answer other than 0 or 1");
            if (n == 1) Check(cDecimals != 99, "a found range without its decimals");
        }
    }
    UnitPreferences copy(prefs);
    Check(copy.PurposeCount() == prefs.PurposeCount(), "a copy with other purposes");
    return 0;
}

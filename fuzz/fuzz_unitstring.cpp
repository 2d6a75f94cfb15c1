// Arbitrary text as a unit string: parsing, the dimension and its text, the
// description, simplifying, and conversion. Bad text may only parse to
// nothing or throw FWError for a text over 255 characters or an exponent
// past its field; nothing may crash, hang or leak.
#include <omdiunit/omdiunit.h>
#include <omdiunit/unitcol.h>
#include <omdiunit/unitpriv.h>
#include <util/exceptions.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr std::size_t kMaxInput = 512;

void Check(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_unitstring: %s\n", what);
    std::abort();
}

bool StartsWith(char const* text, char const* start) {
    return std::strncmp(text, start, std::strlen(start)) == 0;
}

void Exercise(std::string const& text) {
    UnitCollection terms;
    short ok = 0;
    try {
        ok = terms.Parse(text.c_str());
    } catch (FWError const&) {
        Check(std::strlen(text.c_str()) > UnitCollection::kMaxText, "a short text was too big");
        Check(StartsWith(FWError::ErrorString(), "unit string too big"), "unexpected parse error");
        return;
    }
    Check(ok != 0 || terms.Count() == 0, "a failed parse changed the collection");
    if (ok == 0) {
        Check(xIdFromString(text.c_str()) == 0, "a text that does not parse has an id");
        Check(ConvertToSI(1.0, text.c_str(), 0) == 0.0, "a text that does not parse converts");
        return;
    }
    try {
        std::uint32_t const id = IdFromString(text.c_str());
        Check((id & 0xC0000000u) == 0, "the top bits of an id are set");
        CPString const canonical = StringFromId(id);
        Check(xIdFromString(canonical) == id, "the canonical text has another id");
        (void)Convert(1.0, text.c_str(), canonical, 0);
    } catch (FWError const&) {
        Check(StartsWith(FWError::ErrorString(), "exponent overflow : "), "unexpected error");
    }
    (void)UnitGetInfo(text.c_str());
    (void)ConvertFromSI(2.0, text.c_str(), 1);
    UnitCollection simplified = terms;
    simplified.Simplify();
    Check(simplified.Count() <= terms.Count(), "simplifying added terms");
    Check(simplified == terms, "a collection differs from itself simplified");
    (void)simplified.Text();
    UnitCollection split = terms.Numerator().Concatenate(terms.Denominator());
    Check(split.Count() <= terms.Count(), "numerator and denominator hold more terms");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static bool const initialised = [] {
        UnitInitialize(nullptr);
        return true;
    }();
    (void)initialised;
    if (size > kMaxInput) return 0;
    Exercise(std::string(reinterpret_cast<char const*>(data), size));
    return 0;
}

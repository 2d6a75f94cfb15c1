// Arbitrary bytes through the value's file reader. Bad input may only throw
// Exception 401 or 402, or 0xDEADF0CC from a broken string. What was read
// must write out, read back and write again to the same bytes, and its text
// forms and a change of type must be producible.
#include <baseobj/cpval.h>
#include <baseobj/exception.h>
#include <omdiunit/omdiunit.h>
#include <util/exceptions.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

// A text of 32,768 bytes or more ends the process when copied, by design.
constexpr std::size_t kMaxInput = 16384;

void Check(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_cpvalue: %s\n", what);
    std::abort();
}

bool Read(std::istream& in, CPValue& val) {
    try {
        in >> val;
        return true;
    } catch (Exception const& e) {
        if (e._get_nException() != 401 && e._get_nException() != 402)
            std::fprintf(stderr, "%d %s\n", e._get_nException(), e.szMessage);
        Check(e._get_nException() == 401 || e._get_nException() == 402,
              "the reader threw a code other than 401 or 402");
    } catch (std::uint32_t u) {
        Check(u == kDeadFocc, "the reader threw a number other than 0xDEADF0CC");
    }
    return false;
}

std::string Written(CPValue& val) {
    std::ostringstream out;
    out << val;
    return out.str();
}

// Text forms and conversions may refuse by Exception, never otherwise.
void Exercise(CPValue& val) {
    static char szText[1 << 20];
    try {
        val.GetAsString(szText, 6);
        val.GetDisplayString(szText, nullptr);
        CPValue copy(val);
        copy.SetType(TY_DOUBLE);
        (void)copy.GetAsDouble();
        copy.SetType(TY_STRING);
    } catch (Exception const&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Exception::_set_bDisableMessageBoxes(1);
    UnitInitialize(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size > kMaxInput) return -1;
    std::istringstream in(std::string(reinterpret_cast<char const*>(data), size));
    CPValue val;
    if (!Read(in, val)) return 0;
    std::string const written = Written(val);
    std::istringstream back(written);
    CPValue again;
    Check(Read(back, again), "a written value was refused");
    Check(back.peek() == std::char_traits<char>::eof(), "a written value was not read whole");
    Check(again.GetType() == val.GetType(), "the type changed on the way back");
    // A unit text may settle on its first way through: an escaped "d\\eg"
    // reads as "deg", which the next read removes. After that it is stable.
    std::string const rewritten = Written(again);
    if (rewritten != written) {
        std::istringstream third(rewritten);
        CPValue settled;
        Check(Read(third, settled), "a rewritten value was refused");
        Check(Written(settled) == rewritten, "a value's bytes did not settle after one round");
    }
    Exercise(val);
    return 0;
}

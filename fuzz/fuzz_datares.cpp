// Arbitrary bytes through the reader of resource attributes, one header after
// another. A bad header must be refused only by throwing kDeadFocc and must
// leave the attributes as they were; a header that was accepted must write
// out and read back to the same attributes and the same bytes.
#include <baseobj/datares.h>
#include <util/exceptions.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

constexpr int kMaxHeaders = 16;

void Check(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_datares: %s\n", what);
    std::abort();
}

bool Read(std::istream& in, DataResourceAttributes& dra) {
    try {
        in >> dra;
        return true;
    } catch (std::uint32_t code) {
        Check(code == kDeadFocc, "the reader threw an integer other than kDeadFocc");
        return false;
    }
}

std::string Write(DataResourceAttributes const& dra) {
    std::ostringstream out;
    out << dra;
    return out.str();
}

DataResourceAttributes Sentinel() {
    DataResourceAttributes dra;
    dra._set_nStorageVersion(7);
    dra._set_ulUserWord(0xFEEDFACE);
    dra.SetResourceName("sentinel");
    dra.SetResourceType("Sentinel");
    return dra;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::istringstream in(std::string(reinterpret_cast<char const*>(data), size));
    for (int n = 0; n < kMaxHeaders; ++n) {
        DataResourceAttributes dra = Sentinel();
        std::streamoff const from = in.tellg();
        if (!Read(in, dra)) {
            Check(dra == Sentinel(), "a refused header changed the attributes");
            break;
        }
        Check(in.tellg() > from, "an accepted header consumed nothing");
        std::string const form = Write(dra);
        std::istringstream again(form);
        DataResourceAttributes back;
        Check(Read(again, back), "a written header did not read back");
        Check(back == dra, "a written header read back different");
        Check(again.peek() == std::char_traits<char>::eof(), "a written header was not read whole");
        Check(Write(back) == form, "a header read back wrote different bytes");
        if (in.peek() == std::char_traits<char>::eof()) break;
    }
    return 0;
}

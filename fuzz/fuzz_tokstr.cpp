// Arbitrary bytes through the token stream's file reader. Bad input may only
// throw Exception 402, and text from positions only 307. What was read must
// write out, read back to the same counts and write again to the same bytes;
// the walk, both text forms and the dumps must run over it.
#include <baseobj/exception.h>
#include <baseobj/token.h>
#include <baseobj/tokstr.h>
#include <util/pstring.h>

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
    std::fprintf(stderr, "fuzz_tokstr: %s\n", what);
    std::abort();
}

bool Read(std::string const& bytes, TokenStream& ts) {
    std::istringstream in(bytes);
    try {
        ts.StreamIn(in);
        return true;
    } catch (Exception const& e) {
        Check(e._get_nException() == 402, "the reader threw a code other than 402");
        return false;
    }
}

std::string Written(TokenStream& ts) {
    std::ostringstream out;
    ts.StreamOut(out);
    return out.str();
}

void Exercise(TokenStream& ts) {
    ts.Reset();
    std::int32_t n = 0;
    while (ts.GetToken() != nullptr)
        ++n;
    Check(n <= ts.Length(), "the walk gave more tokens than the stream holds");
    CPString str;
    try {
        ts.ProduceBuffer(&str);
    } catch (Exception const& e) {
        Check(e._get_nException() == 307, "the text from positions threw a code other than 307");
    }
    ts.DumpText(&str, 0, 0, 64);
    ts.DumpText(&str, 1, 1, 64);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Exception::_set_bDisableMessageBoxes(1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size > kMaxInput) return -1;
    TokenStream ts;
    if (!Read(std::string(reinterpret_cast<char const*>(data), size), ts)) return 0;
    std::string const written = Written(ts);
    TokenStream again;
    Check(Read(written, again), "a written stream was refused");
    Check(again.Length() == ts.Length(), "the token count changed on the way back");
    Check(again._get_lstComments().Length() == ts._get_lstComments().Length(),
          "the comment count changed on the way back");
    Check(Written(again) == written, "writing, reading and writing again changed the bytes");
    Exercise(ts);
    return 0;
}

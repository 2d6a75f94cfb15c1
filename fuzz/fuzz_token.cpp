// Arbitrary bytes through the token's file reader, which takes the binary
// forms of three versions and two text forms. Bad input may only throw
// Exception 402. What was read must write out, read back whole and write
// again to the same bytes, and its text forms must be producible.
#include <baseobj/exception.h>
#include <baseobj/token.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

// A text of 32,768 bytes or more ends the process when copied, by design.
constexpr std::size_t kMaxInput = 16384;
constexpr int kMaxTokens = 64;

void Check(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_token: %s\n", what);
    std::abort();
}

bool Read(std::istream& in, Token& tok) {
    try {
        in >> tok;
        return true;
    } catch (Exception const& e) {
        Check(e._get_nException() == 402, "the reader threw a code other than 402");
        return false;
    }
}

std::string Written(Token const& tok) {
    std::ostringstream out;
    out << tok;
    return out.str();
}

void Exercise(Token const& tok) {
    char szText[512];
    tok.FetchAsString(szText, sizeof szText, static_cast<char>(tok._get_nCol()));
    std::ostringstream printed;
    tok.Print(printed);
    Token copy(tok);
    Check(copy._get_nDataType() == tok._get_nDataType(), "a copy changed the type");
    copy.SetValueFromString(szText);
    (void)copy.FetchBool();
    (void)copy.FetchLong(static_cast<short>(tok._get_nRow() % 4));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Exception::_set_bDisableMessageBoxes(1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size > kMaxInput) return -1;
    std::istringstream in(std::string(reinterpret_cast<char const*>(data), size));
    Token tok;
    for (int i = 0; i < kMaxTokens; ++i) {
        if (!Read(in, tok)) break;
        std::string const written = Written(tok);
        std::istringstream back(written);
        Token again;
        Check(Read(back, again), "a written token was refused");
        Check(back.peek() == std::char_traits<char>::eof(), "a written token was not read whole");
        Check(again._get_nDataType() == tok._get_nDataType(), "the type changed on the way back");
        Check(again._get_nRow() == tok._get_nRow() && again._get_nCol() == tok._get_nCol(),
              "the position changed on the way back");
        Check(Written(again) == written, "writing, reading and writing again changed the bytes");
        Exercise(tok);
    }
    return 0;
}

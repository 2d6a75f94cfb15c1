// Arbitrary text through the scanner, from a buffer and from a stream alike.
// The first byte sets the scanner up, the next few choose calls to make
// before the rest of the text is drained token by token. Malformed text may
// only throw Exception 274 or 292; and where the text holds no zero byte,
// at which the two sources part, both must give the same transcript.
#include <baseobj/exception.h>
#include <baseobj/lex.h>
#include <baseobj/token.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>

namespace {

// Texts from 32,768 bytes on end the process by design (a comment that long
// cannot be copied into its token); the fuzzer stays below.
constexpr std::size_t kMaxInput = 16384;
constexpr std::size_t kMaxCalls = 16;

void Check(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_scanner: %s\n", what);
    std::abort();
}

struct Setup {
    std::uint8_t nFlags = 0;
    std::string calls;
    std::string text;
};

Setup Split(std::uint8_t const* data, std::size_t size) {
    Setup setup;
    if (size == 0) return setup;
    setup.nFlags = data[0];
    std::size_t const nCalls = size > 1 ? std::min<std::size_t>(data[1] % kMaxCalls, size - 2) : 0;
    if (size > 1) setup.calls.assign(reinterpret_cast<char const*>(data + 2), nCalls);
    std::size_t const at = std::min(size, 2 + nCalls);
    setup.text.assign(reinterpret_cast<char const*>(data + at), size - at);
    return setup;
}

void Configure(Scanner& scn, std::uint8_t nFlags) {
    scn._set_bIgnoreComments((nFlags & 1) != 0 ? 1 : 0);
    scn._set_bDisableReservedWords((nFlags & 2) != 0 ? 1 : 0);
    if ((nFlags & 4) != 0) scn._set_bRecognizeStringLiterals(0);
    if ((nFlags & 8) != 0) {
        scn.AugmentStringSpec('\\');
        scn.AugmentStringSpec('.');
        scn.DiminishStringSpec('_');
    }
    if ((nFlags & 16) != 0) scn.AugmentStringStartSpec('_');
    scn.AugmentFieldDelimiterSet((nFlags & 32) != 0 ? ',' : '\n');
}

std::string Describe(Token const* ptok) {
    if (ptok == nullptr) return "null;";
    char szText[512];
    ptok->FetchAsString(szText, sizeof szText, static_cast<char>(ptok->_get_nRow() % 13 - 6));
    return std::to_string(ptok->_get_nRow()) + ":" + std::to_string(ptok->_get_nCol()) + " " +
           std::to_string(ptok->_get_nDataType()) + " r" + std::to_string(ptok->_get_nRadix()) +
           " [" + szText + "];";
}

std::string Owned(Token* ptok) {
    std::unique_ptr<Token> owned(ptok);
    return Describe(owned.get());
}

// One call of the scanner's interface, chosen by a byte.
std::string Call(Scanner& scn, std::uint8_t nCall) {
    Token probe;
    switch (nCall % 14) {
    case 0:
        return Owned(scn.GetTokenPtr());
    case 1:
        return Describe(scn.PeekTokenPtr());
    case 2:
        return Describe(scn.PeekToken2AheadPtr());
    case 3:
        scn.ConsumePeekedToken();
        return "consume;";
    case 4:
        return std::to_string(scn.Match('-')) +
               std::to_string(scn.MatchPeek(static_cast<short>(1)));
    case 5:
        return std::to_string(scn.PeekNumeric());
    case 6:
        return Owned(scn.Catenate2EOL());
    case 7:
        return Owned(scn.GetField(static_cast<short>(nCall % 3 == 0 ? TY_STRING : TY_UNDEFINED),
                                  static_cast<std::uint16_t>(nCall)));
    case 8:
        return Describe(scn.PeekField(TY_SHORT, 255));
    case 9:
        return std::to_string(scn.MatchSpaces(nCall % 4)) +
               std::to_string(scn.Advance2Column(nCall));
    case 10:
        return std::to_string(scn.Consume2EOL()) + std::to_string(scn.Consume2EOP());
    case 11:
        return std::to_string(scn.Consume2("a"));
    case 12: {
        std::string out(1, scn.PeekChar());
        out += scn.PeekNextChar(nCall & 1);
        out += scn.NextChar();
        return out;
    }
    default:
        return std::to_string(scn.PeekToken2Ahead(&probe)) + std::to_string(scn.GetToken(&probe)) +
               Describe(&probe);
    }
}

std::string Transcript(Scanner& scn, Setup const& setup) {
    Configure(scn, setup.nFlags);
    std::string out;
    try {
        for (char const c : setup.calls)
            out += Call(scn, static_cast<std::uint8_t>(c));
        int nLastRow = 0;
        while (Token* ptok = scn.GetTokenPtr()) {
            Check(ptok->_get_nRow() >= nLastRow, "rows went back");
            nLastRow = ptok->_get_nRow();
            Check(ptok->_get_nDataType() != TY_UNDEFINED, "the scanner made an undefined token");
            if (ptok->MatchType(TY_COMMENT) != 0)
                Check(ptok->FetchStringPointer()[0] == '/', "a comment lost its opening");
            out += Owned(ptok);
        }
        out += "end " + std::to_string(scn.Row()) + ":" + std::to_string(scn.Col());
    } catch (Exception const& e) {
        Check(e._get_nException() == 274 || e._get_nException() == 292,
              "the scanner threw a code other than 274 and 292");
        out += "error " + std::to_string(e._get_nException()) + " " + e.szMessage;
    }
    return out;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Exception::_set_bDisableMessageBoxes(1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size > kMaxInput) return -1;
    Setup const setup = Split(data, size);

    Scanner fromBuffer;
    fromBuffer._set_pcBuffer(setup.text.c_str());
    std::string const buffer = Transcript(fromBuffer, setup);

    std::istringstream in(setup.text);
    Scanner fromStream(&in);
    std::string const stream = Transcript(fromStream, setup);

    if (setup.text.find('\0') == std::string::npos)
        Check(buffer == stream, "the buffer and the stream scanned the same text differently");
    return 0;
}

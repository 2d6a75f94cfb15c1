// The scanner and its tokens: text becomes typed Token objects that know the
// row and column they were read at. Numbers come as short, long or double by
// their size, quoted text as a string literal, words of the language as
// keyword tokens, and any other word as a string.
#include <baseobj/exception.h>
#include <baseobj/lex.h>
#include <baseobj/token.h>

#include <cstdio>
#include <memory>

namespace {

void PrintToken(Token const& tok) {
    char type[32];
    char text[64];
    Token::MapTypeToString(static_cast<short>(tok._get_nDataType()), type);
    tok.FetchAsString(text, sizeof text, 2);
    std::printf("  %d:%-3d %-10s %s%s\n", tok._get_nRow(), tok._get_nCol(), type, text,
                tok.IsStringLiteral() != 0 ? " (literal)" : "");
}

} // namespace

int main() {
    // A failed scan throws Exception; the caller reports it, no box is shown.
    Exception::_set_bDisableMessageBoxes(1);

    // 1. Every token of a text. The scanner reads the caller's buffer in
    //    place, so the text must outlive it; the tokens it hands out are the
    //    caller's to delete.
    char const* const program = "if flow >= 12.5 then\n  alarm(\"P-101\", 3)";
    std::printf("tokens of: %s\n", program);
    Scanner scn;
    scn._set_pcBuffer(program);
    while (std::unique_ptr<Token> tok{scn.GetTokenPtr()})
        PrintToken(*tok);

    // 2. A small settings text read by matching: the name, an "=", the value.
    //    GetToken fills a token of the caller's; Match takes the next token
    //    only when it is the one asked for.
    char const* const settings = "rate = 12.5\nstages = 3\nname = \"P-101\"\n";
    Scanner reader;
    reader._set_pcBuffer(settings);
    Token name;
    Token value;
    int read = 0;
    while (reader.GetToken(&name) == 1) {
        if (reader.Match('=') == 0 || reader.GetToken(&value) != 1) {
            std::printf("setting %s has no value\n", name.GetBuffer());
            return 1;
        }
        char text[64];
        value.FetchAsString(text, sizeof text, 2);
        std::printf("setting %s = %s\n", name.GetBuffer(), text);
        ++read;
    }

    // 3. A string that never ends is an error of the text: Exception 292,
    //    with the place where the scan gave up.
    Scanner broken;
    broken._set_pcBuffer("label \"open");
    try {
        while (std::unique_ptr<Token> tok{broken.GetTokenPtr()}) {
        }
        std::printf("an unterminated string scanned\n");
        return 1;
    } catch (Exception const& e) {
        std::printf("unterminated string: exception %d\n%s\n", e._get_nException(), e.szMessage);
    }
    return read == 3 ? 0 : 1;
}

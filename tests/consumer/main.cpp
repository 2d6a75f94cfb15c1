// Uses the installed library through its public headers only. With hidden
// symbols by default, every call here also checks that its symbol is exported.
#include <baseobj/exception.h>
#include <baseobj/lex.h>
#include <baseobj/token.h>
#include <util/confdat.h>
#include <util/crc16.h>
#include <util/dynabuf.h>
#include <util/pstring.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <sstream>

namespace {

int gFailures = 0;

void Expect(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "consumer: %s\n", what);
    ++gFailures;
}

} // namespace

int main() {
    std::uint16_t check = 0;
    crc16().lCalc("123456789", &check, 9);
    Expect(check == 0xBB3D, "crc16 of \"123456789\" is not the CRC-16/ARC check value");

    CPString text("hello");
    CPString const shared(text);
    text += " world";
    Expect(text == "hello world", "appending gave the wrong text");
    Expect(shared == "hello", "appending changed a copy");

    std::uint16_t textCrc = 0;
    crc16().Calc("hello world", &textCrc);
    Expect(text._get_nCRC() == textCrc, "the string's CRC is not the CRC of its text");

    std::stringstream stream;
    stream << text;
    CPString back;
    stream >> back;
    Expect(back == text, "a string did not read back from its stream form");

    Exception::_set_bDisableMessageBoxes(1);
    Scanner scn;
    scn._set_pcBuffer("if 42 \"open");
    Token* ptok = scn.GetTokenPtr();
    Expect(ptok != nullptr && ptok->MatchToken(31602), "\"if\" did not scan as its keyword");
    delete ptok;
    Token number;
    Expect(scn.GetToken(&number) == 1 && number.FetchLong() == 42, "42 did not scan");
    std::stringstream tokenStream;
    tokenStream << number;
    Token numberBack;
    tokenStream >> numberBack;
    Expect(numberBack.Match(static_cast<short>(42)),
           "a token did not read back from its file form");
    try {
        scn.GetTokenPtr();
        Expect(false, "an unterminated string did not throw");
    } catch (Exception const& e) {
        Expect(e._get_nException() == 292, "an unterminated string threw another code");
    }

    // The configuration file sits beside the library this program loaded.
    std::filesystem::path const ini = ConfigData::GetConfigFilePath();
    Expect(ini.filename() == "sorvane.ini" &&
               std::filesystem::exists(ini.parent_path() / "libsorvane.so"),
           "the configuration file is not beside the loaded library");

    return gFailures == 0 ? 0 : 1;
}

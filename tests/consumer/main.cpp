// Uses the installed library through its public headers only. With hidden
// symbols by default, every call here also checks that its symbol is exported.
#include <util/crc16.h>
#include <util/dynabuf.h>
#include <util/pstring.h>

#include <cstdint>
#include <cstdio>
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

    return gFailures == 0 ? 0 : 1;
}

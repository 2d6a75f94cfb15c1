// A small tour of the framework's base services.
#include <util/crc16.h>
#include <util/pstring.h>

#include <cstdio>
#include <sstream>

int main() {
    CPString greeting("HeatExchanger");
    greeting.Filter(CPString::FILTER_WORD_SPLIT);
    greeting += " rated ";
    greeting += 42;
    greeting += " kW";

    std::ostringstream out;
    out << greeting;
    std::string const form = out.str();

    std::printf("text   : %s\n", greeting.GetBuffer());
    std::printf("length : %d\n", greeting.Length());
    std::printf("crc16  : 0x%04X\n", greeting._get_nCRC());
    std::printf("stream : %zu bytes:", form.size());
    for (unsigned char c : form)
        std::printf(" %02X", c);
    std::printf("\n");

    std::istringstream in(form);
    CPString back;
    in >> back;
    std::printf("read back equal: %s\n", back == greeting ? "yes" : "no");
    return back == greeting ? 0 : 1;
}

// Arbitrary text through RemoveSpecialSymbols, beside a plain model that
// erases each entity's bytes one replacement at a time. The two must agree,
// and the text must never grow.
#include <baseobj/xmlparser.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

std::string Model(std::string s) {
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] != '&' || i + 1 >= s.size()) continue;
        char const next = s[i + 1];
        std::size_t removed = 0;
        char replacement = '&';
        if (next == 'a') {
            bool const apos = i + 2 < s.size() && s[i + 2] == 'p';
            replacement = apos ? '\'' : '&';
            removed = apos ? 5 : 4;
        } else if (next == 'g' || next == 'l') {
            replacement = next == 'g' ? '>' : '<';
            removed = 3;
        } else if (next == 'q') {
            replacement = '"';
            removed = 5;
        }
        if (removed == 0) continue;
        s[i] = replacement;
        s.erase(i + 1, removed);
    }
    return s;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string text(reinterpret_cast<char const*>(data), size);
    text = text.c_str(); // up to the first NUL
    std::string const expected = Model(text);
    std::string buffer = text;
    CXMLParser::RemoveSpecialSymbols(buffer.data());
    std::string const got = buffer.c_str();
    if (got != expected || got.size() > text.size()) {
        std::fprintf(stderr, "fuzz_xmlentities: \"%s\" gave \"%s\", not \"%s\"\n", text.c_str(),
                     got.c_str(), expected.c_str());
        std::abort();
    }
    return 0;
}

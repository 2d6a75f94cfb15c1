// Arbitrary bytes through the XML parser, in place. Every name, attribute
// and text handed to the handlers must lie inside the buffer and end there;
// the attribute list must end within its array; the result must not pass
// the buffer's length by more than the byte before the first "<".
// An input that could give one tag a 50th attribute is skipped: that ends
// the process by design.
#include <baseobj/xmlparser.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

struct Bounds {
    char const* pcBegin;
    char const* pcEnd; // the terminating byte behind the data
};

void Check(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_xmlparse: %s\n", what);
    std::abort();
}

void CheckText(Bounds const& b, char const* psz) {
    Check(psz >= b.pcBegin && psz <= b.pcEnd, "a text outside the buffer");
    Check(std::memchr(psz, '\0', static_cast<std::size_t>(b.pcEnd - psz) + 1) != nullptr,
          "a text that doesn't end inside the buffer");
}

void Start(void* pv, char const* pszName, char const** ppszAttributes) {
    auto const& b = *static_cast<Bounds*>(pv);
    CheckText(b, pszName);
    int n = 0;
    for (; ppszAttributes[n] != nullptr; ++n) {
        Check(n < CXMLParser::kAttributeSlots - 1, "an attribute list past its array");
        CheckText(b, ppszAttributes[n]);
    }
    Check(n % 2 == 0, "an attribute without its value");
}

void End(void* pv, char const* pszName) {
    CheckText(*static_cast<Bounds*>(pv), pszName);
}

void Text(void* pv, char const* pszText, int nLength) {
    auto const& b = *static_cast<Bounds*>(pv);
    Check(nLength > 0, "an empty text");
    Check(pszText >= b.pcBegin && pszText + nLength <= b.pcEnd, "a text past the buffer");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (std::count(data, data + size, '"') >= 2 * CXMLParser::kMaxAttributes + 1) return 0;
    std::vector<char> buffer(data, data + size);
    buffer.push_back('\0');
    Bounds bounds{buffer.data(), buffer.data() + size};
    CXMLParser parser;
    parser.SetUserData(&bounds);
    parser.SetElementHandler(&Start, &End);
    parser.SetDefaultHandler(&Text);
    unsigned int const nLeft = parser.ParseBuffer(buffer.data(), static_cast<unsigned int>(size));
    Check(nLeft <= size + 1, "a result past the buffer");
    Check(buffer[size] == '\0', "the byte behind the data changed");
    return 0;
}

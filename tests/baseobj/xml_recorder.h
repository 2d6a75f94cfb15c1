// A listing of the parser's calls, one line each, for tests to compare:
//   S "name" "attr"="value" ...   a start tag
//   E "name"                      an end tag (an empty element's text at its
//                                 "/" is shown up to 24 bytes)
//   T n "text"                    text, with its length and what lies before
//                                 its first NUL within that length
// Bytes outside printable ASCII are shown as \xNN.
#pragma once

#include <baseobj/xmlparser.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace baseobj_test {

// The text between quotes, with the quote and '\\' escaped; a null text is
// empty.
inline std::string Quote(char const* p, std::size_t nMax = std::string::npos, char cQuote = '"') {
    std::string out(1, cQuote);
    for (std::size_t i = 0; p != nullptr && i < nMax && p[i] != '\0'; ++i) {
        auto const c = static_cast<unsigned char>(p[i]);
        if (c == static_cast<unsigned char>(cQuote) || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20 || c >= 0x7F) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02x", c);
            out += hex;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + cQuote;
}

struct XmlListing {
    std::string text;
    std::size_t nCalls = 0;

    static void Start(void* pv, char const* pszName, char const** ppszAttributes) {
        auto& self = *static_cast<XmlListing*>(pv);
        self.text += "S " + Quote(pszName);
        for (char const** pp = ppszAttributes; pp[0] != nullptr; pp += 2)
            self.text += " " + Quote(pp[0]) + "=" + Quote(pp[1]);
        self.text += "\n";
        ++self.nCalls;
    }
    static void End(void* pv, char const* pszName) {
        auto& self = *static_cast<XmlListing*>(pv);
        self.text += "E " + Quote(pszName, 24) + "\n";
        ++self.nCalls;
    }
    static void Text(void* pv, char const* pszText, int nLength) {
        auto& self = *static_cast<XmlListing*>(pv);
        self.text += "T " + std::to_string(nLength) + " " +
                     Quote(pszText, static_cast<std::size_t>(nLength)) + "\n";
        ++self.nCalls;
    }

    void Attach(CXMLParser& parser) {
        parser.SetUserData(this);
        parser.SetElementHandler(&Start, &End);
        parser.SetDefaultHandler(&Text);
    }
};

} // namespace baseobj_test

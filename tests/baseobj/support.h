// What the token and scanner tests share: a message box that records what it
// was shown, and a scanner over a text of the test's own.
#pragma once

#include <baseobj/exception.h>
#include <baseobj/lex.h>
#include <baseobj/token.h>
#include <platform/msgbox.h>
#include <support/recording_box.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>

namespace baseobj_test {

// Boxes are recorded, not shown, for one test.
class BoxedTest : public ::testing::Test {
protected:
    RecordingBox box;
    platform::ScopedSeam<platform::MessageBoxService> seam{platform::MessageBoxSeam(), box};
};

// Boxes recorded, and none asked for by an Exception, for one test.
struct QuietTest : BoxedTest {
    QuietTest() { Exception::_set_bDisableMessageBoxes(1); }
    ~QuietTest() override { Exception::_set_bDisableMessageBoxes(0); }
};

// A scanner over its own copy of the text.
struct TextScanner {
    explicit TextScanner(std::string textIn) : text(std::move(textIn)) {
        scn._set_pcBuffer(text.c_str());
    }
    std::unique_ptr<Token> Next() { return std::unique_ptr<Token>(scn.GetTokenPtr()); }
    std::string text;
    Scanner scn;
};

// "code message" of the Exception the statement throws.
inline std::string ThrownText(std::function<void()> const& statement) {
    try {
        statement();
    } catch (Exception const& e) {
        return std::to_string(e._get_nException()) + " " + e.szMessage;
    }
    return "nothing thrown";
}

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

inline std::string Text(Token const& tok) {
    char buf[1024];
    tok.FetchAsString(buf, sizeof buf, 6);
    return buf;
}

} // namespace baseobj_test

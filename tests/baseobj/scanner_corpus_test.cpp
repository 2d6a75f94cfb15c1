// Every input of scanner_corpus/ is scanned from a buffer and from a stream,
// and the listing of its tokens (position, type, exact value) or of the
// error that ended it must equal NAME.expected, or NAME.stream.expected for
// the stream where the two sources part. SORVANE_UPDATE_CORPUS=1 rewrites
// the listings, to be read before they are committed.
#include <baseobj/exception.h>
#include <baseobj/lex.h>
#include <baseobj/token.h>

#include <support/files.h>

#include "xml_recorder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using baseobj_test::Quote;
using test_support::ReadAll;
using test_support::WriteAll;

fs::path CorpusDir() {
    return fs::path(__FILE__).parent_path() / "scanner_corpus";
}

std::string Describe(Token const& tok) {
    char line[512];
    char szType[32];
    Token::MapTypeToString(static_cast<short>(tok._get_nDataType()), szType);
    std::string value;
    switch (tok._get_nDataType()) {
    case TY_CHAR: {
        char const c[2] = {tok.FetchChar(0), '\0'};
        value = c[0] == '\0' ? "'\\x00'" : Quote(c, std::string::npos, '\'');
        break;
    }
    case TY_SHORT:
    case TY_LONG:
        value = std::to_string(tok.FetchLong(0));
        break;
    case TY_DOUBLE: {
        char number[64];
        std::snprintf(number, sizeof number, "%.17g", tok.FetchDouble());
        value = number;
        break;
    }
    case TY_STRING:
    case TY_COMMENT:
        value = Quote(tok.FetchStringPointer());
        break;
    case TY_TOKEN: {
        auto const nCode = static_cast<std::int32_t>(tok.FetchDouble());
        char word[64];
        Token::MapSymbolID2String(nCode, word);
        value = std::to_string(nCode) + " " + Quote(word);
        break;
    }
    default:
        value = "?";
    }
    std::snprintf(line, sizeof line, "%u:%u %s %s", tok._get_nRow(), tok._get_nCol(), szType,
                  value.c_str());
    std::string out = line;
    if (tok._get_nRadix() != 10) out += " radix " + std::to_string(tok._get_nRadix());
    return out + "\n";
}

std::string Listing(Scanner& scn) {
    std::string out;
    try {
        while (std::unique_ptr<Token> ptok{scn.GetTokenPtr()})
            out += Describe(*ptok);
        out += "end " + std::to_string(scn.Row()) + ":" + std::to_string(scn.Col()) + "\n";
    } catch (Exception const& e) {
        out += "error " + std::to_string(e._get_nException()) + " " + Quote(e.szMessage) + " at " +
               std::to_string(scn.Row()) + ":" + std::to_string(scn.Col()) + "\n";
    }
    return out;
}

std::string ScanBuffer(std::string const& input) {
    Scanner scn;
    scn._set_pcBuffer(input.c_str());
    return Listing(scn);
}

std::string ScanStream(std::string const& input) {
    std::istringstream in(input);
    Scanner scn(&in);
    return Listing(scn);
}

} // namespace

TEST(ScannerCorpusTest, EachInputScansAsItsListingFromBothSources) {
    Exception::_set_bDisableMessageBoxes(1);
    std::vector<fs::path> inputs;
    for (auto const& entry : fs::directory_iterator(CorpusDir()))
        if (entry.path().extension() == ".in") inputs.push_back(entry.path());
    ASSERT_GE(inputs.size(), 10u);
    for (fs::path const& input : inputs) {
        SCOPED_TRACE(input.filename().string());
        std::string const text = ReadAll(input);
        fs::path expected = input, streamExpected = input;
        expected.replace_extension(".expected");
        streamExpected.replace_extension(".stream.expected");
        std::string const buffer = ScanBuffer(text), stream = ScanStream(text);
        if (std::getenv("SORVANE_UPDATE_CORPUS") != nullptr) {
            WriteAll(expected, buffer);
            if (stream != buffer)
                WriteAll(streamExpected, stream);
            else
                fs::remove(streamExpected);
            continue;
        }
        ASSERT_TRUE(fs::exists(expected));
        EXPECT_EQ(ReadAll(expected), buffer) << "the buffer";
        EXPECT_EQ(ReadAll(fs::exists(streamExpected) ? streamExpected : expected), stream)
            << "the stream";
    }
    Exception::_set_bDisableMessageBoxes(0);
}

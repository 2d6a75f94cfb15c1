#include <baseobj/fileobject.h>
#include <baseobj/xmlparser.h>

#include "xml_recorder.h"
#include <support/files.h>

#include <support/fatal.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using baseobj_test::XmlListing;

struct Parsed {
    std::string listing;
    unsigned int nResult;
    std::string buffer; // as the parse left it
};

Parsed Parse(std::string text) {
    XmlListing listing;
    CXMLParser parser;
    listing.Attach(parser);
    unsigned int const n = parser.ParseBuffer(text.data(), static_cast<unsigned int>(text.size()));
    return {listing.text, n, text};
}

TEST(CXMLParserTest, CallsAndResultFollowTheStateMachine) {
    struct Case {
        char const* input;
        char const* listing;
        unsigned int nResult;
    } const cases[] = {
        {"<a b=\"1\"/><c>", "S \"a\" \"b\"=\"1\"\nE \"/><c>\"\n", 4},
        // "/" ends no name; only a blank before it makes an empty element.
        {"<a/><b>", "S \"a/\"\n", 4},
        {"<a /><b>", "S \"a\"\nE \"/><b>\"\n", 4},
        {"<a>text</a><b>", "S \"a\"\nT 4 \"text\"\nE \"a\"\n", 4},
        {"<a>text</a>", "S \"a\"\nT 4 \"text\"\n", 5},
        {"<a> </a><b>", "S \"a\"\nE \"a\"\n", 4},
        {"<a v=\"x&amp;y\" w=\"&lt;&#65;&quot;\" e=\"\"></a><z>",
         "S \"a\" \"v\"=\"x&y\" \"w\"=\"<&#65;\\\"\" \"e\"=\"\"\nE \"a\"\n", 4},
        {"<a v=\"1\n2\r3\"></a><z>", "S \"a\" \"v\"=\"1 2 3\"\nE \"a\"\n", 4},
        // Single quotes aren't seen: the value is the next double-quoted one.
        {"<a v='1' w=\"2\"></a><z>", "S \"a\" \"v\"=\"2\"\nE \"a\"\n", 4},
        {"plain text", "", 10},
        {"<!-- <x> -->text<y>", "S \"x\"\nT 7 \"-->text\"\n", 4},
        // The skip of leading blanks tests every second byte.
        {"<a>   x</a><z>", "S \"a\"\nT 1 \"x\"\nE \"a\"\n", 4},
        {"<a> x y</a><z>", "S \"a\"\nT 1 \"y\"\nE \"a\"\n", 4},
        {"<?xml version=\"1.0\"?>\n<r a=\"1\">t</r>",
         "S \"?xml\" \"version\"=\"1.0\"\nS \"r\" \"a\"=\"1\"\nT 1 \"t\"\n", 5},
        {"<a b>t</a><z>", "S \"a\"\nT 1 \"t\"\nE \"a\"\n", 4},
        {"<a>x\r\ny</a><z>", "S \"a\"\nT 4 \"x  y\"\nE \"a\"\n", 4},
        // Mixed content loses what follows a child.
        {"<a>head<b>bold</b>tail</a><z>",
         "S \"a\"\nT 4 \"head\"\nS \"b\"\nT 4 \"bold\"\nE \"b\"\nE \"a\"\n", 4},
        // The length is taken before the entities shrink.
        {"<a>&amp;lt;</a><z>", "S \"a\"\nT 8 \"&lt;\"\nE \"a\"\n", 4},
        {"<a v=\"&a\"></a><z>", "S \"a\" \"v\"=\"&\"\nE \"a\"\n", 4},
        {"<a v=\"open></a><z>", "", 19},
        {"<a", "", 3},
        {"", "", 0},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.input);
        Parsed const parsed = Parse(c.input);
        EXPECT_EQ(parsed.listing, c.listing);
        EXPECT_EQ(parsed.nResult, c.nResult);
    }
}

TEST(CXMLParserTest, TheBufferIsChangedInPlaceAndTheTailRestored) {
    Parsed const parsed = Parse("<a x=\"1\">t\n</a>\n<b>");
    EXPECT_EQ(parsed.buffer, std::string("\0a\0x\0\0"
                                         "1\0\0t \0/a\0  b ",
                                         19));
    EXPECT_EQ(parsed.nResult, 4u); // from the blank before "<b>", whose NULs are blanks again
}

TEST(CXMLParserTest, RemoveSpecialSymbolsJudgesByTheNextByte) {
    struct Case {
        char const* in;
        char const* out;
    } const cases[] = {{"&apos;", "'"},
                       {"&amp;", "&"},
                       {"&gt;", ">"},
                       {"&lt;", "<"},
                       {"&quot;", "\""},
                       {"&#65;", "&#65;"},
                       {"&amp;lt;", "&lt;"},
                       {"&aXYZ!", "&!"},
                       {"&gXY", ">"},
                       {"x&", "x&"},
                       {"&l", "<"},
                       {"&&gt;", "&>"},
                       {"a&b", "a&b"},
                       {"&apos", "'"},
                       {"", ""},
                       {"no entity", "no entity"}};
    for (auto const& c : cases) {
        std::string text = c.in;
        CXMLParser::RemoveSpecialSymbols(text.data());
        EXPECT_STREQ(text.c_str(), c.out) << c.in;
    }
}

using test_support::ExpectFatalReport;

std::string Attributes(int n) {
    std::string s = "<e";
    for (int i = 0; i < n; ++i)
        s += " a" + std::to_string(i) + "=\"" + std::to_string(i) + "\"";
    return s + "></e><z>";
}

TEST(CXMLParserDeathTest, FortyNineAttributesFitAndAFiftiethEndsTheProcess) {
    Parsed const parsed = Parse(Attributes(49));
    EXPECT_NE(parsed.listing.find("\"a48\"=\"48\"\nE \"e\"\n"), std::string::npos);
    ExpectFatalReport([] { Parse(Attributes(50)); }, "nAttributes < 49");
    ExpectFatalReport(
        [] {
            CXMLParser unset;
            std::string text = "<a>";
            unset.ParseBuffer(text.data(), 3);
        },
        "pfnStartHandler");
}

// Files, compressed or not, are read in the corpus test.
TEST(XMLReaderTest, ReadsTextsAndStreamsAndNothingFromAMissingFile) {
    std::string const xml = "<r><k v=\"&amp;1\">one</k></r>\n";
    char const* const expected = "S \"r\"\nS \"k\" \"v\"=\"&1\"\nT 3 \"one\"\nE \"k\"\n";
    XMLReader reader;
    XmlListing fromText;
    std::string text = xml;
    EXPECT_EQ(reader.ReadXMLFile(text.c_str(), 0, &XmlListing::Start, &XmlListing::End,
                                 &XmlListing::Text, &fromText, 1),
              1);
    EXPECT_EQ(fromText.text, expected);
    XmlListing fromStream;
    std::istringstream in(xml);
    EXPECT_EQ(
        reader.ReadXML(&in, &XmlListing::Start, &XmlListing::End, &XmlListing::Text, &fromStream),
        1);
    EXPECT_EQ(fromStream.text, expected);
    XmlListing none;
    EXPECT_EQ(reader.ReadXMLFile("/nonexistent/settings.xml", 0, &XmlListing::Start,
                                 &XmlListing::End, &XmlListing::Text, &none, 0),
              1);
    EXPECT_EQ(none.nCalls, 0u);
}

// Every document of xml_corpus/, written by other programs, is read as a
// file (NAME.xmlz in the compressed whole-file form) and parsed; the listing
// of the calls and the parse's result must equal NAME.expected. A listing
// above 256 KB is kept as its first lines, its count of calls and a hash.
// SORVANE_UPDATE_CORPUS=1 rewrites the listings, to be read before commit.
constexpr std::size_t kWholeListing = 256 * 1024;
constexpr std::size_t kHeadLines = 200;

fs::path CorpusDir() {
    return fs::path(__FILE__).parent_path() / "xml_corpus";
}

std::vector<fs::path> Documents() {
    std::vector<fs::path> out;
    for (auto const& entry : fs::directory_iterator(CorpusDir())) {
        auto const ext = entry.path().extension();
        if (ext != ".expected" && ext != ".py") out.push_back(entry.path());
    }
    std::sort(out.begin(), out.end());
    return out;
}

std::string Kept(XmlListing const& listing) {
    if (listing.text.size() <= kWholeListing) return listing.text;
    std::size_t at = 0;
    for (std::size_t line = 0; line < kHeadLines; ++line)
        at = listing.text.find('\n', at) + 1;
    std::uint64_t hash = 14695981039346656037ULL; // FNV-1a
    for (unsigned char c : listing.text)
        hash = (hash ^ c) * 1099511628211ULL;
    char summary[96];
    std::snprintf(summary, sizeof summary, "... %zu calls, %zu bytes, FNV-1a %016llx\n",
                  listing.nCalls, listing.text.size(), static_cast<unsigned long long>(hash));
    return listing.text.substr(0, at) + summary;
}

TEST(XmlCorpusTest, ListingsMatch) {
    bool const update = std::getenv("SORVANE_UPDATE_CORPUS") != nullptr;
    auto const documents = Documents();
    ASSERT_GE(documents.size(), 8u);
    for (fs::path const& doc : documents) {
        SCOPED_TRACE(doc.filename().string());
        short const bCompressed = doc.extension() == ".xmlz" ? 1 : 0;
        std::int32_t nLength = 0;
        char* const pc = FileObject::CreateBuffer(doc.c_str(), bCompressed, &nLength);
        ASSERT_NE(pc, nullptr);
        XmlListing listing;
        CXMLParser parser;
        listing.Attach(parser);
        unsigned int const nLeft = parser.ParseBuffer(pc, static_cast<unsigned int>(nLength));
        FileObject::DeleteBuffer(pc);
        std::string const got = Kept(listing) + "= " + std::to_string(nLeft) + "\n";

        // The reader, from the file, makes the same calls.
        XmlListing viaReader;
        XMLReader reader;
        reader.ReadXMLFile(doc.c_str(), bCompressed, &XmlListing::Start, &XmlListing::End,
                           &XmlListing::Text, &viaReader, 0);
        EXPECT_EQ(viaReader.text, listing.text);

        fs::path expectedPath = doc;
        expectedPath.replace_extension(".expected");
        if (update) {
            std::ofstream(expectedPath, std::ios::binary) << got;
            continue;
        }
        EXPECT_EQ(got, test_support::ReadAll(expectedPath.string()));
    }
}

} // namespace

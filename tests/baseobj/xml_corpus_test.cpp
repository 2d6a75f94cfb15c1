// Every document of xml_corpus/, written by other programs, is read as a
// file (NAME.xmlz in the compressed whole-file form) and parsed; the listing
// of the calls and the parse's result must equal NAME.expected. A listing
// above 256 KB is kept as its first lines, its count of calls and a hash.
// SORVANE_UPDATE_CORPUS=1 rewrites the listings, to be read before commit.
#include <baseobj/fileobject.h>
#include <baseobj/xmlparser.h>

#include "xml_recorder.h"
#include <support/files.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using baseobj_test::XmlListing;

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

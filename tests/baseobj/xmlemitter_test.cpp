#include <baseobj/xmlparser.h>

#include "xml_recorder.h"
#include <support/files.h>

#include <support/fatal.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using baseobj_test::XmlListing;
using test_support::ReadAll;
using test_support::ScratchDir;

constexpr char kHeader[] = "<?xml version = \"1.0\"?>";

// What the emitter writes for a script of calls on a fresh file.
std::string Emit(std::function<void(XMLEmitter&)> const& script) {
    ScratchDir tmp;
    std::string path = tmp.Path("out.xml");
    XMLEmitter emitter;
    EXPECT_EQ(emitter.OpenFile(path.data()), 1);
    script(emitter);
    emitter.CloseFile();
    return ReadAll(path);
}

char* S(char const* psz) {
    return const_cast<char*>(psz); // the emitter only reads its arguments
}

// Runs a script of emitter calls, one word each: "<name" starts a tag,
// "@name=value" writes an attribute, "'text" writes a text that closes the
// start tag first, "+text" one that goes on from a text, and ">" ends a tag.
void Play(XMLEmitter& e, std::string const& script) {
    std::istringstream words(script);
    for (std::string w; words >> w;) {
        std::string arg = w.substr(1);
        std::size_t const eq = arg.find('=');
        if (w[0] == '<') e.StartTag(arg.data());
        if (w[0] == '@') e.Attribute(arg.substr(0, eq).data(), arg.substr(eq + 1).data());
        if (w[0] == '\'' || w[0] == '+') e.Text(arg.data(), w[0] == '+' ? 1 : 0);
        if (w[0] == '>') e.EndTag();
    }
}

TEST(XMLEmitterTest, WritesTagsAsTheirCallsDecide) {
    struct Case {
        char const* script;
        std::string body; // behind the header
    } const cases[] = {
        {"", ""},
        {"<a >", "\n\n<a/>"},
        {"<a @x=1 >", "\n\n<a x=\"1\"/>"},
        {"<a 't +u >", "\n\n<a>tu</a>"},
        {"<a 't @x=1 >", "\n\n<a>t<! ****** XML ERROR: ATTRIBS AFTER TEXT >\n\t\t x=\"1\"</a>"},
        // The last end has nothing left to close: nothing happens.
        {"<root @v=2 <child 't > <deep <er > > > >",
         "\n\n<root v=\"2\">\n\t<child>t</child>\n\t<deep>\n\t\t<er/>\n\t</deep>\n</root>"},
        {"<a > <b >", "\n\n<a/>\n\n<b/>"}, // a second root
        {"<a <b", "\n\n<a>\n\t<b"},        // tags left open
    };
    for (auto const& c : cases) {
        EXPECT_EQ(Emit([&](XMLEmitter& e) { Play(e, c.script); }), kHeader + c.body) << c.script;
    }
}

TEST(XMLEmitterTest, NothingIsWrittenWhileClosedAndTheTagBeyond255IsLost) {
    ScratchDir tmp;
    std::string path = tmp.Path("out.xml");
    XMLEmitter emitter;
    emitter.StartTag(S("a"));
    emitter.Text(S("t"), 0);
    EXPECT_EQ(emitter._get_nDepth(), 0);
    std::string bad = tmp.Path("no/dir/x.xml");
    EXPECT_EQ(emitter.OpenFile(bad.data()), 0);
    ASSERT_EQ(emitter.OpenFile(path.data()), 1);
    for (int i = 0; i < 256; ++i)
        emitter.StartTag(S("t"));
    emitter.EndTag(); // closes the 255th: the 256th was never kept
    EXPECT_EQ(emitter._get_nDepth(), 255);
    emitter.CloseFile();
    emitter.StartTag(S("after"));
    std::string const body = ReadAll(path);
    std::string const tail =
        "<t>\n" + std::string(255, '\t') + "<t\n" + std::string(255, '\t') + "</t>";
    ASSERT_GE(body.size(), tail.size());
    EXPECT_EQ(body.substr(body.size() - tail.size()), tail);
}

TEST(XMLEmitterDeathTest, MisuseEndsTheProcessThroughItsCheck) {
    std::string path = test_support::TestFileName("out.xml");
    std::string const longName(64, 'n');
    struct Case {
        std::function<void(XMLEmitter&)> script;
        char const* text;
    } const cases[] = {
        {[](XMLEmitter& e) { e.Attribute(S("x"), S("1")); }, "pxmtsThe"},
        {[](XMLEmitter& e) { e.Text(S("t"), 0); }, "pxmtsThe"},
        {[&](XMLEmitter& e) { e.StartTag(S(longName.c_str())); }, "strlen(pszName) < 64"},
    };
    for (Case const& c : cases)
        test_support::ExpectFatalReport(
            [&] {
                XMLEmitter emitter;
                emitter.OpenFile(path.data());
                c.script(emitter);
            },
            c.text, "baseobj/xmlparser");
    std::remove(path.c_str());
}

// A random document as emitter calls, and the calls the reader should make
// of it: the parser's quirks are part of the model. Texts and values are
// already escaped; blank-only texts are left out of the comparison, and an
// empty element's end is compared by its "/>" alone.
class RoundTrip {
public:
    explicit RoundTrip(unsigned seed) : rng(seed) {}

    std::string Run() {
        ScratchDir tmp;
        std::string path = tmp.Path("doc.xml");
        XMLEmitter emitter;
        EXPECT_EQ(emitter.OpenFile(path.data()), 1);
        expected = "S \"?xml\" \"version \"=\"1.0\"\n";
        Element(emitter, 0, true);
        emitter.CloseFile();
        XmlListing listing;
        XMLReader reader;
        reader.ReadXMLFile(path.c_str(), 0, &XmlListing::Start, &XmlListing::End, &XmlListing::Text,
                           &listing, 0);
        return WithoutBlankTexts(listing.text);
    }

    std::string expected;

private:
    std::string Pick(std::vector<char const*> const& from) {
        return from[std::uniform_int_distribution<std::size_t>(0, from.size() - 1)(rng)];
    }
    int Roll(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng); }

    static std::string Unescaped(std::string s) {
        CXMLParser::RemoveSpecialSymbols(s.data());
        return s.c_str();
    }

    void Element(XMLEmitter& emitter, int depth, bool bRoot) {
        std::string name = Pick({"Unit", "Value", "Settings", "General", "x"});
        emitter.StartTag(name.data());
        std::string attrs;
        for (int k = Roll(4); k > 0; --k) {
            std::string an = Pick({"Name", "Kind", "Factor"});
            std::string av = Pick({"m", "1.5", "a &amp; b", "&lt;x&gt;", ""});
            emitter.Attribute(an.data(), av.data());
            attrs += " " + baseobj_test::Quote(an.c_str()) + "=" +
                     baseobj_test::Quote(Unescaped(av).c_str());
        }
        int const kind = depth >= 5 ? Roll(2) : Roll(3); // empty, text, children
        if (kind == 0) {
            emitter.EndTag();
            // "/" right behind the name joins it; behind an attribute it
            // makes an empty element, reported at once.
            if (attrs.empty()) {
                if (!bRoot) expected += "S " + baseobj_test::Quote((name + "/").c_str()) + "\n";
            } else {
                expected += "S " + baseobj_test::Quote(name.c_str()) + attrs + "\nE \"/>\"\n";
            }
            return;
        }
        expected += "S " + baseobj_test::Quote(name.c_str()) + attrs + "\n";
        if (kind == 1) {
            std::string text = Pick({"42", "a &amp; b &lt; c", "mm/s", "x&quot;y"});
            emitter.Text(text.data(), 0);
            expected += "T " + std::to_string(text.size()) + " " +
                        baseobj_test::Quote(Unescaped(text).c_str()) + "\n";
        } else {
            for (int k = 1 + Roll(3); k > 0; --k)
                Element(emitter, depth + 1, false);
        }
        emitter.EndTag();
        if (!bRoot) expected += "E " + baseobj_test::Quote(name.c_str()) + "\n";
    }

    static std::string WithoutBlankTexts(std::string const& listing) {
        std::string out;
        std::size_t at = 0;
        while (at < listing.size()) {
            std::size_t const end = listing.find('\n', at) + 1;
            std::string const line = listing.substr(at, end - at);
            bool blank = false;
            if (line.rfind("T ", 0) == 0) {
                std::string quoted = line.substr(line.find('"'));
                for (std::size_t tab; (tab = quoted.find("\\x09")) != std::string::npos;)
                    quoted.erase(tab, 4);
                blank = quoted.find_first_not_of(" \"\n") == std::string::npos;
            }
            if (line.rfind("E \"/>", 0) == 0)
                out += "E \"/>\"\n";
            else if (!blank)
                out += line;
            at = end;
        }
        return out;
    }

    std::mt19937 rng;
};

TEST(XMLEmitterTest, WhatItWritesTheReaderReadsBack) {
    for (unsigned seed = 1; seed <= 200; ++seed) {
        RoundTrip trip(seed);
        std::string const got = trip.Run();
        ASSERT_EQ(got, trip.expected) << "seed " << seed;
    }
}

} // namespace

// XMLReader's parse of a 4 MB document beside pugixml's in-place parse and
// expat's, on the same bytes, in MB/s, with the ratio of their times. The
// in-place parsers get a fresh copy of the document each time, and the copy
// is timed with them.
#include <baseobj/xmlparser.h>

#include "ratio.h"

#include <benchmark/benchmark.h>

#include <expat.h>
#include <pugixml.hpp>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr double kMinTime = 1.0;
constexpr std::size_t kInputSize = 4u << 20;

// Settings and data as the framework writes them: tab-indented elements
// with double-quoted attributes, texts, a few entities and comments.
std::string MakeInput() {
    std::string doc = "<?xml version = \"1.0\"?>\n\n<Resources version=\"2\">";
    std::uint32_t seed = 7;
    auto next = [&seed](std::uint32_t n) {
        seed = seed * 1103515245u + 12345u;
        return (seed >> 16) % n;
    };
    while (doc.size() < kInputSize) {
        doc += "\n\t<Resource Name=\"res" + std::to_string(next(100000)) + "\" Kind=\"" +
               (next(2) != 0 ? "length" : "mass") + "\">";
        for (std::uint32_t n = 1 + next(4); n > 0; --n) {
            doc += "\n\t\t<Value Unit=\"mm\" Scale=\"" + std::to_string(next(1000)) + "\">" +
                   std::to_string(next(1000000)) + "." + std::to_string(next(1000)) + "</Value>";
        }
        if (next(5) == 0) doc += "\n\t\t<Note>a &amp; b &lt; c</Note>";
        if (next(9) == 0) doc += "\n\t\t<!-- kept for old readers -->";
        doc += "\n\t</Resource>";
    }
    doc += "\n</Resources>\n";
    return doc;
}

std::string const& Input() {
    static std::string const input = MakeInput();
    return input;
}

struct Counts {
    std::size_t nStart = 0;
    std::size_t nText = 0;
};

void OurStart(void* pv, char const*, char const**) {
    ++static_cast<Counts*>(pv)->nStart;
}
void OurEnd(void*, char const*) {}
void OurText(void* pv, char const*, int) {
    ++static_cast<Counts*>(pv)->nText;
}

void Ours(benchmark::State& state) {
    std::string const& input = Input();
    std::vector<char> buffer(input.size() + 1);
    Counts counts;
    XMLReader reader;
    for (auto _ : state) {
        std::memcpy(buffer.data(), input.c_str(), input.size() + 1);
        reader.ReadXMLFile(buffer.data(), 0, &OurStart, &OurEnd, &OurText, &counts, 1);
    }
    benchmark::DoNotOptimize(counts);
}

void Pugi(benchmark::State& state) {
    std::string const& input = Input();
    std::vector<char> buffer(input.size() + 1);
    for (auto _ : state) {
        std::memcpy(buffer.data(), input.c_str(), input.size() + 1);
        pugi::xml_document doc;
        auto const result = doc.load_buffer_inplace(buffer.data(), input.size());
        if (!result) state.SkipWithError("pugixml refused the document");
        benchmark::DoNotOptimize(doc.first_child());
    }
}

void XMLCALL ExpatStart(void* pv, XML_Char const*, XML_Char const**) {
    ++static_cast<Counts*>(pv)->nStart;
}
void XMLCALL ExpatEnd(void*, XML_Char const*) {}
void XMLCALL ExpatText(void* pv, XML_Char const*, int) {
    ++static_cast<Counts*>(pv)->nText;
}

void Expat(benchmark::State& state) {
    std::string const& input = Input();
    Counts counts;
    for (auto _ : state) {
        XML_Parser parser = XML_ParserCreate(nullptr);
        XML_SetUserData(parser, &counts);
        XML_SetElementHandler(parser, &ExpatStart, &ExpatEnd);
        XML_SetCharacterDataHandler(parser, &ExpatText);
        if (XML_Parse(parser, input.data(), static_cast<int>(input.size()), 1) != XML_STATUS_OK)
            state.SkipWithError("expat refused the document");
        XML_ParserFree(parser);
    }
    benchmark::DoNotOptimize(counts);
}

template <void (*Parse)(benchmark::State&)> void Throughput(benchmark::State& state) {
    Parse(state);
    state.counters["MB/s"] = benchmark::Counter(static_cast<double>(state.iterations()) *
                                                    static_cast<double>(Input().size()) / 1e6,
                                                benchmark::Counter::kIsRate);
}

} // namespace

int main(int argc, char** argv) {
    ratio::RegisterPair("xml/4MB", "pugixml", kMinTime, Throughput<Ours>, Throughput<Pugi>);
    // The second alternative is timed against the same run of ours.
    benchmark::RegisterBenchmark("xml/4MB/expat", Throughput<Expat>)
        ->MinTime(kMinTime)
        ->Unit(benchmark::kNanosecond);
    ratio::Pairs().push_back({"xml/4MB", "xml/4MB/ours", "xml/4MB/expat"});
    return ratio::RunAndReport(argc, argv);
}

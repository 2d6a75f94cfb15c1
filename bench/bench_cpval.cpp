// What the value's bookkeeping costs: an assignment between two values in
// different units beside the plain double multiply-add that does the same
// arithmetic; and a token stream filled from a 10 MB script beside the
// scanner alone over the same text, in MB/s. The ratios end the run.
#include <baseobj/cpval.h>
#include <baseobj/lex.h>
#include <baseobj/token.h>
#include <baseobj/tokstr.h>
#include <omdiunit/omdiunit.h>

#include "ratio.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace {

constexpr double kMinTime = 1.0;
constexpr std::size_t kSourceSize = 10u << 20;

// A script of the language with comments, the same on every run.
std::string MakeSource() {
    static char const* const kWords[] = {"for",   "while",  "if",      "print",   "local",
                                         "value", "result", "Heater2", "counter", "else"};
    static char const* const kPunct[] = {"(", ")", "{", "}", ";", ",", "=", "+", "*", "->"};
    std::uint32_t seed = 4711;
    auto next = [&seed](std::uint32_t n) {
        seed = seed * 1103515245u + 12345u;
        return (seed >> 16) % n;
    };
    std::string text;
    text.reserve(kSourceSize + 256);
    while (text.size() < kSourceSize) {
        text += std::string(next(3) * 4, ' ');
        for (std::uint32_t n = 2 + next(10); n > 0; --n) {
            switch (next(6)) {
            case 0:
            case 1:
                text += kWords[next(10)];
                break;
            case 2:
                text += std::to_string(next(100000));
                break;
            case 3:
                text += std::to_string(next(1000)) + "." + std::to_string(next(1000));
                break;
            case 4:
                text += "\"text " + std::to_string(next(1000)) + "\"";
                break;
            default:
                text += kPunct[next(10)];
            }
            text += ' ';
        }
        if (next(5) == 0) text += next(2) == 0 ? "// a note on this line" : "/* a block */";
        text += "\n";
    }
    return text;
}

std::string const& Source() {
    static std::string const source = MakeSource();
    return source;
}

void ScanIntoStream(benchmark::State& state) {
    std::string const& source = Source();
    std::int32_t nTokens = 0;
    for (auto _ : state) {
        TokenStream ts;
        ts.ScanBuffer(source.c_str(), 1);
        nTokens = ts.Length();
        benchmark::DoNotOptimize(nTokens);
    }
    state.counters["MB/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * source.size() / 1e6, benchmark::Counter::kIsRate);
    state.counters["tokens"] = nTokens;
}

void ScanAlone(benchmark::State& state) {
    std::string const& source = Source();
    for (auto _ : state) {
        Scanner scn;
        scn._set_pcBuffer(source.c_str());
        std::size_t nTokens = 0;
        while (std::unique_ptr<Token> ptok{scn.GetTokenPtr()})
            ++nTokens;
        benchmark::DoNotOptimize(nTokens);
    }
    state.counters["MB/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * source.size() / 1e6, benchmark::Counter::kIsRate);
}

// A value in feet given a number in metres: the units are checked, the
// value copied, and the number converted back to feet.
void AssignAcrossUnits(benchmark::State& state) {
    UnitInitialize(nullptr);
    CPValue source;
    source.Set(1.0);
    source._set_punstrUnits("m");
    CPValue target;
    target.Set(0.0);
    target._set_punstrUnits("ft");
    double d = 1.0;
    for (auto _ : state) {
        source.SetValue(d);
        target = source;
        d = target.GetAsDouble() * 1e-3;
        benchmark::DoNotOptimize(d);
    }
}

void MultiplyAdd(benchmark::State& state) {
    double const dFactor = 1.0 / 0.3048;
    double d = 1.0;
    double dOffset = 0.0;
    benchmark::DoNotOptimize(dOffset);
    for (auto _ : state) {
        double const dTarget = d * dFactor + dOffset;
        d = dTarget * 1e-3;
        benchmark::DoNotOptimize(d);
    }
}

} // namespace

int main(int argc, char** argv) {
    ratio::RegisterPair("assign m->ft", "double", kMinTime, AssignAcrossUnits, MultiplyAdd);
    ratio::RegisterPair("scan+stream/10MB", "scanner_alone", kMinTime, ScanIntoStream, ScanAlone);
    return ratio::RunAndReport(argc, argv);
}

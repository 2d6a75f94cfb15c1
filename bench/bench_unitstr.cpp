// UnitString::ConvertTo on unit texts that repeat, so that ids and
// translations come from the caches, beside a direct Convert that parses
// both texts every time, and beside UDUNITS-2 converting through converters
// made once, before the timing.
#include <baseobj/unitstr.h>
#include <omdiunit/omdiunit.h>
#include <omdiunit/unitpriv.h>

#include "ratio.h"
#include "unitmix.h"

#include <benchmark/benchmark.h>

#include <udunits2.h>

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <vector>

namespace {

constexpr double kMinTime = 1.0;

using unitmix::Conversion;

constexpr auto const& kMix = unitmix::kPhysical;

void InitializeOurs() {
    if (UnitSymbolTable() == nullptr) UnitInitialize(nullptr);
}

// The values' units, made once as values hold them.
std::vector<std::unique_ptr<UnitString>>& Sources() {
    static std::vector<std::unique_ptr<UnitString>> sources = [] {
        InitializeOurs();
        std::vector<std::unique_ptr<UnitString>> made;
        for (Conversion const& c : kMix)
            made.push_back(std::make_unique<UnitString>(c.oursFrom));
        return made;
    }();
    return sources;
}

void ConvertToCached(benchmark::State& state) {
    auto& sources = Sources();
    double value = 1.0;
    for (auto _ : state) {
        for (std::size_t i = 0; i < std::size(kMix); ++i)
            value += sources[i]->ConvertTo(kMix[i].oursTo, value * 0.5 + 1.0, nullptr, 0) * 1e-9;
        benchmark::DoNotOptimize(value);
    }
    state.SetItemsProcessed(state.iterations() * std::size(kMix));
}

void ConvertParsing(benchmark::State& state) {
    InitializeOurs();
    unitmix::TimeConvert(state, kMix);
}

ut_system* UdSystem() {
    static ut_system* const system = unitmix::ReadUdSystem("bench_unitstr");
    return system;
}

void ConvertUdunitsMadeOnce(benchmark::State& state) {
    ut_system* sys = UdSystem();
    std::vector<cv_converter*> converters;
    for (Conversion const& c : kMix) {
        ut_unit* from = ut_parse(sys, c.udFrom, UT_ASCII);
        ut_unit* to = ut_parse(sys, c.udTo, UT_ASCII);
        cv_converter* converter = from && to ? ut_get_converter(from, to) : nullptr;
        ut_free(to);
        ut_free(from);
        if (converter == nullptr) {
            state.SkipWithError(c.udFrom);
            return;
        }
        converters.push_back(converter);
    }
    double value = 1.0;
    for (auto _ : state) {
        for (cv_converter* converter : converters)
            value += cv_convert_double(converter, value * 0.5 + 1.0) * 1e-9;
        benchmark::DoNotOptimize(value);
    }
    for (cv_converter* converter : converters)
        cv_free(converter);
    state.SetItemsProcessed(state.iterations() * std::size(kMix));
}

} // namespace

int main(int argc, char** argv) {
    ratio::RegisterPair("ConvertTo-vs-Convert", "convert_parsing", kMinTime, ConvertToCached,
                        ConvertParsing);
    ratio::RegisterPair("ConvertTo-vs-udunits", "udunits2_converter", kMinTime, ConvertToCached,
                        ConvertUdunitsMadeOnce);
    return ratio::RunAndReport(argc, argv);
}

// The conversions that the unit benchmarks time, in our notation and in the
// alternative's, and the alternative's unit system made once per process.
#pragma once

#include <omdiunit/omdiunit.h>

#include <benchmark/benchmark.h>

#include <udunits2.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace unitmix {

struct Conversion {
    char const* oursFrom;
    char const* oursTo;
    char const* udFrom;
    char const* udTo;
};

// Simple and compound units and a temperature.
inline constexpr Conversion kPhysical[] = {
    {"m", "ft", "m", "ft"},
    {"kPa", "psi", "kPa", "psi"},
    {"kg*m^2*s^-2", "J", "kg.m2.s-2", "J"},
    {"F", "K", "degF", "K"},
    {"km*h^-1", "m*s^-1", "km.h-1", "m.s-1"},
    {"W*m^-2*K^-1", "Btu\\IT*h^-1*ft^-2*R^-1", "W.m-2.K-1", "BTU.h-1.ft-2.degR-1"},
};

// The alternative's default unit database, read once; a benchmark without it
// can't run, so its absence ends the program with a line saying so.
inline ut_system* ReadUdSystem(char const* szProgram) {
    ut_set_error_message_handler(ut_ignore);
    ut_system* sys = ut_read_xml(nullptr);
    if (sys == nullptr) {
        std::fprintf(stderr, "%s: UDUNITS-2 has no unit database\n", szProgram);
        std::exit(1);
    }
    return sys;
}

// Our Convert over a mix, parsing both texts of every conversion each time.
template <class Mix> void TimeConvert(benchmark::State& state, Mix const& mix) {
    double value = 1.0;
    for (auto _ : state) {
        for (Conversion const& c : mix)
            value += Convert(value * 0.5 + 1.0, c.oursFrom, c.oursTo, 0) * 1e-9;
        benchmark::DoNotOptimize(value);
    }
    state.SetItemsProcessed(state.iterations() * std::size(mix));
}

} // namespace unitmix

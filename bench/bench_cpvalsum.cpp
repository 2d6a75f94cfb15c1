// A sum of 1,000,000 values with units, the value adding each to a running
// total with its units, beside the same sum on plain doubles with the
// factor applied by hand: once with every value in the total's units, once
// with every value in feet added to a total in metres. The operands are a
// ring of 4,096 values read 244 times and a bit over, so that the data stays
// small on a shared machine; every addition is a full one. The ratios end
// the run.
#include <baseobj/cpval.h>
#include <omdiunit/omdiunit.h>

#include "ratio.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace {

constexpr double kMinTime = 0.5;
constexpr std::size_t kTerms = 1000000;
constexpr std::size_t kRing = 4096;
// The survey foot of the unit tables, in metres.
constexpr double kFootInMetres = 0.3048006;

// The factor as the program reads it at run time, so that the compiler
// cannot fold a multiplication by 1 away.
double Opaque(double d) {
    static volatile double dKept;
    dKept = d;
    return dKept;
}

double Number(std::size_t i) {
    return 1.0 + static_cast<double>((i * 7919) % 1000) / 8.0;
}

std::vector<double> const& Plain() {
    static std::vector<double> const numbers = [] {
        std::vector<double> v(kRing);
        for (std::size_t i = 0; i < kRing; ++i)
            v[i] = Number(i);
        return v;
    }();
    return numbers;
}

// Values in the given units, made once per units text.
std::vector<std::unique_ptr<CPValue>> MakeValues(char const* szUnits) {
    UnitInitialize(nullptr);
    std::vector<std::unique_ptr<CPValue>> values;
    values.reserve(kRing);
    for (std::size_t i = 0; i < kRing; ++i) {
        auto pval = std::make_unique<CPValue>();
        pval->Set(Number(i));
        pval->_set_punstrUnits(szUnits);
        values.push_back(std::move(pval));
    }
    return values;
}

void SumValues(benchmark::State& state, char const* szTotal, char const* szTerms) {
    std::vector<std::unique_ptr<CPValue>> const values = MakeValues(szTerms);
    double dTotal = 0.0;
    for (auto _ : state) {
        CPValue total;
        total.Set(0.0);
        total._set_punstrUnits(szTotal);
        for (std::size_t i = 0; i < kTerms; ++i)
            total += *values[i % kRing];
        dTotal = total.GetAsDouble();
        benchmark::DoNotOptimize(dTotal);
    }
    state.counters["total"] = dTotal;
    state.counters["adds/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kTerms,
                                                  benchmark::Counter::kIsRate);
}

void SumDoubles(benchmark::State& state, double dFactor) {
    std::vector<double> const& numbers = Plain();
    double dTotal = 0.0;
    for (auto _ : state) {
        double d = 0.0;
        for (std::size_t i = 0; i < kTerms; ++i)
            d += numbers[i % kRing] * dFactor;
        dTotal = d;
        benchmark::DoNotOptimize(dTotal);
    }
    state.counters["total"] = dTotal;
    state.counters["adds/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kTerms,
                                                  benchmark::Counter::kIsRate);
}

void SameUnits(benchmark::State& state) {
    SumValues(state, "ft", "ft");
}

void SameUnitsDouble(benchmark::State& state) {
    SumDoubles(state, Opaque(1.0));
}

void ConvertedUnits(benchmark::State& state) {
    SumValues(state, "m", "ft");
}

void ConvertedUnitsDouble(benchmark::State& state) {
    SumDoubles(state, Opaque(kFootInMetres));
}

} // namespace

int main(int argc, char** argv) {
    ratio::RegisterPair("sum 1e6 ft+ft", "double", kMinTime, SameUnits, SameUnitsDouble);
    ratio::RegisterPair("sum 1e6 m+ft", "double", kMinTime, ConvertedUnits, ConvertedUnitsDouble);
    return ratio::RunAndReport(argc, argv);
}

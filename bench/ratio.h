// Benchmarks here come in pairs, ours beside the usual alternative, run in one
// process on one machine; the run ends with the ratio of each pair, since
// absolute times mean little across machines.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <unistd.h>

namespace ratio {

struct Pair {
    std::string operation;
    std::string ours;
    std::string alternative;
    // Compared by the clock rather than by the CPU time of this process.
    bool realTime = false;
};

inline std::vector<Pair>& Pairs() {
    static std::vector<Pair> pairs;
    return pairs;
}

// realTime: the run lasts minTime by the clock, for work done mostly outside
// this process (servers, commands), whose CPU time would never reach it.
template <class Ours, class Alternative>
void RegisterPair(std::string const& operation, std::string const& altName, double minTime,
                  Ours ours, Alternative alternative, bool realTime = false) {
    Pair pair{operation, operation + "/ours", operation + "/" + altName, realTime};
    auto* const bOurs = benchmark::RegisterBenchmark(pair.ours.c_str(), ours)
                            ->MinTime(minTime)
                            ->Unit(benchmark::kNanosecond);
    auto* const bAlternative = benchmark::RegisterBenchmark(pair.alternative.c_str(), alternative)
                                   ->MinTime(minTime)
                                   ->Unit(benchmark::kNanosecond);
    if (realTime) {
        bOurs->UseRealTime();
        bAlternative->UseRealTime();
    }
    Pairs().push_back(pair);
}

// Prints as usual and keeps each benchmark's mean times for the table: CPU
// time, which other work on a shared machine disturbs far less than the
// clock, unless the pair is compared by the clock.
class CollectingReporter : public benchmark::ConsoleReporter {
public:
    // Colour only on a terminal, as the library's own reporter would choose.
    CollectingReporter()
        : ConsoleReporter(isatty(STDOUT_FILENO) != 0 ? OO_ColorTabular : OO_Tabular) {}

    void ReportRuns(std::vector<Run> const& runs) override {
        for (Run const& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            Mean& mean = times_[run.run_name.function_name];
            double const toNs = 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
            mean.real += run.GetAdjustedRealTime() * toNs;
            mean.cpu += run.GetAdjustedCPUTime() * toNs;
            ++mean.count;
        }
        ConsoleReporter::ReportRuns(runs);
    }

    // Negative when the benchmark did not run, e.g. filtered out.
    double Nanoseconds(std::string const& name, bool realTime = false) const {
        auto const found = times_.find(name);
        if (found == times_.end()) return -1.0;
        return (realTime ? found->second.real : found->second.cpu) / found->second.count;
    }

private:
    struct Mean {
        double real = 0;
        double cpu = 0;
        int count = 0;
    };
    std::map<std::string, Mean> times_;
};

inline void PrintRatios(CollectingReporter const& reporter) {
    std::printf("\n%-24s %14s %16s %8s  %s\n", "operation", "ours ns", "alternative ns", "ratio",
                "alternative (CPU time unless marked)");
    for (Pair const& pair : Pairs()) {
        double const ours = reporter.Nanoseconds(pair.ours, pair.realTime);
        double const alternative = reporter.Nanoseconds(pair.alternative, pair.realTime);
        if (ours < 0 || alternative <= 0) continue;
        std::printf("%-24s %14.1f %16.1f %8.2f  %s%s\n", pair.operation.c_str(), ours, alternative,
                    ours / alternative, pair.alternative.substr(pair.operation.size() + 1).c_str(),
                    pair.realTime ? " (clock)" : "");
    }
}

// Runs what was registered and prints the table; the main of each program.
inline int RunAndReport(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    CollectingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    PrintRatios(reporter);
    return 0;
}

} // namespace ratio

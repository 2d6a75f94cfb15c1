// The unit library beside UDUNITS-2. In one process: parsing two unit texts
// and converting a value between them, over a mix of simple and compound
// units, temperatures and user units. Then start-up, each library in fresh
// processes: the built-in tables and a user unit file of 100 lines beside
// UDUNITS-2 reading its default unit database; medians and their ratio.
#include <omdiunit/omdiunit.h>

#include "ratio.h"
#include "unitmix.h"

#include <benchmark/benchmark.h>

#include <udunits2.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr double kMinTime = 1.0;
constexpr int kStartupRuns = 21;

using unitmix::Conversion;

// The physical mix, and two user units: the currencies of the user file.
constexpr auto kMix = [] {
    constexpr Conversion kCurrency[] = {
        {"USD", "EUR", "USD", "EUR"},
        {"USD*kg^-1", "EUR*lb^-1", "USD.kg-1", "EUR.lb-1"},
    };
    std::array<Conversion, std::size(unitmix::kPhysical) + std::size(kCurrency)> mix{};
    std::size_t n = 0;
    for (Conversion const& c : unitmix::kPhysical)
        mix[n++] = c;
    for (Conversion const& c : kCurrency)
        mix[n++] = c;
    return mix;
}();

std::string UserFile() {
    static std::string const path = [] {
        std::string const file = "/tmp/bench_units_" + std::to_string(getpid()) + ".txt";
        std::ofstream out(file);
        out << "# currencies for cost estimates\ncurrency\n1.0 EUR euro\n1.08 USD US dollar\n";
        for (int i = 0; i < 97; ++i)
            out << 1.0 + i / 100.0 << " CUR" << i << " currency number " << i << "\n";
        return file;
    }();
    return path;
}

// UDUNITS-2 with the same two user units on a base unit of their own.
ut_system* UdSystem() {
    static ut_system* const system = [] {
        ut_system* sys = unitmix::ReadUdSystem("bench_units");
        ut_unit* euro = ut_new_base_unit(sys);
        ut_map_name_to_unit("EUR", UT_ASCII, euro);
        ut_unit* dollar = ut_scale(1.08, euro);
        ut_map_name_to_unit("USD", UT_ASCII, dollar);
        return sys;
    }();
    return system;
}

void ConvertOurs(benchmark::State& state) {
    UnitInitialize(UserFile().c_str());
    unitmix::TimeConvert(state, kMix);
}

void ConvertUdunits(benchmark::State& state) {
    ut_system* sys = UdSystem();
    double value = 1.0;
    for (auto _ : state) {
        for (Conversion const& c : kMix) {
            ut_unit* from = ut_parse(sys, c.udFrom, UT_ASCII);
            ut_unit* to = ut_parse(sys, c.udTo, UT_ASCII);
            cv_converter* converter = ut_get_converter(from, to);
            if (converter == nullptr) {
                state.SkipWithError(c.udFrom);
                return;
            }
            value += cv_convert_double(converter, value * 0.5 + 1.0) * 1e-9;
            cv_free(converter);
            ut_free(to);
            ut_free(from);
        }
        benchmark::DoNotOptimize(value);
    }
    state.SetItemsProcessed(state.iterations() * std::size(kMix));
}

// Start-up in a fresh process ---------------------------------------------------------

// The child's side: times the one call and prints nanoseconds. The user
// unit file is the parent's, named in the environment.
int StartupChild(char const* which) {
    char const* userFile = std::getenv("BENCH_UNITS_FILE");
    auto const start = std::chrono::steady_clock::now();
    if (std::strcmp(which, "ours") == 0) {
        UnitInitialize(userFile);
    } else {
        ut_set_error_message_handler(ut_ignore);
        ut_system* sys = ut_read_xml(nullptr);
        if (sys == nullptr) return 1;
    }
    auto const end = std::chrono::steady_clock::now();
    std::printf("%lld\n",
                static_cast<long long>(
                    std::chrono::duration_cast<std::chrono::nanoseconds>(end - start).count()));
    return 0;
}

struct StartupTimes {
    double callNs;
    double processNs;
};

// Runs this program as a child; the call's time and the whole process's.
StartupTimes RunChild(char const* self, char const* which, std::string const& userFile) {
    int pipeFds[2];
    if (pipe(pipeFds) != 0) std::exit(1);
    auto const start = std::chrono::steady_clock::now();
    pid_t const pid = fork();
    if (pid == 0) {
        dup2(pipeFds[1], STDOUT_FILENO);
        close(pipeFds[0]);
        setenv("BENCH_UNITS_FILE", userFile.c_str(), 1);
        execl(self, self, "--startup", which, static_cast<char*>(nullptr));
        _exit(127);
    }
    close(pipeFds[1]);
    char text[64] = {};
    ssize_t const n = read(pipeFds[0], text, sizeof text - 1);
    close(pipeFds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    auto const end = std::chrono::steady_clock::now();
    if (n <= 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "bench_units: the %s start-up failed\n", which);
        std::exit(1);
    }
    return {std::strtod(text, nullptr),
            static_cast<double>(
                std::chrono::duration_cast<std::chrono::nanoseconds>(end - start).count())};
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void CompareStartup(char const* self) {
    std::vector<double> oursCall, oursProcess, udCall, udProcess;
    for (int i = 0; i < kStartupRuns; ++i) {
        StartupTimes const ours = RunChild(self, "ours", UserFile());
        StartupTimes const ud = RunChild(self, "udunits", UserFile());
        oursCall.push_back(ours.callNs);
        oursProcess.push_back(ours.processNs);
        udCall.push_back(ud.callNs);
        udProcess.push_back(ud.processNs);
    }
    std::printf("\nstart-up, median of %d fresh processes each\n", kStartupRuns);
    std::printf("%-32s %14s %16s %8s\n", "", "ours us", "UDUNITS-2 us", "ratio");
    std::printf("%-32s %14.1f %16.1f %8.3f\n", "tables (UnitInitialize/ut_read_xml)",
                Median(oursCall) / 1e3, Median(udCall) / 1e3, Median(oursCall) / Median(udCall));
    std::printf("%-32s %14.1f %16.1f %8.3f\n", "whole process", Median(oursProcess) / 1e3,
                Median(udProcess) / 1e3, Median(oursProcess) / Median(udProcess));
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--startup") == 0) return StartupChild(argv[2]);
    ratio::RegisterPair("parse+convert", "udunits2", kMinTime, ConvertOurs, ConvertUdunits);
    int const result = ratio::RunAndReport(argc, argv);
    CompareStartup(argv[0]);
    std::remove(UserFile().c_str());
    return result;
}

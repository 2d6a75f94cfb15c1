// 100,000 reads of keys from a 1,000-key INI file through the private-profile
// call, beside the same reads from a std::unordered_map loaded from the same
// file once. The profile call reads and splits the whole file on every call,
// as the configuration classes require, so the ratio is that of a file read
// against a hash lookup.
#include "ratio.h"

#include <platform/profile.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <unistd.h>
#include <unordered_map>
#include <vector>

namespace {

constexpr int kKeys = 1000;
constexpr benchmark::IterationCount kReads = 100000;

std::string const& FilePath() {
    static std::string const path = [] {
        std::string const name = "/tmp/bench_profile_" + std::to_string(::getpid()) + ".ini";
        std::ofstream out(name, std::ios::binary);
        out << "; generated for the benchmark\r\n[Settings]\r\n";
        for (int i = 0; i < kKeys; ++i)
            out << "Key" << i << " = value of key " << i << "\r\n";
        return name;
    }();
    return path;
}

std::vector<std::string> const& KeyNames() {
    static std::vector<std::string> const names = [] {
        std::vector<std::string> out;
        for (int i = 0; i < kKeys; ++i)
            out.push_back("Key" + std::to_string(i * 7919 % kKeys));
        return out;
    }();
    return names;
}

void ProfileReads(benchmark::State& state) {
    std::string const& file = FilePath();
    std::vector<std::string> const& keys = KeyNames();
    char buffer[64];
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(platform::GetPrivateProfileStringA(
            "Settings", keys[i++ % keys.size()].c_str(), "", buffer, sizeof buffer, file.c_str()));
    }
}

void MapReads(benchmark::State& state) {
    // Loaded once from the same file, as a program that caches would.
    std::unordered_map<std::string, std::string> map;
    {
        std::ifstream in(FilePath(), std::ios::binary);
        std::string line;
        while (std::getline(in, line)) {
            std::size_t const equals = line.find('=');
            if (equals == std::string::npos) continue;
            map[line.substr(0, equals - 1)] = line.substr(equals + 2, line.size() - equals - 3);
        }
    }
    std::vector<std::string> const& keys = KeyNames();
    char buffer[64];
    std::size_t i = 0;
    for (auto _ : state) {
        auto const found = map.find(keys[i++ % keys.size()]);
        std::string const& value = found != map.end() ? found->second : std::string();
        benchmark::DoNotOptimize(value.copy(buffer, sizeof buffer - 1));
    }
}

} // namespace

int main(int argc, char** argv) {
    ratio::Pair const pair{"ini_read_1000_keys", "ini_read_1000_keys/ours",
                           "ini_read_1000_keys/unordered_map"};
    benchmark::RegisterBenchmark(pair.ours.c_str(), ProfileReads)->Iterations(kReads);
    benchmark::RegisterBenchmark(pair.alternative.c_str(), MapReads)->Iterations(kReads);
    ratio::Pairs().push_back(pair);
    int const rc = ratio::RunAndReport(argc, argv);
    std::remove(FilePath().c_str());
    return rc;
}

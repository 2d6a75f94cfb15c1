// ZlibEngine's file compression and decompression of a 50 MB file beside the
// same work by raw zlib calls with the same 4,096-byte blocks and stdio
// files, in MB/s of uncompressed data, with the ratio of their times.
#include <baseobj/zlibwrap.h>

#include "ratio.h"

#include <benchmark/benchmark.h>

#include <zlib.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include <unistd.h>

namespace {

// A run of 50 MB is long enough to time on its own.
constexpr double kMinTime = 0.5;
constexpr std::size_t kInputSize = 50u << 20;
constexpr unsigned kBlock = 4096;
constexpr int kLevel = 6;

std::string TempPath(char const* name) {
    return "/tmp/bench_zlib." + std::to_string(getpid()) + "." + name;
}

std::string const& Plain() {
    static std::string const path = TempPath("plain");
    return path;
}
std::string const& Packed() {
    static std::string const path = TempPath("packed");
    return path;
}

// Text that compresses about as a data file of the suite does: numbers and
// words in lines, some of them repeated.
void MakeInput() {
    std::FILE* pf = std::fopen(Plain().c_str(), "wb");
    std::uint32_t seed = 19;
    std::size_t n = 0;
    char line[128];
    while (n < kInputSize) {
        seed = seed * 1103515245u + 12345u;
        int const len =
            std::snprintf(line, sizeof line, "<Value Unit=\"%s\">%u.%03u</Value>\n",
                          (seed >> 8) % 3 == 0 ? "mm" : "kg", (seed >> 16) % 100000, seed % 1000);
        std::fwrite(line, 1, static_cast<std::size_t>(len), pf);
        n += static_cast<std::size_t>(len);
    }
    std::fclose(pf);
    ZlibEngine engine;
    engine.compress(Plain().c_str(), Packed().c_str(), kLevel);
}

// The plain loop of zlib's usage example over stdio files.
int RawRun(bool bCompress, char const* pszIn, char const* pszOut) {
    std::FILE* in = std::fopen(pszIn, "rb");
    std::FILE* out = std::fopen(pszOut, "wb");
    unsigned char acIn[kBlock];
    unsigned char acOut[kBlock];
    z_stream zs{};
    int ret = bCompress ? deflateInit(&zs, kLevel) : inflateInit(&zs);
    int flush = Z_NO_FLUSH;
    do {
        zs.avail_in = static_cast<uInt>(std::fread(acIn, 1, kBlock, in));
        flush = std::feof(in) ? Z_FINISH : Z_NO_FLUSH;
        zs.next_in = acIn;
        do {
            zs.avail_out = kBlock;
            zs.next_out = acOut;
            ret = bCompress ? deflate(&zs, flush) : inflate(&zs, Z_NO_FLUSH);
            std::fwrite(acOut, 1, kBlock - zs.avail_out, out);
        } while (zs.avail_out == 0);
    } while (flush != Z_FINISH && ret != Z_STREAM_END);
    bCompress ? deflateEnd(&zs) : inflateEnd(&zs);
    std::fclose(in);
    std::fclose(out);
    return ret == Z_STREAM_END ? 0 : ret;
}

template <bool bCompress, bool bOurs> void Run(benchmark::State& state) {
    std::string const out = TempPath("out");
    char const* const in = bCompress ? Plain().c_str() : Packed().c_str();
    ZlibEngine engine;
    for (auto _ : state) {
        int const n = bOurs ? (bCompress ? engine.compress(in, out.c_str(), kLevel)
                                         : engine.decompress(in, out.c_str()))
                            : RawRun(bCompress, in, out.c_str());
        if (n != 0) state.SkipWithError("the run failed");
    }
    std::remove(out.c_str());
    state.counters["MB/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * kInputSize / 1e6, benchmark::Counter::kIsRate);
}

} // namespace

int main(int argc, char** argv) {
    MakeInput();
    ratio::RegisterPair("compress/50MB", "raw_zlib", kMinTime, Run<true, true>, Run<true, false>);
    ratio::RegisterPair("decompress/50MB", "raw_zlib", kMinTime, Run<false, true>,
                        Run<false, false>);
    int const status = ratio::RunAndReport(argc, argv);
    std::remove(Plain().c_str());
    std::remove(Packed().c_str());
    return status;
}

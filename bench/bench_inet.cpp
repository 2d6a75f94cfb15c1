// A 50 MB HTTP GET and a 50 MB FTP fetch over loopback: the clients beside
// the curl command doing the same transfer from the same servers, in one
// run. The servers are the tests' own; the command's start-up is part of
// its time, as it is for a caller that runs it.
#include "baseobj/inet_support.h"
#include "ratio.h"

#include <baseobj/inetclient.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

using namespace inet_test;

constexpr std::size_t kSize = 50u * 1024 * 1024;
constexpr double kMinTime = 1.0;

struct Servers {
    Servers() {
        ::setenv("BENCH_SIZE", std::to_string(kSize).c_str(), 1);
        fs::create_directory(dir.path() / "root");
        std::string data(kSize, '\0');
        for (std::size_t i = 0; i < kSize; ++i)
            data[i] = static_cast<char>(i % 251 + 1);
        test_support::WriteAll((dir.path() / "root" / "big.bin").string(), data);
        http = std::make_unique<Server>(std::vector<std::string>{"http", dir.path().string()});
        ftp = std::make_unique<Server>(
            std::vector<std::string>{"ftp", (dir.path() / "root").string()});
    }
    ScratchDir dir;
    std::unique_ptr<Server> http;
    std::unique_ptr<Server> ftp;
};

Servers& TheServers() {
    static Servers servers;
    return servers;
}

void HttpOurs(benchmark::State& state) {
    HttpClient client;
    std::string server = TheServers().http->Address("http://");
    client.ConnectToServer(server.data(), 3, nullptr, nullptr);
    std::string object = "/auth/bench", user = kUser, password = kPassword;
    for (auto _ : state) {
        std::string out;
        if (client.GetLoginInfo(object.data(), user.data(), password.data(), out) != 200 ||
            out.size() != kSize)
            state.SkipWithError("the GET failed");
        benchmark::DoNotOptimize(out.data());
    }
}

void HttpCurl(benchmark::State& state) {
    std::string const command = "curl -sf -o /dev/null -u user:secret http://" +
                                TheServers().http->Address() + "/auth/bench";
    for (auto _ : state)
        if (std::system(command.c_str()) != 0) state.SkipWithError("curl failed");
}

void FtpOurs(benchmark::State& state) {
    FtpClient client;
    std::string server = TheServers().ftp->Address(), user = kUser, password = kPassword;
    client.ConnectToServer(server.data(), 1, user.data(), password.data());
    std::string remote = "big.bin", local = TheServers().dir / "ours.bin";
    for (auto _ : state)
        if (client.GetFile(remote.data(), local.data()) != 1) state.SkipWithError("the get failed");
}

void FtpCurl(benchmark::State& state) {
    std::string const command = "curl -sf -o " + TheServers().dir / "curl.bin" +
                                " ftp://user:secret@" + TheServers().ftp->Address() + "/big.bin";
    for (auto _ : state)
        if (std::system(command.c_str()) != 0) state.SkipWithError("curl failed");
}

} // namespace

int main(int argc, char** argv) {
    if (TheServers().http->port() == 0 || TheServers().ftp->port() == 0) {
        std::fprintf(stderr, "the loopback servers did not start\n");
        return 1;
    }
    // The servers and curl do most of the work in other processes.
    ratio::RegisterPair("http_get_50MB", "curl", kMinTime, HttpOurs, HttpCurl, true);
    ratio::RegisterPair("ftp_get_50MB", "curl", kMinTime, FtpOurs, FtpCurl, true);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    ratio::CollectingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    ratio::PrintRatios(reporter);
    std::printf("\n%-24s %10s %10s\n", "operation", "ours MB/s", "curl MB/s");
    for (ratio::Pair const& pair : ratio::Pairs()) {
        double const ours = reporter.Nanoseconds(pair.ours, pair.realTime);
        double const curl = reporter.Nanoseconds(pair.alternative, pair.realTime);
        if (ours <= 0 || curl <= 0) continue;
        std::printf("%-24s %10.1f %10.1f\n", pair.operation.c_str(), kSize / 1e6 / (ours / 1e9),
                    kSize / 1e6 / (curl / 1e9));
    }
    return 0;
}

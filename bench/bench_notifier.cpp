// One notification sent to 10,000 subscribers, beside the same fan-out
// through a vector of std::function.
#include "ratio.h"

#include <baseobj/notifier.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr double kMinTime = 0.5;

class Counter final : public Notifiable {
public:
    void ReceiveNotification(Notifier*, std::uint32_t ulMask) override { nSum += ulMask; }
    std::uint64_t nSum = 0;
};

class Sender final : public Notifier {};

void FanOutOurs(benchmark::State& state, std::size_t n) {
    Sender sender;
    std::vector<std::unique_ptr<Counter>> counters;
    for (std::size_t i = 0; i < n; ++i) {
        counters.push_back(std::make_unique<Counter>());
        sender.ConnectNotifiable(counters.back().get(), 1);
    }
    for (auto _ : state)
        sender.Notify(1);
    benchmark::DoNotOptimize(counters.front()->nSum);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * n));
    // The receivers go before the sender, so it has nobody to tell.
    counters.clear();
}

void FanOutFunctions(benchmark::State& state, std::size_t n) {
    std::vector<std::uint64_t> sums(n);
    std::vector<std::function<void(std::uint32_t)>> subscribers;
    for (std::size_t i = 0; i < n; ++i)
        subscribers.emplace_back([&sums, i](std::uint32_t ulMask) { sums[i] += ulMask; });
    for (auto _ : state)
        for (auto const& f : subscribers)
            f(1);
    benchmark::DoNotOptimize(sums.front());
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * n));
}

} // namespace

int main(int argc, char** argv) {
    constexpr std::size_t kSubscribers = 10000;
    ratio::RegisterPair(
        "notify/" + std::to_string(kSubscribers), "vector<function>", kMinTime,
        [](benchmark::State& s) { FanOutOurs(s, kSubscribers); },
        [](benchmark::State& s) { FanOutFunctions(s, kSubscribers); });
    int const result = ratio::RunAndReport(argc, argv);
    std::printf("\nnotify: each send copies the matching links, each with a reference, into a\n"
                "list, and once a receiver has cut a link during the send, looks each later link\n"
                "up in the tree before calling it, so that receivers may cut links or destroy\n"
                "either end during the send; the alternative calls through a vector that nobody\n"
                "changes while it runs.\n");
    return result;
}

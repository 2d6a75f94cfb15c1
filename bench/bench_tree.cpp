// The balanced tree beside std::map, the recycler beside plain new and
// delete, and the stack beside std::vector.
#include "ratio.h"

#include <cpcoll/btree.h>
#include <cpcoll/cpstack.h>
#include <cpcoll/recycler.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr double kMinTime = 0.2;

// Distinct keys in a random order, made once per size.
std::vector<std::uintptr_t> const& KeysOf(std::size_t n) {
    static std::unordered_map<std::size_t, std::vector<std::uintptr_t>> made;
    auto& keys = made[n];
    if (keys.empty()) {
        for (std::size_t i = 0; i < n; ++i)
            keys.push_back(i * 7919u + 1);
        std::shuffle(keys.begin(), keys.end(), std::mt19937(42));
    }
    return keys;
}

int gValue = 0;
void* Value() {
    return &gValue;
}

using StdMap = std::map<std::uintptr_t, void*>;

void FillOurs(CPTree& tree, std::size_t n) {
    for (std::uintptr_t k : KeysOf(n))
        tree.AddKeyNum(k, Value());
}

void FillStd(StdMap& map, std::size_t n) {
    for (std::uintptr_t k : KeysOf(n))
        map.emplace(k, Value());
}

void InsertOurs(benchmark::State& state, std::size_t n) {
    for (auto _ : state) {
        auto tree = std::make_unique<CPTree>();
        FillOurs(*tree, n);
        benchmark::DoNotOptimize(tree->Length());
        state.PauseTiming();
        tree.reset();
        state.ResumeTiming();
    }
}

void InsertStd(benchmark::State& state, std::size_t n) {
    for (auto _ : state) {
        auto map = std::make_unique<StdMap>();
        FillStd(*map, n);
        benchmark::DoNotOptimize(map->size());
        state.PauseTiming();
        map.reset();
        state.ResumeTiming();
    }
}

// One lookup per iteration, cycling through the keys in their random order.
void FindOurs(benchmark::State& state, std::size_t n) {
    CPTree tree;
    FillOurs(tree, n);
    auto const& keys = KeysOf(n);
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(tree.FindKeyNum(keys[i]));
        if (++i == n) i = 0;
    }
}

void FindStd(benchmark::State& state, std::size_t n) {
    StdMap map;
    FillStd(map, n);
    auto const& keys = KeysOf(n);
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(map.find(keys[i]));
        if (++i == n) i = 0;
    }
}

void RemoveOurs(benchmark::State& state, std::size_t n) {
    for (auto _ : state) {
        state.PauseTiming();
        CPTree tree;
        FillOurs(tree, n);
        state.ResumeTiming();
        for (std::uintptr_t k : KeysOf(n))
            tree.DetachKeyNum(k);
        benchmark::DoNotOptimize(tree.Length());
    }
}

void RemoveStd(benchmark::State& state, std::size_t n) {
    for (auto _ : state) {
        state.PauseTiming();
        StdMap map;
        FillStd(map, n);
        state.ResumeTiming();
        for (std::uintptr_t k : KeysOf(n))
            map.erase(k);
        benchmark::DoNotOptimize(map.size());
    }
}

void itTouch(void* pv, void*) {
    benchmark::DoNotOptimize(pv);
}

// The whole tree in key order: ours along the leaf chain.
void WalkOurs(benchmark::State& state, std::size_t n) {
    CPTree tree;
    FillOurs(tree, n);
    for (auto _ : state)
        tree.ForEach(itTouch, nullptr);
}

void WalkStd(benchmark::State& state, std::size_t n) {
    StdMap map;
    FillStd(map, n);
    for (auto _ : state) {
        for (auto const& entry : map)
            benchmark::DoNotOptimize(entry.second);
    }
}

// A small pooled node, as the moniker walks use.
struct Node : Createable, Recyclable {
    void InitializeObject() override { pvPayload = nullptr; }
    void UnInitializeObject() override { pvPayload = nullptr; }
    void* pvPayload = nullptr;
    char szName[48] = {};
};

// A burst of 64 objects taken and given back, as a walk does.
constexpr int kBurst = 64;

void RecyclerOurs(benchmark::State& state) {
    Recycler<Node> pool;
    Node* nodes[kBurst];
    for (auto _ : state) {
        for (Node*& node : nodes)
            node = pool.Get();
        benchmark::DoNotOptimize(nodes);
        for (Node* node : nodes)
            pool.Put(node);
    }
}

void RecyclerNew(benchmark::State& state) {
    Node* nodes[kBurst];
    for (auto _ : state) {
        for (Node*& node : nodes) {
            node = new Node;
            node->AddRef();
        }
        benchmark::DoNotOptimize(nodes);
        for (Node* node : nodes)
            node->Release();
    }
}

void StackOurs(benchmark::State& state) {
    CPStack stack;
    for (auto _ : state) {
        for (int i = 0; i < 255; ++i)
            stack.Push(Value());
        while (stack.Pop() != nullptr) {
        }
        benchmark::DoNotOptimize(stack.Length());
    }
}

void StackStd(benchmark::State& state) {
    std::vector<void*> stack;
    stack.reserve(255);
    for (auto _ : state) {
        for (int i = 0; i < 255; ++i)
            stack.push_back(Value());
        while (!stack.empty())
            stack.pop_back();
        benchmark::DoNotOptimize(stack.size());
    }
}

void RegisterAll() {
    for (std::size_t n : {std::size_t{1000}, std::size_t{100000}}) {
        std::string const size = std::to_string(n);
        ratio::RegisterPair(
            "tree_insert/" + size, "std::map", kMinTime,
            [=](benchmark::State& s) { InsertOurs(s, n); },
            [=](benchmark::State& s) { InsertStd(s, n); });
        ratio::RegisterPair(
            "tree_find/" + size, "std::map", kMinTime, [=](benchmark::State& s) { FindOurs(s, n); },
            [=](benchmark::State& s) { FindStd(s, n); });
        ratio::RegisterPair(
            "tree_remove/" + size, "std::map", kMinTime,
            [=](benchmark::State& s) { RemoveOurs(s, n); },
            [=](benchmark::State& s) { RemoveStd(s, n); });
        ratio::RegisterPair(
            "tree_walk/" + size, "std::map", kMinTime, [=](benchmark::State& s) { WalkOurs(s, n); },
            [=](benchmark::State& s) { WalkStd(s, n); });
    }
    ratio::RegisterPair("recycler_getput/64", "new+delete", kMinTime, RecyclerOurs, RecyclerNew);
    ratio::RegisterPair("stack_pushpop/255", "std::vector", kMinTime, StackOurs, StackStd);
}

} // namespace

int main(int argc, char** argv) {
    RegisterAll();
    int const result = ratio::RunAndReport(argc, argv);
    std::printf(
        "\ntree: each leaf is a counted object threaded into a key-ordered chain as well as\n"
        "the tree, so it is larger than a map node and inserts and removes relink both;\n"
        "the walk follows the chain and never climbs. Its balancing lets stored factors\n"
        "drift from true heights, so it can stand a few levels deeper than a map's.\n"
        "recycler: a pooled object is popped off a fixed stack and set up again; the\n"
        "alternative allocates, counts and frees each object.\n");
    return result;
}

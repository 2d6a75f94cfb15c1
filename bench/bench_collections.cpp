// The dictionary beside std::unordered_map and the list beside std::list.
#include "ratio.h"

#include <cpcoll/cpdict.h>
#include <cpcoll/cplist.h>
#include <util/pstring.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr double kMinTime = 0.2;
constexpr std::size_t kListSize = 10000;
// Inserting into the largest dictionary is timed as its last keys only; the
// whole fill is timed once on its own (dict_*_fill).
constexpr std::size_t kLargeInsert = 10000;
constexpr std::size_t kLargeSize = 1000000;

std::string Key(std::size_t i) {
    return "unit/" + std::to_string(i * 2654435761u % 1000003u) + "/" + std::to_string(i);
}
std::uintptr_t NumKey(std::size_t i) {
    return i * 7919u + 1;
}

// Keys of one size, made once: the strings, their framework form with its
// CRC already cached, and absent ones for misses.
struct Keys {
    explicit Keys(std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) {
            text.push_back(Key(i));
            framework.push_back(std::make_unique<CPString>(text.back().c_str()));
            framework.back()->_get_nCRC();
            absentText.push_back(Key(i + n));
            absent.push_back(std::make_unique<CPString>(absentText.back().c_str()));
            absent.back()->_get_nCRC();
        }
    }
    std::vector<std::string> text, absentText;
    std::vector<std::unique_ptr<CPString>> framework, absent;
};

Keys& KeysOf(std::size_t n) {
    static std::unordered_map<std::size_t, std::unique_ptr<Keys>> made;
    auto& keys = made[n];
    if (!keys) keys = std::make_unique<Keys>(n);
    return *keys;
}

int gValue = 0;
void* Value() {
    return &gValue;
}

// A dictionary of the first n keys (string or number), made once per size,
// or taken over from the fill benchmark.
std::unique_ptr<CPDictionary>& FilledSlot(std::size_t n, bool strings) {
    static std::unordered_map<std::size_t, std::unique_ptr<CPDictionary>> made[2];
    return made[strings ? 1 : 0][n];
}

CPDictionary& Filled(std::size_t n, bool strings) {
    auto& dict = FilledSlot(n, strings);
    if (!dict) {
        dict = std::make_unique<CPDictionary>();
        Keys& keys = KeysOf(n);
        for (std::size_t i = 0; i < n; ++i) {
            if (strings)
                dict->AddKeyString(keys.framework[i].get(), Value());
            else
                dict->AddKeyNum(NumKey(i), Value());
        }
    }
    return *dict;
}

template <class Map> std::unique_ptr<Map>& FilledStdSlot(std::size_t n) {
    static std::unordered_map<std::size_t, std::unique_ptr<Map>> made;
    return made[n];
}

template <class Map> Map& FilledStd(std::size_t n) {
    auto& map = FilledStdSlot<Map>(n);
    if (!map) {
        map = std::make_unique<Map>();
        Keys& keys = KeysOf(n);
        for (std::size_t i = 0; i < n; ++i) {
            if constexpr (std::is_same_v<typename Map::key_type, std::string>)
                map->emplace(keys.text[i], Value());
            else
                map->emplace(NumKey(i), Value());
        }
    }
    return *map;
}

using StringMap = std::unordered_map<std::string, void*>;
using NumberMap = std::unordered_map<std::uintptr_t, void*>;

// The last kLargeInsert keys of a table of n, in or out, for the largest
// size's insert.
void PutLastKeys(CPDictionary& dict, std::size_t n, bool strings, bool in) {
    Keys& keys = KeysOf(n);
    for (std::size_t i = n - kLargeInsert; i < n; ++i) {
        if (strings && in)
            dict.AddKeyString(keys.framework[i].get(), Value());
        else if (strings)
            dict.DetachKeyString(keys.framework[i].get());
        else if (in)
            dict.AddKeyNum(NumKey(i), Value());
        else
            dict.DetachKeyNum(NumKey(i));
    }
}

template <class Map> void PutLastKeys(Map& map, std::size_t n, bool in) {
    Keys& keys = KeysOf(n);
    for (std::size_t i = n - kLargeInsert; i < n; ++i) {
        if constexpr (std::is_same_v<typename Map::key_type, std::string>) {
            if (in)
                map.emplace(keys.text[i], Value());
            else
                map.erase(keys.text[i]);
        } else {
            if (in)
                map.emplace(NumKey(i), Value());
            else
                map.erase(NumKey(i));
        }
    }
}

// Insert: all n keys into an empty table, or for the largest size the last
// kLargeInsert keys into the full table without them (taken out and put
// back untimed), so that the large table is filled only once.
void InsertOurs(benchmark::State& state, std::size_t n, bool strings) {
    bool const bLarge = n > 100000;
    if (bLarge) PutLastKeys(Filled(n, strings), n, strings, false);
    for (auto _ : state) {
        if (bLarge) {
            PutLastKeys(Filled(n, strings), n, strings, true);
            state.PauseTiming();
            PutLastKeys(Filled(n, strings), n, strings, false);
            state.ResumeTiming();
            continue;
        }
        Keys& keys = KeysOf(n);
        auto dict = std::make_unique<CPDictionary>();
        for (std::size_t i = 0; i < n; ++i) {
            if (strings)
                dict->AddKeyString(keys.framework[i].get(), Value());
            else
                dict->AddKeyNum(NumKey(i), Value());
        }
        state.PauseTiming();
        dict.reset();
        state.ResumeTiming();
    }
    if (bLarge) PutLastKeys(Filled(n, strings), n, strings, true);
}

template <class Map> void InsertStd(benchmark::State& state, std::size_t n) {
    bool const bLarge = n > 100000;
    if (bLarge) PutLastKeys(FilledStd<Map>(n), n, false);
    for (auto _ : state) {
        if (bLarge) {
            PutLastKeys(FilledStd<Map>(n), n, true);
            state.PauseTiming();
            PutLastKeys(FilledStd<Map>(n), n, false);
            state.ResumeTiming();
            continue;
        }
        Keys& keys = KeysOf(n);
        state.PauseTiming();
        Map map;
        state.ResumeTiming();
        for (std::size_t i = 0; i < n; ++i) {
            if constexpr (std::is_same_v<typename Map::key_type, std::string>)
                map.emplace(keys.text[i], Value());
            else
                map.emplace(NumKey(i), Value());
        }
        state.PauseTiming();
        map.clear();
        state.ResumeTiming();
    }
    if (bLarge) PutLastKeys(FilledStd<Map>(n), n, true);
}

// One lookup per iteration, cycling through the keys (or the absent ones).
void FindOurs(benchmark::State& state, std::size_t n, bool strings, bool hit) {
    CPDictionary& dict = Filled(n, strings);
    Keys& keys = KeysOf(n);
    std::size_t i = 0;
    for (auto _ : state) {
        void* found = strings ? dict.FindKeyString((hit ? keys.framework : keys.absent)[i].get())
                              : dict.FindKeyNum(hit ? NumKey(i) : NumKey(i + n));
        benchmark::DoNotOptimize(found);
        if (++i == n) i = 0;
    }
}

template <class Map> void FindStd(benchmark::State& state, std::size_t n, bool hit) {
    Map& map = FilledStd<Map>(n);
    Keys& keys = KeysOf(n);
    std::size_t i = 0;
    for (auto _ : state) {
        typename Map::const_iterator found;
        if constexpr (std::is_same_v<typename Map::key_type, std::string>)
            found = map.find((hit ? keys.text : keys.absentText)[i]);
        else
            found = map.find(hit ? NumKey(i) : NumKey(i + n));
        benchmark::DoNotOptimize(found);
        if (++i == n) i = 0;
    }
}

std::vector<int>& Items() {
    static std::vector<int> items(kListSize);
    return items;
}

void ListAppend(benchmark::State& state) {
    for (auto _ : state) {
        CPList list;
        for (int& item : Items())
            list.Add(&item);
        benchmark::DoNotOptimize(list.Length());
    }
}

void StdListAppend(benchmark::State& state) {
    for (auto _ : state) {
        std::list<void*> list;
        for (int& item : Items())
            list.push_back(&item);
        benchmark::DoNotOptimize(list.size());
    }
}

// Indexed reads in order: each index one step from the last.
void ListIndexed(benchmark::State& state) {
    CPList list;
    for (int& item : Items())
        list.Add(&item);
    for (auto _ : state) {
        for (std::uint32_t i = 0; i < kListSize; ++i)
            benchmark::DoNotOptimize(list.RetrieveIDX(i));
    }
}

// The alternative reads in order the way its users do: by walking.
void StdListIndexed(benchmark::State& state) {
    std::list<void*> list;
    for (int& item : Items())
        list.push_back(&item);
    for (auto _ : state) {
        for (void* item : list)
            benchmark::DoNotOptimize(item);
    }
}

void ListDetach(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        CPList list;
        for (int& item : Items())
            list.Add(&item);
        state.ResumeTiming();
        for (int& item : Items())
            list.Detach(&item);
        benchmark::DoNotOptimize(list.Length());
    }
}

void StdListDetach(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        std::list<void*> list;
        for (int& item : Items())
            list.push_back(&item);
        state.ResumeTiming();
        for (int& item : Items())
            list.remove(&item);
        benchmark::DoNotOptimize(list.size());
    }
}

// One whole fill of kLargeSize keys into an empty table, run once: a search
// walks a chain of about Length()/256 entries, so the fill is quadratic.
void FillOurs(benchmark::State& state, bool strings) {
    Keys& keys = KeysOf(kLargeSize);
    for (auto _ : state) {
        auto dict = std::make_unique<CPDictionary>();
        for (std::size_t i = 0; i < kLargeSize; ++i) {
            if (strings)
                dict->AddKeyString(keys.framework[i].get(), Value());
            else
                dict->AddKeyNum(NumKey(i), Value());
        }
        benchmark::DoNotOptimize(dict->Length());
        state.PauseTiming();
        // Kept for the lookups that follow, which would fill one again.
        if (!FilledSlot(kLargeSize, strings)) FilledSlot(kLargeSize, strings) = std::move(dict);
        dict.reset();
        state.ResumeTiming();
    }
}

template <class Map> void FillStd(benchmark::State& state) {
    Keys& keys = KeysOf(kLargeSize);
    for (auto _ : state) {
        auto map = std::make_unique<Map>();
        for (std::size_t i = 0; i < kLargeSize; ++i) {
            if constexpr (std::is_same_v<typename Map::key_type, std::string>)
                map->emplace(keys.text[i], Value());
            else
                map->emplace(NumKey(i), Value());
        }
        benchmark::DoNotOptimize(map->size());
        state.PauseTiming();
        if (!FilledStdSlot<Map>(kLargeSize)) FilledStdSlot<Map>(kLargeSize) = std::move(map);
        map.reset();
        state.ResumeTiming();
    }
}

template <class Ours, class Alternative>
void RegisterOnce(std::string const& operation, Ours ours, Alternative alternative) {
    ratio::Pair pair{operation, operation + "/ours", operation + "/unordered_map"};
    benchmark::RegisterBenchmark(pair.ours.c_str(), ours)
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(pair.alternative.c_str(), alternative)
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
    ratio::Pairs().push_back(pair);
}

void RegisterAll() {
    RegisterOnce(
        "dict_str_fill/" + std::to_string(kLargeSize),
        [](benchmark::State& s) { FillOurs(s, true); }, FillStd<StringMap>);
    RegisterOnce(
        "dict_num_fill/" + std::to_string(kLargeSize),
        [](benchmark::State& s) { FillOurs(s, false); }, FillStd<NumberMap>);
    for (std::size_t n : {std::size_t{100}, std::size_t{10000}, kLargeSize}) {
        std::string const size = std::to_string(n);
        for (bool strings : {true, false}) {
            std::string const kind = strings ? "str" : "num";
            if (strings) {
                ratio::RegisterPair(
                    "dict_" + kind + "_insert/" + size, "unordered_map", kMinTime,
                    [=](benchmark::State& s) { InsertOurs(s, n, true); },
                    [=](benchmark::State& s) { InsertStd<StringMap>(s, n); });
            } else {
                ratio::RegisterPair(
                    "dict_" + kind + "_insert/" + size, "unordered_map", kMinTime,
                    [=](benchmark::State& s) { InsertOurs(s, n, false); },
                    [=](benchmark::State& s) { InsertStd<NumberMap>(s, n); });
            }
            for (bool hit : {true, false}) {
                std::string const name = "dict_" + kind + (hit ? "_hit/" : "_miss/") + size;
                if (strings) {
                    ratio::RegisterPair(
                        name, "unordered_map", kMinTime,
                        [=](benchmark::State& s) { FindOurs(s, n, true, hit); },
                        [=](benchmark::State& s) { FindStd<StringMap>(s, n, hit); });
                } else {
                    ratio::RegisterPair(
                        name, "unordered_map", kMinTime,
                        [=](benchmark::State& s) { FindOurs(s, n, false, hit); },
                        [=](benchmark::State& s) { FindStd<NumberMap>(s, n, hit); });
                }
            }
        }
    }
    ratio::RegisterPair("list_append/10000", "std::list", kMinTime, ListAppend, StdListAppend);
    ratio::RegisterPair("list_indexed/10000", "std::list", kMinTime, ListIndexed, StdListIndexed);
    ratio::RegisterPair("list_detach/10000", "std::list", kMinTime, ListDetach, StdListDetach);
}

} // namespace

int main(int argc, char** argv) {
    RegisterAll();
    int const result = ratio::RunAndReport(argc, argv);
    std::printf(
        "\ndictionary: 256 fixed slots, chained, is the dictionary's contract; a search finds its\n"
        "entry in a chain of about Length()/256 entries through a table of the chain's keys kept\n"
        "beside it, and leaves the chain's cursor where the walk would. Insert first searches\n"
        "for the key. For %zu entries, insert is timed on the last %zu keys, and\n"
        "dict_*_fill times one whole fill (in ms above).\n"
        "list: nodes are counted buckets, one allocation each, as std::list's are.\n",
        kLargeSize, kLargeInsert);
    return result;
}

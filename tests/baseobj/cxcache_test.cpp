#include <baseobj/cxcache.h>
#include <util/exceptions.h>

#include <cpcoll/support.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

namespace {

using namespace cpcoll_test;

struct Live : Createable {
    Live() { ++nLive; }
    ~Live() override { --nLive; }
    static inline int nLive = 0;
};

// Access times are whole milliseconds: a pause keeps two accesses apart.
void Pause() {
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
}

Createable* itMake(std::uint32_t) {
    return new Live;
}

Createable* itMakeNothing(char const*) {
    return nullptr;
}

} // namespace

TEST(CreateableCacheTest, EvictionByMode) {
    // Mode 0 at a limit of 3: a third goes, the one accessed longest ago,
    // and then the add.
    {
        CreateableCache cache(3, CreateableCache::cacheLRU);
        for (std::int32_t n = 1; n <= 3; ++n) {
            cache.Add(n, new Live);
            Pause();
        }
        EXPECT_NE(cache.Find(1), nullptr);
        Pause();
        cache.Add(4, new Live);
        EXPECT_EQ(cache.Length(), 3u);
        EXPECT_EQ(cache.Find(2), nullptr);
        EXPECT_NE(cache.Find(1), nullptr);
        EXPECT_NE(cache.Find(3), nullptr);
        EXPECT_EQ(Live::nLive, 3);
    }
    EXPECT_EQ(Live::nLive, 0);

    // At a limit of 2 a third is nothing: the cache grows past its limit.
    CreateableCache two(2, CreateableCache::cacheLRU);
    for (std::int32_t n = 1; n <= 3; ++n)
        two.Add(n, new Live);
    EXPECT_EQ(two.Length(), 3u);

    // Mode 1 empties the cache, even for a key already there.
    CreateableCache clearing(2);
    Live kept;
    kept.AddRef();
    clearing.Add("a", &kept);
    clearing.Add(7, new Live);
    EXPECT_EQ(kept._get_nRefCount(), 2);
    clearing.Add("a", &kept);
    EXPECT_EQ(clearing.Length(), 1u);
    EXPECT_EQ(kept._get_nRefCount(), 2);
    // Below the limit an existing key changes its object.
    clearing.Add("a", new Live);
    EXPECT_EQ(kept._get_nRefCount(), 1);
    EXPECT_EQ(clearing.Remove("a"), 1);
    EXPECT_EQ(clearing.Length(), 0u);
}

TEST(CreateableCacheTest, HitsAndMissesAreCountedAsWholeNumbers) {
    CreateableCache cache;
    EXPECT_EQ(cache._get_HitRatio(), 0.0);
    cache.Add(5, new Live);
    // Number and text keys never meet.
    EXPECT_EQ(cache.Find("5"), nullptr);
    EXPECT_NE(cache.Find(5), nullptr);
    EXPECT_EQ(cache._get_HitRatio(), 0.0);
    // A key given unsigned names the entry of the same signed word.
    Createable* const pcrMade = cache.Intern(0xFFFFFFFFu, itMake);
    EXPECT_EQ(cache.Find(-1), pcrMade);
    EXPECT_EQ(cache.Intern("none", itMakeNothing), nullptr);
    EXPECT_EQ(cache.Length(), 2u);

    CreateableCache hits;
    hits.Add(1, new Live);
    for (int i = 0; i < 1000; ++i)
        hits.Find(1);
    EXPECT_EQ(hits._get_HitRatio(), 1.0);
    hits.Find(1);
    EXPECT_EQ(hits._get_nHits(), 1u);
    EXPECT_EQ(hits._get_nRequests(), 1u);
}

TEST(CreateableCacheTest, StatisticsGoToTheReportLog) {
    std::string const log = test_support::ChildReport(
        [] {
            CreateableCache::_set_bLogStatistics(1);
            CreateableCache cache;
            cache.Add("k", new Live);
            cache.Find("k");
            cache.Find("x");
        },
        0);
    EXPECT_NE(log.find("Comment: \"Cache Hit.  nRequests: 1, nHits: 1, CacheSize: 1\" in "
                       "baseobj/cxcache at line "),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("\"Cache Miss.  nRequests: 2, nHits: 1, CacheSize: 1\""), std::string::npos);
}

TEST(CreateableCacheDeathTest, MissingArgumentsReport) {
    char const* const unit = "baseobj/cxcache";
    ExpectAssertion([] { CreateableCache().Add(1, nullptr); }, unit, "pcreateableA");
    ExpectAssertion([] { CreateableCache().Find(static_cast<char const*>(nullptr)); }, unit,
                    "szKey");
    ExpectAssertion([] { CreateableCache().Intern(1u, nullptr); }, unit, "fnCxFunc");
}

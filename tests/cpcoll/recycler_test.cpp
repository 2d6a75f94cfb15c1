#include <cpcoll/recycler.h>

#include "support.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace cpcoll_test;

struct Pooled : Createable, Recyclable {
    Pooled() { ++nLive; }
    ~Pooled() override { --nLive; }
    void InitializeObject() override { ++nInit; }
    void UnInitializeObject() override { ++nUnInit; }
    int nInit = 0;
    int nUnInit = 0;
    static inline int nLive = 0;
};

} // namespace

TEST(RecyclerTest, ThePoolKeepsUpTo255AndReleasesTheRest) {
    {
        Recycler<Pooled> pool;
        Pooled* const pFresh = pool.Get();
        EXPECT_EQ(pFresh->_get_nRefCount(), 1);
        EXPECT_EQ(pFresh->nInit, 0);
        EXPECT_EQ(pool.Put(pFresh), 1);
        EXPECT_EQ(pFresh->nUnInit, 1);
        // The last one put back comes out first, set up again, same count.
        EXPECT_EQ(pool.Get(), pFresh);
        EXPECT_EQ(pFresh->nInit, 1);
        pool.Put(pFresh);

        // Warm: taking and giving back makes nothing new.
        int const nLive = Pooled::nLive;
        for (int i = 0; i < 1000; ++i)
            pool.Put(pool.Get());
        EXPECT_EQ(Pooled::nLive, nLive);

        std::vector<Pooled*> out;
        for (int i = 0; i < 256; ++i)
            out.push_back(pool.Get());
        EXPECT_EQ(Pooled::nLive, 256);
        for (int i = 0; i < 255; ++i)
            ASSERT_EQ(pool.Put(out[i]), 1);
        EXPECT_EQ(pool.Put(out[255]), 0);
        EXPECT_EQ(Pooled::nLive, 255);
        EXPECT_EQ(pool._get_nPooled(), 255u);
    }
    EXPECT_EQ(Pooled::nLive, 0);
}

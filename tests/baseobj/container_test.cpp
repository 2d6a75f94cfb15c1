#include <baseobj/container.h>
#include <baseobj/resmnkr.h>

#include "resstore.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

namespace {

using namespace baseobj_test;

using ContainerTest = ResourceStoreTest;

struct Buffer : BuffCacheObj {
    short IsStale() override { return bStale; }
    short bStale = 0;
};

int gnMade = 0;

BuffCacheObj* itMakeBuffer(char const* szKey) {
    ++gnMade;
    auto* p = new Buffer;
    p->_get_strBuffer() = szKey;
    return p;
}

BuffCacheObj* itMakeNothing(char const*) {
    return nullptr;
}

// A text whose every byte says which write made it: a header, then one
// letter repeated.
constexpr std::size_t kBody = 256 * 1024;

std::string Content(int gen, int k) {
    return "k=" + std::to_string(k) + " gen=" + std::to_string(gen) + "|" +
           std::string(kBody, static_cast<char>('a' + (gen + k) % 26));
}

// The write a text came from, or -1 when it is not whole.
int GenerationOf(std::string const& text, int k) {
    std::string const lead = "k=" + std::to_string(k) + " gen=";
    std::size_t const bar = text.find('|');
    if (text.rfind(lead, 0) != 0 || bar == std::string::npos) return -1;
    int const gen = std::atoi(text.c_str() + lead.size());
    return text == Content(gen, k) ? gen : -1;
}

} // namespace

TEST_F(ContainerTest, BuffersAreKeptByTheFilePartAndMadeAgainWhenStale) {
    ResourceMoniker rmnkr;
    rmnkr.ScanBuffer("C:\\dir\\file", 1);
    gnMade = 0;
    BuffCacheObj* first = Container::GetBuffCacheObj(rmnkr, itMakeBuffer);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->_get_strBuffer(), "C:\\dir\\file");
    EXPECT_EQ(Container::GetBuffCacheObj(rmnkr, itMakeBuffer), first);
    EXPECT_EQ(gnMade, 1);
    static_cast<Buffer*>(first)->bStale = 1;
    BuffCacheObj* second = Container::GetBuffCacheObj(rmnkr, itMakeBuffer);
    EXPECT_NE(second, nullptr);
    EXPECT_EQ(gnMade, 2);
    static_cast<Buffer*>(second)->bStale = 1;
    EXPECT_EQ(Container::GetBuffCacheObj(rmnkr, itMakeNothing), nullptr);
    CPString error;
    Container::_get_errShared()._get_strError(&error);
    EXPECT_EQ(error, "Failed to open file for input: C:\\dir\\file");
}

TEST_F(ContainerTest, ModesChooseWhatIsSharedAndWhatIsCached) {
    TextResource* text = Text("one");
    std::string const res = Named("r");
    ASSERT_NE(prm->WriteResource(res.c_str(), text), nullptr);
    // Kept private while read-only: the caller's own object, a copy cached.
    char const kPrivate = DataResource::ACCESS_MODE_READONLY | DataResource::ACCESS_MODE_PRIVATE;
    EXPECT_EQ(prm->ReadResource(res.c_str(), kPrivate, text), text);
    EXPECT_EQ(text->_get_cAccessMode(), kPrivate);
    DataResource* cached = Cached(res);
    ASSERT_NE(cached, nullptr);
    EXPECT_NE(cached, text);
    // A read-only read into another resource takes the place of the cached
    // copy.
    TextResource* other = Text("");
    EXPECT_EQ(prm->ReadResource(res.c_str(), DataResource::ACCESS_MODE_READONLY, other), other);
    EXPECT_EQ(Cached(res), other);
    EXPECT_EQ(TextOf(other), "one");
    // The shared copy handed back for change is not changed: a copy is.
    DataResource* copy = prm->ReadResource(res.c_str(), 0, other);
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, other);
    EXPECT_EQ(other->_get_cAccessMode(), DataResource::ACCESS_MODE_READONLY);
    copy->AddRef();
    copy->Release();

    // Saved under another name, a resource read from the first drops the copy
    // cached under the first as well.
    DataResource* mine = prm->ReadResource(res.c_str(), 0, nullptr);
    ASSERT_NE(mine, nullptr);
    mine->AddRef();
    EXPECT_EQ(mine->_get_strResourceSpecification(), res.c_str());
    ASSERT_NE(prm->WriteResource(Named("copy").c_str(), mine), nullptr);
    EXPECT_EQ(Cached(res), nullptr);
    for (DataResource* p :
         {static_cast<DataResource*>(text), static_cast<DataResource*>(other), mine})
        p->Release();
}

TEST_F(ContainerTest, AWriterKilledMidWriteLeavesEveryResourceOldOrNew) {
    constexpr int kResources = 4;
    TextResource* text = Text("");
    for (int k = 0; k < kResources; ++k) {
        text->_set_strText(Content(0, k).c_str());
        ASSERT_NE(prm->WriteResource(Named("r" + std::to_string(k)).c_str(), text), nullptr);
    }
    int newest = 0;
    for (int round = 0; round < 8; ++round) {
        int ready[2];
        ASSERT_EQ(pipe(ready), 0);
        pid_t const pid = fork();
        ASSERT_NE(pid, -1);
        if (pid == 0) {
            // The writer: rounds of writes until it is killed, or 20 s. It
            // says when its first round is done.
            close(ready[0]);
            auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
            for (int gen = 1 + round * 100000; std::chrono::steady_clock::now() < end; ++gen) {
                for (int k = 0; k < kResources; ++k) {
                    text->_set_strText(Content(gen, k).c_str());
                    if (prm->WriteResource(Named("r" + std::to_string(k)).c_str(), text) == nullptr)
                        _exit(2);
                }
                if (ready[1] >= 0 && write(ready[1], "w", 1) == 1) {
                    close(ready[1]);
                    ready[1] = -1;
                }
            }
            _exit(0);
        }
        close(ready[1]);
        pollfd wait{ready[0], POLLIN, 0};
        ASSERT_EQ(poll(&wait, 1, 20000), 1);
        close(ready[0]);
        std::this_thread::sleep_for(std::chrono::milliseconds(2 + 5 * round));
        kill(pid, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the writer stopped by itself: " << status;

        Container::EliminateCaches();
        for (int k = 0; k < kResources; ++k) {
            DataResource* read =
                prm->ReadResource(Named("r" + std::to_string(k)).c_str(), 0, nullptr);
            ASSERT_NE(read, nullptr) << Error();
            int const gen = GenerationOf(TextOf(read), k);
            EXPECT_GE(gen, 0) << "round " << round << ", resource " << k << " is torn";
            newest = std::max(newest, gen);
            read->AddRef();
            read->Release();
        }
        // Files the writer left half made are not resources.
        EXPECT_EQ(List().size(), static_cast<std::size_t>(kResources));
    }
    EXPECT_GT(newest, 0) << "no write was seen to finish";
    text->Release();
}

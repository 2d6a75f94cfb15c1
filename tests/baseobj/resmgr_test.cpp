#include <baseobj/resmgr.h>
#include <baseobj/resmnkr.h>

#include "resstore.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace baseobj_test;

// A folder store that counts how often it is opened and closed.
struct CountingFolder : FolderContainer {
    short OpenStore(ResourceMoniker& rmnkr) override {
        ++nOpened;
        return FolderContainer::OpenStore(rmnkr);
    }
    short CloseStore() override {
        ++nClosed;
        return FolderContainer::CloseStore();
    }
    static Container* Make(char const*) { return new CountingFolder; }
    static inline int nOpened = 0;
    static inline int nClosed = 0;
};

using ResourceManagerTest = ResourceStoreTest;

} // namespace

TEST_F(ResourceManagerTest, WriteReadOverwriteAndWhatTheCacheHolds) {
    std::string const res = Named("notes\\monday");
    TextResource* written = Text("first");
    written->SetResourceName("monday");
    ASSERT_EQ(prm->WriteResource(res.c_str(), written), written) << Error();
    EXPECT_EQ(CacheLength(), 0u);
    // One file, headed by the attributes in their stream form.
    std::ostringstream head;
    head << written->_get_draAttributes();
    std::string const file = ReadAll(Folder() + "/" + FolderContainer::FileName("notes\\monday"));
    EXPECT_EQ(file.rfind(head.str(), 0), 0u);

    // Read-only: the shared copy, the same object each time, held by the cache.
    DataResource* shared =
        prm->ReadResource(res.c_str(), DataResource::ACCESS_MODE_READONLY, nullptr);
    ASSERT_NE(shared, nullptr) << Error();
    EXPECT_EQ(TextOf(shared), "first");
    EXPECT_EQ(shared->_get_cAccessMode(), DataResource::ACCESS_MODE_READONLY);
    EXPECT_EQ(prm->ReadResource(res.c_str(), DataResource::ACCESS_MODE_READONLY, nullptr), shared);
    EXPECT_EQ(Cached(res), shared);
    // Another spelling of the same resource meets the same copy.
    std::string const spelling = "[FOLDER@" + Folder() + "]notes\\monday";
    EXPECT_EQ(prm->ReadResource(spelling.c_str(), DataResource::ACCESS_MODE_READONLY, nullptr),
              shared);
    shared->AddRef();

    // For change: a copy of its own, and the cache keeps the shared one.
    DataResource* mine = prm->ReadResource(res.c_str(), 0, nullptr);
    ASSERT_NE(mine, nullptr);
    mine->AddRef();
    EXPECT_NE(mine, shared);
    EXPECT_EQ(mine->_get_cAccessMode(), 0);
    EXPECT_EQ(Cached(res), shared);

    // The shared copy cannot be saved.
    EXPECT_EQ(prm->WriteResource(res.c_str(), shared), nullptr);
    EXPECT_EQ(Error(), "Cannot save resource that was opened as read-only");

    // Overwriting drops the cached copy; its holders keep what they had.
    static_cast<TextResource*>(mine)->_set_strText("second");
    EXPECT_EQ(prm->WriteResource(res.c_str(), mine), mine);
    EXPECT_EQ(Cached(res), nullptr);
    EXPECT_EQ(TextOf(shared), "first");
    DataResource* fresh =
        prm->ReadResource(res.c_str(), DataResource::ACCESS_MODE_READONLY, nullptr);
    EXPECT_NE(fresh, shared);
    EXPECT_EQ(TextOf(fresh), "second");

    // A read for change on a cold cache leaves a read-only copy there.
    Container::EliminateCaches();
    DataResource* again = prm->ReadResource(res.c_str(), 0, written);
    EXPECT_EQ(again, written);
    EXPECT_EQ(TextOf(written), "second");
    ASSERT_NE(Cached(res), nullptr);
    EXPECT_NE(Cached(res), written);
    EXPECT_EQ(Cached(res)->_get_cAccessMode(), DataResource::ACCESS_MODE_READONLY);

    for (DataResource* p : {static_cast<DataResource*>(written), shared, mine})
        p->Release();
}

TEST_F(ResourceManagerTest, FailuresLeaveTheirTextAndAnswerNull) {
    TextResource* text = Text("x");
    TextResource uncounted("y");
    ResourceManager& rm = *prm;
    std::string const absent = Named("absent");
    std::string const noPath = Named("");
    std::string const named = Named("a");
    std::tuple<char const*, std::function<DataResource*()>, std::string> const cases[] = {
        {"missing", [&] { return rm.ReadResource(absent.c_str(), 1, nullptr); },
         "Resource not found: " + absent},
        {"unregistered", [&] { return rm.ReadResource("[nowhere@/tmp]a", 1, nullptr); },
         "Unregistered Container Type: nowhere"},
        {"no path", [&] { return rm.ReadResource(noPath.c_str(), 1, nullptr); },
         "Invalid Resource Specification: " + noPath},
        {"null resource", [&] { return rm.WriteResource(named.c_str(), nullptr); },
         "No Resource Supplied"},
        {"uncounted", [&] { return rm.ReadResource(named.c_str(), 0, &uncounted); },
         "Invalid Entering Refcount"},
        {"unregistered write", [&] { return rm.WriteResource("[nowhere@/tmp]a", text); },
         "Unregistered Container Type: nowhere"},
        // A write to a text that names no resource fails with no text.
        {"write without path", [&] { return rm.WriteResource(noPath.c_str(), text); }, "before"}};
    for (auto const& [what, call, error] : cases) {
        rm._set_strError("before");
        EXPECT_EQ(call(), nullptr) << what;
        EXPECT_EQ(Error(), error) << what;
    }
    EXPECT_EQ(CacheLength(), 0u);
    text->Release();
}

TEST_F(ResourceManagerTest, TypesAndStoresAreRegisteredOnceAndOpenedOnce) {
    // Storage types match without regard to case; a second registration
    // replaces the first.
    prm->RegisterContainerType("FOLDER", CountingFolder::Make);
    prm->RegisterContainerType("Counting", CountingFolder::Make);
    prm->RegisterResourceType(TextResource::kType, TextResource::Make);
    EXPECT_EQ(prm->GetRegisteredContainerCount(), 2u);
    EXPECT_EQ(prm->GetRegisiteredResourceCount(), 1u);
    EXPECT_EQ(prm->MakeResource("Unknown"), nullptr);

    CountingFolder::nOpened = CountingFolder::nClosed = 0;
    TextResource* text = Text("t");
    for (char const* name : {"a", "b", "a"})
        EXPECT_NE(prm->WriteResource(Named(name).c_str(), text), nullptr) << Error();
    // One container serves the folder: opened once, closed after each call.
    EXPECT_EQ(CountingFolder::nOpened, 1);
    EXPECT_EQ(CountingFolder::nClosed, 3);
    EXPECT_EQ(List(), (std::vector<std::string>{Named("a"), Named("b")}));
    text->Release();
}

TEST_F(ResourceManagerTest, ListAndDelete) {
    TextResource* text = Text("t");
    for (char const* name : {"b\\2", "a", "with space", "b\\1"})
        ASSERT_NE(prm->WriteResource(Named(name).c_str(), text), nullptr) << Error();
    EXPECT_EQ(List(), (std::vector<std::string>{Named("a"), Named("b\\1"), Named("b\\2"),
                                                Named("with space")}));
    ASSERT_NE(prm->ReadResource(Named("a").c_str(), 1, nullptr), nullptr);
    EXPECT_EQ(prm->DeleteResource(Named("a").c_str()), 1) << Error();
    EXPECT_EQ(Cached(Named("a")), nullptr);
    EXPECT_EQ(prm->ReadResource(Named("a").c_str(), 1, nullptr), nullptr);
    EXPECT_EQ(prm->DeleteResource(Named("a").c_str()), 0);
    EXPECT_EQ(Error().rfind("Cannot remove the resource " + Named("a"), 0), 0u) << Error();
    EXPECT_EQ(List().size(), 3u);
    text->Release();
}

TEST_F(ResourceManagerTest, ACachedCopyChangedByAnotherWriterIsReadAgain) {
    TextResource* text = Text("old");
    std::string const res = Named("shared");
    ASSERT_NE(prm->WriteResource(res.c_str(), text), nullptr);
    DataResource* cached = prm->ReadResource(res.c_str(), 1, nullptr);
    ASSERT_NE(cached, nullptr);
    cached->AddRef();
    // Another writer, as another process would be: straight to the store.
    ResourceMoniker rmnkr;
    rmnkr.ScanBuffer(res.c_str(), 1);
    FolderContainer other;
    ASSERT_EQ(other.OpenStore(rmnkr), 1);
    text->_set_strText("new");
    ASSERT_EQ(other.WriteStoredResource(rmnkr, text), 1);
    DataResource* reread = prm->ReadResource(res.c_str(), 1, nullptr);
    EXPECT_NE(reread, cached);
    EXPECT_EQ(TextOf(reread), "new");
    EXPECT_EQ(TextOf(cached), "old");
    cached->Release();
    text->Release();
}

TEST_F(ResourceManagerTest, DamagedFilesAreRefusedAndNotCached) {
    TextResource* text = Text("whole");
    ASSERT_NE(prm->WriteResource(Named("r").c_str(), text), nullptr);
    std::string const path = Folder() + "/" + FolderContainer::FileName("r");
    std::string const whole = ReadAll(path);
    std::ostringstream head;
    head << text->_get_draAttributes();
    std::tuple<std::size_t, char const*> const cases[] = {
        {3, "Damaged resource header in "},
        {head.str().size() - 1, "Damaged resource header in "},
        {head.str().size() + 2, "Damaged resource content in "},
        {whole.size() - 1, "Damaged resource content in "}};
    for (auto const& [keep, error] : cases) {
        WriteAll(path, whole.substr(0, keep));
        EXPECT_EQ(prm->ReadResource(Named("r").c_str(), 1, nullptr), nullptr) << keep;
        EXPECT_EQ(Error(), error + path) << keep;
        EXPECT_EQ(CacheLength(), 0u);
    }
    text->Release();
}

TEST_F(ResourceManagerTest, LoadsAndSavesAreLoggedWhenAsked) {
    std::string const path = TestFileName("resources.log");
    std::remove(path.c_str());
    EXPECT_EXIT(
        {
            Exceptions::_get_gexeptnsThe()._set_szFilePath(path.c_str());
            ResourceManager::_set_bLogResources(1);
            TextResource* text = Text("t");
            prm->WriteResource(Named("r").c_str(), text);
            prm->ReadResource(Named("r").c_str(), 1, nullptr);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
    std::string const log = ReadAll(path);
    // The child's folder is its own: a death test may run the test afresh.
    for (char const* line :
         {"Comment: \"Resource Save Call:[folder@/", "/store]r\" in baseobj/resmgr at line ",
          "Comment: \"Resource Save Call Result:  1 (0x1)\" in baseobj/resmgr",
          "Message: \"Resource Load: File, TickCount, LoadTime:\t/", "/store\t"})
        EXPECT_NE(log.find(line), std::string::npos) << line << "\nin\n" << log;
    std::remove(path.c_str());
}

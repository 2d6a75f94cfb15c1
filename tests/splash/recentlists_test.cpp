#include "fakes.h"

#include <splash/recentlists.h>

#include <platform/namedevent.h>
#include <platform/registry.h>

#include <support/files.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace splash;

namespace {

using namespace platform;

class CountingPanel final : public ControlPanel {
public:
    void SendRefresh(std::uint32_t message) override {
        ++refreshes;
        lastMessage = message;
    }
    int refreshes = 0;
    std::uint32_t lastMessage = 0;
};

// A store and a set of named events of the test's own.
class RecentListTest : public ::testing::Test {
protected:
    void SetUp() override {
        ::setenv(kRegistryPathVariable, store_.c_str(), 1);
        ::setenv(kEventScopeVariable, std::to_string(::getpid()).c_str(), 1);
        for (char const* name : {"SuppressRecentApps", "SuppressRecentDocs", "OTCtrlPanel"})
            NamedEvent::Remove(name);
    }
    void TearDown() override {
        for (char const* name : {"SuppressRecentApps", "SuppressRecentDocs", "OTCtrlPanel"})
            NamedEvent::Remove(name);
        ::unsetenv(kRegistryPathVariable);
        ::unsetenv(kEventScopeVariable);
    }

    // The raw slots: "-" for a missing one.
    static std::vector<std::string> Slots(char const* list) {
        std::vector<std::string> out;
        HKEY key = nullptr;
        if (RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Orveltech\\RecentlyUsed", 0, KEY_READ,
                          &key) != 0)
            return out;
        for (int i = 0; i < RecentListCapacity; ++i) {
            char buffer[1024] = {};
            std::uint32_t size = sizeof buffer;
            std::string const name = list + std::to_string(i);
            out.push_back(RegQueryValueExA(key, name.c_str(), nullptr, nullptr,
                                           reinterpret_cast<std::uint8_t*>(buffer), &size) == 0
                              ? buffer
                              : "-");
        }
        RegCloseKey(key);
        return out;
    }
    void AddApp(char16_t const* path, char16_t const* title = nullptr) {
        Bstr p(path), t(title != nullptr ? title : u"");
        store.AddToRecentAppList(p, title != nullptr ? static_cast<BSTR>(t) : nullptr);
    }
    void AddEntry(std::string const& entry) {
        AddToRecentList("RecentApps", CPString(entry.c_str()));
    }

    test_support::ScratchDir dir_;
    std::string const store_ = dir_ / "registry.db";
    CountingPanel panel;
    RecentListStore store{panel};
};

using List = std::vector<std::string>;

} // namespace

TEST_F(RecentListTest, MoveToFrontKeepsWhatASkippedDuplicateWouldHaveLost) {
    auto event = NamedEvent::Create("OTCtrlPanel");
    ASSERT_NE(event, nullptr);
    AddApp(u"/opt/orvel/bin/heat  ", u"Heat Designer ");
    // The first entry writes slot 0 and one empty value behind it.
    EXPECT_EQ(Slots("RecentApps"), (List{"/opt/orvel/bin/heat|Heat Designer", "", "-", "-", "-"}));
    EXPECT_TRUE(event->TryTake()); // the control panel's event was signalled
    EXPECT_EQ(panel.refreshes, 1);
    EXPECT_EQ(panel.lastMessage, 1068u);

    for (char const* e : {"b", "c", "d", "e"})
        AddEntry(e);
    EXPECT_EQ(Slots("RecentApps"), (List{"e", "d", "c", "b", "/opt/orvel/bin/heat|Heat Designer"}));
    AddEntry("f"); // nothing repeats: the oldest goes
    EXPECT_EQ(Slots("RecentApps"), (List{"f", "e", "d", "c", "b"}));
    AddEntry("d"); // from slot 2: slots 3 and 4 stay as they were
    EXPECT_EQ(Slots("RecentApps"), (List{"d", "f", "e", "c", "b"}));
    AddEntry("b"); // from slot 4: all five rotate
    EXPECT_EQ(Slots("RecentApps"), (List{"b", "d", "f", "e", "c"}));
    AddEntry("RecentApps"); // the list's own name is never written
    EXPECT_EQ(Slots("RecentApps"), (List{"b", "d", "f", "e", "c"}));

    // The title is part of the entry; an empty title leaves out its separator.
    AddApp(u"/bin/x", u"One");
    AddApp(u"/bin/x", u"Two");
    AddApp(u"/bin/y", u"");
    EXPECT_EQ(Slots("RecentApps"), (List{"/bin/y", "/bin/x|Two", "/bin/x|One", "b", "d"}));
}

TEST_F(RecentListTest, DocumentsLeadWithTheirOpenerAndEmptyPathsWriteNothing) {
    Bstr doc(u"/home/u/plant.hdx"), app(u"/opt/orvel/bin/heat"), empty(u"");
    store.AddToRecentDocList(doc, app);
    store.AddToRecentDocList(doc, nullptr);
    EXPECT_EQ(Slots("RecentDocs"),
              (List{"/home/u/plant.hdx", "/opt/orvel/bin/heat|/home/u/plant.hdx", "", "-", "-"}));
    store.AddToRecentDocList(empty, app);
    store.AddToRecentDocList(nullptr, app);
    EXPECT_EQ(Slots("RecentDocs")[0], "/home/u/plant.hdx");
    EXPECT_EQ(panel.refreshes, 0); // no window message for documents

    // An empty path still tells the control panel.
    AddApp(u"   ");
    EXPECT_EQ(panel.refreshes, 1);
    EXPECT_TRUE(Slots("RecentApps").empty() || Slots("RecentApps")[0] == "-");

    CPString read[RecentListCapacity] = {"x", "x", "x", "x", "x"};
    RecentListStore::RecentDocs(read);
    EXPECT_STREQ(read[0].GetBuffer(), "/home/u/plant.hdx");
    EXPECT_STREQ(read[2].GetBuffer(), "");
    EXPECT_STREQ(read[3].GetBuffer(), "x"); // unreadable slots keep what they held
    CPString favourites[RecentListCapacity];
    RecentListStore::Favorites(favourites);
    EXPECT_EQ(favourites[0].Length(), 0);
}

TEST_F(RecentListTest, SuppressionAndTheReadLimit) {
    auto apps = NamedEvent::Create("SuppressRecentApps");
    auto panelEvent = NamedEvent::Create("OTCtrlPanel");
    AddApp(u"/bin/suppressed");
    EXPECT_TRUE(Slots("RecentApps").empty());
    EXPECT_EQ(panel.refreshes, 1); // the message goes out all the same
    NamedEvent::Remove("SuppressRecentApps");

    auto docs = NamedEvent::Create("SuppressRecentDocs");
    Bstr doc(u"/home/u/a.hdx");
    store.AddToRecentDocList(doc, nullptr);
    EXPECT_TRUE(Slots("RecentDocs").empty());
    EXPECT_FALSE(panelEvent->TryTake()); // nothing signalled
    NamedEvent::Remove("SuppressRecentDocs");

    // A stored value of 255 bytes no longer fits the read and is pushed out.
    AddEntry(std::string(255, 'L'));
    AddEntry("short");
    EXPECT_EQ(Slots("RecentApps"), (List{"short", "", "-", "-", "-"}));
    AddEntry(std::string(254, 'K'));
    AddEntry("next");
    EXPECT_EQ(Slots("RecentApps")[1], std::string(254, 'K'));
}

TEST_F(RecentListTest, DamagedAndReadOnlyStoresChangeNothing) {
    test_support::WriteAll(store_, std::string(4096, '\x5A'));
    AddApp(u"/bin/a");
    EXPECT_EQ(panel.refreshes, 1); // the call went on
    EXPECT_EQ(test_support::ReadAll(store_), std::string(4096, '\x5A'));
    std::filesystem::remove(store_);

    AddEntry("kept");
    std::string const readOnly = "file:" + store_ + "?mode=ro";
    ::setenv(kRegistryPathVariable, readOnly.c_str(), 1);
    AddEntry("refused");
    EXPECT_EQ(Slots("RecentApps"), (List{"kept", "", "-", "-", "-"}));
}

TEST_F(RecentListTest, ConcurrentServersLeaveAListSomeSerialOrderWouldGive) {
    constexpr int kProcesses = 8;
    constexpr int kAdds = 50;
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        pid_t const child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int k = 0; k < kAdds; ++k)
                AddToRecentList(
                    "RecentApps",
                    CPString(("p" + std::to_string(p) + "-" + std::to_string(k)).c_str()));
            ::_exit(0);
        }
        children.push_back(child);
    }
    for (pid_t const child : children) {
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }

    // In any serial order the list holds the five latest adds. So for each
    // process, the entries it has in the list are its own last ones, newest
    // first.
    List const slots = Slots("RecentApps");
    ASSERT_EQ(slots.size(), 5u);
    std::map<int, std::vector<int>> byProcess;
    for (std::string const& entry : slots) {
        ASSERT_EQ(entry[0], 'p') << entry; // every slot readable and one of ours
        std::size_t const dash = entry.find('-');
        byProcess[std::stoi(entry.substr(1, dash - 1))].push_back(
            std::stoi(entry.substr(dash + 1)));
    }
    for (auto const& [process, adds] : byProcess) {
        for (std::size_t i = 0; i < adds.size(); ++i)
            EXPECT_EQ(adds[i], kAdds - 1 - static_cast<int>(i)) << "process " << process;
    }
}

// The store refuses (read-only here, locked for longer than its wait in
// life): the updates are kept in order and written once it takes them; what
// is still unwritten at the end is said on standard error.
TEST_F(RecentListTest, UpdatesTheStoreRefusesAreKeptInOrderAndReportedAtTheEnd) {
    std::string const readOnly = "file:" + dir_ / "missing.db" + "?mode=ro";
    {
        RecentListStore refused(panel);
        ::setenv(kRegistryPathVariable, readOnly.c_str(), 1);
        Bstr first(u"/opt/orvel/first"), second(u"/opt/orvel/second"), lost(u"/opt/orvel/lost");
        refused.AddToRecentAppList(first, nullptr);
        refused.AddToRecentAppList(second, nullptr);
        EXPECT_EQ(refused.PendingCount(), 2u);

        ::setenv(kRegistryPathVariable, store_.c_str(), 1);
        EXPECT_TRUE(refused.WritePending());
        EXPECT_EQ(Slots("RecentApps")[0], "/opt/orvel/second");

        ::setenv(kRegistryPathVariable, readOnly.c_str(), 1);
        refused.AddToRecentAppList(lost, nullptr);
        testing::internal::CaptureStderr();
        refused.Finish();
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "orvelsplash: a recent-list update could not be written: RecentApps "
                  "\"/opt/orvel/lost\"\n");
        EXPECT_EQ(refused.PendingCount(), 0u);
    }
    ::setenv(kRegistryPathVariable, store_.c_str(), 1);
    EXPECT_EQ(Slots("RecentApps")[0], "/opt/orvel/second");
}

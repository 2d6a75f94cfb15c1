#include "fakes.h"

#include <splash/recentlists.h>

#include <platform/namedevent.h>
#include <platform/registry.h>

#include <support/files.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

using namespace splash;

namespace {

class NoPanel final : public ControlPanel {
public:
    void SendRefresh(std::uint32_t) override {}
};

std::string Slot0() {
    CPString entries[RecentListCapacity];
    RecentListStore::RecentApps(entries);
    return entries[0].GetBuffer();
}

} // namespace

// The store refuses (read-only here, locked for longer than its wait in
// life): the updates are kept in order and written once it takes them; what
// is still unwritten at the end is said on standard error.
TEST(RecentListRetry, UpdatesTheStoreRefusesAreKeptInOrderAndReportedAtTheEnd) {
    test_support::ScratchDir dir;
    std::string const writable = dir / "registry.db";
    std::string const readOnly = "file:" + std::string(dir / "missing.db") + "?mode=ro";
    ::setenv(platform::kEventScopeVariable, ("retry" + std::to_string(::getpid())).c_str(), 1);
    NoPanel panel;
    {
        RecentListStore store(panel);
        ::setenv(platform::kRegistryPathVariable, readOnly.c_str(), 1);
        Bstr first(u"/opt/orvel/first"), second(u"/opt/orvel/second");
        store.AddToRecentAppList(first, nullptr);
        store.AddToRecentAppList(second, nullptr);
        EXPECT_EQ(store.PendingCount(), 2u);

        ::setenv(platform::kRegistryPathVariable, writable.c_str(), 1);
        EXPECT_TRUE(store.WritePending());
        EXPECT_EQ(Slot0(), "/opt/orvel/second");

        ::setenv(platform::kRegistryPathVariable, readOnly.c_str(), 1);
        Bstr lost(u"/opt/orvel/lost");
        store.AddToRecentAppList(lost, nullptr);
        testing::internal::CaptureStderr();
        store.Finish();
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "orvelsplash: a recent-list update could not be written: RecentApps "
                  "\"/opt/orvel/lost\"\n");
        EXPECT_EQ(store.PendingCount(), 0u);
    }
    ::setenv(platform::kRegistryPathVariable, writable.c_str(), 1);
    EXPECT_EQ(Slot0(), "/opt/orvel/second");
    ::unsetenv(platform::kRegistryPathVariable);
    ::unsetenv(platform::kEventScopeVariable);
}

#include <platform/namedevent.h>
#include <platform/registry.h>

#include <support/registry_store.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace platform;

// Each test gets a store of its own.
class RegistryTest : public ::testing::Test {
protected:
    static LSTATUS SetString(HKEY key, char const* name, std::string const& text,
                             bool terminator = true) {
        return RegSetValueExA(key, name, 0, REG_SZ,
                              reinterpret_cast<std::uint8_t const*>(text.c_str()),
                              static_cast<std::uint32_t>(text.size() + (terminator ? 1 : 0)));
    }
    // RegCreateKeyExA with all access, telling whether the key was new.
    static LSTATUS Create(char const* path, HKEY* key, std::uint32_t* disposition = nullptr) {
        return RegCreateKeyExA(HKEY_CURRENT_USER, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key,
                               disposition);
    }
    static LSTATUS SetDword(HKEY key, char const* name, std::uint32_t value) {
        return RegSetValueExA(key, name, 0, REG_DWORD, reinterpret_cast<std::uint8_t*>(&value), 4);
    }
    // The value's first four bytes; 0xFFFFFFFF when it cannot be read.
    static std::uint32_t GetDword(HKEY key, char const* name, std::uint32_t* type = nullptr) {
        std::uint32_t value = 0, size = 4;
        return RegQueryValueExA(key, name, nullptr, type, reinterpret_cast<std::uint8_t*>(&value),
                                &size) == 0
                   ? value
                   : 0xFFFFFFFF;
    }
    static std::string GetString(HKEY key, char const* name, std::uint32_t limit = 256,
                                 LSTATUS* status = nullptr) {
        std::string buffer(limit, '\0');
        std::uint32_t size = limit;
        LSTATUS const rc = RegQueryValueExA(key, name, nullptr, nullptr,
                                            reinterpret_cast<std::uint8_t*>(buffer.data()), &size);
        if (status != nullptr) *status = rc;
        return rc == 0 ? std::string(buffer.c_str()) : "<" + std::to_string(rc) + ">";
    }

    test_support::ScopedRegistryStore store_;
    std::string const& path_ = store_.path();
};

} // namespace

TEST_F(RegistryTest, KeysAndValuesBehaveAsTheRegistryDoes) {
    HKEY key = nullptr;
    std::uint32_t disposition = 0;
    ASSERT_EQ(Create("Software\\Orveltech\\RecentlyUsed", &key, &disposition), 0);
    EXPECT_EQ(disposition, REG_CREATED_NEW_KEY);
    EXPECT_EQ(SetString(key, "RecentApps0", "/usr/bin/a|A", false), 0); // no terminator stored
    EXPECT_EQ(SetString(key, "recentapps1", "b"), 0);
    EXPECT_EQ(RegCloseKey(key), 0);

    // Names compare without regard to case; strings come back terminated.
    HKEY same = nullptr;
    ASSERT_EQ(Create("SOFTWARE\\orveltech\\recentlyused", &same, &disposition), 0);
    EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);
    EXPECT_EQ(GetString(same, "RECENTAPPS0"), "/usr/bin/a|A");
    EXPECT_EQ(GetString(same, "RecentApps1"), "b");
    std::uint32_t type = 0, size = 0;
    EXPECT_EQ(RegQueryValueExA(same, "RecentApps0", nullptr, &type, nullptr, &size), 0);
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(size, 13u); // twelve characters and the terminator added on reading

    // Too small: the size needed. 255 characters need 256 bytes.
    EXPECT_EQ(SetString(same, "Long", std::string(255, 'x'), false), 0);
    LSTATUS status = 0;
    GetString(same, "Long", 255, &status);
    EXPECT_EQ(status, ERROR_MORE_DATA);
    GetString(same, "Missing", 255, &status);
    EXPECT_EQ(status, ERROR_FILE_NOT_FOUND);

    std::uint32_t const dword = 0x10;
    EXPECT_EQ(SetDword(same, "Count", dword), 0);
    EXPECT_EQ(GetDword(same, "Count", &type), 0x10u);
    EXPECT_EQ(type, REG_DWORD);

    EXPECT_EQ(RegDeleteValueA(same, "Count"), 0);
    EXPECT_EQ(RegDeleteValueA(same, "Count"), ERROR_FILE_NOT_FOUND);

    HKEY missing = nullptr;
    EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Nowhere", 0, KEY_READ, &missing),
              ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegOpenKeyExA(HKEY_CLASSES_ROOT, "Software\\Orveltech", 0, KEY_READ, &missing),
              ERROR_FILE_NOT_FOUND); // the other hive

    // Deleting a key takes everything below it; an open handle goes stale.
    EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, "Software\\Orveltech"), 0);
    EXPECT_EQ(SetString(same, "RecentApps0", "x"), ERROR_KEY_DELETED);
    EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Orveltech\\RecentlyUsed", 0, KEY_READ,
                            &missing),
              ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, ""), ERROR_ACCESS_DENIED);
    RegCloseKey(same);
}

TEST_F(RegistryTest, DamagedAndReadOnlyStoresFailWithoutHarm) {
    {
        std::ofstream junk(path_, std::ios::binary);
        junk << std::string(8192, 'J');
    }
    HKEY key = nullptr;
    EXPECT_EQ(Create("Software", &key), ERROR_BADDB);
    EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software", 0, KEY_READ, &key), ERROR_BADDB);
    RegTransaction damaged;
    EXPECT_NE(damaged.Status(), 0);
    store_.Remove();

    // A store with content, then opened read-only: reads work, writes are denied.
    ASSERT_EQ(Create("Software\\Orveltech", &key), 0);
    ASSERT_EQ(SetString(key, "LogPath", "/tmp/x.log"), 0);
    RegCloseKey(key);
    std::string const readOnly = "file:" + path_ + "?mode=ro";
    ::setenv(kRegistryPathVariable, readOnly.c_str(), 1);
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Orveltech", 0, KEY_READ, &key), 0);
    EXPECT_EQ(GetString(key, "LogPath"), "/tmp/x.log");
    EXPECT_EQ(SetString(key, "LogPath", "/elsewhere"), ERROR_ACCESS_DENIED);
    RegCloseKey(key);
    EXPECT_EQ(Create("Software\\New", &key), ERROR_ACCESS_DENIED);

    // A store that cannot be made at all.
    ::setenv(kRegistryPathVariable, "/proc/no-such-dir/registry.db", 1);
    EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software", 0, KEY_READ, &key), ERROR_ACCESS_DENIED);
}

TEST_F(RegistryTest, TransactionsOfSeveralProcessesAreSerialised) {
    HKEY key = nullptr;
    ASSERT_EQ(Create("Software\\Counter", &key), 0);
    RegCloseKey(key);
    constexpr int kProcesses = 6;
    constexpr int kRounds = 40;
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        pid_t const child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            int failures = 0;
            for (int i = 0; i < kRounds; ++i) {
                RegTransaction transaction;
                HKEY counter = nullptr;
                std::uint32_t value = 0;
                bool ok = transaction.Status() == 0 &&
                          RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Counter", 0, KEY_ALL_ACCESS,
                                        &counter) == 0;
                if (ok) {
                    value = GetDword(counter, "n"); // read, change, write: lost updates would show
                    ok = SetDword(counter, "n", value == 0xFFFFFFFF ? 1 : value + 1) == 0 &&
                         transaction.Commit() == 0;
                    RegCloseKey(counter);
                }
                failures += ok ? 0 : 1;
            }
            ::_exit(failures);
        }
        children.push_back(child);
    }
    for (pid_t const child : children) {
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Counter", 0, KEY_READ, &key), 0);
    EXPECT_EQ(GetDword(key, "n"), std::uint32_t{kProcesses * kRounds});
    RegCloseKey(key);
}

TEST(NamedEventTest, OpenOnlyFindsACreatedEventOfThisUser) {
    char const* name = "SorvaneTestFlag";
    NamedEvent::Remove(name);
    EXPECT_EQ(NamedEvent::Open(name), nullptr);
    auto made = NamedEvent::Create(name);
    ASSERT_NE(made, nullptr);
    auto opened = NamedEvent::Open(name);
    ASSERT_NE(opened, nullptr);
    EXPECT_FALSE(made->TryTake());
    EXPECT_TRUE(opened->Set());
    EXPECT_TRUE(made->TryTake()); // one signal, seen through the other handle
    EXPECT_TRUE(NamedEvent::Remove(name));
    EXPECT_EQ(NamedEvent::Open(name), nullptr);
    EXPECT_FALSE(NamedEvent::Remove(name));
    EXPECT_NE(NamedEvent::SystemName("a/b").find(std::to_string(::getuid())), std::string::npos);
}

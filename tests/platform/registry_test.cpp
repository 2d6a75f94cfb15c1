#include <platform/namedevent.h>
#include <platform/profile.h>
#include <platform/registry.h>

#include <support/files.h>
#include <support/registry_store.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace platform;

// Runs body(p) for p = 0 .. n-1, each in a child process, all at once; true
// when every child ended with status 0.
bool EachChildSucceeds(int n, std::function<int(int)> const& body) {
    std::vector<pid_t> children;
    for (int p = 0; p < n; ++p) {
        pid_t const child = ::fork();
        if (child == 0) ::_exit(body(p));
        children.push_back(child);
    }
    bool ok = true;
    for (pid_t const child : children) {
        int status = 0;
        ok = child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
             WEXITSTATUS(status) == 0 && ok;
    }
    return ok;
}

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

// The INI files of the private-profile tests.
fs::path Corpus(char const* name) {
    return fs::path(__FILE__).parent_path() / "ini_corpus" / name;
}

using test_support::ReadAll;
using test_support::WriteAll;

// The list answer (names each ending with a NUL) as one text with '|'.
std::string ListOf(char const* buffer, std::uint32_t count) {
    std::string out(buffer, count);
    for (char& c : out)
        if (c == '\0') c = '|';
    return out;
}

class ProfileTest : public ::testing::Test {
protected:
    test_support::ScratchDir scratch_;
    fs::path const& dir_ = scratch_.path();
};

struct ValueCase {
    char const* file;
    char const* section;
    char const* key;
    char const* expected;
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
    EXPECT_TRUE(EachChildSucceeds(kProcesses, [](int) {
        int failures = 0;
        for (int i = 0; i < kRounds; ++i) {
            RegTransaction transaction;
            HKEY counter = nullptr;
            bool ok =
                transaction.Status() == 0 && RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Counter",
                                                           0, KEY_ALL_ACCESS, &counter) == 0;
            if (ok) {
                // Read, change, write: lost updates would show.
                std::uint32_t const value = GetDword(counter, "n");
                ok = SetDword(counter, "n", value == 0xFFFFFFFF ? 1 : value + 1) == 0 &&
                     transaction.Commit() == 0;
                RegCloseKey(counter);
            }
            failures += ok ? 0 : 1;
        }
        return failures;
    }));
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

// The INI files of ini_corpus/ are read through the private-profile calls and
// compared with a table written by hand from those calls' rules; writes are
// checked byte for byte, and two processes write one file at once.
TEST(ProfileCorpusTest, ValuesReadAsTheProfileRulesSay) {
    ValueCase const cases[] = {
        // Comments and blank lines; '#' is no comment.
        {"comments.ini", "General", "Name", "Alpha"},
        {"comments.ini", "general", "NAME", "Alpha"},
        {"comments.ini", "General", "# note", "5"},
        {"comments.ini", "Paths", "Root", "/opt/app"},
        {"comments.ini", "Paths", ";Hidden", "<default>"},
        // The first of duplicate keys, and only the first section of a name.
        {"duplicates.ini", "A", "key", "first"},
        {"duplicates.ini", "a", "late", "<default>"},
        {"duplicates.ini", "B", "x", "1"},
        // Trimming and quotes.
        {"values.ini", "S", "padded", "value with spaces"},
        {"values.ini", "S", "dq", "quoted value"},
        {"values.ini", "S", "sq", "single"},
        {"values.ini", "S", "mixed", "\"open'"},
        {"values.ini", "S", "lone", "\""},
        {"values.ini", "S", "inner", "a \"b\" c"},
        {"values.ini", "S", "empty", ""},
        {"values.ini", "S", "noequals", "<default>"},
        {"values.ini", "S", "tab", "tabbed"},
        {"values.ini", "S", "absent", "<default>"},
        {"values.ini", "Absent", "dq", "<default>"},
        // Line endings, the end of the file, a byte-order mark.
        {"crlf.ini", "Win", "B", "two"},
        {"crlf.ini", "Next", "C", "3"},
        {"no_final_newline.ini", "End", "last", "value"},
        {"bom.ini", "First", "k", "v"},
        {"bom.ini", "Second", "k", "w"},
        // Headers: untrimmed names, text after ']', a header with no ']'.
        {"headers.ini", "Spaced", "in", "<default>"},
        {"headers.ini", " Spaced ", "in", "1"},
        {"headers.ini", "Tail", "t", "2"},
        {"headers.ini", "Tail", "[Broken", "<default>"},
        {"headers.ini", "Tail", "after", "3"},
        {"headers.ini", "", "empty", "4"},
        {"missing.ini", "S", "k", "<default>"},
    };
    for (ValueCase const& c : cases) {
        SCOPED_TRACE(std::string(c.file) + " [" + c.section + "] " + c.key);
        char buffer[64] = "untouched";
        std::uint32_t const n = GetPrivateProfileStringA(c.section, c.key, "<default>  ", buffer,
                                                         sizeof buffer, Corpus(c.file).c_str());
        EXPECT_STREQ(buffer, c.expected);
        EXPECT_EQ(n, std::string(c.expected).size());
    }
}

TEST(ProfileCorpusTest, ListsNumbersAndTruncation) {
    struct ListCase {
        char const* file;
        char const* section; // null: the section names
        char const* expected;
    } const lists[] = {
        {"comments.ini", nullptr, "General|Paths|"},
        {"comments.ini", "General", "# a hash line is a key|# note|Name|"},
        {"duplicates.ini", nullptr, "A|b|a|"},
        {"duplicates.ini", "A", "key|KEY|"},
        {"values.ini", "S",
         "padded|dq|sq|mixed|lone|inner|empty|noequals|tab|number|negative|"
         "quotednumber|"},
        {"headers.ini", nullptr, " Spaced |Tail|"},
        {"bom.ini", nullptr, "First|Second|"},
        {"missing.ini", nullptr, ""},
    };
    for (ListCase const& c : lists) {
        SCOPED_TRACE(c.file);
        char buffer[256];
        std::uint32_t const n = GetPrivateProfileStringA(c.section, nullptr, "dflt", buffer,
                                                         sizeof buffer, Corpus(c.file).c_str());
        EXPECT_EQ(ListOf(buffer, n), c.expected);
        EXPECT_EQ(buffer[n], '\0');
    }
    std::string const comments = Corpus("comments.ini");
    char buffer[256];
    // An empty key list is answered with the default.
    EXPECT_EQ(GetPrivateProfileStringA("Absent", nullptr, "dflt", buffer, 256, comments.c_str()),
              4u);
    EXPECT_STREQ(buffer, "dflt");
    // A list cut short: its last name cut, two NULs, size - 2.
    EXPECT_EQ(GetPrivateProfileStringA(nullptr, nullptr, nullptr, buffer, 11, comments.c_str()),
              9u);
    EXPECT_EQ(std::string(buffer, 11), std::string("General\0P\0\0", 11));
    EXPECT_EQ(GetPrivateProfileSectionNamesA(buffer, 256, comments.c_str()), 14u);
    // A value cut to size - 1.
    EXPECT_EQ(GetPrivateProfileStringA("Paths", "Root", "", buffer, 5, comments.c_str()), 4u);
    EXPECT_STREQ(buffer, "/opt");
    EXPECT_EQ(GetPrivateProfileStringA("Paths", "Root", "", buffer, 0, comments.c_str()), 0u);
    // The section's entries as written, comments left out.
    EXPECT_EQ(
        ListOf(buffer, GetPrivateProfileSectionA("Win", buffer, 256, Corpus("crlf.ini").c_str())),
        "A=1|B=two|");
    // Numbers.
    std::string const values = Corpus("values.ini");
    EXPECT_EQ(static_cast<std::int32_t>(GetPrivateProfileIntA("S", "number", 9, values.c_str())),
              12);
    EXPECT_EQ(static_cast<std::int32_t>(GetPrivateProfileIntA("S", "negative", 9, values.c_str())),
              -7);
    EXPECT_EQ(GetPrivateProfileIntA("S", "quotednumber", 9, values.c_str()), 42u);
    EXPECT_EQ(GetPrivateProfileIntA("S", "dq", 9, values.c_str()), 0u);
    EXPECT_EQ(GetPrivateProfileIntA("S", "empty", 9, values.c_str()), 9u);
    EXPECT_EQ(static_cast<std::int32_t>(GetPrivateProfileIntA("S", "absent", -3, values.c_str())),
              -3);
}

TEST_F(ProfileTest, AMegabyteFileReadsItsFirstAndLastKeys) {
    std::string text = "[Big]\r\n";
    for (int i = 0; text.size() < (1u << 20); ++i)
        text += "key" + std::to_string(i) + " = value number " + std::to_string(i) + "\r\n";
    text += "[After]\r\nlast=end\r\n";
    fs::path const path = dir_ / "big.ini";
    WriteAll(path, text);
    char buffer[64];
    GetPrivateProfileStringA("big", "KEY0", "", buffer, sizeof buffer, path.c_str());
    EXPECT_STREQ(buffer, "value number 0");
    GetPrivateProfileStringA("After", "last", "", buffer, sizeof buffer, path.c_str());
    EXPECT_STREQ(buffer, "end");
}

TEST_F(ProfileTest, WritesKeepEverythingElseByteForByte) {
    fs::path const path = dir_ / "edit.ini";
    std::string const file = path.string();
    WriteAll(path, "; top\r\n[One]\r\n  Alpha = 1 ; not a comment\r\n# kept\r\n\r\n"
                   "[Two]\r\nb=2\r\n");
    // An existing key keeps its spelling; a new one follows the last entry.
    EXPECT_EQ(WritePrivateProfileStringA("one", "ALPHA", "10", file.c_str()), 1);
    EXPECT_EQ(WritePrivateProfileStringA("ONE", "gamma", "3", file.c_str()), 1);
    EXPECT_EQ(WritePrivateProfileStringA("Three", "c", "x y", file.c_str()), 1);
    EXPECT_EQ(ReadAll(path), "; top\r\n[One]\r\nAlpha=10\r\n# kept\r\ngamma=3\r\n\r\n"
                             "[Two]\r\nb=2\r\n[Three]\r\nc=x y\r\n");
    // A null value deletes the key, a null key the section.
    EXPECT_EQ(WritePrivateProfileStringA("One", "# kept", nullptr, file.c_str()), 1);
    EXPECT_EQ(WritePrivateProfileStringA("Two", nullptr, nullptr, file.c_str()), 1);
    EXPECT_EQ(WritePrivateProfileStringA("Two", "absent", nullptr, file.c_str()), 1);
    EXPECT_EQ(ReadAll(path), "; top\r\n[One]\r\nAlpha=10\r\ngamma=3\r\n\r\n[Three]\r\nc=x y\r\n");
    EXPECT_EQ(WritePrivateProfileStringA(nullptr, "k", "v", file.c_str()), 0);

    // A file that ends without a newline, or uses bare LF, keeps that form.
    WriteAll(path, "[A]\nk=1");
    WritePrivateProfileStringA("A", "j", "2", file.c_str());
    WritePrivateProfileStringA("A", "k", "3", file.c_str());
    EXPECT_EQ(ReadAll(path), "[A]\nk=3\nj=2");
    WritePrivateProfileStringA("B", "m", "4", file.c_str());
    EXPECT_EQ(ReadAll(path), "[A]\nk=3\nj=2\n[B]\nm=4\n");

    // A missing file is made with CRLF; deleting from one makes nothing.
    fs::path const fresh = dir_ / "fresh.ini";
    EXPECT_EQ(WritePrivateProfileStringA("S", "k", nullptr, fresh.c_str()), 1);
    EXPECT_FALSE(fs::exists(fresh));
    EXPECT_EQ(WritePrivateProfileStringA("S", "k", "v", fresh.c_str()), 1);
    EXPECT_EQ(ReadAll(fresh), "[S]\r\nk=v\r\n");
    // No temporary file is left beside them; a folder that is missing fails.
    EXPECT_EQ(std::distance(fs::directory_iterator(dir_), fs::directory_iterator()), 2);
    EXPECT_EQ(WritePrivateProfileStringA("S", "k", "v", (dir_ / "no/such.ini").c_str()), 0);
}

TEST_F(ProfileTest, TwoProcessesWritingAtOnceLoseNoWrite) {
    constexpr int kWrites = 200;
    fs::path const path = dir_ / "shared.ini";
    EXPECT_TRUE(EachChildSucceeds(2, [&path](int p) {
        int failures = 0;
        for (int i = 0; i < kWrites; ++i) {
            std::string const key = "p" + std::to_string(p) + "_" + std::to_string(i);
            failures += WritePrivateProfileStringA("Shared", key.c_str(), std::to_string(i).c_str(),
                                                   path.c_str()) != 1;
        }
        return failures == 0 ? 0 : 1;
    }));
    std::set<std::string> keys;
    char buffer[8192];
    std::uint32_t const n =
        GetPrivateProfileStringA("Shared", nullptr, "", buffer, sizeof buffer, path.c_str());
    for (std::uint32_t at = 0; at < n;
         at += static_cast<std::uint32_t>(std::strlen(buffer + at)) + 1)
        keys.insert(buffer + at);
    EXPECT_EQ(keys.size(), 2u * kWrites);
    EXPECT_EQ(GetPrivateProfileIntA("Shared", "p1_199", -1, path.c_str()), 199u);
}

// Long path names on a file system with no short ones, and the user's home.
#include <platform/paths.h>
#include <platform/registry.h>
#include <platform/userhome.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using platform::GetLongPathNameA;

// Sets or unsets the variables for one test and puts them back after it.
class Environment {
public:
    void Set(char const* name, char const* value) {
        char const* old = std::getenv(name);
        saved_.push_back({name, old != nullptr ? std::optional<std::string>(old) : std::nullopt});
        value != nullptr ? ::setenv(name, value, 1) : ::unsetenv(name);
    }
    ~Environment() {
        for (auto it = saved_.rbegin(); it != saved_.rend(); ++it)
            it->second ? ::setenv(it->first, it->second->c_str(), 1) : ::unsetenv(it->first);
    }

private:
    std::vector<std::pair<char const*, std::optional<std::string>>> saved_;
};

TEST(LongPathTest, AnExistingPathComesBackAsWrittenAMissingOneFails) {
    namespace fs = std::filesystem;
    fs::path const dir =
        fs::path(::testing::TempDir()) / ("longpath_" + std::to_string(::getpid()));
    fs::create_directories(dir / "real-folder");
    std::ofstream(dir / "real-folder" / "plan~2.hdx") << "plan";
    fs::create_directory_symlink("real-folder", dir / "linked-folder");
    std::string const d = dir.string();
    struct Case {
        std::string path;
        std::uint32_t expected; // 0: fails, and the buffer keeps the path
    };
    Case const cases[] = {
        {d + "/linked-folder/plan~2.hdx", static_cast<std::uint32_t>(d.size() + 25)},
        {d + "/real-folder/../linked-folder/plan~2.hdx", static_cast<std::uint32_t>(d.size() + 40)},
        {d + "/linked-folder/", static_cast<std::uint32_t>(d.size() + 15)},
        {d + "/linked-folder/missing~1.hdx", 0},
        {d + "/no-folder/plan~2.hdx", 0},
    };
    for (Case const& c : cases) {
        char buffer[platform::LongPathLimit] = {};
        EXPECT_EQ(GetLongPathNameA(c.path.c_str(), buffer, sizeof buffer), c.expected) << c.path;
        EXPECT_EQ(buffer, c.path);
    }
    fs::remove_all(dir);
}

TEST(PathsTest, LongPathsOfTheHomeAndTheTemporaryFolder) {
    char buffer[1024];
    std::string const home = ::testing::TempDir() + "home_" + std::to_string(::getpid());
    ::mkdir(home.c_str(), 0700);
    Environment env;
    env.Set("HOME", home.c_str());
    std::string const real = home + "/";
    EXPECT_EQ(GetLongPathNameA("~/", buffer, sizeof buffer), real.size());
    EXPECT_EQ(buffer, real);
    EXPECT_EQ(GetLongPathNameA("~/missing/x", buffer, sizeof buffer), 0u);
    EXPECT_STREQ(buffer, "~/missing/x"); // left as it was
    char tiny[4];
    EXPECT_EQ(GetLongPathNameA("~/", tiny, sizeof tiny), real.size() + 1);
    ::rmdir(home.c_str());

    env.Set("TMPDIR", "/var/tmp");
    EXPECT_EQ(platform::GetTempPathA(sizeof buffer, buffer), 9u);
    EXPECT_STREQ(buffer, "/var/tmp/");
    env.Set("TMPDIR", nullptr);
    platform::GetTempPathA(sizeof buffer, buffer);
    EXPECT_STREQ(buffer, "/tmp/");
}

TEST(UserHome, HomeFirstThenThePasswordEntryNeverASharedFolder) {
    passwd const* entry = ::getpwuid(::getuid());
    ASSERT_NE(entry, nullptr);
    std::string const fromEntry = entry->pw_dir;
    struct Case {
        char const* home;
        std::string expected;
    };
    // A relative HOME names no place of the user's own either.
    for (Case const& c : {Case{"/home/elsewhere", "/home/elsewhere"}, Case{nullptr, fromEntry},
                          Case{"", fromEntry}, Case{"relative", fromEntry}}) {
        Environment env;
        env.Set("HOME", c.home);
        env.Set("XDG_CONFIG_HOME", nullptr);
        env.Set(platform::kRegistryPathVariable, nullptr);
        EXPECT_EQ(platform::UserHome(), c.expected) << (c.home ? c.home : "(unset)");
        EXPECT_EQ(platform::RegistryDatabasePath(), c.expected + "/.config/orveltech/registry.db");
    }
}

} // namespace

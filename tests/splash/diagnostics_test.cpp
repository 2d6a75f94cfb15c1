#include <splash/diagnostics.h>

#include <platform/registry.h>

#include <support/files.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

using namespace splash;

namespace {

using namespace platform;

class DiagnosticsTest : public ::testing::Test {
protected:
    void SetUp() override {
        ::setenv(kRegistryPathVariable, (dir_ + "/registry.db").c_str(), 1);
        ::setenv("TMPDIR", dir_.c_str(), 1);
    }
    void TearDown() override {
        ::unsetenv(kRegistryPathVariable);
        ::unsetenv("TMPDIR");
    }
    void SetLogPath(std::string const& path) {
        HKEY key = nullptr;
        ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "Software\\Orveltech", 0, nullptr, 0,
                                  KEY_ALL_ACCESS, nullptr, &key, nullptr),
                  0);
        ASSERT_EQ(RegSetValueExA(key, "LogPath", 0, REG_SZ,
                                 reinterpret_cast<std::uint8_t const*>(path.c_str()),
                                 static_cast<std::uint32_t>(path.size() + 1)),
                  0);
        RegCloseKey(key);
    }
    test_support::ScratchDir scratch_;
    std::string const dir_ = scratch_.path().string();
};

} // namespace

TEST_F(DiagnosticsTest, NoSettingMeansNoFileAnywhere) {
    SplashLog(CPString("nothing"));
    CPString path("x");
    EXPECT_FALSE(GetDiagnosticsLogPath(path));
    EXPECT_EQ(path.Length(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(std::filesystem::path(dir_)) ||
                !std::filesystem::exists(dir_ + "/orvelsplash.log"));
    EXPECT_STREQ(DefaultDiagnosticsLogPath().GetBuffer(), (dir_ + "/orvelsplash.log").c_str());
}

TEST_F(DiagnosticsTest, RecordsAppendInOrderEachEndingInANul) {
    std::string const log = dir_ + "/splash.log";
    SetLogPath(log);
    SplashLog(CPString("first"));
    SplashLog(CPString("second"));
    std::string const content = test_support::ReadAll(log);
    ASSERT_GE(content.size(), 2u);
    // Two records, each: LF, message, " at ", ctime line, the clock line, NUL.
    std::size_t const firstEnd = content.find('\0');
    ASSERT_NE(firstEnd, std::string::npos);
    std::string const first = content.substr(0, firstEnd);
    std::string const second = content.substr(firstEnd + 1);
    EXPECT_EQ(first.rfind("\nfirst at ", 0), 0u);
    EXPECT_EQ(second.rfind("\nsecond at ", 0), 0u);
    EXPECT_NE(first.find("\nWall-clock time at ms: "), std::string::npos);
    EXPECT_EQ(first.back(), '\n');
    EXPECT_EQ(second.back(), '\0');
    EXPECT_EQ(std::count(content.begin(), content.end(), '\0'), 2);
}

TEST_F(DiagnosticsTest, UnwritableOrUnreadableSettingsWriteNothing) {
    SetLogPath(dir_ + "/no-such-folder/splash.log");
    SplashLog(CPString("lost"));
    EXPECT_FALSE(std::filesystem::exists(dir_ + "/no-such-folder"));

    // A store that may not be read: the setting answers true with no path.
    ::setenv(kRegistryPathVariable, "/proc/no-such-dir/registry.db", 1);
    CPString path("x");
    EXPECT_TRUE(ReadLogPathSetting(path));
    EXPECT_EQ(path.Length(), 1); // left as it was: nothing read
    EXPECT_TRUE(GetDiagnosticsLogPath(path));
    EXPECT_EQ(path.Length(), 0);
    SplashLog(CPString("denied"));
}

// Long path names on a file system with no short ones.
#include <platform/paths.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

using platform::GetLongPathNameA;

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

} // namespace

// Whole-file reads and writes of bytes, names in the temporary folder that
// belong to one test of one run, and a private folder removed with
// everything in it at the end.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <unistd.h>

namespace test_support {

inline std::string ReadAll(std::string const& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
}

inline void WriteAll(std::string const& path, std::string const& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// The run's token: the first process's id, which a death test's child, run
// afresh from the same environment, inherits. Runs of other builds on the
// same machine take other names.
inline std::string const& RunToken() {
    static std::string const token = [] {
        if (char const* inherited = std::getenv("SORVANE_TEST_RUN")) return std::string(inherited);
        std::string made = std::to_string(::getpid());
        ::setenv("SORVANE_TEST_RUN", made.c_str(), 1);
        return made;
    }();
    return token;
}

// The same in a death test's child as in its parent.
inline std::string TestFileName(std::string const& what) {
    auto const* info = ::testing::UnitTest::GetInstance()->current_test_info();
    return ::testing::TempDir() + "sorvane_" + RunToken() + "_" + info->test_suite_name() + "_" +
           info->name() + "_" + what;
}

class ScratchDir {
public:
    ScratchDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "sorvane-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "mkdtemp";
        path_ = pattern;
    }
    ~ScratchDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchDir(ScratchDir const&) = delete;
    ScratchDir& operator=(ScratchDir const&) = delete;

    std::filesystem::path const& path() const { return path_; }
    std::string Path(std::string const& name) const { return (path_ / name).string(); }
    std::string operator/(std::string const& name) const { return Path(name); }

private:
    std::filesystem::path path_;
};

} // namespace test_support

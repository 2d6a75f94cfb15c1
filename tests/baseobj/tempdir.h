// A private folder for one test's files, removed with everything in it at the
// end, and whole-file reads and writes of bytes.
#pragma once

#include <support/files.h>

#include <string>

namespace baseobj_test {

using TempDir = test_support::ScratchDir;

// A path that is the same in a death test's child, which runs the test again
// from its start in a fresh process: named by the test.
inline std::string FixedPath(std::string const& name) {
    return test_support::TestFileName(name);
}

inline std::string ReadBytes(std::string const& path) {
    return test_support::ReadAll(path);
}

inline void WriteBytes(std::string const& path, std::string const& bytes) {
    test_support::WriteAll(path, bytes);
}

} // namespace baseobj_test

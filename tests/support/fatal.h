// The status a test's parent sees when a fatal check ends the child: the low
// byte of kDeadFocc, all that a Linux exit status keeps. And the report log a
// child writes: the child points the reporter at a file named by the test,
// runs the statement and ends with the status expected; the parent reads it.
#pragma once

#include <util/exceptions.h>

#include <support/files.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

inline constexpr int kFatalStatus = kDeadFocc & 0xFF;

namespace test_support {

// Fixed per test and run: the threadsafe death-test child runs the test
// again in a fresh process and must reach the same file.
inline std::string ReportPath() {
    return TestFileName("report.log");
}

// The log the statement writes in a child that ends with the status given (a
// statement that comes back ends the child with 0).
inline std::string ChildReport(std::function<void()> const& statement, int status = kFatalStatus) {
    std::string const path = ReportPath();
    std::remove(path.c_str());
    EXPECT_EXIT(
        {
            Exceptions::_get_gexeptnsThe()._set_szFilePath(path.c_str());
            statement();
            std::exit(0);
        },
        ::testing::ExitedWithCode(status), "");
    std::string log = ReadAll(path);
    std::remove(path.c_str());
    return log;
}

// The statement ends the process through a fatal check whose report line
// holds lead (e.g. "Warning: assertion failed in cpcoll/cplist", or nothing)
// and ends with the condition text.
inline void ExpectFatalReport(std::function<void()> const& statement, std::string const& text,
                              std::string const& lead = "") {
    std::string const log = ChildReport(statement);
    std::size_t const at = lead.empty() ? 0 : log.find(lead + " at line ");
    ASSERT_NE(at, std::string::npos) << log;
    EXPECT_NE(log.find(" : " + text + "\n", at), std::string::npos) << log;
}

} // namespace test_support

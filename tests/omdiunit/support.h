// What the unit tests share: the library built afresh for each test, with or
// without a user unit file, and the text of the last FWError thrown.
#pragma once

#include <omdiunit/omdiunit.h>
#include <omdiunit/unitpriv.h>
#include <util/exceptions.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <unistd.h>

namespace omdiunit_test {

// The text of the FWError that f throws, or "no error".
template <class F> std::string ThrownText(F f) {
    try {
        f();
    } catch (FWError const&) {
        return FWError::ErrorString();
    }
    return "no error";
}

// A user unit file that lives for the test.
class UserFile {
public:
    explicit UserFile(std::string const& text)
        : path(::testing::TempDir() + "units" + std::to_string(::getpid()) + ".txt") {
        std::ofstream(path) << text;
    }
    ~UserFile() { std::remove(path.c_str()); }
    std::string path;
};

// The built-in tables, built again for each test.
class UnitsTest : public ::testing::Test {
protected:
    void SetUp() override {
        UnitUnInitialize();
        UnitInitialize(nullptr);
    }
    void TearDown() override { UnitUnInitialize(); }
};

} // namespace omdiunit_test

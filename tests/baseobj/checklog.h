// A fatal check seen from outside: the statement runs in a child that keeps
// a report log, and the log must name the check's text.
#pragma once

#include <platform/msgbox.h>
#include <support/fatal.h>
#include <support/recording_box.h>
#include <util/exceptions.h>

#include "tempdir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace baseobj_test {

template <class Statement> void ExpectCheckFails(Statement statement, std::string const& check) {
    std::string const path = FixedPath("checks.log");
    std::remove(path.c_str());
    EXPECT_EXIT(
        {
            static RecordingBox box;
            platform::MessageBoxSeam().Replace(&box);
            Exceptions::_get_gexeptnsThe()._set_szFilePath(path.c_str());
            statement();
        },
        ::testing::ExitedWithCode(kFatalStatus), "");
    std::string const log = ReadBytes(path);
    EXPECT_NE(log.find(" : " + check + "\n"), std::string::npos) << "no check " << check << " in\n"
                                                                 << log;
    std::remove(path.c_str());
}

} // namespace baseobj_test

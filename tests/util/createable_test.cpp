// A Release of an object nobody holds is the fatal check, never a wrap of
// the count that would keep the object for good.
#include <util/createable.h>

#include <support/fatal.h>

#include <gtest/gtest.h>

namespace {

TEST(Createable, ReleaseOfAnUnheldObjectIsTheFatalCheck) {
    EXPECT_EXIT(Createable().Release(), ::testing::ExitedWithCode(kFatalStatus), "");
}

} // namespace

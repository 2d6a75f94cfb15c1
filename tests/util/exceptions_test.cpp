#include <util/exceptions.h>

#include <platform/msgbox.h>
#include <support/fatal.h>
#include <support/recording_box.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using ::testing::ExitedWithCode;

// Boxes go to standard error between markers, where the death test's
// pattern sees them.
void UseMarkedBox() {
    static RecordingBox box(RecordingBox::Echo::ToStandardError);
    platform::MessageBoxSeam().Replace(&box);
}

using test_support::ReadAll;

Exceptions& The() {
    return Exceptions::_get_gexeptnsThe();
}

} // namespace

TEST(ExceptionsDeathTest, EveryCheckEndsTheProcessWithItsReport) {
    // Without a report path the four that append name an empty path.
    EXPECT_EXIT(
        (UseMarkedBox(), The().FailIfNIL("a.cpp", 12, "pWidget")), ExitedWithCode(kFatalStatus),
        "BOX\\[Sorvane Exception\\|16\\]<Sorvane Exception: NIL Pointer Fail: File:: a.cpp  "
        "Line 12 : pWidget\nError report written to: >");
    EXPECT_EXIT((UseMarkedBox(), The().FailIfNotNIL("b.cpp", 7, "pOld")),
                ExitedWithCode(kFatalStatus), "expected NIL Pointer: File:: b.cpp  Line 7 : pOld");
    EXPECT_EXIT((UseMarkedBox(), The().WarnIfNIL("c.cpp", 1, "p")), ExitedWithCode(kFatalStatus),
                "NIL pointer Warn: File:: c.cpp  Line 1 : p");
    EXPECT_EXIT((UseMarkedBox(), The().CritAssert("d.cpp", 99, "n > 0")),
                ExitedWithCode(kFatalStatus),
                "Crit Assertion Failed: File:: d.cpp  Line 99 : n > 0");
    // Assert loses its own text: with no path the box is empty.
    EXPECT_EXIT((UseMarkedBox(), The().Assert("e.cpp", 5, "x")), ExitedWithCode(kFatalStatus),
                "BOX\\[Sorvane Exception\\|16\\]<>");
    // The helpers report the call site.
    EXPECT_EXIT((UseMarkedBox(), SV_ASSERT(1 == 0, "1==0")), ExitedWithCode(kFatalStatus), "BOX");
    EXPECT_EXIT(
        (UseMarkedBox(), The().RuntimeError("f.cpp", 3, "ignored")), ExitedWithCode(255),
        "BOX\\[Sorvane Runtime Error\\|16\\]<Runtime exception in module:: f.cpp  Line 3\n>");
}

TEST(ExceptionsDeathTest, AssertWithReportPathShowsOnlyThePathAndLogsTheLine) {
    std::string const path = test_support::TestFileName("assert.log");
    EXPECT_EXIT(
        {
            UseMarkedBox();
            The()._set_szFilePath(path.c_str());
            The().Assert("g.cpp", 41, "pfnCondFunc !=0");
        },
        ExitedWithCode(kFatalStatus),
        "BOX\\[Sorvane Exception\\|16\\]<Error report written to: .*assert\\.log>");
    std::string const log = ReadAll(path);
    EXPECT_NE(log.find("Warning: assertion failed in g.cpp at line 41 : pfnCondFunc !=0\n"),
              std::string::npos)
        << log;
    std::remove(path.c_str());
}

TEST(ExceptionsTest, FailIfNilWithoutTextComesBack) {
    The().FailIfNIL("h.cpp", 1, nullptr);
    The().FailIfNIL(nullptr, 1, "p");
    SUCCEED();
}

TEST(ExceptionsDeathTest, FailIfNotNilWithoutTextStillEnds) {
    EXPECT_EXIT(The().FailIfNotNIL("h.cpp", 1, nullptr), ExitedWithCode(kFatalStatus), "");
}

TEST(ExceptionsTest, LogLinesAppearOnlyWithAPathAndAsWritten) {
    std::string const path = test_support::TestFileName("messages.log");
    // The reporter's state is process-wide: the log is made in a child.
    EXPECT_EXIT(
        {
            The().Message("before the path"); // no log yet: nothing
            The()._set_szFilePath(path.c_str());
            The().Message("x");
            The().OPMessage(0, "disabled");
            The().OPMessage(1, "enabled");
            The().MessageN(255, "count");
            The().OPMessageN(1, -1, "minus");
            The().Comment("i.cpp", 8, "note");
            The().CommentN("i.cpp", 9, 16, "n=");
            The().Message(nullptr);
            std::exit(0);
        },
        ExitedWithCode(0), "");
    std::string const log = ReadAll(path);
    std::remove(path.c_str());
    std::string const body = log.substr(log.find("\n", 1) + 1); // after the time stamp
    EXPECT_EQ(log.rfind("\nSystem Time Stamp ", 0), 0u);
    EXPECT_EQ(body, "\nMessage: \"x\n"
                    "Message: \"enabled\n"
                    "Message: \"count 255 (0xff)\n"
                    "Message: \"minus -1 (0xffffffff)\n"
                    "Comment: \"note\" in i.cpp at line 8\n"
                    "Comment: \"n= 16 (0x10)\" in i.cpp at line 9\n");
}

TEST(FWErrorTest, LatestConstructionWinsAndResetClears) {
    try {
        throw FWError(1344, "Inequivalent units", "unitpriv.cpp", 10);
    } catch (FWError const&) {
        FWError second("Other", "omdiunit.cpp", 20); // overwrites before the catcher reads
        EXPECT_STREQ(FWError::ErrorString(), "Other omdiunit.cpp 20\n");
        EXPECT_EQ(FWError::ErrorNumber(), -1);
    }
    FWError(7, "x.cpp", 3);
    EXPECT_STREQ(FWError::ErrorString(), "Error 7 x.cpp 3\n");
    EXPECT_EQ(FWError::ErrorNumber(), 7);
    FWError(5, "text", "y.cpp", 4);
    EXPECT_STREQ(FWError::ErrorString(), "text 5 y.cpp 4\n");
    FWError::Reset();
    EXPECT_STREQ(FWError::ErrorString(), "");
    EXPECT_EQ(FWError::ErrorNumber(), 0);
}

TEST(FWErrorDeathTest, TextPastItsBlockEndsTheProcess) {
    std::string const longText(300, 'u');
    EXPECT_EXIT(FWError(longText.c_str(), "z.cpp", 1), ExitedWithCode(kFatalStatus),
                "nLength < 256");
}

#include <util/errcont.h>
#include <util/exceptions.h>
#include <util/logobj.h>

#include <platform/msgbox.h>
#include <platform/syserror.h>
#include <support/fatal.h>
#include <support/recording_box.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <unistd.h>

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

class Exposed : public Win32ErrorContainer {
public:
    using ErrorContainer::AugmentstrError;
};

// Compiles only while the container shares one Createable with its siblings.
class Sibling : public virtual Createable {};
class Both : public ErrorContainer, public Sibling {};

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

TEST(ExceptionsDeathTest, FailIfNilWithoutTextComesBackFailIfNotNilStillEnds) {
    The().FailIfNIL("h.cpp", 1, nullptr);
    The().FailIfNIL(nullptr, 1, "p");
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

TEST(LogObjTest, EachObjectEmptiesTheFileAndFlushesEveryItem) {
    std::string const path = ::testing::TempDir() + "logobj" + std::to_string(::getpid());
    {
        std::ofstream old(path);
        old << std::string(5000, 'o');
    }
    LogObj::_set_nMaxSizeKB(1u << 20); // makes no difference: the open empties it anyway
    std::int16_t const before = LogObj::_get_nFileCount();
    {
        LogObj log(path.c_str());
        EXPECT_EQ(LogObj::_get_nFileCount(), before + 1);
        // A line feed, the stamp, ctime's 24 characters with its own line
        // break, and one more line feed.
        std::string const head = ReadAll(path);
        std::string const lead = "\nSystem Time Stamp ";
        ASSERT_EQ(head.size(), lead.size() + 24 + 2) << head;
        EXPECT_EQ(head.substr(0, lead.size()), lead);
        EXPECT_EQ(head[lead.size() + 13], ':');
        EXPECT_EQ(head.substr(head.size() - 2), "\n\n");

        log << 'c' << 42 << " text " << 2.5 << static_cast<unsigned long>(7);
        // On disk before the object goes.
        std::string const content = ReadAll(path);
        EXPECT_EQ(content.substr(content.size() - 13), "c42 text 2.57");
    }
    EXPECT_EQ(LogObj::_get_nFileCount(), before + 1); // never counted down

    LogObj second(path.c_str());
    EXPECT_EQ(ReadAll(path).find("c42"), std::string::npos);
    std::remove(path.c_str());

    // A path that cannot be opened writes nothing and does not fail.
    LogObj lost("/nonexistent-folder/x/report.log");
    lost << "lost" << 1 << static_cast<char const*>(nullptr);
}

TEST(ErrorContainer, WithNoErrorAnswersTheSharedEmptyString) {
    ErrorContainer first;
    ErrorContainer second;
    CPString dest("stale");
    CPString& empty = first._get_strError(&dest);
    EXPECT_EQ(dest.Length(), 0);
    EXPECT_EQ(empty.Length(), 0);
    EXPECT_EQ(&second._get_strError(nullptr), &empty);

    char out[8] = "keep";
    EXPECT_STREQ(first._get_strError_As_sz(out), "");
    EXPECT_STREQ(out, "keep");
}

TEST(ErrorContainer, SetFormatAndAugmentReplaceOrExtendTheText) {
    Exposed container;
    EXPECT_STREQ(container.AugmentstrError("made").GetBuffer(), "made");
    container._set_strError(CPString("first"));
    CPString dest;
    EXPECT_STREQ(container._get_strError(&dest).GetBuffer(), "first");
    EXPECT_STREQ(dest.GetBuffer(), "first");

    container.FormatErrorMessage("x", 255);
    char out[32] = {};
    EXPECT_STREQ(container._get_strError_As_sz(out), "x : 0xff");
    EXPECT_STREQ(out, "x : 0xff");
    container.FormatErrorMessage("open", 0xFFFFFFFF);
    container.AugmentstrError(CPString(" failed"));
    EXPECT_STREQ(container._get_strError(nullptr).GetBuffer(), "open : 0xffffffff failed");
}

TEST(ErrorContainer, CountedLifetimeFreesTheErrorText) {
    ErrorContainer{}._get_strError(nullptr); // the shared empty string, made once
    std::uint32_t const before = Createable::_get_ulInstanceCount();
    auto* both = new Both;
    both->AddRef();
    both->_set_strError("gone with its holder");
    EXPECT_EQ(both->Release(), 0);
    EXPECT_EQ(Createable::_get_ulInstanceCount(), before);
}

TEST(Win32ErrorContainer, AnswersTheSystemTextOrWhyThereIsNone) {
    CPString unused;
    CPString* text = Win32ErrorContainer::Win32ErrorString(ENOENT, unused);
    EXPECT_EQ(text->_get_nRefCount(), 1);
    EXPECT_STREQ(text->GetBuffer(), std::strerror(ENOENT));
    text->Release();

    text = Win32ErrorContainer::Win32ErrorString(100000, unused);
    std::string const expected = "Failed to get Win32 Error Message for 100000.  Reason: " +
                                 std::to_string(platform::ERROR_MR_MID_NOT_FOUND);
    EXPECT_STREQ(text->GetBuffer(), expected.c_str());
    text->Release();
    // The code prints as the signed word it is on the system.
    text = Win32ErrorContainer::Win32ErrorString(0xFFFFFFFF, unused);
    EXPECT_EQ(std::strncmp(text->GetBuffer(), "Failed to get Win32 Error Message for -1.", 41), 0);
    text->Release();
}

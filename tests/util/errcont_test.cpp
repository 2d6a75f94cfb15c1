#include <util/errcont.h>

#include <platform/syserror.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

class Exposed : public Win32ErrorContainer {
public:
    using ErrorContainer::AugmentstrError;
};

// Compiles only while the container shares one Createable with its siblings.
class Sibling : public virtual Createable {};
class Both : public ErrorContainer, public Sibling {};

} // namespace

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

// The mail session against an SMTP sink of the tests' own on loopback, set
// up through a registry store of the test's own.
#include "inet_support.h"

#include <baseobj/mapisession.h>
#include <platform/mail.h>
#include <platform/registry.h>
#include <support/fatal.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

using namespace inet_test;

// A temporary lives to the end of the call that reads it.
char* Mutable(std::string&& text) {
    return text.data();
}

void SetValue(char const* name, std::string const& text) {
    platform::HKEY key = nullptr;
    ASSERT_EQ(platform::RegCreateKeyExA(platform::HKEY_CURRENT_USER, platform::kMailSettingsKey, 0,
                                        nullptr, 0, platform::KEY_ALL_ACCESS, nullptr, &key,
                                        nullptr),
              0);
    platform::RegSetValueExA(key, name, 0, platform::REG_SZ,
                             reinterpret_cast<std::uint8_t const*>(text.c_str()),
                             static_cast<std::uint32_t>(text.size() + 1));
    platform::RegCloseKey(key);
}

// Reaches the counts and buffers that Send makes.
struct Descriptions : MAPISession {
    using MAPISession::FreeRecips;
    using MAPISession::SetupAttachments;
    using MAPISession::SetupRecips;
};

class MailTest : public ::testing::Test {
protected:
    void SetUp() override {
        ::setenv(platform::kRegistryPathVariable, (dir / "registry.db").c_str(), 1);
        // No credentials of the user's own reach the sink.
        home_ = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
        ::setenv("HOME", dir.path().c_str(), 1);
    }
    void TearDown() override {
        ::unsetenv(platform::kRegistryPathVariable);
        ::setenv("HOME", home_.c_str(), 1);
    }
    void PointAt(Server const& smtp) {
        SetValue(platform::kMailServerValue, "smtp://" + smtp.Address());
        SetValue(platform::kMailSenderValue, "sender@example.test");
    }
    std::string Mail(int n) const { return ReadAll(dir / ("mail-" + std::to_string(n) + ".json")); }

    ScratchDir dir;
    std::string home_;
};

} // namespace

TEST_F(MailTest, WithoutSettingsEveryOperationAnswersFalse) {
    {
        MAPISession session;
        EXPECT_EQ(session._get_bInitialized(), 0);
        EXPECT_EQ(session.Logon(), 0);
        EXPECT_EQ(session.Send(Mutable("a@example.test"), Mutable("s"), Mutable("b"), nullptr), 0);
        EXPECT_EQ(session.Logoff(), 0);
    }
    // A server without a sender is no set-up either.
    SetValue(platform::kMailServerValue, "smtp://127.0.0.1:1");
    MAPISession session;
    EXPECT_EQ(session._get_bInitialized(), 0);
}

TEST_F(MailTest, SendsRecipientsSubjectBodyAndAttachments) {
    Server smtp{{"smtp", dir.path().string()}};
    ASSERT_GT(smtp.port(), 0);
    PointAt(smtp);
    std::string const binary("\x00\x01\xff\r\n\x80 end", 10);
    WriteAll(dir / "report.bin", binary);
    WriteAll(dir / "notes.txt", "plain notes\n");

    MAPISession session;
    ASSERT_EQ(session._get_bInitialized(), 1);
    ASSERT_EQ(session.Logon(), 1);
    char subject[] = "Licence reminder", body[] = "Dear user,\r\nyour licence ends soon.\r\n";
    std::string const files = dir / "report.bin" + ";" + dir / "notes.txt";
    ASSERT_EQ(session.Send(Mutable("a@example.test;b@example.test"), subject, body,
                           Mutable(std::string(files))),
              1);
    EXPECT_EQ(session.Logoff(), 1);
    EXPECT_EQ(session.Logoff(), 0);

    // The sink's summary, its byte strings in hexadecimal.
    std::string const mail = Mail(1);
    for (char const* expected : {
             R"("from": "sender@example.test")",
             R"("rcpt": ["a@example.test", "b@example.test"])",
             R"("subject": "Licence reminder")",
             R"("text": "Dear user,\r\nyour licence ends soon.\r\n")",
             R"("report.bin": "0001ff0d0a8020656e64")",
             R"("notes.txt": "706c61696e206e6f7465730a")",
         })
        EXPECT_NE(mail.find(expected), std::string::npos) << expected << "\nin " << mail;

    // Without Logon and without attachments the mail goes too.
    MAPISession again;
    ASSERT_EQ(again.Send(Mutable("c@example.test"), subject, body, nullptr), 1);
    EXPECT_NE(Mail(2).find(R"("attachments": {})"), std::string::npos) << Mail(2);
}

TEST_F(MailTest, RefusalsAndMissingPartsAnswerFalse) {
    Server smtp{{"smtp", dir.path().string(), "sender@example.test"}};
    ASSERT_GT(smtp.port(), 0);
    PointAt(smtp);
    MAPISession session;
    EXPECT_EQ(session.Logon(), 1);
    // Refused by the sink, no subject, no recipient, an attachment missing.
    char to[] = "a@example.test", subject[] = "s", body[] = "b", empty[] = "";
    EXPECT_EQ(session.Send(to, subject, body, nullptr), 0);
    EXPECT_EQ(session.Send(to, empty, body, nullptr), 0);
    EXPECT_EQ(session.Send(nullptr, subject, body, nullptr), 0);
    EXPECT_EQ(session.Send(to, subject, body, Mutable(dir / "missing.bin")), 0);

    // Nobody listening: no greeting.
    SetValue(platform::kMailServerValue, "smtp://127.0.0.1:1");
    MAPISession nowhere;
    EXPECT_EQ(nowhere.Logon(), 0);
}

TEST(MailDescriptionsTest, CountsFollowTheListAndStayInTheArray) {
    struct Case {
        char const* list;
        unsigned long count;
        unsigned long made;
    } const cases[] = {
        {"a", 1, 1},
        {"a;b", 2, 2},
        {"a;", 2, 2}, // a trailing ';' makes one empty name
        {"a;b;c;d;e;f;g;h;i;j", 10, 10},
        {"a;b;c;d;e;f;g;h;i;j;k", 11, 10},   // the eleventh is counted, not made
        {"a;b;c;d;e;f;g;h;i;j;k;l", 12, 10}, // one too high
        {"a;b;c;d;e;f;g;h;i;j;k;l;m;n", 12, 10},
    };
    for (Case const& c : cases) {
        // A guard slot past the ten stays untouched.
        MapiRecipDesc recips[MAPISession::kMaxRecips + 1] = {};
        EXPECT_EQ(Descriptions::SetupRecips(recips, MAPISession::kMaxRecips, Mutable(c.list)),
                  c.count)
            << c.list;
        unsigned long made = 0;
        while (made < MAPISession::kMaxRecips && recips[made].lpszName != nullptr)
            ++made;
        EXPECT_EQ(made, c.made) << c.list;
        EXPECT_EQ(recips[MAPISession::kMaxRecips].lpszName, nullptr) << c.list;
        EXPECT_EQ(recips[0].ulRecipClass, MAPISession::MAPI_TO);
        EXPECT_STREQ(recips[0].lpszName, "a");
        Descriptions::FreeRecips(recips, MAPISession::kMaxRecips);
    }
}

TEST(MailDescriptionsDeathTest, NameLongerThanItsBufferEndsTheProcess) {
    MapiRecipDesc recips[MAPISession::kMaxRecips] = {};
    EXPECT_EXIT(Descriptions::SetupRecips(recips, MAPISession::kMaxRecips,
                                          Mutable(std::string(MAPISession::kNameSize, 'n'))),
                ::testing::ExitedWithCode(kFatalStatus), "");
}

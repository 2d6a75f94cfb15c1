// The HTTP and FTP clients and the mail session against servers of the
// tests' own on loopback; mail is set up through a registry store of the
// test's own.
#include "inet_support.h"

#include <baseobj/inetclient.h>
#include <baseobj/mapisession.h>
#include <platform/internet.h>
#include <platform/mail.h>
#include <platform/registry.h>
#include <platform/syserror.h>

#include <support/fatal.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace inet_test;
using platform::INTERNET_OPTION_RECEIVE_TIMEOUT;

// The clients take texts they do not change as char*; a temporary lives
// to the end of the call.
char* Mutable(std::string&& text) {
    return text.data();
}

// HTTP connections carry no credentials: they come with the challenge.
bool Connect(InternetClient& client, std::string server) {
    return client.ConnectToServer(Mutable(std::move(server)), 3, nullptr, nullptr) == 1;
}

short Login(HttpClient& client, std::string object, std::string* out,
            std::string password = kPassword) {
    return client.GetLoginInfo(Mutable(std::move(object)), Mutable(kUser),
                               Mutable(std::move(password)), *out);
}

// The status of a login and the text it appended.
std::string Answer(HttpClient& client, std::string object, std::string password = kPassword) {
    std::string out;
    short const nStatus = Login(client, std::move(object), &out, std::move(password));
    return std::to_string(nStatus) + " " + out;
}

short Post(HttpClient& client, std::string object, std::string file) {
    return client.Post(Mutable(std::move(object)), Mutable(std::move(file)));
}

class HttpTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_GT(http.port(), 0);
        ASSERT_TRUE(Connect(client, http.Address("http://")));
    }
    ScratchDir dir;
    Server http{{"http", dir.path().string()}};
    HttpClient client;
};

} // namespace

TEST(InternetClientTest, NoConnectionAnswersZeroAndPortsFollowTheService) {
    HttpClient http;
    std::string out = "kept";
    EXPECT_EQ(Post(http, "/x", "/nonexistent"), 0);
    EXPECT_EQ(Login(http, "/x", &out), 0);
    EXPECT_EQ(out, "kept");
    FtpClient ftp;
    char buffer[64] = "stale";
    EXPECT_EQ(ftp.GetWorkingDirectory(buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(ftp.GetFirstDirectoryEntry(buffer), 0);
    EXPECT_EQ(ftp.OpenFile(buffer, platform::GENERIC_READ), 0);
    EXPECT_EQ(ftp.ReadFromFile(buffer, sizeof buffer), 0u);

    // Service 443 is kept as given; the connection is an HTTP one on 443.
    EXPECT_EQ(http.ConnectToServer(Mutable("127.0.0.1"), 443, nullptr, nullptr), 1);
    EXPECT_EQ(http._get_nService(), 443u);
    EXPECT_EQ(http.Disconnect(), 1);
    EXPECT_FALSE(http.IsConnected());
}

TEST_F(HttpTest, ChallengeIsAnsweredOnceAndTheBodyAppended) {
    std::string out = "<";
    EXPECT_EQ(Login(client, "/auth/hello", &out), 200);
    EXPECT_EQ(out, "<welcome user");
    std::string const seen = ReadAll(dir / "last-get.json");
    EXPECT_NE(seen.find("\"agent\": \"InternetClient 1.0\""), std::string::npos) << seen;

    // No challenge: 1, and nothing appended. Else the second answer's status.
    struct Case {
        char const* object;
        char const* password;
        char const* answer;
    } const cases[] = {
        {"/open", kPassword, "1 "},
        {"/missing", kPassword, "1 "},
        {"/auth/hello", "wrong", "401 who are you?"},
        {"/auth/nul", kPassword, "200 before"}, // the text ends at a NUL byte
    };
    for (Case const& c : cases)
        EXPECT_EQ(Answer(client, c.object, c.password), c.answer) << c.object;
}

TEST_F(HttpTest, LongAnswerIsReadWholeInSmallSteps) {
    std::string out;
    EXPECT_EQ(Login(client, "/auth/big", &out), 200);
    ASSERT_EQ(out.size(), 10u * 1024 * 1024);
    // The server's pattern: bytes 1 to 255 over and over.
    for (std::size_t i : {std::size_t{0}, std::size_t{254}, std::size_t{255}, out.size() - 1})
        EXPECT_EQ(static_cast<unsigned char>(out[i]), i % 255 + 1) << i;
}

TEST_F(HttpTest, PostSendsTheFileToItsFirstNulByte) {
    std::string body = "name=a&value=\x01\xff\r\n";
    body += std::string(5000, 'z'); // longer than one step of any buffer
    WriteAll(dir / "expected-post.bin", body);
    WriteAll(dir / "upload.bin", body + std::string(1, '\0') + "after the NUL");
    EXPECT_EQ(Post(client, "/check", dir / "upload.bin"), 201);
    EXPECT_TRUE(ReadAll(dir / "last-post.bin") == body);
    std::string const seen = ReadAll(dir / "last-post.json");
    EXPECT_NE(seen.find("\"cache\": \"no-cache\""), std::string::npos) << seen;

    EXPECT_EQ(Post(client, "/check", dir / "missing.bin"), HttpClient::POST_NO_FILE);
}

TEST_F(HttpTest, RedirectsAreFollowedOnlyOnTheirOwnScheme) {
    WriteAll(dir / "body.txt", "b");
    // To HTTPS: not followed, the redirect is the answer.
    EXPECT_EQ(Post(client, "/redirect?https://127.0.0.1:1/x", dir / "body.txt"), 302);
    // Same scheme: followed, to the challenge and past it.
    EXPECT_EQ(Answer(client, "/redirect?http://" + http.Address() + "/auth/hello"),
              "200 welcome user");
}

TEST_F(HttpTest, FaultsAnswerTheLibraryErrorNumbers) {
    std::string out;
    // The server hangs up after 100 of 1,000 bytes.
    EXPECT_EQ(Login(client, "/cut", &out), platform::ERROR_INTERNET_CONNECTION_ABORTED);

    // A port nobody listens on.
    HttpClient refused;
    ASSERT_TRUE(Connect(refused, "http://127.0.0.1:1"));
    EXPECT_EQ(Login(refused, "/", &out), platform::ERROR_INTERNET_CANNOT_CONNECT);

    HttpClient unknown;
    ASSERT_TRUE(Connect(unknown, "http://no-such-host.invalid"));
    EXPECT_EQ(Login(unknown, "/", &out), platform::ERROR_INTERNET_NAME_NOT_RESOLVED);

    // TLS to a server that speaks plain HTTP.
    HttpClient mismatched;
    ASSERT_TRUE(Connect(mismatched, http.Address()));
    EXPECT_EQ(Answer(mismatched, "/open"),
              std::to_string(platform::ERROR_INTERNET_SECURITY_CHANNEL_ERROR) + " ");
}

TEST(HttpTimeoutTest, ServerThatNeverAnswersTimesOut) {
    Server silent{{"silent"}};
    ASSERT_GT(silent.port(), 0);
    // A short receive time-out for the sessions opened from here on.
    std::uint32_t const twoSeconds = 2000, standard = platform::kDefaultTransferTimeoutMs;
    ASSERT_TRUE(platform::InternetSetOptionA(nullptr, INTERNET_OPTION_RECEIVE_TIMEOUT, &twoSeconds,
                                             sizeof twoSeconds));
    HttpClient client;
    platform::InternetSetOptionA(nullptr, INTERNET_OPTION_RECEIVE_TIMEOUT, &standard,
                                 sizeof standard);
    ASSERT_TRUE(Connect(client, silent.Address("http://")));
    auto const start = std::chrono::steady_clock::now();
    std::string out;
    EXPECT_EQ(Login(client, "/", &out), platform::ERROR_INTERNET_TIMEOUT);
    // Well within the connect and receive time-outs that would apply by default.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
}

TEST(HttpsTest, NameMismatchIsToleratedButTheChainIsChecked) {
    ScratchDir dir;
    Certificates const certs(dir);
    ASSERT_TRUE(certs.made) << "openssl could not make the test certificates";
    Server trusted{{"http", dir.path().string(), certs.serverCert, certs.serverKey}};
    Server stranger{{"http", dir.path().string(), certs.strangerCert, certs.strangerKey}};
    ASSERT_GT(trusted.port(), 0);
    ASSERT_GT(stranger.port(), 0);
    ::setenv(platform::kCaBundleVariable, certs.caCert.c_str(), 1);

    // The certificate names sorvane-test.invalid; we ask 127.0.0.1.
    HttpClient client;
    ASSERT_TRUE(Connect(client, trusted.Address()));
    EXPECT_EQ(Answer(client, "/auth/hello"), "200 welcome user");
    // HTTPS to HTTP is not followed either.
    EXPECT_EQ(Answer(client, "/redirect?http://" + trusted.Address() + "/auth/hello"), "1 ");
    std::string out;

    HttpClient untrusted;
    ASSERT_TRUE(Connect(untrusted, stranger.Address()));
    EXPECT_EQ(Login(untrusted, "/auth/hello", &out), platform::ERROR_INTERNET_INVALID_CA);

    // Without the test authority the signed certificate is no better.
    ::unsetenv(platform::kCaBundleVariable);
    EXPECT_EQ(Login(client, "/auth/hello", &out), platform::ERROR_INTERNET_INVALID_CA);
}

namespace {

short ConnectFtp(FtpClient& client, Server const& ftp, std::string password = kPassword) {
    return client.ConnectToServer(Mutable(ftp.Address()), platform::INTERNET_SERVICE_FTP,
                                  Mutable(kUser), Mutable(std::move(password)));
}

// Every entry of the current directory as GetFirst/GetNext give them.
std::vector<std::string> Listing(FtpClient& client) {
    std::vector<std::string> names;
    char entry[300];
    if (client.GetFirstDirectoryEntry(entry) == 0) return {entry};
    do
        names.push_back(entry);
    while (client.GetNextDirectoryEntry(entry) == 1);
    EXPECT_STREQ(entry, "");
    std::sort(names.begin(), names.end());
    return names;
}

class FtpTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_GT(ftp.port(), 0);
        ASSERT_EQ(ConnectFtp(client, ftp), 1);
    }
    fs::path root() const { return dir.path() / "root"; }
    std::string Local(std::string const& name) const { return dir / name; }

    ScratchDir dir;
    bool made = fs::create_directory(root()); // before the server serves it
    Server ftp{{"ftp", root().string()}};
    FtpClient client;
};

std::string Binary(std::size_t size) {
    std::string data(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        data[i] = static_cast<char>(i * 7 + i / 251);
    return data;
}

} // namespace

TEST_F(FtpTest, FilesGoUpAndComeBackAndMoveAbout) {
    std::string const data = Binary(300000); // NUL bytes and CR LF pairs survive
    WriteAll(Local("up.bin"), data);
    ASSERT_EQ(client.PutFile(Mutable(Local("up.bin")), Mutable("up.bin")), 1);
    EXPECT_TRUE(ReadAll((root() / "up.bin").string()) == data);

    std::string const back = Local("down.bin");
    ASSERT_EQ(client.RenameFile(Mutable("up.bin"), Mutable("moved.bin")), 1);
    ASSERT_EQ(client.GetFile(Mutable("moved.bin"), Mutable(Local("down.bin"))), 1);
    EXPECT_TRUE(ReadAll(back) == data);
    EXPECT_EQ(client.GetFile(Mutable("up.bin"), Mutable(Local("down.bin"))), 0); // old name
    EXPECT_EQ(platform::GetLastError(), platform::ERROR_INTERNET_EXTENDED_ERROR);
    EXPECT_TRUE(ReadAll(back) == data) << "a failed fetch leaves the local file alone";

    ASSERT_EQ(client.DeleteFileA(Mutable("moved.bin")), 1);
    EXPECT_FALSE(fs::exists(root() / "moved.bin"));
    EXPECT_EQ(client.DeleteFileA(Mutable("moved.bin")), 0);
    EXPECT_EQ(client.PutFile(Mutable(Local("missing.bin")), Mutable("up.bin")), 0);

    // An empty file comes back as an empty file.
    WriteAll((root() / "empty.txt").string(), "");
    ASSERT_EQ(client.GetFile(Mutable("empty.txt"), Mutable(Local("empty.txt"))), 1);
    EXPECT_TRUE(fs::exists(Local("empty.txt")));
}

TEST_F(FtpTest, DirectoriesAndListings) {
    EXPECT_EQ(Listing(client), std::vector<std::string>{"Directory Empty"});
    char cwd[64];
    ASSERT_EQ(client.GetWorkingDirectory(cwd, sizeof cwd), 1);
    EXPECT_STREQ(cwd, "/");

    ASSERT_EQ(client.MakeDirectory(Mutable("sub")), 1);
    ASSERT_EQ(client.MakeDirectory(Mutable("sub/empty")), 1);
    WriteAll((root() / "a file.txt").string(), "x");
    WriteAll((root() / "sub" / "inner.txt").string(), "y");
    EXPECT_EQ(Listing(client), (std::vector<std::string>{"a file.txt", "sub <DIR>"}));

    ASSERT_EQ(client.SetWorkingDirectory(Mutable("sub")), 1);
    ASSERT_EQ(client.GetWorkingDirectory(cwd, sizeof cwd), 1);
    EXPECT_STREQ(cwd, "/sub");
    EXPECT_EQ(Listing(client), (std::vector<std::string>{"empty <DIR>", "inner.txt"}));
    ASSERT_EQ(client.SetWorkingDirectory(Mutable("empty")), 1);
    EXPECT_EQ(Listing(client), std::vector<std::string>{"Directory Empty"});

    // A directory that is not there, and a buffer too small, leave it empty.
    EXPECT_EQ(client.SetWorkingDirectory(Mutable("nowhere")), 0);
    char tiny[4] = "abc";
    EXPECT_EQ(client.GetWorkingDirectory(tiny, sizeof tiny), 0);
    EXPECT_STREQ(tiny, "");
    ASSERT_EQ(client.SetWorkingDirectory(Mutable("../..")), 1);
    ASSERT_EQ(client.GetWorkingDirectory(cwd, sizeof cwd), 1);
    EXPECT_STREQ(cwd, "/");

    // After the end of a listing there is no search: the output stays.
    char entry[300];
    ASSERT_EQ(client.GetFirstDirectoryEntry(entry), 1);
    while (client.GetNextDirectoryEntry(entry) == 1) {
    }
    std::strcpy(entry, "untouched");
    EXPECT_EQ(client.GetNextDirectoryEntry(entry), 0);
    EXPECT_STREQ(entry, "untouched");

    EXPECT_EQ(client.RemoveDirectoryA(Mutable("sub")), 0); // not empty
    ASSERT_EQ(client.RemoveDirectoryA(Mutable("sub/empty")), 1);
    EXPECT_FALSE(fs::exists(root() / "sub" / "empty"));
}

TEST_F(FtpTest, OpenFileReadsAndWritesAndAWrongPasswordIsRefused) {
    std::string const data = Binary(1000);
    ASSERT_EQ(client.OpenFile(Mutable("stream.bin"), platform::GENERIC_WRITE), 1);
    EXPECT_EQ(client.WriteToFile(Mutable(data.substr(0, 600)), 600), 600u);
    EXPECT_EQ(client.WriteToFile(Mutable(data.substr(600)), 400), 400u);
    ASSERT_EQ(client.CloseFile(), 1);
    EXPECT_TRUE(ReadAll((root() / "stream.bin").string()) == data);

    ASSERT_EQ(client.OpenFile(Mutable("stream.bin"), platform::GENERIC_READ), 1);
    std::string back;
    char chunk[256];
    while (unsigned long n = client.ReadFromFile(chunk, sizeof chunk))
        back.append(chunk, n);
    EXPECT_TRUE(back == data);
    EXPECT_EQ(client.WriteToFile(chunk, 1), 0u); // opened for reading
    EXPECT_EQ(client.CloseFile(), 1);
    EXPECT_EQ(client.CloseFile(), 0);

    EXPECT_EQ(client.OpenFile(Mutable("missing.bin"), platform::GENERIC_READ), 0);
    EXPECT_EQ(client.ReadFromFile(chunk, sizeof chunk), 0u);

    // A wrong password is refused at connection.
    FtpClient stranger;
    EXPECT_EQ(ConnectFtp(stranger, ftp, "wrong"), 0);
    EXPECT_EQ(platform::GetLastError(), platform::ERROR_INTERNET_INCORRECT_PASSWORD);
}

TEST(FtpListTest, ServersWithoutTheMachineListingAreListedToo) {
    ScratchDir dir;
    fs::create_directories(dir.path() / "root" / "sub");
    Server ftp{{"ftp", (dir.path() / "root").string(), "nomlsd"}};
    ASSERT_GT(ftp.port(), 0);
    WriteAll((dir.path() / "root" / "two  spaces.txt").string(), "12345");
    FtpClient client;
    ASSERT_EQ(ConnectFtp(client, ftp), 1);
    EXPECT_EQ(Listing(client), (std::vector<std::string>{"sub <DIR>", "two  spaces.txt"}));
    ASSERT_EQ(client.SetWorkingDirectory(Mutable("sub")), 1);
    EXPECT_EQ(Listing(client), std::vector<std::string>{"Directory Empty"});
}

// The mail session, set up through a registry store of the test's own.
namespace {

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

TEST(MailDescriptionsDeathTest, CountsFollowTheListStayInTheArrayAndANameMustFitItsBuffer) {
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
    MapiRecipDesc recips[MAPISession::kMaxRecips] = {};
    EXPECT_EXIT(Descriptions::SetupRecips(recips, MAPISession::kMaxRecips,
                                          Mutable(std::string(MAPISession::kNameSize, 'n'))),
                ::testing::ExitedWithCode(kFatalStatus), "");
}

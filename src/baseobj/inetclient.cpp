#include <baseobj/inetclient.h>

#include <baseobj/fileobject.h>
#include <platform/syserror.h>

#include <cstring>
#include <string>

using namespace platform;

namespace {

constexpr char kAgent[] = "InternetClient 1.0";
constexpr std::uint32_t kPostFlags =
    INTERNET_FLAG_RELOAD | INTERNET_FLAG_SECURE | INTERNET_FLAG_IGNORE_CERT_CN_INVALID |
    INTERNET_FLAG_IGNORE_REDIRECT_TO_HTTP | INTERNET_FLAG_IGNORE_REDIRECT_TO_HTTPS;
constexpr std::uint32_t kGetFlags =
    (kPostFlags & ~INTERNET_FLAG_RELOAD) | INTERNET_FLAG_NO_CACHE_WRITE;
static_assert(kPostFlags == 0x8080D000u && kGetFlags == 0x0480D000u);
constexpr std::uint32_t kStatusQuery = HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER;
// Credentials are handed over with this length, whatever the text.
constexpr std::uint32_t kCredentialLength = 5;
constexpr std::uint32_t kReadStep = 0x32;
constexpr char kDirectoryEmpty[] = "Directory Empty";
constexpr char kDirectoryMark[] = " <DIR>";
constexpr char kAllFiles[] = "*.*";
// The attribute word of a fetched file.
constexpr std::uint32_t kFetchedAttributes = 0x80000000;

struct ServicePort {
    unsigned long service;
    std::uint16_t port;
    std::uint32_t connectService;
};

constexpr ServicePort kServicePorts[] = {
    {2, 70, INTERNET_SERVICE_GOPHER},
    {3, 80, INTERNET_SERVICE_HTTP},
    {443, 443, INTERNET_SERVICE_HTTP},
};
constexpr std::uint16_t kOtherPort = 21;

// Closes a request handle on every way out.
class RequestHandle {
public:
    explicit RequestHandle(HINTERNET handle) : handle_(handle) {}
    ~RequestHandle() {
        if (handle_ != nullptr) InternetCloseHandle(handle_);
    }
    RequestHandle(RequestHandle const&) = delete;
    RequestHandle& operator=(RequestHandle const&) = delete;
    HINTERNET get() const { return handle_; }

private:
    HINTERNET handle_;
};

// The status as a number, or the error that stopped the query.
short QueryStatus(HINTERNET request) {
    std::uint32_t code = 0;
    std::uint32_t size = sizeof code;
    if (!HttpQueryInfoA(request, kStatusQuery, &code, &size, nullptr))
        return static_cast<short>(GetLastError());
    return static_cast<short>(code);
}

std::uint32_t StatusOf(HINTERNET request, bool* ok) {
    std::uint32_t code = 0;
    std::uint32_t size = sizeof code;
    *ok = HttpQueryInfoA(request, kStatusQuery, &code, &size, nullptr);
    return code;
}

// The body in steps of up to 50 bytes until a read gives none, appended to
// out up to its first NUL byte; false, with out as it was, when a read fails.
bool ReadBody(HINTERNET request, std::string* out) {
    std::size_t const before = out->size();
    bool ended = false;
    char step[kReadStep];
    for (;;) {
        std::uint32_t read = 0;
        if (!InternetReadFile(request, step, kReadStep, &read)) {
            out->resize(before);
            return false;
        }
        if (read == 0) return true;
        if (ended) continue;
        auto const* nul = static_cast<char const*>(std::memchr(step, '\0', read));
        out->append(step, nul != nullptr ? static_cast<std::size_t>(nul - step) : read);
        ended = nul != nullptr;
    }
}

} // namespace

// ---------------------------------------------------------------------------
// InternetClient

InternetClient::InternetClient()
    : hSession(InternetOpenA(kAgent, INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, 0)) {}

InternetClient::~InternetClient() {
    Disconnect();
    if (hSession != nullptr) InternetCloseHandle(hSession);
}

short InternetClient::ConnectToServer(char* server, unsigned long service, char* user,
                                      char* password) {
    nService = static_cast<std::uint32_t>(service);
    std::uint16_t port = kOtherPort;
    auto connectService = static_cast<std::uint32_t>(service);
    for (ServicePort const& entry : kServicePorts) {
        if (entry.service == service) {
            port = entry.port;
            connectService = entry.connectService;
        }
    }
    // A second connection replaces the first.
    Disconnect();
    hConnection = InternetConnectA(hSession, server, port, user, password, connectService, 0, 0);
    return hConnection != nullptr ? 1 : 0;
}

short InternetClient::Disconnect() {
    if (hConnection != nullptr) InternetCloseHandle(hConnection);
    hConnection = nullptr;
    return 1;
}

// ---------------------------------------------------------------------------
// HttpClient

short HttpClient::Post(char* object, char* file) {
    if (hConnection == nullptr) return 0;
    RequestHandle const request(
        HttpOpenRequestA(hConnection, "POST", object, nullptr, nullptr, nullptr, kPostFlags, 0));
    if (request.get() == nullptr) return POST_NO_REQUEST;
    // The length is not used: the body runs to the text's first NUL byte.
    std::int32_t length = 0;
    char* buffer = FileObject::CreateBuffer(file, 0, &length);
    if (buffer == nullptr) return POST_NO_FILE;
    bool const sent = HttpSendRequestA(request.get(), nullptr, 0, buffer,
                                       static_cast<std::uint32_t>(std::strlen(buffer)));
    FileObject::DeleteBuffer(buffer);
    if (!sent) return static_cast<short>(GetLastError());
    return QueryStatus(request.get());
}

short HttpClient::GetLoginInfo(char* object, char* user, char* password, std::string& strOut) {
    if (hConnection == nullptr) return 0;
    RequestHandle const request(
        HttpOpenRequestA(hConnection, "GET", object, nullptr, nullptr, nullptr, kGetFlags, 0));
    if (request.get() == nullptr) return 0;
    if (!HttpSendRequestA(request.get(), nullptr, 0, nullptr, 0))
        return static_cast<short>(GetLastError());
    short result = 1;
    bool ok = false;
    if (StatusOf(request.get(), &ok) != 401 || !ok) return result;
    InternetSetOptionA(request.get(), INTERNET_OPTION_USERNAME, user, kCredentialLength);
    InternetSetOptionA(request.get(), INTERNET_OPTION_PASSWORD, password, kCredentialLength);
    if (!HttpSendRequestA(request.get(), nullptr, 0, nullptr, 0)) return result;
    // The whole body is kept, however long; the text ends at its first NUL.
    if (!ReadBody(request.get(), &strOut)) return 0;
    std::uint32_t const status = StatusOf(request.get(), &ok);
    if (ok) result = static_cast<short>(status);
    return result;
}

// ---------------------------------------------------------------------------
// FtpClient

FtpClient::FtpClient() = default;

FtpClient::~FtpClient() {
    if (hSearch != nullptr) InternetCloseHandle(hSearch);
    if (hFile != nullptr) InternetCloseHandle(hFile);
}

short FtpClient::GetFile(char* remote, char* local) {
    if (hConnection == nullptr) return 0;
    return FtpGetFileA(hConnection, remote, local, false, kFetchedAttributes,
                       FTP_TRANSFER_TYPE_BINARY, 0)
               ? 1
               : 0;
}

short FtpClient::PutFile(char* local, char* remote) {
    if (hConnection == nullptr) return 0;
    return FtpPutFileA(hConnection, local, remote, FTP_TRANSFER_TYPE_BINARY, 0) ? 1 : 0;
}

short FtpClient::DeleteFileA(char* name) {
    if (hConnection == nullptr) return 0;
    return FtpDeleteFileA(hConnection, name) ? 1 : 0;
}

short FtpClient::RenameFile(char* from, char* to) {
    if (hConnection == nullptr) return 0;
    return FtpRenameFileA(hConnection, from, to) ? 1 : 0;
}

short FtpClient::OpenFile(char* name, unsigned long access) {
    if (hConnection == nullptr) return 0;
    // The file before is closed, not lost.
    CloseFile();
    hFile = FtpOpenFileA(hConnection, name, static_cast<std::uint32_t>(access),
                         FTP_TRANSFER_TYPE_BINARY, 0);
    return hFile != nullptr ? 1 : 0;
}

short FtpClient::CloseFile() {
    if (hConnection == nullptr || hFile == nullptr) return 0;
    bool const closed = InternetCloseHandle(hFile);
    hFile = nullptr;
    return closed ? 1 : 0;
}

unsigned long FtpClient::ReadFromFile(char* buffer, unsigned long size) {
    if (hConnection == nullptr) return 0;
    std::uint32_t read = 0;
    if (!InternetReadFile(hFile, buffer, static_cast<std::uint32_t>(size), &read)) return 0;
    return read;
}

unsigned long FtpClient::WriteToFile(char* buffer, unsigned long size) {
    if (hConnection == nullptr) return 0;
    std::uint32_t written = 0;
    if (!InternetWriteFile(hFile, buffer, static_cast<std::uint32_t>(size), &written)) return 0;
    return written;
}

short FtpClient::SetWorkingDirectory(char* directory) {
    if (hConnection == nullptr) return 0;
    return FtpSetCurrentDirectoryA(hConnection, directory) ? 1 : 0;
}

short FtpClient::GetWorkingDirectory(char* buffer, unsigned long size) {
    if (buffer != nullptr && size != 0) buffer[0] = '\0';
    if (hConnection == nullptr) return 0;
    auto length = static_cast<std::uint32_t>(size);
    if (FtpGetCurrentDirectoryA(hConnection, buffer, &length)) return 1;
    if (buffer != nullptr && size != 0) buffer[0] = '\0';
    return 0;
}

short FtpClient::MakeDirectory(char* directory) {
    if (hConnection == nullptr) return 0;
    return FtpCreateDirectoryA(hConnection, directory) ? 1 : 0;
}

short FtpClient::RemoveDirectoryA(char* directory) {
    if (hConnection == nullptr) return 0;
    return FtpRemoveDirectoryA(hConnection, directory) ? 1 : 0;
}

void FtpClient::EntryText(char* pszOut) const {
    std::strcpy(pszOut, findData.cFileName);
    if (findData.dwFileAttributes == FILE_ATTRIBUTE_DIRECTORY) std::strcat(pszOut, kDirectoryMark);
}

short FtpClient::GetFirstDirectoryEntry(char* pszOut) {
    if (hConnection == nullptr) return 0;
    // A listing not read to its end is closed, not lost.
    if (hSearch != nullptr) InternetCloseHandle(hSearch);
    hSearch = FtpFindFirstFileA(hConnection, kAllFiles, &findData, 0, 0);
    if (hSearch == nullptr) {
        if (GetLastError() == ERROR_NO_MORE_FILES) std::strcpy(pszOut, kDirectoryEmpty);
        return 0;
    }
    EntryText(pszOut);
    return 1;
}

short FtpClient::GetNextDirectoryEntry(char* pszOut) {
    if (hConnection == nullptr || hSearch == nullptr) return 0;
    if (!InternetFindNextFileA(hSearch, &findData)) {
        pszOut[0] = '\0';
        InternetCloseHandle(hSearch);
        hSearch = nullptr;
        return 0;
    }
    EntryText(pszOut);
    return 1;
}

#include <platform/internet.h>

#include <platform/registry.h>
#include <platform/syserror.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <curl/curl.h>

#include "curlfunctions.h"

#include <fnmatch.h>
#include <sys/stat.h>

namespace platform {

// ---------------------------------------------------------------------------
// Handles

struct InternetObject {
    enum class Kind { Session, Connection, Request, File, Find };
    explicit InternetObject(Kind kindIn) : kind(kindIn) {}
    virtual ~InternetObject() = default;
    InternetObject(InternetObject const&) = delete;
    InternetObject& operator=(InternetObject const&) = delete;
    Kind const kind;
};

namespace {

constexpr long kMaxRedirects = 10;
// Large receive buffers: fewer, longer appends for long answers.
constexpr long kReceiveBuffer = 256 * 1024;
constexpr std::uint16_t kHttpPort = 80;
constexpr std::uint16_t kHttpsPort = 443;

std::atomic<std::uint32_t> gConnectTimeoutMs{kDefaultTransferTimeoutMs};
std::atomic<std::uint32_t> gReceiveTimeoutMs{kDefaultTransferTimeoutMs};

// The transfer library loaded and set up, once, before the first handle.
bool TransferLibraryReady() {
    return curl::Library() != nullptr;
}

struct EasyDeleter {
    void operator()(CURL* easy) const { curl::Api().easy_cleanup(easy); }
};
using EasyHandle = std::unique_ptr<CURL, EasyDeleter>;

struct ListDeleter {
    void operator()(curl_slist* list) const { curl::Api().slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, ListDeleter>;

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

struct ErrorMapping {
    CURLcode result;
    std::uint32_t error;
};

// The one table from a transfer's result to the library's error numbers.
constexpr ErrorMapping kErrorTable[] = {
    {CURLE_OPERATION_TIMEDOUT, ERROR_INTERNET_TIMEOUT},
    {CURLE_COULDNT_RESOLVE_HOST, ERROR_INTERNET_NAME_NOT_RESOLVED},
    {CURLE_COULDNT_RESOLVE_PROXY, ERROR_INTERNET_NAME_NOT_RESOLVED},
    {CURLE_COULDNT_CONNECT, ERROR_INTERNET_CANNOT_CONNECT},
    {CURLE_PEER_FAILED_VERIFICATION, ERROR_INTERNET_INVALID_CA},
    {CURLE_SSL_CACERT_BADFILE, ERROR_INTERNET_INVALID_CA},
    {CURLE_SSL_CONNECT_ERROR, ERROR_INTERNET_SECURITY_CHANNEL_ERROR},
    {CURLE_SSL_CERTPROBLEM, ERROR_INTERNET_SECURITY_CHANNEL_ERROR},
    {CURLE_SSL_CIPHER, ERROR_INTERNET_SECURITY_CHANNEL_ERROR},
    {CURLE_UNSUPPORTED_PROTOCOL, ERROR_INTERNET_UNRECOGNIZED_SCHEME},
    {CURLE_URL_MALFORMAT, ERROR_INTERNET_INVALID_URL},
    {CURLE_LOGIN_DENIED, ERROR_INTERNET_INCORRECT_PASSWORD},
    {CURLE_GOT_NOTHING, ERROR_HTTP_INVALID_SERVER_RESPONSE},
    {CURLE_WEIRD_SERVER_REPLY, ERROR_HTTP_INVALID_SERVER_RESPONSE},
    {CURLE_PARTIAL_FILE, ERROR_INTERNET_CONNECTION_ABORTED},
    {CURLE_RECV_ERROR, ERROR_INTERNET_CONNECTION_RESET},
    {CURLE_SEND_ERROR, ERROR_INTERNET_CONNECTION_RESET},
    {CURLE_REMOTE_ACCESS_DENIED, ERROR_INTERNET_EXTENDED_ERROR},
    {CURLE_REMOTE_FILE_NOT_FOUND, ERROR_INTERNET_EXTENDED_ERROR},
    {CURLE_QUOTE_ERROR, ERROR_INTERNET_EXTENDED_ERROR},
    {CURLE_UPLOAD_FAILED, ERROR_INTERNET_EXTENDED_ERROR},
    {CURLE_FTP_COULDNT_RETR_FILE, ERROR_INTERNET_EXTENDED_ERROR},
    {CURLE_FTP_WEIRD_PASV_REPLY, ERROR_INTERNET_EXTENDED_ERROR},
    {CURLE_FTP_COULDNT_USE_REST, ERROR_INTERNET_EXTENDED_ERROR},
    {CURLE_OUT_OF_MEMORY, ERROR_NOT_ENOUGH_MEMORY},
};

// Where a server is, who asks, and how long to wait: what every transfer
// below a connection needs, copied into each handle so that none depends on
// its parent staying open.
struct Endpoint {
    std::string scheme; // "http", "https" or "ftp"; for HTTP the request decides
    bool plainHttp = false;
    std::string host;
    std::uint16_t port = 0;
    std::string user;
    std::string password;
    std::string agent;
    std::uint32_t connectMs = kDefaultTransferTimeoutMs;
    std::uint32_t receiveMs = kDefaultTransferTimeoutMs;

    std::string Origin() const { return scheme + "://" + host + ":" + std::to_string(port); }
};

struct Session final : InternetObject {
    Session() : InternetObject(Kind::Session) {}
    std::string agent;
    std::uint32_t connectMs = gConnectTimeoutMs;
    std::uint32_t receiveMs = gReceiveTimeoutMs;
};

struct Connection final : InternetObject {
    Connection() : InternetObject(Kind::Connection) {}
    Endpoint endpoint;
    std::uint32_t service = 0;
    // FTP: one handle for the commands, so that its control connection stays
    // open between calls; and the directory that names are relative to.
    EasyHandle easy;
    std::string directory = "/";
};

struct Request final : InternetObject {
    Request() : InternetObject(Kind::Request) {}
    Endpoint endpoint;
    std::string verb;
    std::string object;
    std::uint32_t flags = 0;
    EasyHandle easy;
    bool answered = false;
    long status = 0;
    std::string body;
    std::size_t readPos = 0;
};

struct RemoteFile final : InternetObject {
    RemoteFile() : InternetObject(Kind::File) {}
    Endpoint endpoint;
    std::string path;
    bool writing = false;
    std::string data;
    std::size_t readPos = 0;
};

struct Find final : InternetObject {
    Find() : InternetObject(Kind::Find) {}
    std::vector<WIN32_FIND_DATAA> entries;
    std::size_t next = 0;
};

template <class Handle> Handle* As(HINTERNET handle, InternetObject::Kind kind) {
    if (handle == nullptr) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    if (handle->kind != kind) {
        SetLastError(ERROR_INTERNET_INCORRECT_HANDLE_TYPE);
        return nullptr;
    }
    return static_cast<Handle*>(handle);
}

bool Fail(std::uint32_t error) {
    SetLastError(error);
    return false;
}

bool Succeeded(CURLcode result) {
    if (result == CURLE_OK) return true;
    return Fail(InternetErrorFromTransfer(result));
}

std::string Text(char const* text) {
    return text != nullptr ? std::string(text) : std::string();
}

// ---------------------------------------------------------------------------
// Transfers

std::size_t AppendToString(char* data, std::size_t size, std::size_t count, void* target) {
    static_cast<std::string*>(target)->append(data, size * count);
    return size * count;
}

// An answer's body, with room made once for the length the server gives.
struct Answer {
    CURL* easy;
    std::string* body;
    bool sized;
};

constexpr curl_off_t kMaxReserve = curl_off_t{1} << 30;

std::size_t AppendAnswer(char* data, std::size_t size, std::size_t count, void* target) {
    auto* answer = static_cast<Answer*>(target);
    if (!answer->sized) {
        answer->sized = true;
        curl_off_t length = -1;
        curl::Api().easy_getinfo(answer->easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
        if (length > 0 && length <= kMaxReserve)
            answer->body->reserve(static_cast<std::size_t>(length));
    }
    answer->body->append(data, size * count);
    return size * count;
}

long WholeSeconds(std::uint32_t ms) {
    return static_cast<long>((ms + 999) / 1000);
}

// The options every transfer shares: time-outs, credentials, agent, trust.
void ApplyEndpoint(CURL* easy, Endpoint const& endpoint) {
    curl::Api().easy_reset(easy);
    curl::Api().easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl::Api().easy_setopt(easy, CURLOPT_BUFFERSIZE, kReceiveBuffer);
    curl::Api().easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(endpoint.connectMs));
    curl::Api().easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl::Api().easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, WholeSeconds(endpoint.receiveMs));
    curl::Api().easy_setopt(easy, CURLOPT_SERVER_RESPONSE_TIMEOUT,
                            WholeSeconds(endpoint.receiveMs));
    if (!endpoint.user.empty())
        curl::Api().easy_setopt(easy, CURLOPT_USERNAME, endpoint.user.c_str());
    if (!endpoint.password.empty())
        curl::Api().easy_setopt(easy, CURLOPT_PASSWORD, endpoint.password.c_str());
    curl::Api().easy_setopt(easy, CURLOPT_USERAGENT, endpoint.agent.c_str());
    if (char const* bundle = std::getenv(kCaBundleVariable); bundle != nullptr && *bundle != '\0')
        curl::Api().easy_setopt(easy, CURLOPT_CAINFO, bundle);
    curl::Api().easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    curl::Api().easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
}

EasyHandle NewEasy() {
    if (!TransferLibraryReady()) return nullptr;
    return EasyHandle(curl::Api().easy_init());
}

long ResponseCode(CURL* easy) {
    long code = 0;
    curl::Api().easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &code);
    return code;
}

// ---------------------------------------------------------------------------
// HTTP

std::string RequestUrl(Request const& request) {
    std::string url = request.endpoint.plainHttp || (request.flags & INTERNET_FLAG_SECURE) == 0
                          ? "http"
                          : "https";
    url += "://" + request.endpoint.host + ":" + std::to_string(request.endpoint.port);
    if (request.object.empty() || request.object.front() != '/') url += '/';
    return url + request.object;
}

HeaderList RequestHeaders(Request const& request, std::string_view extra) {
    curl_slist* list = nullptr;
    if ((request.flags & INTERNET_FLAG_RELOAD) != 0) {
        list = curl::Api().slist_append(list, "Cache-Control: no-cache");
        list = curl::Api().slist_append(list, "Pragma: no-cache");
    }
    // A body goes at once, without waiting for the server's leave.
    list = curl::Api().slist_append(list, "Expect:");
    while (!extra.empty()) {
        std::size_t const end = extra.find("\r\n");
        std::string const line(extra.substr(0, end));
        if (!line.empty()) list = curl::Api().slist_append(list, line.c_str());
        extra = end == std::string_view::npos ? std::string_view() : extra.substr(end + 2);
    }
    return HeaderList(list);
}

void ApplyVerb(CURL* easy, std::string const& verb, void const* body, std::uint32_t length) {
    if (verb == "GET" && length == 0) {
        curl::Api().easy_setopt(easy, CURLOPT_HTTPGET, 1L);
        return;
    }
    if (verb == "HEAD") {
        curl::Api().easy_setopt(easy, CURLOPT_NOBODY, 1L);
        return;
    }
    curl::Api().easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(length));
    curl::Api().easy_setopt(easy, CURLOPT_COPYPOSTFIELDS, length != 0 ? body : "");
    if (verb != "POST") curl::Api().easy_setopt(easy, CURLOPT_CUSTOMREQUEST, verb.c_str());
}

bool SendRequest(Request& request, std::string_view headers, void const* body,
                 std::uint32_t length) {
    CURL* easy = request.easy.get();
    ApplyEndpoint(easy, request.endpoint);
    std::string const url = RequestUrl(request);
    curl::Api().easy_setopt(easy, CURLOPT_URL, url.c_str());
    HeaderList const list = RequestHeaders(request, headers);
    curl::Api().easy_setopt(easy, CURLOPT_HTTPHEADER, list.get());
    ApplyVerb(easy, request.verb, body, length);
    if ((request.flags & INTERNET_FLAG_IGNORE_CERT_CN_INVALID) != 0)
        curl::Api().easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 0L);
    // Redirects stay on the request's own scheme.
    std::string const scheme = url.substr(0, url.find(':'));
    curl::Api().easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl::Api().easy_setopt(easy, CURLOPT_MAXREDIRS, kMaxRedirects);
    curl::Api().easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, scheme.c_str());
    request.body.clear();
    request.readPos = 0;
    request.answered = false;
    Answer answer{easy, &request.body, false};
    curl::Api().easy_setopt(easy, CURLOPT_WRITEFUNCTION, AppendAnswer);
    curl::Api().easy_setopt(easy, CURLOPT_WRITEDATA, &answer);
    CURLcode const result = curl::Api().easy_perform(easy);
    long const status = ResponseCode(easy);
    // A redirect to the other scheme is the answer itself, not a failure.
    bool const unfollowed = result == CURLE_UNSUPPORTED_PROTOCOL && status >= 300 && status < 400;
    if (result != CURLE_OK && !unfollowed) return Succeeded(result);
    request.status = status;
    request.answered = true;
    return true;
}

bool ReadAnswer(Request& request, void* buffer, std::uint32_t toRead, std::uint32_t* read) {
    if (!request.answered) return Fail(ERROR_INTERNET_INCORRECT_HANDLE_STATE);
    std::size_t const count = std::min<std::size_t>(toRead, request.body.size() - request.readPos);
    if (count != 0) std::memcpy(buffer, request.body.data() + request.readPos, count);
    request.readPos += count;
    *read = static_cast<std::uint32_t>(count);
    return true;
}

// ---------------------------------------------------------------------------
// FTP

// "." and ".." taken out of an absolute path.
std::string Normalised(std::string const& path) {
    std::vector<std::string> parts;
    std::size_t pos = 0;
    while (pos <= path.size()) {
        std::size_t const end = std::min(path.find('/', pos), path.size());
        std::string const part = path.substr(pos, end - pos);
        if (part == "..") {
            if (!parts.empty()) parts.pop_back();
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
        pos = end + 1;
    }
    std::string result;
    for (std::string const& part : parts)
        result += "/" + part;
    return result.empty() ? "/" : result;
}

std::string Resolve(Connection const& connection, char const* name) {
    std::string const text = Text(name);
    if (!text.empty() && text.front() == '/') return Normalised(text);
    return Normalised(connection.directory + "/" + text);
}

// An absolute path as the URL's path: "%2F" keeps it from the login folder.
std::string FtpUrl(CURL* easy, Endpoint const& endpoint, std::string const& path, bool directory) {
    std::string url = endpoint.Origin() + "/%2F";
    std::size_t pos = 1;
    while (pos < path.size()) {
        std::size_t const end = std::min(path.find('/', pos), path.size());
        std::string const part = path.substr(pos, end - pos);
        char* escaped = curl::Api().easy_escape(easy, part.c_str(), static_cast<int>(part.size()));
        if (escaped != nullptr) url += escaped;
        curl::Api().free(escaped);
        pos = end + 1;
        if (pos < path.size()) url += '/';
    }
    if (directory && path != "/") url += '/';
    return url;
}

void ApplyFtp(CURL* easy, Endpoint const& endpoint, std::string const& url) {
    ApplyEndpoint(easy, endpoint);
    curl::Api().easy_setopt(easy, CURLOPT_URL, url.c_str());
    // Full paths in every command: the server's own directory never matters.
    curl::Api().easy_setopt(easy, CURLOPT_FTP_FILEMETHOD, static_cast<long>(CURLFTPMETHOD_NOCWD));
    curl::Api().easy_setopt(easy, CURLOPT_TRANSFERTEXT, 0L);
}

// Commands on the control connection, with no transfer.
bool RunCommands(Connection& connection, std::vector<std::string> const& commands) {
    CURL* easy = connection.easy.get();
    ApplyFtp(easy, connection.endpoint, FtpUrl(easy, connection.endpoint, "/", true));
    curl::Api().easy_setopt(easy, CURLOPT_NOBODY, 1L);
    curl_slist* list = nullptr;
    for (std::string const& command : commands)
        list = curl::Api().slist_append(list, command.c_str());
    HeaderList const quoted(list);
    curl::Api().easy_setopt(easy, CURLOPT_QUOTE, quoted.get());
    return Succeeded(curl::Api().easy_perform(easy));
}

bool Download(CURL* easy, Endpoint const& endpoint, std::string const& path, std::string* data) {
    ApplyFtp(easy, endpoint, FtpUrl(easy, endpoint, path, false));
    curl::Api().easy_setopt(easy, CURLOPT_WRITEFUNCTION, AppendToString);
    curl::Api().easy_setopt(easy, CURLOPT_WRITEDATA, data);
    return Succeeded(curl::Api().easy_perform(easy));
}

struct Upload {
    std::FILE* file = nullptr;
    std::string_view memory;
};

std::size_t ReadUpload(char* buffer, std::size_t size, std::size_t count, void* source) {
    auto* upload = static_cast<Upload*>(source);
    if (upload->file != nullptr) return std::fread(buffer, size, count, upload->file);
    std::size_t const n = std::min(size * count, upload->memory.size());
    std::memcpy(buffer, upload->memory.data(), n);
    upload->memory.remove_prefix(n);
    return n;
}

bool SendUpload(CURL* easy, Endpoint const& endpoint, std::string const& path, Upload& upload,
                curl_off_t size) {
    ApplyFtp(easy, endpoint, FtpUrl(easy, endpoint, path, false));
    curl::Api().easy_setopt(easy, CURLOPT_UPLOAD, 1L);
    curl::Api().easy_setopt(easy, CURLOPT_READFUNCTION, ReadUpload);
    curl::Api().easy_setopt(easy, CURLOPT_READDATA, &upload);
    curl::Api().easy_setopt(easy, CURLOPT_INFILESIZE_LARGE, size);
    return Succeeded(curl::Api().easy_perform(easy));
}

struct LocalDownload {
    std::string path;
    FileHandle file;
    bool failed = false;
};

std::size_t WriteLocal(char* data, std::size_t size, std::size_t count, void* target) {
    auto* local = static_cast<LocalDownload*>(target);
    if (!local->file) local->file.reset(std::fopen(local->path.c_str(), "wb"));
    if (!local->file) {
        local->failed = true;
        return 0;
    }
    return std::fwrite(data, size, count, local->file.get());
}

// One line of a machine listing: "type=dir;size=0;modify=...; name".
bool ParseListingLine(std::string_view line, WIN32_FIND_DATAA* entry) {
    std::size_t const space = line.find(' ');
    if (space == std::string_view::npos) return false;
    std::string_view facts = line.substr(0, space);
    std::string_view const name = line.substr(space + 1);
    if (name.empty() || name.size() >= sizeof entry->cFileName) return false;
    *entry = WIN32_FIND_DATAA{};
    entry->dwFileAttributes = FILE_ATTRIBUTE_NORMAL;
    std::uint64_t size = 0;
    while (!facts.empty()) {
        std::size_t const end = facts.find(';');
        std::string const fact(facts.substr(0, end));
        facts = end == std::string_view::npos ? std::string_view() : facts.substr(end + 1);
        std::string lower = fact;
        std::transform(lower.begin(), lower.end(), lower.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (lower == "type=cdir" || lower == "type=pdir") return false;
        if (lower == "type=dir") entry->dwFileAttributes = FILE_ATTRIBUTE_DIRECTORY;
        if (lower.rfind("size=", 0) == 0) size = std::strtoull(lower.c_str() + 5, nullptr, 10);
    }
    entry->nFileSizeLow = static_cast<std::uint32_t>(size);
    entry->nFileSizeHigh = static_cast<std::uint32_t>(size >> 32);
    std::memcpy(entry->cFileName, name.data(), name.size());
    return true;
}

bool Matches(char const* pattern, char const* name) {
    std::string const glob = Text(pattern);
    if (glob.empty() || glob == "*" || glob == "*.*") return true;
    return ::fnmatch(glob.c_str(), name, 0) == 0;
}

std::string_view NextField(std::string_view* rest) {
    while (!rest->empty() && rest->front() == ' ')
        rest->remove_prefix(1);
    std::size_t const end = std::min(rest->find(' '), rest->size());
    std::string_view const field = rest->substr(0, end);
    rest->remove_prefix(end);
    return field;
}

bool SetEntry(std::string_view name, bool directory, std::uint64_t size, WIN32_FIND_DATAA* entry) {
    while (!name.empty() && name.front() == ' ')
        name.remove_prefix(1);
    if (name.empty() || name == "." || name == ".." || name.size() >= sizeof entry->cFileName)
        return false;
    *entry = WIN32_FIND_DATAA{};
    entry->dwFileAttributes = directory ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
    entry->nFileSizeLow = static_cast<std::uint32_t>(size);
    entry->nFileSizeHigh = static_cast<std::uint32_t>(size >> 32);
    std::memcpy(entry->cFileName, name.data(), name.size());
    return true;
}

// One line of a listing for people, from servers without the machine
// listing: "drwxr-xr-x 2 owner group 4096 Nov 23 09:22 name" or
// "11-23-26  09:22AM  <DIR>  name".
bool ParseListLine(std::string_view line, WIN32_FIND_DATAA* entry) {
    std::string_view rest = line;
    std::string_view const first = NextField(&rest);
    if (first.size() == 10 && std::strchr("-dlbcps", first.front()) != nullptr) {
        std::string_view size;
        for (int field = 1; field <= 7; ++field) {
            std::string_view const value = NextField(&rest);
            if (field == 4) size = value;
        }
        if (first.front() == 'l') rest = rest.substr(0, rest.find(" -> "));
        return SetEntry(rest, first.front() == 'd',
                        std::strtoull(std::string(size).c_str(), nullptr, 10), entry);
    }
    if (first.find('-') == std::string_view::npos || NextField(&rest).empty()) return false;
    std::string_view const kind = NextField(&rest);
    bool const directory = kind == "<DIR>";
    return SetEntry(rest, directory,
                    directory ? 0 : std::strtoull(std::string(kind).c_str(), nullptr, 10), entry);
}

bool ListWith(Connection& connection, char const* command, std::string* listing) {
    CURL* easy = connection.easy.get();
    ApplyFtp(easy, connection.endpoint,
             FtpUrl(easy, connection.endpoint, connection.directory, true));
    curl::Api().easy_setopt(easy, CURLOPT_CUSTOMREQUEST, command);
    curl::Api().easy_setopt(easy, CURLOPT_WRITEFUNCTION, AppendToString);
    curl::Api().easy_setopt(easy, CURLOPT_WRITEDATA, listing);
    return Succeeded(curl::Api().easy_perform(easy));
}

// The machine listing, or the one for people when the server refuses it.
bool ListDirectory(Connection& connection, char const* pattern,
                   std::vector<WIN32_FIND_DATAA>* entries) {
    std::string listing;
    bool machine = ListWith(connection, "MLSD", &listing);
    if (!machine) {
        if (GetLastError() != ERROR_INTERNET_EXTENDED_ERROR) return false;
        listing.clear();
        if (!ListWith(connection, "LIST", &listing)) return false;
    }
    std::string_view rest = listing;
    while (!rest.empty()) {
        std::size_t const end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        WIN32_FIND_DATAA entry;
        bool const parsed = machine ? ParseListingLine(line, &entry) : ParseListLine(line, &entry);
        if (parsed && Matches(pattern, entry.cFileName)) entries->push_back(entry);
    }
    return true;
}

// Logs in, and learns the folder the server starts in.
bool FtpLogin(Connection& connection) {
    CURL* easy = connection.easy.get();
    ApplyFtp(easy, connection.endpoint, connection.endpoint.Origin() + "/");
    curl::Api().easy_setopt(easy, CURLOPT_NOBODY, 1L);
    if (!Succeeded(curl::Api().easy_perform(easy))) return false;
    char* entry = nullptr;
    if (curl::Api().easy_getinfo(easy, CURLINFO_FTP_ENTRY_PATH, &entry) == CURLE_OK &&
        entry != nullptr)
        connection.directory = Normalised(entry);
    return true;
}

// "host", "host:port", or for HTTP "http://host[:port]".
void ParseServer(std::string server, Endpoint* endpoint) {
    constexpr std::string_view kPlain = "http://";
    if (server.rfind(kPlain, 0) == 0) {
        endpoint->plainHttp = true;
        server.erase(0, kPlain.size());
    }
    std::size_t const colon = server.rfind(':');
    if (colon != std::string::npos && server.find(':') == colon && colon + 1 < server.size()) {
        endpoint->port = static_cast<std::uint16_t>(std::atoi(server.c_str() + colon + 1));
        server.erase(colon);
    }
    endpoint->host = server;
}

} // namespace

std::uint32_t InternetErrorFromTransfer(int transferResult) {
    for (ErrorMapping const& mapping : kErrorTable)
        if (mapping.result == transferResult) return mapping.error;
    return ERROR_INTERNET_INTERNAL_ERROR;
}

// ---------------------------------------------------------------------------
// Sessions, connections, options

HINTERNET InternetOpenA(char const* agent, std::uint32_t, char const*, char const*, std::uint32_t) {
    if (!TransferLibraryReady()) {
        SetLastError(ERROR_INTERNET_INTERNAL_ERROR);
        return nullptr;
    }
    auto session = std::make_unique<Session>();
    session->agent = Text(agent);
    return session.release();
}

HINTERNET InternetConnectA(HINTERNET sessionHandle, char const* server, std::uint16_t port,
                           char const* user, char const* password, std::uint32_t service,
                           std::uint32_t, std::uintptr_t) {
    auto* session = As<Session>(sessionHandle, InternetObject::Kind::Session);
    if (session == nullptr) return nullptr;
    if (server == nullptr || *server == '\0') {
        SetLastError(ERROR_INTERNET_INVALID_URL);
        return nullptr;
    }
    auto connection = std::make_unique<Connection>();
    Endpoint& endpoint = connection->endpoint;
    endpoint.port = port;
    ParseServer(server, &endpoint);
    endpoint.user = Text(user);
    endpoint.password = Text(password);
    endpoint.agent = session->agent;
    endpoint.connectMs = session->connectMs;
    endpoint.receiveMs = session->receiveMs;
    connection->service = service;
    if (service != INTERNET_SERVICE_FTP) return connection.release();
    endpoint.scheme = "ftp";
    connection->easy = NewEasy();
    if (!connection->easy) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    if (!FtpLogin(*connection)) return nullptr;
    return connection.release();
}

bool InternetCloseHandle(HINTERNET handle) {
    if (handle == nullptr) return Fail(ERROR_INVALID_HANDLE);
    std::unique_ptr<InternetObject> const owned(handle);
    if (handle->kind != InternetObject::Kind::File) return true;
    auto* file = static_cast<RemoteFile*>(handle);
    if (!file->writing) return true;
    EasyHandle const easy = NewEasy();
    if (!easy) return Fail(ERROR_NOT_ENOUGH_MEMORY);
    Upload upload{nullptr, file->data};
    return SendUpload(easy.get(), file->endpoint, file->path, upload,
                      static_cast<curl_off_t>(file->data.size()));
}

bool InternetSetOptionA(HINTERNET handle, std::uint32_t option, void const* buffer,
                        std::uint32_t length) {
    if (buffer == nullptr || length == 0) return Fail(ERROR_INVALID_PARAMETER);
    bool const timeout =
        option == INTERNET_OPTION_CONNECT_TIMEOUT || option == INTERNET_OPTION_RECEIVE_TIMEOUT;
    if (timeout) {
        if (length < sizeof(std::uint32_t)) return Fail(ERROR_INSUFFICIENT_BUFFER);
        std::uint32_t ms = 0;
        std::memcpy(&ms, buffer, sizeof ms);
        bool const connect = option == INTERNET_OPTION_CONNECT_TIMEOUT;
        if (handle == nullptr) {
            (connect ? gConnectTimeoutMs : gReceiveTimeoutMs) = ms;
            return true;
        }
        auto* session = As<Session>(handle, InternetObject::Kind::Session);
        if (session == nullptr) return false;
        (connect ? session->connectMs : session->receiveMs) = ms;
        return true;
    }
    if (option == INTERNET_OPTION_USERNAME || option == INTERNET_OPTION_PASSWORD) {
        if (handle == nullptr) return Fail(ERROR_INVALID_HANDLE);
        Endpoint* endpoint = handle->kind == InternetObject::Kind::Request
                                 ? &static_cast<Request*>(handle)->endpoint
                             : handle->kind == InternetObject::Kind::Connection
                                 ? &static_cast<Connection*>(handle)->endpoint
                                 : nullptr;
        if (endpoint == nullptr) return Fail(ERROR_INTERNET_INCORRECT_HANDLE_TYPE);
        std::string const text = static_cast<char const*>(buffer);
        (option == INTERNET_OPTION_USERNAME ? endpoint->user : endpoint->password) = text;
        return true;
    }
    return Fail(ERROR_INVALID_PARAMETER);
}

bool InternetReadFile(HINTERNET handle, void* buffer, std::uint32_t toRead, std::uint32_t* read) {
    if (read == nullptr || (buffer == nullptr && toRead != 0)) return Fail(ERROR_INVALID_PARAMETER);
    *read = 0;
    if (handle != nullptr && handle->kind == InternetObject::Kind::Request)
        return ReadAnswer(*static_cast<Request*>(handle), buffer, toRead, read);
    auto* file = As<RemoteFile>(handle, InternetObject::Kind::File);
    if (file == nullptr) return false;
    if (file->writing) return Fail(ERROR_INTERNET_INCORRECT_HANDLE_STATE);
    std::size_t const count = std::min<std::size_t>(toRead, file->data.size() - file->readPos);
    if (count != 0) std::memcpy(buffer, file->data.data() + file->readPos, count);
    file->readPos += count;
    *read = static_cast<std::uint32_t>(count);
    return true;
}

bool InternetWriteFile(HINTERNET handle, void const* buffer, std::uint32_t toWrite,
                       std::uint32_t* written) {
    if (written == nullptr || (buffer == nullptr && toWrite != 0))
        return Fail(ERROR_INVALID_PARAMETER);
    *written = 0;
    auto* file = As<RemoteFile>(handle, InternetObject::Kind::File);
    if (file == nullptr) return false;
    if (!file->writing) return Fail(ERROR_INTERNET_INCORRECT_HANDLE_STATE);
    file->data.append(static_cast<char const*>(buffer), toWrite);
    *written = toWrite;
    return true;
}

// ---------------------------------------------------------------------------
// HTTP requests

HINTERNET HttpOpenRequestA(HINTERNET connectionHandle, char const* verb, char const* object,
                           char const*, char const*, char const**, std::uint32_t flags,
                           std::uintptr_t) {
    auto* connection = As<Connection>(connectionHandle, InternetObject::Kind::Connection);
    if (connection == nullptr) return nullptr;
    if (connection->service != INTERNET_SERVICE_HTTP) {
        SetLastError(ERROR_INTERNET_INCORRECT_HANDLE_TYPE);
        return nullptr;
    }
    auto request = std::make_unique<Request>();
    request->endpoint = connection->endpoint;
    if (request->endpoint.port == 0)
        request->endpoint.port = (flags & INTERNET_FLAG_SECURE) != 0 && !request->endpoint.plainHttp
                                     ? kHttpsPort
                                     : kHttpPort;
    request->verb = verb != nullptr && *verb != '\0' ? verb : "GET";
    request->object = Text(object);
    request->flags = flags;
    request->easy = NewEasy();
    if (!request->easy) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    return request.release();
}

bool HttpSendRequestA(HINTERNET handle, char const* headers, std::uint32_t headersLength,
                      void const* optional, std::uint32_t optionalLength) {
    auto* request = As<Request>(handle, InternetObject::Kind::Request);
    if (request == nullptr) return false;
    std::string_view extra;
    if (headers != nullptr)
        extra = headersLength == 0xFFFFFFFFu ? std::string_view(headers)
                                             : std::string_view(headers, headersLength);
    return SendRequest(*request, extra, optional, optional != nullptr ? optionalLength : 0);
}

bool HttpQueryInfoA(HINTERNET handle, std::uint32_t infoLevel, void* buffer, std::uint32_t* length,
                    std::uint32_t*) {
    auto* request = As<Request>(handle, InternetObject::Kind::Request);
    if (request == nullptr) return false;
    if (buffer == nullptr || length == nullptr) return Fail(ERROR_INVALID_PARAMETER);
    if ((infoLevel & 0xFFFF) != HTTP_QUERY_STATUS_CODE) return Fail(ERROR_HTTP_HEADER_NOT_FOUND);
    if (!request->answered) return Fail(ERROR_INTERNET_INCORRECT_HANDLE_STATE);
    if ((infoLevel & HTTP_QUERY_FLAG_NUMBER) != 0) {
        if (*length < sizeof(std::uint32_t)) return Fail(ERROR_INSUFFICIENT_BUFFER);
        auto const status = static_cast<std::uint32_t>(request->status);
        std::memcpy(buffer, &status, sizeof status);
        *length = sizeof status;
        return true;
    }
    std::string const text = std::to_string(request->status);
    if (*length <= text.size()) {
        *length = static_cast<std::uint32_t>(text.size() + 1);
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    *length = static_cast<std::uint32_t>(text.size());
    return true;
}

// ---------------------------------------------------------------------------
// FTP operations

namespace {

Connection* FtpConnection(HINTERNET handle) {
    auto* connection = As<Connection>(handle, InternetObject::Kind::Connection);
    if (connection != nullptr && connection->service != INTERNET_SERVICE_FTP) {
        SetLastError(ERROR_INTERNET_INCORRECT_HANDLE_TYPE);
        return nullptr;
    }
    return connection;
}

bool OnePathCommand(HINTERNET handle, char const* verb, char const* name) {
    Connection* connection = FtpConnection(handle);
    if (connection == nullptr) return false;
    if (name == nullptr || *name == '\0') return Fail(ERROR_INVALID_PARAMETER);
    return RunCommands(*connection, {std::string(verb) + " " + Resolve(*connection, name)});
}

} // namespace

bool FtpGetFileA(HINTERNET handle, char const* remote, char const* local, bool failIfExists,
                 std::uint32_t, std::uint32_t, std::uintptr_t) {
    Connection* connection = FtpConnection(handle);
    if (connection == nullptr) return false;
    if (remote == nullptr || local == nullptr) return Fail(ERROR_INVALID_PARAMETER);
    struct stat info;
    if (failIfExists && ::stat(local, &info) == 0) return Fail(ERROR_FILE_EXISTS);
    CURL* easy = connection->easy.get();
    ApplyFtp(easy, connection->endpoint,
             FtpUrl(easy, connection->endpoint, Resolve(*connection, remote), false));
    LocalDownload target{local, nullptr, false};
    curl::Api().easy_setopt(easy, CURLOPT_WRITEFUNCTION, WriteLocal);
    curl::Api().easy_setopt(easy, CURLOPT_WRITEDATA, &target);
    CURLcode const result = curl::Api().easy_perform(easy);
    if (target.failed) return Fail(ERROR_ACCESS_DENIED);
    if (result != CURLE_OK) {
        if (target.file) {
            target.file.reset();
            std::remove(local);
        }
        return Succeeded(result);
    }
    // An empty file sends no data, and is made here.
    if (!target.file) target.file.reset(std::fopen(local, "wb"));
    if (!target.file) return Fail(ERROR_ACCESS_DENIED);
    return std::fclose(target.file.release()) == 0 || Fail(ERROR_ACCESS_DENIED);
}

bool FtpPutFileA(HINTERNET handle, char const* local, char const* remote, std::uint32_t,
                 std::uintptr_t) {
    Connection* connection = FtpConnection(handle);
    if (connection == nullptr) return false;
    if (remote == nullptr || local == nullptr) return Fail(ERROR_INVALID_PARAMETER);
    FileHandle const file(std::fopen(local, "rb"));
    struct stat info;
    if (!file || ::fstat(::fileno(file.get()), &info) != 0) return Fail(ERROR_FILE_NOT_FOUND);
    Upload upload{file.get(), {}};
    return SendUpload(connection->easy.get(), connection->endpoint, Resolve(*connection, remote),
                      upload, static_cast<curl_off_t>(info.st_size));
}

bool FtpDeleteFileA(HINTERNET handle, char const* name) {
    return OnePathCommand(handle, "DELE", name);
}

bool FtpCreateDirectoryA(HINTERNET handle, char const* directory) {
    return OnePathCommand(handle, "MKD", directory);
}

bool FtpRemoveDirectoryA(HINTERNET handle, char const* directory) {
    return OnePathCommand(handle, "RMD", directory);
}

bool FtpRenameFileA(HINTERNET handle, char const* from, char const* to) {
    Connection* connection = FtpConnection(handle);
    if (connection == nullptr) return false;
    if (from == nullptr || to == nullptr || *from == '\0' || *to == '\0')
        return Fail(ERROR_INVALID_PARAMETER);
    return RunCommands(*connection,
                       {"RNFR " + Resolve(*connection, from), "RNTO " + Resolve(*connection, to)});
}

bool FtpSetCurrentDirectoryA(HINTERNET handle, char const* directory) {
    Connection* connection = FtpConnection(handle);
    if (connection == nullptr) return false;
    if (directory == nullptr || *directory == '\0') return Fail(ERROR_INVALID_PARAMETER);
    std::string const path = Resolve(*connection, directory);
    // The server's answer says whether it is a folder one may enter.
    if (!RunCommands(*connection, {"CWD " + path})) return false;
    connection->directory = path;
    return true;
}

bool FtpGetCurrentDirectoryA(HINTERNET handle, char* directory, std::uint32_t* length) {
    Connection* connection = FtpConnection(handle);
    if (connection == nullptr) return false;
    if (directory == nullptr || length == nullptr) return Fail(ERROR_INVALID_PARAMETER);
    std::string const& path = connection->directory;
    if (*length <= path.size()) {
        *length = static_cast<std::uint32_t>(path.size() + 1);
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    std::memcpy(directory, path.c_str(), path.size() + 1);
    *length = static_cast<std::uint32_t>(path.size());
    return true;
}

HINTERNET FtpOpenFileA(HINTERNET handle, char const* name, std::uint32_t access, std::uint32_t,
                       std::uintptr_t) {
    Connection* connection = FtpConnection(handle);
    if (connection == nullptr) return nullptr;
    bool const reading = access == GENERIC_READ;
    if ((!reading && access != GENERIC_WRITE) || name == nullptr || *name == '\0') {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    auto file = std::make_unique<RemoteFile>();
    file->endpoint = connection->endpoint;
    file->path = Resolve(*connection, name);
    file->writing = !reading;
    if (reading && !Download(connection->easy.get(), file->endpoint, file->path, &file->data))
        return nullptr;
    return file.release();
}

HINTERNET FtpFindFirstFileA(HINTERNET handle, char const* pattern, WIN32_FIND_DATAA* found,
                            std::uint32_t, std::uintptr_t) {
    Connection* connection = FtpConnection(handle);
    if (connection == nullptr) return nullptr;
    auto find = std::make_unique<Find>();
    if (!ListDirectory(*connection, pattern, &find->entries)) return nullptr;
    if (find->entries.empty()) {
        SetLastError(ERROR_NO_MORE_FILES);
        return nullptr;
    }
    if (found != nullptr) *found = find->entries.front();
    find->next = 1;
    return find.release();
}

bool InternetFindNextFileA(HINTERNET handle, void* found) {
    auto* find = As<Find>(handle, InternetObject::Kind::Find);
    if (find == nullptr) return false;
    if (find->next >= find->entries.size()) return Fail(ERROR_NO_MORE_FILES);
    if (found != nullptr) std::memcpy(found, &find->entries[find->next], sizeof(WIN32_FIND_DATAA));
    ++find->next;
    return true;
}

} // namespace platform

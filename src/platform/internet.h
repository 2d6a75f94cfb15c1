// The internet library's calls for HTTP and FTP, over libcurl: a session
// handle, connection handles below it, and request, file and search handles
// below those. Every call blocks on the caller's thread; a failed call sets
// the thread's last error (GetLastError) to one of the library's numbers
// below, mapped in one table from the transfer's own result.
//
// What the request flags ask for:
//   - INTERNET_FLAG_RELOAD: nothing is read from a cache (there is none), and
//     the request carries "Cache-Control: no-cache" for caches on the way.
//   - INTERNET_FLAG_SECURE: the request goes over TLS (HTTPS) on the
//     connection's port. The peer's certificate chain is verified against the
//     trusted authorities: the file named by $ORVELTECH_CA_BUNDLE when it is
//     set (PEM, in place of the system's), else the system's store. Expired,
//     not yet valid, badly signed and untrusted chains fail with
//     ERROR_INTERNET_INVALID_CA.
//   - INTERNET_FLAG_IGNORE_CERT_CN_INVALID: the certificate's host names are
//     not compared with the server's name. The chain itself is still checked
//     as above; only the name check is off.
//   - INTERNET_FLAG_IGNORE_REDIRECT_TO_HTTP(S): redirects are followed (ten at
//     most) only when they stay on the request's scheme; a redirect between
//     HTTP and HTTPS is not followed, and the redirecting answer is the
//     request's answer.
//
// Servers are named "host" or "host:port"; a port in the name wins over the
// one given to InternetConnectA. An HTTP server named "http://host[:port]"
// is asked in plain HTTP whatever the request's flags: the caller chose it.
//
// Time-outs, so that a server that never answers cannot hang a caller: a
// connection (TLS handshake included) must be made within the connect
// time-out (default 30 s, INTERNET_OPTION_CONNECT_TIMEOUT), and a transfer,
// or an FTP server's reply, that moves less than a byte a second over the
// receive time-out (default 30 s, INTERNET_OPTION_RECEIVE_TIMEOUT, counted in
// whole seconds) ends with ERROR_INTERNET_TIMEOUT. Both are milliseconds; set
// on a session they apply to what is opened below it, set on no handle they
// are the process's defaults for sessions opened later.
//
// Responses and files opened for reading are received whole when the request
// is sent or the file opened, then read from memory; a file opened for
// writing is sent when it is closed.
#pragma once

#include <platform/export.h>

#include <cstdint>

namespace platform {

struct InternetObject;
using HINTERNET = InternetObject*;

enum : std::uint32_t { INTERNET_OPEN_TYPE_DIRECT = 1 };

enum : std::uint32_t {
    INTERNET_SERVICE_FTP = 1,
    INTERNET_SERVICE_GOPHER = 2,
    INTERNET_SERVICE_HTTP = 3,
};

enum : std::uint32_t {
    INTERNET_FLAG_RELOAD = 0x80000000,
    INTERNET_FLAG_NO_CACHE_WRITE = 0x04000000,
    INTERNET_FLAG_SECURE = 0x00800000,
    INTERNET_FLAG_IGNORE_REDIRECT_TO_HTTP = 0x00008000,
    INTERNET_FLAG_IGNORE_REDIRECT_TO_HTTPS = 0x00004000,
    INTERNET_FLAG_IGNORE_CERT_CN_INVALID = 0x00001000,
};

enum : std::uint32_t {
    INTERNET_OPTION_CONNECT_TIMEOUT = 2,
    INTERNET_OPTION_RECEIVE_TIMEOUT = 6,
    INTERNET_OPTION_USERNAME = 28,
    INTERNET_OPTION_PASSWORD = 29,
};

enum : std::uint32_t {
    HTTP_QUERY_STATUS_CODE = 19,
    HTTP_QUERY_FLAG_NUMBER = 0x20000000,
};

enum : std::uint32_t {
    FTP_TRANSFER_TYPE_BINARY = 2,
    GENERIC_READ = 0x80000000,
    GENERIC_WRITE = 0x40000000,
    FILE_ATTRIBUTE_DIRECTORY = 0x10,
    FILE_ATTRIBUTE_NORMAL = 0x80,
};

// The numbers a failed call leaves as the last error.
enum : std::uint32_t {
    ERROR_NOT_ENOUGH_MEMORY = 8,
    ERROR_NO_MORE_FILES = 18,
    ERROR_FILE_EXISTS = 80,
    ERROR_INTERNET_TIMEOUT = 12002,
    ERROR_INTERNET_EXTENDED_ERROR = 12003,
    ERROR_INTERNET_INTERNAL_ERROR = 12004,
    ERROR_INTERNET_INVALID_URL = 12005,
    ERROR_INTERNET_UNRECOGNIZED_SCHEME = 12006,
    ERROR_INTERNET_NAME_NOT_RESOLVED = 12007,
    ERROR_INTERNET_INCORRECT_PASSWORD = 12014,
    ERROR_INTERNET_INCORRECT_HANDLE_TYPE = 12018,
    ERROR_INTERNET_INCORRECT_HANDLE_STATE = 12019,
    ERROR_INTERNET_CANNOT_CONNECT = 12029,
    ERROR_INTERNET_CONNECTION_ABORTED = 12030,
    ERROR_INTERNET_CONNECTION_RESET = 12031,
    ERROR_INTERNET_INVALID_CA = 12045,
    ERROR_HTTP_HEADER_NOT_FOUND = 12150,
    ERROR_HTTP_INVALID_SERVER_RESPONSE = 12152,
    ERROR_INTERNET_SECURITY_CHANNEL_ERROR = 12157,
};

// The time-outs' defaults, in milliseconds.
inline constexpr std::uint32_t kDefaultTransferTimeoutMs = 30000;

// The environment variable naming the PEM file of trusted authorities.
inline constexpr char kCaBundleVariable[] = "ORVELTECH_CA_BUNDLE";

struct FILETIME {
    std::uint32_t dwLowDateTime;
    std::uint32_t dwHighDateTime;
};

struct WIN32_FIND_DATAA {
    std::uint32_t dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    std::uint32_t nFileSizeHigh;
    std::uint32_t nFileSizeLow;
    std::uint32_t dwReserved0;
    std::uint32_t dwReserved1;
    char cFileName[260];
    char cAlternateFileName[14];
};

// The last error of a failed transfer, from libcurl's result code.
SORVANE_API std::uint32_t InternetErrorFromTransfer(int transferResult);

SORVANE_API HINTERNET InternetOpenA(char const* agent, std::uint32_t accessType, char const* proxy,
                                    char const* proxyBypass, std::uint32_t flags);
// Makes no connection yet: the server is reached by the first request.
SORVANE_API HINTERNET InternetConnectA(HINTERNET session, char const* server, std::uint16_t port,
                                       char const* user, char const* password,
                                       std::uint32_t service, std::uint32_t flags,
                                       std::uintptr_t context);
// Handles below the one closed stay valid and must be closed too. Closing a
// file opened for writing sends it; the result says whether that worked.
SORVANE_API bool InternetCloseHandle(HINTERNET handle);
// Numbers take 4 bytes; texts run to their terminator, the length only has
// to be non-zero.
SORVANE_API bool InternetSetOptionA(HINTERNET handle, std::uint32_t option, void const* buffer,
                                    std::uint32_t length);
SORVANE_API bool InternetReadFile(HINTERNET file, void* buffer, std::uint32_t toRead,
                                  std::uint32_t* read);
SORVANE_API bool InternetWriteFile(HINTERNET file, void const* buffer, std::uint32_t toWrite,
                                   std::uint32_t* written);

SORVANE_API HINTERNET HttpOpenRequestA(HINTERNET connection, char const* verb, char const* object,
                                       char const* version, char const* referrer,
                                       char const** acceptTypes, std::uint32_t flags,
                                       std::uintptr_t context);
// Sends the request and receives the answer; may be called again on the same
// request, with the credentials set since.
SORVANE_API bool HttpSendRequestA(HINTERNET request, char const* headers,
                                  std::uint32_t headersLength, void const* optional,
                                  std::uint32_t optionalLength);
// Only the status: as a 4-byte number with HTTP_QUERY_FLAG_NUMBER, else as
// text.
SORVANE_API bool HttpQueryInfoA(HINTERNET request, std::uint32_t infoLevel, void* buffer,
                                std::uint32_t* length, std::uint32_t* index);

SORVANE_API bool FtpGetFileA(HINTERNET connection, char const* remote, char const* local,
                             bool failIfExists, std::uint32_t attributes, std::uint32_t flags,
                             std::uintptr_t context);
SORVANE_API bool FtpPutFileA(HINTERNET connection, char const* local, char const* remote,
                             std::uint32_t flags, std::uintptr_t context);
SORVANE_API bool FtpDeleteFileA(HINTERNET connection, char const* name);
SORVANE_API bool FtpRenameFileA(HINTERNET connection, char const* from, char const* to);
SORVANE_API HINTERNET FtpOpenFileA(HINTERNET connection, char const* name, std::uint32_t access,
                                   std::uint32_t flags, std::uintptr_t context);
SORVANE_API bool FtpSetCurrentDirectoryA(HINTERNET connection, char const* directory);
// The length is the buffer's size in, the text's length out.
SORVANE_API bool FtpGetCurrentDirectoryA(HINTERNET connection, char* directory,
                                         std::uint32_t* length);
SORVANE_API bool FtpCreateDirectoryA(HINTERNET connection, char const* directory);
SORVANE_API bool FtpRemoveDirectoryA(HINTERNET connection, char const* directory);
// The entries of the current directory whose names match the pattern ("*"
// and "*.*" match all), from the server's machine listing (MLSD) or, when it
// has none, its listing for people (LIST, in the Unix or the DOS layout).
// An empty result fails with ERROR_NO_MORE_FILES.
SORVANE_API HINTERNET FtpFindFirstFileA(HINTERNET connection, char const* pattern,
                                        WIN32_FIND_DATAA* found, std::uint32_t flags,
                                        std::uintptr_t context);
SORVANE_API bool InternetFindNextFileA(HINTERNET find, void* found);

} // namespace platform

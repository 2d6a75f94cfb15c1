/// \file
/// The internet library's calls for HTTP and FTP, over libcurl: a session
/// handle, connection handles below it, and request, file and search handles
/// below those. Every call blocks on the caller's thread; a failed call sets
/// the thread's last error (GetLastError) to one of the library's numbers
/// below, mapped in one table from the transfer's own result.
///
/// What the request flags ask for:
///   - INTERNET_FLAG_RELOAD: nothing is read from a cache (there is none), and
///     the request carries "Cache-Control: no-cache" for caches on the way.
///   - INTERNET_FLAG_SECURE: the request goes over TLS (HTTPS) on the
///     connection's port. The peer's certificate chain is verified against the
///     trusted authorities: the file named by $ORVELTECH_CA_BUNDLE when it is
///     set (PEM, in place of the system's), else the system's store. Expired,
///     not yet valid, badly signed and untrusted chains fail with
///     ERROR_INTERNET_INVALID_CA.
///   - INTERNET_FLAG_IGNORE_CERT_CN_INVALID: the certificate's host names are
///     not compared with the server's name. The chain itself is still checked
///     as above; only the name check is off.
///   - INTERNET_FLAG_IGNORE_REDIRECT_TO_HTTP(S): redirects are followed (ten at
///     most) only when they stay on the request's scheme; a redirect between
///     HTTP and HTTPS is not followed, and the redirecting answer is the
///     request's answer.
///
/// Servers are named "host" or "host:port"; a port in the name wins over the
/// one given to InternetConnectA. An HTTP server named "http://host[:port]"
/// is asked in plain HTTP whatever the request's flags: the caller chose it.
///
/// Time-outs, so that a server that never answers cannot hang a caller: a
/// connection (TLS handshake included) must be made within the connect
/// time-out (default 30 s, INTERNET_OPTION_CONNECT_TIMEOUT), and a transfer,
/// or an FTP server's reply, that moves less than a byte a second over the
/// receive time-out (default 30 s, INTERNET_OPTION_RECEIVE_TIMEOUT, counted in
/// whole seconds) ends with ERROR_INTERNET_TIMEOUT. Both are milliseconds; set
/// on a session they apply to what is opened below it, set on no handle they
/// are the process's defaults for sessions opened later.
///
/// Responses and files opened for reading are received whole when the request
/// is sent or the file opened, then read from memory; a file opened for
/// writing is sent when it is closed.
#pragma once

#include <platform/export.h>

#include <cstdint>

namespace platform {

/// A session, connection, request, file or search of the internet library (opaque).
struct InternetObject;
/// The handle of an internet object; close it with InternetCloseHandle().
using HINTERNET = InternetObject*;

/// The access type of a session: a direct connection.
enum : std::uint32_t { INTERNET_OPEN_TYPE_DIRECT = 1 };

/// The service of a connection.
enum : std::uint32_t {
    /// FTP.
    INTERNET_SERVICE_FTP = 1,
    /// Gopher, not supported.
    INTERNET_SERVICE_GOPHER = 2,
    /// HTTP.
    INTERNET_SERVICE_HTTP = 3,
};

/// Request flags; see the file's description for what each asks for.
enum : std::uint32_t {
    /// Read nothing from a cache; ask caches on the way for no cached answer.
    INTERNET_FLAG_RELOAD = 0x80000000,
    /// Keep nothing in a cache (there is none).
    INTERNET_FLAG_NO_CACHE_WRITE = 0x04000000,
    /// Over TLS, with the peer's chain verified.
    INTERNET_FLAG_SECURE = 0x00800000,
    /// Follow redirects only on the request's own scheme.
    INTERNET_FLAG_IGNORE_REDIRECT_TO_HTTP = 0x00008000,
    /// Follow redirects only on the request's own scheme.
    INTERNET_FLAG_IGNORE_REDIRECT_TO_HTTPS = 0x00004000,
    /// Do not compare the certificate's host names with the server's name.
    INTERNET_FLAG_IGNORE_CERT_CN_INVALID = 0x00001000,
};

/// Options of InternetSetOptionA().
enum : std::uint32_t {
    /// The connect time-out in milliseconds.
    INTERNET_OPTION_CONNECT_TIMEOUT = 2,
    /// The receive time-out in milliseconds.
    INTERNET_OPTION_RECEIVE_TIMEOUT = 6,
    /// The user name sent to the server.
    INTERNET_OPTION_USERNAME = 28,
    /// The password sent to the server.
    INTERNET_OPTION_PASSWORD = 29,
};

/// What HttpQueryInfoA() reads.
enum : std::uint32_t {
    /// The status code.
    HTTP_QUERY_STATUS_CODE = 19,
    /// As a 4-byte number rather than text.
    HTTP_QUERY_FLAG_NUMBER = 0x20000000,
};

/// FTP transfer types, file access and file attributes.
enum : std::uint32_t {
    /// Transfer bytes as they are.
    FTP_TRANSFER_TYPE_BINARY = 2,
    /// Open a file for reading.
    GENERIC_READ = 0x80000000,
    /// Open a file for writing.
    GENERIC_WRITE = 0x40000000,
    /// A directory.
    FILE_ATTRIBUTE_DIRECTORY = 0x10,
    /// A plain file.
    FILE_ATTRIBUTE_NORMAL = 0x80,
};

/// The numbers a failed call leaves as the last error.
enum : std::uint32_t {
    /// Memory could not be had.
    ERROR_NOT_ENOUGH_MEMORY = 8,
    /// A search has no (more) entries.
    ERROR_NO_MORE_FILES = 18,
    /// The local file exists and was not to be replaced.
    ERROR_FILE_EXISTS = 80,
    /// A connection or transfer timed out.
    ERROR_INTERNET_TIMEOUT = 12002,
    /// The server refused; its answer says why.
    ERROR_INTERNET_EXTENDED_ERROR = 12003,
    /// A failure of the library itself.
    ERROR_INTERNET_INTERNAL_ERROR = 12004,
    /// The address is not valid.
    ERROR_INTERNET_INVALID_URL = 12005,
    /// The scheme is not one the library speaks.
    ERROR_INTERNET_UNRECOGNIZED_SCHEME = 12006,
    /// The server's name could not be resolved.
    ERROR_INTERNET_NAME_NOT_RESOLVED = 12007,
    /// The server refused the credentials.
    ERROR_INTERNET_INCORRECT_PASSWORD = 12014,
    /// The handle is not of the kind the call takes.
    ERROR_INTERNET_INCORRECT_HANDLE_TYPE = 12018,
    /// The handle is not in a state for the call.
    ERROR_INTERNET_INCORRECT_HANDLE_STATE = 12019,
    /// No connection could be made.
    ERROR_INTERNET_CANNOT_CONNECT = 12029,
    /// The connection was aborted.
    ERROR_INTERNET_CONNECTION_ABORTED = 12030,
    /// The connection was reset.
    ERROR_INTERNET_CONNECTION_RESET = 12031,
    /// The peer's certificate chain is not trusted (expired, not yet valid,
    /// badly signed or of an unknown authority).
    ERROR_INTERNET_INVALID_CA = 12045,
    /// The answer has no such header.
    ERROR_HTTP_HEADER_NOT_FOUND = 12150,
    /// The server's answer could not be read.
    ERROR_HTTP_INVALID_SERVER_RESPONSE = 12152,
    /// TLS could not be set up.
    ERROR_INTERNET_SECURITY_CHANNEL_ERROR = 12157,
};

/// The connect and receive time-outs' default, in milliseconds.
inline constexpr std::uint32_t kDefaultTransferTimeoutMs = 30000;

/// The environment variable naming the PEM file of trusted authorities.
inline constexpr char kCaBundleVariable[] = "ORVELTECH_CA_BUNDLE";

/// \brief A time in 100-nanosecond steps since 1601, in two 32-bit halves.
struct FILETIME {
    /// The low half.
    std::uint32_t dwLowDateTime;
    /// The high half.
    std::uint32_t dwHighDateTime;
};

/// \brief One entry of an FTP search.
struct WIN32_FIND_DATAA {
    /// FILE_ATTRIBUTE_DIRECTORY or FILE_ATTRIBUTE_NORMAL.
    std::uint32_t dwFileAttributes;
    /// When made, when the listing says.
    FILETIME ftCreationTime;
    /// When last read, when the listing says.
    FILETIME ftLastAccessTime;
    /// When last changed, when the listing says.
    FILETIME ftLastWriteTime;
    /// The size's high 32 bits.
    std::uint32_t nFileSizeHigh;
    /// The size's low 32 bits.
    std::uint32_t nFileSizeLow;
    /// Not used.
    std::uint32_t dwReserved0;
    /// Not used.
    std::uint32_t dwReserved1;
    /// The entry's name, 0-terminated.
    char cFileName[260];
    /// Empty.
    char cAlternateFileName[14];
};

/// \param transferResult a libcurl result code.
/// \return the last error that a failed transfer with that result leaves.
SORVANE_API std::uint32_t InternetErrorFromTransfer(int transferResult);

/// Opens a session.
/// \param agent the user agent's name, sent with HTTP requests.
/// \param accessType INTERNET_OPEN_TYPE_DIRECT.
/// \param proxy not used.
/// \param proxyBypass not used.
/// \param flags not used.
/// \return the session, which the caller closes with InternetCloseHandle();
///         null on failure, with the reason in GetLastError().
SORVANE_API HINTERNET InternetOpenA(char const* agent, std::uint32_t accessType, char const* proxy,
                                    char const* proxyBypass, std::uint32_t flags);
/// Opens a connection below a session. Makes no connection yet: the server
/// is reached by the first request.
/// \param session the session.
/// \param server "host" or "host:port"; a port in the name wins over port.
/// \param port the port, or 0 for the service's.
/// \param user the user name, or null.
/// \param password the password, or null.
/// \param service INTERNET_SERVICE_HTTP or INTERNET_SERVICE_FTP.
/// \param flags not used.
/// \param context not used.
/// \return the connection, which the caller closes with InternetCloseHandle();
///         null on failure, with the reason in GetLastError().
SORVANE_API HINTERNET InternetConnectA(HINTERNET session, char const* server, std::uint16_t port,
                                       char const* user, char const* password,
                                       std::uint32_t service, std::uint32_t flags,
                                       std::uintptr_t context);
/// Closes a handle. Handles below it stay valid and must be closed too.
/// Closing a file opened for writing sends it.
/// \param handle the handle.
/// \return whether that worked; false with the reason in GetLastError().
SORVANE_API bool InternetCloseHandle(HINTERNET handle);
/// Sets an option of a handle, or with a null handle the process's
/// default for sessions opened later.
/// \param handle the handle, or null.
/// \param option an INTERNET_OPTION_ value.
/// \param buffer numbers take 4 bytes; texts run to their terminator.
/// \param length non-zero.
/// \return false on failure, with the reason in GetLastError().
SORVANE_API bool InternetSetOptionA(HINTERNET handle, std::uint32_t option, void const* buffer,
                                    std::uint32_t length);
/// Reads from a response or a file opened for reading.
/// \param file the request or file.
/// \param buffer the caller's buffer.
/// \param toRead its size.
/// \param read receives the bytes read; 0 at the end.
/// \return false on failure, with the reason in GetLastError().
SORVANE_API bool InternetReadFile(HINTERNET file, void* buffer, std::uint32_t toRead,
                                  std::uint32_t* read);
/// Writes to a file opened for writing; it is sent when closed.
/// \param file the file.
/// \param buffer the bytes.
/// \param toWrite their count.
/// \param written receives the bytes taken.
/// \return false on failure, with the reason in GetLastError().
SORVANE_API bool InternetWriteFile(HINTERNET file, void const* buffer, std::uint32_t toWrite,
                                   std::uint32_t* written);

/// Makes an HTTP request below a connection.
/// \param connection an HTTP connection.
/// \param verb "GET", "POST", ...; null is "GET".
/// \param object the path on the server.
/// \param version not used.
/// \param referrer not used.
/// \param acceptTypes not used.
/// \param flags INTERNET_FLAG_ values.
/// \param context not used.
/// \return the request, which the caller closes with InternetCloseHandle();
///         null on failure, with the reason in GetLastError().
SORVANE_API HINTERNET HttpOpenRequestA(HINTERNET connection, char const* verb, char const* object,
                                       char const* version, char const* referrer,
                                       char const** acceptTypes, std::uint32_t flags,
                                       std::uintptr_t context);
/// Sends the request and receives the answer whole; may be called again on
/// the same request, with the credentials set since.
/// \param request the request.
/// \param headers more header lines, or null.
/// \param headersLength their length.
/// \param optional the body, or null.
/// \param optionalLength its length.
/// \return false on failure, with the reason in GetLastError().
SORVANE_API bool HttpSendRequestA(HINTERNET request, char const* headers,
                                  std::uint32_t headersLength, void const* optional,
                                  std::uint32_t optionalLength);
/// Reads the answer's status: as a 4-byte number with HTTP_QUERY_FLAG_NUMBER,
/// else as text.
/// \param request a sent request.
/// \param infoLevel HTTP_QUERY_STATUS_CODE, with HTTP_QUERY_FLAG_NUMBER or not.
/// \param buffer the caller's buffer.
/// \param length its size on entry, the bytes written on return.
/// \param index not used.
/// \return false on failure, with the reason in GetLastError().
SORVANE_API bool HttpQueryInfoA(HINTERNET request, std::uint32_t infoLevel, void* buffer,
                                std::uint32_t* length, std::uint32_t* index);

/// Fetches a remote file into a local one.
/// \param connection an FTP connection.
/// \param remote the remote file's name.
/// \param local the local file's path.
/// \param failIfExists fail with ERROR_FILE_EXISTS when the local file exists.
/// \param attributes not used.
/// \param flags the transfer type.
/// \param context not used.
/// \return false on failure, with the reason in GetLastError().
SORVANE_API bool FtpGetFileA(HINTERNET connection, char const* remote, char const* local,
                             bool failIfExists, std::uint32_t attributes, std::uint32_t flags,
                             std::uintptr_t context);
/// Sends a local file.
/// \param connection an FTP connection.
/// \param local the local file's path.
/// \param remote the remote file's name.
/// \param flags the transfer type.
/// \param context not used.
/// \return false on failure, with the reason in GetLastError().
SORVANE_API bool FtpPutFileA(HINTERNET connection, char const* local, char const* remote,
                             std::uint32_t flags, std::uintptr_t context);
/// Deletes a remote file.
/// \param connection an FTP connection.
/// \param name the file's name.
/// \return false on failure, with the reason in GetLastError().
SORVANE_API bool FtpDeleteFileA(HINTERNET connection, char const* name);
/// Renames a remote file.
/// \param connection an FTP connection.
/// \param from the old name.
/// \param to the new name.
/// \return false on failure, with the reason in GetLastError().
SORVANE_API bool FtpRenameFileA(HINTERNET connection, char const* from, char const* to);
/// Opens a remote file for reading (received whole now) or for writing
/// (sent when closed).
/// \param connection an FTP connection.
/// \param name the file's name.
/// \param access GENERIC_READ or GENERIC_WRITE.
/// \param flags the transfer type.
/// \param context not used.
/// \return the file, which the caller closes with InternetCloseHandle();
///         null on failure, with the reason in GetLastError().
SORVANE_API HINTERNET FtpOpenFileA(HINTERNET connection, char const* name, std::uint32_t access,
                                   std::uint32_t flags, std::uintptr_t context);
/// Changes the remote current directory.
/// \param connection an FTP connection.
/// \param directory the directory.
/// \return false on failure, with the reason in GetLastError().
SORVANE_API bool FtpSetCurrentDirectoryA(HINTERNET connection, char const* directory);
/// The remote current directory.
/// \param connection an FTP connection.
/// \param directory the caller's buffer.
/// \param length the buffer's size in, the text's length out.
/// \return false on failure, with the reason in GetLastError().
SORVANE_API bool FtpGetCurrentDirectoryA(HINTERNET connection, char* directory,
                                         std::uint32_t* length);
/// Makes a remote directory.
/// \param connection an FTP connection.
/// \param directory its name.
/// \return false on failure, with the reason in GetLastError().
SORVANE_API bool FtpCreateDirectoryA(HINTERNET connection, char const* directory);
/// Removes a remote directory.
/// \param connection an FTP connection.
/// \param directory its name.
/// \return false on failure, with the reason in GetLastError().
SORVANE_API bool FtpRemoveDirectoryA(HINTERNET connection, char const* directory);
/// Starts a search of the current directory's entries whose names match the
/// pattern ("*" and "*.*" match all), from the server's machine listing
/// (MLSD) or, when it has none, its listing for people (LIST, in the Unix or
/// the DOS layout).
/// \param connection an FTP connection.
/// \param pattern the names to match.
/// \param found receives the first entry.
/// \param flags not used.
/// \param context not used.
/// \return the search, which the caller closes with InternetCloseHandle();
///         null on failure, ERROR_NO_MORE_FILES for an empty result.
SORVANE_API HINTERNET FtpFindFirstFileA(HINTERNET connection, char const* pattern,
                                        WIN32_FIND_DATAA* found, std::uint32_t flags,
                                        std::uintptr_t context);
/// The next entry of a search.
/// \param find the search.
/// \param found receives the entry, a WIN32_FIND_DATAA.
/// \return false past the last entry (ERROR_NO_MORE_FILES) or on failure.
SORVANE_API bool InternetFindNextFileA(HINTERNET find, void* found);

} // namespace platform

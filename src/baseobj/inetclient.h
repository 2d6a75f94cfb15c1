/// \file
/// Thin HTTP and FTP clients: one session and one connection, requests that
/// block on the caller's thread. Results are 1 and 0, small local codes, the
/// internet library's error numbers (12002 time-out, 12007 name not resolved,
/// 12029 cannot connect, 12045 untrusted authority, ...) or an HTTP status;
/// callers tell those ranges apart themselves.
///
/// The server text is a host name, or "host:port" to reach a port other than
/// the service's; "http://host[:port]" asks an HTTP server in plain HTTP
/// rather than over TLS. Trust, time-outs and redirects are those of
/// <platform/internet.h>.
#pragma once

#include <platform/internet.h>
#include <platform/export.h>

#include <cstdint>
#include <string>

/// \brief One session and one connection to an HTTP or FTP server; requests
/// block on the caller's thread.
///
/// Results are 1 and 0, small local codes, the internet library's error
/// numbers (12002 time-out, 12007 name not resolved, 12029 cannot connect,
/// 12045 untrusted authority, ...) or an HTTP status; callers tell those
/// ranges apart themselves.
class SORVANE_API InternetClient {
public:
    /// Opens the session.
    InternetClient();
    /// Closes the connection and the session.
    ~InternetClient();
    // A copy would close the same handles a second time: there is none.
    InternetClient(InternetClient const&) = delete;
    InternetClient& operator=(InternetClient const&) = delete;

    /// Opens the connection; the server is reached by the first request.
    /// \param server a host name, "host:port", or "http://host[:port]" for
    ///        plain HTTP.
    /// \param service 2 is gopher on port 70, 3 HTTP on 80, 443 HTTP on 443;
    ///        any other is given as it is, on port 21.
    /// \param user the user name, or null.
    /// \param password the password, or null.
    /// \return 1, or 0 when the connection could not be opened.
    short ConnectToServer(char* server, unsigned long service, char* user, char* password);
    /// Closes the connection.
    /// \return 1.
    short Disconnect();

    /// \return the service connected to.
    unsigned long _get_nService() const { return nService; }
    /// \return true while a connection is open.
    bool IsConnected() const { return hConnection != nullptr; }

protected:
    /// The session.
    platform::HINTERNET hSession = nullptr;
    /// The connection, or null.
    platform::HINTERNET hConnection = nullptr;
    /// The service connected to.
    std::uint32_t nService = 0;
};

/// \brief An HTTP client: a POST of a file, and a GET that logs in.
class SORVANE_API HttpClient : public InternetClient {
public:
    /// Local results of Post(): the request could not be made, or the file not read.
    enum : short { POST_NO_REQUEST = 2, POST_NO_FILE = 3 };

    /// Posts the file's text, to its first NUL byte, as the body.
    /// \param object the path on the server.
    /// \param file the file.
    /// \return the status, an error number, a local result, or 0 with no connection.
    short Post(char* object, char* file);
    /// A GET that answers an authentication challenge (401) once with the
    /// credentials.
    /// \param object the path on the server.
    /// \param user the user name.
    /// \param password the password.
    /// \param strOut receives, appended, the body of the answer to the second request.
    /// \return the second answer's status; 1 when there was no challenge or
    ///         the second request failed; an error number when the first could not
    ///         be sent; 0 with no connection or when the body could not be read.
    short GetLoginInfo(char* object, char* user, char* password, std::string& strOut);
};

/// \brief An FTP client: files, directories and listings. Each call answers
/// 0 with no connection.
class SORVANE_API FtpClient : public InternetClient {
public:
    /// Makes no connection.
    FtpClient();
    /// Closes an open file and search.
    ~FtpClient();
    FtpClient(FtpClient const&) = delete;
    FtpClient& operator=(FtpClient const&) = delete;

    /// Fetches a remote file.
    /// \param remote the remote name.
    /// \param local the local path.
    /// \return 1, or 0 on failure.
    short GetFile(char* remote, char* local);
    /// Sends a local file.
    /// \param local the local path.
    /// \param remote the remote name.
    /// \return 1, or 0 on failure.
    short PutFile(char* local, char* remote);
    /// Deletes a remote file.
    /// \param name the remote name.
    /// \return 1, or 0 on failure.
    short DeleteFileA(char* name);
    /// Renames a remote file.
    /// \param from the old name.
    /// \param to the new name.
    /// \return 1, or 0 on failure.
    short RenameFile(char* from, char* to);
    /// Opens a remote file; one file at a time.
    /// \param name the remote name.
    /// \param access GENERIC_READ or GENERIC_WRITE.
    /// \return 1, or 0 on failure.
    short OpenFile(char* name, unsigned long access);
    /// Closes the open file; a file opened for writing is sent now.
    /// \return 1, or 0 when there is none or the sending failed.
    short CloseFile();
    /// Reads from the open file.
    /// \param buffer the caller's buffer.
    /// \param size its size.
    /// \return the bytes read; 0 at the end or on failure.
    unsigned long ReadFromFile(char* buffer, unsigned long size);
    /// Writes to the open file.
    /// \param buffer the bytes.
    /// \param size their count.
    /// \return the bytes taken; 0 on failure.
    unsigned long WriteToFile(char* buffer, unsigned long size);
    /// Changes the remote directory.
    /// \param directory the directory.
    /// \return 1, or 0 on failure.
    short SetWorkingDirectory(char* directory);
    /// The remote directory; the buffer is emptied first with no connection and
    /// on failure.
    /// \param buffer the caller's buffer.
    /// \param size its size.
    /// \return 1, or 0 on failure.
    short GetWorkingDirectory(char* buffer, unsigned long size);
    /// Makes a remote directory.
    /// \param directory the name.
    /// \return 1, or 0 on failure.
    short MakeDirectory(char* directory);
    /// Removes a remote directory.
    /// \param directory the name.
    /// \return 1, or 0 on failure.
    short RemoveDirectoryA(char* directory);
    /// The first name of the current directory, a directory's with " <DIR>"
    /// after it; "Directory Empty" when there is none.
    /// \param pszOut receives the name; it needs room for 259 characters and the mark.
    /// \return 1, or 0 when there is none or on failure.
    short GetFirstDirectoryEntry(char* pszOut);
    /// The next name of the listing, as GetFirstDirectoryEntry().
    /// \param pszOut receives the name.
    /// \return 1, or 0 past the last.
    short GetNextDirectoryEntry(char* pszOut);

private:
    void EntryText(char* pszOut) const;

    platform::WIN32_FIND_DATAA findData{};
    platform::HINTERNET hSearch = nullptr;
    platform::HINTERNET hFile = nullptr;
};

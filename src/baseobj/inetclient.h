// Thin HTTP and FTP clients: one session and one connection, requests that
// block on the caller's thread. Results are 1 and 0, small local codes, the
// internet library's error numbers (12002 time-out, 12007 name not resolved,
// 12029 cannot connect, 12045 untrusted authority, ...) or an HTTP status;
// callers tell those ranges apart themselves.
//
// The server text is a host name, or "host:port" to reach a port other than
// the service's; "http://host[:port]" asks an HTTP server in plain HTTP
// rather than over TLS. Trust, time-outs and redirects are those of
// <platform/internet.h>.
#pragma once

#include <platform/internet.h>
#include <platform/export.h>

#include <cstdint>
#include <string>

class SORVANE_API InternetClient {
public:
    InternetClient();
    ~InternetClient();
    // A copy would close the same handles a second time: there is none.
    InternetClient(InternetClient const&) = delete;
    InternetClient& operator=(InternetClient const&) = delete;

    // Service 2 is gopher on port 70, 3 HTTP on 80, 443 HTTP on 443; any
    // other is given as it is, on port 21.
    short ConnectToServer(char* server, unsigned long service, char* user, char* password);
    short Disconnect();

    unsigned long _get_nService() const { return nService; }
    bool IsConnected() const { return hConnection != nullptr; }

protected:
    platform::HINTERNET hSession = nullptr;
    platform::HINTERNET hConnection = nullptr;
    std::uint32_t nService = 0;
};

class SORVANE_API HttpClient : public InternetClient {
public:
    // Local results of Post.
    enum : short { POST_NO_REQUEST = 2, POST_NO_FILE = 3 };

    // The file's text, to its first NUL byte, as the body of a POST; the
    // status, or an error number, or a local result.
    short Post(char* object, char* file);
    // A GET that answers an authentication challenge once; the body of the
    // answer to the second request is appended to strOut.
    short GetLoginInfo(char* object, char* user, char* password, std::string& strOut);
};

class SORVANE_API FtpClient : public InternetClient {
public:
    FtpClient();
    ~FtpClient();
    FtpClient(FtpClient const&) = delete;
    FtpClient& operator=(FtpClient const&) = delete;

    short GetFile(char* remote, char* local);
    short PutFile(char* local, char* remote);
    short DeleteFileA(char* name);
    short RenameFile(char* from, char* to);
    // Access is GENERIC_READ or GENERIC_WRITE; one file at a time.
    short OpenFile(char* name, unsigned long access);
    short CloseFile();
    unsigned long ReadFromFile(char* buffer, unsigned long size);
    unsigned long WriteToFile(char* buffer, unsigned long size);
    short SetWorkingDirectory(char* directory);
    // The buffer is emptied first with no connection and on failure.
    short GetWorkingDirectory(char* buffer, unsigned long size);
    short MakeDirectory(char* directory);
    short RemoveDirectoryA(char* directory);
    // Names of the current directory, a directory's with " <DIR>" after it;
    // "Directory Empty" when there is none. pszOut needs room for a name
    // (259 characters) and the mark.
    short GetFirstDirectoryEntry(char* pszOut);
    short GetNextDirectoryEntry(char* pszOut);

private:
    void EntryText(char* pszOut) const;

    platform::WIN32_FIND_DATAA findData{};
    platform::HINTERNET hSearch = nullptr;
    platform::HINTERNET hFile = nullptr;
};

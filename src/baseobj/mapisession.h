// One mail sent through the user's mail facility (<platform/mail.h>): SMTP
// to the server set up in the user's store. Without that set-up the object
// still exists, bInitialized is false, and every operation answers false.
// Calls block on the caller's thread.
#pragma once

#include <platform/export.h>

#include <cstdint>

namespace platform {
class MailConnection;
}

// The descriptions of a message, its recipients and its files.
struct MapiRecipDesc {
    std::uint32_t ulReserved;
    std::uint32_t ulRecipClass;
    char* lpszName;
    char* lpszAddress;
    std::uint32_t ulEIDSize;
    void* lpEntryID;
};

struct MapiFileDesc {
    std::uint32_t ulReserved;
    std::uint32_t flFlags;
    std::uint32_t nPosition;
    char* lpszPathName;
    char* lpszFileName;
    void* lpFileType;
};

struct MapiMessage {
    std::uint32_t ulReserved;
    char* lpszSubject;
    char* lpszNoteText;
    char* lpszMessageType;
    char* lpszDateReceived;
    char* lpszConversationID;
    std::uint32_t flFlags;
    MapiRecipDesc* lpOriginator;
    std::uint32_t nRecipCount;
    MapiRecipDesc* lpRecips;
    std::uint32_t nFileCount;
    MapiFileDesc* lpFiles;
};

class SORVANE_API MAPISession {
public:
    static constexpr unsigned long kMaxRecips = 10;
    static constexpr unsigned long kMaxFiles = 10;
    // Each name and path has a buffer of this size, its terminator included.
    static constexpr unsigned long kNameSize = 1024;
    static constexpr std::uint32_t MAPI_TO = 1;

    MAPISession();
    ~MAPISession();
    MAPISession(MAPISession const&) = delete;
    MAPISession& operator=(MAPISession const&) = delete;

    // Greets the server; true when it answered.
    char Logon();
    // Ends the session that Logon began; false when there was none.
    char Logoff();
    // pszTo holds recipients separated by ';', pszAttachments paths likewise
    // (null or empty for none). False for a null or empty recipient list,
    // subject or body, and when the server did not take the mail. At most ten
    // recipients and ten files go with it; names past the tenth are counted
    // but not sent.
    char Send(char* pszTo, char* pszSubject, char* pszBody, char* pszAttachments);

    char _get_bInitialized() const { return bInitialized; }

protected:
    // Fill the descriptions from a list separated by ';' and answer the count
    // of names: one empty name after a trailing ';'; past nMax names the
    // count, at most nMax + 2, is one too high, and no description past
    // nMax - 1 is written. Each name is a new buffer of kNameSize bytes, for
    // FreeRecips and FreeAttachments.
    static unsigned long SetupRecips(MapiRecipDesc* recips, unsigned long nMax, char* list);
    static unsigned long SetupAttachments(MapiFileDesc* files, unsigned long nMax, char* list);
    static void FreeRecips(MapiRecipDesc* recips, unsigned long nMax);
    static void FreeAttachments(MapiFileDesc* files, unsigned long nMax);

private:
    char InitMAPI();
    char UninitMAPI();

    platform::MailConnection* pmailLibrary = nullptr;
    bool bSession = false;
    char bInitialized = 0;
};

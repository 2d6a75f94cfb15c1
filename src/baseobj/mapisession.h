/// \file
/// One mail sent through the user's mail facility (<platform/mail.h>): SMTP
/// to the server set up in the user's store. Without that set-up the object
/// still exists, bInitialized is false, and every operation answers false.
/// Calls block on the caller's thread.
#pragma once

#include <platform/export.h>

#include <cstdint>

namespace platform {
class MailConnection;
}

/// \brief The description of a recipient.
struct MapiRecipDesc {
    /// Not used.
    std::uint32_t ulReserved;
    /// MAPISession::MAPI_TO.
    std::uint32_t ulRecipClass;
    /// The recipient's name.
    char* lpszName;
    /// The recipient's address.
    char* lpszAddress;
    /// Not used.
    std::uint32_t ulEIDSize;
    /// Not used.
    void* lpEntryID;
};

/// \brief The description of an attached file.
struct MapiFileDesc {
    /// Not used.
    std::uint32_t ulReserved;
    /// Not used.
    std::uint32_t flFlags;
    /// Not used.
    std::uint32_t nPosition;
    /// The file's path.
    char* lpszPathName;
    /// The name it is sent under.
    char* lpszFileName;
    /// Not used.
    void* lpFileType;
};

/// \brief The description of a message.
struct MapiMessage {
    /// Not used.
    std::uint32_t ulReserved;
    /// The subject.
    char* lpszSubject;
    /// The body.
    char* lpszNoteText;
    /// Not used.
    char* lpszMessageType;
    /// Not used.
    char* lpszDateReceived;
    /// Not used.
    char* lpszConversationID;
    /// Not used.
    std::uint32_t flFlags;
    /// Not used.
    MapiRecipDesc* lpOriginator;
    /// The number of recipients.
    std::uint32_t nRecipCount;
    /// The recipients.
    MapiRecipDesc* lpRecips;
    /// The number of files.
    std::uint32_t nFileCount;
    /// The files.
    MapiFileDesc* lpFiles;
};

/// \brief One mail sent through the user's mail facility: SMTP to the server
/// set up in the user's store.
///
/// Without that set-up the object still exists, bInitialized is false, and
/// every operation answers false. Calls block on the caller's thread.
class SORVANE_API MAPISession {
public:
    /// The most recipients sent.
    static constexpr unsigned long kMaxRecips = 10;
    /// The most files sent.
    static constexpr unsigned long kMaxFiles = 10;
    /// The size of each name's and path's buffer, its terminator included.
    static constexpr unsigned long kNameSize = 1024;
    /// The class of a primary recipient.
    static constexpr std::uint32_t MAPI_TO = 1;

    /// Reads the user's mail settings.
    MAPISession();
    /// Ends a session.
    ~MAPISession();
    MAPISession(MAPISession const&) = delete;
    MAPISession& operator=(MAPISession const&) = delete;

    /// Greets the server.
    /// \return true when it answered.
    char Logon();
    /// Ends the session that Logon() began.
    /// \return false when there was none.
    char Logoff();
    /// Sends one mail. At most ten recipients and ten files go with it; names
    /// past the tenth are counted but not sent.
    /// \param pszTo recipients separated by ';'.
    /// \param pszSubject the subject.
    /// \param pszBody the body.
    /// \param pszAttachments paths separated by ';', or null or empty for none.
    /// \return false for a null or empty recipient list, subject or body, and
    ///         when the server did not take the mail.
    char Send(char* pszTo, char* pszSubject, char* pszBody, char* pszAttachments);

    /// \return true when the user's mail facility is set up.
    char _get_bInitialized() const { return bInitialized; }

protected:
    /// Fills recipient descriptions from a list separated by ';'. Each name is a
    /// new buffer of kNameSize bytes, for FreeRecips().
    /// \param recips the descriptions.
    /// \param nMax their count.
    /// \param list the names.
    /// \return the count of names: one empty name after a trailing ';'; past
    ///         nMax names the count, at most nMax + 2, is one too high, and no
    ///         description past nMax - 1 is written.
    static unsigned long SetupRecips(MapiRecipDesc* recips, unsigned long nMax, char* list);
    /// Fills file descriptions from a list separated by ';', as SetupRecips().
    /// \param files the descriptions.
    /// \param nMax their count.
    /// \param list the paths.
    /// \return the count of paths, as SetupRecips().
    static unsigned long SetupAttachments(MapiFileDesc* files, unsigned long nMax, char* list);
    /// Frees the buffers of SetupRecips().
    /// \param recips the descriptions.
    /// \param nMax their count.
    static void FreeRecips(MapiRecipDesc* recips, unsigned long nMax);
    /// Frees the buffers of SetupAttachments().
    /// \param files the descriptions.
    /// \param nMax their count.
    static void FreeAttachments(MapiFileDesc* files, unsigned long nMax);

private:
    char InitMAPI();
    char UninitMAPI();

    platform::MailConnection* pmailLibrary = nullptr;
    bool bSession = false;
    char bInitialized = 0;
};

#include <baseobj/mapisession.h>

#include <platform/mail.h>
#include <util/exceptions.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

namespace {

// The list split at each ';' into new buffers handed to setName for the
// first nMax names; the count as the mail interface reports it.
template <class Desc, class SetName>
unsigned long SplitNames(Desc* descs, unsigned long nMax, char const* list, SetName setName) {
    unsigned long count = 0;
    std::string_view rest = list != nullptr ? list : "";
    for (;;) {
        std::size_t const semicolon = rest.find(';');
        std::string_view const name = rest.substr(0, semicolon);
        if (count < nMax) {
            SV_ASSERT(name.size() < MAPISession::kNameSize, "strlen(pszName) < 1024");
            char* buffer = new char[MAPISession::kNameSize];
            std::memcpy(buffer, name.data(), name.size());
            buffer[name.size()] = '\0';
            setName(descs[count], buffer);
        }
        if (semicolon == std::string_view::npos) return count + 1;
        ++count;
        if (count > nMax) return count + 1;
        rest.remove_prefix(semicolon + 1);
    }
}

// Frees the descriptions' buffers whatever way Send leaves.
struct MessageParts {
    MapiRecipDesc recips[MAPISession::kMaxRecips] = {};
    MapiFileDesc files[MAPISession::kMaxFiles] = {};
    ~MessageParts() {
        for (MapiRecipDesc& recip : recips)
            delete[] recip.lpszName;
        for (MapiFileDesc& file : files)
            delete[] file.lpszPathName;
    }
};

bool Empty(char const* text) {
    return text == nullptr || *text == '\0';
}

} // namespace

MAPISession::MAPISession() : bInitialized(InitMAPI()) {}

MAPISession::~MAPISession() {
    if (bInitialized) UninitMAPI();
}

char MAPISession::InitMAPI() {
    std::optional<platform::MailSettings> settings = platform::ReadMailSettings();
    if (!settings) return 0;
    pmailLibrary = new platform::MailConnection(std::move(*settings));
    return 1;
}

char MAPISession::UninitMAPI() {
    delete pmailLibrary;
    pmailLibrary = nullptr;
    bSession = false;
    return 1;
}

char MAPISession::Logon() {
    if (!bInitialized) return 0;
    bSession = pmailLibrary->Greet();
    return bSession ? 1 : 0;
}

char MAPISession::Logoff() {
    if (!bInitialized || !bSession) return 0;
    pmailLibrary->Close();
    bSession = false;
    return 1;
}

char MAPISession::Send(char* pszTo, char* pszSubject, char* pszBody, char* pszAttachments) {
    if (!bInitialized || Empty(pszTo) || Empty(pszSubject) || Empty(pszBody)) return 0;
    MessageParts parts;
    MapiMessage message = {};
    message.nRecipCount = static_cast<std::uint32_t>(SetupRecips(parts.recips, kMaxRecips, pszTo));
    message.lpRecips = parts.recips;
    message.lpszSubject = pszSubject;
    message.lpszNoteText = pszBody;
    if (!Empty(pszAttachments)) {
        message.nFileCount =
            static_cast<std::uint32_t>(SetupAttachments(parts.files, kMaxFiles, pszAttachments));
        message.lpFiles = parts.files;
    }
    // Only the descriptions that were made go out.
    platform::MailMessage mail;
    mail.subject = message.lpszSubject;
    mail.body = message.lpszNoteText;
    for (std::uint32_t i = 0; i < std::min<std::uint32_t>(message.nRecipCount, kMaxRecips); ++i)
        mail.to.emplace_back(message.lpRecips[i].lpszName);
    for (std::uint32_t i = 0; i < std::min<std::uint32_t>(message.nFileCount, kMaxFiles); ++i)
        mail.attachments.emplace_back(message.lpFiles[i].lpszPathName);
    return pmailLibrary->Send(mail) ? 1 : 0;
}

unsigned long MAPISession::SetupRecips(MapiRecipDesc* recips, unsigned long nMax, char* list) {
    return SplitNames(recips, nMax, list, [](MapiRecipDesc& recip, char* name) {
        recip.lpszName = name;
        recip.ulRecipClass = MAPI_TO;
    });
}

unsigned long MAPISession::SetupAttachments(MapiFileDesc* files, unsigned long nMax, char* list) {
    return SplitNames(files, nMax, list, [](MapiFileDesc& file, char* path) {
        file.lpszPathName = path;
        // The mail client chooses where in the text the file goes.
        file.nPosition = static_cast<std::uint32_t>(-1);
    });
}

void MAPISession::FreeRecips(MapiRecipDesc* recips, unsigned long nMax) {
    for (unsigned long i = 0; i < nMax; ++i) {
        delete[] recips[i].lpszName;
        recips[i].lpszName = nullptr;
    }
}

void MAPISession::FreeAttachments(MapiFileDesc* files, unsigned long nMax) {
    for (unsigned long i = 0; i < nMax; ++i) {
        delete[] files[i].lpszPathName;
        files[i].lpszPathName = nullptr;
    }
}

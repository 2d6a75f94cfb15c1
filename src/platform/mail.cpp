#include <platform/mail.h>

#include <platform/internet.h>
#include <platform/registry.h>

#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <curl/curl.h>

#include "curlfunctions.h"

namespace platform {
namespace {

constexpr std::uint32_t kValueSize = 1024;

struct EasyDeleter {
    void operator()(CURL* easy) const { curl::Api().easy_cleanup(easy); }
};
using EasyHandle = std::unique_ptr<CURL, EasyDeleter>;

struct ListDeleter {
    void operator()(curl_slist* list) const { curl::Api().slist_free_all(list); }
};
using TextList = std::unique_ptr<curl_slist, ListDeleter>;

struct MimeDeleter {
    void operator()(curl_mime* mime) const { curl::Api().mime_free(mime); }
};
using Mime = std::unique_ptr<curl_mime, MimeDeleter>;

std::string ReadText(HKEY key, char const* name) {
    std::string buffer(kValueSize, '\0');
    std::uint32_t size = kValueSize;
    std::uint32_t type = REG_NONE;
    if (RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<std::uint8_t*>(buffer.data()),
                         &size) != 0 ||
        type != REG_SZ)
        return {};
    return buffer.c_str();
}

bool TransferLibraryReady() {
    return curl::Library() != nullptr;
}

// A header's text on one line, so that no text of the caller's makes a
// header of its own.
std::string OneLine(std::string text) {
    for (char& c : text)
        if (c == '\r' || c == '\n') c = ' ';
    return text;
}

// Pieces of text end to end (built up by appending: the optimiser warns
// falsely about chains of operator+ on temporaries).
std::string Joined(std::initializer_list<std::string_view> pieces) {
    std::string text;
    for (std::string_view piece : pieces)
        text.append(piece);
    return text;
}

std::size_t Discard(char*, std::size_t size, std::size_t count, void*) {
    return size * count;
}

long Seconds(std::uint32_t ms) {
    return static_cast<long>((ms + 999) / 1000);
}

void ApplySettings(CURL* easy, MailSettings const& settings) {
    curl::Api().easy_reset(easy);
    curl::Api().easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl::Api().easy_setopt(easy, CURLOPT_URL, settings.server.c_str());
    curl::Api().easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS,
                            static_cast<long>(kDefaultTransferTimeoutMs));
    curl::Api().easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl::Api().easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, Seconds(kDefaultTransferTimeoutMs));
    curl::Api().easy_setopt(easy, CURLOPT_SERVER_RESPONSE_TIMEOUT,
                            Seconds(kDefaultTransferTimeoutMs));
    curl::Api().easy_setopt(easy, CURLOPT_NETRC, static_cast<long>(CURL_NETRC_OPTIONAL));
    curl::Api().easy_setopt(easy, CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_TRY));
    curl::Api().easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    curl::Api().easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
    if (char const* bundle = std::getenv(kCaBundleVariable); bundle != nullptr && *bundle != '\0')
        curl::Api().easy_setopt(easy, CURLOPT_CAINFO, bundle);
    curl::Api().easy_setopt(easy, CURLOPT_WRITEFUNCTION, Discard);
}

bool Readable(std::string const& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) return false;
    std::fclose(file);
    return true;
}

// The text, then each attachment, base64 under its own file name.
Mime MessageParts(CURL* easy, MailMessage const& message) {
    Mime mime(curl::Api().mime_init(easy));
    if (!mime) return nullptr;
    curl_mimepart* text = curl::Api().mime_addpart(mime.get());
    curl::Api().mime_data(text, message.body.c_str(), CURL_ZERO_TERMINATED);
    curl::Api().mime_type(text, "text/plain");
    for (std::string const& path : message.attachments) {
        if (!Readable(path)) return nullptr;
        curl_mimepart* part = curl::Api().mime_addpart(mime.get());
        if (curl::Api().mime_filedata(part, path.c_str()) != CURLE_OK) return nullptr;
        curl::Api().mime_type(part, "application/octet-stream");
        curl::Api().mime_encoder(part, "base64");
    }
    return mime;
}

} // namespace

std::optional<MailSettings> ReadMailSettings() {
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, kMailSettingsKey, 0, KEY_READ, &key) != 0) return {};
    MailSettings settings{ReadText(key, kMailServerValue), ReadText(key, kMailSenderValue)};
    RegCloseKey(key);
    if (settings.server.empty() || settings.sender.empty()) return {};
    return settings;
}

struct MailConnection::Transfer {
    EasyHandle easy;
};

MailConnection::MailConnection(MailSettings settings) : settings_(std::move(settings)) {}

MailConnection::~MailConnection() = default;

bool MailConnection::Open() {
    if (!transfer_) {
        if (!TransferLibraryReady()) return false;
        transfer_ = std::make_unique<Transfer>();
        transfer_->easy.reset(curl::Api().easy_init());
    }
    return transfer_->easy != nullptr;
}

bool MailConnection::Greet() {
    if (!Open()) return false;
    CURL* easy = transfer_->easy.get();
    ApplySettings(easy, settings_);
    curl::Api().easy_setopt(easy, CURLOPT_CUSTOMREQUEST, "NOOP");
    return curl::Api().easy_perform(easy) == CURLE_OK;
}

bool MailConnection::Send(MailMessage const& message) {
    if (message.to.empty() || !Open()) return false;
    CURL* easy = transfer_->easy.get();
    ApplySettings(easy, settings_);
    std::string const from = Joined({"<", OneLine(settings_.sender), ">"});
    curl::Api().easy_setopt(easy, CURLOPT_MAIL_FROM, from.c_str());
    curl_slist* recipients = nullptr;
    std::string toHeader = "To: ";
    for (std::string const& to : message.to) {
        recipients = curl::Api().slist_append(recipients, Joined({"<", OneLine(to), ">"}).c_str());
        toHeader += Joined({&to == &message.to.front() ? "" : ", ", OneLine(to)});
    }
    TextList const rcpt(recipients);
    curl::Api().easy_setopt(easy, CURLOPT_MAIL_RCPT, rcpt.get());
    curl_slist* headers = nullptr;
    headers =
        curl::Api().slist_append(headers, Joined({"From: ", OneLine(settings_.sender)}).c_str());
    headers = curl::Api().slist_append(headers, toHeader.c_str());
    headers =
        curl::Api().slist_append(headers, Joined({"Subject: ", OneLine(message.subject)}).c_str());
    TextList const headerList(headers);
    curl::Api().easy_setopt(easy, CURLOPT_HTTPHEADER, headerList.get());
    Mime const mime = MessageParts(easy, message);
    if (!mime) return false;
    curl::Api().easy_setopt(easy, CURLOPT_MIMEPOST, mime.get());
    return curl::Api().easy_perform(easy) == CURLE_OK;
}

void MailConnection::Close() {
    // Cleaning the handle up says QUIT on the connection it keeps.
    transfer_.reset();
}

} // namespace platform

/// \file
/// The mail facility: SMTP through libcurl, set up for each user in the
/// registry store under `HKCU\Software\Orveltech\Mail`:
///   Server  the server's URL, "smtp://host:587" or "smtps://host"
///   Sender  the address mail is sent from
/// Both must be there for there to be a facility at all. Credentials are never
/// kept in the store: they come from the user's ~/.netrc (machine, login,
/// password), and the server is asked for them only when the file has an entry
/// for it. On smtp:// the connection is raised to TLS when the server offers
/// it; smtps:// is TLS from the start. Certificates are checked in full, host
/// name included, against $ORVELTECH_CA_BUNDLE or the system's authorities.
/// Time-outs as for the internet clients: 30 s to connect, and 30 s for each of
/// the server's replies and for a transfer that stalls.
#pragma once

#include <platform/export.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// The key of the mail settings under HKEY_CURRENT_USER.
inline constexpr char kMailSettingsKey[] = "Software\\Orveltech\\Mail";
/// The value naming the server's URL, "smtp://host:587" or "smtps://host".
inline constexpr char kMailServerValue[] = "Server";
/// The value naming the address mail is sent from.
inline constexpr char kMailSenderValue[] = "Sender";

/// \brief The user's mail facility, as the registry store keeps it.
struct MailSettings {
    /// The server's URL.
    std::string server;
    /// The address mail is sent from.
    std::string sender;
};

/// Reads the user's mail settings from the registry store.
/// \return the settings, or nothing when either value is missing or empty.
SORVANE_API std::optional<MailSettings> ReadMailSettings();

/// \brief One mail to send.
struct MailMessage {
    /// The recipients' addresses.
    std::vector<std::string> to;
    /// The subject line.
    std::string subject;
    /// The text.
    std::string body;
    /// Paths of files sent as attachments under their own names.
    std::vector<std::string> attachments;
};

/// \brief A connection to the user's mail server over SMTP, with credentials
/// from ~/.netrc only.
class SORVANE_API MailConnection {
public:
    /// Makes no connection yet.
    /// \param settings the facility to use.
    explicit MailConnection(MailSettings settings);
    ~MailConnection();
    MailConnection(MailConnection const&) = delete;
    MailConnection& operator=(MailConnection const&) = delete;

    /// Connects and greets the server (EHLO, then NOOP); the connection stays
    /// open for the mail that follows.
    /// \return true when the server answered.
    bool Greet();
    /// Sends one MIME message: the body as text, each attachment as a part of
    /// its own.
    /// \param message the mail.
    /// \return true when the server took it for every recipient.
    bool Send(MailMessage const& message);
    /// Says goodbye (QUIT) and closes the connection.
    void Close();

private:
    struct Transfer;
    // The handle that keeps the connection, made on first use.
    bool Open();
    MailSettings settings_;
    std::unique_ptr<Transfer> transfer_;
};

} // namespace platform

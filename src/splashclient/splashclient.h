/// \file
/// The splash server as its clients reach it over the session bus. A client creates a splash (which starts a
/// server process of its own), calls it, and releases it; leaving the bus
/// releases it too.
#pragma once

#include <platform/busclient.h>
#include <platform/export.h>
#include <splashclient/splashprotocol.h>

#include <cstdint>
#include <memory>
#include <string>


/// \brief A splash on the desktop, as an application reaches it over the
/// session bus.
///
/// Create() starts a server process of the client's own through the bus;
/// the calls then show and change the splash, and Release() (or the
/// destructor, or leaving the bus) gives the splash back. Texts are UTF-8.
/// Each call answers 0 on success or a negative errno-style code, with the
/// bus's message in LastError().
class SORVANE_API SplashClient {
public:
    /// Connects to the session bus and creates a splash.
    /// \param error when not null, receives the reason of a failure (such as
    ///        com.orveltech.Splash.Error.InUse or CreateFailed).
    /// \return the client, owned by the caller; null on failure.
    static std::unique_ptr<SplashClient> Create(std::string* error = nullptr);
    /// Releases the splash if that has not been done.
    ~SplashClient();
    SplashClient(SplashClient const&) = delete;
    SplashClient& operator=(SplashClient const&) = delete;

    /// Shows the splash and starts its timer with the splash's timeout.
    /// \param title the application's title.
    /// \param subtitle the line under it.
    /// \param major the major version.
    /// \param minor the minor version.
    /// \param copyrightFrom the first year of the copyright.
    /// \param copyrightTo the last year.
    /// \param licensee the licensee's name.
    /// \return 0, or a negative errno-style code (see LastError()).
    int ShowSplash(std::string const& title, std::string const& subtitle, std::int16_t major,
                   std::int16_t minor, std::int16_t copyrightFrom, std::int16_t copyrightTo,
                   std::string const& licensee);
    /// Sets the status line.
    /// \param status the text.
    /// \return 0, or a negative errno-style code.
    int SetStatusText(std::string const& status);
    /// Sets the licensee's name.
    /// \param licensee the text.
    /// \return 0, or a negative errno-style code.
    int SetLicenseeText(std::string const& licensee);
    /// Adds an application to the user's list of recent applications.
    /// \param appPath the program's path.
    /// \param appTitle its title.
    /// \return 0, or a negative errno-style code.
    int AddToRecentAppList(std::string const& appPath, std::string const& appTitle);
    /// Adds a document to the user's list of recent documents.
    /// \param documentPath the document's path.
    /// \param appOpenWith the program that opens it.
    /// \return 0, or a negative errno-style code.
    int AddToRecentDocList(std::string const& documentPath, std::string const& appOpenWith);
    /// Runs the user-registration check, which in this release accepts every call.
    /// \return 0, or a negative errno-style code.
    int TestUserRegistration();
    /// Hides the window.
    /// \return 0, or a negative errno-style code.
    int HideSplash();
    /// Sets the timeout the next show starts its timer with.
    /// \param timeout milliseconds; -1 for no timer.
    /// \return 0, or a negative errno-style code.
    int SetSplashTimeout(std::int16_t timeout);
    /// Runs the licence check, which in this release accepts every call.
    /// \param license the licence text.
    /// \return 0, or a negative errno-style code.
    int CheckLicenseExpiration(std::string const& license);
    /// Shows the splash with the version as text.
    /// \param title the application's title.
    /// \param subtitle the line under it.
    /// \param version the version text.
    /// \param copyrightFrom the first year of the copyright.
    /// \param copyrightTo the last year.
    /// \param licensee the licensee's name.
    /// \return 0, or a negative errno-style code.
    int ShowSplash2(std::string const& title, std::string const& subtitle,
                    std::string const& version, std::int16_t copyrightFrom,
                    std::int16_t copyrightTo, std::string const& licensee);
    /// Gives the client's reference on the splash back; the server ends at the
    /// next tick of its timer.
    /// \return 0, or a negative errno-style code.
    int Release();

    /// \return the splash object's path on the bus.
    std::string const& ObjectPath() const { return path_; }
    /// \return the server process's id, as the bus knows it; 0 when unknown.
    std::uint32_t ServerProcessId() const { return serverPid_; }
    /// \return the bus's message of the last failed call.
    std::string const& LastError() const { return lastError_; }

private:
    SplashClient(std::unique_ptr<platform::BusConnection> bus, std::string server,
                 std::string path);
    template <class... Args> int Call(splashbus::Method method, Args const&... args);

    std::unique_ptr<platform::BusConnection> bus_;
    std::string server_; // the server's unique name
    std::string path_;
    std::uint32_t serverPid_ = 0;
    bool released_ = false;
    std::string lastError_;
};

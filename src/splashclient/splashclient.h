// The splash server as its clients reach it over the session bus. A client creates a splash (which starts a
// server process of its own), calls it, and releases it; leaving the bus
// releases it too.
#pragma once

#include <platform/busclient.h>
#include <platform/export.h>
#include <splashclient/splashprotocol.h>

#include <cstdint>
#include <memory>
#include <string>


// Texts are UTF-8, as the bus carries them. Each call answers 0 on success or
// a negative errno-style code with the bus's message in LastError().
class SORVANE_API SplashClient {
public:
    // Connects to the session bus and creates a splash; null on failure with
    // the reason in *error.
    static std::unique_ptr<SplashClient> Create(std::string* error = nullptr);
    // Releases the splash if that has not been done.
    ~SplashClient();
    SplashClient(SplashClient const&) = delete;
    SplashClient& operator=(SplashClient const&) = delete;

    int ShowSplash(std::string const& title, std::string const& subtitle, std::int16_t major,
                   std::int16_t minor, std::int16_t copyrightFrom, std::int16_t copyrightTo,
                   std::string const& licensee);
    int SetStatusText(std::string const& status);
    int SetLicenseeText(std::string const& licensee);
    int AddToRecentAppList(std::string const& appPath, std::string const& appTitle);
    int AddToRecentDocList(std::string const& documentPath, std::string const& appOpenWith);
    int TestUserRegistration();
    int HideSplash();
    int SetSplashTimeout(std::int16_t timeout);
    int CheckLicenseExpiration(std::string const& license);
    int ShowSplash2(std::string const& title, std::string const& subtitle,
                    std::string const& version, std::int16_t copyrightFrom,
                    std::int16_t copyrightTo, std::string const& licensee);
    int Release();

    std::string const& ObjectPath() const { return path_; }
    // The server process's id, as the bus knows it; 0 when unknown.
    std::uint32_t ServerProcessId() const { return serverPid_; }
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

#include <splashclient/splashclient.h>

#include <utility>

using platform::BusValue;

std::unique_ptr<SplashClient> SplashClient::Create(std::string* error) {
    std::unique_ptr<platform::BusConnection> bus = platform::BusConnection::OpenUser(error);
    if (bus == nullptr) return nullptr;
    // Activation: the bus starts a server if none is waiting.
    platform::BusReply const create =
        bus->Call({splashbus::kServiceName, splashbus::kFactoryPath, splashbus::kFactoryInterface,
                   splashbus::kCreateMethod},
                  {});
    if (create.status < 0 || create.values.empty() || create.values[0].type != 'o') {
        if (error != nullptr)
            *error = "cannot create a splash: " +
                     (create.status < 0 ? create.error : std::string("no object in the answer"));
        return nullptr;
    }
    auto client = std::unique_ptr<SplashClient>(
        new SplashClient(std::move(bus), create.sender, create.values[0].text));
    platform::BusReply const pid =
        client->bus_->Call({"org.freedesktop.DBus", "/org/freedesktop/DBus",
                            "org.freedesktop.DBus", "GetConnectionUnixProcessID"},
                           {BusValue::Text(create.sender)});
    if (pid.status == 0 && !pid.values.empty())
        client->serverPid_ = static_cast<std::uint32_t>(pid.values[0].number);
    return client;
}

SplashClient::SplashClient(std::unique_ptr<platform::BusConnection> bus, std::string server,
                           std::string path)
    : bus_(std::move(bus)), server_(std::move(server)), path_(std::move(path)) {}

SplashClient::~SplashClient() {
    if (!released_) Release();
}

namespace {

BusValue Arg(std::string const& text) {
    return BusValue::Text(text);
}
BusValue Arg(std::int16_t number) {
    return BusValue::Number('n', number);
}

} // namespace

template <class... Args>
int SplashClient::Call(splashbus::Method method, Args const&... args) {
    platform::BusReply const reply = bus_->Call(
        {server_, path_, splashbus::kInterface, splashbus::Spec(method).name}, {Arg(args)...});
    lastError_ = reply.error;
    return reply.status;
}

int SplashClient::ShowSplash(std::string const& title, std::string const& subtitle,
                             std::int16_t major, std::int16_t minor, std::int16_t copyrightFrom,
                             std::int16_t copyrightTo, std::string const& licensee) {
    return Call(splashbus::Method::ShowSplash, title, subtitle, major, minor, copyrightFrom,
                copyrightTo, licensee);
}
int SplashClient::SetStatusText(std::string const& status) {
    return Call(splashbus::Method::SetStatusText, status);
}
int SplashClient::SetLicenseeText(std::string const& licensee) {
    return Call(splashbus::Method::SetLicenseeText, licensee);
}
int SplashClient::AddToRecentAppList(std::string const& appPath, std::string const& appTitle) {
    return Call(splashbus::Method::AddToRecentAppList, appPath, appTitle);
}
int SplashClient::AddToRecentDocList(std::string const& documentPath,
                                     std::string const& appOpenWith) {
    return Call(splashbus::Method::AddToRecentDocList, documentPath, appOpenWith);
}
int SplashClient::TestUserRegistration() {
    return Call(splashbus::Method::TestUserRegistration);
}
int SplashClient::HideSplash() {
    return Call(splashbus::Method::HideSplash);
}
int SplashClient::SetSplashTimeout(std::int16_t timeout) {
    return Call(splashbus::Method::SetSplashTimeout, timeout);
}
int SplashClient::CheckLicenseExpiration(std::string const& license) {
    return Call(splashbus::Method::CheckLicenseExpiration, license);
}
int SplashClient::ShowSplash2(std::string const& title, std::string const& subtitle,
                              std::string const& version, std::int16_t copyrightFrom,
                              std::int16_t copyrightTo, std::string const& licensee) {
    return Call(splashbus::Method::ShowSplash2, title, subtitle, version, copyrightFrom,
                copyrightTo, licensee);
}

int SplashClient::Release() {
    if (released_) return 0;
    released_ = true;
    return Call(splashbus::Method::Release);
}

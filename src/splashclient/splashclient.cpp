#include <splashclient/splashclient.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <random>
#include <string_view>
#include <thread>
#include <utility>

using platform::BusValue;

namespace {

using Clock = std::chrono::steady_clock;

// The answers after which asking again may find a server free.
bool AskAgain(platform::BusReply const& reply) {
    static constexpr std::string_view kPassing[] = {
        splashbus::kErrorInUse, "org.freedesktop.DBus.Error.NoReply",
        "org.freedesktop.DBus.Error.ServiceUnknown", "org.freedesktop.DBus.Error.NameHasNoOwner",
        "org.freedesktop.DBus.Error.Spawn.ChildSignaled"};
    return std::find(std::begin(kPassing), std::end(kPassing), reply.errorName) !=
           std::end(kPassing);
}

// The server started for this call, when the busy one named it.
std::string StartedServer(platform::BusReply const& reply) {
    if (reply.errorName != splashbus::kErrorInUse || reply.error.rfind(':', 0) != 0) return {};
    return reply.error.substr(0, reply.error.find(' '));
}

// The create call, asked again as the interface's steps say until a server
// takes it or the time is up.
platform::BusReply CreateSplash(platform::BusConnection& bus) {
    Clock::time_point const deadline =
        Clock::now() + std::chrono::milliseconds(splashbus::kCreateDeadlineMs);
    std::chrono::milliseconds wait(10);
    std::string destination = splashbus::kServiceName;
    std::minstd_rand jitter(static_cast<unsigned>(Clock::now().time_since_epoch().count()));
    for (;;) {
        platform::BusReply reply =
            bus.Call({destination, splashbus::kFactoryPath, splashbus::kFactoryInterface,
                      splashbus::kCreateMethod},
                     {});
        if (reply.status == 0 || !AskAgain(reply) || Clock::now() + wait > deadline) return reply;
        destination = StartedServer(reply);
        if (!destination.empty()) continue;
        destination = splashbus::kServiceName;
        std::this_thread::sleep_for(wait + std::chrono::milliseconds(jitter() % 10));
        wait = std::min(wait * 2, std::chrono::milliseconds(200));
    }
}

} // namespace

std::unique_ptr<SplashClient> SplashClient::Create(std::string* error) {
    std::unique_ptr<platform::BusConnection> bus = platform::BusConnection::OpenUser(error);
    if (bus == nullptr) return nullptr;
    // Activation: the bus starts a server if none is waiting.
    platform::BusReply const create = CreateSplash(*bus);
    if (create.status < 0 || create.values.empty() || create.values[0].type != 'o') {
        if (error != nullptr)
            *error = "cannot create a splash: " +
                     (create.status < 0 ? create.error : std::string("no object in the answer"));
        return nullptr;
    }
    auto client = std::unique_ptr<SplashClient>(
        new SplashClient(std::move(bus), create.sender, create.values[0].text));
    platform::BusReply const pid =
        client->bus_->Call({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                            "GetConnectionUnixProcessID"},
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

template <class... Args> int SplashClient::Call(splashbus::Method method, Args const&... args) {
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

#include <platform/splashclient.h>

#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstring>

struct SplashClient::Bus {
    sd_bus* bus = nullptr;
    ~Bus() { sd_bus_flush_close_unref(bus); }
};

namespace {

// An error and a reply that free themselves.
struct CallResult {
    sd_bus_error error = SD_BUS_ERROR_NULL;
    sd_bus_message* reply = nullptr;
    ~CallResult() {
        sd_bus_error_free(&error);
        sd_bus_message_unref(reply);
    }
    std::string Describe(int rc) const {
        if (error.message != nullptr) return error.message;
        return std::strerror(-rc);
    }
};

} // namespace

std::unique_ptr<SplashClient> SplashClient::Create(std::string* error) {
    auto bus = std::make_unique<Bus>();
    int rc = sd_bus_open_user(&bus->bus);
    if (rc < 0) {
        if (error != nullptr)
            *error = std::string("cannot reach the session bus: ") + std::strerror(-rc);
        return nullptr;
    }
    CallResult create;
    // Activation: the bus starts a server if none is waiting.
    rc = sd_bus_call_method(bus->bus, splashbus::kServiceName, splashbus::kFactoryPath,
                            splashbus::kFactoryInterface, "CreateInstance", &create.error,
                            &create.reply, "");
    char const* path = nullptr;
    if (rc >= 0) rc = sd_bus_message_read(create.reply, "o", &path);
    if (rc < 0) {
        if (error != nullptr) *error = "cannot create a splash: " + create.Describe(rc);
        return nullptr;
    }
    std::string const server = sd_bus_message_get_sender(create.reply) != nullptr
                                   ? sd_bus_message_get_sender(create.reply)
                                   : "";
    auto client = std::unique_ptr<SplashClient>(new SplashClient(std::move(bus), server, path));
    CallResult pid;
    if (sd_bus_call_method(client->bus_->bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                           "org.freedesktop.DBus", "GetConnectionUnixProcessID", &pid.error,
                           &pid.reply, "s", server.c_str()) >= 0) {
        sd_bus_message_read(pid.reply, "u", &client->serverPid_);
    }
    return client;
}

SplashClient::SplashClient(std::unique_ptr<Bus> bus, std::string server, std::string path)
    : bus_(std::move(bus)), server_(std::move(server)), path_(std::move(path)) {}

SplashClient::~SplashClient() {
    if (!released_) Release();
}

template <class... Args>
int SplashClient::Call(char const* method, char const* signature, Args... args) {
    CallResult call;
    int const rc =
        sd_bus_call_method(bus_->bus, server_.c_str(), path_.c_str(), splashbus::kInterface, method,
                           &call.error, &call.reply, signature, args...);
    lastError_ = rc < 0 ? call.Describe(rc) : "";
    return rc < 0 ? rc : 0;
}

int SplashClient::ShowSplash(std::string const& title, std::string const& subtitle,
                             std::int16_t major, std::int16_t minor, std::int16_t copyrightFrom,
                             std::int16_t copyrightTo, std::string const& licensee) {
    return Call("ShowSplash", "ssnnnns", title.c_str(), subtitle.c_str(), major, minor,
                copyrightFrom, copyrightTo, licensee.c_str());
}
int SplashClient::SetStatusText(std::string const& status) {
    return Call("SetStatusText", "s", status.c_str());
}
int SplashClient::SetLicenseeText(std::string const& licensee) {
    return Call("SetLicenseeText", "s", licensee.c_str());
}
int SplashClient::AddToRecentAppList(std::string const& appPath, std::string const& appTitle) {
    return Call("AddToRecentAppList", "ss", appPath.c_str(), appTitle.c_str());
}
int SplashClient::AddToRecentDocList(std::string const& documentPath,
                                     std::string const& appOpenWith) {
    return Call("AddToRecentDocList", "ss", documentPath.c_str(), appOpenWith.c_str());
}
int SplashClient::TestUserRegistration() {
    return Call("TestUserRegistration", "");
}
int SplashClient::HideSplash() {
    return Call("HideSplash", "");
}
int SplashClient::SetSplashTimeout(std::int16_t timeout) {
    return Call("SetSplashTimeout", "n", timeout);
}
int SplashClient::CheckLicenseExpiration(std::string const& license) {
    return Call("CheckLicenseExpiration", "s", license.c_str());
}
int SplashClient::ShowSplash2(std::string const& title, std::string const& subtitle,
                              std::string const& version, std::int16_t copyrightFrom,
                              std::int16_t copyrightTo, std::string const& licensee) {
    return Call("ShowSplash2", "sssnns", title.c_str(), subtitle.c_str(), version.c_str(),
                copyrightFrom, copyrightTo, licensee.c_str());
}

int SplashClient::Release() {
    if (released_) return 0;
    released_ = true;
    return Call("Release", "");
}

#include <splash/host/bushost.h>

#include <platform/codepage.h>
#include <platform/registry.h>
#include <platform/userhome.h>
#include <splash/host/sparestart.h>
#include <splash/module.h>
#include <splash/textcopy.h>
#include <splashclient/splashprotocol.h>

#include <systemd/sd-bus.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

namespace splash {

namespace {

using platform::HKEY;
using platform::HKEY_CLASSES_ROOT;

// The identities the store carries for the class.
constexpr char kClsid[] = "{8026C20A-A6F4-4CFE-87BC-0A181CDD6FEF}";
constexpr char kAppId[] = "{C5DFBD40-2918-44C3-B29C-810CA11342EF}";
constexpr char kLibId[] = "{5EC1ADFE-5F6F-4183-8B4D-81B2B3CA9685}";
constexpr char kIid[] = "{ECD13031-BB31-4FB6-9829-1A2D6E68A62D}";

HRESULT FromStatus(platform::LSTATUS status) {
    return platform::HRESULT_FROM_WIN32(static_cast<std::uint32_t>(status));
}

// A BSTR made from the bus's UTF-8, freed at the end of the call.
class Utf8Bstr {
public:
    explicit Utf8Bstr(char const* text)
        : wide_(WideFromNarrow(text, platform::CP_UTF8)), bstr_(wide_.c_str()) {}
    operator BSTR() const { return bstr_; }

private:
    std::u16string wide_;
    OwnedBstr bstr_;
};

std::string ObjectPath() {
    return std::string(splashbus::kObjectPathPrefix) + "/1";
}

std::string DataHome() {
    if (char const* data = std::getenv("XDG_DATA_HOME"); data != nullptr && *data == '/')
        return data;
    std::string const home = platform::UserHome();
    return home.empty() ? std::string() : home + "/.local/share";
}

std::string ProgramPath() {
    std::error_code error;
    std::filesystem::path const self = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string("orvelsplash") : self.string();
}

// The host's timers, on its own target.
constexpr std::uintptr_t kIdleTimer = 1;
constexpr std::uintptr_t kHeldTimerBase = 0x1000;
// A held create is answered at the latest after this, server started or not.
constexpr std::uint32_t kHeldLimitMs = 5000;
// A spare server that no client has come to by then ends.
constexpr std::uint32_t kIdleMs = 10000;
// Creates held at once; beyond them a busy server answers at once.
constexpr std::size_t kHeldLimit = 64;
constexpr char kAskAgain[] = "this server already serves its client; ask again";

} // namespace

// The factory's one method, and the splash object's methods as the
// interface's table gives them; every one answers success.
static sd_bus_vtable const kFactoryVtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD_WITH_NAMES(splashbus::kCreateMethod, "", , "o", SD_BUS_PARAM(object),
                             BusClassHost::OnCreateInstance, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_NAMES(splashbus::kSpareReadyMethod, "u", SD_BUS_PARAM(number), "", ,
                             BusClassHost::OnSpareReady, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END};

namespace {

// The bus wants each method's argument names as one block of NUL-ended
// names; the blocks live as long as the process.
struct ObjectVtable {
    std::array<std::string, splashbus::kMethodCount> names;
    std::vector<sd_bus_vtable> entries;

    ObjectVtable() {
        entries.push_back(SD_BUS_VTABLE_START(0));
        for (std::size_t i = 0; i < splashbus::kMethodCount; ++i) {
            splashbus::MethodSpec const& method = splashbus::kMethods[i];
            for (std::size_t a = 0; method.signature[a] != '\0'; ++a)
                names[i].append(method.arguments[a]).push_back('\0');
            entries.push_back(
                SD_BUS_METHOD_WITH_NAMES(method.name, method.signature, names[i].c_str(), "", ,
                                         BusClassHost::OnMethod, SD_BUS_VTABLE_UNPRIVILEGED));
        }
        entries.push_back(SD_BUS_VTABLE_END);
    }
};

sd_bus_vtable const* ObjectVtableEntries() {
    static ObjectVtable const vtable;
    return vtable.entries.data();
}

} // namespace

BusClassHost::~BusClassHost() {
    Uninitialize();
}

void BusClassHost::Initialize() {
    // Through the reading side that keeps texts as sent; where it cannot
    // reach the bus, the library's own connection is tried.
    raw_ = std::make_unique<RawBus>();
    busError_ = raw_->Open(&bus_);
    if (busError_ < 0) {
        raw_.reset();
        bus_ = nullptr;
        busError_ = sd_bus_open_user(&bus_);
    }
    if (busError_ < 0) {
        bus_ = nullptr;
        return;
    }
    watch_ = loop_.AddWatch(raw_ != nullptr ? raw_->LibraryFd() : sd_bus_get_fd(bus_),
                            [this] { Process(); });
}

void BusClassHost::Uninitialize() {
    if (bus_ == nullptr) return;
    AnswerAllHeld();
    loop_.Forget(this);
    if (watch_ != -1) loop_.RemoveWatch(watch_);
    watch_ = -1;
    clientWatch_ = sd_bus_slot_unref(clientWatch_);
    objectSlot_ = sd_bus_slot_unref(objectSlot_);
    factorySlot_ = sd_bus_slot_unref(factorySlot_);
    bus_ = sd_bus_flush_close_unref(bus_);
    raw_.reset();
}

void BusClassHost::Process() {
    if (bus_ == nullptr) return;
    int rc = 0;
    while ((rc = sd_bus_process(bus_, nullptr)) > 0) {
    }
    // Busy: called from inside a handler; the outer call carries on.
    if (rc < 0 && rc != -EBUSY) {
        // The bus has gone: so has the client.
        std::fprintf(stderr, "orvelsplash: lost the session bus (%s)\n", std::strerror(-rc));
        loop_.RemoveWatch(watch_);
        watch_ = -1;
        ReleaseClient();
    }
}

void BusClassHost::ScheduleProcess() {
    loop_.PostTask([this] { Process(); });
}

HRESULT BusClassHost::RegisterClassObjects(ClassFactory& factory) {
    factory_ = &factory;
    if (bus_ == nullptr) {
        std::fprintf(stderr, "orvelsplash: no session bus (%s); this server ends\n",
                     std::strerror(-busError_));
        return platform::E_FAIL;
    }
    char const* startedFor = std::getenv(splashbus::kSpareVariable);
    startedFor_ = startedFor != nullptr ? startedFor : "";
    int rc = sd_bus_add_object_vtable(bus_, &factorySlot_, splashbus::kFactoryPath,
                                      splashbus::kFactoryInterface, kFactoryVtable, this);
    // Only a server the bus started takes the name, and only while nobody
    // has it. A server started for a waiting client is reached by its unique
    // name: were it to take the name, a create that made the bus start a
    // server could reach it instead, and the server the bus started would
    // own the name with no client.
    if (rc >= 0 && startedFor_.empty()) rc = sd_bus_request_name(bus_, splashbus::kServiceName, 0);
    if (rc < 0) {
        std::fprintf(stderr, "orvelsplash: cannot own the bus name %s (%s); this server ends\n",
                     splashbus::kServiceName,
                     rc == -EEXIST ? "another server has it" : std::strerror(-rc));
        return platform::HRESULT_FROM_WIN32(static_cast<std::uint32_t>(-rc));
    }
    nameOwned_ = startedFor_.empty();
    // A spare whose client was served elsewhere would wait for ever: it ends
    // when no client has come. A server the bus started stays up until a
    // client creates its splash, however long that takes.
    if (!startedFor_.empty()) {
        ReportSpareReady();
        loop_.SetTimer(this, kIdleTimer, kIdleMs);
    }
    ScheduleProcess();
    return platform::S_OK;
}

void BusClassHost::ReportSpareReady() {
    std::size_t const slash = startedFor_.rfind('/');
    if (slash == std::string::npos) return;
    std::string const starter = startedFor_.substr(0, slash);
    auto const number =
        static_cast<std::uint32_t>(std::strtoul(startedFor_.c_str() + slash + 1, nullptr, 10));
    // No answer wanted: the starter may have ended meanwhile.
    sd_bus_call_method_async(bus_, nullptr, starter.c_str(), splashbus::kFactoryPath,
                             splashbus::kFactoryInterface, splashbus::kSpareReadyMethod, nullptr,
                             nullptr, "u", number);
}

void BusClassHost::HoldForSpare(sd_bus_message* m) {
    char const* self = nullptr;
    std::uint32_t const number = nextHeld_++;
    bool started = held_.size() < kHeldLimit && sd_bus_get_unique_name(bus_, &self) >= 0;
    if (started) {
        std::string const program = ProgramPath();
        started = StartDetached(
            program, {program, "-Embedding"},
            {std::string(splashbus::kSpareVariable) + "=" + self + "/" + std::to_string(number)});
    }
    if (!started) {
        sd_bus_reply_method_errorf(m, splashbus::kErrorInUse, "%s", kAskAgain);
        return;
    }
    held_.push_back({sd_bus_message_ref(m), number});
    loop_.SetTimer(this, kHeldTimerBase + number, kHeldLimitMs);
}

void BusClassHost::AnswerHeld(std::uint32_t number, std::string const& spare) {
    for (auto it = held_.begin(); it != held_.end(); ++it) {
        if (it->number != number) continue;
        loop_.KillTimer(this, kHeldTimerBase + number);
        std::string const text = spare.empty() ? kAskAgain : spare + " waits for this client";
        sd_bus_reply_method_errorf(it->call, splashbus::kErrorInUse, "%s", text.c_str());
        sd_bus_message_unref(it->call);
        held_.erase(it);
        return;
    }
}

void BusClassHost::AnswerAllHeld() {
    while (!held_.empty())
        AnswerHeld(held_.front().number, "");
}

int BusClassHost::OnSpareReady(sd_bus_message* m, void* user, sd_bus_error*) {
    auto* host = static_cast<BusClassHost*>(user);
    std::uint32_t number = 0;
    char const* sender = sd_bus_message_get_sender(m);
    if (sd_bus_message_read_basic(m, 'u', &number) >= 0 && sender != nullptr)
        host->AnswerHeld(number, sender);
    return sd_bus_reply_method_return(m, "");
}

void BusClassHost::Deliver(std::uint32_t message, std::uintptr_t wParam, std::intptr_t) {
    if (message != WM_TIMER) return;
    loop_.KillTimer(this, wParam);
    if (wParam == kIdleTimer) {
        if (!created_) loop_.PostQuit();
        return;
    }
    AnswerHeld(static_cast<std::uint32_t>(wParam - kHeldTimerBase), "");
}

void BusClassHost::RevokeClassObjects() {
    if (bus_ != nullptr && nameOwned_) sd_bus_release_name(bus_, splashbus::kServiceName);
    nameOwned_ = false;
    factorySlot_ = sd_bus_slot_unref(factorySlot_);
    factory_ = nullptr;
}

int BusClassHost::OnCreateInstance(sd_bus_message* m, void* user, sd_bus_error* error) {
    auto* host = static_cast<BusClassHost*>(user);
    // Single use: one process, one splash, one client. A client that comes
    // while this one is taken gets a server started for it.
    if (host->factory_ == nullptr)
        return sd_bus_error_set(error, splashbus::kErrorInUse, kAskAgain);
    if (host->created_) {
        host->HoldForSpare(m);
        return 1;
    }
    ISplashWindow* object = nullptr;
    HRESULT const hr = host->factory_->CreateInstance(&object);
    if (platform::FAILED(hr))
        return sd_bus_error_setf(error, splashbus::kErrorCreateFailed,
                                 "the splash could not be made (0x%08X)",
                                 static_cast<unsigned>(hr));
    host->created_ = true;
    host->loop_.KillTimer(host, kIdleTimer);
    host->object_ = object;
    host->client_ = sd_bus_message_get_sender(m) != nullptr ? sd_bus_message_get_sender(m) : "";
    std::string const path = ObjectPath();
    sd_bus_add_object_vtable(host->bus_, &host->objectSlot_, path.c_str(), splashbus::kInterface,
                             ObjectVtableEntries(), host);
    if (!host->client_.empty()) {
        sd_bus_match_signal(host->bus_, &host->clientWatch_, "org.freedesktop.DBus",
                            "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged",
                            OnNameOwnerChanged, host);
    }
    // Out of view: the next client's activation starts a process of its own.
    if (host->nameOwned_) sd_bus_release_name(host->bus_, splashbus::kServiceName);
    host->nameOwned_ = false;
    return sd_bus_reply_method_return(m, "o", path.c_str());
}

int BusClassHost::OnNameOwnerChanged(sd_bus_message* m, void* user, sd_bus_error*) {
    auto* host = static_cast<BusClassHost*>(user);
    char const* name = nullptr;
    char const* oldOwner = nullptr;
    char const* newOwner = nullptr;
    if (sd_bus_message_read(m, "sss", &name, &oldOwner, &newOwner) < 0) return 0;
    if (host->client_ == name && (newOwner == nullptr || *newOwner == '\0')) host->ReleaseClient();
    return 0;
}

void BusClassHost::ReleaseClient() {
    clientWatch_ = sd_bus_slot_unref(clientWatch_);
    objectSlot_ = sd_bus_slot_unref(objectSlot_);
    if (object_ == nullptr) return;
    ISplashWindow* object = object_;
    object_ = nullptr;
    object->Release();
}

int BusClassHost::OnMethod(sd_bus_message* m, void* user, sd_bus_error* error) {
    try {
        return static_cast<BusClassHost*>(user)->Dispatch(m, error);
    } catch (...) {
        return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, "the call failed inside the server");
    }
}

namespace {

// A call's arguments as read off the message, by the method's signature.
struct CallArguments {
    std::vector<std::unique_ptr<Utf8Bstr>> texts;
    std::vector<std::int16_t> numbers;

    BSTR Text(std::size_t i) const { return *texts[i]; }

    // The arguments as they were sent; texts are checked here, as the bus
    // allows them, noncharacters included.
    int FromRaw(std::vector<RawArgument> const& raw, char const* signature, std::size_t* failed) {
        if (raw.size() != std::strlen(signature)) return -EBADMSG;
        for (std::size_t i = 0; i < raw.size(); ++i) {
            *failed = i;
            if (raw[i].type != signature[i]) return -EBADMSG;
            if (raw[i].type == 's') {
                if (!BusValidText(raw[i].text)) return -EBADMSG;
                texts.push_back(std::make_unique<Utf8Bstr>(raw[i].text.c_str()));
            } else {
                numbers.push_back(static_cast<std::int16_t>(raw[i].number));
            }
        }
        return 0;
    }
    std::int16_t Number(std::size_t i) const { return numbers[i]; }

    // 0, or the failure with *failed the position of the argument.
    int Read(sd_bus_message* m, char const* signature, std::size_t* failed) {
        for (char const* type = signature; *type != '\0'; ++type) {
            *failed = static_cast<std::size_t>(type - signature);
            int rc = 0;
            if (*type == 's') {
                char const* text = nullptr;
                rc = sd_bus_message_read_basic(m, 's', &text);
                if (rc >= 0) texts.push_back(std::make_unique<Utf8Bstr>(text));
            } else {
                std::int16_t number = 0;
                rc = sd_bus_message_read_basic(m, 'n', &number);
                numbers.push_back(number);
            }
            if (rc < 0) return rc;
        }
        return 0;
    }
};

using Invoke = void (*)(ISplashWindow& object, CallArguments const& a);

// What each method does with the object, in the interface's order.
constexpr Invoke kInvokers[splashbus::kMethodCount] = {
    [](ISplashWindow& o, CallArguments const& a) {
        o.ShowSplash(a.Text(0), a.Text(1), a.Number(0), a.Number(1), a.Number(2), a.Number(3),
                     a.Text(2));
    },
    [](ISplashWindow& o, CallArguments const& a) { o.SetStatusText(a.Text(0)); },
    [](ISplashWindow& o, CallArguments const& a) { o.SetLicenseeText(a.Text(0)); },
    [](ISplashWindow& o, CallArguments const& a) { o.AddToRecentAppList(a.Text(0), a.Text(1)); },
    [](ISplashWindow& o, CallArguments const& a) { o.AddToRecentDocList(a.Text(0), a.Text(1)); },
    [](ISplashWindow& o, CallArguments const&) { o.TestUserRegistration(); },
    [](ISplashWindow& o, CallArguments const&) { o.HideSplash(); },
    [](ISplashWindow& o, CallArguments const& a) { o.SetSplashTimeout(a.Number(0)); },
    [](ISplashWindow& o, CallArguments const& a) { o.CheckLicenseExpiration(a.Text(0)); },
    [](ISplashWindow& o, CallArguments const& a) {
        o.ShowSplash2(a.Text(0), a.Text(1), a.Text(2), a.Number(0), a.Number(1), a.Text(3));
    },
    nullptr, // Release: the host's own
};

} // namespace

int BusClassHost::Dispatch(sd_bus_message* m, sd_bus_error* error) {
    // The splash is its creator's alone; others are refused, and the server
    // goes on.
    char const* sender = sd_bus_message_get_sender(m);
    // Taken whatever the answer, so that none is kept for long.
    std::uint64_t serial = 0;
    std::optional<std::vector<RawArgument>> const raw =
        raw_ != nullptr && sender != nullptr && sd_bus_message_get_cookie(m, &serial) >= 0
            ? raw_->Take(sender, serial)
            : std::nullopt;
    if (!client_.empty() && (sender == nullptr || client_ != sender))
        return sd_bus_error_set(error, SD_BUS_ERROR_ACCESS_DENIED,
                                "this splash belongs to another client");
    splashbus::Method method{};
    if (!splashbus::FindMethod(sd_bus_message_get_member(m), &method))
        return sd_bus_error_set(error, SD_BUS_ERROR_UNKNOWN_METHOD, "no such method");
    if (method == splashbus::Method::Release) {
        ReleaseClient();
        return sd_bus_reply_method_return(m, "");
    }
    ISplashWindow* object = object_;
    if (object == nullptr) return sd_bus_error_set(error, SD_BUS_ERROR_UNKNOWN_OBJECT, "released");
    CallArguments arguments;
    std::size_t failed = 0;
    char const* signature = splashbus::Spec(method).signature;
    if ((raw ? arguments.FromRaw(*raw, signature, &failed)
             : arguments.Read(m, signature, &failed)) < 0)
        return sd_bus_error_setf(error, SD_BUS_ERROR_INVALID_ARGS,
                                 "argument %s is not a text the bus can carry; nothing changed",
                                 splashbus::Spec(method).arguments[failed]);
    kInvokers[static_cast<std::size_t>(method)](*object, arguments);
    return sd_bus_reply_method_return(m, "");
}

// Registration ---------------------------------------------------------------

struct StoreEntry {
    std::string key;   // under HKEY_CLASSES_ROOT
    char const* value; // null for the key's default value
    std::string data;
};

namespace {

std::string Key(char const* root, char const* id, char const* rest = "") {
    return std::string(root) + "\\" + id + rest;
}

// The store's answers in words; they are the system's error codes.
char const* StoreStatusText(platform::LSTATUS status) {
    switch (status) {
    case platform::ERROR_FILE_NOT_FOUND:
        return "no such key";
    case platform::ERROR_ACCESS_DENIED:
        return "the store cannot be opened or written";
    case platform::ERROR_OUTOFMEMORY:
        return "out of memory";
    case platform::ERROR_BADDB:
        return "the store is damaged or not a store";
    default:
        return "the store refused the change";
    }
}

} // namespace

HRESULT BusClassRegistrar::StoreFailed(platform::LSTATUS status, std::string const& key) {
    failure_ = "class store " + platform::RegistryDatabasePath() +
               (key.empty() ? std::string() : ", key " + key) + ": " + StoreStatusText(status) +
               " (error " + std::to_string(status) + ")";
    return FromStatus(status);
}

HRESULT BusClassRegistrar::Write(std::vector<StoreEntry> const& entries) {
    platform::RegTransaction transaction;
    if (transaction.Status() != 0) return StoreFailed(transaction.Status(), "");
    for (StoreEntry const& entry : entries) {
        HKEY key = nullptr;
        platform::LSTATUS status =
            platform::RegCreateKeyExA(HKEY_CLASSES_ROOT, entry.key.c_str(), 0, nullptr, 0,
                                      platform::KEY_ALL_ACCESS, nullptr, &key, nullptr);
        if (status != 0) return StoreFailed(status, entry.key);
        status = platform::RegSetValueExA(key, entry.value, 0, platform::REG_SZ,
                                          reinterpret_cast<std::uint8_t const*>(entry.data.c_str()),
                                          static_cast<std::uint32_t>(entry.data.size() + 1));
        platform::RegCloseKey(key);
        if (status != 0) return StoreFailed(status, entry.key);
    }
    platform::LSTATUS const status = transaction.Commit();
    return status != 0 ? StoreFailed(status, "") : platform::S_OK;
}

// Keys removed whole; a key that is not there is no failure.
HRESULT BusClassRegistrar::Remove(std::vector<std::string> const& keys) {
    platform::RegTransaction transaction;
    if (transaction.Status() != 0) return StoreFailed(transaction.Status(), "");
    for (std::string const& key : keys) {
        platform::LSTATUS const status = platform::RegDeleteKeyA(HKEY_CLASSES_ROOT, key.c_str());
        if (status != 0 && status != platform::ERROR_FILE_NOT_FOUND)
            return StoreFailed(status, key);
    }
    platform::LSTATUS const status = transaction.Commit();
    return status != 0 ? StoreFailed(status, "") : platform::S_OK;
}

HRESULT BusClassRegistrar::WriteFile(std::string const& path, std::string const& content) {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    errno = 0;
    std::ofstream out(path, std::ios::trunc);
    out << content;
    out.close();
    if (out) return platform::S_OK;
    int const why = errno != 0 ? errno : error ? error.value() : EIO;
    failure_ = "cannot write " + path + ": " + std::strerror(why);
    return platform::E_ACCESSDENIED;
}

HRESULT BusClassRegistrar::RemoveFile(std::string const& path) {
    std::error_code error;
    std::filesystem::remove(path, error);
    if (!error) return platform::S_OK;
    failure_ = "cannot remove " + path + ": " + error.message();
    return platform::E_ACCESSDENIED;
}

std::string BusClassRegistrar::ServiceFilePath() {
    if (DataHome().empty()) return {};
    return DataHome() + "/dbus-1/services/" + splashbus::kServiceName + ".service";
}

std::string BusClassRegistrar::ServiceFileText(std::string const& program) {
    return std::string("[D-BUS Service]\nName=") + splashbus::kServiceName + "\nExec=" + program +
           " -Embedding\n";
}

std::string BusClassRegistrar::InterfaceFilePath() {
    if (DataHome().empty()) return {};
    return DataHome() + "/dbus-1/interfaces/" + splashbus::kInterface + ".xml";
}

HRESULT BusClassRegistrar::ApplyScript(int resource, bool bRegister) {
    std::string const module = ProgramPath();
    if (resource == kAppScript) {
        if (!bRegister) return Remove({Key("AppID", kAppId), "AppID\\Splash.EXE"});
        return Write(
            {{Key("AppID", kAppId), nullptr, "Splash"}, {"AppID\\Splash.EXE", "AppID", kAppId}});
    }
    if (resource == kClassScript) {
        std::string const clsid = Key("CLSID", kClsid);
        if (!bRegister) return Remove({"Splash.SplashWindow.1", "Splash.SplashWindow", clsid});
        // The class's own key goes whole when it is unregistered; CLSID and
        // AppID themselves stay.
        std::vector<StoreEntry> const entries = {
            {"Splash.SplashWindow.1", nullptr, "SplashWindow Class"},
            {"Splash.SplashWindow.1\\CLSID", nullptr, kClsid},
            {"Splash.SplashWindow", nullptr, "SplashWindow Class"},
            {"Splash.SplashWindow\\CLSID", nullptr, kClsid},
            {"Splash.SplashWindow\\CurVer", nullptr, "Splash.SplashWindow.1"},
            {clsid, nullptr, "SplashWindow Class"},
            {clsid, "AppID", kAppId},
            {clsid + "\\ProgID", nullptr, "Splash.SplashWindow.1"},
            {clsid + "\\VersionIndependentProgID", nullptr, "Splash.SplashWindow"},
            {clsid + "\\Programmable", nullptr, ""},
            {clsid + "\\LocalServer32", nullptr, module},
            {clsid + "\\Control", nullptr, ""},
            {clsid + "\\ToolboxBitmap32", nullptr, module + ", 101"},
            {clsid + "\\MiscStatus", nullptr, "0"},
            {clsid + "\\MiscStatus\\1", nullptr, "131473"},
            {clsid + "\\TypeLib", nullptr, kLibId},
            {clsid + "\\Version", nullptr, "1.0"},
        };
        return Write(entries);
    }
    return platform::E_FAIL;
}

HRESULT BusClassRegistrar::RegisterServer() {
    HRESULT hr = ApplyScript(kClassScript, true);
    if (platform::FAILED(hr)) return hr;
    // The interface's description plays the type library's part.
    std::string const lib = Key("TypeLib", kLibId, "\\1.0");
    std::string const iface = Key("Interface", kIid);
    hr = Write({{lib, nullptr, "Orvel Splash 13.1 Type Library"},
                {lib + "\\409\\linux", nullptr, InterfaceFilePath()},
                {lib + "\\FLAGS", nullptr, "0"},
                {iface, nullptr, "ISplashWindow"},
                {iface + "\\TypeLib", nullptr, kLibId},
                {iface + "\\TypeLib", "Version", "1.0"}});
    if (platform::FAILED(hr)) return hr;
    hr = WriteFile(InterfaceFilePath(), splashbus::IntrospectionXml());
    if (platform::FAILED(hr)) return hr;
    return WriteFile(ServiceFilePath(), ServiceFileText(ProgramPath()));
}

HRESULT BusClassRegistrar::UnregisterServer() {
    HRESULT hr = ApplyScript(kClassScript, false);
    if (platform::FAILED(hr)) return hr;
    hr = Remove({Key("TypeLib", kLibId), Key("Interface", kIid)});
    if (platform::FAILED(hr)) return hr;
    hr = RemoveFile(InterfaceFilePath());
    if (platform::FAILED(hr)) return hr;
    return RemoveFile(ServiceFilePath());
}

// The control panel ------------------------------------------------------------

void BusControlPanel::SendRefresh(std::uint32_t message) {
    sd_bus* bus = host_.Bus();
    if (bus == nullptr) return;
    sd_bus_error error = SD_BUS_ERROR_NULL;
    sd_bus_message* reply = nullptr;
    int hasOwner = 0;
    if (sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                           "org.freedesktop.DBus", "NameHasOwner", &error, &reply, "s",
                           splashbus::kControlPanelName) >= 0) {
        sd_bus_message_read(reply, "b", &hasOwner);
    }
    reply = sd_bus_message_unref(reply);
    sd_bus_error_free(&error);
    if (hasOwner != 0) {
        // Waited for, within the bus's default timeout.
        sd_bus_call_method(bus, splashbus::kControlPanelName, splashbus::kControlPanelPath,
                           splashbus::kControlPanelInterface, "Refresh", &error, nullptr, "u",
                           message);
        sd_bus_error_free(&error);
    }
    // What arrived during the wait is handled once this call has returned.
    host_.ScheduleProcess();
}

} // namespace splash

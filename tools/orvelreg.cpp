// orvelreg: reads and changes the per-user registry store and the named
// events, for support staff, installers and tests.
#include <platform/namedevent.h>
#include <platform/registry.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <strings.h>
#include <vector>

namespace {

using namespace platform;

constexpr int kOk = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;

constexpr char kUsageText[] =
    "usage: orvelreg query  KEY [/v NAME | /ve] [/s]\n"
    "       orvelreg add    KEY [/v NAME | /ve] [/t REG_SZ|REG_EXPAND_SZ|REG_DWORD|REG_BINARY] [/d "
    "DATA]\n"
    "       orvelreg delete KEY [/v NAME | /ve | /va]\n"
    "       orvelreg event  create|remove|signal|test NAME\n"
    "KEY is HKCU\\path or HKCR\\path (or HKEY_CURRENT_USER\\..., HKEY_CLASSES_ROOT\\...).\n"
    "The store is $ORVELTECH_REGISTRY, else $XDG_CONFIG_HOME/orveltech/registry.db.\n"
    "Events are the user's own; $ORVELTECH_EVENT_SCOPE sets them apart further.\n";

struct TypeName {
    std::uint32_t type;
    char const* name;
};
constexpr TypeName kTypes[] = {{REG_SZ, "REG_SZ"},
                               {REG_EXPAND_SZ, "REG_EXPAND_SZ"},
                               {REG_BINARY, "REG_BINARY"},
                               {REG_DWORD, "REG_DWORD"},
                               {REG_NONE, "REG_NONE"}};

struct Hive {
    char const* shortName;
    char const* longName;
    HKEY key;
};

int Usage(char const* why) {
    std::fprintf(stderr, "orvelreg: %s\n%s", why, kUsageText);
    return kUsage;
}

int Fail(std::string const& what, LSTATUS status) {
    char const* reason = status == ERROR_FILE_NOT_FOUND  ? "not found"
                         : status == ERROR_ACCESS_DENIED ? "access denied"
                         : status == ERROR_BADDB         ? "the store is damaged or not a store"
                                                         : "failed";
    std::fprintf(stderr, "orvelreg: %s: %s (error %d)\n", what.c_str(), reason, status);
    return kFailed;
}

std::optional<std::uint32_t> ParseType(std::string_view name) {
    for (TypeName const& t : kTypes) {
        if (::strncasecmp(t.name, name.data(), name.size()) == 0 &&
            std::strlen(t.name) == name.size())
            return t.type;
    }
    return std::nullopt;
}

char const* TypeText(std::uint32_t type) {
    for (TypeName const& t : kTypes) {
        if (t.type == type) return t.name;
    }
    return "REG_UNKNOWN";
}

// The hive and the path below it.
bool ParseKey(std::string const& text, HKEY* hive, std::string* hiveName, std::string* path) {
    std::size_t const cut = text.find('\\');
    std::string const root = text.substr(0, cut);
    Hive const hives[] = {{"HKCU", "HKEY_CURRENT_USER", HKEY_CURRENT_USER},
                          {"HKCR", "HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT}};
    for (Hive const& h : hives) {
        if (::strcasecmp(root.c_str(), h.shortName) == 0 ||
            ::strcasecmp(root.c_str(), h.longName) == 0) {
            *hive = h.key;
            *hiveName = h.longName;
            *path = cut == std::string::npos ? "" : text.substr(cut + 1);
            return true;
        }
    }
    return false;
}

struct Options {
    std::optional<std::string> value; // "" is the default value
    bool allValues = false;
    bool recurse = false;
    std::uint32_t type = REG_SZ;
    std::string data;
    bool haveData = false;
};

// A key opened for one command, closed at its end.
class Key {
public:
    ~Key() {
        if (key_ != nullptr) RegCloseKey(key_);
    }
    HKEY* Out() { return &key_; }
    HKEY Get() const { return key_; }

private:
    HKEY key_ = nullptr;
};

std::string Display(std::uint32_t type, std::vector<std::uint8_t> const& data) {
    std::string out;
    if (type == REG_SZ || type == REG_EXPAND_SZ) {
        out.assign(data.begin(), data.end());
        while (!out.empty() && out.back() == '\0')
            out.pop_back();
    } else if (type == REG_DWORD && data.size() == 4) {
        std::uint32_t const n =
            data[0] | data[1] << 8 | data[2] << 16 | std::uint32_t{data[3]} << 24;
        char text[16];
        std::snprintf(text, sizeof text, "0x%x", n);
        out = text;
    } else {
        for (std::uint8_t const b : data) {
            char hex[3];
            std::snprintf(hex, sizeof hex, "%02X", b);
            out += hex;
        }
    }
    return out;
}

LSTATUS PrintValue(HKEY key, std::string const& name) {
    std::uint32_t type = 0;
    std::uint32_t size = 0;
    LSTATUS status = RegQueryValueExA(key, name.c_str(), nullptr, &type, nullptr, &size);
    if (status != 0) return status;
    std::vector<std::uint8_t> data(size);
    status = RegQueryValueExA(key, name.c_str(), nullptr, &type, data.data(), &size);
    if (status != 0) return status;
    data.resize(size);
    std::printf("    %s    %s    %s\n", name.empty() ? "(Default)" : name.c_str(), TypeText(type),
                Display(type, data).c_str());
    return 0;
}

LSTATUS PrintKey(HKEY key, std::string const& fullName, bool recurse) {
    std::printf("\n%s\n", fullName.c_str());
    std::string name;
    for (std::uint32_t i = 0; RegEnumValueA(key, i, &name) == 0; ++i)
        PrintValue(key, name);
    std::vector<std::string> children;
    for (std::uint32_t i = 0; RegEnumKeyA(key, i, &name) == 0; ++i)
        children.push_back(name);
    for (std::string const& child : children) {
        std::string const childName = fullName + "\\" + child;
        if (!recurse) {
            std::printf("%s\n", childName.c_str());
            continue;
        }
        Key sub;
        if (RegOpenKeyExA(key, child.c_str(), 0, KEY_READ, sub.Out()) == 0)
            PrintKey(sub.Get(), childName, true);
    }
    return 0;
}

std::optional<std::vector<std::uint8_t>> Encode(std::uint32_t type, std::string const& text) {
    std::vector<std::uint8_t> data;
    if (type == REG_SZ || type == REG_EXPAND_SZ) {
        data.assign(text.begin(), text.end());
        data.push_back(0);
    } else if (type == REG_DWORD) {
        char* end = nullptr;
        unsigned long const n = std::strtoul(text.c_str(), &end, 0);
        if (text.empty() || *end != '\0' || n > 0xFFFFFFFFul) return std::nullopt;
        for (int i = 0; i < 4; ++i)
            data.push_back(static_cast<std::uint8_t>(n >> (8 * i)));
    } else {
        if (text.size() % 2 != 0) return std::nullopt;
        for (std::size_t i = 0; i < text.size(); i += 2) {
            char* end = nullptr;
            std::string const pair = text.substr(i, 2);
            unsigned long const b = std::strtoul(pair.c_str(), &end, 16);
            if (*end != '\0') return std::nullopt;
            data.push_back(static_cast<std::uint8_t>(b));
        }
    }
    return data;
}

int Event(std::vector<std::string> const& args) {
    if (args.size() != 2) return Usage("event takes an action and a name");
    std::string const& action = args[0];
    char const* name = args[1].c_str();
    if (action == "create")
        return NamedEvent::Create(name) != nullptr ? kOk
                                                   : Fail("event " + args[1], ERROR_ACCESS_DENIED);
    if (action == "remove")
        return NamedEvent::Remove(name) ? kOk : Fail("event " + args[1], ERROR_FILE_NOT_FOUND);
    if (action == "test") {
        bool const exists = NamedEvent::Open(name) != nullptr;
        std::printf("%s\n", exists ? "present" : "absent");
        return exists ? kOk : kFailed;
    }
    if (action == "signal") {
        auto event = NamedEvent::Open(name);
        if (event == nullptr) return Fail("event " + args[1], ERROR_FILE_NOT_FOUND);
        return event->Set() ? kOk : Fail("event " + args[1], ERROR_ACCESS_DENIED);
    }
    return Usage("unknown event action");
}

// The key a command works on.
struct Target {
    HKEY hive = nullptr;
    std::string path;     // below the hive
    std::string fullName; // for messages
};

std::optional<Target> ParseTarget(std::string const& text) {
    Target target;
    std::string hiveName;
    if (!ParseKey(text, &target.hive, &hiveName, &target.path)) return std::nullopt;
    target.fullName = target.path.empty() ? hiveName : hiveName + "\\" + target.path;
    return target;
}

// The options after the key; a refused option answers the usage status.
std::optional<int> ParseOptions(std::string const& command, std::vector<std::string> const& args,
                                Options& options) {
    for (std::size_t i = 1; i < args.size(); ++i) {
        std::string flag = args[i];
        for (char& c : flag)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        bool const takesArgument = flag == "/v" || flag == "/t" || flag == "/d";
        if (takesArgument && i + 1 >= args.size())
            return Usage((flag + " needs an argument").c_str());
        if (flag == "/v") {
            options.value = args[++i];
        } else if (flag == "/ve") {
            options.value = "";
        } else if (flag == "/va" && command == "delete") {
            options.allValues = true;
        } else if (flag == "/s" && command == "query") {
            options.recurse = true;
        } else if (flag == "/t" && command == "add") {
            std::optional<std::uint32_t> const type = ParseType(args[++i]);
            if (!type || *type == REG_NONE) return Usage("unknown value type");
            options.type = *type;
        } else if (flag == "/d" && command == "add") {
            options.data = args[++i];
            options.haveData = true;
        } else if (flag == "/f") {
            // Accepted: nothing here asks before it changes.
        } else {
            return Usage(("unknown option " + args[i]).c_str());
        }
    }
    return std::nullopt;
}

int Query(Target const& target, Options const& options) {
    Key key;
    LSTATUS const status = RegOpenKeyExA(target.hive, target.path.c_str(), 0, KEY_READ, key.Out());
    if (status != 0) return Fail(target.fullName, status);
    if (options.value) {
        std::printf("\n%s\n", target.fullName.c_str());
        LSTATUS const valueStatus = PrintValue(key.Get(), *options.value);
        if (valueStatus != 0)
            return Fail(target.fullName + " value " + *options.value, valueStatus);
        std::printf("\n");
        return kOk;
    }
    PrintKey(key.Get(), target.fullName, options.recurse);
    std::printf("\n");
    return kOk;
}

int Add(Target const& target, Options const& options) {
    if (!options.value && options.haveData) return Usage("data needs a value name (/v or /ve)");
    std::optional<std::vector<std::uint8_t>> const data = Encode(options.type, options.data);
    if (!data) return Usage("the data does not fit the value type");
    Key key;
    RegTransaction transaction;
    LSTATUS status = RegCreateKeyExA(target.hive, target.path.c_str(), 0, nullptr, 0,
                                     KEY_ALL_ACCESS, nullptr, key.Out(), nullptr);
    if (status != 0) return Fail(target.fullName, status);
    if (options.value) {
        status = RegSetValueExA(key.Get(), options.value->c_str(), 0, options.type, data->data(),
                                static_cast<std::uint32_t>(data->size()));
        if (status != 0) return Fail(target.fullName + " value " + *options.value, status);
    }
    status = transaction.Commit();
    return status == 0 ? kOk : Fail(target.fullName, status);
}

// One value, every value of the key, or the key itself.
LSTATUS DeleteIn(Target const& target, Options const& options, Key& key) {
    if (!options.value && !options.allValues)
        return RegDeleteKeyA(target.hive, target.path.c_str());
    LSTATUS status = RegOpenKeyExA(target.hive, target.path.c_str(), 0, KEY_ALL_ACCESS, key.Out());
    if (status != 0) return status;
    if (!options.allValues) return RegDeleteValueA(key.Get(), options.value->c_str());
    std::string name;
    while (status == 0 && RegEnumValueA(key.Get(), 0, &name) == 0)
        status = RegDeleteValueA(key.Get(), name.c_str());
    return status;
}

int Delete(Target const& target, Options const& options) {
    Key key;
    RegTransaction transaction;
    LSTATUS status = DeleteIn(target, options, key);
    if (status != 0) return Fail(target.fullName, status);
    status = transaction.Commit();
    return status == 0 ? kOk : Fail(target.fullName, status);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) return Usage("no command");
    std::string const command = argv[1];
    std::vector<std::string> args(argv + 2, argv + argc);
    if (command == "event") return Event(args);
    if (command == "-h" || command == "--help" || command == "/?") {
        std::printf("%s", kUsageText);
        return kOk;
    }
    if (command != "query" && command != "add" && command != "delete")
        return Usage("unknown command");
    if (args.empty()) return Usage("no key");
    std::optional<Target> const target = ParseTarget(args[0]);
    if (!target) return Usage("a key begins with HKCU or HKCR");
    Options options;
    if (std::optional<int> const refused = ParseOptions(command, args, options)) return *refused;
    if (command == "query") return Query(*target, options);
    if (command == "add") return Add(*target, options);
    return Delete(*target, options);
}

// splashctl: shows a splash through the session bus, for scripts and
// installers, and makes the other calls of a splash.
#include <splashclient/splashclient.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <thread>

namespace {

constexpr char kUsage[] =
    "usage: splashctl show [--title T] [--subtitle S] [--version TEXT | --major N --minor N]\n"
    "                      [--from YEAR] [--to YEAR] [--licensee L] [--status S]\n"
    "                      [--timeout MS] [--hold SECONDS] [--updates N]\n"
    "       splashctl recent-app PATH [TITLE]\n"
    "       splashctl recent-doc DOCUMENT [OPENER]\n"
    "show creates a splash (starting a server for it), shows it, sets the status, waits\n"
    "--hold seconds (default 0) and lets go; the splash stays for its timeout (default 5000 ms).\n"
    "--updates N sends N numbered status lines after the status.\n";

int Usage(char const* why) {
    std::fprintf(stderr, "splashctl: %s\n%s", why, kUsage);
    return 2;
}

bool ToShort(std::string const& text, std::int16_t* out) {
    char* end = nullptr;
    long const n = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || n < -32768 || n > 32767) return false;
    *out = static_cast<std::int16_t>(n);
    return true;
}

int Check(SplashClient& client, int rc, char const* call) {
    if (rc < 0)
        std::fprintf(stderr, "splashctl: %s failed: %s\n", call, client.LastError().c_str());
    return rc < 0 ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) return Usage("no command");
    std::string const command = argv[1];
    if (command == "-h" || command == "--help") {
        std::printf("%s", kUsage);
        return 0;
    }
    std::string error;
    if (command == "recent-app" || command == "recent-doc") {
        if (argc < 3 || argc > 4) return Usage("a path, and optionally a second one");
        auto client = SplashClient::Create(&error);
        if (!client) {
            std::fprintf(stderr, "splashctl: %s\n", error.c_str());
            return 1;
        }
        std::string const second = argc == 4 ? argv[3] : "";
        int const rc = command == "recent-app" ? client->AddToRecentAppList(argv[2], second)
                                               : client->AddToRecentDocList(argv[2], second);
        return Check(*client, rc, command.c_str());
    }
    if (command != "show") return Usage("unknown command");

    std::map<std::string, std::string> options;
    for (int i = 2; i < argc; i += 2) {
        std::string const flag = argv[i];
        if (flag.rfind("--", 0) != 0 || i + 1 >= argc) return Usage(("bad option " + flag).c_str());
        options[flag.substr(2)] = argv[i + 1];
    }
    static char const* const kKnown[] = {"title",  "subtitle", "version", "major",
                                         "minor",  "from",     "to",      "licensee",
                                         "status", "timeout",  "hold",    "updates"};
    for (auto const& [name, value] : options) {
        bool known = false;
        for (char const* k : kKnown)
            known = known || name == k;
        if (!known) return Usage(("unknown option --" + name).c_str());
    }
    std::int16_t major = -1, minor = -1, from = 0, to = 0, timeout = 5000;
    struct Number {
        char const* name;
        std::int16_t* out;
    };
    for (Number n : {Number{"major", &major}, Number{"minor", &minor}, Number{"from", &from},
                     Number{"to", &to}, Number{"timeout", &timeout}}) {
        if (options.count(n.name) != 0 && !ToShort(options[n.name], n.out))
            return Usage(
                (std::string("--") + n.name + " takes a number from -32768 to 32767").c_str());
    }
    double const hold = options.count("hold") != 0 ? std::atof(options["hold"].c_str()) : 0.0;

    auto client = SplashClient::Create(&error);
    if (!client) {
        std::fprintf(stderr, "splashctl: %s\n", error.c_str());
        return 1;
    }
    std::printf("%s %u\n", client->ObjectPath().c_str(), client->ServerProcessId());
    std::fflush(stdout);
    int failed = Check(*client, client->SetSplashTimeout(timeout), "SetSplashTimeout");
    if (options.count("version") != 0) {
        failed |= Check(*client,
                        client->ShowSplash2(options["title"], options["subtitle"],
                                            options["version"], from, to, options["licensee"]),
                        "ShowSplash2");
    } else {
        failed |= Check(*client,
                        client->ShowSplash(options["title"], options["subtitle"], major, minor,
                                           from, to, options["licensee"]),
                        "ShowSplash");
    }
    if (options.count("status") != 0)
        failed |= Check(*client, client->SetStatusText(options["status"]), "SetStatusText");
    int const updates = options.count("updates") != 0 ? std::atoi(options["updates"].c_str()) : 0;
    for (int i = 1; i <= updates; ++i) {
        std::string const line = "Step " + std::to_string(i) + " of " + std::to_string(updates);
        failed |= Check(*client, client->SetStatusText(line), "SetStatusText");
    }
    if (hold > 0) std::this_thread::sleep_for(std::chrono::duration<double>(hold));
    failed |= Check(*client, client->Release(), "Release");
    return failed;
}

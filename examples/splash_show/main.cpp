// Showing a splash from an application through the client library: create
// a splash (the session bus starts a server for it), show the product's
// texts, report the start-up's progress in the status line, note the
// program in the user's recently used applications, and let go. The splash
// hides when its timeout has passed since the show, and its server ends at
// the first tick of that timer after the release.
//
//   splash_show [TITLE]
//
// Needs a session bus on which the splash server is activatable (an
// installed package, or orvelsplash -RegServer); with no display the server
// still answers every call and shows nothing.
#include <splashclient/splashclient.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

namespace {

// Each call answers 0, or a negative code with the bus's message.
bool Check(SplashClient& splash, int rc, char const* call) {
    if (rc < 0)
        std::fprintf(stderr, "splash_show: %s failed: %s\n", call, splash.LastError().c_str());
    return rc >= 0;
}

} // namespace

int main(int argc, char** argv) {
    std::string const title = argc > 1 ? argv[1] : "Heat Exchanger Designer";

    std::string error;
    std::unique_ptr<SplashClient> splash = SplashClient::Create(&error);
    if (!splash) {
        std::fprintf(stderr, "splash_show: %s\n", error.c_str());
        return 1;
    }
    std::printf("splash %s in server process %u\n", splash->ObjectPath().c_str(),
                splash->ServerProcessId());

    // The timeout is set before the show, in milliseconds. On a failure the
    // client's destructor releases the splash.
    if (!Check(*splash, splash->SetSplashTimeout(1500), "SetSplashTimeout") ||
        !Check(*splash,
               splash->ShowSplash(title, "Orvel Thermal Suite", 13, 1, 2019, 2026, "Acme Ltd."),
               "ShowSplash"))
        return 1;
    std::printf("shown: %s 13.1\n", title.c_str());

    // The application's own start-up, with its progress on the splash.
    for (char const* step : {"Loading units...", "Loading materials...", "Ready"}) {
        if (!Check(*splash, splash->SetStatusText(step), "SetStatusText")) return 1;
        std::printf("status: %s\n", step);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    if (!Check(*splash, splash->AddToRecentAppList(argv[0], title), "AddToRecentAppList")) return 1;
    std::printf("recently used: %s\n", argv[0]);

    if (!Check(*splash, splash->Release(), "Release")) return 1;
    std::printf("released\n");
    return 0;
}

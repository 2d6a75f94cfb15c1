// What the end-to-end scenarios do to a virtual display, in a process of its
// own so that a display that goes away ends this helper and not the test:
//   splash_xdesk DISPLAY warp X Y              the pointer to X, Y
//   splash_xdesk DISPLAY monitors X,Y,W,H...   RandR monitors, kept until
//                                              standard input closes; prints
//                                              "ready" once the display has them
// Exits 0 when done, 2 when the display can't be opened, 3 when it has no
// RandR monitors, 64 for a command line it does not read.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <X11/Xlib.h>
#include <X11/extensions/Xrandr.h>

namespace {

// A display just started may take a moment to answer.
Display* OpenDisplay(char const* name) {
    for (int attempt = 0; attempt < 100; ++attempt) {
        if (Display* display = XOpenDisplay(name)) return display;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return nullptr;
}

int Warp(Display* display, int argc, char** argv) {
    if (argc != 2) return 64;
    XWarpPointer(display, 0, DefaultRootWindow(display), 0, 0, 0, 0, std::atoi(argv[0]),
                 std::atoi(argv[1]));
    XSync(display, False);
    return 0;
}

int Monitors(Display* display, int argc, char** argv) {
    int event = 0, error = 0, major = 0, minor = 0;
    if (!XRRQueryExtension(display, &event, &error) || !XRRQueryVersion(display, &major, &minor) ||
        major < 1 || (major == 1 && minor < 5))
        return 3;
    ::Window const root = DefaultRootWindow(display);
    for (int i = 0; i < argc; ++i) {
        XRRMonitorInfo info{};
        if (std::sscanf(argv[i], "%d,%d,%d,%d", &info.x, &info.y, &info.width, &info.height) != 4)
            return 64;
        std::string const name = "monitor" + std::to_string(i);
        info.name = XInternAtom(display, name.c_str(), False);
        // Millimetres for 96 dots an inch.
        info.mwidth = info.width * 254 / 960;
        info.mheight = info.height * 254 / 960;
        XRRSetMonitor(display, root, &info);
    }
    XSync(display, False);
    int count = 0;
    XRRMonitorInfo* listed = XRRGetMonitors(display, root, True, &count);
    if (listed != nullptr) XRRFreeMonitors(listed);
    if (count < argc) return 3;
    std::puts("ready");
    std::fflush(stdout);
    // The monitors last as long as this connection: until the test is done.
    while (std::fgetc(stdin) != EOF) {
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) return 64;
    Display* const display = OpenDisplay(argv[1]);
    if (display == nullptr) {
        std::fprintf(stderr, "splash_xdesk: cannot open display %s\n", argv[1]);
        return 2;
    }
    std::string const command = argv[2];
    int const result = command == "warp"       ? Warp(display, argc - 3, argv + 3)
                       : command == "monitors" ? Monitors(display, argc - 3, argv + 3)
                                               : 64;
    XCloseDisplay(display);
    return result;
}

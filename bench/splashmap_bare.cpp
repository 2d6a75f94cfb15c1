// What bench_splashmap measures the server against: a program of Xlib alone
// that maps a window of the splash's size. Prints the nanoseconds from its
// create call to the window's first exposure, and its resident kilobytes.
#include <chrono>
#include <cstdio>
#include <cstring>

#include <X11/Xlib.h>

namespace {

long ResidentKilobytes() {
    std::FILE* status = std::fopen("/proc/self/status", "r");
    if (status == nullptr) return -1;
    char line[256];
    long kb = -1;
    while (std::fgets(line, sizeof line, status) != nullptr)
        if (std::strncmp(line, "VmRSS:", 6) == 0) std::sscanf(line + 6, "%ld", &kb);
    std::fclose(status);
    return kb;
}

} // namespace

int main() {
    Display* display = XOpenDisplay(nullptr);
    if (display == nullptr) return 2;
    int const screen = DefaultScreen(display);

    auto const start = std::chrono::steady_clock::now();
    Window const window =
        XCreateSimpleWindow(display, RootWindow(display, screen), 0, 0, 495, 392, 0,
                            BlackPixel(display, screen), WhitePixel(display, screen));
    XSelectInput(display, window, ExposureMask | StructureNotifyMask);
    XMapWindow(display, window);
    XEvent event;
    do {
        XNextEvent(display, &event);
    } while (event.type != Expose);
    auto const mapped = std::chrono::steady_clock::now();

    std::printf("%lld %ld\n",
                static_cast<long long>(
                    std::chrono::duration_cast<std::chrono::nanoseconds>(mapped - start).count()),
                ResidentKilobytes());
    XDestroyWindow(display, window);
    XCloseDisplay(display);
    return 0;
}

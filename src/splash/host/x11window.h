// The splash on an X display: one connection, read by the server's event
// loop, and borderless popups that any window manager keeps above the others
// and out of its taskbar and pager.
#pragma once

#include <splash/host/eventloop.h>
#include <splash/seams.h>
#include <splash/window.h>

#include <memory>

namespace splash {

class XWindowSystem final : public splash::WindowSystem {
public:
    // The display named, or $DISPLAY's when the name is null. Null when no
    // display can be opened.
    static std::unique_ptr<XWindowSystem> Open(splash::EventLoop& loop,
                                               char const* displayName = nullptr);
    ~XWindowSystem() override;
    XWindowSystem(XWindowSystem const&) = delete;
    XWindowSystem& operator=(XWindowSystem const&) = delete;

    std::unique_ptr<splash::Window> CreatePopup(splash::WindowHandler& handler,
                                                splash::Rect const& rect) override;
    // The depth of the screen's default visual: an 8-bit colour-mapped
    // screen answers 8, a true-colour one 24.
    int ScreenColourBits() override;

    struct Connection;

private:
    explicit XWindowSystem(std::unique_ptr<Connection> connection);

    std::unique_ptr<Connection> connection_;
};

// What the server shows its splashes through: the display's windows and the
// paint that draws on them; with no display, windows that are only state and
// a paint that draws nothing, after one line on standard error that says so.
struct SplashScreen {
    std::unique_ptr<splash::WindowSystem> windows;
    std::unique_ptr<SplashPainter> painter;
};
SplashScreen OpenSplashScreen(splash::EventLoop& loop);
// Windows that are only state, for a process that shows nothing, such as
// one that registers the server.
SplashScreen ScreenlessSplash(splash::EventLoop& loop);

} // namespace splash

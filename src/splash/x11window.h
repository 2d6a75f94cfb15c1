// The splash on an X display: one connection, read by the server's event
// loop, and borderless popups that any window manager keeps above the others
// and out of its taskbar and pager.
#pragma once

#include <platform/eventloop.h>
#include <platform/window.h>
#include <splash/seams.h>

#include <memory>

namespace splash {

class XWindowSystem final : public platform::WindowSystem {
public:
    // The display named, or $DISPLAY's when the name is null. Null when no
    // display can be opened.
    static std::unique_ptr<XWindowSystem> Open(platform::EventLoop& loop,
                                               char const* displayName = nullptr);
    ~XWindowSystem() override;
    XWindowSystem(XWindowSystem const&) = delete;
    XWindowSystem& operator=(XWindowSystem const&) = delete;

    std::unique_ptr<platform::Window> CreatePopup(platform::WindowHandler& handler,
                                                  platform::Rect const& rect) override;
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
    std::unique_ptr<platform::WindowSystem> windows;
    std::unique_ptr<SplashPainter> painter;
};
SplashScreen OpenSplashScreen(platform::EventLoop& loop);

} // namespace splash

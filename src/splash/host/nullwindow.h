// A window system with no screen: windows exist as state, their timers run on
// the event loop and paint requests arrive as WM_PAINT, with nothing to draw
// on. For a server started where no display is reachable, and for tests of
// whole roads.
#pragma once

#include <splash/host/eventloop.h>
#include <splash/window.h>
#include <platform/export.h>

namespace splash {

class SORVANE_API NullWindowSystem final : public WindowSystem {
public:
    // The screen such a system pretends to have.
    static constexpr Rect kWorkArea{0, 0, 1920, 1080};
    static constexpr int kColourBits = 24;

    explicit NullWindowSystem(EventLoop& loop) : loop_(loop) {}

    std::unique_ptr<Window> CreatePopup(WindowHandler& handler, Rect const& rect) override;
    int ScreenColourBits() override { return kColourBits; }

private:
    EventLoop& loop_;
};

} // namespace splash

// A window system with no screen: windows exist as state, their timers run on
// the event loop and paint requests arrive as WM_PAINT, with nothing to draw
// on. For a server started where no display is reachable, and for tests of
// whole roads.
#pragma once

#include <platform/eventloop.h>
#include <platform/window.h>
#include <util/export.h>

namespace platform {

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

} // namespace platform

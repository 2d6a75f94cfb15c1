// The few window operations the splash needs, so that its logic runs the
// same on a real display, with no display, and against a test's fake.
#pragma once

#include <splash/host/eventloop.h>
#include <platform/export.h>

#include <cstdint>
#include <memory>

// The drawing library's context. The framework only hands it on, so it is
// declared here rather than included.
typedef struct _cairo cairo_t;

namespace splash {

struct Rect {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;

    std::int32_t Width() const { return right - left; }
    std::int32_t Height() const { return bottom - top; }
    friend bool operator==(Rect const&, Rect const&) = default;
};

enum : int { SW_HIDE = 0, SW_SHOW = 5 };

// What one paint draws on.
struct PaintSurface {
    cairo_t* context = nullptr; // null when the window has nothing to draw on
    int pixelsPerInchY = 96;
};

class Window;

// The window procedure: gets every message of its window.
class SORVANE_API WindowHandler {
public:
    virtual ~WindowHandler() = default;
    virtual void OnMessage(Window& window, std::uint32_t message, std::uintptr_t wParam,
                           std::intptr_t lParam) = 0;
};

// One top-level window. Destroying the object destroys the window, its
// timers with it.
class SORVANE_API Window {
public:
    virtual ~Window() = default;

    virtual void ShowWindow(int command) = 0;
    virtual Rect GetWindowRect() = 0;
    // Above all windows that are not topmost, at that place and size, shown.
    virtual void SetTopmost(Rect const& rect) = 0;
    // To that place, keeping size, stacking and activation.
    virtual void Move(std::int32_t x, std::int32_t y) = 0;
    // Null for the whole window. Paint requests are gathered into one
    // WM_PAINT.
    virtual void InvalidateRect(Rect const* rect, bool erase) = 0;
    virtual void SetTimer(std::uintptr_t id, std::uint32_t periodMs) = 0;
    virtual void KillTimer(std::uintptr_t id) = 0;
    // The work area of the monitor nearest to the window.
    virtual Rect MonitorWorkArea() = 0;
    // For WM_PAINT only: the surface, clipped to what was invalidated since
    // the last paint. EndPaint shows the drawing and validates the window.
    virtual PaintSurface BeginPaint() = 0;
    virtual void EndPaint(PaintSurface const& surface) = 0;
};

class SORVANE_API WindowSystem {
public:
    virtual ~WindowSystem() = default;
    // A hidden, borderless tool window with no parent and no title. The
    // handler gets WM_CREATE before this returns. Null on failure, with the
    // reason in GetLastError().
    virtual std::unique_ptr<Window> CreatePopup(WindowHandler& handler, Rect const& rect) = 0;
    // Bits per pixel times planes of the screen.
    virtual int ScreenColourBits() = 0;
};

} // namespace splash

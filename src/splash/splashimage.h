// Splashes painted into pictures in memory rather than onto a screen: for
// support staff, who want to see what a client's texts make, and for tests.
#pragma once

#include <splash/window.h>
#include <splash/cairoptr.h>
#include <splash/splashpaint.h>

#include <memory>
#include <optional>
#include <string>

namespace splash {

// A window whose pixels are an image. Paint requests gather as they do on a
// screen and are delivered by UpdateWindow; nothing runs on a timer.
class ImageWindow final : public splash::Window {
public:
    ImageWindow(splash::WindowHandler& handler, splash::Rect const& rect, int pixelsPerInch);

    // WM_PAINT, when part of the shown window is invalid, as the message
    // loop would send it.
    void UpdateWindow();
    cairo_surface_t* Image() const { return image_.get(); }

    void ShowWindow(int command) override;
    splash::Rect GetWindowRect() override { return rect_; }
    void SetTopmost(splash::Rect const& rect) override;
    void Move(std::int32_t x, std::int32_t y) override;
    void InvalidateRect(splash::Rect const* rect, bool erase) override;
    void SetTimer(std::uintptr_t, std::uint32_t) override {}
    void KillTimer(std::uintptr_t) override {}
    splash::Rect MonitorWorkArea() override { return kWorkArea; }
    splash::PaintSurface BeginPaint() override;
    void EndPaint(splash::PaintSurface const& surface) override;

    static constexpr splash::Rect kWorkArea{0, 0, 1920, 1080};

private:
    friend class ImageWindowSystem;
    void Create();

    splash::WindowHandler& handler_;
    splash::Rect rect_;
    int pixelsPerInch_;
    SurfacePtr image_;
    CairoPtr painting_;
    std::optional<splash::Rect> invalid_; // in window coordinates
    bool visible_ = false;
};

class ImageWindowSystem final : public splash::WindowSystem {
public:
    explicit ImageWindowSystem(int colourBits = 24, int pixelsPerInch = 96)
        : colourBits_(colourBits), pixelsPerInch_(pixelsPerInch) {}

    std::unique_ptr<splash::Window> CreatePopup(splash::WindowHandler& handler,
                                                  splash::Rect const& rect) override;
    int ScreenColourBits() override { return colourBits_; }
    // The window made last, while it lives.
    ImageWindow* LastWindow() const { return last_; }

private:
    int colourBits_;
    int pixelsPerInch_;
    ImageWindow* last_ = nullptr;
};

// What a client gives a splash. An absent text is not passed; with no
// version text the numbers are shown.
struct SplashRequest {
    std::optional<std::u16string> title;
    std::optional<std::u16string> subtitle;
    std::optional<std::u16string> version;
    short major = -1;
    short minor = -1;
    short yearFrom = 0;
    short yearTo = 0;
    std::optional<std::u16string> licensee;
    std::optional<std::u16string> status;
    bool lowColour = false;
};

// Shows a splash of those texts through the server's own object, with no
// timer, and answers its whole window painted at once, as an exposure would
// paint it. Null if the object can't be made.
SurfacePtr RenderSplash(SplashRequest const& request, PaintTrace* trace = nullptr);

} // namespace splash

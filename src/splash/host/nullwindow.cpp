#include <splash/host/nullwindow.h>

namespace splash {
namespace {

class NullWindow final : public Window, private MessageTarget {
public:
    NullWindow(EventLoop& loop, WindowHandler& handler, Rect const& rect)
        : loop_(loop), handler_(handler), rect_(rect) {}
    ~NullWindow() override { loop_.Forget(this); }

    void Create() { handler_.OnMessage(*this, WM_CREATE, 0, 0); }

    void ShowWindow(int command) override { visible_ = command != SW_HIDE; }
    Rect GetWindowRect() override { return rect_; }
    void SetTopmost(Rect const& rect) override {
        rect_ = rect;
        visible_ = true;
    }
    void Move(std::int32_t x, std::int32_t y) override {
        rect_ = Rect{x, y, x + rect_.Width(), y + rect_.Height()};
    }
    void InvalidateRect(Rect const*, bool) override {
        if (paintPending_) return;
        paintPending_ = true;
        loop_.PostMessage(this, WM_PAINT, 0, 0);
    }
    void SetTimer(std::uintptr_t id, std::uint32_t periodMs) override {
        loop_.SetTimer(this, id, periodMs);
    }
    void KillTimer(std::uintptr_t id) override { loop_.KillTimer(this, id); }
    Rect MonitorWorkArea() override { return NullWindowSystem::kWorkArea; }
    PaintSurface BeginPaint() override { return {}; }
    void EndPaint(PaintSurface const&) override {}

private:
    void Deliver(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) override {
        if (message == WM_PAINT) paintPending_ = false;
        handler_.OnMessage(*this, message, wParam, lParam);
    }

    EventLoop& loop_;
    WindowHandler& handler_;
    Rect rect_;
    bool visible_ = false;
    bool paintPending_ = false;
};

} // namespace

std::unique_ptr<Window> NullWindowSystem::CreatePopup(WindowHandler& handler, Rect const& rect) {
    auto window = std::make_unique<NullWindow>(loop_, handler, rect);
    window->Create();
    return window;
}

} // namespace splash

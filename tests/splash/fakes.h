// Stand-ins for the splash server's seams, recording what the logic asks of
// them.
#pragma once

#include <platform/comalloc.h>
#include <platform/process.h>
#include <platform/syserror.h>
#include <splash/module.h>
#include <splash/seams.h>
#include <splash/splashimage.h>
#include <splash/splashpaint.h>
#include <splash/textcopy.h>
#include <splash/window.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace splash {

class FakeWindow final : public splash::Window {
public:
    FakeWindow(splash::WindowHandler& handler, splash::Rect rect, splash::Rect workArea,
               bool* destroyed)
        : rect(rect), workArea(workArea), handler_(handler), destroyed_(destroyed) {}
    ~FakeWindow() override {
        if (destroyed_ != nullptr) *destroyed_ = true;
    }

    void Send(std::uint32_t message, std::uintptr_t wParam = 0, std::intptr_t lParam = 0) {
        handler_.OnMessage(*this, message, wParam, lParam);
    }

    void ShowWindow(int command) override { visible = command != splash::SW_HIDE; }
    splash::Rect GetWindowRect() override { return rect; }
    void SetTopmost(splash::Rect const& at) override {
        rect = at;
        visible = true;
        ++topmostCalls;
    }
    void Move(std::int32_t x, std::int32_t y) override {
        rect = {x, y, x + rect.Width(), y + rect.Height()};
    }
    void InvalidateRect(splash::Rect const* at, bool erase) override {
        invalidated.push_back(at != nullptr ? *at : rect);
        lastErase = erase;
    }
    void SetTimer(std::uintptr_t id, std::uint32_t periodMs) override { timers[id] = periodMs; }
    void KillTimer(std::uintptr_t id) override { timers.erase(id); }
    splash::Rect MonitorWorkArea() override { return workArea; }
    splash::PaintSurface BeginPaint() override { return {}; }
    void EndPaint(splash::PaintSurface const&) override {}

    splash::Rect rect;
    splash::Rect workArea;
    bool visible = false;
    int topmostCalls = 0;
    std::vector<splash::Rect> invalidated;
    bool lastErase = false;
    std::map<std::uintptr_t, std::uint32_t> timers;

private:
    splash::WindowHandler& handler_;
    bool* destroyed_;
};

class FakeWindowSystem final : public splash::WindowSystem {
public:
    std::unique_ptr<splash::Window> CreatePopup(splash::WindowHandler& handler,
                                                splash::Rect const& rect) override {
        if (failWith != 0) {
            platform::SetLastError(failWith);
            return nullptr;
        }
        destroyed = false;
        auto made = std::make_unique<FakeWindow>(handler, rect, workArea, &destroyed);
        window = made.get();
        made->Send(splash::WM_CREATE);
        return made;
    }
    int ScreenColourBits() override { return colourBits; }

    splash::Rect workArea{0, 0, 1280, 800};
    int colourBits = 32;
    std::uint32_t failWith = 0;
    FakeWindow* window = nullptr;
    bool destroyed = false;
};

class FakeChecks final : public SplashChecks {
public:
    void TestUserRegistration(splash::Window* parent) override {
        ++registrationChecks;
        lastParent = parent;
    }
    void CheckLicenseExpiration(BSTR) override { ++licenceChecks; }
    int registrationChecks = 0;
    int licenceChecks = 0;
    splash::Window* lastParent = nullptr;
};

class FakeRecentLists final : public RecentLists {
public:
    void AddToRecentAppList(BSTR, BSTR) override { ++apps; }
    void AddToRecentDocList(BSTR, BSTR) override { ++docs; }
    int apps = 0;
    int docs = 0;
};

// Thrown where the process would end, so that a test can see the code.
struct ProcessExited {
    std::uint32_t code;
};

class FakeProcess final : public platform::ProcessService {
public:
    void Exit(std::uint32_t code) override { throw ProcessExited{code}; }
    void Sleep(std::uint32_t milliseconds) override { slept.push_back(milliseconds); }
    std::vector<std::uint32_t> slept;
};

// Runs a client's script on the main loop once the class is published.
class FakeHost final : public ClassObjectHost {
public:
    void Initialize() override { calls += "init "; }
    void Uninitialize() override { calls += "uninit"; }
    HRESULT RegisterClassObjects(ClassFactory& factory) override {
        calls += "register ";
        if (client) client(factory);
        return platform::S_OK;
    }
    void RevokeClassObjects() override { calls += "revoke "; }

    std::function<void(ClassFactory&)> client;
    std::string calls;
};

class FakeRegistrar final : public ClassRegistrar {
public:
    HRESULT ApplyScript(int resource, bool bRegister) override {
        calls += (bRegister ? "apply+" : "apply-") + std::to_string(resource) + " ";
        return platform::S_OK;
    }
    HRESULT RegisterServer() override {
        calls += "register";
        return result;
    }
    HRESULT UnregisterServer() override {
        calls += "unregister";
        return result;
    }
    HRESULT result = platform::S_OK;
    std::string calls;
};

using Bstr = OwnedBstr;

// The colour at (x, y) of an image surface, without alpha.
inline std::uint32_t Pixel(cairo_surface_t* image, int x, int y) {
    cairo_surface_flush(image);
    std::uint32_t pixel;
    std::memcpy(
        &pixel,
        cairo_image_surface_get_data(image) + y * cairo_image_surface_get_stride(image) + x * 4, 4);
    return pixel & 0xFFFFFF;
}

// How far apart two colours are in the channel where they differ most.
inline int ChannelGap(std::uint32_t a, std::uint32_t b) {
    int gap = 0;
    for (int shift : {0, 8, 16})
        gap = std::max(gap, std::abs(static_cast<int>(a >> shift & 0xFF) -
                                     static_cast<int>(b >> shift & 0xFF)));
    return gap;
}

// One splash object with no timer, on whatever window system it is given.
struct Splash {
    Splash(splash::EventLoop& loop, splash::WindowSystem& windows, SplashPainter& painter)
        : module(loop), services{windows, module, checks, recent, painter} {
        EXPECT_EQ(CSplashWindow::CreateInstance(services, &object), platform::S_OK);
        if (object != nullptr) object->SetSplashTimeout(-1);
    }
    ~Splash() { Release(); }

    CSplashWindow& Object() const { return *static_cast<CSplashWindow*>(object); }
    void Show() {
        Bstr title(u"Heat Exchanger Designer"), subtitle(u"Orvel Engineering"),
            licensee(u"Acme Process Engineering Ltd.");
        object->ShowSplash(title, subtitle, 8, 4, 2005, 2019, licensee);
    }
    void Release() {
        if (object != nullptr) object->Release();
        object = nullptr;
    }

    CExeModule module;
    NullSplashChecks checks;
    NullRecentLists recent;
    SplashServices services;
    ISplashWindow* object = nullptr;
};

// The same splash painted into an image, for what the window should show.
struct ImageSplash {
    cairo_surface_t* Painted() {
        windows.LastWindow()->UpdateWindow();
        return windows.LastWindow()->Image();
    }
    splash::EventLoop loop;
    splash::ImageWindowSystem windows;
    CairoSplashPainter painter;
    Splash splash{loop, windows, painter};
};

} // namespace splash

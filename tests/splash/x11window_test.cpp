// The splash on a real X server of the test's own, looked at from a second
// connection as another client on the desktop would see it.
#include "fakes.h"

#include <splash/host/x11window.h>
#include <support/xvfb.h>

#include <algorithm>
#include <chrono>
#include <optional>

// Last: Xlib's macros.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

using namespace splash;

// An event names only the fields it sets; the others are left out.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

// Dispatches the loop's messages until done() holds or the time is up; a
// ticking timer keeps the wait from blocking for good.
bool RunUntil(splash::EventLoop& loop, std::function<bool()> const& done, int ms = 5000) {
    struct Tick final : splash::MessageTarget {
        void Deliver(std::uint32_t, std::uintptr_t, std::intptr_t) override {}
    } tick;
    loop.SetTimer(&tick, 1, 10);
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    bool met = done();
    while (!met && std::chrono::steady_clock::now() < deadline) {
        splash::EventLoop::Message message;
        if (!loop.GetMessage(message)) break;
        loop.DispatchMessage(message);
        met = done();
    }
    loop.Forget(&tick);
    return met;
}

// Dispatches whatever comes for a while.
void Pump(splash::EventLoop& loop, int ms) {
    RunUntil(
        loop, [] { return false; }, ms);
}

class CountingPainter final : public SplashPainter {
public:
    void Paint(splash::Window& window, SplashState& state) override {
        ++paints;
        painter_.Paint(window, state);
    }
    int paints = 0;

private:
    CairoSplashPainter painter_;
};

// Another client's view of the display.
class Observer {
public:
    explicit Observer(std::string const& name) : display_(XOpenDisplay(name.c_str())) {}
    ~Observer() {
        if (display_ != nullptr) XCloseDisplay(display_);
    }
    Observer(Observer const&) = delete;
    Observer& operator=(Observer const&) = delete;

    Display* Get() const { return display_; }
    ::Window Root() const { return DefaultRootWindow(display_); }
    Atom Intern(char const* name) const { return XInternAtom(display_, name, False); }

    // The splash's window, found by its class among the top-level windows.
    ::Window FindSplash() const {
        ::Window found = 0, root = 0, parent = 0, *children = nullptr;
        unsigned count = 0;
        XQueryTree(display_, Root(), &root, &parent, &children, &count);
        for (unsigned i = 0; i < count && found == 0; ++i) {
            XClassHint hint{};
            if (XGetClassHint(display_, children[i], &hint) == 0) continue;
            if (std::strcmp(hint.res_name, "orvelsplash") == 0 &&
                std::strcmp(hint.res_class, "Orvelsplash") == 0)
                found = children[i];
            XFree(hint.res_name);
            XFree(hint.res_class);
        }
        if (children != nullptr) XFree(children);
        return found;
    }

    int MapState(::Window window) const {
        XWindowAttributes attributes{};
        XGetWindowAttributes(display_, window, &attributes);
        return attributes.map_state;
    }

    splash::Rect Geometry(::Window window) const {
        ::Window root = 0;
        int x = 0, y = 0;
        unsigned w = 0, h = 0, border = 0, depth = 0;
        XGetGeometry(display_, window, &root, &x, &y, &w, &h, &border, &depth);
        return {x, y, x + static_cast<int>(w), y + static_cast<int>(h)};
    }

    std::vector<long> Longs(::Window window, char const* property) const {
        Atom type = 0;
        int format = 0;
        unsigned long count = 0, after = 0;
        unsigned char* data = nullptr;
        XGetWindowProperty(display_, window, Intern(property), 0, 64, False, AnyPropertyType, &type,
                           &format, &count, &after, &data);
        std::vector<long> values;
        if (data != nullptr && format == 32)
            values.assign(reinterpret_cast<long*>(data), reinterpret_cast<long*>(data) + count);
        if (data != nullptr) XFree(data);
        return values;
    }

    bool HasAtom(::Window window, char const* property, char const* atom) const {
        std::vector<long> const atoms = Longs(window, property);
        return std::count(atoms.begin(), atoms.end(), static_cast<long>(Intern(atom))) == 1;
    }

    void SetRootCardinals(char const* property, std::vector<long> const& values) {
        XChangeProperty(display_, Root(), Intern(property), XA_CARDINAL, 32, PropModeReplace,
                        reinterpret_cast<unsigned char const*>(values.data()),
                        static_cast<int>(values.size()));
        XSync(display_, False);
    }

    void Click(::Window window, unsigned button) {
        XEvent event{.xbutton = {.type = ButtonPress,
                                 .window = window,
                                 .root = Root(),
                                 .x = 20,
                                 .y = 30,
                                 .button = button,
                                 .same_screen = True}};
        XSendEvent(display_, window, False, ButtonPressMask, &event);
        XSync(display_, False);
    }

    // Pixels whose channels are more than 40 apart from the image's: glyph
    // edges may come out a shade apart on the two roads; a missing text, a
    // moved one or another background is far more.
    int PixelsUnlike(::Window window, cairo_surface_t* expected) const {
        int const width = cairo_image_surface_get_width(expected);
        int const height = cairo_image_surface_get_height(expected);
        XImage* image = XGetImage(display_, window, 0, 0, static_cast<unsigned>(width),
                                  static_cast<unsigned>(height), AllPlanes, ZPixmap);
        if (image == nullptr) return width * height;
        int unlike = 0;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                auto const actual = static_cast<std::uint32_t>(XGetPixel(image, x, y));
                unlike += ChannelGap(actual, Pixel(expected, x, y)) > 40 ? 1 : 0;
            }
        }
        XDestroyImage(image);
        return unlike;
    }

private:
    Display* display_;
};

// DISPLAY set (or unset, for null) for a scope.
class ScopedDisplay {
public:
    explicit ScopedDisplay(char const* value) {
        if (char const* old = std::getenv("DISPLAY")) saved_ = old;
        Set(value);
    }
    ~ScopedDisplay() { Set(saved_ ? saved_->c_str() : nullptr); }

private:
    static void Set(char const* value) {
        value != nullptr ? setenv("DISPLAY", value, 1) : unsetenv("DISPLAY");
    }
    std::optional<std::string> saved_;
};

class XWindowTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { server_ = new ScopedXvfb("1280x800x24"); }
    static void TearDownTestSuite() {
        delete server_;
        server_ = nullptr;
    }

    void SetUp() override {
        if (!server_->Running()) GTEST_SKIP() << server_->Failure();
        display_.emplace(server_->Name().c_str());
        observer_.emplace(server_->Name());
        ASSERT_NE(observer_->Get(), nullptr);
        windows_ = splash::XWindowSystem::Open(loop_);
        ASSERT_NE(windows_, nullptr);
    }
    void TearDown() override { splash_.reset(); }

    // The splash's window as the observer finds it.
    ::Window Create() {
        splash_.emplace(loop_, *windows_, painter_);
        ::Window id = 0;
        RunUntil(loop_, [&] { return (id = observer_->FindSplash()) != 0; });
        return id;
    }

    // A reply on the server's connection means the display has done every
    // request sent before it: the paint is on the screen.
    void SettleDisplay() { splash_->Object().GetWindow()->MonitorWorkArea(); }

    static ScopedXvfb* server_;
    std::optional<ScopedDisplay> display_;
    std::optional<Observer> observer_;
    splash::EventLoop loop_;
    std::unique_ptr<splash::XWindowSystem> windows_;
    CountingPainter painter_;
    std::optional<Splash> splash_;
};

ScopedXvfb* XWindowTest::server_ = nullptr;

} // namespace

TEST_F(XWindowTest, ABorderlessSplashAboveOthersCentredAndHiddenUntilShown) {
    ::Window const id = Create();
    ASSERT_NE(id, 0u);
    EXPECT_FALSE(splash_->Object().State().LowColourDisplay);

    // No manager publishes a work area here: the screen is the area.
    splash::Rect const centred{392, 204, 887, 596};
    RunUntil(loop_, [&] { return observer_->Geometry(id) == centred; });
    EXPECT_EQ(observer_->Geometry(id), centred);
    EXPECT_EQ(observer_->MapState(id), IsUnmapped);

    EXPECT_TRUE(observer_->HasAtom(id, "_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_SPLASH"));
    for (char const* state :
         {"_NET_WM_STATE_ABOVE", "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER"})
        EXPECT_TRUE(observer_->HasAtom(id, "_NET_WM_STATE", state)) << state;
    std::vector<long> const motif = observer_->Longs(id, "_MOTIF_WM_HINTS");
    ASSERT_GE(motif.size(), 3u);
    EXPECT_TRUE(motif[0] & 2) << "decorations given";
    EXPECT_EQ(motif[2], 0) << "none of them";
    XSizeHints hints{};
    long supplied = 0;
    ASSERT_NE(XGetWMNormalHints(observer_->Get(), id, &hints, &supplied), 0);
    EXPECT_EQ(hints.flags & (PMinSize | PMaxSize), PMinSize | PMaxSize);
    EXPECT_EQ(
        std::vector<int>({hints.min_width, hints.max_width, hints.min_height, hints.max_height}),
        std::vector<int>({495, 495, 392, 392}));

    splash_->Show();
    EXPECT_TRUE(RunUntil(loop_, [&] { return observer_->MapState(id) == IsViewable; }));
    EXPECT_EQ(observer_->Geometry(id), centred);
    EXPECT_EQ(splash_->Object().GetWindow()->GetWindowRect(), centred);

    // Let go with a paint asked for and exposures on their way: the window
    // goes, and nothing is delivered to it afterwards.
    Bstr status(u"Loading unit tables...");
    splash_->object->SetStatusText(status);
    splash_->Release();
    EXPECT_TRUE(RunUntil(loop_, [&] { return observer_->FindSplash() == 0; }));
    Pump(loop_, 50);
}

TEST_F(XWindowTest, ALeftClickHidesAndTheNextShowMapsAgain) {
    ::Window const id = Create();
    ASSERT_NE(id, 0u);
    splash_->Show();
    ASSERT_TRUE(RunUntil(loop_, [&] { return observer_->MapState(id) == IsViewable; }));

    observer_->Click(id, Button3);
    Pump(loop_, 100);
    EXPECT_EQ(observer_->MapState(id), IsViewable) << "only the left button hides";

    observer_->Click(id, Button1);
    EXPECT_TRUE(RunUntil(loop_, [&] { return observer_->MapState(id) == IsUnmapped; }));

    splash_->Show();
    EXPECT_TRUE(RunUntil(loop_, [&] { return observer_->MapState(id) == IsViewable; }));
    EXPECT_TRUE(observer_->HasAtom(id, "_NET_WM_STATE", "_NET_WM_STATE_ABOVE"));
    splash_->object->HideSplash();
    EXPECT_TRUE(RunUntil(loop_, [&] { return observer_->MapState(id) == IsUnmapped; }));
}

TEST_F(XWindowTest, CentredOnTheCurrentDesktopsWorkArea) {
    // A panel on each desktop; the second is the current one.
    observer_->SetRootCardinals("_NET_WORKAREA", {0, 0, 1280, 800, 100, 50, 800, 600});
    observer_->SetRootCardinals("_NET_CURRENT_DESKTOP", {1});
    ::Window const id = Create();
    XDeleteProperty(observer_->Get(), observer_->Root(), observer_->Intern("_NET_WORKAREA"));
    XDeleteProperty(observer_->Get(), observer_->Root(), observer_->Intern("_NET_CURRENT_DESKTOP"));
    ASSERT_NE(id, 0u);
    splash::Rect const centred{252, 154, 747, 546};
    RunUntil(loop_, [&] { return observer_->Geometry(id) == centred; });
    EXPECT_EQ(observer_->Geometry(id), centred);
}

TEST_F(XWindowTest, PaintedFromTheMomentItIsMappedAndAfterStatusChanges) {
    ::Window const id = Create();
    ASSERT_NE(id, 0u);
    ImageSplash image;
    splash_->Show();
    image.splash.Show();
    // Painted during the show, before the loop has read a single exposure.
    EXPECT_EQ(painter_.paints, 1);
    SettleDisplay();
    EXPECT_EQ(observer_->MapState(id), IsViewable);
    EXPECT_LE(observer_->PixelsUnlike(id, image.Painted()), 50);
    // The exposure of the map asks for no paint of its own.
    Pump(loop_, 100);
    EXPECT_EQ(painter_.paints, 1);

    // Two changes before the loop comes round are one paint, of the status
    // strip only: the licensee moves up out of the strip on the image too.
    Bstr first(u"Reading the licence..."), second(u"Loading unit tables...");
    for (ISplashWindow* object : {splash_->object, image.splash.object}) {
        object->SetStatusText(first);
        object->SetStatusText(second);
    }
    EXPECT_TRUE(RunUntil(loop_, [&] { return painter_.paints > 1; }));
    Pump(loop_, 50);
    EXPECT_EQ(painter_.paints, 2);
    SettleDisplay();
    EXPECT_LE(observer_->PixelsUnlike(id, image.Painted()), 50);
}

TEST(XWindowSystem, AnEightBitScreenIsLowColourAndStillPaints) {
    // Without shared memory: cairo 1.16 keeps 32 bytes of each picture it
    // sends through it, which the leak check would report.
    ScopedXvfb server("1280x800x8", {"-extension", "MIT-SHM"});
    if (!server.Running()) GTEST_SKIP() << server.Failure();
    splash::EventLoop loop;
    std::unique_ptr<splash::XWindowSystem> windows =
        splash::XWindowSystem::Open(loop, server.Name().c_str());
    ASSERT_NE(windows, nullptr);
    EXPECT_EQ(windows->ScreenColourBits(), 8);

    CountingPainter painter;
    Splash splash(loop, *windows, painter);
    EXPECT_TRUE(splash.Object().State().LowColourDisplay);
    splash.Show();
    EXPECT_TRUE(RunUntil(loop, [&] { return painter.paints > 0; }));
}

TEST(XWindowSystem, WithNoDisplayTheServerGoesOnWithoutShowing) {
    splash::EventLoop loop;
    splash::SplashScreen screen;
    {
        ScopedDisplay none(nullptr);
        EXPECT_EQ(splash::XWindowSystem::Open(loop), nullptr);
        EXPECT_EQ(splash::XWindowSystem::Open(loop, ":65000"), nullptr);
        testing::internal::CaptureStderr();
        screen = splash::OpenSplashScreen(loop);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "orvelsplash: no display; serving calls without showing the splash\n");
    }
    ASSERT_NE(screen.windows, nullptr);
    ASSERT_NE(screen.painter, nullptr);

    Splash splash(loop, *screen.windows, *screen.painter);
    ASSERT_NE(splash.object, nullptr);
    splash.Show();
    Pump(loop, 30);
}

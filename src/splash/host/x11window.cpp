#include <splash/host/x11window.h>

#include <splash/cairoptr.h>
#include <splash/diagnostics.h>
#include <splash/host/nullwindow.h>
#include <splash/host/placement.h>
#include <splash/splashpaint.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// Last: Xlib defines None, Bool, Status and the like as macros.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/Xrandr.h>
#include <cairo-xlib.h>

namespace splash {
namespace {

using DisplayPtr = std::unique_ptr<Display, FreeWith<Display, XCloseDisplay>>;

enum AtomIndex {
    kWindowType,
    kWindowTypeSplash,
    kState,
    kStateAbove,
    kStateSkipTaskbar,
    kStateSkipPager,
    kMotifHints,
    kWorkArea,
    kCurrentDesktop,
    kAtomCount
};
constexpr char const* kAtomNames[kAtomCount] = {"_NET_WM_WINDOW_TYPE",
                                                "_NET_WM_WINDOW_TYPE_SPLASH",
                                                "_NET_WM_STATE",
                                                "_NET_WM_STATE_ABOVE",
                                                "_NET_WM_STATE_SKIP_TASKBAR",
                                                "_NET_WM_STATE_SKIP_PAGER",
                                                "_MOTIF_WM_HINTS",
                                                "_NET_WORKAREA",
                                                "_NET_CURRENT_DESKTOP"};

constexpr long kNetWmStateAdd = 1;
constexpr long kMotifHintsDecorations = 1L << 1;
constexpr std::uintptr_t kMkLButton = 0x0001;
constexpr std::uint32_t kDrain = 0; // the connection's own message: read what is queued

// A window manager may destroy or reparent a window between a request and
// its reply; Xlib's default answer to any such error is to end the process,
// which would take the clients' bus calls with it.
int IgnoreProtocolError(Display*, XErrorEvent*) {
    return 0;
}

// The connection itself is gone (the X server ended or the socket broke).
// Xlib's default would print and end the process; the exit handler below
// marks the connection instead, and Xlib drops every later request on it.
int QuietConnectionError(Display*) {
    return 0;
}

// The logical resolution that desktops publish for text; the physical one
// that the server derives from the screen's millimetres is seldom what the
// user reads at.
int PixelsPerInch(Display* display) {
    char const* resources = XResourceManagerString(display);
    if (resources == nullptr) return 96;
    std::string_view rest(resources);
    constexpr std::string_view kKey = "Xft.dpi:";
    while (!rest.empty()) {
        std::size_t const end = rest.find('\n');
        std::string_view const line = rest.substr(0, end);
        if (line.substr(0, kKey.size()) == kKey) {
            std::string const value(line.substr(kKey.size()));
            double const dpi = std::strtod(value.c_str(), nullptr);
            if (dpi >= 24 && dpi <= 1200) return static_cast<int>(dpi + 0.5);
        }
        if (end == std::string_view::npos) break;
        rest.remove_prefix(end + 1);
    }
    return 96;
}

// Whether the screen takes an off-screen image's pixels as they are: 8 bits
// each of red, green and blue in a 32-bit pixel. Any other screen gets them
// through the drawing library, which matches colours and dithers.
bool TakesImagePixels(Display* display, int screen) {
    Visual const* visual = DefaultVisual(display, screen);
    int const depth = DefaultDepth(display, screen);
    if (visual->c_class != TrueColor || visual->red_mask != 0xFF0000 ||
        visual->green_mask != 0xFF00 || visual->blue_mask != 0xFF || depth != 24)
        return false;
    int count = 0;
    XPixmapFormatValues* formats = XListPixmapFormats(display, &count);
    bool found = false;
    for (int i = 0; i < count; ++i)
        if (formats[i].depth == depth) found = formats[i].bits_per_pixel == 32;
    if (formats != nullptr) XFree(formats);
    return found;
}

// A graphics context for putting images on the screen's windows.
class GcHandle {
public:
    GcHandle(Display* display, ::Window root)
        : display_(display), gc_(XCreateGC(display, root, 0, nullptr)) {}
    ~GcHandle() { XFreeGC(display_, gc_); }
    GcHandle(GcHandle const&) = delete;
    GcHandle& operator=(GcHandle const&) = delete;
    GC Get() const { return gc_; }

private:
    Display* display_;
    GC gc_;
};

class XPopup;

} // namespace

struct XWindowSystem::Connection final : splash::MessageTarget {
    Connection(splash::EventLoop& loop, DisplayPtr display)
        : loop(loop), display(std::move(display)) {
        Display* const d = Get();
        screen = DefaultScreen(d);
        root = RootWindow(d, screen);
        XInternAtoms(d, const_cast<char**>(kAtomNames), kAtomCount, False, atoms);
        pixelsPerInch = PixelsPerInch(d);
        if (TakesImagePixels(d, screen)) imageGc.emplace(d, root);
        XSetIOErrorExitHandler(d, OnConnectionLost, this);
        watch = loop.AddWatch(ConnectionNumber(d), [this] { Drain(); });
    }
    ~Connection() override {
        XSetIOErrorExitHandler(
            Get(), [](Display*, void*) {}, nullptr);
        loop.Forget(this);
        if (watch >= 0) loop.RemoveWatch(watch);
    }

    // Called by Xlib inside whichever call found the connection broken; the
    // rest is done once that call has returned (see Settle).
    static void OnConnectionLost(Display*, void* user) {
        static_cast<Connection*>(user)->lost = true;
    }

    // From here on the windows are state only, as with no display: the
    // server goes on answering its calls and ends by its usual rules.
    void NoteLost() {
        if (!lost || lostNoted) return;
        lostNoted = true;
        if (watch >= 0) loop.RemoveWatch(watch);
        watch = -1;
        SplashLog(
            CPString("Lost the display connection; serving calls without showing the splash"));
    }

    Display* Get() const { return display.get(); }

    // Every operation ends here. Nothing else sends the requests out, and a
    // reply may have brought events in with it, which leaves the descriptor
    // quiet while they wait in Xlib's queue.
    void Settle() {
        if (!lost) XFlush(Get());
        if (lost) {
            NoteLost();
            return;
        }
        if (!drainPosted && XQLength(Get()) > 0) {
            drainPosted = true;
            loop.PostMessage(this, kDrain, 0, 0);
        }
    }

    void Drain();
    void Deliver(std::uint32_t, std::uintptr_t, std::intptr_t) override {
        drainPosted = false;
        Drain();
    }

    std::vector<long> Cardinals(::Window window, Atom property) {
        std::vector<long> values;
        Atom type = 0;
        int format = 0;
        unsigned long count = 0, after = 0;
        unsigned char* data = nullptr;
        if (XGetWindowProperty(Get(), window, property, 0, 1024, False, XA_CARDINAL, &type, &format,
                               &count, &after, &data) == Success &&
            type == XA_CARDINAL && format == 32 && data != nullptr) {
            auto const* longs = reinterpret_cast<long const*>(data);
            values.assign(longs, longs + count);
        }
        if (data != nullptr) XFree(data);
        Settle();
        return values;
    }

    // The work area of the monitor the user looks at, from the monitors
    // that RandR lists; without them, the desktop's.
    splash::Rect WorkArea() {
        splash::Rect const desktop = DesktopWorkArea();
        if (lost) return desktop;
        std::vector<splash::Monitor> const monitors = Monitors();
        return splash::PlacementArea(monitors, Pointer(), desktop);
    }

    std::vector<splash::Monitor> Monitors() {
        std::vector<splash::Monitor> found;
        int event = 0, error = 0, major = 0, minor = 0;
        // Monitors came with version 1.5 of the extension.
        if (!XRRQueryExtension(Get(), &event, &error) || !XRRQueryVersion(Get(), &major, &minor) ||
            major < 1 || (major == 1 && minor < 5))
            return found;
        int count = 0;
        XRRMonitorInfo* info = XRRGetMonitors(Get(), root, True, &count);
        for (int i = 0; i < count; ++i) {
            XRRMonitorInfo const& m = info[i];
            found.push_back({{m.x, m.y, m.x + m.width, m.y + m.height}, m.primary != 0});
        }
        if (info != nullptr) XRRFreeMonitors(info);
        return found;
    }

    std::optional<splash::Point> Pointer() {
        ::Window rootSeen = 0, child = 0;
        int x = 0, y = 0, windowX = 0, windowY = 0;
        unsigned mask = 0;
        if (!XQueryPointer(Get(), root, &rootSeen, &child, &x, &y, &windowX, &windowY, &mask))
            return std::nullopt; // on another screen
        return splash::Point{x, y};
    }

    // The desktop's work area, which on several monitors spans them all.
    splash::Rect DesktopWorkArea() {
        Display* const d = Get();
        splash::Rect const screenRect{0, 0, DisplayWidth(d, screen), DisplayHeight(d, screen)};
        if (lost) return screenRect;
        std::vector<long> const areas = Cardinals(root, atoms[kWorkArea]);
        std::vector<long> const current = Cardinals(root, atoms[kCurrentDesktop]);
        if (areas.size() < 4) return screenRect;
        // A manager that lists one area only gives the same for every desktop.
        std::size_t desktop = current.empty() ? 0 : static_cast<std::size_t>(current[0]);
        if (desktop >= areas.size() / 4) desktop = 0;
        long const* a = &areas[4 * desktop];
        splash::Rect const area{static_cast<std::int32_t>(a[0]), static_cast<std::int32_t>(a[1]),
                                static_cast<std::int32_t>(a[0] + a[2]),
                                static_cast<std::int32_t>(a[1] + a[3])};
        return area.Width() > 0 && area.Height() > 0 ? area : screenRect;
    }

    splash::EventLoop& loop;
    DisplayPtr display;
    int screen = 0;
    ::Window root = 0;
    Atom atoms[kAtomCount] = {};
    int pixelsPerInch = 96;
    std::optional<GcHandle> imageGc; // when images go on as they are
    int watch = -1;
    bool drainPosted = false;
    bool lost = false;      // the X server went away
    bool lostNoted = false; // and the server has been told
    std::unordered_map<::Window, XPopup*> windows;
};

namespace {

// The server side of a window, destroyed with its owner.
class XWindowHandle {
public:
    XWindowHandle(XWindowSystem::Connection& x, ::Window id) : x_(x), id_(id) {}
    ~XWindowHandle() {
        if (x_.lost) return;
        XDestroyWindow(x_.Get(), id_);
        XFlush(x_.Get());
    }
    XWindowHandle(XWindowHandle const&) = delete;
    XWindowHandle& operator=(XWindowHandle const&) = delete;
    ::Window Id() const { return id_; }

private:
    XWindowSystem::Connection& x_;
    ::Window id_;
};

::Window CreateXWindow(XWindowSystem::Connection& x, splash::Rect const& rect) {
    Display* const d = x.Get();
    XSetWindowAttributes attributes{};
    // The platform's default brush, which a paint draws over.
    attributes.background_pixel = WhitePixel(d, x.screen);
    attributes.event_mask = ExposureMask | ButtonPressMask | StructureNotifyMask;
    return XCreateWindow(d, x.root, rect.left, rect.top,
                         static_cast<unsigned>(std::max(1, rect.Width())),
                         static_cast<unsigned>(std::max(1, rect.Height())), 0, CopyFromParent,
                         InputOutput, CopyFromParent, CWBackPixel | CWEventMask, &attributes);
}

class XPopup final : public splash::Window, private splash::MessageTarget {
public:
    XPopup(XWindowSystem::Connection& x, splash::WindowHandler& handler, splash::Rect const& rect)
        : x_(x), handler_(handler), window_(x, CreateXWindow(x, rect)), rect_(rect) {
        x_.windows[window_.Id()] = this;
        DescribeToWindowManager();
    }

    ~XPopup() override {
        painting_.reset();
        offScreen_.reset();
        surface_.reset();
        x_.windows.erase(window_.Id());
        x_.loop.Forget(this);
    }

    void Create() {
        handler_.OnMessage(*this, splash::WM_CREATE, 0, 0);
        x_.Settle();
    }

    void OnEvent(XEvent const& event) {
        if (event.type != Expose && event.type != MapNotify) skipExposure_ = false;
        switch (event.type) {
        case Expose: {
            XExposeEvent const& e = event.xexpose;
            // The exposures of a map that was painted ahead: the server has
            // filled them from the background, before anything drawn since.
            if (skipExposure_) {
                skipExposure_ = e.count != 0;
                break;
            }
            AddDamage({e.x, e.y, e.x + e.width, e.y + e.height});
            break;
        }
        case ButtonPress:
            if (event.xbutton.button == Button1) {
                auto const x = static_cast<std::uint16_t>(event.xbutton.x);
                auto const y = static_cast<std::uint16_t>(event.xbutton.y);
                x_.loop.PostMessage(this, splash::WM_LBUTTONDOWN, kMkLButton,
                                    static_cast<std::intptr_t>(std::uint32_t{y} << 16 | x));
            }
            break;
        case MapNotify:
            // Its exposures follow it at once.
            skipExposure_ = paintedAhead_;
            paintedAhead_ = false;
            viewable_ = true;
            if (damage_) PostPaint();
            break;
        case UnmapNotify:
            viewable_ = false;
            break;
        case ReparentNotify:
            reparented_ = event.xreparent.parent != x_.root;
            break;
        case ConfigureNotify: {
            // Inside a manager's frame the server tells the place in the
            // frame; the manager's own notice tells it on the screen.
            XConfigureEvent const& e = event.xconfigure;
            if (e.send_event || !reparented_) rect_ = {e.x, e.y, e.x + e.width, e.y + e.height};
            break;
        }
        default:
            break;
        }
    }

    void ShowWindow(int command) override {
        if (x_.lost) {
            shown_ = command != splash::SW_HIDE;
            return;
        }
        Display* const d = x_.Get();
        if (command == splash::SW_HIDE) {
            if (shown_) XWithdrawWindow(d, window_.Id(), x_.screen);
            shown_ = false;
        } else if (!shown_) {
            WriteState();
            PaintAhead();
            XMapWindow(d, window_.Id());
            shown_ = true;
        }
        x_.Settle();
    }

    splash::Rect GetWindowRect() override { return rect_; }

    void SetTopmost(splash::Rect const& rect) override {
        if (x_.lost) {
            rect_ = rect;
            shown_ = true;
            return;
        }
        Display* const d = x_.Get();
        Resize(rect);
        rect_ = rect;
        XMoveResizeWindow(d, window_.Id(), rect.left, rect.top,
                          static_cast<unsigned>(std::max(1, rect.Width())),
                          static_cast<unsigned>(std::max(1, rect.Height())));
        if (shown_) {
            // A managed window's state is its manager's to change.
            XEvent event{};
            event.xclient.type = ClientMessage;
            event.xclient.window = window_.Id();
            event.xclient.message_type = x_.atoms[kState];
            event.xclient.format = 32;
            event.xclient.data.l[0] = kNetWmStateAdd;
            event.xclient.data.l[1] = static_cast<long>(x_.atoms[kStateAbove]);
            event.xclient.data.l[3] = 1; // from an application
            XSendEvent(d, x_.root, False, SubstructureRedirectMask | SubstructureNotifyMask,
                       &event);
        } else {
            WriteState();
            PaintAhead();
        }
        // Without a manager, or one that ignores the state, raising is what
        // puts it on top.
        XMapRaised(d, window_.Id());
        shown_ = true;
        x_.Settle();
    }

    void Move(std::int32_t x, std::int32_t y) override {
        rect_ = splash::Rect{x, y, x + rect_.Width(), y + rect_.Height()};
        if (x_.lost) return;
        XMoveWindow(x_.Get(), window_.Id(), x, y);
        x_.Settle();
    }

    void InvalidateRect(splash::Rect const* rect, bool) override {
        AddDamage(rect != nullptr ? *rect : splash::Rect{0, 0, rect_.Width(), rect_.Height()});
    }

    void SetTimer(std::uintptr_t id, std::uint32_t periodMs) override {
        x_.loop.SetTimer(this, id, periodMs);
    }
    void KillTimer(std::uintptr_t id) override { x_.loop.KillTimer(this, id); }

    splash::Rect MonitorWorkArea() override { return x_.WorkArea(); }

    // Drawn off the screen and copied on in one piece: a paint builds the
    // splash up in layers, which the screen would show one by one.
    splash::PaintSurface BeginPaint() override {
        splash::Rect const whole{0, 0, rect_.Width(), rect_.Height()};
        splash::Rect area = damage_.value_or(whole);
        area = {std::max(area.left, 0), std::max(area.top, 0), std::min(area.right, whole.right),
                std::min(area.bottom, whole.bottom)};
        if (area.Width() <= 0 || area.Height() <= 0) area = {0, 0, 1, 1};
        painted_ = area;
        offScreen_.reset(
            cairo_image_surface_create(CAIRO_FORMAT_RGB24, area.Width(), area.Height()));
        painting_.reset(cairo_create(offScreen_.get()));
        // The window's background, as an erase would leave it.
        cairo_set_source_rgb(painting_.get(), 1, 1, 1);
        cairo_paint(painting_.get());
        cairo_translate(painting_.get(), -area.left, -area.top);
        return {painting_.get(), x_.pixelsPerInch};
    }

    void EndPaint(splash::PaintSurface const&) override {
        painting_.reset();
        if (offScreen_) {
            cairo_surface_flush(offScreen_.get());
            ::Drawable const target = ahead_ != 0 ? ahead_ : window_.Id();
            if (x_.imageGc) {
                PutImage(target);
            } else {
                SurfacePtr aheadSurface;
                if (ahead_ != 0) {
                    aheadSurface.reset(cairo_xlib_surface_create(
                        x_.Get(), ahead_, DefaultVisual(x_.Get(), x_.screen),
                        std::max(1, rect_.Width()), std::max(1, rect_.Height())));
                }
                cairo_surface_t* const screenSurface =
                    aheadSurface ? aheadSurface.get() : ScreenSurface();
                CairoPtr const screen(cairo_create(screenSurface));
                cairo_set_operator(screen.get(), CAIRO_OPERATOR_SOURCE);
                cairo_set_source_surface(screen.get(), offScreen_.get(), painted_.left,
                                         painted_.top);
                cairo_rectangle(screen.get(), painted_.left, painted_.top, painted_.Width(),
                                painted_.Height());
                cairo_fill(screen.get());
                cairo_surface_flush(screenSurface);
            }
        }
        offScreen_.reset();
        damage_.reset();
        x_.Settle();
    }

private:
    void Deliver(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) override {
        if (message == splash::WM_PAINT) {
            paintPending_ = false;
            // What is drawn on a window out of view is lost; the exposure
            // that comes with its map asks again. Without a display there
            // is nothing to draw on.
            if (!viewable_ || !damage_ || x_.lost) return;
        }
        handler_.OnMessage(*this, message, wParam, lParam);
    }

    // Made at the first paint that needs it: setting the drawing library up
    // for a display takes several round trips.
    cairo_surface_t* ScreenSurface() {
        if (!surface_) {
            surface_.reset(cairo_xlib_surface_create(
                x_.Get(), window_.Id(), DefaultVisual(x_.Get(), x_.screen),
                std::max(1, rect_.Width()), std::max(1, rect_.Height())));
        }
        return surface_.get();
    }

    // The first paint of each show is made before the map, into the
    // window's background: the window is on the screen painted from the
    // moment it is mapped, never empty while its paint is under way.
    void PaintAhead() {
        Display* const d = x_.Get();
        auto const width = static_cast<unsigned>(std::max(1, rect_.Width()));
        auto const height = static_cast<unsigned>(std::max(1, rect_.Height()));
        ahead_ = XCreatePixmap(d, window_.Id(), width, height,
                               static_cast<unsigned>(DefaultDepth(d, x_.screen)));
        damage_ = splash::Rect{0, 0, rect_.Width(), rect_.Height()};
        handler_.OnMessage(*this, splash::WM_PAINT, 0, 0);
        damage_.reset(); // a paint already asked for finds nothing to do
        if (!x_.lost) {
            XSetWindowBackgroundPixmap(d, window_.Id(), ahead_);
            // The window holds the pixmap as long as it needs it.
            XFreePixmap(d, ahead_);
        }
        ahead_ = 0;
        paintedAhead_ = true;
    }

    void PutImage(::Drawable target) {
        Display* const d = x_.Get();
        auto const width = static_cast<unsigned>(painted_.Width());
        auto const height = static_cast<unsigned>(painted_.Height());
        XImage* image = XCreateImage(
            d, DefaultVisual(d, x_.screen), static_cast<unsigned>(DefaultDepth(d, x_.screen)),
            ZPixmap, 0, reinterpret_cast<char*>(cairo_image_surface_get_data(offScreen_.get())),
            width, height, 32, cairo_image_surface_get_stride(offScreen_.get()));
        if (image == nullptr) return;
        // The pixels are in this machine's order; Xlib swaps them for a
        // server of the other.
        image->byte_order = std::endian::native == std::endian::little ? LSBFirst : MSBFirst;
        XPutImage(d, target, x_.imageGc->Get(), image, 0, 0, painted_.left, painted_.top, width,
                  height);
        image->data = nullptr; // the surface's to free
        XDestroyImage(image);
    }

    void AddDamage(splash::Rect const& add) {
        if (damage_) {
            damage_ = splash::Rect{
                std::min(damage_->left, add.left), std::min(damage_->top, add.top),
                std::max(damage_->right, add.right), std::max(damage_->bottom, add.bottom)};
        } else {
            damage_ = add;
        }
        PostPaint();
    }

    void PostPaint() {
        if (paintPending_) return;
        paintPending_ = true;
        x_.loop.PostMessage(this, splash::WM_PAINT, 0, 0);
    }

    void DescribeToWindowManager() {
        Display* const d = x_.Get();
        ::Window const id = window_.Id();

        char name[] = "orvelsplash";
        char className[] = "Orvelsplash";
        XClassHint classHint{name, className};
        XSetClassHint(d, id, &classHint);

        // The client that asked for the splash is starting up and keeps the
        // keyboard.
        XWMHints wmHints{};
        wmHints.flags = InputHint | StateHint;
        wmHints.input = False;
        wmHints.initial_state = NormalState;
        XSetWMHints(d, id, &wmHints);

        WriteSizeHints();

        Atom const type = x_.atoms[kWindowTypeSplash];
        XChangeProperty(d, id, x_.atoms[kWindowType], XA_ATOM, 32, PropModeReplace,
                        reinterpret_cast<unsigned char const*>(&type), 1);
        WriteState();

        long const motif[5] = {kMotifHintsDecorations, 0, 0, 0, 0}; // no decorations
        XChangeProperty(d, id, x_.atoms[kMotifHints], x_.atoms[kMotifHints], 32, PropModeReplace,
                        reinterpret_cast<unsigned char const*>(motif), 5);
    }

    // Managers drop the state when a window is withdrawn; it is written
    // again before each map.
    void WriteState() {
        Atom const states[] = {x_.atoms[kStateAbove], x_.atoms[kStateSkipTaskbar],
                               x_.atoms[kStateSkipPager]};
        XChangeProperty(x_.Get(), window_.Id(), x_.atoms[kState], XA_ATOM, 32, PropModeReplace,
                        reinterpret_cast<unsigned char const*>(states), 3);
    }

    // The size is fixed, and the place is the program's, not the manager's
    // to choose.
    void WriteSizeHints() {
        XSizeHints hints{};
        hints.flags = USPosition | PPosition | PSize | PMinSize | PMaxSize;
        hints.x = rect_.left;
        hints.y = rect_.top;
        hints.width = hints.min_width = hints.max_width = std::max(1, rect_.Width());
        hints.height = hints.min_height = hints.max_height = std::max(1, rect_.Height());
        XSetWMNormalHints(x_.Get(), window_.Id(), &hints);
    }

    void Resize(splash::Rect const& rect) {
        if (rect.Width() == rect_.Width() && rect.Height() == rect_.Height()) return;
        rect_ = rect;
        if (surface_) {
            cairo_xlib_surface_set_size(surface_.get(), std::max(1, rect.Width()),
                                        std::max(1, rect.Height()));
        }
        WriteSizeHints();
    }

    XWindowSystem::Connection& x_;
    splash::WindowHandler& handler_;
    XWindowHandle window_; // before the surface, which draws on it
    splash::Rect rect_;
    SurfacePtr surface_;   // for screens that take no image as it is
    SurfacePtr offScreen_; // while a paint is under way
    CairoPtr painting_;
    splash::Rect painted_;
    std::optional<splash::Rect> damage_; // in window coordinates
    bool paintPending_ = false;
    bool shown_ = false;    // mapped at our request
    bool viewable_ = false; // mapped as the server last told
    bool reparented_ = false;
    ::Pixmap ahead_ = 0;        // while the paint ahead of a map is made
    bool paintedAhead_ = false; // for the map to come
    bool skipExposure_ = false; // of that map
};

} // namespace

void XWindowSystem::Connection::Drain() {
    // Events only post messages here: no window comes or goes while the
    // queue is read.
    while (!lost && XPending(Get()) > 0) {
        XEvent event;
        XNextEvent(Get(), &event);
        auto const found = windows.find(event.xany.window);
        if (found != windows.end()) found->second->OnEvent(event);
    }
    NoteLost();
}

XWindowSystem::XWindowSystem(std::unique_ptr<Connection> connection)
    : connection_(std::move(connection)) {}

XWindowSystem::~XWindowSystem() = default;

std::unique_ptr<XWindowSystem> XWindowSystem::Open(splash::EventLoop& loop,
                                                   char const* displayName) {
    static std::once_flag handlerSet;
    std::call_once(handlerSet, [] {
        XSetErrorHandler(IgnoreProtocolError);
        XSetIOErrorHandler(QuietConnectionError);
    });
    DisplayPtr display(XOpenDisplay(displayName));
    if (!display) return nullptr;
    auto connection = std::make_unique<Connection>(loop, std::move(display));
    // A display whose events nobody reads is no display.
    if (connection->watch < 0) return nullptr;
    return std::unique_ptr<XWindowSystem>(new XWindowSystem(std::move(connection)));
}

std::unique_ptr<splash::Window> XWindowSystem::CreatePopup(splash::WindowHandler& handler,
                                                           splash::Rect const& rect) {
    if (connection_->lost)
        return splash::NullWindowSystem(connection_->loop).CreatePopup(handler, rect);
    auto window = std::make_unique<XPopup>(*connection_, handler, rect);
    window->Create();
    return window;
}

int XWindowSystem::ScreenColourBits() {
    return DefaultDepth(connection_->Get(), connection_->screen);
}

SplashScreen OpenSplashScreen(splash::EventLoop& loop) {
    if (std::unique_ptr<XWindowSystem> x = XWindowSystem::Open(loop)) {
        return {std::move(x), std::make_unique<CairoSplashPainter>()};
    }
    std::fputs("orvelsplash: no display; serving calls without showing the splash\n", stderr);
    return ScreenlessSplash(loop);
}

SplashScreen ScreenlessSplash(splash::EventLoop& loop) {
    return {std::make_unique<splash::NullWindowSystem>(loop),
            std::make_unique<NullSplashPainter>()};
}

} // namespace splash

#include <splash/splashimage.h>

#include <splash/host/eventloop.h>
#include <splash/module.h>
#include <splash/textcopy.h>

#include <algorithm>

namespace splash {

ImageWindow::ImageWindow(splash::WindowHandler& handler, splash::Rect const& rect,
                         int pixelsPerInch)
    : handler_(handler), rect_(rect), pixelsPerInch_(pixelsPerInch),
      image_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, std::max(1, rect.Width()),
                                        std::max(1, rect.Height()))) {}

void ImageWindow::Create() {
    handler_.OnMessage(*this, splash::WM_CREATE, 0, 0);
}

void ImageWindow::ShowWindow(int command) {
    bool const show = command != splash::SW_HIDE;
    // A window that comes into view has everything to paint.
    if (show && !visible_) InvalidateRect(nullptr, true);
    visible_ = show;
}

void ImageWindow::SetTopmost(splash::Rect const& rect) {
    rect_ = rect;
    ShowWindow(splash::SW_SHOW);
}

void ImageWindow::Move(std::int32_t x, std::int32_t y) {
    rect_ = splash::Rect{x, y, x + rect_.Width(), y + rect_.Height()};
}

void ImageWindow::InvalidateRect(splash::Rect const* rect, bool) {
    splash::Rect const whole{0, 0, rect_.Width(), rect_.Height()};
    splash::Rect const add = rect != nullptr ? *rect : whole;
    if (!invalid_) {
        invalid_ = add;
        return;
    }
    invalid_ = splash::Rect{std::min(invalid_->left, add.left), std::min(invalid_->top, add.top),
                              std::max(invalid_->right, add.right),
                              std::max(invalid_->bottom, add.bottom)};
}

void ImageWindow::UpdateWindow() {
    if (visible_ && invalid_) handler_.OnMessage(*this, splash::WM_PAINT, 0, 0);
}

splash::PaintSurface ImageWindow::BeginPaint() {
    painting_.reset(cairo_create(image_.get()));
    if (invalid_) {
        cairo_rectangle(painting_.get(), invalid_->left, invalid_->top, invalid_->Width(),
                        invalid_->Height());
        cairo_clip(painting_.get());
    }
    return {painting_.get(), pixelsPerInch_};
}

void ImageWindow::EndPaint(splash::PaintSurface const&) {
    painting_.reset();
    cairo_surface_flush(image_.get());
    invalid_.reset();
}

std::unique_ptr<splash::Window> ImageWindowSystem::CreatePopup(splash::WindowHandler& handler,
                                                                 splash::Rect const& rect) {
    auto window = std::make_unique<ImageWindow>(handler, rect, pixelsPerInch_);
    last_ = window.get();
    window->Create();
    return window;
}

namespace {

// An option that was not given is an absent BSTR.
char16_t const* Text(std::optional<std::u16string> const& text) {
    return text ? text->c_str() : nullptr;
}

} // namespace

SurfacePtr RenderSplash(SplashRequest const& request, PaintTrace* trace) {
    splash::EventLoop loop;
    CExeModule module(loop);
    ImageWindowSystem windows(request.lowColour ? 8 : 24);
    NullSplashChecks checks;
    NullRecentLists recent;
    CairoSplashPainter painter(trace);
    SplashServices services{windows, module, checks, recent, painter};

    ISplashWindow* splash = nullptr;
    if (platform::FAILED(CSplashWindow::CreateInstance(services, &splash))) return nullptr;
    ImageWindow* const window = windows.LastWindow();
    splash->SetSplashTimeout(-1);
    OwnedBstr const title(Text(request.title)), subtitle(Text(request.subtitle)),
        licensee(Text(request.licensee));
    if (request.version) {
        OwnedBstr const version(Text(request.version));
        splash->ShowSplash2(title, subtitle, version, request.yearFrom, request.yearTo, licensee);
    } else {
        splash->ShowSplash(title, subtitle, request.major, request.minor, request.yearFrom,
                           request.yearTo, licensee);
    }
    if (request.status) {
        OwnedBstr const status(Text(request.status));
        splash->SetStatusText(status);
    }
    window->UpdateWindow();
    SurfacePtr image(cairo_surface_reference(window->Image()));
    splash->Release();
    return image;
}

} // namespace splash

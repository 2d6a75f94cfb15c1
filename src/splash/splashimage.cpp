#include <splash/splashimage.h>

#include <platform/eventloop.h>
#include <splash/module.h>
#include <splash/textcopy.h>

#include <algorithm>

namespace splash {

ImageWindow::ImageWindow(platform::WindowHandler& handler, platform::Rect const& rect,
                         int pixelsPerInch)
    : handler_(handler), rect_(rect), pixelsPerInch_(pixelsPerInch),
      image_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, std::max(1, rect.Width()),
                                        std::max(1, rect.Height()))) {}

void ImageWindow::Create() {
    handler_.OnMessage(*this, platform::WM_CREATE, 0, 0);
}

void ImageWindow::ShowWindow(int command) {
    bool const show = command != platform::SW_HIDE;
    // A window that comes into view has everything to paint.
    if (show && !visible_) InvalidateRect(nullptr, true);
    visible_ = show;
}

void ImageWindow::SetTopmost(platform::Rect const& rect) {
    rect_ = rect;
    ShowWindow(platform::SW_SHOW);
}

void ImageWindow::Move(std::int32_t x, std::int32_t y) {
    rect_ = platform::Rect{x, y, x + rect_.Width(), y + rect_.Height()};
}

void ImageWindow::InvalidateRect(platform::Rect const* rect, bool) {
    platform::Rect const whole{0, 0, rect_.Width(), rect_.Height()};
    platform::Rect const add = rect != nullptr ? *rect : whole;
    if (!invalid_) {
        invalid_ = add;
        return;
    }
    invalid_ = platform::Rect{std::min(invalid_->left, add.left), std::min(invalid_->top, add.top),
                              std::max(invalid_->right, add.right),
                              std::max(invalid_->bottom, add.bottom)};
}

void ImageWindow::UpdateWindow() {
    if (visible_ && invalid_) handler_.OnMessage(*this, platform::WM_PAINT, 0, 0);
}

platform::PaintSurface ImageWindow::BeginPaint() {
    painting_.reset(cairo_create(image_.get()));
    if (invalid_) {
        cairo_rectangle(painting_.get(), invalid_->left, invalid_->top, invalid_->Width(),
                        invalid_->Height());
        cairo_clip(painting_.get());
    }
    return {painting_.get(), pixelsPerInch_};
}

void ImageWindow::EndPaint(platform::PaintSurface const&) {
    painting_.reset();
    cairo_surface_flush(image_.get());
    invalid_.reset();
}

std::unique_ptr<platform::Window> ImageWindowSystem::CreatePopup(platform::WindowHandler& handler,
                                                                 platform::Rect const& rect) {
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
    platform::EventLoop loop;
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

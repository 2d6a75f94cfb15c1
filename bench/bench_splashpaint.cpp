// Times one whole paint of the splash to an image, and beside it the two
// things that every paint redoes instead of keeping: loading the background
// bitmap and making the fonts. The shares say how much keeping them would
// save.
#include <splash/dib.h>
#include <splash/module.h>
#include <splash/splashimage.h>
#include <splash/splashpaint.h>

#include "ratio.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

using namespace splash;

namespace {

constexpr double kMinTime = 0.5;

// The state of an ordinary show, taken from the server's own object.
SplashState ShownState() {
    struct Capture final : SplashPainter {
        void Paint(splash::Window&, SplashState& state) override { captured = state; }
        SplashState captured;
    };
    splash::EventLoop loop;
    CExeModule module(loop);
    splash::ImageWindowSystem windows;
    NullSplashChecks checks;
    NullRecentLists recent;
    Capture capture;
    SplashServices services{windows, module, checks, recent, capture};
    ISplashWindow* object = nullptr;
    CSplashWindow::CreateInstance(services, &object);
    object->SetSplashTimeout(-1);
    std::u16string title = u"Heat Exchanger Designer", subtitle = u"Orvel Engineering",
                   licensee = u"Acme Process Engineering Ltd.";
    object->ShowSplash(title.data(), subtitle.data(), 8, 4, 2005, 2019, licensee.data());
    windows.LastWindow()->UpdateWindow();
    object->Release();
    return capture.captured;
}

void WholePaint(benchmark::State& state) {
    SplashState splash = ShownState();
    splash::SurfacePtr const image(cairo_image_surface_create(CAIRO_FORMAT_RGB24, 495, 392));
    for (auto _ : state) {
        splash::CairoPtr const cr(cairo_create(image.get()));
        splash::PaintSplash(cr.get(), 96, splash);
        cairo_surface_flush(image.get());
    }
}

// What the ordinary display's paint does to have its background: the copy
// of the resource and its pixels as an image.
void LoadImages(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<std::uint8_t> const dib = splash::LoadBitmapResource(238);
        auto const header = splash::ReadInfoHeader(dib);
        splash::SurfacePtr const image = splash::DibImage(dib, *header, {});
        benchmark::DoNotOptimize(image.get());
    }
}

// The fonts that the same paint makes, in its order.
void MakeFonts(benchmark::State& state) {
    struct Spec {
        char const* face;
        int points;
        int weight;
    };
    static constexpr Spec kFonts[] = {
        {"Arial", 14, 700}, {"Arial", 16, 700},       {"Arial", 10, 0},  {"Arial", 10, 0},
        {"Arial", 24, 400}, {"Arial Narrow", 7, 400}, {"Arial", 6, 200}, {"Arial", 8, 600}};
    for (auto _ : state) {
        for (Spec const& spec : kFonts) {
            splash::Font const font(spec.face, splash::CellHeight(spec.points, 96), spec.weight);
            benchmark::DoNotOptimize(font.Get());
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    benchmark::RegisterBenchmark("paint/whole", WholePaint)
        ->MinTime(kMinTime)
        ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("paint/images", LoadImages)
        ->MinTime(kMinTime)
        ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("paint/fonts", MakeFonts)
        ->MinTime(kMinTime)
        ->Unit(benchmark::kMicrosecond);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    ratio::CollectingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    double const whole = reporter.Nanoseconds("paint/whole");
    double const images = reporter.Nanoseconds("paint/images");
    double const fonts = reporter.Nanoseconds("paint/fonts");
    if (whole <= 0 || images < 0 || fonts < 0) return 0;
    std::printf("\none paint to an image: %.2f ms\n", whole / 1e6);
    std::printf("  loading images  %6.2f ms  %5.1f %% of the paint\n", images / 1e6,
                100 * images / whole);
    std::printf("  making fonts    %6.2f ms  %5.1f %% of the paint\n", fonts / 1e6,
                100 * fonts / whole);
    std::printf("  the rest        %6.2f ms  %5.1f %% (drawing)\n", (whole - images - fonts) / 1e6,
                100 * (whole - images - fonts) / whole);
    return 0;
}

// The bitmaps a paint draws: decoded once per process, and only those that
// some paint has drawn.
#include <splash/bitmapcache.h>
#include <splash/splashimage.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

bool SamePixels(cairo_surface_t* a, cairo_surface_t* b) {
    int const height = cairo_image_surface_get_height(a);
    int const stride = cairo_image_surface_get_stride(a);
    return height == cairo_image_surface_get_height(b) &&
           stride == cairo_image_surface_get_stride(b) &&
           std::memcmp(cairo_image_surface_get_data(a), cairo_image_surface_get_data(b),
                       static_cast<std::size_t>(height) * stride) == 0;
}

// What a fresh process has decoded after each splash, in order: the
// background only, until a splash names QVLS or the screen has few colours.
void PaintInAFreshProcess() {
    struct Step {
        splash::SplashRequest request;
        std::vector<int> decoded;
    };
    auto const request = [](std::u16string title, std::u16string subtitle, bool lowColour) {
        splash::SplashRequest r;
        r.title = std::move(title);
        r.subtitle = std::move(subtitle);
        r.major = 13;
        r.status = u"Loading";
        r.lowColour = lowColour;
        return r;
    };
    std::vector<Step> const steps = {
        {request(u"Heat Designer", u"Orvel Thermal", false), {238}},
        {request(u"Flow Sheet", u"refining", false), {238}},
        {request(u"QVLS Reports", u"Orvel", false), {238, 229}},
        {request(u"Heat Designer", u"Orvel Thermal", true), {238, 229, 241}},
    };
    splash::SurfacePtr const first = splash::RenderSplash(steps[0].request);
    for (Step const& step : steps) {
        splash::SurfacePtr const image = splash::RenderSplash(step.request);
        if (!image || splash::DecodedProgramBitmaps() != step.decoded) {
            std::fputs("decoded other bitmaps than the paints drew\n", stderr);
            std::exit(1);
        }
    }
    // A later paint of the same texts draws the same pixels from the kept images.
    splash::SurfacePtr const again = splash::RenderSplash(steps[0].request);
    if (!SamePixels(first.get(), again.get())) std::exit(2);
    // One image per bitmap and route, the same at every use.
    auto const& background = splash::ProgramBitmap(238, splash::BitmapRoute::AsStored);
    if (&background != &splash::ProgramBitmap(238, splash::BitmapRoute::AsStored) ||
        !background.image)
        std::exit(3);
    std::exit(0);
}

} // namespace

TEST(SplashBitmapCache, DecodesOnlyWhatAPaintDrawsAndOnlyOnce) {
    // A process of its own: the test program's other paints have decoded
    // bitmaps already.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(PaintInAFreshProcess(), testing::ExitedWithCode(0), "");
}

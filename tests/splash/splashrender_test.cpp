// The whole paint, through the server's object: reviewed images, the places
// of the texts, and the road from a state change to the screen.
#include "fakes.h"

#include <splash/splashimage.h>
#include <splash/splashpaint.h>

#include <golden_dir.h>
#include <platform/msgbox.h>
#include <support/recording_box.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

using namespace splash;

using splash::PaintTrace;
using splash::SplashRequest;
using splash::SurfacePtr;
using splash::TextDraw;

namespace {

std::uint32_t Pixel(cairo_surface_t* image, int x, int y) {
    std::uint32_t pixel;
    std::memcpy(
        &pixel,
        cairo_image_surface_get_data(image) + y * cairo_image_surface_get_stride(image) + x * 4, 4);
    return pixel & 0xFFFFFF;
}

int Channel(std::uint32_t pixel, int shift) {
    return static_cast<int>(pixel >> shift & 0xFF);
}

// Font rasterisation may move an edge by a shade here and there; a moved
// text, a missing one or another background changes far more.
void ExpectMatchesGolden(SplashRequest const& request, std::string const& name) {
    SurfacePtr const actual = splash::RenderSplash(request);
    ASSERT_TRUE(actual);
    std::string const path = std::string(kSplashGoldenDir) + "/" + name + ".png";
    if (std::getenv("SORVANE_UPDATE_GOLDEN") != nullptr) {
        ASSERT_EQ(cairo_surface_write_to_png(actual.get(), path.c_str()), CAIRO_STATUS_SUCCESS);
        return;
    }
    SurfacePtr const golden(cairo_image_surface_create_from_png(path.c_str()));
    ASSERT_EQ(cairo_surface_status(golden.get()), CAIRO_STATUS_SUCCESS) << path;
    ASSERT_EQ(cairo_image_surface_get_width(golden.get()), 495);
    ASSERT_EQ(cairo_image_surface_get_height(golden.get()), 392);

    int differing = 0;
    long long total = 0;
    for (int y = 0; y < 392; ++y) {
        for (int x = 0; x < 495; ++x) {
            std::uint32_t const a = Pixel(actual.get(), x, y);
            std::uint32_t const g = Pixel(golden.get(), x, y);
            int worst = 0;
            for (int shift : {0, 8, 16}) {
                int const d = std::abs(Channel(a, shift) - Channel(g, shift));
                worst = std::max(worst, d);
                total += d;
            }
            if (worst > 40) ++differing;
        }
    }
    double const mean = static_cast<double>(total) / (495.0 * 392 * 3);
    bool const matches = differing <= 400 && mean <= 0.5;
    if (!matches) {
        std::string const kept = "splash_" + name + "_actual.png";
        cairo_surface_write_to_png(actual.get(), kept.c_str());
        ADD_FAILURE() << name << ": " << differing << " pixels differ, mean difference " << mean
                      << "; the paint is kept as " << kept
                      << " (SORVANE_UPDATE_GOLDEN=1 rewrites the reviewed images)";
    }
}

SplashRequest Engineering() {
    SplashRequest r;
    r.title = u"Heat Exchanger Designer";
    r.subtitle = u"Orvel Engineering";
    r.major = 8;
    r.minor = 4;
    r.yearFrom = 2005;
    r.yearTo = 2019;
    r.licensee = u"Acme Process Engineering Ltd.";
    return r;
}

// The texts drawn, with the raised signs' single characters kept apart.
std::vector<TextDraw> Texts(SplashRequest const& request) {
    PaintTrace trace;
    splash::RenderSplash(request, &trace);
    return trace;
}

TextDraw const* Find(std::vector<TextDraw> const& texts, std::u16string const& text) {
    for (TextDraw const& t : texts)
        if (t.text == text) return &t;
    return nullptr;
}

// The characters drawn one at a time on one baseline, joined up again.
std::u16string Line(std::vector<TextDraw> const& texts, int baseline, int cellHeight) {
    std::u16string line;
    for (TextDraw const& t : texts)
        if (t.baseline && t.y == baseline && t.cellHeight == cellHeight) line += t.text;
    return line;
}

} // namespace

TEST(SplashGolden, SuiteRowsAndTheirVariants) {
    ExpectMatchesGolden(Engineering(), "engineering");

    SplashRequest polymers;
    polymers.title = u"Reactor Workbench";
    polymers.subtitle = u"Orvel Polymers";
    polymers.version = u"v3.1";
    polymers.yearTo = 2012;
    polymers.licensee = u"Northwind Resins";
    polymers.status = u"Loading unit tables...";
    ExpectMatchesGolden(polymers, "polymers_status");

    SplashRequest qvls;
    qvls.title = u"Sample Manager";
    qvls.subtitle = u"QVLS:Quality Validation:Laboratory Systems";
    qvls.major = 2;
    qvls.minor = 0;
    qvls.yearTo = 2010;
    ExpectMatchesGolden(qvls, "qvls");
}

TEST(SplashGolden, TitlesVersionsAndTheLowColourDisplay) {
    SplashRequest twoLines;
    twoLines.title = u"Pipeline Hydraulics and Integrated Thermal Analysis";
    twoLines.subtitle = u"Supply Chain";
    twoLines.major = 11;
    twoLines.minor = 2;
    ExpectMatchesGolden(twoLines, "two_line_title");

    SplashRequest registered;
    registered.title = u"OrvelCAD(r) Piping";
    registered.subtitle = u"Manufacturing";
    registered.version = u"7.0 SP2";
    registered.lowColour = true;
    ExpectMatchesGolden(registered, "registered_lowcolour");

    SplashRequest none;
    none.title = u"Units Converter";
    none.subtitle = u"Desktop Tools";
    ExpectMatchesGolden(none, "no_version");

    // Drawn 5 pixels in, the low-colour background leaves the frame's left
    // edge; the ordinary one covers it.
    SurfacePtr const low = splash::RenderSplash(registered);
    SurfacePtr const ordinary = splash::RenderSplash(none);
    for (int y : {10, 200, 380}) {
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(Pixel(low.get(), x, y), 0u) << x << "," << y;
        EXPECT_NE(Pixel(low.get(), 5, y), 0u);
        EXPECT_NE(Pixel(ordinary.get(), 1, y), 0u);
    }
}

TEST(SplashPlacement, VersionAndItsLetter) {
    std::vector<TextDraw> texts = Texts(Engineering());
    TextDraw const* word = Find(texts, u"Version");
    ASSERT_NE(word, nullptr);
    EXPECT_EQ(word->x, 375);
    EXPECT_EQ(word->y, 160);
    EXPECT_FALSE(word->baseline);
    TextDraw const* number = Find(texts, u"8.4");
    ASSERT_NE(number, nullptr);
    EXPECT_EQ(number->x, 375);
    EXPECT_EQ(number->y, 175);
    EXPECT_EQ(number->cellHeight, -32);
    EXPECT_EQ(Find(texts, u"V"), nullptr);

    // A leading v is upper-cased and set apart from the number.
    SplashRequest lettered = Engineering();
    lettered.version = u"v8.4";
    texts = Texts(lettered);
    ASSERT_NE(Find(texts, u"V"), nullptr);
    EXPECT_EQ(Find(texts, u"V")->x, 373);
    ASSERT_NE(Find(texts, u"8.4"), nullptr);
    EXPECT_EQ(Find(texts, u"8.4")->x, 395);
    EXPECT_EQ(Find(texts, u"8.4")->y, 175);

    // No version: the letter alone under the word.
    SplashRequest none = Engineering();
    none.major = -1;
    none.minor = -1;
    texts = Texts(none);
    ASSERT_NE(Find(texts, u"V"), nullptr);
    EXPECT_EQ(Find(texts, u"V")->x, 373);
}

TEST(SplashPlacement, TitleLinesSubTextTagAndRaisedSign) {
    SplashRequest request;
    request.title = u"Pipeline Hydraulics and Integrated Thermal Analysis(r)";
    request.subtitle = u"QVLS:Quality Validation:Laboratory Systems";
    std::vector<TextDraw> texts = Texts(request);
    TextDraw const* suite = Find(texts, u"Quality Validation");
    ASSERT_NE(suite, nullptr);
    EXPECT_EQ(suite->x, 120);
    EXPECT_EQ(suite->y, 103);
    EXPECT_EQ(suite->cellHeight, -19);
    EXPECT_EQ(suite->weight, 700);
    EXPECT_EQ(Line(texts, 135, -21), u"Pipeline Hydraulics and Integrated");
    EXPECT_EQ(Line(texts, 155, -21), u"Thermal Analysis");
    // Under two title lines the sub-text goes lower, at half the suite's
    // height.
    TextDraw const* sub = Find(texts, u"Laboratory Systems");
    ASSERT_NE(sub, nullptr);
    EXPECT_EQ(sub->y, 175);
    EXPECT_EQ(sub->cellHeight, -9);

    // The registered sign: in the 10-point font, lifted off the baseline.
    TextDraw const* sign = Find(texts, u"\u00AE");
    ASSERT_NE(sign, nullptr);
    EXPECT_EQ(sign->cellHeight, -13);
    EXPECT_LT(sign->y, 155 - 3);
    EXPECT_GT(sign->x, 200);

    request.title = u"Sample Manager";
    request.subtitle = u"Orvel Refining";
    texts = Texts(request);
    EXPECT_EQ(Line(texts, 135, -21), u"Sample Manager");
    TextDraw const* tag = Find(texts, u"refining");
    ASSERT_NE(tag, nullptr);
    EXPECT_EQ(tag->x, 120);
    EXPECT_EQ(tag->y, 366);
    EXPECT_EQ(tag->cellHeight, -16);
}

TEST(SplashPlacement, LegalLineAndTheStatusStrip) {
    SplashRequest request = Engineering();
    std::vector<TextDraw> texts = Texts(request);
    // The legal line breaks at its own line feed, in the narrow face.
    TextDraw const* closing =
        Find(texts, u"This program is protected by copyright law and international treaties.");
    ASSERT_NE(closing, nullptr);
    EXPECT_EQ(closing->face, "Arial Narrow");
    EXPECT_EQ(closing->x, 120);
    EXPECT_GT(closing->y, 232);
    TextDraw const* licensee = Find(texts, u"Acme Process Engineering Ltd.");
    ASSERT_NE(licensee, nullptr);
    EXPECT_EQ(licensee->weight, 200);
    EXPECT_GE(licensee->y, 362); // centred in the bottom strip
    EXPECT_GT(licensee->x, 15);

    request.status = u"Reading the licence";
    texts = Texts(request);
    licensee = Find(texts, u"Acme Process Engineering Ltd.");
    ASSERT_NE(licensee, nullptr);
    EXPECT_LT(licensee->y, 362); // right of the taller strip above
    TextDraw const* status = Find(texts, u"Reading the licence");
    ASSERT_NE(status, nullptr);
    EXPECT_EQ(status->x, 15);
    EXPECT_EQ(status->weight, 600);
    EXPECT_GT(licensee->x, status->x + 200);
}

TEST(SplashRoad, StatusChangeRepaintsOnlyTheStripAndThePaintChangesTheFields) {
    splash::EventLoop loop;
    CExeModule module(loop);
    splash::ImageWindowSystem windows;
    NullSplashChecks checks;
    NullRecentLists recent;
    CairoSplashPainter painter;
    SplashServices services{windows, module, checks, recent, painter};
    ISplashWindow* object = nullptr;
    ASSERT_EQ(CSplashWindow::CreateInstance(services, &object), platform::S_OK);
    auto* splash = static_cast<CSplashWindow*>(object);
    splash->SetSplashTimeout(-1);
    Bstr title(u"Reactor Workbench"), subtitle(u"Orvel POLYMERS"), version(u"v3.1");
    splash->ShowSplash2(title, subtitle, version, 0, 0, nullptr);
    splash::ImageWindow* window = windows.LastWindow();
    window->UpdateWindow();

    EXPECT_EQ(std::string(splash->State().Subtitle.data()), "orvel polymers");
    EXPECT_EQ(std::string(splash->State().VersionText.data()), "V3.1");

    cairo_surface_t* image = window->Image();
    SurfacePtr const before(cairo_image_surface_create(CAIRO_FORMAT_RGB24, 495, 392));
    {
        splash::CairoPtr const cr(cairo_create(before.get()));
        cairo_set_source_surface(cr.get(), image, 0, 0);
        cairo_paint(cr.get());
    }
    Bstr status(u"Loading unit tables...");
    splash->SetStatusText(status);
    window->UpdateWindow();

    int changedInside = 0, changedOutside = 0;
    splash::Rect const strip = splash->State().StatusRect;
    for (int y = 0; y < 392; ++y) {
        for (int x = 0; x < 495; ++x) {
            bool const inside = x >= strip.left && x < strip.right && y >= strip.top;
            bool const changed = Pixel(image, x, y) != Pixel(before.get(), x, y);
            (inside ? changedInside : changedOutside) += changed ? 1 : 0;
        }
    }
    EXPECT_GT(changedInside, 100);
    EXPECT_EQ(changedOutside, 0);
    splash->Release();
}

namespace {

class NoHandler final : public splash::WindowHandler {
public:
    void OnMessage(splash::Window&, std::uint32_t, std::uintptr_t, std::intptr_t) override {}
};

} // namespace

TEST(SplashRoad, AWindowWithNothingToDrawOnIsToldInAMessageBox) {
    RecordingBox box;
    platform::ScopedSeam<platform::MessageBoxService> seam{platform::MessageBoxSeam(), box};
    NoHandler handler;
    FakeWindow window(handler, {0, 0, 495, 392}, {0, 0, 1280, 800}, nullptr);
    SplashState state;
    std::strcpy(state.Subtitle.data(), "Orvel Polymers");
    CairoSplashPainter painter;
    painter.Paint(window, state);
    EXPECT_EQ(box.shown, (std::vector<RecordingBox::Shown>{{"No hdc", "", platform::MB_OK}}));
    EXPECT_EQ(std::string(state.Subtitle.data()), "Orvel Polymers"); // no paint ran
}

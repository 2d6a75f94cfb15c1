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

// A request names only the texts it sets; the others are left out.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

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
            for (int shift : {0, 8, 16})
                total += std::abs(static_cast<int>(a >> shift & 0xFF) -
                                  static_cast<int>(g >> shift & 0xFF));
            differing += ChannelGap(a, g) > 40 ? 1 : 0;
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

SplashRequest const kEngineering{.title = u"Heat Exchanger Designer",
                                 .subtitle = u"Orvel Engineering",
                                 .major = 8,
                                 .minor = 4,
                                 .yearFrom = 2005,
                                 .yearTo = 2019,
                                 .licensee = u"Acme Process Engineering Ltd."};

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

// Where a text was drawn: "x,y h<cell height> w<weight>", and "base" when y
// is the baseline.
std::string Where(std::vector<TextDraw> const& texts, std::u16string const& text) {
    TextDraw const* t = Find(texts, text);
    if (t == nullptr) return "absent";
    return std::to_string(t->x) + "," + std::to_string(t->y) + " h" +
           std::to_string(t->cellHeight) + " w" + std::to_string(t->weight) +
           (t->baseline ? " base" : "");
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
    ExpectMatchesGolden(kEngineering, "engineering");
    ExpectMatchesGolden({.title = u"Reactor Workbench",
                         .subtitle = u"Orvel Polymers",
                         .version = u"v3.1",
                         .yearTo = 2012,
                         .licensee = u"Northwind Resins",
                         .status = u"Loading unit tables..."},
                        "polymers_status");
    ExpectMatchesGolden({.title = u"Sample Manager",
                         .subtitle = u"QVLS:Quality Validation:Laboratory Systems",
                         .major = 2,
                         .minor = 0,
                         .yearTo = 2010},
                        "qvls");
}

TEST(SplashGolden, TitlesVersionsAndTheLowColourDisplay) {
    ExpectMatchesGolden({.title = u"Pipeline Hydraulics and Integrated Thermal Analysis",
                         .subtitle = u"Supply Chain",
                         .major = 11,
                         .minor = 2},
                        "two_line_title");
    SplashRequest const registered{.title = u"OrvelCAD(r) Piping",
                                   .subtitle = u"Manufacturing",
                                   .version = u"7.0 SP2",
                                   .lowColour = true};
    ExpectMatchesGolden(registered, "registered_lowcolour");
    SplashRequest const none{.title = u"Units Converter", .subtitle = u"Desktop Tools"};
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
    std::vector<TextDraw> texts = Texts(kEngineering);
    EXPECT_EQ(Where(texts, u"Version"), "375,160 h-13 w0");
    EXPECT_EQ(Where(texts, u"8.4"), "375,175 h-32 w400");
    EXPECT_EQ(Where(texts, u"V"), "absent");

    // A leading v is upper-cased and set apart from the number.
    SplashRequest lettered = kEngineering;
    lettered.version = u"v8.4";
    texts = Texts(lettered);
    EXPECT_EQ(Where(texts, u"V"), "373,175 h-32 w400");
    EXPECT_EQ(Where(texts, u"8.4"), "395,175 h-32 w400");

    // No version: the letter alone under the word.
    SplashRequest none = kEngineering;
    none.major = -1;
    none.minor = -1;
    EXPECT_EQ(Where(Texts(none), u"V"), "373,175 h-32 w400");
}

TEST(SplashPlacement, TitleLinesSubTextTagAndRaisedSign) {
    SplashRequest request{.title = u"Pipeline Hydraulics and Integrated Thermal Analysis(r)",
                          .subtitle = u"QVLS:Quality Validation:Laboratory Systems"};
    std::vector<TextDraw> texts = Texts(request);
    EXPECT_EQ(Where(texts, u"Quality Validation"), "120,103 h-19 w700 base");
    EXPECT_EQ(Line(texts, 135, -21), u"Pipeline Hydraulics and Integrated");
    EXPECT_EQ(Line(texts, 155, -21), u"Thermal Analysis");
    // Under two title lines the sub-text goes lower, at half the suite's
    // height.
    EXPECT_EQ(Where(texts, u"Laboratory Systems"), "120,175 h-9 w400 base");

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
    EXPECT_EQ(Where(texts, u"refining"), "120,366 h-16 w700");
}

TEST(SplashPlacement, LegalLineAndTheStatusStrip) {
    SplashRequest request = kEngineering;
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
    ImageSplash shown;
    CSplashWindow* splash = &shown.splash.Object();
    Bstr title(u"Reactor Workbench"), subtitle(u"Orvel POLYMERS"), version(u"v3.1");
    splash->ShowSplash2(title, subtitle, version, 0, 0, nullptr);
    splash::ImageWindow* window = shown.windows.LastWindow();
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

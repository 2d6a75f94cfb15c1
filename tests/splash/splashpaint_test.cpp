#include "fakes.h"

#include <splash/dib.h>
#include <splash/splashpaint.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using namespace splash;

using splash::Size;

namespace {

std::array<char, SplashState::kSubtitleLimit> Subtitle(char const* text) {
    std::array<char, SplashState::kSubtitleLimit> field{};
    std::strncpy(field.data(), text, field.size() - 1);
    return field;
}

// Ten pixels a character, one line 24 high: the layout is tested apart from
// any font.
Size Measure(std::u16string_view text) {
    return {static_cast<int>(text.size()) * 10, 24};
}

// The two lines, joined at a bar.
std::u16string Break(std::u16string_view title) {
    splash::TitleLines const lines = splash::BreakTitle(title, -21, {100, 50}, Measure);
    return lines.first + u"|" + lines.second;
}

// The colours at the places given.
std::vector<std::uint32_t> Pixels(splash::SurfacePtr const& image,
                                  std::vector<std::pair<int, int>> const& places) {
    std::vector<std::uint32_t> out;
    for (auto const& [x, y] : places)
        out.push_back(Pixel(image.get(), x, y));
    return out;
}

void Put32(std::vector<std::uint8_t>& dib, std::size_t at, std::uint32_t value) {
    std::memcpy(dib.data() + at, &value, 4);
}

// An info header with no colour count, then `tableEntries` colours and rows.
std::vector<std::uint8_t> Dib(int width, int height, int bits, std::size_t tableEntries,
                              std::vector<std::uint8_t> const& rows) {
    std::vector<std::uint8_t> dib(splash::kInfoHeaderSize + tableEntries * 4);
    splash::BitmapInfoHeader header;
    header.biWidth = width;
    header.biHeight = height;
    header.biBitCount = static_cast<std::uint16_t>(bits);
    splash::WriteInfoHeader(dib, header);
    for (std::size_t i = 0; i < tableEntries; ++i)
        Put32(dib, splash::kInfoHeaderSize + i * 4, 0x00101010u * static_cast<std::uint32_t>(i));
    dib.insert(dib.end(), rows.begin(), rows.end());
    return dib;
}

} // namespace

TEST(SplashSuite, FirstRowOfTheLowerCasedSubtitleDecidesAndQvlsSplitsAtColons) {
    struct Case {
        char const* subtitle;
        char const* suite; // title|sub-text|tag, with + for the sub-text, * for QVLS
        char const* after; // the field after the decision
    };
    // The table's order decides, not the words' order in the subtitle. QVLS
    // keeps the subtitle as given, for a second paint must find the marker
    // again; its first five characters go whatever they are, and the marker
    // alone is not the variant.
    Case const cases[] = {
        {"Orvel POLYMERS Suite", "Business Process Templates||polymers", "orvel polymers suite"},
        {"Refining and Supply", "Supply Chain Suite||", "refining and supply"},
        {"Integration Services", "Orvel Framework||", "integration services"},
        {"Thermal Tools", "||", "thermal tools"},
        {"QVLS:Quality Validation:Lab Systems:more", "Quality Validation|Lab Systems|+*",
         "QVLS:Quality Validation:Lab Systems:more"},
        {"Engineering QVLS:x", "eering QVLS|x|+*", "Engineering QVLS:x"},
        {"QVLS:", "||", "qvls:"},
    };
    for (Case const& c : cases) {
        auto field = Subtitle(c.subtitle);
        splash::Suite const suite = splash::DecideSuite(field);
        EXPECT_EQ(suite.title + "|" + suite.subText + "|" + suite.tag +
                      (suite.hasSubText ? "+" : "") + (suite.qvlsVariant ? "*" : ""),
                  c.suite)
            << c.subtitle;
        EXPECT_EQ(std::string(field.data()), c.after) << c.subtitle;
    }
}

TEST(SplashTitle, SignsAreResolvedInEitherCaseWithinTheWorkArea) {
    EXPECT_EQ(splash::TitleText(u"Orvel(r) CAD(TM) (C) (c)(R)(tm) (Tm) (r"),
              u"Orvel\u00AE CAD\u2122 \u00A9 \u00A9\u00AE\u2122 (Tm) (r");
    EXPECT_EQ(splash::TitleText(std::u16string(150, u'x')).size(), 99u);
}

TEST(SplashTitle, BreaksAtBlanksBackToFrontThenByCharacters) {
    // Fits: one line, untouched.
    EXPECT_EQ(Break(u"Short one"), u"Short one|");
    // The last blank first, then further back a word at a time.
    EXPECT_EQ(Break(u"Alpha Beta Gamma"), u"Alpha Beta|Gamma");
    EXPECT_EQ(Break(u"Heat Exchange Design Tool"), u"Heat|Exchange Design Tool");
    // One long word goes by characters.
    EXPECT_EQ(Break(u"Supercalifragilistic"), u"Supercalif|ragilistic");
    // A first word too long on its own: characters move to the start of the
    // second line, which takes the blank's place.
    EXPECT_EQ(Break(u"Thermodynamics Tool"), u"Thermodyna|micsTool");
}

TEST(SplashTitle, FitHeightScalesByTheTighterSide) {
    EXPECT_EQ(splash::FitHeight(-21, {370, 50}, {370, 50}), -21);
    EXPECT_EQ(splash::FitHeight(-21, {740, 24}, {370, 50}), -10);  // -10.5 truncated
    EXPECT_EQ(splash::FitHeight(-21, {100, 100}, {370, 50}), -10); // height is tighter
    EXPECT_EQ(splash::CellHeight(14, 96), -19);
    EXPECT_EQ(splash::CellHeight(7, 96), -9);
    EXPECT_EQ(splash::CellHeight(24, 96), -32);
    EXPECT_EQ(splash::CellHeight(8, 120), -13);
}

TEST(SplashBitmaps, EveryImageIsThereAtItsSizeAndDepth) {
    struct Expected {
        int number, width, height, bits;
    };
    std::vector<Expected> expected{{238, 498, 392, 24}, {241, 498, 392, 24}, {229, 102, 37, 24}};
    for (int n : {210, 214, 215, 216, 217, 218, 219})
        expected.push_back({n, 164, 100, 24});
    for (int n = 220; n <= 226; ++n)
        expected.push_back({n, 164, 100, 8});
    for (Expected const& e : expected) {
        SCOPED_TRACE(e.number);
        auto const header = splash::ReadInfoHeader(FindBitmapResource(e.number));
        ASSERT_TRUE(header.has_value());
        EXPECT_EQ((std::vector<long>{header->biSize, header->biWidth, header->biHeight,
                                     header->biBitCount, header->biCompression}),
                  (std::vector<long>{40, e.width, e.height, e.bits, 0}));
    }
    EXPECT_TRUE(FindBitmapResource(211).empty());
}

TEST(SplashBitmaps, PaletteProcedureWritesTheCountBackAndMapsRowsBottomUp) {
    // Three pixels of 8 bits: rows padded to four bytes, the bottom row first.
    std::vector<std::uint8_t> dib = Dib(3, 2, 8, 256, {1, 2, 3, 0, 4, 5, 6, 0});
    splash::SurfacePtr const target(cairo_image_surface_create(CAIRO_FORMAT_RGB24, 8, 4));
    splash::CairoPtr const cr(cairo_create(target.get()));
    splash::Rect const reversed{6, 0, 5, 4};
    EXPECT_EQ(splash::DrawThroughPalette(cr.get(), dib, 1, 1, 0xFF0000, &reversed), 2);
    EXPECT_EQ(splash::ReadInfoHeader(dib)->biClrUsed, 256u);
    // Nothing beyond the image (4,1); the reversed box filled nothing (5,0).
    EXPECT_EQ(Pixels(target, {{1, 1}, {3, 1}, {1, 2}, {4, 1}, {5, 0}}),
              (std::vector<std::uint32_t>{0x404040, 0x606060, 0x101010, 0, 0}));

    // 24 bits follow the header directly, blue first; a box the right way
    // round is filled.
    dib = Dib(2, -1, 24, 0, {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0, 0});
    splash::Rect const box{6, 0, 8, 4};
    splash::DrawThroughPalette(cr.get(), dib, 0, 0, 0x00FF00, &box);
    EXPECT_EQ(splash::ReadInfoHeader(dib)->biClrUsed, 0u);
    EXPECT_EQ(Pixels(target, {{0, 0}, {1, 0}, {7, 3}}),
              (std::vector<std::uint32_t>{0x332211, 0x665544, 0x00FF00}));

    // Four bits: the left pixel in the high half of its byte.
    dib = Dib(2, 1, 4, 16, {0x2F, 0, 0, 0});
    splash::DrawThroughPalette(cr.get(), dib, 0, 3, 0, nullptr);
    EXPECT_EQ(Pixels(target, {{0, 3}, {1, 3}}), (std::vector<std::uint32_t>{0x202020, 0xF0F0F0}));

    // Too few bytes for the rows: nothing is drawn, nothing is read past.
    dib = Dib(40, 40, 24, 0, {1, 2, 3});
    EXPECT_EQ(splash::DrawThroughPalette(cr.get(), dib, 0, 0, 0, nullptr), 40);
    EXPECT_EQ(Pixels(target, {{0, 0}}), std::vector<std::uint32_t>{0x332211});
}

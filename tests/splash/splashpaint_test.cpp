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

splash::TitleLines Break(std::u16string_view title) {
    return splash::BreakTitle(title, -21, {100, 50}, Measure);
}

std::uint32_t Pixel(cairo_surface_t* image, int x, int y) {
    cairo_surface_flush(image);
    std::uint32_t pixel;
    std::memcpy(
        &pixel,
        cairo_image_surface_get_data(image) + y * cairo_image_surface_get_stride(image) + x * 4, 4);
    return pixel & 0xFFFFFF;
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

TEST(SplashSuite, FirstRowOfTheLowerCasedSubtitleDecidesAndTheFieldIsLowered) {
    auto subtitle = Subtitle("Orvel POLYMERS Suite");
    splash::Suite suite = splash::DecideSuite(subtitle);
    EXPECT_EQ(suite.title, "Business Process Templates");
    EXPECT_EQ(suite.tag, "polymers");
    EXPECT_EQ(std::string(subtitle.data()), "orvel polymers suite");

    // The table's order decides, not the words' order in the subtitle.
    subtitle = Subtitle("Refining and Supply");
    EXPECT_EQ(splash::DecideSuite(subtitle).title, "Supply Chain Suite");

    subtitle = Subtitle("Integration Services");
    suite = splash::DecideSuite(subtitle);
    EXPECT_EQ(suite.title, "Orvel Framework");
    EXPECT_EQ(suite.tag, "");

    subtitle = Subtitle("Thermal Tools");
    suite = splash::DecideSuite(subtitle);
    EXPECT_EQ(suite.title, "");
    EXPECT_EQ(suite.tag, "");
    EXPECT_FALSE(suite.hasSubText);
    EXPECT_FALSE(suite.qvlsVariant);
}

TEST(SplashSuite, QvlsVariantSplitsAtColonsAndKeepsTheSubtitleAsGiven) {
    auto subtitle = Subtitle("QVLS:Quality Validation:Lab Systems:more");
    splash::Suite const suite = splash::DecideSuite(subtitle);
    EXPECT_TRUE(suite.qvlsVariant);
    EXPECT_TRUE(suite.hasSubText);
    EXPECT_EQ(suite.title, "Quality Validation");
    EXPECT_EQ(suite.subText, "Lab Systems");
    EXPECT_EQ(suite.tag, "");
    // A second paint must find the marker again.
    EXPECT_EQ(std::string(subtitle.data()), "QVLS:Quality Validation:Lab Systems:more");

    // The first five characters go whatever they are; the marker alone is
    // not the variant.
    subtitle = Subtitle("Engineering QVLS:x");
    EXPECT_EQ(splash::DecideSuite(subtitle).title, "eering QVLS");
    subtitle = Subtitle("QVLS:");
    EXPECT_FALSE(splash::DecideSuite(subtitle).qvlsVariant);
}

TEST(SplashTitle, SignsAreResolvedInEitherCaseWithinTheWorkArea) {
    EXPECT_EQ(splash::TitleText(u"Orvel(r) CAD(TM) (C) (c)(R)(tm) (Tm) (r"),
              u"Orvel\u00AE CAD\u2122 \u00A9 \u00A9\u00AE\u2122 (Tm) (r");
    EXPECT_EQ(splash::TitleText(std::u16string(150, u'x')).size(), 99u);
}

TEST(SplashTitle, BreaksAtBlanksBackToFrontThenByCharacters) {
    // Fits: one line, untouched.
    EXPECT_EQ(Break(u"Short one").first, u"Short one");
    EXPECT_EQ(Break(u"Short one").second, u"");

    // The last blank first, then further back a word at a time.
    splash::TitleLines lines = Break(u"Alpha Beta Gamma");
    EXPECT_EQ(lines.first, u"Alpha Beta");
    EXPECT_EQ(lines.second, u"Gamma");
    lines = Break(u"Heat Exchange Design Tool");
    EXPECT_EQ(lines.first, u"Heat");
    EXPECT_EQ(lines.second, u"Exchange Design Tool");

    // One long word goes by characters.
    lines = Break(u"Supercalifragilistic");
    EXPECT_EQ(lines.first, u"Supercalif");
    EXPECT_EQ(lines.second, u"ragilistic");

    // A first word too long on its own: characters move to the start of the
    // second line, which takes the blank's place.
    lines = Break(u"Thermodynamics Tool");
    EXPECT_EQ(lines.first, u"Thermodyna");
    EXPECT_EQ(lines.second, u"micsTool");
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
        EXPECT_EQ(header->biSize, 40u);
        EXPECT_EQ(header->biWidth, e.width);
        EXPECT_EQ(header->biHeight, e.height);
        EXPECT_EQ(header->biBitCount, e.bits);
        EXPECT_EQ(header->biCompression, 0u);
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
    EXPECT_EQ(Pixel(target.get(), 1, 1), 0x404040u);
    EXPECT_EQ(Pixel(target.get(), 3, 1), 0x606060u);
    EXPECT_EQ(Pixel(target.get(), 1, 2), 0x101010u);
    EXPECT_EQ(Pixel(target.get(), 4, 1), 0u); // nothing beyond the image
    EXPECT_EQ(Pixel(target.get(), 5, 0), 0u); // the reversed box filled nothing

    // 24 bits follow the header directly, blue first; a box the right way
    // round is filled.
    dib = Dib(2, -1, 24, 0, {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0, 0});
    splash::Rect const box{6, 0, 8, 4};
    splash::DrawThroughPalette(cr.get(), dib, 0, 0, 0x00FF00, &box);
    EXPECT_EQ(splash::ReadInfoHeader(dib)->biClrUsed, 0u);
    EXPECT_EQ(Pixel(target.get(), 0, 0), 0x332211u);
    EXPECT_EQ(Pixel(target.get(), 1, 0), 0x665544u);
    EXPECT_EQ(Pixel(target.get(), 7, 3), 0x00FF00u);

    // Four bits: the left pixel in the high half of its byte.
    dib = Dib(2, 1, 4, 16, {0x2F, 0, 0, 0});
    splash::DrawThroughPalette(cr.get(), dib, 0, 3, 0, nullptr);
    EXPECT_EQ(Pixel(target.get(), 0, 3), 0x202020u);
    EXPECT_EQ(Pixel(target.get(), 1, 3), 0xF0F0F0u);

    // Too few bytes for the rows: nothing is drawn, nothing is read past.
    dib = Dib(40, 40, 24, 0, {1, 2, 3});
    EXPECT_EQ(splash::DrawThroughPalette(cr.get(), dib, 0, 0, 0, nullptr), 40);
    EXPECT_EQ(Pixel(target.get(), 0, 0), 0x332211u);
}

// The splash's paint: the whole window drawn from the object's state on a
// drawing surface, the screen's or an image's. Each font and each bitmap is
// made once per process, at the first paint that draws it.
#pragma once

#include <splash/cairoptr.h>
#include <splash/seams.h>
#include <splash/splashwindow.h>
#include <splash/window.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace splash {

// What the subtitle's suite word makes of the window's upper lines.
struct Suite {
    std::string title;
    std::string subText; // the QVLS variant's text after the colon
    std::string tag;     // the word set low in the window for the process templates
    int picture = 0;
    int lowColourPicture = 0;
    bool hasSubText = false;
    bool qvlsVariant = false;
};

// Unless the subtitle is the QVLS variant, lower-cases it where it is stored
// and takes the first row of the suite table whose word it holds.
Suite DecideSuite(std::array<char, SplashState::kSubtitleLimit>& subtitle);

struct Size {
    int cx = 0;
    int cy = 0;
};

// The platform's cell height for a size in points: negative, so that it
// names the height of the characters rather than of the cell.
int CellHeight(int points, int pixelsPerInch);

// The font height at which text of that extent fits the box: the height
// itself when it fits, else scaled down by the tighter side.
int FitHeight(int height, Size text, Size box);

// The title as it is laid out: at most 99 characters, with "(c)", "(r)" and
// "(tm)" in either case made into their signs.
std::u16string TitleText(std::u16string_view title);

struct TitleLines {
    std::u16string first;
    std::u16string second;
};

// Breaks the title until its first line fits the box: at blanks while there
// are any to go back to, then one character at a time. Only the first line
// is measured.
TitleLines BreakTitle(std::u16string_view title, int fontHeight, Size box,
                      std::function<Size(std::u16string_view)> const& measure);

// A font as the paint makes it: a face by name at a cell height, matched to
// the nearest installed face of the same metrics.
class Font {
public:
    Font(char const* face, int cellHeight, int weight);

    cairo_scaled_font_t* Get() const { return font_.get(); }
    std::string const& Face() const { return face_; }
    int CellHeight() const { return cellHeight_; }
    int Weight() const { return weight_; }
    int Ascent() const { return ascent_; }
    // Ascent and descent: the height of one line.
    int Height() const { return height_; }

private:
    std::string face_;
    int cellHeight_;
    int weight_;
    ScaledFontPtr font_;
    int ascent_ = 0;
    int height_ = 0;
};

// A bitmap resource as a copy of its own, which the palette procedure may
// write to.
std::vector<std::uint8_t> LoadBitmapResource(int number);

// The palette procedure: the bitmap at (x, y) at its own size, through a
// palette made from its colour table, whose size it writes to the header when
// the header leaves it 0; then the fill box, if given, in the fill colour
// (0xRRGGBB). Answers the bitmap's height.
int DrawThroughPalette(cairo_t* cr, std::vector<std::uint8_t>& dib, int x, int y,
                       std::uint32_t fill, splash::Rect const* fillBox);

// One text as the paint placed it.
struct TextDraw {
    std::u16string text;
    int x = 0;
    int y = 0;
    bool baseline = false; // y is the baseline; otherwise the top of the line
    std::string face;
    int cellHeight = 0;
    int weight = 0;
};
using PaintTrace = std::vector<TextDraw>;

// The whole splash onto cr, whose user space is the window's pixels. The
// trace, when given, gets every text drawn.
void PaintSplash(cairo_t* cr, int pixelsPerInchY, SplashState& state, PaintTrace* trace = nullptr);

class CairoSplashPainter final : public SplashPainter {
public:
    explicit CairoSplashPainter(PaintTrace* trace = nullptr) : trace_(trace) {}
    void Paint(Window& window, SplashState& state) override;

private:
    PaintTrace* trace_;
};

} // namespace splash

#include <splash/splashpaint.h>

#include <platform/codepage.h>
#include <platform/msgbox.h>
#include <splash/bitmapcache.h>
#include <splash/dib.h>
#include <splash/textcopy.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

namespace splash {
namespace {

constexpr int kBackground = 238;
constexpr int kLowColourBackground = 241;
constexpr int kQvlsLogo = 229;
constexpr std::size_t kTitleWorkArea = 100;

// DrawText's format bits, by their platform values.
enum : unsigned {
    DT_LEFT = 0x0,
    DT_CENTER = 0x1,
    DT_RIGHT = 0x2,
    DT_VCENTER = 0x4,
    DT_WORDBREAK = 0x10,
    DT_SINGLELINE = 0x20,
};

// Text from here on is UTF-8 for the drawing library.
std::string Utf8(std::u16string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
        } else if (c >= 0xD800 && c < 0xE000) {
            c = 0xFFFD;
        }
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | c >> 6);
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | c >> 12);
            out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | c >> 18);
            out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
            out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

// A device context over the drawing library: a selected font, a current
// position and text alignment, with text in white over what is there.
class Dc {
public:
    Dc(cairo_t* cr, PaintTrace* trace) : cr_(cr), trace_(trace) {}

    void Select(Font const* font) { font_ = font; }
    Font const* Selected() const { return font_; }
    // Baseline alignment comes with updating the current position; the
    // other mode is left and top alignment at the given point.
    void SetBaselineAlign(bool baseline) { baseline_ = baseline; }
    void MoveTo(int x, int y) {
        x_ = x;
        y_ = y;
    }
    int X() const { return x_; }
    int Y() const { return y_; }

    Size Extent(std::u16string_view text) const {
        if (font_ == nullptr) return {};
        return {Width(Utf8(text)), font_->Height()};
    }

    void TextOut(int x, int y, std::u16string_view text) {
        if (font_ == nullptr) return;
        std::string const utf8 = Utf8(text);
        if (baseline_) {
            x = x_;
            y = y_;
        }
        Trace(text, x, y, baseline_);
        Show(x, baseline_ ? y : y + font_->Ascent(), utf8);
        if (baseline_) x_ += Width(utf8);
    }

    void DrawText(std::u16string_view text, splash::Rect const& box, unsigned format) {
        if (font_ == nullptr) return;
        std::vector<std::u16string> const lines =
            (format & DT_SINGLELINE) != 0 ? std::vector<std::u16string>{std::u16string(text)}
                                          : Lines(text, box.Width(), (format & DT_WORDBREAK) != 0);
        cairo_save(cr_);
        cairo_rectangle(cr_, box.left, box.top, box.Width(), box.Height());
        cairo_clip(cr_);
        int y = box.top;
        if ((format & (DT_SINGLELINE | DT_VCENTER)) == (DT_SINGLELINE | DT_VCENTER))
            y += (box.Height() - font_->Height()) / 2;
        for (std::u16string const& line : lines) {
            std::string const utf8 = Utf8(line);
            int x = box.left;
            if ((format & DT_CENTER) != 0) x += (box.Width() - Width(utf8)) / 2;
            if ((format & DT_RIGHT) != 0) x = box.right - Width(utf8);
            Trace(line, x, y, false);
            Show(x, y + font_->Ascent(), utf8);
            y += font_->Height();
        }
        cairo_restore(cr_);
    }

private:
    int Width(std::string const& utf8) const {
        cairo_text_extents_t extents;
        cairo_scaled_font_text_extents(font_->Get(), utf8.c_str(), &extents);
        return static_cast<int>(std::lround(extents.x_advance));
    }

    void Show(int x, int baselineY, std::string const& utf8) {
        cairo_glyph_t* glyphs = nullptr;
        int count = 0;
        if (cairo_scaled_font_text_to_glyphs(font_->Get(), x, baselineY, utf8.data(),
                                             static_cast<int>(utf8.size()), &glyphs, &count,
                                             nullptr, nullptr, nullptr) != CAIRO_STATUS_SUCCESS) {
            return;
        }
        GlyphsPtr const owned(glyphs);
        cairo_set_scaled_font(cr_, font_->Get());
        cairo_set_source_rgb(cr_, 1, 1, 1);
        cairo_show_glyphs(cr_, glyphs, count);
    }

    void Trace(std::u16string_view text, int x, int y, bool baseline) const {
        if (trace_ == nullptr) return;
        trace_->push_back({std::u16string(text), x, y, baseline, font_->Face(), font_->CellHeight(),
                           font_->Weight()});
    }

    // Line feeds end lines; word breaking fills each line with as many words
    // as fit, and a word wider than the box stands alone and is clipped.
    std::vector<std::u16string> Lines(std::u16string_view text, int width, bool wordBreak) const {
        std::vector<std::u16string> lines;
        for (std::size_t start = 0;;) {
            std::size_t const feed = text.find(u'\n', start);
            std::u16string_view paragraph =
                text.substr(start, feed == text.npos ? text.npos : feed - start);
            if (!paragraph.empty() && paragraph.back() == u'\r') paragraph.remove_suffix(1);
            if (!wordBreak || paragraph.empty()) {
                lines.emplace_back(paragraph);
            } else {
                Wrap(paragraph, width, lines);
            }
            if (feed == text.npos) break;
            start = feed + 1;
        }
        return lines;
    }

    void Wrap(std::u16string_view paragraph, int width, std::vector<std::u16string>& lines) const {
        std::size_t at = 0;
        while (at < paragraph.size()) {
            std::size_t end = paragraph.npos;
            for (std::size_t candidate = at + 1;; ++candidate) {
                candidate = std::min(paragraph.find(u' ', candidate), paragraph.size());
                std::u16string_view const line = paragraph.substr(at, candidate - at);
                if (end != paragraph.npos && Width(Utf8(line)) > width) break;
                end = candidate;
                if (candidate == paragraph.size()) break;
            }
            std::u16string_view line = paragraph.substr(at, end - at);
            while (!line.empty() && line.back() == u' ')
                line.remove_suffix(1);
            lines.emplace_back(line);
            at = end;
            while (at < paragraph.size() && paragraph[at] == u' ')
                ++at;
        }
    }

    cairo_t* cr_;
    PaintTrace* trace_;
    Font const* font_ = nullptr;
    bool baseline_ = false;
    int x_ = 0;
    int y_ = 0;
};

bool IsRaisedSign(char16_t c) {
    return c == u'\u00A9' || c == u'\u00AE' || c == u'\u2122';
}

// One character at a time, with the three signs raised in the smaller sign
// font, centred on the height of the surrounding text.
void DrawWithRaisedSigns(Dc& dc, std::u16string_view text, Font const& signFont) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::size_t length = 1;
        if (text[i] >= 0xD800 && text[i] < 0xDC00 && i + 1 < text.size()) length = 2;
        std::u16string_view const character = text.substr(i, length);
        i += length - 1;
        if (!IsRaisedSign(character[0])) {
            dc.TextOut(0, 0, character);
            continue;
        }
        Font const* const former = dc.Selected();
        int const height = dc.Extent(u"A").cy;
        dc.Select(&signFont);
        int const lift = (height - dc.Extent(u"A").cy) / 2 + 3;
        dc.MoveTo(dc.X(), dc.Y() - lift);
        dc.TextOut(0, 0, character);
        dc.MoveTo(dc.X(), dc.Y() + lift);
        dc.Select(former);
    }
}

// The narrow walk compares bytes with the signs' wide codes, which never
// match, so its text is drawn plain and may go as one run.
void DrawNarrow(Dc& dc, std::string const& text) {
    dc.TextOut(0, 0, WideFromNarrow(text.c_str()));
}

void Paint(cairo_t* cr, SurfacePtr const& image, int x, int y) {
    if (!image) return;
    cairo_save(cr);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_surface(cr, image.get(), x, y);
    cairo_rectangle(cr, x, y, cairo_image_surface_get_width(image.get()),
                    cairo_image_surface_get_height(image.get()));
    cairo_fill(cr);
    cairo_restore(cr);
}

// A decoded bitmap at its own size, copied as it is. Answers its height.
int Blit(cairo_t* cr, DecodedBitmap const& bitmap, int x, int y) {
    if (!bitmap.header) return 0;
    Paint(cr, bitmap.image, x, y);
    return std::abs(bitmap.header->biHeight);
}

// The fill box of the palette procedure, when the box is the right way round.
void FillBox(cairo_t* cr, std::uint32_t fill, splash::Rect const* fillBox) {
    // A box given the wrong way round fills nothing, as on the platform.
    if (fillBox == nullptr || fillBox->right <= fillBox->left || fillBox->bottom <= fillBox->top)
        return;
    cairo_save(cr);
    cairo_set_source_rgb(cr, (fill >> 16 & 0xFF) / 255.0, (fill >> 8 & 0xFF) / 255.0,
                         (fill & 0xFF) / 255.0);
    cairo_rectangle(cr, fillBox->left, fillBox->top, fillBox->Width(), fillBox->Height());
    cairo_fill(cr);
    cairo_restore(cr);
}

// The palette procedure over a bitmap decoded through its palette.
int DrawDecodedThroughPalette(cairo_t* cr, DecodedBitmap const& bitmap, int x, int y,
                              std::uint32_t fill, splash::Rect const* fillBox) {
    if (!bitmap.header) return 0;
    Paint(cr, bitmap.image, x, y);
    FillBox(cr, fill, fillBox);
    return std::abs(bitmap.header->biHeight);
}

struct SuiteRow {
    char const* word;
    char const* title;
    char const* tag;
    int picture;
    int lowColourPicture;
};

// The first row whose word the subtitle holds decides.
constexpr SuiteRow kSuiteRows[] = {
    {"manufacturing", "Manufacturing Suite", "", 216, 220},
    {"engineering", "Engineering Suite", "", 214, 224},
    {"supply", "Supply Chain Suite", "", 215, 225},
    {"refining", "Business Process Templates", "refining", 218, 223},
    {"polymers", "Business Process Templates", "polymers", 217, 222},
    {"petrochemicals", "Business Process Templates", "petrochemicals", 210, 221},
    {"integration", "Orvel Framework", "", 219, 226},
};
constexpr SuiteRow kNoSuite{"", "", "", 219, 226};

} // namespace

Suite DecideSuite(std::array<char, SplashState::kSubtitleLimit>& subtitle) {
    Suite suite;
    std::size_t const length = ::strnlen(subtitle.data(), subtitle.size());
    std::string_view const given(subtitle.data(), length);
    if (given.find("QVLS:") != given.npos && length > 5) {
        // The marker is taken to lead: the first five characters go, whatever they are.
        suite.title = given.substr(5);
        suite.picture = 214;
        suite.lowColourPicture = 224;
        suite.qvlsVariant = true;
    } else {
        for (std::size_t i = 0; i < length; ++i)
            subtitle[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(subtitle[i])));
        // The view sees the lowered text: it looks at the field itself.
        SuiteRow const* row = &kNoSuite;
        for (SuiteRow const& candidate : kSuiteRows) {
            if (given.find(candidate.word) != given.npos) {
                row = &candidate;
                break;
            }
        }
        suite.title = row->title;
        suite.tag = row->tag;
        suite.picture = row->picture;
        suite.lowColourPicture = row->lowColourPicture;
    }
    if (std::size_t const colon = suite.title.find(':'); colon != suite.title.npos) {
        std::string const rest = suite.title.substr(colon + 1);
        suite.subText = rest.substr(0, rest.find(':'));
        suite.title.resize(colon);
        suite.hasSubText = true;
    }
    return suite;
}

int CellHeight(int points, int pixelsPerInch) {
    // MulDiv: the product at full width, rounded half away from zero.
    return -static_cast<int>(std::lround(static_cast<double>(points) * pixelsPerInch / 72.0));
}

int FitHeight(int height, Size text, Size box) {
    if (text.cx <= box.cx && text.cy <= box.cy) return height;
    double const ratio = std::min(text.cx > 0 ? static_cast<double>(box.cx) / text.cx : 1.0,
                                  text.cy > 0 ? static_cast<double>(box.cy) / text.cy : 1.0);
    return static_cast<int>(height * ratio);
}

std::u16string TitleText(std::u16string_view title) {
    std::u16string text(title.substr(0, kTitleWorkArea - 1));
    static constexpr std::pair<std::u16string_view, char16_t> kSigns[] = {
        {u"(c)", u'\u00A9'}, {u"(C)", u'\u00A9'},  {u"(r)", u'\u00AE'},
        {u"(R)", u'\u00AE'}, {u"(tm)", u'\u2122'}, {u"(TM)", u'\u2122'},
    };
    for (auto const& [mark, sign] : kSigns) {
        for (std::size_t at = text.find(mark); at != text.npos; at = text.find(mark, at))
            text.replace(at, mark.size(), 1, sign);
    }
    return text;
}

TitleLines BreakTitle(std::u16string_view title, int fontHeight, Size box,
                      std::function<Size(std::u16string_view)> const& measure) {
    TitleLines lines{std::u16string(title), {}};
    bool wordBreak = true;
    // An empty first line has nothing left to move; it is as far as it goes.
    while (!lines.first.empty()) {
        if (FitHeight(fontHeight, measure(lines.first), box) == fontHeight) break;
        bool const byCharacter = !wordBreak;
        if (wordBreak && lines.second.empty()) {
            std::size_t const blank = lines.first.rfind(u' ');
            if (blank == lines.first.npos) {
                wordBreak = false;
            } else {
                lines.second = lines.first.substr(blank + 1);
                lines.first.resize(blank);
            }
        } else if (wordBreak) {
            // One blank lies between the lines, so the character two before
            // the second line is the last of the first.
            std::size_t const from = lines.first.size() - 1;
            std::size_t at = from;
            while (at > 0 && lines.first[at] != u' ')
                --at;
            if (at != from && at != 0) {
                lines.second = lines.first.substr(at + 1) + u' ' + lines.second;
                lines.first.resize(at);
            } else {
                wordBreak = false;
            }
        }
        if (byCharacter) {
            lines.second.insert(lines.second.begin(), lines.first.back());
            lines.first.pop_back();
        }
    }
    return lines;
}

namespace {

// A font as made once: matching a face and scaling it take most of a
// paint's time, and a process paints the same few fonts again and again.
struct MadeFont {
    ScaledFontPtr font;
    int ascent = 0;
    int height = 0;
};

MadeFont MakeFont(char const* face, int cellHeight, int weight) {
    MadeFont made;
    // A negative height is that of the characters, the em; a positive one
    // that of the whole cell, which the em is scaled to below.
    double size = std::max(1, std::abs(cellHeight));
    PatternPtr const pattern(FcPatternCreate());
    FcPatternAddString(pattern.get(), FC_FAMILY, reinterpret_cast<FcChar8 const*>(face));
    // A weight of 0 leaves the choice to the system, which takes normal.
    FcPatternAddInteger(pattern.get(), FC_WEIGHT, FcWeightFromOpenType(weight == 0 ? 400 : weight));
    FcPatternAddInteger(pattern.get(), FC_SLANT, FC_SLANT_ROMAN);
    FcPatternAddDouble(pattern.get(), FC_PIXEL_SIZE, size);
    // Fixed rendering, so that images come out the same on every machine
    // with the same fonts, whatever its desktop settings.
    FcPatternAddBool(pattern.get(), FC_ANTIALIAS, FcTrue);
    FcPatternAddBool(pattern.get(), FC_HINTING, FcTrue);
    FcPatternAddInteger(pattern.get(), FC_HINT_STYLE, FC_HINT_SLIGHT);
    FcPatternAddBool(pattern.get(), FC_AUTOHINT, FcFalse);
    FcPatternAddInteger(pattern.get(), FC_RGBA, FC_RGBA_NONE);
    FcConfigSubstitute(nullptr, pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultNoMatch;
    PatternPtr const match(FcFontMatch(nullptr, pattern.get(), &result));
    FontFacePtr const fontFace(
        cairo_ft_font_face_create_for_pattern(match ? match.get() : pattern.get()));

    FontOptionsPtr const options(cairo_font_options_create());
    cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_SLIGHT);
    // Whole-pixel advances, as the platform's text has.
    cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_ON);
    auto const make = [&] {
        cairo_matrix_t matrix;
        cairo_matrix_t ctm;
        cairo_matrix_init_scale(&matrix, size, size);
        cairo_matrix_init_identity(&ctm);
        made.font.reset(cairo_scaled_font_create(fontFace.get(), &matrix, &ctm, options.get()));
    };
    make();
    cairo_font_extents_t extents;
    cairo_scaled_font_extents(made.font.get(), &extents);
    if (cellHeight > 0 && extents.ascent + extents.descent > 0) {
        size = size * cellHeight / (extents.ascent + extents.descent);
        make();
        cairo_scaled_font_extents(made.font.get(), &extents);
    }
    made.ascent = static_cast<int>(std::lround(extents.ascent));
    made.height = made.ascent + static_cast<int>(std::lround(extents.descent));
    return made;
}

} // namespace

Font::Font(char const* face, int cellHeight, int weight)
    : face_(face), cellHeight_(cellHeight), weight_(weight) {
    // The same face, height and weight give the same font for the life of
    // the process; the table is shared by every paint, on any thread.
    static std::mutex mutex;
    static std::map<std::tuple<std::string, int, int>, MadeFont> made;
    std::lock_guard const lock(mutex);
    auto [entry, added] = made.try_emplace({face_, cellHeight, weight});
    if (added) entry->second = MakeFont(face, cellHeight, weight);
    font_.reset(cairo_scaled_font_reference(entry->second.font.get()));
    ascent_ = entry->second.ascent;
    height_ = entry->second.height;
}

std::vector<std::uint8_t> LoadBitmapResource(int number) {
    std::span<std::uint8_t const> const resource = FindBitmapResource(number);
    return {resource.begin(), resource.end()};
}

int DrawThroughPalette(cairo_t* cr, std::vector<std::uint8_t>& dib, int x, int y,
                       std::uint32_t fill, splash::Rect const* fillBox) {
    return DrawDecodedThroughPalette(cr, DecodeBitmap(dib, BitmapRoute::ThroughPalette), x, y, fill,
                                     fillBox);
}

namespace {

// The frame, in a pen 5 wide centred on the rectangle's edge, over the
// default white brush. The background covers it but on its left edge when
// it is drawn 5 pixels in.
void DrawFrame(cairo_t* cr, SplashState const& state) {
    cairo_save(cr);
    cairo_rectangle(cr, 2.5, 2.5, state.Width - 3, state.Height - 3);
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_fill_preserve(cr);
    cairo_set_source_rgb(cr, 0, 0, 0);
    cairo_set_line_width(cr, 5);
    cairo_stroke(cr);
    cairo_restore(cr);
}

// The suites' own pictures have given way to one background for all: the
// table still chooses them, and this overrides the choice. Answers the
// background's height.
int DrawBackground(cairo_t* cr, SplashState const& state, Suite& suite) {
    suite.picture = kBackground;
    suite.lowColourPicture = kLowColourBackground;
    if (!state.LowColourDisplay)
        return Blit(cr, ProgramBitmap(suite.picture, BitmapRoute::AsStored), 0, 0);
    DecodedBitmap const& bitmap =
        ProgramBitmap(suite.lowColourPicture, BitmapRoute::ThroughPalette);
    // Meant for what the image leaves uncovered on the right; the image
    // reaches past the window, so the box is the wrong way round.
    splash::Rect const uncovered{5 + (bitmap.header ? bitmap.header->biWidth : 0), 0, state.Width,
                                 state.Height};
    return DrawDecodedThroughPalette(cr, bitmap, 5, 0, 0x000000, &uncovered);
}

// The suite's name on the baseline. Answers its font's cell height, which
// the sub-text's is half of.
int DrawSuiteName(Dc& dc, Suite const& suite, int pixelsPerInchY) {
    dc.SetBaselineAlign(true);
    dc.MoveTo(120, 103);
    Font const suiteFont("Arial", CellHeight(14, pixelsPerInchY), 700);
    dc.Select(&suiteFont);
    DrawNarrow(dc, suite.title);
    dc.Select(nullptr);
    return suiteFont.CellHeight();
}

// A title that names QVLS brings the QVLS logo, whatever the suite.
void DrawQvlsLogo(cairo_t* cr, Suite& suite, std::u16string_view title) {
    if (title.find(u"QVLS") != title.npos) suite.qvlsVariant = true;
    if (!suite.qvlsVariant) return;
    DrawDecodedThroughPalette(cr, ProgramBitmap(kQvlsLogo, BitmapRoute::ThroughPalette), 335, 25,
                              0x000000, nullptr);
}

// The title on one line, or two where it does not fit beside the status
// box. Answers whether it took two.
bool DrawTitle(Dc& dc, SplashState const& state, std::u16string_view title, int pixelsPerInchY) {
    dc.MoveTo(120, 135);
    Font const titleFont("Arial", CellHeight(16, pixelsPerInchY), 700);
    Font const signFont("Arial", CellHeight(10, pixelsPerInchY), 0);
    dc.Select(&titleFont);
    Size const lineBox{state.StatusRect.right - dc.X(), 50};
    TitleLines const lines = BreakTitle(TitleText(title), titleFont.CellHeight(), lineBox,
                                        [&](std::u16string_view text) { return dc.Extent(text); });
    DrawWithRaisedSigns(dc, lines.first, signFont);
    bool const twoLines = !lines.second.empty();
    if (twoLines) {
        dc.MoveTo(120, 155);
        DrawWithRaisedSigns(dc, lines.second, signFont);
    }
    dc.Select(nullptr);
    return twoLines;
}

// The suite's sub-text under the title, at half the suite name's height.
void DrawSubText(Dc& dc, Suite const& suite, int suiteCellHeight, bool twoLines) {
    Font const subTextFont("Arial", suiteCellHeight / 2, 400);
    dc.MoveTo(120, twoLines ? 175 : 150);
    dc.Select(&subTextFont);
    DrawNarrow(dc, suite.subText);
    dc.Select(nullptr);
}

// The word "Version" and the version in capitals beneath it.
void DrawVersion(Dc& dc, SplashState& state, int pixelsPerInchY) {
    dc.SetBaselineAlign(false);
    Font const versionWordFont("Arial", CellHeight(10, pixelsPerInchY), 0);
    dc.Select(&versionWordFont);
    dc.TextOut(375, 160, u"Version");

    Font const versionFont("Arial", CellHeight(24, pixelsPerInchY), 400);
    dc.Select(&versionFont);
    for (char& c : state.VersionText) {
        if (c == '\0') break;
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    char const* const version = state.VersionText.data();
    if (version[0] != 'V' && version[0] != '\0') {
        dc.TextOut(375, 175, WideFromNarrow(version));
    } else {
        // A version of its own making may begin with the letter; it is set
        // apart, and an empty version leaves it alone under the word.
        dc.TextOut(373, 175, u"V");
        dc.TextOut(395, 175, WideFromNarrow(version[0] == '\0' ? version : version + 1));
    }
    dc.Select(nullptr);
}

// The suite's tag, below the background.
void DrawTag(Dc& dc, Suite const& suite, int backgroundHeight, int pixelsPerInchY) {
    if (suite.tag.empty()) return;
    Font const tagFont("Arial", CellHeight(12, pixelsPerInchY), 700);
    dc.Select(&tagFont);
    dc.TextOut(120, backgroundHeight + 5 * tagFont.CellHeight() / 3,
               WideFromNarrow(suite.tag.c_str()));
    dc.Select(nullptr);
}

void DrawCopyright(Dc& dc, SplashState const& state, int pixelsPerInchY) {
    Font const legalFont("Arial Narrow", CellHeight(7, pixelsPerInchY), 400);
    dc.Select(&legalFont);
    dc.DrawText(state.CopyrightText, {120, state.Height - 160, state.Width - 35, state.Height - 30},
                DT_WORDBREAK);
    dc.Select(nullptr);
}

// With a status text the licensee stands right of it; without, the
// licensee is centred in the status box.
void DrawLicenseeAndStatus(Dc& dc, SplashState const& state, int pixelsPerInchY) {
    Font const licenseeFont("Arial", CellHeight(6, pixelsPerInchY), 200);
    Font const statusFont("Arial", CellHeight(8, pixelsPerInchY), 600);
    std::u16string const licensee = WideFromNarrow(state.Licensee.data());
    if (state.StatusText[0] != u'\0') {
        dc.Select(&licenseeFont);
        dc.DrawText(licensee, state.LicenseeRect, DT_SINGLELINE | DT_RIGHT | DT_VCENTER);
        dc.Select(&statusFont);
        dc.DrawText(state.StatusText.data(), state.StatusRect,
                    DT_SINGLELINE | DT_LEFT | DT_VCENTER);
    } else {
        dc.Select(&licenseeFont);
        dc.DrawText(licensee, state.StatusRect, DT_SINGLELINE | DT_CENTER | DT_VCENTER);
    }
    dc.Select(nullptr);
}

} // namespace

void PaintSplash(cairo_t* cr, int pixelsPerInchY, SplashState& state, PaintTrace* trace) {
    cairo_save(cr);
    Dc dc(cr, trace);
    Suite suite = DecideSuite(state.Subtitle);
    DrawFrame(cr, state);
    int const backgroundHeight = DrawBackground(cr, state, suite);
    int const suiteCellHeight = DrawSuiteName(dc, suite, pixelsPerInchY);
    std::u16string_view const title(state.Title.data());
    DrawQvlsLogo(cr, suite, title);
    bool const twoLines = DrawTitle(dc, state, title, pixelsPerInchY);
    if (suite.hasSubText) DrawSubText(dc, suite, suiteCellHeight, twoLines);
    DrawVersion(dc, state, pixelsPerInchY);
    DrawTag(dc, suite, backgroundHeight, pixelsPerInchY);
    DrawCopyright(dc, state, pixelsPerInchY);
    DrawLicenseeAndStatus(dc, state, pixelsPerInchY);
    cairo_restore(cr);
}

void CairoSplashPainter::Paint(splash::Window& window, SplashState& state) {
    splash::PaintSurface const surface = window.BeginPaint();
    if (surface.context == nullptr) {
        platform::MessageBoxA(nullptr, "No hdc", "", platform::MB_OK);
        return;
    }
    splash::PaintSplash(surface.context, surface.pixelsPerInchY, state, trace_);
    window.EndPaint(surface);
}

} // namespace splash

// Draws the splash's bitmaps and writes them as BMP files beside this source:
//     splash_makeimages src/splash/images
// The files are committed; the build only embeds them, so this runs by hand
// when the design changes. Text in the logo is drawn with the fonts of the
// machine that runs it, so the committed files are the reference.
#include <cairo.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

template <class T, auto Free> struct Deleter {
    void operator()(T* p) const { Free(p); }
};
using Surface = std::unique_ptr<cairo_surface_t, Deleter<cairo_surface_t, cairo_surface_destroy>>;
using Context = std::unique_ptr<cairo_t, Deleter<cairo_t, cairo_destroy>>;

constexpr double kPi = 3.14159265358979323846;

struct Rgb {
    double r, g, b;
};

// The palette of the design: deep blues with a teal accent, so that white
// text reads everywhere.
constexpr Rgb kNavyTop{0.078, 0.212, 0.353};
constexpr Rgb kNavyBottom{0.035, 0.114, 0.204};
constexpr Rgb kGlow{0.27, 0.55, 0.74};
constexpr Rgb kTeal{0.36, 0.75, 0.78};
constexpr Rgb kWhite{1, 1, 1};

void Source(cairo_t* cr, Rgb c, double alpha = 1.0) {
    cairo_set_source_rgba(cr, c.r, c.g, c.b, alpha);
}

Surface NewImage(int width, int height) {
    return Surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
}

// BMP files ------------------------------------------------------------------

void Put16(std::vector<std::uint8_t>& out, unsigned v) {
    out.push_back(static_cast<std::uint8_t>(v));
    out.push_back(static_cast<std::uint8_t>(v >> 8));
}
void Put32(std::vector<std::uint8_t>& out, std::uint32_t v) {
    Put16(out, v & 0xFFFF);
    Put16(out, v >> 16);
}

// File header, then a plain info header with no compression; rows bottom-up
// and padded to four bytes. An indexed file leaves its colour count 0 and
// carries the full table, as the paint's palette procedure expects of it.
std::vector<std::uint8_t> BmpFile(int width, int height, int bits,
                                  std::vector<std::uint32_t> const& table,
                                  std::vector<std::uint8_t> const& rows) {
    std::uint32_t const offset = 14 + 40 + static_cast<std::uint32_t>(table.size()) * 4;
    std::vector<std::uint8_t> out;
    out.push_back('B');
    out.push_back('M');
    Put32(out, offset + static_cast<std::uint32_t>(rows.size()));
    Put32(out, 0);
    Put32(out, offset);
    Put32(out, 40);
    Put32(out, static_cast<std::uint32_t>(width));
    Put32(out, static_cast<std::uint32_t>(height));
    Put16(out, 1);
    Put16(out, static_cast<unsigned>(bits));
    Put32(out, 0); // BI_RGB
    Put32(out, static_cast<std::uint32_t>(rows.size()));
    Put32(out, 3780); // 96 pixels per inch
    Put32(out, 3780);
    Put32(out, 0);
    Put32(out, 0);
    for (std::uint32_t rgb : table) {
        out.push_back(static_cast<std::uint8_t>(rgb));
        out.push_back(static_cast<std::uint8_t>(rgb >> 8));
        out.push_back(static_cast<std::uint8_t>(rgb >> 16));
        out.push_back(0);
    }
    out.insert(out.end(), rows.begin(), rows.end());
    return out;
}

std::uint32_t PixelAt(cairo_surface_t* image, int x, int y) {
    unsigned char const* data = cairo_image_surface_get_data(image);
    int const stride = cairo_image_surface_get_stride(image);
    std::uint32_t pixel;
    std::copy_n(data + y * stride + x * 4, 4, reinterpret_cast<unsigned char*>(&pixel));
    return pixel & 0xFFFFFF;
}

std::vector<std::uint8_t> Bmp24(cairo_surface_t* image) {
    cairo_surface_flush(image);
    int const width = cairo_image_surface_get_width(image);
    int const height = cairo_image_surface_get_height(image);
    int const rowBytes = (width * 3 + 3) & ~3;
    std::vector<std::uint8_t> rows(static_cast<std::size_t>(rowBytes) * height);
    for (int y = 0; y < height; ++y) {
        std::uint8_t* row = rows.data() + static_cast<std::size_t>(height - 1 - y) * rowBytes;
        for (int x = 0; x < width; ++x) {
            std::uint32_t const p = PixelAt(image, x, y);
            row[x * 3] = static_cast<std::uint8_t>(p);
            row[x * 3 + 1] = static_cast<std::uint8_t>(p >> 8);
            row[x * 3 + 2] = static_cast<std::uint8_t>(p >> 16);
        }
    }
    return BmpFile(width, height, 24, {}, rows);
}

// Median cut: the box of colours with the widest channel is split at its
// median until there are 256 boxes; each box's mean is a palette entry.
std::vector<std::uint32_t> MedianCut(std::vector<std::uint32_t> pixels) {
    struct Box {
        std::size_t begin, end;
    };
    auto channel = [](std::uint32_t p, int c) { return (p >> (16 - 8 * c)) & 0xFF; };
    auto widest = [&](Box const& box, int* which) {
        int best = -1;
        for (int c = 0; c < 3; ++c) {
            unsigned lo = 255, hi = 0;
            for (std::size_t i = box.begin; i < box.end; ++i) {
                lo = std::min(lo, channel(pixels[i], c));
                hi = std::max(hi, channel(pixels[i], c));
            }
            if (static_cast<int>(hi - lo) > best) {
                best = static_cast<int>(hi - lo);
                *which = c;
            }
        }
        return best;
    };
    std::vector<Box> boxes{{0, pixels.size()}};
    while (boxes.size() < 256) {
        std::size_t pick = boxes.size();
        int pickChannel = 0, pickRange = 0;
        for (std::size_t b = 0; b < boxes.size(); ++b) {
            if (boxes[b].end - boxes[b].begin < 2) continue;
            int c = 0;
            int const range = widest(boxes[b], &c);
            if (range > pickRange) {
                pickRange = range;
                pick = b;
                pickChannel = c;
            }
        }
        if (pick == boxes.size()) break;
        Box const box = boxes[pick];
        auto first = pixels.begin() + static_cast<std::ptrdiff_t>(box.begin);
        auto last = pixels.begin() + static_cast<std::ptrdiff_t>(box.end);
        auto middle = first + (last - first) / 2;
        std::nth_element(first, middle, last, [&](std::uint32_t a, std::uint32_t b) {
            return channel(a, pickChannel) < channel(b, pickChannel);
        });
        std::size_t const split = static_cast<std::size_t>(middle - pixels.begin());
        boxes[pick] = {box.begin, split};
        boxes.push_back({split, box.end});
    }
    std::vector<std::uint32_t> palette;
    for (Box const& box : boxes) {
        double sum[3] = {0, 0, 0};
        for (std::size_t i = box.begin; i < box.end; ++i)
            for (int c = 0; c < 3; ++c)
                sum[c] += channel(pixels[i], c);
        double const n = static_cast<double>(box.end - box.begin);
        std::uint32_t p = 0;
        for (int c = 0; c < 3; ++c)
            p |= static_cast<std::uint32_t>(std::lround(sum[c] / n)) << (16 - 8 * c);
        palette.push_back(p);
    }
    palette.resize(256, 0);
    return palette;
}

std::vector<std::uint8_t> Bmp8(cairo_surface_t* image) {
    cairo_surface_flush(image);
    int const width = cairo_image_surface_get_width(image);
    int const height = cairo_image_surface_get_height(image);
    std::vector<std::uint32_t> pixels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            pixels.push_back(PixelAt(image, x, y));
    std::vector<std::uint32_t> const palette = MedianCut(pixels);
    auto nearest = [&](std::uint32_t p) {
        int best = 0;
        long bestDistance = -1;
        for (int i = 0; i < 256; ++i) {
            long distance = 0;
            for (int shift = 0; shift <= 16; shift += 8) {
                long const d = static_cast<long>((p >> shift) & 0xFF) -
                               static_cast<long>((palette[i] >> shift) & 0xFF);
                distance += d * d;
            }
            if (bestDistance < 0 || distance < bestDistance) {
                bestDistance = distance;
                best = i;
            }
        }
        return static_cast<std::uint8_t>(best);
    };
    int const rowBytes = (width + 3) & ~3;
    std::vector<std::uint8_t> rows(static_cast<std::size_t>(rowBytes) * height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            rows[static_cast<std::size_t>(height - 1 - y) * rowBytes + x] =
                nearest(pixels[static_cast<std::size_t>(y) * width + x]);
    return BmpFile(width, height, 8, palette, rows);
}

bool Write(std::string const& dir, std::string const& name, std::vector<std::uint8_t> const& data) {
    std::string const path = dir + "/" + name;
    std::unique_ptr<std::FILE, Deleter<std::FILE, std::fclose>> file(
        std::fopen(path.c_str(), "wb"));
    if (!file || std::fwrite(data.data(), 1, data.size(), file.get()) != data.size()) {
        std::fprintf(stderr, "cannot write %s\n", path.c_str());
        return false;
    }
    return true;
}

// The backgrounds -------------------------------------------------------------

constexpr int kBackWidth = 498;
constexpr int kBackHeight = 392;
constexpr int kStripTop = 362; // the status strip at the bottom of the window

// An engineering nut seen from above, with an orbit: the mark beside the
// suite's name.
void Emblem(cairo_t* cr, double cx, double cy, double r, double alpha) {
    cairo_save(cr);
    cairo_new_path(cr);
    for (int i = 0; i < 6; ++i) {
        double const a = kPi / 6 + i * kPi / 3;
        cairo_line_to(cr, cx + r * std::cos(a), cy + r * std::sin(a));
    }
    cairo_close_path(cr);
    cairo_new_sub_path(cr);
    cairo_arc_negative(cr, cx, cy, r * 0.45, 0, -2 * kPi);
    cairo_set_fill_rule(cr, CAIRO_FILL_RULE_EVEN_ODD);
    Source(cr, kWhite, 0.16 * alpha);
    cairo_fill_preserve(cr);
    Source(cr, kWhite, 0.9 * alpha);
    cairo_set_line_width(cr, 2.2);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    cairo_stroke(cr);

    cairo_translate(cr, cx, cy);
    cairo_rotate(cr, -0.45);
    cairo_scale(cr, 1.0, 0.38);
    cairo_arc(cr, 0, 0, r * 1.45, 0, 2 * kPi);
    cairo_restore(cr);
    Source(cr, kTeal, 0.95 * alpha);
    cairo_set_line_width(cr, 1.6);
    cairo_stroke(cr);
    cairo_arc(cr, cx + r * 1.45 * std::cos(-0.45) * 0.98, cy + r * 1.45 * std::sin(-0.45) * 0.98,
              3.0, 0, 2 * kPi);
    Source(cr, kTeal, alpha);
    cairo_fill(cr);
}

// Smooth lines like the contours of a flow field, low in the window.
void FlowLines(cairo_t* cr, double alpha) {
    for (int i = 0; i < 9; ++i) {
        double const y0 = 250 + i * 9.0;
        cairo_move_to(cr, 150, y0 + 40);
        cairo_curve_to(cr, 260, y0 - 30 - i * 4.0, 360, y0 + 60 - i * 2.0, kBackWidth + 4,
                       y0 - 70 + i * 6.0);
        Source(cr, kTeal, alpha * (0.05 + 0.012 * i));
        cairo_set_line_width(cr, 1.0);
        cairo_stroke(cr);
    }
}

void Grid(cairo_t* cr, Rgb colour, double minor, double major) {
    cairo_set_line_width(cr, 1.0);
    for (int x = 8; x < kBackWidth; x += 16) {
        Source(cr, colour, (x - 8) % 64 == 0 ? major : minor);
        cairo_move_to(cr, x + 0.5, 0);
        cairo_line_to(cr, x + 0.5, kStripTop);
        cairo_stroke(cr);
    }
    for (int y = 8; y < kStripTop; y += 16) {
        Source(cr, colour, (y - 8) % 64 == 0 ? major : minor);
        cairo_move_to(cr, 0, y + 0.5);
        cairo_line_to(cr, kBackWidth, y + 0.5);
        cairo_stroke(cr);
    }
}

Surface Background() {
    Surface image = NewImage(kBackWidth, kBackHeight);
    Context cr(cairo_create(image.get()));
    cairo_t* c = cr.get();

    cairo_pattern_t* base = cairo_pattern_create_linear(0, 0, 120, kBackHeight);
    cairo_pattern_add_color_stop_rgb(base, 0, kNavyTop.r, kNavyTop.g, kNavyTop.b);
    cairo_pattern_add_color_stop_rgb(base, 1, kNavyBottom.r, kNavyBottom.g, kNavyBottom.b);
    cairo_set_source(c, base);
    cairo_paint(c);
    cairo_pattern_destroy(base);

    cairo_pattern_t* glow = cairo_pattern_create_radial(340, 70, 10, 340, 70, 360);
    cairo_pattern_add_color_stop_rgba(glow, 0, kGlow.r, kGlow.g, kGlow.b, 0.42);
    cairo_pattern_add_color_stop_rgba(glow, 1, kGlow.r, kGlow.g, kGlow.b, 0);
    cairo_set_source(c, glow);
    cairo_paint(c);
    cairo_pattern_destroy(glow);

    // The blueprint grid fades out towards the text on the left.
    cairo_push_group(c);
    Grid(c, kWhite, 0.035, 0.075);
    cairo_pop_group_to_source(c);
    cairo_pattern_t* fade = cairo_pattern_create_linear(60, 0, kBackWidth, 0);
    cairo_pattern_add_color_stop_rgba(fade, 0, 0, 0, 0, 0.15);
    cairo_pattern_add_color_stop_rgba(fade, 1, 0, 0, 0, 1);
    cairo_mask(c, fade);
    cairo_pattern_destroy(fade);

    FlowLines(c, 1.0);
    Emblem(c, 62, 92, 30, 1.0);

    // A rule under the suite's name, fading to the right.
    cairo_pattern_t* rule = cairo_pattern_create_linear(120, 0, 480, 0);
    cairo_pattern_add_color_stop_rgba(rule, 0, kTeal.r, kTeal.g, kTeal.b, 0.9);
    cairo_pattern_add_color_stop_rgba(rule, 1, kTeal.r, kTeal.g, kTeal.b, 0);
    cairo_set_source(c, rule);
    cairo_rectangle(c, 120, 112, 360, 1.5);
    cairo_fill(c);

    // A quiet divider left of the version.
    Source(c, kWhite, 0.22);
    cairo_rectangle(c, 362, 160, 1, 52);
    cairo_fill(c);

    // The status strip.
    Source(c, {0, 0, 0}, 0.32);
    cairo_rectangle(c, 0, kStripTop, kBackWidth, kBackHeight - kStripTop);
    cairo_fill(c);
    Source(c, kTeal, 0.45);
    cairo_rectangle(c, 0, kStripTop, kBackWidth, 1);
    cairo_fill(c);

    // A hairline edge; the window shows 495 of the 498 columns.
    Source(c, kWhite, 0.18);
    cairo_set_line_width(c, 1.0);
    cairo_rectangle(c, 0.5, 0.5, 494, kBackHeight - 1);
    cairo_stroke(c);
    return image;
}

// For displays of 256 colours or fewer: the same composition in a few flat
// colours and without smoothing, so that it maps onto a small palette.
Surface LowColourBackground() {
    Surface image = NewImage(kBackWidth, kBackHeight);
    Context cr(cairo_create(image.get()));
    cairo_t* c = cr.get();
    cairo_set_antialias(c, CAIRO_ANTIALIAS_NONE);
    Source(c, {0.0, 0.16, 0.31});
    cairo_paint(c);
    Grid(c, {0.0, 0.22, 0.40}, 0.0, 1.0);
    cairo_set_line_width(c, 1.0);
    Source(c, {0.0, 0.40, 0.50});
    for (int i = 0; i < 9; i += 2) {
        double const y0 = 250 + i * 9.0;
        cairo_move_to(c, 150, y0 + 40);
        cairo_curve_to(c, 260, y0 - 30 - i * 4.0, 360, y0 + 60 - i * 2.0, kBackWidth + 4,
                       y0 - 70 + i * 6.0);
        cairo_stroke(c);
    }
    Emblem(c, 57, 92, 30, 1.0);
    Source(c, {0.0, 0.60, 0.60});
    cairo_rectangle(c, 115, 112, 300, 2);
    cairo_fill(c);
    Source(c, {0.0, 0.08, 0.16});
    cairo_rectangle(c, 0, kStripTop, kBackWidth, kBackHeight - kStripTop);
    cairo_fill(c);
    Source(c, {0.0, 0.60, 0.60});
    cairo_rectangle(c, 0, kStripTop, kBackWidth, 1);
    cairo_fill(c);
    return image;
}

// The QVLS logo sits on the background at (335, 25); it is cut from there
// so that its corners disappear into it.
Surface Logo(cairo_surface_t* background) {
    Surface image = NewImage(102, 37);
    Context cr(cairo_create(image.get()));
    cairo_t* c = cr.get();
    cairo_set_source_surface(c, background, -335, -25);
    cairo_paint(c);

    double const x = 1.5, y = 1.5, w = 99, h = 34, r = 6;
    cairo_new_sub_path(c);
    cairo_arc(c, x + w - r, y + r, r, -kPi / 2, 0);
    cairo_arc(c, x + w - r, y + h - r, r, 0, kPi / 2);
    cairo_arc(c, x + r, y + h - r, r, kPi / 2, kPi);
    cairo_arc(c, x + r, y + r, r, kPi, 3 * kPi / 2);
    cairo_close_path(c);
    Source(c, kTeal, 0.22);
    cairo_fill_preserve(c);
    Source(c, kWhite, 0.75);
    cairo_set_line_width(c, 1.2);
    cairo_stroke(c);

    // A check mark: validated.
    cairo_move_to(c, 11, 19);
    cairo_line_to(c, 16, 24);
    cairo_line_to(c, 25, 12);
    Source(c, kTeal);
    cairo_set_line_width(c, 3.0);
    cairo_set_line_cap(c, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(c, CAIRO_LINE_JOIN_ROUND);
    cairo_stroke(c);

    cairo_select_font_face(c, "Liberation Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
    cairo_set_font_size(c, 19);
    Source(c, kWhite);
    double pen = 33;
    for (char const letter : std::string("QVLS")) {
        char const text[2] = {letter, '\0'};
        cairo_text_extents_t extents;
        cairo_text_extents(c, text, &extents);
        cairo_move_to(c, pen, 25.5);
        cairo_show_text(c, text);
        pen += extents.x_advance + 1.5;
    }
    return image;
}

// The suite pictures -----------------------------------------------------------

constexpr int kPictureWidth = 164;
constexpr int kPictureHeight = 100;

void Gear(cairo_t* c, double cx, double cy, double r, int teeth, double phase) {
    cairo_new_path(c);
    for (int i = 0; i < teeth * 4; ++i) {
        double const a = phase + i * kPi / (teeth * 2);
        double const radius = (i % 4 < 2) ? r : r * 0.8;
        cairo_line_to(c, cx + radius * std::cos(a), cy + radius * std::sin(a));
    }
    cairo_close_path(c);
    cairo_new_sub_path(c);
    cairo_arc_negative(c, cx, cy, r * 0.32, 0, -2 * kPi);
}

void Hexagon(cairo_t* c, double cx, double cy, double r) {
    cairo_new_sub_path(c);
    for (int i = 0; i < 6; ++i)
        cairo_line_to(c, cx + r * std::cos(i * kPi / 3), cy + r * std::sin(i * kPi / 3));
    cairo_close_path(c);
}

void Manufacturing(cairo_t* c) {
    cairo_set_fill_rule(c, CAIRO_FILL_RULE_EVEN_ODD);
    Gear(c, 64, 54, 30, 10, 0.1);
    Source(c, kWhite, 0.85);
    cairo_fill(c);
    Gear(c, 108, 36, 19, 7, 0.35);
    Source(c, kTeal, 0.95);
    cairo_fill(c);
}

void Engineering(cairo_t* c) {
    cairo_set_line_width(c, 1.6);
    Source(c, kWhite, 0.9);
    cairo_move_to(c, 40, 80);
    cairo_line_to(c, 40, 24);
    cairo_line_to(c, 96, 80);
    cairo_close_path(c);
    cairo_move_to(c, 50, 70);
    cairo_line_to(c, 50, 48);
    cairo_line_to(c, 72, 70);
    cairo_close_path(c);
    cairo_stroke(c);
    Source(c, kTeal);
    cairo_arc(c, 112, 52, 24, -kPi * 0.9, kPi * 0.35);
    cairo_stroke(c);
    cairo_set_line_width(c, 1.0);
    cairo_move_to(c, 104, 86.5);
    cairo_line_to(c, 140, 86.5);
    cairo_move_to(c, 104, 82);
    cairo_line_to(c, 104, 91);
    cairo_move_to(c, 140, 82);
    cairo_line_to(c, 140, 91);
    cairo_stroke(c);
}

void SupplyChain(cairo_t* c) {
    double const nodes[][2] = {{30, 30}, {30, 72}, {82, 50}, {134, 28}, {134, 74}};
    cairo_set_line_width(c, 1.6);
    Source(c, kTeal);
    for (int i : {0, 1}) {
        cairo_move_to(c, nodes[i][0], nodes[i][1]);
        cairo_line_to(c, nodes[2][0], nodes[2][1]);
    }
    for (int i : {3, 4}) {
        cairo_move_to(c, nodes[2][0], nodes[2][1]);
        cairo_line_to(c, nodes[i][0], nodes[i][1]);
    }
    cairo_stroke(c);
    for (int i = 0; i < 5; ++i) {
        cairo_arc(c, nodes[i][0], nodes[i][1], i == 2 ? 11 : 8, 0, 2 * kPi);
        Source(c, kWhite, 0.9);
        cairo_fill(c);
    }
}

void Refining(cairo_t* c) {
    cairo_set_line_width(c, 1.6);
    Source(c, kWhite, 0.9);
    cairo_move_to(c, 62, 90);
    cairo_line_to(c, 62, 22);
    cairo_arc(c, 74, 22, 12, kPi, 0);
    cairo_line_to(c, 86, 90);
    cairo_stroke(c);
    Source(c, kTeal);
    for (int y = 34; y < 88; y += 10) {
        cairo_move_to(c, 64, y + 0.5);
        cairo_line_to(c, 84, y + 0.5);
    }
    cairo_stroke(c);
    Source(c, kWhite, 0.7);
    cairo_move_to(c, 86, 40.5);
    cairo_line_to(c, 120, 40.5);
    cairo_line_to(c, 120, 80);
    cairo_move_to(c, 86, 64.5);
    cairo_line_to(c, 140, 64.5);
    cairo_stroke(c);
    cairo_rectangle(c, 110, 78, 20, 12);
    Source(c, kTeal, 0.9);
    cairo_fill(c);
}

void Polymers(cairo_t* c) {
    cairo_set_line_width(c, 1.8);
    double const r = 14;
    for (int i = 0; i < 4; ++i) {
        double const cx = 34 + i * 32.0;
        double const cy = i % 2 == 0 ? 42 : 58;
        Hexagon(c, cx, cy, r);
        Source(c, i % 2 == 0 ? kWhite : kTeal, 0.9);
        cairo_stroke(c);
        if (i > 0) {
            double const px = 34 + (i - 1) * 32.0 + r;
            double const py = (i - 1) % 2 == 0 ? 42 : 58;
            cairo_move_to(c, px, py);
            cairo_line_to(c, cx - r, cy);
            Source(c, kWhite, 0.6);
            cairo_stroke(c);
        }
    }
}

void Petrochemicals(cairo_t* c) {
    cairo_move_to(c, 60, 18);
    cairo_curve_to(c, 72, 38, 84, 50, 84, 64);
    cairo_arc(c, 60, 64, 24, 0, kPi);
    cairo_curve_to(c, 36, 50, 48, 38, 60, 18);
    Source(c, kWhite, 0.85);
    cairo_fill(c);
    cairo_set_line_width(c, 1.6);
    Source(c, kTeal);
    cairo_move_to(c, 112, 22);
    cairo_line_to(c, 112, 46);
    cairo_line_to(c, 96, 84);
    cairo_line_to(c, 140, 84);
    cairo_line_to(c, 124, 46);
    cairo_line_to(c, 124, 22);
    cairo_stroke(c);
    cairo_move_to(c, 103, 68);
    cairo_line_to(c, 133, 68);
    cairo_line_to(c, 140, 84);
    cairo_line_to(c, 96, 84);
    cairo_close_path(c);
    Source(c, kTeal, 0.5);
    cairo_fill(c);
}

void Integration(cairo_t* c) {
    cairo_set_line_width(c, 2.4);
    Source(c, kWhite, 0.9);
    cairo_rectangle(c, 44, 26, 36, 36);
    cairo_stroke(c);
    Source(c, kTeal);
    cairo_rectangle(c, 66, 44, 36, 36);
    cairo_stroke(c);
    Source(c, kWhite, 0.6);
    cairo_rectangle(c, 88, 22, 30, 30);
    cairo_stroke(c);
}

Surface Picture(void (*motif)(cairo_t*)) {
    Surface image = NewImage(kPictureWidth, kPictureHeight);
    Context cr(cairo_create(image.get()));
    cairo_t* c = cr.get();
    cairo_pattern_t* base = cairo_pattern_create_linear(0, 0, 40, kPictureHeight);
    cairo_pattern_add_color_stop_rgb(base, 0, kNavyTop.r, kNavyTop.g, kNavyTop.b);
    cairo_pattern_add_color_stop_rgb(base, 1, kNavyBottom.r, kNavyBottom.g, kNavyBottom.b);
    cairo_set_source(c, base);
    cairo_paint(c);
    cairo_pattern_destroy(base);
    cairo_set_line_width(c, 1.0);
    for (int x = 4; x < kPictureWidth; x += 16) {
        cairo_move_to(c, x + 0.5, 0);
        cairo_line_to(c, x + 0.5, kPictureHeight);
    }
    for (int y = 4; y < kPictureHeight; y += 16) {
        cairo_move_to(c, 0, y + 0.5);
        cairo_line_to(c, kPictureWidth, y + 0.5);
    }
    Source(c, kWhite, 0.05);
    cairo_stroke(c);
    motif(c);
    return image;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT-DIRECTORY\n", argv[0]);
        return 2;
    }
    std::string const dir = argv[1];
    bool ok = true;

    Surface const background = Background();
    ok &= Write(dir, "238-background.bmp", Bmp24(background.get()));
    ok &= Write(dir, "241-background-lowcolour.bmp", Bmp24(LowColourBackground().get()));
    ok &= Write(dir, "229-logo-qvls.bmp", Bmp24(Logo(background.get()).get()));

    struct Suite {
        int picture;
        int lowColourPicture;
        char const* name;
        void (*motif)(cairo_t*);
    };
    std::array<Suite, 7> const suites = {{
        {216, 220, "manufacturing", Manufacturing},
        {214, 224, "engineering", Engineering},
        {215, 225, "supply", SupplyChain},
        {218, 223, "refining", Refining},
        {217, 222, "polymers", Polymers},
        {210, 221, "petrochemicals", Petrochemicals},
        {219, 226, "integration", Integration},
    }};
    for (Suite const& suite : suites) {
        Surface const picture = Picture(suite.motif);
        ok &= Write(dir, std::to_string(suite.picture) + "-" + suite.name + ".bmp",
                    Bmp24(picture.get()));
        ok &= Write(dir, std::to_string(suite.lowColourPicture) + "-" + suite.name + "-8bit.bmp",
                    Bmp8(picture.get()));
    }
    return ok ? 0 : 1;
}

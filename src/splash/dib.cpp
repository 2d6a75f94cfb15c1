#include <splash/dib.h>

#include <bit>
#include <cstdlib>
#include <cstring>

namespace splash {
namespace {

static_assert(std::endian::native == std::endian::little,
              "bitmap headers are read as they lie in memory");

template <class T> void Read(std::uint8_t const*& at, T& field) {
    std::memcpy(&field, at, sizeof field);
    at += sizeof field;
}

template <class T> void Write(std::uint8_t*& at, T field) {
    std::memcpy(at, &field, sizeof field);
    at += sizeof field;
}

} // namespace

std::optional<BitmapInfoHeader> ReadInfoHeader(std::span<std::uint8_t const> dib) {
    if (dib.size() < kInfoHeaderSize) return std::nullopt;
    BitmapInfoHeader h;
    std::uint8_t const* at = dib.data();
    Read(at, h.biSize);
    Read(at, h.biWidth);
    Read(at, h.biHeight);
    Read(at, h.biPlanes);
    Read(at, h.biBitCount);
    Read(at, h.biCompression);
    Read(at, h.biSizeImage);
    Read(at, h.biXPelsPerMeter);
    Read(at, h.biYPelsPerMeter);
    Read(at, h.biClrUsed);
    Read(at, h.biClrImportant);
    return h;
}

void WriteInfoHeader(std::span<std::uint8_t> dib, BitmapInfoHeader const& h) {
    if (dib.size() < kInfoHeaderSize) return;
    std::uint8_t* at = dib.data();
    Write(at, h.biSize);
    Write(at, h.biWidth);
    Write(at, h.biHeight);
    Write(at, h.biPlanes);
    Write(at, h.biBitCount);
    Write(at, h.biCompression);
    Write(at, h.biSizeImage);
    Write(at, h.biXPelsPerMeter);
    Write(at, h.biYPelsPerMeter);
    Write(at, h.biClrUsed);
    Write(at, h.biClrImportant);
}

std::vector<Colour> ColourTable(std::span<std::uint8_t const> dib, BitmapInfoHeader const& header,
                                std::uint32_t entries) {
    std::vector<Colour> table;
    std::size_t at = header.biSize;
    for (std::uint32_t i = 0; i < entries && at <= dib.size() && dib.size() - at >= 4; ++i) {
        // RGBQUAD: blue, green, red, reserved.
        table.push_back(Colour{dib[at]} | Colour{dib[at + 1]} << 8 | Colour{dib[at + 2]} << 16);
        at += 4;
    }
    return table;
}

SurfacePtr DibImage(std::span<std::uint8_t const> dib, BitmapInfoHeader const& header,
                    std::vector<Colour> const& palette) {
    int const bits = header.biBitCount;
    bool const indexed = bits == 1 || bits == 4 || bits == 8;
    if (header.biCompression != 0 || !(indexed || bits == 24) || (indexed && palette.empty()) ||
        header.biWidth <= 0 || header.biHeight == 0) {
        return nullptr;
    }
    std::int64_t const width = header.biWidth;
    std::int64_t const height = std::llabs(static_cast<std::int64_t>(header.biHeight));
    std::uint64_t const stride = static_cast<std::uint64_t>((width * bits + 31) / 32 * 4);
    std::uint64_t const offset = header.biSize + static_cast<std::uint64_t>(palette.size()) * 4;
    if (offset > dib.size() || (dib.size() - offset) / stride < static_cast<std::uint64_t>(height))
        return nullptr;

    SurfacePtr image(cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width),
                                                static_cast<int>(height)));
    if (cairo_surface_status(image.get()) != CAIRO_STATUS_SUCCESS) return nullptr;
    cairo_surface_flush(image.get());
    unsigned char* const data = cairo_image_surface_get_data(image.get());
    std::size_t const outStride =
        static_cast<std::size_t>(cairo_image_surface_get_stride(image.get()));
    bool const bottomUp = header.biHeight > 0;
    unsigned const mask = (1u << bits) - 1;
    for (std::int64_t y = 0; y < height; ++y) {
        std::int64_t const sourceRow = bottomUp ? height - 1 - y : y;
        std::uint8_t const* row =
            dib.data() + offset + static_cast<std::uint64_t>(sourceRow) * stride;
        unsigned char* out = data + static_cast<std::size_t>(y) * outStride;
        for (std::int64_t x = 0; x < width; ++x) {
            Colour colour;
            if (bits == 24) {
                colour =
                    Colour{row[x * 3]} | Colour{row[x * 3 + 1]} << 8 | Colour{row[x * 3 + 2]} << 16;
            } else {
                // The leftmost pixel is in the high bits of its byte.
                std::int64_t const bit = x * bits;
                unsigned const index = (row[bit / 8] >> (8 - bits - bit % 8)) & mask;
                colour = index < palette.size() ? palette[index] : 0;
            }
            std::memcpy(out + x * 4, &colour, 4);
        }
    }
    cairo_surface_mark_dirty(image.get());
    return image;
}

} // namespace splash

// Device-independent bitmaps, the form in which the program's images are
// kept: an info header, a colour table, and rows of pixels padded to four
// bytes, bottom row first unless the height is negative.
#pragma once

#include <splash/cairoptr.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// The program's bitmaps by resource number, info header first, as a
// resource holds them. Empty for a number that is not there. Defined by the
// source that the build makes from src/splash/images.
std::span<std::uint8_t const> FindBitmapResource(int number);

namespace splash {

// BITMAPINFOHEADER, field for field.
struct BitmapInfoHeader {
    std::uint32_t biSize = 40;
    std::int32_t biWidth = 0;
    std::int32_t biHeight = 0;
    std::uint16_t biPlanes = 1;
    std::uint16_t biBitCount = 0;
    std::uint32_t biCompression = 0;
    std::uint32_t biSizeImage = 0;
    std::int32_t biXPelsPerMeter = 0;
    std::int32_t biYPelsPerMeter = 0;
    std::uint32_t biClrUsed = 0;
    std::uint32_t biClrImportant = 0;
};

inline constexpr std::size_t kInfoHeaderSize = 40;

// 0xRRGGBB.
using Colour = std::uint32_t;

// Nothing when the DIB is too short to hold a header.
std::optional<BitmapInfoHeader> ReadInfoHeader(std::span<std::uint8_t const> dib);
void WriteInfoHeader(std::span<std::uint8_t> dib, BitmapInfoHeader const& header);

// The first `entries` colours of the table after the header, fewer if the
// DIB ends first.
std::vector<Colour> ColourTable(std::span<std::uint8_t const> dib, BitmapInfoHeader const& header,
                                std::uint32_t entries);

// The pixels as an image. They start after the header and one table entry
// for each colour of `palette`, through which indexed pixels are looked up.
// Null for what this does not read: compression, a depth other than 1, 4, 8
// or 24, indexed pixels with no palette, or too few bytes.
SurfacePtr DibImage(std::span<std::uint8_t const> dib, BitmapInfoHeader const& header,
                    std::vector<Colour> const& palette);

} // namespace splash

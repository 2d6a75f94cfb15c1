// The program's bitmaps as a paint draws them: each one decoded into an
// image at the first paint that draws it, and the same image drawn by every
// later paint of the process. A bitmap that no paint has drawn is never
// decoded, so a splash that shows without the QVLS logo or the low-colour
// background never pays for them.
#pragma once

#include <splash/cairoptr.h>
#include <splash/dib.h>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace splash {

// The two ways a paint reads a bitmap: copied as it is stored, or through a
// palette made from its colour table, which first writes the table's size to
// the header when the header leaves it 0.
enum class BitmapRoute { AsStored, ThroughPalette };

struct DecodedBitmap {
    SurfacePtr image;                       // null when the pixels can't be read
    std::optional<BitmapInfoHeader> header; // as the route left it; none for a short DIB
};

// The decoding itself, for any DIB. ThroughPalette writes the count back to
// dib's header as the palette procedure does.
DecodedBitmap DecodeBitmap(std::vector<std::uint8_t>& dib, BitmapRoute route);

// The program's bitmap by resource number, decoded at its first use in this
// process. The image is shared: draw it, never draw on it. Safe on any thread.
DecodedBitmap const& ProgramBitmap(int number, BitmapRoute route);

// The resource numbers decoded so far in this process, once each, in the
// order of their first use.
std::vector<int> DecodedProgramBitmaps();

} // namespace splash

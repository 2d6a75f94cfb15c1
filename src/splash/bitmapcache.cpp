#include <splash/bitmapcache.h>

#include <map>
#include <mutex>
#include <utility>

namespace splash {

namespace {

// The colours a stored bitmap's pixels are looked up through: the table's
// declared size, or the whole table of its depth.
std::uint32_t StoredEntries(BitmapInfoHeader const& header) {
    std::uint32_t entries = header.biClrUsed;
    if (entries == 0 && header.biBitCount <= 8) entries = 1u << header.biBitCount;
    return entries;
}

// On a true-colour surface the palette's selection changes nothing, so its
// colours map the pixels directly.
std::uint32_t PaletteEntries(std::vector<std::uint8_t>& dib, BitmapInfoHeader& header) {
    std::uint32_t count = header.biClrUsed;
    if (count == 0 && header.biBitCount != 24) {
        count = header.biBitCount < 32 ? 1u << header.biBitCount : 0;
        header.biClrUsed = count;
        WriteInfoHeader(dib, header);
    }
    return count;
}

struct Decoded {
    std::mutex mutex;
    std::map<std::pair<int, BitmapRoute>, DecodedBitmap> bitmaps;
    std::vector<int> order;
};

Decoded& Process() {
    static Decoded decoded;
    return decoded;
}

} // namespace

DecodedBitmap DecodeBitmap(std::vector<std::uint8_t>& dib, BitmapRoute route) {
    DecodedBitmap decoded;
    decoded.header = ReadInfoHeader(dib);
    if (!decoded.header) return decoded;
    BitmapInfoHeader& header = *decoded.header;
    std::uint32_t const entries =
        route == BitmapRoute::AsStored ? StoredEntries(header) : PaletteEntries(dib, header);
    decoded.image = DibImage(dib, header, ColourTable(dib, header, entries));
    return decoded;
}

DecodedBitmap const& ProgramBitmap(int number, BitmapRoute route) {
    Decoded& process = Process();
    std::lock_guard const lock(process.mutex);
    auto [entry, added] = process.bitmaps.try_emplace({number, route});
    if (added) {
        // The palette procedure writes to the header: it works on a copy.
        std::span<std::uint8_t const> const resource = FindBitmapResource(number);
        std::vector<std::uint8_t> dib(resource.begin(), resource.end());
        entry->second = DecodeBitmap(dib, route);
        bool seen = false;
        for (int earlier : process.order)
            seen = seen || earlier == number;
        if (!seen) process.order.push_back(number);
    }
    return entry->second;
}

std::vector<int> DecodedProgramBitmaps() {
    Decoded& process = Process();
    std::lock_guard const lock(process.mutex);
    return process.order;
}

} // namespace splash

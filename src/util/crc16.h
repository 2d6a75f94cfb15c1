/// \file
/// CRC-16/ARC (reflected polynomial 0xA001, initial 0, no final xor): the
/// check value on string buffers and the hash of dictionary keys.
#pragma once

#include <platform/export.h>

#include <array>
#include <cstdint>

namespace crc16_detail {

// Each entry is built from the bits of its index rather than by shifting; the
// result is the usual CRC-16/ARC table.
constexpr std::array<std::uint16_t, 256> MakeTable() {
    std::array<std::uint16_t, 256> table{};
    for (unsigned i = 0; i < 256; ++i) {
        auto bit = [i](unsigned n) { return (i >> n) & 1u; };
        unsigned p = 0;
        for (unsigned n = 0; n < 7; ++n)
            p ^= bit(n);
        unsigned const b7p = bit(7) ^ p;
        unsigned entry = b7p << 15 | p << 14 | (bit(7) ^ bit(6)) << 13 | (bit(6) ^ bit(5)) << 12 |
                         (bit(5) ^ bit(4)) << 11 | (bit(4) ^ bit(3)) << 10 |
                         (bit(3) ^ bit(2)) << 9 | (bit(2) ^ bit(1)) << 8 | (bit(1) ^ bit(0)) << 7 |
                         bit(0) << 6 | b7p;
        table[i] = static_cast<std::uint16_t>(entry);
    }
    return table;
}

inline constexpr std::array<std::uint16_t, 256> kTable = MakeTable();
static_assert(kTable[1] == 0xC0C1 && kTable[2] == 0xC181 && kTable[255] == 0x4040);

} // namespace crc16_detail

/// \brief CRC-16/ARC (reflected polynomial 0xA001, initial 0, no final xor):
/// the check value on string buffers and the hash of dictionary keys.
class SORVANE_API crc16 {
public:
    crc16() { ++nInstanceCount; }
    ~crc16() { --nInstanceCount; }
    /// A copy is counted as a new instance.
    crc16(crc16 const&) : crc16() {}
    /// Assigns nothing of note: a crc16 has no state of its own.
    /// \return this object.
    crc16& operator=(crc16 const&) = default;

    /// The CRC of a 0-terminated text.
    /// \param text the text; null reads as empty.
    /// \param crc when not null, receives the CRC.
    /// \param length when not null, receives the text's byte count.
    /// \return 1.
    char Calc(char const* text, std::uint16_t* crc, std::int32_t* length = nullptr);
    /// The CRC of length bytes, NULs included; the form for binary data.
    /// \param data the bytes.
    /// \param crc receives the CRC.
    /// \param length their count.
    /// \return 1, or 0 for null data (then the CRC is 0).
    char lCalc(char const* data, std::uint16_t* crc, std::int32_t length);

    /// \return the number of live crc16 objects.
    static std::uint16_t _get_nInstanceCount() { return nInstanceCount; }

    /// One step of the CRC.
    /// \param crc the CRC so far.
    /// \param byte the next byte.
    /// \return the CRC with the byte.
    static constexpr std::uint16_t Step(std::uint16_t crc, unsigned char byte) {
        return static_cast<std::uint16_t>((crc >> 8) ^ crc16_detail::kTable[(crc ^ byte) & 0xFF]);
    }

private:
    static std::uint16_t nInstanceCount;
};

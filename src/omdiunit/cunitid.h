// The unpacked dimension: eight signed exponents with the arithmetic that
// combines units. The packed form, one 32-bit word, is the unit id that the
// whole framework passes around.
#pragma once

#include <platform/export.h>

#include <cstdint>

// Bit places and widths of the packed word.
namespace unitid {
inline constexpr std::uint32_t kLengthMask = 0x3F;
inline constexpr std::uint32_t kMassMask = 0x3C0;
inline constexpr std::uint32_t kTimeMask = 0xFC00;
inline constexpr std::uint32_t kCurrentMask = 0xF0000;
inline constexpr std::uint32_t kTemperatureMask = 0x700000;
inline constexpr std::uint32_t kSubstanceMask = 0x3800000;
inline constexpr std::uint32_t kIntensityMask = 0xC000000;
inline constexpr std::uint32_t kUserMask = 0x30000000;
// The id of every user-defined unit: user exponent 1.
inline constexpr std::uint32_t kUserUnitId = 0x10000000;
} // namespace unitid

class SORVANE_API CUnitId {
public:
    CUnitId() = default;
    CUnitId(std::uint32_t ulId) { Set(ulId); }
    CUnitId(CUnitId const& other) = default;
    CUnitId& operator=(CUnitId const& other) = default;

    void Set(std::uint32_t ulId);
    // Validates, then packs; a field past its limit throws FWError.
    operator std::uint32_t() const;
    void Validate() const;
    short Count() const;

    bool operator==(CUnitId const& other) const;
    bool operator!=(CUnitId const& other) const { return !(*this == other); }

    // Adding or subtracting demands equal dimensions and leaves them as they are.
    CUnitId operator+(CUnitId const& other) const;
    CUnitId operator-(CUnitId const& other) const;
    CUnitId& operator+=(CUnitId const& other);
    CUnitId& operator-=(CUnitId const& other);
    // Products add and quotients subtract the exponents, wrapping at 8 bits.
    CUnitId operator*(CUnitId const& other) const;
    CUnitId operator/(CUnitId const& other) const;
    CUnitId& operator*=(CUnitId const& other);
    CUnitId& operator/=(CUnitId const& other);
    CUnitId& pow(short n);

    // The eight exponents, in the order of the unpacked form.
    enum Field : short {
        kMass,
        kCurrent,
        kTemperature,
        kSubstance,
        kIntensity,
        kLength,
        kTime,
        kUser,
        kFields
    };

    char Mass_Get() const { return static_cast<char>(acExponents[kMass]); }
    char Current_Get() const { return static_cast<char>(acExponents[kCurrent]); }
    char Temperature_Get() const { return static_cast<char>(acExponents[kTemperature]); }
    char Substance_Get() const { return static_cast<char>(acExponents[kSubstance]); }
    char Intensity_Get() const { return static_cast<char>(acExponents[kIntensity]); }
    char Length_Get() const { return static_cast<char>(acExponents[kLength]); }
    char Time_Get() const { return static_cast<char>(acExponents[kTime]); }
    char User_Get() const { return static_cast<char>(acExponents[kUser]); }
    void Mass_Set(char c) { acExponents[kMass] = static_cast<signed char>(c); }
    void Current_Set(char c) { acExponents[kCurrent] = static_cast<signed char>(c); }
    void Temperature_Set(char c) { acExponents[kTemperature] = static_cast<signed char>(c); }
    void Substance_Set(char c) { acExponents[kSubstance] = static_cast<signed char>(c); }
    void Intensity_Set(char c) { acExponents[kIntensity] = static_cast<signed char>(c); }
    void Length_Set(char c) { acExponents[kLength] = static_cast<signed char>(c); }
    void Time_Set(char c) { acExponents[kTime] = static_cast<signed char>(c); }
    void User_Set(char c) { acExponents[kUser] = static_cast<signed char>(c); }

private:
    static signed char SignExtend(std::int32_t value, short a, short b);
    void CheckEqual(CUnitId const& other, char const* szOperator) const;

    signed char acExponents[kFields] = {};
};

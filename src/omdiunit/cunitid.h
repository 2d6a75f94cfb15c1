/// \file
/// The unpacked dimension: eight signed exponents with the arithmetic that
/// combines units. The packed form, one 32-bit word, is the unit id that the
/// whole framework passes around.
#pragma once

#include <platform/export.h>

#include <cstdint>

/// Bit places and widths of the packed unit id.
namespace unitid {
/// The length exponent's bits.
inline constexpr std::uint32_t kLengthMask = 0x3F;
/// The mass exponent's bits.
inline constexpr std::uint32_t kMassMask = 0x3C0;
/// The time exponent's bits.
inline constexpr std::uint32_t kTimeMask = 0xFC00;
/// The current exponent's bits.
inline constexpr std::uint32_t kCurrentMask = 0xF0000;
/// The temperature exponent's bits.
inline constexpr std::uint32_t kTemperatureMask = 0x700000;
/// The amount-of-substance exponent's bits.
inline constexpr std::uint32_t kSubstanceMask = 0x3800000;
/// The luminous intensity exponent's bits.
inline constexpr std::uint32_t kIntensityMask = 0xC000000;
/// The user dimension's exponent bits.
inline constexpr std::uint32_t kUserMask = 0x30000000;
/// The id of every user-defined unit: user exponent 1.
inline constexpr std::uint32_t kUserUnitId = 0x10000000;
} // namespace unitid

/// \brief The unpacked dimension: eight signed exponents with the arithmetic
/// that combines units.
///
/// The packed form, one 32-bit word, is the unit id that the whole framework
/// passes around. Mismatched dimensions and fields past their limits throw
/// FWError.
class SORVANE_API CUnitId {
public:
    CUnitId() = default;
    /// Unpacks a unit id.
    /// \param ulId the packed id.
    CUnitId(std::uint32_t ulId) { Set(ulId); }
    /// \param other the dimension copied.
    CUnitId(CUnitId const& other) = default;
    /// \param other the dimension copied.
    /// \return this dimension.
    CUnitId& operator=(CUnitId const& other) = default;

    /// Unpacks a unit id.
    /// \param ulId the packed id.
    void Set(std::uint32_t ulId);
    /// Validates, then packs.
    /// \return the packed id.
    /// \throws FWError for a field past its limit.
    operator std::uint32_t() const;
    /// \throws FWError for a field past its limit.
    void Validate() const;
    /// \return the number of non-zero exponents.
    short Count() const;

    /// \param other a dimension.
    /// \return true when every exponent is equal.
    bool operator==(CUnitId const& other) const;
    /// \param other a dimension.
    /// \return true when some exponent differs.
    bool operator!=(CUnitId const& other) const { return !(*this == other); }

    /// Adding demands equal dimensions and leaves them as they are.
    /// \param other a dimension.
    /// \return this dimension.
    /// \throws FWError for unequal dimensions.
    CUnitId operator+(CUnitId const& other) const;
    /// Subtracting demands equal dimensions and leaves them as they are.
    /// \param other a dimension.
    /// \return this dimension.
    /// \throws FWError for unequal dimensions.
    CUnitId operator-(CUnitId const& other) const;
    /// As operator+.
    /// \param other a dimension.
    /// \return this dimension.
    /// \throws FWError for unequal dimensions.
    CUnitId& operator+=(CUnitId const& other);
    /// As operator-.
    /// \param other a dimension.
    /// \return this dimension.
    /// \throws FWError for unequal dimensions.
    CUnitId& operator-=(CUnitId const& other);
    /// A product adds the exponents, wrapping at 8 bits.
    /// \param other a dimension.
    /// \return the product's dimension.
    CUnitId operator*(CUnitId const& other) const;
    /// A quotient subtracts the exponents, wrapping at 8 bits.
    /// \param other a dimension.
    /// \return the quotient's dimension.
    CUnitId operator/(CUnitId const& other) const;
    /// As operator*.
    /// \param other a dimension.
    /// \return this dimension.
    CUnitId& operator*=(CUnitId const& other);
    /// As operator/.
    /// \param other a dimension.
    /// \return this dimension.
    CUnitId& operator/=(CUnitId const& other);
    /// Multiplies every exponent.
    /// \param n the power.
    /// \return this dimension.
    CUnitId& pow(short n);

    /// The eight exponents, in the order of the unpacked form.
    enum Field : short {
        /// Mass.
        kMass,
        /// Electric current.
        kCurrent,
        /// Temperature.
        kTemperature,
        /// Amount of substance.
        kSubstance,
        /// Luminous intensity.
        kIntensity,
        /// Length.
        kLength,
        /// Time.
        kTime,
        /// The user dimension.
        kUser,
        /// The number of fields.
        kFields
    };

    /// \return the mass exponent.
    char Mass_Get() const { return static_cast<char>(acExponents[kMass]); }
    /// \return the current exponent.
    char Current_Get() const { return static_cast<char>(acExponents[kCurrent]); }
    /// \return the temperature exponent.
    char Temperature_Get() const { return static_cast<char>(acExponents[kTemperature]); }
    /// \return the amount-of-substance exponent.
    char Substance_Get() const { return static_cast<char>(acExponents[kSubstance]); }
    /// \return the luminous intensity exponent.
    char Intensity_Get() const { return static_cast<char>(acExponents[kIntensity]); }
    /// \return the length exponent.
    char Length_Get() const { return static_cast<char>(acExponents[kLength]); }
    /// \return the time exponent.
    char Time_Get() const { return static_cast<char>(acExponents[kTime]); }
    /// \return the user dimension's exponent.
    char User_Get() const { return static_cast<char>(acExponents[kUser]); }
    /// \param c the mass exponent.
    void Mass_Set(char c) { acExponents[kMass] = static_cast<signed char>(c); }
    /// \param c the current exponent.
    void Current_Set(char c) { acExponents[kCurrent] = static_cast<signed char>(c); }
    /// \param c the temperature exponent.
    void Temperature_Set(char c) { acExponents[kTemperature] = static_cast<signed char>(c); }
    /// \param c the amount-of-substance exponent.
    void Substance_Set(char c) { acExponents[kSubstance] = static_cast<signed char>(c); }
    /// \param c the luminous intensity exponent.
    void Intensity_Set(char c) { acExponents[kIntensity] = static_cast<signed char>(c); }
    /// \param c the length exponent.
    void Length_Set(char c) { acExponents[kLength] = static_cast<signed char>(c); }
    /// \param c the time exponent.
    void Time_Set(char c) { acExponents[kTime] = static_cast<signed char>(c); }
    /// \param c the user dimension's exponent.
    void User_Set(char c) { acExponents[kUser] = static_cast<signed char>(c); }

private:
    static signed char SignExtend(std::int32_t value, short a, short b);
    void CheckEqual(CUnitId const& other, char const* szOperator) const;

    signed char acExponents[kFields] = {};
};

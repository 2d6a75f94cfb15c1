#include <omdiunit/cunitid.h>

#include <util/exceptions.h>

#include <cstdio>

namespace {

constexpr char const* kUnit = "omdiunit/cunitid";
constexpr int kLineNotEqual = 55;
constexpr int kLineOverflow = 177;

// One field of the packed word, in the order of the unpacked form: its name
// in messages, the shifts that unpack it, its place and mask in the word, and
// the limit of validation (the mask's width, not the signed range).
struct FieldLayout {
    char const* szName;
    short nUnpackLeft;
    short nUnpackRight;
    short nPlace;
    std::uint32_t nMask;
    int nLimit;
};

constexpr FieldLayout kLayout[CUnitId::kFields] = {
    {"mass", 22, 6, 6, unitid::kMassMask, 15},
    {"current", 12, 16, 16, unitid::kCurrentMask, 15},
    {"temperature", 9, 20, 20, unitid::kTemperatureMask, 7},
    {"substance", 6, 23, 23, unitid::kSubstanceMask, 7},
    {"intensity", 4, 26, 26, unitid::kIntensityMask, 3},
    {"length", 26, 0, 0, unitid::kLengthMask, 63},
    {"time", 16, 10, 10, unitid::kTimeMask, 63},
    {"user", 2, 28, 28, unitid::kUserMask, 3},
};

} // namespace

signed char CUnitId::SignExtend(std::int32_t value, short a, short b) {
    auto const shifted = static_cast<std::int32_t>(static_cast<std::uint32_t>(value) << a);
    return static_cast<signed char>((shifted >> a) >> b);
}

void CUnitId::Set(std::uint32_t ulId) {
    for (int i = 0; i < kFields; ++i)
        acExponents[i] = SignExtend(static_cast<std::int32_t>(ulId), kLayout[i].nUnpackLeft,
                                    kLayout[i].nUnpackRight);
}

void CUnitId::Validate() const {
    for (int i = 0; i < kFields; ++i) {
        int const v = acExponents[i];
        int const m = kLayout[i].nLimit;
        if ((v < 0 && v < 1 - m) || (v > 0 && v > m)) {
            char szText[128];
            std::snprintf(szText, sizeof szText, "exponent overflow : %s %d (%02X)",
                          kLayout[i].szName, v, m);
            throw FWError(szText, kUnit, kLineOverflow);
        }
    }
}

CUnitId::operator std::uint32_t() const {
    Validate();
    std::uint32_t ulId = 0;
    for (int i = 0; i < kFields; ++i)
        ulId +=
            (static_cast<std::uint32_t>(acExponents[i]) << kLayout[i].nPlace) & kLayout[i].nMask;
    return ulId;
}

short CUnitId::Count() const {
    short n = 0;
    for (signed char c : acExponents)
        if (c != 0) ++n;
    return n;
}

bool CUnitId::operator==(CUnitId const& other) const {
    for (int i = 0; i < kFields; ++i)
        if (acExponents[i] != other.acExponents[i]) return false;
    return true;
}

void CUnitId::CheckEqual(CUnitId const& other, char const* szOperator) const {
    if (*this == other) return;
    char szText[64];
    std::snprintf(szText, sizeof szText, "units not equal : %s", szOperator);
    throw FWError(szText, kUnit, kLineNotEqual);
}

CUnitId CUnitId::operator+(CUnitId const& other) const {
    CheckEqual(other, "+");
    return *this;
}
CUnitId CUnitId::operator-(CUnitId const& other) const {
    CheckEqual(other, "-");
    return *this;
}
CUnitId& CUnitId::operator+=(CUnitId const& other) {
    CheckEqual(other, "+=");
    return *this;
}
CUnitId& CUnitId::operator-=(CUnitId const& other) {
    CheckEqual(other, "-=");
    return *this;
}

CUnitId& CUnitId::operator*=(CUnitId const& other) {
    for (int i = 0; i < kFields; ++i)
        acExponents[i] = static_cast<signed char>(acExponents[i] + other.acExponents[i]);
    return *this;
}
CUnitId& CUnitId::operator/=(CUnitId const& other) {
    for (int i = 0; i < kFields; ++i)
        acExponents[i] = static_cast<signed char>(acExponents[i] - other.acExponents[i]);
    return *this;
}
CUnitId CUnitId::operator*(CUnitId const& other) const {
    CUnitId result(*this);
    return result *= other;
}
CUnitId CUnitId::operator/(CUnitId const& other) const {
    CUnitId result(*this);
    return result /= other;
}

CUnitId& CUnitId::pow(short n) {
    if (n == 1) return *this;
    for (signed char& c : acExponents)
        c = static_cast<signed char>(c * n);
    return *this;
}

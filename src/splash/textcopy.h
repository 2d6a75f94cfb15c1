// How the server takes a client's texts: wide text converted to the locale's
// character set, bounded copies and the right-trim.
#pragma once

#include <platform/oletypes.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace splash {

// A BSTR in the locale's character set; nothing for an absent text or one too
// long to convert (its length plus one past 0x3FFFFFFF).
std::optional<std::string> NarrowFromBstr(BSTR text);

// Narrow text in a code page (the locale's by default) as UTF-16.
std::u16string WideFromNarrow(char const* text, std::uint32_t codePage = 0);

// A BSTR that frees itself; null for an absent text.
class OwnedBstr {
public:
    explicit OwnedBstr(char16_t const* text);
    ~OwnedBstr();
    OwnedBstr(OwnedBstr const&) = delete;
    OwnedBstr& operator=(OwnedBstr const&) = delete;
    operator BSTR() const { return text_; }

private:
    BSTR text_;
};

// lstrcpyn: at most limit-1 characters and a terminator. An absent source
// leaves the field as it was.
template <class Char, std::size_t N>
void BoundedCopy(std::array<Char, N>& field, Char const* source, std::size_t limit) {
    static_assert(N > 0);
    if (source == nullptr) return;
    limit = limit < N ? limit : N;
    std::size_t i = 0;
    for (; i + 1 < limit && source[i] != Char{}; ++i)
        field[i] = source[i];
    field[i] = Char{};
}

template <std::size_t N>
void BoundedCopy(std::array<char, N>& field, std::optional<std::string> const& source,
                 std::size_t limit) {
    if (source) BoundedCopy(field, source->c_str(), limit);
}

// Cuts after the last character above 0x20, compared unsigned after sign
// extension: narrow bytes from 0x80 up count as above.
inline unsigned TrimValue(char c) {
    return static_cast<unsigned>(static_cast<int>(static_cast<signed char>(c)));
}
inline unsigned TrimValue(OLECHAR c) {
    return c;
}

template <class Char, std::size_t N> void RightTrim(std::array<Char, N>& field) {
    std::size_t keep = 0;
    for (std::size_t i = 0; i < N && field[i] != Char{}; ++i) {
        if (TrimValue(field[i]) > 0x20) keep = i + 1;
    }
    field[keep] = Char{};
}

} // namespace splash

#include <platform/codepage.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstring>
#include <iconv.h>
#include <langinfo.h>
#include <optional>

namespace platform {
namespace {

// Byte order is spelt out, and the bytes are put together by hand, so that
// the host's order never matters.
constexpr char kWideCharset[] = "UTF-16LE";
constexpr OLECHAR kReplacement = 0xFFFD;
constexpr char kDefaultChar = '?';

class Iconv {
public:
    Iconv(char const* to, char const* from) : cd_(iconv_open(to, from)) {}
    ~Iconv() {
        if (IsOpen()) iconv_close(cd_);
    }
    Iconv(Iconv const&) = delete;
    Iconv& operator=(Iconv const&) = delete;

    bool IsOpen() const { return cd_ != reinterpret_cast<iconv_t>(-1); }
    iconv_t Get() const { return cd_; }

private:
    iconv_t cd_;
};

// The system's calls keep their reason where GetLastError() finds it; an
// untouched reason on success, whatever iconv left behind.
class LastErrorGuard {
public:
    LastErrorGuard() = default;
    ~LastErrorGuard() {
        if (failed_) SetLastError(code_);
    }
    LastErrorGuard(LastErrorGuard const&) = delete;
    LastErrorGuard& operator=(LastErrorGuard const&) = delete;

    int Fail(std::uint32_t code) {
        failed_ = true;
        code_ = code;
        return 0;
    }

private:
    bool failed_ = false;
    std::uint32_t code_ = 0;
};

std::optional<std::string> CharsetOf(std::uint32_t codePage) {
    if (codePage == CP_ACP) return AnsiCharset();
    if (codePage == CP_UTF8) return std::string("UTF-8");
    return std::nullopt;
}

// Converts all of input, handing each converted stretch to sink, and has
// skip step over whatever iconv refuses. False for a failure that no skipping
// gets past.
template <class Sink, class Skip>
bool Run(Iconv& cd, char const* input, std::size_t inputSize, Sink sink, Skip skip) {
    // iconv's input is not const, though it never writes through it.
    char* in = const_cast<char*>(input);
    std::size_t inLeft = inputSize;
    char chunk[512];
    bool flushed = false;
    while (!flushed) {
        char* out = chunk;
        std::size_t outLeft = sizeof chunk;
        bool const flushing = inLeft == 0;
        // The last call ends a shift state, for the character sets that
        // have one.
        std::size_t const result = flushing ? iconv(cd.Get(), nullptr, nullptr, &out, &outLeft)
                                            : iconv(cd.Get(), &in, &inLeft, &out, &outLeft);
        int const reason = errno;
        sink(chunk, static_cast<std::size_t>(out - chunk));
        if (result != static_cast<std::size_t>(-1)) {
            flushed = flushing;
            continue;
        }
        if (reason == E2BIG) continue;
        if (flushing || (reason != EILSEQ && reason != EINVAL)) return false;
        std::size_t const skipped = skip(in, inLeft);
        in += skipped;
        inLeft -= skipped;
    }
    return true;
}

bool ValidSource(void const* source, int length) {
    return source != nullptr && length >= -1 && length != 0;
}
bool ValidDest(void const* dest, int size) {
    return size >= 0 && (size == 0 || dest != nullptr);
}

} // namespace

std::string AnsiCharset() {
    return nl_langinfo(CODESET);
}

int MultiByteToWideChar(std::uint32_t codePage, std::uint32_t, char const* source, int sourceBytes,
                        OLECHAR* dest, int destCharacters) {
    LastErrorGuard lastError;
    if (!ValidSource(source, sourceBytes) || !ValidDest(dest, destCharacters)) {
        return lastError.Fail(ERROR_INVALID_PARAMETER);
    }
    std::optional<std::string> const charset = CharsetOf(codePage);
    if (!charset) return lastError.Fail(ERROR_INVALID_PARAMETER);
    Iconv cd(kWideCharset, charset->c_str());
    if (!cd.IsOpen()) return lastError.Fail(ERROR_INVALID_PARAMETER);

    std::size_t const size =
        sourceBytes == -1 ? std::strlen(source) + 1 : static_cast<std::size_t>(sourceBytes);
    std::u16string wide;
    auto sink = [&wide](char const* bytes, std::size_t count) {
        for (std::size_t i = 0; i + 1 < count; i += 2) {
            wide.push_back(static_cast<OLECHAR>(static_cast<unsigned char>(bytes[i]) |
                                                static_cast<unsigned char>(bytes[i + 1]) << 8));
        }
    };
    auto skip = [&wide](char const*, std::size_t) {
        wide.push_back(kReplacement);
        return std::size_t{1};
    };
    if (!Run(cd, source, size, sink, skip)) return lastError.Fail(ERROR_INVALID_PARAMETER);

    if (wide.size() > static_cast<std::size_t>(INT_MAX)) {
        return lastError.Fail(ERROR_INVALID_PARAMETER);
    }
    int const needed = static_cast<int>(wide.size());
    if (destCharacters == 0) return needed;
    if (needed > destCharacters) return lastError.Fail(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(dest, wide.data(), wide.size() * sizeof(OLECHAR));
    return needed;
}

int WideCharToMultiByte(std::uint32_t codePage, std::uint32_t, OLECHAR const* source,
                        int sourceCharacters, char* dest, int destBytes, char const* defaultChar,
                        int* usedDefaultChar) {
    LastErrorGuard lastError;
    if (!ValidSource(source, sourceCharacters) || !ValidDest(dest, destBytes)) {
        return lastError.Fail(ERROR_INVALID_PARAMETER);
    }
    std::optional<std::string> const charset = CharsetOf(codePage);
    if (!charset) return lastError.Fail(ERROR_INVALID_PARAMETER);
    Iconv cd(charset->c_str(), kWideCharset);
    if (!cd.IsOpen()) return lastError.Fail(ERROR_INVALID_PARAMETER);

    std::size_t const count = sourceCharacters == -1 ? std::char_traits<OLECHAR>::length(source) + 1
                                                     : static_cast<std::size_t>(sourceCharacters);
    std::string input;
    input.reserve(count * 2);
    for (std::size_t i = 0; i < count; ++i) {
        input.push_back(static_cast<char>(source[i] & 0xFF));
        input.push_back(static_cast<char>(source[i] >> 8));
    }

    char const replacement = defaultChar != nullptr ? *defaultChar : kDefaultChar;
    bool replaced = false;
    std::string narrow;
    auto sink = [&narrow](char const* bytes, std::size_t n) { narrow.append(bytes, n); };
    // A pair of surrogates is one character and one replacement; a lone
    // surrogate, or an odd byte at the end, is one of its own.
    auto skip = [&](char const* at, std::size_t left) {
        narrow.push_back(replacement);
        replaced = true;
        if (left < 2) return left;
        auto const unit = [at](std::size_t i) {
            return static_cast<unsigned>(static_cast<unsigned char>(at[i]) |
                                         static_cast<unsigned char>(at[i + 1]) << 8);
        };
        bool const pair = left >= 4 && unit(0) >= 0xD800 && unit(0) < 0xDC00 && unit(2) >= 0xDC00 &&
                          unit(2) < 0xE000;
        return std::size_t{pair ? 4u : 2u};
    };
    if (!Run(cd, input.data(), input.size(), sink, skip)) {
        return lastError.Fail(ERROR_INVALID_PARAMETER);
    }
    if (usedDefaultChar != nullptr) *usedDefaultChar = replaced ? 1 : 0;

    if (narrow.size() > static_cast<std::size_t>(INT_MAX)) {
        return lastError.Fail(ERROR_INVALID_PARAMETER);
    }
    int const needed = static_cast<int>(narrow.size());
    if (destBytes == 0) return needed;
    if (needed > destBytes) return lastError.Fail(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(dest, narrow.data(), narrow.size());
    return needed;
}

} // namespace platform

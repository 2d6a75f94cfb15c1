#include <platform/comalloc.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace platform {
namespace {

constexpr std::size_t kPrefixSize = 4;
// The byte count must fit its 32-bit prefix.
constexpr std::uint32_t kMaxCharacters = (0xFFFFFFFFu - kPrefixSize) / sizeof(OLECHAR) - 1;

unsigned char* BlockOf(BSTR text) {
    return reinterpret_cast<unsigned char*>(text) - kPrefixSize;
}

} // namespace

void* CoTaskMemAlloc(std::size_t size) {
    return std::malloc(size != 0 ? size : 1);
}

void CoTaskMemFree(void* block) {
    std::free(block);
}

BSTR SysAllocString(OLECHAR const* text) {
    if (text == nullptr) return nullptr;
    std::size_t const length = std::char_traits<OLECHAR>::length(text);
    if (length > kMaxCharacters) return nullptr;
    return SysAllocStringLen(text, static_cast<std::uint32_t>(length));
}

BSTR SysAllocStringLen(OLECHAR const* text, std::uint32_t count) {
    if (count > kMaxCharacters) return nullptr;
    std::uint32_t const bytes = count * sizeof(OLECHAR);
    auto* block = static_cast<unsigned char*>(
        CoTaskMemAlloc(kPrefixSize + std::size_t{bytes} + sizeof(OLECHAR)));
    if (block == nullptr) return nullptr;
    for (std::size_t i = 0; i < kPrefixSize; ++i) {
        block[i] = static_cast<unsigned char>(bytes >> (8 * i));
    }
    unsigned char* characters = block + kPrefixSize;
    if (text != nullptr) {
        std::memcpy(characters, text, bytes);
    } else {
        std::memset(characters, 0, bytes);
    }
    std::memset(characters + bytes, 0, sizeof(OLECHAR));
    return reinterpret_cast<BSTR>(characters);
}

std::uint32_t SysStringByteLen(BSTR text) {
    if (text == nullptr) return 0;
    unsigned char const* block = BlockOf(text);
    std::uint32_t bytes = 0;
    for (std::size_t i = 0; i < kPrefixSize; ++i)
        bytes |= std::uint32_t{block[i]} << (8 * i);
    return bytes;
}

std::uint32_t SysStringLen(BSTR text) {
    return SysStringByteLen(text) / static_cast<std::uint32_t>(sizeof(OLECHAR));
}

void SysFreeString(BSTR text) {
    if (text != nullptr) CoTaskMemFree(BlockOf(text));
}

} // namespace platform

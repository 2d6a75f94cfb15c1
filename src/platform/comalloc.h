// The task allocator and length-prefixed BSTR text. A BSTR points at its
// first character; the four bytes before it hold the text's byte count,
// little-endian, and a 0 character follows the text. Text may hold embedded
// 0 characters, so only the prefix says where it ends.
#pragma once

#include <platform/oletypes.h>
#include <platform/export.h>

#include <cstddef>
#include <cstdint>

namespace platform {

// Null when the block cannot be had. Freeing null does nothing.
SORVANE_API void* CoTaskMemAlloc(std::size_t size);
SORVANE_API void CoTaskMemFree(void* block);

// A copy of a 0-terminated text; null for a null text.
SORVANE_API BSTR SysAllocString(OLECHAR const* text);
// count characters of text, or count 0 characters when text is null.
SORVANE_API BSTR SysAllocStringLen(OLECHAR const* text, std::uint32_t count);
// Characters, from the prefix; 0 for null.
SORVANE_API std::uint32_t SysStringLen(BSTR text);
SORVANE_API std::uint32_t SysStringByteLen(BSTR text);
SORVANE_API void SysFreeString(BSTR text);

} // namespace platform

/// \file
/// The task allocator and length-prefixed BSTR text. A BSTR points at its
/// first character; the four bytes before it hold the text's byte count,
/// little-endian, and a 0 character follows the text. Text may hold embedded
/// 0 characters, so only the prefix says where it ends.
#pragma once

#include <platform/oletypes.h>
#include <platform/export.h>

#include <cstddef>
#include <cstdint>

namespace platform {

/// Allocates a block from the task allocator; the caller owns it and frees
/// it with CoTaskMemFree().
/// \param size bytes wanted.
/// \return the block, or null when it cannot be had.
SORVANE_API void* CoTaskMemAlloc(std::size_t size);
/// Frees a block of the task allocator. Freeing null does nothing.
/// \param block a block from CoTaskMemAlloc(), or null.
SORVANE_API void CoTaskMemFree(void* block);

/// A BSTR copy of a 0-terminated text; the caller owns it and frees it with
/// SysFreeString().
/// \param text the text, or null.
/// \return the copy; null for a null text or when memory cannot be had.
SORVANE_API BSTR SysAllocString(OLECHAR const* text);
/// A BSTR of count characters; the caller owns it and frees it with
/// SysFreeString().
/// \param text count characters to copy, or null for count 0 characters.
/// \param count the length in characters.
/// \return the new text, or null when memory cannot be had.
SORVANE_API BSTR SysAllocStringLen(OLECHAR const* text, std::uint32_t count);
/// \param text a BSTR, or null.
/// \return its length in characters, from the prefix; 0 for null.
SORVANE_API std::uint32_t SysStringLen(BSTR text);
/// \param text a BSTR, or null.
/// \return its length in bytes, from the prefix; 0 for null.
SORVANE_API std::uint32_t SysStringByteLen(BSTR text);
/// Frees a BSTR; null does nothing.
/// \param text a BSTR of SysAllocString() or SysAllocStringLen(), or null.
SORVANE_API void SysFreeString(BSTR text);

} // namespace platform

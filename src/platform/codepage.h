/// \file
/// Conversion between narrow text and UTF-16. The ANSI code page is the
/// character set of the current LC_CTYPE locale, so a process that never
/// calls setlocale converts as ASCII.
///
/// The calls keep the system's contract: a source length of -1 means the text
/// is 0-terminated and the terminator is converted and counted; a destination
/// size of 0 asks for the size needed; a destination too small fails with
/// ERROR_INSUFFICIENT_BUFFER and nothing written. Narrow bytes that are
/// invalid in the character set become U+FFFD, one for each byte; characters
/// that the set cannot represent become the default character, '?'.
/// Failures answer 0 and leave their reason for GetLastError().
#pragma once

#include <platform/oletypes.h>
#include <platform/syserror.h>
#include <platform/export.h>

#include <cstdint>
#include <string>

namespace platform {

/// Code pages: CP_ACP, the ANSI code page (the current locale's character
/// set), and CP_UTF8.
enum : std::uint32_t { CP_ACP = 0, CP_UTF8 = 65001 };

/// \return the name of the character set that CP_ACP stands for at this moment.
SORVANE_API std::string AnsiCharset();

/// Converts narrow text to UTF-16. Invalid narrow bytes become U+FFFD, one
/// for each byte.
/// \param codePage CP_ACP or CP_UTF8.
/// \param flags accepted and not used.
/// \param source the narrow text.
/// \param sourceBytes its length in bytes, or -1 for 0-terminated text, whose
///        terminator is converted and counted.
/// \param dest the caller's buffer.
/// \param destCharacters its size in characters; 0 asks for the size needed.
/// \return the characters written (or needed); 0 on failure, with the reason
///         in GetLastError(): ERROR_INSUFFICIENT_BUFFER when dest is too small
///         (nothing is written), ERROR_INVALID_PARAMETER.
SORVANE_API int MultiByteToWideChar(std::uint32_t codePage, std::uint32_t flags, char const* source,
                                    int sourceBytes, OLECHAR* dest, int destCharacters);

/// Converts UTF-16 text to narrow text. Characters the character set cannot
/// represent become the default character.
/// \param codePage CP_ACP or CP_UTF8.
/// \param flags accepted and not used.
/// \param source the wide text.
/// \param sourceCharacters its length in characters, or -1 for 0-terminated
///        text, whose terminator is converted and counted.
/// \param dest the caller's buffer.
/// \param destBytes its size in bytes; 0 asks for the size needed.
/// \param defaultChar when not null, its first byte replaces the built-in '?'.
/// \param usedDefaultChar when not null, set to whether any replacement was made.
/// \return the bytes written (or needed); 0 on failure, with the reason in
///         GetLastError(): ERROR_INSUFFICIENT_BUFFER when dest is too small
///         (nothing is written), ERROR_INVALID_PARAMETER.
SORVANE_API int WideCharToMultiByte(std::uint32_t codePage, std::uint32_t flags,
                                    OLECHAR const* source, int sourceCharacters, char* dest,
                                    int destBytes, char const* defaultChar, int* usedDefaultChar);

} // namespace platform

// Conversion between narrow text and UTF-16. The ANSI code page is the
// character set of the current LC_CTYPE locale, so a process that never
// calls setlocale converts as ASCII.
//
// The calls keep the system's contract: a source length of -1 means the text
// is 0-terminated and the terminator is converted and counted; a destination
// size of 0 asks for the size needed; a destination too small fails with
// ERROR_INSUFFICIENT_BUFFER and nothing written. Narrow bytes that are
// invalid in the character set become U+FFFD, one for each byte; characters
// that the set cannot represent become the default character, '?'.
// Failures answer 0 and leave their reason for GetLastError().
#pragma once

#include <platform/oletypes.h>
#include <platform/syserror.h>
#include <platform/export.h>

#include <cstdint>
#include <string>

namespace platform {

enum : std::uint32_t { CP_ACP = 0, CP_UTF8 = 65001 };

// The character set that CP_ACP stands for at this moment.
SORVANE_API std::string AnsiCharset();

// Flags are accepted and not used.
SORVANE_API int MultiByteToWideChar(std::uint32_t codePage, std::uint32_t flags, char const* source,
                                    int sourceBytes, OLECHAR* dest, int destCharacters);

// defaultChar replaces the built-in '?' when not null (its first byte);
// usedDefaultChar, when not null, tells whether any replacement was made.
SORVANE_API int WideCharToMultiByte(std::uint32_t codePage, std::uint32_t flags,
                                    OLECHAR const* source, int sourceCharacters, char* dest,
                                    int destBytes, char const* defaultChar, int* usedDefaultChar);

} // namespace platform

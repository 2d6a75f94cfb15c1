/// \file
/// Private profiles: settings kept as INI text files, read and written with
/// the calls and rules that clients of such files rely on.
///
/// The file is read afresh on every call; nothing is cached.
///
/// Reading:
/// - A line is a section header when, after leading blanks, it begins with
///   '[' and holds a ']': the name is what lies between the '[' and the last
///   ']', untrimmed. Text after the ']' is ignored.
/// - A line whose first non-blank is ';' is a comment. '#' has no meaning of
///   its own: "# x = 1" is the key "# x".
/// - Any other non-blank line is an entry: the key is the text before the
///   first '=' and the value the text after it, each trimmed of white space
///   (so a CR of a CRLF ending goes too). A line with no '=' is a key with no
///   value: it is listed among the keys, and a read of it answers the default.
/// - Section and key names compare without regard to (ASCII) case. A name
///   that occurs twice counts once: the first section of a name is the one
///   read and written, and in it the first key of a name.
/// - A value that both begins and ends with the same quote, ' or ", of at
///   least two characters, is read without those quotes.
/// - A UTF-8 byte-order mark at the start of the file is skipped and kept.
/// - Lines before the first header belong to no section.
/// - A file that is missing, or cannot be read, reads as an empty one.
///
/// Writing replaces the file as a whole: the new text goes to a temporary
/// file beside it, which is then renamed over it, so that a crash leaves the
/// old file or the new, never half of one. The folder holding the file is
/// locked (flock) around the read-change-write, so writers in several
/// processes or threads lose none of each other's changes. Everything that
/// a write does not touch (comments, blank lines, order, line endings) is
/// kept byte for byte. Lines that are added end as the file's first line
/// ends, or with CRLF in a file that has no line ending yet.
///
/// A file name without a folder is taken relative to the working directory.
#pragma once

#include <platform/export.h>

#include <cstdint>

namespace platform {

/// Copies the value of the key into dest, or the default (with its trailing
/// spaces removed; null reads as "") when the key or its value is absent;
/// a value that does not fit is cut to size - 1 characters.
///
/// With a null key, the names of the section's keys instead, and with a
/// null section the names of all sections (duplicates included): each name
/// ends with a NUL and the list with one more. When the list does not fit,
/// its last name is cut and followed by two NULs, and the answer is
/// size - 2. An empty key list copies the default, as a value would.
/// \param section the section's name, or null for the list of sections.
/// \param key the key's name, or null for the list of the section's keys.
/// \param defaultText the default, or null for "".
/// \param dest the caller's buffer.
/// \param size its size; 0 copies nothing and answers 0.
/// \param fileName the INI file; without a folder, in the working directory.
/// \return the characters copied, not counting the terminator.
SORVANE_API std::uint32_t GetPrivateProfileStringA(char const* section, char const* key,
                                                   char const* defaultText, char* dest,
                                                   std::uint32_t size, char const* fileName);

/// The value as a decimal number: an optional sign, then digits up to the
/// first character that is not one ("12ab" is 12, "ab" is 0, wrapping at
/// 32 bits).
/// \param section the section's name.
/// \param key the key's name.
/// \param defaultValue answered for an absent key or an empty value.
/// \param fileName the INI file.
/// \return the number; negative values come back as their 32-bit pattern.
SORVANE_API std::uint32_t GetPrivateProfileIntA(char const* section, char const* key,
                                                std::int32_t defaultValue, char const* fileName);

/// The names of all sections, as GetPrivateProfileStringA() gives them for a
/// null section.
/// \param dest the caller's buffer.
/// \param size its size.
/// \param fileName the INI file.
/// \return the characters copied, as GetPrivateProfileStringA().
SORVANE_API std::uint32_t GetPrivateProfileSectionNamesA(char* dest, std::uint32_t size,
                                                         char const* fileName);

/// The section's entries as "key=value" (values as they stand in the file,
/// trimmed, quotes kept), each ending with a NUL, and the list with one
/// more; comments and blank lines are left out. Cut as the lists above.
/// \param section the section's name.
/// \param dest the caller's buffer.
/// \param size its size.
/// \param fileName the INI file.
/// \return the characters copied, as GetPrivateProfileStringA().
SORVANE_API std::uint32_t GetPrivateProfileSectionA(char const* section, char* dest,
                                                    std::uint32_t size, char const* fileName);

/// Sets the key to the value as "key=value", making the file, the section
/// (at the end of the file) or the key (after the section's last entry) when
/// missing; an existing key keeps its spelling.
/// \param section the section's name.
/// \param key the key's name; null deletes the whole section.
/// \param value the value; null deletes the key.
/// \param fileName the INI file.
/// \return 1 on success, 0 when the file could not be written or the
///         section is null.
SORVANE_API std::int32_t WritePrivateProfileStringA(char const* section, char const* key,
                                                    char const* value, char const* fileName);

} // namespace platform

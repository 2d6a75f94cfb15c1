/// \file
/// Whole files read into buffers and written back, optionally compressed.
/// The compressed form is the uncompressed length as 4 bytes, unsigned and
/// little-endian, then a zlib stream of the text.
#pragma once

#include <platform/export.h>

#include <cstdint>

/// \brief Whole files read into buffers and written back, optionally
/// compressed: the uncompressed length as 4 bytes, unsigned and
/// little-endian, then a zlib stream of the text.
class SORVANE_API FileObject {
public:
    /// \return non-zero when uncompressed files are read and written in text mode.
    static char _get_bTextMode() { return bTextMode; }
    /// Sets text mode, which applies to uncompressed files only.
    /// \param b non-zero for text mode.
    static void _set_bTextMode(char b) { bTextMode = b; }

    /// Reads a whole file.
    /// \param name the file.
    /// \param bCompressed non-zero for the compressed form.
    /// \param pnLength receives the length; 0 on failure.
    /// \return the content, ended by a zero byte, which the caller frees with
    ///         DeleteBuffer(); null when the file can't be read or is empty, or a
    ///         compressed one doesn't expand.
    static char* CreateBuffer(char const* name, short bCompressed, std::int32_t* pnLength);
    /// Frees a buffer of CreateBuffer().
    /// \param pc the buffer, or null.
    static void DeleteBuffer(char* pc);
    /// Writes a 0-terminated text as a whole file.
    /// \param name the file.
    /// \param text the text.
    /// \param bCompress non-zero for the compressed form.
    /// \return 1, or 0 when the file can't be made or the text can't be compressed.
    static short WriteBuffer(char const* name, char* text, short bCompress);
    /// \param name a file.
    /// \return 1 when it can be opened for reading.
    static short Exists(char const* name);

private:
    static char bTextMode;
};

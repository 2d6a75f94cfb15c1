// Whole files read into buffers and written back, optionally compressed.
// The compressed form is the uncompressed length as 4 bytes, unsigned and
// little-endian, then a zlib stream of the text.
#pragma once

#include <platform/export.h>

#include <cstdint>

class SORVANE_API FileObject {
public:
    // Text mode applies to uncompressed files only.
    static char _get_bTextMode() { return bTextMode; }
    static void _set_bTextMode(char b) { bTextMode = b; }

    // The whole file, ended by a zero byte, with its length in *pnLength; the
    // caller frees it with DeleteBuffer. Null, with the length 0, when the
    // file can't be read or is empty, or a compressed one doesn't expand.
    static char* CreateBuffer(char const* name, short bCompressed, std::int32_t* pnLength);
    static void DeleteBuffer(char* pc);
    // Writes a zero-terminated text; 1, or 0 when the file can't be made or
    // the text can't be compressed.
    static short WriteBuffer(char const* name, char* text, short bCompress);
    // 1 when the file can be opened for reading.
    static short Exists(char const* name);

private:
    static char bTextMode;
};

#include <baseobj/fileobject.h>

#include <baseobj/zlibwrap.h>
#include <util/exceptions.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

char FileObject::bTextMode = 0;

namespace {

constexpr std::uint32_t kLengthBytes = 4;
// The most a zlib stream expands: no more than 1032 bytes out of each byte in.
constexpr std::uint64_t kMostExpansion = 1032;

struct FileCloser {
    void operator()(std::FILE* pf) const { std::fclose(pf); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

char const* Mode(short bCompressed, char const* binary, char const* text) {
    return FileObject::_get_bTextMode() != 0 && bCompressed == 0 ? text : binary;
}

std::int64_t FileSize(std::FILE* pf) {
    if (std::fseek(pf, 0, SEEK_END) != 0) return -1;
    long const n = std::ftell(pf);
    std::rewind(pf);
    return n;
}

std::uint32_t ReadLength(unsigned char const* p) {
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

void ReportWithName(char const* text, char const* name) {
    Exceptions::_get_gexeptnsThe().Message(text);
    Exceptions::_get_gexeptnsThe().Message(name);
}

// The expanded text of a raw block read from a compressed file. The source
// length handed over is the whole read count, 4 bytes more than follow the
// header; the raw block carries zeroed bytes behind the data for them.
char* Expand(char const* name, char* pcRaw, std::uint32_t nRead, std::int32_t* pnLength) {
    auto* const pbRaw = reinterpret_cast<unsigned char*>(pcRaw);
    std::uint64_t nRoom = static_cast<std::uint64_t>(ReadLength(pbRaw) * 1.2);
    // A damaged header can't ask for more than the data could expand to.
    nRoom = std::min<std::uint64_t>(nRoom, nRead * kMostExpansion + 64);
    auto* const pcUncompressed = static_cast<char*>(std::calloc(nRoom + 1, 1));
    SV_FAIL_IF_NIL(pcUncompressed, "pcUncompressed");
    auto nDestLen = static_cast<std::uint32_t>(nRoom);
    ZLibWrap wrap;
    int const ok = wrap.UnCompress(reinterpret_cast<unsigned char*>(pcUncompressed), &nDestLen,
                                   pbRaw + kLengthBytes, nRead);
    std::free(pcRaw);
    if (ok == 0) {
        std::free(pcUncompressed);
        char szMessage[1100];
        std::snprintf(szMessage, sizeof szMessage, "ERROR Decompressing file: %s", name);
        Exceptions::_get_gexeptnsThe().Message(szMessage);
        return nullptr;
    }
    *pnLength = static_cast<std::int32_t>(nDestLen);
    return pcUncompressed;
}

} // namespace

char* FileObject::CreateBuffer(char const* name, short bCompressed, std::int32_t* pnLength) {
    *pnLength = 0;
    if (name == nullptr) return nullptr;
    File file(std::fopen(name, Mode(bCompressed, "rb", "r")));
    if (!file) return nullptr;
    std::int64_t const nSize = FileSize(file.get());
    if (nSize <= 0 || nSize > INT32_MAX - 16) return nullptr;
    // Room for the zero byte, and for a compressed file's source length.
    auto* const pcRaw = static_cast<char*>(std::calloc(static_cast<std::size_t>(nSize) + 8, 1));
    if (pcRaw == nullptr) return nullptr;
    auto const nRead = static_cast<std::uint32_t>(
        std::fread(pcRaw, 1, static_cast<std::size_t>(nSize), file.get()));
    file.reset();
    if (bCompressed != 0) return Expand(name, pcRaw, nRead, pnLength);
    *pnLength = static_cast<std::int32_t>(nRead);
    return pcRaw;
}

void FileObject::DeleteBuffer(char* pc) {
    std::free(pc);
}

short FileObject::WriteBuffer(char const* name, char* text, short bCompress) {
    auto const nLength = static_cast<std::uint32_t>(std::strlen(text));
    std::unique_ptr<unsigned char, decltype(&std::free)> pcBufferToWrite(nullptr, &std::free);
    std::uint32_t nCompressed = 0;
    if (bCompress != 0) {
        nCompressed = static_cast<std::uint32_t>(nLength * 1.1 + 30);
        pcBufferToWrite.reset(static_cast<unsigned char*>(std::malloc(nCompressed)));
        SV_FAIL_IF_NIL(pcBufferToWrite.get(), "pcBufferToWrite");
        ZLibWrap wrap;
        if (wrap.Compress(pcBufferToWrite.get(), &nCompressed,
                          reinterpret_cast<unsigned char*>(text), nLength) == 0) {
            ReportWithName("Error compressing data in FileObject::WriteBuffer", name);
            return 0;
        }
    }
    File file(std::fopen(name, Mode(bCompress, "wb", "w")));
    if (!file) {
        ReportWithName("Failed opening output file in lex.cpp:2169", name);
        return 0;
    }
    if (bCompress != 0) {
        unsigned char const acLength[kLengthBytes] = {
            static_cast<unsigned char>(nLength), static_cast<unsigned char>(nLength >> 8),
            static_cast<unsigned char>(nLength >> 16), static_cast<unsigned char>(nLength >> 24)};
        std::fwrite(acLength, 1, kLengthBytes, file.get());
        std::fwrite(pcBufferToWrite.get(), 1, nCompressed, file.get());
    } else {
        std::fwrite(text, 1, nLength, file.get());
    }
    return 1;
}

short FileObject::Exists(char const* name) {
    if (name == nullptr) return 0;
    File file(std::fopen(name, "r"));
    return file ? 1 : 0;
}

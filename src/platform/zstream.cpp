#include <platform/zstream.h>

#include <zlib.h>

namespace platform {

static_assert(kZOk == Z_OK && kZStreamEnd == Z_STREAM_END && kZErrno == Z_ERRNO &&
              kZStreamError == Z_STREAM_ERROR && kZDataError == Z_DATA_ERROR &&
              kZMemError == Z_MEM_ERROR && kZBufError == Z_BUF_ERROR && kZNoFlush == Z_NO_FLUSH &&
              kZFinish == Z_FINISH && kZDefaultCompression == Z_DEFAULT_COMPRESSION);

struct ZStream::Impl {
    z_stream zs{}; // zalloc, zfree and opaque null: the library's own allocation
};

ZStream::ZStream(Direction directionIn, int nLevel)
    : pimpl(std::make_unique<Impl>()), direction(directionIn) {
    nInit =
        direction == Direction::Deflate ? deflateInit(&pimpl->zs, nLevel) : inflateInit(&pimpl->zs);
}

ZStream::~ZStream() {
    if (direction == Direction::Deflate)
        deflateEnd(&pimpl->zs);
    else
        inflateEnd(&pimpl->zs);
}

int ZStream::Step(int nFlush) {
    return direction == Direction::Deflate ? deflate(&pimpl->zs, nFlush)
                                           : inflate(&pimpl->zs, nFlush);
}

void ZStream::SetInput(unsigned char const* p, std::uint32_t n) {
    pimpl->zs.next_in = const_cast<Bytef*>(p); // the library only reads through it
    pimpl->zs.avail_in = n;
}

void ZStream::SetOutput(unsigned char* p, std::uint32_t n) {
    pimpl->zs.next_out = p;
    pimpl->zs.avail_out = n;
}

std::uint32_t ZStream::AvailIn() const {
    return pimpl->zs.avail_in;
}

std::uint32_t ZStream::AvailOut() const {
    return pimpl->zs.avail_out;
}

std::uint32_t ZStream::TotalIn() const {
    return static_cast<std::uint32_t>(pimpl->zs.total_in);
}

std::uint32_t ZStream::TotalOut() const {
    return static_cast<std::uint32_t>(pimpl->zs.total_out);
}

int ZCompress(unsigned char* pDest, std::uint32_t* pnDestLen, unsigned char const* pSrc,
              std::uint32_t nSrcLen) {
    uLongf nDest = *pnDestLen;
    int const result = compress(pDest, &nDest, pSrc, nSrcLen);
    *pnDestLen = static_cast<std::uint32_t>(nDest);
    return result;
}

int ZUncompress(unsigned char* pDest, std::uint32_t* pnDestLen, unsigned char const* pSrc,
                std::uint32_t nSrcLen) {
    uLongf nDest = *pnDestLen;
    int const result = uncompress(pDest, &nDest, pSrc, nSrcLen);
    *pnDestLen = static_cast<std::uint32_t>(nDest);
    return result;
}

} // namespace platform

// The deflate and inflate streams and the one-shot buffer calls of the
// system's compression library, behind plain types. A stream is made ready
// by its constructor and released by its destructor; the caller moves the
// input and output windows between steps, as with the library's own stream.
#pragma once

#include <platform/export.h>

#include <cstdint>
#include <memory>

namespace platform {

// The library's result words and flush modes, with their values.
inline constexpr int kZOk = 0;
inline constexpr int kZStreamEnd = 1;
inline constexpr int kZErrno = -1;
inline constexpr int kZStreamError = -2;
inline constexpr int kZDataError = -3;
inline constexpr int kZMemError = -4;
inline constexpr int kZBufError = -5;
inline constexpr int kZNoFlush = 0;
inline constexpr int kZFinish = 4;
inline constexpr int kZDefaultCompression = -1;

class SORVANE_API ZStream {
public:
    enum class Direction { Deflate, Inflate };

    // nLevel is read for Deflate only. A failed start is kept in InitResult;
    // the steps of such a stream answer kZStreamError.
    ZStream(Direction direction, int nLevel);
    ~ZStream();
    ZStream(ZStream const&) = delete;
    ZStream& operator=(ZStream const&) = delete;

    int InitResult() const { return nInit; }
    // One deflate or inflate step with the given flush mode.
    int Step(int nFlush);

    void SetInput(unsigned char const* p, std::uint32_t n);
    void SetOutput(unsigned char* p, std::uint32_t n);
    std::uint32_t AvailIn() const;
    std::uint32_t AvailOut() const;
    // Counted as a 32-bit program counts them: modulo 2^32.
    std::uint32_t TotalIn() const;
    std::uint32_t TotalOut() const;

private:
    struct Impl;
    std::unique_ptr<Impl> pimpl;
    Direction direction;
    int nInit;
};

// The library's compress and uncompress: *pnDestLen holds the room at
// pDest on entry and the bytes written on return.
SORVANE_API int ZCompress(unsigned char* pDest, std::uint32_t* pnDestLen, unsigned char const* pSrc,
                          std::uint32_t nSrcLen);
SORVANE_API int ZUncompress(unsigned char* pDest, std::uint32_t* pnDestLen,
                            unsigned char const* pSrc, std::uint32_t nSrcLen);

} // namespace platform

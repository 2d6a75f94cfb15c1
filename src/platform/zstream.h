/// \file
/// The deflate and inflate streams and the one-shot buffer calls of the
/// system's compression library, behind plain types. A stream is made ready
/// by its constructor and released by its destructor; the caller moves the
/// input and output windows between steps, as with the library's own stream.
#pragma once

#include <platform/export.h>

#include <cstdint>
#include <memory>

namespace platform {

// The library's result words and flush modes, with their values.
/// Success.
inline constexpr int kZOk = 0;
/// The stream is complete.
inline constexpr int kZStreamEnd = 1;
/// A file error.
inline constexpr int kZErrno = -1;
/// The stream's state or a parameter is not valid.
inline constexpr int kZStreamError = -2;
/// The input is not a valid stream.
inline constexpr int kZDataError = -3;
/// Memory could not be had.
inline constexpr int kZMemError = -4;
/// No progress was possible, or the output is too small.
inline constexpr int kZBufError = -5;
/// Flush mode: more input follows.
inline constexpr int kZNoFlush = 0;
/// Flush mode: the input is complete.
inline constexpr int kZFinish = 4;
/// The library's default level.
inline constexpr int kZDefaultCompression = -1;

/// \brief A deflate or inflate stream of the system's compression library.
///
/// Made ready by its constructor and released by its destructor; the caller
/// moves the input and output windows between steps.
class SORVANE_API ZStream {
public:
    /// Which way the stream works: Deflate compresses, Inflate expands.
    enum class Direction { Deflate, Inflate };

    /// Starts a stream. A failed start is kept in InitResult(); the steps of
    /// such a stream answer kZStreamError.
    /// \param direction Deflate or Inflate.
    /// \param nLevel the compression level, read for Deflate only.
    ZStream(Direction direction, int nLevel);
    ~ZStream();
    ZStream(ZStream const&) = delete;
    ZStream& operator=(ZStream const&) = delete;

    /// \return the result of the start, kZOk or a failure word.
    int InitResult() const { return nInit; }
    /// One deflate or inflate step.
    /// \param nFlush kZNoFlush or kZFinish.
    /// \return kZOk, kZStreamEnd, or a failure word.
    int Step(int nFlush);

    /// Sets the input window.
    /// \param p the input bytes, which must live until they are consumed.
    /// \param n their count.
    void SetInput(unsigned char const* p, std::uint32_t n);
    /// Sets the output window.
    /// \param p the room for output.
    /// \param n its size.
    void SetOutput(unsigned char* p, std::uint32_t n);
    /// \return the input bytes not yet consumed.
    std::uint32_t AvailIn() const;
    /// \return the output room not yet used.
    std::uint32_t AvailOut() const;
    /// \return the input consumed so far, modulo 2^32.
    std::uint32_t TotalIn() const;
    /// \return the output made so far, modulo 2^32.
    std::uint32_t TotalOut() const;

private:
    struct Impl;
    std::unique_ptr<Impl> pimpl;
    Direction direction;
    int nInit;
};

/// Compresses a buffer into a zlib stream in one call.
/// \param pDest the room for the output.
/// \param pnDestLen the room at pDest on entry, the bytes written on return.
/// \param pSrc the input.
/// \param nSrcLen its length.
/// \return kZOk, kZBufError when the room is too small, or kZMemError.
SORVANE_API int ZCompress(unsigned char* pDest, std::uint32_t* pnDestLen, unsigned char const* pSrc,
                          std::uint32_t nSrcLen);
/// Expands a zlib stream in one call.
/// \param pDest the room for the output.
/// \param pnDestLen the room at pDest on entry, the bytes written on return.
/// \param pSrc the stream.
/// \param nSrcLen its length.
/// \return kZOk, kZBufError when the room is too small, kZDataError for a
///         damaged stream, or kZMemError.
SORVANE_API int ZUncompress(unsigned char* pDest, std::uint32_t* pnDestLen,
                            unsigned char const* pSrc, std::uint32_t nSrcLen);

} // namespace platform

/// \file
/// Compression of whole files and of memory buffers. The stream in a file is a
/// plain zlib stream, with nothing of the wrapper's own around it.
#pragma once

#include <platform/export.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>

namespace platform {
class ZStream;
}

/// \brief Compresses or decompresses one file into another in 4,096-byte
/// steps, telling progress and the outcome through virtual operations that a
/// client overrides.
///
/// The stream in a file is a plain zlib stream. A client's abort, set
/// between steps, stops the run.
class SORVANE_API ZlibEngine {
public:
    /// The size of a step.
    static constexpr std::uint32_t kBufferSize = 4096;

    ZlibEngine();
    /// Copies the fields but not a run in progress: of no use during a run.
    /// \param other the engine copied.
    ZlibEngine(ZlibEngine const& other);
    /// Copies the fields but not a run in progress.
    /// \param other the engine copied.
    /// \return this engine.
    ZlibEngine& operator=(ZlibEngine const& other);
    virtual ~ZlibEngine();

    /// Compresses a file into another.
    /// \param pszIn the input file.
    /// \param pszOut the output file, made anew.
    /// \param nLevel the compression level.
    /// \return 0 on success, else the last zlib result, or -1 for a short write
    ///         or a file that could not be opened.
    int compress(char const* pszIn, char const* pszOut, int nLevel);
    /// Expands a file into another.
    /// \param pszIn the compressed file.
    /// \param pszOut the output file, made anew.
    /// \return 0 on success, else the last zlib result, or -1 for a short write
    ///         or a file that could not be opened.
    int decompress(char const* pszIn, char const* pszOut);
    /// Stops the run at the next step when set; read between steps, so a
    /// handler run by the pump, or progress, may stop the work.
    /// \param nFlag non-zero to stop.
    void set_abort_flag(int nFlag) { nAbortFlag = nFlag; }

    /// Sets what runs between steps to keep the client's interface alive; none
    /// by default.
    /// \param pfn the function.
    void _set_pfnPump(std::function<void()> pfn) { pfnPump = std::move(pfn); }

protected:
    /// Told the progress between steps.
    virtual void progress(int /*nPercent*/) {}
    /// Told the outcome's word at the end.
    virtual void status(char* /*pszMessage*/) {}

    /// \return whole per cents of the input read.
    int percent();
    /// Refills the input window when it is empty.
    /// \return the bytes now available.
    std::uint32_t load_input();
    /// Writes what the output window holds.
    /// \return the count it held.
    std::uint32_t flush_output();

private:
    enum class Direction { Compress, Decompress };
    int Run(Direction direction, char const* pszIn, char const* pszOut, int nLevel);
    short OpenFiles(char const* pszIn, char const* pszOut);
    void CloseFiles();
    void RunSteps();
    void Report(char const* pszWord);
    void Pump() const {
        if (pfnPump) pfnPump();
    }

    std::unique_ptr<platform::ZStream> pzs;
    std::function<void()> pfnPump;
    int nAbortFlag = 0;
    std::FILE* pfileIn = nullptr;
    std::FILE* pfileOut = nullptr;
    std::int32_t nLength = 0;
    int nError = 0;
    unsigned char acInput[kBufferSize] = {};
    unsigned char acOutput[kBufferSize] = {};
};

/// \brief One-shot compression of memory buffers into plain zlib streams.
class SORVANE_API ZLibWrap {
public:
    ZLibWrap() = default;
    ~ZLibWrap() = default;

    /// Compresses a buffer.
    /// \param pDest the room for the output.
    /// \param pnDestLen the room at pDest on entry, the bytes written after.
    /// \param pSrc the input.
    /// \param nSrcLen its length.
    /// \return 1 when zlib's compress answered Z_OK, otherwise 0.
    int Compress(unsigned char* pDest, std::uint32_t* pnDestLen, unsigned char* pSrc,
                 std::uint32_t nSrcLen);
    /// Expands a zlib stream.
    /// \param pDest the room for the output.
    /// \param pnDestLen the room at pDest on entry, the bytes written after.
    /// \param pSrc the stream.
    /// \param nSrcLen its length.
    /// \return 1 when zlib's uncompress answered Z_OK, otherwise 0.
    int UnCompress(unsigned char* pDest, std::uint32_t* pnDestLen, unsigned char* pSrc,
                   std::uint32_t nSrcLen);
};

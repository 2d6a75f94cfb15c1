// Compression of whole files and of memory buffers. The stream in a file is a
// plain zlib stream, with nothing of the wrapper's own around it.
#pragma once

#include <platform/export.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>

namespace platform {
class ZStream;
}

// Compresses or decompresses one file into another in 4,096-byte steps,
// telling progress and the outcome through virtual operations that a client
// overrides. A client's abort, set between steps, stops the run.
class SORVANE_API ZlibEngine {
public:
    static constexpr std::uint32_t kBufferSize = 4096;

    ZlibEngine();
    // Copies the fields but not a run in progress: of no use during a run.
    ZlibEngine(ZlibEngine const& other);
    ZlibEngine& operator=(ZlibEngine const& other);
    virtual ~ZlibEngine();

    // The error field: 0 on success, else the last zlib result, or -1
    // (Z_ERRNO) for a short write or a file that could not be opened.
    int compress(char const* pszIn, char const* pszOut, int nLevel);
    int decompress(char const* pszIn, char const* pszOut);
    // Read between steps: a handler run by the pump, or progress, may stop
    // the work.
    void set_abort_flag(int nFlag) { nAbortFlag = nFlag; }

    // Runs between steps to keep the client's interface alive; none by
    // default.
    void _set_pfnPump(std::function<void()> pfn) { pfnPump = std::move(pfn); }

protected:
    virtual void progress(int /*nPercent*/) {}
    virtual void status(char* /*pszMessage*/) {}

    // Whole per cents of the input read.
    int percent();
    // Refills the input window when it is empty; the bytes now available.
    std::uint32_t load_input();
    // Writes what the output window holds; the count it held.
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

// One-shot compression of memory buffers.
class SORVANE_API ZLibWrap {
public:
    ZLibWrap() = default;
    ~ZLibWrap() = default;

    // 1 when zlib's compress (uncompress) answered Z_OK, otherwise 0.
    // *pnDestLen holds the room at pDest on entry, the bytes written after.
    int Compress(unsigned char* pDest, std::uint32_t* pnDestLen, unsigned char* pSrc,
                 std::uint32_t nSrcLen);
    int UnCompress(unsigned char* pDest, std::uint32_t* pnDestLen, unsigned char* pSrc,
                   std::uint32_t nSrcLen);
};

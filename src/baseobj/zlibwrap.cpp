#include <baseobj/zlibwrap.h>

#include <platform/zstream.h>

#include <cstring>

namespace {

// The words handed to status.
constexpr char kSuccess[] = "Success";
constexpr char kZlibError[] = "Zlib Error";
constexpr char kUserAbort[] = "User Abort";

// Above this length progress divides first, so that the product can't
// overflow 32 bits.
constexpr std::uint32_t kDivideFirstLength = 10'000'000;

} // namespace

ZlibEngine::ZlibEngine() = default;

ZlibEngine::ZlibEngine(ZlibEngine const& other)
    : pfnPump(other.pfnPump), nAbortFlag(other.nAbortFlag), nLength(other.nLength),
      nError(other.nError) {
    std::memcpy(acInput, other.acInput, sizeof acInput);
    std::memcpy(acOutput, other.acOutput, sizeof acOutput);
}

ZlibEngine& ZlibEngine::operator=(ZlibEngine const& other) {
    if (this == &other) return *this;
    pfnPump = other.pfnPump;
    nAbortFlag = other.nAbortFlag;
    nLength = other.nLength;
    nError = other.nError;
    std::memcpy(acInput, other.acInput, sizeof acInput);
    std::memcpy(acOutput, other.acOutput, sizeof acOutput);
    return *this;
}

ZlibEngine::~ZlibEngine() {
    CloseFiles();
}

int ZlibEngine::compress(char const* pszIn, char const* pszOut, int nLevel) {
    return Run(Direction::Compress, pszIn, pszOut, nLevel);
}

int ZlibEngine::decompress(char const* pszIn, char const* pszOut) {
    return Run(Direction::Decompress, pszIn, pszOut, 0);
}

int ZlibEngine::Run(Direction direction, char const* pszIn, char const* pszOut, int nLevel) {
    nError = platform::kZOk;
    nAbortFlag = 0;
    // A file that can't be opened fails the run as a write would.
    if (OpenFiles(pszIn, pszOut) == 0) {
        nError = platform::kZErrno;
        CloseFiles();
        Report(kZlibError);
        return nError;
    }
    pzs = std::make_unique<platform::ZStream>(direction == Direction::Compress
                                                  ? platform::ZStream::Direction::Deflate
                                                  : platform::ZStream::Direction::Inflate,
                                              nLevel);
    pzs->SetInput(acInput, 0);
    pzs->SetOutput(acOutput, kBufferSize);
    RunSteps();
    progress(percent());
    pzs.reset();

    if (nAbortFlag != 0) {
        Report(kUserAbort);
    } else if (nError == platform::kZOk || nError == platform::kZStreamEnd) {
        Report(kSuccess);
        nError = platform::kZOk;
    } else {
        Report(kZlibError);
    }
    CloseFiles();
    return nError;
}

short ZlibEngine::OpenFiles(char const* pszIn, char const* pszOut) {
    if (pszIn == nullptr || pszOut == nullptr) return 0;
    pfileIn = std::fopen(pszIn, "rb");
    if (pfileIn == nullptr) return 0;
    pfileOut = std::fopen(pszOut, "wb");
    if (pfileOut == nullptr) return 0;
    // Each step's block goes straight to the file, so that a write that
    // fails is seen by the step that made it.
    std::setvbuf(pfileOut, nullptr, _IONBF, 0);
    nLength = 0;
    if (std::fseek(pfileIn, 0, SEEK_END) == 0) {
        nLength = static_cast<std::int32_t>(std::ftell(pfileIn));
        std::rewind(pfileIn);
    }
    return 1;
}

void ZlibEngine::CloseFiles() {
    if (pfileIn != nullptr) std::fclose(pfileIn);
    if (pfileOut != nullptr) std::fclose(pfileOut);
    pfileIn = nullptr;
    pfileOut = nullptr;
}

// The blocks of the input without flushing, then the finish until the stream
// is complete, a step fails or the client aborts.
void ZlibEngine::RunSteps() {
    while (nAbortFlag == 0 && load_input() != 0) {
        nError = pzs->Step(platform::kZNoFlush);
        flush_output();
        if (nError != platform::kZOk) break;
        progress(percent());
    }
    while (nAbortFlag == 0) {
        nError = pzs->Step(platform::kZFinish);
        if (flush_output() == 0 || nError != platform::kZOk) break;
    }
}

void ZlibEngine::Report(char const* pszWord) {
    char szWord[16];
    std::strncpy(szWord, pszWord, sizeof szWord - 1);
    szWord[sizeof szWord - 1] = '\0';
    status(szWord);
}

int ZlibEngine::percent() {
    if (nLength == 0) return 100;
    std::uint32_t const nTotal = pzs != nullptr ? pzs->TotalIn() : 0;
    auto const nLen = static_cast<std::uint32_t>(nLength);
    if (nLength > static_cast<std::int32_t>(kDivideFirstLength))
        return static_cast<int>(nTotal / (nLen / 100));
    return static_cast<int>(nTotal * 100U / nLen);
}

std::uint32_t ZlibEngine::load_input() {
    Pump();
    if (pzs->AvailIn() == 0) {
        auto const nRead = std::fread(acInput, 1, kBufferSize, pfileIn);
        pzs->SetInput(acInput, static_cast<std::uint32_t>(nRead));
    }
    return pzs->AvailIn();
}

std::uint32_t ZlibEngine::flush_output() {
    Pump();
    std::uint32_t const nHave = kBufferSize - pzs->AvailOut();
    if (nHave != 0) {
        if (std::fwrite(acOutput, 1, nHave, pfileOut) == nHave)
            pzs->SetOutput(acOutput, kBufferSize);
        else
            nError = platform::kZErrno;
    }
    return nHave;
}

int ZLibWrap::Compress(unsigned char* pDest, std::uint32_t* pnDestLen, unsigned char* pSrc,
                       std::uint32_t nSrcLen) {
    return platform::ZCompress(pDest, pnDestLen, pSrc, nSrcLen) == platform::kZOk ? 1 : 0;
}

int ZLibWrap::UnCompress(unsigned char* pDest, std::uint32_t* pnDestLen, unsigned char* pSrc,
                         std::uint32_t nSrcLen) {
    return platform::ZUncompress(pDest, pnDestLen, pSrc, nSrcLen) == platform::kZOk ? 1 : 0;
}

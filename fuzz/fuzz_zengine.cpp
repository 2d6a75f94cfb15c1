// Arbitrary bytes as a file for ZlibEngine::decompress: the run ends, with
// "Success" and 0 or "Zlib Error" and another result, progress in whole
// per cents that never fall; then the same bytes compressed and
// decompressed come back whole.
#include <baseobj/zlibwrap.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

void Check(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_zengine: %s\n", what);
    std::abort();
}

std::string TempPath(char const* name) {
    return "/tmp/fuzz_zengine." + std::to_string(getpid()) + "." + name;
}

class Engine : public ZlibEngine {
public:
    std::vector<int> percents;
    std::vector<std::string> words;

protected:
    void progress(int nPercent) override { percents.push_back(nPercent); }
    void status(char* pszMessage) override { words.emplace_back(pszMessage); }
};

void CheckRun(Engine const& engine, int nResult) {
    Check(engine.words.size() == 1, "not one status word");
    Check(nResult == 0 ? engine.words[0] == "Success" : engine.words[0] == "Zlib Error",
          "the word doesn't match the result");
    for (std::size_t i = 0; i < engine.percents.size(); ++i) {
        Check(engine.percents[i] >= 0, "negative progress");
        Check(i == 0 || engine.percents[i] >= engine.percents[i - 1], "progress fell");
    }
}

std::string ReadAll(std::string const& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
}

// The run's files go when the process ends.
struct Cleanup {
    ~Cleanup() {
        for (char const* name : {"in", "z", "out"})
            std::remove(TempPath(name).c_str());
    }
};
Cleanup const cleanup;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static std::string const in = TempPath("in");
    static std::string const z = TempPath("z");
    static std::string const out = TempPath("out");
    std::string const bytes(reinterpret_cast<char const*>(data), size);
    std::ofstream(in, std::ios::binary) << bytes;

    Engine engine;
    CheckRun(engine, engine.decompress(in.c_str(), out.c_str()));

    Engine round;
    CheckRun(round, round.compress(in.c_str(), z.c_str(), static_cast<int>(size % 11) - 1));
    round.words.clear();
    round.percents.clear();
    int const n = round.decompress(z.c_str(), out.c_str());
    CheckRun(round, n);
    Check(n == 0 && ReadAll(out) == bytes, "the round trip lost bytes");
    return 0;
}

// Arbitrary bytes as a compressed whole file: CreateBuffer gives null with
// the length 0, or a buffer of the length it tells, ended by a zero byte.
// What it gave must write back compressed and read back the same.
#include <baseobj/fileobject.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <unistd.h>

namespace {

void Check(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_zfile: %s\n", what);
    std::abort();
}

std::string TempPath(char const* name) {
    return "/tmp/fuzz_zfile." + std::to_string(getpid()) + "." + name;
}

// The run's files go when the process ends.
struct Cleanup {
    ~Cleanup() {
        for (char const* name : {"in", "back"})
            std::remove(TempPath(name).c_str());
    }
};
Cleanup const cleanup;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static std::string const in = TempPath("in");
    static std::string const back = TempPath("back");
    std::FILE* pf = std::fopen(in.c_str(), "wb");
    Check(pf != nullptr, "can't write the input");
    std::fwrite(data, 1, size, pf);
    std::fclose(pf);

    std::int32_t nLength = -1;
    char* const pc = FileObject::CreateBuffer(in.c_str(), 1, &nLength);
    if (pc == nullptr) {
        Check(nLength == 0, "null with a length");
        return 0;
    }
    Check(nLength >= 0 && pc[nLength] == '\0', "a buffer without its zero byte");
    std::string const text(pc, std::strlen(pc));
    FileObject::DeleteBuffer(pc);
    if (text.empty()) return 0; // nothing to write back: the empty file reads as null
    std::string copy = text;
    Check(FileObject::WriteBuffer(back.c_str(), copy.data(), 1) == 1, "can't write back");
    std::int32_t nBack = 0;
    char* const pcBack = FileObject::CreateBuffer(back.c_str(), 1, &nBack);
    Check(pcBack != nullptr && std::string(pcBack, static_cast<std::size_t>(nBack)) == text,
          "written back, it read differently");
    FileObject::DeleteBuffer(pcBack);
    return 0;
}

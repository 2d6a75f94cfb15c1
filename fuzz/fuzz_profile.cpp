// Arbitrary bytes as an INI file, through every read of the private-profile
// calls: the section list, each section's key list and entries, and each
// key's value and number, with buffers from none at all to roomy. Every
// answer must stay inside its buffer and end where the count says.
#include <platform/profile.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

constexpr std::size_t kMaxInput = 65536;
constexpr std::uint32_t kSizes[] = {0, 1, 2, 3, 7, 64, 4096};
constexpr std::size_t kMaxNames = 32;

void Check(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_profile: %s\n", what);
    std::abort();
}

std::string const& FilePath() {
    static std::string const path = "/tmp/fuzz_profile_" + std::to_string(::getpid()) + ".ini";
    return path;
}

// The names of a list answer.
std::vector<std::string> Names(std::vector<char> const& buffer, std::uint32_t count) {
    std::vector<std::string> names;
    for (std::uint32_t at = 0; at < count && names.size() < kMaxNames;) {
        std::string name(buffer.data() + at);
        at += static_cast<std::uint32_t>(name.size()) + 1;
        names.push_back(std::move(name));
    }
    return names;
}

// A read into a buffer of each size, with a guard byte past its end.
template <class Read> std::vector<char> ReadAllSizes(Read read, std::uint32_t* lastCount) {
    std::vector<char> buffer;
    for (std::uint32_t size : kSizes) {
        buffer.assign(size + 1, '\x5A');
        std::uint32_t const n = read(buffer.data(), size);
        Check(buffer[size] == '\x5A', "wrote past the buffer");
        if (size > 0) {
            Check(n < size, "count not below the size");
            Check(buffer[n] == '\0', "no terminator at the count");
        } else {
            Check(n == 0, "count for an empty buffer");
        }
        *lastCount = n;
    }
    return buffer;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size > kMaxInput) return 0;
    char const* const file = FilePath().c_str();
    FILE* out = std::fopen(file, "wb");
    if (out == nullptr) return 0;
    std::fwrite(data, 1, size, out);
    std::fclose(out);

    std::uint32_t n = 0;
    std::vector<char> const sections = ReadAllSizes(
        [&](char* dest, std::uint32_t room) {
            return platform::GetPrivateProfileStringA(nullptr, nullptr, "d", dest, room, file);
        },
        &n);
    ReadAllSizes(
        [&](char* dest, std::uint32_t room) {
            return platform::GetPrivateProfileSectionNamesA(dest, room, file);
        },
        &n);
    for (std::string const& section : Names(sections, n)) {
        std::uint32_t keyCount = 0;
        std::vector<char> const keys = ReadAllSizes(
            [&](char* dest, std::uint32_t room) {
                return platform::GetPrivateProfileStringA(section.c_str(), nullptr, "d", dest, room,
                                                          file);
            },
            &keyCount);
        std::uint32_t unused = 0;
        ReadAllSizes(
            [&](char* dest, std::uint32_t room) {
                return platform::GetPrivateProfileSectionA(section.c_str(), dest, room, file);
            },
            &unused);
        for (std::string const& key : Names(keys, keyCount)) {
            ReadAllSizes(
                [&](char* dest, std::uint32_t room) {
                    return platform::GetPrivateProfileStringA(section.c_str(), key.c_str(), nullptr,
                                                              dest, room, file);
                },
                &unused);
            platform::GetPrivateProfileIntA(section.c_str(), key.c_str(), -1, file);
        }
    }
    return 0;
}

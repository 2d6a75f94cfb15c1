// Arbitrary bytes through every stream reader of the buffer and string types.
// Each reader must refuse bad input only by throwing kDeadFocc, must stop at
// the end of its own form, and what it accepted must write out and read back
// to the same bytes.
#include <util/crc16.h>
#include <util/dynabuf.h>
#include <util/exceptions.h>
#include <util/pstring.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <type_traits>

namespace {

// Enough to reach forms that follow others without slowing each run.
constexpr int kMaxForms = 32;

void Check(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_streams: %s\n", what);
    std::abort();
}

template <class T> bool Read(std::istream& in, T& target) {
    try {
        in >> target;
        return true;
    } catch (std::uint32_t code) {
        Check(code == kDeadFocc, "a reader threw an integer other than kDeadFocc");
        return false;
    }
}

std::string Content(DynaBuffer* buffer) {
    return buffer == nullptr ? std::string()
                             : std::string(buffer->GetBuffer(), buffer->_get_nLength());
}

template <class T> std::string Write(T& value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

std::string LittleEndian(std::uint32_t value, int bytes) {
    std::string out;
    for (int i = 0; i < bytes; ++i)
        out += static_cast<char>((value >> (8 * i)) & 0xFF);
    return out;
}

// The form a reader accepted, as the writer must give it back. The current
// form comes back as it was read, its stored CRC included; the older one
// gains the marker, the version and a CRC over the bytes.
std::string Expected(std::string const& consumed, std::string const& content) {
    if (!consumed.empty() && static_cast<unsigned char>(consumed[0]) == 0xFF) return consumed;
    std::string expected = "\xFF" + std::string(1, '\0') + consumed;
    if (!content.empty()) {
        std::uint16_t crc = 0;
        crc16().lCalc(content.data(), &crc, static_cast<std::int32_t>(content.size()));
        expected += LittleEndian(crc, 2);
    }
    return expected;
}

// Reads back what was written: it must be accepted whole, hold the same
// content and write the same bytes again.
template <class T> void CheckReadBack(std::string const& written, std::string const& content) {
    std::istringstream in(written);
    T again;
    Check(Read(in, again), "a written form was refused");
    Check(in.tellg() == static_cast<std::streamoff>(written.size()),
          "a written form was not read to its end");
    if constexpr (std::is_same_v<T, CPString>) {
        Check(Content(again._get_pdybuf()) == content, "a string read back has other content");
    } else {
        Check(Content(&again) == content, "a buffer read back has other content");
    }
    Check(Write(again) == written, "writing, reading and writing again changed the bytes");
}

void BufferForms(std::string const& input) {
    std::istringstream in(input);
    for (int i = 0; i < kMaxForms; ++i) {
        std::streamoff const start = in.tellg();
        DynaBuffer buffer;
        if (!Read(in, buffer)) return;
        Check(buffer._get_bCRCValid() == 0, "a buffer read from a stream trusts its CRC");
        std::streamoff const end = in.tellg();
        std::string const content = Content(&buffer);
        std::string const written = Write(buffer);
        Check(written == Expected(input.substr(start, end - start), content),
              "a buffer did not write back the form it read");
        CheckReadBack<DynaBuffer>(written, content);
    }
}

// One string reused for every form, as a caller reading a file would.
void StringForms(std::string const& input) {
    std::istringstream in(input);
    CPString target;
    for (int i = 0; i < kMaxForms; ++i) {
        CPString const sharer(target);
        std::string const before = Content(sharer._get_pdybuf());
        std::streamoff const start = in.tellg();
        bool const accepted = Read(in, target);
        Check(Content(sharer._get_pdybuf()) == before,
              "reading into a string changed another that shared its buffer");
        if (!accepted) return;
        std::streamoff const end = in.tellg();
        std::string const content = Content(target._get_pdybuf());
        std::string const written = Write(target);
        Check(written == Expected(input.substr(start, end - start), content),
              "a string did not write back the form it read");
        CheckReadBack<CPString>(written, content);
    }
}

// ReadIStream takes the whole stream as raw text, whatever it holds.
void WholeStream(std::string const& input) {
    std::istringstream in(input);
    CPString text;
    std::int32_t const count = text.ReadIStream(in);
    Check(count == static_cast<std::int32_t>(input.size()),
          "ReadIStream missed some of the stream");
    Check(Content(text._get_pdybuf()) == input, "ReadIStream stored other bytes");
    Check(input.empty() || text.GetBuffer()[count] == '\0', "ReadIStream left no terminator");
    CheckReadBack<CPString>(Write(text), input);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const input(reinterpret_cast<char const*>(data), size);
    BufferForms(input);
    StringForms(input);
    WholeStream(input);
    return 0;
}

#include <util/dynabuf.h>

#include <util/exceptions.h>

#include <algorithm>
#include <cstring>
#include <istream>
#include <limits>
#include <new>
#include <ostream>
#include <string>

std::uint16_t DynaBuffer::nDeltaSize = 32;
crc16 DynaBuffer::CRC;
std::uint32_t DynaBuffer::nGrowCount = 0;
std::uint32_t DynaBuffer::nNoGrowCount = 0;

namespace {

constexpr std::uint32_t kNoLength = 0xFFFFFFFF; // -1: measure the text
constexpr unsigned char kMarker = 0xFF;
constexpr unsigned char kVersion = 0;
constexpr std::uint32_t kMaxCapacity = std::numeric_limits<std::int32_t>::max();

char gcEmpty[1] = {'\0'};
char gcDummy = '\0';

std::uint32_t TextLength(char const* text) {
    return static_cast<std::uint32_t>(std::strlen(text) + 1);
}

// A size past what a 32-bit capacity holds can't be had, like a failed
// allocation.
void RequireCapacity(std::uint64_t size) {
    if (size > kMaxCapacity) SV_FAIL_IF_NIL(nullptr, "pcNew");
}

void PutLE(std::ostream& out, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out.put(static_cast<char>((value >> (8 * i)) & 0xFF));
}

[[noreturn]] void BadStream() {
    throw kDeadFocc;
}

unsigned char GetByte(std::istream& in) {
    int const c = in.get();
    if (c == std::char_traits<char>::eof()) BadStream();
    return static_cast<unsigned char>(c);
}

std::uint32_t GetLE(std::istream& in, int bytes) {
    std::uint32_t value = 0;
    for (int i = 0; i < bytes; ++i)
        value |= std::uint32_t{GetByte(in)} << (8 * i);
    return value;
}

// Reads in steps, so that a corrupt length costs no more memory than the
// stream really holds.
std::string GetBytes(std::istream& in, std::uint32_t length) {
    constexpr std::uint32_t kStep = 1u << 16;
    std::string data;
    while (data.size() < length) {
        std::size_t const want = std::min<std::size_t>(kStep, length - data.size());
        std::size_t const at = data.size();
        data.resize(at + want);
        in.read(data.data() + at, static_cast<std::streamsize>(want));
        if (static_cast<std::size_t>(in.gcount()) != want) BadStream();
    }
    return data;
}

} // namespace

DynaBuffer::DynaBuffer() {
    nDeltaSize = 32;
}

DynaBuffer::DynaBuffer(char const* data, std::uint32_t length) : DynaBuffer() {
    Copy(data, length);
}

// Two owners of one block would free it twice, so the copy borrows it.
DynaBuffer::DynaBuffer(DynaBuffer const& other)
    : Createable(other), nBufferSize(other.nBufferSize), nLength(other.nLength), bOwner(0),
      bCRCValid(other.bCRCValid), pcBuffer(other.pcBuffer), nCRC(other.nCRC) {
    nDeltaSize = 32;
}

DynaBuffer::~DynaBuffer() {
    if (bOwner != 0) delete[] pcBuffer;
}

void DynaBuffer::Reallocate(std::uint32_t newSize) {
    char* pcNew = new (std::nothrow) char[newSize];
    SV_FAIL_IF_NIL(pcNew, "pcNew");
    if (pcBuffer != nullptr) {
        std::memcpy(pcNew, pcBuffer, std::min<std::uint64_t>(nLength, nBufferSize));
    } else {
        pcNew[0] = '\0';
    }
    if (bOwner != 0) delete[] pcBuffer;
    // The new block is ours whoever owned the old one; otherwise it would leak.
    bOwner = 1;
    pcBuffer = pcNew;
    nBufferSize = static_cast<std::int32_t>(newSize);
}

void DynaBuffer::GrowTo(std::uint32_t size) {
    auto const old = static_cast<std::uint32_t>(nBufferSize);
    if (old >= size) {
        ++nNoGrowCount;
        return;
    }
    ++nGrowCount;
    SV_ASSERT(nDeltaSize > 0, "nDeltaSize > 0");
    SV_ASSERT(nDeltaSize < 0xFFFF, "nDeltaSize < 0xFFFF");
    // Always at least one step past what was asked.
    std::uint64_t const newSize = old + std::uint64_t{nDeltaSize} * ((size - old) / nDeltaSize + 1);
    RequireCapacity(newSize);
    Reallocate(static_cast<std::uint32_t>(newSize));
}

void DynaBuffer::GrowBy(std::uint32_t count) {
    if (count == 0) count = nDeltaSize;
    std::uint64_t const newSize =
        std::uint64_t(static_cast<std::uint32_t>(nBufferSize)) + count + 1;
    RequireCapacity(newSize);
    Reallocate(static_cast<std::uint32_t>(newSize));
}

void DynaBuffer::Adopt(char* block, std::int32_t size, std::uint32_t length, char owner) {
    if (bOwner != 0 && block != pcBuffer) delete[] pcBuffer;
    pcBuffer = block;
    nBufferSize = size;
    nLength = length == kNoLength ? (block != nullptr ? TextLength(block) : 0) : length;
    bOwner = owner;
    bCRCValid = 0;
}

char* DynaBuffer::GetBuffer() {
    return pcBuffer != nullptr ? pcBuffer : gcEmpty;
}

void DynaBuffer::Copy(char const* source, std::uint32_t length) {
    if (source == nullptr) return;
    if (length == kNoLength) length = TextLength(source);
    RequireCapacity(std::uint64_t{length} + 1);
    GrowTo(length + 1);
    std::memmove(pcBuffer, source, length);
    pcBuffer[length] = '\0';
    nLength = length;
    bCRCValid = 0;
}

void DynaBuffer::AddBuffer(char const* source, std::uint32_t count, std::uint32_t offset) {
    if (offset == kNoLength) offset = nLength;
    if (offset > nLength || source == nullptr || count == 0) return;
    if (nLength == 0) {
        Copy(source, count);
        return;
    }
    std::uint64_t const room = std::uint64_t{count} + 1 + offset;
    RequireCapacity(room);
    GrowTo(static_cast<std::uint32_t>(room));
    std::memmove(pcBuffer + offset, source, count);
    nLength = offset + count;
    bCRCValid = 0;
}

void DynaBuffer::Clear() {
    if (bOwner != 0) delete[] pcBuffer;
    pcBuffer = nullptr;
    nBufferSize = 0;
    nLength = 0;
}

DynaBuffer* DynaBuffer::Clone(std::uint32_t size) {
    DynaBuffer* pdybufNew = new (std::nothrow) DynaBuffer();
    SV_FAIL_IF_NIL(pdybufNew, "pdybufNew");
    pdybufNew->AddRef();
    std::uint32_t const capacity = std::max(static_cast<std::uint32_t>(nBufferSize), size);
    if (capacity > 0) {
        RequireCapacity(capacity);
        pdybufNew->pcBuffer = new char[capacity]();
        pdybufNew->nBufferSize = static_cast<std::int32_t>(capacity);
        if (pcBuffer != nullptr) {
            std::memcpy(pdybufNew->pcBuffer, pcBuffer,
                        std::min<std::uint64_t>(static_cast<std::uint32_t>(nBufferSize), capacity));
        }
    }
    pdybufNew->nLength = nLength;
    pdybufNew->nCRC = nCRC;
    pdybufNew->bCRCValid = bCRCValid;
    return pdybufNew;
}

DynaBuffer* DynaBuffer::Unique(std::uint32_t size) {
    if (nRefCount <= 1) return this;
    DynaBuffer* clone = Clone(size);
    Release();
    return clone;
}

char& DynaBuffer::operator[](std::uint32_t index) {
    // The capacity bound also holds when a raw length was set past the block.
    if (pcBuffer == nullptr || index > nLength ||
        index >= static_cast<std::uint32_t>(nBufferSize)) {
        gcDummy = '\0';
        return gcDummy;
    }
    return pcBuffer[index];
}

std::uint16_t DynaBuffer::_get_nCRC() {
    if (nLength == 0) {
        nCRC = 0;
    } else if (bCRCValid == 0) {
        // Without the terminator; bounded by the block.
        std::uint32_t const count =
            std::min<std::uint32_t>(nLength - 1, pcBuffer != nullptr ? nBufferSize : 0);
        CRC.lCalc(GetBuffer(), &nCRC, static_cast<std::int32_t>(count));
        bCRCValid = 1;
    }
    return nCRC;
}

short DynaBuffer::EqualityOperator(char const* data, std::uint32_t length) {
    if (data == nullptr || pcBuffer == nullptr) return data == nullptr && pcBuffer == nullptr;
    if (length == kNoLength) return std::strcmp(pcBuffer, data) == 0;
    return length == nLength && length <= static_cast<std::uint32_t>(nBufferSize) &&
           std::memcmp(pcBuffer, data, length) == 0;
}

short DynaBuffer::EqualityOperator(DynaBuffer* other) {
    if (other == nullptr) return nLength == 0;
    if (other == this) return 1;
    if (nLength != other->nLength) return 0;
    if (nLength == 0) return 1;
    if (pcBuffer == nullptr || other->pcBuffer == nullptr) return pcBuffer == other->pcBuffer;
    std::uint32_t const limit = std::min<std::uint32_t>(nBufferSize, other->nBufferSize);
    return nLength <= limit && std::memcmp(pcBuffer, other->pcBuffer, nLength) == 0;
}

std::ostream& operator<<(std::ostream& out, DynaBuffer& buffer) {
    out.put(static_cast<char>(kMarker));
    out.put(static_cast<char>(kVersion));
    PutLE(out, buffer.nLength, 4);
    if (buffer.nLength == 0) return out;
    // A raw length set past the block writes zeros for what is not there.
    std::uint32_t const have =
        buffer.pcBuffer != nullptr
            ? std::min<std::uint32_t>(buffer.nLength,
                                      static_cast<std::uint32_t>(buffer.nBufferSize))
            : 0;
    out.write(buffer.pcBuffer != nullptr ? buffer.pcBuffer : gcEmpty, have);
    for (std::uint32_t i = have; i < buffer.nLength; ++i)
        out.put('\0');
    PutLE(out, buffer.nCRC, 2);
    return out;
}

std::istream& operator>>(std::istream& in, DynaBuffer& buffer) {
    unsigned char const first = GetByte(in);
    bool const older = first != kMarker;
    if (older) {
        in.unget();
    } else if (GetByte(in) != kVersion) {
        BadStream();
    }
    std::uint32_t const length = GetLE(in, 4);
    if (length != 0) {
        std::string const data = GetBytes(in, length);
        RequireCapacity(std::uint64_t{length} + 1);
        buffer.GrowTo(length + 1);
        std::memcpy(buffer.pcBuffer, data.data(), length);
        buffer.pcBuffer[length] = '\0';
        buffer.nLength = length;
    }
    if (older) {
        // The older form stores no CRC; this one covers the terminator too.
        DynaBuffer::CRC.lCalc(buffer.GetBuffer(), &buffer.nCRC,
                              static_cast<std::int32_t>(length != 0 ? length : 0));
    } else if (length != 0) {
        buffer.nCRC = static_cast<std::uint16_t>(GetLE(in, 2));
    }
    buffer.bCRCValid = 0;
    return in;
}

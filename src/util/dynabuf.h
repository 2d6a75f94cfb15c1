// The counted byte block behind every CPString: owns or adopts its memory,
// grows in steps of a process-wide size, keeps a lazy CRC-16 of its content,
// and has a small binary stream form.
#pragma once

#include <util/crc16.h>
#include <util/createable.h>
#include <platform/export.h>

#include <cstdint>
#include <iosfwd>

class SORVANE_API DynaBuffer : public Createable {
public:
    DynaBuffer();
    DynaBuffer(char const* data, std::uint32_t length);
    // Shares the block pointer: the fields are copied as they are.
    DynaBuffer(DynaBuffer const& other);
    DynaBuffer& operator=(DynaBuffer const&) = delete;
    ~DynaBuffer() override;

    void GrowTo(std::uint32_t size);
    void GrowBy(std::uint32_t count);
    // A length of -1 means the text's length plus its terminator.
    void Adopt(char* block, std::int32_t size, std::uint32_t length, char bOwner);
    char* GetBuffer();
    void Copy(char const* source, std::uint32_t length);
    void AddBuffer(char const* source, std::uint32_t count, std::uint32_t offset);
    void Clear();
    // A private copy with one reference; capacity at least size.
    DynaBuffer* Clone(std::uint32_t size = 0);
    // This buffer when it has one holder; otherwise gives up this holder's
    // reference and answers a private clone.
    DynaBuffer* Unique(std::uint32_t size = 0);

    // Index nLength (the terminator) is allowed; beyond it, and with no block,
    // a shared dummy byte.
    char& operator[](std::uint32_t index);

    std::uint16_t _get_nCRC();
    std::uint32_t _get_nLength() const { return nLength; }
    void _set_nLength(std::uint32_t length) {
        nLength = length;
        bCRCValid = 0;
    }
    std::int32_t _get_nBufferSize() const { return nBufferSize; }
    char _get_bOwner() const { return bOwner; }
    char _get_bCRCValid() const { return bCRCValid; }

    static void _set_nDeltaSize(short size) { nDeltaSize = static_cast<std::uint16_t>(size); }
    static std::uint16_t _get_nDeltaSize() { return nDeltaSize; }
    static std::uint32_t _get_nGrowCount() { return nGrowCount; }
    static std::uint32_t _get_nNoGrowCount() { return nNoGrowCount; }

    // Both null is equal, one null is not; a length of -1 compares as text.
    short EqualityOperator(char const* data, std::uint32_t length);
    short EqualityOperator(DynaBuffer* other);

    SORVANE_API friend std::ostream& operator<<(std::ostream& out, DynaBuffer& buffer);
    // Throws kDeadFocc for an unknown version or data that ends early.
    SORVANE_API friend std::istream& operator>>(std::istream& in, DynaBuffer& buffer);

private:
    void Reallocate(std::uint32_t newSize);

    std::int32_t nBufferSize = 0;
    std::uint32_t nLength = 0;
    char bOwner = 1;
    char bCRCValid = 0;
    char* pcBuffer = nullptr;
    std::uint16_t nCRC = 0;

    static std::uint16_t nDeltaSize;
    static crc16 CRC;
    static std::uint32_t nGrowCount;
    static std::uint32_t nNoGrowCount;
};

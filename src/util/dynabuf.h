/// \file
/// The counted byte block behind every CPString: owns or adopts its memory,
/// grows in steps of a process-wide size, keeps a lazy CRC-16 of its content,
/// and has a small binary stream form.
#pragma once

#include <util/crc16.h>
#include <util/createable.h>
#include <platform/export.h>

#include <cstdint>
#include <iosfwd>

/// \brief The counted byte block behind every CPString: owns or adopts its
/// memory, grows in steps of a process-wide size, keeps a lazy CRC-16 of its
/// content, and has a small binary stream form.
class SORVANE_API DynaBuffer : public Createable {
public:
    DynaBuffer();
    /// A buffer holding a copy of the bytes.
    /// \param data the bytes, or null for an empty buffer.
    /// \param length their count.
    DynaBuffer(char const* data, std::uint32_t length);
    /// Shares the block pointer: the fields are copied as they are.
    /// \param other the buffer copied.
    DynaBuffer(DynaBuffer const& other);
    DynaBuffer& operator=(DynaBuffer const&) = delete;
    /// Frees the block when the buffer owns it.
    ~DynaBuffer() override;

    /// Makes the block at least size bytes, growing in steps of the delta size;
    /// a smaller size does nothing.
    /// \param size the least capacity.
    void GrowTo(std::uint32_t size);
    /// Grows the block by count bytes and one more.
    /// \param count the growth; 0 grows by the delta size.
    void GrowBy(std::uint32_t count);
    /// Takes a block in place of the current one, which is freed when owned.
    /// \param block the new block.
    /// \param size its capacity.
    /// \param length the content's length; -1 means the text's length plus its
    ///        terminator.
    /// \param bOwner non-zero when the buffer is to free the block.
    void Adopt(char* block, std::int32_t size, std::uint32_t length, char bOwner);
    /// \return the block, or null when there is none.
    char* GetBuffer();
    /// Copies bytes into the block, growing it, and adds a terminator; null does nothing.
    /// \param source the bytes.
    /// \param length their count; -1 for a 0-terminated text.
    void Copy(char const* source, std::uint32_t length);
    /// Inserts bytes at an offset; nothing when the offset is past the content,
    /// the source is null or the count 0.
    /// \param source the bytes.
    /// \param count their count.
    /// \param offset where they go; -1 appends.
    void AddBuffer(char const* source, std::uint32_t count, std::uint32_t offset);
    /// Empties the content; the block is kept.
    void Clear();
    /// A private copy, with one reference, which the caller releases.
    /// \param size the least capacity of the copy.
    /// \return the copy.
    DynaBuffer* Clone(std::uint32_t size = 0);
    /// This buffer when it has one holder; otherwise gives up this holder's
    /// reference and answers a private clone, whose reference the caller takes
    /// over.
    /// \param size the least capacity of a clone.
    /// \return the buffer to use from now on.
    DynaBuffer* Unique(std::uint32_t size = 0);

    /// A byte of the block. Index nLength (the terminator) is allowed; beyond
    /// it, and with no block, a shared dummy byte.
    /// \param index the byte's place.
    /// \return the byte.
    char& operator[](std::uint32_t index);

    /// \return the CRC-16 of the content, computed when it changed since.
    std::uint16_t _get_nCRC();
    /// \return the raw length of the content.
    std::uint32_t _get_nLength() const { return nLength; }
    /// Sets the raw length of the content; the CRC is computed again when asked.
    /// \param length the new length.
    void _set_nLength(std::uint32_t length) {
        nLength = length;
        bCRCValid = 0;
    }
    /// \return the block's capacity.
    std::int32_t _get_nBufferSize() const { return nBufferSize; }
    /// \return non-zero when the buffer frees its block.
    char _get_bOwner() const { return bOwner; }
    /// \return non-zero when the kept CRC matches the content.
    char _get_bCRCValid() const { return bCRCValid; }

    /// Sets the process-wide growth step.
    /// \param size the step in bytes.
    static void _set_nDeltaSize(short size) { nDeltaSize = static_cast<std::uint16_t>(size); }
    /// \return the process-wide growth step.
    static std::uint16_t _get_nDeltaSize() { return nDeltaSize; }
    /// \return how many times GrowTo() grew a block.
    static std::uint32_t _get_nGrowCount() { return nGrowCount; }
    /// \return how many times GrowTo() found the block big enough.
    static std::uint32_t _get_nNoGrowCount() { return nNoGrowCount; }

    /// Compares the content with bytes. Both null is equal, one null is not.
    /// \param data the bytes.
    /// \param length their count; -1 compares as text.
    /// \return 1 when equal, else 0.
    short EqualityOperator(char const* data, std::uint32_t length);
    /// Compares the content with another buffer's; null equals an empty buffer.
    /// \param other the other buffer.
    /// \return 1 when equal, else 0.
    short EqualityOperator(DynaBuffer* other);

    /// Writes the buffer's binary stream form.
    /// \param out the stream.
    /// \param buffer the buffer.
    /// \return the stream.
    SORVANE_API friend std::ostream& operator<<(std::ostream& out, DynaBuffer& buffer);
    /// Reads the buffer's binary stream form.
    /// \param in the stream.
    /// \param buffer the buffer.
    /// \return the stream.
    /// \throws std::uint32_t kDeadFocc for an unknown version or data that ends early.
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

#include <util/crc16.h>
#include <util/dynabuf.h>
#include <util/exceptions.h>

#include <support/fatal.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

std::string Bytes(std::initializer_list<int> bytes) {
    std::string out;
    for (int b : bytes)
        out += static_cast<char>(b);
    return out;
}

std::string Write(DynaBuffer& buffer) {
    std::ostringstream out;
    out << buffer;
    return out.str();
}

// A held buffer, released when the test ends.
struct Held {
    DynaBuffer* p = new DynaBuffer();
    Held() { p->AddRef(); }
    ~Held() { p->Release(); }
};

} // namespace

TEST(CreateableTest, CountsAndCopyQuirks) {
    std::uint32_t const live = Createable::_get_ulInstanceCount();
    {
        Createable a;
        EXPECT_EQ(a._get_nRefCount(), 0);
        EXPECT_EQ(Createable::_get_ulInstanceCount(), live + 1);
        a.AddRef();
        Createable copy(a); // takes the count, is not counted as an instance
        EXPECT_EQ(copy._get_nRefCount(), 1);
        EXPECT_EQ(Createable::_get_ulInstanceCount(), live + 1);
    }
    EXPECT_EQ(Createable::_get_ulInstanceCount(), live - 1); // the copy's end
}

// A Release of an object nobody holds is the fatal check, never a wrap of the
// count that would keep the object for good.
TEST(CreateableTest, ReleaseToZeroDeletesAndCountWrapsAt16Bits) {
    auto* object = new Createable();
    for (int i = 0; i < 65535; ++i)
        object->AddRef();
    EXPECT_EQ(object->AddRef(), 0); // wrapped
    EXPECT_EQ(object->AddRef(), 1);
    EXPECT_EQ(object->Release(), 0); // deleted here; the sanitizers see any misuse
    EXPECT_EXIT(Createable().Release(), ::testing::ExitedWithCode(kFatalStatus), "");
}

TEST(DynaBufferTest, GrowsInSharedStepsPastWhatWasAsked) {
    Held a, b;
    a.p->GrowTo(1);
    EXPECT_EQ(a.p->_get_nBufferSize(), 32);
    // Enough already at 64; 64 + 32 takes a step of 64.
    for (auto [nAsked, nSize] : {std::pair{33, 64}, {64, 64}, {64 + 32, 64 + 64}}) {
        b.p->GrowTo(nAsked);
        EXPECT_EQ(b.p->_get_nBufferSize(), nSize) << nAsked;
    }
    DynaBuffer::_set_nDeltaSize(100);
    Held c; // every construction puts the step back to 32
    EXPECT_EQ(DynaBuffer::_get_nDeltaSize(), 32);
    c.p->GrowBy(0); // the step, plus one
    EXPECT_EQ(c.p->_get_nBufferSize(), 33);
    c.p->GrowBy(10);
    EXPECT_EQ(c.p->_get_nBufferSize(), 44);
}

TEST(DynaBufferTest, CopyAppendAndIndexKeepTheTerminatorInTheLength) {
    Held a;
    a.p->Copy("ab", 0xFFFFFFFF);
    EXPECT_EQ(a.p->_get_nLength(), 3u);
    a.p->AddBuffer("cd", 3, a.p->_get_nLength() - 1); // over the old terminator
    EXPECT_STREQ(a.p->GetBuffer(), "abcd");
    EXPECT_EQ(a.p->_get_nLength(), 5u);
    EXPECT_EQ((*a.p)[4], '\0');
    (*a.p)[6] = 'z'; // the dummy, not the block
    EXPECT_EQ((*a.p)[6], '\0');
    a.p->AddBuffer("zz", 2, 99); // past the length: nothing
    EXPECT_STREQ(a.p->GetBuffer(), "abcd");

    Held empty;
    EXPECT_STREQ(empty.p->GetBuffer(), "");
    empty.p->AddBuffer("xy", 3, 0xFFFFFFFF); // offset -1 on an empty buffer copies
    EXPECT_STREQ(empty.p->GetBuffer(), "xy");
}

TEST(DynaBufferTest, EqualityRules) {
    Held a, b;
    EXPECT_TRUE(a.p->EqualityOperator(nullptr, 0)); // both null
    EXPECT_TRUE(a.p->EqualityOperator(static_cast<DynaBuffer*>(nullptr)));
    a.p->Copy("abc", 0xFFFFFFFF);
    EXPECT_FALSE(a.p->EqualityOperator(nullptr, 0));
    EXPECT_TRUE(a.p->EqualityOperator("abc", 0xFFFFFFFF));
    EXPECT_TRUE(a.p->EqualityOperator("abc", 4));
    EXPECT_FALSE(a.p->EqualityOperator("abc", 3));
    b.p->Copy("abc", 0xFFFFFFFF);
    EXPECT_TRUE(a.p->EqualityOperator(b.p));
    b.p->Copy("abd", 0xFFFFFFFF);
    EXPECT_FALSE(a.p->EqualityOperator(b.p));
}

TEST(DynaBufferTest, UniqueClonesOnlyWhenSharedAndAnAdoptedBlockIsNotFreed) {
    Held a;
    a.p->Copy("shared", 0xFFFFFFFF);
    a.p->GrowTo(200);
    EXPECT_EQ(a.p->Unique(), a.p); // one holder
    a.p->AddRef();                 // a second holder
    DynaBuffer* mine = a.p->Unique();
    ASSERT_NE(mine, a.p);
    EXPECT_EQ(a.p->_get_nRefCount(), 1);
    EXPECT_EQ(mine->_get_nRefCount(), 1);
    EXPECT_EQ(mine->_get_nBufferSize(), a.p->_get_nBufferSize());
    EXPECT_STREQ(mine->GetBuffer(), "shared");
    mine->Release();

    char block[16] = "outside";
    {
        Held b;
        b.p->Adopt(block, sizeof block, 0xFFFFFFFF, 0);
        EXPECT_EQ(b.p->_get_nLength(), 8u);
        EXPECT_EQ(b.p->GetBuffer(), block);
        b.p->GrowTo(100); // moves to a block of its own, which it frees
        EXPECT_STREQ(b.p->GetBuffer(), "outside");
    }
    EXPECT_STREQ(block, "outside");
}

TEST(DynaBufferTest, StreamFormIsByteExact) {
    Held empty, text, back;
    EXPECT_EQ(Write(*empty.p), Bytes({0xFF, 0x00, 0, 0, 0, 0}));
    text.p->Copy("ab", 0xFFFFFFFF);
    // The CRC field goes out as it stands: not yet calculated.
    EXPECT_EQ(Write(*text.p), Bytes({0xFF, 0x00, 3, 0, 0, 0, 'a', 'b', 0, 0, 0}));
    std::uint16_t const crc = text.p->_get_nCRC(); // over "ab", without the terminator
    EXPECT_EQ(crc, 0x79A8);
    EXPECT_EQ(Write(*text.p), Bytes({0xFF, 0x00, 3, 0, 0, 0, 'a', 'b', 0, 0xA8, 0x79}));

    std::istringstream in(Write(*text.p));
    in >> *back.p;
    EXPECT_STREQ(back.p->GetBuffer(), "ab");
    EXPECT_EQ(back.p->_get_nLength(), 3u);
    EXPECT_EQ(back.p->_get_bCRCValid(), 0);
    EXPECT_EQ(back.p->_get_nCRC(), crc);
    EXPECT_EQ(Write(*back.p), Write(*text.p));
}

TEST(DynaBufferTest, ReadsTheOlderFormAndRejectsCorruptOnes) {
    // No marker, no CRC: the CRC is made over every byte, terminator included.
    std::istringstream older(Bytes({3, 0, 0, 0, 'a', 'b', 0}));
    Held a;
    older >> *a.p;
    EXPECT_STREQ(a.p->GetBuffer(), "ab");
    EXPECT_EQ(a.p->_get_bCRCValid(), 0);
    std::uint16_t withTerminator = 0;
    crc16().lCalc("ab", &withTerminator, 3);
    EXPECT_EQ(Write(*a.p).substr(9), Bytes({withTerminator & 0xFF, withTerminator >> 8}));

    for (std::string const& corrupt : {Bytes({0xFF, 0x01, 0, 0, 0, 0}),      // unknown version
                                       Bytes({0xFF, 0x00, 9, 0, 0, 0, 'a'}), // ends early
                                       Bytes({0xFF, 0x00, 1, 0, 0, 0, 'a'}), // no CRC
                                       Bytes({0xFF, 0x00, 0xFF, 0xFF, 0xFF, 0x7F}), Bytes({})}) {
        std::istringstream in(corrupt);
        Held b;
        EXPECT_THROW(in >> *b.p, std::uint32_t);
    }
    try {
        std::istringstream in(Bytes({0xFF, 0x02}));
        Held b;
        in >> *b.p;
        FAIL();
    } catch (std::uint32_t code) {
        EXPECT_EQ(code, 0xDEADF0CCu);
    }
}

TEST(Crc16, CheckValueAndLengthForms) {
    crc16 crc;
    std::uint16_t value = 0xFFFF;
    std::int32_t length = -1;
    EXPECT_EQ(crc.Calc("123456789", &value, &length), 1);
    EXPECT_EQ(value, 0xBB3D);
    EXPECT_EQ(length, 9);
    EXPECT_EQ(crc.lCalc("123456789", &value, 9), 1);
    EXPECT_EQ(value, 0xBB3D);

    // Zero bytes: 0, and still success.
    EXPECT_EQ(crc.lCalc("x", &value, 0), 1);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(crc.Calc("", &value, &length), 1);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(length, 0);

    // The counted form runs past a NUL; the text form stops at it.
    char const data[] = {'a', '\0', 'b'};
    std::uint16_t counted = 0, text = 0;
    crc.lCalc(data, &counted, 3);
    crc.Calc(data, &text, nullptr);
    std::uint16_t justA = 0;
    crc.lCalc("a", &justA, 1);
    EXPECT_EQ(text, justA);
    EXPECT_NE(counted, justA);

    // No data: result 0; the counted form reports failure.
    value = 7;
    EXPECT_EQ(crc.lCalc(nullptr, &value, 4), 0);
    EXPECT_EQ(value, 0);
}

TEST(Crc16, TableMatchesShiftRegisterDefinition) {
    for (unsigned i = 0; i < 256; ++i) {
        std::uint16_t reg = static_cast<std::uint16_t>(i);
        for (int bit = 0; bit < 8; ++bit)
            reg = (reg & 1) ? (reg >> 1) ^ 0xA001 : reg >> 1;
        EXPECT_EQ(crc16_detail::kTable[i], reg) << "entry " << i;
    }
}

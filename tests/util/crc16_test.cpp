#include <util/crc16.h>

#include <gtest/gtest.h>

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

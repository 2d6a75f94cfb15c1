#include <util/crc16.h>

std::uint16_t crc16::nInstanceCount = 0;

char crc16::Calc(char const* text, std::uint16_t* crc, std::int32_t* length) {
    std::uint16_t value = 0;
    std::int32_t count = 0;
    if (text != nullptr) {
        for (; text[count] != '\0'; ++count)
            value = Step(value, static_cast<unsigned char>(text[count]));
    }
    if (crc != nullptr) *crc = value;
    if (length != nullptr) *length = count;
    return 1;
}

char crc16::lCalc(char const* data, std::uint16_t* crc, std::int32_t length) {
    std::uint16_t value = 0;
    if (data != nullptr) {
        for (std::int32_t i = 0; i < length; ++i)
            value = Step(value, static_cast<unsigned char>(data[i]));
    }
    if (crc != nullptr) *crc = value;
    return data != nullptr ? 1 : 0;
}

#include <splash/host/rawbus.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

using splash::BusValidText;
using splash::RawArgument;
using splash::RawBus;

namespace {

// A method call as the bus sends it, little-endian, with a text and a number.
class Message {
public:
    Message(std::string const& interface, std::string const& text, std::int16_t number) {
        Field(1, 'o', "/com/orveltech/Splash/SplashWindow/1");
        Field(2, 's', interface);
        Field(3, 's', "SetStatusText");
        Field(7, 's', ":1.9");
        Field(8, 'g', "sn");
        std::uint32_t const fieldsLength = static_cast<std::uint32_t>(fields_.size());
        Pad(fields_, 8);
        Text(body_, 's', text);
        Pad(body_, 2);
        body_.append(reinterpret_cast<char const*>(&number), 2);
        bytes = std::string("l\x01\0\x01", 4);
        Word(bytes, static_cast<std::uint32_t>(body_.size()));
        Word(bytes, 77); // the serial
        Word(bytes, fieldsLength);
        bytes += fields_ + body_;
    }
    std::string bytes;

private:
    static void Pad(std::string& s, std::size_t n) { s.resize((s.size() + n - 1) / n * n, '\0'); }
    static void Word(std::string& s, std::uint32_t w) {
        Pad(s, 4);
        s.append(reinterpret_cast<char const*>(&w), 4);
    }
    static void Text(std::string& s, char type, std::string const& text) {
        if (type == 'g') {
            s.push_back(static_cast<char>(text.size()));
        } else {
            Word(s, static_cast<std::uint32_t>(text.size()));
        }
        s += text;
        s.push_back('\0');
    }
    void Field(char code, char type, std::string const& value) {
        // Offsets count from the message's start, 16 bytes before the fields.
        fields_.resize((fields_.size() + 7) / 8 * 8, '\0');
        fields_.push_back(code);
        Text(fields_, 'g', std::string(1, type));
        Text(fields_, type, value);
    }
    std::string fields_, body_;
};

} // namespace

TEST(RawBus, TextsAreValidAsTheBusAllowsThemNoncharactersIncluded) {
    struct Case {
        char const* text;
        bool valid;
    };
    for (Case const& c :
         {Case{"plain", true}, Case{"\xEF\xBF\xBE", true} /* U+FFFE */,
          Case{"\xEF\xB7\x90", true} /* U+FDD0 */, Case{"\xF4\x8F\xBF\xBF", true},
          Case{"Θερμότητα 熱交換器", true}, Case{"\xED\xA0\x80", false} /* a surrogate */,
          Case{"\xC0\xAF", false} /* overlong */, Case{"\xF4\x90\x80\x80", false},
          Case{"\xE2\x82", false} /* cut short */, Case{"\x80", false}}) {
        EXPECT_EQ(BusValidText(c.text), c.valid) << c.text;
    }
    EXPECT_FALSE(BusValidText(std::string("a\0b", 3)));
}

TEST(RawBus, TheReaderKeepsTheInterfacesCallsAsSentPieceByPiece) {
    std::string const stream =
        "OK 1234abcd\r\nAGREE_UNIX_FD\r\n" +
        Message("com.orveltech.Splash.ISplashWindow", "\xEF\xBF\xBE!", -3).bytes +
        Message("org.other.Interface", "skipped", 1).bytes;
    RawBus::Reader reader("com.orveltech.Splash.ISplashWindow");
    std::vector<std::vector<RawArgument>> kept;
    std::string sender;
    // A byte at a time: the socket may hand over any piece.
    for (char const byte : stream) {
        ASSERT_TRUE(reader.Feed(
            &byte, 1,
            [&](std::string const& from, std::uint64_t serial, std::vector<RawArgument> arguments) {
                EXPECT_EQ(serial, 77u);
                sender = from;
                kept.push_back(std::move(arguments));
            }));
    }
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(sender, ":1.9");
    ASSERT_EQ(kept[0].size(), 2u);
    EXPECT_EQ(kept[0][0].text, "\xEF\xBF\xBE!");
    EXPECT_EQ(kept[0][1].number, -3);
}

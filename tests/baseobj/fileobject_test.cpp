#include <baseobj/fileobject.h>

#include <support/files.h>

#include <support/fatal.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace {

using test_support::ReadAll;
using test_support::ScratchDir;
using test_support::WriteAll;

std::filesystem::path DataDir() {
    return std::filesystem::path(__FILE__).parent_path() / "fileobject_data";
}

// The buffer's text and length, or nullopt for null; frees the buffer.
std::optional<std::string> Read(std::string const& path, short bCompressed) {
    std::int32_t nLength = -1;
    char* pc = FileObject::CreateBuffer(path.c_str(), bCompressed, &nLength);
    if (pc == nullptr) {
        EXPECT_EQ(nLength, 0);
        return std::nullopt;
    }
    EXPECT_EQ(pc[nLength], '\0');
    std::string text(pc, static_cast<std::size_t>(nLength));
    FileObject::DeleteBuffer(pc);
    return text;
}

std::uint32_t HeaderLength(std::string const& bytes) {
    auto const* p = reinterpret_cast<unsigned char const*>(bytes.data());
    return p[0] | p[1] << 8 | p[2] << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

TEST(FileObjectTest, WrittenFilesReadBackPlainAndCompressed) {
    ScratchDir tmp;
    std::string const path = tmp.Path("f");
    std::string big;
    for (int i = 0; i < 20'000; ++i)
        big += "<Unit Name=\"m\" Factor=\"1\"/>\n";
    for (std::string text : {std::string("x"), std::string("ab\r\ncd\n"), big}) {
        SCOPED_TRACE(text.size());
        for (char const bTextMode : {0, 1}) {
            FileObject::_set_bTextMode(bTextMode);
            ASSERT_EQ(FileObject::WriteBuffer(path.c_str(), text.data(), 0), 1);
            EXPECT_EQ(ReadAll(path), text);
            EXPECT_EQ(Read(path, 0), text);

            ASSERT_EQ(FileObject::WriteBuffer(path.c_str(), text.data(), 1), 1);
            std::string const bytes = ReadAll(path);
            EXPECT_EQ(HeaderLength(bytes), text.size());
            EXPECT_EQ(bytes[4], '\x78'); // a zlib stream follows the length
            EXPECT_EQ(Read(path, 1), text);
        }
    }
    FileObject::_set_bTextMode(0);
    EXPECT_EQ(FileObject::Exists(path.c_str()), 1);
    EXPECT_EQ(FileObject::Exists(tmp.Path("none").c_str()), 0);
}

TEST(FileObjectTest, AFileMadeByAnotherProgramReads) {
    // The length, then the stream of Python's zlib.compress at level 9.
    EXPECT_EQ(Read((DataDir() / "python_zlib.bin").string(), 1),
              ReadAll((DataDir() / "python_zlib.txt").string()));
}

TEST(FileObjectTest, UnreadableEmptyTruncatedOrDamagedFilesGiveNull) {
    ScratchDir tmp;
    std::string const good = ReadAll((DataDir() / "python_zlib.bin").string());
    std::string damaged = good;
    damaged[20] = static_cast<char>(damaged[20] ^ 0x55);
    std::string lying = good; // claims a length far above the stream's
    lying[3] = '\x7f';
    std::string shortLength = good; // claims less room than the text needs
    shortLength[0] = '\x10';
    shortLength[1] = '\0';
    struct Case {
        char const* what;
        std::string bytes;
    } const cases[] = {
        {"empty", ""},
        {"length only", good.substr(0, 4)},
        {"two bytes", good.substr(0, 2)},
        {"truncated", good.substr(0, good.size() - 10)},
        {"damaged", damaged},
        {"length too small", shortLength},
        {"not compressed", "<a>plain</a>"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        WriteAll(tmp.Path("f"), c.bytes);
        EXPECT_EQ(Read(tmp.Path("f"), 1), std::nullopt);
    }
    // A header that overstates the length still expands what is there.
    WriteAll(tmp.Path("f"), lying);
    EXPECT_EQ(Read(tmp.Path("f"), 1), ReadAll((DataDir() / "python_zlib.txt").string()));
    EXPECT_EQ(Read(tmp.Path("missing"), 0), std::nullopt);
    EXPECT_EQ(Read(tmp.Path("missing"), 1), std::nullopt);
    char text[] = "t";
    EXPECT_EQ(FileObject::WriteBuffer(tmp.Path("no/dir").c_str(), text, 1), 0);
}

TEST(FileObjectTest, FailuresAreReportedToTheLogWithTheName) {
    std::string const bad = test_support::TestFileName("bad");
    std::string const unmade = test_support::TestFileName("no/dir");
    WriteAll(bad, std::string("\x10\0\0\0garbage garbage", 19));
    std::string const body = test_support::ChildReport(
        [&] {
            std::int32_t n = 0;
            FileObject::CreateBuffer(bad.c_str(), 1, &n);
            char text[] = "t";
            FileObject::WriteBuffer(unmade.c_str(), text, 0);
        },
        0);
    EXPECT_NE(body.find("Message: \"ERROR Decompressing file: " + bad + "\n"), std::string::npos);
    EXPECT_NE(body.find("Message: \"Failed opening output file in lex.cpp:2169\nMessage: \"" +
                        unmade + "\n"),
              std::string::npos)
        << body;
    std::remove(bad.c_str());
}

} // namespace

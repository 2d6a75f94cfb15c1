#include <baseobj/fileobject.h>
#include <baseobj/zlibwrap.h>

#include <support/fatal.h>
#include <support/files.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

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

TEST(FileObjectTest, AnotherProgramsFileReadsAndEmptyTruncatedOrDamagedOnesGiveNull) {
    // The length, then the stream of Python's zlib.compress at level 9.
    std::string const good = ReadAll((DataDir() / "python_zlib.bin").string());
    EXPECT_EQ(Read((DataDir() / "python_zlib.bin").string(), 1),
              ReadAll((DataDir() / "python_zlib.txt").string()));
    ScratchDir tmp;
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

// Records what the engine tells, and aborts at a chosen progress report.
class RecordingEngine : public ZlibEngine {
public:
    std::vector<int> percents;
    std::vector<std::string> words;
    int nAbortAt = -1; // the index of the progress report that aborts

protected:
    void progress(int nPercent) override {
        if (static_cast<int>(percents.size()) == nAbortAt) set_abort_flag(1);
        percents.push_back(nPercent);
    }
    void status(char* pszMessage) override { words.emplace_back(pszMessage); }
};

// Compressible but not trivial: deflate takes every block whole.
std::string Text(std::size_t n) {
    std::string s;
    s.reserve(n);
    for (std::size_t i = 0; s.size() < n; ++i)
        s += "line " + std::to_string(i % 977) + "\n";
    s.resize(n);
    return s;
}

std::string Unwrap(std::string const& stream, std::uint32_t nRoom) {
    std::string out(nRoom, '\0');
    std::string in = stream;
    ZLibWrap wrap;
    EXPECT_EQ(wrap.UnCompress(reinterpret_cast<unsigned char*>(out.data()), &nRoom,
                              reinterpret_cast<unsigned char*>(in.data()),
                              static_cast<std::uint32_t>(in.size())),
              1);
    out.resize(nRoom);
    return out;
}

TEST(ZlibEngineTest, RoundTripsAPlainStreamAtEachLevel) {
    ScratchDir tmp;
    struct Case {
        std::size_t nSize;
        int nLevel;
    } const cases[] = {{0, -1}, {1, 0}, {4096, 9}, {100'000, -1}, {300'000, 1}};
    for (auto const& c : cases) {
        SCOPED_TRACE(c.nSize);
        std::string const text = Text(c.nSize);
        WriteAll(tmp.Path("in"), text);
        RecordingEngine engine;
        EXPECT_EQ(engine.compress(tmp.Path("in").c_str(), tmp.Path("z").c_str(), c.nLevel), 0);
        EXPECT_EQ(engine.words, std::vector<std::string>{"Success"});
        // The file holds a zlib stream and nothing else.
        EXPECT_EQ(Unwrap(ReadAll(tmp.Path("z")), static_cast<std::uint32_t>(c.nSize + 16)), text);
        EXPECT_EQ(engine.decompress(tmp.Path("z").c_str(), tmp.Path("out").c_str()), 0);
        EXPECT_EQ(ReadAll(tmp.Path("out")), text);
        EXPECT_EQ(engine.percents.back(), 100);
    }
}

TEST(ZlibEngineTest, ProgressInWholePerCentsByBothFormulas) {
    ScratchDir tmp;
    RecordingEngine engine;
    // The product first: 4096, 8192 and 10,000 bytes of 10,000 read, then
    // the report after the finish.
    WriteAll(tmp.Path("in"), std::string(10'000, 'a'));
    ASSERT_EQ(engine.compress(tmp.Path("in").c_str(), tmp.Path("z").c_str(), 1), 0);
    EXPECT_EQ(engine.percents, (std::vector<int>{40, 81, 100, 100}));

    // Above 10,000,000 bytes the division first: every whole per cent once
    // or more, in order, never past 100.
    engine.percents.clear();
    WriteAll(tmp.Path("in"), Text(20'000'099));
    ASSERT_EQ(engine.compress(tmp.Path("in").c_str(), tmp.Path("z").c_str(), 1), 0);
    std::vector<int> all(101);
    std::iota(all.begin(), all.end(), 0);
    auto& seen = engine.percents;
    seen.erase(std::unique(seen.begin(), seen.end()), seen.end());
    EXPECT_EQ(seen, all);
}

TEST(ZlibEngineTest, FailuresEndWithTheirWordAndResult) {
    ScratchDir tmp;
    std::string const text = Text(50'000);
    WriteAll(tmp.Path("text"), text);
    RecordingEngine maker;
    ASSERT_EQ(maker.compress(tmp.Path("text").c_str(), tmp.Path("z").c_str(), 6), 0);
    std::string const stream = ReadAll(tmp.Path("z"));
    WriteAll(tmp.Path("short"), stream.substr(0, stream.size() / 2));

    struct Case {
        char const* what;
        bool bCompress;
        std::string in;
        std::string out;
        int nResult;
    } const cases[] = {
        {"not a stream", false, tmp.Path("text"), tmp.Path("o"), -3},
        {"ends early", false, tmp.Path("short"), tmp.Path("o"), -5},
        {"full disk, compress", true, tmp.Path("text"), "/dev/full", -1},
        {"full disk, decompress", false, tmp.Path("z"), "/dev/full", -1},
        {"no input", true, tmp.Path("missing"), tmp.Path("never"), -1},
        {"no input, decompress", false, tmp.Path("missing"), tmp.Path("never"), -1},
        {"output can't be made", true, tmp.Path("text"), tmp.Path("no/such/dir"), -1},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        RecordingEngine engine;
        int const n = c.bCompress ? engine.compress(c.in.c_str(), c.out.c_str(), 6)
                                  : engine.decompress(c.in.c_str(), c.out.c_str());
        EXPECT_EQ(n, c.nResult);
        EXPECT_EQ(engine.words, std::vector<std::string>{"Zlib Error"});
    }
    EXPECT_FALSE(std::filesystem::exists(tmp.Path("never")));
}

TEST(ZlibEngineTest, AbortFromProgressOrThePumpStopsTheRunAndTheNextRunStartsClear) {
    ScratchDir tmp;
    WriteAll(tmp.Path("in"), Text(100'000));
    RecordingEngine engine;
    engine.nAbortAt = 2;
    int const n = engine.compress(tmp.Path("in").c_str(), tmp.Path("z").c_str(), 6);
    EXPECT_EQ(n, 0); // whatever zlib last gave: a step that went well
    EXPECT_EQ(engine.words, std::vector<std::string>{"User Abort"});
    EXPECT_EQ(engine.percents.size(), 4u); // three blocks, then the closing report

    engine.nAbortAt = -1;
    engine.words.clear();
    EXPECT_EQ(engine.compress(tmp.Path("in").c_str(), tmp.Path("z").c_str(), 6), 0);
    EXPECT_EQ(engine.words, std::vector<std::string>{"Success"});

    // The pump runs between steps only once it is set.
    WriteAll(tmp.Path("in"), Text(20'000));
    int nPumped = 0;
    engine._set_pfnPump([&] {
        if (++nPumped == 3) engine.set_abort_flag(1); // the client's abort button
    });
    engine.compress(tmp.Path("in").c_str(), tmp.Path("z").c_str(), 6);
    EXPECT_EQ(engine.words.back(), "User Abort");
    EXPECT_EQ(nPumped, 4); // load, flush, load (abort), flush
}

} // namespace

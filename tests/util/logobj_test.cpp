#include <util/logobj.h>

#include <support/fatal.h>

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <unistd.h>

using test_support::ReadAll;

TEST(LogObjTest, EachObjectEmptiesTheFileAndFlushesEveryItem) {
    std::string const path = ::testing::TempDir() + "logobj" + std::to_string(::getpid());
    {
        std::ofstream old(path);
        old << std::string(5000, 'o');
    }
    LogObj::_set_nMaxSizeKB(1u << 20); // makes no difference: the open empties it anyway
    std::int16_t const before = LogObj::_get_nFileCount();
    {
        LogObj log(path.c_str());
        EXPECT_EQ(LogObj::_get_nFileCount(), before + 1);
        // A line feed, the stamp, ctime's 24 characters with its own line
        // break, and one more line feed.
        std::string const head = ReadAll(path);
        std::string const lead = "\nSystem Time Stamp ";
        ASSERT_EQ(head.size(), lead.size() + 24 + 2) << head;
        EXPECT_EQ(head.substr(0, lead.size()), lead);
        EXPECT_EQ(head[lead.size() + 13], ':');
        EXPECT_EQ(head.substr(head.size() - 2), "\n\n");

        log << 'c' << 42 << " text " << 2.5 << static_cast<unsigned long>(7);
        // On disk before the object goes.
        std::string const content = ReadAll(path);
        EXPECT_EQ(content.substr(content.size() - 13), "c42 text 2.57");
    }
    EXPECT_EQ(LogObj::_get_nFileCount(), before + 1); // never counted down

    LogObj second(path.c_str());
    EXPECT_EQ(ReadAll(path).find("c42"), std::string::npos);
    std::remove(path.c_str());
}

TEST(LogObjTest, UnopenablePathWritesNothingAndDoesNotFail) {
    LogObj log("/nonexistent-folder/x/report.log");
    log << "lost" << 1 << static_cast<char const*>(nullptr);
    SUCCEED();
}

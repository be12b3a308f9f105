#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "base/FileUtil.h"
#include "tests/support/TestSupport.h"

namespace {

TEST(FileUtil, CreatesFoldersWithTheirParents) {
    CTempHome home;
    const std::string deep = home.Path() + "/a/b//c/";
    EXPECT_TRUE(ca::TryCreateDir(deep));
    EXPECT_TRUE(ca::TryCreateDir(deep));  // already there
    struct stat info {};
    ASSERT_EQ(stat((home.Path() + "/a/b/c").c_str(), &info), 0);
    EXPECT_TRUE(S_ISDIR(info.st_mode));

    ASSERT_TRUE(ca::StringToFile(home.Path() + "/file", "x"));
    EXPECT_FALSE(ca::TryCreateDir(home.Path() + "/file"));
    EXPECT_FALSE(ca::TryCreateDir(home.Path() + "/file/below"));
    EXPECT_FALSE(ca::TryCreateDir(""));
}

TEST(FileUtil, WholeFileRoundTripAndBounds) {
    CTempHome home;
    const std::string path = home.Path() + "/text";
    const std::string text("line\n\0binary\xff", 13);
    ASSERT_TRUE(ca::StringToFile(path, text));
    std::string read;
    ASSERT_TRUE(ca::FileToString(path, read));
    EXPECT_EQ(read, text);
    ASSERT_TRUE(ca::StringToFile(path, "short"));  // truncates
    ASSERT_TRUE(ca::FileToString(path, read));
    EXPECT_EQ(read, "short");

    EXPECT_TRUE(ca::FileToString(path, read, 5));
    EXPECT_FALSE(ca::FileToString(path, read, 4));
    EXPECT_TRUE(read.empty());
    EXPECT_TRUE(ca::IsRegularFile(path));
    EXPECT_FALSE(ca::IsRegularFile(home.Path()));
    EXPECT_FALSE(ca::StringToFile(home.Path() + "/missing/x", "x"));
}

TEST(FileUtil, SpecialFilesAreRefusedWithoutBlocking) {
    CTempHome home;
    const std::string fifo = home.Path() + "/fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::string read = "old";
    EXPECT_FALSE(ca::FileToString(fifo, read));  // no writer: a blocking open would hang here
    EXPECT_TRUE(read.empty());
    EXPECT_FALSE(ca::FileToString(home.Path(), read));
    EXPECT_FALSE(ca::FileToString(home.Path() + "/missing", read));
    EXPECT_FALSE(ca::IsRegularFile(fifo));
}

}  // namespace

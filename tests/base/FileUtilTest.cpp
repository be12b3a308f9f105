#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "base/FileUtil.h"
#include "tests/support/TestSupport.h"

namespace {

size_t Entries(const std::string& dir) {
    size_t n = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir)) {
        ++n;
    }
    return n;
}

TEST(FileUtil, FoldersAndWholeFiles) {
    CTempHome home;
    const std::string path = home.Path() + "/file";
    EXPECT_TRUE(ca::TryCreateDir(home.Path() + "/a/b//c/"));
    EXPECT_TRUE(ca::TryCreateDir(home.Path() + "/a/b/c"));  // already there
    EXPECT_FALSE(ca::TryCreateDir(""));
    const std::string text("line\n\0binary\xff", 13);
    ASSERT_TRUE(ca::StringToFile(path, text));
    std::string read;
    ASSERT_TRUE(ca::FileToString(path, read));
    EXPECT_EQ(read, text);
    ASSERT_TRUE(ca::StringToFile(path, "short"));  // replaces
    EXPECT_TRUE(ca::FileToString(path, read, 5));
    EXPECT_EQ(read, "short");
    EXPECT_FALSE(ca::FileToString(path, read, 4));
    EXPECT_TRUE(read.empty());
    EXPECT_FALSE(ca::TryCreateDir(path));
    EXPECT_FALSE(ca::TryCreateDir(path + "/below"));
    EXPECT_FALSE(ca::StringToFile(home.Path() + "/missing/x", "x"));

    // Only regular files are read, and a FIFO without a writer must not block the open.
    const std::string fifo = home.Path() + "/fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const std::string& other : {fifo, home.Path(), home.Path() + "/missing"}) {
        SCOPED_TRACE(other);
        read = "old";
        EXPECT_FALSE(ca::FileToString(other, read));
        EXPECT_TRUE(read.empty());
        EXPECT_FALSE(ca::IsRegularFile(other));
    }
    EXPECT_TRUE(ca::IsRegularFile(path));
}

// A target is replaced only when it is a regular file (or a link to one, which is replaced itself),
// and never opened: a FIFO would block, a device would be written to.
TEST(FileUtil, AtomicWriteReplacesOnlyRegularFiles) {
    using Make = bool (*)(const std::string& path);  // puts the target at path; "old" in files
    const Make file = [](const std::string& path) { return ca::StringToFile(path, "old", 0600); };
    const Make dangling = [](const std::string& path) { return symlink("missing", path.c_str()) == 0; };
    const struct {
        const char* label;
        Make make;  // null: no target
        bool replace;
        const char* error;  // null: written
        unsigned mode;      // of the written file
    } cases[] = {
        {"new path", nullptr, false, nullptr, 0640},
        {"file replaced, keeps its narrower mode", file, true, nullptr, 0600},
        {"file kept without replace", file, false, "/out' already exists", 0},
        {"FIFO", [](const std::string& path) { return mkfifo(path.c_str(), 0600) == 0; }, true, "is a FIFO",
         0},
        {"character device like /dev/null",
         [](const std::string& path) { return mknod(path.c_str(), S_IFCHR | 0600, makedev(1, 3)) == 0; },
         true, "is a character device", 0},
        {"folder", [](const std::string& path) { return mkdir(path.c_str(), 0700) == 0; }, true,
         "is a folder", 0},
        {"dangling link", dangling, true, "leads to no file", 0},
        {"dangling link without replace", dangling, false, "already exists", 0},
        {"link replaced, its file kept",
         [](const std::string& path) {
             return ca::StringToFile(path + "-target", "old") && symlink("out-target", path.c_str()) == 0;
         },
         true, nullptr, 0640}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        CTempHome home;
        const std::string path = home.Path() + "/out";
        if (c.make != nullptr && !c.make(path)) {
            EXPECT_EQ(geteuid(), 0u) << "only a device node may need root";
            continue;
        }
        struct stat before {};
        const bool existed = lstat(path.c_str(), &before) == 0;
        const size_t entries = Entries(home.Path());
        std::string error;
        bool exists = false;
        const bool written = ca::WriteFileAtomic(path, "new", 3, 0640, c.replace, error, &exists);
        EXPECT_EQ(written, c.error == nullptr) << error;
        EXPECT_EQ(exists, !c.replace && existed);
        EXPECT_EQ(Entries(home.Path()), entries + (existed ? 0 : 1)) << "no temporary left";
        std::string text;
        struct stat after {};
        ASSERT_EQ(lstat(path.c_str(), &after), 0);
        if (written) {
            EXPECT_TRUE(ca::FileToString(path, text) && text == "new");
            EXPECT_EQ(after.st_mode & (S_IFMT | 0777), S_IFREG | c.mode);
        } else {
            EXPECT_NE(error.find(c.error), std::string::npos) << error;
            EXPECT_EQ(after.st_mode, before.st_mode);
            EXPECT_EQ(after.st_ino, before.st_ino);
            EXPECT_TRUE(!S_ISREG(before.st_mode) || (ca::FileToString(path, text) && text == "old"));
        }
        EXPECT_FALSE(ca::IsRegularFile(home.Path() + "/missing")) << "written through the link";
        EXPECT_TRUE(!ca::IsRegularFile(path + "-target") ||
                    (ca::FileToString(path + "-target", text) && text == "old"));
    }
}

// A write that fails midway (here the file-size limit) leaves the old file whole and no temporary.
TEST(FileUtil, FailedAtomicWriteKeepsTheOldFile) {
    CTempHome home;
    const std::string path = home.Path() + "/out";
    ASSERT_TRUE(ca::StringToFile(path, "old"));
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{16, 16};
        std::string error;
        const std::string big(4096, 'x');
        _exit(setrlimit(RLIMIT_FSIZE, &limit) == 0 &&
                      !ca::WriteFileAtomic(path, big.data(), big.size(), 0644, true, error) &&
                      error.find("File too large") != std::string::npos
                  ? 0
                  : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    std::string text;
    EXPECT_TRUE(ca::FileToString(path, text) && text == "old");
    EXPECT_EQ(Entries(home.Path()), 1u);
}

}  // namespace

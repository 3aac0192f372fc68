#include "tests/storage/storageFixture.h"

#include <cstdlib>
#include <sstream>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

class PosixStorage : public Storage {};

TEST_F(PosixStorage, OnlyOrdinaryFilesAndRealFoldersAreOpened) {
    writeFile(root / "file", "x");
    fs::create_directory(root / "dir");
    fs::create_symlink("file", root / "link");
    fs::create_directory_symlink("dir", root / "dirlink");
    ASSERT_EQ(mkfifo((root / "fifo").c_str(), 0600), 0);
    for (const char *name : {"link", "dirlink", "fifo"}) {
        SCOPED_TRACE(name);
        InputFile file;
        Folder below;
        EXPECT_EQ(folder.openFile(name, file).kind, Failure::WrongKind);
        EXPECT_EQ(folder.openFolder(name, below).kind, Failure::WrongKind);
    }
    InputFile followed;
    EXPECT_TRUE(folder.openFile("link", followed, Folder::Links::Follow).ok());
    EXPECT_EQ(folder.makeFolder("dirlink").kind, Failure::Exists);
}

TEST_F(PosixStorage, ALinkIsReplacedAndNotWrittenThrough) {
    writeFile(root / "target", "untouched");
    fs::create_symlink("target", root / "link");
    EXPECT_EQ(commit("link", "new", Replace::No).kind, Failure::Exists);
    EXPECT_TRUE(commit("link", "new", Replace::Yes).ok());
    EXPECT_EQ(filesIn(root.path()), (Files{{"link", "new"}, {"target", "untouched"}}));
}

TEST_F(PosixStorage, WritesAreStampedOnDisksOnly) {
    // A store through a memory mapping changes no time there.
    EXPECT_TRUE(folder.open("/dev/shm").ok() && !folder.stampsWrites());
    EXPECT_TRUE(folder.open("/proc").ok() && !folder.stampsWrites());
}

TEST_F(PosixStorage, TheStartOfTheSystemIsKnown) {
    std::istringstream lines(readFile(fs::path("/proc/stat")));
    std::string word;
    std::int64_t seconds = 0;
    while (word != "btime" && lines >> word)
        continue;
    ASSERT_TRUE(lines >> seconds);
    EXPECT_LE(std::abs(platform::systemStart() / 1'000'000'000 - seconds), 1);
}

} // namespace

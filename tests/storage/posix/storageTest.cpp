#include "tests/storage/storageFixture.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

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

// Another program acts after the file was checked and before it is removed.
TEST_F(PosixStorage, AFileThatIsReplacedOrWrittenToWhileItIsCheckedIsNotRemoved) {
    const fs::path file = root / "file";
    const auto openToWrite = [&] {
        return ::open(file.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    };
    const struct {
        const char *what;
        std::function<void()> happens;
        bool removed;
    } rows[] = {
        {"nothing", [] {}, true},
        {"a reader", [&] { readFile(file); }, true},
        {"another file in its place",
         [&] {
             writeFile(root / "other", "edited");
             fs::rename(root / "other", file);
         },
         false},
        {"a writer, which waits", [&] { EXPECT_TRUE(openToWrite() < 0 && errno == EWOULDBLOCK); },
         false},
        {"a new time", [&] { setFileTime(file, 1'000'000'000); }, true}, // checked once more
    };
    for (const auto &row : rows) {
        for (const bool fresh : {false, true}) {
            SCOPED_TRACE(std::string(row.what) + (fresh ? ", fresh" : ""));
            writeFile(file, "packed");
            int checks = 0;
            const auto check = [&](const FileInfo &info, const platform::OpenInput &open) {
                InputFile *const opened = open();
                EXPECT_TRUE(opened != nullptr && opened->holdOffWriters(info.device));
                std::string bytes(info.size, '\0');
                std::size_t got = 0;
                EXPECT_TRUE(opened->readAt(0, bytes.data(), bytes.size(), got).ok());
                if (checks++ == 0)
                    row.happens();
                return bytes == "packed";
            };
            EXPECT_EQ(folder.removeFileIf("file", fresh, check).ok(), row.removed);
            EXPECT_EQ(fs::exists(file), !row.removed);
        }
    }
    // Who has it open for writing is found, and a removal that finds it has no effect.
    writeFile(file, "packed");
    const int writer = openToWrite();
    const auto check = [&](const FileInfo &info, const platform::OpenInput &open) {
        return open()->holdOffWriters(info.device);
    };
    EXPECT_EQ(folder.removeFileIf("file", false, check).kind, Failure::Busy);
    ::close(writer);
    EXPECT_TRUE(folder.removeFileIf("file", false, check).ok());
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

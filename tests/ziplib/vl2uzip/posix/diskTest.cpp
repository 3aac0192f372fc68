#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <atomic>
#include <sys/stat.h>
#include <thread>

namespace fs = std::filesystem;
using Files = std::map<std::string, std::string>;

namespace {

const char *const sample = "archives/python-zipfile.vl2";

} // namespace

TEST(Disk, LinksBelowTheTargetAreNeverFollowed) {
    const ScratchFolder scratch;
    const fs::path outside = scratch / "outside";
    const fs::path target = scratch / "target";
    fs::create_directories(outside);
    fs::create_directories(target);
    fs::create_directory_symlink(outside, target / "maps");
    writeFile(outside / "readme.txt", "mine");
    fs::create_symlink(outside / "readme.txt", target / "readme.txt");
    UnzipCall call;
    EXPECT_EQ(call.extract(dataFile(sample), target), 1);
    EXPECT_EQ(filesIn(outside), (Files{{"readme.txt", "mine"}}));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(target / "readme.txt")));
    EXPECT_TRUE(fs::exists(target / "sound" / "w.wav"));
}

TEST(Disk, AFolderThatBecomesALinkMeanwhileLeadsNowhere) {
    // Somebody swaps a folder for a link all the time while the archive is extracted.
    const ScratchFolder scratch;
    const fs::path outside = scratch / "outside";
    const fs::path target = scratch / "target";
    fs::create_directories(outside);
    fs::create_directories(target);
    fs::create_directory_symlink(outside, scratch / "link");
    std::atomic<bool> end{false};
    std::thread attacker([&] {
        while (!end) {
            std::error_code ignored;
            fs::rename(target / "maps", scratch / "aside", ignored);
            fs::rename(scratch / "link", target / "maps", ignored);
            fs::rename(target / "maps", scratch / "link", ignored);
            fs::rename(scratch / "aside", target / "maps", ignored);
        }
    });
    for (int i = 0; i < 200; ++i) {
        UnzipCall call;
        call.extract(dataFile(sample), target);
    }
    end = true;
    attacker.join();
    EXPECT_TRUE(filesIn(outside).empty());
}

TEST(Disk, APipeIsNoArchiveAndNeverWaitedFor) {
    const ScratchFolder scratch;
    const std::string pipe = scratch / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    UnzipCall call;
    EXPECT_EQ(call.list(pipe), 9);
    EXPECT_FALSE(call.messages.empty());
}

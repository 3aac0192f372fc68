#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <thread>

namespace fs = std::filesystem;

TEST(Disk, LinksBelowTheTargetAreNeverFollowed) {
    const TestFolder folder;
    const fs::path outside = folder / "outside";
    const fs::path target = folder / "target";
    fs::create_directories(target);
    writeFile(outside / "readme.txt", "mine");
    fs::create_directory_symlink(outside, target / "maps");
    fs::create_symlink(outside / "readme.txt", target / "readme.txt");
    UnzipCall call;
    EXPECT_EQ(call.extract("archives/python-zipfile", target), 1);
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(target / "readme.txt")));
    EXPECT_TRUE(fs::exists(target / "sound" / "w.wav"));
    // Another thread replaces a folder by a link, and back, during the extractions.
    fs::rename(target / "maps", folder / "link");
    fs::create_directories(target / "maps");
    const std::jthread attacker([&](const std::stop_token &stop) {
        while (!stop.stop_requested()) {
            std::error_code ignored;
            fs::rename(target / "maps", folder / "aside", ignored);
            fs::rename(folder / "link", target / "maps", ignored);
            fs::rename(target / "maps", folder / "link", ignored);
            fs::rename(folder / "aside", target / "maps", ignored);
        }
    });
    for (int i = 0; i < 200; ++i)
        UnzipCall().extract("archives/python-zipfile", target);
    EXPECT_EQ(filesIn(outside), (std::map<std::string, std::string>{{"readme.txt", "mine"}}));
}

TEST(Disk, APipeIsNoArchiveAndIsNotWaitedFor) {
    const TestFolder folder;
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    UnzipCall call;
    EXPECT_EQ(call.list(pipe), 9);
    EXPECT_FALSE(call.messages.empty());
}

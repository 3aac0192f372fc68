#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <atomic>
#include <sys/stat.h>
#include <thread>

namespace fs = std::filesystem;

namespace {

const char *const sample = "archives/python-zipfile";

// A target folder, and another one that no extraction may write to.
class Links : public testing::Test {
  protected:
    Links() {
        fs::create_directories(outside);
        fs::create_directories(target);
    }

    TestFolder folder;
    const fs::path outside = folder / "outside";
    const fs::path target = folder / "target";
};

} // namespace

TEST_F(Links, BelowTheTargetAreNeverFollowed) {
    fs::create_directory_symlink(outside, target / "maps");
    writeFile(outside / "readme.txt", "mine");
    fs::create_symlink(outside / "readme.txt", target / "readme.txt");
    UnzipCall call;
    EXPECT_EQ(call.extract(sample, target), 1);
    EXPECT_EQ(filesIn(outside), (std::map<std::string, std::string>{{"readme.txt", "mine"}}));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(target / "readme.txt")));
    EXPECT_TRUE(fs::exists(target / "sound" / "w.wav"));
}

TEST_F(Links, ThatReplaceAFolderDuringAnExtractionAreNotFollowed) {
    // Another thread replaces a folder by a link, and back, during the extractions.
    fs::create_directory_symlink(outside, folder / "link");
    std::atomic<bool> end{false};
    std::thread attacker([&] {
        while (!end) {
            std::error_code ignored;
            fs::rename(target / "maps", folder / "aside", ignored);
            fs::rename(folder / "link", target / "maps", ignored);
            fs::rename(target / "maps", folder / "link", ignored);
            fs::rename(folder / "aside", target / "maps", ignored);
        }
    });
    for (int i = 0; i < 200; ++i) {
        UnzipCall call;
        call.extract(sample, target);
    }
    end = true;
    attacker.join();
    EXPECT_TRUE(filesIn(outside).empty());
}

TEST(Disk, APipeIsNoArchiveAndIsNotWaitedFor) {
    const TestFolder folder;
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    UnzipCall call;
    EXPECT_EQ(call.list(pipe), 9);
    EXPECT_FALSE(call.messages.empty());
}

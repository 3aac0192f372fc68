#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

const char *const sample = "archives/python-zipfile.vl2";

} // namespace

TEST(Disk, FoldersAndFilesOfTheSameNameStay) {
    const ScratchFolder scratch;
    fs::create_directories(scratch / "readme.txt" / "inside");
    writeFile(scratch / "maps", "mine");
    UnzipCall call;
    EXPECT_EQ(call.extract(dataFile(sample), scratch.path()), 1);
    EXPECT_EQ(contentOf(scratch / "maps"), "mine");
    EXPECT_TRUE(fs::is_directory(scratch / "readme.txt" / "inside"));
    EXPECT_TRUE(fs::exists(scratch / "sound" / "w.wav"));
}

TEST(Disk, ATargetThatCannotBeMadeIsReported) {
    const ScratchFolder scratch;
    writeFile(scratch / "file", "mine");
    UnzipCall call;
    EXPECT_EQ(call.extract(dataFile(sample), scratch / "file" / "below"), 1);
    EXPECT_FALSE(call.messages.empty());
    EXPECT_TRUE(call.processed.empty());
}

#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

TEST(Disk, FoldersAndFilesOfTheSameNameStay) {
    const TestFolder folder;
    writeFile(folder / "readme.txt" / "inside", "mine");
    writeFile(folder / "maps", "mine");
    UnzipCall call;
    EXPECT_EQ(call.extract("archives/python-zipfile", folder.path()), 1);
    EXPECT_EQ(readFile(folder / "maps"), "mine");
    EXPECT_EQ(readFile(folder / "readme.txt" / "inside"), "mine");
    EXPECT_TRUE(std::filesystem::exists(folder / "sound" / "w.wav"));
}

TEST(Disk, ATargetThatCannotBeMadeIsReported) {
    const TestFolder folder;
    writeFile(folder / "file", "mine");
    UnzipCall call;
    EXPECT_EQ(call.extract("archives/python-zipfile", folder / "file" / "below"), 1);
    EXPECT_FALSE(call.messages.empty());
    EXPECT_TRUE(call.processed.empty());
}

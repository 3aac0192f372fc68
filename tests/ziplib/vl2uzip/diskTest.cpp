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

TEST(Disk, AFileThatStaysNeedsNoRoomInWhateverFolder) {
    const TestFolder folder;
    std::string bytes = readFile(dataFile("hostile/bomb-size-zip64.vl2"));
    // "a.txt" becomes a file in a folder.
    for (std::size_t at = bytes.find("a.txt"); at != std::string::npos; at = bytes.find("a.txt"))
        bytes[at + 1] = '/';
    writeFile(folder / "large.vl2", bytes);
    writeFile(folder / "target/a/txt", "mine");
    UnzipCall call;
    call.options.ExtractOnlyNewer = 1;
    EXPECT_EQ(call.extract((folder / "large.vl2").string(), folder / "target"), 0);
    EXPECT_EQ(readFile(folder / "target/good.txt"), "good");
}

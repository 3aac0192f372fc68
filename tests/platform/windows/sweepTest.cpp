#include "platform/sweep.h"

#include "platform/files.h"
#include "tests/platform/windows/scratchFolder.h"

namespace {

class WindowsSweep : public ScratchFolder {
  protected:
    QString work() const { return QString::fromStdWString((root / "temp" / "Classic").wstring()); }
};

TEST_F(WindowsSweep, ListedFilesAndFoldersGoHoweverTheyAreWritten) {
    for (const char *name : {"readme.txt", "textures/sky.png", "textures/deep/a.png",
                             "Scripts/main.CS", "Scripts/b.cs"})
        put(std::string("temp/Classic/") + name);
    platform::setAttributes(work() + "\\textures\\sky.png",
                            platform::AttributeReadOnly | platform::AttributeHidden);
    platform::Sweep sweep(work());
    for (const char *listed : {"\\readme.txt", "TEXTURES\\sky.png", "textures/deep\\a.png",
                               "scripts\\\\MAIN.cs ", "scripts\\b.cs"}) {
        EXPECT_TRUE(sweep.deleteFile(listed)) << listed;
        EXPECT_FALSE(sweep.deleteFile(listed)) << listed;
    }
    EXPECT_FALSE(sweep.removeFolder("textures"));
    for (const char *folder : {"textures\\deep", "textures", "SCRIPTS", ""})
        EXPECT_TRUE(sweep.removeFolder(folder)) << folder;
    EXPECT_FALSE(exists("temp/Classic"));
}

TEST_F(WindowsSweep, HiddenFilesStayAndNothingLeavesTheWorkFolder) {
    put("temp/neighbour.txt");
    put("temp/Classic/sub/x.txt");
    put("temp/Classic/sub/hidden.txt");
    put("temp/Classic/fixed.txt");
    platform::setAttributes(work() + "\\sub\\hidden.txt", platform::AttributeHidden);
    platform::setAttributes(work() + "\\fixed.txt", platform::AttributeReadOnly);
    platform::Sweep sweep(work());
    for (const char *name :
         {"..\\neighbour.txt", "sub\\..\\..\\neighbour.txt", "sub", "", "..", "sub\\x.txt:stream"})
        EXPECT_FALSE(sweep.deleteFile(name)) << name;
    EXPECT_FALSE(sweep.deleteFilesIn(".."));
    EXPECT_FALSE(sweep.removeFolder(".."));
    EXPECT_FALSE(sweep.deleteFilesIn("sub"));
    EXPECT_FALSE(exists("temp/Classic/sub/x.txt"));
    EXPECT_TRUE(exists("temp/Classic/sub/hidden.txt"));
    EXPECT_TRUE(sweep.clearAttributes("sub\\HIDDEN.txt"));
    EXPECT_FALSE(sweep.clearAttributes("sub"));
    EXPECT_TRUE(sweep.deleteFilesIn("sub"));
    EXPECT_FALSE(sweep.removeFolder(""));
    EXPECT_TRUE(sweep.deleteFilesIn(""));
    EXPECT_FALSE(exists("temp/Classic/fixed.txt"));
    EXPECT_TRUE(exists("temp/neighbour.txt"));
}

} // namespace

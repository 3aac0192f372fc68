#include "platform/sweep.h"
#include "platform/files.h"
#include "tests/platform/filesFixture.h"

namespace {

class SweepTest : public FilesFixture {
  protected:
    QString work() const { return at("temp\\Classic"); }
};

TEST_F(SweepTest, ListedFilesAreDeletedHoweverTheyAreWritten) {
    struct Row {
        const char *listed;
        const char *stored;
    };
    const Row rows[] = {
        {"\\readme.txt", "readme.txt"},
        {"textures\\sky.png", "textures/sky.png"},
        {"textures/deep\\a.png", "textures/deep/a.png"},
        {"scripts\\MAIN.cs", "Scripts/main.CS"},
        {"scripts\\\\double.cs", "Scripts/double.cs"},
        {"scripts\\blank.cs ", "Scripts/blank.cs"},
    };
    for (const Row &row : rows)
        makeFile(QByteArray("temp/Classic/") + row.stored);
    platform::setAttributes(at("temp/Classic/textures/sky.png"),
                            platform::AttributeReadOnly | platform::AttributeHidden);
    platform::Sweep sweep(work());
    for (const Row &row : rows) {
        EXPECT_TRUE(sweep.deleteFile(row.listed)) << row.listed;
        EXPECT_FALSE(exists(QByteArray("temp/Classic/") + row.stored)) << row.stored;
        EXPECT_FALSE(sweep.deleteFile(row.listed)) << row.listed;
    }
}

TEST_F(SweepTest, NoNameLeavesTheWorkFolder) {
    const QString outside = makeFile("temp/neighbour.txt");
    makeFile("temp/Classic/sub/x.txt");
    platform::Sweep sweep(work());
    for (const QString &name :
         {QString("..\\neighbour.txt"), QString("sub\\..\\..\\neighbour.txt"), QString(".."),
          outside, "Z:" + outside, QString(""), QString("sub"), QString("sub\\"), QString("x.txt"),
          QString("sub\\x.txt:stream"), QString("sub\\x.txt") + QChar(0)}) {
        EXPECT_FALSE(sweep.clearAttributes(name)) << name.toStdString();
        EXPECT_FALSE(sweep.deleteFile(name)) << name.toStdString();
    }
    EXPECT_FALSE(sweep.deleteFilesIn(".."));
    EXPECT_FALSE(sweep.removeFolder(".."));
    EXPECT_TRUE(exists("temp/neighbour.txt"));
    EXPECT_TRUE(exists("temp/Classic/sub/x.txt"));
}

TEST_F(SweepTest, AFolderIsEmptiedOfFilesAndRemovedWhenNothingIsLeft) {
    for (const char *name : {"a.txt", "Sub/b.txt", "Sub/hidden.txt", "Sub/Deep/c.txt"})
        makeFile(QByteArray("temp/Classic/") + name);
    platform::setAttributes(at("temp/Classic/a.txt"), platform::AttributeReadOnly);

    platform::Sweep sweep(work());
    EXPECT_TRUE(sweep.deleteFilesIn({}));
    for (const int kept : std::initializer_list<int>{
             platform::AttributeSystem, platform::AttributeHidden,
             platform::AttributeHidden | platform::AttributeSystem | platform::AttributeReadOnly}) {
        platform::setAttributes(at("temp/Classic/Sub/hidden.txt"), kept);
        EXPECT_FALSE(sweep.deleteFilesIn("sub")) << "it stays with " << kept;
    }
    EXPECT_FALSE(sweep.removeFolder("sub"));
    EXPECT_TRUE(sweep.deleteFilesIn("Sub\\Deep"));
    EXPECT_TRUE(sweep.removeFolder("sub\\deep"));
    EXPECT_FALSE(sweep.removeFolder({}));
    for (const char *name : {"sub\\HIDDEN.txt", "Sub\\hidden.txt"}) {
        EXPECT_TRUE(sweep.clearAttributes(name)) << "also one that has none";
        EXPECT_EQ(platform::attributes(at("temp/Classic/Sub/hidden.txt")) &
                      ~platform::AttributeArchive, // some systems set it themselves
                  platform::AttributeNormal);
    }
    EXPECT_TRUE(sweep.deleteFilesIn("Sub"));
    EXPECT_TRUE(sweep.removeFolder("Sub"));
    EXPECT_TRUE(sweep.removeFolder({}));
    EXPECT_EQ(namesIn("temp"), QStringList());
    // Nothing to work on any more.
    EXPECT_FALSE(sweep.clearAttributes("a.txt") || sweep.deleteFile("a.txt") ||
                 sweep.deleteFilesIn({}) || sweep.removeFolder({}));
}

TEST_F(SweepTest, WhatWasChangedAfterTheMomentStays) {
    for (const char *name : {"old.cs", "sub/old.png", "sub/written.png", "sub/replaced.png"})
        makeFile(QByteArray("temp/Classic/") + name);
    platform::Sweep sweep(work());
    sweep.keepChangedAfter(platform::fileTimeNow());
    makeFile("temp/Classic/sub/written.png");
    // An editor's new file, made to look old, over the old one.
    const std::filesystem::path part = makeFile("temp/Classic/new.part").toStdString();
    std::filesystem::last_write_time(part, {});
    std::filesystem::rename(part, bytesAt("temp/Classic/sub/replaced.png").toStdString());
    EXPECT_TRUE(sweep.deleteFile("old.cs"));
    EXPECT_FALSE(sweep.deleteFile("sub\\written.png"));
    EXPECT_FALSE(sweep.deleteFilesIn("sub"));
    EXPECT_TRUE(sweep.deleteFilesIn({}));
    EXPECT_EQ(namesIn("temp/Classic/sub"), QStringList({"replaced.png", "written.png"}));
}

// Files are stamped by a clock that stands still for some milliseconds at a time.
TEST_F(SweepTest, TheMomentPartsWhatComesRightBeforeItFromWhatComesRightAfter) {
    for (int i = 0; i < 50; ++i) {
        makeFile("temp/Classic/before.cs");
        platform::Sweep sweep(work());
        sweep.keepChangedAfter(platform::fileTimeNow());
        makeFile("temp/Classic/after.cs");
        ASSERT_FALSE(sweep.deleteFile("after.cs"));
        ASSERT_TRUE(sweep.deleteFile("before.cs"));
    }
}

} // namespace

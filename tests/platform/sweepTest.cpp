#include "platform/sweep.h"
#include "platform/files.h"
#include "tests/platform/filesFixture.h"

#include <QElapsedTimer>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class SweepTest : public FilesFixture {
  protected:
    SweepTest() { makeFile("outside/keep.txt"); }

    QString work() const { return at("temp\\Classic"); }
    void makeLink(const QByteArray &name, const QByteArray &target) const {
        ASSERT_EQ(::symlink(target.constData(), bytesAt(name).constData()), 0);
    }
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
        {"scripts\\.dot", "Scripts/.dot"},
        {"scripts\\*.cs", "Scripts/*.cs"},
        {"scripts\\\xc3\xa4.cs", "Scripts/\xc3\x84.cs"},
    };
    for (const Row &row : rows)
        makeFile(QByteArray("temp/Classic/") + row.stored);
    platform::setAttributes(at("temp/Classic/textures/sky.png"),
                            platform::AttributeReadOnly | platform::AttributeHidden);
    platform::Sweep sweep(work());
    for (const Row &row : rows) {
        EXPECT_TRUE(sweep.deleteFile(QString::fromUtf8(row.listed))) << row.listed;
        EXPECT_FALSE(exists(QByteArray("temp/Classic/") + row.stored)) << row.stored;
        EXPECT_FALSE(sweep.deleteFile(QString::fromUtf8(row.listed))) << row.listed;
    }
}

TEST_F(SweepTest, TheExactNameIsTakenBeforeOneInAnotherCase) {
    makeFile("temp/Classic/a.cs");
    makeFile("temp/Classic/A.cs");
    platform::Sweep sweep(work());
    EXPECT_TRUE(sweep.deleteFile("a.cs"));
    EXPECT_TRUE(exists("temp/Classic/A.cs"));
}

TEST_F(SweepTest, NoNameLeavesTheWorkFolder) {
    makeFile("temp/Classic/sub/x.txt");
    makeFile("temp/neighbour.txt");
    makeLink("temp/Classic/link", "../../outside");
    makeLink("temp/Classic/sub/inner", "../../../outside");
    const QByteArray absolute = bytesAt("outside/keep.txt");
    platform::Sweep sweep(work());
    for (const QString &name :
         {QString("..\\neighbour.txt"), QString("sub\\..\\..\\neighbour.txt"), QString(".."),
          QString("link\\keep.txt"), QString("sub\\inner\\keep.txt"), QString("LINK\\keep.txt"),
          QString::fromUtf8(absolute), QString("Z:") + QString::fromUtf8(absolute), QString(""),
          QString("sub"), QString("sub\\"), QString("x.txt"), QString("sub\\x.txt") + QChar(0)}) {
        EXPECT_FALSE(sweep.clearAttributes(name)) << name.toStdString();
        EXPECT_FALSE(sweep.deleteFile(name)) << name.toStdString();
    }
    EXPECT_FALSE(sweep.deleteFilesIn("link"));
    EXPECT_FALSE(sweep.deleteFilesIn(".."));
    EXPECT_FALSE(sweep.removeFolder("link"));
    EXPECT_FALSE(sweep.removeFolder(".."));
    for (const char *kept : {"outside/keep.txt", "temp/neighbour.txt", "temp/Classic/sub/x.txt"})
        EXPECT_TRUE(exists(kept)) << kept;

    // The links themselves are files of the work folder.
    EXPECT_TRUE(sweep.deleteFile("link"));
    EXPECT_TRUE(sweep.deleteFilesIn("sub"));
    EXPECT_TRUE(sweep.removeFolder("sub"));
    EXPECT_TRUE(exists("outside/keep.txt"));
}

TEST_F(SweepTest, AttributesOfAFileAreClearedAndOfALinkAreNot) {
    const QString file = makeFile("temp/Classic/Scripts/main.cs");
    const QString other = makeFile("temp/Classic/plain.cs");
    const QString target = makeFile("outside/readonly.txt");
    makeLink("temp/Classic/link.txt", "../../outside/readonly.txt");
    for (const QString &path : {file, target})
        platform::setAttributes(path, platform::AttributeReadOnly | platform::AttributeSystem);
    platform::setAttributes(other, platform::AttributeHidden);

    platform::Sweep sweep(work());
    EXPECT_TRUE(sweep.clearAttributes("scripts\\MAIN.cs"));
    EXPECT_TRUE(sweep.clearAttributes("\\plain.cs"));
    EXPECT_TRUE(sweep.clearAttributes("\\plain.cs")) << "clear already";
    EXPECT_FALSE(sweep.clearAttributes("link.txt"));
    EXPECT_FALSE(sweep.clearAttributes("missing.txt"));
    EXPECT_EQ(platform::attributes(file), platform::AttributeNormal);
    EXPECT_EQ(platform::attributes(other), platform::AttributeNormal);
    EXPECT_EQ(platform::attributes(target),
              platform::AttributeReadOnly | platform::AttributeSystem);
}

TEST_F(SweepTest, AFolderIsEmptiedOfFilesAndRemovedWhenNothingIsLeft) {
    makeFile("temp/Classic/a.txt");
    makeFile("temp/Classic/caf\xe9.txt");
    makeFile("temp/Classic/.dot");
    makeFile("temp/Classic/Sub/b.txt");
    makeFile("temp/Classic/Sub/hidden.txt");
    makeFile("temp/Classic/Sub/Deep/c.txt");
    platform::setAttributes(at("temp/Classic/Sub/hidden.txt"), platform::AttributeHidden);
    platform::setAttributes(at("temp/Classic/a.txt"), platform::AttributeReadOnly);

    platform::Sweep sweep(work());
    EXPECT_TRUE(sweep.deleteFilesIn({}));
    EXPECT_FALSE(sweep.deleteFilesIn("sub")) << "a hidden file stays";
    EXPECT_FALSE(sweep.removeFolder("sub"));
    EXPECT_TRUE(sweep.deleteFilesIn("Sub\\Deep"));
    EXPECT_TRUE(sweep.removeFolder("sub\\deep"));
    EXPECT_FALSE(sweep.removeFolder({}));
    EXPECT_TRUE(sweep.deleteFile("Sub\\hidden.txt"));
    EXPECT_TRUE(sweep.removeFolder("Sub"));
    EXPECT_TRUE(sweep.removeFolder({}));
    EXPECT_FALSE(exists("temp/Classic"));
    EXPECT_TRUE(exists("temp"));
    EXPECT_FALSE(sweep.deleteFile("a.txt")) << "nothing to work on any more";
}

TEST_F(SweepTest, AWorkFolderThatIsMissingIsNoError) {
    platform::Sweep sweep(at("temp\\nothing"));
    EXPECT_FALSE(sweep.clearAttributes("a"));
    EXPECT_FALSE(sweep.deleteFile("a"));
    EXPECT_FALSE(sweep.deleteFilesIn({}));
    EXPECT_FALSE(sweep.removeFolder({}));
}

TEST_F(SweepTest, HundredsOfFoldersNeedFewOpenFiles) {
    constexpr int kFolders = 100;
    for (int i = 0; i < kFolders; ++i)
        makeFile("temp/Classic/f" + QByteArray::number(i) + "/g/h/x.txt");
    rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit few = {64, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    int done = 0;
    {
        platform::Sweep sweep(work());
        for (int i = 0; i < kFolders; ++i) {
            const QString inner = QString("f%1\\g\\h").arg(i);
            done += sweep.clearAttributes(inner + "\\x.txt") && sweep.deleteFile(inner + "\\x.txt");
        }
    }
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(done, kFolders);
}

TEST_F(SweepTest, ThousandsOfMissingFilesDoNotCostAReadingOfTheFolderEach) {
    constexpr int kFiles = 8'000;
    for (int i = 0; i < kFiles; ++i)
        makeFile("temp/Classic/x" + QByteArray::number(i), "");
    platform::Sweep sweep(work());
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < kFiles; ++i)
        EXPECT_FALSE(sweep.deleteFile(QString("missing%1").arg(i)));
    // Read each time, this takes much longer.
    EXPECT_LT(timer.elapsed(), 5000);
}

} // namespace

TEST_F(SweepTest, WhatWasChangedAfterTheMomentStays) {
    for (const char *name : {"old.cs", "sub/old.png", "sub/written.png", "sub/replaced.png"})
        makeFile(QByteArray("temp/Classic/") + name);
    platform::Sweep sweep(work());
    sweep.keepChangedAfter(platform::fileTimeNow());
    makeFile("temp/Classic/sub/written.png");
    makeFile("temp/Classic/new.part");
    // An editor's new file, made to look old, over the old one.
    const timespec longAgo[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, bytesAt("temp/Classic/new.part").constData(), longAgo, 0), 0);
    ASSERT_EQ(::rename(bytesAt("temp/Classic/new.part").constData(),
                       bytesAt("temp/Classic/sub/replaced.png").constData()),
              0);
    EXPECT_TRUE(sweep.deleteFile("old.cs"));
    EXPECT_FALSE(sweep.deleteFile("sub\\written.png"));
    EXPECT_FALSE(sweep.deleteFilesIn("sub"));
    EXPECT_TRUE(sweep.deleteFilesIn({}));
    EXPECT_FALSE(exists("temp/Classic/sub/old.png"));
    EXPECT_TRUE(exists("temp/Classic/sub/written.png"));
    EXPECT_TRUE(exists("temp/Classic/sub/replaced.png"));
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

// The files of such a folder are older than the save, and were in no archive.
TEST_F(SweepTest, AFolderThatTookAnothersPlaceAfterTheMomentStaysWithAllInIt) {
    for (const char *name : {"temp/Classic/sub/a.png", "temp/Classic/sub/deep/b.png",
                             "temp/Classic/other/c.png", "new/a.png", "new/deep/b.png"})
        makeFile(name);
    platform::Sweep sweep(work());
    const std::int64_t moment = platform::fileTimeNow();
    ASSERT_EQ(::rename(bytesAt("temp/Classic/sub").constData(), bytesAt("away").constData()), 0);
    ASSERT_EQ(::rename(bytesAt("new").constData(), bytesAt("temp/Classic/sub").constData()), 0);
    makeFile("temp/Classic/other/late.png");
    sweep.keepChangedAfter(moment);
    EXPECT_FALSE(sweep.deleteFile("sub\\a.png"));
    EXPECT_FALSE(sweep.deleteFile("sub\\deep\\b.png"));
    EXPECT_FALSE(sweep.deleteFilesIn("sub\\deep"));
    EXPECT_TRUE(sweep.deleteFile("other\\c.png"));
    EXPECT_TRUE(exists("temp/Classic/sub/a.png"));
    EXPECT_TRUE(exists("temp/Classic/sub/deep/b.png"));
}

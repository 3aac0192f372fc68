#include "platform/workFolderCleaner.h"
#include "platform/files.h"
#include "tests/platform/filesFixture.h"

#include <QElapsedTimer>

#include <sys/resource.h>
#include <unistd.h>

namespace {

class PosixCleanerTest : public FilesFixture {
  protected:
    QString work() const { return at("temp\\Classic"); }
    void makeLink(const QByteArray &name, const QByteArray &target) const {
        ASSERT_EQ(::symlink(target.constData(), bytesAt(name).constData()), 0);
    }
};

TEST_F(PosixCleanerTest, ExactNamesComeBeforeOtherCasesAndPatternsAreNames) {
    for (const char *name : {"a.cs", "A.cs", "*.cs", "\xc3\x84.cs", "caf\xe9.txt", ".dot"})
        makeFile(QByteArray("temp/Classic/") + name);
    platform::WorkFolderCleaner cleaner(work());
    EXPECT_TRUE(cleaner.deleteFile("a.cs"));
    EXPECT_TRUE(cleaner.deleteFile("*.cs"));
    EXPECT_TRUE(cleaner.deleteFile(QString::fromUtf8("\xc3\xa4.cs")));
    EXPECT_TRUE(exists("temp/Classic/A.cs"));
    EXPECT_TRUE(cleaner.deleteFilesIn({}));
    EXPECT_TRUE(cleaner.removeFolder({}));
}

TEST_F(PosixCleanerTest, LinksAreDeletedAndNotFollowed) {
    const QString outside = makeFile("outside/keep.txt");
    setDos("outside/keep.txt", platform::AttributeReadOnly | platform::AttributeSystem);
    makeFolders("temp/Classic/sub");
    makeLink("temp/Classic/link", "../../outside");
    makeLink("temp/Classic/sub/inner", "../../../outside");
    makeLink("temp/Classic/link.txt", "../../outside/keep.txt");
    platform::WorkFolderCleaner cleaner(work());
    for (const char *name : {"link\\keep.txt", "sub\\inner\\keep.txt", "LINK\\keep.txt"}) {
        EXPECT_FALSE(cleaner.clearAttributes(name)) << name;
        EXPECT_FALSE(cleaner.deleteFile(name)) << name;
    }
    EXPECT_FALSE(cleaner.clearAttributes("link.txt"));
    EXPECT_FALSE(cleaner.deleteFilesIn("link"));
    EXPECT_FALSE(cleaner.removeFolder("link"));
    EXPECT_TRUE(cleaner.deleteFile("link"));
    EXPECT_TRUE(cleaner.deleteFilesIn("sub"));
    EXPECT_TRUE(cleaner.removeFolder("sub"));
    EXPECT_EQ(platform::attributes(outside),
              platform::AttributeReadOnly | platform::AttributeSystem);
    // After a save a link is deleted if the archive holds its target.
    platform::Folder folder;
    platform::FileInfo seen;
    ASSERT_TRUE(folder.open(bytesAt("outside").toStdString()).ok());
    ASSERT_TRUE(folder.info("keep.txt", seen).ok());
    platform::PackedFiles packed;
    packed.add(u"link.txt", seen, 0xFEC530A9, INT64_MIN);
    cleaner.deleteOnly(packed);
    EXPECT_TRUE(cleaner.deleteFile("link.txt"));
    makeLink("temp/Classic/link.txt", "nowhere");
    EXPECT_FALSE(cleaner.deleteFile("link.txt"));
    EXPECT_TRUE(exists("outside/keep.txt"));
}

TEST_F(PosixCleanerTest, HundredsOfFoldersNeedFewOpenFiles) {
    constexpr int kFolders = 100;
    for (int i = 0; i < kFolders; ++i)
        makeFile("temp/Classic/f" + QByteArray::number(i) + "/g/h/x.txt");
    rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit few = {64, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    int done = 0;
    {
        platform::WorkFolderCleaner cleaner(work());
        for (int i = 0; i < kFolders; ++i) {
            const QString inner = QString("f%1\\g\\h").arg(i);
            done +=
                cleaner.clearAttributes(inner + "\\x.txt") && cleaner.deleteFile(inner + "\\x.txt");
        }
    }
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(done, kFolders);
}

TEST_F(PosixCleanerTest, ThousandsOfMissingFilesDoNotReadTheFolderEach) {
    constexpr int kFiles = 2'000;
    for (int i = 0; i < kFiles; ++i)
        makeFile("temp/Classic/x" + QByteArray::number(i), "");
    platform::WorkFolderCleaner cleaner(work());
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < kFiles; ++i)
        EXPECT_FALSE(cleaner.deleteFile(QString("missing%1").arg(i)));
    // It takes many times this with a read for each.
    EXPECT_LT(timer.elapsed(), 1500);
}

} // namespace

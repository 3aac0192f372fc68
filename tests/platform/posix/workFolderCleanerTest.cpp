#include "platform/files.h"
#include "tests/platform/cleanerFixture.h"

#include <QElapsedTimer>

#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <unistd.h>

namespace {

class PosixCleanerTest : public CleanerFixture {};

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
    setDos("outside/keep.txt", platform::kAttributeReadOnly | platform::kAttributeSystem);
    makeFolders("temp/Classic/sub");
    makeLink("../../outside", pathOf(at("temp/Classic/link")));
    makeLink("../../../outside", pathOf(at("temp/Classic/sub/inner")));
    makeLink("../../outside/keep.txt", pathOf(at("temp/Classic/link.txt")));
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
    EXPECT_EQ(dosOf(outside), platform::kAttributeReadOnly | platform::kAttributeSystem);
    // After a save a link is deleted if the archive holds its target.
    platform::PackedFiles packed;
    packed.add(u"link.txt", stateOf("outside", "keep.txt"), kContentCrc, INT64_MIN);
    cleaner.deleteOnly(packed);
    EXPECT_TRUE(cleaner.deleteFile("link.txt"));
    makeLink("nowhere", pathOf(at("temp/Classic/link.txt")));
    EXPECT_FALSE(cleaner.deleteFile("link.txt"));
    EXPECT_TRUE(exists("outside/keep.txt"));
}

// A file server keeps such a lease for a client that has written bytes which it has not sent yet.
TEST_F(PosixCleanerTest, AFileThatCannotBeOpenedIsNotDeleted) {
    const auto file = pathOf(makeFile("temp/Classic/a.cs"));
    const platform::FileInfo seen = stateOf("temp/Classic", "a.cs");
    platform::Folder folder;
    platform::FileInfo now;
    ASSERT_TRUE(folder.open(file.parent_path().string()).ok());
    do // until the disk's clock moves: the times prove that nothing was written
        ASSERT_TRUE(folder.newFileInfo(now).ok());
    while (now.changed <= seen.changed);
    const int writer = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::fcntl(writer, F_SETSIG, SIGURG), 0);
    ASSERT_EQ(::fcntl(writer, F_SETLEASE, F_WRLCK), 0);
    platform::PackedFiles packed;
    packed.add(u"a.cs", seen, kContentCrc, now.changed, true);
    platform::WorkFolderCleaner cleaner(work());
    cleaner.deleteOnly(packed);
    EXPECT_FALSE(cleaner.deleteFile("a.cs"));
    ::close(writer);
    EXPECT_TRUE(cleaner.deleteFile("a.cs"));
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

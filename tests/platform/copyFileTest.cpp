#include "platform/files.h"
#include "tests/platform/filesFixture.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

using platform::ErrorNumber;

class CopyFileTest : public FilesFixture {
  protected:
    int entriesOf(const QString &name) const {
        return static_cast<int>(
            QDir(at(name))
                .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)
                .size());
    }
};

TEST_F(CopyFileTest, ACopyIsWholeAndKeepsTimeModeAndAttributes) {
    const QByteArray content(700'001, 'x');
    const QString source = makeFile("in/Png.8bi", content);
    makeFolders("out");
    platform::setAttributes(source, platform::AttributeHidden);
    const timespec times[2] = {{1'000'000'000, 0}, {1'000'000'000, 5}};
    ASSERT_EQ(::utimensat(AT_FDCWD, source.toUtf8().constData(), times, 0), 0);
    ASSERT_EQ(::chmod(source.toUtf8().constData(), 0640), 0);

    platform::copyFile(at("IN\\png.8BI"), at("OUT\\New.8bi"));
    EXPECT_EQ(contentOf(at("out/New.8bi")), content);
    EXPECT_EQ(platform::attributes(at("out/New.8bi")), platform::AttributeHidden);
    struct stat info = {};
    ASSERT_EQ(::stat(bytesAt("out/New.8bi").constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0640U);
    EXPECT_EQ(info.st_mtim.tv_sec, 1'000'000'000);
    EXPECT_EQ(entriesOf("out"), 1);
}

TEST_F(CopyFileTest, AFileThatIsThereIsReplacedUnderItsStoredName) {
    makeFile("new", "new");
    makeFile("out/Old.8bi", "old");
    platform::copyFile(at("new"), at("out\\OLD.8bi"));
    EXPECT_EQ(contentOf(at("out/Old.8bi")), QByteArray("new"));
    EXPECT_EQ(entriesOf("out"), 1);
}

TEST_F(CopyFileTest, ALinkIsWrittenThrough) {
    makeFile("new", "new");
    makeFile("elsewhere/real", "old");
    ASSERT_EQ(::symlink("elsewhere/real", bytesAt("link").constData()), 0);
    platform::copyFile(at("new"), at("link"));
    EXPECT_EQ(contentOf(at("elsewhere/real")), QByteArray("new"));
    EXPECT_TRUE(QFileInfo(at("link")).isSymLink());
}

TEST_F(CopyFileTest, ACopyThatCannotBeMadeIsAnErrorAndLeavesTheTargetAlone) {
    makeFile("file", "new");
    makeFile("out/readonly", "old");
    makeFolders("folder");
    platform::setAttributes(at("out/readonly"), platform::AttributeReadOnly);
    struct Row {
        const char *source;
        const char *target;
        ErrorNumber number;
    };
    for (const Row &row : {Row{"missing", "out/x", ErrorNumber::FileNotFound},
                           Row{"folder", "out/x", ErrorNumber::PathFileAccess},
                           Row{"file", "missing/x", ErrorNumber::PathNotFound},
                           Row{"file", "folder", ErrorNumber::PathFileAccess},
                           Row{"file", "out/readonly", ErrorNumber::PathFileAccess}})
        expectError(row.number, [&] { platform::copyFile(at(row.source), at(row.target)); });
    EXPECT_EQ(contentOf(at("out/readonly")), QByteArray("old"));
    EXPECT_EQ(entriesOf("out"), 1);
}

} // namespace

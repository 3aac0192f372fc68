#include "config/pngPlugin.h"

#include "config/modRegistry.h"
#include "platform/files.h"
#include "tests/support/game.h"
#include "tests/support/settings.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class PngPlugin : public testing::Test {
  protected:
    void SetUp() override {
        photoshop = home.filePath("Photoshop 6.0/");
        ASSERT_TRUE(QDir().mkpath(formats()));
        own = QDir::fromNativeSeparators(platform::nativePath(platform::programFolder())) +
              "/Png.8bi";
        target = formats() + "Png.8bi";
        backup = target + ".bak";
    }
    void TearDown() override { QFile::remove(own); }

    QString formats() const { return photoshop + "Plug-Ins/Adobe Photoshop Only/File Formats/"; }
    void registerPhotoshop(const QString &folder) {
        RegSetString(kHkeyLocalMachine, QString::fromUtf16(kPhotoshopKey), QString(), folder);
    }
    static QByteArray read(const QString &path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<absent>");
    }

    QTemporaryDir home;
    OwnSettings settings{home.path().toStdString()};
    QString photoshop;
    QString own;
    QString target;
    QString backup;
};

TEST_F(PngPlugin, ReplacesPhotoshopsFileAndKeepsTheOneThere) {
    registerPhotoshop(photoshop);
    writeFile(own, "ours");
    writeFile(target, "theirs");
    writeFile(backup, "an old backup");
    InstallPngPlugin();
    EXPECT_EQ(read(target), "ours");
    EXPECT_EQ(read(backup), "theirs");
    // Once more: what is backed up is what is in place by now.
    InstallPngPlugin();
    EXPECT_EQ(read(target), "ours");
    EXPECT_EQ(read(backup), "ours");
}

TEST_F(PngPlugin, TriesEachCopyWhateverBecameOfTheOther) {
    const struct {
        const char *what;
        const char *ours;   // "" is missing
        const char *theirs; // "" is missing
        const char *targetAfter;
        const char *backupAfter;
    } cases[] = {
        {"no plug-in of our own", "", "theirs", "theirs", "theirs"},
        {"none there yet", "ours", "", "ours", "<absent>"},
        {"neither", "", "", "<absent>", "<absent>"},
    };
    registerPhotoshop(photoshop);
    for (const auto &row : cases) {
        for (const QString &path : {own, target, backup})
            QFile::remove(path);
        if (*row.ours)
            writeFile(own, row.ours);
        if (*row.theirs)
            writeFile(target, row.theirs);
        InstallPngPlugin();
        EXPECT_EQ(read(target), row.targetAfter) << row.what;
        EXPECT_EQ(read(backup), row.backupAfter) << row.what;
    }
}

TEST_F(PngPlugin, CopiesThePlugInThoughTheBackupCannotBeWritten) {
    registerPhotoshop(photoshop);
    writeFile(own, "ours");
    writeFile(target, "theirs");
    ASSERT_TRUE(QDir().mkdir(backup)); // a folder in the backup's place
    InstallPngPlugin();
    EXPECT_EQ(read(target), "ours");
}

TEST_F(PngPlugin, DoesNothingWithoutARegisteredPhotoshop) {
    writeFile(own, "ours");
    writeFile(target, "theirs");
    InstallPngPlugin();
    EXPECT_EQ(read(target), "theirs");
    // An empty registration does not mean the current folder.
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(photoshop));
    registerPhotoshop(QString());
    InstallPngPlugin();
    QDir::setCurrent(before);
    EXPECT_EQ(read(target), "theirs");
    registerPhotoshop(home.filePath("uninstalled long ago/"));
    InstallPngPlugin();
    EXPECT_EQ(read(target), "theirs");
    EXPECT_FALSE(QFile::exists(backup));
}

} // namespace

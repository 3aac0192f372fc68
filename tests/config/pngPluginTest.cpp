#include "config/pngPlugin.h"

#include "config/modRegistry.h"
#include "platform/files.h"
#include "tests/registry/registryHome.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

// One case, as every test program has its plug-in in one folder: that of the programs.
TEST(PngPlugin, ReplacesPhotoshopsFileAndKeepsTheOneThere) {
    const RegistryHome home;
    const QString photoshop = home.path("Photoshop 6.0/");
    const QString target = photoshop + "Plug-Ins/Adobe Photoshop Only/File Formats/Png.8bi";
    const QString backup = target + ".bak";
    const QString own =
        QDir::fromNativeSeparators(platform::nativePath(platform::programFolder())) + "/Png.8bi";
    const struct {
        const char *what;
        QString registered;
        const char *ours, *theirs, *targetAfter, *backupAfter; // "" is missing
    } rows[] = {
        {"both", photoshop, "ours", "theirs", "ours", "theirs"},
        {"a second time", photoshop, "ours", "ours", "ours", "ours"},
        {"no plug-in of ours", photoshop, "", "theirs", "theirs", "theirs"},
        {"none there", photoshop, "ours", "", "ours", "theirs"},
        {"no Photoshop", "", "ours", "2nd", "2nd", "theirs"},
        {"removed Photoshop", home.path("gone/"), "ours", "2nd", "2nd", "theirs"},
    };
    const auto put = [](const QString &path, const char *bytes) {
        QFile::remove(path);
        if (*bytes != 0)
            writeFile(path, bytes);
    };
    put(backup, "an old backup");
    // An empty registration does not mean the current folder.
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(photoshop));
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        RegSetString(kHkeyLocalMachine, QString::fromUtf16(kPhotoshopKey), {}, row.registered);
        put(own, row.ours);
        put(target, row.theirs);
        InstallPngPlugin();
        EXPECT_EQ(readFile(target), row.targetAfter);
        EXPECT_EQ(readFile(backup), row.backupAfter);
    }
    QDir::setCurrent(before);
    // The second copy is made if the first one fails: a folder has the name of the backup.
    ASSERT_TRUE(QFile::remove(backup) && QDir().mkdir(backup));
    RegSetString(kHkeyLocalMachine, QString::fromUtf16(kPhotoshopKey), {}, photoshop);
    InstallPngPlugin();
    EXPECT_EQ(readFile(target), "ours");
    QFile::remove(own);
}

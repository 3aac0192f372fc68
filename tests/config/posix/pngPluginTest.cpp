#include "config/pngPlugin.h"

#include "config/modRegistry.h"
#include "platform/files.h"
#include "tests/support/game.h"
#include "tests/support/settings.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(PngPluginUnderWine, ReplacesTheFileOfThePrefixWhateverItsLetterCase) {
    const QTemporaryDir home;
    const OwnSettings settings(home.path().toStdString());
    const QString formats = home.filePath("wine/drive_c/Program Files/Photoshop/plug-ins/"
                                          "Adobe Photoshop Only/File Formats/");
    ASSERT_TRUE(QDir().mkpath(formats) && QDir().mkpath(home.filePath("wine/dosdevices")));
    ASSERT_TRUE(QFile::link(home.filePath("wine/drive_c"), home.filePath("wine/dosdevices/c:")));
    RegSetString(kHkeyLocalMachine, QString::fromUtf16(kPhotoshopKey), QString(),
                 "C:\\Program Files\\Photoshop\\");
    const QString own = platform::nativePath(platform::programFolder()) + "/Png.8bi";
    writeFile(own, "ours");
    writeFile(formats + "PNG.8BI", "theirs");
    InstallPngPlugin();
    EXPECT_EQ(readFile(formats + "PNG.8BI"), "ours");
    EXPECT_EQ(QDir(formats).entryList(QDir::Files).size(), 2);
    QFile::remove(own);
}

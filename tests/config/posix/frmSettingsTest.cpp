#include "config/frmSettings.h"

#include "tests/support/game.h"
#include "tests/support/settings.h"

#include <QPushButton>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// The hive file tells in which order its values were made.
TEST(SettingsHive, HoldsTheValuesInTheOrderOfTheWindowsRows) {
    const QTemporaryDir home;
    const OwnSettings settings(home.path().toStdString());
    QWidget main;
    auto *window = new frmSettings(&main);
    EXPECT_FALSE(window->windowFlags() & Qt::WindowCloseButtonHint) << "none that a desktop draws";
    window->findChild<QPushButton *>("cmdSaveSettings")->click();
    QStringList names; // a new value goes to the end of its key
    for (const QByteArray &line : readFile(home.filePath("config/orvel/system.reg")).split('\n'))
        if (line.startsWith('"'))
            names.append(QString::fromUtf8(line).section(u'"', 1, 1));
    EXPECT_EQ(names, QStringList({"PNG", "JPG", "GIF", "BMP", "Text", "WAV", "MP3", "AVI", "MPG"}));
}

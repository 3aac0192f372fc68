#include "config/frmSettings.h"

#include "tests/support/settings.h"

#include <QFile>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

// The desktop draws no button to close it.
TEST(SettingsFrame, HasNoCloseButton) {
    const QTemporaryDir home;
    const OwnSettings settings(home.path().toStdString());
    QWidget main;
    const frmSettings window(&main);
    EXPECT_FALSE(window.windowFlags() & Qt::WindowCloseButtonHint);
}

// The hive file tells in which order its values were made.
TEST(SettingsHive, HoldsTheValuesInTheOrderOfTheWindowsRows) {
    const QTemporaryDir home;
    const OwnSettings settings(home.path().toStdString());
    QWidget main;
    auto *window = new frmSettings(&main);
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    QTest::mouseClick(window->findChild<QPushButton *>("cmdSaveSettings"), Qt::LeftButton);
    QFile hive(home.filePath("config/orvel/system.reg"));
    ASSERT_TRUE(hive.open(QIODevice::ReadOnly));
    QStringList names; // a new value goes to the end of its key
    for (const QByteArray &line : hive.readAll().split('\n')) {
        if (line.startsWith('"'))
            names.append(QString::fromUtf8(line).section(u'"', 1, 1));
    }
    EXPECT_EQ(names, QStringList({"PNG", "JPG", "GIF", "BMP", "Text", "WAV", "MP3", "AVI", "MPG"}));
}

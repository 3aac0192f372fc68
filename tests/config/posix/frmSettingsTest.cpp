#include "config/frmSettings.h"

#include "tests/registry/registryHome.h"

#include <QPushButton>

#include <gtest/gtest.h>

// The hive file keeps its values in the order in which they were written.
TEST(SettingsHive, HoldsTheValuesInTheOrderOfTheWindowsRows) {
    const RegistryHome home;
    QWidget main;
    auto *window = new frmSettings(&main);
    EXPECT_FALSE(window->windowFlags() & Qt::WindowCloseButtonHint) << "no close button";
    window->findChild<QPushButton *>("cmdSaveSettings")->click();
    QStringList names;
    for (const QByteArray &line : home.hive().split('\n'))
        if (line.startsWith('"'))
            names.append(QString::fromUtf8(line).section(u'"', 1, 1));
    EXPECT_EQ(names, QStringList({"PNG", "JPG", "GIF", "BMP", "Text", "WAV", "MP3", "AVI", "MPG"}));
}

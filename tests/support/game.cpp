#include "tests/support/game.h"

#include "config/modRegistry.h"

#include <QDir>

#include <gtest/gtest.h>

TempGame::TempGame() : m_settings(m_root.path().toStdString()) {
    EXPECT_TRUE(m_root.isValid());
    QDir().mkpath(base());
    setGameFolder(folder());
    setTempFolder(QDir::toNativeSeparators(temp()));
}

void TempGame::setGameFolder(const QString &text) {
    RegSetString(kHkeyLocalMachine, QString::fromUtf16(kGameKey), "directory", text);
}

void TempGame::setTempFolder(const QString &text) {
    RegSetString(kHkeyLocalMachine, QString::fromUtf16(kProgramKey), "tempdir", text);
}

QString TempGame::tempFolderSetting() {
    return RegGetString(kHkeyLocalMachine, QString::fromUtf16(kProgramKey), "tempdir");
}

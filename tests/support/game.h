#pragma once

#include "tests/support/qtFiles.h"
#include "tests/support/settings.h"

#include <QString>
#include <QTemporaryDir>

// A game in a temporary folder, registered in its own settings store, with a temporary folder for
// work folders.
class TempGame {
  public:
    TempGame();

    // The native path of an archive in the game's base folder.
    QString archive(const QString &file) const { return base() + '/' + file; }
    QString base() const { return root() + "/Tribes2/GameData/base"; }
    QString folder() const { return root() + "/Tribes2"; }
    QString temp() const { return root() + "/temp"; }
    QString root() const { return m_root.path(); }

    // Set or remove (by an empty text) a setting that start-up reads.
    static void setGameFolder(const QString &text);
    static void setTempFolder(const QString &text);
    static QString tempFolderSetting();

  private:
    QTemporaryDir m_root;
    OwnSettings m_settings;
};

#pragma once

#include "tests/support/qtFiles.h"
#include "tests/support/settings.h"

#include <QDir>
#include <QTemporaryDir>

// A home for one test: settings folder and Wine prefix, both empty at first.
class RegistryHome {
  public:
    QString path(const QString &name) const { return m_folder.filePath(name); }
    QString hivePath() const { return path("config/orvel/system.reg"); }
    void clear() { m_settings.clear(); }
    QByteArray hive() const { return readFile(hivePath()); }
    void setHive(const QByteArray &text) const { writeFile(hivePath(), text); }
    void setWine(const QByteArray &text) const { writeFile(path("wine/system.reg"), text); }

  private:
    QTemporaryDir m_folder;
    OwnSettings m_settings{m_folder.path().toStdString()};
};

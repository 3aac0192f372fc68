#pragma once

#include "tests/support/files.h"
#include "tests/support/settings.h"

#include <QByteArray>
#include <QDir>
#include <QTemporaryDir>

// A home of its own for one test: settings folder and Wine prefix, both empty at first.
class RegistryHome {
  public:
    QString path(const QString &name) const { return m_folder.filePath(name); }
    QString hivePath() const { return path("config/orvel/system.reg"); }
    QByteArray hive() const { return read(hivePath()); }
    void setHive(const QByteArray &text) const { write(hivePath(), text); }
    void setWine(const QByteArray &text) const { write(path("wine/system.reg"), text); }

    static QByteArray read(const QString &path) {
        return QByteArray::fromStdString(readFile(path.toStdString()));
    }
    static void write(const QString &path, const QByteArray &text) {
        writeFile(path.toStdString(), text.toStdString());
    }

  private:
    QTemporaryDir m_folder;
    OwnSettings m_settings{m_folder.path().toStdString()};
};

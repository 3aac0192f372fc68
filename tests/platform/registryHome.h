#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

// A home of its own for one test: settings folder and Wine prefix, both empty at first.
class RegistryHome {
  public:
    RegistryHome() {
        qputenv("HOME", m_folder.path().toUtf8());
        qputenv("XDG_CONFIG_HOME", path("config").toUtf8());
        qputenv("WINEPREFIX", path("wine").toUtf8());
    }

    QString path(const QString &name) const { return m_folder.filePath(name); }
    QString hivePath() const { return path("config/orvel/system.reg"); }
    QByteArray hive() const { return read(hivePath()); }
    void setHive(const QByteArray &text) const { write(hivePath(), text); }
    void setWine(const QByteArray &text) const { write(path("wine/system.reg"), text); }

    static QByteArray read(const QString &path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    static void write(const QString &path, const QByteArray &text) {
        QDir().mkpath(path.section('/', 0, -2));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            qFatal("cannot write %s", qPrintable(path));
    }

  private:
    QTemporaryDir m_folder;
};

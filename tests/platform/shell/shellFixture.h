#pragma once

#include "tests/platform/filesFixture.h"

#include <QElapsedTimer>
#include <QThread>

#include <unistd.h>

// A folder for programs that is the whole $PATH, and stand-ins that record their start.
class ShellFixture : public FilesFixture {
  protected:
    ShellFixture()
        : m_path("PATH", bytesAt("bin")), m_record("ORVEL_RECORD", bytesAt("record")),
          m_visual("VISUAL", ""), m_data("XDG_DATA_HOME", bytesAt("data")),
          m_shared("XDG_DATA_DIRS", bytesAt("shared")) {
        makeFolders("bin");
    }

    // Makes a program that records its start.
    QString makeRecorder(const QString &name) const {
        QDir().mkpath(QFileInfo(at(name)).path());
        EXPECT_TRUE(QFile::copy(ORVEL_STAND_IN, at(name)));
        return at(name);
    }
    void makeExecutable(const QByteArray &name, const QByteArray &content) const {
        makeFile(name, content);
        ASSERT_EQ(::chmod(bytesAt(name).constData(), 0755), 0);
    }
    // A Windows program, without the execute bit of POSIX.
    QString makeWindowsProgram(const QByteArray &name) const {
        QByteArray header(128, '\0');
        header.replace(0, 2, "MZ");
        header[60] = 64;
        header.replace(64, 4, QByteArray("PE\0\0", 4));
        return makeFile(name, header);
    }

    // The arguments of a stand-in, itself first; empty if none was started.
    QList<QByteArray> recorded(int patienceMs = 10'000) const {
        QElapsedTimer timer;
        timer.start();
        while (!exists("record") && timer.elapsed() < patienceMs)
            QThread::msleep(5);
        if (!exists("record"))
            return {};
        QList<QByteArray> arguments = readFile(at("record")).split('\0');
        arguments.removeLast();
        ::unlink(bytesAt("record").constData());
        return arguments;
    }

  private:
    ScopedVariable m_path;
    ScopedVariable m_record;
    ScopedVariable m_visual;
    ScopedVariable m_data;
    ScopedVariable m_shared;
};

#pragma once

#include "platform/error.h"
#include "tests/registry/printBytes.h"
#include "tests/support/files.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>

// A folder of its own for each test, with files made by bytes.
class FilesFixture : public testing::Test {
  protected:
    // The path of a name in the folder.
    QString at(const QString &name) const { return m_folder.path() + '/' + name; }
    QByteArray bytesAt(const QByteArray &name) const {
        return QFile::encodeName(m_folder.path()) + '/' + name;
    }

    void makeFolders(const QString &name) const { ASSERT_TRUE(QDir().mkpath(at(name))); }
    // Makes a file and the folders above it; the name may hold bytes that are no UTF-8.
    QString makeFile(const QByteArray &name, const QByteArray &content = "content") const {
        const QByteArray path = bytesAt(name);
        writeFile(path.toStdString(), content.toStdString());
        return QFile::decodeName(path);
    }
    bool exists(const QByteArray &name) const {
        return std::filesystem::exists(
            std::filesystem::symlink_status(bytesAt(name).toStdString()));
    }
    static QByteArray contentOf(const QString &path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(cannot be read)");
    }
    QString folder() const { return m_folder.path(); }
    // All that a folder holds, whatever its attributes.
    QStringList namesIn(const QString &name) const {
        return QDir(at(name)).entryList(
            QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }

    static void expectError(platform::ErrorNumber number, const std::function<void()> &step) {
        try {
            step();
            ADD_FAILURE() << "no error was raised";
        } catch (const platform::RuntimeError &error) {
            EXPECT_EQ(static_cast<int>(error.number()), static_cast<int>(number)) << error.what();
        }
    }

  private:
    QTemporaryDir m_folder;
};

// Sets a variable of the environment for one scope.
class ScopedVariable {
  public:
    ScopedVariable(const char *name, const QByteArray &value)
        : m_name(name), m_wasSet(qEnvironmentVariableIsSet(name)), m_before(qgetenv(name)) {
        qputenv(name, value);
    }
    ~ScopedVariable() {
        if (m_wasSet)
            qputenv(m_name, m_before);
        else
            qunsetenv(m_name);
    }
    ScopedVariable(const ScopedVariable &) = delete;
    ScopedVariable &operator=(const ScopedVariable &) = delete;

  private:
    const char *m_name;
    bool m_wasSet;
    QByteArray m_before;
};

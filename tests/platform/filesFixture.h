#pragma once

#include "platform/files.h"
#include "storage/storage.h"
#include "tests/registry/printBytes.h"
#include "tests/support/disk.h"
#include "tests/support/expectError.h"
#include "tests/support/qtFiles.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// A folder for each test, with files made by bytes.
class FilesFixture : public testing::Test {
  protected:
    // The path of a name in the folder.
    QString at(const QString &name) const { return m_folder.path() + '/' + name; }
    QByteArray bytesAt(const QByteArray &name) const {
        return QFile::encodeName(m_folder.path()) + '/' + name;
    }

    void makeFolders(const QString &name) const { ASSERT_TRUE(QDir().mkpath(at(name))); }
    // Makes a file and the folders above it; the name need not be UTF-8.
    QString makeFile(const QByteArray &name, const QByteArray &content = "content") const {
        const QByteArray path = bytesAt(name);
        writeFile(path.toStdString(), content.toStdString());
        return QFile::decodeName(path);
    }
    void setDos(const QByteArray &name, int attributes) const {
        ASSERT_TRUE(setDosAttributes(pathOf(at(QString::fromUtf8(name))), attributes));
    }
    // Read-only, hidden, system and folder of a path in the program's form.
    static int dosOf(const QString &path) {
        std::uint8_t bits = 0xFF;
        EXPECT_TRUE(platform::attributesOf(platform::storagePath(path), bits).ok());
        return bits;
    }
    bool exists(const QByteArray &name) const {
        return std::filesystem::exists(
            std::filesystem::symlink_status(bytesAt(name).toStdString()));
    }
    QString folder() const { return m_folder.path(); }
    // Everything in a folder, whatever its attributes.
    QStringList namesIn(const QString &name) const {
        return QDir(at(name)).entryList(
            QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }

  private:
    QTemporaryDir m_folder;
};

// Sets a variable of the environment for one scope.
class ScopedVariable {
  public:
    ScopedVariable(const char *name, const QByteArray &value)
        : m_name(name), m_before(qgetenv(name)) { // null if it is not set
        qputenv(name, value);
    }
    ~ScopedVariable() { m_before.isNull() ? qunsetenv(m_name) : qputenv(m_name, m_before); }
    ScopedVariable(const ScopedVariable &) = delete;
    ScopedVariable &operator=(const ScopedVariable &) = delete;

  private:
    const char *m_name;
    QByteArray m_before;
};

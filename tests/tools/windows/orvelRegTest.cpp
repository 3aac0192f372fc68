#include "tests/tools/orvelReg.h"

#include <QDir>
#include <QTemporaryDir>

#include <windows.h>

// In the machine's real store, which cannot be replaced for other processes.
QString OrvelReg::ownKey() {
    return "SOFTWARE\\Orvel-reg test " + QString::number(GetCurrentProcessId());
}

void OrvelReg::dropCache(const QString &key) {
    HKEY software = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE", 0, KEY_ALL_ACCESS | KEY_WOW64_32KEY,
                      &software) != ERROR_SUCCESS)
        return;
    RegDeleteTreeA(software, key.section('\\', 1).toLatin1());
    RegCloseKey(software);
}

TEST_F(OrvelReg, APathOutsideTheCodePageIsStoredAsAShortNameOrNotAtAll) {
    const QTemporaryDir folder;
    const QString odd = QDir::toNativeSeparators(folder.path() + "/J\u0101nis \u65e5");
    ASSERT_TRUE(QDir().mkdir(odd));
    EXPECT_EQ(run({"add", key, "tempdir", odd + "\\temp"}).code, 0);
    const QByteArray stored = run({"query", key, "tempdir"}).out.trimmed();
    EXPECT_TRUE(QDir().mkdir(QString::fromLatin1(stored))) << stored.toStdString();
    EXPECT_TRUE(QDir(odd + "/temp").exists());
    EXPECT_EQ(run({"add", key, "directory", "\u65e5 alone"}).code, 1);
    EXPECT_EQ(run({"query", key, "directory"}).code, 1);
}

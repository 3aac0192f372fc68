#include "tests/tools/orvelReg.h"

#include "config/modRegistry.h"
#include "platform/narrow.h"
#include "tests/registry/printBytes.h"

#include <QProcess>

Outcome OrvelReg::run(const QStringList &arguments) {
    QProcess process;
    process.start(ORVEL_REG, arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), process.readAllStandardOutput().replace("\r\n", "\n"),
            process.readAllStandardError().replace("\r\n", "\n")};
}

namespace {

TEST_F(OrvelReg, AnAddedValueIsFoundUnderEachSpellingOfItsKey) {
    const QString folder = QString::fromUtf8("/home/Zo\u00eb/[my] \"games\" = \\x");
    const Outcome added = run({"add", "HKLM\\" + key, "directory", folder});
    EXPECT_EQ(added.code, 0);
    EXPECT_EQ(added.out + added.error, "");
    EXPECT_EQ(RegGetString(kHkeyLocalMachine, key, "directory"), folder);
    for (const QString prefix : {"", "hklm\\", "\\HKEY_LOCAL_MACHINE\\\\"}) {
        const Outcome found = run({"query", prefix + key.toLower() + '\\', "DIRECTORY"});
        EXPECT_EQ(found.code, 0) << prefix.toStdString();
        EXPECT_EQ(found.out, platform::toNarrow(folder) + '\n');
    }
}

TEST_F(OrvelReg, AQueryWithoutANamePrintsTheTextValues) {
    for (const QString name : {"", "t"})
        EXPECT_EQ(run({"add", key, name, "text " + name}).code, 0);
    platform::RegKey opened = 0;
    ASSERT_EQ(platform::RegOpenKeyA(kHkeyLocalMachine, key.toLatin1(), opened), platform::kSuccess);
    EXPECT_EQ(platform::RegSetValueExA(opened, "number", 4, QByteArray("\1\0\0\0", 4)),
              platform::kSuccess);
    platform::RegCloseKey(opened);
    const Outcome found = run({"query", "HKLM\\" + key});
    EXPECT_EQ(found.code, 0);
    EXPECT_EQ(found.out, "=text \nt=text t\n");
    EXPECT_EQ(run({"query", key, ""}).out, "text \n");
    const Outcome root = run({"query", "HKLM"});
    EXPECT_EQ(root.code, 0);
    EXPECT_EQ(root.out, "");
}

TEST_F(OrvelReg, TheExitCodeDistinguishesMissingFromEmpty) {
    EXPECT_EQ(run({"query", key}).code, 1);
    EXPECT_EQ(run({"add", key, "empty", ""}).code, 0);
    const Outcome empty = run({"query", key, "empty"});
    EXPECT_EQ(empty.code, 0);
    EXPECT_EQ(empty.out, "\n");
    const Outcome missing = run({"query", key, "directory"});
    EXPECT_EQ(missing.code, 1);
    EXPECT_EQ(missing.out, "");
    EXPECT_TRUE(missing.error.contains("directory"));
}

TEST_F(OrvelReg, HelpAndVersionArePrintedAndMisuseIsReported) {
    const Outcome help = run({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_TRUE(help.out.contains("orvel-reg add KEY NAME TEXT"));
    EXPECT_EQ(run({"--version"}).out, "orvel-reg " ORVEL_VERSION "\n");
    for (const QStringList &row : {QStringList{}, {"query"}, {"add", "a", "b"}, {"delete", "a"}}) {
        const Outcome misused = run(row);
        EXPECT_EQ(misused.code, 2) << row.join(' ').toStdString();
        EXPECT_EQ(misused.out, "");
        EXPECT_TRUE(misused.error.contains("--help"));
    }
}

TEST_F(OrvelReg, TwoProgramsThatWriteAtTheSameTimeLoseNothing) {
    constexpr int kValues = 15;
    for (int i = 0; i < kValues; ++i) {
        QProcess writers[2];
        for (int writer = 0; writer < 2; ++writer) {
            const QString name = QString("%1-%2").arg(writer).arg(i);
            writers[writer].start(ORVEL_REG, {"add", key, name, name});
        }
        for (QProcess &writer : writers) {
            ASSERT_TRUE(writer.waitForFinished());
            ASSERT_EQ(writer.exitCode(), 0) << writer.readAllStandardError().toStdString();
        }
    }
    for (int writer = 0; writer < 2; ++writer) {
        for (int i = 0; i < kValues; ++i) {
            const QString name = QString("%1-%2").arg(writer).arg(i);
            ASSERT_EQ(RegGetString(kHkeyLocalMachine, key, name), name);
        }
    }
}

} // namespace

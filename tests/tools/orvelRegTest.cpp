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

void OrvelReg::expect(const QStringList &arguments, int code, const QByteArray &out,
                      const QByteArray &error) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.code, code) << arguments.join(' ').toStdString();
    EXPECT_EQ(outcome.out, out) << arguments.join(' ').toStdString();
    EXPECT_EQ(outcome.error.isEmpty(), error.isEmpty()) << outcome.error.toStdString();
    EXPECT_TRUE(outcome.error.contains(error)) << outcome.error.toStdString();
}

namespace {

TEST_F(OrvelReg, AnAddedValueIsFoundUnderEachSpellingOfItsKey) {
    const QString folder = QString::fromUtf8("/home/Zo\u00eb/[my] \"games\" = \\x");
    expect({"add", "HKLM\\" + key, "directory", folder}, 0, "");
    EXPECT_EQ(RegGetString(kHkeyLocalMachine, key, "directory"), folder);
    for (const QString prefix : {"", "hklm\\", "\\HKEY_LOCAL_MACHINE\\\\"})
        expect({"query", prefix + key.toLower() + '\\', "DIRECTORY"}, 0,
               platform::toNarrow(folder) + '\n');
}

TEST_F(OrvelReg, AQueryPrintsTheTextValuesAndDistinguishesMissingFromEmpty) {
    expect({"query", key}, 1, "", key.toUtf8());
    for (const QString name : {"", "t"})
        expect({"add", key, name, "text " + name}, 0, "");
    platform::RegKey opened = 0;
    ASSERT_EQ(platform::RegOpenKeyA(kHkeyLocalMachine, key.toLatin1(), opened), platform::kSuccess);
    EXPECT_EQ(platform::RegSetValueExA(opened, "number", 4, QByteArray("\1\0\0\0", 4)),
              platform::kSuccess);
    platform::RegCloseKey(opened);
    expect({"query", "HKLM\\" + key}, 0, "=text \nt=text t\n");
    expect({"query", key, ""}, 0, "text \n");
    expect({"query", "HKLM"}, 0, "");
    expect({"add", key, "empty", ""}, 0, "");
    expect({"query", key, "empty"}, 0, "\n");
    expect({"query", key, "directory"}, 1, "", "directory");
}

TEST_F(OrvelReg, HelpAndVersionArePrintedAndMisuseIsReported) {
    EXPECT_TRUE(run({"--help"}).out.contains("orvel-reg add KEY NAME TEXT"));
    expect({"--version"}, 0, "orvel-reg " ORVEL_VERSION "\n");
    for (const QStringList &row : {QStringList{}, {"query"}, {"add", "a", "b"}, {"delete", "a"}})
        expect(row, 2, "", "--help");
}

TEST_F(OrvelReg, TwoProgramsThatWriteAtTheSameTimeLoseNothing) {
    QStringList names;
    for (int i = 0; i < 15; ++i) {
        QProcess writers[2];
        for (QProcess &writer : writers) {
            names.append(QString::number(names.size()));
            writer.start(ORVEL_REG, {"add", key, names.last(), names.last()});
        }
        for (QProcess &writer : writers)
            ASSERT_TRUE(writer.waitForFinished() && writer.exitCode() == 0);
    }
    for (const QString &name : names)
        ASSERT_EQ(RegGetString(kHkeyLocalMachine, key, name), name);
}

} // namespace

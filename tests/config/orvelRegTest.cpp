#include "config/modRegistry.h"
#include "tests/platform/printBytes.h"
#include "tests/platform/registryHome.h"

#include <QProcess>

#include <gtest/gtest.h>

namespace {

struct Outcome {
    int code = -1;
    QByteArray out;
    QByteArray error;
};

Outcome run(const QStringList &arguments) {
    QProcess process;
    process.start(ORVEL_REG, arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

const QString kGame = "SOFTWARE\\Sierra Online\\Setup\\Tribes2";

class OrvelReg : public testing::Test {
  protected:
    RegistryHome home;
};

TEST_F(OrvelReg, AValueThatIsAddedIsFoundUnderEachWritingOfItsKey) {
    const QString folder = QString::fromUtf8("/home/Zo\u00eb/[my] \"games\" = \\x");
    const Outcome added = run({"add", "HKLM\\" + kGame, "directory", folder});
    EXPECT_EQ(added.code, 0);
    EXPECT_EQ(added.out + added.error, "");
    EXPECT_EQ(RegGetString(kHkeyLocalMachine, kGame, "directory"), folder);
    for (const QString prefix : {"", "HKLM\\", "hklm\\", "HKEY_LOCAL_MACHINE\\", "\\HKLM\\\\"}) {
        const Outcome found = run({"query", prefix + kGame.toLower() + '\\', "DIRECTORY"});
        EXPECT_EQ(found.code, 0) << prefix.toStdString();
        EXPECT_EQ(found.out, folder.toUtf8() + '\n');
    }
}

TEST_F(OrvelReg, AQueryWithoutANamePrintsTheTextValuesAndThoseOfTheWinePrefix) {
    home.setHive("[A]\n@=\"default\"\n\"n\"=dword:1\n\"t\"=str:\"own\"\n");
    home.setWine("[A]\n\"T\"=\"hidden\"\n\"N\"=\"hidden\"\n\"w\"=\"wine\"\n");
    const Outcome found = run({"query", "HKLM\\a"});
    EXPECT_EQ(found.code, 0);
    EXPECT_EQ(found.out, "=default\nt=own\nw=wine\n");
    EXPECT_EQ(run({"query", "a", ""}).out, "default\n");
    const Outcome root = run({"query", "HKLM"});
    EXPECT_EQ(root.code, 0);
    EXPECT_EQ(root.out, "");
}

TEST_F(OrvelReg, TheExitCodeTellsWhatIsMissingFromWhatIsEmpty) {
    EXPECT_EQ(run({"query", kGame}).code, 1);
    EXPECT_EQ(run({"add", kGame, "empty", ""}).code, 0);
    const Outcome empty = run({"query", kGame, "empty"});
    EXPECT_EQ(empty.code, 0);
    EXPECT_EQ(empty.out, "\n");
    const Outcome missing = run({"query", kGame, "directory"});
    EXPECT_EQ(missing.code, 1);
    EXPECT_EQ(missing.out, "");
    EXPECT_TRUE(missing.error.contains("directory"));
}

TEST_F(OrvelReg, ARefusedWriteIsSaidAndFails) {
    RegistryHome::write(home.path("config"), "a file where the folder should be");
    for (const QString text : {"text", ""}) {
        const Outcome refused = run({"add", kGame, "directory", text});
        EXPECT_EQ(refused.code, 1);
        EXPECT_TRUE(refused.error.contains("could not be stored"));
    }
}

TEST_F(OrvelReg, HelpAndVersionArePrintedAndMisuseIsTold) {
    const Outcome help = run({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_TRUE(help.out.contains("orvel-reg add KEY NAME TEXT"));
    EXPECT_EQ(run({"--version"}).out, "orvel-reg " ORVEL_VERSION "\n");
    const QStringList rows[] = {{},
                                {"query"},
                                {"query", "a", "b", "c"},
                                {"add", "a", "b"},
                                {"add", "a", "b", "c", "d"},
                                {"delete", "a"},
                                {"--help", "a"}};
    for (const QStringList &row : rows) {
        const Outcome misused = run(row);
        EXPECT_EQ(misused.code, 2) << row.join(' ').toStdString();
        EXPECT_EQ(misused.out, "");
        EXPECT_TRUE(misused.error.contains("--help"));
    }
    EXPECT_EQ(home.hive(), "");
}

TEST_F(OrvelReg, TwoProgramsThatWriteAtOnceLoseNothing) {
    constexpr int kValues = 200;
    for (int i = 0; i < kValues; ++i) {
        QProcess writers[2];
        for (int writer = 0; writer < 2; ++writer) {
            const QString name = QString("%1-%2").arg(writer).arg(i);
            writers[writer].start(ORVEL_REG, {"add", kGame, name, name});
        }
        for (QProcess &writer : writers) {
            ASSERT_TRUE(writer.waitForFinished());
            ASSERT_EQ(writer.exitCode(), 0) << writer.readAllStandardError().toStdString();
        }
    }
    for (int writer = 0; writer < 2; ++writer) {
        for (int i = 0; i < kValues; ++i) {
            const QString name = QString("%1-%2").arg(writer).arg(i);
            ASSERT_EQ(RegGetString(kHkeyLocalMachine, kGame, name), name);
        }
    }
    EXPECT_EQ(home.hive().count("[SOFTWARE"), 1);
}

} // namespace

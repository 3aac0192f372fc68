#include "platform/posix/commandLine.h"
#include "tests/platform/shell/shellFixture.h"

namespace {

using platform::ErrorNumber;
using platform::parseCommandLine;

class CommandLineTest : public ShellFixture {
  protected:
    // Replaces @ by the test's folder.
    QString expanded(const char *text) const {
        return QString::fromUtf8(text).replace('@', folder());
    }
    QList<QByteArray> argumentsOf(const char *rest) const {
        return parseCommandLine(at("bin/edit") + expanded(rest)).arguments;
    }
};

TEST_F(CommandLineTest, TheLongestExistingProgramWins) {
    makeExecutable("bin/edit", "");
    makeExecutable("My", "");
    makeExecutable("My Tools/Edit It", "");
    makeExecutable("My Tools/Edit It 2", "");
    makeFile("My Tools/Edit It 2 data", "");
    makeExecutable("say \"hi\"/edit \"it\"", "");
    struct Row {
        const char *line;
        const char *program;
        QList<QByteArray> arguments;
    };
    for (const Row &row : {
             Row{"@/My Tools/Edit It 2 x y", "@/My Tools/Edit It 2", {"x", "y"}},
             Row{"@/My Tools/Edit It 3 x", "@/My Tools/Edit It", {"3", "x"}},
             Row{"@/My Tools/Edit It 2 data", "@/My Tools/Edit It 2", {"data"}},
             Row{"\"@/My\" Tools/Edit It", "@/My", {"Tools/Edit", "It"}},
             Row{"  \"@/My Tools/Edit It\"x", "@/My Tools/Edit It", {"x"}},
             Row{"\"@/say \"hi\"/edit \"it\"\" \"x y\"", "@/say \"hi\"/edit \"it\"", {"x y"}},
             Row{"@\\my tools\\\\edit it x", "@/My Tools/Edit It", {"x"}},
             Row{"edit x", "@/bin/edit", {"x"}},
         }) {
        const platform::Command command = parseCommandLine(expanded(row.line));
        EXPECT_EQ(command.program, expanded(row.program).toUtf8()) << row.line;
        EXPECT_EQ(command.arguments, row.arguments) << row.line;
    }
}

TEST_F(CommandLineTest, OnlyAProgramIsStarted) {
    makeFile("plain file", "");
    makeFolders("folder");
    for (const char *line :
         {"   ", "\"\" x", "missing", "Q:\\missing.exe", "@/folder x", "\"", "\"@/missing\" \"x\""})
        expectError(ErrorNumber::FileNotFound, [&] { parseCommandLine(expanded(line)); });
    makeExecutable("bin/edit", "");
    for (const QString &line : {expanded("@/plain file x"), at("bin/edit") + " a" + QChar(0) + "b"})
        expectError(ErrorNumber::IllegalProcedureCall, [&] { parseCommandLine(line); });
    // A header with the offset of the second one makes a Windows program.
    makeExecutable("script", "MZ not a header, only a text that begins like one\xff\x7f");
    EXPECT_FALSE(parseCommandLine(at("script")).isWindowsProgram);
}

TEST_F(CommandLineTest, ArgumentsAreSplitAsWindowsProgramsDo) {
    makeExecutable("bin/edit", "");
    using Row = std::pair<const char *, QList<QByteArray>>;
    for (const auto &[rest, arguments] : {
             Row{"", {}},
             Row{" a  b\tc ", {"a", "b", "c"}},
             Row{" a\" \"b c", {"a b", "c"}},
             Row{" \"\" x", {"", "x"}},
             Row{" a\\\"b", {"a\"b"}},
             Row{" \"a\\\\\" b", {"a\\", "b"}},
             Row{" \"a\"\"b\"", {"a\"b"}},
             Row{" \"open to the end", {"open to the end"}},
             Row{" /open -x $HOME `id` ;rm", {"/open", "-x", "$HOME", "`id`", ";rm"}},
             Row{" 'a b' *", {"'a", "b'", "*"}},
         })
        EXPECT_EQ(argumentsOf(rest), arguments) << rest;
}

TEST_F(CommandLineTest, AFileUpToTheEndOfTheLineIsOneArgument) {
    makeExecutable("bin/edit", "");
    makeFile("My Work/a b.cs");
    makeFile("My Work/a");
    makeFile("My Work/say \"hi\" $HOME;`id`|&.cs");
    makeFile("My Work/-rf");
    using Row = std::pair<const char *, QList<QByteArray>>;
    for (const auto &[rest, names] : {
             Row{" @\\my work\\A B.cs", {"a b.cs"}},
             Row{" \"@\\My Work\\a b.cs\"", {"a b.cs"}},
             Row{" @/My Work\\say \"hi\" $HOME;`id`|&.cs", {"say \"hi\" $HOME;`id`|&.cs"}},
             Row{" @/My Work\\-rf", {"-rf"}},
             Row{" \"@/My Work/a\" @/My Work/a b.cs", {"a", "a b.cs"}},
             Row{" \"@\\My Work\\still to come.cs\"", {"still to come.cs"}},
             Row{" @\\My Work\\\\gone too\\a \"b\".cs", {"gone too/a \"b\".cs"}},
             Row{" \"@\\My Work\\gone too\\a b.cs\"", {"gone too/a b.cs"}},
         }) {
        QList<QByteArray> expected;
        for (const QByteArray &name : names)
            expected.append(bytesAt("My Work/") + name);
        EXPECT_EQ(argumentsOf(rest), expected) << rest;
    }
    const QList<QByteArray> withSwitch = {"/open", bytesAt("My Work/a b.cs")};
    EXPECT_EQ(argumentsOf(" /open @\\My Work\\a b.cs"), withSwitch);
    // Words that name existing files are separate arguments.
    EXPECT_EQ(argumentsOf(" @/bin @\\bin\\edit"),
              (QList<QByteArray>{bytesAt("bin"), bytesAt("bin/edit")}));
}

TEST_F(CommandLineTest, AWindowsProgramGetsItsFilesOnZOrOnADriveThatReachesThem) {
    makeWindowsProgram("prefix/drive_c/edit.exe");
    makeFile("prefix/drive_c/game/a.cs");
    makeFile("work/sky one.png");
    makeFolders("prefix/dosdevices");
    ASSERT_EQ(::symlink("work", bytesAt("link").constData()), 0);
    const ScopedVariable prefix("WINEPREFIX", bytesAt("prefix"));
    const auto drive = [&](const QByteArray &letter, const QByteArray &target) {
        const QByteArray link = bytesAt("prefix/dosdevices/" + letter + ':');
        ::unlink(link.constData());
        ASSERT_EQ(::symlink(target.constData(), link.constData()), 0);
    };
    const auto given = [&](const QByteArray &path) {
        const auto command = parseCommandLine(expanded("\"C:\\EDIT.exe\" /open @/" + path));
        EXPECT_TRUE(command.isWindowsProgram);
        EXPECT_EQ(command.program, bytesAt("prefix/drive_c/edit.exe"));
        return command.arguments.value(1);
    };
    drive("c", "../drive_c");
    drive("z", bytesAt("nowhere"));
    const QByteArray unreached = "\\\\?\\unix" + bytesAt("work/sky one.png").replace('/', '\\');
    EXPECT_EQ(given("work/sky one.png"), unreached);
    EXPECT_EQ(given("prefix/drive_c/game/a.cs"), "C:\\game\\a.cs");
    EXPECT_EQ(given("prefix/drive_c/game/new/b.cs"), "C:\\game\\new\\b.cs");
    drive("h", "../..");
    drive("w", bytesAt("work"));
    drive("y", bytesAt("wor"));
    EXPECT_EQ(given("work/sky one.png"), "W:\\sky one.png");
    EXPECT_EQ(given("link/sky one.png"), "W:\\sky one.png");
    drive("w", bytesAt("prefix"));
    EXPECT_EQ(given("work/sky one.png"), "H:\\work\\sky one.png");
    drive("z", "/");
    EXPECT_EQ(given("link/sky one.png"), "Z:" + bytesAt("link/sky one.png").replace('/', '\\'));
}

} // namespace

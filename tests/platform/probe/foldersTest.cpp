#include "storage/posix/environment.h"
#include "tests/platform/filesFixture.h"

#include <QProcess>

#include <unistd.h>

namespace {

// Each test installs the probe and runs it.
class FoldersTest : public FilesFixture {
  protected:
    void install() {
        makeFolders("bin");
        ASSERT_TRUE(QFile::copy(ORVEL_FOLDERS_PROBE, at("bin/probe")));
    }
    void makeLauncher(const QByteArray &folder) {
        makeFile(folder + "/NOTEPAD.EXE", "#!/bin/sh\n");
        setMode(folder + "/NOTEPAD.EXE", 0755);
    }
    void setMode(const QByteArray &name, mode_t mode) const {
        ASSERT_EQ(::chmod(bytesAt(name).constData(), mode), 0);
    }
    // The program's folder and the Windows folder.
    QStringList ask(int limit = 260) const {
        QProcess probe;
        probe.start(at("bin/probe"), {QString::number(limit)});
        EXPECT_TRUE(probe.waitForFinished());
        return QString::fromUtf8(probe.readAllStandardOutput()).split('\n');
    }
};

TEST_F(FoldersTest, TheProgramFolderIsTheExecutablesIfWritableElseOneInTheUsersData) {
    install();
    EXPECT_EQ(ask()[0], at("bin"));
    setMode("bin", 0555);
    {
        const ScopedVariable data("XDG_DATA_HOME", bytesAt("data/share"));
        EXPECT_EQ(ask()[0], at("data/share/orvel"));
        EXPECT_TRUE(exists("data/share/orvel"));
    }
    const ScopedVariable data("XDG_DATA_HOME", "relative");
    const ScopedVariable home("HOME", bytesAt("home"));
    EXPECT_EQ(ask()[0], at("home/.local/share/orvel"));
    EXPECT_TRUE(exists("home/.local/share/orvel"));
    setMode("bin", 0755);
}

// Even root must not write there.
TEST_F(FoldersTest, TheSystemsFoldersAreNotWrittenTo) {
    for (const char *folder : {"/usr/local/games", "/bin", "/opt/orvel/bin", "/usr"})
        EXPECT_TRUE(platform::isSystemFolder(folder)) << folder;
    for (const char *folder : {"/home/a/usr/bin", "/usrs/bin", "/"})
        EXPECT_FALSE(platform::isSystemFolder(folder)) << folder;
}

TEST_F(FoldersTest, TheWindowsFolderShipsWithTheProgram) {
    install();
    EXPECT_EQ(ask()[1], QString());
    makeFolders("share/orvel/windows");
    EXPECT_EQ(ask()[1], QString()) << "a folder without the launcher";
    makeLauncher("share/orvel/windows");
    const QString installed = at("share/orvel/windows");
    EXPECT_EQ(ask()[1], installed);
    EXPECT_EQ(ask(static_cast<int>(installed.size()))[1], installed);
    EXPECT_EQ(ask(static_cast<int>(installed.size()) - 1)[1], QString());
    makeLauncher("bin/windows");
    EXPECT_EQ(ask()[1], at("bin/windows"));
}

} // namespace

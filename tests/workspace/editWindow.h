#pragma once

#include "tests/support/answers.h"
#include "tests/support/archives.h"
#include "tests/support/game.h"
#include "tests/workspace/window.h"

#include <QByteArray>
#include <QDir>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

// The main window on a game of its own with one archive, and the programs that it starts.
class EditWindow : public testing::Test {
  protected:
    static constexpr int kPatience =
        30'000; // milliseconds: a busy machine takes long to start things

    // Makes the archive "my mod.vl2", opens the window, chooses the archive and extracts it.
    void extract(const std::vector<ArchiveFile> &files);

    // Makes a program that saves the file that it is given in one of these manners, if any, and
    // then writes down its command line: "in place", "by rename", "with a backup", "later".
    QString program(const QString &name, const QByteArray &manner = {});
    // Sets a value of the table of programs.
    static void choose(const QString &value, const QString &path);
    // The command line that a program was started with, once it has been; fails after a while.
    static std::string startedAs(const QString &program);
    // What the system makes of a program and what stands behind it, with @ for the file.
    static std::string commandLine(const QString &program, std::string form,
                                   const std::string &file);
    static bool started(const QString &program);

    // Selects a file, or the folder itself where the name is empty.
    void select(const QString &folder, const QString &name);
    QModelIndex node(const QString &folder, const QString &name);
    void click(const char *button) { window->click(button); }

    // What the message boxes said since the last call, a line of "style title: text" each.
    std::string boxes();
    // What the user answers to message boxes from here on.
    void answer(int value);

    QString archive() const { return game.archive("my mod.vl2"); }
    // Where an entry was extracted, as a program is told: in the system's form.
    std::string extracted(const QString &entry) const {
        const QString path = QDir::cleanPath(game.temp() + "/My Mod/" + entry);
        return QDir::toNativeSeparators(path).toStdString();
    }
    QString inRoot(const QString &path) const {
        return QDir::toNativeSeparators(game.root() + '/' + path);
    }

    // Names that the system has, and that are easily mistaken for something else.
    static const char *const kOddFolder;
    static const std::vector<const char *> kOddNames;

    TempGame game;
    std::optional<Answers> answers{std::in_place, platform::kAnswerCancel};
    std::size_t boxesSeen = 0;
    std::unique_ptr<MainWindow> window;
};

// A program of the test's that stands for the desktop's file browser as long as this lives.
class FileBrowser {
  public:
    explicit FileBrowser(const QString &program);
    ~FileBrowser();
    FileBrowser(const FileBrowser &) = delete;
    FileBrowser &operator=(const FileBrowser &) = delete;

  private:
    QByteArray m_before;
};

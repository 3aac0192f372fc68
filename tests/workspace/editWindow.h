#pragma once

#include "tests/support/answers.h"
#include "tests/support/archives.h"
#include "tests/support/game.h"
#include "tests/workspace/window.h"

#include <QByteArray>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

// The main window on a game of its own with one archive, and the programs that it starts.
class EditWindow : public testing::Test {
  protected:
    // Makes the archive "my mod.vl2", opens the window, chooses the archive and extracts it.
    void extract(const std::vector<ArchiveFile> &files);

    // Makes a program that writes down its arguments, each ended by a NUL, beside itself, and then
    // runs shell commands ("$f" is the last argument). Returns its path.
    QString program(const QString &name, const QByteArray &commands = {});
    // Sets a value of the table of programs.
    static void choose(const QString &value, const QString &path);
    // The arguments that a program was started with, once it has been; fails after a while.
    static std::vector<std::string> arguments(const QString &program);
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
        return (game.temp() + "/My Mod/" + entry).toStdString();
    }
    QString inRoot(const QString &path) const { return game.root() + '/' + path; }

    TempGame game;
    std::optional<Answers> answers{std::in_place, platform::kAnswerCancel};
    std::size_t boxesSeen = 0;
    std::unique_ptr<MainWindow> window;
};

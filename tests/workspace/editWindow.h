#pragma once

#include "tests/workspace/window.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

// The main window on a game of its own with one archive, and the programs that it starts.
class EditWindow : public testing::Test {
  protected:
    static constexpr int kPatience = 30'000; // ms: a busy machine takes long to start things

    static constexpr char kSelectPrompt[] = "64 Orvel: You must select a file to edit.\n";

    // Makes the archive "my mod.vl2", opens the window, chooses the archive and extracts it.
    void extract(const std::vector<ArchiveFile> &files);

    // Makes a program that saves the file that it is given, if `manner` says how ("by rename",
    // "with a backup", "later", "fail": ends with an error), and then records its command line.
    QString program(const QString &name, const QByteArray &manner = {});
    // Sets a value of the table of programs.
    static void choose(const QString &value, const QString &path);
    // Waits for a program's start and returns its command line.
    static std::string startedAs(const QString &program);
    // The system's form of the command line of a program, with @ for the file.
    static std::string commandLine(const QString &program, std::string form,
                                   const std::string &file);
    static bool started(const QString &program);

    // Selects a file, or the folder itself where the name is empty.
    void select(const QString &folder, const QString &name);
    QModelIndex node(const QString &folder, const QString &name);
    void click(const char *button) { window->click(button); }

    // The message boxes since the last call, as `said` has them; later ones get the answer `next`.
    std::string boxes(int next = platform::kAnswerCancel);

    QString archive() const { return game.archive("my mod.vl2"); }
    // The path of an extracted entry, in the system's form.
    std::string extracted(const QString &entry) const {
        const QString path = QDir::cleanPath(game.temp() + "/My Mod/" + entry);
        return QDir::toNativeSeparators(path).toStdString();
    }
    QString inRoot(const QString &path) const {
        return QDir::toNativeSeparators(game.root() + '/' + path);
    }

    // Names that the system allows and that are easily mistaken for something else.
    static const char *const kOddFolder;
    static const char *const kOddName;

    TempGame game;
    std::optional<Answers> answers{std::in_place, platform::kAnswerCancel};
    std::unique_ptr<MainWindow> window;
};

// Makes a program the desktop's file browser during its lifetime.
class FileBrowser {
  public:
    explicit FileBrowser(const QString &program);
    ~FileBrowser();
    FileBrowser(const FileBrowser &) = delete;
    FileBrowser &operator=(const FileBrowser &) = delete;

  private:
    QByteArray m_before;
};

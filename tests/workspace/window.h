#pragma once

#include "tests/support/answers.h"
#include "tests/support/archives.h"
#include "tests/support/disk.h"
#include "tests/support/game.h"
#include "workspace/archiveTree.h"
#include "workspace/frmMain.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QListView>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTreeView>

#include <gtest/gtest.h>

// The action buttons that are enabled while an archive is extracted.
constexpr char kExtracted[] = "SaveChanges|Cancel|EditFile|OpenFolder";

// A list as one text for comparison.
inline std::string joined(const QStringList &texts) {
    return texts.join('|').toStdString();
}

// The tree as shown: "folder", then "  file#icon" for each file.
QStringList shownTree(const ArchiveTree &tree);

// The message boxes, a line of "style title: text" each.
inline std::string said(const Answers &answers) {
    std::string lines;
    for (const Answers::Box &box : answers.boxes())
        lines += QString("%1 %2: %3\n").arg(box.style).arg(box.title, box.text).toStdString();
    return lines;
}

// The main window on the screen, used by mouse and keyboard.
class MainWindow {
  public:
    // Loads and shows the window.
    MainWindow();

    frmMain &form() { return m_form; }
    QPushButton *button(const char *name) const { return control<QPushButton>(name); }
    QComboBox *dropDown() const { return control<QComboBox>("drpVL2File"); }
    QTreeView *tree() const { return control<QTreeView>("treArchive"); }
    QString status() const;
    // The note beside the status line's text: its tool tip and its text for a screen reader.
    QString note() const;
    // Enabled, without hourglass and progress bar.
    bool isReady() const;
    // The archives to choose from, and the lines of the hidden list.
    QStringList entries() const { return texts(*dropDown()->model()); }
    QStringList lines() const { return texts(*control<QListView>("lstArchive")->model()); }
    QStringList shownTree() const {
        return ::shownTree(*static_cast<const ArchiveTree *>(tree()->model()));
    }
    // The tool tip of the first file of a folder.
    QString tip(int folder) const;
    // The texts of the nodes in bold, in the tree's order.
    QStringList bold() const;
    // Those of the archives with work in progress, in the drop-down's own font apart from that.
    QStringList boldEntries() const;
    // Gives the focus to another window and takes it back, as after work in another program, and
    // waits until the nodes in bold are these.
    void returnTo(const QStringList &bold);
    // Waits until no look for changes is under way: on Windows a file that it has open cannot be
    // made again once it is deleted, and its folder cannot be moved.
    void waitForLook() const;
    // The names of the enabled action buttons, without "cmd".
    QStringList enabledButtons() const;

    // Picks an entry of the drop-down by keyboard.
    void pick(int entry);
    void pick(const QString &text);
    void click(const char *button) const;
    // Put a click or a key into the window's queue as the window system does.
    void clickFromOutside(const char *button) const;
    void typeFromOutside(int key) const;

    template<typename Control>
    Control *control(const char *name) const {
        return m_form.findChild<Control *>(name);
    }

  private:
    static QStringList texts(const QAbstractItemModel &model);

    frmMain m_form;
};

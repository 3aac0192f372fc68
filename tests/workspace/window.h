#pragma once

#include "workspace/frmMain.h"

#include <QComboBox>
#include <QProgressBar>
#include <QPushButton>
#include <QString>
#include <QStringList>
#include <QTreeView>

// The action buttons that are enabled while an archive is extracted.
constexpr char kExtracted[] = "SaveChanges|Cancel|EditFile|OpenFolder";

// A list as one text for comparison.
inline std::string joined(const QStringList &texts) {
    return texts.join('|').toStdString();
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
    QStringList entries() const;
    // The lines of the hidden list.
    QStringList lines() const;
    // The tree as shown: "folder", then "  file#icon" for each file.
    QStringList shownTree() const;
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
    frmMain m_form;
};

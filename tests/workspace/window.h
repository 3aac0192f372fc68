#pragma once

#include "workspace/frmMain.h"

#include <QComboBox>
#include <QProgressBar>
#include <QPushButton>
#include <QString>
#include <QStringList>
#include <QTreeView>

// For lists that a test compares as a whole.
inline std::string joined(const QStringList &texts) {
    return texts.join('|').toStdString();
}

// The main window as a person has it before them: shown, and worked by mouse and keyboard.
class MainWindow {
  public:
    // Loads and shows the window.
    MainWindow();

    frmMain &form() { return m_form; }
    QPushButton *button(const char *name) const { return control<QPushButton>(name); }
    QComboBox *dropDown() const { return control<QComboBox>("drpVL2File"); }
    QTreeView *tree() const { return control<QTreeView>("treArchive"); }
    QString status() const;
    // What the status line has for a tool tip and for a screen reader besides its text.
    QString note() const;
    // Takes input and shows so: no hourglass, no progress bar.
    bool isReady() const;
    QStringList entries() const;
    // The lines of the hidden list.
    QStringList lines() const;
    // The tree as shown: "folder", then "  file#icon" for each file.
    QStringList shownTree() const;
    // The enabled ones of the five action buttons, by their accelerator's words.
    QStringList enabledButtons() const;

    // Picks an entry of the drop-down by keyboard.
    void pick(int entry);
    void pick(const QString &text);
    void click(const char *button) const;
    // Put a click or a key into the window's queue, where the window system puts them.
    void clickFromOutside(const char *button) const;
    void typeFromOutside(int key) const;

    template<typename Control>
    Control *control(const char *name) const {
        return m_form.findChild<Control *>(name);
    }

  private:
    frmMain m_form;
};

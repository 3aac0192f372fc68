#pragma once

#include <QPixmap>
#include <QString>
#include <QTimer>
#include <QWidget>

#include <memory>

class frmMain;

// The splash window: checks that the game is installed and opens the main window when its timer
// fires.
class frmSplash : public QWidget {
  public:
    // The main window starts with the archive at that path, unless it is "".
    explicit frmSplash(const QString &sArchive = {});
    ~frmSplash() override;

    // The load step. Returns false if the game is not installed: a message box has reported it, and
    // the program must exit.
    bool Load();

    // Sets the icon of all windows, as Load does. Takes 2 ms, so only what shows a window before
    // the splash calls it.
    static void SetProgramIcon();

  protected:
    void paintEvent(QPaintEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

  private:
    void tmrSplash_Timer();
    // Creates the main window and its controls, if not done yet.
    void PrepareMainWindow();

    QString m_archive;
    QPixmap m_picture;
    QTimer tmrSplash;
    std::unique_ptr<frmMain> m_main; // until it is shown
};

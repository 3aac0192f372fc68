#pragma once

#include <QPixmap>
#include <QString>
#include <QTimer>
#include <QWidget>

#include <memory>

class frmMain;

// The splash window: checks that the game is installed, and opens the main window when its one
// timer ticks.
class frmSplash : public QWidget {
  public:
    // The main window begins with the archive at that path, where there is one.
    explicit frmSplash(const QString &sArchive = {});
    ~frmSplash() override;

    // The load step. False where the game is not installed: the user has been told, and the
    // program must end.
    bool Load();

  protected:
    void paintEvent(QPaintEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

  private:
    void tmrSplash_Timer();
    // Makes the main window's controls, where that has not been done.
    void PrepareMainWindow();

    QString m_archive;
    QPixmap m_picture;
    QTimer tmrSplash;
    std::unique_ptr<frmMain> m_main; // until it is shown
};

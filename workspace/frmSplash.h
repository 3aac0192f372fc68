#pragma once

#include <QPixmap>
#include <QTimer>
#include <QWidget>

// The splash window: checks that the game is installed, and opens the main window when its one
// timer ticks.
class frmSplash : public QWidget {
  public:
    frmSplash();

    // The load step. False where the game is not installed: the user has been told, and the
    // program must end.
    bool Load();

  protected:
    void paintEvent(QPaintEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

  private:
    void tmrSplash_Timer();

    QPixmap m_picture;
    QTimer tmrSplash;
};

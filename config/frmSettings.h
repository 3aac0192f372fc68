#pragma once

#include "platform/forms.h"

#include <QDialog>

#include <array>
#include <cstddef>

class QLineEdit;
class QPushButton;
class QWidget;

// The settings window: the program that edits each type of file. Only OK and Cancel close it. The
// caller disables the main window before opening it; closing enables the main window again.
class frmSettings : public QDialog {
  public:
    static constexpr std::size_t kRowCount = 7;

    // Creates the controls, trims the system menu and fills the boxes from the settings store.
    // `main` is the window that is enabled and shown on closing; it owns this one.
    explicit frmSettings(QWidget *main);

    // Writes all nine values from the boxes, including unchanged ones.
    void SaveSettings();
    // Destroys the window (when control returns to the event loop), enables the main window and
    // raises it.
    void CloseSettings();

    // Esc acts as the Cancel button.
    void reject() override;

  protected:
    void closeEvent(QCloseEvent *event) override;

  private:
    struct RowControls {
        QLineEdit *box = nullptr;
        QPushButton *browse = nullptr;
    };

    void createRows(QWidget *images, QWidget *otherFiles);
    void createButtons();
    void setTabOrders();
    void Form_Load();

    // Handles the seven Browse buttons; `row` counts from 0.
    void Browse(std::size_t row);
    void cmdSaveSettings_Click();
    void cmdCancelSettings_Click();
    void cmdApplySettings_Click();

    QWidget *m_main;
    std::array<RowControls, kRowCount> m_rows;
    QPushButton *m_cmdSaveSettings = nullptr;
    QPushButton *m_cmdCancelSettings = nullptr;
    QPushButton *m_cmdApplySettings = nullptr;
    platform::OpenFileDialog DlgBrowse;
};

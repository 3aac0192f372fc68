#pragma once

#include "platform/forms.h"

#include <QDialog>

#include <array>
#include <cstddef>

class QLineEdit;
class QPushButton;
class QWidget;

// The settings window: which program edits which type of file. It closes through OK and Cancel
// only; the main window, disabled by whoever opens this one, comes back when it closes.
class frmSettings : public QDialog {
  public:
    static constexpr std::size_t kRowCount = 7;

    // Makes the window's controls, trims its system menu and fills the boxes from the store.
    // `main` is the window that is enabled and shown again at the end; it owns this one.
    explicit frmSettings(QWidget *main);

    // Writes all nine values from the boxes, changed or not.
    void SaveSettings();
    // Destroys the window (once control is back in the event loop), enables the main window and
    // brings it to the front.
    void CloseSettings();

    // What Esc does: the same as the Cancel button.
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

    // The seven Browse buttons; `row` counts from 0.
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

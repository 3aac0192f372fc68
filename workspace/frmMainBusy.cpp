#include "platform/forms.h"
#include "workspace/archiveTreeView.h"
#include "workspace/controls.h"
#include "workspace/frmMain.h"
#include "workspace/reasons.h"

#include <QApplication>
#include <QProgressBar>
#include <QToolTip>

#include <exception>

namespace {

constexpr int kNoteTime = 20000; // ms, display time of a note

} // namespace

void frmMain::Guarded(const std::function<void()> &handler) {
    QString description;
    try {
        handler();
        return;
    } catch (const std::exception &error) {
        description = Reason(error);
    }
    ProgressBar->hide();
    platform::setMousePointer(this, 0);
    EnableWindow();
    UpdateButtons();
    lblStatus->SetText(description);
    platform::MsgBox(description, platform::kCritical, "Orvel");
}

void frmMain::DisableWindow() {
    m_focus = focusWidget();
    setEnabled(false);
}

void frmMain::EnableWindow() {
    if (isEnabled())
        return;
    platform::discardInput();
    setEnabled(true);
    // Disabling the window removed the focus. If the control is still disabled, the tree gets it.
    if (m_focus != nullptr && m_focus->isEnabled())
        m_focus->setFocus();
    else
        treArchive->setFocus();
}

void frmMain::ShowProgressBar(int maximum) {
    // A bar with an empty range shows a busy animation.
    ProgressBar->setRange(0, qMax(1, maximum));
    ProgressBar->setValue(0);
    ProgressBar->raise();
    ProgressBar->show();
    platform::repaintPending();
}

void frmMain::SetProgress(int value) {
    // For large archives, 64 steps are less than a pixel.
    if ((value & 0x3F) != 0 && value != ProgressBar->maximum())
        return;
    ProgressBar->setValue(value);
    platform::repaintPending();
}

void frmMain::ShowNote(const QString &text) {
    lblStatus->SetNote(text);
    QToolTip::showText(lblStatus->mapToGlobal(QPoint(0, 0)), lblStatus->toolTip(), lblStatus, {},
                       kNoteTime);
}

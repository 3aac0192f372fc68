#include "platform/error.h"
#include "platform/forms.h"
#include "workspace/archiveTreeView.h"
#include "workspace/controls.h"
#include "workspace/frmMain.h"

#include <QApplication>
#include <QProgressBar>
#include <QToolTip>

#include <exception>

namespace {

constexpr int kNoteTime = 20000; // ms that a note stays up

} // namespace

void frmMain::Guarded(const std::function<void()> &handler) {
    QString description;
    try {
        handler();
        return;
    } catch (const platform::RuntimeError &error) {
        description = error.description();
    } catch (const std::exception &error) {
        description = QString::fromLocal8Bit(error.what());
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
    // Disabling took the focus. A control that stays disabled leaves it to the tree.
    if (m_focus != nullptr && m_focus->isEnabled())
        m_focus->setFocus();
    else
        treArchive->setFocus();
}

void frmMain::ShowProgressBar(int maximum) {
    // A bar without a range would run to and fro for ever.
    ProgressBar->setRange(0, qMax(1, maximum));
    ProgressBar->setValue(0);
    ProgressBar->raise();
    ProgressBar->show();
    platform::repaintPending();
}

void frmMain::SetProgress(int value) {
    // One step in 64 is less than a pixel of any archive that takes a while.
    if ((value & 0x3F) != 0 && value != ProgressBar->maximum())
        return;
    ProgressBar->setValue(value);
    platform::repaintPending();
}

void frmMain::ShowNote(const QString &text) {
    const QString tip = PlainTip(text);
    lblStatus->setToolTip(tip);
    lblStatus->setAccessibleDescription(text);
    QToolTip::showText(lblStatus->mapToGlobal(QPoint(0, 0)), tip, lblStatus, {}, kNoteTime);
}

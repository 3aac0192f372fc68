#include "platform/forms.h"
#include "workspace/archiveTreeView.h"
#include "workspace/controls.h"
#include "workspace/frmMain.h"
#include "workspace/reasons.h"

#include <QApplication>
#include <QProgressBar>
#include <QScopeGuard>
#include <QToolTip>

#include <exception>

namespace {

constexpr int kNoteTime = 20000; // ms, display time of a note
// Between two values of the progress bar that are shown, if there are many: less than a pixel.
constexpr int kManySteps = 0x1000;
constexpr int kStepMask = 0x3F;

} // namespace

void frmMain::Guarded(const std::function<void()> &handler) {
    QString description;
    ++m_handlers;
    const auto end = qScopeGuard([this] { --m_handlers; });
    try {
        handler();
        return;
    } catch (const std::exception &error) {
        description = Reason(error);
    }
    HideProgressBar();
    platform::setMousePointer(this, 0);
    EnableWindow();
    UpdateButtons();
    lblStatus->SetText(description);
    platform::MsgBox(description, platform::kCritical, "Orvel");
}

bool frmMain::IsFree() const {
    return isEnabled() && m_handlers == 0 && QApplication::activeModalWidget() == nullptr;
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
    BeginProgress(maximum);
    m_barDelay.stop();
    ProgressBar->show();
    platform::repaintPending();
}

// The timer fires in the repaints during the operation.
void frmMain::BeginProgress(int maximum) {
    // A bar with an empty range shows a busy animation.
    ProgressBar->setRange(0, qMax(1, maximum));
    ProgressBar->setValue(0);
    ProgressBar->raise();
    m_progress = 0;
    m_barDelay.start();
}

void frmMain::SetProgress(int value) {
    m_progress = value;
    const int maximum = ProgressBar->maximum();
    if (maximum > kManySteps && (value & kStepMask) != 0 && value != maximum)
        return;
    // Painted by the next repaint of the window: by itself the bar paints each value at once.
    ProgressBar->setUpdatesEnabled(false);
    ProgressBar->setValue(value);
    ProgressBar->setUpdatesEnabled(true);
    platform::repaintPending();
}

void frmMain::HideProgressBar() {
    m_barDelay.stop();
    ProgressBar->hide();
}

void frmMain::ShowNote(const QString &text) {
    lblStatus->SetNote(text);
    // Once the window is ready: the layout takes as long as the save of a small archive.
    QTimer::singleShot(0, this, [this] {
        QToolTip::showText(lblStatus->mapToGlobal(lblStatus->rect().bottomLeft()),
                           lblStatus->toolTip(), lblStatus, {}, kNoteTime);
    });
}

#include "platform/forms.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QStyleOptionButton>
#include <QThread>

#include <algorithm>
#include <iterator>

namespace platform {

namespace {

constexpr int kHourglass = 11;
constexpr int kRepaintInterval = 25; // ms

QElapsedTimer sinceRepaint; // by repaintPending()

// The user's input to a window.
constexpr QEvent::Type kInput[] = {QEvent::MouseButtonPress,
                                   QEvent::MouseButtonRelease,
                                   QEvent::MouseButtonDblClick,
                                   QEvent::Wheel,
                                   QEvent::KeyPress,
                                   QEvent::KeyRelease,
                                   QEvent::Shortcut,
                                   QEvent::ShortcutOverride,
                                   QEvent::InputMethod,
                                   QEvent::ContextMenu,
                                   QEvent::TabletPress,
                                   QEvent::TabletRelease,
                                   QEvent::TouchBegin,
                                   QEvent::TouchUpdate,
                                   QEvent::TouchEnd,
                                   QEvent::DragEnter,
                                   QEvent::Drop,
                                   QEvent::Close};

// Discards input in all windows of the program, but not in a message box that is opened meanwhile,
// as by a timer: nobody could close it.
class InputFilter : public QObject {
  public:
    bool eventFilter(QObject *, QEvent *event) override {
        if (std::find(std::begin(kInput), std::end(kInput), event->type()) == std::end(kInput))
            return false;
        const QWidget *box = QApplication::activeModalWidget();
        if (box != nullptr && box != m_before)
            return false;
        event->ignore();
        return true;
    }

  private:
    const QWidget *const m_before = QApplication::activeModalWidget();
};

// Whether this is the thread of the windows; false without a program.
bool isWindowsThread() {
    const QCoreApplication *program = QCoreApplication::instance();
    return program != nullptr && QThread::currentThread() == program->thread();
}

template<typename Step>
void withoutInput(Step step) {
    static bool inside = false;
    if (!isWindowsThread() || inside)
        return;
    inside = true;
    InputFilter filter;
    QCoreApplication::instance()->installEventFilter(&filter);
    step();
    QCoreApplication::instance()->removeEventFilter(&filter);
    inside = false;
}

} // namespace

QRect rectFromTwips(int left, int top, int width, int height) {
    return {pixels(left), pixels(top), pixels(width), pixels(height)};
}

Prompts &prompts() {
    static Prompts answers;
    return answers;
}

int MsgBox(const QString &text, int style, const QString &title, const QString &cause) {
    if (prompts().messageBox)
        return prompts().messageBox(text, style, title, cause);
    QMessageBox box(QApplication::activeWindow());
    box.setWindowTitle(title);
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    box.setToolTip(plainTip(cause));
    box.setAccessibleDescription(cause);
    box.setWindowModality(Qt::ApplicationModal);
    box.setIcon(style == kCritical      ? QMessageBox::Critical
                : style == kInformation ? QMessageBox::Information
                                        : QMessageBox::Warning);
    box.setStandardButtons(style == kExclamationOkCancel ? QMessageBox::Ok | QMessageBox::Cancel
                                                         : QMessageBox::Ok);
    box.setDefaultButton(QMessageBox::Ok);
    const int answer = box.exec();
    return style != kExclamationOkCancel || answer == QMessageBox::Ok ? kAnswerOk : kAnswerCancel;
}

void setLayoutFont(QWidget *window) {
    QFont font = QApplication::font();
    font.setPixelSize(11);
    window->setFont(font);
}

void fitCaptions(QWidget *window) {
    constexpr int kMargin = 4;      // pixels to each side
    constexpr int kMinStretch = 70; // percent of the font's normal width
    const QList<QPushButton *> buttons = window->findChildren<QPushButton *>();
    const auto fits = [](const QPushButton *button, const QFont &font) {
        QStyleOptionButton option;
        option.initFrom(button);
        const QStyle *style = button->style();
        const int room =
            style->subElementRect(QStyle::SE_PushButtonContents, &option, button).width();
        const QSize text = QFontMetrics(font).size(Qt::TextShowMnemonic, button->text());
        return text.width() + 2 * kMargin <= room;
    };
    // All buttons get the same font: a single condensed caption would look like a mistake.
    QFont font = window->font();
    int stretch = 100;
    for (const QPushButton *button : buttons) {
        while (stretch > kMinStretch && !fits(button, font)) {
            stretch -= 5;
            font.setStretch(stretch);
        }
    }
    if (stretch != 100)
        for (QPushButton *button : buttons)
            button->setFont(font);
}

QString plainTip(const QString &text) {
    return text.isEmpty() ? QString() : QStringLiteral("<qt>%1</qt>").arg(text.toHtmlEscaped());
}

void centreOnScreen(QWidget *window) {
    const QScreen *screen = window->screen();
    if (screen == nullptr)
        return;
    window->move(QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, window->frameSize(),
                                     screen->availableGeometry())
                     .topLeft());
}

// A disabled widget does not show its own pointer, so the hourglass is set for the application.
void setMousePointer(QWidget *, int value) {
    const bool shown = QGuiApplication::overrideCursor() != nullptr;
    if (value == kHourglass && !shown)
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    else if (value != kHourglass && shown)
        QGuiApplication::restoreOverrideCursor();
}

void repaintPending() {
    if (!isWindowsThread())
        return; // the time belongs to that thread
    if (sinceRepaint.isValid() && sinceRepaint.elapsed() < kRepaintInterval)
        return;
    withoutInput([] { QCoreApplication::processEvents(); });
    sinceRepaint.start();
}

void postponeRepaint() {
    sinceRepaint.start();
}

void discardInput() {
    withoutInput([] {
        QGuiApplication::sync();
        QCoreApplication::sendPostedEvents(); // events that the previous ones have queued
    });
    // Events queued by these in turn are still pending.
    for (const QEvent::Type type : kInput)
        QCoreApplication::removePostedEvents(nullptr, type);
}

} // namespace platform

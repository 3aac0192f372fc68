#include "platform/forms.h"

#include <QGuiApplication>
#include <QTimer>
#include <QWidget>

namespace platform {

namespace {

constexpr Qt::WindowStates kLarge = Qt::WindowMaximized | Qt::WindowFullScreen;

// Takes back a state that makes a window larger. A Wayland compositor ends a program that shows a
// surface of another size in such a state, and need not answer a request to leave a state that it
// has not seen yet. So there the window gets a new surface.
class NormalState : public QObject {
  public:
    explicit NormalState(QWidget *window) : QObject(window), m_window(window) {
        window->installEventFilter(this);
    }

    bool eventFilter(QObject *, QEvent *event) override {
        if (event->type() != QEvent::WindowStateChange || (m_window->windowState() & kLarge) == 0)
            return false;
        m_window->setUpdatesEnabled(false);
        // Qt is still about to note the state of this event.
        QTimer::singleShot(0, this, [this] { restore(); });
        return false;
    }

  private:
    void restore() {
        const bool again =
            m_window->isVisible() && QGuiApplication::platformName().startsWith("wayland");
        if (again)
            m_window->hide();
        m_window->setWindowState(m_window->windowState() & ~kLarge);
        m_window->setUpdatesEnabled(true);
        if (again)
            m_window->show();
    }

    QWidget *m_window;
};

} // namespace

void fixWindow(QWidget *window, const QSize &size) {
    window->setFixedSize(size);
    new NormalState(window); // NOLINT(cppcoreguidelines-owning-memory): the window owns it
}

} // namespace platform

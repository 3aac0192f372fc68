// Picks an archive in the real main window and says what that took: from the key that chooses it to
// the tree on the screen, and the longest time for which the window did not answer meanwhile.

#include "workspace/frmMain.h"

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QTimer>
#include <QTreeView>

#include <cstdio>

namespace {

// Notices how long the event loop is kept from its work.
class Pulse : public QObject {
  public:
    Pulse() {
        connect(&m_timer, &QTimer::timeout, this, [this] { beat(); });
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.start(1);
        m_sinceBeat.start();
    }
    void beat() {
        m_longest = qMax(m_longest, m_sinceBeat.nsecsElapsed());
        m_sinceBeat.restart();
    }
    double longestGapMs() const { return static_cast<double>(m_longest) / 1e6; }

  private:
    QTimer m_timer;
    QElapsedTimer m_sinceBeat;
    qint64 m_longest = 0;
};

// Tells when the tree was painted for the last time.
class Painted : public QObject {
  public:
    explicit Painted(QElapsedTimer &clock) : m_clock(clock) {}
    double lastMs() const { return static_cast<double>(m_last) / 1e6; }

  protected:
    bool eventFilter(QObject *, QEvent *event) override {
        if (event->type() == QEvent::Paint) {
            // After what the paint itself takes.
            QTimer::singleShot(0, this, [this] { m_last = m_clock.nsecsElapsed(); });
        }
        return false;
    }

  private:
    QElapsedTimer &m_clock;
    qint64 m_last = 0;
};

void waitUntilQuiet(int milliseconds) {
    QElapsedTimer since;
    since.start();
    while (since.elapsed() < milliseconds)
        QApplication::processEvents(QEventLoop::AllEvents, 5);
}

void press(QWidget *control, int key) {
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease})
        QApplication::postEvent(control, new QKeyEvent(type, key, Qt::NoModifier));
}

} // namespace

int main(int argc, char **argv) {
    QApplication program(argc, argv);
    frmMain window;
    window.Load();
    window.show();
    waitUntilQuiet(300);
    auto *choice = window.findChild<QComboBox *>("drpVL2File");
    auto *tree = window.findChild<QTreeView *>("treArchive");
    if (choice == nullptr || tree == nullptr || choice->count() == 0) {
        std::fputs("pickbench: no archive to pick; register a game with one\n", stderr);
        return 1;
    }
    choice->setFocus();

    QElapsedTimer clock;
    Painted painted(clock);
    tree->viewport()->installEventFilter(&painted);
    Pulse pulse;
    clock.start();
    press(choice, Qt::Key_Down);
    while (tree->model()->rowCount() == 0 && clock.elapsed() < 60000)
        QApplication::processEvents(QEventLoop::AllEvents, 5);
    waitUntilQuiet(300); // whatever comes after: repainting, enabling
    pulse.beat();

    int files = 0;
    for (int row = 0; row < tree->model()->rowCount(); ++row)
        files += tree->model()->rowCount(tree->model()->index(row, 0));
    std::printf("{\"code\": 0, \"count\": %d, \"ms\": %.3f, \"gap_ms\": %.3f}\n", files,
                painted.lastMs(), pulse.longestGapMs());
    return 0;
}

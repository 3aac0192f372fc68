// Picks an archive in the real main window. Prints the time from the key press to the painted tree,
// and the longest time for which the event loop was blocked. With --press BUTTON: the same for a
// button, to the end of its work; cmdEditFile edits the first file. With a file of the work folder
// as the argument: the same for the time from the return of the focus to the mark of that changed
// file.

#include "workspace/frmMain.h"

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFile>
#include <QFont>
#include <QKeyEvent>
#include <QPushButton>
#include <QTimer>
#include <QTreeView>

#include <cstdio>

namespace {

// Measures the longest time for which the event loop is blocked.
class EventLoopTimer : public QObject {
  public:
    EventLoopTimer() {
        connect(&m_timer, &QTimer::timeout, this, [this] { tick(); });
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.start(1);
        m_sinceTick.start();
    }
    void tick() {
        m_longest = qMax(m_longest, m_sinceTick.nsecsElapsed());
        m_sinceTick.restart();
    }
    double longestGapMs() const { return static_cast<double>(m_longest) / 1e6; }

  private:
    QTimer m_timer;
    QElapsedTimer m_sinceTick;
    qint64 m_longest = 0;
};

// Records the time of the tree's last paint event.
class LastPaint : public QObject {
  public:
    explicit LastPaint(QElapsedTimer &clock) : m_clock(clock) {}
    double lastMs() const { return static_cast<double>(m_last) / 1e6; }

  protected:
    bool eventFilter(QObject *, QEvent *event) override {
        if (event->type() == QEvent::Paint) {
            // After the paint event itself.
            QTimer::singleShot(0, this, [this] { m_last = m_clock.nsecsElapsed(); });
        }
        return false;
    }

  private:
    QElapsedTimer &m_clock;
    qint64 m_last = 0;
};

void processEventsFor(int milliseconds) {
    QElapsedTimer since;
    since.start();
    while (since.elapsed() < milliseconds)
        QApplication::processEvents(QEventLoop::AllEvents, 5);
}

void press(QWidget *control, int key) {
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease})
        QApplication::postEvent(control, new QKeyEvent(type, key, Qt::NoModifier));
}

// The number of folders with a changed file.
int boldFolders(const QAbstractItemModel &tree) {
    int count = 0;
    for (int row = 0; row < tree.rowCount(); ++row)
        count += tree.index(row, 0).data(Qt::FontRole).value<QFont>().bold() ? 1 : 0;
    return count;
}

// Extracts, changes a file as another program does, and returns to the window. Returns the time up
// to the mark, in ms.
double lookTime(QWidget &window, const QString &file) {
    const QAbstractItemModel &tree = *window.findChild<QTreeView *>("treArchive")->model();
    auto *extract = window.findChild<QPushButton *>("cmdExtract");
    if (extract->isEnabled())
        extract->click();
    processEventsFor(1500); // the first look
    QWidget other;
    other.show();
    other.activateWindow();
    processEventsFor(300);
    QFile changed(file);
    if (!changed.open(QFile::Append) || changed.write("// changed") < 0)
        return -1;
    changed.close();
    EventLoopTimer eventLoop;
    QElapsedTimer clock;
    clock.start();
    window.activateWindow();
    while (boldFolders(tree) == 0 && clock.elapsed() < 60000)
        QApplication::processEvents(QEventLoop::AllEvents, 5);
    const double spent = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    eventLoop.tick();
    std::printf("{\"code\": 0, \"count\": %d, \"ms\": %.3f, \"gap_ms\": %.3f}\n", boldFolders(tree),
                spent, eventLoop.longestGapMs());
    window.findChild<QPushButton *>("cmdCancel")->click(); // the next run extracts again
    return spent;
}

// False if the window is not in the state that the button has to lead to.
bool pressTime(QWidget &window, QTreeView &tree, const QString &name) {
    const auto *extract = window.findChild<QPushButton *>("cmdExtract");
    auto *button = window.findChild<QPushButton *>(name);
    const QAbstractItemModel &model = *tree.model();
    tree.setCurrentIndex(model.index(0, 0, model.index(0, 0)));
    processEventsFor(300); // the look for changes
    if (button == nullptr || !button->isEnabled())
        return false;
    EventLoopTimer eventLoop;
    QElapsedTimer clock;
    clock.start();
    button->click();
    const double spent = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    eventLoop.tick();
    const bool ends = name == "cmdSaveChanges" || name == "cmdCancel";
    const bool done = extract->isEnabled() == ends;
    std::printf("{\"code\": %d, \"ms\": %.3f, \"gap_ms\": %.3f}\n", done ? 0 : 1, spent,
                eventLoop.longestGapMs());
    return done;
}

} // namespace

int main(int argc, char **argv) {
    QApplication program(argc, argv);
    frmMain window;
    window.Load();
    window.show();
    processEventsFor(300);
    auto *choice = window.findChild<QComboBox *>("drpVL2File");
    auto *tree = window.findChild<QTreeView *>("treArchive");
    if (choice == nullptr || tree == nullptr || choice->count() == 0) {
        std::fputs("pickbench: no archive found; register a game with one\n", stderr);
        return 1;
    }
    choice->setFocus();

    QElapsedTimer clock;
    LastPaint lastPaint(clock);
    tree->viewport()->installEventFilter(&lastPaint);
    EventLoopTimer eventLoop;
    clock.start();
    press(choice, Qt::Key_Down);
    while (tree->model()->rowCount() == 0 && clock.elapsed() < 60000)
        QApplication::processEvents(QEventLoop::AllEvents, 5);
    processEventsFor(300); // repainting and enabling of controls
    eventLoop.tick();
    if (argc > 2 && QApplication::arguments()[1] == "--press")
        return pressTime(window, *tree, QApplication::arguments()[2]) ? 0 : 1;
    if (argc > 1)
        return lookTime(window, QApplication::arguments()[1]) < 0 ? 1 : 0;

    int files = 0;
    for (int row = 0; row < tree->model()->rowCount(); ++row)
        files += tree->model()->rowCount(tree->model()->index(row, 0));
    std::printf("{\"code\": 0, \"count\": %d, \"ms\": %.3f, \"gap_ms\": %.3f}\n", files,
                lastPaint.lastMs(), eventLoop.longestGapMs());
    return 0;
}

#include "archive/libraryEvents.h"
#include "tests/workspace/window.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QTimer>

namespace {

constexpr qint64 kStall = 100; // milliseconds for which the window may freeze

// A timer in the event loop of the window that observes it.
class Pulse : public QObject {
  public:
    explicit Pulse(MainWindow &window) : m_window(window) {
        window.form().installEventFilter(this);
        connect(&m_timer, &QTimer::timeout, this, [this] { beat(); });
        m_timer.start(5);
        m_sinceBeat.start();
        m_sinceStart.start();
    }

    // The longest time between two beats up to now, in per cent of the limit: `kStall`, or a tenth
    // of the whole operation if that is more, for busy machines.
    qint64 stall() const {
        const qint64 longest = qMax(m_longest, m_sinceBeat.elapsed());
        return 100 * longest / qMax(kStall, m_sinceStart.elapsed() / 10);
    }
    int beatsWhileBusy = 0, paints = 0, hourglasses = 0;
    QString status; // the first one while busy
    // The progress bar in the first 400 ms, and its values after that.
    bool earlyBar = false;
    QList<int> values;
    std::function<void()> whileBusy;

  protected:
    bool eventFilter(QObject *, QEvent *event) override {
        if (event->type() == QEvent::Paint && !m_window.form().isEnabled())
            ++paints;
        return false;
    }

  private:
    void beat() {
        m_longest = qMax(m_longest, m_sinceBeat.restart());
        if (m_window.form().isEnabled())
            return;
        ++beatsWhileBusy;
        m_window.form().update(); // painted as often as allowed
        if (QGuiApplication::overrideCursor() != nullptr)
            ++hourglasses;
        if (status.isEmpty())
            status = m_window.status();
        const auto *bar = m_window.control<QProgressBar>("ProgressBar");
        if (bar->isVisible() && m_sinceStart.elapsed() > 400)
            values.append(100 * bar->value() / bar->maximum());
        else
            earlyBar |= bar->isVisible();
        if (whileBusy)
            whileBusy();
    }

    MainWindow &m_window;
    QTimer m_timer;
    QElapsedTimer m_sinceBeat, m_sinceStart;
    qint64 m_longest = 0;
};

// A busy machine may stall anything, but not three times in a row.
template<typename Operation>
void expectNoStall(const char *name, Operation operation) {
    qint64 least = 1000000;
    for (int attempt = 0; attempt < 3 && least > 100; ++attempt)
        least = qMin(least, operation());
    EXPECT_LE(least, 100) << name << ", % of the longest stall allowed";
}

qint64 stallOf(MainWindow &window, const char *button) {
    const Pulse pulse(window);
    window.click(button);
    return pulse.stall();
}

} // namespace

TEST(frmMainBusy, is_painted_during_a_call_of_a_library_after_the_end_of_another_window) {
    const TempGame game;
    MainWindow window;
    { const MainWindow another; }
    QTest::qSleep(50); // the shortest time between two paints
    bool painted = false;
    QTimer::singleShot(0, &window.form(), [&] { painted = true; });
    callIdleHandler();
    EXPECT_TRUE(painted);
}

TEST(frmMainBusy, shows_that_it_extracts_and_drops_clicks_and_keys) {
    const TempGame game;
    makeLargeArchive(game.archive("base.vl2"), 5000, 20);
    MainWindow window;
    window.form().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window.form()));
    window.pick("Base");
    QElapsedTimer time;
    Pulse pulse(window);
    int injected = 0;
    // Until the bar is shown; a busy machine may need long for the first beat.
    const auto slowDown = [](int beat) {
        if (beat <= 2)
            QTest::qSleep(600);
    };
    pulse.whileBusy = [&] {
        slowDown(++injected);
        window.clickFromOutside("cmdCancel");
        window.typeFromOutside(Qt::Key_Space);
        window.form().close();
    };
    time.start();
    window.click("cmdExtract");
    EXPECT_GT(pulse.paints, 0);
    // The window and its progress bar, every 40 ms.
    EXPECT_LE(pulse.paints, time.elapsed() / 20 + 10) << "painting takes time from the work";
    // The pointer is reset shortly before the window is enabled.
    EXPECT_GE(pulse.hourglasses, pulse.beatsWhileBusy - 2);
    EXPECT_EQ(pulse.status, "Please wait. Extracting files...");
    EXPECT_FALSE(pulse.earlyBar) << "it would cover the status";
    ASSERT_FALSE(pulse.values.isEmpty());
    EXPECT_LT(0, pulse.values.last());
    pulse.whileBusy = nullptr;
    QTest::qWait(100);
    EXPECT_GT(injected, 1);
    EXPECT_TRUE(window.form().isVisible());
    EXPECT_TRUE(QFile::exists(game.temp() + "/Base/folder00000/file000000.cs"));
    EXPECT_EQ(joined(window.enabledButtons()), kExtracted);

    const QString first = game.temp() + "/Base/folder00000/file000000.cs";
    QDirIterator files(game.temp() + "/Base", QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext())
        writeFile(files.next(), "edited");
    bool shownWhilePacking = false;
    {
        Pulse saving(window);
        const auto *bar = window.control<QProgressBar>("ProgressBar");
        const QObject listener;
        QObject::connect(bar, &QProgressBar::valueChanged, &listener, [&](int value) {
            shownWhilePacking |= value > 0 && bar->isVisible() && QFile::exists(first);
        });
        int beat = 0;
        saving.whileBusy = [&] { slowDown(++beat); };
        window.click("cmdSaveChanges");
        EXPECT_FALSE(saving.earlyBar);
    }
    EXPECT_TRUE(shownWhilePacking);
    window.click("cmdExtract");

    // Once the window is enabled again, the same click works.
    window.clickFromOutside("cmdCancel");
    QTest::qWait(50);
    EXPECT_FALSE(QFile::exists(game.temp() + "/Base/folder00000/file000000.cs"));
}

TEST(frmMainBusy, lists_and_expands_a_large_archive_without_a_stall) {
    const TempGame game;
    makeLargeArchive(game.archive("base.vl2"), 100000, 10);
    MainWindow window;
    expectNoStall("list", [&] {
        const Pulse pulse(window);
        window.pick("Base");
        return pulse.stall();
    });
    EXPECT_EQ(window.lines().size(), 100000);
    expectNoStall("expand", [&] {
        const Pulse pulse(window);
        window.tree()->collapseAll();
        window.tree()->expand(window.tree()->model()->index(0, 0));
        QCoreApplication::processEvents();
        return pulse.stall();
    });
}

TEST(frmMainBusy, extracts_saves_and_cleans_up_without_a_stall) {
    const TempGame game;
    makeLargeArchive(game.archive("many.vl2"), 5000, 20);
    makeBigArchive(game.archive("base.vl2"), 64);
    MainWindow window;
    window.pick("Many");
    expectNoStall("extract_cancel", [&] {
        const qint64 extracting = stallOf(window, "cmdExtract");
        // These go to the trash, which takes much longer.
        for (int file = 0; file < 1000; ++file)
            writeFile(game.temp() + QString("/Many/folder00000/new%1").arg(file), "new");
        return qMax(extracting, stallOf(window, "cmdCancel"));
    });
    window.pick("Base");
    expectNoStall("extract_save", [&] {
        const qint64 extracting = stallOf(window, "cmdExtract");
        QFile noise(game.temp() + "/Base/sounds/noise.wav");
        EXPECT_TRUE(noise.open(QIODevice::Append));
        noise.write("changed");
        noise.close();
        return qMax(extracting, stallOf(window, "cmdSaveChanges"));
    });
    EXPECT_EQ(window.status(), "Base.vl2 was created successfully");
}

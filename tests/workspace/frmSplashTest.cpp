#include "workspace/frmSplash.h"
#include "tests/workspace/window.h"
#include "workspace/registerGame.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>

#include <memory>
#include <optional>

namespace {

frmMain *mainWindow() {
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows)
        if (window->objectName() == "frmMain" && window->isVisible())
            return static_cast<frmMain *>(window);
    return nullptr;
}

// Counts the main windows that get a window of the system.
class MadeWindows : public QObject {
  public:
    MadeWindows() { qApp->installEventFilter(this); }
    int count = 0;

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override {
        if (event->type() == QEvent::WinIdChange && watched->objectName() == "frmMain")
            ++count;
        return false;
    }
};

} // namespace

TEST(frmSplash, shows_the_picture_for_800_ms_and_then_the_main_window) {
    const TempGame game;
    QElapsedTimer sinceLoad;
    QPointer<frmSplash> splash = new frmSplash;
    sinceLoad.start();
    ASSERT_TRUE(splash->Load());
    splash->show();
    EXPECT_EQ(splash->size(), QSize(398, 248));
    EXPECT_FALSE(splash->grab().toImage().allGray());
    splash->close();
    EXPECT_TRUE(splash->isVisible()) << "only the timer closes it";

    ASSERT_TRUE(QTest::qWaitFor([] { return mainWindow() != nullptr; }, 5000));
    EXPECT_GE(sinceLoad.elapsed(), 790);
    EXPECT_LT(sinceLoad.elapsed(), 3000);
    ASSERT_TRUE(QTest::qWaitFor([&] { return splash == nullptr; }, 1000));
    QPointer<frmMain> main = mainWindow();
    main->close();
    EXPECT_TRUE(QTest::qWaitFor([&] { return main == nullptr; }, 1000));
}

TEST(frmSplash, makes_one_main_window_if_its_first_paint_and_the_timer_coincide) {
    const TempGame game;
    const MadeWindows made;
    QPointer<frmSplash> splash = new frmSplash;
    ASSERT_TRUE(splash->Load());
    QTimer::singleShot(100, Qt::PreciseTimer, splash, [&] { static_cast<void>(splash->grab()); });
    QTest::qSleep(900); // both are due
    // The events that the paint has queued come before the splash's end.
    for (int pass = 0; pass < 2; ++pass)
        QCoreApplication::processEvents();
    ASSERT_TRUE(QTest::qWaitFor([&] { return splash == nullptr; }, 5000));
    QPointer<frmMain> main = mainWindow();
    ASSERT_NE(main, nullptr);
    EXPECT_EQ(made.count, 1);
    main->close();
    EXPECT_TRUE(QTest::qWaitFor([&] { return main == nullptr; }, 1000));
}

TEST(frmSplash, ends_the_program_with_a_message_if_there_is_no_game) {
    const TempGame game;
    for (const QString &folder : {QString(), game.root() + "/gone"}) {
        const Answers answers;
        TempGame::setGameFolder(folder);
        TempGame::setTempFolder("");
        QPointer<frmSplash> splash = new frmSplash;
        EXPECT_EQ(splash->Load(), !folder.isEmpty());
        if (folder.isEmpty()) {
            delete splash;
        } else {
            splash->show();
            EXPECT_EQ(QApplication::exec(), 1);
        }
        EXPECT_EQ(said(answers), "16 Orvel: Orvel could not detect Tribes 2 on your computer.\n");
        EXPECT_EQ(mainWindow(), nullptr);
        EXPECT_EQ(TempGame::tempFolderSetting().isEmpty(), folder.isEmpty());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_EQ(splash, nullptr);
    }
}

TEST(frmSplash, starts_after_the_user_has_registered_a_folder_that_holds_the_game) {
    const TempGame game;
    TempGame::setGameFolder("");
    const Answers answers;
    QStringList chosen; // the last one first; then the user cancels
    platform::prompts().folder = [&](const QString &) {
        return chosen.isEmpty() ? std::nullopt : std::optional(chosen.takeLast());
    };
    const auto starts = [] {
        const std::unique_ptr<frmSplash> splash(new frmSplash);
        return splash->Load();
    };
    chosen = {game.root()};
    EXPECT_FALSE(RegisterGameFolder());
    ASSERT_EQ(answers.boxes().size(), 1U);
    EXPECT_TRUE(answers.boxes().front().text.contains("is not the folder of the game"));
    EXPECT_FALSE(starts());
    writeFile(game.root() + "/GameData/base", "a file");
    chosen = {game.folder(), game.root(), game.base()};
    EXPECT_TRUE(RegisterGameFolder());
    EXPECT_EQ(answers.boxes().size(), 4U);
    EXPECT_TRUE(starts());
}

#include "config/frmSettings.h"

#include "config/modRegistry.h"
#include "platform/error.h"
#include "tests/registry/registryHome.h"
#include "tests/support/captions.h"

#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QStyleFactory>
#include <QTest>

#include <gtest/gtest.h>

namespace {

const QStringList kValues{"PNG", "JPG", "GIF", "BMP", "Text", "WAV", "MP3", "AVI", "MPG"};

// The rows by the name in those of their controls, with the value that the box shows and the
// second one that it writes.
const struct {
    QString name, shown, twin;
} kRows[] = {
    {"PNG", "PNG", ""},   {"JPG", "JPG", ""},      {"GIF", "GIF", ""},      {"BMP", "BMP", ""},
    {"Text", "Text", ""}, {"Sound", "WAV", "MP3"}, {"Video", "AVI", "MPG"},
};

QString stored(const QString &value) {
    return RegGetString(kHkeyLocalMachine, QString::fromUtf16(kProgramsKey), value, "<absent>");
}
void store(const QString &value, const QString &text) {
    RegSetString(kHkeyLocalMachine, QString::fromUtf16(kProgramsKey), value, text);
}

class SettingsWindow : public testing::Test {
  protected:
    void SetUp() override {
        platform::prompts().openFile = [this](const QString &title, const QString &filter) {
            asked.append(title + '|' + filter);
            return answer;
        };
    }
    void TearDown() override { platform::prompts() = {}; }

    void open() {
        main.setEnabled(false);
        window = new frmSettings(&main);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    }
    template<typename Control>
    Control *control(const QString &name) {
        auto *found = window->findChild<Control *>(name);
        EXPECT_TRUE(found) << name.toStdString();
        return found;
    }
    QLineEdit *box(const QString &row) { return control<QLineEdit>("txt" + row); }
    bool canApply() { return control<QPushButton>("cmdApplySettings")->isEnabled(); }
    void click(const QString &button) {
        QTest::mouseClick(control<QPushButton>("cmd" + button), Qt::LeftButton);
    }
    void browse(const QString &row, const QString &path) {
        answer = platform::ChosenFile{path, path.section(u'/', -1)};
        click(row + "browse");
    }
    bool closed() {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return window.isNull();
    }

    RegistryHome home;
    QWidget main;
    QPointer<frmSettings> window;
    std::optional<platform::ChosenFile> answer;
    QStringList asked; // "title|filter" of each file dialog
};

TEST_F(SettingsWindow, HasItsSizeAndRoomForEveryCaptionInAnyStyle) {
    for (const QString &style : QStyleFactory::keys()) {
        QApplication::setStyle(style);
        open();
        EXPECT_EQ(window->windowTitle(), "Orvel Settings");
        EXPECT_EQ(window->size(), QSize(656, 339));
        EXPECT_EQ(window->minimumSize(), window->maximumSize());
        EXPECT_EQ(box("Video")->geometry(), QRect(8, 188, 293, 21));
        expectCaptionsFit(*window);
        delete window;
    }
}

TEST_F(SettingsWindow, ShowsOneStoredValueARowAndWritesAllNineOnOk) {
    for (const QString &value : kValues)
        store(value, "/for " + value);
    open();
    for (const auto &row : kRows)
        EXPECT_EQ(box(row.name)->text(), "/for " + row.shown);
    box("BMP")->clear();
    QTest::keyClicks(box("Text"), " typed");
    EXPECT_FALSE(canApply()) << "typing enables nothing";
    click("SaveSettings");
    EXPECT_TRUE(closed());
    QStringList written;
    for (const QString &value : kValues)
        written.append(stored(value));
    EXPECT_EQ(written, QStringList({"/for PNG", "/for JPG", "/for GIF", "", "/for Text typed",
                                    "/for WAV", "/for WAV", "/for AVI", "/for AVI"}));
}

TEST_F(SettingsWindow, BrowseFillsItsOwnBoxAndEnablesApply) {
    const QString chosen = "/opt/my programs/editor";
    for (const auto &row : kRows) {
        open();
        browse(row.name, chosen);
        EXPECT_EQ(asked.takeLast(), row.name + " Editor...|Programs (*.exe) | *.EXE");
        EXPECT_TRUE(canApply());
        for (const auto &other : kRows)
            EXPECT_EQ(box(other.name)->text(), other.name == row.name ? chosen : "");
        EXPECT_EQ(stored(row.shown), "<absent>");
        click("ApplySettings");
        EXPECT_FALSE(canApply());
        EXPECT_TRUE(window->isVisible());
        for (const QString &value : kValues)
            EXPECT_EQ(stored(value), value == row.shown || value == row.twin ? chosen : "")
                << row.name.toStdString() << " " << value.toStdString();
        delete window;
        home.clear();
    }
}

TEST_F(SettingsWindow, BrowseThatIsCancelledOrFailsLeavesBoxAndApplyAsTheyWere) {
    store("GIF", "/opt/<b>R&D</b>/edit");
    open();
    click("GIFbrowse");
    const auto answerOfUser = platform::prompts().openFile;
    platform::prompts().openFile = [](auto &&...) -> std::optional<platform::ChosenFile> {
        platform::raise(platform::ErrorNumber::PathFileAccess, "/gif");
    };
    click("GIFbrowse");
    platform::prompts().openFile = answerOfUser;
    EXPECT_EQ(box("GIF")->text(), "/opt/<b>R&D</b>/edit");
    // It may be wider than its box.
    EXPECT_EQ(box("GIF")->toolTip(), "<qt>/opt/&lt;b&gt;R&amp;D&lt;/b&gt;/edit</qt>");
    EXPECT_EQ(box("PNG")->toolTip(), QString());
    EXPECT_FALSE(canApply());
    browse("GIF", "/other");
    answer.reset();
    click("GIFbrowse");
    EXPECT_EQ(box("GIF")->text(), "/other");
    EXPECT_TRUE(canApply());
}

TEST_F(SettingsWindow, ClosesByItsButtonsAloneAndGivesTheMainWindowBack) {
    const struct {
        const char *focus;
        Qt::Key key; // Enter is OK and Esc Cancel, except on another button
        bool closes;
        QString written;
    } rows[] = {
        {"txtPNG", Qt::Key_Return, true, "typed"},
        {"txtPNG", Qt::Key_Escape, true, "<absent>"},
        {"cmdCancelSettings", Qt::Key_Space, true, "<absent>"},
        {"cmdVideobrowse", Qt::Key_Return, false, "<absent>"},
    };
    for (const auto &row : rows) {
        home.clear();
        open();
        box("PNG")->setText("typed");
        EXPECT_FALSE(window->close());
        QTest::keyClick(window, Qt::Key_F4, Qt::AltModifier);
        EXPECT_TRUE(window->isVisible());
        control<QWidget>(row.focus)->setFocus();
        QTest::keyClick(QApplication::focusWidget(), row.key);
        EXPECT_EQ(main.isEnabled(), row.closes) << row.focus << " " << row.key;
        EXPECT_TRUE(!row.closes || QTest::qWaitForWindowActive(&main)) << row.focus;
        EXPECT_EQ(closed(), row.closes) << row.focus << " " << row.key;
        EXPECT_EQ(stored("PNG"), row.written) << row.focus << " " << row.key;
        delete window;
    }
    EXPECT_EQ(asked.size(), 1); // by Enter on the button
}

// The backup of the plug-in in a registered Photoshop shows that the step ran.
TEST_F(SettingsWindow, InstallsThePlugInAtOnceForPhotoshopInThePngRowOnly) {
    const QString photoshop = home.path("Photoshop 6.0/");
    const QString file = photoshop + "Plug-Ins/Adobe Photoshop Only/File Formats/Png.8bi";
    RegSetString(kHkeyLocalMachine, QString::fromUtf16(kPhotoshopKey), QString(), photoshop);
    writeFile(file, "there first");
    const struct {
        const char *row, *chosen;
        bool installs;
    } rows[] = {
        {"PNG", "/ps/pHOTOSHP.eXE", true},
        {"PNG", "/Photoshp.exe/gimp", false},
        {"PNG", "/ps/MyPhotoshp.exe", false},
        {"JPG", "/ps/Photoshp.exe", false},
    };
    open();
    for (const auto &row : rows) {
        browse(row.row, row.chosen);
        EXPECT_EQ(QFile::remove(file + ".bak"), row.installs) << row.row << " " << row.chosen;
    }
    EXPECT_EQ(stored("PNG"), "<absent>");
}

} // namespace

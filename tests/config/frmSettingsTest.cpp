#include "config/frmSettings.h"

#include "config/modRegistry.h"
#include "platform/error.h"
#include "platform/files.h"
#include "tests/support/settings.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <iterator>

namespace {

const QStringList kValues{QStringLiteral("PNG"), QStringLiteral("JPG"),  QStringLiteral("GIF"),
                          QStringLiteral("BMP"), QStringLiteral("Text"), QStringLiteral("WAV"),
                          QStringLiteral("MP3"), QStringLiteral("AVI"),  QStringLiteral("MPG")};

struct RowNames {
    const char *label;
    const char *box;
    const char *button;
    const char *title;
    const char *shown; // the value that the box shows
    const char *twin;  // the second value that it writes, or ""
    Qt::Key key;       // of its label
};
const RowNames kRows[] = {
    {"Label5", "txtPNG", "cmdPNGbrowse", "PNG Editor...", "PNG", "", Qt::Key_P},
    {"Label3", "txtJPG", "cmdJPGbrowse", "JPG Editor...", "JPG", "", Qt::Key_J},
    {"Label2", "txtGIF", "cmdGIFbrowse", "GIF Editor...", "GIF", "", Qt::Key_G},
    {"Label4", "txtBMP", "cmdBMPbrowse", "BMP Editor...", "BMP", "", Qt::Key_B},
    {"Label8", "txtText", "cmdTextbrowse", "Text Editor...", "Text", "", Qt::Key_T},
    {"Label10", "txtSound", "cmdSoundbrowse", "Sound Editor...", "WAV", "MP3", Qt::Key_S},
    {"Label11", "txtVideo", "cmdVideobrowse", "Video Editor...", "AVI", "MPG", Qt::Key_V},
};

QString stored(const QString &value) {
    return RegGetString(kHkeyLocalMachine, QString::fromUtf16(kProgramsKey), value,
                        QStringLiteral("<absent>"));
}
void store(const QString &value, const QString &text) {
    RegSetString(kHkeyLocalMachine, QString::fromUtf16(kProgramsKey), value, text);
}

class SettingsWindow : public testing::Test {
  protected:
    void SetUp() override {
        platform::prompts().openFile = [this](const QString &title, const QString &filter) {
            askedTitles.append(title);
            askedFilters.append(filter);
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
    template<typename Control = QPushButton>
    Control *control(const char *name) {
        auto *found = window->findChild<Control *>(QString::fromLatin1(name));
        EXPECT_TRUE(found) << name;
        return found;
    }
    QLineEdit *box(const char *name) { return control<QLineEdit>(name); }
    void click(const char *name) { QTest::mouseClick(control(name), Qt::LeftButton); }
    void choose(const QString &path) {
        answer = platform::ChosenFile{path, path.section(u'/', -1)};
    }
    bool closed() {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return window.isNull();
    }

    QTemporaryDir home;
    OwnSettings settings{home.path().toStdString()};
    QWidget main;
    QPointer<frmSettings> window;
    std::optional<platform::ChosenFile> answer;
    QStringList askedTitles;
    QStringList askedFilters;
};

TEST_F(SettingsWindow, OpensEmptyWithApplyDisabledWhereNothingIsStored) {
    open();
    for (const RowNames &row : kRows)
        EXPECT_EQ(box(row.box)->text(), QString()) << row.box;
    EXPECT_FALSE(control("cmdApplySettings")->isEnabled());
    EXPECT_TRUE(window->isEnabled());
    EXPECT_FALSE(main.isEnabled());
}

TEST_F(SettingsWindow, HasItsSizeAndItsControlsAtTheirPixels) {
    open();
    EXPECT_EQ(window->size(), QSize(656, 339));
    EXPECT_EQ(window->minimumSize(), window->maximumSize());
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Orvel Settings"));
    const struct {
        const char *name;
        QRect where;
    } places[] = {
        {"fraImages", {8, 8, 313, 321}},
        {"fraOtherFiles", {332, 8, 313, 249}},
        {"Label5", {8, 28, 293, 17}},
        {"txtPNG", {8, 44, 293, 21}},
        {"cmdPNGbrowse", {220, 68, 81, 25}},
        {"Label4", {8, 244, 293, 17}},
        {"cmdBMPbrowse", {220, 284, 81, 25}},
        {"txtSound", {8, 116, 293, 21}},
        {"cmdVideobrowse", {220, 212, 81, 25}},
        {"cmdSaveSettings", {380, 272, 81, 25}},
        {"cmdCancelSettings", {472, 272, 81, 25}},
        {"cmdApplySettings", {564, 272, 81, 25}},
        {"lblInfo", {332, 312, 313, 17}},
    };
    for (const auto &place : places)
        EXPECT_EQ(control<QWidget>(place.name)->geometry(), place.where) << place.name;
}

TEST_F(SettingsWindow, CutsNoCaptionOffInAnyStyle) {
    if (QFontDatabase::families().isEmpty())
        GTEST_SKIP() << "no letters to measure";
    for (const QString &style : QStyleFactory::keys()) {
        QApplication::setStyle(style);
        open();
        for (auto *label : window->findChildren<QLabel *>())
            EXPECT_TRUE(label->sizeHint().width() <= label->width() &&
                        label->sizeHint().height() <= label->height())
                << qPrintable(style) << " " << qPrintable(label->objectName());
        for (auto *button : window->findChildren<QPushButton *>())
            EXPECT_LE(button->fontMetrics()
                          .size(Qt::TextShowMnemonic, button->text())
                          .grownBy({4, 3, 4, 3})
                          .width(),
                      button->width())
                << qPrintable(style) << " " << qPrintable(button->objectName());
        for (auto *edit : window->findChildren<QLineEdit *>())
            EXPECT_LE(edit->fontMetrics().height() + 2, edit->height()) << qPrintable(style);
        delete window;
    }
}

TEST_F(SettingsWindow, ShowsOneStoredValueARow) {
    for (const QString &value : kValues)
        store(value, QStringLiteral("/programs/for ") + value);
    open();
    for (const RowNames &row : kRows)
        EXPECT_EQ(box(row.box)->text(), QStringLiteral("/programs/for ") + row.shown) << row.box;
}

TEST_F(SettingsWindow, WritesAllNineValuesOnOkEvenUnchangedAndEmptyOnes) {
    store(QStringLiteral("WAV"), QStringLiteral("/sound"));
    store(QStringLiteral("MP3"), QStringLiteral("/another sound"));
    store(QStringLiteral("AVI"), QStringLiteral("/video"));
    open();
    click("cmdSaveSettings");
    EXPECT_TRUE(closed());
    for (const QString &value : kValues) {
        const QString expected = value == u"WAV" || value == u"MP3"   ? QStringLiteral("/sound")
                                 : value == u"AVI" || value == u"MPG" ? QStringLiteral("/video")
                                                                      : QString();
        EXPECT_EQ(stored(value), expected) << qPrintable(value);
    }
}

TEST_F(SettingsWindow, BrowseFillsItsOwnBoxAndEnablesApply) {
    for (const RowNames &row : kRows) {
        open();
        askedTitles.clear();
        askedFilters.clear();
        choose(QStringLiteral("/opt/my programs/editor"));
        click(row.button);
        EXPECT_EQ(askedTitles, QStringList{QString::fromLatin1(row.title)});
        EXPECT_EQ(askedFilters, QStringList{QStringLiteral("Programs (*.exe) | *.EXE")});
        EXPECT_TRUE(control("cmdApplySettings")->isEnabled()) << row.button;
        for (const RowNames &other : kRows)
            EXPECT_EQ(box(other.box)->text(),
                      other.box == row.box ? QStringLiteral("/opt/my programs/editor") : QString())
                << row.button << " " << other.box;
        for (const QString &value : kValues)
            EXPECT_EQ(stored(value), QStringLiteral("<absent>")) << row.button;

        click("cmdApplySettings");
        EXPECT_FALSE(control("cmdApplySettings")->isEnabled());
        EXPECT_TRUE(window->isVisible());
        for (const QString &value : kValues)
            EXPECT_EQ(stored(value),
                      value == QLatin1String(row.shown) || value == QLatin1String(row.twin)
                          ? QStringLiteral("/opt/my programs/editor")
                          : QString())
                << row.button << " " << qPrintable(value);
        delete window;
        settings.clear();
    }
}

TEST_F(SettingsWindow, CancelledBrowseLeavesBoxAndApplyAsTheyWere) {
    store(QStringLiteral("GIF"), QStringLiteral("/gif"));
    open();
    click("cmdGIFbrowse");
    EXPECT_EQ(askedTitles.size(), 1);
    EXPECT_EQ(box("txtGIF")->text(), QStringLiteral("/gif"));
    EXPECT_FALSE(control("cmdApplySettings")->isEnabled());

    choose(QStringLiteral("/other"));
    click("cmdGIFbrowse");
    answer.reset();
    click("cmdGIFbrowse");
    EXPECT_EQ(box("txtGIF")->text(), QStringLiteral("/other"));
    EXPECT_TRUE(control("cmdApplySettings")->isEnabled());
}

TEST_F(SettingsWindow, BrowseThatFailsChangesNothing) {
    store(QStringLiteral("GIF"), QStringLiteral("/gif"));
    open();
    platform::prompts().openFile = [](const QString &,
                                      const QString &) -> std::optional<platform::ChosenFile> {
        platform::raise(platform::ErrorNumber::PathFileAccess, QStringLiteral("/gif"));
    };
    click("cmdGIFbrowse");
    EXPECT_EQ(box("txtGIF")->text(), QStringLiteral("/gif"));
    EXPECT_FALSE(control("cmdApplySettings")->isEnabled());
}

TEST_F(SettingsWindow, StoresTypedTextOnOkThoughTypingEnablesNothing) {
    open();
    QTest::keyClicks(box("txtText"), QStringLiteral("/usr/bin/my editor"));
    EXPECT_FALSE(control("cmdApplySettings")->isEnabled());
    click("cmdSaveSettings");
    EXPECT_EQ(stored(QStringLiteral("Text")), QStringLiteral("/usr/bin/my editor"));
}

TEST_F(SettingsWindow, ShowsAPathThatIsWiderThanItsBoxAsATipToo) {
    open();
    box("txtGIF")->setText(QStringLiteral("/opt/<b>R&D</b>/edit"));
    EXPECT_EQ(box("txtGIF")->toolTip(),
              QStringLiteral("<qt>/opt/&lt;b&gt;R&amp;D&lt;/b&gt;/edit</qt>"));
    box("txtGIF")->clear();
    EXPECT_EQ(box("txtGIF")->toolTip(), QString());
}

TEST_F(SettingsWindow, CancelKeepsWhatWasAppliedAndDropsTheRest) {
    open();
    choose(QStringLiteral("/applied"));
    click("cmdBMPbrowse");
    click("cmdApplySettings");
    choose(QStringLiteral("/dropped"));
    click("cmdJPGbrowse");
    click("cmdCancelSettings");
    EXPECT_TRUE(closed());
    EXPECT_EQ(stored(QStringLiteral("BMP")), QStringLiteral("/applied"));
    EXPECT_EQ(stored(QStringLiteral("JPG")), QString());
    open();
    EXPECT_EQ(box("txtBMP")->text(), QStringLiteral("/applied"));
    EXPECT_EQ(box("txtJPG")->text(), QString());
}

TEST_F(SettingsWindow, ClosesByItsButtonsAloneAndGivesTheMainWindowBack) {
    for (const char *button : {"cmdSaveSettings", "cmdCancelSettings"}) {
        open();
        EXPECT_FALSE(window->close());
        QTest::keyClick(window, Qt::Key_F4, Qt::AltModifier);
        EXPECT_TRUE(window->isVisible());
        EXPECT_FALSE(main.isEnabled());
        QWidget other;
        other.show();
        other.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
        click(button);
        EXPECT_TRUE(main.isEnabled()) << button;
        EXPECT_TRUE(main.isVisible()) << button;
        EXPECT_TRUE(closed()) << button;
        EXPECT_TRUE(QTest::qWaitForWindowActive(&main)) << button;
    }
}

TEST_F(SettingsWindow, LeadsToEachBoxByTheLetterOfItsLabel) {
    open();
    for (const RowNames &row : kRows) {
        QTest::keyClick(window, row.key, Qt::AltModifier);
        EXPECT_EQ(QApplication::focusWidget()->objectName(), QLatin1String(row.box));
    }
}

TEST_F(SettingsWindow, TakesEnterForOkAndEscForCancel) {
    const struct {
        const char *focus;
        Qt::Key key;
        bool closes;
        QString written;
    } cases[] = {
        {"txtPNG", Qt::Key_Return, true, QStringLiteral("typed")},
        {"txtPNG", Qt::Key_Escape, true, QStringLiteral("<absent>")},
        {"cmdVideobrowse", Qt::Key_Escape, true, QStringLiteral("<absent>")},
        {"cmdVideobrowse", Qt::Key_Return, false, QStringLiteral("<absent>")},
        {"cmdCancelSettings", Qt::Key_Return, true, QStringLiteral("<absent>")},
    };
    for (const auto &row : cases) {
        settings.clear();
        open();
        box("txtPNG")->setText(QStringLiteral("typed"));
        control<QWidget>(row.focus)->setFocus();
        QTest::keyClick(QApplication::focusWidget(), row.key);
        EXPECT_EQ(closed(), row.closes) << row.focus << " " << row.key;
        EXPECT_EQ(stored(QStringLiteral("PNG")), row.written) << row.focus << " " << row.key;
        delete window;
    }
    EXPECT_EQ(askedTitles, QStringList{QStringLiteral("Video Editor...")});
}

// The plug-in step needs a registered Photoshop, and a plug-in there to make a backup of.
TEST_F(SettingsWindow, InstallsThePlugInAtOnceForPhotoshopInThePngRowOnly) {
    const QString photoshop = home.filePath(QStringLiteral("Photoshop 6.0/"));
    const QString formats =
        photoshop + QStringLiteral("Plug-Ins/Adobe Photoshop Only/File Formats/");
    ASSERT_TRUE(QDir().mkpath(formats));
    RegSetString(kHkeyLocalMachine, QString::fromUtf16(kPhotoshopKey), QString(), photoshop);
    QFile plugin(formats + QStringLiteral("Png.8bi"));
    ASSERT_TRUE(plugin.open(QIODevice::WriteOnly));
    plugin.write("there first");
    plugin.close();
    const QString backup = plugin.fileName() + QStringLiteral(".bak");

    const struct {
        const char *button;
        const char *chosen;
        bool installs;
    } cases[] = {
        {"cmdPNGbrowse", "/ps/Photoshp.exe", true},
        {"cmdPNGbrowse", "/ps/PHOTOSHP.EXE", true},
        {"cmdPNGbrowse", "/ps/pHOTOSHP.eXE", true},
        {"cmdPNGbrowse", "/ps/gimp", false},
        {"cmdPNGbrowse", "/Photoshp.exe/gimp", false},
        {"cmdPNGbrowse", "/ps/MyPhotoshp.exe", false},
        {"cmdJPGbrowse", "/ps/Photoshp.exe", false},
        {"cmdTextbrowse", "/ps/Photoshp.exe", false},
    };
    for (const auto &row : cases) {
        open();
        choose(QString::fromLatin1(row.chosen));
        click(row.button);
        EXPECT_EQ(QFile::exists(backup), row.installs) << row.button << " " << row.chosen;
        click("cmdCancelSettings");
        EXPECT_EQ(stored(QStringLiteral("PNG")), QStringLiteral("<absent>"));
        QFile::remove(backup);
        closed();
    }
}

} // namespace

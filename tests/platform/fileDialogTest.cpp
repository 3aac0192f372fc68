#include "platform/fileDialog.h"

#include "platform/forms.h"
#include "tests/support/game.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

const QString kFilter = "Programs (*.exe) | *.EXE";

TEST(FileFilters, AreReadInPairsWithoutTheirBlanks) {
    const auto filters = platform::parseFileFilters("Programs (*.exe) | *.EXE|All | *.* ; *|odd");
    ASSERT_EQ(filters.size(), 2);
    EXPECT_EQ(filters[0].text, "Programs (*.exe)");
    EXPECT_EQ(filters[0].patterns, QStringList("*.EXE"));
    EXPECT_EQ(filters[1].text, "All");
    EXPECT_EQ(filters[1].patterns, (QStringList{"*.*", "*"}));
}

// The real dialog, driven by its own event loop's timer.
class OpenFileDialog : public testing::Test {
  protected:
    void SetUp() override {
        for (const char *name : {"tool", "my tool", "Setup.exe", "PAINT.EXE", "notes.txt", "exe"})
            writeFile(folder.filePath(name), "");
        for (const char *name : {"tool", "my tool"})
            ASSERT_TRUE(
                QFile::setPermissions(folder.filePath(name), QFile::ReadOwner | QFile::ExeOwner));
        ASSERT_TRUE(QDir(folder.path()).mkdir("sub"));
    }
    std::optional<platform::ChosenFile> show(const std::function<void(QFileDialog &)> &act) {
        QTimer::singleShot(0, qApp, [act] {
            auto *open = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
            ASSERT_TRUE(open);
            act(*open);
            if (open->isVisible())
                open->reject();
        });
        return dialog.show(nullptr, "PNG Editor...", kFilter);
    }
    static QLineEdit *nameBox(QFileDialog &open) {
        return open.findChild<QLineEdit *>("fileNameEdit");
    }
    static void enter(QFileDialog &open, const QString &name) {
        ASSERT_TRUE(QTest::qWaitForWindowActive(&open));
        nameBox(open)->setFocus();
        nameBox(open)->selectAll();
        QTest::keyClicks(nameBox(open), name);
        QTest::keyClick(nameBox(open), Qt::Key_Return);
    }
    static QStringList shownNames(QFileDialog &open) {
        auto *view = open.findChild<QAbstractItemView *>("treeView");
        QStringList names;
        for (int row = 0; row < view->model()->rowCount(view->rootIndex()); ++row)
            names.append(view->model()->index(row, 0, view->rootIndex()).data().toString());
        return names;
    }

    QTemporaryDir folder;
    platform::OpenFileDialog dialog;
};

TEST_F(OpenFileDialog, OffersFoldersAndPrograms) {
    const QString expected = "sub|" ORVEL_PROGRAMS;
    show([&](QFileDialog &open) {
        EXPECT_EQ(open.windowTitle(), "PNG Editor...");
        EXPECT_EQ(open.findChild<QComboBox *>("fileTypeCombo")->currentText(), "Programs (*.exe)");
        open.setDirectory(folder.path());
        EXPECT_TRUE(QTest::qWaitFor([&] { return shownNames(open).join(u'|') == expected; }))
            << qPrintable(shownNames(open).join(u'|'));
    });
}

TEST_F(OpenFileDialog, ReportsTheWholePathAndTheNameOfWhatWasChosen) {
    for (const char *name : {"my tool", "Setup.exe", "PAINT.EXE"}) {
        const auto chosen = show([&](QFileDialog &open) {
            open.setDirectory(folder.path());
            enter(open, name);
        });
        ASSERT_TRUE(chosen) << name;
        EXPECT_EQ(chosen->path, QDir::toNativeSeparators(folder.filePath(name)));
        EXPECT_EQ(chosen->name, name);
    }
}

TEST_F(OpenFileDialog, HoldsTheFileChosenLastThroughACancelledUse) {
    ASSERT_TRUE(show([&](QFileDialog &open) { enter(open, folder.filePath("tool")); }));
    for (int use = 0; use < 2; ++use) {
        EXPECT_FALSE(show([&](QFileDialog &open) {
            EXPECT_EQ(QDir(open.directory()).canonicalPath(), QDir(folder.path()).canonicalPath());
            EXPECT_EQ(nameBox(open)->text(), "tool");
        }));
    }
    // Its folder may be gone by the next use.
    ASSERT_TRUE(QDir(folder.path()).removeRecursively());
    EXPECT_FALSE(show([](QFileDialog &open) { EXPECT_TRUE(open.directory().exists()); }));
}

} // namespace

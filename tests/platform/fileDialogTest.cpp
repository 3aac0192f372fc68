#include "platform/fileDialog.h"

#include "platform/forms.h"
#include "tests/support/qtFiles.h"

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

// The real dialog, driven by a timer.
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
        const QString filter = open.findChild<QComboBox *>("fileTypeCombo")->currentText();
        EXPECT_EQ(filter, QDir::rootPath() == "/" ? "Programs" : "Programs (*.exe)");
        open.setDirectory(folder.path());
        EXPECT_TRUE(QTest::qWaitFor([&] { return shownNames(open).join(u'|') == expected; }))
            << qPrintable(shownNames(open).join(u'|'));
    });
}

TEST_F(OpenFileDialog, ReportsTheChosenFileAndKeepsItThroughACancelledUse) {
    const auto chosen = show([&](QFileDialog &open) {
        ASSERT_TRUE(QTest::qWaitForWindowActive(&open));
        nameBox(open)->setFocus();
        QTest::keyClicks(nameBox(open), folder.filePath("my tool"));
        QTest::keyClick(nameBox(open), Qt::Key_Return);
    });
    ASSERT_TRUE(chosen);
    EXPECT_EQ(chosen->path, QDir::toNativeSeparators(folder.filePath("my tool")));
    EXPECT_EQ(chosen->name, "my tool");
    for (int use = 0; use < 2; ++use) {
        EXPECT_FALSE(show([&](QFileDialog &open) {
            EXPECT_EQ(QDir(open.directory()).canonicalPath(), QDir(folder.path()).canonicalPath());
            EXPECT_EQ(nameBox(open)->text(), "my tool");
        }));
    }
    // Its folder may be gone by the next use.
    ASSERT_TRUE(QDir(folder.path()).removeRecursively());
    EXPECT_FALSE(show([](QFileDialog &open) { EXPECT_TRUE(open.directory().exists()); }));
}

} // namespace

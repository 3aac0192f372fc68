// Drives the real main window through steps given as words, without a display: for tests that stop
// the program or make its calls fail.
//
//   jobDriver ARCHIVE STEP...   STEP: extract, save, cancel, ready, pause
//
// The step "ready" prints whether the archive is extracted, and extracts it if not. A pause lasts
// until a line is read from the standard input. ARCHIVE is the name as the drop-down shows it.
// Message boxes are answered with OK and printed, as is the status line after each step. Ends with
// 3 where a step's button is disabled.

#include "platform/forms.h"
#include "workspace/frmMain.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <cstdio>

namespace {

void say(const char *what, const QString &text) {
    std::printf("%s: %s\n", what, text.toUtf8().constData());
    std::fflush(stdout);
}

void sayStatus(const QWidget &window) {
    const auto *label = window.findChild<QLabel *>("lblStatus");
    say("status", label->text());
    const QString note = label->accessibleDescription();
    if (!note.isEmpty() && note != label->text())
        say("note", note);
}

bool take(QWidget &window, const QString &step) {
    if (step == "pause") {
        say("pause", QString());
        return std::getchar() != EOF;
    }
    if (step == "ready") {
        const auto *save = window.findChild<QPushButton *>("cmdSaveChanges");
        say("state", save->isEnabled() ? "extracted" : "listed");
        return save->isEnabled() || take(window, "extract");
    }
    const char *name = step == "save"     ? "cmdSaveChanges"
                       : step == "cancel" ? "cmdCancel"
                                          : "cmdExtract";
    auto *button = window.findChild<QPushButton *>(name);
    if (!button->isEnabled())
        return false;
    QTest::mouseClick(button, Qt::LeftButton);
    return true;
}

} // namespace

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    platform::prompts().messageBox = [](const QString &text, int style, const QString &,
                                        const QString &) {
        say(style == platform::kCritical ? "error" : "box", text);
        return platform::kAnswerOk;
    };
    frmMain window;
    window.Load();
    window.show();
    auto *archives = window.findChild<QComboBox *>("drpVL2File");
    const int place = archives->findText(arguments[1]);
    if (place < 0)
        return 2;
    archives->setFocus();
    archives->setCurrentIndex(place);
    emit archives->activated(place);
    for (const QString &step : arguments.sliced(2)) {
        if (!take(window, step)) {
            say("disabled", step);
            sayStatus(window);
            return 3;
        }
        sayStatus(window);
    }
    return 0;
}

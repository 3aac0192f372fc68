#include "platform/forms.h"

#include <QApplication>
#include <QFontDatabase>

#include <gtest/gtest.h>

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    // Run by hand or to list the tests, it shows nothing on the screen either.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication program(argc, argv);
    // For platforms without fonts of their own.
    if (const QString font = qEnvironmentVariable("ORVEL_TEST_FONT"); !font.isEmpty())
        QFontDatabase::addApplicationFont(font);
    // Windows come and go between the tests.
    QApplication::setQuitOnLastWindowClosed(false);
    // A box without an answer would block the test.
    platform::prompts().messageBox = [](const QString &text, int, const QString &,
                                        const QString &) {
        ADD_FAILURE() << "unexpected message box: " << text.toStdString();
        return platform::kAnswerOk;
    };
    return RUN_ALL_TESTS();
}

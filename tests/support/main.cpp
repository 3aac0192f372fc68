#include "platform/forms.h"

#include <QApplication>
#include <QFontDatabase>

#include <gtest/gtest.h>

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    // Nothing appears on the screen of whoever runs one by hand, or lists the tests, either.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication program(argc, argv);
    // Where the platform finds no letters by itself.
    if (const QString font = qEnvironmentVariable("ORVEL_TEST_FONT"); !font.isEmpty())
        QFontDatabase::addApplicationFont(font);
    // Windows come and go between the tests.
    QApplication::setQuitOnLastWindowClosed(false);
    // A box that no test answers would wait for ever.
    platform::prompts().messageBox = [](const QString &text, int, const QString &) {
        ADD_FAILURE() << "unexpected message box: " << text.toStdString();
        return platform::kAnswerOk;
    };
    return RUN_ALL_TESTS();
}

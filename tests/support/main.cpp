#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    QApplication program(argc, argv);
    // Windows come and go between the tests.
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}

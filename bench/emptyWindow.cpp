// A minimal program with a window of Orvel's size: the baseline of the start-up time.
#include <QApplication>
#include <QWidget>

int main(int argc, char **argv) {
    QApplication program(argc, argv);
    QWidget window;
    window.setWindowTitle("Empty");
    window.setFixedSize(265, 473);
    window.show();
    return QApplication::exec();
}

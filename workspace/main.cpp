#include "workspace/accessibleWindow.h"
#include "workspace/frmSplash.h"

#include <QApplication>
#include <QIcon>

int main(int argc, char **argv) {
    QApplication program(argc, argv);
    QApplication::setApplicationName("Orvel");
    QApplication::setDesktopFileName("org.orvel.Orvel");
    QApplication::setWindowIcon(QIcon(":/assets/orvel.png"));
    InstallAccessibleWindows();

    // Destroys itself when it has opened the main window.
    auto *splash = new frmSplash; // NOLINT(cppcoreguidelines-owning-memory)
    if (!splash->Load()) {
        delete splash; // NOLINT(cppcoreguidelines-owning-memory)
        return 1;
    }
    splash->show();
    return QApplication::exec();
}

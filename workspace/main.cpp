#include "platform/forms.h"
#include "platform/version.h"
#include "workspace/accessibleWindow.h"
#include "workspace/frmSplash.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>

namespace {

// What the program was started with; --help and --version end it.
QStringList archivesGiven(const QCoreApplication &program) {
    QCommandLineParser parser;
    parser.setApplicationDescription("Edits the archives of the game Tribes 2.");
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument("archive", "One of the game's archives, to begin with.",
                                 "[archive]");
    parser.process(program);
    return parser.positionalArguments();
}

// Whether only a text is asked for, which needs no display.
bool asksForText(int argc, char **argv) {
    return argc == 2 && QStringList{"-h", "--help", "-v", "--version"}.contains(argv[1]);
}

} // namespace

int main(int argc, char **argv) {
    QCoreApplication::setApplicationName("Orvel");
    QCoreApplication::setApplicationVersion(
        QStringLiteral("%1.%2.%3").arg(kVersionMajor).arg(kVersionMinor).arg(kVersionRevision));
    if (asksForText(argc, argv))
        archivesGiven(QCoreApplication(argc, argv));

    QApplication program(argc, argv);
    QApplication::setDesktopFileName("org.orvel.Orvel");
    QApplication::setWindowIcon(QIcon(":/assets/orvel.png"));
    InstallAccessibleWindows();

    const QStringList archives = archivesGiven(program);
    if (archives.size() > 1) {
        platform::MsgBox("Orvel opens one archive at a time.", platform::kCritical, "Orvel");
        return 1;
    }

    // Destroys itself when it has opened the main window.
    auto *splash = new frmSplash(archives.value(0)); // NOLINT(cppcoreguidelines-owning-memory)
    if (!splash->Load()) {
        delete splash; // NOLINT(cppcoreguidelines-owning-memory)
        return 1;
    }
    splash->show();
    return QApplication::exec();
}

#include "platform/forms.h"
#include "platform/version.h"
#include "workspace/frmSplash.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>

namespace {

// Returns the archives of the command line. Exits after --help and --version.
QStringList archiveArguments(const QCoreApplication &program) {
    QCommandLineParser parser;
    parser.setApplicationDescription("Edits the archives of the game Tribes 2.");
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument("archive", "One of the game's archives, to begin with.",
                                 "[archive]");
    parser.process(program);
    return parser.positionalArguments();
}

// True for options that only print a text, which needs no display.
bool printsOnly(int argc, char **argv) {
    return argc == 2 && QStringList{"-h", "--help", "-v", "--version"}.contains(argv[1]);
}

// Gives a plain QWidget that is a window the role of one, so that screen readers announce it as a
// window. Dialogs and message boxes have classes and roles of their own.
QAccessibleInterface *windowInterface(const QString &, QObject *object) {
    if (object == nullptr || object->metaObject() != &QWidget::staticMetaObject)
        return nullptr;
    auto *window = static_cast<QWidget *>(object);
    if (!window->isWindow())
        return nullptr;
    return new QAccessibleWidget(window, QAccessible::Window); // NOLINT(*-owning-memory): Qt's
}

} // namespace

int main(int argc, char **argv) {
    QCoreApplication::setApplicationName("Orvel");
    QCoreApplication::setApplicationVersion(kVersion);
    if (printsOnly(argc, argv))
        archiveArguments(QCoreApplication(argc, argv));

    QApplication program(argc, argv);
    QApplication::setDesktopFileName("org.orvel.Orvel");
    QApplication::setWindowIcon(QIcon(":/assets/orvel.png"));
    QAccessible::installFactory(windowInterface);

    const QStringList archives = archiveArguments(program);
    if (archives.size() > 1) {
        platform::MsgBox("Orvel opens one archive at a time.", platform::kCritical, "Orvel");
        return 1;
    }

    // Deletes itself after it has opened the main window.
    auto *splash = new frmSplash(archives.value(0)); // NOLINT(cppcoreguidelines-owning-memory)
    if (!splash->Load()) {
        delete splash; // NOLINT(cppcoreguidelines-owning-memory)
        return 1;
    }
    splash->show();
    return QApplication::exec();
}

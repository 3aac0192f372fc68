#include "platform/forms.h"
#include "platform/singleInstance.h"
#include "platform/version.h"
#include "workspace/frmSplash.h"
#include "workspace/registerGame.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>

#include <cstdio>

namespace {

struct Options {
    QStringList archives;
    bool registersGame = false;
};

// Exits after --help and --version, and for a wrong option.
Options parseOptions(const QCoreApplication &program) {
    QCommandLineParser parser;
    parser.setApplicationDescription("Edits the archives of the game Tribes 2.");
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption registers("register",
                                       "Asks for the folder of the game and registers it first.");
    parser.addOption(registers);
    parser.addPositionalArgument("archive", "The archive to begin with, in any folder.",
                                 "[archive]");
    parser.process(program);
    return {parser.positionalArguments(), parser.isSet(registers)};
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

// Makes this process the instance of the program, or asks the one that runs already to show the
// archive, if there is one. None: this process has to show it.
platform::Handover handOver(const QString &archive) {
    // The other instance may end at that moment.
    for (int attempt = 0; attempt < 2 && !platform::becomeInstance() && !archive.isEmpty();
         ++attempt) {
        const platform::Handover answer = platform::handOver(archive);
        if (answer != platform::Handover::None)
            return answer;
    }
    return platform::Handover::None;
}

} // namespace

int main(int argc, char **argv) {
    QCoreApplication::setApplicationName("Orvel");
    QCoreApplication::setApplicationVersion(kVersion);
    if (printsOnly(argc, argv))
        parseOptions(QCoreApplication(argc, argv));

    QApplication program(argc, argv);
    QApplication::setDesktopFileName("org.orvel.Orvel");
    QAccessible::installFactory(windowInterface);

    const auto [archives, registersGame] = parseOptions(program);
    if (registersGame) {
        frmSplash::SetProgramIcon();
        if (!RegisterGameFolder())
            return 1;
    }
    if (archives.size() > 1) {
        frmSplash::SetProgramIcon();
        platform::MsgBox("Orvel opens one archive at a time.", platform::kCritical, "Orvel");
        return 1;
    }

    const QString archive =
        archives.isEmpty() ? QString() : QFileInfo(archives.first()).absoluteFilePath();
    switch (handOver(archive)) {
    case platform::Handover::None:
        break;
    case platform::Handover::Shown:
        return 0;
    case platform::Handover::Busy:
        frmSplash::SetProgramIcon();
        platform::MsgBox(
            QStringLiteral("%1 was not opened, because Orvel is busy.\n\nOpen it again "
                           "when Orvel has finished or its dialog is closed.")
                .arg(QDir::toNativeSeparators(archive)),
            platform::kInformation, "Orvel");
        return 1;
    }

    // Deletes itself after it has opened the main window.
    auto *splash = new frmSplash(archive); // NOLINT(cppcoreguidelines-owning-memory)
    if (!splash->Load()) {
        std::fputs("To register the folder of the game, which holds GameData, use\n"
                   "  orvel --register\nor\n"
                   "  orvel-reg add 'SOFTWARE\\Sierra Online\\Setup\\Tribes2' directory FOLDER\n",
                   stderr);
        delete splash; // NOLINT(cppcoreguidelines-owning-memory)
        return 1;
    }
    splash->show();
    return QApplication::exec();
}

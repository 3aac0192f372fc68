#include "workspace/frmMain.h"

#include "config/frmSettings.h"
#include "config/modRegistry.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/forms.h"
#include "platform/shell.h"
#include "workspace/archiveTree.h"
#include "workspace/fileTypes.h"
#include "workspace/modOther.h"
#include "workspace/reasons.h"

#include <QPushButton>
#include <QScopeGuard>
#include <QTimer>

#include <exception>

namespace {

constexpr int kTypeLength = 3;      // characters
constexpr int kRetryInterval = 200; // ms

// Notes at the status line about a button that does nothing.
const QString kNeedsFile =
    QStringLiteral("Select a file in the tree to edit it: this is a folder.");
const QString kNeedsNode =
    QStringLiteral("Select a file or folder in the tree to open its folder.");

QString quoted(const QString &path) {
    return u'"' + path + u'"';
}

// An argument in quotes. Quotes inside, which POSIX allows in file names, are escaped by a
// backslash and backslashes before them are doubled, as programs parse their command line.
QString quotedArgument(const QString &path) {
    QString text;
    qsizetype backslashes = 0;
    for (const QChar c : path) {
        if (c == u'"')
            text += QString(backslashes + 1, u'\\');
        backslashes = c == u'\\' ? backslashes + 1 : 0;
        text += c;
    }
    return quoted(text);
}

// Programs that need a special command line, identified by a part of their path in upper case. The
// first match applies.
struct SpecialForm {
    const char16_t *part;
    const char16_t *between; // text between the program and the file
};
constexpr SpecialForm kSpecialForms[] = {
    {u"PHOTOSHP.EXE", u" "},
    {u"WMPLAYER.EXE", u" /open "},
};

QString commandLine(const QString &program, const QString &file) {
    const QString upper = program.toUpper();
    for (const SpecialForm &form : kSpecialForms)
        if (upper.contains(QString::fromUtf16(form.part)))
            return quoted(program) + QString::fromUtf16(form.between) + quotedArgument(file);
    return program + u' ' + file;
}

// Shows why a file is not open, once the window is enabled: during a long operation a message box
// would interrupt it.
void showFailure(QWidget *window, const QString &text) {
    if (window->isEnabled())
        platform::MsgBox(text, platform::kInformation, QStringLiteral("Orvel"));
    else
        QTimer::singleShot(
            kRetryInterval, window, [=] { showFailure(window, text); });
}

// Finding the desktop's editor takes seconds if the desktop does not respond. Clicks in that time
// are discarded, so that they do not start another editor.
void start(QWidget *window, const QString &line, const QString &program, const QString &file) {
    platform::setMousePointer(window, 11);
    const auto restore = qScopeGuard([window] {
        platform::discardInput();
        platform::setMousePointer(window, 0);
    });
    platform::Shell(
        line, platform::kShowNormal,
        [window = QPointer(window), program = program.trimmed(), file](const QString &reason) {
            if (window)
                showFailure(window,
                            QStringLiteral("%1 has not opened %2: %3.").arg(program, file, reason));
        });
}

// Returns true if the user chooses to open the settings.
bool offerSettings(const QString &cause) {
    return platform::MsgBox(QStringLiteral("Cannot edit file. Try changing your Orvel settings."),
                            platform::kExclamationOkCancel, QStringLiteral("Orvel"),
                            cause) == platform::kAnswerOk;
}

// The system's form of a folder's path without trailing separators.
QString folderForShell(QString folder) {
    while (folder.endsWith(u'\\') || folder.endsWith(u'/'))
        folder.chop(1);
    return platform::nativePath(folder);
}

} // namespace

QString frmMain::GetProgram(const QString &FileType) const {
    return RegGetString(kHkeyLocalMachine, QString::fromUtf16(kProgramsKey), FileType.toUpper());
}

void frmMain::cmdEditFile_Click() {
    EditSelectedFile();
}

void frmMain::treArchive_DblClick() {
    if (cmdEditFile->isEnabled())
        EditSelectedFile();
}

void frmMain::EditSelectedFile() {
    // The trailing blank separates the program from the file; FileExists ignores it.
    QString textEditor = GetProgram(QStringLiteral("Text")) + u' ';
    if (textEditor == u" ")
        textEditor = GetWinPath() + QStringLiteral("\\NOTEPAD.EXE ");
    try {
        EditNode(SelectedNode(), textEditor);
    } catch (const std::exception &error) {
        platform::MsgBox(QStringLiteral("You must select a file to edit."), platform::kInformation,
                         QStringLiteral("Orvel"), SelectedNode() == 0 ? QString() : Reason(error));
    }
}

// Raises 9 if no node is selected, 52 if the file's path is outside the work folder, and the errors
// of platform::Shell.
void frmMain::EditNode(int node, const QString &textEditor) {
    const ArchiveNodes &nodes = m_tree->Nodes();
    if (node < 1 || node > nodes.Count())
        platform::raise(platform::ErrorNumber::SubscriptOutOfRange);
    if (nodes.HasChildren(node))
        ShowNote(kNeedsFile);
    if (nodes.HasChildren(node) || !KeepsWorkFolder())
        return;
    const QString file = ExtractedPath(nodes.Text(nodes.Parent(node)), nodes.Text(node));
    if (file.isEmpty())
        platform::raise(platform::ErrorNumber::BadFileName, nodes.Text(node));
    const bool isText = nodes.Image(node) == TextImage;
    const QString program = isText ? textEditor : GetProgram(nodes.Text(node).right(kTypeLength));
    const bool exists = FileExists(program) != 0 || platform::isProgramInPath(program);
    if (program.isEmpty() || !exists) {
        const QString cause =
            program.isEmpty() ? QStringLiteral("No program is set for files of the type %1.")
                                    .arg(nodes.Text(node).right(kTypeLength).toUpper())
                              : QStringLiteral("There is no program %1.").arg(program.trimmed());
        if (offerSettings(cause))
            ShowSettings();
        return;
    }
    start(this, isText ? textEditor + file : commandLine(program, file), program, nodes.Text(node));
}

void frmMain::cmdSettings_Click() {
    ShowSettings();
}

void frmMain::ShowSettings() {
    // A disabled window loses its focus widget; it is restored when the settings close.
    const QPointer<QWidget> focus = focusWidget();
    setEnabled(false);
    auto enable = qScopeGuard([this] { setEnabled(true); });
    auto *settings = new frmSettings(this);
    connect(settings, &QObject::destroyed, this, [focus] {
        if (focus)
            focus->setFocus();
    });
    settings->show();
    enable.dismiss(); // closing the settings enables this window
}

void frmMain::cmdOpenFolder_Click() {
    OpenWorkFolder();
}

void frmMain::OpenWorkFolder() {
    try {
        const ArchiveNodes &nodes = m_tree->Nodes();
        const int node = SelectedNode();
        if (node < 1 || node > nodes.Count()) {
            ShowNote(kNeedsNode);
            return;
        }
        const int folder = nodes.HasChildren(node) ? node : nodes.Parent(node);
        const QString path = ExtractedPath(nodes.Text(folder), {});
        if (!path.isEmpty())
            ShellOpen(folderForShell(path));
    } catch (const std::exception &) {
        // Every failure ends the command without a message.
    }
}

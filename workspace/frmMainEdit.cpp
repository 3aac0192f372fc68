#include "workspace/frmMain.h"

#include "config/frmSettings.h"
#include "config/modRegistry.h"
#include "platform/error.h"
#include "platform/forms.h"
#include "platform/shell.h"
#include "workspace/archiveTree.h"

#include <QPushButton>
#include <QScopeGuard>

#include <exception>

namespace {

constexpr int kTextImage = 8;
constexpr int kTypeLength = 3;

QString quoted(const QString &path) {
    return u'"' + path + u'"';
}

// An argument in quotes. Where names may hold quotes themselves, these are marked by a backslash,
// and backslashes before them doubled, as programs take their arguments apart.
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

// Programs that want their arguments in a form of their own, by a part of their path in upper case.
// The first that matches is taken.
struct SpecialForm {
    const char16_t *part;
    const char16_t *between; // the program and the file
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

// Looking for the desktop's editor takes seconds where the desktop does not answer. A click in that
// time must not start another one.
void start(QWidget *window, const QString &line) {
    platform::setMousePointer(window, 11);
    const auto giveBack = qScopeGuard([window] {
        platform::discardInput();
        platform::setMousePointer(window, 0);
    });
    platform::Shell(line, platform::kShowNormal);
}

// True where the user wants to see the settings.
bool offerSettings() {
    return platform::MsgBox(QStringLiteral("Cannot edit file. Try changing your Orvel settings."),
                            platform::kExclamationOkCancel,
                            QStringLiteral("Orvel")) == platform::kAnswerOk;
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
    // The blank that ends it separates it from the file; looking for the program, it does no harm.
    QString textEditor = GetProgram(QStringLiteral("Text")) + u' ';
    if (textEditor == u" ")
        textEditor = GetWinPath() + QStringLiteral("\\NOTEPAD.EXE ");
    try {
        EditNode(SelectedNode(), textEditor);
    } catch (const std::exception &) {
        platform::MsgBox(QStringLiteral("You must select a file to edit."), platform::kInformation,
                         QStringLiteral("Orvel"));
    }
}

// Raises an error where no node is selected, its file would not lie in the work folder or the
// program cannot be started.
void frmMain::EditNode(int node, const QString &textEditor) {
    const ArchiveNodes &nodes = m_tree->Nodes();
    if (node < 1 || node > nodes.Count())
        throw platform::RuntimeError(
            platform::ErrorNumber::SubscriptOutOfRange,
            platform::describe(platform::ErrorNumber::SubscriptOutOfRange));
    if (nodes.HasChildren(node))
        return;
    const QString file = ExtractedPath(nodes.Text(nodes.Parent(node)), nodes.Text(node));
    if (file.isEmpty())
        platform::raise(platform::ErrorNumber::BadFileName, nodes.Text(node));
    const bool isText = nodes.Image(node) == kTextImage;
    const QString program = isText ? textEditor : GetProgram(nodes.Text(node).right(kTypeLength));
    if (program.isEmpty() || !FileExists(program)) {
        if (offerSettings())
            ShowSettings();
        return;
    }
    start(this, isText ? textEditor + file : commandLine(program, file));
}

void frmMain::cmdSettings_Click() {
    ShowSettings();
}

void frmMain::ShowSettings() {
    // The tab stop is lost to a window that is disabled; it comes back with the window.
    const QPointer<QWidget> focus = focusWidget();
    setEnabled(false);
    auto giveBack = qScopeGuard([this] { setEnabled(true); });
    auto *settings = new frmSettings(this);
    connect(settings, &QObject::destroyed, this, [focus] {
        if (focus)
            focus->setFocus();
    });
    settings->show();
    giveBack.dismiss(); // its end does that
}

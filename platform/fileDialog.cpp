#include "platform/fileDialog.h"

#include "platform/forms.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QScopeGuard>

namespace platform {

QList<FileFilter> parseFileFilters(const QString &filter) {
    QList<FileFilter> filters;
    const QStringList parts = filter.split(u'|');
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        FileFilter pair{parts.at(i).trimmed(), {}};
        for (const QString &pattern : parts.at(i + 1).split(u';', Qt::SkipEmptyParts))
            pair.patterns.append(pattern.trimmed());
        filters.append(pair);
    }
    return filters;
}

std::optional<ChosenFile> OpenFileDialog::show(QWidget *owner, const QString &title,
                                               const QString &filter) {
    if (prompts().openFile)
        return prompts().openFile(title, filter);

    // The native dialog of Windows makes the folder of the chosen file the current one, which would
    // prevent the removal of that folder.
    const auto giveBack =
        qScopeGuard([current = QDir::currentPath()] { QDir::setCurrent(current); });
    QFileDialog dialog(owner, title);
    dialog.setFileMode(QFileDialog::ExistingFile);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    applyFileFilters(dialog, parseFileFilters(filter));
    if (m_path.isEmpty() && QDir(programsFolder()).exists())
        dialog.setDirectory(programsFolder());
    if (const QFileInfo held(m_path); !m_path.isEmpty() && held.dir().exists()) {
        dialog.setDirectory(held.path());
        dialog.selectFile(held.fileName());
    }
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    m_path = dialog.selectedFiles().constFirst();
    return ChosenFile{QDir::toNativeSeparators(m_path), QFileInfo(m_path).fileName()};
}

std::optional<QString> chooseFolder(const QString &title) {
    if (prompts().folder)
        return prompts().folder(title);
    const QString folder = QFileDialog::getExistingDirectory(nullptr, title, QDir::homePath());
    return folder.isEmpty() ? std::nullopt : std::optional(folder);
}

} // namespace platform

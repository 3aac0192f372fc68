#pragma once

#include <QString>
#include <QStringList>

class QFileDialog;

// What an open-file dialog needs of the system, behind platform::OpenFileDialog.
namespace platform {

// One "Text | *.EXE;*.COM" pair of a filter string, without the blanks around its parts.
struct FileFilter {
    QString text;
    QStringList patterns;
};
QList<FileFilter> parseFileFilters(const QString &filter);

// Makes the dialog offer the files of these filters, the first one at the beginning.
void applyFileFilters(QFileDialog &dialog, const QList<FileFilter> &filters);

} // namespace platform

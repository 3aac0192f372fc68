#pragma once

#include <QString>
#include <QStringList>

class QFileDialog;

// The system-specific part of platform::OpenFileDialog.
namespace platform {

// One "Text | *.EXE;*.COM" pair of a filter string, without the blanks around its parts.
struct FileFilter {
    QString text;
    QStringList patterns;
};
QList<FileFilter> parseFileFilters(const QString &filter);

// The folder in which the dialog starts at its first use: that of most programs. "" for none.
QString programsFolder();

// Sets the dialog's filters and selects the first one.
void applyFileFilters(QFileDialog &dialog, const QList<FileFilter> &filters);

} // namespace platform

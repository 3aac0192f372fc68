#include "platform/fileDialog.h"

#include <QFileDialog>

namespace platform {

// The system's own dialog does the filtering; programs are known by their names.
void applyFileFilters(QFileDialog &dialog, const QList<FileFilter> &filters) {
    dialog.setOption(QFileDialog::HideNameFilterDetails);
    QStringList names;
    for (const FileFilter &filter : filters)
        names.append(filter.text + QStringLiteral(" (") + filter.patterns.join(u' ') + u')');
    dialog.setNameFilters(names);
}

} // namespace platform

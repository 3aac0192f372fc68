#include "platform/fileDialog.h"

#include <QFileDialog>

namespace platform {

// The native dialog filters by name, which is sufficient for programs.
void applyFileFilters(QFileDialog &dialog, const QList<FileFilter> &filters) {
    dialog.setOption(QFileDialog::HideNameFilterDetails);
    QStringList names;
    for (const FileFilter &filter : filters)
        names.append(filter.text + QStringLiteral(" (") + filter.patterns.join(u' ') + u')');
    dialog.setNameFilters(names);
}

QString programsFolder() {
    return {}; // the system's dialog remembers the folder used last
}

} // namespace platform

#include "platform/fileDialog.h"

#include <QDir>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QSortFilterProxyModel>
#include <QTreeView>

#include <algorithm>

namespace platform {
namespace {

constexpr int kWidth = 760; // pixels

bool isProgramPattern(const QString &pattern) {
    return pattern.compare(QStringLiteral("*.exe"), Qt::CaseInsensitive) == 0;
}

// Shows folders and the files that match one of the patterns; if *.EXE is among them, also
// executable files, because programs have no extension here. The file system model does the
// sorting.
class FilterModel : public QSortFilterProxyModel {
  public:
    FilterModel(const QList<FileFilter> &filters, QObject *parent)
        : QSortFilterProxyModel(parent), m_filters(filters) {}

    void select(int filter) {
        m_current = filter;
        invalidateFilter();
    }

    void sort(int column, Qt::SortOrder order) override { sourceModel()->sort(column, order); }

  protected:
    bool filterAcceptsRow(int row, const QModelIndex &parent) const override {
        const auto *files = qobject_cast<const QFileSystemModel *>(sourceModel());
        const QModelIndex index = sourceModel()->index(row, 0, parent);
        if (!files || m_current < 0 || m_current >= m_filters.size() || files->isDir(index))
            return true;
        const QStringList &patterns = m_filters.at(m_current).patterns;
        if (patterns.isEmpty() || QDir::match(patterns, files->fileName(index)))
            return true;
        return std::any_of(patterns.begin(), patterns.end(), isProgramPattern) &&
               files->fileInfo(index).isExecutable();
    }

  private:
    QList<FileFilter> m_filters;
    int m_current = 0;
};

} // namespace

void applyFileFilters(QFileDialog &dialog, const QList<FileFilter> &filters) {
    // The desktop's native dialog filters by name only, not by execute permission.
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    // The dialog itself accepts every name, and its list of filters shows the texts only.
    dialog.setOption(QFileDialog::HideNameFilterDetails);
    QStringList names;
    for (const FileFilter &filter : filters) {
        // What is shown is more than "(*.exe)" says.
        QString text = filter.text;
        if (std::any_of(filter.patterns.begin(), filter.patterns.end(), isProgramPattern))
            text = text.section(u'(', 0, 0).trimmed();
        names.append(text + QStringLiteral(" (*)"));
    }
    dialog.setNameFilters(names);

    // Names, sizes and dates in full.
    if (auto *details = dialog.findChild<QTreeView *>(QStringLiteral("treeView"))) {
        details->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
        dialog.resize(std::max(dialog.width(), kWidth), dialog.height());
    }

    auto *model = new FilterModel(filters, &dialog);
    dialog.setProxyModel(model);
    QObject::connect(&dialog, &QFileDialog::filterSelected, model,
                     [model, names](const QString &name) {
                         model->select(static_cast<int>(names.indexOf(name)));
                     });
}

QString programsFolder() {
    return QStringLiteral("/usr/bin");
}

} // namespace platform

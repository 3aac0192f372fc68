#include "platform/fileDialog.h"

#include <QDir>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QSortFilterProxyModel>

namespace platform {
namespace {

bool isProgramPattern(const QString &pattern) {
    return pattern.compare(QStringLiteral("*.exe"), Qt::CaseInsensitive) == 0;
}

// Shows folders and the files that match one of the patterns; where *.EXE is among them, files with
// an execute bit too, since programs here have no extension. The file system model keeps the order.
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
    // The desktop's own dialog knows names only, not which file can be executed.
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    // The dialog itself lets every name through, and its list of filters shows the texts alone.
    dialog.setOption(QFileDialog::HideNameFilterDetails);
    QStringList names;
    for (const FileFilter &filter : filters)
        names.append(filter.text + QStringLiteral(" (*)"));
    dialog.setNameFilters(names);

    auto *model = new FilterModel(filters, &dialog);
    dialog.setProxyModel(model);
    QObject::connect(&dialog, &QFileDialog::filterSelected, model,
                     [model, names](const QString &name) {
                         model->select(static_cast<int>(names.indexOf(name)));
                     });
}

} // namespace platform

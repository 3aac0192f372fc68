#include "workspace/archiveTreeView.h"

#include "workspace/archiveTree.h"

#include <QApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>

ArchiveTreeView::ArchiveTreeView(QWidget *parent) : QTreeView(parent) {
    setHeaderHidden(true);
    setUniformRowHeights(true);
    setIconSize({16, 16});
    setEditTriggers(NoEditTriggers);
    setSelectionMode(SingleSelection);
    setTextElideMode(Qt::ElideNone);
    setTabKeyNavigation(false);
}

void ArchiveTreeView::ShowTree(ArchiveTree *tree) {
    m_tree = tree;
    setModel(tree);
    // Adapts the column's width to the longest name among the visible rows.
    header()->setStretchLastSection(false);
    header()->setResizeContentsPrecision(0);
    header()->setSectionResizeMode(QHeaderView::ResizeToContents);
}

void ArchiveTreeView::keyboardSearch(const QString &search) {
    if (search.isEmpty() || m_tree == nullptr)
        return;
    if (m_typed.isEmpty() || m_sinceTyped.elapsed() > QApplication::keyboardInputInterval())
        m_typed.clear();
    m_sinceTyped.start();
    // Repeating a letter moves to the next name that begins with it.
    const bool again = m_typed == search;
    if (!again)
        m_typed += search;
    const int current = m_tree->NodeOf(currentIndex());
    const bool moves = again || m_typed == search;
    const int start = current != 0 && moves ? m_tree->NodeAfter(current) : current;
    const int found = m_tree->Find(m_typed, start);
    if (found == 0)
        return;
    const QModelIndex index = m_tree->IndexOf(found);
    if (index.parent().isValid())
        expand(index.parent());
    setCurrentIndex(index);
    scrollTo(index);
}

void ArchiveTreeView::keyPressEvent(QKeyEvent *event) {
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const QModelIndex index = currentIndex();
    if (!enter || !index.isValid() || !selectionModel()->isSelected(index)) {
        QTreeView::keyPressEvent(event);
        return;
    }
    Q_EMIT doubleClicked(index);
    if (m_tree->hasChildren(index))
        setExpanded(index, !isExpanded(index));
}

void ArchiveTreeView::mouseDoubleClickEvent(QMouseEvent *event) {
    QTreeView::mouseDoubleClickEvent(event);
    if (event->button() == Qt::LeftButton && !indexAt(event->position().toPoint()).isValid())
        Q_EMIT doubleClicked(selectionModel()->selectedIndexes().value(0));
}

QItemSelectionModel::SelectionFlags ArchiveTreeView::selectionCommand(const QModelIndex &index,
                                                                      const QEvent *event) const {
    return index.isValid() ? QTreeView::selectionCommand(index, event)
                           : QItemSelectionModel::NoUpdate;
}

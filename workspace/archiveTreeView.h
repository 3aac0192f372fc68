#pragma once

#include <QElapsedTimer>
#include <QString>
#include <QTreeView>

class ArchiveTree;

// The view of the archive tree. Enter acts as a double-click; a double-click on empty space acts on
// the selected node, if any. Typing finds names, including those in collapsed folders.
class ArchiveTreeView : public QTreeView {
  public:
    explicit ArchiveTreeView(QWidget *parent);

    void ShowTree(ArchiveTree *tree);
    void keyboardSearch(const QString &search) override;

  protected:
    void keyPressEvent(QKeyEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    // A click on empty space does not change the selection.
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex &index,
                                                         const QEvent *event) const override;

  private:
    ArchiveTree *m_tree = nullptr;
    QString m_typed;
    QElapsedTimer m_sinceTyped;
};

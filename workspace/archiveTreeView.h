#pragma once

#include <QElapsedTimer>
#include <QString>
#include <QTreeView>

class ArchiveTree;

// The archive tree on screen. Enter does what a double-click does; a double-click beside the nodes
// is one on the selected node, if any. Typing finds names, those in closed folders, too.
class ArchiveTreeView : public QTreeView {
  public:
    explicit ArchiveTreeView(QWidget *parent);

    void ShowTree(ArchiveTree *tree);
    void keyboardSearch(const QString &search) override;

  protected:
    void keyPressEvent(QKeyEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    // A click beside the nodes leaves the selection as it is.
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex &index,
                                                         const QEvent *event) const override;

  private:
    ArchiveTree *m_tree = nullptr;
    QString m_typed;
    QElapsedTimer m_sinceTyped;
};

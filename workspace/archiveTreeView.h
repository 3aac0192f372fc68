#pragma once

#include <QElapsedTimer>
#include <QString>
#include <QTreeView>

class ArchiveTree;

// The archive tree on screen. Enter does what a double-click does; typing finds names, those in
// closed folders, too.
class ArchiveTreeView : public QTreeView {
  public:
    explicit ArchiveTreeView(QWidget *parent);

    void ShowTree(ArchiveTree *tree);
    void keyboardSearch(const QString &search) override;

  protected:
    void keyPressEvent(QKeyEvent *event) override;

  private:
    ArchiveTree *m_tree = nullptr;
    QString m_typed;
    QElapsedTimer m_sinceTyped;
};

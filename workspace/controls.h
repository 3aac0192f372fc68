#pragma once

#include <QAbstractListModel>
#include <QIcon>
#include <QLabel>
#include <QListWidget>
#include <QString>
#include <QStringList>

#include <vector>

// The small controls of the main window that the toolkit has no exact counterpart of.

// A tool tip of that text, broken into lines, whatever characters a file name brings with it.
QString PlainTip(const QString &text);

// Icons under numbers from 1.
class ImageList : public QObject {
  public:
    ImageList(QObject *parent, int count);
    QIcon Image(int number) const;

  private:
    std::vector<QIcon> m_images;
};

// A folder's files that match a pattern, sorted by name, without hidden and system files.
class FileList : public QListWidget {
  public:
    explicit FileList(QWidget *parent);
    // Reads the folder. Raises 76 where it cannot be read.
    void SetPath(const QString &folder, const QString &pattern);
    QStringList Files() const;
};

// One line for each entry of an archive: folder, "\" and name. The texts are shared with the
// archive's list, so that a line costs two pointers until it is looked at.
class ArchiveLines : public QAbstractListModel {
  public:
    explicit ArchiveLines(QObject *parent);
    struct Line {
        QString folder;
        QString name;
    };
    void SetLines(std::vector<Line> lines);
    int Count() const { return static_cast<int>(m_lines.size()); }
    QString Text(int line) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

  private:
    std::vector<Line> m_lines;
};

// A line of text that shows as much as fits, and the whole of it as a tool tip where it does not.
class StatusLabel : public QLabel {
  public:
    explicit StatusLabel(QWidget *parent);
    void SetText(const QString &text);

  protected:
    void paintEvent(QPaintEvent *event) override;
};

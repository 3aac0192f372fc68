#pragma once

#include "archive/entryList.h"

#include <QAbstractListModel>
#include <QComboBox>
#include <QIcon>
#include <QLabel>
#include <QListWidget>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

// Small controls of the main window that Qt does not provide in this form.

// Icons, numbered from 1.
class ImageList : public QObject {
  public:
    ImageList(QObject *parent, int count);
    QIcon Image(int number) const;

  private:
    std::vector<QIcon> m_images;
};

// The files of a folder that match a pattern, sorted by name, without hidden and system files.
class FileList : public QListWidget {
  public:
    explicit FileList(QWidget *parent);
    // Reads the folder. Raises 76 if it cannot be read.
    void SetPath(const QString &folder, const QString &pattern);
    QStringList Files() const;
};

// A drop-down list in which neither the wheel nor typed letters select an entry while it is closed:
// letters open it at the entry that they begin. Long lists have a scroll bar.
class ArchiveDropDown : public QComboBox {
  public:
    explicit ArchiveDropDown(QWidget *parent);

  protected:
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
};

// One line for each entry of an archive: folder, "\" and name. The strings are shared with the
// entries of cUnzip; a line is composed when it is read.
class ArchiveLines : public QAbstractListModel {
  public:
    explicit ArchiveLines(QObject *parent);
    void SetEntries(std::shared_ptr<const EntryList> entries);
    int Count() const { return m_entries == nullptr ? 0 : m_entries->count(); }
    // Thread-safe.
    QString Text(int line) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

  private:
    std::shared_ptr<const EntryList> m_entries;
};

// A label of one line. A text that does not fit is elided and shown in full as a tool tip.
class StatusLabel : public QLabel {
  public:
    explicit StatusLabel(QWidget *parent);
    void SetText(const QString &text);
    // Texts for the tool tip and for screen readers, beside the line's own: a note, which the next
    // SetText removes, and the state of the work folder, which stays.
    void SetNote(const QString &note);
    void SetState(const QString &state);

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    void Describe();

    QString m_note;
    QString m_state;
};

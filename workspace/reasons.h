#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>
#include <exception>
#include <string>

// The reason for a return code of the companion libraries other than 0, as the end of a sentence
// such as "... was not saved: ". Prefers the library's message, if there is one, to the general
// text of the code; for a full disk it gives both.
QString Reason(std::int32_t code, const QString &message);

// The description of a caught error.
QString Reason(const std::exception &error);

// The files that a note is about: how many, and the first ten, which it names.
class NamedFiles {
  public:
    NamedFiles() = default;
    NamedFiles(const QStringList &names); // NOLINT(google-explicit-constructor): a list is one

    // `name` is UTF-8.
    void add(const std::string &name);
    NamedFiles &operator+=(const NamedFiles &more);
    qsizetype count() const { return m_count; }
    const QStringList &first() const { return m_first; }

  private:
    QStringList m_first;
    qsizetype m_count = 0;
};

// The first ten names, separated by commas, and the number of the others.
QString ShortList(const NamedFiles &files);

// The note about an archive that has a defect but is complete.
QString OddArchiveNote(const QString &reason);

// The note that there is no record of an extraction.
QString RecordNote(const QString &reason);

// What was changed: "2 files changed, 1 added: a.cs, b.cs, c.cs"; "" if nothing.
QString ChangesNote(const NamedFiles &changed, const NamedFiles &added);

// The note about files that a save has left in the work folder; "" for none.
QString StayedNote(const QStringList &paths);

// The note about edited files that Cancel moved to the trash, deleted for lack of one, or left in
// the work folder because the trash did not take them, and about files that another program has
// open; "" for none.
QString TrashNote(const QStringList &trashed, const QStringList &deleted, const QStringList &kept,
                  const QStringList &inUse);

// The note after a save that added entries for leftovers of editors and systems. `paths` is not
// empty.
QString LeftoversNote(const QStringList &paths);

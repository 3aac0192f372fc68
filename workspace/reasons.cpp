#include "workspace/reasons.h"

#include "platform/error.h"
#include "ziplib/returnCode.h"

#include <array>

using ziplib::ReturnCode;

namespace {

constexpr qsizetype kMostNames = 10;

struct Meaning {
    ReturnCode code;
    const char *text;
};

constexpr std::array kMeanings{
    Meaning{ReturnCode::Warnings, "some files were skipped"},
    Meaning{ReturnCode::Damaged, "the archive is damaged"},
    Meaning{ReturnCode::SevereDamage, "the archive is badly damaged or no zip archive"},
    Meaning{ReturnCode::NoArchive, "the archive was not found"},
    Meaning{ReturnCode::NothingMatched, "no file matched"},
    Meaning{ReturnCode::NothingToDo, "there is nothing to do"},
    Meaning{ReturnCode::CannotWrite, "the archive could not be written"},
    Meaning{ReturnCode::CannotCreate, "the archive could not be created"},
    Meaning{ReturnCode::CannotOpen, "a file could not be opened"},
    Meaning{ReturnCode::DiskFull, "the disk has no room for it"},
    Meaning{ReturnCode::EndsEarly, "the archive ends early"},
    Meaning{ReturnCode::Cancelled, "it was cancelled"},
    Meaning{ReturnCode::Unsupported, "its compression or encryption is not supported"},
    Meaning{ReturnCode::NoPassword, "it needs a password"},
    Meaning{ReturnCode::Conflict, "it was changed by another program too"},
};

} // namespace

QString Reason(std::int32_t code, const QString &message) {
    QString text = message.simplified();
    if (ReturnCode{code} == ReturnCode::DiskFull && !text.isEmpty())
        return "the disk has no room for it: " + text;
    if (!text.isEmpty())
        return text;
    for (const Meaning &meaning : kMeanings)
        if (meaning.code == ReturnCode{code})
            return meaning.text;
    return QStringLiteral("error %1").arg(code);
}

QString Reason(const std::exception &error) {
    const auto *runtimeError = dynamic_cast<const platform::RuntimeError *>(&error);
    return runtimeError != nullptr ? runtimeError->description()
                                   : QString::fromLocal8Bit(error.what());
}

QString OddArchiveNote(const QString &reason) {
    return QStringLiteral("Something about the archive is odd: %1.").arg(reason);
}

QString RecordNote(const QString &reason) {
    return QStringLiteral("The record of the extraction could not be written: %1. If another "
                          "program changes the archive before you save, Orvel does not know which "
                          "versions are newer.")
        .arg(reason);
}

NamedFiles::NamedFiles(const QStringList &names)
    : m_first(names.mid(0, kMostNames)), m_count(names.size()) {}

void NamedFiles::add(const std::string &name) {
    ++m_count;
    if (m_first.size() < kMostNames)
        m_first.append(QString::fromStdString(name));
}

NamedFiles &NamedFiles::operator+=(const NamedFiles &more) {
    m_count += more.m_count;
    m_first.append(more.m_first.mid(0, kMostNames - m_first.size()));
    return *this;
}

QString ShortList(const NamedFiles &files) {
    QString list = files.first().join(", ");
    if (files.count() > files.first().size())
        list += QStringLiteral(" and %1 more").arg(files.count() - files.first().size());
    return list;
}

QString ChangesNote(const NamedFiles &changed, const NamedFiles &added) {
    const auto files = [](qsizetype count) {
        return QStringLiteral("%1 file%2 ").arg(count).arg(count == 1 ? "" : "s");
    };
    QString text;
    if (changed.count() > 0)
        text = files(changed.count()) + "changed";
    if (added.count() > 0)
        text += text.isEmpty() ? files(added.count()) + "added"
                               : QStringLiteral(", %1 added").arg(added.count());
    NamedFiles both = changed;
    both += added;
    return text.isEmpty() ? text : text + ": " + ShortList(both);
}

QString StayedNote(const QStringList &paths) {
    return paths.isEmpty() ? QString()
                           : QStringLiteral("Left in the work folder, as another program has them "
                                            "open or has changed them since: ") +
                                 ShortList(paths);
}

QString TrashNote(const QStringList &trashed, const QStringList &deleted, const QStringList &kept,
                  const QStringList &inUse) {
    const auto line = [](const QStringList &paths, const char *what) {
        return paths.isEmpty()
                   ? QString()
                   : QStringLiteral("%1 edited file%2 %3: %4")
                         .arg(paths.size())
                         .arg(paths.size() == 1 ? " was" : "s were", what, ShortList(paths));
    };
    QStringList lines{line(trashed, "moved to the trash"),
                      line(deleted, "deleted, as there is no trash for this disk"),
                      line(kept, "left in the work folder, as the trash cannot be written to")};
    if (!inUse.isEmpty())
        lines.append("Left in the work folder, as another program has them open: " +
                     ShortList(inUse));
    lines.removeAll(QString());
    return lines.join('\n');
}

QString LeftoversNote(const QStringList &paths) {
    return QStringLiteral("New in the archive are files that programs leave behind: %1. They were "
                          "in the work folder, and stay in the archive from now on.")
        .arg(ShortList(paths));
}

#include "platform/error.h"
#include "platform/files.h"
#include "platform/forms.h"
#include "platform/workFolderCleaner.h"
#include "workspace/controls.h"
#include "workspace/fileOnDisk.h"
#include "workspace/frmMain.h"
#include "workspace/reasons.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPair>
#include <QSet>

namespace {

// Fewer than the names that one call of the library takes.
constexpr std::int32_t kNamesOfCall = 1000;

QString entryName(const EntryVersion &entry) {
    return QString::fromStdString(entry.path);
}

// The name under which the archive's version of an entry is kept in a folder: that of the file that
// holds it already (`isThere`), else the first free one, so that neither an earlier version nor
// the user's own file is overwritten.
QString theirsName(const QString &folder, const EntryVersion &entry, bool &isThere) {
    const QString path = entryName(entry);
    const qsizetype start = path.lastIndexOf('/') + 1;
    for (int number = 1;; ++number) {
        const QString ending =
            number == 1 ? QStringLiteral(".theirs") : QStringLiteral(".theirs~%1").arg(number);
        QString name =
            path.left(start) + platform::fittedName(path.mid(start), ending.size()) + ending;
        isThere = FileOnDisk(folder, {name.toStdString(), entry.size, entry.crc}).same;
        const QFileInfo file(folder + '/' + name);
        if (isThere || (!file.exists() && !file.isSymLink()))
            return name;
    }
}

// The path, in a folder, of a copy of an archive. Earlier copies may be all that is left of what
// they hold.
QString freeCopyName(const QString &folder, const QString &archive) {
    const QFileInfo file(platform::nativePath(archive));
    QString path = folder + '\\' + file.fileName();
    for (int n = 2; QFileInfo::exists(platform::nativePath(path)); ++n)
        path = QStringLiteral("%1\\%2~%3.%4")
                   .arg(folder, file.completeBaseName(), QString::number(n), file.suffix());
    return path;
}

// Copies an archive; an unfinished copy is removed.
platform::Status copyArchive(const QString &archive, const QString &path) {
    const QFileInfo to(platform::nativePath(path));
    platform::Folder target;
    platform::InputFile source;
    platform::FileInfo info;
    platform::NewFile copy;
    platform::Status status = target.open(to.path().toStdString());
    if (status.ok())
        status = source.open(platform::storagePath(archive), info);
    if (status.ok())
        status = copy.create(target);
    const auto repaint = [] {
        platform::repaintPending();
        return true;
    };
    if (status.ok())
        status = copy.copyFrom(source, 0, info.size, repaint);
    if (status.ok())
        status = copy.sync();
    if (status.ok())
        status = copy.commit(to.fileName().toStdString(), platform::NewFile::Replace::No);
    return status;
}

// Paths in listings end after so many bytes.
constexpr qsizetype kListedBytes = 256;

// The entries of an archive, as far as a listing tells.
QSet<QPair<QString, std::uint32_t>> listedEntries(const QString &zipFile) {
    cUnzip archive;
    archive.setZipFile(zipFile);
    archive.Directory();
    QSet<QPair<QString, std::uint32_t>> found;
    for (int i = 1; i <= archive.FileCount(); ++i) {
        QString path = archive.FileDirectory(i);
        path = path.isEmpty() ? archive.Filename(i) : path + '\\' + archive.Filename(i);
        found.insert({path.replace('\\', '/'), static_cast<std::uint32_t>(archive.FileCRC(i))});
    }
    return found;
}

// Extracts entries, by their paths with "\", into a folder. Returns "" or why some are missing.
QString extractEntries(const QString &zipFile, const QString &folder, const QSet<QString> &wanted) {
    cUnzip archive;
    archive.setZipFile(zipFile);
    archive.setUnzipFolder(folder);
    archive.setUseFolderNames(true);
    archive.setOverwriteExisting(true);
    archive.Directory();
    for (int i = 1; i <= archive.FileCount(); ++i)
        archive.setFileSelected(i, false);
    QString reason;
    for (int i = 1, first = 1, names = 0; i <= archive.FileCount(); ++i) {
        const QString &below = archive.FileDirectory(i);
        const QString file =
            below.isEmpty() ? archive.Filename(i) : below + '\\' + archive.Filename(i);
        archive.setFileSelected(i, wanted.contains(file));
        names += archive.FileSelected(i) ? 1 : 0;
        if (names < kNamesOfCall && i < archive.FileCount())
            continue;
        if (names > 0 && archive.Unzip())
            reason = Reason(archive.LastCode(), archive.LastMessage());
        for (names = 0; first <= i; ++first)
            archive.setFileSelected(first, false);
    }
    return reason;
}

} // namespace

QString frmMain::TheirsFolder() const {
    constexpr qsizetype kEnding = 10; // bytes
    QString name = platform::fittedName(WorkFolderName(), kEnding) + ".theirs";
    while (drpVL2File->findData(name, kWorkFolderRole, Qt::MatchFixedString) >= 0)
        name += '~';
    return WorkFolders() + '\\' + name;
}

std::vector<EntryVersion> frmMain::CopyTheirs(const std::vector<EntryVersion> &conflicts,
                                              QString &copy) const {
    std::vector<EntryVersion> there;
    const bool isLink = QFileInfo(platform::nativePath(TheirsFolder())).isSymLink();
    copy = freeCopyName(TheirsFolder(), ArchivePath());
    if (conflicts.empty() || isLink || !copyArchive(ArchivePath(), copy).ok())
        return there;
    // The archive may have been replaced since the save.
    const auto listed = listedEntries(copy);
    for (const EntryVersion &entry : conflicts)
        if (const QByteArray path = entryName(entry).toUtf8().left(kListedBytes);
            listed.contains({QString::fromUtf8(path), entry.crc}))
            there.push_back(entry);
    if (there.empty())
        QFile::remove(platform::nativePath(copy));
    return there;
}

std::vector<EntryVersion> frmMain::ExtractTheirs(const std::vector<EntryVersion> &conflicts,
                                                 QString &reason, QStringList &numbered) const {
    // The library has no names but those of the entries, so it extracts into a folder of its own:
    // "x.theirs" may be an entry too.
    const QString extracted = TheirsFolder() + "\\.part";
    const QString from = platform::nativePath(extracted);
    const QString to = platform::nativePath(TheirsFolder());
    for (const QString &folder : {to, from}) {
        if (!QFileInfo(folder).isSymLink())
            continue;
        reason = QDir::toNativeSeparators(folder) + " is a link";
        return {};
    }
    QSet<QString> wanted;
    bool isThere = false;
    for (const EntryVersion &entry : conflicts) {
        const QString file = entryName(entry).replace('/', '\\');
        theirsName(to, entry, isThere);
        if (!isThere && StaysBelow(file))
            wanted.insert(file);
    }
    QDir().mkpath(from);
    try {
        reason = extractEntries(ArchivePath(), extracted, wanted);
    } catch (const platform::RuntimeError &error) {
        reason = error.description();
    }
    for (const EntryVersion &entry : conflicts) {
        const QString name = entryName(entry);
        const QString target = to + '/' + theirsName(to, entry, isThere);
        if (isThere)
            continue;
        // An open folder cannot be removed on some disks.
        platform::WorkFolderCleaner(extracted).clearAttributes(name);
        QDir().mkpath(QFileInfo(target).path());
        QFile::rename(from + '/' + name, target);
        platform::repaintPending();
    }
    QDir(from).removeRecursively();
    std::vector<EntryVersion> there;
    for (const EntryVersion &entry : conflicts) {
        const QString name = theirsName(to, entry, isThere);
        if (!isThere)
            continue;
        there.push_back(entry);
        if (!name.endsWith(".theirs"))
            numbered.append(name);
    }
    if (reason.isEmpty())
        reason = "they could not be written";
    return there;
}

QString frmMain::ConflictText() {
    const std::vector<EntryVersion> &conflicts = m_cZ->LastResult().conflicts;
    if (m_conflictArchive != ArchivePath())
        m_conflicts.clear();
    m_conflictArchive = ArchivePath();
    QString reason;
    const auto without = [](const std::vector<EntryVersion> &all,
                            const std::vector<EntryVersion> &some) {
        std::vector<EntryVersion> left;
        auto next = some.begin();
        for (const EntryVersion &entry : all) {
            const bool isNext = next != some.end() && next->path == entry.path;
            if (isNext)
                ++next;
            else
                left.push_back(entry);
        }
        return left;
    };
    const auto namesOf = [](const std::vector<EntryVersion> &entries) {
        QStringList names;
        for (const EntryVersion &entry : entries)
            names.append(entryName(entry));
        return ShortList(names);
    };
    QStringList numbered;
    const auto notExtracted = without(conflicts, ExtractTheirs(conflicts, reason, numbered));
    QString copy;
    const auto copied = CopyTheirs(notExtracted, copy);
    const auto missing = without(notExtracted, copied);
    for (EntryVersion entry : without(conflicts, missing)) {
        entry.known = true;
        m_conflicts.push_back(std::move(entry));
    }
    const auto shownPath = [](const QString &path) {
        return QDir::toNativeSeparators(platform::nativePath(path));
    };
    QString text = namesOf(conflicts);
    const char *cause = "there is no record of their extraction";
    if (WorkRecord::exists(WorkFolders(), WorkFolderName()))
        cause = WorkRecord::isNewer(WorkFolders(), WorkFolderName())
                    ? "the record of the extraction is of a newer Orvel"
                    : "the record of the extraction is damaged";
    const QString verb = conflicts.size() == 1 ? " differs" : " differ";
    const QString unknown = verb + " from the archive, and as " + cause +
                            ", Orvel does not know which versions are newer. ";
    text += ReadRecord()
                ? " changed in your work folder and, by another program, in the archive too. "
                : unknown;
    // Without a copy of it, the archive's version would be lost.
    if (!missing.empty()) {
        text += QStringLiteral("Yours are not packed over them as long as the archive's versions "
                               "of %1 cannot be put into %2: %3. Mend that, or move your files "
                               "away, and press Save Changes again")
                    .arg(namesOf(missing), shownPath(TheirsFolder()), reason);
        return text;
    }
    text += "The archive's versions are in " + shownPath(TheirsFolder());
    text +=
        numbered.isEmpty() ? ". " : " (" + ShortList(numbered) + ", as earlier files stay there). ";
    if (!copied.empty())
        text += QStringLiteral("%1 cannot be extracted (%2), so a copy of the whole archive is "
                               "there: %3. ")
                    .arg(namesOf(copied), reason, shownPath(copy));
    return text + QStringLiteral("Press Save Changes again to pack yours over them");
}

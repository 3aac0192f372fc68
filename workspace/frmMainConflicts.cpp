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
#include <QSet>

namespace {

// Fewer than the names that one call of the library takes.
constexpr std::int32_t kNamesOfCall = 1000;

QString entryName(const EntryVersion &entry) {
    return QString::fromStdString(entry.path);
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
    QString name = WorkFolderName() + ".theirs";
    while (drpVL2File->findData(name, kWorkFolderRole, Qt::MatchFixedString) >= 0)
        name += '~';
    return WorkFolders() + '\\' + name;
}

std::vector<EntryVersion> frmMain::ExtractTheirs(const std::vector<EntryVersion> &conflicts,
                                                 QString &reason) const {
    // The library has no names but those of the entries, so it extracts into a folder of its own:
    // "x.theirs" may be an entry too.
    const QString extracted = TheirsFolder() + "\\.part";
    const QString from = platform::nativePath(extracted);
    const QString to = platform::nativePath(TheirsFolder());
    for (const QString &folder : {to, from})
        if (QFileInfo(folder).isSymLink()) {
            reason = QDir::toNativeSeparators(folder) + " is a link";
            return {};
        }
    platform::WorkFolderCleaner earlier(TheirsFolder());
    QSet<QString> wanted;
    for (const EntryVersion &entry : conflicts) {
        const QString file = entryName(entry).replace('/', '\\');
        earlier.deleteFile(file + ".theirs"); // not to pass for this version
        if (StaysBelow(file))
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
        const QString target = to + '/' + name + ".theirs";
        // An open folder cannot be removed on some disks.
        platform::WorkFolderCleaner(extracted).clearAttributes(name);
        QDir().mkpath(QFileInfo(target).path());
        QFile::rename(from + '/' + name, target);
        platform::repaintPending();
    }
    QDir(from).removeRecursively();
    std::vector<EntryVersion> there;
    for (const EntryVersion &entry : conflicts)
        if (FileOnDisk(to, {entry.path + ".theirs", entry.size, entry.crc}).same)
            there.push_back(entry);
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
    const std::vector<EntryVersion> there = ExtractTheirs(conflicts, reason);
    m_conflicts.insert(m_conflicts.end(), there.begin(), there.end());
    QStringList names;
    QStringList missing;
    auto next = there.begin();
    for (const EntryVersion &entry : conflicts) {
        names.append(entryName(entry));
        if (next != there.end() && next->path == entry.path)
            ++next;
        else
            missing.append(names.last());
    }
    const QString theirs = QDir::toNativeSeparators(platform::nativePath(TheirsFolder()));
    const QString text = QStringLiteral("%1 changed in your work folder and, by another program, "
                                        "in the archive too. ")
                             .arg(ShortList(names));
    if (missing.isEmpty())
        return text + QStringLiteral("The archive's versions are in %1. Press Save Changes again "
                                     "to pack yours over them")
                          .arg(theirs);
    // Without a copy of it, the archive's version would be lost.
    return text + QStringLiteral("Yours are not packed over them as long as the archive's versions "
                                 "of %1 cannot be put into %2: %3. Mend that, or move your files "
                                 "away, and press Save Changes again")
                      .arg(ShortList(missing), theirs, reason);
}

#include "archive/workRecord.h"
#include "platform/files.h"
#include "storage/safePath.h"
#include "workspace/controls.h"
#include "workspace/frmMain.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QFont>
#include <QSet>

#include <optional>
#include <vector>

namespace {

// A work folder that a record says the archive of.
struct Recorded {
    QString name;
    WorkRecord::Archive archive;
};

// The work folders in `folders` that have a record. The record of a folder that was removed by hand
// is removed.
std::vector<Recorded> recordedFolders(const QString &folders) {
    const QString pattern = WorkRecord::fileName("*");
    const qsizetype before = pattern.indexOf('*');
    const qsizetype after = pattern.size() - before - 1;
    const QDir parent(platform::nativePath(folders));
    std::vector<Recorded> found;
    for (const QString &file : parent.entryList({pattern}, QDir::Files | QDir::Hidden)) {
        QString name = file.mid(before, file.size() - before - after);
        if (platform::storedName(folders + '\\' + name).isEmpty())
            for (const QString &folder : parent.entryList(QDir::Dirs | QDir::Hidden))
                if (WorkRecord::fileName(folder) == file)
                    name = folder; // too long for the record's name
        if (platform::storedName(folders + '\\' + name).isEmpty())
            WorkRecord::remove(folders, name);
        else if (auto archive = WorkRecord::readArchive(folders, name))
            found.push_back({name, std::move(*archive)});
    }
    return found;
}

// Archives whose names differ only in case have the same text, but must not share a work folder.
// Folder names must not end in blanks or dots or be a Windows device name, as in "Con.old"; the
// rules are the same on all systems, so that work folders can be moved.
QString folderNameFor(const QString &text, const QSet<QString> &taken) {
    QString folder = text;
    folder.replace('/', '-').replace('\\', '-'); // of an archive outside the game's folder
    if (platform::isDeviceName(text.toStdString()))
        folder.insert(text.contains('.') ? text.indexOf('.') : text.size(), '~');
    while (!folder.isEmpty() && (folder.back() == ' ' || folder.back() == '.'))
        folder.chop(1);
    QString unique = folder;
    for (int n = 2; unique.isEmpty() || taken.contains(unique); ++n)
        unique = folder + '~' + QString::number(n);
    return unique;
}

} // namespace

void frmMain::AssignWorkFolders() const {
    m_assignedIn = WorkFolders();
    const std::vector<Recorded> recorded = recordedFolders(m_assignedIn);
    // Folders of archives that are no longer there keep their names too.
    QSet<QString> taken;
    for (const Recorded &folder : recorded)
        taken.insert(folder.name);
    m_ownerless.clear();
    QSet<QString> given;
    for (int entry = 0; entry < drpVL2File->count(); ++entry) {
        const QString text = drpVL2File->itemText(entry);
        QString name;
        const auto archive =
            recorded.empty() ? std::nullopt : WorkRecord::archiveAt(ArchivePath(entry));
        for (const Recorded &folder : recorded)
            if (archive && !given.contains(folder.name) && folder.archive.isSame(*archive) &&
                name != text)
                name = folder.name;
        given.insert(name);
        if (name.isEmpty())
            name = folderNameFor(text, taken);
        taken.insert(name);
        drpVL2File->setItemData(entry, name, kWorkFolderRole);
    }
    for (const Recorded &folder : recorded)
        if (!given.contains(folder.name))
            m_ownerless.insert(folder.name, folder.archive);
    MarkAllWork();
}

QString frmMain::OtherWorkNote() const {
    const auto archive =
        m_ownerless.isEmpty() ? std::nullopt : WorkRecord::archiveAt(ArchivePath());
    const QString own = folderNameFor(drpVL2File->currentText(), {});
    QStringList lines;
    for (auto folder = m_ownerless.cbegin(); archive && folder != m_ownerless.cend(); ++folder) {
        const platform::FileInfo &seen = folder->seen;
        const bool hasName = folder.key() == own || folder.key().startsWith(own + '~');
        const bool isFile = seen.id != 0 && sameFile(seen, archive->seen);
        const QString path = platform::nativePath(m_assignedIn + '\\' + folder.key());
        if ((hasName || isFile) &&
            QDirIterator(path, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories).hasNext())
            lines.append(
                QStringLiteral("The folder %1 holds work for %2.")
                    .arg(QDir::toNativeSeparators(path), QDir::toNativeSeparators(folder->path)));
    }
    lines.sort();
    return lines.join('\n');
}

void frmMain::MarkAllWork() const {
    // Looking for each of many folders that do not exist would take long.
    QSet<QString> there;
    const QDir parent(platform::nativePath(m_assignedIn));
    for (const QString &name : parent.entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot))
        there.insert(name.toCaseFolded());
    for (int entry = 0; entry < drpVL2File->count(); ++entry) {
        const QString name = drpVL2File->itemData(entry, kWorkFolderRole).toString();
        MarkWork(entry, there.contains(name.toCaseFolded()));
    }
}

void frmMain::MarkWork(int entry, bool exists) const {
    const QString name = drpVL2File->itemData(entry, kWorkFolderRole).toString();
    const bool works =
        exists && QDirIterator(platform::nativePath(WorkFolders() + '\\' + name),
                               QDir::Files | QDir::Hidden, QDirIterator::Subdirectories)
                      .hasNext();
    // Not all views add what a font of an item leaves open.
    QFont font = drpVL2File->font();
    font.setBold(true);
    drpVL2File->setItemData(entry, works ? font : QVariant(), Qt::FontRole);
    const QString tip = works ? QStringLiteral("Work in progress") : QString();
    const QString path = QDir::toNativeSeparators(platform::nativePath(ArchivePath(entry)));
    drpVL2File->setItemData(entry, tip.isEmpty() ? path : path + '\n' + tip, Qt::ToolTipRole);
    drpVL2File->setItemData(entry, tip, Qt::AccessibleDescriptionRole);
}

QString frmMain::WorkFolder() const {
    if (WorkFolders() != m_assignedIn)
        AssignWorkFolders();
    return m_assignedIn + '\\' + WorkFolderName();
}

bool frmMain::OwnsWorkFolder() {
    return m_lock.take(WorkFolders(), WorkFolderName());
}

bool frmMain::KeepsWorkFolder() {
    static_cast<void>(WorkFolder()); // follows the setting
    if (OwnsWorkFolder())
        return true;
    UpdateButtons();
    return false;
}

#include "archive/workRecord.h"
#include "platform/files.h"
#include "storage/safePath.h"
#include "workspace/controls.h"
#include "workspace/frmMain.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QFont>
#include <QSet>

#include <algorithm>
#include <optional>
#include <vector>

namespace {

// A work folder with a record.
struct Recorded {
    QString name;
    QString stored;                             // its name on the disk; "" if it is not there
    std::optional<WorkRecord::Archive> archive; // none if the record is unreadable
};

constexpr int kDaysKept = 90;

QString foldedName(const QString &name) {
    return name.normalized(QString::NormalizationForm_C).toCaseFolded();
}

// Names that lead to one folder, or to one record.
class NameSet {
  public:
    void insert(const QString &name) {
        m_keys.insert(foldedName(name));
        m_keys.insert(foldedName(WorkRecord::fileName(name)));
    }
    bool contains(const QString &name) const {
        return m_keys.contains(foldedName(name)) ||
               m_keys.contains(foldedName(WorkRecord::fileName(name)));
    }

  private:
    QSet<QString> m_keys;
};

// The same for two records of one folder.
QString placeOf(const Recorded &folder) {
    return folder.stored.isEmpty() ? foldedName(folder.name) : folder.stored;
}

bool isSameName(const QString &a, const QString &b) {
    NameSet names;
    names.insert(a);
    return names.contains(b);
}

// Whether nothing has been left of a record's work for so long that it will not come back. A folder
// or a disk may be away for some time.
bool isForgotten(const Recorded &folder, const QFileInfo &record) {
    return folder.stored.isEmpty() && folder.archive && !QFileInfo::exists(folder.archive->path) &&
           record.lastModified().daysTo(QDateTime::currentDateTime()) > kDaysKept;
}

// The work folders in `folders` that have a record, also those that are away.
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
        Recorded folder{name, platform::storedName(folders + '\\' + name),
                        WorkRecord::readArchive(folders, name)};
        if (isForgotten(folder, QFileInfo(parent, file)))
            WorkRecord::remove(folders, name);
        else
            found.push_back(std::move(folder));
    }
    // If two records lead to one folder, that of exactly its name comes first.
    const auto rank = [](const Recorded &folder) {
        return folder.stored == folder.name ? 0 : folder.stored.isEmpty() ? 2 : 1;
    };
    std::stable_sort(found.begin(), found.end(), [&](const Recorded &left, const Recorded &right) {
        return rank(left) < rank(right);
    });
    return found;
}

// Archives whose names differ only in case have the same text, but must not share a work folder.
// Folder names must not end in blanks or dots or be a Windows device name, as in "Con.old"; the
// rules are the same on all systems, so that work folders can be moved.
QString folderNameFor(const QString &text, const NameSet &taken) {
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
    NameSet taken;
    for (const Recorded &folder : recorded)
        taken.insert(folder.name);
    const auto count = static_cast<std::size_t>(drpVL2File->count());
    const auto textOf = [&](std::size_t entry) {
        return drpVL2File->itemText(static_cast<int>(entry));
    };
    std::vector<std::optional<WorkRecord::Archive>> archives(count);
    for (std::size_t entry = 0; entry < count && !recorded.empty(); ++entry)
        archives[entry] = WorkRecord::archiveAt(ArchivePath(static_cast<int>(entry)));
    std::vector<QString> names(count);
    QSet<QString> given;
    // Gives each archive without a folder the first one that it owns, that of its text if there are
    // several.
    const auto give = [&](auto isOwner) {
        for (std::size_t entry = 0; entry < count; ++entry) {
            const Recorded *found = nullptr;
            for (const Recorded &folder : recorded) {
                const bool isBetter =
                    found == nullptr || (folder.name == textOf(entry) &&
                                         folder.stored.isEmpty() == found->stored.isEmpty());
                if (names[entry].isEmpty() && isBetter && !given.contains(placeOf(folder)) &&
                    isOwner(folder, entry))
                    found = &folder;
            }
            if (found == nullptr)
                continue;
            // The record's name may be the start of the folder's only.
            const QString own = folderNameFor(textOf(entry), {});
            const bool isOwn = found->stored.isEmpty() &&
                               WorkRecord::fileName(own) == WorkRecord::fileName(found->name);
            names[entry] = isOwn ? own : found->name;
            given.insert(placeOf(*found));
        }
    };
    give([&](const Recorded &folder, std::size_t entry) {
        return folder.archive && archives[entry] && folder.archive->path == archives[entry]->path;
    });
    give([&](const Recorded &folder, std::size_t entry) {
        return folder.archive && archives[entry] && folder.archive->isSame(*archives[entry]);
    });
    // Without a readable record, the name tells whose a folder is, if it is that of one archive.
    const std::vector<QString> known = names;
    give([&](const Recorded &folder, std::size_t entry) {
        std::size_t owners = 0;
        for (std::size_t i = 0; i < count && !folder.archive; ++i)
            if (known[i].isEmpty() && isSameName(folderNameFor(textOf(i), {}), folder.name))
                owners += i == entry ? 1 : count;
        return owners == 1;
    });
    for (std::size_t entry = 0; entry < count; ++entry) {
        if (names[entry].isEmpty())
            names[entry] = folderNameFor(textOf(entry), taken);
        taken.insert(names[entry]);
        drpVL2File->setItemData(static_cast<int>(entry), names[entry], kWorkFolderRole);
    }
    m_ownerless.clear();
    for (const Recorded &folder : recorded)
        if (!folder.stored.isEmpty() && !given.contains(placeOf(folder)))
            m_ownerless.insert(folder.name, folder.archive.value_or(WorkRecord::Archive()));
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
        if ((!hasName && !isFile) ||
            !QDirIterator(path, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories).hasNext())
            continue;
        const QString whose = folder->path.isEmpty()
                                  ? ", but its record does not say for which archive"
                                  : " for " + QDir::toNativeSeparators(folder->path);
        lines.append(QStringLiteral("The folder %1 holds work%2.")
                         .arg(QDir::toNativeSeparators(path), whose));
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

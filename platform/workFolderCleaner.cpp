#include "platform/workFolderCleaner.h"

#include "platform/error.h"
#include "platform/files.h"
#include "platform/storedNames.h"
#include "platform/trash.h"
#include "storage/folderCache.h"
#include "storage/orderedParallelFor.h"
#include "storage/pathText.h"
#include "storage/threadPool.h"

#include <QStringList>

#include <algorithm>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

namespace platform {

namespace {

bool isUsableName(QStringView name) {
    return !name.isEmpty() && name != u"." && name != u".." && !name.contains(QChar(u'\0'));
}

// A folder's path as FolderCache takes it; nothing if it leads out of the work folder.
std::optional<std::string> relativePath(QString folder) {
    QStringList components;
    for (const QString &component : folder.replace(u'\\', u'/').split(u'/', Qt::SkipEmptyParts)) {
        if (component == u".")
            continue;
        if (!isUsableName(component))
            return {};
        components.append(component);
    }
    return components.join(u'/').toStdString();
}

// A file's folder and its name in it.
struct SplitPath {
    explicit SplitPath(QStringView path) {
        const qsizetype cut = std::max(path.lastIndexOf(u'/'), path.lastIndexOf(u'\\'));
        folder = path.first(std::max<qsizetype>(cut, 0));
        name = path.sliced(cut + 1);
    }
    QStringView folder;
    QStringView name;
};

Status notFound(const QString &name) {
    return {Failure::NotFound, "cannot find " + name.toStdString(), name.toStdString()};
}

// The work folder's folders, found without regard to letter case and trailing blanks.
class WorkFolders : public FolderCache {
  public:
    using FolderCache::FolderCache;

    // Calls `step` with the name as written and, as long as there is no such file, with the name
    // without trailing blanks and with the stored name that differs in letter case only. `path` is
    // the folder's.
    template<typename Step>
    Status tryNames(const Folder &folder, const std::string &path, const QString &name, Step step) {
        Status status = step(name.toStdString());
        if (!status.is(Failure::NotFound))
            return status;
        const QString trimmed = withoutTrailingBlanks(name);
        if (!isUsableName(trimmed))
            return status;
        if (trimmed != name)
            status = step(trimmed.toStdString());
        if (!status.is(Failure::NotFound))
            return status;
        const std::string stored = otherSpelling(folder, path, name);
        return stored.empty() ? notFound(name) : step(stored);
    }

  protected:
    Status openFolder(const Folder &parent, const std::string &path, const std::string &name,
                      OpenFolder &opened) override {
        return tryNames(
            parent, std::string(folderOf(path)), QString::fromStdString(name),
            [&](const std::string &tried) { return parent.openFolder(tried, opened.folder); });
    }

  private:
    // Lists a folder at its first use only: thousands of missing files need one listing.
    std::string otherSpelling(const Folder &folder, const std::string &path, const QString &name) {
        const std::lock_guard lock(m_mutex);
        const auto [known, isNew] = m_names.try_emplace(path);
        if (isNew)
            static_cast<void>(known->second.read(folder));
        return known->second.find(name);
    }

    std::mutex m_mutex;
    std::unordered_map<std::string, StoredNames> m_names; // by the folder's path
};

} // namespace

struct WorkFolderCleaner::State {
    explicit State(QString path) : workFolder(std::move(path)) { openRoot(); }

    void openRoot() {
        Folder root;
        try {
            static_cast<void>(root.open(storagePath(workFolder)));
        } catch (const RuntimeError &) {
            // Each step fails.
        }
        folders.emplace(std::move(root));
    }

    // Calls `step` for a file or folder with the open folder that it is in.
    template<typename Step>
    bool onName(const QString &path, Step step) {
        const SplitPath split(path);
        const QString name = split.name.toString();
        if (split.folder != lastFolder) { // files come folder by folder
            lastFolder = split.folder.toString();
            lastPath = relativePath(lastFolder);
        }
        std::shared_ptr<const OpenFolder> opened;
        return lastPath && isUsableName(name) && folders->get(*lastPath, opened).ok() &&
               folders
                   ->tryNames(opened->folder, *lastPath, name,
                              [&](const std::string &tried) { return step(opened->folder, tried); })
                   .ok();
    }

    // Deletes a file of an open folder unless `packed` forbids it; `file` is its path below the
    // work folder. `isEdited` stays unset if the file could not be examined. Thread-safe.
    Status deleteHeld(const Folder &folder, const std::string &name, QStringView file,
                      std::optional<bool> &isEdited) const {
        if (packed == nullptr)
            return folder.removeFile(name);
        return folder.removeFileIf(
            name, keepsInfo, [&](const FileInfo &info, const OpenInput &open) {
                const auto openHeld = [&] {
                    InputFile *const opened = open();
                    // The content of a file that a program writes to already decides alone.
                    if (opened != nullptr && trashes)
                        (void)opened->holdOffWriters(info.device);
                    return opened;
                };
                const bool isFile = info.kind == FileInfo::Kind::File;
                const bool isHeld = isFile && packed->hold(file, info, timesTell, openHeld);
                isEdited = isFile && !isHeld;
                return isHeld;
            });
    }

    // Deletes a file by its exact name if that is all that has to be done. Thread-safe.
    bool deleteExact(const QString &file) {
        const SplitPath split(file);
        const auto path = relativePath(split.folder.toString());
        std::shared_ptr<const OpenFolder> opened;
        std::optional<bool> isEdited;
        return path && isUsableName(split.name) && folders->get(*path, opened).ok() &&
               deleteHeld(opened->folder, split.name.toString().toStdString(), file, isEdited).ok();
    }

    // Deletes a file of an open folder, or moves it to the trash.
    Status deleteIn(const Folder &folder, const std::string &name, QStringView file) {
        std::optional<bool> isEdited;
        Status status = deleteHeld(folder, name, file, isEdited);
        if (packed == nullptr)
            return status;
        const QString shown = shownPath(name, file);
        if (status.ok() || status.is(Failure::NotFound)) {
            inUse.removeAll(shown); // of an earlier attempt
            return status;
        }
        FileInfo info;
        const bool isLink = status.is(Failure::Busy) && folder.info(name, info).ok() &&
                            info.kind == FileInfo::Kind::Link;
        // An extraction makes no links: this one leads to a folder or nowhere.
        if (trashes && isLink)
            isEdited = true;
        if (!isEdited) {
            // What was not examined stays: it may be an edit.
            if (status.is(Failure::Busy) && !isLink && !inUse.contains(shown))
                inUse.append(shown);
            return status;
        }
        inUse.removeAll(shown);
        if (!trashes) {
            if (*isEdited && !kept.contains(shown))
                kept.append(shown);
            return status;
        }
        kept.removeAll(shown); // of an earlier attempt
        const Trashing trashing = *isEdited ? moveToTrash(folder.pathOf(name)) : Trashing::NoTrash;
        if (trashing == Trashing::Moved) {
            trashed.append(shown);
            return {};
        }
        if (trashing == Trashing::Failed) {
            kept.append(shown);
            return status;
        }
        status = folder.removeFile(name);
        // Where a program still has it open, it may be found once more.
        if (*isEdited && status.ok() && !deleted.contains(shown))
            deleted.append(shown);
        return status;
    }

    // The path below the work folder, with "/" between the components, of the file that is stored
    // as `name`.
    static QString shownPath(const std::string &name, QStringView file) {
        // A separator within the stored name is a character of it.
        const QString stored = QString::fromStdString(name);
        const QStringView above =
            file.endsWith(stored) ? file.chopped(stored.size()) : SplitPath(file).folder;
        QString shown = above.toString().replace(u'\\', u'/');
        shown +=
            (shown.isEmpty() || shown.endsWith(u'/') ? QString() : QStringLiteral("/")) + stored;
        if (shown.startsWith(u'/'))
            shown.remove(0, 1);
        return shown;
    }

    QString workFolder;
    std::optional<WorkFolders> folders;
    QString lastFolder;
    std::optional<std::string> lastPath = std::string(); // of lastFolder
    const PackedFiles *packed = nullptr;
    bool timesTell = false; // the disk's clock has not been set back since the save
    bool keepsInfo = false; // the system caches file information for a while
    bool trashes = false;   // what `packed` does not hold; else it stays
    QStringList trashed;
    QStringList deleted;
    QStringList kept;
    QStringList inUse;
};

WorkFolderCleaner::WorkFolderCleaner(const QString &workFolder)
    : m_state(std::make_unique<State>(workFolder)) {}

WorkFolderCleaner::~WorkFolderCleaner() = default;

void WorkFolderCleaner::deleteOnly(const PackedFiles &packed) {
    m_state->packed = &packed;
    std::shared_ptr<const OpenFolder> root;
    const bool isOpen = m_state->folders->get({}, root).ok();
    m_state->timesTell = isOpen && packed.isClockRunning(root->folder);
    m_state->keepsInfo = isOpen && root->folder.keepsInfo();
}

void WorkFolderCleaner::trashOthers(const PackedFiles &packed) {
    deleteOnly(packed);
    m_state->trashes = true;
}

const QStringList &WorkFolderCleaner::trashed() const {
    return m_state->trashed;
}

const QStringList &WorkFolderCleaner::deleted() const {
    return m_state->deleted;
}

const QStringList &WorkFolderCleaner::kept() const {
    return m_state->kept;
}

const QStringList &WorkFolderCleaner::inUse() const {
    return m_state->inUse;
}

bool WorkFolderCleaner::clearAttributes(const QString &file, FileInfo *cleared) {
    return m_state->onName(
        file, [cleared](const Folder &folder,
                        const std::string &name) { return folder.clearAttributes(name, cleared); });
}

bool WorkFolderCleaner::deleteFile(const QString &file) {
    return m_state->onName(
        file, [&](const Folder &folder,
                  const std::string &name) { return m_state->deleteIn(folder, name, file); });
}

void WorkFolderCleaner::deleteFiles(int count, const std::function<QString(int)> &file,
                                    const std::function<void(int, bool)> &done,
                                    const std::function<void()> &idle) {
    constexpr unsigned kFilesForThread = 64; // as many as a thread deletes in a batch
    std::vector<char> deleted(static_cast<std::size_t>(count));
    OrderedParallelFor job;
    job.count = deleted.size();
    job.cost = [](std::size_t) { return std::uint64_t{0}; };
    job.work = [&](std::size_t i) {
        deleted[i] = m_state->deleteExact(file(static_cast<int>(i))) ? 1 : 0;
    };
    job.take = [&](std::size_t i) {
        const int number = static_cast<int>(i);
        done(number, deleted[i] != 0 || deleteFile(file(number)));
        return true;
    };
    job.idle = idle;
    const unsigned most = static_cast<unsigned>(count) / kFilesForThread + 1;
    orderedParallelFor(job, std::min(workerCount(Work::Waits), most), UINT64_MAX);
}

bool WorkFolderCleaner::deleteFilesIn(const QString &folder, const Step &step) {
    const auto path = relativePath(folder);
    std::shared_ptr<const OpenFolder> opened;
    // Listed to the end before anything is deleted: deleting during a listing is undefined.
    std::vector<FolderItem> items;
    if (!path || !m_state->folders->get(*path, opened).ok() || !opened->folder.list(items).ok())
        return false;
    bool noneLeft = true;
    int number = 0;
    for (const FolderItem &item : items) {
        if (step)
            step(number++, static_cast<int>(items.size()));
        if (item.kind == FileInfo::Kind::Folder)
            continue;
        // What a killed run has left holds nothing of the user's.
        if (isTemporaryName(item.name) && opened->folder.removeFile(item.name).ok())
            continue;
        constexpr std::uint8_t kKept = kAttributeHidden | kAttributeSystem;
        if ((opened->folder.recordedAttributes(item) & kKept) != 0) {
            noneLeft = false;
            continue;
        }
        const Status deleted = m_state->deleteIn(opened->folder, item.name,
                                                 folder + u'/' + QString::fromStdString(item.name));
        // A link to a folder is a folder itself on Windows.
        noneLeft = noneLeft && (deleted.ok() || deleted.is(Failure::NotFound) ||
                                deleted.is(Failure::WrongKind));
    }
    return noneLeft;
}

bool WorkFolderCleaner::removeFolder(const QString &folder) {
    if (folder.isEmpty()) {
        // On some disks an open folder cannot be removed.
        m_state->folders.emplace(Folder());
        try {
            platform::removeFolder(m_state->workFolder);
            return true;
        } catch (const RuntimeError &) {
            m_state->openRoot();
            return false;
        }
    }
    if (const auto path = relativePath(folder))
        m_state->folders->close(*path);
    return m_state->onName(folder, [](const Folder &parent, const std::string &name) {
        return parent.removeFolder(name);
    });
}

} // namespace platform

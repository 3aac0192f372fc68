#include "workspace/changedFiles.h"

#include "archive/workRecord.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/packedFiles.h"
#include "workspace/reasons.h"

#include <QDateTime>
#include <QHash>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <new>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

using platform::FileInfo;
using platform::Folder;
using platform::FolderItem;
using platform::InputFile;

namespace {

constexpr qsizetype kMostWatched = 64; // folders
constexpr int kSettleTime = 300;       // ms between a change and the look at it
constexpr int kPollTime = 10;          // ms between two checks whether a look is done
constexpr int kMostDeep = 64;          // folders in folders
constexpr std::int64_t kCoarsestTime = 3'000'000'000; // ns, more than the step of any disk's times

QString foldedPath(const QString &path) {
    return path.normalized(QString::NormalizationForm_C).toCaseFolded();
}

// The folder of a path, as the tree has it: that of the top level is "".
QString folderOf(const QString &path) {
    return path.left(qMax<qsizetype>(path.lastIndexOf('\\'), 0));
}

// From the paths below the work folder, with "\" between the components, in any order.
FolderChanges changesOf(QStringList changed, QStringList added) {
    changed.sort();
    added.sort();
    FolderChanges changes;
    for (const QString &path : std::as_const(changed)) {
        changes.nodes.changed.insert(path.contains('\\') ? path : '\\' + path);
        changes.nodes.folders.insert(folderOf(path));
    }
    QHash<QString, QStringList> namesOf;
    for (const QString &path : std::as_const(added))
        namesOf[folderOf(path)].append(path.mid(path.lastIndexOf('\\') + 1));
    for (auto names = namesOf.cbegin(); names != namesOf.cend(); ++names)
        changes.nodes.added.insert(names.key(), ShortList(names.value()));
    changes.note =
        ChangesNote(changed.replaceInStrings("\\", "/"), added.replaceInStrings("\\", "/"));
    return changes;
}

} // namespace

struct ChangedFiles::Result {
    FolderChanges changes;
    QStringList folders; // of the work folder, in the system's form; empty if too many
    bool isComplete = false;
};

// The looks at one work folder, which write nothing. A change that only a clock set back would hide
// is not shown; a save finds it all the same. Only the thread uses it until `done` is set, except
// for `stop`.
struct ChangedFiles::Task {
    QString parent; // of the work folder, in the program's form
    QString workFolder;
    Listing listing;
    std::atomic<bool> stop = false;
    std::atomic<bool> done = true;
    Result found;

    void run() noexcept {
        try {
            found = look();
        } catch (const std::bad_alloc &) {
            found = {};
        }
        done = true;
    }

  private:
    Result look() {
        Result result;
        try {
            if (!m_isLoaded)
                load();
            Folder root;
            const QString path = parent + '\\' + workFolder;
            if (!root.open(platform::storagePath(path)).ok())
                return result;
            m_now = 1'000'000 * QDateTime::currentMSecsSinceEpoch();
            m_top = platform::nativePath(path);
            m_changed.clear();
            m_added.clear();
            result.isComplete = walk(root, {}, 0, result);
            if (result.isComplete)
                spellAsEntries();
            result.changes = changesOf(std::move(m_changed), std::move(m_added));
        } catch (const platform::RuntimeError &) {
            return result;
        }
        if (result.folders.size() > kMostWatched)
            result.folders.clear();
        return result;
    }

    // A file whose content was read.
    struct Seen {
        FileInfo info;
        std::int64_t when = 0; // in nanoseconds since 1970
        bool isSame = false;
    };

    void load() {
        const auto record = WorkRecord::read(parent, workFolder);
        m_hasRecord = record.has_value();
        if (record)
            m_known = record->knownFiles(listing.get());
        FileInfo anyVersion;
        anyVersion.size = platform::PackedFiles::kAnySize;
        for (std::int32_t i = 0; !record && listing != nullptr && i < listing->count(); ++i)
            m_known.add(listing->path(i), anyVersion, listing->crc(i), INT64_MIN);
        forEachEntry(record, [this](const QString &path, bool) {
            m_entries.push_back(qHash(foldedPath(path)));
        });
        std::sort(m_entries.begin(), m_entries.end());
        m_isLoaded = true;
    }

    // Calls `step` for each entry with its path and whether its file was written.
    template<typename Step>
    void forEachEntry(const std::optional<WorkRecord> &record, Step step) const {
        if (record)
            for (const WorkRecord::Entry &entry : record->entries())
                step(QString::fromStdString(entry.path).replace('/', '\\'), entry.written);
        for (std::int32_t i = 0; !m_hasRecord && listing != nullptr && i < listing->count(); ++i)
            step(listing->path(i), true);
    }

    bool isEntry(const QString &path) const {
        return std::binary_search(m_entries.begin(), m_entries.end(), qHash(foldedPath(path)));
    }

    // Spells the changed files as their entries are, of several that of a written file. The entries
    // are read again only if there are new ones.
    void spellAsEntries() {
        bool isNew = false;
        for (const QString &path : std::as_const(m_changed)) {
            QString &spelling = m_spellings[foldedPath(path)];
            isNew = isNew || spelling.isNull();
        }
        const auto spell = [this](const QString &path, bool written) {
            const auto known = m_spellings.find(foldedPath(path));
            if (known != m_spellings.end() && (written || known->isNull()))
                *known = path;
        };
        if (isNew)
            forEachEntry(m_hasRecord ? WorkRecord::read(parent, workFolder) : std::nullopt, spell);
        for (QString &path : m_changed) {
            const QString &spelling = m_spellings[foldedPath(path)];
            path = spelling.isNull() ? path : spelling;
        }
    }

    // False if stopped.
    bool walk(const Folder &folder, const QString &path, int depth, Result &result) {
        if (result.folders.size() <= kMostWatched)
            result.folders.append(path.isEmpty() ? m_top
                                                 : m_top + '/' + QString(path).replace('\\', '/'));
        std::vector<FolderItem> items;
        std::vector<FileInfo> infos;
        if (!folder.list(items, infos).ok())
            return !stop;
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (stop)
                return false;
            const FolderItem &item = items[i];
            const QString name = QString::fromStdString(item.name);
            const QString below = path.isEmpty() ? name : path + '\\' + name;
            Folder opened;
            if (item.kind == FileInfo::Kind::File)
                lookAt(folder, item, infos[i], below);
            else if (item.kind == FileInfo::Kind::Folder && depth < kMostDeep &&
                     folder.openFolder(item.name, opened).ok() &&
                     !walk(opened, below, depth + 1, result))
                return false;
        }
        return !stop;
    }

    void lookAt(const Folder &folder, const FolderItem &item, const FileInfo &info,
                const QString &path) {
        constexpr std::uint8_t kNotPacked = platform::kAttributeHidden | platform::kAttributeSystem;
        if (isEntry(path)) {
            if (info.kind == FileInfo::Kind::File && !isKnown(folder, item.name, path, info))
                m_changed.append(path);
        } else if (!platform::isTemporaryName(item.name) && !platform::isNameOfDeleted(item.name) &&
                   (folder.recordedAttributes(item) & kNotPacked) == 0) {
            m_added.append(path);
        }
    }

    bool isKnown(const Folder &folder, const std::string &name, const QString &path,
                 const FileInfo &info) {
        const auto seen = m_seen.constFind(path);
        if (seen != m_seen.cend() && sameFile(seen->info, info) && seen->info.size == info.size &&
            seen->info.modified == info.modified && seen->info.changed == info.changed &&
            platform::PackedFiles::timesProve(info, seen->when - kCoarsestTime))
            return seen->isSame;
        bool wasRead = false;
        InputFile file;
        const auto open = [&] {
            wasRead = true;
            return folder.openFile(name, file).ok() ? &file : nullptr;
        };
        const bool isSame = m_known.hold(path, info, true, open, &stop);
        if (wasRead && !stop)
            m_seen.insert(path, {info, m_now, isSame});
        return isSame;
    }

    bool m_isLoaded = false;
    platform::PackedFiles m_known;
    bool m_hasRecord = false;
    std::vector<std::size_t> m_entries;  // hashes of the folded paths, sorted
    QHash<QString, QString> m_spellings; // of changed files, by the folded path
    QHash<QString, Seen> m_seen;
    QStringList m_changed; // files of entries
    QStringList m_added;
    QString m_top;
    std::int64_t m_now = 0; // when the look began, in nanoseconds since 1970
};

ChangedFiles::ChangedFiles(QObject *parent, std::function<void(FolderChanges)> found)
    : QObject(parent), m_found(std::move(found)) {
    m_poll.setObjectName("tmrLook");
    m_poll.setInterval(kPollTime);
    connect(&m_poll, &QTimer::timeout, this, [this] {
        if (m_task != nullptr && m_task->done)
            finish();
    });
    m_settled.setSingleShot(true);
    m_settled.setInterval(kSettleTime);
    connect(&m_settled, &QTimer::timeout, this, &ChangedFiles::start);
}

ChangedFiles::~ChangedFiles() {
    Stop(nullptr);
}

void ChangedFiles::Look(const QString &folders, const QString &name,
                        const std::function<Listing()> &listing) {
    if (m_task != nullptr && (m_task->parent != folders || m_task->workFolder != name))
        Stop(nullptr);
    if (m_task == nullptr) {
        auto listed = listing();
        // That may repaint, and another look may have begun in it.
        if (m_task == nullptr) {
            m_task = std::make_unique<Task>();
            m_task->parent = folders;
            m_task->workFolder = name;
            m_task->listing = std::move(listed);
        }
    }
    start();
}

void ChangedFiles::start() {
    if (m_task == nullptr)
        return;
    m_again = m_thread.joinable();
    if (m_again)
        return;
    m_task->done = false;
    try {
        m_thread = std::thread([task = m_task.get()] { task->run(); });
        m_poll.start();
    } catch (const std::system_error &) {
        m_task->done = true; // without a thread there is no look
    }
}

void ChangedFiles::finish() {
    m_poll.stop();
    m_thread.join();
    Result result = std::move(m_task->found);
    if (result.isComplete)
        m_found(std::move(result.changes));
    // A folder that is removed is no longer watched, even if another one gets its path.
    const bool watches = m_watcher != nullptr && m_watched == result.folders &&
                         m_watcher->directories().size() == m_watched.size();
    if (platform::canWatchFolders() && !result.folders.isEmpty() && !watches)
        watch(result.folders);
    if (m_again && m_task != nullptr)
        start();
}

// The watcher stays when there is nothing to watch: Linux may take 20 ms to close one.
void ChangedFiles::watch(const QStringList &folders) {
    if (m_watcher == nullptr && folders.isEmpty())
        return;
    if (m_watcher == nullptr) {
        m_watcher = std::make_unique<QFileSystemWatcher>();
        connect(m_watcher.get(), &QFileSystemWatcher::directoryChanged, &m_settled,
                qOverload<>(&QTimer::start));
    }
    if (const QStringList former = m_watcher->directories(); !former.isEmpty())
        m_watcher->removePaths(former);
    if (!folders.isEmpty())
        m_watcher->addPaths(folders);
    m_watched = folders;
}

void ChangedFiles::Stop(void (*idle)()) {
    watch({});
    m_settled.stop();
    m_poll.stop();
    m_again = false;
    if (m_thread.joinable()) {
        m_task->stop = true;
        while (!m_task->done) {
            std::this_thread::sleep_for(std::chrono::milliseconds(kPollTime));
            if (idle != nullptr)
                idle();
        }
        m_thread.join();
    }
    m_task.reset();
}

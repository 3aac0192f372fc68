#include "platform/workFolderCleaner.h"

#include "platform/files.h"
#include "platform/posix/dosAttributes.h"
#include "platform/posix/folderCache.h"
#include "platform/posix/names.h"
#include "platform/posix/paths.h"
#include "storage/posix/descriptor.h"
#include "storage/posix/dosRecord.h"
#include "storage/posix/fileInfo.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <vector>

namespace platform {

namespace {

// The way to a file from an open folder for calls that have no form with a descriptor. A link at
// its end is not followed by calls that do not follow links.
QByteArray pathThrough(int descriptor, const QByteArray &name = {}) {
    QByteArray path = "/proc/self/fd/" + QByteArray::number(descriptor);
    return name.isEmpty() ? path : path + '/' + name;
}

bool makeNormal(int folder, const QByteArray &name) {
    struct stat info = {};
    if (::fstatat(folder, name.constData(), &info, AT_SYMLINK_NOFOLLOW) != 0)
        return false;
    if (!S_ISREG(info.st_mode)) {
        errno = EINVAL;
        return false;
    }
    // The usual case, a file that can be written and has nothing stored, costs one call more.
    if (!isReadOnly(info.st_mode))
        return dropStoredBits(pathThrough(folder, name).constData());
    // A handle makes sure that it is this file whose mode is changed.
    const Descriptor file(::openat(folder, name.constData(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    return file.isOpen() && ::fstat(file.get(), &info) == 0 && S_ISREG(info.st_mode) &&
           applyAttributes(pathThrough(file.get()).constData(), info, AttributeNormal) == 0;
}

bool isFolder(int folder, const dirent &entry) {
    if (entry.d_type != DT_UNKNOWN)
        return entry.d_type == DT_DIR;
    struct stat info = {};
    return ::fstatat(folder, entry.d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(info.st_mode);
}

// Takes a step on a file under its name as written, and where there is no such file, once more
// under the name that it is stored by.
template<typename Step>
bool onFile(FolderCache &folders, const QString &path, Step step) {
    const auto parts = relativeName(path);
    OpenFolder *folder = parts ? folders.open(parts->folder) : nullptr;
    if (folder == nullptr)
        return false;
    if (step(folder->descriptor(), parts->name))
        return true;
    if (errno != ENOENT)
        return false;
    const QByteArray stored = folder->otherSpelling(parts->name);
    return !stored.isEmpty() && step(folder->descriptor(), stored);
}

} // namespace

struct WorkFolderCleaner::State {
    explicit State(const QString &workFolder) : path(resolve(workFolder)), folders(path) {}

    // Deletes a name of an open folder, which `file` leads to from the work folder.
    bool deleteIn(int folder, const QByteArray &name, QStringView file) const {
        return (packed == nullptr || isPacked(folder, name, file)) &&
               ::unlinkat(folder, name.constData(), 0) == 0;
    }
    bool isPacked(int folder, const QByteArray &name, QStringView file) const;

    QByteArray path;
    FolderCache folders;
    const PackedFiles *packed = nullptr;
    bool timesTell = false; // whether the disk's clock has not been set back since the save
    bool keepsInfo = false; // whether the system answers from memory for a while
};

// Sets errno where it is not.
bool WorkFolderCleaner::State::isPacked(int folder, const QByteArray &name,
                                        QStringView file) const {
    struct stat info = {};
    if (keepsInfo)
        refreshInfo(folder, name.constData(), AT_SYMLINK_NOFOLLOW);
    if (::fstatat(folder, name.constData(), &info, AT_SYMLINK_NOFOLLOW) != 0)
        return false;
    const bool isLink = S_ISLNK(info.st_mode);
    if (isLink) {
        if (keepsInfo)
            refreshInfo(folder, name.constData(), 0);
        if (::fstatat(folder, name.constData(), &info, 0) != 0)
            return false;
    }
    Descriptor opened;
    const auto read = [&](void *data, std::size_t size, std::uint64_t offset) -> std::int64_t {
        if (!opened.isOpen()) {
            int descriptor = -1;
            FileInfo found;
            const Status status =
                openInputAt(folder, name.toStdString(), {}, isLink, descriptor, found);
            opened = Descriptor(descriptor);
            if (!status.ok() || !sameFile(found, fileInfo(info)))
                return -1;
        }
        ssize_t got = 0;
        do {
            got = ::pread(opened.get(), data, size, static_cast<off_t>(offset));
        } while (got < 0 && errno == EINTR);
        return got;
    };
    if (S_ISREG(info.st_mode) && packed->hold(file, fileInfo(info), timesTell, std::ref(read)))
        return true;
    errno = EBUSY;
    return false;
}

WorkFolderCleaner::WorkFolderCleaner(const QString &workFolder)
    : m_workFolder(workFolder), m_state(std::make_unique<State>(workFolder)) {}

WorkFolderCleaner::~WorkFolderCleaner() = default;

void WorkFolderCleaner::deleteOnly(const PackedFiles &packed) {
    m_state->packed = &packed;
    m_state->timesTell = packed.isClockRunning(m_workFolder);
    Folder folder;
    m_state->keepsInfo = folder.open(m_state->path.toStdString()).ok() && folder.keepsInfo();
}

bool WorkFolderCleaner::clearAttributes(const QString &file) {
    return onFile(m_state->folders, file, makeNormal);
}

bool WorkFolderCleaner::deleteFile(const QString &file) {
    return onFile(
        m_state->folders, file,
        [&](int folder, const QByteArray &name) { return m_state->deleteIn(folder, name, file); });
}

bool WorkFolderCleaner::deleteFilesIn(const QString &folder) {
    OpenFolder *opened = m_state->folders.open(folder);
    if (opened == nullptr)
        return false;
    const int descriptor = opened->descriptor();
    FolderEntries entries(descriptor);
    if (!entries.isOpen())
        return false;
    // Read to the end before anything is deleted: what a reading gives after that is not defined.
    std::vector<QByteArray> names;
    while (const dirent *entry = entries.next())
        if (!isFolder(descriptor, *entry))
            names.emplace_back(entry->d_name);
    bool noneLeft = true;
    for (const QByteArray &name : names) {
        const int bits = storedBitsOfEntry(pathThrough(descriptor, name).constData());
        const bool keep = (bits & (AttributeHidden | AttributeSystem)) != 0;
        if (keep || (!m_state->deleteIn(descriptor, name, folder + u'/' + nameText(name)) &&
                     errno != ENOENT))
            noneLeft = false;
    }
    return noneLeft;
}

bool WorkFolderCleaner::removeFolder(const QString &folder) {
    FolderCache &folders = m_state->folders;
    const bool removed = folder.isEmpty()
                             ? ::rmdir(m_state->path.constData()) == 0
                             : onFile(folders, folder, [](int parent, const QByteArray &name) {
                                   return ::unlinkat(parent, name.constData(), AT_REMOVEDIR) == 0;
                               });
    if (removed)
        folders.close(folder);
    return removed;
}

} // namespace platform

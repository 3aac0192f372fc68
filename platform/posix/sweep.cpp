#include "platform/sweep.h"

#include "platform/files.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/dosAttributes.h"
#include "platform/posix/dosRecord.h"
#include "platform/posix/folderCache.h"
#include "platform/posix/names.h"
#include "platform/posix/paths.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <limits>
#include <vector>

namespace platform {

namespace {

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kCoarseStep = 2'000'000'000;
constexpr useconds_t kPause = 300;

std::int64_t nanoseconds(const timespec &time) {
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// Every change of a file moves the time of its last change, a rename onto its name included.
bool changedAfter(int folder, const QByteArray &name, std::int64_t moment) {
    struct stat info = {};
    if (moment == kNever || ::fstatat(folder, name.constData(), &info, AT_SYMLINK_NOFOLLOW) != 0)
        return false;
    // A disk that counts whole seconds, or every other one, tells only when that was at the
    // earliest.
    const std::int64_t stamp = nanoseconds(info.st_ctim);
    const bool coarse = info.st_ctim.tv_nsec == 0;
    return (coarse ? stamp + kCoarseStep : stamp) > moment;
}

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

struct Sweep::State {
    explicit State(const QString &workFolder) : path(resolve(workFolder)), folders(path) {}

    bool deleteIn(int folder, const QByteArray &name) const {
        if (changedAfter(folder, name, keepAfter)) {
            errno = EBUSY;
            return false;
        }
        return ::unlinkat(folder, name.constData(), 0) == 0;
    }

    QByteArray path;
    FolderCache folders;
    std::int64_t keepAfter = kNever;
};

std::int64_t fileTimeNow() {
    const auto read = [](clockid_t clock) {
        timespec now = {};
        ::clock_gettime(clock, &now);
        return nanoseconds(now);
    };
    // Stamps are taken from either clock; the coarse one is the one that lags.
    const std::int64_t now = read(CLOCK_REALTIME);
    while (read(CLOCK_REALTIME_COARSE) <= now)
        ::usleep(kPause);
    return now;
}

Sweep::Sweep(const QString &workFolder) : m_state(std::make_unique<State>(workFolder)) {}

Sweep::~Sweep() = default;

void Sweep::keepChangedAfter(std::int64_t moment) {
    m_state->keepAfter = moment;
    m_state->folders.refuseMovedAfter(moment);
}

bool Sweep::clearAttributes(const QString &file) {
    return onFile(m_state->folders, file, makeNormal);
}

bool Sweep::deleteFile(const QString &file) {
    return onFile(m_state->folders, file, [this](int folder, const QByteArray &name) {
        return m_state->deleteIn(folder, name);
    });
}

bool Sweep::deleteFilesIn(const QString &folder) {
    OpenFolder *opened = m_state->folders.open(folder);
    if (opened == nullptr)
        return false;
    const int descriptor = opened->descriptor();
    FolderEntries entries(descriptor);
    if (!entries.isOpen())
        return false;
    // Read to the end before anything is deleted: what a reading gives after that is not defined.
    std::vector<QByteArray> names;
    while (const dirent *entry = entries.next()) {
        if (!isFolder(descriptor, *entry))
            names.emplace_back(entry->d_name);
    }
    bool noneLeft = true;
    for (const QByteArray &name : names) {
        const int bits = storedBitsOfEntry(pathThrough(descriptor, name).constData());
        const bool keep = (bits & (AttributeHidden | AttributeSystem)) != 0;
        if (keep || (!m_state->deleteIn(descriptor, name) && errno != ENOENT))
            noneLeft = false;
    }
    return noneLeft;
}

bool Sweep::removeFolder(const QString &folder) {
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

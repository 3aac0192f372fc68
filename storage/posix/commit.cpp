#include "storage/posix/disk.h"
#include "storage/posix/fileInfo.h"
#include "storage/posix/freeName.h"
#include "storage/posix/systemError.h"
#include "storage/storage.h"
#include "storage/temporary.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <iterator>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

// The commit of a new file.
namespace platform {

namespace {

// On file servers, other programs get a second to close the file.
constexpr int kRenameRounds = 40;
constexpr std::chrono::milliseconds kRenamePause{25};

// Links a file without a name to a name that must not exist.
int linkNameless(int file, int folder, const char *name) {
    // Older kernels allow that to administrators only.
    static std::atomic<bool> byDescriptor{true};
    if (byDescriptor) {
        const int result = linkat(file, "", folder, name, AT_EMPTY_PATH);
        if (result == 0 || errno != ENOENT)
            return result;
        byDescriptor = false;
    }
    return linkat(AT_FDCWD, pathThrough(file).c_str(), folder, name, AT_SYMLINK_FOLLOW);
}

// The errors if a program has the file open that is to be replaced. A server that deletes the open
// file as soon as possible may report that there is none.
bool mayBeHeld(int error) {
    constexpr int kHeld[] = {EACCES, EPERM, EBUSY, ETXTBSY, ENOENT};
    return std::find(std::begin(kHeld), std::end(kHeld), error) != std::end(kHeld);
}

bool closed(int file) {
    return ::close(file) == 0 || errno == EINTR;
}

bool sameContent(const FileInfo &a, const FileInfo &b) {
    return a.kind == b.kind && a.size == b.size && a.modified == b.modified;
}

} // namespace

Status NewFile::commit(const std::string &name, Replace replace, InputFile *replaced,
                       FileInfo *named) {
    const int folder = static_cast<int>(m_folder->m_handle);
    const int file = static_cast<int>(m_handle);
    Status status;
    if (!m_temporary.empty() && replace == Replace::No) {
        // Closed first: a server reports only then what it could not write, and a FUSE client
        // renames a file that is deleted while it is open.
        m_handle = -1;
        status = closed(file) ? takeFreeName(name)
                              : errnoStatus(errno, "cannot write", m_folder->pathOf(name));
        if (!status.ok())
            unlinkat(folder, m_temporary.c_str(), 0);
        else if (named != nullptr && m_folder->info(name, *named).ok())
            named->plain = !m_isMarked && !named->readOnly;
        else if (named != nullptr)
            *named = {};
        m_temporary.clear();
        return status;
    }
    if (m_temporary.empty()) {
        // Only a file with a name can replace another.
        const std::string first = replace == Replace::No ? name : temporaryName();
        if (linkNameless(file, folder, first.c_str()) != 0)
            status = errnoStatus(errno, "cannot create", m_folder->pathOf(name));
        else if (replace == Replace::Yes)
            m_temporary = first;
    }
    if (status.ok() && replace == Replace::Yes)
        status = replaceFile(name, replaced);
    if (!status.ok()) {
        discard();
        return status;
    }
    if (named != nullptr && !info(*named).ok())
        *named = {};
    // From here on discard() must not remove the file, whatever close reports.
    m_temporary.clear();
    m_handle = -1;
    return closed(file) ? Status() : errnoStatus(errno, "cannot write", m_folder->pathOf(name));
}

// The old file, which the caller has open, stays complete until this one has its name. If a failed
// rename can destroy an open file, it is closed first, and this one gets a name that later runs do
// not remove: if both the rename and the process fail, a complete file exists.
Status NewFile::replaceFile(const std::string &name, InputFile *replaced) {
    const int folder = static_cast<int>(m_folder->m_handle);
    FileInfo old;
    const bool known = replaced != nullptr && replaced->info(old).ok();
    const auto closeReplaced = [&] {
        Status aside = replaced != nullptr && replaced->isOpen() ? setAside(name) : Status();
        if (aside.ok() && replaced != nullptr)
            replaced->close();
        return aside;
    };
    if (replaced != nullptr && !replacesOpenFiles(folder)) {
        if (Status aside = closeReplaced(); !aside.ok())
            return aside;
    }
    const auto rename = [&] {
        return renameat(folder, m_temporary.c_str(), folder, name.c_str()) == 0 ? 0 : errno;
    };
    FileInfo there;
    const auto isThere = [&] { return m_folder->info(name, there).ok(); };
    int error = rename();
    const int rounds = error == 0 || replacesOpenFiles(folder) ? 1 : kRenameRounds;
    for (int round = 0; mayBeHeld(error) && round < rounds; ++round) {
        if (round > 0)
            std::this_thread::sleep_for(kRenamePause);
        (void)closeReplaced();
        // Another program may put its own file there in the meantime.
        if (known && isThere() && !sameContent(there, old)) {
            return {Failure::Exists, m_folder->pathOf(name) + " was replaced by another program",
                    m_folder->pathOf(name)};
        }
        error = rename();
    }
    if (error == 0)
        return {};
    struct stat own {};
    if (fstat(static_cast<int>(m_handle), &own) == 0 && isThere() && sameFile(there, fileInfo(own)))
        return {}; // the server renamed it, but its answer was lost
    Status failed = errnoStatus(error, "cannot create", m_folder->pathOf(name));
    InputFile whole;
    const bool oldIsWhole = known &&
                            m_folder->openFile(name, whole, Folder::Links::Refuse, there).ok() &&
                            sameContent(there, old);
    return replaced != nullptr && !oldIsWhole ? keep(name, failed) : failed;
}

Status NewFile::takeFreeName(const std::string &name) {
    const int folder = static_cast<int>(m_folder->m_handle);
    if (renameToFree(m_folder->disk(), folder, m_temporary, name) != 0)
        return errnoStatus(errno, "cannot create", m_folder->pathOf(name));
    m_temporary = name;
    return {};
}

} // namespace platform

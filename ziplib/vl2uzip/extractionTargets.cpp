// Extraction: the file that each entry goes to, and what to do if it exists already.

#include "ziplib/vl2uzip/extraction.h"

#include "ziplib/format/names.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace ziplib {

namespace {

using platform::Failure;
using platform::FileInfo;
using platform::Status;

// Zip times are even seconds, so only a difference of whole steps counts.
bool isOlder(std::int64_t onDisk, std::int64_t stored) {
    return onDisk / 2'000'000'000 < stored / 2'000'000'000;
}

Status sharedTarget(const std::string &path) {
    return {Failure::Exists,
            "skipped " + path +
                ": another entry has the same name on this disk; a folder on a disk that "
                "distinguishes upper and lower case can hold both",
            path};
}

} // namespace

template<typename Open>
Status Extraction::openPatiently(Open open) {
    constexpr std::chrono::milliseconds kPause{20};
    Status status = open();
    for (; status.is(Failure::Busy) && m_patience > kPause; m_patience -= kPause) {
        std::this_thread::sleep_for(kPause);
        m_caller.tick();
        status = open();
    }
    return status;
}

bool Extraction::openTarget(const Plan &plan) {
    platform::Folder target;
    Status status = platform::makeFolders(m_request.target);
    if (status.ok())
        status = openPatiently([&] { return target.open(m_request.target); });
    if (!status.ok()) {
        m_caller.warn(status.message);
        m_result.add(codeOfEntry(status), status.message);
        return false;
    }
    if (!fits(plan, target)) {
        const std::string message =
            "there is not enough room on the disk for what is in " + m_context.source.file.path();
        m_caller.warn(message);
        m_result.add(ReturnCode::DiskFull, message);
        return false;
    }
    m_context.isRemote = m_context.isRemote || target.isRemote();
    m_folders.emplace(std::move(target));
    return true;
}

// Existing files that are kept need no room. Finding out which exist costs a system call for each,
// so it is done only if not everything fits.
bool Extraction::fits(const Plan &plan, const platform::Folder &target) {
    std::uint64_t room = 0;
    if (!target.freeSpace(room).ok() || plan.size <= room)
        return true;
    if (m_replaceAll && !m_request.onlyNewer)
        return false;
    std::uint64_t needed = 0;
    std::string lastFolder;
    platform::Folder folder;
    for (const PlanItem &item : plan.items) {
        if (item.action != PlanItem::Action::File)
            continue;
        const Entry entry = m_directory.entries()[item.index];
        const std::string path = targetPath(m_directory.path(entry), m_request);
        const std::string parent(folderOf(path));
        if (parent != lastFolder) { // entries come folder by folder
            (void)folder.open(platform::Location{m_request.target, parent});
            lastFolder = parent;
        }
        const platform::Folder &opened = parent.empty() ? target : folder;
        FileInfo info;
        if (!opened.isOpen() ||
            opened.info(std::string(lastComponent(path)), info).is(Failure::NotFound))
            needed += std::min(entry.size, UINT64_MAX - needed);
        m_caller.tick();
    }
    return needed <= room;
}

// Decides which file an entry goes to and whether it may be written, and gets its password. If not,
// the task stays settled and is reported in its turn.
void Extraction::prepareFile(ExtractTask &task) {
    const Entry entry = m_directory.entries()[task.index];
    if (m_folders) {
        const std::string target = targetPath(task.path, m_request);
        const std::string_view folder = folderOf(target);
        task.name = lastComponent(target);
        task.status = folderFor(folder, task.folder);
        FileInfo existing;
        if (!task.status.ok())
            return;
        if (!task.folder->made || task.sharesTarget) {
            task.status = task.folder->folder.info(task.name, existing);
            if (task.status.ok() && m_replaced.holds(existing)) {
                // Another link to a file that an earlier entry replaces, or another spelling of its
                // name. Once that one is replaced, the name shows which.
                drain();
                task.status = task.folder->folder.info(task.name, existing);
            }
            if (task.status.ok() && !mayWrite(task, existing))
                return;
            if (!task.status.ok() && !task.status.is(Failure::NotFound))
                return;
            task.status = {};
        }
        task.sharesTarget = false;
        task.convertLineEnds = m_request.convertLineEnds;
        task.report = "extracted " + task.path;
    } else {
        task.report = "tested " + task.path;
    }
    const bool traditional = entry.isEncrypted() && (entry.flags & kFlagStrongEncryption) == 0 &&
                             (entry.method == kMethodStored || entry.method == kMethodDeflated);
    if (traditional && !m_passwords.known(task.index, task.cipher)) {
        drain();
        if (m_stopped)
            return;
        task.status = m_passwords.ask(task.index, task.path, task.passwordTries, task.cipher);
        if (!task.status.ok())
            return;
    }
    task.kind = m_folders ? ExtractTask::Kind::Extract : ExtractTask::Kind::Test;
}

// Whether the file may be written although its name exists. If not, leaves the reason in the task.
bool Extraction::mayWrite(ExtractTask &task, const FileInfo &existing) {
    if (existing.kind == FileInfo::Kind::Folder) {
        task.status = Status(Failure::WrongKind, "skipped " + task.path + ": a folder has its name",
                             task.path);
        return false;
    }
    task.sharesTarget = task.sharesTarget || m_context.own.holds(existing);
    const std::int64_t stored = m_directory.modified(m_directory.entries()[task.index]);
    const bool upToDate = m_request.onlyNewer && existing.kind == FileInfo::Kind::File &&
                          !isOlder(existing.modified, stored);
    if (upToDate || !mayReplace(task)) {
        if (task.sharesTarget)
            task.status = sharedTarget(task.path);
        else
            task.report = "kept " + task.path + (upToDate ? ": it is as new as the entry" : "");
        return false;
    }
    if (!platform::namesIgnoreCase())
        m_replaced.add(existing);
    task.replace = platform::NewFile::Replace::Yes;
    return true;
}

// Permission to replace without a question covers the files that existed before the call only.
bool Extraction::mayReplace(const ExtractTask &task) {
    if (task.sharesTarget ? m_request.replaceAll : m_replaceAll)
        return !task.sharesTarget;
    if (m_keepAll)
        return false;
    drain();
    return !m_stopped && askReplace(task.path);
}

// Call it only after all earlier entries have been reported.
bool Extraction::askReplace(const std::string &path) {
    if (m_replaceAll || m_keepAll)
        return m_replaceAll;
    switch (m_caller.replace(path)) {
    case Caller::Answer::Replace:
        return true;
    case Caller::Answer::ReplaceAll:
        m_replaceAll = true;
        return true;
    case Caller::Answer::KeepAll:
        m_keepAll = true;
        return false;
    default:
        return false;
    }
}

// A task found its name taken, which was free when the task was started: the disk treats another
// entry's name as the same. The earlier entry of both gets the file.
void Extraction::resolveTakenName(ExtractTask &task) {
    const unsigned worker = m_pipeline->workers();
    // Tasks in the pipeline may have written it.
    while (!m_pipeline->empty() && !m_stopped) {
        if (std::unique_ptr<ExtractTask> done = nextTask())
            m_done.push_back(std::move(done));
        m_caller.tick();
    }
    FileInfo existing;
    if (task.folder->folder.info(task.name, existing).ok()) {
        if (existing.kind == FileInfo::Kind::Folder)
            return;
        const bool own = task.folder->made || m_context.own.holds(existing);
        ExtractTask *later = task.sharesTarget || !own ? nullptr : laterTaskWithFile(existing);
        if (later != nullptr) {
            // Removed, not replaced: that would keep the spelling of its name.
            later->sharesTarget = true;
            if (task.status = task.folder->folder.removeFile(task.name); !task.status.ok())
                return;
        } else if (!task.sharesTarget && !own) {
            // Another program has just created it.
            if (!m_replaceAll && !askReplace(task.path)) {
                task.status = {};
                task.report = "kept " + task.path;
                return;
            }
            task.replace = platform::NewFile::Replace::Yes;
        } else if (m_request.replaceAll || !askReplace(task.path)) {
            task.status = sharedTarget(task.path);
            return;
        } else {
            task.replace = platform::NewFile::Replace::Yes;
        }
    }
    task.run(worker);
}

ExtractTask *Extraction::laterTaskWithFile(const FileInfo &file) {
    for (const std::unique_ptr<ExtractTask> &task : m_done) {
        FileInfo info;
        if (task->kind == ExtractTask::Kind::Extract && task->status.ok() &&
            task->folder->folder.info(task->name, info).ok() && platform::sameFile(info, file))
            return task.get();
    }
    return nullptr;
}

Status Extraction::folderFor(std::string_view path,
                             std::shared_ptr<const platform::OpenFolder> &folder) {
    Status status = openPatiently([&] { return m_folders->get(path, folder); });
    if (status.is(Failure::Resources)) {
        // Too many open handles: close those of finished entries and try again.
        drain();
        m_folders->closeAll();
        status = m_folders->get(path, folder);
    }
    return status;
}

} // namespace ziplib

#include "ziplib/vl2uzip/extraction.h"

#include "storage/storage.h"
#include "ziplib/format/names.h"

#include <chrono>
#include <thread>
#include <utility>

namespace ziplib {

namespace {

using platform::Failure;
using platform::FileInfo;
using platform::Status;

// Tasks on their way at a time: enough that workers need not wait for the caller's thread.
constexpr std::size_t kWindow = 128;
// Memory for entries that are inflated in one piece.
constexpr std::size_t kLargeMemory = 64U << 20;
constexpr std::chrono::milliseconds kPatience{10};

// Zip times are even seconds: a file is not older for less.
bool isOlder(std::int64_t onDisk, std::int64_t stored) {
    return onDisk / 2'000'000'000 < stored / 2'000'000'000;
}

// The path of the folder that a path lies in; "" is the target itself.
std::string_view folderOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

const char *refusal(PlanItem::Action action, const std::string &path) {
    switch (action) {
    case PlanItem::Action::Special:
        return "it is a link or a device";
    case PlanItem::Action::Blocked:
        return "other entries need a folder of its name";
    default: {
        const char *reason = unsafeReason(path);
        return reason != nullptr ? reason : "its name may not be written";
    }
    }
}

Status secondStatus(const std::string &path) {
    return {Failure::Exists, "skipped " + path + ": another entry goes to the same file", path};
}

} // namespace

Extraction::Extraction(const platform::InputFile &file, const Directory &directory,
                       const Request &request, Caller &caller, CallResult &outcome)
    : m_directory(directory), m_request(request), m_caller(caller), m_outcome(outcome),
      m_extents(file, directory),
      m_budget(kLargeMemory), m_context{{file, directory, m_extents, m_budget}, {}, {}, {}, {}},
      m_passwords(m_context.source, caller), m_replaceAll(request.replaceAll) {}

void Extraction::run(const Plan &plan) {
    if (m_request.work != Request::Work::Extract || openTarget(plan))
        runTasks(plan);
    m_outcome.addMissing(plan.items.size() - m_whole);
}

void Extraction::runTasks(const Plan &plan) {
    m_pipeline = std::make_unique<Pipeline>(workerCount(), kWindow);
    m_context.scratch.resize(m_pipeline->workers() + 1);
    // Where the caller's thread does the work, it must also keep the program alive meanwhile.
    const bool alone = m_pipeline->isInline();
    m_context.keepGoing = [this, alone] {
        if (alone)
            m_caller.tick();
        return !m_stopped.load(std::memory_order_relaxed);
    };
    for (const PlanItem &item : plan.items) {
        while (m_pipeline->full() && !m_stopped)
            collectNext();
        if (m_stopped)
            break;
        start(item);
        m_caller.tick();
    }
    drain();
    m_pipeline.reset();
}

bool Extraction::openTarget(const Plan &plan) {
    platform::Folder target;
    Status status = platform::makeFolders(m_request.target);
    if (status.ok())
        status = target.open(m_request.target);
    if (!status.ok()) {
        m_caller.warn(status.message);
        m_outcome.add(codeOfEntry(status), status.message);
        return false;
    }
    if (!fits(plan, target)) {
        const std::string message =
            "there is not enough room on the disk for what is in " + m_context.source.file.path();
        m_caller.warn(message);
        m_outcome.add(ReturnCode::DiskFull, message);
        return false;
    }
    m_folders.emplace(std::move(target));
    return true;
}

// Files that stay as they are need no room, but finding out which costs a look at each: only done
// where it matters.
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
        const Entry &entry = m_directory.entries()[item.index];
        const std::string path = targetPath(m_directory.path(entry), m_request);
        const std::string above(folderOf(path));
        if (above != lastFolder) { // entries come folder by folder
            (void)folder.open(platform::Location{m_request.target, above});
            lastFolder = above;
        }
        const platform::Folder &lies = above.empty() ? target : folder;
        FileInfo info;
        if (!lies.isOpen() ||
            lies.info(std::string(lastComponent(path)), info).is(Failure::NotFound))
            needed += std::min(entry.size, UINT64_MAX - needed);
        m_caller.tick();
    }
    return needed <= room;
}

void Extraction::start(const PlanItem &item) {
    const Entry &entry = m_directory.entries()[item.index];
    auto task = std::make_unique<ExtractTask>(m_context, item.index, m_directory.path(entry));
    switch (item.action) {
    case PlanItem::Action::Second:
        task->second = true;
        drain(); // the file is there once the earlier entry is
        [[fallthrough]];
    case PlanItem::Action::File:
        prepareFile(*task);
        break;
    case PlanItem::Action::Folder:
        if (m_folders && m_request.makeFolders && task->path != kRootFolder) {
            std::string target = targetPath(task->path, m_request);
            target.pop_back();
            std::shared_ptr<const platform::OpenFolder> folder;
            task->status = folderFor(target, folder);
        }
        break;
    case PlanItem::Action::Superseded:
        task->report = "left out " + task->path + ": a later entry has the same path";
        break;
    default:
        task->status =
            Status(Failure::Unsafe,
                   "skipped " + task->path + ": " + refusal(item.action, task->path), task->path);
    }
    m_pipeline->submit(std::move(task));
}

// Settles where an entry goes and whether it may, and gets its password. What cannot be done makes
// the task a settled one, so that it is told when its turn comes.
void Extraction::prepareFile(ExtractTask &task) {
    const Entry &entry = m_directory.entries()[task.index];
    if (m_folders) {
        const std::string target = targetPath(task.path, m_request);
        const std::string_view folder = folderOf(target);
        task.name = lastComponent(target);
        task.status = folderFor(folder, task.folder);
        FileInfo existing;
        if (!task.status.ok())
            return;
        if (!task.folder->made || task.second) {
            task.status = task.folder->folder.info(task.name, existing);
            if (task.status.ok() && m_replaced.holds(existing)) {
                // Another link to a file that an earlier entry replaces, or another spelling of its
                // name: which of both shows once that is done.
                drain();
                task.status = task.folder->folder.info(task.name, existing);
            }
            if (task.status.ok() && !mayWrite(task, existing))
                return;
            if (!task.status.ok() && !task.status.is(Failure::NotFound))
                return;
            task.status = {};
        }
        task.second = false;
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

// Something has the file's name already.
bool Extraction::mayWrite(ExtractTask &task, const FileInfo &existing) {
    if (existing.kind == FileInfo::Kind::Folder) {
        task.status = Status(Failure::WrongKind, "skipped " + task.path + ": a folder has its name",
                             task.path);
        return false;
    }
    task.second = task.second || m_context.own.holds(existing);
    const std::int64_t stored = m_directory.modified(m_directory.entries()[task.index]);
    const bool asNew = m_request.onlyNewer && existing.kind == FileInfo::Kind::File &&
                       !isOlder(existing.modified, stored);
    if (asNew || !mayReplace(task)) {
        if (task.second)
            task.status = secondStatus(task.path);
        else
            task.report = "kept " + task.path + (asNew ? ": it is as new as the entry" : "");
        return false;
    }
    if (!platform::namesIgnoreCase())
        m_replaced.add(existing);
    task.replace = platform::NewFile::Replace::Yes;
    return true;
}

// Whoever lets files be replaced unasked means those that were there before.
bool Extraction::mayReplace(const ExtractTask &task) {
    if (task.second ? m_request.replaceAll : m_replaceAll)
        return !task.second;
    if (m_keepAll)
        return false;
    drain();
    return !m_stopped && askReplace(task.path);
}

// To be called when all that came before has been told.
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

// An entry whose turn it is found its name taken, although nothing had it when the entry was
// started: the disk takes another entry's name for the same one. The earlier entry has the file.
void Extraction::settleName(ExtractTask &task) {
    const unsigned worker = m_pipeline->workers();
    // The others that are under way may have written it.
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
        ExtractTask *later = task.second || !own ? nullptr : laterTaskWithFile(existing);
        if (later != nullptr) {
            // Not replaced, which would keep the spelling of its name.
            later->second = true;
            if (task.status = task.folder->folder.removeFile(task.name); !task.status.ok())
                return;
        } else if (!task.second && !own) {
            // Another program has made it meanwhile.
            if (!m_replaceAll && !askReplace(task.path)) {
                task.status = {};
                task.report = "kept " + task.path;
                return;
            }
            task.replace = platform::NewFile::Replace::Yes;
        } else if (m_request.replaceAll || !askReplace(task.path)) {
            task.status = secondStatus(task.path);
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

Status Extraction::folderFor(std::string_view path, std::shared_ptr<const platform::OpenFolder> &folder) {
    Status status = m_folders->get(path, folder);
    if (status.is(Failure::Resources)) {
        // Too many handles: give back those of entries on their way and try once more.
        drain();
        m_folders->closeAll();
        status = m_folders->get(path, folder);
    }
    return status;
}

std::unique_ptr<ExtractTask> Extraction::nextTask() {
    return std::unique_ptr<ExtractTask>(
        static_cast<ExtractTask *>(m_pipeline->next(kPatience).release()));
}

void Extraction::collectNext() {
    std::unique_ptr<ExtractTask> task;
    if (m_done.empty()) {
        task = nextTask();
    } else {
        task = std::move(m_done.front());
        m_done.pop_front();
    }
    if (task)
        collect(std::move(task));
    m_caller.tick();
}

void Extraction::drain() {
    while ((!m_done.empty() || !m_pipeline->empty()) && !m_stopped)
        collectNext();
}

// An entry's turn to be told.
void Extraction::collect(std::unique_ptr<ExtractTask> task) {
    again(*task);
    const bool taken =
        task->status.is(Failure::Exists) && task->replace == platform::NewFile::Replace::No;
    if (task->kind == ExtractTask::Kind::Extract && (taken || task->second)) {
        settleName(*task);
        again(*task);
    }
    if (task->status.ok()) {
        ++m_whole;
        if (!task->report.empty())
            m_caller.report(task->report);
    } else {
        const std::string message = task->status.message.empty()
                                        ? "there is not enough memory for " + task->path
                                        : task->status.message;
        m_caller.warn(message);
        m_outcome.add(codeOfEntry(task->status), message);
        if (task->status.is(Failure::Full)) {
            stop(ReturnCode::DiskFull, message);
            return;
        }
    }
    if (!m_caller.processed(task->path))
        stop(ReturnCode::Cancelled, "cancelled");
}

// Some failures are worth another try, here and now, while nothing newer has been told.
void Extraction::again(ExtractTask &task) {
    const unsigned own = m_pipeline->workers();
    for (int tries = 0; task.status.is(Failure::Resources) && tries < 5; ++tries) {
        // Other entries hold handles or memory; they will not for long.
        std::this_thread::sleep_for(kPatience);
        m_caller.tick();
        m_folders ? m_folders->closeAll() : void();
        task.run(own);
    }
    // A wrong password passes the quick check at times, and then the data looks damaged.
    while (task.cipher && task.status.is(Failure::Damaged)) {
        task.status = m_passwords.ask(task.index, task.path, task.passwordTries, task.cipher);
        if (!task.status.ok())
            return;
        task.run(own);
    }
}

void Extraction::stop(ReturnCode code, const std::string &message) {
    m_outcome.add(code, message);
    m_stopped = true;
}

} // namespace ziplib

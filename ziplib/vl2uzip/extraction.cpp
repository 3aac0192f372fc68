#include "ziplib/vl2uzip/extraction.h"

#include "storage/storage.h"
#include "ziplib/common/backgroundTask.h"
#include "ziplib/format/names.h"

#include <chrono>
#include <thread>
#include <utility>

namespace ziplib {

namespace {

using platform::Failure;
using platform::Status;

// Tasks in the pipeline: enough that workers need not wait for the caller's thread.
constexpr std::size_t kWindow = 128;
// Memory for large entries that are read whole.
constexpr std::size_t kLargeMemory = 64U << 20;
constexpr std::chrono::milliseconds kWait{10};

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

} // namespace

Extraction::Extraction(const platform::InputFile &file, const Directory &directory,
                       const Request &request, Caller &caller, CallResult &result)
    : m_directory(directory), m_request(request), m_caller(caller), m_result(result),
      m_extents(file, directory),
      m_budget(kLargeMemory), m_context{{file, directory, &m_extents, &m_budget, {}}, {}, {}, {}},
      m_passwords(m_context.source, caller), m_replaceAll(request.replaceAll) {}

void Extraction::run(const Plan &plan) {
    m_context.isRemote = m_context.source.file.isRemote();
    m_context.wantsWritten = m_request.work == Request::Work::Extract && m_caller.wantsExtracted();
    if (m_request.work != Request::Work::Extract || openTarget(plan))
        runTasks(plan);
    // Entries that were not reached before the call ended.
    for (; m_context.wantsWritten && m_collected < plan.items.size(); ++m_collected) {
        const std::uint32_t index = plan.items[m_collected].index;
        reportExtracted(index, m_directory.path(m_directory.entries()[index]), nullptr);
    }
    m_result.addMissing(plan.items.size() - m_complete);
}

void Extraction::runTasks(const Plan &plan) {
    m_pipeline = std::make_unique<platform::ThreadPool>(platform::workerCount(), kWindow);
    m_context.scratch.resize(m_pipeline->workers() + 1);
    // While the caller's thread works on a task, it must also send the heartbeats.
    m_context.source.keepGoing = [this, tick = onThisThread([this] { m_caller.tick(); })] {
        tick();
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

void Extraction::start(const PlanItem &item) {
    const Entry entry = m_directory.entries()[item.index];
    auto task = std::make_unique<ExtractTask>(m_context, item.index, m_directory.path(entry));
    switch (item.action) {
    case PlanItem::Action::SharesTarget:
        task->sharesTarget = true;
        drain(); // the earlier entry must be written first
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

std::unique_ptr<ExtractTask> Extraction::nextTask() {
    return std::unique_ptr<ExtractTask>(
        static_cast<ExtractTask *>(m_pipeline->next(kWait).release()));
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

void Extraction::reportExtracted(std::uint32_t index, const std::string &path,
                                 const platform::FileInfo *written) {
    if (!m_context.wantsWritten)
        return;
    const Entry entry = m_directory.entries()[index];
    if (!m_directory.isFolder(entry))
        m_caller.extracted(path, entry, written);
}

// Reports a finished task.
void Extraction::collect(std::unique_ptr<ExtractTask> task) {
    retry(*task);
    const bool taken =
        task->status.is(Failure::Exists) && task->replace == platform::NewFile::Replace::No;
    if (task->kind == ExtractTask::Kind::Extract && (taken || task->sharesTarget)) {
        resolveTakenName(*task);
        retry(*task);
    }
    ++m_collected;
    reportExtracted(task->index, task->path,
                    task->status.ok() && task->written ? &*task->written : nullptr);
    if (task->status.ok()) {
        ++m_complete;
        if (!task->report.empty())
            m_caller.report(task->report);
    } else {
        const std::string message = task->status.message.empty()
                                        ? "there is not enough memory for " + task->path
                                        : task->status.message;
        m_caller.warn(message);
        m_result.add(task->status, message);
        if (task->status.is(Failure::Full)) {
            stop(ReturnCode::DiskFull, message);
            return;
        }
    }
    if (!m_caller.processed(task->path))
        stop(ReturnCode::Cancelled, "cancelled");
}

// Tries a failed task again in this thread if that may help.
void Extraction::retry(ExtractTask &task) {
    const unsigned worker = m_pipeline->workers();
    for (int tries = 0; task.status.is(Failure::Resources) && tries < 5; ++tries) {
        // Other entries hold handles or memory, but not for long.
        std::this_thread::sleep_for(kWait);
        m_caller.tick();
        if (m_folders)
            m_folders->closeAll();
        task.run(worker);
    }
    // One wrong password in 256 passes the check of the header; the data looks damaged then.
    while (task.cipher && task.status.is(Failure::Damaged)) {
        task.status = m_passwords.ask(task.index, task.path, task.passwordTries, task.cipher);
        if (!task.status.ok())
            return;
        task.run(worker);
    }
}

void Extraction::stop(ReturnCode code, const std::string &message) {
    m_result.add(code, message);
    m_stopped = true;
}

} // namespace ziplib

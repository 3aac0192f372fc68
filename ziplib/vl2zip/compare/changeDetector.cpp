#include "ziplib/vl2zip/compare/changeDetector.h"

#include "ziplib/common/orderedParallelFor.h"
#include "ziplib/common/threadPool.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace ziplib {

namespace {

platform::Folder openedRoot(const std::string &path) {
    platform::Folder root;
    static_cast<void>(root.open(path)); // a failure shows at each file
    return root;
}

// Most scripts are smaller.
constexpr std::uint64_t kSmall = 32U << 10U;

} // namespace

ChangeDetector::ChangeDetector(const PackOptions &options, const ArchiveReplacement &target,
                               const Directory &directory, Scan &scan, std::vector<Task> &tasks,
                               Take take, std::function<void()> idle)
    : m_directory(directory), m_scan(scan),
      m_folders(openedRoot(options.root)), m_examination{options, target.old(),
                                             target.exists() ? &target.oldInfo() : nullptr,
                                             directory, m_folders},
      m_take(std::move(take)), m_idle(std::move(idle)) {
    m_left.reserve(tasks.size());
    for (auto &task : tasks)
        m_left.push_back(&task);
}

OrderedParallelFor ChangeDetector::work(const Tasks &tasks) const {
    OrderedParallelFor work;
    work.count = tasks.size();
    // What counts here is not memory but that no thread gets many large files at once.
    work.cost = [this, &tasks](std::size_t i) {
        const std::size_t entry = tasks[i]->entry;
        return entry == kNoEntry ? 0 : m_directory.entries()[entry].size;
    };
    work.take = [](std::size_t) { return true; };
    work.idle = m_idle;
    return work;
}

void ChangeDetector::examineOne(Task &task) {
    if (!task.folder && !task.compared)
        compareFile(m_examination, m_scan.files[task.file], task);
    task.compared = true;
}

Outcome ChangeDetector::takeOne(Task &task) {
    auto taken = m_take(task);
    if (taken.ok() && task.verdict == Task::Verdict::Pack)
        m_packed.push_back(&task);
    return taken;
}

// Examines tasks and takes all that have a verdict then. The rest is what is left.
Outcome ChangeDetector::find(const Tasks &tasks, bool untilOneIsPacked) {
    Outcome outcome;
    std::size_t count = 0;
    const auto take = [&](Task &task) {
        ++count;
        outcome = takeOne(task);
        return outcome.ok();
    };
    std::atomic<bool> enough = false;
    OrderedParallelFor context = work(tasks);
    context.work = [&](std::size_t i) {
        if (!enough) {
            examineOne(*tasks[i]);
            if (untilOneIsPacked && tasks[i]->verdict == Task::Verdict::Pack)
                enough = true;
        }
    };
    context.take = [&](std::size_t i) { return tasks[i]->compared && take(*tasks[i]); };
    orderedParallelFor(context, workerCount(), UINT64_MAX);
    // Several threads stop at several places.
    while (outcome.ok() && count < tasks.size()) {
        Task &task = *tasks[count];
        if (!task.compared) {
            ++count;
            m_left.push_back(&task);
        } else {
            take(task);
        }
    }
    return outcome;
}

ChangeDetector::Tasks ChangeDetector::lookEdited() {
    std::vector<std::uint8_t> edited(m_left.size());
    OrderedParallelFor look = work(m_left);
    look.cost = [](std::size_t) { return kSmall; };
    look.work = [&](std::size_t i) {
        const Task &task = *m_left[i];
        edited[i] = task.folder || task.entry == kNoEntry ||
                    looksEdited(m_examination, m_scan.files[task.file], task);
    };
    orderedParallelFor(look, workerCount(), UINT64_MAX);
    Tasks found;
    Tasks others;
    for (std::size_t i = 0; i < m_left.size(); ++i)
        (edited[i] != 0 ? found : others).push_back(m_left[i]);
    m_left.swap(others);
    return found;
}

Outcome ChangeDetector::findEdited() {
    Tasks tasks;
    tasks.swap(m_left);
    std::stable_partition(tasks.begin(), tasks.end(), [this](const Task *task) {
        return task->entry == kNoEntry || m_directory.entries()[task->entry].size < kSmall;
    });
    if (auto found = find(tasks, true); !found.ok())
        return found;
    return find(lookEdited(), false);
}

bool ChangeDetector::beginOthers() {
    if (m_left.empty() || workerCount() < 2)
        return m_left.empty();
    return m_background.start([this] {
        OrderedParallelFor context = work(m_left);
        context.work = [this](std::size_t i) { examineOne(*m_left[i]); };
        context.take = [this](std::size_t i) {
            m_examined = i + 1;
            return m_left[i]->outcome.ok() && !m_stopped;
        };
        context.idle = [] {};
        orderedParallelFor(context, workerCount(), UINT64_MAX);
    });
}

Outcome ChangeDetector::findOthers() {
    // Each as soon as it is known: the caller may want to stop.
    Outcome outcome;
    std::size_t count = 0;
    m_background.wait([&] {
        m_idle();
        while (count < m_examined && outcome.ok())
            outcome = takeOne(*m_left[count++]);
        m_stopped = !outcome.ok();
    });
    if (!outcome.ok())
        return outcome;
    const Tasks tasks(m_left.begin() + static_cast<std::ptrdiff_t>(count), m_left.end());
    m_left.clear();
    return find(tasks, false);
}

void ChangeDetector::stop() {
    m_stopped = true;
    m_background.wait(m_idle);
}

std::vector<Task *> ChangeDetector::toPack() const {
    Tasks tasks = m_packed;
    std::sort(tasks.begin(), tasks.end()); // they lie in one vector
    return tasks;
}

} // namespace ziplib

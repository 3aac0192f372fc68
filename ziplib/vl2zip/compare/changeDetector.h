#pragma once

#include "ziplib/common/backgroundTask.h"
#include "ziplib/vl2zip/compare/compareFile.h"
#include "ziplib/vl2zip/write/archiveReplacement.h"

#include <atomic>
#include <functional>
#include <vector>

namespace ziplib {

struct OrderedParallelFor;

// Finds the verdicts of all tasks, by several threads. Once there is something to pack, and all
// that looks edited was examined, the other files, which most likely are as they were, can be
// examined while the new archive is being written.
class ChangeDetector {
  public:
    // Everything is used until this is gone. Each task is handed to `take` on the caller's thread
    // once it has its verdict; what `take` answers but ok ends the examination.
    using Take = std::function<Outcome(Task &task)>;
    ChangeDetector(const PackOptions &options, const ArchiveReplacement &target,
                   const Directory &directory, Scan &scan, std::vector<Task> &tasks, Take take,
                   std::function<void()> idle);
    // Waits for what goes on in the background.
    ~ChangeDetector() { m_stopped = true; }
    ChangeDetector(const ChangeDetector &) = delete;
    ChangeDetector &operator=(const ChangeDetector &) = delete;

    // Examines until there is something to pack, small files first: they take the least time and
    // are edited the most. Then those of the others that look edited.
    Outcome findEdited();
    // Begins with the others in the background; until findOthers() nobody else may look at them.
    // False where no second thread is to be had.
    bool beginOthers();
    // The others, or all.
    Outcome findOthers();
    // Ends what goes on in the background, which may take as long as a file does.
    void stop();

    // What was found so far that is to be packed, in the order of the tasks.
    std::vector<Task *> toPack() const;

  private:
    using Tasks = std::vector<Task *>;
    OrderedParallelFor work(const Tasks &tasks) const;
    void examineOne(Task &task);
    Outcome takeOne(Task &task);
    Outcome find(const Tasks &tasks, bool untilOneIsPacked);
    Tasks lookEdited();

    const Directory &m_directory;
    Scan &m_scan;
    platform::FolderCache m_folders;
    const ComparisonContext m_examination;
    const Take m_take;
    const std::function<void()> m_idle;
    Tasks m_left; // not taken yet
    Tasks m_packed;
    std::atomic<bool> m_stopped = false;
    std::atomic<std::size_t> m_examined = 0; // of those that are left, in the background
    BackgroundTask m_background;             // examines those that are left; ends first
};

} // namespace ziplib

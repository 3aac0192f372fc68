#pragma once

#include "ziplib/format/directory.h"
#include "ziplib/format/records.h"
#include "ziplib/vl2zip/options.h"
#include "ziplib/vl2zip/report.h"
#include "ziplib/vl2zip/select/scan.h"
#include "ziplib/vl2zip/select/task.h"
#include "ziplib/vl2zip/write/archiveReplacement.h"
#include "ziplib/vl2zip/write/layout.h"
#include "ziplib/vl2zip/write/output.h"

#include <optional>
#include <string>
#include <vector>

namespace ziplib {

// The making of one new archive out of the old one and the files of the folder.
class ArchiveWriter {
  public:
    ArchiveWriter(const PackOptions &options, ArchiveReplacement &target,
                  const Directory &directory, Report &report)
        : m_options(options), m_target(target), m_directory(directory), m_report(report),
          m_kept(directory.entries().size(), true) {}

    // Tasks whose verdict is to pack. They and the scan live longer than this, and learn what was
    // packed; other tasks and their files are not looked at.
    void pack(const std::vector<Task *> &tasks, Scan &scan);
    // Leaves an entry out of the new archive.
    void drop(std::size_t entry) { m_kept[entry] = false; }

    // Writes the whole new archive under its temporary name and reads its directory back.
    Outcome write(const std::optional<std::string> &password);

  private:
    struct Job {
        Task *task = nullptr;
        std::size_t copyEnd = 0; // segments before this one are copied first
        bool streamed = false;
        std::uint64_t cost = 0; // bytes of memory
        WrittenEntry written;
    };

    void orderJobs();
    Outcome writeJobs(const std::optional<std::string> &password);
    Outcome writeEntry(Job &job, const std::optional<std::string> &password);
    Outcome writeWhole(Job &job);
    Outcome writeStreamed(Job &job, const std::optional<std::string> &password);
    Outcome copySegments(std::size_t end);
    Outcome writeDirectory();
    WrittenEntry describe(const Task &task, bool encrypted) const;
    void packOne(Job &job, const std::optional<std::string> &password) const;
    Outcome judgeText(SourceFile &file, Task &task) const;

    const PackOptions &m_options;
    ArchiveReplacement &m_target;
    const Directory &m_directory;
    Report &m_report;
    std::vector<bool> m_kept;
    std::vector<Task *> m_tasks;
    Scan *m_scan = nullptr;
    Layout m_layout;
    std::vector<Job> m_jobs;
    std::vector<std::size_t> m_jobOfEntry; // where an old entry is replaced
    std::size_t m_copied = 0;              // segments that are done
    std::optional<Output> m_output;
};

} // namespace ziplib

#include "ziplib/vl2zip/update.h"

#include "ziplib/container/workers.h"
#include "ziplib/vl2zip/background.h"
#include "ziplib/vl2zip/commit.h"
#include "ziplib/vl2zip/examine.h"
#include "ziplib/vl2zip/inorder.h"
#include "ziplib/vl2zip/lookagain.h"
#include "ziplib/vl2zip/plan.h"
#include "ziplib/vl2zip/rewrite.h"
#include "ziplib/vl2zip/selection.h"

#include <algorithm>
#include <string>

namespace ziplib {

namespace {

// How often a save begins again because files or archive changed under it.
constexpr int kTries = 4;
constexpr std::uint64_t kNoLimit = UINT64_MAX;

Outcome cancelled(const PackOptions &options) {
    return {Code::Cancelled, options.archive + ": saving was stopped; the archive is as it was"};
}

// One attempt to bring the archive up to date.
class Update {
  public:
    Update(const PackOptions &options, Report &report, std::optional<std::string> &password)
        : m_options(options), m_report(report), m_password(password), m_target(options.archive),
          m_selection(options.patterns, options.recurse) {}

    // `again` tells that something changed under it and nothing has happened.
    Outcome run(bool &again);
    // What changed: a file of the folder, or else the archive.
    const std::string &changed() const { return m_changed.empty() ? m_options.archive : m_changed; }

  private:
    Outcome look();
    Outcome examineAll();
    bool take(Task &task);
    Outcome write(bool &again);
    Outcome checkFolder(bool &again);
    Outcome noFile() const {
        return {Code::NothingMatched, m_options.archive + ": no file to add"};
    }
    void removeTemporaries();

    const PackOptions &m_options;
    Report &m_report;
    std::optional<std::string> &m_password; // asked for once, however many attempts there are
    Target m_target;
    Selection m_selection;
    Directory m_directory;
    Scan m_scan;
    std::vector<Task> m_tasks;
    std::string m_changed;
};

Outcome Update::look() {
    const auto idle = [this] { m_report.idle(); };
    if (auto opened = m_target.open(idle); !opened.ok()) {
        return opened;
    }
    EntryPaths paths;
    Outcome archive;
    Outcome folder;
    runInBackground(
        {[&] {
             archive = readDirectory(m_target, m_directory);
             if (archive.ok()) {
                 paths = entryPaths(m_directory);
             }
         },
         [&] { folder = scanFolder(m_options.root, m_selection.needsFolders(), m_scan); }},
        idle);
    if (!archive.ok() || !folder.ok()) {
        return archive.ok() ? folder : archive;
    }
    return planTasks(m_options, m_selection, m_scan, paths, idle, m_tasks);
}

// Says what became of a file that is not packed. False where the caller wants to stop.
bool Update::take(Task &task) {
    switch (task.verdict) {
    case Task::Verdict::Pack:
        return true; // reported once it is
    case Task::Verdict::Same:
        m_report.detail("unchanged: ", task.path);
        break;
    case Task::Verdict::Archive:
        return true;
    case Task::Verdict::NotNewer:
        m_report.detail("not newer: ", task.path);
        break;
    case Task::Verdict::Hidden:
        m_report.detail("hidden, left out: ", task.path);
        break;
    case Task::Verdict::HiddenChanged:
        m_report.warn(task.path + ": is hidden and was left out; the archive keeps the version "
                                  "that it has");
        break;
    case Task::Verdict::CutOff:
        m_report.warn(task.path + ": the file is cut off, as after a power cut; the archive keeps "
                                  "it whole");
        break;
    }
    return m_report.done(task.path);
}

Outcome Update::examineAll() {
    FolderPool folders(m_options.root);
    const Examination examination{m_options, m_target.old(),
                                  m_target.exists() ? &m_target.oldInfo() : nullptr, m_directory,
                                  folders};
    Outcome failed;
    InOrder work;
    work.count = m_tasks.size();
    // What counts here is not memory but that no thread gets many large files at once.
    work.cost = [this](std::size_t i) {
        const std::size_t entry = m_tasks[i].entry;
        return entry == kNoEntry ? 0 : m_directory.entries()[entry].size;
    };
    work.work = [&](std::size_t i) {
        if (!m_tasks[i].folder) {
            examine(examination, m_scan.files[m_tasks[i].file], m_tasks[i]);
        }
    };
    work.take = [&](std::size_t i) {
        failed = m_tasks[i].outcome;
        if (failed.ok() && !take(m_tasks[i])) {
            failed = cancelled(m_options);
        }
        return failed.ok();
    };
    work.idle = [this] { m_report.idle(); };
    runInOrder(work, workerCount(), kNoLimit);
    return failed;
}

// The folder must be what it was when it was looked at: an edit that came later would be deleted
// with the work folder.
Outcome Update::checkFolder(bool &again) {
    auto looked = lookAgain(
        m_options.root, m_selection.needsFolders(), m_scan, [this] { m_report.idle(); }, m_changed);
    again = looked.ok() && !m_changed.empty();
    return looked;
}

Outcome Update::write(bool &again) {
    const auto first = std::find_if(m_tasks.begin(), m_tasks.end(), [](const Task &task) {
        return task.verdict == Task::Verdict::Pack;
    });
    if (m_options.encrypt && !m_password) {
        m_password = m_report.password(first->path);
        if (!m_password) {
            return {Code::NoPassword,
                    m_options.archive + ": no password was given; the archive is as it was"};
        }
    }
    Rewrite rewrite(m_options, m_target, m_directory, m_report);
    rewrite.pack(m_tasks, m_scan);
    if (auto written = rewrite.write(m_password); !written.ok()) {
        return written;
    }
    return commit(
        m_target, m_report, [this](bool &redo) { return checkFolder(redo); }, again);
}

// A killed extraction leaves them; they are no file of anybody's.
void Update::removeTemporaries() {
    for (const auto &path : m_scan.temporaries) {
        platform::Folder folder;
        if (folder.open({m_options.root, std::string(folderOf(path))}).ok()) {
            folder.removeStaleTemporaries();
        }
    }
}

Outcome Update::run(bool &again) {
    again = false;
    if (auto looked = look(); !looked.ok()) {
        return looked;
    }
    if (const auto *unmatched = m_selection.unmatched()) {
        if (m_tasks.empty()) {
            return {Code::NothingMatched, *unmatched + ": no such file in the folder " +
                                              (m_options.root.empty() ? "." : m_options.root)};
        }
        m_report.warn(*unmatched + ": no such file");
    }
    if (m_tasks.empty()) {
        return noFile();
    }
    for (const auto &line : m_scan.leftOut) {
        m_report.warn(line);
    }
    if (auto examined = examineAll(); !examined.ok()) {
        return examined;
    }
    // The archive itself may lie in the folder.
    std::erase_if(m_tasks, [](const Task &task) { return task.verdict == Task::Verdict::Archive; });
    if (m_tasks.empty()) {
        return noFile();
    }
    const bool changes = std::any_of(m_tasks.begin(), m_tasks.end(), [](const Task &task) {
        return task.verdict == Task::Verdict::Pack;
    });
    // Also where nothing is written: a folder that was moved in meanwhile brings files with old
    // times, and who empties the work folder afterwards could not tell them from those that were
    // seen.
    if (auto written = changes ? write(again) : checkFolder(again); !written.ok() || again) {
        return written;
    }
    removeTemporaries();
    const bool same = std::any_of(m_tasks.begin(), m_tasks.end(), [](const Task &task) {
        return task.verdict == Task::Verdict::Same;
    });
    if (!changes && !same && !m_report.warned()) {
        return {Code::NothingToDo, m_options.archive + ": no file is newer than its entry"};
    }
    m_report.detail(m_options.archive, changes ? ": saved" : ": already up to date");
    return {};
}

} // namespace

Outcome updateArchive(const PackOptions &options, Report &report) {
    std::optional<std::string> password;
    std::string changed;
    for (int i = 0; i < kTries; ++i) {
        bool again = false;
        Update update(options, report, password);
        if (auto outcome = update.run(again); !outcome.ok() || !again) {
            return outcome;
        }
        changed = update.changed();
    }
    return {Code::CannotOpen, changed + ": another program keeps changing it while it is packed"};
}

Outcome deleteFromArchive(const PackOptions &options, Report &report) {
    for (int i = 0; i < kTries; ++i) {
        Target target(options.archive);
        if (auto opened = target.open([&] { report.idle(); }); !opened.ok()) {
            return opened;
        }
        if (!target.exists()) {
            return {Code::NoArchive, options.archive + ": no such archive"};
        }
        Directory directory;
        if (auto read = readDirectory(target, directory); !read.ok()) {
            return read;
        }
        Selection selection(options.patterns, options.recurse);
        Rewrite rewrite(options, target, directory, report);
        std::size_t dropped = 0;
        for (std::size_t entry = 0; entry < directory.entries().size(); ++entry) {
            const std::string path = directory.path(directory.entries()[entry]);
            if (!selection.wantsEntry(path)) {
                continue;
            }
            rewrite.drop(entry);
            ++dropped;
            report.say("deleting: " + path);
            if (!report.done(path)) {
                return cancelled(options);
            }
        }
        if (dropped == 0) {
            return {Code::NothingMatched, options.archive + ": no entry to delete"};
        }
        if (const auto *unmatched = selection.unmatched()) {
            report.warn(*unmatched + ": no such entry");
        }
        if (auto written = rewrite.write({}); !written.ok()) {
            return written;
        }
        bool again = false;
        auto outcome = commit(
            target, report, [](bool & /*again*/) { return Outcome(); }, again);
        if (!again) {
            return outcome;
        }
    }
    return {Code::CannotWrite, options.archive + ": other programs keep replacing the archive"};
}

} // namespace ziplib

#include "ziplib/vl2zip/update.h"

#include "ziplib/common/backgroundTask.h"
#include "ziplib/common/leftovers.h"
#include "ziplib/format/names.h"
#include "ziplib/vl2zip/compare/changeDetector.h"
#include "ziplib/vl2zip/compare/detectChanges.h"
#include "ziplib/vl2zip/select/plan.h"
#include "ziplib/vl2zip/select/selection.h"
#include "ziplib/vl2zip/write/archiveWriter.h"
#include "ziplib/vl2zip/write/commit.h"
#include "ziplib/vl2zip/write/packed.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>

namespace ziplib {

namespace {

// How often a save begins again because files or archive changed under it.
constexpr int kTries = 4;
constexpr std::chrono::milliseconds kPause{100};

Outcome cancelled(const PackOptions &options) {
    return {ReturnCode::Cancelled,
            options.archive + ": saving was stopped; the archive is as it was"};
}

// One attempt to bring the archive up to date.
class Update {
  public:
    // With `guess` it trusts, until it knows better, that files with their entry's size and time
    // are as they were, and starts writing before all are read.
    Update(const PackOptions &options, Report &report, std::optional<std::string> &password,
           bool guess)
        : m_options(options), m_report(report), m_password(password),
          m_guess(guess && !options.encrypt), m_target(options.archive),
          m_selection(options.patterns, options.recurse) {}

    // `again` tells that something changed under it and nothing has happened.
    Outcome run(bool &again);
    // To be called where that has not saved.
    void drop() {
        m_target.drop([this] { m_report.idle(); });
    }
    // What changed: a file of the folder, or else the archive.
    bool guessedWrong() const { return m_guessedWrong; }
    const std::string &changed() const { return m_changed.empty() ? m_options.archive : m_changed; }

  private:
    Outcome look();
    void tell(const Task &task);
    Outcome take(Task &task);
    Outcome write(ChangeDetector &detector, std::vector<Task *> &tasks);
    Outcome writeNew(const std::vector<Task *> &tasks);
    Outcome checkFolder(bool &again);
    Outcome noFile() const;
    Outcome finish(const std::vector<Task *> &packed);
    void removeTemporaries();

    const PackOptions &m_options;
    Report &m_report;
    std::optional<std::string> &m_password; // asked for once, however many attempts there are
    const bool m_guess;
    bool m_guessedWrong = false;
    ArchiveReplacement m_target;
    Selection m_selection;
    Directory m_directory;
    Scan m_scan;
    std::vector<Task> m_tasks;
    std::string m_changed;
};

Outcome Update::look() {
    const auto idle = [this] { m_report.idle(); };
    if (auto opened = m_target.open(idle); !opened.ok())
        return opened;
    EntryPaths paths(m_directory);
    Outcome archive;
    Outcome folder;
    runInBackground(
        {[&] {
             archive = readDirectory(m_target, m_directory);
             if (archive.ok())
                 paths.fill();
         },
         [&] { folder = scanFolder(m_options.root, m_selection.needsFolders(), m_scan); }},
        idle);
    if (!archive.ok() || !folder.ok())
        return archive.ok() ? folder : archive;
    return planTasks(m_options, m_selection, m_scan, paths, idle, m_tasks);
}

// Says what became of a file that is not packed.
void Update::tell(const Task &task) {
    switch (task.verdict) {
    case Task::Verdict::Pack: // reported once it is packed
    case Task::Verdict::Archive:
        break;
    case Task::Verdict::Same:
        m_report.detail("unchanged: ", task.path);
        break;
    case Task::Verdict::NotNewer:
        m_report.warn(std::string(task.path) +
                      ": is not newer than its entry and was left out; the archive keeps the "
                      "version that it has");
        break;
    case Task::Verdict::Hidden:
        m_report.detail("hidden, left out: ", task.path);
        break;
    case Task::Verdict::HiddenChanged:
        m_report.warn(std::string(task.path) +
                      ": is hidden and was left out; the archive keeps the version "
                      "that it has");
        break;
    case Task::Verdict::CutOff:
        m_report.warn(std::string(task.path) +
                      ": the file is cut off, as after a power cut; the archive keeps "
                      "it whole");
        break;
    }
}

// Tells the caller of progress, and ends the examination where a file cannot be examined or the
// caller wants to stop.
Outcome Update::take(Task &task) {
    if (!task.outcome.ok())
        return task.outcome;
    const bool done = task.verdict != Task::Verdict::Pack && task.verdict != Task::Verdict::Archive;
    return !done || m_report.done(std::string(task.path)) ? Outcome() : cancelled(m_options);
}

// The folder must be what it was when it was looked at: an edit that came later would be deleted
// with the work folder.
Outcome Update::checkFolder(bool &again) {
    auto looked = detectChanges(
        m_options, m_selection.needsFolders(), m_scan, [this] { m_report.idle(); }, m_changed);
    again = looked.ok() && !m_changed.empty();
    // Whoever has just changed a file may not be done with it.
    const auto end = std::chrono::steady_clock::now() + kPause;
    while (again && std::chrono::steady_clock::now() < end) {
        m_report.idle();
        std::this_thread::sleep_for(kPause / 10);
    }
    return looked;
}

Outcome Update::writeNew(const std::vector<Task *> &tasks) {
    if (m_options.encrypt && !m_password) {
        m_password = m_report.password(std::string(tasks.front()->path));
        if (!m_password) {
            return {ReturnCode::NoPassword,
                    m_options.archive + ": no password was given; the archive is as it was"};
        }
    }
    ArchiveWriter writer(m_options, m_target, m_directory, m_report);
    writer.pack(tasks, m_scan);
    return writer.write(m_password);
}

// Writes the new archive, where there is anything to pack, and tells what was packed.
Outcome Update::write(ChangeDetector &detector, std::vector<Task *> &tasks) {
    if (m_guess) {
        if (auto found = detector.findEdited(); !found.ok())
            return found;
    }
    tasks = detector.toPack();
    if (tasks.empty() || !detector.beginOthers()) {
        if (auto found = detector.findOthers(); !found.ok())
            return found;
        tasks = detector.toPack();
        return tasks.empty() ? Outcome() : writeNew(tasks);
    }
    if (auto written = writeNew(tasks); !written.ok()) {
        detector.stop();
        return written;
    }
    auto found = detector.findOthers();
    m_guessedWrong = found.ok() && detector.toPack().size() != tasks.size();
    return found;
}

// A killed extraction leaves them; they are no file of anybody's.
void Update::removeTemporaries() {
    for (const auto &path : m_scan.temporaries) {
        platform::Folder folder;
        if (folder.open({m_options.root, std::string(folderOf(path))}).ok())
            folder.removeStaleTemporaries();
    }
}

// The outcome where none of the files that are meant can be in the archive. Names one that was left
// out, if there is any.
Outcome Update::noFile() const {
    const auto hidden = std::find_if(m_tasks.begin(), m_tasks.end(), [](const Task &task) {
        return task.verdict == Task::Verdict::Hidden;
    });
    std::string text = m_options.archive + ": no file to add";
    if (hidden != m_tasks.end())
        text += "; " + std::string(hidden->path) + ": is hidden and was left out";
    else if (!m_scan.leftOut.empty())
        text += "; " + m_scan.leftOut.front();
    return {ReturnCode::NothingMatched, std::move(text)};
}

// Tells how it ended where nothing failed.
Outcome Update::finish(const std::vector<Task *> &packed) {
    for (const auto *task : packed)
        if (task->entry == kNoEntry && !task->folder && isLeftover(task->path))
            m_report.say(VL2ZIP_LEFTOVER + std::string(task->path));
    if (packed.empty() && m_options.newerOnly && !m_report.warned()) {
        return {ReturnCode::NothingToDo,
                m_options.archive + ": nothing to do, it holds every file as it is"};
    }
    m_report.detail(m_options.archive, packed.empty() ? ": already up to date" : ": saved");
    return {};
}

Outcome Update::run(bool &again) {
    again = false;
    if (auto looked = look(); !looked.ok())
        return looked;
    if (const auto *unmatched = m_selection.unmatched()) {
        if (m_tasks.empty()) {
            return {ReturnCode::NothingMatched,
                    *unmatched + ": no such file in the folder " +
                        (m_options.root.empty() ? "." : m_options.root)};
        }
        m_report.warn(*unmatched + ": no such file");
    }
    if (m_tasks.empty())
        return noFile();
    for (const auto &line : m_scan.leftOut)
        m_report.warn(line);
    ChangeDetector detector(
        m_options, m_target, m_directory, m_scan, m_tasks,
        [this](Task &task) { return take(task); }, [this] { m_report.idle(); });
    std::vector<Task *> packed;
    if (auto written = write(detector, packed); !written.ok())
        return written;
    // The archive itself may lie in the folder.
    if (std::all_of(m_tasks.begin(), m_tasks.end(), [](const Task &task) {
            return task.verdict == Task::Verdict::Archive || task.verdict == Task::Verdict::Hidden;
        }))
        return noFile();
    if (m_guessedWrong) {
        again = true;
        return {};
    }
    for (const auto &task : m_tasks)
        tell(task);
    notePacked(m_tasks, m_directory, m_scan);
    const bool changes = !packed.empty();
    const auto last = [this](bool &redo) { return checkFolder(redo); };
    // Also where nothing is written: a folder that was moved in meanwhile brings files with old
    // times, and who empties the work folder afterwards could not tell them from those that were
    // seen.
    if (auto done = changes ? commit(m_target, m_report, last, again) : last(again);
        !done.ok() || again)
        return done;
    removeTemporaries();
    reportPacked(m_scan, m_report);
    return finish(packed);
}

} // namespace

Outcome updateArchive(const PackOptions &options, Report &report) {
    std::optional<std::string> password;
    std::string changed;
    bool guess = true;
    for (int i = 0; i < kTries; ++i) {
        bool again = false;
        report.dropWarnings();
        Update update(options, report, password, guess);
        auto outcome = update.run(again);
        if (outcome.ok() && !again)
            return outcome;
        update.drop();
        if (!outcome.ok() || !again)
            return outcome;
        guess = guess && !update.guessedWrong();
        changed = update.changed();
    }
    return {ReturnCode::CannotOpen,
            changed + ": another program keeps changing it while it is packed"};
}

Outcome deleteFromArchive(const PackOptions &options, Report &report) {
    for (int i = 0; i < kTries; ++i) {
        report.dropWarnings();
        ArchiveReplacement target(options.archive);
        if (auto opened = target.open([&] { report.idle(); }); !opened.ok())
            return opened;
        if (!target.exists())
            return {ReturnCode::NoArchive, options.archive + ": no such archive"};
        Directory directory;
        if (auto read = readDirectory(target, directory); !read.ok())
            return read;
        Selection selection(options.patterns, options.recurse);
        ArchiveWriter writer(options, target, directory, report);
        std::size_t dropped = 0;
        for (std::size_t entry = 0; entry < directory.entries().size(); ++entry) {
            const std::string path = directory.path(directory.entries()[entry]);
            if (!selection.wantsEntry(path))
                continue;
            writer.drop(entry);
            ++dropped;
            report.say("deleting: " + path);
            if (!report.done(path))
                return cancelled(options);
        }
        if (dropped == 0)
            return {ReturnCode::NothingMatched, options.archive + ": no entry to delete"};
        if (const auto *unmatched = selection.unmatched())
            report.warn(*unmatched + ": no such entry");
        bool again = false;
        auto outcome = writer.write({});
        if (outcome.ok()) {
            outcome = commit(
                target, report, [](bool & /*again*/) { return Outcome(); }, again);
        }
        if (outcome.ok() && !again)
            return outcome;
        target.drop([&] { report.idle(); });
        if (!again)
            return outcome;
    }
    return {ReturnCode::CannotWrite,
            options.archive + ": other programs keep replacing the archive"};
}

} // namespace ziplib

#include "ziplib/vl2zip/update.h"

#include "ziplib/common/backgroundTask.h"
#include "ziplib/format/names.h"
#include "ziplib/vl2zip/compare/changeDetector.h"
#include "ziplib/vl2zip/compare/detectChanges.h"
#include "ziplib/vl2zip/compare/sourceFile.h"
#include "ziplib/vl2zip/select/leftovers.h"
#include "ziplib/vl2zip/select/plan.h"
#include "ziplib/vl2zip/select/selection.h"
#include "ziplib/vl2zip/write/archiveWriter.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>

namespace ziplib {

namespace {

// Attempts of a save while files or the archive change.
constexpr int kTries = 4;
constexpr std::chrono::milliseconds kPause{100};
// Names in the message about conflicts.
constexpr std::size_t kMostNames = 5;

// One attempt to bring the archive up to date.
class Update {
  public:
    // With `guess` it assumes that files with their entry's size and time are unchanged, and starts
    // writing before they were compared.
    Update(const PackOptions &options, Report &report, std::optional<std::string> &password,
           bool guess)
        : m_options(options), m_report(report), m_password(password),
          m_guess(guess && !options.encrypt), m_target(options.archive),
          m_selection(options.patterns, options.recurse) {}

    // Sets `again`, without having saved, if files or the archive changed during the attempt.
    Status run(bool &again);
    // Deletes the new archive. To be called if run() has not saved.
    void drop() {
        m_target.drop([this] { m_report.tick(); });
    }
    // True if `guess` was wrong for a file.
    bool guessedWrong() const { return m_guessedWrong; }
    // The file of the folder that changed, or else the archive.
    const std::string &changed() const { return m_changed.empty() ? m_options.archive : m_changed; }
    // Why the attempt ended before the new archive was complete, if it did.
    const Status &unread() const { return m_unread; }

  private:
    bool isQuick() const;
    Status scan();
    void report(const Candidate &candidate, const Comparison &comparison);
    Status take(const Candidate &candidate, const Comparison &comparison);
    Status merge(ChangeDetector &detector);
    Status write(ChangeDetector &detector, std::vector<std::size_t> &packed);
    Status writeNew(const ChangeDetector &detector, const std::vector<std::size_t> &packed);
    Status checkFolder(bool &again);
    Status noFile(const ChangeDetector *detector) const;
    Status finish(const std::vector<std::size_t> &packed);
    void reportPacked();
    void removeTemporaries();

    const PackOptions &m_options;
    Report &m_report;
    std::optional<std::string> &m_password; // requested once for all attempts
    const bool m_guess;
    bool m_guessedWrong = false;
    ArchiveReplacement m_target;
    Selection m_selection;
    Directory m_directory;
    Scan m_scan;
    std::vector<Candidate> m_candidates;
    std::string m_changed;
    Status m_unread;
};

// Whether reading the archive and the folder usually takes less time than starting a thread. On a
// file server, either may take long.
bool Update::isQuick() const {
    platform::Folder root;
    return m_target.isSmall() && !m_target.isRemote() && root.open(m_options.root).ok() &&
           !root.isRemote();
}

Status Update::scan() {
    const auto idle = [this] { m_report.tick(); };
    if (auto opened = m_target.open(idle); !opened.ok())
        return opened;
    EntryPaths paths(m_directory);
    Status archive;
    Status folder;
    const auto readArchive = [&] {
        archive = m_target.readDirectory(m_directory);
        if (archive.ok())
            paths.fill();
    };
    const bool recurse = m_selection.needsFolders();
    const auto sort = [&] {
        m_scan.shareNames(m_directory, paths);
        m_scan.sort();
    };
    const bool isQuickToRead = isQuick();
    if (isQuickToRead) {
        readArchive();
        folder = listFolder(m_options.root, recurse, m_scan, idle);
    } else {
        runInBackground(
            {readArchive, [&] { folder = listFolder(m_options.root, recurse, m_scan); }}, idle);
    }
    if (!archive.ok() || !folder.ok())
        return archive.ok() ? folder : archive;
    if (isQuickToRead)
        sort();
    else
        runInBackground({sort}, idle);
    auto found = findCandidates(m_options, m_selection, m_scan, paths, idle, m_candidates);
    // A new archive gets all files: it would lack those that are as in the base.
    if (found.ok() && m_options.base && m_target.exists())
        m_options.base->mark(m_directory, paths, m_scan, idle, m_candidates);
    if (found.ok())
        markObstructed(paths, m_scan, idle, m_candidates);
    return found;
}

// Reports why a file is not packed.
void Update::report(const Candidate &candidate, const Comparison &comparison) {
    using Verdict = Comparison::Verdict;
    const auto warn = [&](const char *reason) {
        m_report.defer(std::string(m_scan.pathOf(candidate)) + reason);
    };
    switch (comparison.verdict) {
    case Verdict::Pack: // reported once it is packed
    case Verdict::Archive:
    case Verdict::Conflict: // ends the save
        break;
    case Verdict::Kept:
        m_report.detail("not edited, the archive's state stays: ", m_scan.pathOf(candidate));
        break;
    case Verdict::Same:
        m_report.detail("unchanged: ", m_scan.pathOf(candidate));
        break;
    case Verdict::NotNewer:
        warn(": is not newer than its entry and was left out; the archive keeps the version that "
             "it has");
        break;
    case Verdict::Hidden:
        m_report.detail("hidden, left out: ", m_scan.pathOf(candidate));
        break;
    case Verdict::HiddenChanged:
        warn(": is hidden and was left out; the archive keeps the version that it has");
        break;
    case Verdict::CutOff:
        warn(": is cut off, as after a power cut, and was left out; the archive keeps the whole "
             "file. To pack it as it is, save it again with its program; else delete it");
        break;
    case Verdict::Obstructed:
        warn(": was left out, as the archive has a folder of this name, or a file with the name of "
             "one of its folders; give it another name");
        break;
    }
}

// Reports progress. Fails if the caller cancels.
Status Update::take(const Candidate &candidate, const Comparison &comparison) {
    using Verdict = Comparison::Verdict;
    const bool done = comparison.verdict != Verdict::Pack &&
                      comparison.verdict != Verdict::Conflict &&
                      comparison.verdict != Verdict::Archive;
    return !done || m_report.processed(std::string(m_scan.pathOf(candidate)))
               ? Status()
               : m_target.cancelled();
}

// The folder must be unchanged since the scan: a later edit would be deleted with the work folder.
Status Update::checkFolder(bool &again) {
    auto checked = detectChanges(
        m_options, m_selection.needsFolders(), m_scan, [this] { m_report.tick(); }, m_changed);
    again = checked.ok() && !m_changed.empty();
    // A program that has just changed a file may change it again soon.
    const auto end = std::chrono::steady_clock::now() + kPause;
    while (again && std::chrono::steady_clock::now() < end) {
        m_report.tick();
        std::this_thread::sleep_for(kPause / 10);
    }
    return checked;
}

Status Update::writeNew(const ChangeDetector &detector, const std::vector<std::size_t> &packed) {
    if (m_options.encrypt && !m_password) {
        m_password = m_report.password("Enter password: ",
                                       std::string(m_scan.pathOf(m_candidates[packed.front()])));
        if (!m_password || m_password->empty()) {
            m_password.reset();
            return {Failure::Password,
                    m_options.archive + ": no password was given; the archive is as it was"};
        }
    }
    ArchiveWriter writer(m_options, m_target, m_directory, m_report);
    writer.reserve(packed.size());
    for (const std::size_t i : packed) {
        writer.pack(m_candidates[i], detector.comparisons()[i].attributes, m_scan);
        m_report.tick();
    }
    return writer.write(m_password);
}

// Decides about the files whose entries are not as in the base. Fails, before anything is written,
// if some were changed on both sides.
Status Update::merge(ChangeDetector &detector) {
    if (auto found = detector.findDisputed(); !found.ok())
        return found;
    std::string names;
    std::size_t count = 0;
    for (std::size_t i = 0; i < m_candidates.size(); ++i) {
        if (detector.comparisons()[i].verdict != Comparison::Verdict::Conflict)
            continue;
        const Entry entry = m_directory.entries()[m_candidates[i].entry];
        const std::string path = m_directory.path(entry);
        m_report.conflict({path.c_str(), entry.size, entry.crc, 0, 0, 0, 0, 0, 0});
        if (++count <= kMostNames)
            names += (names.empty() ? "" : ", ") + path;
    }
    if (count == 0)
        return {};
    if (count > kMostNames)
        names += " and " + std::to_string(count - kMostNames) + " more";
    return {Failure::Conflict, m_options.archive + ": changed in the archive and in the folder: " +
                                   names + "; the archive was left as it is"};
}

// Writes the new archive if there is anything to pack. `packed` are the candidates in it, by index.
Status Update::write(ChangeDetector &detector, std::vector<std::size_t> &packed) {
    if (m_options.base) {
        if (auto merged = merge(detector); !merged.ok())
            return merged;
    }
    if (m_guess) {
        if (auto found = detector.findEdited(); !found.ok())
            return found;
    }
    packed = detector.toPack();
    if (!m_guess || packed.empty() || !detector.beginOthers()) {
        if (auto found = detector.findOthers(); !found.ok())
            return found;
        packed = detector.toPack();
        return packed.empty() ? Status() : writeNew(detector, packed);
    }
    if (auto written = writeNew(detector, packed); !written.ok()) {
        detector.stop();
        return written;
    }
    auto found = detector.findOthers();
    m_guessedWrong = found.ok() && detector.toPack().size() != packed.size();
    return found;
}

// Removes the temporary files of killed extractions.
void Update::removeTemporaries() {
    for (const auto &path : m_scan.temporaries) {
        platform::Folder folder;
        if (folder.open({m_options.root, std::string(folderOf(path))}).ok())
            folder.removeStaleTemporaries();
    }
}

// The status if none of the selected files can be in the archive. Names one that was left out, if
// any.
Status Update::noFile(const ChangeDetector *detector) const {
    std::size_t hidden = 0;
    while (hidden < m_candidates.size() &&
           detector->comparisons()[hidden].verdict != Comparison::Verdict::Hidden)
        ++hidden;
    std::string text = m_options.archive + ": no file to add";
    if (hidden < m_candidates.size())
        text += "; " + std::string(m_scan.pathOf(m_candidates[hidden])) +
                ": is hidden and was left out";
    else if (!m_scan.leftOut.empty())
        text += "; " + m_scan.leftOut.front();
    return {Failure::NothingMatched, std::move(text)};
}

// Reports to the caller the files whose bytes the archive holds.
void Update::reportPacked() {
    if (!m_report.wantsPacked())
        return;
    for (const Candidate &candidate : m_candidates) {
        if (candidate.folder || !m_scan.files[candidate.file].packed)
            continue;
        const FoundFile &file = m_scan.files[candidate.file];
        // In another case than the file's if it is another entry's.
        const std::string path(m_options.junkFolders ? file.path : m_scan.pathOf(candidate));
        ZPPACKED packed{};
        packed.path = path.c_str();
        const FileVersion version = file.version(m_options.base.get());
        packed.device = version.device;
        packed.id = version.id;
        packed.size = version.size;
        packed.modified = version.modified;
        packed.changed = version.changed;
        packed.began = file.written ? INT64_MIN : m_scan.beganFor(version.info());
        packed.crc = version.crc;
        packed.outcome = file.outcome;
        m_report.packed(packed);
    }
}

// Reports the end of a call in which nothing failed.
Status Update::finish(const std::vector<std::size_t> &packed) {
    for (const std::size_t i : packed) {
        m_report.tick();
        const Candidate &candidate = m_candidates[i];
        if (candidate.entry == kNoEntry && !candidate.folder &&
            isLeftover(m_scan.pathOf(candidate)))
            m_report.report(VL2ZIP_LEFTOVER + std::string(m_scan.pathOf(candidate)));
    }
    if (packed.empty() && m_options.newerOnly && !m_report.hasDeferred()) {
        return {Failure::NothingToDo,
                m_options.archive + ": nothing to do, it holds every file as it is"};
    }
    m_report.detail(m_options.archive, packed.empty() ? ": already up to date" : ": saved");
    return {};
}

Status Update::run(bool &again) {
    again = false;
    if (auto scanned = scan(); !scanned.ok())
        return scanned;
    if (const auto *unmatched = m_selection.unmatched()) {
        if (m_candidates.empty()) {
            return {Failure::NothingMatched, *unmatched + ": no such file in the folder " +
                                                 (m_options.root.empty() ? "." : m_options.root)};
        }
        m_report.defer(*unmatched + ": no such file");
    }
    if (m_candidates.empty())
        return noFile(nullptr);
    for (const auto &line : m_scan.leftOut)
        m_report.defer(line);
    std::optional<ChangeDetector> detector;
    detector.emplace(
        m_options, m_target.old(), m_target.exists() ? &m_target.oldInfo() : nullptr, m_directory,
        m_scan, m_candidates,
        [this](const auto &candidate, const auto &comparison) {
            return take(candidate, comparison);
        },
        [this] { m_report.tick(); });
    std::vector<std::size_t> packed;
    if (auto written = write(*detector, packed); !written.ok()) {
        detector.reset(); // it may still read files
        m_unread = failure(written, Failure::CannotOpen);
        // A program that renames its temporary file takes it away before it is read. One that keeps
        // writing to a file is not read again: each attempt reads it several times.
        const bool repeats = written.is(Failure::CannotOpen) && checkFolder(again).ok() && again;
        return repeats ? Status() : m_unread;
    }
    // The folder may contain the archive itself.
    const auto &comparisons = detector->comparisons();
    if (std::all_of(comparisons.begin(), comparisons.end(), [](const Comparison &comparison) {
            return comparison.verdict == Comparison::Verdict::Archive ||
                   comparison.verdict == Comparison::Verdict::Hidden;
        }))
        return noFile(&*detector);
    if (m_guessedWrong) {
        again = true;
        return {};
    }
    for (std::size_t i = 0; i < m_candidates.size(); ++i)
        report(m_candidates[i], comparisons[i]);
    detector.reset(); // the rest needs its memory
    const bool changes = !packed.empty();
    const auto lastCheck = [this](bool &redo) { return checkFolder(redo); };
    // Also if nothing is written: a folder that was moved in during the save holds files with old
    // times, which the program that empties the work folder afterwards cannot tell from packed
    // ones.
    if (auto done = changes ? m_target.commit([this] { m_report.tick(); }, lastCheck, again,
                                              m_options.replaced)
                            : lastCheck(again);
        !done.ok() || again)
        return done;
    removeTemporaries();
    reportPacked();
    return finish(packed);
}

} // namespace

Status updateArchive(const PackOptions &options, Report &report) {
    SourceFile::allowWaiting();
    std::optional<std::string> password;
    std::string changed;
    Status unread;
    bool guess = true;
    for (int i = 0; i < kTries; ++i) {
        bool again = false;
        report.dropDeferred();
        Update update(options, report, password, guess);
        auto status = update.run(again);
        if (status.ok() && !again)
            return status;
        update.drop();
        if (!status.ok() || !again)
            return status;
        guess = guess && !update.guessedWrong();
        if (!update.guessedWrong()) // else nothing changed in this attempt
            changed = update.changed();
        unread = update.unread();
    }
    if (!unread.ok())
        return unread;
    return {Failure::CannotOpen,
            changed + ": another program keeps changing it while it is packed"};
}

} // namespace ziplib

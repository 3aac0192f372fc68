#include "ziplib/format/names.h"
#include "ziplib/vl2zip/compare/changeDetector.h"
#include "ziplib/vl2zip/compare/detectChanges.h"
#include "ziplib/vl2zip/select/entryPaths.h"
#include "ziplib/vl2zip/select/leftovers.h"
#include "ziplib/vl2zip/select/nameClashes.h"
#include "ziplib/vl2zip/select/plan.h"
#include "ziplib/vl2zip/select/scan.h"
#include "ziplib/vl2zip/select/selection.h"
#include "ziplib/vl2zip/update.h"
#include "ziplib/vl2zip/write/archiveReplacement.h"
#include "ziplib/vl2zip/write/archiveWriter.h"

#include <algorithm>
#include <utility>

namespace ziplib {

namespace {

// Attempts while files or the archive change.
constexpr int kTries = 4;
constexpr std::size_t kChunk = 1U << 20U;

// One attempt.
class Build {
  public:
    Build(const PackOptions &options, bool checkOnly, Report &report)
        : m_options(options), m_checkOnly(checkOnly), m_report(report), m_target(options.archive),
          m_selection({"*"}, true) {}
    Status run(Built &built, bool &again);
    // The files that were left out for their names.
    std::vector<std::string> takeOmitted() { return std::move(m_omitted); }
    void drop() {
        m_target.drop([this] { m_report.tick(); });
    }

  private:
    Status requireArchive() const;
    bool mayClash() const;
    Status requireDistinctNames() const;
    Status find();
    Status write();
    Status compareWithOld(bool &same) const;

    const PackOptions &m_options;
    const bool m_checkOnly;
    Report &m_report;
    ArchiveReplacement m_target;
    Selection m_selection;
    // Stays empty: nothing of an old archive is kept.
    const Directory m_directory;
    Scan m_scan;
    std::vector<Candidate> m_candidates;
    std::vector<std::string> m_omitted;
};

// A damaged archive may be replaced, but not a file that somebody has named by mistake.
Status Build::requireArchive() const {
    if (!m_target.exists())
        return {};
    Directory old;
    const auto read =
        failure(old.readEach(m_target.old(), [](const Entry &) {}), Failure::CannotOpen);
    return read.is(Failure::WrongFormat) ? read : Status();
}

// By hashes, which take little memory: true if some name may be equal to another, or to a folder.
bool Build::mayClash() const {
    std::vector<std::uint64_t> files;
    std::vector<std::uint64_t> folders;
    std::string_view lastFolder;
    for (const Candidate &candidate : m_candidates) {
        files.push_back(hashWithoutCase(m_scan.pathOf(candidate)));
        // The files are sorted by their paths.
        if (folderOf(m_scan.pathOf(candidate)) == lastFolder)
            continue;
        lastFolder = folderOf(m_scan.pathOf(candidate));
        for (auto folder = lastFolder; !folder.empty(); folder = folderOf(folder))
            folders.push_back(hashWithoutCase(folder));
    }
    std::sort(files.begin(), files.end());
    return std::adjacent_find(files.begin(), files.end()) != files.end() ||
           std::any_of(folders.begin(), folders.end(), [&](std::uint64_t folder) {
               return std::binary_search(files.begin(), files.end(), folder);
           });
}

Status Build::requireDistinctNames() const {
    if (!mayClash())
        return {};
    NameClashes clashes;
    for (const Candidate &candidate : m_candidates) {
        const std::string fellow = clashes.find(m_scan.pathOf(candidate));
        if (!fellow.empty()) {
            std::string text = m_options.root + ": ";
            text.append(m_scan.pathOf(candidate)).append(" and ").append(fellow);
            text += " have one name in the game, which ignores the letters' case";
            return {Failure::Exists, std::move(text)};
        }
        clashes.add(m_scan.pathOf(candidate));
        m_report.tick();
    }
    return {};
}

Status Build::find() {
    const auto idle = [this] { m_report.tick(); };
    if (auto scanned = scanFolder(m_options.root, true, m_scan); !scanned.ok())
        return scanned;
    const EntryPaths none(m_directory);
    if (auto found = findCandidates(m_options, m_selection, m_scan, none, idle, m_candidates);
        !found.ok())
        return found;
    std::erase_if(m_candidates, [this](const Candidate &candidate) {
        if (m_options.leftoversToo || !isNoContent(m_scan.pathOf(candidate)))
            return false;
        m_omitted.emplace_back(m_scan.pathOf(candidate));
        return true;
    });
    if (auto distinct = requireDistinctNames(); !distinct.ok())
        return distinct;
    for (const auto &line : m_scan.leftOut)
        m_report.defer(line);
    return {};
}

Status Build::write() {
    ChangeDetector detector(
        m_options, m_target.old(), m_target.exists() ? &m_target.oldInfo() : nullptr, m_directory,
        m_scan, m_candidates, [](const Candidate &, const Comparison &) { return Status(); },
        [this] { m_report.tick(); });
    if (auto found = detector.findOthers(); !found.ok())
        return found;
    ArchiveWriter writer(m_options, m_target, m_directory, m_report);
    const auto packed = detector.toPack();
    if (packed.empty())
        return {Failure::NothingMatched, m_options.root + ": no file to pack"};
    writer.reserve(packed.size());
    for (const std::size_t i : packed)
        writer.pack(m_candidates[i], 0, m_scan);
    return writer.write({});
}

Status Build::compareWithOld(bool &same) const {
    platform::InputFile fresh;
    platform::FileInfo info;
    same = false;
    if (!m_target.exists())
        return {};
    if (auto opened = m_target.openFresh(fresh); !opened.ok())
        return failure(opened, Failure::CannotWrite);
    if (!fresh.info(info).ok() || info.size != m_target.oldInfo().size)
        return {};
    Bytes ours(kChunk);
    Bytes theirs(kChunk);
    std::size_t got = 0;
    std::size_t gotOld = 0;
    for (std::uint64_t at = 0; at < info.size; at += got) {
        if (auto read = fresh.readAt(at, ours.data(), kChunk, got); !read.ok())
            return failure(read, Failure::CannotWrite);
        if (auto read = m_target.old().readAt(at, theirs.data(), kChunk, gotOld); !read.ok())
            return failure(read, Failure::CannotOpen);
        if (got == 0 || got != gotOld || !std::equal(ours.data(), ours.data() + got, theirs.data()))
            return {};
        m_report.tick();
    }
    same = true;
    return {};
}

Status Build::run(Built &built, bool &again) {
    const auto idle = [this] { m_report.tick(); };
    if (auto opened = m_target.open(idle); !opened.ok())
        return opened;
    if (auto old = requireArchive(); !old.ok())
        return old;
    if (auto found = find(); !found.ok())
        return found;
    if (auto written = write(); !written.ok())
        return written;
    bool same = false;
    if (auto compared = compareWithOld(same); !compared.ok())
        return compared;
    const auto lastCheck = [&](bool &redo) {
        std::string changed;
        auto checked = detectChanges(m_options, true, m_scan, idle, changed);
        redo = checked.ok() && !changed.empty();
        return checked;
    };
    if (same || m_checkOnly) {
        built = same ? Built::Same : Built::Differs;
        drop();
        return lastCheck(again);
    }
    built = Built::Written;
    return m_target.commit(idle, lastCheck, again, m_options.replaced);
}

} // namespace

Status buildArchive(const PackOptions &options, bool checkOnly, Report &report, Built &built,
                    std::vector<std::string> &omitted) {
    for (int i = 0; i < kTries; ++i) {
        bool again = false;
        report.dropDeferred();
        Build build(options, checkOnly, report);
        auto status = build.run(built, again);
        omitted = build.takeOmitted();
        if (status.ok() && !again)
            return status;
        build.drop();
        if (!again)
            return status;
    }
    return {Failure::CannotOpen, options.root + ": other programs keep changing it"};
}

} // namespace ziplib

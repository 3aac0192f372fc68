#include "ziplib/vl2zip/compare/changeDetector.h"

#include "storage/orderedParallelFor.h"
#include "storage/threadPool.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
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
// Bytes of files that are compared in about the time that the start of a thread takes, and the
// bytes for which opening a file counts.
constexpr std::uint64_t kLittle = 256U << 10U;
constexpr std::uint64_t kOpening = 8U << 10U;

} // namespace

ChangeDetector::ChangeDetector(const PackOptions &options, const platform::InputFile &archive,
                               const platform::FileInfo *archiveInfo, const Directory &directory,
                               Scan &scan, const std::vector<Candidate> &candidates, Take take,
                               std::function<void()> idle)
    : m_directory(directory), m_scan(scan), m_candidates(candidates),
      m_folders(openedRoot(options.root)), m_context{options,           archive, archiveInfo,
                                                     directory,         scan,    m_folders,
                                                     onThisThread(idle)},
      m_take(std::move(take)), m_idle(std::move(idle)), m_comparisons(candidates.size()),
      m_left(candidates.size()) {
    std::iota(m_left.begin(), m_left.end(), std::uint32_t{0});
}

// Of the entry, or 0 if the candidate is new.
std::uint64_t ChangeDetector::entrySize(std::size_t index) const {
    const std::uint32_t entry = m_candidates[index].entry;
    return entry == kNoEntry ? 0 : m_directory.entries()[entry].size;
}

platform::OrderedParallelFor ChangeDetector::work(const Indices &indices) const {
    platform::OrderedParallelFor work;
    work.count = indices.size();
    // Not a bound on memory: it keeps one thread from claiming many large files at once.
    work.cost = [this, &indices](std::size_t i) { return entrySize(indices[i]); };
    if (!isRemote())
        work.shortCost = kLittle;
    work.take = [](std::size_t) { return true; };
    work.idle = m_idle;
    return work;
}

// Without opening a file. Returns whether it is done.
bool ChangeDetector::settleUntouched(std::size_t index) {
    const Candidate &candidate = m_candidates[index];
    Comparison &comparison = m_comparisons[index];
    if (!comparison.done &&
        (candidate.folder ? candidate.entry != kNoEntry
                          : isUntouched(m_context, m_scan.files[candidate.file], candidate))) {
        comparison.verdict = Comparison::Verdict::Same;
        comparison.done = true;
    }
    return comparison.done;
}

void ChangeDetector::compareOne(std::size_t index) {
    if (settleUntouched(index))
        return;
    const Candidate &candidate = m_candidates[index];
    Comparison &comparison = m_comparisons[index];
    if (!candidate.folder) {
        auto compared = compareFile(m_context, m_scan.files[candidate.file], candidate, comparison);
        comparison.failed = !compared.ok();
        if (comparison.failed) {
            const std::lock_guard lock(m_mutex);
            m_failures.emplace(index, std::move(compared));
        }
    }
    comparison.done = true;
}

Status ChangeDetector::takeOne(std::size_t index) {
    if (m_comparisons[index].failed) {
        const std::lock_guard lock(m_mutex);
        return m_failures.at(index);
    }
    auto taken = m_take(m_candidates[index], m_comparisons[index]);
    if (taken.ok() && m_comparisons[index].verdict == Comparison::Verdict::Pack)
        m_packed.push_back(index);
    return taken;
}

// Compares candidates and takes all that were compared. The rest goes to m_left.
Status ChangeDetector::find(const Indices &indices, bool untilOneIsPacked) {
    Status status;
    std::size_t count = 0;
    const auto take = [&](std::size_t index) {
        ++count;
        status = takeOne(index);
        return status.ok();
    };
    std::atomic<bool> enough = false;
    platform::OrderedParallelFor job = work(indices);
    job.work = [&](std::size_t i) {
        if (!enough) {
            compareOne(indices[i]);
            if (untilOneIsPacked && m_comparisons[indices[i]].verdict == Comparison::Verdict::Pack)
                enough = true;
        }
    };
    job.take = [&](std::size_t i) { return m_comparisons[indices[i]].done && take(indices[i]); };
    platform::orderedParallelFor(job, platform::workerCount(), UINT64_MAX);
    // Threads stop in different places, so compared candidates may follow others.
    while (status.ok() && count < indices.size()) {
        if (const std::uint32_t index = indices[count]; m_comparisons[index].done) {
            take(index);
        } else {
            ++count;
            m_left.push_back(index);
        }
    }
    return status;
}

ChangeDetector::Indices ChangeDetector::takeLikelyEdited() {
    std::vector<std::uint8_t> edited(m_left.size());
    platform::OrderedParallelFor job = work(m_left);
    job.cost = [](std::size_t) { return kSmall; };
    job.work = [&](std::size_t i) {
        const Candidate &candidate = m_candidates[m_left[i]];
        edited[i] = settleUntouched(m_left[i]) || candidate.folder || candidate.entry == kNoEntry ||
                    looksEdited(m_context, m_scan.files[candidate.file],
                                m_directory.entries()[candidate.entry]);
    };
    platform::orderedParallelFor(job, platform::workerCount(), UINT64_MAX);
    Indices found;
    Indices others;
    for (std::size_t i = 0; i < m_left.size(); ++i)
        (edited[i] != 0 ? found : others).push_back(m_left[i]);
    m_left.swap(others);
    return found;
}

Status ChangeDetector::findDisputed() {
    Indices indices;
    indices.swap(m_left);
    const auto others = std::stable_partition(
        indices.begin(), indices.end(), [this](std::size_t i) { return m_candidates[i].disputed; });
    Indices rest(others, indices.end());
    indices.erase(others, indices.end());
    auto found = find(indices, false);
    m_left.insert(m_left.end(), rest.begin(), rest.end());
    return found;
}

Status ChangeDetector::findEdited() {
    Indices indices;
    indices.swap(m_left);
    std::stable_partition(indices.begin(), indices.end(),
                          [this](std::size_t index) { return entrySize(index) < kSmall; });
    if (auto found = find(indices, true); !found.ok())
        return found;
    return find(takeLikelyEdited(), false);
}

// Whether the disk of the folder or of the archive may answer late.
bool ChangeDetector::isRemote() const {
    return m_scan.isRemote || (m_context.archive.isOpen() && m_context.archive.isRemote());
}

bool ChangeDetector::isLittleLeft() const {
    if (isRemote())
        return m_left.empty();
    std::uint64_t bytes = 0;
    for (std::size_t i = 0; i < m_left.size() && bytes <= kLittle; ++i)
        bytes += kOpening + entrySize(m_left[i]);
    return bytes <= kLittle;
}

bool ChangeDetector::beginOthers() {
    if (isLittleLeft() || platform::workerCount() < 2)
        return m_left.empty();
    return m_background.start([this] {
        platform::OrderedParallelFor job = work(m_left);
        job.work = [this](std::size_t i) { compareOne(m_left[i]); };
        job.take = [this](std::size_t i) {
            m_compared = i + 1;
            return !m_comparisons[m_left[i]].failed && !m_stopped;
        };
        job.idle = [] {};
        platform::orderedParallelFor(job, platform::workerCount(), UINT64_MAX);
    });
}

Status ChangeDetector::findOthers() {
    // Takes each as soon as it was compared: the caller may cancel.
    Status status;
    std::size_t count = 0;
    m_background.wait([&] {
        m_idle();
        while (count < m_compared && status.ok())
            status = takeOne(m_left[count++]);
        m_stopped = !status.ok();
    });
    if (!status.ok())
        return status;
    const Indices indices(m_left.begin() + static_cast<std::ptrdiff_t>(count), m_left.end());
    m_left.clear();
    return find(indices, false);
}

void ChangeDetector::stop() {
    m_stopped = true;
    m_background.wait(m_idle);
}

std::vector<std::size_t> ChangeDetector::toPack() const {
    std::vector<std::size_t> indices = m_packed;
    std::sort(indices.begin(), indices.end());
    return indices;
}

} // namespace ziplib

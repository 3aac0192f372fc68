#pragma once

#include "ziplib/common/backgroundTask.h"
#include "ziplib/vl2zip/compare/compareFile.h"
#include "ziplib/vl2zip/select/candidate.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

namespace platform {
struct OrderedParallelFor;
}

namespace ziplib {

// Compares all candidates with their entries, on several threads. As soon as there is something to
// pack, and everything that looks edited was compared, the remaining files, which are most likely
// unchanged, can be compared in the background while the new archive is written.
class ChangeDetector {
  public:
    // All arguments must outlive this. Each candidate is passed to `take` on the caller's thread
    // once it was compared; a failure to compare it, or one that `take` returns, is the end.
    using Take = std::function<Status(const Candidate &candidate, const Comparison &comparison)>;
    ChangeDetector(const PackOptions &options, const platform::InputFile &archive,
                   const platform::FileInfo *archiveInfo, const Directory &directory, Scan &scan,
                   const std::vector<Candidate> &candidates, Take take, std::function<void()> idle);
    // Waits for the background thread.
    ~ChangeDetector() { m_stopped = true; }
    ChangeDetector(const ChangeDetector &) = delete;
    ChangeDetector &operator=(const ChangeDetector &) = delete;

    // Compares the disputed candidates, to be called first.
    Status findDisputed();
    // Compares until there is something to pack, small files first: they take the least time and
    // are edited most often. Then compares the others that look edited.
    Status findEdited();
    // Starts to compare the remaining files in the background; the scan must not be used for them
    // until findOthers() returns. False if no second thread is available or worth it.
    bool beginOthers();
    // Compares the remaining files, or all.
    Status findOthers();
    // Ends the work in the background, which may take as long as comparing one file.
    void stop();

    // Candidates found so far that are to be packed, by index, in their order.
    std::vector<std::size_t> toPack() const;
    // Of all candidates, in their order.
    const std::vector<Comparison> &comparisons() const { return m_comparisons; }

  private:
    using Indices = std::vector<std::uint32_t>; // of candidates
    platform::OrderedParallelFor work(const Indices &indices) const;
    std::uint64_t entrySize(std::size_t index) const;
    bool settleUntouched(std::size_t index);
    void compareOne(std::size_t index);
    Status takeOne(std::size_t index);
    Status find(const Indices &indices, bool untilOneIsPacked);
    Indices takeLikelyEdited();
    bool isRemote() const;
    bool isLittleLeft() const;

    const Directory &m_directory;
    Scan &m_scan;
    const std::vector<Candidate> &m_candidates;
    platform::FolderCache m_folders;
    const ComparisonContext m_context;
    const Take m_take;
    const std::function<void()> m_idle;
    std::vector<Comparison> m_comparisons;
    std::mutex m_mutex;
    std::map<std::size_t, Status> m_failures; // by candidate
    Indices m_left;                           // not taken yet
    std::vector<std::size_t> m_packed;
    std::atomic<bool> m_stopped = false;
    std::atomic<std::size_t> m_compared = 0; // of m_left, in the background
    BackgroundTask m_background;             // last member: is destroyed, and so waited for, first
};

} // namespace ziplib

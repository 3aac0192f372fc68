#include "tools/orvel-vl2/readEntries.h"

#include "storage/orderedParallelFor.h"
#include "storage/threadPool.h"
#include "tools/orvel-vl2/console.h"
#include "ziplib/common/objectPool.h"

#include <map>
#include <mutex>
#include <optional>

namespace vl2 {

namespace {

using platform::Status;

// Limits on the memory for entries that are read whole, and for what waits to be taken.
constexpr std::size_t kLargeMemory = 24U << 20;
constexpr std::uint64_t kBudget = 16U << 20;
constexpr std::uint64_t kOverhead = 512;

bool keepGoing() {
    return !interrupted();
}

Status read(const EntryOf &entry, platform::MemoryBudget *budget,
            const std::function<Status(ziplib::EntryReader &reader)> &work) {
    const ziplib::Source source{entry.archive->file, entry.archive->directory,
                                &*entry.archive->extents, budget, keepGoing};
    const ziplib::PooledObject<ziplib::Scratch> scratch;
    ziplib::EntryReader reader(source, entry.index, std::nullopt, *scratch);
    return work(reader);
}

} // namespace

void readEntries(const std::string &progress, const std::vector<EntryOf> &entries,
                 const std::function<Status(std::size_t i, ziplib::EntryReader &reader)> &work,
                 const std::function<void(std::size_t i, const Status &status)> &take) {
    std::uint64_t total = 0;
    for (const EntryOf &entry : entries)
        total += entry.entry().compressedSize;
    Progress shown(progress, total);
    platform::MemoryBudget budget(kLargeMemory);
    std::mutex mutex;
    std::map<std::size_t, Status> failures;
    platform::OrderedParallelFor job;
    job.count = entries.size();
    job.cost = [&](std::size_t i) { return entries[i].entry().compressedSize / 4 + kOverhead; };
    job.work = [&](std::size_t i) {
        Status status =
            read(entries[i], &budget, [&](ziplib::EntryReader &reader) { return work(i, reader); });
        if (!status.ok()) {
            const std::lock_guard lock(mutex);
            failures.emplace(i, std::move(status));
        }
    };
    job.take = [&](std::size_t i) {
        Status status;
        {
            const std::lock_guard lock(mutex);
            if (auto failed = failures.extract(i))
                status = std::move(failed.mapped());
        }
        checkInterrupt();
        take(i, status);
        shown.add(entries[i].entry().compressedSize);
        return true;
    };
    job.idle = checkInterrupt;
    platform::orderedParallelFor(job, platform::workerCount(), kBudget);
}

Status readThrough(ziplib::EntryReader &reader) {
    ziplib::EntryReader::Chunk chunk;
    Status status;
    do
        status = reader.next(chunk);
    while (status.ok() && !chunk.empty());
    return status;
}

Status readAll(ziplib::EntryReader &reader, std::string &text) {
    for (;;) {
        ziplib::EntryReader::Chunk chunk;
        if (Status status = reader.next(chunk); !status.ok() || chunk.empty())
            return status;
        text.append(reinterpret_cast<const char *>(chunk.data()), chunk.size());
    }
}

Status readAll(const EntryOf &entry, std::string &text) {
    return read(
        entry, nullptr, [&](ziplib::EntryReader &reader) { return readAll(reader, text); });
}

std::string entryMessage(const Archive &archive, const Status &status) {
    return archive.path + ": " + status.message;
}

} // namespace vl2

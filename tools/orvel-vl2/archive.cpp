#include "tools/orvel-vl2/archive.h"

#include "storage/orderedParallelFor.h"
#include "storage/threadPool.h"

#include <algorithm>

namespace vl2 {

namespace {

using platform::Status;

constexpr std::size_t kGroup = 16;

Status open(const std::string &path, For purpose, std::unique_ptr<Archive> &opened) {
    auto archive = std::make_unique<Archive>();
    archive->path = path;
    Status status = archive->file.open(path);
    if (status.ok())
        status = archive->directory.read(archive->file);
    if (!status.ok())
        return {status.kind, named(path, status.message), path};
    if (purpose == For::Reading)
        archive->extents.emplace(archive->file, archive->directory);
    opened = std::move(archive);
    return {};
}

} // namespace

std::string named(const std::string &path, const std::string &message) {
    return message.find(path) != std::string::npos ? message : path + ": " + message;
}

std::unique_ptr<Archive> openArchive(const std::string &path, For purpose) {
    std::unique_ptr<Archive> archive;
    if (const Status status = open(path, purpose, archive); !status.ok())
        throw Failed(status);
    return archive;
}

Exit forEachGroup(const std::vector<std::string> &paths, For purpose,
                  const std::function<Exit(std::vector<std::unique_ptr<Archive>> &group)> &take) {
    Exit result = Exit::Fine;
    for (std::size_t first = 0; first < paths.size(); first += kGroup) {
        const std::size_t count = std::min(kGroup, paths.size() - first);
        std::vector<std::unique_ptr<Archive>> group(count);
        std::vector<Status> states(count);
        platform::OrderedParallelFor work;
        work.count = count;
        // One archive for each step of a thread, not a batch of them.
        work.cost = [](std::size_t) { return std::uint64_t{8} << 20; };
        work.work = [&](std::size_t i) { states[i] = open(paths[first + i], purpose, group[i]); };
        work.take = [](std::size_t) { return true; };
        work.idle = checkInterrupt;
        platform::orderedParallelFor(work, platform::workerCount(), UINT64_MAX);
        for (std::size_t i = 0; i < count; ++i) {
            const Status &status = states[i].ok() ? group[i]->directory.damage() : states[i];
            if (!status.ok())
                complain(named(paths[first + i], status.message));
            result = worse(result, exitOf(status));
        }
        std::erase(group, nullptr);
        result = worse(result, take(group));
    }
    return result;
}

Exit forEachArchive(const std::vector<std::string> &paths, For purpose,
                    const std::function<Exit(Archive &archive)> &take) {
    return forEachGroup(
        paths, purpose,
        [&](auto &group) {
            Exit result = Exit::Fine;
            for (auto &archive : group) {
                result = worse(result, take(*archive));
                archive.reset();
            }
            return result;
        });
}

} // namespace vl2

#include "tools/orvel-vl2/tree.h"

#include "storage/orderedParallelFor.h"
#include "storage/threadPool.h"
#include "ziplib/codec/codec.h"
#include "ziplib/vl2zip/select/scan.h"

#include <algorithm>

namespace vl2 {

namespace {

using platform::Status;

constexpr std::size_t kChunk = 256U << 10;
constexpr std::uint64_t kAllTexts = 256U << 20;

Status open(const std::string &root, const TreeFile &file, platform::InputFile &opened) {
    platform::FileInfo info;
    return opened.open(platform::Location{root, file.path}, info);
}

Status measureFile(const std::string &root, TreeFile &file) {
    platform::InputFile opened;
    if (Status status = open(root, file, opened); !status.ok())
        return status;
    ziplib::Bytes chunk(kChunk);
    std::uint32_t crc = 0;
    std::size_t got = 0;
    std::uint64_t at = 0;
    do {
        if (Status status = opened.readAt(at, chunk.data(), kChunk, got); !status.ok())
            return status;
        crc = ziplib::crc32(crc, chunk.data(), got);
        at += got;
    } while (got > 0);
    file.crc = crc;
    file.size = at;
    return {};
}

} // namespace

Tree::Tree(const std::string &path) : m_path(path) {
    platform::Folder folder;
    if (folder.open(path).ok()) {
        ziplib::Scan scan;
        if (Status status = ziplib::scanFolder(path, true, scan); !status.ok())
            throw Failed(status);
        for (const ziplib::FoundFile &file : scan.files) {
            platform::InputFile opened;
            platform::FileInfo info;
            if (Status status = opened.open({path, std::string(file.path)}, info); !status.ok())
                throw Failed(status);
            m_files.push_back({std::string(file.path), info.size, std::nullopt, 0, info.modified});
        }
        return;
    }
    m_archive = openArchive(path, For::Reading);
    if (const Status &damage = m_archive->directory.damage(); !damage.ok())
        throw Failed(damage);
    const ziplib::Directory &directory = m_archive->directory;
    for (std::size_t i = 0; i < directory.entries().size(); ++i) {
        const ziplib::Entry &entry = directory.entries()[i];
        if (!directory.isFolder(entry))
            m_files.push_back({directory.path(entry), entry.size, entry.crc, i, 0});
    }
    std::stable_sort(m_files.begin(), m_files.end(),
                     [](const TreeFile &a, const TreeFile &b) { return a.path < b.path; });
    // Keeps the last of equal paths, as an extraction does.
    const auto kept =
        std::unique(m_files.rbegin(), m_files.rend(),
                    [](const TreeFile &a, const TreeFile &b) { return a.path == b.path; });
    m_files.erase(m_files.begin(), kept.base());
}

void Tree::measure(const std::vector<TreeFile *> &files) const {
    Status failed;
    std::vector<Status> states(files.size());
    platform::OrderedParallelFor job;
    job.count = files.size();
    job.cost = [](std::size_t) { return std::uint64_t{kChunk}; };
    job.work = [&](std::size_t i) { states[i] = measureFile(m_path, *files[i]); };
    job.take = [&](std::size_t i) {
        failed = states[i];
        return failed.ok();
    };
    job.idle = checkInterrupt;
    platform::orderedParallelFor(job, platform::workerCount(), kAllTexts);
    if (!failed.ok())
        throw Failed(failed);
}

std::string Tree::read(const TreeFile &file) const {
    std::string text;
    if (m_archive) {
        if (Status status = readAll(EntryOf{m_archive.get(), file.index}, text); !status.ok())
            throw Failed(exitOf(status), entryMessage(*m_archive, status));
        return text;
    }
    platform::InputFile opened;
    if (Status status = open(m_path, file, opened); !status.ok())
        throw Failed(status);
    std::size_t got = 0;
    do {
        const std::size_t at = text.size();
        text.resize(at + kChunk);
        if (Status status = opened.readAt(at, text.data() + at, kChunk, got); !status.ok())
            throw Failed(status);
        text.resize(at + got);
    } while (got > 0);
    return text;
}

} // namespace vl2

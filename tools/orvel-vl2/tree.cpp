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
    return opened.open(platform::Location{root, std::string(file.path)}, info);
}

} // namespace

Status measureFile(const platform::Location &location, std::optional<std::uint64_t> onlyIfSize,
                   std::uint64_t &size, std::uint32_t &crc) {
    platform::InputFile opened;
    platform::FileInfo info;
    if (Status status = opened.open(location, info); !status.ok())
        return status;
    size = info.size;
    crc = 0;
    if (onlyIfSize && *onlyIfSize != size)
        return {};
    ziplib::Bytes chunk(kChunk);
    std::size_t got = 0;
    std::uint64_t at = 0;
    do {
        if (Status status = opened.readAt(at, chunk.data(), kChunk, got); !status.ok())
            return status;
        crc = ziplib::crc32(crc, chunk.data(), got);
        at += got;
    } while (got > 0);
    size = at;
    return {};
}

std::string_view TextArena::add(std::string_view text) {
    constexpr std::size_t kBlock = 64U << 10;
    if (m_blocks.empty() || m_blocks.back().size() + text.size() > m_blocks.back().capacity())
        m_blocks.emplace_back().reserve(std::max(kBlock, text.size()));
    std::string &block = m_blocks.back();
    block += text;
    return std::string_view(block).substr(block.size() - text.size());
}

std::string_view pathIn(const ziplib::Directory &directory, const ziplib::Entry &entry,
                        TextArena &arena) {
    const std::string_view raw = directory.rawName(entry);
    const std::string path = directory.path(entry);
    return path == raw ? raw : arena.add(path);
}

Tree::Tree(const std::string &path) : m_path(path) {
    platform::Folder folder;
    if (folder.open(path).ok()) {
        scan();
        return;
    }
    m_archive = openArchive(path, For::Reading);
    if (const Status &damage = m_archive->directory.damage(); !damage.ok())
        throw Failed(damage);
}

void Tree::scan() {
    ziplib::Scan scan;
    if (Status status = ziplib::scanFolder(m_path, true, scan); !status.ok())
        throw Failed(status);
    m_leftOut = std::move(scan.leftOut);
    for (const ziplib::FoundFile &file : scan.files) {
        platform::InputFile opened;
        platform::FileInfo info;
        if (Status status = opened.open(platform::Location{m_path, std::string(file.path)}, info);
            !status.ok())
            throw Failed(status);
        m_files.push_back(
            {m_texts.add(file.path), info.size, 0, static_cast<std::uint32_t>(m_modified.size())});
        m_modified.push_back(info.modified);
    }
    m_measured.resize(m_files.size());
}

std::vector<TreeFile> &Tree::files() {
    if (m_archive && m_files.empty())
        fill();
    return m_files;
}

void Tree::fill() {
    const ziplib::Directory &directory = m_archive->directory;
    m_files.reserve(directory.entries().size());
    for (std::size_t i = 0; i < directory.entries().size(); ++i) {
        const ziplib::Entry entry = directory.entries()[i];
        if (!directory.isFolder(entry))
            m_files.push_back({pathIn(directory, entry, m_texts), entry.size, entry.crc,
                               static_cast<std::uint32_t>(i)});
    }
    std::sort(m_files.begin(), m_files.end(), [](const TreeFile &a, const TreeFile &b) {
        const int order = a.path.compare(b.path);
        return order != 0 ? order < 0 : a.index < b.index;
    });
    // Keeps the last of equal paths, as an extraction does.
    const auto kept =
        std::unique(m_files.rbegin(), m_files.rend(),
                    [](const TreeFile &a, const TreeFile &b) { return a.path == b.path; });
    m_files.erase(m_files.begin(), kept.base());
}

void Tree::measure(const std::vector<TreeFile *> &files) {
    Status failed;
    std::vector<Status> states(files.size());
    platform::OrderedParallelFor job;
    job.count = files.size();
    job.cost = [](std::size_t) { return std::uint64_t{kChunk}; };
    job.work = [&](std::size_t i) {
        TreeFile &file = *files[i];
        states[i] =
            measureFile({m_path, std::string(file.path)}, std::nullopt, file.size, file.crc);
        m_measured[file.index] = 1;
    };
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

Exit complainLeftOut(const Tree &tree) {
    for (const std::string &message : tree.leftOut())
        complain(tree.path() + ": " + message);
    return tree.leftOut().empty() ? Exit::Fine : Exit::Findings;
}

} // namespace vl2

#include "ziplib/vl2zip/write/verify.h"

#include "ziplib/codec/codec.h"
#include "ziplib/common/returnCode.h"
#include "ziplib/format/directory.h"
#include "ziplib/format/records.h"

#include <algorithm>
#include <vector>

namespace ziplib {

namespace {

constexpr std::uint64_t kMix = 0x9E3779B97F4A7C15U;

std::uint64_t mixed(std::uint64_t digest, std::uint64_t offset) {
    return (digest ^ offset) * kMix;
}

} // namespace

void ExpectedDirectory::add(std::string_view record, std::uint64_t offset, bool written) {
    ++m_entries;
    if (written)
        m_written.push_back(offset);
    m_records = crc32(m_records, record.data(), record.size());
    m_offsets = mixed(m_offsets, offset);
}

Status ExpectedDirectory::check(ArchiveReplacement &target, std::uint64_t size,
                                const std::function<void()> &idle) const {
    // A full disk of a file server may be reported only when the file is flushed.
    const auto wrong = [&](const std::string &what) {
        auto synced = target.sync(idle);
        return !synced.ok() ? synced
                            : Status(Failure::CannotWrite,
                                     target.path() + ": the new archive reads back wrong (" + what +
                                         "); the archive was left as it is");
    };
    platform::InputFile file;
    if (const auto opened = target.fresh().openWritten(file); !opened.ok())
        return failure(opened, Failure::CannotWrite);
    Directory directory;
    const auto keepGoing = [&] {
        idle();
        return true;
    };
    ExpectedDirectory found;
    const auto take = [&](const Entry &entry) {
        found.add(directory.record(entry), entry.localOffset, false);
    };
    if (const auto read = directory.readEach(file, take, keepGoing); !read.ok())
        return wrong(read.message);
    if (!directory.damage().ok() || directory.fileSize() != size)
        return wrong(directory.damage().ok() ? "its size" : directory.damage().message);
    if (found.m_entries != m_entries || found.m_records != m_records ||
        found.m_offsets != m_offsets)
        return wrong("its directory");
    for (const std::uint64_t offset : m_written) {
        idle();
        if (!hasSignature(file, offset, kLocalSignature))
            return wrong("an entry");
    }
    return {};
}

} // namespace ziplib

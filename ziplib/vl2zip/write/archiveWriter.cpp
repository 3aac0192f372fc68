#include "ziplib/vl2zip/write/archiveWriter.h"

#include "storage/orderedParallelFor.h"
#include "storage/threadPool.h"
#include "storage/utf8.h"
#include "ziplib/common/backgroundTask.h"
#include "ziplib/format/dosTime.h"
#include "ziplib/vl2zip/compare/compareFile.h"
#include "ziplib/vl2zip/write/verify.h"

#include <algorithm>

namespace ziplib {

namespace {

// Limit on the memory for the files being compressed and the data waiting to be written, in bytes.
constexpr std::uint64_t kBudget = 80U << 20U;
// Memory for each file besides its bytes.
constexpr std::uint64_t kOverhead = 4096;
// Bytes that are read and packed in less than a millisecond.
constexpr std::uint64_t kShortCost = 64U << 10U;

std::string savedText(const Packing &packing) {
    if (packing.method == kMethodStored)
        return " (stored 0%)";
    const std::uint64_t size = std::max<std::uint64_t>(packing.size, 1);
    const std::uint64_t saved = size - std::min(size, packing.compressedSize);
    return " (deflated " + std::to_string(saved * 100 / size) + "%)";
}

} // namespace

void ArchiveWriter::pack(const Candidate &candidate, std::uint8_t attributes, Scan &scan) {
    m_scan = &scan;
    WriteJob job;
    job.candidate = &candidate;
    job.attributes = attributes;
    m_jobs.push_back(std::move(job));
    if (candidate.entry != kNoEntry)
        m_kept[candidate.entry] = false;
}

Status ArchiveWriter::rename(std::size_t entry, std::string_view name) {
    return renameEntry(m_target.old(), m_directory, m_directory.entries()[entry], name,
                       m_renamed[entry]);
}

// The segments whose local headers change. Entries that share one cannot be renamed.
Status ArchiveWriter::findRenamed() {
    std::map<std::size_t, std::size_t> users;
    for (std::size_t i = 0; !m_renamed.empty() && i < m_directory.entries().size(); ++i)
        ++users[m_layout.segmentOf(i)];
    for (const auto &[entry, renamed] : m_renamed) {
        const std::size_t segment = m_layout.segmentOf(entry);
        if (users[segment] > 1 || m_layout.length(segment) < renamed.oldHeader)
            return {Failure::Damaged, m_target.path() + ": damaged, " +
                                          m_directory.path(m_directory.entries()[entry]) +
                                          " shares its data with another entry"};
        m_renamedAt.emplace(segment, &renamed);
    }
    return {};
}

// The bytes of its file before it is packed.
std::uint64_t ArchiveWriter::sizeOf(const WriteJob &job) const {
    return job.candidate->folder ? 0 : fileOf(job).version(nullptr).size;
}

// The bytes of memory for the file and its compressed data. A streamed file is not held in memory.
std::uint64_t ArchiveWriter::costOf(const WriteJob &job) const {
    return kOverhead + (job.streamed ? 0 : 2 * sizeOf(job));
}

// Orders the jobs so that a replaced entry is written at the position of the old one, which keeps
// the order of entries. A new one is written after all others, and so is one whose old bytes are
// kept because another entry overlaps them.
void ArchiveWriter::orderJobs() {
    const std::size_t end = m_layout.segments().size();
    for (WriteJob &job : m_jobs) {
        m_report.tick();
        job.copyEnd = static_cast<std::uint32_t>(end);
        job.streamed = sizeOf(job) > kWholeLimit;
        if (!job.isNew()) {
            const std::size_t segment = m_layout.segmentOf(job.candidate->entry);
            if (!m_layout.segments()[segment].kept())
                job.copyEnd = static_cast<std::uint32_t>(segment);
        }
    }
    const auto isBefore = [](const WriteJob &a, const WriteJob &b) {
        return a.isNew() != b.isNew() ? b.isNew() : a.copyEnd < b.copyEnd;
    };
    // They usually are, and moving so many objects would hold up the window.
    if (!std::is_sorted(m_jobs.begin(), m_jobs.end(), isBefore))
        std::stable_sort(m_jobs.begin(), m_jobs.end(), isBefore);
    for (std::size_t i = 0; i < m_jobs.size(); ++i)
        if (!m_jobs[i].isNew())
            m_replaced.push_back({m_jobs[i].candidate->entry, static_cast<std::uint32_t>(i)});
    std::sort(m_replaced.begin(), m_replaced.end(),
              [](const Replaced &a, const Replaced &b) { return a.entry < b.entry; });
}

Status ArchiveWriter::write(const std::optional<std::string> &password) {
    m_encrypted = password.has_value();
    if (m_target.exists()) {
        const auto idle = [this] { m_report.tick(); };
        if (auto made = m_layout.make(m_target.old(), m_directory, m_kept, idle); !made.ok())
            return made;
        if (auto found = findRenamed(); !found.ok())
            return found;
    }
    orderJobs();
    if (auto begun = m_target.begin(); !begun.ok())
        return begun;
    m_output.emplace(m_target.fresh(), m_target.path(), [this] { m_report.tick(); });
    if (auto copied = m_output->copy(m_target.old(), 0, m_layout.leading()); !copied.ok())
        return copied;
    if (auto written = writeJobs(password); !written.ok())
        return written;
    if (auto copied = copySegments(m_layout.segments().size()); !copied.ok())
        return copied;
    return writeDirectory();
}

void ArchiveWriter::packOne(WriteJob &job, const std::optional<std::string> &password,
                            const std::function<void()> &idle) const {
    if (job.candidate->folder || job.streamed)
        return;
    auto packed = std::make_unique<PackedFile>();
    SourceFile source(m_options.root, std::string(fileOf(job).path), lineEndsOf(m_options));
    source.setIdle(idle);
    packed->status = packWhole(source, password, packed->packing, packed->data);
    if (packed->status.ok())
        packed->status = notePacked(source, job, *packed);
    job.file = std::move(packed);
}

// Extractors that convert line ends rely on the text mark, so a file that is no longer text must
// not keep it. No entry gains the mark: an unmarked text is extracted as it is.
Status ArchiveWriter::notePacked(SourceFile &source, const WriteJob &job, PackedFile &file) const {
    FoundFile &found = fileOf(job);
    found.setRead(file.packing.version);
    found.setCrc(file.packing.crc);
    found.packed = true;
    found.written = source.isWritten();
    found.outcome = VL2ZIP_CHANGED;
    if (job.isNew())
        found.outcome = job.candidate->base != kNoVersion ? VL2ZIP_RESTORED : VL2ZIP_ADDED;
    const bool marked = !job.isNew() && m_directory.entries()[job.candidate->entry].isMarkedText();
    return marked ? source.judgeText(file.text) : Status();
}

Status ArchiveWriter::writeJobs(const std::optional<std::string> &password) {
    Status failed;
    const auto idle = onThisThread([this] { m_report.tick(); });
    platform::OrderedParallelFor work;
    work.count = m_jobs.size();
    work.cost = [this](std::size_t i) { return costOf(m_jobs[i]); };
    if (m_scan != nullptr && !m_scan->isRemote)
        work.shortCost = kShortCost;
    work.work = [&](std::size_t i) { packOne(m_jobs[i], password, idle); };
    work.take = [&](std::size_t i) {
        failed = writeEntry(m_jobs[i], password);
        return failed.ok();
    };
    work.idle = idle;
    platform::orderedParallelFor(work, platform::workerCount(), kBudget);
    return failed;
}

Status ArchiveWriter::writeEntry(WriteJob &job, const std::optional<std::string> &password) {
    const std::unique_ptr<PackedFile> whole = std::move(job.file);
    if (whole && !whole->status.ok())
        return whole->status;
    if (auto copied = copySegments(job.copyEnd); !copied.ok())
        return copied;
    job.offset = m_output->position() - m_directory.base();
    PackedFile other; // a folder or a streamed file
    PackedFile &file = whole ? *whole : other;
    if (auto written = job.streamed ? writeStreamed(job, password, file) : writeWhole(job, file);
        !written.ok())
        return written;
    const std::string path(m_scan->pathOf(*job.candidate));
    m_report.report((job.isNew() ? "adding: " : "updating: ") + path + savedText(file.packing));
    return m_report.processed(path) ? Status() : m_target.cancelled();
}

// Fails if the file has outgrown the header that was chosen by its size before.
Status ArchiveWriter::checkSize(const WriteJob &job, const PackedFile &file) const {
    if (job.zip64 || std::max(file.packing.compressedSize, file.packing.size) < kZip64Sentinel)
        return {};
    return {Failure::CannotOpen,
            std::string(fileOf(job).path) + ": grew beyond 4 GiB while it was packed"};
}

Status ArchiveWriter::writeWhole(WriteJob &job, const PackedFile &file) {
    if (auto checked = checkSize(job, file); !checked.ok())
        return checked;
    note(job, file);
    std::string header;
    appendLocal(header, describe(job));
    if (auto written = m_output->append(header); !written.ok())
        return written;
    return m_output->append(file.data.data(), file.data.size());
}

// Reserves the space of the local header and writes it last, when CRC and sizes are known.
Status ArchiveWriter::writeStreamed(WriteJob &job, const std::optional<std::string> &password,
                                    PackedFile &file) {
    const std::uint64_t start = m_output->position();
    // The largest possible data is the stored file, whose size a line end conversion may double.
    const std::uint64_t factor = m_options.lfToCrlf ? 2 : 1;
    job.zip64 = sizeOf(job) >= (kZip64Sentinel - 64U) / factor;
    if (auto written = m_output->append(std::string(describe(job).localSize(), '\0'));
        !written.ok())
        return written;
    SourceFile source(m_options.root, std::string(fileOf(job).path), lineEndsOf(m_options));
    if (auto packed = packStreamed(
            source, password, [this] { m_report.tick(); }, *m_output, file.packing);
        !packed.ok())
        return packed;
    if (auto noted = notePacked(source, job, file); !noted.ok())
        return noted;
    if (auto checked = checkSize(job, file); !checked.ok())
        return checked;
    note(job, file);
    std::string header;
    appendLocal(header, describe(job));
    return m_output->patch(start, header);
}

// Keeps of a packed file what its records need.
void ArchiveWriter::note(WriteJob &job, const PackedFile &file) const {
    const std::int64_t modified =
        job.candidate->folder ? m_scan->folders[job.candidate->file].version(nullptr).modified
                              : file.packing.version.modified;
    job.dosFields =
        m_options.utc ? toDosFieldsUtc(m_options.time.value_or(modified)) : toDosFields(modified);
    job.text = file.text;
    job.method = file.packing.method;
    job.crc = file.packing.crc;
    job.compressedSize = file.packing.compressedSize;
    job.size = file.packing.size;
}

// The fields of the entry's records. A replaced entry keeps its stored name, its comment and, if
// the file is still text, its text mark.
WrittenEntry ArchiveWriter::describe(const WriteJob &job) const {
    const Candidate &candidate = *job.candidate;
    WrittenEntry written;
    if (!job.isNew()) {
        const Entry old = m_directory.entries()[candidate.entry];
        written.name = m_directory.rawName(old);
        written.comment = m_directory.comment(old);
        written.flags = old.flags & kFlagUtf8;
    } else {
        written.name = m_scan->pathOf(candidate);
        written.flags = platform::isAscii(written.name) ? 0 : kFlagUtf8;
    }
    if (m_encrypted && !candidate.folder)
        written.flags |= kFlagEncrypted;
    written.dosDate = static_cast<std::uint16_t>(job.dosFields >> 16U);
    written.dosTime = static_cast<std::uint16_t>(job.dosFields);
    written.text = job.text;
    written.attributes = candidate.folder ? kExternalFolder : job.attributes;
    written.method = job.method;
    written.crc = job.crc;
    written.compressedSize = job.compressedSize;
    written.size = job.size;
    written.offset = job.offset;
    written.zip64 = job.zip64;
    return written;
}

Status ArchiveWriter::copySegments(std::size_t end) {
    auto &segments = m_layout.segments();
    while (m_copied < end) {
        const std::size_t first = m_copied;
        std::uint64_t length = 0;
        std::uint64_t skipped = 0;
        const std::uint64_t newStart = m_output->position();
        if (const auto renamed = m_renamedAt.find(first);
            renamed != m_renamedAt.end() && segments[first].kept()) {
            if (auto written = m_output->append(renamed->second->header); !written.ok())
                return written;
            segments[first].newStart = newStart;
            skipped = renamed->second->oldHeader;
            length = m_layout.length(first) - skipped;
            ++m_copied;
        }
        while (m_copied < end && segments[m_copied].kept() && skipped == 0 &&
               !m_renamedAt.contains(m_copied)) {
            segments[m_copied].newStart = newStart + length;
            length += m_layout.length(m_copied);
            ++m_copied;
        }
        if (m_copied == first) {
            ++m_copied;
            continue;
        }
        if (auto copied = m_output->copy(m_target.old(), segments[first].start + skipped, length);
            !copied.ok())
            return copied;
    }
    return {};
}

Status ArchiveWriter::writeDirectory() {
    const Directory::Entries entries = m_directory.entries();
    const std::uint64_t base = m_directory.base();
    const std::uint64_t start = m_output->position();
    ExpectedDirectory expected;
    std::string record;
    auto replaced = m_replaced.begin();
    for (std::size_t i = 0; i < entries.size() + m_jobs.size(); ++i) {
        record.clear();
        std::uint64_t offset = 0;
        const bool kept = i < entries.size() && m_kept[i];
        std::size_t job = i < entries.size() ? kNoEntry : i - entries.size();
        for (; replaced != m_replaced.end() && replaced->entry == i; ++replaced)
            job = replaced->job;
        if (kept) {
            offset = m_layout.segments()[m_layout.segmentOf(i)].newStart - base;
            const auto renamed = m_renamed.find(i);
            appendKept(record,
                       renamed == m_renamed.end() ? m_directory.record(entries[i])
                                                  : std::string_view(renamed->second.record),
                       offset);
        } else if (job != kNoEntry && (i < entries.size() || m_jobs[job].isNew())) {
            offset = m_jobs[job].offset;
            appendCentral(record, describe(m_jobs[job]));
        } else {
            continue; // deleted, or written instead of its old entry
        }
        expected.add(record, offset + base, !kept);
        if (auto added = m_output->append(record); !added.ok())
            return added;
        m_report.tick();
    }
    const CentralDirectory directory{expected.entries(), start - base,
                                     m_output->position() - start};
    record.clear();
    appendEnd(record, directory, m_directory.archiveComment());
    if (auto written = m_output->append(record); !written.ok())
        return written;
    if (auto copied =
            m_output->copy(m_target.old(), m_directory.fileSize() - m_directory.trailing(),
                           m_directory.trailing());
        !copied.ok())
        return copied;
    if (auto flushed = m_output->flush(); !flushed.ok())
        return flushed;
    return expected.check(m_target, m_output->position(), [this] { m_report.tick(); });
}

} // namespace ziplib

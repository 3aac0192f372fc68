#pragma once

#include "ziplib/format/directory.h"
#include "ziplib/format/records.h"
#include "ziplib/vl2zip/select/candidate.h"
#include "ziplib/vl2zip/select/options.h"
#include "ziplib/vl2zip/select/scan.h"
#include "ziplib/vl2zip/write/archiveReplacement.h"
#include "ziplib/vl2zip/write/layout.h"
#include "ziplib/vl2zip/write/output.h"
#include "ziplib/vl2zip/write/pack.h"
#include "ziplib/vl2zip/write/rename.h"
#include "ziplib/vl2zip/write/report.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ziplib {

// Writes one new archive from the old one and the files of the folder.
class ArchiveWriter {
  public:
    ArchiveWriter(const PackOptions &options, ArchiveReplacement &target,
                  const Directory &directory, Report &report)
        : m_options(options), m_target(target), m_directory(directory), m_report(report),
          m_kept(directory.entries().size(), true) {}

    // Makes room for as many files and folders, without which many calls of pack() take long.
    void reserve(std::size_t count) { m_jobs.reserve(count); }
    // Adds a file with the given DOS attributes, or a folder, to what write() packs. Both it and
    // the scan, the same in each call, must outlive this; its file receives version and CRC of what
    // was packed.
    void pack(const Candidate &candidate, std::uint8_t attributes, Scan &scan);
    // Deletes an entry.
    void drop(std::size_t entry) { m_kept[entry] = false; }

    // Renames an entry that is kept. Call it before write(). Fails if the entry is damaged.
    Status rename(std::size_t entry, std::string_view name);
    // Writes the new archive under its temporary name and verifies its central directory.
    Status write(const std::optional<std::string> &password);

  private:
    // A packed file, until it is written.
    struct PackedFile {
        Packing packing;
        bool text = false; // its old entry is marked as text, and it still is text
        Bytes data;
        Status status;
    };

    // An entry to write. In little memory, as a save may write hundreds of thousands.
    struct WriteJob {
        const Candidate *candidate = nullptr;
        std::unique_ptr<PackedFile> file; // null for a folder, and for a streamed file
        std::uint32_t copyEnd = 0;        // segments before this one are copied first
        std::uint8_t attributes = 0;
        bool streamed = false;
        // Set once it is written: see WrittenEntry.
        bool text = false;
        bool zip64 = false;
        std::uint16_t method = kMethodStored;
        std::uint32_t dosFields = 0;
        std::uint32_t crc = 0;
        std::uint64_t compressedSize = 0;
        std::uint64_t size = 0;
        std::uint64_t offset = 0;

        bool isNew() const { return candidate->entry == kNoEntry; }
    };

    // An old entry in whose place a job writes.
    struct Replaced {
        std::uint32_t entry = 0;
        std::uint32_t job = 0;
    };

    Status findRenamed();
    void orderJobs();
    Status writeJobs(const std::optional<std::string> &password);
    Status writeEntry(WriteJob &job, const std::optional<std::string> &password);
    Status checkSize(const WriteJob &job, const PackedFile &file) const;
    Status writeWhole(WriteJob &job, const PackedFile &file);
    Status writeStreamed(WriteJob &job, const std::optional<std::string> &password,
                         PackedFile &file);
    Status copySegments(std::size_t end);
    Status writeDirectory();
    std::uint64_t sizeOf(const WriteJob &job) const;
    std::uint64_t costOf(const WriteJob &job) const;
    void note(WriteJob &job, const PackedFile &file) const;
    WrittenEntry describe(const WriteJob &job) const;
    FoundFile &fileOf(const WriteJob &job) const { return m_scan->files[job.candidate->file]; }
    void packOne(WriteJob &job, const std::optional<std::string> &password,
                 const std::function<void()> &idle) const;
    Status notePacked(SourceFile &source, const WriteJob &job, PackedFile &file) const;

    const PackOptions &m_options;
    ArchiveReplacement &m_target;
    const Directory &m_directory;
    Report &m_report;
    std::vector<bool> m_kept;
    bool m_encrypted = false; // the new entries of files
    Scan *m_scan = nullptr;
    Layout m_layout;
    std::map<std::size_t, RenamedEntry> m_renamed;           // by entry
    std::map<std::size_t, const RenamedEntry *> m_renamedAt; // by segment
    std::vector<WriteJob> m_jobs;
    std::vector<Replaced> m_replaced; // sorted by entry
    std::size_t m_copied = 0;         // number of segments copied or skipped
    std::optional<Output> m_output;
};

} // namespace ziplib

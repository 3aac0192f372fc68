#pragma once

#include "storage/storage.h"
#include "ziplib/common/returnCode.h"
#include "ziplib/vl2zip.h"
#include "ziplib/vl2zip/select/candidate.h"
#include "ziplib/vl2zip/select/textRef.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The contents of the folder that is packed.
namespace ziplib {

class Base;
class Directory;
class EntryPaths;

// The coarsest step of the file times of a disk, in nanoseconds.
inline constexpr std::int64_t kCoarsestTimeStep = 2'000'000'000;

// A version of a file, as it was read.
struct FileVersion {
    std::uint64_t size = 0; // this and the following: see platform::FileInfo
    std::uint64_t device = 0;
    std::uint64_t id = 0;
    std::int64_t modified = 0;
    std::int64_t changed = 0;
    std::uint32_t crc = 0; // of its bytes, after a conversion of line ends

    platform::FileInfo info() const;
};

// In little memory, for hundreds of thousands of files.
class FoundFile {
  public:
    TextRef path;            // below the root, UTF-8, "/" between folders; the scan owns the text
    bool packed : 1 = false; // whether it holds nothing that the archive lacks
    // Whether a program had it open for writing when it was read: a later store through a memory
    // mapping may show in no time of the file.
    bool written : 1 = false;
    std::int16_t outcome = VL2ZIP_SAME; // of the save, if packed

    bool isKnown() const { return m_read != nullptr || m_base != kNoVersion; }
    // Zeros if it is not known. `base` may be null if the version was read.
    FileVersion version(const Base *base) const;
    // Its version is this one, whose checksum is not known yet.
    void setRead(const platform::FileInfo &info);
    void setCrc(std::uint32_t crc) { m_read->crc = crc; } // after setRead()
    // Its version is one of the base, by its number there.
    void setAsInBase(std::uint32_t version);

  private:
    std::uint32_t m_base = kNoVersion;
    std::unique_ptr<FileVersion> m_read;
};

struct Scan {
    std::vector<FoundFile> files;               // sorted by path; includes links to files
    std::vector<FoundFile> folders;             // sorted by path
    std::vector<TextRef> names;                 // paths of files that are not in `files` yet
    std::vector<std::string> leftOut;           // messages about what cannot be packed
    std::vector<std::string> temporaries;       // files that a killed extraction left
    std::vector<std::unique_ptr<char[]>> texts; // of the paths, in large pieces
    std::vector<std::unique_ptr<CandidateExtras>> extras; // of the candidates
    // Of a file that was created in the folder before the scan, if possible. A file on the same
    // disk with an earlier `changed` gets another one by any later change.
    std::optional<platform::FileInfo> began;
    bool isRemote = true;      // the disk may answer late
    bool keepsInfo = false;    // the system caches file information of this disk
    bool stampsWrites = false; // see platform::Folder; of the disk of `began`

    bool hasFile(std::string_view path) const;
    // The path of a candidate in the archive.
    std::string_view pathOf(const Candidate &candidate) const {
        const std::string &own = extrasOf(candidate).path;
        return own.empty() ? files[candidate.file].path : std::string_view(own);
    }
    // The extras of a candidate; empty ones if it has none.
    const CandidateExtras &extrasOf(const Candidate &candidate) const;
    // The same, to be filled in. Raises std::bad_alloc, also if there are more than kMostExtras.
    CandidateExtras &makeExtras(Candidate &candidate);
    // Makes the paths that are names of entries refer to these, and frees their own texts. The
    // directory must outlive the scan.
    void shareNames(const Directory &directory, const EntryPaths &entries);
    // Moves `names` to `files`, and sorts both lists.
    void sort();

    // The time of `began` if any change since then shows in the times of a file with this
    // information, else INT64_MIN. A client of a file server may invent a time of the last change
    // until the server tells another one, and the server may have none: then it equals `modified`.
    std::int64_t beganFor(const platform::FileInfo &info) const {
        const bool known =
            began && began->device == info.device && (!keepsInfo || info.modified < info.changed);
        return known ? began->changed : INT64_MIN;
    }

    // Whether any write to a file since it had this information shows in its times. If beganFor()
    // is INT64_MIN, it does not show if the program that writes sets the old time again: who
    // deletes the file has to compare its bytes first.
    bool timesShowWritesTo(const platform::FileInfo &info) const {
        if (const std::int64_t start = beganFor(info); start != INT64_MIN)
            return info.changed < start;
        return began && began->device == info.device &&
               info.modified < began->modified - kCoarsestTimeStep;
    }

    // Whether any write to a file since it had this information shows in its `changed`. A time in
    // whole microseconds may come from a clock with large steps, or from another system.
    bool stampsWritesTo(const platform::FileInfo &info) const {
        return stampsWrites && began->device == info.device && info.changed % 1000 != 0;
    }
};

// Lists the folder `root` ("" is the current one), and the folders below it if `recurse`. Links to
// files count as files; links to folders are not followed; pipes and devices are not opened. Fails
// if a folder cannot be read. Reads only the names of ordinary files. Calls `idle` between folders
// and while it waits. To be followed by sort().
Status listFolder(
    const std::string &root, bool recurse, Scan &scan, const std::function<void()> &idle = [] {});

// Lists a folder like listFolder(), and sorts what it found.
Status scanFolder(const std::string &root, bool recurse, Scan &scan);

} // namespace ziplib

#pragma once

#include "storage/storage.h"
#include "ziplib/common/returnCode.h"
#include "ziplib/vl2zip.h"
#include "ziplib/vl2zip/select/textRef.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The contents of the folder that is packed.
namespace ziplib {

// The coarsest step of the file times of a disk, in nanoseconds.
inline constexpr std::int64_t kCoarsestTimeStep = 2'000'000'000;

// In little memory, for hundreds of thousands of files.
struct FoundFile {
    TextRef path;           // below the root, UTF-8, "/" between folders; the scan owns the text
    std::uint64_t size = 0; // this and the following: see platform::FileInfo
    std::uint64_t device = 0;
    std::uint64_t id = 0;
    std::int64_t modified = 0;
    std::int64_t changed = 0;
    std::uint32_t crc = 0;   // of its bytes, after a conversion of line ends
    bool known : 1 = false;  // whether its version is known: size, identity and times
    bool packed : 1 = false; // whether it holds nothing that the archive lacks
    // Whether a program had it open for writing when it was read: a later store through a memory
    // mapping may show in no time of the file.
    bool written : 1 = false;
    std::int16_t outcome = VL2ZIP_SAME; // of the save, if packed

    // Its version, which must be known.
    platform::FileInfo info() const {
        platform::FileInfo info;
        info.size = size;
        info.device = device;
        info.id = id;
        info.modified = modified;
        info.changed = changed;
        return info;
    }
    void setInfo(const platform::FileInfo &info) {
        size = info.size;
        device = info.device;
        id = info.id;
        modified = info.modified;
        changed = info.changed;
        known = true;
    }
};

struct Scan {
    std::vector<FoundFile> files;               // sorted by path; includes links to files
    std::vector<FoundFile> folders;             // sorted by path
    std::vector<std::string> leftOut;           // messages about what cannot be packed
    std::vector<std::string> temporaries;       // files that a killed extraction left
    std::vector<std::unique_ptr<char[]>> texts; // of the paths, most in one for each folder
    // Of a file that was created in the folder before the scan, if possible. A file on the same
    // disk with an earlier `changed` gets another one by any later change.
    std::optional<platform::FileInfo> began;
    bool isRemote = true;      // the disk may answer late
    bool keepsInfo = false;    // the system caches file information of this disk
    bool stampsWrites = false; // see platform::Folder; of the disk of `began`

    bool hasFile(std::string_view path) const;
    // Keeps a text as long as the scan, in its two parts.
    TextRef addText(std::string_view first, std::string_view second = {});

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
// and while it waits.
Status scanFolder(
    const std::string &root, bool recurse, Scan &scan, const std::function<void()> &idle = [] {});

} // namespace ziplib

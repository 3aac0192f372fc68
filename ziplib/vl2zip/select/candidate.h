#pragma once

#include "storage/storage.h"
#include "ziplib/vl2zip/select/textRef.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace ziplib {

inline constexpr std::uint32_t kNoEntry = UINT32_MAX;
inline constexpr std::uint32_t kNoVersion = UINT32_MAX; // in the base

// What the archive held for a file when it was extracted, or later.
struct BaseVersion {
    static constexpr std::uint64_t kUnknownSize = UINT64_MAX;

    std::uint64_t size = 0;
    std::uint32_t crc = 0;
    std::int32_t written = 0; // VL2ZIP_LISTED and the following
    // That file has `size` bytes, and every later change of it shows in its size and these.
    bool timesTell = false;
    std::uint64_t device = 0;
    std::uint64_t id = 0;
    std::int64_t modified = 0;
    std::int64_t changed = 0;

    bool isOf(std::uint64_t otherSize, std::uint32_t otherCrc) const {
        return crc == otherCrc && (size == otherSize || size == kUnknownSize);
    }
    // True if this is the information on the written file, and proves that it was not changed.
    bool proves(const platform::FileInfo &info) const {
        return timesTell && info.size == size && info.device == device && info.id == id &&
               info.modified == modified && info.changed == changed;
    }
};

// A file or folder of the scan, and the entry that it stands for.
struct Candidate {
    std::uint32_t file = 0;         // index in the scan's files, or in its folders if `folder`
    std::uint32_t entry = kNoEntry; // index in the old central directory
    TextRef path;                   // in the archive; the scan owns the text
    // With a base only: what it holds for the file; and whether the entry differs from that, so
    // that folder and archive have to be merged.
    std::uint32_t base = kNoVersion;
    bool disputed = false;
    bool settled = false; // the entry is the version that the user knows
    bool folder = false;
    // New, but the archive has a folder of its path or a file of that of one of its folders: no
    // reader could extract both.
    bool obstructed = false;

    // What almost no candidate has.
    struct Special {
        // The later version of the entry that the user knows.
        std::uint32_t known = kNoVersion;
        // Entries without a file in the folder whose paths differ from the file's in case only: on
        // a disk that ignores case, the file may be theirs.
        std::vector<std::uint32_t> twins;
    };
    std::unique_ptr<Special> special;

    std::uint32_t known() const { return special ? special->known : kNoVersion; }
    void setKnown(std::uint32_t version) {
        if (special || version != kNoVersion)
            makeSpecial().known = version;
    }
    bool hasTwins() const { return special && !special->twins.empty(); }
    void addTwin(std::uint32_t twin) { makeSpecial().twins.push_back(twin); }
    void clearTwins() {
        if (special)
            special->twins.clear();
    }

  private:
    Special &makeSpecial() {
        if (!special)
            special = std::make_unique<Special>();
        return *special;
    }
};

} // namespace ziplib

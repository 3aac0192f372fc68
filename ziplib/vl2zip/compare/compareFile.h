#pragma once

#include "storage/folderCache.h"
#include "ziplib/codec/lineEnds.h"
#include "ziplib/common/returnCode.h"
#include "ziplib/format/directory.h"
#include "ziplib/vl2zip/select/candidate.h"
#include "ziplib/vl2zip/select/options.h"
#include "ziplib/vl2zip/select/scan.h"

#include <cstdint>
#include <functional>

namespace ziplib {

// What all comparisons of a save share.
struct ComparisonContext {
    const PackOptions &options;
    const platform::InputFile &archive;
    const platform::FileInfo *archiveInfo; // null if there is no archive yet
    const Directory &directory;
    const Scan &scan;
    platform::FolderCache &folders; // of the files
    std::function<void()> idle;     // called while a file is read
};

// What the comparison of a candidate with its entry found.
struct Comparison {
    enum class Verdict : std::uint8_t {
        Pack,          // its bytes go into the archive
        Same,          // its entry holds exactly these bytes
        Archive,       // it is the archive itself
        NotNewer,      // differs from its entry, is not newer, and only newer files are packed
        Hidden,        // a new hidden or system file, which the options leave out
        HiddenChanged, // a hidden or system file that differs from its entry and is left out
        Kept,          // as extracted, while its entry was changed or removed in the archive
        Conflict,      // changed, and so was its entry
        CutOff,        // an incomplete copy of its entry that was not edited
        Obstructed,    // a new file that the archive has no place for
    };

    bool done = false;
    bool failed = false;
    Verdict verdict = Verdict::Pack;
    std::uint8_t attributes = 0; // DOS attributes of a file to pack
};

LineEnds lineEndsOf(const PackOptions &options);

// Compares a file with its entry, if it has one. They are the same if size and CRC agree, and also
// the bytes if the times differ. A disputed file that differs is also compared with the base, by
// size and CRC. Leaves in `found` the version that was opened; the verdict holds for this version
// only. Thread-safe for different files.
Status compareFile(const ComparisonContext &context, FoundFile &found, const Candidate &candidate,
                   Comparison &result);

// True if neither the file was written to since the extraction, as its information proves, nor its
// entry was changed: they are the same then. Does not open the file; leaves its version in `found`.
// Thread-safe for different files.
bool isUntouched(const ComparisonContext &context, FoundFile &found, const Candidate &candidate);

// True if the file's size or time differs from its entry's, or the file cannot be examined. Does
// not open the file. Thread-safe.
bool looksEdited(const ComparisonContext &context, const FoundFile &file, const Entry &entry);

} // namespace ziplib

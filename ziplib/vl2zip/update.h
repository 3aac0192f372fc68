#pragma once

#include "ziplib/common/returnCode.h"
#include "ziplib/format/directory.h"
#include "ziplib/vl2zip/select/options.h"
#include "ziplib/vl2zip/write/report.h"

#include <functional>
#include <string>
#include <vector>

namespace ziplib {

// Adds the selected files of the folder to the archive, replacing the entries that they stand for.
// Writes nothing if the archive holds all of them already.
Status updateArchive(const PackOptions &options, Report &report);

// Deletes the selected entries. Without its last entry an empty archive remains.
Status deleteFromArchive(const PackOptions &options, Report &report);

// What a caller wants of the entries of a directory.
struct EntryChoice {
    std::function<bool(const std::string &path)> selects;
    std::function<std::vector<std::string>()> unmatched; // names that selected nothing
};

// The same with a caller's own matching instead of the patterns in the options. `choose` is called
// again if another program has replaced the archive meanwhile.
Status deleteFromArchive(const PackOptions &options,
                         const std::function<EntryChoice(const Directory &directory)> &choose,
                         Report &report);

// Renames an entry, or, if both names end in "/", all entries below a folder. Data and all other
// fields stay as they are. Unsafe for a new name that some reader or the game does not support,
// Exists if another entry has it in any case, or a file and a folder would have the same name.
Status renameInArchive(const PackOptions &options, const std::string &from, const std::string &to,
                       Report &report);

// What a build did or found.
enum class Built {
    Written,
    Same,    // the archive has exactly these bytes already and was not written
    Differs, // the same was to be found out, and it has not
};

// Makes an archive of the files of the folder and its folders, sorted by path, in place of one that
// exists; WrongFormat if that is no archive, Exists if names differ in the letters' case only. The
// bytes depend on the files' paths, contents and times and on the options only. `checkOnly`
// replaces nothing. `omitted` are the files that were left out for their names (see isNoContent).
Status buildArchive(const PackOptions &options, bool checkOnly, Report &report, Built &built,
                    std::vector<std::string> &omitted);

} // namespace ziplib

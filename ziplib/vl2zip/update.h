#pragma once

#include "ziplib/common/returnCode.h"
#include "ziplib/vl2zip/select/options.h"
#include "ziplib/vl2zip/write/report.h"

namespace ziplib {

// Adds the selected files of the folder to the archive, replacing the entries that they stand for.
// Writes nothing if the archive holds all of them already.
Status updateArchive(const PackOptions &options, Report &report);

// Deletes the selected entries. Without its last entry an empty archive remains.
Status deleteFromArchive(const PackOptions &options, Report &report);

} // namespace ziplib

#pragma once

#include "ziplib/common/returnCode.h"
#include "ziplib/vl2zip/options.h"
#include "ziplib/vl2zip/report.h"

namespace ziplib {

// Adds the meant files of the folder to the archive, replacing the entries that they stand for.
// Where every file is in the archive already, nothing is written.
Status updateArchive(const PackOptions &options, Report &report);

// Deletes the meant entries. An archive that loses its last entry stays, as an empty one.
Status deleteFromArchive(const PackOptions &options, Report &report);

} // namespace ziplib

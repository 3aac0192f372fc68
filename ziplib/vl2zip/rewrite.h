#pragma once

#include "ziplib/vl2zip/write/archiveWriter.h"

#include <functional>

namespace ziplib {

// Replaces an archive that exists by one with edited entries. `edit` tells the writer what to drop
// or rename; it is called again if another program has replaced the archive meanwhile.
Status rewriteArchive(
    const PackOptions &options, Report &report,
    const std::function<Status(const ArchiveReplacement &target, const Directory &directory,
                               ArchiveWriter &writer)> &edit);

} // namespace ziplib

#pragma once

#include "ziplib/format/directory.h"
#include "ziplib/vl2zip/report.h"
#include "ziplib/vl2zip/write/archiveReplacement.h"

namespace ziplib {

// Reads the directory of a target that was opened. None where the archive does not exist; fails
// where it is damaged, since what cannot be seen cannot be kept.
Status readDirectory(const ArchiveReplacement &target, Directory &directory);

// Puts a new archive that was written in the old one's place. `last` is called when it is durable,
// right before that: false means to begin again, as does another program that was at the archive in
// the meantime; `again` tells so and nothing has happened.
Status commit(ArchiveReplacement &target, Report &report,
              const std::function<Status(bool &again)> &last, bool &again);

} // namespace ziplib

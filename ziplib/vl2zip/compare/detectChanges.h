#pragma once

#include "ziplib/vl2zip/select/options.h"
#include "ziplib/vl2zip/select/scan.h"

namespace ziplib {

// Compares the folder with its scan. `changed` is the first file or folder found that is new,
// missing or another version than in the scan (files without a known version are not compared), or
// empty. A packed file is read again if its times may not show a write. Calls `idle` often.
Status detectChanges(const PackOptions &options, bool recurse, const Scan &scan,
                     const std::function<void()> &idle, std::string &changed);

} // namespace ziplib

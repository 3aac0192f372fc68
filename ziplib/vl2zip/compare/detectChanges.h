#pragma once

#include "ziplib/vl2zip/options.h"
#include "ziplib/vl2zip/select/scan.h"

namespace ziplib {

// Looks for the second time at the folder that was scanned. `changed` names the first file or
// folder found that is new, gone, or not the version that the scan knows (of one that is not known
// any will do); it is empty where there is none. A packed file whose times may hide a change is
// read again. `idle` is called often.
Status detectChanges(const PackOptions &options, bool recurse, const Scan &scan,
                     const std::function<void()> &idle, std::string &changed);

} // namespace ziplib

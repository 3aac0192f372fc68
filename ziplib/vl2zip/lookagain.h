#pragma once

#include "ziplib/vl2zip/scan.h"

namespace ziplib {

// Looks at a folder that was scanned for the second time. `changed` names the first file or folder
// found that is new, gone, or not the version that the scan knows (of one that is not known any
// will do); it is empty where there is none. `idle` is called often.
Outcome lookAgain(const std::string &root, bool recurse, const Scan &scan,
                  const std::function<void()> &idle, std::string &changed);

} // namespace ziplib

#pragma once

#include "ziplib/format/directory.h"
#include "ziplib/vl2zip/report.h"
#include "ziplib/vl2zip/select/scan.h"
#include "ziplib/vl2zip/select/task.h"

#include <vector>

// Which files of the folder the archive holds, and in which version.
namespace ziplib {

// Notes in the scan which files have their bytes in the archive once the tasks are done.
void notePacked(const std::vector<Task> &tasks, const Directory &directory, Scan &scan);

// Reports these files to the caller, where that wants to know.
void reportPacked(const Scan &scan, Report &report);

} // namespace ziplib

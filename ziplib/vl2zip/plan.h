#pragma once

#include "ziplib/vl2zip/entrypaths.h"
#include "ziplib/vl2zip/options.h"
#include "ziplib/vl2zip/scan.h"
#include "ziplib/vl2zip/task.h"

#include <functional>
#include <string>
#include <vector>

// Which file of the folder stands for which entry of the archive.
namespace ziplib {

class Selection;

// Makes the tasks for the files that are meant, in the order of their paths. A file replaces the
// entry of its exact path, of several the last one; where there is none, the one entry that differs
// from it in case only, unless the folder holds another file for that entry. Else it is new. Fails
// where a new name cannot be one that every reader understands and the game takes. `idle` is
// called often.
Outcome planTasks(const PackOptions &options, Selection &selection, Scan &scan,
                  const EntryPaths &entries, const std::function<void()> &idle,
                  std::vector<Task> &tasks);

} // namespace ziplib

#pragma once

#include "ziplib/vl2zip/options.h"
#include "ziplib/vl2zip/select/entryPaths.h"
#include "ziplib/vl2zip/select/scan.h"
#include "ziplib/vl2zip/select/task.h"

#include <functional>
#include <string>
#include <vector>

// Which file of the folder stands for which entry of the archive.
namespace ziplib {

class Selection;

// Makes the tasks for the files that are meant, in the order of their paths. A file replaces the
// entry of its exact path, of several the last one; where there is none, the one entry that differs
// from it in case only, unless the folder holds another file for that entry. Else it is new. A new
// name that some reader does not understand or the game does not take gets no task but a line in
// what the scan left out. Where folders get entries, the tasks of those that are meant or hold a
// file that is meant come last. Fails where two files would have one name. `idle` is called often.
Outcome planTasks(const PackOptions &options, Selection &selection, Scan &scan,
                  const EntryPaths &entries, const std::function<void()> &idle,
                  std::vector<Task> &tasks);

} // namespace ziplib

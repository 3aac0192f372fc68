#pragma once

#include "ziplib/format/directory.h"
#include "storage/folderCache.h"
#include "ziplib/vl2zip/options.h"
#include "ziplib/vl2zip/select/scan.h"
#include "ziplib/vl2zip/select/task.h"

namespace ziplib {

// Where an entry's file is read and its stored data, to find out whether they are the same.
struct ComparisonContext {
    const PackOptions &options;
    const platform::InputFile &archive;
    const platform::FileInfo *archiveInfo; // null where there is no archive yet
    const Directory &directory;
    platform::FolderCache &folders; // of the files
};

LineEnds lineEndsOf(const PackOptions &options);

// Decides a task's verdict where that takes a look at the file: whether it is hidden, and whether
// its entry holds these very bytes. Size and CRC must agree for that, and where the times differ
// the bytes themselves. Leaves in `file` which version was opened: the verdict holds where the file
// still is that version afterwards, which is the caller's to find out. To be called from several
// threads.
void compareFile(const ComparisonContext &context, FoundFile &file, Task &task);

// Guesses without opening it whether the file of an entry was edited since it was extracted: it has
// another size or time than its entry, or cannot be looked at. To be called from several threads.
bool looksEdited(const ComparisonContext &context, const FoundFile &file, const Task &task);

} // namespace ziplib

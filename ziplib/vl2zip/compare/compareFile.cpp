#include "ziplib/vl2zip/compare/compareFile.h"

#include "ziplib/common/objectPool.h"
#include "ziplib/format/dosTime.h"
#include "ziplib/format/localHeader.h"
#include "ziplib/format/names.h"
#include "ziplib/vl2zip/compare/entryReader.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace ziplib {

namespace {

constexpr std::size_t kChunk = 128U << 10U;
constexpr std::int64_t kSecond = 1'000'000'000;
// The coarsest step in which a disk counts time.
constexpr std::int64_t kTimeStep = 2 * kSecond;
constexpr std::uint8_t kHiddenOrSystem = platform::kAttributeHidden | platform::kAttributeSystem;

bool sameTime(const Directory &directory, const Entry &entry, std::int64_t modified) {
    const std::uint32_t fields = static_cast<std::uint32_t>(entry.date) << 16U | entry.time;
    if (toDosFields(modified) == fields)
        return true;
    const std::int64_t stored = directory.modified(entry);
    return stored == modified || (stored % kSecond == 0 && stored / kSecond == modified / kSecond);
}

bool isNewer(const Directory &directory, const Entry &entry, std::int64_t modified) {
    const std::uint32_t fields = static_cast<std::uint32_t>(entry.date) << 16U | entry.time;
    return !sameTime(directory, entry, modified) && toDosFields(modified) > fields;
}

// Reads file and entry side by side. An entry that cannot be read is not the same: the file takes
// its place.
Outcome compareBytes(SourceFile &file, EntryReader &reader, bool &same) {
    const Loan<Bytes> first;
    const Loan<Bytes> second;
    Bytes &chunk = *first;
    Bytes &stored = *second;
    same = true;
    for (;;) {
        if (auto read = file.read(kChunk, chunk); !read.ok() || chunk.empty())
            return read;
        if (same) {
            stored.resize(chunk.size());
            same = reader.read(stored.data(), stored.size()) &&
                   std::memcmp(stored.data(), chunk.data(), chunk.size()) == 0;
        }
    }
}

// True where a file has its entry's very time and no byte that is not the entry's, but ends early
// or has zeros in the place of some: what a machine leaves that stopped, by a power cut for one,
// before an extracted file's data was on the disk. Whoever edits a file gives it another time.
Outcome looksCutOff(const ComparisonContext &context, SourceFile &file, const Entry &entry,
                    bool &cutOff) {
    const platform::FileInfo &seen = file.version();
    cutOff = lineEndsOf(context.options) == LineEnds::Keep && seen.size <= entry.size &&
             std::abs(seen.modified - context.directory.modified(entry)) < kTimeStep;
    if (!cutOff)
        return {};
    const Loan<Bytes> first;
    const Loan<Bytes> second;
    Bytes &chunk = *first;
    Bytes &stored = *second;
    EntryReader reader(context.archive, context.directory, entry);
    file.rewind();
    for (;;) {
        if (auto read = file.read(kChunk, chunk); !read.ok() || chunk.empty())
            return read;
        stored.resize(chunk.size());
        if (!reader.read(stored.data(), stored.size()))
            std::fill(stored.begin(), stored.end(), std::uint8_t{0});
        cutOff = std::equal(chunk.begin(), chunk.end(), stored.begin(),
                            [](std::uint8_t a, std::uint8_t b) { return a == 0 || a == b; });
        if (!cutOff)
            return {};
    }
}

Outcome compare(const ComparisonContext &context, SourceFile &file, const Task &task, bool &same) {
    const Entry &entry = context.directory.entries()[task.entry];
    same = false;
    if (lineEndsOf(context.options) == LineEnds::Keep && file.version().size != entry.size)
        return {};
    std::uint32_t crc = 0;
    std::uint64_t size = 0;
    auto read = file.measure(crc, size);
    same = read.ok() && size == entry.size && crc == entry.crc;
    if (!same || task.timeTells)
        return read;
    file.rewind();
    EntryReader reader(context.archive, context.directory, entry);
    return compareBytes(file, reader, same);
}

// Whether the options leave a file out that is not in the archive as it is.
Task::Verdict judgeOptions(const ComparisonContext &context, const SourceFile &file, Task &task) {
    const PackOptions &options = context.options;
    const bool held = task.entry != kNoEntry;
    if (options.newerOnly && held &&
        !isNewer(context.directory, context.directory.entries()[task.entry],
                 file.version().modified))
        return Task::Verdict::NotNewer;
    task.attributes = file.attributes();
    if ((task.attributes & kHiddenOrSystem) != 0 && !options.hiddenToo)
        return held ? Task::Verdict::HiddenChanged : Task::Verdict::Hidden;
    return Task::Verdict::Pack;
}

} // namespace

LineEnds lineEndsOf(const PackOptions &options) {
    if (options.crlfToLf)
        return LineEnds::Lf;
    return options.lfToCrlf ? LineEnds::CrLf : LineEnds::Keep;
}

void compareFile(const ComparisonContext &context, FoundFile &found, Task &task) {
    if (task.folder)
        return;
    const PackOptions &options = context.options;
    std::shared_ptr<const platform::OpenFolder> lies;
    // Opening the file by its whole path reports why the folder cannot be opened.
    static_cast<void>(context.folders.get(folderOf(found.path), lies));
    SourceFile file(options.root, found.path, lineEndsOf(options));
    if (lies)
        file.lieIn(lies->folder);
    task.outcome = file.open();
    if (!task.outcome.ok())
        return;
    found.info = file.version();
    found.known = true;
    if (context.archiveInfo != nullptr && sameFile(found.info, *context.archiveInfo)) {
        task.verdict = Task::Verdict::Archive;
        return;
    }
    bool same = false;
    if (task.entry != kNoEntry) {
        const Entry &entry = context.directory.entries()[task.entry];
        task.timeTells = sameTime(context.directory, entry, found.info.modified);
        bool cutOff = false;
        task.outcome = compare(context, file, task, same);
        if (task.outcome.ok() && !same)
            task.outcome = looksCutOff(context, file, entry, cutOff);
        if (!task.outcome.ok())
            return;
        if (cutOff) {
            task.verdict = Task::Verdict::CutOff;
            return;
        }
    }
    // Who asks for encryption wants it for each file that may be packed, whatever its entry holds.
    if (same && !options.encrypt) {
        task.verdict = Task::Verdict::Same;
        return;
    }
    task.verdict = judgeOptions(context, file, task);
    // What the archive holds already stays there, hidden or not.
    if (same && task.verdict != Task::Verdict::Pack)
        task.verdict = Task::Verdict::Same;
}

bool looksEdited(const ComparisonContext &context, const FoundFile &file, const Task &task) {
    const Entry &entry = context.directory.entries()[task.entry];
    std::shared_ptr<const platform::OpenFolder> lies;
    const std::string name(lastComponent(file.path));
    platform::FileInfo now;
    if (!context.folders.get(folderOf(file.path), lies).ok() ||
        !lies->folder.info(name, now, platform::Folder::Links::Follow).ok())
        return true;
    const bool sameSize = lineEndsOf(context.options) != LineEnds::Keep || now.size == entry.size;
    return !sameSize || !sameTime(context.directory, entry, now.modified);
}

} // namespace ziplib

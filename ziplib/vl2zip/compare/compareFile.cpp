#include "ziplib/vl2zip/compare/compareFile.h"

#include "ziplib/codec/entryReader.h"
#include "ziplib/common/objectPool.h"
#include "ziplib/format/dosTime.h"
#include "ziplib/format/localHeader.h"
#include "ziplib/format/names.h"

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

// Reads the entry on, as far as a chunk of its file reaches or until they differ; zeros in the file
// may stand for any byte. Returns how many bytes match: fewer than there are, too, if the entry
// ends or cannot be read.
std::size_t matchingBytes(EntryReader &reader, const Bytes &chunk, bool zerosMatch) {
    std::size_t matched = 0;
    while (matched < chunk.size()) {
        EntryReader::Chunk stored;
        if (!reader.next(stored, chunk.size() - matched).ok() || stored.empty())
            break;
        const std::uint8_t *bytes = chunk.data() + matched;
        const bool match = zerosMatch ? std::equal(stored.begin(), stored.end(), bytes,
                                                   [](auto a, auto b) { return b == 0 || b == a; })
                                      : std::memcmp(stored.data(), bytes, stored.size()) == 0;
        if (!match)
            break;
        matched += stored.size();
    }
    return matched;
}

// Reads file and entry side by side. An entry that cannot be read is not the same: the file
// replaces it.
Outcome compareBytes(SourceFile &file, EntryReader &reader, bool &same) {
    const Loan<Bytes> loan;
    Bytes &chunk = *loan;
    same = true;
    for (;;) {
        if (auto read = file.read(kChunk, chunk); !read.ok() || chunk.empty())
            return read;
        same = same && matchingBytes(reader, chunk, false) == chunk.size();
    }
}

// True where a file has its entry's very time and no byte that is not the entry's, but ends early
// or has zeros in the place of some: what a machine leaves that stopped, by a power cut for one,
// before an extracted file's data was on the disk. Whoever edits a file gives it another time.
Outcome looksCutOff(const ComparisonContext &context, SourceFile &file, std::size_t index,
                    bool &cutOff) {
    const Entry &entry = context.directory.entries()[index];
    const platform::FileInfo &seen = file.version();
    cutOff = lineEndsOf(context.options) == LineEnds::Keep && seen.size <= entry.size &&
             std::abs(seen.modified - context.directory.modified(entry)) < kTimeStep;
    if (!cutOff)
        return {};
    const Loan<Bytes> loan;
    const Loan<Scratch> scratch;
    Bytes &chunk = *loan;
    const Source source{context.archive, context.directory};
    EntryReader reader(source, index, std::nullopt, *scratch);
    file.rewind();
    for (;;) {
        if (auto read = file.read(kChunk, chunk); !read.ok() || chunk.empty())
            return read;
        const std::size_t matched = matchingBytes(reader, chunk, true);
        // Zeros also stand for what cannot be read of the entry.
        cutOff = std::all_of(chunk.begin() + static_cast<std::ptrdiff_t>(matched), chunk.end(),
                             [](auto byte) { return byte == 0; });
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
    const Loan<Scratch> scratch;
    const Source source{context.archive, context.directory};
    EntryReader reader(source, task.entry, std::nullopt, *scratch);
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
    const FolderPool::Use lies(context.folders, folderOf(found.path));
    SourceFile file(options.root, found.path, lineEndsOf(options));
    if (lies.folder() != nullptr)
        file.lieIn(*lies.folder());
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
            task.outcome = looksCutOff(context, file, task.entry, cutOff);
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
    const FolderPool::Use lies(context.folders, folderOf(file.path));
    const std::string name(lastComponent(file.path));
    platform::FileInfo now;
    if (lies.folder() == nullptr ||
        !lies.folder()->info(name, now, platform::Folder::Links::Follow).ok())
        return true;
    const bool sameSize = lineEndsOf(context.options) != LineEnds::Keep || now.size == entry.size;
    return !sameSize || !sameTime(context.directory, entry, now.modified);
}

} // namespace ziplib

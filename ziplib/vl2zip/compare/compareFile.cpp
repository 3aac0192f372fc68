#include "ziplib/vl2zip/compare/compareFile.h"

#include "ziplib/codec/entryReader.h"
#include "ziplib/common/objectPool.h"
#include "ziplib/format/dosTime.h"
#include "ziplib/format/localHeader.h"
#include "ziplib/format/names.h"
#include "ziplib/vl2zip/compare/sourceFile.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace ziplib {

namespace {

using Verdict = Comparison::Verdict;

constexpr std::size_t kChunk = 128U << 10U;
constexpr std::int64_t kSecond = 1'000'000'000;
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

// Compares the bytes of file and entry. An entry that cannot be read counts as different, so that
// the file replaces it.
Status compareBytes(SourceFile &file, EntryReader &reader, bool &same) {
    const PooledObject<Bytes> pooled;
    Bytes &chunk = *pooled;
    same = true;
    for (;;) {
        if (auto read = file.read(kChunk, chunk); !read.ok() || chunk.empty())
            return read;
        same = same && matchingBytes(reader, chunk, false) == chunk.size();
    }
}

// True if a file has exactly its entry's time and only bytes of its entry, but ends early or has
// zeros instead of some. That is the state after a power failure that lost data of an extracted
// file; an edited file has another time.
Status looksCutOff(const ComparisonContext &context, SourceFile &file, std::size_t index,
                   bool &cutOff) {
    const Entry entry = context.directory.entries()[index];
    const platform::FileInfo &seen = file.version();
    cutOff = lineEndsOf(context.options) == LineEnds::Keep && seen.size <= entry.size &&
             std::abs(seen.modified - context.directory.modified(entry)) < kCoarsestTimeStep;
    if (!cutOff)
        return {};
    const PooledObject<Bytes> pooled;
    const PooledObject<Scratch> scratch;
    Bytes &chunk = *pooled;
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

Status compare(const ComparisonContext &context, SourceFile &file, std::size_t index, bool &same) {
    const Entry entry = context.directory.entries()[index];
    same = false;
    if (lineEndsOf(context.options) == LineEnds::Keep && file.version().size != entry.size)
        return {};
    std::uint32_t crc = 0;
    std::uint64_t size = 0;
    auto read = file.measure(crc, size);
    same = read.ok() && size == entry.size && crc == entry.crc;
    if (!same || sameTime(context.directory, entry, file.version().modified))
        return read;
    file.rewind();
    const PooledObject<Scratch> scratch;
    const Source source{context.archive, context.directory};
    EntryReader reader(source, index, std::nullopt, *scratch);
    return compareBytes(file, reader, same);
}

// Decides by the options whether a file is packed, which is new if it has no entry.
Verdict judgeOptions(const ComparisonContext &context, const SourceFile &file,
                     const std::optional<Entry> &entry, std::uint8_t &attributes) {
    const PackOptions &options = context.options;
    if (options.newerOnly && entry && !isNewer(context.directory, *entry, file.version().modified))
        return Verdict::NotNewer;
    attributes = file.attributes();
    if ((attributes & kHiddenOrSystem) != 0 && !options.hiddenToo)
        return entry ? Verdict::HiddenChanged : Verdict::Hidden;
    return Verdict::Pack;
}

// Finds out whether a disputed file has bytes that the archive held at the extraction or later, and
// that are not the user's. Then the archive alone was changed, and its state stays.
Status compareBase(const ComparisonContext &context, SourceFile &file, const Candidate &candidate,
                   FoundFile &found, bool &same) {
    const Base &base = *context.options.base;
    std::optional<BaseVersion> version = base.find(candidate.base);
    if (version && version->written == VL2ZIP_EDITED)
        version.reset();
    const std::optional<BaseVersion> known = base.findKnown(context.scan.extrasOf(candidate).known);
    same = false;
    if (!version && !known)
        return {};
    std::uint64_t size = 0;
    file.rewind();
    std::uint32_t crc = 0;
    auto read = file.measure(crc, size);
    found.setCrc(crc);
    same =
        read.ok() && ((version && version->isOf(size, crc)) || (known && known->isOf(size, crc)));
    return read;
}

// Finds out whether a file has the bytes of one of its twins: it was not edited then, and the entry
// that has its name belongs to another file, which the disk could not hold beside it.
Status compareTwins(const ComparisonContext &context, SourceFile &file, const Candidate &candidate,
                    FoundFile &found, bool &same) {
    const Directory::Entries entries = context.directory.entries();
    const auto hasTwin = [&](auto isTwin) {
        const std::vector<std::uint32_t> &twins = context.scan.extrasOf(candidate).twins;
        return std::any_of(twins.begin(), twins.end(),
                           [&](std::uint32_t twin) { return isTwin(entries[twin]); });
    };
    std::uint64_t size = file.version().size;
    same = false;
    if (lineEndsOf(context.options) != LineEnds::Keep || context.options.encrypt ||
        !hasTwin([&](const Entry &twin) { return twin.size == size; }))
        return {};
    file.rewind();
    std::uint32_t crc = 0;
    auto read = file.measure(crc, size);
    found.setCrc(crc);
    same = read.ok() &&
           hasTwin([&](const Entry &twin) { return twin.size == size && twin.crc == crc; });
    return read;
}

} // namespace

LineEnds lineEndsOf(const PackOptions &options) {
    if (options.crlfToLf)
        return LineEnds::Lf;
    return options.lfToCrlf ? LineEnds::CrLf : LineEnds::Keep;
}

Status compareFile(const ComparisonContext &context, FoundFile &found, const Candidate &candidate,
                   Comparison &result) {
    std::shared_ptr<const platform::OpenFolder> open;
    // Opening the file by its whole path reports why the folder cannot be opened.
    static_cast<void>(context.folders.get(folderOf(found.path), open));
    SourceFile file(context.options.root, std::string(found.path), lineEndsOf(context.options));
    if (open)
        file.setFolder(open->folder);
    file.setIdle(context.idle);
    if (auto opened = file.open(); !opened.ok())
        return opened;
    found.setRead(file.version());
    if (context.archiveInfo != nullptr && sameFile(file.version(), *context.archiveInfo)) {
        result.verdict = Verdict::Archive;
        return {};
    }
    bool same = false;
    bool asExtracted = false;
    bool isTwins = false;
    bool cutOff = false;
    const std::size_t index = candidate.entry;
    std::optional<Entry> entry;
    if (index != kNoEntry)
        entry = context.directory.entries()[index];
    Status compared;
    if (entry)
        compared = compare(context, file, index, same);
    if (compared.ok() && !same && !context.scan.extrasOf(candidate).twins.empty())
        compared = compareTwins(context, file, candidate, found, isTwins);
    if (compared.ok() && isTwins) {
        result.verdict = Verdict::Same;
        found.packed = true;
        return {};
    }
    if (compared.ok() && !same && candidate.disputed)
        compared = compareBase(context, file, candidate, found, asExtracted);
    if (compared.ok() && !same && !asExtracted && entry)
        compared = looksCutOff(context, file, index, cutOff);
    if (!compared.ok())
        return compared;
    if (asExtracted) {
        result.verdict = Verdict::Kept;
        found.packed = true;
        found.outcome = entry ? VL2ZIP_KEPT : VL2ZIP_REMOVED;
        return {};
    }
    // With encryption a file is packed even if its entry, which may be plain, holds its bytes.
    if (cutOff)
        result.verdict = Verdict::CutOff;
    else if (same && !context.options.encrypt)
        result.verdict = Verdict::Same;
    else
        result.verdict = judgeOptions(context, file, entry, result.attributes);
    // A file that the options leave out but the archive holds already stays in the archive.
    if (same && result.verdict != Verdict::Pack)
        result.verdict = Verdict::Same;
    const bool isOpen = candidate.disputed && !candidate.settled && entry;
    if (!same && result.verdict == Verdict::Pack && isOpen)
        result.verdict = Verdict::Conflict;
    if (result.verdict == Verdict::Pack && candidate.obstructed)
        result.verdict = Verdict::Obstructed;
    if (result.verdict == Verdict::Same) {
        found.packed = true;
        found.written = file.findWriter();
        found.setCrc(entry->crc);
    }
    return {};
}

// After a power cut, the disk may hold a file's new size and times, but not its bytes. Such a file
// counts as untouched too: nothing is packed, so the archive keeps what the file has lost.
bool isUntouched(const ComparisonContext &context, FoundFile &found, const Candidate &candidate) {
    if (!context.scan.stampsWrites || candidate.base == kNoVersion || candidate.disputed ||
        candidate.entry == kNoEntry || context.options.encrypt ||
        lineEndsOf(context.options) != LineEnds::Keep)
        return false;
    const BaseVersion base = *context.options.base->find(candidate.base);
    if (!base.timesTell)
        return false;
    std::shared_ptr<const platform::OpenFolder> open;
    platform::FileInfo now;
    if (!context.folders.get(folderOf(found.path), open).ok() ||
        !open->folder.info(std::string(lastComponent(found.path)), now).ok() ||
        now.kind != platform::FileInfo::Kind::File || !base.proves(now) ||
        !context.scan.stampsWritesTo(now))
        return false;
    found.setAsInBase(candidate.base);
    found.packed = true;
    return true;
}

bool looksEdited(const ComparisonContext &context, const FoundFile &file, const Entry &entry) {
    std::shared_ptr<const platform::OpenFolder> open;
    const std::string name(lastComponent(file.path));
    platform::FileInfo now;
    if (!context.folders.get(folderOf(file.path), open).ok() ||
        !open->folder.info(name, now, platform::Folder::Links::Follow).ok())
        return true;
    const bool sameSize = lineEndsOf(context.options) != LineEnds::Keep || now.size == entry.size;
    return !sameSize || !sameTime(context.directory, entry, now.modified);
}

} // namespace ziplib

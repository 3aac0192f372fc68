#include "ziplib/vl2zip/examine.h"

#include "ziplib/container/dostime.h"
#include "ziplib/container/loan.h"
#include "ziplib/container/local.h"
#include "ziplib/container/names.h"
#include "ziplib/vl2zip/entryreader.h"

#include <algorithm>
#include <cstring>

namespace ziplib {

namespace {

constexpr std::size_t kPiece = 128U << 10U;
constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::uint8_t kHiddenOrSystem = platform::attributeHidden | platform::attributeSystem;

bool sameTime(const Directory &directory, const Entry &entry, std::int64_t modified) {
    const std::uint32_t fields = static_cast<std::uint32_t>(entry.date) << 16U | entry.time;
    if (toDosFields(modified) == fields) {
        return true;
    }
    const std::int64_t stored = directory.modified(entry);
    return stored == modified || (stored % kSecond == 0 && stored / kSecond == modified / kSecond);
}

void judgeTimes(const PackOptions &options, const Directory &directory, std::int64_t modified,
                Task &task) {
    const Entry &entry = directory.entries()[task.entry];
    task.timeTells = sameTime(directory, entry, modified);
    const std::uint32_t fields = static_cast<std::uint32_t>(entry.date) << 16U | entry.time;
    if (options.newerOnly && (task.timeTells || toDosFields(modified) <= fields)) {
        task.verdict = Task::Verdict::NotNewer;
    }
}

// Reads the file once; `same` tells whether its size and CRC are the entry's.
Outcome compareCrc(SourceFile &file, const Entry &entry, bool &same) {
    const Loan<Bytes> loan;
    Bytes &piece = *loan;
    std::uint32_t crc = 0;
    std::uint64_t size = 0;
    for (;;) {
        if (auto read = file.read(kPiece, piece); !read.ok()) {
            return read;
        }
        if (piece.empty()) {
            break;
        }
        crc = crc32(crc, piece.data(), piece.size());
        size += piece.size();
    }
    same = size == entry.size && crc == entry.crc;
    return {};
}

// Reads file and entry side by side. An entry that cannot be read is not the same: the file takes
// its place.
Outcome compareBytes(SourceFile &file, EntryReader &reader, bool &same) {
    const Loan<Bytes> first;
    const Loan<Bytes> second;
    Bytes &piece = *first;
    Bytes &stored = *second;
    same = true;
    for (;;) {
        if (auto read = file.read(kPiece, piece); !read.ok() || piece.empty()) {
            return read;
        }
        if (same) {
            stored.resize(piece.size());
            same = reader.read(stored.data(), stored.size()) &&
                   std::memcmp(stored.data(), piece.data(), piece.size()) == 0;
        }
    }
}

// True where a file has its entry's very time and no byte that is not the entry's, but ends early
// or has zeros in the place of some: what a machine leaves that stopped, by a power cut for one,
// before an extracted file's data was on the disk. Whoever edits a file gives it another time.
Outcome looksCutOff(const Examination &examination, SourceFile &file, const Entry &entry,
                    bool &cutOff) {
    const platform::FileInfo &seen = file.version();
    cutOff = lineEndsOf(examination.options) == LineEnds::Keep && seen.size <= entry.size &&
             seen.modified == examination.directory.modified(entry);
    if (!cutOff) {
        return {};
    }
    const Loan<Bytes> first;
    const Loan<Bytes> second;
    Bytes &piece = *first;
    Bytes &stored = *second;
    EntryReader reader(examination.archive, examination.directory, entry);
    file.rewind();
    for (;;) {
        if (auto read = file.read(kPiece, piece); !read.ok() || piece.empty()) {
            return read;
        }
        stored.resize(piece.size());
        if (!reader.read(stored.data(), stored.size())) {
            std::fill(stored.begin(), stored.end(), std::uint8_t{0});
        }
        cutOff = std::equal(piece.begin(), piece.end(), stored.begin(),
                            [](std::uint8_t a, std::uint8_t b) { return a == 0 || a == b; });
        if (!cutOff) {
            return {};
        }
    }
}

Outcome compare(const Examination &examination, SourceFile &file, const Task &task, bool &same) {
    const Entry &entry = examination.directory.entries()[task.entry];
    same = false;
    if (lineEndsOf(examination.options) == LineEnds::Keep && file.version().size != entry.size) {
        return {};
    }
    if (auto read = compareCrc(file, entry, same); !read.ok() || !same || task.timeTells) {
        return read;
    }
    file.rewind();
    EntryReader reader(examination.archive, examination.directory, entry);
    return compareBytes(file, reader, same);
}

} // namespace

LineEnds lineEndsOf(const PackOptions &options) {
    if (options.crlfToLf) {
        return LineEnds::Lf;
    }
    return options.lfToCrlf ? LineEnds::CrLf : LineEnds::Keep;
}

void examine(const Examination &examination, FoundFile &found, Task &task) {
    if (task.folder) {
        return;
    }
    const PackOptions &options = examination.options;
    const FolderPool::Use lies(examination.folders, folderOf(found.path));
    SourceFile file(options.root, found.path, lineEndsOf(options));
    if (lies.folder() != nullptr) {
        file.lieIn(*lies.folder());
    }
    task.outcome = file.open();
    if (!task.outcome.ok()) {
        return;
    }
    found.info = file.version();
    found.known = true;
    task.verdict = Task::Verdict::Pack;
    if (examination.archiveInfo != nullptr && sameFile(found.info, *examination.archiveInfo)) {
        task.verdict = Task::Verdict::Archive;
    } else if (task.entry != kNoEntry) {
        judgeTimes(options, examination.directory, found.info.modified, task);
    }
    // Who asks for encryption wants it for this file, too, whatever its entry holds.
    const bool comparable = task.entry != kNoEntry && !options.encrypt;
    bool same = false;
    if (task.verdict == Task::Verdict::Pack && comparable) {
        task.outcome = compare(examination, file, task, same);
        if (task.outcome.ok() && !same) {
            bool cutOff = false;
            const Entry &entry = examination.directory.entries()[task.entry];
            task.outcome = looksCutOff(examination, file, entry, cutOff);
            task.verdict = cutOff ? Task::Verdict::CutOff : task.verdict;
        }
    }
    if (!task.outcome.ok()) {
        return;
    }
    if (task.verdict != Task::Verdict::Pack) {
        return;
    }
    // What the archive holds already stays there, hidden or not.
    task.attributes = same ? 0 : file.attributes();
    if (same) {
        task.verdict = Task::Verdict::Same;
    } else if ((task.attributes & kHiddenOrSystem) != 0 && !options.hiddenToo) {
        task.verdict = comparable ? Task::Verdict::HiddenChanged : Task::Verdict::Hidden;
    }
}

bool looksEdited(const Examination &examination, const FoundFile &file, const Task &task) {
    const Entry &entry = examination.directory.entries()[task.entry];
    const FolderPool::Use lies(examination.folders, folderOf(file.path));
    const std::string name(lastComponent(file.path));
    platform::FileInfo now;
    if (lies.folder() == nullptr ||
        !lies.folder()->info(name, now, platform::Folder::Links::Follow).ok()) {
        return true;
    }
    const bool sameSize =
        lineEndsOf(examination.options) != LineEnds::Keep || now.size == entry.size;
    return !sameSize || !sameTime(examination.directory, entry, now.modified);
}

} // namespace ziplib

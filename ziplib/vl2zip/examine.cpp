#include "ziplib/vl2zip/examine.h"

#include "ziplib/container/local.h"
#include "ziplib/vl2zip/entryreader.h"

#include <cstring>

namespace ziplib {

namespace {

constexpr std::size_t kPiece = 256U << 10U;
constexpr std::uint8_t kHiddenOrSystem = platform::attributeHidden | platform::attributeSystem;

// Reads the file once; `same` tells whether its size and CRC are the entry's.
Outcome compareCrc(SourceFile &file, const Entry &entry, bool &same) {
    thread_local Bytes piece;
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
    thread_local Bytes piece;
    thread_local Bytes stored;
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

Outcome compare(const Examination &examination, SourceFile &file, const Task &task, bool &same) {
    const Entry &entry = examination.directory.entries()[task.entry];
    same = false;
    if (lineEndsOf(examination.options) == LineEnds::Keep && file.version().size != entry.size) {
        file.skip();
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
        return LineEnds::CrlfToLf;
    }
    return options.lfToCrlf ? LineEnds::LfToCrlf : LineEnds::Keep;
}

void examine(const Examination &examination, FoundFile &found, Task &task) {
    if (task.folder || task.verdict != Task::Verdict::Pack) {
        return;
    }
    const PackOptions &options = examination.options;
    SourceFile file(pathInRoot(options.root, found.path), found.path, lineEndsOf(options));
    bool same = false;
    // Who asks for encryption wants it for this file, too, whatever its entry holds.
    const bool comparable = task.entry != kNoEntry && !options.encrypt;
    task.outcome = readWhole(file, [&]() -> Outcome {
        task.attributes = file.attributes();
        if (comparable) {
            return compare(examination, file, task, same);
        }
        file.skip();
        return {};
    });
    if (!task.outcome.ok()) {
        return;
    }
    found.info = file.version();
    if ((task.attributes & kHiddenOrSystem) != 0 && !options.hiddenToo) {
        const bool changed = comparable && !same;
        task.verdict = changed ? Task::Verdict::HiddenChanged : Task::Verdict::Hidden;
    } else if (same) {
        task.verdict = Task::Verdict::Same;
    }
}

} // namespace ziplib

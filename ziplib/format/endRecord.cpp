#include "ziplib/format/endRecord.h"

#include "ziplib/format/bytes.h"
#include "ziplib/format/records.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace ziplib {

namespace {

using platform::Failure;
using platform::InputFile;
using platform::Status;

// The end of the file, as far back as an end record may start.
struct Tail {
    std::uint64_t start = 0;
    std::vector<std::uint8_t> bytes;
};

// Takes the values of the zip64 record if those of the short one refer to it. Returns the offset of
// the first of these records.
std::uint64_t readEnd64(const InputFile &file, std::uint64_t endOffset, EndRecord &end,
                        std::uint64_t &declared) {
    std::uint8_t locator[kLocator64Size];
    std::size_t got = 0;
    const bool needed = end.count == kZip64Sentinel16 || end.directorySize == kZip64Sentinel ||
                        declared == kZip64Sentinel;
    if (!needed || endOffset < kLocator64Size + kEnd64Size ||
        !file.readAt(endOffset - kLocator64Size, locator, sizeof locator, got).ok() ||
        got != sizeof locator || get32(locator) != kLocator64Signature)
        return endOffset;
    // Data in front of the archive shifts the record; it lies right before its locator then.
    const std::uint64_t beside = endOffset - kLocator64Size - kEnd64Size;
    const std::uint64_t declaredOffset = get64(locator + locatorField::kEnd64Offset);
    for (const std::uint64_t offset : {declaredOffset, beside}) {
        std::uint8_t record[kEnd64Size];
        if (offset > beside || !file.readAt(offset, record, sizeof record, got).ok() ||
            got != sizeof record || get32(record) != kEnd64Signature)
            continue;
        end.count = get64(record + end64Field::kEntries);
        end.countMask = UINT64_MAX;
        end.directorySize = get64(record + end64Field::kDirectorySize);
        declared = get64(record + end64Field::kDirectoryOffset);
        return offset;
    }
    return endOffset;
}

// Finds the directory: right before the end records, or at its declared offset.
bool locateDirectory(const InputFile &file, std::uint64_t endOffset, std::uint64_t declared,
                     EndRecord &end) {
    if (end.directorySize == 0) {
        end.directory = endOffset;
        end.base = declared <= endOffset ? endOffset - declared : 0;
        return end.count == 0;
    }
    if (end.directorySize <= endOffset) {
        const std::uint64_t beside = endOffset - end.directorySize;
        if (declared <= beside && hasSignature(file, beside, kCentralSignature)) {
            end.directory = beside;
            end.base = beside - declared;
            return true;
        }
    }
    end.directory = declared;
    end.base = 0;
    return declared <= endOffset && end.directorySize <= endOffset - declared &&
           hasSignature(file, declared, kCentralSignature);
}

// Offsets may count from the start of the file although data lies in front of the archive.
void settleBase(const InputFile &file, EndRecord &end) {
    std::uint8_t record[kCentralSize];
    std::size_t got = 0;
    if (end.base == 0 || end.directorySize == 0 ||
        !file.readAt(end.directory, record, sizeof record, got).ok() || got != sizeof record)
        return;
    const std::uint64_t offset = get32(record + centralField::kLocalOffset);
    if (offset != kZip64Sentinel && !hasSignature(file, end.base + offset, kLocalSignature) &&
        hasSignature(file, offset, kLocalSignature))
        end.base = 0;
}

// Reads the candidate at `at` in the tail. Nothing if it describes no directory of this file.
std::optional<EndRecord> readCandidate(const InputFile &file, const Tail &tail, std::size_t at) {
    const std::uint8_t *record = tail.bytes.data() + at;
    const std::size_t following = tail.bytes.size() - at - kEndSize;
    const std::size_t commentSize = get16(record + endField::kCommentLength);
    EndRecord end;
    end.count = get16(record + endField::kEntries);
    end.directorySize = get32(record + endField::kDirectorySize);
    std::uint64_t declared = get32(record + endField::kDirectoryOffset);
    const std::uint64_t endOffset = readEnd64(file, tail.start + at, end, declared);
    if (!locateDirectory(file, endOffset, declared, end))
        return std::nullopt;
    settleBase(file, end);
    end.commentCut = commentSize > following;
    end.trailing = end.commentCut ? 0 : following - commentSize;
    end.comment.assign(reinterpret_cast<const char *>(record + kEndSize),
                       std::min(commentSize, following));
    return end;
}

// Of two candidates, the one of the smaller rank is taken, and the earlier one of equals.
int rank(const EndRecord &end) {
    const bool exact = end.trailing == 0 && !end.commentCut;
    const bool inFront = end.base != 0;
    return (exact ? 0 : 2) + (inFront ? 1 : 0);
}

Status readTail(const InputFile &file, std::uint64_t fileSize, Tail &tail) {
    const std::uint64_t size = std::min<std::uint64_t>(fileSize, kEndSize + kZip64Sentinel16);
    tail.start = fileSize - size;
    tail.bytes.resize(static_cast<std::size_t>(size));
    std::size_t got = 0;
    Status status = file.readAt(tail.start, tail.bytes.data(), tail.bytes.size(), got);
    if (status.ok() && got != tail.bytes.size())
        return {Failure::EndsEarly, file.path() + " is being shortened", file.path()};
    return status;
}

} // namespace

Status findEndRecord(const InputFile &file, std::uint64_t fileSize, EndRecord &end) {
    Tail tail;
    if (Status status = readTail(file, fileSize, tail); !status.ok())
        return status;
    std::optional<EndRecord> best;
    bool seen = false;
    // A crafted file may hold thousands of end records; real ones hold one or two.
    int tries = 256;
    for (std::size_t at = tail.bytes.size(); at-- > 0 && tries > 0;) {
        if (tail.bytes[at] != 'P' || tail.bytes.size() - at < kEndSize ||
            get32(tail.bytes.data() + at) != kEndSignature)
            continue;
        seen = true;
        --tries;
        std::optional<EndRecord> found = readCandidate(file, tail, at);
        if (found && (!best || rank(*found) <= rank(*best)))
            best = std::move(found);
    }
    if (best) {
        end = std::move(*best);
        return {};
    }
    if (seen)
        return {Failure::Damaged, file.path() + " has a damaged directory", file.path()};
    if (hasSignature(file, 0, kLocalSignature)) {
        return {Failure::EndsEarly, file.path() + " ends early: its directory is missing",
                file.path()};
    }
    return {Failure::WrongFormat, file.path() + " is not a zip archive", file.path()};
}

} // namespace ziplib

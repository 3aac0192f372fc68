#include "ziplib/format/records.h"

#include "storage/storage.h"
#include "ziplib/format/bytes.h"

#include <algorithm>

namespace ziplib {

namespace {

constexpr std::uint16_t kVersionStored = 10;
constexpr std::uint16_t kVersionDeflated = 20;
constexpr std::uint16_t kVersion64 = 45;
constexpr std::uint16_t kMadeByDos = 20; // version 2.0, on a DOS file system
constexpr std::uint16_t kValue64 = 8;    // bytes of one value in a zip64 extra field
constexpr std::uint16_t kLocal64 = 2 * kValue64;

const std::uint8_t *bytesOf(std::string_view text) {
    return reinterpret_cast<const std::uint8_t *>(text.data());
}

void append(std::string &out, const std::uint8_t *bytes, std::size_t size) {
    out.append(reinterpret_cast<const char *>(bytes), size);
}

void append64(std::string &out, std::uint64_t value) {
    std::uint8_t bytes[kValue64];
    put64(bytes, value);
    append(out, bytes, sizeof bytes);
}

void appendExtra64(std::string &out, std::string_view values) {
    std::uint8_t head[kExtraHead];
    put16(head, kExtraZip64);
    put16(head + 2, static_cast<std::uint16_t>(values.size()));
    append(out, head, sizeof head);
    out += values;
}

bool needs64(std::uint64_t value) {
    return value >= kZip64Sentinel;
}

std::uint32_t narrow(std::uint64_t value) {
    return needs64(value) ? kZip64Sentinel : static_cast<std::uint32_t>(value);
}

std::uint16_t versionNeeded(const WrittenEntry &entry, bool zip64) {
    if (zip64)
        return kVersion64;
    const bool plain = entry.method == kMethodStored && (entry.flags & kFlagEncrypted) == 0;
    return plain ? kVersionStored : kVersionDeflated;
}

// Writes the fields that both records of an entry have, but for the sizes.
void putCommon(std::uint8_t *fields, const WrittenEntry &entry, bool zip64,
               std::size_t extraLength) {
    put16(fields + commonField::kVersionNeeded, versionNeeded(entry, zip64));
    put16(fields + commonField::kFlags, entry.flags);
    put16(fields + commonField::kMethod, entry.method);
    put16(fields + commonField::kTime, entry.dosTime);
    put16(fields + commonField::kDate, entry.dosDate);
    put32(fields + commonField::kCrc, entry.crc);
    put16(fields + commonField::kNameLength, static_cast<std::uint16_t>(entry.name.size()));
    put16(fields + commonField::kExtraLength, static_cast<std::uint16_t>(extraLength));
}

void putSizes(std::uint8_t *fields, std::uint32_t compressedSize, std::uint32_t size) {
    put32(fields + commonField::kCompressedSize, compressedSize);
    put32(fields + commonField::kSize, size);
}

} // namespace

const char *methodName(std::uint16_t method) {
    struct Row {
        std::uint16_t method;
        const char *name;
    };
    constexpr Row kNames[] = {
        {kMethodStored, "Stored"},
        {1, "Shrunk"},
        {2, "Reduced"},
        {3, "Reduced"},
        {4, "Reduced"},
        {5, "Reduced"},
        {6, "Imploded"},
        {kMethodDeflated, "Deflated"},
        {9, "Deflate64"},
        {12, "BZip2"},
        {14, "LZMA"},
        {93, "Zstandard"},
        {95, "XZ"},
        {98, "PPMd"},
        {99, "AES"},
    };
    const auto *row = std::find_if(std::begin(kNames), std::end(kNames),
                                   [method](const Row &r) { return r.method == method; });
    return row == std::end(kNames) ? "Unknown" : row->name;
}

bool hasSignature(const platform::InputFile &file, std::uint64_t offset, std::uint32_t signature) {
    std::uint8_t bytes[4];
    std::size_t got = 0;
    return file.readAt(offset, bytes, sizeof bytes, got).ok() && got == sizeof bytes &&
           get32(bytes) == signature;
}

std::string_view findExtra(std::string_view extra, std::uint16_t kind) {
    while (extra.size() >= kExtraHead) {
        const std::uint8_t *head = bytesOf(extra);
        const std::size_t size = get16(head + 2);
        if (size > extra.size() - kExtraHead)
            break;
        if (get16(head) == kind)
            return extra.substr(kExtraHead, size);
        extra.remove_prefix(kExtraHead + size);
    }
    return {};
}

void applyZip64(std::string_view extra, std::initializer_list<std::uint64_t *> values) {
    std::string_view field = findExtra(extra, kExtraZip64);
    for (std::uint64_t *value : values) {
        if (*value == kZip64Sentinel && field.size() >= kValue64) {
            *value = get64(bytesOf(field));
            field.remove_prefix(kValue64);
        }
    }
}

std::size_t localHeaderSize(const std::uint8_t *header) {
    const std::uint8_t *fields = header + kLocalCommon;
    return kLocalSize + get16(fields + commonField::kNameLength) +
           std::size_t{get16(fields + commonField::kExtraLength)};
}

std::size_t WrittenEntry::localSize() const {
    return kLocalSize + name.size() + (zip64 ? kExtraHead + kLocal64 : 0);
}

void appendLocal(std::string &out, const WrittenEntry &entry) {
    std::uint8_t head[kLocalSize] = {};
    std::uint8_t *fields = head + kLocalCommon;
    put32(head, kLocalSignature);
    putCommon(fields, entry, entry.zip64, entry.zip64 ? kExtraHead + kLocal64 : 0);
    if (entry.zip64)
        putSizes(fields, kZip64Sentinel, kZip64Sentinel);
    else
        putSizes(fields, static_cast<std::uint32_t>(entry.compressedSize),
                 static_cast<std::uint32_t>(entry.size));
    append(out, head, sizeof head);
    out += entry.name;
    if (entry.zip64) {
        std::string values;
        append64(values, entry.size);
        append64(values, entry.compressedSize);
        appendExtra64(out, values);
    }
}

void appendCentral(std::string &out, const WrittenEntry &entry) {
    std::string values;
    for (const std::uint64_t value : {entry.size, entry.compressedSize, entry.offset})
        if (needs64(value))
            append64(values, value);
    std::uint8_t record[kCentralSize] = {};
    std::uint8_t *fields = record + kCentralCommon;
    put32(record, kCentralSignature);
    put16(record + centralField::kMadeBy, kMadeByDos);
    putCommon(fields, entry, entry.zip64 || !values.empty(),
              values.empty() ? 0 : kExtraHead + values.size());
    putSizes(fields, narrow(entry.compressedSize), narrow(entry.size));
    put16(record + centralField::kCommentLength, static_cast<std::uint16_t>(entry.comment.size()));
    put16(record + centralField::kInternalAttributes, entry.text ? kInternalText : 0);
    put32(record + centralField::kExternalAttributes, entry.attributes);
    put32(record + centralField::kLocalOffset, narrow(entry.offset));
    append(out, record, sizeof record);
    out += entry.name;
    if (!values.empty())
        appendExtra64(out, values);
    out += entry.comment;
}

void appendKept(std::string &out, std::string_view raw, std::uint64_t offset) {
    const std::size_t start = out.size();
    out += raw;
    auto *record = reinterpret_cast<std::uint8_t *>(out.data() + start);
    std::uint8_t *fields = record + kCentralCommon;
    const std::size_t nameEnd = start + kCentralSize + get16(fields + commonField::kNameLength);
    const std::uint16_t extraLength = get16(fields + commonField::kExtraLength);
    const std::string_view values =
        findExtra(std::string_view(out).substr(nameEnd, extraLength), kExtraZip64);
    const std::size_t valuesAt =
        values.empty() ? 0 : static_cast<std::size_t>(values.data() - out.data());
    // The values before the offset: those of the sizes that are sentinels.
    const std::size_t before =
        (get32(fields + commonField::kSize) == kZip64Sentinel ? kValue64 : 0U) +
        (get32(fields + commonField::kCompressedSize) == kZip64Sentinel ? kValue64 : 0U);
    if (get32(record + centralField::kLocalOffset) == kZip64Sentinel &&
        values.size() >= before + kValue64) {
        put64(reinterpret_cast<std::uint8_t *>(out.data() + valuesAt + before), offset);
        return;
    }
    put32(record + centralField::kLocalOffset, narrow(offset));
    if (!needs64(offset))
        return;
    // The entry moved beyond what 32 bits hold: its record gains the value.
    put16(fields + commonField::kVersionNeeded,
          std::max(get16(fields + commonField::kVersionNeeded), kVersion64));
    std::string added;
    append64(added, offset);
    if (values.empty()) {
        std::string field;
        appendExtra64(field, added);
        added.swap(field);
    }
    put16(fields + commonField::kExtraLength,
          static_cast<std::uint16_t>(extraLength + added.size()));
    if (values.empty()) {
        out.insert(nameEnd, added);
        return;
    }
    put16(reinterpret_cast<std::uint8_t *>(out.data() + valuesAt - 2),
          static_cast<std::uint16_t>(values.size() + kValue64));
    out.insert(valuesAt + std::min(before, values.size()), added);
}

void appendEnd(std::string &out, const CentralDirectory &directory, std::string_view comment) {
    if (directory.entries >= kZip64Sentinel16 || needs64(directory.offset) ||
        needs64(directory.size)) {
        std::uint8_t record[kEnd64Size + kLocator64Size] = {};
        put32(record, kEnd64Signature);
        put64(record + end64Field::kRecordSize, kEnd64Size - end64Field::kMadeBy);
        put16(record + end64Field::kMadeBy, kVersion64);
        put16(record + end64Field::kVersionNeeded, kVersion64);
        put64(record + end64Field::kEntriesHere, directory.entries);
        put64(record + end64Field::kEntries, directory.entries);
        put64(record + end64Field::kDirectorySize, directory.size);
        put64(record + end64Field::kDirectoryOffset, directory.offset);
        std::uint8_t *locator = record + kEnd64Size;
        put32(locator, kLocator64Signature);
        put64(locator + locatorField::kEnd64Offset, directory.offset + directory.size);
        put32(locator + locatorField::kDisks, 1);
        append(out, record, sizeof record);
    }
    const auto entries =
        static_cast<std::uint16_t>(std::min<std::uint64_t>(directory.entries, kZip64Sentinel16));
    std::uint8_t record[kEndSize] = {};
    put32(record, kEndSignature);
    put16(record + endField::kEntriesHere, entries);
    put16(record + endField::kEntries, entries);
    put32(record + endField::kDirectorySize, narrow(directory.size));
    put32(record + endField::kDirectoryOffset, narrow(directory.offset));
    put16(record + endField::kCommentLength, static_cast<std::uint16_t>(comment.size()));
    append(out, record, sizeof record);
    out += comment;
}

} // namespace ziplib

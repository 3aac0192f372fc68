#include "ziplib/vl2zip/write/records.h"

#include "ziplib/format/bytes.h"
#include "ziplib/format/directory.h"

#include <algorithm>

namespace ziplib {

namespace {

constexpr std::uint16_t kVersionStored = 10;
constexpr std::uint16_t kVersionDeflated = 20;
constexpr std::uint16_t kVersion64 = 45;
constexpr std::uint16_t kMadeBy = 20; // version 2.0, on a DOS file system

void add16(std::string &out, std::uint16_t value) {
    std::uint8_t bytes[2];
    put16(bytes, value);
    out.append(reinterpret_cast<const char *>(bytes), sizeof bytes);
}

void add32(std::string &out, std::uint32_t value) {
    std::uint8_t bytes[4];
    put32(bytes, value);
    out.append(reinterpret_cast<const char *>(bytes), sizeof bytes);
}

void add64(std::string &out, std::uint64_t value) {
    std::uint8_t bytes[8];
    put64(bytes, value);
    out.append(reinterpret_cast<const char *>(bytes), sizeof bytes);
}

bool needs64(std::uint64_t value) {
    return value >= kZip64Sentinel;
}

std::uint32_t narrow(std::uint64_t value) {
    return needs64(value) ? kZip64Sentinel : static_cast<std::uint32_t>(value);
}

std::uint16_t versionNeeded(const WrittenEntry &entry, bool wide) {
    if (wide)
        return kVersion64;
    const bool plain = entry.method == kMethodStored && (entry.flags & kFlagEncrypted) == 0;
    return plain ? kVersionStored : kVersionDeflated;
}

// Where a record's 64-bit fields begin, and how long they are; length 0 where it has none.
struct Extra {
    std::size_t start = 0;
    std::size_t length = 0;
};

Extra find64(const std::uint8_t *record, std::size_t begin, std::size_t end) {
    while (begin + 4 <= end) {
        const std::size_t length = get16(record + begin + 2);
        if (begin + 4 + length > end)
            break;
        if (get16(record + begin) == kExtraZip64)
            return {begin + 4, length};
        begin += 4 + length;
    }
    return {};
}

} // namespace

std::size_t WrittenEntry::localSize() const {
    return kLocalSize + name.size() + (wide ? 20 : 0);
}

void appendLocal(std::string &out, const WrittenEntry &entry) {
    add32(out, kLocalSignature);
    add16(out, versionNeeded(entry, entry.wide));
    add16(out, entry.flags);
    add16(out, entry.method);
    add16(out, entry.dosTime);
    add16(out, entry.dosDate);
    add32(out, entry.crc);
    add32(out, entry.wide ? kZip64Sentinel : static_cast<std::uint32_t>(entry.packed));
    add32(out, entry.wide ? kZip64Sentinel : static_cast<std::uint32_t>(entry.size));
    add16(out, static_cast<std::uint16_t>(entry.name.size()));
    add16(out, entry.wide ? 20 : 0);
    out += entry.name;
    if (entry.wide) {
        add16(out, kExtraZip64);
        add16(out, 16);
        add64(out, entry.size);
        add64(out, entry.packed);
    }
}

void appendCentral(std::string &out, const WrittenEntry &entry) {
    std::string extra;
    for (const std::uint64_t value : {entry.size, entry.packed, entry.offset})
        if (needs64(value))
            add64(extra, value);
    add32(out, kCentralSignature);
    add16(out, kMadeBy);
    add16(out, versionNeeded(entry, entry.wide || !extra.empty()));
    add16(out, entry.flags);
    add16(out, entry.method);
    add16(out, entry.dosTime);
    add16(out, entry.dosDate);
    add32(out, entry.crc);
    add32(out, narrow(entry.packed));
    add32(out, narrow(entry.size));
    add16(out, static_cast<std::uint16_t>(entry.name.size()));
    add16(out, static_cast<std::uint16_t>(extra.empty() ? 0 : extra.size() + 4));
    add16(out, static_cast<std::uint16_t>(entry.comment.size()));
    add16(out, 0); // disk
    add16(out, entry.text ? kInternalText : 0);
    add32(out, entry.attributes);
    add32(out, narrow(entry.offset));
    out += entry.name;
    if (!extra.empty()) {
        add16(out, kExtraZip64);
        add16(out, static_cast<std::uint16_t>(extra.size()));
        out += extra;
    }
    out += entry.comment;
}

void appendKept(std::string &out, std::string_view raw, std::uint64_t offset) {
    const std::size_t start = out.size();
    out += raw;
    auto *record = reinterpret_cast<std::uint8_t *>(out.data() + start);
    const std::size_t nameEnd = kCentralSize + get16(record + 28);
    const std::size_t extraEnd = nameEnd + get16(record + 30);
    const Extra wide = find64(record, nameEnd, extraEnd);
    // The 64-bit fields that are present, in their fixed order: size, packed size, offset.
    const std::size_t before = (get32(record + 24) == kZip64Sentinel ? 8U : 0U) +
                               (get32(record + 20) == kZip64Sentinel ? 8U : 0U);
    if (get32(record + 42) == kZip64Sentinel && wide.length >= before + 8) {
        put64(record + wide.start + before, offset);
        return;
    }
    put32(record + 42, narrow(offset));
    if (!needs64(offset))
        return;
    // The entry moved beyond what 32 bits hold: its record gains the field.
    put16(record + 6, std::max(get16(record + 6), kVersion64));
    std::string field;
    add64(field, offset);
    if (wide.length == 0) {
        std::string block;
        add16(block, kExtraZip64);
        add16(block, 8);
        block += field;
        put16(record + 30, static_cast<std::uint16_t>(get16(record + 30) + block.size()));
        out.insert(start + nameEnd, block);
        return;
    }
    put16(record + 30, static_cast<std::uint16_t>(get16(record + 30) + 8));
    put16(record + wide.start - 2, static_cast<std::uint16_t>(wide.length + 8));
    out.insert(start + wide.start + std::min(before, wide.length), field);
}

void appendEnd(std::string &out, const DirectoryPlace &place, std::string_view comment) {
    if (place.entries >= kZip64Sentinel16 || needs64(place.offset) || needs64(place.size)) {
        add32(out, kEnd64Signature);
        add64(out, 44); // what follows in this record
        add16(out, kVersion64);
        add16(out, kVersion64);
        add32(out, 0);
        add32(out, 0);
        add64(out, place.entries);
        add64(out, place.entries);
        add64(out, place.size);
        add64(out, place.offset);
        add32(out, kLocator64Signature);
        add32(out, 0);
        add64(out, place.offset + place.size);
        add32(out, 1);
    }
    const auto entries =
        static_cast<std::uint16_t>(std::min<std::uint64_t>(place.entries, kZip64Sentinel16));
    add32(out, kEndSignature);
    add16(out, 0);
    add16(out, 0);
    add16(out, entries);
    add16(out, entries);
    add32(out, narrow(place.size));
    add32(out, narrow(place.offset));
    add16(out, static_cast<std::uint16_t>(comment.size()));
    out += comment;
}

} // namespace ziplib

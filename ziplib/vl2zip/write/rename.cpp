#include "ziplib/vl2zip/write/rename.h"

#include "storage/utf8.h"
#include "ziplib/common/buffer.h"
#include "ziplib/format/bytes.h"
#include "ziplib/format/localHeader.h"

namespace ziplib {

namespace {

// The extra field for a name in UTF-8.
constexpr std::uint16_t kExtraUnicodePath = 0x7075;

std::string withoutOldName(std::string_view extra) {
    const std::string_view field = findExtra(extra, kExtraUnicodePath);
    if (field.empty())
        return std::string(extra);
    const auto at = static_cast<std::size_t>(field.data() - extra.data()) - kExtraHead;
    std::string kept(extra);
    return kept.erase(at, kExtraHead + field.size());
}

// A record with another name: its fixed part of `size` bytes, name, extra field and what follows.
std::string withName(std::string_view raw, std::size_t size, std::size_t common,
                     std::string_view name) {
    std::string record(raw.substr(0, size));
    auto *fields = reinterpret_cast<std::uint8_t *>(record.data()) + common;
    const std::size_t nameLength = get16(fields + commonField::kNameLength);
    const std::size_t extraLength = get16(fields + commonField::kExtraLength);
    const std::string extra = withoutOldName(raw.substr(size + nameLength, extraLength));
    put16(fields + commonField::kNameLength, static_cast<std::uint16_t>(name.size()));
    put16(fields + commonField::kExtraLength, static_cast<std::uint16_t>(extra.size()));
    if (!platform::isAscii(name))
        put16(fields + commonField::kFlags,
              static_cast<std::uint16_t>(get16(fields + commonField::kFlags) | kFlagUtf8));
    record.append(name).append(extra);
    return record.append(raw.substr(size + nameLength + extraLength));
}

} // namespace

Status renameEntry(const platform::InputFile &archive, const Directory &directory,
                   const Entry &entry, std::string_view name, RenamedEntry &renamed) {
    std::uint64_t data = 0;
    if (auto located = failure(locateData(archive, directory, entry, data), Failure::Damaged);
        !located.ok())
        return {located.kind, archive.path() + ": " + located.message};
    renamed.oldHeader = data - entry.localOffset;
    std::string header(static_cast<std::size_t>(renamed.oldHeader), '\0');
    std::size_t got = 0;
    if (auto read = archive.readAt(entry.localOffset, header.data(), header.size(), got);
        !read.ok() || got != header.size())
        return {Failure::EndsEarly, archive.path() + ": " + directory.path(entry) + " is cut off"};
    renamed.header = withName(header, kLocalSize, kLocalCommon, name);
    renamed.record = withName(directory.record(entry), kCentralSize, kCentralCommon, name);
    return {};
}

} // namespace ziplib

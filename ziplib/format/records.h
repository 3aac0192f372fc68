#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace platform {
class InputFile;
}

// The records of a zip archive: signatures, sizes, field offsets, extra fields, and writing them.
namespace ziplib {

constexpr std::uint32_t kLocalSignature = 0x04034B50;
constexpr std::uint32_t kCentralSignature = 0x02014B50;
constexpr std::uint32_t kDigitalSignature = 0x05054B50;
constexpr std::uint32_t kEndSignature = 0x06054B50;
constexpr std::uint32_t kEnd64Signature = 0x06064B50;
constexpr std::uint32_t kLocator64Signature = 0x07064B50;

constexpr std::size_t kLocalSize = 30;
constexpr std::size_t kCentralSize = 46;
constexpr std::size_t kEndSize = 22;
constexpr std::size_t kEnd64Size = 56;
constexpr std::size_t kLocator64Size = 20;

// Ten fields, from "version needed" to the length of the extra field, are the same in a local file
// header and in a central directory record: where they start in each, and their offsets from there.
constexpr std::size_t kLocalCommon = 4;
constexpr std::size_t kCentralCommon = 6;
namespace commonField {
constexpr std::size_t kVersionNeeded = 0;
constexpr std::size_t kFlags = 2;
constexpr std::size_t kMethod = 4;
constexpr std::size_t kTime = 6;
constexpr std::size_t kDate = 8;
constexpr std::size_t kCrc = 10;
constexpr std::size_t kCompressedSize = 14;
constexpr std::size_t kSize = 18;
constexpr std::size_t kNameLength = 22;
constexpr std::size_t kExtraLength = 24;
} // namespace commonField

// Offsets of the other fields of a central directory record.
namespace centralField {
constexpr std::size_t kMadeBy = 4;
constexpr std::size_t kCommentLength = 32;
constexpr std::size_t kInternalAttributes = 36;
constexpr std::size_t kExternalAttributes = 38;
constexpr std::size_t kLocalOffset = 42;
} // namespace centralField

// Offsets in the end of central directory record, the zip64 one and its locator.
namespace endField {
constexpr std::size_t kEntriesHere = 8; // on this disk; archives of one disk only
constexpr std::size_t kEntries = 10;
constexpr std::size_t kDirectorySize = 12;
constexpr std::size_t kDirectoryOffset = 16;
constexpr std::size_t kCommentLength = 20;
} // namespace endField
namespace end64Field {
constexpr std::size_t kRecordSize = 4; // of what follows this field
constexpr std::size_t kMadeBy = 12;
constexpr std::size_t kVersionNeeded = 14;
constexpr std::size_t kEntriesHere = 24;
constexpr std::size_t kEntries = 32;
constexpr std::size_t kDirectorySize = 40;
constexpr std::size_t kDirectoryOffset = 48;
} // namespace end64Field
namespace locatorField {
constexpr std::size_t kEnd64Offset = 8;
constexpr std::size_t kDisks = 16;
} // namespace locatorField

// Values that mean "see the zip64 field".
constexpr std::uint32_t kZip64Sentinel = 0xFFFFFFFF;
constexpr std::uint16_t kZip64Sentinel16 = 0xFFFF;

// Compression methods, bits of the general purpose flag and of the attributes.
constexpr std::uint16_t kMethodStored = 0;
constexpr std::uint16_t kMethodDeflated = 8;
constexpr std::uint16_t kFlagEncrypted = 0x0001;
constexpr std::uint16_t kFlagDescriptor = 0x0008;
constexpr std::uint16_t kFlagStrongEncryption = 0x0040;
constexpr std::uint16_t kFlagUtf8 = 0x0800;
constexpr std::uint16_t kInternalText = 0x0001;
constexpr std::uint32_t kExternalFolder = 0x10;

constexpr std::uint16_t kExtraZip64 = 0x0001;
constexpr std::uint16_t kExtraNtfs = 0x000A;
constexpr std::uint16_t kExtraTimestamp = 0x5455;
// Bytes before the data of each extra field: its kind and its size.
constexpr std::size_t kExtraHead = 4;

// The name of a method for listings: "Stored", "Deflated", ...; "Unknown" for one without a name.
const char *methodName(std::uint16_t method);

// True if the four bytes at `offset` can be read and are this signature.
bool hasSignature(const platform::InputFile &file, std::uint64_t offset, std::uint32_t signature);

// The data of the first extra field of a kind; empty if there is none.
std::string_view findExtra(std::string_view extra, std::uint16_t kind);

// Replaces each value that is the sentinel by the next one of the zip64 extra field, which holds
// only those, in this order. A value that the field lacks stays as it is.
void applyZip64(std::string_view extra, std::initializer_list<std::uint64_t *> values);

// Size of a local file header, its name and extra field included. `header` has kLocalSize bytes.
std::size_t localHeaderSize(const std::uint8_t *header);

// An entry for which records are written.
struct WrittenEntry {
    std::string_view name;    // as stored; whoever describes the entry owns both texts
    std::string_view comment; // as stored
    std::uint16_t flags = 0;
    std::uint16_t method = kMethodStored;
    std::uint16_t dosTime = 0;
    std::uint16_t dosDate = 0;
    std::uint32_t crc = 0;
    std::uint64_t compressedSize = 0; // includes the encryption header
    std::uint64_t size = 0;           // of the file
    bool text = false;                // is marked as text
    std::uint32_t attributes = 0;     // external, in the DOS format
    std::uint64_t offset = 0;         // of its local header, from the archive's base
    bool zip64 = false;               // its local header holds 64-bit sizes

    // Size of the local header. Does not depend on what is known only after compression.
    std::size_t localSize() const;
};

void appendLocal(std::string &out, const WrittenEntry &entry);
void appendCentral(std::string &out, const WrittenEntry &entry);

// Appends the central directory record of a kept entry, unchanged except for the offset.
void appendKept(std::string &out, std::string_view raw, std::uint64_t offset);

// Where the central directory lies. The offset is from the archive's base.
struct CentralDirectory {
    std::uint64_t entries = 0;
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

// Appends the end of central directory record, after the zip64 ones if the numbers need them.
void appendEnd(std::string &out, const CentralDirectory &directory, std::string_view comment);

} // namespace ziplib

#pragma once

#include "ziplib/format/records.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// The container's records as this library writes them.
namespace ziplib {

// An entry that is written anew.
struct WrittenEntry {
    std::string name;    // as stored
    std::string comment; // as stored
    std::uint16_t flags = 0;
    std::uint16_t method = kMethodStored;
    std::uint16_t dosTime = 0;
    std::uint16_t dosDate = 0;
    std::uint32_t crc = 0;
    std::uint64_t packed = 0; // bytes in the archive, the encryption header with them
    std::uint64_t size = 0;   // bytes of the file
    bool text = false;        // is marked as a text
    std::uint32_t attributes = 0;
    std::uint64_t offset = 0; // of its local header, from the archive's base
    bool wide = false;        // its local header holds 64-bit sizes

    // Length of the local header, which does not depend on what is known only after packing.
    std::size_t localSize() const;
};

void appendLocal(std::string &out, const WrittenEntry &entry);
void appendCentral(std::string &out, const WrittenEntry &entry);

// Appends the central record of a kept entry, every byte as it was but for the offset.
void appendKept(std::string &out, std::string_view raw, std::uint64_t offset);

// Where the central directory lies. Offsets are from the archive's base.
struct DirectoryPlace {
    std::uint64_t entries = 0;
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

// Appends the end record, with the 64-bit ones before it where the numbers ask for them.
void appendEnd(std::string &out, const DirectoryPlace &place, std::string_view comment);

} // namespace ziplib

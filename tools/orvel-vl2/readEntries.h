#pragma once

#include "tools/orvel-vl2/archive.h"
#include "ziplib/codec/entryReader.h"

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace vl2 {

// An entry of an archive that is open for reading.
struct EntryOf {
    const Archive *archive = nullptr;
    std::size_t index = 0;

    ziplib::Entry entry() const { return archive->directory.entries()[index]; }
    std::string path() const { return archive->directory.path(entry()); }
};

// Reads entries on several threads. `work` receives a reader for an entry on any thread; what it
// returns is passed to `take` on the caller's thread, in order. After an interrupt it throws
// Failed.
void readEntries(
    const std::string &progress, const std::vector<EntryOf> &entries,
    const std::function<platform::Status(std::size_t i, ziplib::EntryReader &reader)> &work,
    const std::function<void(std::size_t i, const platform::Status &status)> &take);

// Reads all of an entry, which checks its size and CRC.
platform::Status readThrough(ziplib::EntryReader &reader);
// Appends all of an entry to `text`.
platform::Status readAll(ziplib::EntryReader &reader, std::string &text);
// Reads one entry by itself.
platform::Status readAll(const EntryOf &entry, std::string &text);

// A message about an entry: archive and reason.
std::string entryMessage(const Archive &archive, const platform::Status &status);

} // namespace vl2

#pragma once

#include "ziplib/vl2zip/select/candidate.h"
#include "ziplib/vl2zip/select/entryPaths.h"
#include "ziplib/vl2zip/select/options.h"
#include "ziplib/vl2zip/select/scan.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// Decides which file of the folder stands for which entry of the archive.
namespace ziplib {

class Selection;

// The longest name that the game can read, in bytes.
inline constexpr std::size_t kLongestName = 209;

// Why an entry with a new name cannot be added; "" if it can. Every reader must extract it under
// the same name.
std::string reasonAgainstName(std::string_view path);

// The same for all spellings of a path in upper and lower case, and cheaper than foldCase. Others
// may have it too.
std::uint64_t hashWithoutCase(std::string_view path);

// Finds the candidates among the selected files, sorted by path. A file replaces the last entry of
// its exact path. If there is none, it replaces the only entry whose path differs in case only,
// unless the folder holds another file for that entry. Otherwise it is new. Entries without a file
// whose paths differ in case only are noted as its twins. A new name that some
// reader or the game does not support yields no candidate but a line in the scan's `leftOut`. If
// folders get entries, the candidates of those that are selected or hold a selected file come last.
// Fails if two files would have the same path. Calls `idle` often.
Status findCandidates(const PackOptions &options, Selection &selection, Scan &scan,
                      const EntryPaths &entries, const std::function<void()> &idle,
                      std::vector<Candidate> &candidates);

// Marks the candidates that are obstructed. Calls `idle` often.
void markObstructed(const EntryPaths &entries, const Scan &scan, const std::function<void()> &idle,
                    std::vector<Candidate> &candidates);

} // namespace ziplib

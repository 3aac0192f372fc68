#pragma once

#include "tools/orvel-vl2/tree.h"

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// The rules of `check`: what goes wrong in the game.
namespace vl2 {

enum class Severity {
    Error,   // the game cannot read it, or reads something else
    Warning, // most likely not what its maker wanted
    Note,
};

// One file of what is checked.
struct CheckedFile {
    std::string path;
    std::string folded; // without regard to the letters' case
    std::uint64_t size = 0;
    std::int64_t modified = 0;
    std::string raw;                      // the stored name of an entry
    const ziplib::Entry *entry = nullptr; // null for a file of a folder
};

struct Checked {
    std::string path;
    const Archive *archive = nullptr;                                 // null for a folder
    std::vector<CheckedFile> files;                                   // without folders
    std::unordered_map<std::string, std::vector<std::size_t>> byPath; // folded
    std::vector<std::string> folders;                                 // entries of folders

    // The last file of a folded path, or null.
    const CheckedFile *find(const std::string &wanted) const;
};

// Adds a finding: the file or "" for the archive, and what else to say.
using Report = std::function<void(std::string_view file, const std::string &detail)>;

struct Rule {
    const char *code;
    Severity severity;
    const char *advice; // one sentence
    // One of both. The second gets each text file with its content.
    void (*files)(const Checked &checked, const Report &report);
    void (*text)(const Checked &checked, const CheckedFile &file, std::string_view content,
                 const Report &report);
};

// One finding for all names, of the first one; none if there are none.
void reportFirst(const std::vector<std::string> &names, const Report &report);

std::span<const Rule> formatRules();
std::span<const Rule> contentRules();
std::span<const Rule> textRules();
std::vector<const Rule *> allRules();

} // namespace vl2

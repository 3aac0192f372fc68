#pragma once

#include "tools/orvel-vl2/tree.h"

#include <functional>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

// The rules of `check`: what goes wrong in the game.
namespace vl2 {

enum class Severity {
    Error,   // the game cannot read it, or reads something else
    Warning, // most likely not what its maker wanted
    Note,
};

// One file of what is checked. Its texts are parts of the directory, the tree or the arena.
struct CheckedFile {
    std::string_view path;
    std::string_view folded;            // without regard to the letters' case
    std::uint32_t entry = 0;            // index in the archive, if it is an entry
    const TreeFile *inFolder = nullptr; // null for an entry
};

// The terrains and graphs of everything that one command checks. Missions may use those of another
// archive. Read when it is first asked for, by any thread; what cannot be read has none.
class Companions {
  public:
    explicit Companions(const std::vector<std::string> &paths) : m_paths(paths) {}
    // Whether terrains/`name`, a folded name, exists.
    bool hasTerrainFile(const std::string &name) const;

  private:
    void read() const;

    const std::vector<std::string> &m_paths;
    mutable std::once_flag m_once;
    mutable std::unordered_set<std::string> m_names;
};

struct Checked {
    std::string path;
    const Companions *companions = nullptr;
    const Tree *tree = nullptr;
    TextArena texts;
    const Archive *archive = nullptr;  // null for a folder
    std::vector<CheckedFile> files;    // without folders
    std::vector<std::uint32_t> byPath; // indexes of files, sorted by folded path and index
    std::vector<std::string> folders;  // entries of folders

    // The last file of a folded path, or null.
    const CheckedFile *find(std::string_view wanted) const;
    // Calls `take` for each file whose folded path an earlier one has, with the first of these.
    void eachTwin(
        const std::function<void(const CheckedFile &first, const CheckedFile &twin)> &take) const;
    // Of a file that is an entry.
    ziplib::Entry entryOf(const CheckedFile &file) const {
        return archive->directory.entries()[file.entry];
    }
    std::uint64_t size(const CheckedFile &file) const;
    std::int64_t modified(const CheckedFile &file) const;
    std::string_view rawName(const CheckedFile &file) const; // the stored one
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

#include "storage/pathText.h"
#include "storage/utf8.h"
#include "tools/orvel-vl2/archive.h"
#include "tools/orvel-vl2/commands.h"
#include "tools/orvel-vl2/game.h"
#include "tools/orvel-vl2/tree.h"
#include "ziplib/vl2zip/select/scan.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <unordered_map>

// Which archives and loose files of the game hold a path, and which of them the game takes.

namespace vl2 {

namespace {

struct WhereOptions {
    std::string name;
    std::vector<std::string> mods;
    std::string loose = "win";
};

// An archive, or a folder with loose files, in the order of rising priority.
struct Source {
    std::string path;
    bool isFolder = false;
};

struct Holder {
    std::uint32_t source = 0;
    std::string path; // as written there
    std::uint64_t size = 0;
    std::optional<std::uint32_t> crc; // of an entry; of a loose file once it was measured
};

// Paths with the letters' case folded, and who holds them, in the order of the sources.
using Holders = std::unordered_map<std::string, std::vector<Holder>>;

constexpr char kRule[] = "later archive names win, mods win over base, loose files ";

std::vector<Source> findSources(const WhereOptions &options) {
    std::vector<Source> sources;
    for (const std::string &folder : gameFolders(options.mods)) {
        const Source loose{folder, true};
        if (options.loose == "lose")
            sources.push_back(loose);
        for (std::string &path : archivesOf(folder))
            sources.push_back({std::move(path), false});
        if (options.loose == "win")
            sources.push_back(loose);
    }
    return sources;
}

// `wanted` is a folded path, or empty for all. The archives of the folder are no loose files.
void addFolder(std::uint32_t number, const std::string &folder, const std::string &wanted,
               Holders &holders) {
    ziplib::Scan scan;
    if (auto status = ziplib::scanFolder(folder, true, scan); !status.ok())
        throw Failed(status);
    for (const ziplib::FoundFile &file : scan.files) {
        std::string folded = platform::foldCase(file.path);
        const bool isArchive = isArchiveName(folded) && folded.find('/') == std::string::npos;
        if (!isArchive && (wanted.empty() || folded == wanted))
            holders[std::move(folded)].push_back({number, std::string(file.path), 0, std::nullopt});
    }
}

Exit findHolders(const std::vector<Source> &sources, const std::string &wanted, Holders &holders) {
    std::vector<std::string> archives;
    std::unordered_map<std::string, std::uint32_t> numbers;
    for (std::uint32_t i = 0; i < sources.size(); ++i) {
        if (sources[i].isFolder)
            continue;
        archives.push_back(sources[i].path);
        numbers[sources[i].path] = i;
    }
    const Exit result = forEachArchive(archives, For::Listing, [&](Archive &archive) {
        const ziplib::Directory &directory = archive.directory;
        for (const ziplib::Entry entry : directory.entries()) {
            std::string path = directory.path(entry);
            std::string folded = platform::foldCase(path);
            if (!directory.isFolder(entry) && (wanted.empty() || folded == wanted))
                holders[std::move(folded)].push_back(
                    {numbers[archive.path], std::move(path), entry.size, entry.crc});
        }
        return Exit::Fine;
    });
    for (std::uint32_t i = 0; i < sources.size(); ++i)
        if (sources[i].isFolder)
            addFolder(i, sources[i].path, wanted, holders);
    for (auto &[path, list] : holders)
        std::stable_sort(list.begin(), list.end(),
                         [](const Holder &a, const Holder &b) { return a.source < b.source; });
    return result;
}

std::string locationOf(const std::vector<Source> &sources, const Holder &holder) {
    const Source &source = sources[holder.source];
    return source.isFolder ? platform::joinPath(source.path, holder.path) : source.path;
}

// The holders of one path; the last is the one that the game takes.
void printHolders(const std::vector<Source> &sources, const std::string &path,
                  const std::vector<Holder> &list, const WhereOptions &options, bool json) {
    if (json) {
        Json holders = Json::array();
        for (const Holder &holder : list)
            holders.push_back({{"source", locationOf(sources, holder)},
                               {"entry", holder.path},
                               {"loose", sources[holder.source].isFolder}});
        printJson({{"path", path},
                   {"holders", holders},
                   {"wins", list.size() - 1},
                   {"rule", kRule + options.loose}});
        return;
    }
    printLine(shown(path));
    for (const Holder &holder : list) {
        const bool wins = &holder == &list.back();
        printLine((wins ? coloured(Colour::Green, "  wins  ") : "        ") +
                  shown(locationOf(sources, holder)));
    }
}

// True if all hold the same bytes. Loose files are read only if sizes and the other CRCs leave it
// open. Complains about one that cannot be read.
bool isSame(const std::vector<Source> &sources, std::vector<Holder> &list, Exit &result) {
    // Those whose CRC is known come first: they are the cheaper to tell apart.
    std::vector<Holder *> order;
    for (const bool known : {true, false})
        for (Holder &holder : list)
            if (holder.crc.has_value() == known)
                order.push_back(&holder);
    for (Holder *holder : order) {
        const Holder &first = *order.front();
        if (!holder->crc) {
            const platform::Location location{sources[holder->source].path, holder->path};
            std::uint32_t crc = 0;
            const auto expected = holder == &first ? std::nullopt : std::optional(first.size);
            const platform::Status status = measureFile(location, expected, holder->size, crc);
            if (!status.ok()) {
                complain(status.message);
                result = worse(result, exitOf(status));
                return false;
            }
            holder->crc = crc;
        }
        if (holder->size != first.size || holder->crc != first.crc)
            return false;
    }
    return true;
}

Exit where(const WhereOptions &options, bool json) {
    std::string wanted = platform::foldCase(options.name);
    std::replace(wanted.begin(), wanted.end(), '\\', '/');
    const std::vector<Source> sources = findSources(options);
    Holders holders;
    const Exit result = findHolders(sources, wanted, holders);
    if (holders.empty())
        throw Failed(worse(result, Exit::Findings),
                     "nothing in the game has the path " + options.name);
    if (!json)
        printLine("(" + (kRule + options.loose) + ")");
    for (const auto &[path, list] : holders)
        printHolders(sources, path, list, options, json);
    return result;
}

Exit conflicts(const WhereOptions &options, bool json) {
    const std::vector<Source> sources = findSources(options);
    Holders holders;
    Exit result = findHolders(sources, {}, holders);
    std::vector<const Holders::value_type *> found;
    for (auto &item : holders)
        if (item.second.size() > 1 && !isSame(sources, item.second, result))
            found.push_back(&item);
    std::sort(found.begin(), found.end(),
              [](const auto *a, const auto *b) { return a->first < b->first; });
    if (!json)
        printLine("(" + (kRule + options.loose) + ")");
    for (const auto *item : found)
        printHolders(sources, item->first, item->second, options, json);
    return found.empty() ? result : worse(result, Exit::Findings);
}

CLI::App *addCommand(CLI::App &program, Request &request, const char *name, const char *help,
                     const std::shared_ptr<WhereOptions> &options,
                     Exit (*work)(const WhereOptions &, bool)) {
    CLI::App *command = program.add_subcommand(name, help);
    command->add_option("--mod", options->mods, "Also GameData/NAME; may be repeated")
        ->type_name("NAME");
    // The community's sources disagree about it.
    command
        ->add_option("--loose", options->loose,
                     "Whether loose files win over archives of their folder (default: win)")
        ->type_name("win|lose")
        ->check(CLI::IsMember({"win", "lose"}).description("")); // the type names them
    command->callback([options, &request, work] {
        request.run = [options, &request, work] { return work(*options, request.json); };
    });
    return command;
}

} // namespace

void addWhere(CLI::App &program, Request &request) {
    const auto options = std::make_shared<WhereOptions>();
    addCommand(program, request, "where",
               "Print which archives and loose files of the game hold a path, and which one wins",
               options, where)
        ->add_option("NAME", options->name, "The path; letters' case does not count")
        ->required();
}

void addConflicts(CLI::App &program, Request &request) {
    addCommand(program, request, "conflicts",
               "Print the paths that the game finds more than once with different contents; the "
               "exit code is 1 if there are any",
               std::make_shared<WhereOptions>(), conflicts);
}

} // namespace vl2

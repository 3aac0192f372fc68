#include "tools/orvel-vl2/commands.h"
#include "tools/orvel-vl2/console.h"
#include "tools/orvel-vl2/text.h"
#include "tools/orvel-vl2/textDiff.h"
#include "tools/orvel-vl2/tree.h"
#include "ziplib/vl2zip/select/leftovers.h"

#include <map>
#include <memory>

namespace vl2 {

namespace {

struct DiffOptions {
    std::string a, b;
    bool unified = false;
};

constexpr std::uint64_t kLargestDiffed = 32U << 20;

// Files of both sides by pairs; one that is only on one side has a null.
struct Change {
    TreeFile *before = nullptr;
    TreeFile *after = nullptr;
};

bool isOneSided(const Change &change) {
    return change.before == nullptr || change.after == nullptr;
}

// The pairs that may differ. Of two archives most entries are equal, which their sizes and CRCs in
// the directories say.
std::vector<Change> pair(Tree &a, Tree &b) {
    std::vector<Change> pairs;
    auto left = a.files().begin();
    auto right = b.files().begin();
    while (left != a.files().end() || right != b.files().end()) {
        const bool noLeft = left == a.files().end();
        const int order = noLeft                     ? 1
                          : right == b.files().end() ? -1
                                                     : left->path.compare(right->path);
        const bool equal = order == 0 && a.isMeasured(*left) && b.isMeasured(*right) &&
                           left->size == right->size && left->crc == right->crc;
        if (!equal)
            pairs.push_back({order <= 0 ? &*left : nullptr, order >= 0 ? &*right : nullptr});
        left += order <= 0 ? 1 : 0;
        right += order >= 0 ? 1 : 0;
    }
    return pairs;
}

// A folder's files that a build leaves out count only if the other side has them.
void omitNoContent(const Tree &a, const Tree &b, std::vector<Change> &changes) {
    for (const Tree *tree : {&a, &b}) {
        std::vector<std::string> omitted;
        std::erase_if(changes, [&](const Change &change) {
            const TreeFile *file = change.before != nullptr ? change.before : change.after;
            const bool omits = isOneSided(change) && !tree->isArchive() &&
                               (tree == &a) == (change.before != nullptr) &&
                               ziplib::isNoContent(file->path);
            if (omits)
                omitted.emplace_back(file->path);
            return omits;
        });
        complainOmitted(tree->path(), omitted);
    }
}

// Measures the files of folders whose size does not show the difference. Entries of archives need
// no reading: their sizes and CRCs are in the directories.
void measure(Tree &a, Tree &b, const std::vector<Change> &changes) {
    std::vector<TreeFile *> left, right;
    for (const Change &change : changes) {
        const bool needed = isOneSided(change) || change.before->size == change.after->size;
        if (needed && change.before != nullptr && !a.isMeasured(*change.before))
            left.push_back(change.before);
        if (needed && change.after != nullptr && !b.isMeasured(*change.after))
            right.push_back(change.after);
    }
    a.measure(left);
    b.measure(right);
}

// Joins a removed and an added file of the same content.
void findRenamed(std::vector<Change> &changes) {
    std::multimap<std::pair<std::uint64_t, std::uint32_t>, Change *> removed;
    for (Change &change : changes)
        if (change.after == nullptr && change.before->size > 0)
            removed.emplace(std::pair(change.before->size, change.before->crc), &change);
    for (Change &change : changes) {
        // Neither may be set any more: such a one was joined before.
        if (change.before != nullptr || change.after == nullptr)
            continue;
        const auto found = removed.find({change.after->size, change.after->crc});
        if (found == removed.end())
            continue;
        change.before = found->second->before;
        found->second->before = nullptr;
        removed.erase(found);
    }
    std::erase_if(changes, [](const Change &change) {
        return change.before == nullptr && change.after == nullptr;
    });
}

std::string textDifference(const Tree &a, const Tree &b, const Change &change) {
    for (const TreeFile *file : {change.before, change.after})
        if (file != nullptr && (file->size > kLargestDiffed || isBinaryName(file->path)))
            return {};
    const std::string before = change.before != nullptr ? a.read(*change.before) : std::string();
    const std::string after = change.after != nullptr ? b.read(*change.after) : std::string();
    if (!looksLikeText(before) || !looksLikeText(after))
        return {};
    const auto name = [](const Tree &tree, const TreeFile *file) {
        return file == nullptr ? std::string("/dev/null") : (tree.path() + '/').append(file->path);
    };
    return unifiedDiff(name(a, change.before), before, name(b, change.after), after);
}

// A line as UTF-8, in whatever encoding its file is.
std::string lineForPeople(std::string_view line) {
    std::string mark;
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
        mark = "^M";
    }
    return shown(toUtf8(line), Tabs::Kept) + mark;
}

void printDifference(const std::string &text) {
    if (!isTerminal(stdout)) {
        print(text);
        return;
    }
    for (std::string_view line : linesOf(text)) {
        line.remove_suffix(1);
        const char sign = line.empty() ? ' ' : line[0];
        const std::string safe = lineForPeople(line);
        printLine(sign == '+'   ? coloured(Colour::Green, safe)
                  : sign == '-' ? coloured(Colour::Red, safe)
                                : safe);
    }
}

// The same for JSON, whose texts are UTF-8.
std::string asUtf8(const std::string &text) {
    std::string converted;
    for (const std::string_view line : linesOf(text))
        converted += toUtf8(line);
    return converted;
}

// The result is BadArchive if an entry cannot be compared.
Exit printChange(const DiffOptions &options, const Tree &a, const Tree &b, const Change &change,
                 bool json) {
    const bool renamed = !isOneSided(change) && change.before->path != change.after->path;
    const char *kind = change.before == nullptr  ? "added"
                       : change.after == nullptr ? "removed"
                       : renamed                 ? "renamed"
                                                 : "changed";
    const TreeFile *present = change.after != nullptr ? change.after : change.before;
    if (present == nullptr)
        return Exit::Fine;
    const TreeFile &file = *present;
    Exit result = Exit::Fine;
    std::string text;
    try {
        if (options.unified && !renamed)
            text = textDifference(a, b, change);
    } catch (const Failed &failed) {
        checkInterrupt();
        complain(failed.what());
        result = failed.code;
    }
    if (json) {
        Json object{{"change", kind}, {"entry", file.path}};
        if (renamed)
            object["from"] = change.before->path;
        if (!text.empty())
            object["diff"] = asUtf8(text);
        printJson(object);
        return result;
    }
    if (!text.empty()) {
        printDifference(text);
        return result;
    }
    const Colour colour = change.before == nullptr  ? Colour::Green
                          : change.after == nullptr ? Colour::Red
                                                    : Colour::Yellow;
    // Between hunks, as a comment that patch and git skip.
    printLine((options.unified ? "# " : "") + coloured(colour, kind) + ' ' +
              std::string(8 - std::string_view(kind).size(), ' ') +
              (renamed ? shown(change.before->path) + " -> " : std::string()) + shown(file.path));
    return result;
}

Exit diff(const DiffOptions &options, bool json) {
    Tree a(options.a);
    Tree b(options.b);
    Exit result = worse(complainLeftOut(a), complainLeftOut(b));
    std::vector<Change> changes = pair(a, b);
    omitNoContent(a, b, changes);
    measure(a, b, changes);
    std::erase_if(changes, [](const Change &change) {
        return !isOneSided(change) && change.before->size == change.after->size &&
               change.before->crc == change.after->crc;
    });
    findRenamed(changes);
    if (!changes.empty())
        result = worse(result, Exit::Findings);
    for (const Change &change : changes) {
        checkInterrupt();
        result = worse(result, printChange(options, a, b, change, json));
    }
    return result;
}

} // namespace

void addDiff(CLI::App &program, Request &request) {
    CLI::App *command = program.add_subcommand(
        "diff", "Compare two archives or folders by content; the exit code is 1 if they differ");
    const auto options = std::make_shared<DiffOptions>();
    command->add_flag("-u,--unified", options->unified, "Print the changed lines of texts");
    command->add_option("A", options->a, "An archive or folder")->required();
    command->add_option("B", options->b, "An archive or folder")->required();
    command->callback([options, &request] {
        request.run = [options, &request] { return diff(*options, request.json); };
    });
}

} // namespace vl2

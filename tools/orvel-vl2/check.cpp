#include "storage/utf8.h"
#include "tools/orvel-vl2/commands.h"
#include "tools/orvel-vl2/rules.h"
#include "tools/orvel-vl2/text.h"

#include <algorithm>
#include <memory>
#include <unordered_map>

namespace vl2 {

namespace {

using platform::Status;

struct CheckOptions {
    std::vector<std::string> paths;
    std::vector<std::string> ignored;
    std::string atLeast = "warning";
};

// What is the same for all archives and folders of a command.
struct CheckRun {
    std::vector<const Rule *> rules;
    Companions companions;
    Severity atLeast; // the least severity that counts for the exit code
};

struct Finding {
    const Rule *rule = nullptr;
    std::string file;
    std::string detail;
};

constexpr std::uint64_t kLargestText = 32U << 20;

const char *nameOf(Severity severity) {
    return severity == Severity::Error     ? "error"
           : severity == Severity::Warning ? "warning"
                                           : "note";
}

} // namespace

std::vector<const Rule *> allRules() {
    std::vector<const Rule *> all;
    for (const auto rules : {formatRules(), contentRules(), textRules()})
        for (const Rule &rule : rules)
            all.push_back(&rule);
    return all;
}

const CheckedFile *Checked::find(std::string_view wanted) const {
    const auto end = std::upper_bound(
        byPath.begin(), byPath.end(), wanted,
        [this](std::string_view text, std::uint32_t index) { return text < files[index].folded; });
    if (end == byPath.begin() || files[end[-1]].folded != wanted)
        return nullptr;
    return &files[end[-1]];
}

void Checked::eachTwin(
    const std::function<void(const CheckedFile &first, const CheckedFile &twin)> &take) const {
    for (std::size_t i = 1, first = 0; i < byPath.size(); ++i) {
        const CheckedFile &twin = files[byPath[i]];
        if (twin.folded == files[byPath[first]].folded)
            take(files[byPath[first]], twin);
        else
            first = i;
    }
}

std::uint64_t Checked::size(const CheckedFile &file) const {
    return file.inFolder != nullptr ? file.inFolder->size : entryOf(file).size;
}

std::int64_t Checked::modified(const CheckedFile &file) const {
    return file.inFolder != nullptr ? tree->modified(*file.inFolder)
                                    : archive->directory.modified(entryOf(file));
}

std::string_view Checked::rawName(const CheckedFile &file) const {
    return file.inFolder != nullptr ? file.path : archive->directory.rawName(entryOf(file));
}

void reportFirst(const std::vector<std::string> &names, const Report &report) {
    if (names.empty())
        return;
    const std::string others = andOthers(names.size() - 1);
    report(names[0], others.empty() ? others : others.substr(1));
}

bool Companions::hasTerrainFile(const std::string &name) const {
    std::call_once(m_once, [this] { read(); });
    return m_names.contains(name);
}

void Companions::read() const {
    // One archive alone is known to the rules already.
    if (m_paths.size() < 2)
        return;
    constexpr std::string_view kFolder = "terrains/";
    for (const std::string &path : m_paths) {
        checkInterrupt();
        try {
            Tree tree(path);
            for (const TreeFile &file : tree.files())
                if (std::string folded = platform::foldCase(file.path); folded.starts_with(kFolder))
                    m_names.insert(folded.substr(kFolder.size()));
        } catch (const Failed &) {
            checkInterrupt(); // reported when its turn comes
        }
    }
}

namespace {

void addFile(Checked &checked, std::string_view path, std::uint32_t entry,
             const TreeFile *inFolder) {
    const std::string folded = platform::foldCase(path);
    checked.byPath.push_back(static_cast<std::uint32_t>(checked.files.size()));
    checked.files.push_back(
        {path, folded == path ? path : checked.texts.add(folded), entry, inFolder});
}

void findFacts(Tree &tree, const Companions &companions, Checked &checked) {
    checked.companions = &companions;
    checked.path = tree.path();
    checked.tree = &tree;
    checked.archive = tree.archive();
    if (checked.archive != nullptr) {
        // All entries, also those of one path.
        const ziplib::Directory &directory = checked.archive->directory;
        checked.files.reserve(directory.entries().size());
        checked.byPath.reserve(directory.entries().size());
        for (std::uint32_t i = 0; i < directory.entries().size(); ++i) {
            const ziplib::Entry entry = directory.entries()[i];
            const bool isFolder = directory.isFolder(entry);
            if (isFolder)
                checked.folders.push_back(directory.path(entry));
            else
                addFile(checked, pathIn(directory, entry, checked.texts), i, nullptr);
        }
    } else {
        for (const TreeFile &file : tree.files())
            addFile(checked, file.path, 0, &file);
    }
    std::sort(checked.byPath.begin(), checked.byPath.end(), [&](std::uint32_t a, std::uint32_t b) {
        const int order = checked.files[a].folded.compare(checked.files[b].folded);
        return order != 0 ? order < 0 : a < b;
    });
}

// Passes a text to the rules that need it.
void checkText(const Checked &checked, const CheckedFile &file, std::string_view content,
               const std::vector<const Rule *> &rules, std::vector<Finding> &findings) {
    for (const Rule *rule : rules) {
        const auto report = [&](std::string_view found, const std::string &detail) {
            findings.push_back({rule, std::string(found), detail});
        };
        if (rule->text != nullptr)
            rule->text(checked, file, content, report);
    }
}

bool isCheckedText(const Checked &checked, const CheckedFile &file) {
    return isTextName(file.path) && checked.size(file) <= kLargestText;
}

// Reads all entries, since any of them may be damaged. Complains about these and goes on.
Exit checkEntries(const Archive &archive, const Checked &checked,
                  const std::vector<const Rule *> &rules, std::vector<Finding> &findings) {
    std::vector<EntryOf> entries;
    entries.reserve(checked.files.size());
    for (const CheckedFile &file : checked.files)
        entries.push_back({&archive, file.entry});
    Exit result = Exit::Fine;
    std::mutex mutex;
    std::unordered_map<std::size_t, std::vector<Finding>> found; // of entries that have any
    readEntries(
        "checking", entries,
        [&](std::size_t i, ziplib::EntryReader &reader) {
            if (!isCheckedText(checked, checked.files[i]))
                return readThrough(reader);
            std::string content;
            Status status = readAll(reader, content);
            std::vector<Finding> own;
            if (status.ok())
                checkText(checked, checked.files[i], content, rules, own);
            if (!own.empty()) {
                const std::lock_guard lock(mutex);
                found.emplace(i, std::move(own));
            }
            return status;
        },
        [&](std::size_t i, const Status &status) {
            {
                const std::lock_guard lock(mutex);
                if (auto own = found.extract(i))
                    std::move(own.mapped().begin(), own.mapped().end(),
                              std::back_inserter(findings));
            }
            // Encryption and methods have rules of their own.
            if (status.ok() || status.is(platform::Failure::Unsupported) ||
                status.is(platform::Failure::Password))
                return;
            complain(entryMessage(archive, status));
            result = worse(result, exitOf(status));
        });
    return result;
}

void checkFiles(const Tree &tree, const Checked &checked, const std::vector<const Rule *> &rules,
                std::vector<Finding> &findings) {
    for (const CheckedFile &file : checked.files) {
        checkInterrupt();
        if (isCheckedText(checked, file))
            checkText(checked, file, tree.read(*file.inFolder), rules, findings);
    }
}

void printFinding(const Checked &checked, const Finding &finding, bool json) {
    const Rule &rule = *finding.rule;
    if (json) {
        Json object{{"path", checked.path},
                    {"code", rule.code},
                    {"severity", nameOf(rule.severity)},
                    {"advice", rule.advice}};
        if (!finding.file.empty())
            object["entry"] = finding.file;
        if (!finding.detail.empty())
            object["detail"] = finding.detail;
        printJson(object);
        return;
    }
    const Colour colour = rule.severity == Severity::Error     ? Colour::Red
                          : rule.severity == Severity::Warning ? Colour::Yellow
                                                               : Colour::Cyan;
    printLine(shown(checked.path) + ": " + coloured(colour, nameOf(rule.severity)) + " [" +
              rule.code + "] " + shown(finding.file) + (finding.file.empty() ? "" : ": ") +
              rule.advice + (finding.detail.empty() ? "" : " (" + shown(finding.detail) + ')'));
}

// One finding for all notes of a rule that say the same of several files: makers of maps forget
// something in all of them or in none. The findings are sorted.
void joinNotes(std::vector<Finding> &findings) {
    const auto saysTheSame = [](const Finding &a, const Finding &b) {
        return a.rule == b.rule && a.rule->severity == Severity::Note && a.detail.empty() &&
               b.detail.empty();
    };
    for (auto first = findings.begin(); first != findings.end(); ++first) {
        const auto end = std::find_if(first + 1, findings.end(), [&](const Finding &other) {
            return !saysTheSame(*first, other);
        });
        const auto others = static_cast<std::size_t>(end - first) - 1;
        findings.erase(first + 1, end);
        if (others > 0)
            first->detail = andOthers(others).substr(1);
    }
}

Exit checkOne(const std::string &path, const CheckRun &run, bool json) {
    Tree tree(path);
    Checked checked;
    findFacts(tree, run.companions, checked);
    std::vector<Finding> findings;
    for (const Rule *rule : run.rules) {
        const auto report = [&](std::string_view file, const std::string &detail) {
            findings.push_back({rule, std::string(file), detail});
        };
        if (rule->files != nullptr)
            rule->files(checked, report);
    }
    Exit result = complainLeftOut(tree);
    if (checked.archive != nullptr)
        result = worse(result, checkEntries(*checked.archive, checked, run.rules, findings));
    else
        checkFiles(tree, checked, run.rules, findings);
    std::stable_sort(findings.begin(), findings.end(), [](const Finding &a, const Finding &b) {
        return a.rule != b.rule && a.rule->severity != b.rule->severity
                   ? a.rule->severity < b.rule->severity
               : std::string_view(a.rule->code) != b.rule->code
                   ? std::string_view(a.rule->code) < b.rule->code
                   : a.file < b.file;
    });
    joinNotes(findings);
    for (const Finding &finding : findings) {
        printFinding(checked, finding, json);
        if (finding.rule->severity <= run.atLeast)
            result = worse(result, Exit::Findings);
    }
    return result;
}

Exit check(const CheckOptions &options, bool json) {
    CheckRun run{allRules(), Companions(options.paths), Severity::Note};
    for (const Severity severity : {Severity::Warning, Severity::Error})
        if (options.atLeast == nameOf(severity))
            run.atLeast = severity;
    for (const std::string &code : options.ignored)
        if (std::erase_if(run.rules, [&](const Rule *rule) { return rule->code == code; }) == 0)
            throw Failed(Exit::Misuse, "there is no rule " + code);
    Exit result = Exit::Fine;
    for (const std::string &path : options.paths) {
        try {
            result = worse(result, checkOne(path, run, json));
        } catch (const Failed &failed) {
            checkInterrupt();
            complain(failed.what());
            result = worse(result, failed.code);
        }
    }
    return result;
}

// The table of the rules, for the help.
std::string ruleTable() {
    std::string text = "Rules:";
    for (const Rule *rule : allRules()) {
        const std::string code = rule->code;
        text += "\n  " + code + std::string(16 - code.size(), ' ') + nameOf(rule->severity) +
                std::string(9 - std::string_view(nameOf(rule->severity)).size(), ' ') +
                rule->advice;
    }
    return text;
}

} // namespace

void addCheck(CLI::App &program, Request &request) {
    CLI::App *command = program.add_subcommand(
        "check",
        "Print what goes wrong in the game; the exit code is 1 if there is an error or a warning");
    const auto options = std::make_shared<CheckOptions>();
    command
        ->add_option("--ignore", options->ignored,
                     "Leave out the rule of this code; may be repeated")
        ->type_name("CODE");
    command
        ->add_option("--at-least", options->atLeast,
                     "The least severity that sets the exit code to 1 (default: warning)")
        ->type_name("error|warning|note")
        ->check(CLI::IsMember({"error", "warning", "note"}).description(""));
    command
        ->add_option("PATH", options->paths,
                     "Archives or folders; missions may use terrains of each other")
        ->required();
    command->footer(ruleTable() + "\n\n" + program.get_footer());
    command->callback([options, &request] {
        request.run = [options, &request] { return check(*options, request.json); };
    });
}

} // namespace vl2

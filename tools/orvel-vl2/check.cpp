#include "storage/utf8.h"
#include "tools/orvel-vl2/commands.h"
#include "tools/orvel-vl2/rules.h"
#include "tools/orvel-vl2/text.h"

#include <algorithm>
#include <memory>

namespace vl2 {

namespace {

using platform::Status;

struct CheckOptions {
    std::vector<std::string> paths;
    std::vector<std::string> ignored;
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

const CheckedFile *Checked::find(const std::string &wanted) const {
    const auto found = byPath.find(wanted);
    return found == byPath.end() ? nullptr : &files[found->second.back()];
}

void reportFirst(const std::vector<std::string> &names, const Report &report) {
    if (names.empty())
        return;
    const std::size_t others = names.size() - 1;
    report(names[0], others == 0   ? ""
                     : others == 1 ? "and another"
                                   : "and " + std::to_string(others) + " others");
}

namespace {

Checked facts(const Tree &tree) {
    Checked checked;
    checked.path = tree.path();
    checked.archive = tree.archive();
    if (checked.archive != nullptr) {
        // All entries, also those of one path.
        const ziplib::Directory &directory = checked.archive->directory;
        for (const ziplib::Entry &entry : directory.entries()) {
            std::string path = directory.path(entry);
            if (directory.isFolder(entry))
                checked.folders.push_back(std::move(path));
            else
                checked.files.push_back({path, platform::foldCase(path), entry.size,
                                         directory.modified(entry),
                                         std::string(directory.rawName(entry)), &entry});
        }
    } else {
        for (const TreeFile &file : tree.files())
            checked.files.push_back({file.path, platform::foldCase(file.path), file.size,
                                     file.modified, file.path, nullptr});
    }
    for (std::size_t i = 0; i < checked.files.size(); ++i)
        checked.byPath[checked.files[i].folded].push_back(i);
    return checked;
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

bool isCheckedText(const CheckedFile &file) {
    return isTextName(file.path) && file.size <= kLargestText;
}

// Reads all entries, since any of them may be damaged. Complains about these and goes on.
Exit checkEntries(const Archive &archive, const Checked &checked,
                  const std::vector<const Rule *> &rules, std::vector<Finding> &findings) {
    const auto &all = archive.directory.entries();
    std::vector<EntryOf> entries;
    for (const CheckedFile &file : checked.files)
        entries.push_back({&archive, static_cast<std::size_t>(file.entry - all.data())});
    Exit result = Exit::Fine;
    std::vector<std::vector<Finding>> found(entries.size());
    readEntries(
        "checking", entries,
        [&](std::size_t i, ziplib::EntryReader &reader) {
            if (!isCheckedText(checked.files[i]))
                return readThrough(reader);
            std::string content;
            Status status = readAll(reader, content);
            if (status.ok())
                checkText(checked, checked.files[i], content, rules, found[i]);
            return status;
        },
        [&](std::size_t i, const Status &status) {
            std::move(found[i].begin(), found[i].end(), std::back_inserter(findings));
            found[i] = {};
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
        if (isCheckedText(file))
            checkText(checked, file, tree.read({file.path, 0, std::nullopt, 0, 0}), rules,
                      findings);
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

Exit checkOne(const std::string &path, const std::vector<const Rule *> &rules, bool json) {
    const Tree tree(path);
    const Checked checked = facts(tree);
    std::vector<Finding> findings;
    for (const Rule *rule : rules) {
        const auto report = [&](std::string_view file, const std::string &detail) {
            findings.push_back({rule, std::string(file), detail});
        };
        if (rule->files != nullptr)
            rule->files(checked, report);
    }
    Exit result = Exit::Fine;
    if (checked.archive != nullptr)
        result = checkEntries(*checked.archive, checked, rules, findings);
    else
        checkFiles(tree, checked, rules, findings);
    std::stable_sort(findings.begin(), findings.end(), [](const Finding &a, const Finding &b) {
        return a.rule != b.rule && a.rule->severity != b.rule->severity
                   ? a.rule->severity < b.rule->severity
               : std::string_view(a.rule->code) != b.rule->code
                   ? std::string_view(a.rule->code) < b.rule->code
                   : a.file < b.file;
    });
    for (const Finding &finding : findings)
        printFinding(checked, finding, json);
    return findings.empty() ? result : worse(result, Exit::Findings);
}

Exit check(const CheckOptions &options, bool json) {
    std::vector<const Rule *> rules = allRules();
    for (const std::string &code : options.ignored)
        if (std::erase_if(rules, [&](const Rule *rule) { return rule->code == code; }) == 0)
            throw Failed(Exit::Misuse, "there is no rule " + code);
    Exit result = Exit::Fine;
    for (const std::string &path : options.paths) {
        try {
            result = worse(result, checkOne(path, rules, json));
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
        "check", "Print what goes wrong in the game; the exit code is 1 if there is anything");
    const auto options = std::make_shared<CheckOptions>();
    command
        ->add_option("--ignore", options->ignored,
                     "Leave out the rule of this code; may be repeated")
        ->type_name("CODE");
    command->add_option("PATH", options->paths, "Archives or folders")->required();
    command->footer(ruleTable() + "\n\n" + program.get_footer());
    command->callback([options, &request] {
        request.run = [options, &request] { return check(*options, request.json); };
    });
}

} // namespace vl2

#include "tools/orvel-vl2/generate.h"

#include "tools/orvel-vl2/output.h"
#include "tools/orvel-vl2/rules.h"

#include <algorithm>

// The manual page and the completions are made of the table that --help shows.

namespace vl2 {

namespace {

std::vector<const CLI::App *> commandsOf(const CLI::App &program) {
    return program.get_subcommands(std::function<bool(const CLI::App *)>());
}

std::vector<const CLI::Option *> optionsOf(const CLI::App &app, bool positional) {
    std::vector<const CLI::Option *> options;
    for (const CLI::Option *option : app.get_options())
        if (option->get_positional() == positional && !option->get_group().empty())
            options.push_back(option);
    return options;
}

// "-l,--long" or "ARCHIVE".
std::string nameOf(const CLI::Option &option) {
    return option.get_name(option.get_positional(), true);
}

std::string valueOf(const CLI::Option &option) {
    return option.get_type_size() == 0 ? std::string() : option.get_type_name();
}

std::string replaced(std::string text, std::string_view what, std::string_view with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}

std::string roff(std::string text) {
    text = replaced(replaced(std::move(text), "\\", "\\e"), "-", "\\-");
    // A line must not begin with a control character.
    return text.starts_with('.') || text.starts_with('\'') ? "\\&" + text : text;
}

std::string synopsis(const CLI::App &command) {
    std::string text = "[OPTION]...";
    for (const CLI::Option *option : optionsOf(command, true)) {
        std::string name = nameOf(*option);
        if (option->get_items_expected_max() > 1)
            name += "...";
        text += option->get_required() ? ' ' + name : " [" + name + ']';
    }
    return text;
}

void describe(const CLI::Option &option) {
    printLine(".TP");
    const std::string value = valueOf(option);
    const bool positional = option.get_positional();
    printLine((positional ? ".I " : ".B ") + roff(replaced(nameOf(option), ",", ", ")) +
              (value.empty() || positional ? "" : " \\fI" + roff(value) + "\\fR"));
    printLine(roff(option.get_description()) + '.');
}

void printFooter(std::string rest, const char *macro) {
    if (rest.empty())
        return;
    printLine(macro);
    printLine(".nf");
    for (std::size_t end = 0; !rest.empty(); rest.erase(0, end + 1)) {
        end = std::min(rest.find('\n'), rest.size() - 1);
        std::string line = rest.substr(0, end + 1);
        if (line.ends_with('\n'))
            line.pop_back();
        printLine(roff(line));
    }
    printLine(".fi");
}

void manual(const CLI::App &program) {
    printLine(".TH ORVEL\\-VL2 1 \"\" \"Orvel " ORVEL_VERSION "\" \"User commands\"");
    printLine(".SH NAME\norvel\\-vl2 \\- work on .vl2 archives from scripts");
    printLine(".SH SYNOPSIS");
    for (const CLI::App *command : commandsOf(program))
        printLine(".B orvel\\-vl2 " + roff(command->get_name()) + "\n" + roff(synopsis(*command)) +
                  "\n.br");
    printLine(".SH DESCRIPTION\n" + roff(program.get_description()));
    printLine("Every command reads and writes archives as the windows of orvel do, prints text or,"
              " with\n.BR \\-\\-json ,\none JSON object a line, and never asks.");
    printLine(".SH OPTIONS");
    for (const CLI::Option *option : optionsOf(program, false))
        describe(*option);
    printLine(".SH COMMANDS");
    for (const CLI::App *command : commandsOf(program)) {
        printLine(".SS " + roff(command->get_name()) + ' ' + roff(synopsis(*command)));
        printLine(roff(command->get_description()) + '.');
        for (const bool positional : {true, false})
            for (const CLI::Option *option : optionsOf(*command, positional))
                if (nameOf(*option).find("--help") == std::string::npos)
                    describe(*option);
        // Without the exit codes, which have a section of their own.
        printFooter(replaced(command->get_footer(), program.get_footer(), ""), ".PP");
    }
    printFooter(program.get_footer(), ".SH EXIT STATUS");
    printLine(".SH ENVIRONMENT\n.TP\n.B SOURCE_DATE_EPOCH\nThe time of all entries of a build, in "
              "seconds since 1970.\n.TP\n.B NO_COLOR\nNo colours, if it is not empty.");
    printLine(".SH SEE ALSO\n.BR orvel (1),\n.BR orvel\\-reg (1)");
}

// The words that an option takes, or "" if it takes any.
std::string wordsOf(const CLI::Option &option) {
    const std::string type = valueOf(option);
    std::string words;
    if (type == "CODE") {
        for (const Rule *rule : allRules())
            words.append(words.empty() ? "" : " ").append(rule->code);
        return words;
    }
    return type.find('|') == std::string::npos ? words : replaced(type, "|", " ");
}

// The names of options, each with its own word.
std::string optionWords(const CLI::App &app) {
    std::string words;
    for (const CLI::Option *option : optionsOf(app, false))
        words += replaced(nameOf(*option), ",", " ") + ' ';
    return words;
}

void bash(const CLI::App &program) {
    printLine("# bash completion for orvel-vl2\n_orvel_vl2() {\n    local words= values= at=1");
    std::string names;
    for (const CLI::App *command : commandsOf(program))
        names += command->get_name() + ' ';
    printLine("    # The command may follow options.\n"
              "    while ((at < COMP_CWORD)) && [[ ${COMP_WORDS[at]} == -* ]]; do ((++at)); done");
    printLine("    case ${COMP_WORDS[at]} in");
    for (const CLI::App *command : commandsOf(program)) {
        printLine("    " + command->get_name() + ") words=\"" + optionWords(*command) + "--json\"");
        for (const CLI::Option *option : optionsOf(*command, false)) {
            if (wordsOf(*option).empty())
                continue;
            printLine("        [[ $3 == " + nameOf(*option) + " || $3 == = && " +
                      "${COMP_WORDS[COMP_CWORD-2]} == " + nameOf(*option) + " ]] && values=\"" +
                      wordsOf(*option) + '"');
        }
        printLine("        ;;");
    }
    printLine("    esac\n    if ((COMP_CWORD == at)); then words=\"" + names +
              optionWords(program) + "\"; fi");
    printLine("    local current=${2#=}\n    COMPREPLY=()\n"
              "    if [[ -n $values ]]; then\n"
              "        mapfile -t COMPREPLY < <(compgen -W \"$values\" -- \"$current\")\n"
              "    elif ((COMP_CWORD == at)) || [[ $2 == -* ]]; then\n"
              "        mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$2\")\n"
              "    fi\n}\ncomplete -o default -F _orvel_vl2 orvel-vl2");
}

// An option of the function _arguments for each name of an option.
void zshOption(const CLI::Option &option, const std::string &description) {
    const std::string value = replaced(valueOf(option), "|", " or ");
    const std::string words = wordsOf(option);
    std::string action;
    if (!value.empty())
        action = ':' + value + ':' + (words.empty() ? "_files" : '(' + words + ')');
    // One that takes a list is repeated.
    const char *repeated = option.get_items_expected_max() > 1 ? "*" : "";
    std::string names = nameOf(option);
    for (std::size_t at = 0; at != std::string::npos;) {
        const std::size_t end = names.find(',');
        const std::string name = names.substr(0, end);
        const char *joined = !value.empty() && name.starts_with("--") ? "=" : "";
        std::string line = " '";
        line.append(repeated).append(name).append(joined);
        line.append("[").append(description).append("]").append(action).append("'");
        print(line);
        at = end;
        names.erase(0, end == std::string::npos ? names.size() : end + 1);
    }
}

void zsh(const CLI::App &program) {
    const auto quoted = [](std::string text) {
        return replaced(replaced(replaced(std::move(text), "'", "'\\''"), "[", "\\["), "]", "\\]");
    };
    printLine("#compdef orvel-vl2\nlocal -a commands\ncommands=(");
    for (const CLI::App *command : commandsOf(program))
        printLine("    '" + command->get_name() + ':' +
                  quoted(replaced(command->get_description(), ":", "\\:")) + "'");
    printLine(")\n# The command may follow options.\nlocal at=2\n"
              "while ((at < CURRENT)) && [[ $words[at] == -* ]]; do ((++at)); done\n"
              "if ((CURRENT == at)) && [[ $words[at] == -* ]]; then");
    print("    _arguments");
    for (const CLI::Option *option : optionsOf(program, false))
        zshOption(*option, quoted(option->get_description()));
    printLine("\n    return\nfi\n"
              "if ((CURRENT == at)); then\n    _describe command commands\n    return\nfi\n"
              "# _arguments takes the first word for the program.\n"
              "local command=$words[at]\nshift $((at - 1)) words\n((CURRENT -= at - 1))");
    printLine("case $command in");
    for (const CLI::App *command : commandsOf(program)) {
        print(command->get_name() + ")\n    _arguments '--json'");
        for (const CLI::Option *option : optionsOf(*command, false))
            zshOption(*option, quoted(option->get_description()));
        printLine(" '*:file:_files' ;;");
    }
    printLine("esac");
}

} // namespace

void addGenerate(CLI::App &program, std::string &kind) {
    program.add_option("--generate", kind, "Print the manual page or a completion")
        ->check(CLI::IsMember({"man", "bash", "zsh"}))
        ->group("");
}

void generate(const CLI::App &program, const std::string &kind) {
    if (kind == "man")
        manual(program);
    else if (kind == "bash")
        bash(program);
    else
        zsh(program);
}

} // namespace vl2

#include "tools/orvel-vl2/generate.h"

#include "tools/orvel-vl2/output.h"

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

void printFooter(const CLI::App &app, const char *macro) {
    if (app.get_footer().empty())
        return;
    printLine(macro);
    printLine(".nf");
    std::string rest = app.get_footer();
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
        if (command->get_footer() != program.get_footer())
            printFooter(*command, ".PP");
    }
    printFooter(program, ".SH EXIT STATUS");
    printLine(".SH ENVIRONMENT\n.TP\n.B SOURCE_DATE_EPOCH\nThe time of all entries of a build, in "
              "seconds since 1970.\n.TP\n.B NO_COLOR\nNo colours, if it is not empty.");
    printLine(".SH SEE ALSO\n.BR orvel (1),\n.BR orvel\\-reg (1)");
}

// The names of options, each with its own word.
std::string optionWords(const CLI::App &app) {
    std::string words;
    for (const CLI::Option *option : optionsOf(app, false))
        words += replaced(nameOf(*option), ",", " ") + ' ';
    return words;
}

void bash(const CLI::App &program) {
    printLine("# bash completion for orvel-vl2\n_orvel_vl2() {\n    local words=");
    std::string names;
    for (const CLI::App *command : commandsOf(program))
        names += command->get_name() + ' ';
    printLine("    case ${COMP_WORDS[1]} in");
    for (const CLI::App *command : commandsOf(program))
        printLine("    " + command->get_name() + ") words=\"" + optionWords(*command) +
                  "--json\" ;;");
    printLine("    esac\n    if ((COMP_CWORD == 1)); then words=\"" + names + optionWords(program) +
              "\"; fi");
    printLine("    COMPREPLY=()\n"
              "    if ((COMP_CWORD == 1)) || [[ $2 == -* ]]; then\n"
              "        mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$2\")\n"
              "    fi\n}\ncomplete -o default -F _orvel_vl2 orvel-vl2");
}

void zsh(const CLI::App &program) {
    const auto quoted = [](std::string text) {
        return replaced(replaced(replaced(std::move(text), "'", "'\\''"), "[", "\\["), "]", "\\]");
    };
    printLine("#compdef orvel-vl2\nlocal -a commands\ncommands=(");
    for (const CLI::App *command : commandsOf(program))
        printLine("    '" + command->get_name() + ':' + quoted(command->get_description()) + "'");
    printLine(")\nif ((CURRENT == 2)); then\n    _describe command commands\n    return\nfi");
    printLine("case $words[2] in");
    for (const CLI::App *command : commandsOf(program)) {
        print(command->get_name() + ")\n    _arguments '--json'");
        for (const CLI::Option *option : optionsOf(*command, false)) {
            const std::string value = valueOf(*option);
            std::string names = nameOf(*option);
            for (std::size_t at = 0; at != std::string::npos;) {
                const std::size_t end = names.find(',');
                print(" '" + names.substr(0, end) + '[' + quoted(option->get_description()) + ']' +
                      (value.empty() ? "" : ':' + quoted(value) + ":_files") + "'");
                at = end;
                names.erase(0, end == std::string::npos ? names.size() : end + 1);
            }
        }
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

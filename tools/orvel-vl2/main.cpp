#include "platform/narrow.h"
#include "tools/orvel-vl2/commands.h"
#include "tools/orvel-vl2/console.h"
#include "tools/orvel-vl2/generate.h"

#include <algorithm>
#include <functional>
#include <new>

// The engine of the windows for scripts: lists, tests, extracts, writes, searches, compares and
// checks archives. Never prompts.

namespace {

using vl2::Exit;

constexpr char kExitCodes[] = R"(Exit codes:
  0  fine
  1  findings or differences; nothing found; something could not be packed or extracted
  2  wrong use
  3  a bad archive
  4  an error of the system: a missing file, a full disk, a closed pipe, an interruption)";

// CLI11 takes "[a,b]" for a list wherever several values are allowed. A NUL at the end, which no
// argument holds, prevents it.
std::string marked(std::string argument) {
    if (argument.starts_with('[') && argument.ends_with(']'))
        argument += '\0';
    return argument;
}

// CLI11 takes "--" before the first positional argument of a command only. Behind it, a mark that
// no argument holds makes words that begin with "-" positional.
void marksPositional(std::vector<std::string> &arguments) {
    const auto mark = std::find(arguments.begin(), arguments.end(), "--");
    if (mark == arguments.end())
        return;
    for (auto word = mark + 1; word != arguments.end(); ++word)
        word->insert(0, 1, '\0');
    arguments.erase(mark);
}

// Makes the options take values as they are.
void takeLiterally(CLI::App &app) {
    for (CLI::Option *option : app.get_options()) {
        if (option->get_type_size_max() == 0)
            continue;
        // An option is repeated for each value; the arguments after the first are positional.
        if (!option->get_positional())
            option->allow_extra_args(false);
        const bool mayBeEmpty = option->get_name() == "PATTERN";
        option->transform(CLI::Validator(
            [mayBeEmpty](std::string &value) {
                if (value.ends_with('\0'))
                    value.pop_back();
                if (value.starts_with('\0'))
                    value.erase(0, 1);
                return std::string(value.empty() && !mayBeEmpty ? "must not be empty" : "");
            },
            ""));
    }
}

Exit run(std::vector<std::string> arguments) {
    vl2::Request request;
    CLI::App program("Lists, tests, extracts, writes, searches, compares and checks .vl2 archives.",
                     "orvel-vl2");
    program.footer(kExitCodes);
    std::string generated;
    vl2::addGenerate(program, generated);
    program.require_subcommand(0, 1);
    program.fallthrough();
    program.set_version_flag("--version", "orvel-vl2 " ORVEL_VERSION);
    program.add_flag("--json", request.json, "Print one JSON object a line instead of text");
    for (const auto add : {vl2::addList, vl2::addTest, vl2::addExtract, vl2::addSave, vl2::addBuild,
                           vl2::addRemove, vl2::addRename, vl2::addDiff, vl2::addGrep,
                           vl2::addWhere, vl2::addConflicts, vl2::addCheck})
        add(program, request);
    takeLiterally(program);
    for (CLI::App *command : program.get_subcommands({}))
        takeLiterally(*command);
    try {
        marksPositional(arguments);
        std::transform(arguments.begin(), arguments.end(), arguments.begin(), marked);
        // CLI11 takes them from the back.
        std::reverse(arguments.begin(), arguments.end());
        program.parse(std::move(arguments));
    } catch (const CLI::CallForHelp &) {
        vl2::print(program.help());
        return Exit::Fine;
    } catch (const CLI::CallForVersion &) {
        vl2::printLine(program.version());
        return Exit::Fine;
    } catch (const CLI::ParseError &error) {
        vl2::complain(std::string(error.what()) + " (see orvel-vl2 --help)");
        return Exit::Misuse;
    }
    if (!generated.empty()) {
        vl2::generate(program, generated);
        return Exit::Fine;
    }
    if (!request.run) {
        vl2::complain("no command (see orvel-vl2 --help)");
        return Exit::Misuse;
    }
    return request.run();
}

// The command's code, after a message about what it could not do.
Exit reported(const std::function<Exit()> &work) {
    try {
        return work();
    } catch (const vl2::Failed &failed) {
        vl2::complain(failed.what());
        return failed.code;
    } catch (const std::bad_alloc &) {
        vl2::complain("not enough memory");
    } catch (const std::exception &error) {
        vl2::complain(error.what());
    }
    return Exit::System;
}

// Writes also what a command that failed has printed.
Exit runAndFlush(std::vector<std::string> arguments) {
    const Exit code = reported([&] { return run(std::move(arguments)); });
    return vl2::worse(code, reported([] {
                          vl2::flushOutput();
                          return Exit::Fine;
                      }));
}

} // namespace

int main(int argc, char **argv) {
    vl2::prepareStreams();
    vl2::catchInterrupt();
    const std::optional<QStringList> given = platform::argumentsOf(argc, argv);
    if (!given) {
        vl2::complain("an argument is no text in the system's encoding");
        return static_cast<int>(Exit::Misuse);
    }
    std::vector<std::string> arguments;
    for (const QString &argument : *given)
        arguments.push_back(argument.toStdString());
    // Also for what is wrong with the arguments.
    if (const auto end = std::find(arguments.begin(), arguments.end(), "--");
        std::find(arguments.begin(), end, "--json") != end)
        vl2::complainInJson();
    return static_cast<int>(runAndFlush(std::move(arguments)));
}

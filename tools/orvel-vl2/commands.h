#pragma once

#include "tools/orvel-vl2/output.h"

#include <CLI/CLI.hpp>

#include <functional>

namespace vl2 {

// What a command line asks for. The commands bind their options to values of their own and leave in
// `run` what is to be done.
struct Request {
    bool json = false;
    std::function<Exit()> run;
};

// Each adds its command to the program's. The table that --help, the man page and the completions
// show is made of these.
void addList(CLI::App &program, Request &request);
void addTest(CLI::App &program, Request &request);
void addExtract(CLI::App &program, Request &request);
void addSave(CLI::App &program, Request &request);
void addBuild(CLI::App &program, Request &request);
void addRemove(CLI::App &program, Request &request);
void addRename(CLI::App &program, Request &request);
void addDiff(CLI::App &program, Request &request);
void addGrep(CLI::App &program, Request &request);
void addWhere(CLI::App &program, Request &request);
void addConflicts(CLI::App &program, Request &request);
void addCheck(CLI::App &program, Request &request);

} // namespace vl2

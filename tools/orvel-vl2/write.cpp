#include "storage/storage.h"
#include "tools/orvel-vl2/commands.h"
#include "tools/orvel-vl2/console.h"
#include "ziplib/vl2uzip/nameFilter.h"
#include "ziplib/vl2zip/select/scan.h"
#include "ziplib/vl2zip/update.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <memory>

// The commands that write an archive. Each replaces it as a whole, as the windows do: the name
// holds the old or the new archive at any moment.

namespace vl2 {

namespace {

using platform::Status;
using ziplib::PackOptions;

struct WriteOptions {
    PackOptions pack;
    std::string from, to;
    bool check = false;
    bool verbose = false;
};

// The library's callbacks have no argument for this.
bool printsMessages = false;

// The new archive is in place: an interruption comes too late to be the result.
bool inPlace = false;

std::int32_t onPrint(char *text, std::uint32_t size) {
    if (!inPlace)
        checkInterrupt(); // also the heartbeat, without a text, ends the work
    if (size > 0 && printsMessages)
        printLine(shown(platform::utf8FromNarrow({text, size})));
    return 0;
}

std::int32_t onProcessed(char *, std::uint32_t) {
    return interrupted() && !inPlace ? 1 : 0;
}

// Runs one of the library's operations and prints its result.
Exit run(WriteOptions &options, bool json,
         const std::function<Status(ziplib::Report &report, Json &result)> &work) {
    printsMessages = options.verbose && !json;
    const ZIPUSERFUNCTIONS functions{onPrint, nullptr, nullptr, onProcessed};
    ziplib::Report report(functions, nullptr, nullptr, false, !options.verbose);
    options.pack.replaced = [] { inPlace = true; };
    platform::reloadTimeZone();
    Json result{{"archive", options.pack.archive}};
    const Status status = work(report, result);
    if (!status.ok())
        throw Failed(status);
    for (const std::string &left : report.deferred())
        complain(options.pack.archive + ": " + left);
    if (json) {
        result["leftOut"] = report.deferred();
        printJson(result);
    }
    return report.hasDeferred() ? Exit::Findings : Exit::Fine;
}

// For commands of which not the archive but a name may be wrong.
Status refusing(Status status) {
    if (status.is(platform::Failure::Unsafe) || status.is(platform::Failure::Exists))
        throw Failed(Exit::Misuse, status.message);
    return status;
}

void requireArchive(const std::string &path) {
    platform::InputFile file;
    if (const Status status = file.open(path); !status.ok())
        throw Failed(status);
}

Exit save(WriteOptions &options, bool json) {
    // Without its old entries a new archive would lack whatever is not in the folder.
    requireArchive(options.pack.archive);
    options.pack.patterns = {"*"};
    options.pack.recurse = true;
    return run(options, json, [&](ziplib::Report &report, Json &) {
        Status status = updateArchive(options.pack, report);
        ziplib::Scan scan;
        // Other than in the window, a folder without files is nothing to do.
        if (status.is(platform::Failure::NothingMatched) &&
            ziplib::scanFolder(options.pack.root, true, scan).ok() && scan.files.empty() &&
            scan.leftOut.empty())
            return Status();
        return status;
    });
}

// Seconds since 1970 for all entries, as reproducible builds set it.
void readSourceDate(PackOptions &pack) {
    const char *text = std::getenv("SOURCE_DATE_EPOCH");
    if (text == nullptr || *text == '\0')
        return;
    std::int64_t seconds = 0;
    const char *end = text + std::strlen(text);
    constexpr std::int64_t kLargest = INT64_MAX / 1'000'000'000;
    const auto read = std::from_chars(text, end, seconds);
    if (read.ptr != end || (read.ec == std::errc() && seconds < 0) || read.ptr == text ||
        *text == '-')
        throw Failed(Exit::Misuse, "SOURCE_DATE_EPOCH is no number of seconds");
    if (read.ec != std::errc() || seconds > kLargest)
        throw Failed(Exit::Misuse, "SOURCE_DATE_EPOCH is too large: the last year is 2262");
    pack.time = seconds * 1'000'000'000;
}

Exit build(WriteOptions &options, bool json) {
    if (options.pack.archive == "-")
        throw Failed(Exit::Misuse, "build writes no archive to standard output; ./- is a file");
    options.pack.utc = true;
    options.pack.hiddenToo = true;
    readSourceDate(options.pack);
    ziplib::Built built = ziplib::Built::Written;
    const Exit code = run(options, json, [&](ziplib::Report &report, Json &result) {
        std::vector<std::string> omitted;
        Status status = refusing(buildArchive(options.pack, options.check, report, built, omitted));
        complainOmitted(options.pack.root, omitted);
        result["omitted"] = omitted.size();
        result["upToDate"] = built != ziplib::Built::Differs;
        result["written"] = status.ok() && built == ziplib::Built::Written;
        return status;
    });
    if (built == ziplib::Built::Differs)
        complain(options.pack.archive + " is not up to date");
    return built == ziplib::Built::Differs ? worse(code, Exit::Findings) : code;
}

Exit remove(WriteOptions &options, bool json) {
    // Names mean the same entries as those of an extraction.
    const auto choose = [&](const ziplib::Directory &directory) {
        const auto filter = std::make_shared<ziplib::NameFilter>(
            options.pack.patterns, std::vector<std::string>(), false, directory,
            [] {
                checkInterrupt();
                return true;
            });
        return ziplib::EntryChoice{
            [filter](const std::string &path) { return filter->accepts(path); },
            [filter] { return filter->unmatched(); }};
    };
    return run(options, json, [&](ziplib::Report &report, Json &) {
        return deleteFromArchive(options.pack, choose, report);
    });
}

Exit rename(WriteOptions &options, bool json) {
    return run(
        options, json,
        [&](ziplib::Report &report, Json &) {
            return refusing(renameInArchive(options.pack, options.from, options.to, report));
        });
}

CLI::App *addCommand(CLI::App &program, Request &request, const char *name, const char *help,
                     const std::shared_ptr<WriteOptions> &options,
                     Exit (*work)(WriteOptions &, bool)) {
    CLI::App *command = program.add_subcommand(name, help);
    command->add_flag("-v,--verbose", options->verbose, "Print each entry that is written");
    command->callback([options, &request, work] {
        request.run = [options, &request, work] { return work(*options, request.json); };
    });
    return command;
}

} // namespace

void addSave(CLI::App &program, Request &request) {
    const auto options = std::make_shared<WriteOptions>();
    CLI::App *command = addCommand(
        program, request, "save",
        "Pack the changed files of a folder; all other entries stay byte for byte", options, save);
    command->add_option("ARCHIVE", options->pack.archive, "The archive")->required();
    command->add_option("DIR", options->pack.root, "The folder")->required();
}

void addBuild(CLI::App &program, Request &request) {
    const auto options = std::make_shared<WriteOptions>();
    CLI::App *command = addCommand(
        program, request, "build",
        "Make an archive of a folder: the same files give the same bytes", options, build);
    command->add_option("DIR", options->pack.root, "The folder")->required();
    command->add_option("ARCHIVE", options->pack.archive, "The archive")->required();
    command->add_flag("--check", options->check,
                      "Write nothing; the exit code is 1 if the archive is not up to date");
    command->add_flag("--all", options->pack.leftoversToo,
                      "Also pack editors' leftovers and names that begin with a dot");
    command->footer("All entries get the time SOURCE_DATE_EPOCH (seconds since 1970) if it is set, "
                    "otherwise that of their file, in UTC. An archive that save has written is not "
                    "up to date for --check: compare by diff.\n\n" +
                    program.get_footer());
}

void addRemove(CLI::App &program, Request &request) {
    const auto options = std::make_shared<WriteOptions>();
    CLI::App *command =
        addCommand(program, request, "remove", "Remove entries; all others stay byte for byte",
                   options, remove);
    command->add_option("ARCHIVE", options->pack.archive, "The archive")->required();
    command->add_option("NAME", options->pack.patterns, "Entries or patterns with * and ?")
        ->required();
}

void addRename(CLI::App &program, Request &request) {
    const auto options = std::make_shared<WriteOptions>();
    CLI::App *command = addCommand(
        program, request, "rename",
        "Rename an entry, or with / at the end of both names a folder, without packing it again",
        options, rename);
    command->add_option("ARCHIVE", options->pack.archive, "The archive")->required();
    command->add_option("OLD", options->from, "The entry")->required();
    command->add_option("NEW", options->to, "Its new name")->required();
}

} // namespace vl2

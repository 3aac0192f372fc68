#include "storage/storage.h"
#include "tools/orvel-vl2/commands.h"
#include "tools/orvel-vl2/console.h"
#include "tools/orvel-vl2/readEntries.h"
#include "ziplib/vl2uzip/callResult.h"
#include "ziplib/vl2uzip/extraction.h"
#include "ziplib/vl2uzip/nameFilter.h"

#include <algorithm>
#include <memory>

namespace vl2 {

namespace {

using platform::Status;
using ziplib::ReturnCode;

struct ExtractOptions {
    std::string archive;
    std::string folder = ".";
    std::vector<std::string> names;
    bool keep = false;
};

bool keepGoing() {
    checkInterrupt();
    return true;
}

// The library's callbacks have no argument for these.
const std::string *archivePath = nullptr;
Progress *progress = nullptr;

std::int32_t onWarning(char *text, std::uint32_t size) {
    if (size > 0)
        complain(named(*archivePath, platform::utf8FromNarrow({text, size})));
    return 0;
}

void onExtracted(const UZPEXTRACTED *entry) {
    if (entry->written != 0)
        printJson({{"entry", entry->path}});
}

std::int32_t onEntryDone(char *, std::uint32_t) {
    progress->add(1);
    return interrupted() ? 1 : 0;
}

std::int32_t onReplace(char *) {
    constexpr std::int32_t kKeepAll = 104;
    return kKeepAll;
}

Exit exitForCode(ReturnCode code) {
    switch (code) {
    case ReturnCode::Done:
        return Exit::Fine;
    case ReturnCode::Warnings:
    case ReturnCode::NothingMatched:
        return Exit::Findings;
    case ReturnCode::Damaged:
    case ReturnCode::SevereDamage:
    case ReturnCode::EndsEarly:
    case ReturnCode::Unsupported:
    case ReturnCode::NoPassword:
        return Exit::BadArchive;
    default:
        return Exit::System;
    }
}

// Prints the only entry that the names mean.
Exit extractToOutput(const Archive &archive, ziplib::NameFilter &filter) {
    std::vector<EntryOf> found;
    for (std::size_t i = 0; i < archive.directory.entries().size(); ++i)
        if (const EntryOf entry{&archive, i};
            !archive.directory.isFolder(entry.entry()) && filter.accepts(entry.path()))
            found.push_back(entry);
    if (found.size() != 1)
        throw Failed(found.empty() ? Exit::Findings : Exit::Misuse,
                     archive.path + (found.empty() ? ": no such entry"
                                                   : ": more than one entry for standard output"));
    Exit result = Exit::Fine;
    readEntries(
        "extracting", found,
        [](std::size_t, ziplib::EntryReader &reader) {
            for (;;) {
                ziplib::EntryReader::Chunk chunk;
                if (Status status = reader.next(chunk); !status.ok() || chunk.empty())
                    return status;
                print({reinterpret_cast<const char *>(chunk.data()), chunk.size()});
            }
        },
        [&](std::size_t, const Status &status) {
            if (!status.ok())
                throw Failed(exitOf(status), entryMessage(archive, status));
        });
    return result;
}

// Makes the folder if it is missing.
void requireFolder(const std::string &path) {
    Status status = platform::makeFolders(path);
    platform::Folder folder;
    if (status.ok())
        status = folder.open(path);
    if (!status.ok())
        throw Failed(Exit::System, named(path, status.message));
}

Exit extractToFolder(const ExtractOptions &options, const Archive &archive,
                     ziplib::NameFilter &filter, bool json) {
    ziplib::Request request;
    request.archive = options.archive;
    request.target = options.folder;
    request.wanted = options.names;
    request.makeFolders = true;
    request.replaceAll = !options.keep;
    USERFUNCTIONS functions{};
    functions.print = onWarning;
    functions.ServCallBk = onEntryDone;
    functions.replace = onReplace;
    constexpr std::int32_t kFailuresOnly = 1;
    ziplib::Caller caller(functions, json ? onExtracted : nullptr, kFailuresOnly);
    ziplib::CallResult result;
    const ziplib::Plan plan = makePlan(archive.directory, request, filter, keepGoing);
    Progress shownProgress("extracting", plan.items.size());
    progress = &shownProgress;
    archivePath = &options.archive;
    if (!plan.items.empty() || !filter.isSelective()) {
        requireFolder(options.folder);
        ziplib::Extraction(archive.file, archive.directory, request, caller, result).run(plan);
    }
    checkInterrupt();
    return result.hasSystemFailure() ? Exit::System : exitForCode(result.code());
}

Exit extract(ExtractOptions options, bool json) {
    const bool toOutput = options.folder == "-" || std::erase(options.names, "-") > 0;
    const auto archive = openArchive(options.archive, For::Reading);
    Exit result = Exit::Fine;
    if (const Status &damage = archive->directory.damage(); !damage.ok()) {
        complain(named(options.archive, damage.message));
        result = exitOf(damage);
    }
    ziplib::NameFilter filter(options.names, {}, false, archive->directory, keepGoing);
    result = worse(result, toOutput ? extractToOutput(*archive, filter)
                                    : extractToFolder(options, *archive, filter, json));
    for (const std::string &name : filter.unmatched()) {
        complain(options.archive + ": no such entry: " + name);
        result = worse(result, Exit::Findings);
    }
    return result;
}

} // namespace

void addExtract(CLI::App &program, Request &request) {
    CLI::App *command = program.add_subcommand(
        "extract", "Extract entries as whole files, never outside of the folder");
    const auto options = std::make_shared<ExtractOptions>();
    command->add_option("ARCHIVE", options->archive, "The archive")->required();
    command->add_option("-C,--directory", options->folder,
                        "The folder, made if it is missing; - is standard output");
    command->add_flag("-k,--keep", options->keep,
                      "Keep files that exist instead of replacing them");
    command->add_option("NAME", options->names,
                        "Entries or patterns with * and ?; none means all, - prints the only "
                        "entry to standard output");
    command->callback([options, &request] {
        request.run = [options, &request] { return extract(*options, request.json); };
    });
}

} // namespace vl2

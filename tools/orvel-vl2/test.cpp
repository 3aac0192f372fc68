#include "tools/orvel-vl2/commands.h"
#include "tools/orvel-vl2/readEntries.h"

#include <memory>

namespace vl2 {

namespace {

struct TestOptions {
    std::vector<std::string> archives;
};

void printResult(const Archive &archive, std::size_t bad, bool json) {
    const std::size_t count = archive.directory.entries().size();
    if (json) {
        printJson({{"archive", archive.path},
                   {"entries", count},
                   {"bad", bad},
                   {"damaged", !archive.directory.damage().ok()}});
        return;
    }
    const bool fine = bad == 0 && archive.directory.damage().ok();
    printLine(shown(archive.path) + ": " + std::to_string(count) +
              (count == 1 ? " entry, " : " entries, ") +
              (fine ? coloured(Colour::Green, "all right")
                    : coloured(Colour::Red, std::to_string(bad) + " bad")));
}

Exit testGroup(const std::vector<std::unique_ptr<Archive>> &group, bool json) {
    Exit result = Exit::Fine;
    std::vector<EntryOf> entries;
    std::vector<std::size_t> ends; // of each archive's entries
    for (const auto &archive : group) {
        for (std::size_t i = 0; i < archive->directory.entries().size(); ++i)
            entries.push_back({archive.get(), i});
        ends.push_back(entries.size());
    }
    std::size_t current = 0;
    std::size_t bad = 0;
    const auto finishUpTo = [&](std::size_t end) {
        while (current < group.size() && ends[current] <= end) {
            printResult(*group[current++], bad, json);
            bad = 0;
        }
    };
    finishUpTo(0);
    readEntries(
        "testing", entries,
        [](std::size_t, ziplib::EntryReader &reader) { return readThrough(reader); },
        [&](std::size_t i, const platform::Status &status) {
            if (!status.ok()) {
                ++bad;
                result = worse(result, exitOf(status));
                complain(entryMessage(*entries[i].archive, status));
                if (json)
                    printJson({{"archive", entries[i].archive->path},
                               {"entry", entries[i].path()},
                               {"reason", status.message}});
            }
            finishUpTo(i + 1);
        });
    return result;
}

} // namespace

void addTest(CLI::App &program, Request &request) {
    CLI::App *command =
        program.add_subcommand("test", "Read every entry and check its size and CRC-32");
    const auto options = std::make_shared<TestOptions>();
    command->add_option("ARCHIVE", options->archives, "The archives")->required();
    command->callback([options, &request] {
        request.run = [options, &request] {
            return forEachGroup(options->archives, For::Reading,
                                [&](auto &group) { return testGroup(group, request.json); });
        };
    });
}

} // namespace vl2

#include "tools/orvel-vl2/archive.h"
#include "tools/orvel-vl2/commands.h"
#include "ziplib/format/dosTime.h"

#include <array>
#include <cinttypes>
#include <memory>

namespace vl2 {

namespace {

struct ListOptions {
    std::vector<std::string> archives;
    bool details = false;
};

// As stored, in the local time of whoever packed it.
std::string timeText(const ziplib::Entry &entry, char separator) {
    const ziplib::DosTime time = ziplib::dosTime(entry.date, entry.time);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d%c%02d:%02d:%02d", time.year, time.month,
                  time.day, separator, time.hour, time.minute, time.second);
    return text.data();
}

std::string crcText(std::uint32_t crc) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%08" PRIx32, crc);
    return text.data();
}

void printEntryJson(const Archive &archive, const ziplib::Entry &entry) {
    printJson({{"archive", archive.path},
               {"entry", archive.directory.path(entry)},
               {"size", entry.size},
               {"compressed", entry.compressedSize},
               {"method", ziplib::methodName(entry.method)},
               {"modified", timeText(entry, 'T')},
               {"crc", crcText(entry.crc)},
               {"encrypted", entry.isEncrypted()},
               {"folder", archive.directory.isFolder(entry)}});
}

void printEntryDetails(const Archive &archive, const ziplib::Entry &entry) {
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "%12" PRIu64 " %12" PRIu64 "  %-9s %s  %s%c ",
                  entry.size, entry.compressedSize, ziplib::methodName(entry.method),
                  timeText(entry, ' ').c_str(), crcText(entry.crc).c_str(),
                  entry.isEncrypted() ? '*' : ' ');
    print(text.data());
    printLine(shown(archive.directory.path(entry)));
}

Exit list(const ListOptions &options, bool json) {
    bool first = true;
    return forEachArchive(options.archives, For::Listing, [&](Archive &archive) {
        if (!json && options.archives.size() > 1) {
            print(first ? "" : "\n");
            printLine(shown(archive.path) + ':');
        }
        first = false;
        if (!json && options.details)
            printLine("        size       packed  method    date       time      crc-32    entry");
        for (const ziplib::Entry entry : archive.directory.entries()) {
            checkInterrupt();
            if (json)
                printEntryJson(archive, entry);
            else if (options.details)
                printEntryDetails(archive, entry);
            else
                printShown(archive.directory.path(entry));
        }
        return Exit::Fine;
    });
}

} // namespace

void addList(CLI::App &program, Request &request) {
    CLI::App *command = program.add_subcommand("list", "Print the entries in archive order");
    const auto options = std::make_shared<ListOptions>();
    command->add_flag("-l,--long", options->details,
                      "Print sizes, method, date and CRC-32 too; * marks encryption");
    command->add_option("ARCHIVE", options->archives, "The archives")->required();
    command->callback([options, &request] {
        request.run = [options, &request] { return list(*options, request.json); };
    });
}

} // namespace vl2

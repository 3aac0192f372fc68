#include "tools/orvel-vl2/commands.h"
#include "tools/orvel-vl2/game.h"
#include "tools/orvel-vl2/readEntries.h"
#include "tools/orvel-vl2/text.h"
#include "ziplib/common/utf8.h"

#include <re2/re2.h>
#include <re2/stringpiece.h>

#include <algorithm>
#include <atomic>
#include <memory>

namespace vl2 {

namespace {

using platform::Status;

struct Options {
    std::string pattern;
    std::vector<std::string> archives;
    std::vector<std::string> mods;
    bool ignoreCase = false;
    bool fixed = false;
    bool namesOnly = false;
};

// What is printed for one entry, made by the thread that reads it.
struct Found {
    std::string output;
    bool any = false;
};

// Searches the lines of an entry as it is read. Only RE2 guarantees a time that grows no faster
// than the text, whatever the pattern is; engines that backtrack can take longer than anyone waits.
class Search {
  public:
    Search(const re2::RE2 &pattern, const Options &options, const EntryOf &entry, bool json,
           Found &found)
        : m_pattern(pattern), m_options(options), m_entry(entry), m_json(json), m_found(found) {}

    Status run(ziplib::EntryReader &reader);

  private:
    void lines(std::string_view text);
    void plainLines(std::string_view text);
    void line(std::string_view text);
    bool done() const { return m_options.namesOnly && m_found.any; }

    const re2::RE2 &m_pattern;
    const Options &m_options;
    const EntryOf &m_entry;
    const bool m_json;
    Found &m_found;
    std::uint64_t m_number = 0; // of lines before the text
};

Status Search::run(ziplib::EntryReader &reader) {
    std::string carried; // the start of a line that goes on in the next chunk
    bool first = true;
    for (;;) {
        ziplib::EntryReader::Chunk chunk;
        if (Status status = reader.next(chunk); !status.ok())
            return status;
        std::string_view text(reinterpret_cast<const char *>(chunk.data()), chunk.size());
        if (first && !looksLikeText(text))
            return {};
        first = false;
        if (text.empty()) {
            lines(carried);
            return {};
        }
        const std::size_t end = text.rfind('\n') + 1;
        if (!carried.empty() && end > 0) {
            const std::size_t joint = text.find('\n') + 1;
            lines(carried.append(text.substr(0, joint)));
            carried.clear();
            lines(text.substr(joint, end - joint));
        } else if (end > 0) {
            lines(text.substr(0, end));
        }
        carried += text.substr(end);
        // A line of this length is no text that a person has written.
        constexpr std::size_t kLongest = 16U << 20;
        if (carried.size() > kLongest)
            return {};
    }
}

// Brings whole lines into the form that is searched: UTF-8, ends of LF.
void Search::lines(std::string_view text) {
    std::string converted;
    if (!ziplib::isAscii(text)) {
        converted = toUtf8(text);
        text = converted;
    }
    if (text.find('\r') == std::string_view::npos)
        return plainLines(text);
    std::string plain;
    plain.reserve(text.size());
    while (!text.empty()) {
        const std::size_t end = std::min(text.find("\r\n"), text.size());
        plain += text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    plainLines(plain);
}

void Search::plainLines(std::string_view text) {
    std::size_t counted = 0; // where the line m_number + 1 starts
    std::size_t at = 0;
    re2::StringPiece match;
    const re2::StringPiece whole(text.data(), text.size());
    while (at < text.size() && !done() &&
           m_pattern.Match(whole, at, text.size(), re2::RE2::UNANCHORED, &match, 1)) {
        auto where = static_cast<std::size_t>(match.data() - text.data());
        if (where >= text.size())
            break; // the empty text after the last line end
        const std::size_t before = text.rfind('\n', where == 0 ? 0 : where - 1);
        const std::size_t start =
            where == 0 || before == std::string_view::npos || text[before] != '\n' ? 0 : before + 1;
        const std::size_t end = std::min(text.find('\n', where), text.size());
        m_number += static_cast<std::uint64_t>(
            std::count(text.begin() + static_cast<std::ptrdiff_t>(counted),
                       text.begin() + static_cast<std::ptrdiff_t>(start), '\n'));
        counted = start;
        line(text.substr(start, end - start));
        at = end + 1;
    }
    m_number += static_cast<std::uint64_t>(
        std::count(text.begin() + static_cast<std::ptrdiff_t>(counted), text.end(), '\n'));
}

void Search::line(std::string_view text) {
    m_found.any = true;
    const std::string &archive = m_entry.archive->path;
    if (m_json) {
        Json object{{"archive", archive}, {"entry", m_entry.path()}};
        if (!m_options.namesOnly) {
            object["line"] = m_number + 1;
            object["text"] = std::string(text);
        }
        m_found.output += object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
        return;
    }
    m_found.output += coloured(Colour::Magenta, shown(archive)) + ':' +
                      coloured(Colour::Magenta, shown(m_entry.path()));
    if (!m_options.namesOnly) {
        std::string safe(text);
        std::replace(safe.begin(), safe.end(), '\t', ' ');
        m_found.output +=
            ':' + coloured(Colour::Green, std::to_string(m_number + 1)) + ':' + shown(safe);
    }
    m_found.output += '\n';
}

Exit searchGroup(const std::vector<std::unique_ptr<Archive>> &group, const re2::RE2 &pattern,
                 const Options &options, bool json, bool &any) {
    std::vector<EntryOf> entries;
    for (const auto &archive : group)
        for (std::size_t i = 0; i < archive->directory.entries().size(); ++i)
            if (const EntryOf entry{archive.get(), i};
                entry.entry().size > 0 && !isBinaryName(entry.path()))
                entries.push_back(entry);
    Exit result = Exit::Fine;
    std::vector<Found> found(entries.size());
    readEntries(
        "searching", entries,
        [&](std::size_t i, ziplib::EntryReader &reader) {
            return Search(pattern, options, entries[i], json, found[i]).run(reader);
        },
        [&](std::size_t i, const Status &status) {
            if (!status.ok()) {
                complain(entryMessage(*entries[i].archive, status));
                result = worse(result, exitOf(status));
            }
            any = any || found[i].any;
            print(found[i].output);
            found[i] = {};
        });
    return result;
}

Exit grep(const Options &options, bool json) {
    re2::RE2::Options rules(re2::RE2::Quiet);
    rules.set_case_sensitive(!options.ignoreCase);
    rules.set_literal(options.fixed);
    rules.set_never_nl(true); // a match stays in its line
    // "^" and "$" mean the ends of a line.
    const re2::RE2 pattern(options.fixed ? options.pattern : "(?m)" + options.pattern, rules);
    if (!pattern.ok())
        throw Failed(Exit::Misuse, "the pattern is wrong: " + pattern.error());
    std::vector<std::string> archives = options.archives;
    if (archives.empty())
        for (const std::string &folder : gameFolders(options.mods))
            for (std::string &path : archivesOf(folder))
                archives.push_back(std::move(path));
    bool any = false;
    const Exit result = forEachGroup(archives, For::Reading, [&](auto &group) {
        return searchGroup(group, pattern, options, json, any);
    });
    return any ? result : worse(result, Exit::Findings);
}

} // namespace

void addGrep(CLI::App &program, Request &request) {
    CLI::App *command = program.add_subcommand(
        "grep", "Search the texts for a regular expression; the exit code is 1 if no line matches");
    const auto options = std::make_shared<Options>();
    command->add_flag("-i,--ignore-case", options->ignoreCase, "Letters' case does not count");
    command->add_flag("-F,--fixed", options->fixed, "The pattern is a plain text");
    command->add_flag("-l,--names", options->namesOnly, "Print only the names of the entries");
    command->add_option("--mod", options->mods, "Search GameData/NAME too, without archives")
        ->type_name("NAME")
        ->expected(1);
    command->add_option("PATTERN", options->pattern, "A regular expression in RE2's syntax")
        ->required();
    command->add_option("ARCHIVE", options->archives,
                        "The archives; none means those of the registered game");
    command->callback([options, &request] {
        request.run = [options, &request] { return grep(*options, request.json); };
    });
}

} // namespace vl2

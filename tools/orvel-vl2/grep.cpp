#include "storage/utf8.h"
#include "tools/orvel-vl2/commands.h"
#include "tools/orvel-vl2/game.h"
#include "tools/orvel-vl2/linePattern.h"
#include "tools/orvel-vl2/orderedOutput.h"
#include "tools/orvel-vl2/readEntries.h"
#include "tools/orvel-vl2/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>

namespace vl2 {

namespace {

using platform::Status;

struct GrepOptions {
    std::string pattern;
    std::vector<std::string> archives;
    std::vector<std::string> mods;
    bool ignoreCase = false;
    bool fixed = false;
    bool namesOnly = false;
};

// The number of line ends, in blocks that compilers turn into vector instructions.
std::uint64_t countLines(std::string_view text) {
    constexpr std::size_t kBlock = 128;
    std::uint64_t lines = 0;
    for (; text.size() >= kBlock; text.remove_prefix(kBlock)) {
        std::uint8_t inBlock = 0;
        for (std::size_t i = 0; i < kBlock; ++i)
            inBlock = static_cast<std::uint8_t>(inBlock + (text[i] == '\n' ? 1 : 0));
        lines += inBlock;
    }
    return lines + static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n'));
}

// Searches the lines of an entry as it is read.
class Search {
  public:
    Search(const LinePattern &pattern, const GrepOptions &options, const EntryOf &entry, bool json,
           OrderedOutput::Part &output)
        : m_search(pattern), m_options(options), m_entry(entry), m_json(json), m_output(output) {}

    Status run(ziplib::EntryReader &reader);

  private:
    void lines(std::string_view text);
    void line(std::string_view text);
    bool done() const { return (m_options.namesOnly && m_output.any()) || m_output.hasFailed(); }

    LinePattern::Search m_search;
    const GrepOptions &m_options;
    const EntryOf &m_entry;
    const bool m_json;
    OrderedOutput::Part &m_output;
    std::uint64_t m_number = 0; // of lines before the text
    std::string m_prefix;       // of each line that is printed
};

// The start of a line that goes on in the next chunk. Of a line that is longer than any that a
// person has written, only the start is kept: LinePattern does not search more.
class Carried {
  public:
    void append(std::string_view text) {
        constexpr std::size_t kLongest = 1U << 20;
        if (m_line.size() < kLongest && m_line.size() + text.size() > kLongest) {
            m_line += text.substr(0, kLongest - m_line.size());
            // Half a character would make it another encoding; one has at most four bytes.
            std::size_t end = kLongest - 1;
            while (end > kLongest - 4 && (m_line[end] & 0xC0) == 0x80)
                --end;
            std::fill(m_line.begin() + static_cast<std::ptrdiff_t>(end), m_line.end(), ' ');
        } else if (m_line.size() < kLongest) {
            m_line += text;
        }
    }
    std::string &line() { return m_line; }

  private:
    std::string m_line;
};

Status Search::run(ziplib::EntryReader &reader) {
    Carried carried;
    bool first = true;
    while (!done()) {
        ziplib::EntryReader::Chunk chunk;
        if (Status status = reader.next(chunk); !status.ok())
            return status;
        std::string_view text(reinterpret_cast<const char *>(chunk.data()), chunk.size());
        if (first && !looksLikeText(text))
            return {};
        first = false;
        if (text.empty()) {
            lines(carried.line());
            return {};
        }
        const std::size_t end = text.rfind('\n') + 1;
        if (!carried.line().empty() && end > 0) {
            const std::size_t joint = text.find('\n') + 1;
            carried.append(text.substr(0, joint - 1));
            lines(carried.line().append("\n"));
            carried.line().clear();
            lines(text.substr(joint, end - joint));
        } else if (end > 0) {
            lines(text.substr(0, end));
        }
        carried.append(text.substr(end));
    }
    return {};
}

// Searches whole lines, as UTF-8.
void Search::lines(std::string_view text) {
    std::string converted;
    if (!platform::isAscii(text)) {
        converted = toUtf8(text);
        text = converted;
    }
    std::size_t counted = 0; // where the line m_number + 1 starts
    const auto count = [&](std::size_t end) {
        m_number += countLines(text.substr(counted, end - counted));
        counted = end;
    };
    for (std::size_t at = 0; at < text.size() && !done();) {
        const std::size_t where = m_search.find(text, at);
        if (where >= text.size())
            break;
        const std::size_t start = where == 0 ? 0 : text.rfind('\n', where - 1) + 1;
        const std::size_t end = std::min(text.find('\n', where), text.size());
        count(start);
        std::string_view found = text.substr(start, end - start);
        if (found.ends_with('\r'))
            found.remove_suffix(1);
        line(found);
        at = end + 1;
    }
    count(text.size());
}

void Search::line(std::string_view text) {
    const std::string &archive = m_entry.archive->path;
    if (m_json) {
        Json object{{"archive", archive}, {"entry", m_entry.path()}};
        if (!m_options.namesOnly) {
            object["line"] = m_number + 1;
            object["text"] = std::string(text);
        }
        m_output.append(object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n');
        return;
    }
    if (m_prefix.empty())
        m_prefix = coloured(Colour::Magenta, shown(archive)) + ':' +
                   coloured(Colour::Magenta, shown(m_entry.path()));
    std::string output = m_prefix;
    if (!m_options.namesOnly) {
        std::array<char, 24> digits{};
        const auto end =
            std::to_chars(digits.data(), digits.data() + digits.size(), m_number + 1).ptr;
        output += ':';
        appendColoured(output, Colour::Green, {digits.data(), end});
        output += ':';
        appendShown(output, text, Tabs::Kept);
    }
    output += '\n';
    m_output.append(output);
}

Exit searchGroup(const std::vector<std::unique_ptr<Archive>> &group, const LinePattern &pattern,
                 const GrepOptions &options, bool json, bool &any) {
    std::vector<EntryOf> entries;
    for (const auto &archive : group) {
        for (std::size_t i = 0; i < archive->directory.entries().size(); ++i) {
            const EntryOf entry{archive.get(), i};
            if (entry.entry().size > 0 && !isBinaryName(entry.path()))
                entries.push_back(entry);
        }
    }
    Exit result = Exit::Fine;
    OrderedOutput output;
    readEntries(
        "searching", entries,
        [&](std::size_t i, ziplib::EntryReader &reader) {
            OrderedOutput::Part part(output, i);
            Status status = Search(pattern, options, entries[i], json, part).run(reader);
            part.finish();
            return status;
        },
        [&](std::size_t i, const Status &status) {
            if (!status.ok()) {
                complain(entryMessage(*entries[i].archive, status));
                result = worse(result, exitOf(status));
            }
        });
    any = any || output.any();
    return result;
}

Exit grep(const GrepOptions &options, bool json) {
    const LinePattern pattern(
        options.pattern, options.fixed ? LinePattern::Syntax::Fixed : LinePattern::Syntax::Regular,
        options.ignoreCase ? LinePattern::Case::Ignored : LinePattern::Case::Sensitive);
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
    const auto options = std::make_shared<GrepOptions>();
    command->add_flag("-i,--ignore-case", options->ignoreCase, "Letters' case does not count");
    command->add_flag("-F,--fixed", options->fixed, "The pattern is a plain text");
    command->add_flag("-l,--names", options->namesOnly, "Print only the names of the entries");
    command
        ->add_option("--mod", options->mods,
                     "Search GameData/NAME too, without archives; may be repeated")
        ->type_name("NAME");
    command->add_option("PATTERN", options->pattern, "A regular expression in PCRE2's syntax")
        ->required();
    command->add_option("ARCHIVE", options->archives,
                        "The archives; none means those in GameData/base of the registered game");
    command->callback([options, &request] {
        request.run = [options, &request] { return grep(*options, request.json); };
    });
}

} // namespace vl2

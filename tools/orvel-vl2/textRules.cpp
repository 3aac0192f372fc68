#include "storage/utf8.h"
#include "tools/orvel-vl2/rules.h"
#include "tools/orvel-vl2/text.h"
#include "ziplib/format/names.h"

#include <algorithm>
#include <array>

// Rules about the contents of texts.

namespace vl2 {

namespace {

bool isScript(const CheckedFile &file) {
    for (const std::string_view extension : {".cs", ".mis", ".gui"})
        if (file.folded.ends_with(extension))
            return true;
    return false;
}

bool isMission(const CheckedFile &file) {
    return file.folded.starts_with("missions/") && file.folded.ends_with(".mis");
}

void byteOrderMark(const Checked &, const CheckedFile &file, std::string_view content,
                   const Report &report) {
    for (const std::string_view mark : {"\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"})
        if (content.starts_with(mark))
            report(file.path, "");
}

// Some bytes are UTF-8 and others are not.
void mixedEncoding(const Checked &, const CheckedFile &file, std::string_view content,
                   const Report &report) {
    if (platform::isAscii(content) || platform::isUtf8(content))
        return;
    // Two letters in Windows-1252 may look like one in UTF-8 by chance, as a sharp s before a
    // quotation mark. The codes of the letters of Western Europe and of typographic marks hardly
    // do: they would be a capital A with a tilde or circumflex before a symbol.
    constexpr char32_t kLastUnicode = 0x10FFFF;
    int sure = 0;
    int multiple = 0;
    int single = 0;
    for (std::size_t at = 0; at < content.size();) {
        const char32_t c = platform::nextCodePoint(content, at);
        multiple += c >= 0x80 && c <= kLastUnicode ? 1 : 0;
        single += c > kLastUnicode ? 1 : 0;
        sure += (c >= 0xA1 && c <= 0xFF) || (c >= 0x2000 && c <= 0x20FF) ? 1 : 0;
    }
    if (sure >= 2 || (multiple > 2 && multiple >= single))
        report(file.path, "");
}

void missionTypes(const Checked &, const CheckedFile &file, std::string_view content,
                  const Report &report) {
    if (!isMission(file))
        return;
    const std::string folded = platform::foldCase(content);
    for (std::size_t at = folded.find("missiontypes"); at != std::string::npos;
         at = folded.find("missiontypes", at + 1)) {
        const std::size_t start = folded.rfind('\n', at) + 1;
        const std::size_t after = folded.find_first_not_of(" \t", at + 12);
        if (std::string_view(folded).substr(start, at - start).find("//") !=
                std::string_view::npos &&
            after != std::string::npos && folded[after] == '=')
            return;
    }
    report(file.path, "");
}

// The file that a field of a mission names, folded and without folders, as for the field
// "terrainfile" `terrainFile = "Name.ter";`; "" if there is none.
std::string fileOfField(std::string_view folded, std::string_view field) {
    for (std::size_t at = folded.find(field); at != std::string_view::npos;
         at = folded.find(field, at + 1)) {
        const std::size_t equals = folded.find_first_not_of(" \t", at + field.size());
        if (equals == std::string_view::npos || folded[equals] != '=')
            continue;
        const std::size_t start = folded.find_first_not_of(" \t", equals + 1);
        if (start == std::string_view::npos || folded[start] != '"')
            continue;
        const std::size_t end = folded.find_first_of("\"\n", start + 1);
        if (end != std::string_view::npos && folded[end] == '"')
            return std::string(ziplib::lastComponent(folded.substr(start + 1, end - start - 1)));
    }
    return {};
}

std::string stemOf(std::string_view name) {
    return std::string(name.substr(0, name.rfind('.')));
}

bool hasTerrainFile(const Checked &checked, const std::string &name) {
    return checked.find("terrains/" + name) != nullptr || checked.companions->hasTerrainFile(name);
}

// Many missions use a terrain of the game itself. One of the mission's own name is most likely the
// map's.
void missionTerrain(const Checked &checked, const CheckedFile &file, std::string_view content,
                    const Report &report) {
    if (!isMission(file))
        return;
    const std::string terrain = fileOfField(platform::foldCase(content), "terrainfile");
    if (terrain == stemOf(ziplib::lastComponent(file.folded)) + ".ter" &&
        !hasTerrainFile(checked, terrain))
        report(file.path, "terrains/" + terrain);
}

// A mission names its graph. Its spawn points have the name of the graph or of the mission. The
// game has both for its own terrains, so that only missions with a terrain in the archive need
// them.
void missionGraph(const Checked &checked, const CheckedFile &file, std::string_view content,
                  const Report &report) {
    if (!isMission(file))
        return;
    const std::string folded = platform::foldCase(content);
    const std::string terrain = fileOfField(folded, "terrainfile");
    if (terrain.empty() || checked.find("terrains/" + terrain) == nullptr)
        return;
    const std::string mission = stemOf(ziplib::lastComponent(file.folded));
    const std::string named = fileOfField(folded, "graphfile");
    const std::string graph = named.empty() ? mission : stemOf(named);
    if (!hasTerrainFile(checked, graph + ".nav") ||
        !(hasTerrainFile(checked, graph + ".spn") || hasTerrainFile(checked, mission + ".spn")))
        report(file.path, "");
}

// Finds the first bracket or quote without its partner. Comments reach to the end of the line.
class Balance {
  public:
    explicit Balance(std::string_view content) : m_text(content) {}

    // A message, or "" if all have one.
    std::string check() {
        for (; m_at < m_text.size(); ++m_at)
            if (!step())
                return m_problem;
        if (m_open.empty())
            return {};
        return "line " + std::to_string(m_open.back().line) + ": '" + m_open.back().bracket +
               "' is never closed";
    }

  private:
    struct Open {
        char bracket;
        std::size_t line;
    };

    bool step() {
        const char c = m_text[m_at];
        if (c == '\n')
            ++m_line;
        else if (c == '/' && m_text.substr(m_at, 2) == "//")
            m_at = std::min(m_text.find('\n', m_at), m_text.size()) - 1;
        else if (c == '"' || c == '\'')
            return skipText(c);
        else if (c == '(' || c == '[' || c == '{')
            m_open.push_back({c, m_line});
        else if (c == ')' || c == ']' || c == '}')
            return close(c);
        return true;
    }

    bool skipText(char quote) {
        for (++m_at; m_at < m_text.size() && m_text[m_at] != quote; ++m_at) {
            if (m_text[m_at] == '\n')
                return fail(quote, "is not closed in its line");
            if (m_text[m_at] == '\\')
                ++m_at;
        }
        return m_at < m_text.size() || fail(quote, "is not closed");
    }

    bool close(char c) {
        const char partner = c == ')' ? '(' : c == ']' ? '[' : '{';
        if (m_open.empty() || m_open.back().bracket != partner)
            return fail(c, "closes nothing that is open");
        m_open.pop_back();
        return true;
    }

    bool fail(char c, const char *what) {
        m_problem = "line " + std::to_string(m_line) + ": " + c + ' ' + what;
        return false;
    }

    std::string_view m_text;
    std::size_t m_at = 0;
    std::size_t m_line = 1;
    std::vector<Open> m_open;
    std::string m_problem;
};

void unbalanced(const Checked &, const CheckedFile &file, std::string_view content,
                const Report &report) {
    if (!isScript(file) || !looksLikeText(content))
        return;
    if (const std::string problem = Balance(content).check(); !problem.empty())
        report(file.path, problem);
}

constexpr std::array<Rule, 6> kRules = {{
    {"bom", Severity::Error,
     "The game takes a byte order mark for a part of the first line: save it without.", nullptr,
     byteOrderMark},
    {"mixed-encoding", Severity::Warning,
     "Some letters are UTF-8 and others are not: save it in one encoding.", nullptr, mixedEncoding},
    {"mission-types", Severity::Warning,
     "A mission without a line \"// MissionTypes =\" appears in no list: add one.", nullptr,
     missionTypes},
    {"mission-terrain", Severity::Note,
     "The terrain of the mission's name is not here: add it, unless it is one of the game's own.",
     nullptr, missionTerrain},
    {"mission-graph", Severity::Note,
     "The mission's terrain is here, but not its graph: add the .nav and .spn for bots.", nullptr,
     missionGraph},
    {"unbalanced", Severity::Error,
     "A bracket or quote has no partner, so the game rejects the script: correct it.", nullptr,
     unbalanced},
}};

} // namespace

std::span<const Rule> textRules() {
    return kRules;
}

} // namespace vl2

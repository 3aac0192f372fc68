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

// The value of a field of the terrain, as `terrainFile = "Name.ter";`.
std::string terrainOf(std::string_view content) {
    const std::string folded = platform::foldCase(content);
    std::size_t at = folded.find("terrainfile");
    if (at == std::string::npos)
        return {};
    at = folded.find('"', at);
    const std::size_t end = at == std::string::npos ? at : folded.find('"', at + 1);
    return end == std::string::npos ? std::string() : folded.substr(at + 1, end - at - 1);
}

// Many missions use a terrain of the game itself. One of the mission's own name is the map's.
void missionTerrain(const Checked &checked, const CheckedFile &file, std::string_view content,
                    const Report &report) {
    if (!isMission(file))
        return;
    const std::string terrain(ziplib::lastComponent(terrainOf(content)));
    const std::string name(ziplib::lastComponent(file.folded));
    if (!terrain.empty() && terrain == name.substr(0, name.rfind('.')) + ".ter" &&
        checked.find("terrains/" + terrain) == nullptr)
        report(file.path, "terrains/" + terrain);
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

constexpr std::array<Rule, 5> kRules = {{
    {"bom", Severity::Error,
     "The game takes a byte order mark for a part of the first line: save it without.", nullptr,
     byteOrderMark},
    {"mixed-encoding", Severity::Warning,
     "Some letters are UTF-8 and others are not: save it in one encoding.", nullptr, mixedEncoding},
    {"mission-types", Severity::Warning,
     "A mission without a line \"// MissionTypes =\" appears in no list: add one.", nullptr,
     missionTypes},
    {"mission-terrain", Severity::Warning,
     "The terrain of the mission's own name is missing: add it unless the game has it.", nullptr,
     missionTerrain},
    {"unbalanced", Severity::Error,
     "A bracket or quote has no partner, so the game rejects the script: correct it.", nullptr,
     unbalanced},
}};

} // namespace

std::span<const Rule> textRules() {
    return kRules;
}

} // namespace vl2

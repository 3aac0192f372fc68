#include "registry/posix/hive.h"

#include "registry/posix/registryText.h"

#include <QSet>

namespace platform::hive {

namespace {

constexpr QByteArrayView kHeader = "WINE REGISTRY Version 2";

// Seconds from 1601, the epoch of a hive's file times, to 1970.
constexpr std::int64_t kSecondsBefore1970 = 11'644'473'600;
constexpr std::int64_t kTicksPerSecond = 10'000'000;

bool isBlankLine(QByteArrayView text, const Line &line) {
    return text.sliced(line.begin, line.end - line.begin).trimmed().isEmpty();
}

bool endsInBackslash(QByteArrayView text, const Line &line) {
    return text.sliced(line.begin, line.end - line.begin).trimmed().endsWith('\\');
}

// The path in a key's line; nothing if the line is damaged.
std::optional<QString> readHeader(QByteArrayView text, const Line &line) {
    const QByteArrayView part = text.first(line.end);
    qsizetype at = part.indexOf('[', line.begin) + 1;
    const std::optional<QString> path = readEscaped(part, at, ']');
    return path ? std::optional(foldCase(keyPath(*path))) : std::nullopt;
}

enum class Relation { Other, Same, Below };

Relation relationOf(QStringView header, QStringView path) {
    if (header == path)
        return Relation::Same;
    const bool isBelow = header.startsWith(path) && header[path.size()] == u'\\';
    return isBelow ? Relation::Below : Relation::Other;
}

// The relation of a line's key to a folded path. Compares the bytes directly if possible, because
// nearly all keys of a hive are others; unusual keys are decoded.
Relation relationOf(QByteArrayView text, const Line &line, QStringView path) {
    const auto readInFull = [&] {
        const std::optional<QString> header = readHeader(text, line);
        return header ? relationOf(*header, path) : Relation::Other;
    };
    qsizetype matched = 0;
    for (qsizetype at = text.indexOf('[', line.begin) + 1; at < line.end; ++at) {
        char c = text[at];
        if (c == ']')
            return matched == path.size() ? Relation::Same : Relation::Other;
        if (c == '\\') {
            const QByteArrayView next = text.first(line.end).sliced(at + 1);
            const bool isPlain = matched > 0 && next.size() > 1 && next[0] == '\\' &&
                                 next[1] != '\\' && next[1] != ']';
            if (!isPlain || matched == path.size())
                return readInFull();
            ++at;
        }
        if (static_cast<unsigned char>(c) >= 0x80)
            return readInFull();
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
        if (matched == path.size() || path[matched] != QLatin1Char(c))
            return Relation::Other;
        ++matched;
    }
    return Relation::Other; // damaged: the line ends before the path does
}

// The last line of a text that is not empty.
Line lastLine(QByteArrayView text) {
    const qsizetype end = text.endsWith('\n') ? text.size() - 1 : text.size();
    return lineAt(text, text.first(end).lastIndexOf('\n') + 1);
}

} // namespace

Hive::Hive(const QByteArray &text) : m_text(text) {
    index();
}

bool Hive::isWritable() const {
    return !m_text.startsWith("\xFF\xFE") && !m_text.startsWith("\xFE\xFF");
}

// A damaged key line still ends the previous key: the values below it belong to no known key.
void Hive::index() {
    const QByteArrayView text(m_text);
    for (Line line; line.next < text.size();) {
        line = lineAt(text, line.next);
        if (firstCharacter(text, line) != '[')
            continue;
        if (!m_sections.empty())
            m_sections.back().end = line.begin;
        m_sections.push_back({line, text.size()});
    }
}

Hive::Key Hive::key(QStringView path) const {
    const QString folded = foldCase(path);
    const std::lock_guard guard(m_mutex);
    if (const auto known = m_keys.constFind(folded); known != m_keys.cend())
        return *known;
    Key key;
    for (const Section &section : m_sections) {
        switch (relationOf(m_text, section.header, folded)) {
        case Relation::Same:
            key.sections.push_back(&section);
            break;
        case Relation::Below:
            key.isAboveOthers = true;
            break;
        case Relation::Other:
            break;
        }
    }
    m_keys.insert(folded, key);
    return key;
}

bool Hive::hasKey(QStringView path) const {
    if (path.isEmpty())
        return true;
    const Key found = key(path);
    return found.isAboveOthers || !found.sections.empty();
}

std::vector<ValueLine> Hive::valueLines(const Section &section) const {
    std::vector<ValueLine> lines;
    const QByteArrayView text = QByteArrayView(m_text).first(section.end);
    for (qsizetype at = section.header.next; at < section.end;) {
        const Line line = lineAt(text, at);
        const char first = firstCharacter(text, line);
        at = line.next;
        if (first != '"' && first != '@')
            continue;
        ValueLine value = readValue(text, line);
        at = value.next;
        if (value.value)
            lines.push_back(std::move(value));
    }
    return lines;
}

std::optional<ValueLine> Hive::find(QStringView path, QStringView name) const {
    const Key found = key(path);
    const QString folded = foldCase(name);
    for (auto part = found.sections.rbegin(); part != found.sections.rend(); ++part) {
        std::vector<ValueLine> lines = valueLines(**part);
        for (auto line = lines.rbegin(); line != lines.rend(); ++line)
            if (foldCase(line->name) == folded)
                return std::move(*line);
    }
    return std::nullopt;
}

std::optional<Value> Hive::value(QStringView path, QStringView name) const {
    std::optional<ValueLine> found = find(path, name);
    return found ? std::move(found->value) : std::nullopt;
}

QStringList Hive::valueNames(QStringView path) const {
    QStringList names;
    QSet<QString> known;
    const Key found = key(path);
    for (const Section *part : found.sections) {
        for (const ValueLine &line : valueLines(*part)) {
            const qsizetype before = known.size();
            known.insert(foldCase(line.name));
            if (known.size() > before)
                names += line.name;
        }
    }
    return names;
}

QByteArray Hive::lineEnd() const {
    const qsizetype feed = m_text.indexOf('\n');
    return feed > 0 && m_text[feed - 1] == '\r' ? "\r\n" : "\n";
}

void Hive::appendKey(QByteArray &text, QStringView path, std::int64_t now) const {
    const QByteArray end = lineEnd();
    if (text.trimmed().isEmpty()) {
        (text += kHeader) += end;
        text += R"(;; All keys relative to \\REGISTRY\\Machine)" + end + end + "#arch=win64" + end;
    }
    if (!text.endsWith('\n'))
        text += end;
    // The empty line also keeps a truncated list of bytes from continuing in the next line.
    if (!isBlankLine(text, lastLine(text)))
        text += end;
    text += '[' + escaped(path, "[]") + "] " + QByteArray::number(now) + end;
    text += "#time=" + QByteArray::number((now + kSecondsBefore1970) * kTicksPerSecond, 16) + end;
}

QByteArray Hive::withKey(QStringView path, std::int64_t now) const {
    QByteArray text = m_text;
    if (!hasKey(path))
        appendKey(text, path, now);
    return text;
}

// Inserts a line after the last meaningful line of a section, so that comments and empty lines
// before the next key stay with that key.
QByteArray Hive::inserted(const Section &section, const QByteArray &line) const {
    const QByteArrayView text = QByteArrayView(m_text).first(section.end);
    Line last = section.header;
    for (Line each = last; each.next < section.end;) {
        each = lineAt(text, each.next);
        if (!isBlankLine(text, each) && firstCharacter(text, each) != ';')
            last = each;
    }
    const QByteArray end = lineEnd();
    QByteArray added = end + line;
    if (endsInBackslash(text, last))
        added.prepend(end); // a truncated value must not continue in the new line
    if (last.end == m_text.size())
        added += end;
    return QByteArray(m_text).insert(last.end, added);
}

QByteArray Hive::withValue(QStringView path, QStringView name, const Value &value,
                           std::int64_t now) const {
    const QByteArray data = writeData(value, lineEnd());
    if (const std::optional<ValueLine> old = find(path, name))
        return QByteArray(m_text).replace(old->dataBegin, old->end - old->dataBegin, data);
    const QByteArray line = writeName(name) + data;
    if (const Key found = key(path); !found.sections.empty())
        return inserted(*found.sections.back(), line);
    QByteArray text = m_text;
    appendKey(text, path, now);
    return text + line + lineEnd();
}

} // namespace platform::hive

#include "platform/posix/hive.h"

#include "platform/posix/registryText.h"

#include <QSet>

namespace platform::hive {

namespace {

constexpr QByteArrayView kHeader = "WINE REGISTRY Version 2";

// Seconds from 1601, where the file times of a hive begin, to 1970.
constexpr std::int64_t kSecondsBefore1970 = 11'644'473'600;
constexpr std::int64_t kTicksPerSecond = 10'000'000;

bool isBlankLine(QByteArrayView text, const Line &line) {
    return text.sliced(line.begin, line.end - line.begin).trimmed().isEmpty();
}

bool endsInBackslash(QByteArrayView text, const Line &line) {
    return text.sliced(line.begin, line.end - line.begin).trimmed().endsWith('\\');
}

// The path in a key's line; nothing where the line is damaged.
std::optional<QString> readHeader(QByteArrayView text, const Line &line) {
    const QByteArrayView part = text.first(line.end);
    qsizetype at = part.indexOf('[', line.begin) + 1;
    const std::optional<QString> path = readEscaped(part, at, ']');
    return path ? std::optional(foldCase(keyPath(*path))) : std::nullopt;
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

// A line that begins a key but is damaged ends the key before it all the same: the values below it
// belong to nobody that is known.
void Hive::index() {
    const QByteArrayView text(m_text);
    std::vector<Section> *open = nullptr;
    for (Line line; line.next < text.size();) {
        line = lineAt(text, line.next);
        if (firstCharacter(text, line) != '[')
            continue;
        if (open != nullptr)
            open->back().end = line.begin;
        open = nullptr;
        if (const std::optional<QString> path = readHeader(text, line)) {
            open = &m_sections[*path];
            open->push_back({line, text.size()});
        }
    }
}

const std::vector<Hive::Section> *Hive::sections(QStringView path) const {
    const auto found = m_sections.constFind(foldCase(path));
    return found == m_sections.cend() ? nullptr : &*found;
}

bool Hive::hasKey(QStringView path) const {
    if (path.isEmpty() || sections(path) != nullptr)
        return true;
    const QString above = foldCase(path) + u'\\';
    for (auto key = m_sections.keyBegin(); key != m_sections.keyEnd(); ++key) {
        if (key->startsWith(above))
            return true;
    }
    return false;
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
    const std::vector<Section> *parts = sections(path);
    if (parts == nullptr)
        return std::nullopt;
    const QString folded = foldCase(name);
    for (auto part = parts->rbegin(); part != parts->rend(); ++part) {
        std::vector<ValueLine> lines = valueLines(*part);
        for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
            if (foldCase(line->name) == folded)
                return std::move(*line);
        }
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
    const std::vector<Section> *parts = sections(path);
    if (parts == nullptr)
        return names;
    for (const Section &part : *parts) {
        for (const ValueLine &line : valueLines(part)) {
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
    // The empty line also keeps a list of bytes that was cut off from going on in what follows.
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

// Puts a line behind the last line of a section that says something, so that the comments and the
// empty lines before the next key stay with that.
QByteArray Hive::inserted(const Section &section, const QByteArray &line) const {
    const QByteArrayView text = QByteArrayView(m_text).first(section.end);
    Line place = section.header;
    for (Line each = place; each.next < section.end;) {
        each = lineAt(text, each.next);
        if (!isBlankLine(text, each) && firstCharacter(text, each) != ';')
            place = each;
    }
    const QByteArray end = lineEnd();
    QByteArray added = end + line;
    if (endsInBackslash(text, place))
        added.prepend(end); // what was cut off must not go on in the new line
    if (place.end == m_text.size())
        added += end;
    return QByteArray(m_text).insert(place.end, added);
}

QByteArray Hive::withValue(QStringView path, QStringView name, const Value &value,
                           std::int64_t now) const {
    const QByteArray data = writeData(value, lineEnd());
    if (const std::optional<ValueLine> old = find(path, name))
        return QByteArray(m_text).replace(old->dataBegin, old->end - old->dataBegin, data);
    const QByteArray line = writeName(name) + data;
    if (const std::vector<Section> *parts = sections(path))
        return inserted(parts->back(), line);
    QByteArray text = m_text;
    appendKey(text, path, now);
    return text + line + lineEnd();
}

} // namespace platform::hive

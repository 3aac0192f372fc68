#include "platform/storedNames.h"

#include "storage/pathText.h"
#include "storage/utf8.h"

#include <algorithm>
#include <utility>

namespace platform {

namespace {

// Names that a case-insensitive comparison of their texts finds equal have the same hash.
std::uint64_t hashWithoutCase(std::string_view name) {
    constexpr char32_t kReplacement = 0xFFFD;
    std::uint64_t hash = kHashStart;
    for (std::size_t at = 0; at < name.size();) {
        const char32_t c = nextCodePoint(name, at);
        if (c < kMalformedByte && c != kReplacement)
            hash = hashStep(hash, QChar::toCaseFolded(c));
    }
    return hash;
}

} // namespace

QString withoutTrailingBlanks(QString name) {
    while (name.endsWith(u' '))
        name.chop(1);
    return name;
}

void sortNames(QStringList &names) {
    std::sort(
        names.begin(), names.end(),
        [](const QString &left, const QString &right) {
            const int order = left.compare(right, Qt::CaseInsensitive);
            return order != 0 ? order < 0 : left < right;
        });
}

Status StoredNames::read(const Folder &folder) {
    m_names.clear();
    m_hashes.clear();
    std::vector<FolderItem> items;
    Status status = folder.list(items);
    if (!status.ok())
        return status;
    m_names.reserve(items.size());
    m_hashes.reserve(items.size());
    for (FolderItem &item : items) {
        m_hashes.push_back(hashWithoutCase(item.name));
        m_names.push_back(std::move(item.name));
    }
    return status;
}

std::string StoredNames::find(const QString &name) const {
    std::string stored = findText(name);
    return stored.empty() ? findText(withoutTrailingBlanks(name)) : stored;
}

std::string StoredNames::findText(const QString &text) const {
    const std::uint64_t hash = hashWithoutCase(text.toStdString());
    const std::string *first = nullptr;
    for (std::size_t i = 0; i < m_names.size(); ++i)
        if (m_hashes[i] == hash && (first == nullptr || m_names[i] < *first) &&
            QString::fromStdString(m_names[i]).compare(text, Qt::CaseInsensitive) == 0)
            first = &m_names[i];
    return first == nullptr ? std::string() : *first;
}

} // namespace platform

#include "platform/storedNames.h"

#include <algorithm>
#include <utility>

namespace platform {

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
    std::vector<FolderItem> items;
    Status status = folder.list(items);
    if (!status.ok())
        return status;
    m_names.reserve(items.size());
    for (FolderItem &item : items)
        m_names.push_back({QString::fromStdString(item.name), std::move(item.name)});
    std::sort(m_names.begin(), m_names.end(), [](const Name &left, const Name &right) {
        const int order = left.text.compare(right.text, Qt::CaseInsensitive);
        return order != 0 ? order < 0 : left.stored < right.stored;
    });
    return status;
}

std::string StoredNames::find(const QString &name) const {
    std::string stored = findText(name);
    return stored.empty() ? findText(withoutTrailingBlanks(name)) : stored;
}

std::string StoredNames::findText(const QString &text) const {
    const auto found = std::lower_bound(
        m_names.begin(), m_names.end(), text, [](const Name &left, const QString &right) {
            return left.text.compare(right, Qt::CaseInsensitive) < 0;
        });
    const bool isMatch =
        found != m_names.end() && found->text.compare(text, Qt::CaseInsensitive) == 0;
    return isMatch ? found->stored : std::string();
}

} // namespace platform

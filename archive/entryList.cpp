#include "archive/entryList.h"

#include <algorithm>
#include <string_view>

namespace {

// The number of a text at the end of a list, after it was added if it is not the last one.
std::int32_t lastNumber(QStringList &texts, const QString &text) {
    if (texts.isEmpty() || texts.last() != text)
        texts.append(text);
    return static_cast<std::int32_t>(texts.size()) - 1;
}

// Adding to an existing UTC time is the fastest way to construct one.
QDateTime dateOf(std::int32_t minutes) {
    static const QDateTime epoch = QDateTime::fromSecsSinceEpoch(0).toUTC();
    return epoch.addSecs(std::int64_t{minutes} * 60);
}

} // namespace

std::string EntryList::utf8Path(std::int32_t index) const {
    const std::string_view own = m_names.utf8(static_cast<std::size_t>(index));
    const std::string_view parent =
        m_folderPaths.utf8(static_cast<std::size_t>(item(index).folder));
    std::string path;
    path.reserve(parent.size() + 1 + own.size());
    path += parent;
    if (!path.empty())
        path += '/';
    path += own;
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

void EntryList::add(const tZipEntry &entry) {
    const std::int64_t minutes =
        entry.dDate.isValid() ? entry.dDate.toSecsSinceEpoch() / 60 : kOddDate;
    const bool isOdd = minutes <= kOddDate || minutes > INT32_MAX ||
                       entry.dDate.timeSpec() != Qt::UTC ||
                       dateOf(static_cast<std::int32_t>(minutes)) != entry.dDate;
    if (isOdd)
        m_oddDates.emplace(count(), entry.dDate);
    m_names.add(entry.sName);
    const std::int32_t folder = lastNumber(m_folders, entry.sFolder);
    if (m_folderPaths.size() < static_cast<std::size_t>(m_folders.size()))
        m_folderPaths.add(entry.sFolder);
    m_items.push_back(
        {isOdd ? kOddDate : static_cast<std::int32_t>(minutes), folder, entry.lSize, entry.lFactor,
         entry.lCRC, static_cast<std::uint32_t>(lastNumber(m_methods, entry.sMethod)) & kMethodBits,
         entry.bEncrypted, entry.bSelected});
}

tZipEntry EntryList::at(std::int32_t index) const {
    const Item &stored = item(index);
    return {name(index),
            folder(index),
            stored.size,
            stored.factor,
            m_methods.at(stored.method),
            stored.date == kOddDate ? m_oddDates.at(index) : dateOf(stored.date),
            stored.crc,
            stored.encrypted != 0,
            stored.selected != 0};
}

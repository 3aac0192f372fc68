#include "archive/entryList.h"

namespace {

// The number of a text at the end of a list, after it was added if it is not the last one.
std::int32_t lastNumber(QStringList &texts, const QString &text) {
    if (texts.isEmpty() || texts.last() != text)
        texts.append(text);
    return static_cast<std::int32_t>(texts.size()) - 1;
}

} // namespace

void EntryList::add(const tZipEntry &entry) {
    m_names.add(entry.sName);
    m_items.push_back({entry.dDate, lastNumber(m_folders, entry.sFolder),
                       lastNumber(m_methods, entry.sMethod), entry.lSize, entry.lFactor, entry.lCRC,
                       entry.bEncrypted, entry.bSelected});
}

tZipEntry EntryList::at(std::int32_t index) const {
    const Item &stored = item(index);
    return {
        name(index), folder(index), stored.size,      stored.factor,  m_methods.at(stored.method),
        stored.date, stored.crc,    stored.encrypted, stored.selected};
}

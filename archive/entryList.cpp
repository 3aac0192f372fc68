#include "archive/entryList.h"

namespace {

// The number of a text at the end of a list, after it was added if it is not the last one.
std::int32_t lastNumber(QStringList &texts, const QString &text) {
    if (texts.isEmpty() || texts.last() != text)
        texts.append(text);
    return static_cast<std::int32_t>(texts.size()) - 1;
}

} // namespace

std::string EntryList::utf8Path(std::int32_t index) const {
    const QString &parent = m_folders.at(item(index).folder);
    const QStringView own = m_names.view(static_cast<std::size_t>(index));
    const qsizetype start = parent.isEmpty() ? 0 : parent.size() + 1;
    std::string path(static_cast<std::size_t>(start + own.size()), '/');
    char16_t all = 0;
    const auto put = [&](QStringView text, char *to) {
        for (const QChar letter : text) {
            all |= letter.unicode();
            *to++ = letter == u'\\' ? '/' : static_cast<char>(letter.unicode());
        }
    };
    put(parent, path.data());
    put(own, path.data() + start);
    return all < 0x80 ? path : this->path(index).replace('\\', '/').toStdString();
}

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

#pragma once

#include "archive/packedTexts.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// One listed entry of an archive.
struct tZipEntry {
    QString sName;        // the file name, the last component of the entry's path
    QString sFolder;      // its folder, separated by "\"; "" at the archive's root
    std::int32_t lSize;   // compressed size in bytes, bit pattern of an unsigned number
    std::int32_t lFactor; // compression factor as the library reports it
    QString sMethod;      // name of the compression method
    QDateTime dDate;      // modification time as stored, without a time zone; to the minute
    std::int32_t lCRC;    // CRC-32, bit pattern of an unsigned number
    bool bEncrypted;
    bool bSelected; // initially true
};

// The listed entries of an archive in compact form, for hundreds of thousands of them. Indexes run
// from 0.
class EntryList {
  public:
    void add(const tZipEntry &entry);
    std::int32_t count() const { return static_cast<std::int32_t>(m_items.size()); }

    tZipEntry at(std::int32_t index) const;
    QString name(std::int32_t index) const { return m_names.at(static_cast<std::size_t>(index)); }
    QString folder(std::int32_t index) const { return m_folders.at(item(index).folder); }
    // Folder and name as the entry's path, separated by "\".
    QString path(std::int32_t index) const {
        const QString parent = folder(index);
        return parent.isEmpty() ? name(index) : parent + u'\\' + name(index);
    }
    // The same in UTF-8, separated by "/".
    std::string utf8Path(std::int32_t index) const;
    std::uint32_t crc(std::int32_t index) const {
        return static_cast<std::uint32_t>(item(index).crc);
    }
    bool isSelected(std::int32_t index) const { return item(index).selected != 0; }
    void select(std::int32_t index, bool selected) {
        m_items[static_cast<std::size_t>(index)].selected = selected ? 1 : 0;
    }

  private:
    struct Item {
        std::int32_t date;   // minutes since 1970, or kOddDate
        std::int32_t folder; // in m_folders
        std::int32_t size;
        std::int32_t factor;
        std::int32_t crc;
        std::uint32_t method : 30; // in m_methods
        std::uint32_t encrypted : 1;
        std::uint32_t selected : 1;
    };
    static constexpr std::uint32_t kMethodBits = (1U << 30U) - 1;
    // In m_oddDates.
    static constexpr std::int32_t kOddDate = INT32_MIN;
    const Item &item(std::int32_t index) const { return m_items[static_cast<std::size_t>(index)]; }

    std::vector<Item> m_items;
    std::map<std::int32_t, QDateTime> m_oddDates; // invalid ones, and those of a far time, by index
    PackedTexts m_names;
    // Consecutive entries usually have the same one.
    QStringList m_folders;
    PackedTexts m_folderPaths; // the same
    QStringList m_methods;
};

#pragma once

#include <QDateTime>
#include <QString>

#include <cstdint>

// One listed entry of an archive.
struct tZipEntry {
    QString sName;        // the file name, the last component of the entry's path
    QString sFolder;      // its folder with "\" between components; "" at the archive's root
    std::int32_t lSize;   // compressed size in bytes, bit pattern of an unsigned number
    std::int32_t lFactor; // compression factor as the library reports it
    QString sMethod;      // name of the compression method
    QDateTime dDate;      // modification date and time to the minute, as the archive's maker saw it
    std::int32_t lCRC;    // CRC-32, bit pattern of an unsigned number
    bool bEncrypted;
    bool bSelected; // true when listed
};

#pragma once

#include "ziplib/vl2uzip.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

class cUnzip;

// Calls the library vl2uzip for cUnzip: fills its records and handles its callbacks. One call at a
// time in the whole program.
class mUnzip {
  public:
    // Lists or extracts, as the options say. The names are the entries to process (all if the count
    // is 0) and those to exclude. Returns the library's return code. Raises 53 and other loading
    // errors, and 9 for more than 1023 names; the source is "Orvel.VBUnzip".
    static std::int32_t CallUnzipLibrary(cUnzip &oUnzip, const DCL &tOptions,
                                         std::int32_t lIncludeCount, const QStringList &asInclude,
                                         std::int32_t lExcludeCount, const QStringList &asExclude);

    // Fills the version record, whose texts the caller has initialized. Raises loading errors.
    static void QueryVersion(UzpVer2 &tVersion);

    // Truncates the path at its first NUL, converts its separators to "\" and splits it into the
    // folder and, in sPath, the name.
    static void SplitEntryPath(QString &sPath, QString &sFolder);
    // The date of a listed entry; values out of range carry over (month 13 is next January). A
    // two-digit year is 2000 to 2029 or 1930 to 1999.
    static QDateTime EntryDate(std::int32_t yr, std::int32_t mo, std::int32_t dy, std::int32_t hh,
                               std::int32_t mm);

    // The object that the callbacks serve: set by each call, kept after it returns, null after a
    // call that failed.
    static cUnzip *m_cCurrentUnzip;

  private:
    static std::int32_t OnUnzipPrint(char *buffer, std::uint32_t size) noexcept;
    static std::int32_t OnUnzipReplace(char *filename) noexcept;
    static std::int32_t OnUnzipPassword(char *p, std::int32_t n, char *m, char *name) noexcept;
    static void OnUnzipEntry(std::uint32_t ucsize, std::uint32_t csiz, std::int32_t cfactor,
                             std::int32_t mo, std::int32_t dy, std::int32_t yr, std::int32_t hh,
                             std::int32_t mm, char c, char *filename, char *methbuf,
                             std::uint32_t crc, char fCrypt) noexcept;
    static void OnUnzipExtracted(const UZPEXTRACTED *entry) noexcept;
    static std::int32_t OnUnzipService(char *filename, std::uint32_t size) noexcept;
};

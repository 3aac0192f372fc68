#pragma once

#include "ziplib/vl2uzip.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

class cUnzip;

// The options of a cUnzip: the library's record, with its texts beside it in the program's own
// form. The texts in the record itself stay null.
struct tUnzipOptions {
    DCL tRecord{};
    QString sZipFN;
    QString sExtractDir;
};

// The library's side of cUnzip: fills its records, makes the call and takes its callbacks. One call
// at a time in the whole program.
class mUnzip {
  public:
    // Lists or extracts, as the options say. The names are those to process (a count of 0: all)
    // and those to leave out. Returns the library's code. Raises 53 and the like where the library
    // cannot be had, 9 for more than 1023 names; the source is "Orvel.VBUnzip".
    static std::int32_t CallUnzipLibrary(cUnzip &oUnzip, const tUnzipOptions &tOptions,
                                         std::int32_t lIncludeCount, const QStringList &asInclude,
                                         std::int32_t lExcludeCount, const QStringList &asExclude);

    // Fills the version record, whose texts come prepared. Raises where the library cannot be had.
    static void QueryVersion(UzpVer2 &tVersion);

    // Cuts the path at its first NUL, shows its separators as "\" and parts it into the folder and,
    // left in sPath, the name.
    static void SplitEntryPath(QString &sPath, QString &sFolder);
    // Turns every "/" into "\". Returns the 1-based position after the last, or 1.
    static qsizetype SlashesToBackslashes(QString &sText);
    // The date of a listed entry; parts beyond their range carry over (month 13 is next January). A
    // year of two digits is 2000 to 2029 or 1930 to 1999.
    static QDateTime EntryDate(std::int32_t yr, std::int32_t mo, std::int32_t dy, std::int32_t hh,
                               std::int32_t mm);

    // The object that the callbacks serve: set by each call, kept after a normal return, null
    // after a call that failed.
    static cUnzip *m_cCurrentUnzip;

  private:
    static std::int32_t OnUnzipPrint(char *buffer, std::uint32_t size) noexcept;
    static std::int32_t OnUnzipReplace(char *filename) noexcept;
    static std::int32_t OnUnzipPassword(char *p, std::int32_t n, char *m, char *name) noexcept;
    static void OnUnzipEntry(std::uint32_t ucsize, std::uint32_t csiz, std::int32_t cfactor,
                             std::int32_t mo, std::int32_t dy, std::int32_t yr, std::int32_t hh,
                             std::int32_t mm, char c, char *filename, char *methbuf,
                             std::uint32_t crc, char fCrypt) noexcept;
    static std::int32_t OnUnzipService(char *filename, std::uint32_t size) noexcept;

    static bool m_bPasswordCancelled;
};

#pragma once

#include "ziplib/vl2zip.h"

#include <QString>
#include <QStringList>

class cZip;

// The options of a cZip: the library's record, with its one text beside it in the program's own
// form. The texts in the record itself stay null.
struct tZipOptions {
    ZPOPT tRecord{};
    QString szRootDir;
};

// The library's side of cZip: fills its records, makes the calls and takes its callbacks. One call
// at a time in the whole program. The folder that the specs are relative to goes to the library;
// the process's current folder stays as it is.
class mZip {
  public:
    // Packs or deletes, as the options say, and returns the library's code. Raises 76 where the
    // base folder is missing, 53 and the like where the library cannot be had, 9 for more than
    // 1022 specs.
    static std::int32_t CallZipLibrary(cZip &oZip, const tZipOptions &tOptions,
                                       const QStringList &asSpecs, std::int32_t lSpecCount);

    // Turns every "/" into "\".
    static void SlashesToBackslashes(QString &sText);

    // The object that the callbacks serve: set by each call and kept after it.
    static cZip *m_cCurrentZip;

  private:
    static std::int32_t OnZipPrint(char *buffer, std::uint32_t size) noexcept;
    static std::int32_t OnZipPassword(char *p, std::int32_t n, char *m, char *name) noexcept;
    static char *OnZipComment(char *comment) noexcept;
    static std::int32_t OnZipService(char *filename, std::uint32_t size) noexcept;
    static void OnZipPacked(const ZPPACKED *file) noexcept;

    static bool m_bZipPasswordCancelled;
};

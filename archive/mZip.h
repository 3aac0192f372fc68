#pragma once

#include "ziplib/vl2zip.h"

#include <QStringList>

class cZip;

// Calls the library vl2zip for cZip: fills its records and handles its callbacks. One call at a
// time in the whole program. The library gets the folder that the specs are relative to; the
// current folder of the process does not change.
class mZip {
  public:
    // Packs or deletes, as the options say, and returns the library's return code. Raises 76 if the
    // base folder is missing, 53 and other loading errors, and 9 for more than 1022 specs.
    static std::int32_t CallZipLibrary(cZip &oZip, const ZPOPT &tOptions,
                                       const QStringList &asSpecs, std::int32_t lSpecCount);

    // Loads the library, so that the first call takes less time. That it cannot be loaded is an
    // error of the call.
    static void PreloadLibrary();

    // The object that the callbacks serve: set by each call and kept after it.
    static cZip *m_cCurrentZip;

  private:
    static std::int32_t OnZipPrint(char *buffer, std::uint32_t size) noexcept;
    static std::int32_t OnZipPassword(char *p, std::int32_t n, char *m, char *name) noexcept;
    static char *OnZipComment(char *comment) noexcept;
    static std::int32_t OnZipService(char *filename, std::uint32_t size) noexcept;
    static void OnZipPacked(const ZPPACKED *file) noexcept;
    static void OnZipConflict(const ZPVERSION *entry) noexcept;
};

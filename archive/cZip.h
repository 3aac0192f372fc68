#pragma once

#include "archive/libraryEvents.h"
#include "archive/workRecord.h"
#include "platform/packedFiles.h"
#include "ziplib/returnCode.h"
#include "ziplib/vl2zip.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <vector>

// A file of the folder after a save, with the version of it that was read.
struct SavedFile : WorkRecord::Entry {
    enum class Outcome : std::int32_t {
        Same = VL2ZIP_SAME,         // the archive held its bytes already
        Changed = VL2ZIP_CHANGED,   // replaced its entry
        Added = VL2ZIP_ADDED,       // has a new entry
        Restored = VL2ZIP_RESTORED, // the same; its entry was removed since the extraction
        Kept = VL2ZIP_KEPT,         // not edited; the archive keeps the newer version that it has
        Removed = VL2ZIP_REMOVED,   // not edited; its entry was removed and stays so
    };

    Outcome outcome = Outcome::Same;
};

// Result of the last Zip or Delete.
struct ZipResult {
    std::int32_t code = 0; // the library's return code; -1 if the call itself failed
    QString message;       // the library's last message text, or ""
    // Paths in the archive, with "/" separators, of newly packed files that are leftovers of an
    // editor or the system by their names. Empty at message level 1.
    QStringList leftovers;
    // The files that did not end as Outcome::Same, by path. A deque, as they may be hundreds of
    // thousands, which a vector would copy while it grows.
    std::deque<SavedFile> saved;
    // The archive's versions of the entries that were changed in the archive and in the folder.
    // Nothing was saved then.
    std::vector<EntryVersion> conflicts;

    // True if every requested file is in the archive. False for warnings: some file was skipped, so
    // the sources must not be deleted.
    bool ok() const {
        using ziplib::ReturnCode;
        return ReturnCode{code} == ReturnCode::Done || ReturnCode{code} == ReturnCode::NothingToDo;
    }
    bool conflict() const { return ziplib::ReturnCode{code} == ziplib::ReturnCode::Conflict; }
    // True if the archive was written, but some file was skipped.
    bool partly() const { return ziplib::ReturnCode{code} == ziplib::ReturnCode::Warnings; }
};

// Packs files into an archive or deletes entries from it, through the companion library vl2zip.
// Only one call of Zip or Delete may be in progress in the whole program: an event handler must not
// start another.
class cZip : public LibraryEvents {
  public:
    cZip();
    ~cZip();
    cZip(const cZip &) = delete;
    cZip &operator=(const cZip &) = delete;

    // The archive to create, update or delete from.
    const QString &ZipFile() const { return m_sZipFile; }
    void setZipFile(const QString &sFileName) { m_sZipFile = sFileName; }
    // The folder that the file specs are relative to.
    const QString &BasePath() const { return m_sBasePath; }
    void setBasePath(const QString &sBasePath) { m_sBasePath = sBasePath; }

    // Options; initially off.
    bool Encrpyt() const { return m_tOptions.fEncrypt != 0; }
    void setEncrypt(bool bState) { m_tOptions.fEncrypt = bState; }
    bool IncludeSystemAndHiddenFiles() const { return m_tOptions.fSystem != 0; }
    void setIncludeSystemAndHiddenFiles(bool bState) { m_tOptions.fSystem = bState; }
    // Without effect: the library stores no volume label.
    bool StoreVolumeLabel() const { return m_tOptions.fVolume != 0; }
    void setStoreVolumeLabel(bool bState) { m_tOptions.fVolume = bState; }
    bool StoreDirectories() const { return m_tOptions.fNoDirEntries == 0; }
    void setStoreDirectories(bool bState) { m_tOptions.fNoDirEntries = !bState; }
    bool StoreFolderNames() const { return m_tOptions.fJunkDir == 0; }
    void setStoreFolderNames(bool bState) { m_tOptions.fJunkDir = !bState; }
    bool RecurseSubDirs() const { return m_tOptions.fRecurse != 0; }
    void setRecurseSubDirs(bool bState);
    bool UpdateOnlyIfNewer() const { return m_tOptions.fUpdate != 0; }
    void setUpdateOnlyIfNewer(bool bState) { m_tOptions.fUpdate = bState; }
    bool FreshenFiles() const { return m_tOptions.fFreshen != 0; }
    void setFreshenFiles(bool bState) { m_tOptions.fFreshen = bState; }
    // 0 more messages, 1 fewer, 2 (initially) the usual ones; any other value is ignored.
    std::int32_t MessageLevel() const;
    void setMessageLevel(std::int32_t eLevel);
    bool ConvertCRLFToLF() const { return m_tOptions.fCRLF_LF != 0; }
    void setConvertCRLFToLF(bool bState) { m_tOptions.fCRLF_LF = bState; }
    bool ConvertLFToCRLF() const { return m_tOptions.fLF_CRLF != 0; }
    void setConvertLFToCRLF(bool bState) { m_tOptions.fLF_CRLF = bState; }

    // Names or wildcard patterns to process, at most 1022 in one call.
    void ClearFileSpecs() { m_asSpecs.clear(); }
    // Always returns 0.
    std::int32_t AddFileSpec(const QString &sSpec);
    std::int32_t FileSpecCount() const { return static_cast<std::int32_t>(m_asSpecs.size()); }
    // A string; indexes run from 1 to FileSpecCount, any other raises 9.
    QVariant FileSpec(std::int32_t nIndex) const;

    // Without effect: an existing archive is always updated.
    bool AllowAppend() const { return m_tOptions.fGrow != 0; }
    void setAllowAppend(bool bState) { m_tOptions.fGrow = bState; }

    // Passes each entry of a base to `take`, which keeps what it needs. False if some cannot be
    // read: then the base has no entries.
    using BaseSource =
        std::function<bool(const std::function<void(const WorkRecord::Entry &entry)> &take)>;
    // What the archive held when the files of the folder were extracted: the base of the next Zip,
    // which merges what was changed since then in the folder and in the archive, and reads no file
    // that proves to be as it was. None (initially): every file that differs is packed. The base is
    // read once, by Zip.
    void setBase(BaseSource base) { m_base = std::move(base); }

    // Packs the matching files, replaces entries of the same path and keeps the others. The
    // library's report is in LastResult. Raises 53 if the library is missing, 76 if BasePath is not
    // a folder, 9 for more than 1022 specs.
    void Zip();
    // Deletes the matching entries. Raises the errors of Zip.
    void Delete();
    const ZipResult &LastResult() const { return m_tLastResult; }
    void ClearResult() { m_tLastResult = {}; }
    // The files that the last Zip packed or found unchanged, with the version of each that the
    // archive contains. The first call after a Zip takes them; none after a failure, or if the
    // library does not report them.
    std::optional<platform::PackedFiles> TakePacked();

  private:
    friend class mZip;

    QString m_sZipFile;
    QString m_sBasePath;
    QStringList m_asSpecs;
    ZPOPT m_tOptions{}; // its texts stay null
    BaseSource m_base;  // may be empty
    ZipResult m_tLastResult;
    std::optional<platform::PackedFiles> m_tPacked;
};

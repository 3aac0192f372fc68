#pragma once

#include "platform/packedFiles.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

struct tZipOptions;

// How the last Zip or Delete ended.
struct ZipResult {
    std::int32_t code = 0; // the library's code; -1 where the call itself failed
    QString message;       // the library's last message text, or ""
    // Paths in the archive, "/" between folders, of files that were packed for the first time and
    // plainly are an editor's or the system's leftovers. Empty at message level 1.
    QStringList leftovers;

    // True where every file asked for is in the archive: done (0) or nothing to do (12). Warnings
    // (1) are not: something was skipped, and whoever deletes the sources now loses it.
    bool ok() const { return code == 0 || code == 12; }
    // True where the archive was written, but something was skipped.
    bool partly() const { return code == 1; }
};

// Packs files into an archive or deletes entries from it, through the companion library vl2zip.
// Only one call of Zip or Delete may be in progress in the whole program: a handler of an event
// must not start another.
class cZip {
  public:
    cZip();
    ~cZip();
    cZip(const cZip &) = delete;
    cZip &operator=(const cZip &) = delete;

    // The archive to make, update or delete from.
    const QString &ZipFile() const;
    void setZipFile(const QString &sFileName);
    // The folder that the file specs are relative to.
    const QString &BasePath() const;
    void setBasePath(const QString &sBasePath);

    // Options; all off at first.
    bool Encrpyt() const;
    void setEncrypt(bool bState);
    bool IncludeSystemAndHiddenFiles() const;
    void setIncludeSystemAndHiddenFiles(bool bState);
    // Without effect: the library stores no volume label.
    bool StoreVolumeLabel() const;
    void setStoreVolumeLabel(bool bState);
    bool StoreDirectories() const;
    void setStoreDirectories(bool bState);
    bool StoreFolderNames() const;
    void setStoreFolderNames(bool bState);
    bool RecurseSubDirs() const;
    void setRecurseSubDirs(bool bState);
    bool UpdateOnlyIfNewer() const;
    void setUpdateOnlyIfNewer(bool bState);
    bool FreshenFiles() const;
    void setFreshenFiles(bool bState);
    // 0 more messages, 1 fewer, 2 (at first) the usual ones; any other value changes nothing.
    std::int32_t MessageLevel() const;
    void setMessageLevel(std::int32_t eLevel);
    bool ConvertCRLFToLF() const;
    void setConvertCRLFToLF(bool bState);
    bool ConvertLFToCRLF() const;
    void setConvertLFToCRLF(bool bState);

    // Names or wildcard patterns to process, at most 1022 in one call.
    void ClearFileSpecs();
    // Always returns 0.
    std::int32_t AddFileSpec(const QString &sSpec);
    std::int32_t FileSpecCount() const;
    // A string; indexes run from 1 to FileSpecCount, any other raises 9.
    QVariant FileSpec(std::int32_t nIndex) const;

    // Without effect: an archive that exists is always added to.
    bool AllowAppend() const;
    void setAllowAppend(bool bState);

    // Packs the files that match, replacing entries of the same path and keeping the others. What
    // the library reports is in LastResult. Raises 53 where the library is missing, 76 where
    // BasePath names no folder, 9 for more than 1022 specs.
    void Zip();
    // Deletes the entries that match. Raises as Zip does.
    void Delete();
    const ZipResult &LastResult() const;
    // The files that the last Zip has put into the archive or found in it, in the versions that are
    // in it; given away by the first call. None after a failure, or where the library does not
    // report them.
    std::optional<platform::PackedFiles> TakePacked();

    // Events; unset ones take the default told. Handlers run inside the library call, and an
    // exception that leaves one is dropped.
    // A file is done; the call stops where bCancel is made true.
    std::function<void(const QString &sMsg, bool &bCancel)> Cancel;
    // A password is wanted. An empty one, the default, declines for the rest of the call.
    std::function<void(QString &sPassword, bool &bCancel)> PasswordRequest;
    // A message text of the library; lCount is always 1.
    std::function<void(std::int32_t lCount, const QString &sMsg)> Progress;

  private:
    friend class mZip;

    void RaiseCancel(const QString &sMsg, bool &bCancel) const;
    void RaisePasswordRequest(QString &sPassword, bool &bCancel) const;
    void RaiseProgress(const QString &sMsg) const;

    QString m_sZipFile;
    QStringList m_asSpecs;
    std::unique_ptr<tZipOptions> m_tOptions;
    ZipResult m_tLastResult;
    std::optional<platform::PackedFiles> m_tPacked;
};

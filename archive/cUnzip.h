#pragma once

#include "archive/entryList.h"
#include "archive/libraryEvents.h"
#include "archive/recordEntries.h"
#include "ziplib/vl2uzip.h"

#include <QDateTime>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

// Lists the entries of one archive and extracts the selected ones, through the companion library
// vl2uzip. Only one call of Directory or Unzip may be in progress in the whole program: an event
// handler must not start another.
class cUnzip : public LibraryEvents {
  public:
    cUnzip() = default;
    ~cUnzip();
    cUnzip(const cUnzip &) = delete;
    cUnzip &operator=(const cUnzip &) = delete;

    // Options of the calls that follow; initially off.
    bool ExtractOnlyNewer() const { return m_tOptions.ExtractOnlyNewer != 0; }
    void setExtractOnlyNewer(bool bState) { m_tOptions.ExtractOnlyNewer = bState; }
    bool SpaceToUnderScore() const { return m_tOptions.SpaceToUnderscore != 0; }
    void setSpaceToUnderScore(bool bState) { m_tOptions.SpaceToUnderscore = bState; }
    bool PromptToOverwrite() const { return m_tOptions.PromptToOverwrite != 0; }
    void setPromptToOverwrite(bool bState) { m_tOptions.PromptToOverwrite = bState; }
    // 0 all messages, 1 fewer, 2 none.
    std::int32_t MessageLevel() const { return m_tOptions.fQuiet; }
    void setMessageLevel(std::int32_t eLevel) { m_tOptions.fQuiet = eLevel; }
    bool TestZip() const { return m_tOptions.ntflag != 0; }
    void setTestZip(bool bState) { m_tOptions.ntflag = bState; }
    bool UseFolderNames() const { return m_tOptions.ndflag != 0; }
    void setUseFolderNames(bool bState) { m_tOptions.ndflag = bState; }
    bool OverwriteExisting() const { return m_tOptions.noflag != 0; }
    void setOverwriteExisting(bool bState) { m_tOptions.noflag = bState; }
    bool ConvertCRToCRLF() const { return m_tOptions.naflag != 0; }
    void setConvertCRToCRLF(bool bState) { m_tOptions.naflag = bState; }
    // Despite its name, true makes the library match names without regard to case.
    bool CaseSensitiveFileNames() const { return m_tOptions.C_flag != 0; }
    void setCaseSensitiveFileNames(bool bState) { m_tOptions.C_flag = bState; }

    // The listed entries, in stored order. Indexes run from 1 to FileCount; any other raises 9.
    std::int32_t FileCount() const { return m_tEntries->count(); }
    QString Filename(std::int32_t lIndex) const { return m_tEntries->name(checked(lIndex)); }
    QString FileDirectory(std::int32_t lIndex) const { return m_tEntries->folder(checked(lIndex)); }
    std::int32_t FileSize(std::int32_t lIndex) const { return entry(lIndex).lSize; }
    // Size times factor divided by 100, rounded toward zero. Raises 6 if the product exceeds 32
    // bits.
    std::int32_t FilePackedSize(std::int32_t lIndex) const;
    std::int32_t FileCompressionRatio(std::int32_t lIndex) const { return entry(lIndex).lFactor; }
    QDateTime FileDate(std::int32_t lIndex) const { return entry(lIndex).dDate; }
    std::int32_t FileCRC(std::int32_t lIndex) const {
        return static_cast<std::int32_t>(m_tEntries->crc(checked(lIndex)));
    }
    QString FileCompressionMethod(std::int32_t lIndex) const { return entry(lIndex).sMethod; }
    bool FileEncrypted(std::int32_t lIndex) const { return entry(lIndex).bEncrypted; }
    bool FileSelected(std::int32_t lIndex) const { return entry(lIndex).bSelected; }
    void setFileSelected(std::int32_t lIndex, bool bState);
    // All of them. Setting ZipFile starts a new list and leaves this one as it is.
    std::shared_ptr<const EntryList> Entries() const { return m_tEntries; }

    // Appends the entries of ZipFile to the list and returns the library's return code, 0 for
    // success. Raises the errors of the library call (53 if the library is missing) with the source
    // "Orvel.VBUnzip"; entries reported before the failure stay listed.
    std::int32_t Directory();

    // Extracts the selected entries of ZipFile into UnzipFolder, or all entries if none is
    // selected. Returns true if the library reports a problem, false on success and if ZipFile is
    // empty. Raises the errors of Directory, and 9 for more than 1023 names if some entries are
    // not selected.
    bool Unzip();

    // The entries that the last Unzip was to extract, in stored order, and which files it wrote.
    // The first call after an Unzip takes them; none if the library does not report them.
    std::optional<RecordEntries> TakeExtracted();

    // The folder to extract into.
    const QString &UnzipFolder() const { return m_sUnzipFolder; }
    void setUnzipFolder(const QString &sFolder) { m_sUnzipFolder = sFolder; }
    // The archive. Setting it empties the list.
    const QString &ZipFile() const { return m_sZipFile; }
    void setZipFile(const QString &sFile);

    // The library's version. dDate is not changed. Raises 53 if the library is missing.
    void GetVersion(std::int32_t &lMajor, std::int32_t &lMinor, std::int32_t &lRevision,
                    QDateTime &dDate, QString &sExtraInfo) const;

    // Result of the last Directory or Unzip: the library's return code (0 before any call, -1 if
    // the call itself failed) and its last message text, or "".
    std::int32_t LastCode() const { return m_lLastCode; }
    const QString &LastMessage() const { return m_sLastMessage; }
    // Number of requested entries that the last Unzip did not extract completely, or that the last
    // Directory could not list; existing files that were kept do not count. If 0, every entry is
    // there, whatever LastCode is. At least 1 if the number is unknown, as for an unreadable
    // archive.
    std::int32_t MissingCount() const { return m_lMissing; }

    // Event: a file exists. 100 keep it (default), 102 replace it, 103 replace all, 104 replace
    // none.
    std::function<void(const QString &sFile, std::int32_t &eResponse)> OverwritePrompt;

  private:
    friend class mUnzip;

    void AddListedEntry(const QString &sName, const QString &sFolder, const QDateTime &dDate,
                        std::int32_t lSize, std::int32_t lCRC, bool bEncrypted,
                        std::int32_t lFactor, const QString &sMethod);
    void RaiseOverwritePrompt(const QString &sFile, std::int32_t &eResponse) const;

    static QString EntryPathForLibrary(const QString &sFolder, const QString &sName);
    // The index from 0; raises 9 for one outside the list.
    std::int32_t checked(std::int32_t lIndex) const;
    tZipEntry entry(std::int32_t lIndex) const { return m_tEntries->at(checked(lIndex)); }

    QString m_sZipFile;
    QString m_sUnzipFolder;
    std::shared_ptr<EntryList> m_tEntries = std::make_shared<EntryList>();
    std::optional<RecordEntries> m_tExtracted;
    DCL m_tOptions{}; // its texts stay null
    std::int32_t m_lLastCode = 0;
    std::int32_t m_lMissing = 0;
    QString m_sLastMessage;
};

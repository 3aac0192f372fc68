#pragma once

#include "archive/tZipEntry.h"

#include <functional>
#include <memory>
#include <vector>

struct tUnzipOptions;

// Lists the entries of one archive and extracts those that are selected, through the companion
// library vl2uzip. Only one call of Directory or Unzip may be in progress in the whole program:
// a handler of an event must not start another.
class cUnzip {
  public:
    cUnzip();
    ~cUnzip();
    cUnzip(const cUnzip &) = delete;
    cUnzip &operator=(const cUnzip &) = delete;

    // Options of the calls that follow; all off at first.
    bool ExtractOnlyNewer() const;
    void setExtractOnlyNewer(bool bState);
    bool SpaceToUnderScore() const;
    void setSpaceToUnderScore(bool bState);
    bool PromptToOverwrite() const;
    void setPromptToOverwrite(bool bState);
    // 0 all messages, 1 fewer, 2 none.
    std::int32_t MessageLevel() const;
    void setMessageLevel(std::int32_t eLevel);
    bool TestZip() const;
    void setTestZip(bool bState);
    bool UseFolderNames() const;
    void setUseFolderNames(bool bState);
    bool OverwriteExisting() const;
    void setOverwriteExisting(bool bState);
    bool ConvertCRToCRLF() const;
    void setConvertCRToCRLF(bool bState);
    // True asks the library to match names without regard to case: the field behind it means that.
    bool CaseSensitiveFileNames() const;
    void setCaseSensitiveFileNames(bool bState);

    // The listed entries, in stored order. Indexes run from 1 to FileCount; any other raises 9.
    std::int32_t FileCount() const;
    const QString &Filename(std::int32_t lIndex) const;
    const QString &FileDirectory(std::int32_t lIndex) const;
    std::int32_t FileSize(std::int32_t lIndex) const;
    // Size times factor in hundredths, toward zero. Raises 6 where the product leaves 32 bits.
    std::int32_t FilePackedSize(std::int32_t lIndex) const;
    std::int32_t FileCompressionRatio(std::int32_t lIndex) const;
    QDateTime FileDate(std::int32_t lIndex) const;
    std::int32_t FileCRC(std::int32_t lIndex) const;
    const QString &FileCompressionMethod(std::int32_t lIndex) const;
    bool FileEncrypted(std::int32_t lIndex) const;
    bool FileSelected(std::int32_t lIndex) const;
    void setFileSelected(std::int32_t lIndex, bool bState);

    // Appends the entries of ZipFile to the list and returns the library's code, 0 for success.
    // Raises what the call of the library raised (53 where the library is missing), with the
    // source "Orvel.VBUnzip"; entries that came before the failure stay listed.
    std::int32_t Directory();

    // Extracts the selected entries of ZipFile into UnzipFolder, all where none is selected. True
    // where the library reports a problem, false for success and where ZipFile is empty. Raises as
    // Directory does, and 9 for more than 1023 names when some entries are left out.
    bool Unzip();

    // The folder to extract into.
    const QString &UnzipFolder() const;
    void setUnzipFolder(const QString &sFolder);
    // The archive. Setting it empties the list.
    const QString &ZipFile() const;
    void setZipFile(const QString &sFile);

    // The library's version. dDate is left as it is. Raises 53 where the library is missing.
    void GetVersion(std::int32_t &lMajor, std::int32_t &lMinor, std::int32_t &lRevision,
                    QDateTime &dDate, QString &sExtraInfo) const;

    // How the last Directory or Unzip ended: the library's code (0 before any call, -1 where the
    // call itself failed) and its last message text, or "".
    std::int32_t LastCode() const;
    const QString &LastMessage() const;
    // Entries that the last Unzip was asked for and did not leave whole in the folder, or that the
    // last Directory could not list; a file that was kept instead of being replaced is not one.
    // With 0 every entry is there, whatever LastCode says. Where the number is not known, as for
    // an archive that cannot be read, at least 1.
    std::int32_t MissingCount() const;

    // Events; unset ones take the default told. Handlers run inside the library call, and an
    // exception that leaves one is dropped.
    // An entry is done; the call stops where bCancel is made true.
    std::function<void(const QString &sMsg, bool &bCancel)> Cancel;
    // A file exists: 100 keep it (default), 102 replace it, 103 replace all, 104 replace none.
    std::function<void(const QString &sFile, std::int32_t &eResponse)> OverwritePrompt;
    // A password is wanted. An empty one, the default, declines for the rest of the call.
    std::function<void(QString &sPassword, bool &bCancel)> PasswordRequest;
    // A message text of the library; lCount is always 1.
    std::function<void(std::int32_t lCount, const QString &sMsg)> Progress;

  private:
    friend class mUnzip;

    void AddListedEntry(const QString &sName, const QString &sFolder, const QDateTime &dDate,
                        std::int32_t lSize, std::int32_t lCRC, bool bEncrypted,
                        std::int32_t lFactor, const QString &sMethod);
    void RaiseCancel(const QString &sMsg, bool &bCancel) const;
    void RaiseOverwritePrompt(const QString &sFile, std::int32_t &eResponse) const;
    void RaisePasswordRequest(QString &sPassword, bool &bCancel) const;
    void RaiseProgress(const QString &sMsg) const;

    static QString EntryPathForLibrary(const QString &sFolder, const QString &sName);
    const tZipEntry &entry(std::int32_t lIndex) const;

    QString m_sZipFile;
    QString m_sUnzipFolder;
    std::vector<tZipEntry> m_atEntries;
    std::unique_ptr<tUnzipOptions> m_tOptions;
    std::int32_t m_lLastCode = 0;
    std::int32_t m_lMissing = 0;
    QString m_sLastMessage;
};

#include "archive/cUnzip.h"

#include "archive/mUnzip.h"
#include "platform/error.h"
#include "platform/narrow.h"

#include <algorithm>
#include <cstring>
#include <limits>

using platform::ErrorNumber;
using platform::RuntimeError;

cUnzip::cUnzip() : m_tOptions(std::make_unique<tUnzipOptions>()) {}

cUnzip::~cUnzip() {
    if (mUnzip::m_cCurrentUnzip == this)
        mUnzip::m_cCurrentUnzip = nullptr;
}

bool cUnzip::ExtractOnlyNewer() const {
    return m_tOptions->tRecord.ExtractOnlyNewer != 0;
}
void cUnzip::setExtractOnlyNewer(bool bState) {
    m_tOptions->tRecord.ExtractOnlyNewer = bState ? 1 : 0;
}

bool cUnzip::SpaceToUnderScore() const {
    return m_tOptions->tRecord.SpaceToUnderscore != 0;
}
void cUnzip::setSpaceToUnderScore(bool bState) {
    m_tOptions->tRecord.SpaceToUnderscore = bState ? 1 : 0;
}

bool cUnzip::PromptToOverwrite() const {
    return m_tOptions->tRecord.PromptToOverwrite != 0;
}
void cUnzip::setPromptToOverwrite(bool bState) {
    m_tOptions->tRecord.PromptToOverwrite = bState ? 1 : 0;
}

std::int32_t cUnzip::MessageLevel() const {
    return m_tOptions->tRecord.fQuiet;
}
void cUnzip::setMessageLevel(std::int32_t eLevel) {
    m_tOptions->tRecord.fQuiet = eLevel;
}

bool cUnzip::TestZip() const {
    return m_tOptions->tRecord.ntflag != 0;
}
void cUnzip::setTestZip(bool bState) {
    m_tOptions->tRecord.ntflag = bState ? 1 : 0;
}

bool cUnzip::UseFolderNames() const {
    return m_tOptions->tRecord.ndflag != 0;
}
void cUnzip::setUseFolderNames(bool bState) {
    m_tOptions->tRecord.ndflag = bState ? 1 : 0;
}

bool cUnzip::OverwriteExisting() const {
    return m_tOptions->tRecord.noflag != 0;
}
void cUnzip::setOverwriteExisting(bool bState) {
    m_tOptions->tRecord.noflag = bState ? 1 : 0;
}

bool cUnzip::ConvertCRToCRLF() const {
    return m_tOptions->tRecord.naflag != 0;
}
void cUnzip::setConvertCRToCRLF(bool bState) {
    m_tOptions->tRecord.naflag = bState ? 1 : 0;
}

bool cUnzip::CaseSensitiveFileNames() const {
    return m_tOptions->tRecord.C_flag != 0;
}
void cUnzip::setCaseSensitiveFileNames(bool bState) {
    m_tOptions->tRecord.C_flag = bState ? 1 : 0;
}

const tZipEntry &cUnzip::entry(std::int32_t lIndex) const {
    if (lIndex < 1 || lIndex > FileCount())
        throw RuntimeError(ErrorNumber::SubscriptOutOfRange,
                           platform::describe(ErrorNumber::SubscriptOutOfRange));
    return m_atEntries[static_cast<std::size_t>(lIndex) - 1];
}

std::int32_t cUnzip::FileCount() const {
    return static_cast<std::int32_t>(m_atEntries.size());
}

const QString &cUnzip::Filename(std::int32_t lIndex) const {
    return entry(lIndex).sName;
}

const QString &cUnzip::FileDirectory(std::int32_t lIndex) const {
    return entry(lIndex).sFolder;
}

std::int32_t cUnzip::FileSize(std::int32_t lIndex) const {
    return entry(lIndex).lSize;
}

std::int32_t cUnzip::FilePackedSize(std::int32_t lIndex) const {
    const tZipEntry &listed = entry(lIndex);
    const std::int64_t product = std::int64_t{listed.lSize} * listed.lFactor;
    if (product < std::numeric_limits<std::int32_t>::min() ||
        product > std::numeric_limits<std::int32_t>::max())
        throw RuntimeError(ErrorNumber::Overflow, platform::describe(ErrorNumber::Overflow));
    return static_cast<std::int32_t>(product / 100);
}

std::int32_t cUnzip::FileCompressionRatio(std::int32_t lIndex) const {
    return entry(lIndex).lFactor;
}

QDateTime cUnzip::FileDate(std::int32_t lIndex) const {
    return entry(lIndex).dDate;
}

std::int32_t cUnzip::FileCRC(std::int32_t lIndex) const {
    return entry(lIndex).lCRC;
}

const QString &cUnzip::FileCompressionMethod(std::int32_t lIndex) const {
    return entry(lIndex).sMethod;
}

bool cUnzip::FileEncrypted(std::int32_t lIndex) const {
    return entry(lIndex).bEncrypted;
}

bool cUnzip::FileSelected(std::int32_t lIndex) const {
    return entry(lIndex).bSelected;
}

void cUnzip::setFileSelected(std::int32_t lIndex, bool bState) {
    entry(lIndex); // raises for an index outside the list
    m_atEntries[static_cast<std::size_t>(lIndex) - 1].bSelected = bState;
}

const QString &cUnzip::UnzipFolder() const {
    return m_sUnzipFolder;
}
void cUnzip::setUnzipFolder(const QString &sFolder) {
    m_sUnzipFolder = sFolder;
}

const QString &cUnzip::ZipFile() const {
    return m_sZipFile;
}
void cUnzip::setZipFile(const QString &sFile) {
    m_sZipFile = sFile;
    m_atEntries = {}; // gives the memory back, too
}

std::int32_t cUnzip::Directory() {
    m_tOptions->sZipFN = m_sZipFile;
    m_tOptions->sExtractDir.clear();
    m_tOptions->tRecord.nvflag = 1;
    return mUnzip::CallUnzipLibrary(*this, *m_tOptions, 0, {}, 0, {});
}

bool cUnzip::Unzip() {
    if (m_sZipFile.isEmpty())
        return false;
    QStringList include;
    const auto selected = std::count_if(m_atEntries.begin(), m_atEntries.end(),
                                        [](const tZipEntry &listed) { return listed.bSelected; });
    // No names at all ask the library for every entry.
    if (static_cast<std::size_t>(selected) < m_atEntries.size()) {
        for (const tZipEntry &listed : m_atEntries)
            if (listed.bSelected)
                include.append(EntryPathForLibrary(listed.sFolder, listed.sName));
    }
    m_tOptions->sZipFN = m_sZipFile;
    m_tOptions->sExtractDir = m_sUnzipFolder;
    m_tOptions->tRecord.nvflag = 0;
    const auto count = static_cast<std::int32_t>(include.size());
    return mUnzip::CallUnzipLibrary(*this, *m_tOptions, count, include, 0, {}) != 0;
}

void cUnzip::GetVersion(std::int32_t &lMajor, std::int32_t &lMinor, std::int32_t &lRevision,
                        QDateTime & /*dDate*/, QString &sExtraInfo) const {
    UzpVer2 version{};
    version.structlen = sizeof version;
    std::memset(version.betalevel, ' ', sizeof version.betalevel - 1);
    std::memset(version.date, ' ', sizeof version.date - 1);
    std::memset(version.zlib_version, ' ', sizeof version.zlib_version - 1);
    mUnzip::QueryVersion(version);

    constexpr qsizetype kWidth = sizeof version.betalevel;
    sExtraInfo = platform::fromNarrow(QByteArrayView(version.betalevel, kWidth));
    const qsizetype nul = sExtraInfo.indexOf(QChar(0));
    if (nul > 0)
        sExtraInfo.truncate(nul);
    sExtraInfo = sExtraInfo.leftJustified(kWidth, u' ');
    lMajor = version.windll.major;
    lMinor = version.windll.minor;
    lRevision = version.windll.patchlevel;
}

std::int32_t cUnzip::LastCode() const {
    return m_lLastCode;
}

const QString &cUnzip::LastMessage() const {
    return m_sLastMessage;
}

std::int32_t cUnzip::MissingCount() const {
    return m_lMissing;
}

void cUnzip::AddListedEntry(const QString &sName, const QString &sFolder, const QDateTime &dDate,
                            std::int32_t lSize, std::int32_t lCRC, bool bEncrypted,
                            std::int32_t lFactor, const QString &sMethod) {
    if (sName.isEmpty() || sName == QChar(0))
        return;
    // Neighbours mostly share folder and method: one text in memory serves them all.
    const tZipEntry *previous = m_atEntries.empty() ? nullptr : &m_atEntries.back();
    const bool sameFolder = previous != nullptr && previous->sFolder == sFolder;
    const bool sameMethod = previous != nullptr && previous->sMethod == sMethod;
    m_atEntries.push_back({sName, sameFolder ? previous->sFolder : sFolder, lSize, lFactor,
                           sameMethod ? previous->sMethod : sMethod, dDate, lCRC, bEncrypted,
                           true});
}

void cUnzip::RaiseCancel(const QString &sMsg, bool &bCancel) const {
    if (Cancel)
        Cancel(sMsg, bCancel);
}

void cUnzip::RaiseOverwritePrompt(const QString &sFile, std::int32_t &eResponse) const {
    if (OverwritePrompt)
        OverwritePrompt(sFile, eResponse);
}

void cUnzip::RaisePasswordRequest(QString &sPassword, bool &bCancel) const {
    if (PasswordRequest)
        PasswordRequest(sPassword, bCancel);
}

void cUnzip::RaiseProgress(const QString &sMsg) const {
    if (Progress)
        Progress(1, sMsg);
}

QString cUnzip::EntryPathForLibrary(const QString &sFolder, const QString &sName) {
    if (sFolder.isEmpty() || sFolder == QChar(0))
        return sName;
    QString path = sFolder + u'/' + sName;
    path.replace(u'\\', u'/');
    return path;
}

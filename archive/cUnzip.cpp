#include "archive/cUnzip.h"

#include "archive/mUnzip.h"
#include "platform/error.h"
#include "platform/narrow.h"

#include <cstring>
#include <utility>

using platform::ErrorNumber;

cUnzip::~cUnzip() {
    if (mUnzip::m_cCurrentUnzip == this)
        mUnzip::m_cCurrentUnzip = nullptr;
}

std::int32_t cUnzip::checked(std::int32_t lIndex) const {
    if (lIndex < 1 || lIndex > FileCount())
        platform::raise(ErrorNumber::SubscriptOutOfRange);
    return lIndex - 1;
}

std::int32_t cUnzip::FilePackedSize(std::int32_t lIndex) const {
    const std::int64_t product = std::int64_t{FileSize(lIndex)} * FileCompressionRatio(lIndex);
    if (product != static_cast<std::int32_t>(product))
        platform::raise(ErrorNumber::Overflow);
    return static_cast<std::int32_t>(product / 100);
}

void cUnzip::setFileSelected(std::int32_t lIndex, bool bState) {
    m_tEntries->select(checked(lIndex), bState);
}

void cUnzip::setZipFile(const QString &sFile) {
    m_sZipFile = sFile;
    m_tEntries = std::make_shared<EntryList>();
}

std::int32_t cUnzip::Directory() {
    m_tOptions.nvflag = 1;
    return mUnzip::CallUnzipLibrary(*this, m_tOptions, 0, {}, 0, {});
}

bool cUnzip::Unzip() {
    if (m_sZipFile.isEmpty())
        return false;
    QStringList include;
    bool all = true;
    for (std::int32_t i = 0; i < FileCount(); ++i)
        all = all && m_tEntries->isSelected(i);
    // The library extracts every entry if it gets no names.
    for (std::int32_t i = 0; i < FileCount() && !all; ++i)
        if (m_tEntries->isSelected(i))
            include.append(EntryPathForLibrary(m_tEntries->folder(i), m_tEntries->name(i)));
    m_tOptions.nvflag = 0;
    const auto count = static_cast<std::int32_t>(include.size());
    return mUnzip::CallUnzipLibrary(*this, m_tOptions, count, include, 0, {}) != 0;
}

std::optional<RecordEntries> cUnzip::TakeExtracted() {
    return std::exchange(m_tExtracted, std::nullopt);
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

void cUnzip::AddListedEntry(const QString &sName, const QString &sFolder, const QDateTime &dDate,
                            std::int32_t lSize, std::int32_t lCRC, bool bEncrypted,
                            std::int32_t lFactor, const QString &sMethod) {
    if (sName.isEmpty() || sName == QChar(0))
        return;
    m_tEntries->add({sName, sFolder, lSize, lFactor, sMethod, dDate, lCRC, bEncrypted, true});
}

void cUnzip::RaiseOverwritePrompt(const QString &sFile, std::int32_t &eResponse) const {
    if (OverwritePrompt)
        OverwritePrompt(sFile, eResponse);
}

QString cUnzip::EntryPathForLibrary(const QString &sFolder, const QString &sName) {
    if (sFolder.isEmpty() || sFolder == QChar(0))
        return sName;
    QString path = sFolder + u'/' + sName;
    path.replace(u'\\', u'/');
    return path;
}

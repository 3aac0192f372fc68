#include "archive/cZip.h"

#include "archive/mZip.h"
#include "platform/error.h"

#include <utility>

namespace {
// Recursion in which the specs are matched against the names found in every folder.
constexpr std::int32_t kMatchInEveryFolder = 2;
} // namespace

cZip::cZip() : m_tOptions(std::make_unique<tZipOptions>()) {
    setStoreDirectories(false);
    setStoreFolderNames(false);
    setRecurseSubDirs(false);
}

cZip::~cZip() {
    if (mZip::m_cCurrentZip == this)
        mZip::m_cCurrentZip = nullptr;
}

const QString &cZip::ZipFile() const {
    return m_sZipFile;
}
void cZip::setZipFile(const QString &sFileName) {
    m_sZipFile = sFileName;
}

const QString &cZip::BasePath() const {
    return m_tOptions->szRootDir;
}
void cZip::setBasePath(const QString &sBasePath) {
    m_tOptions->szRootDir = sBasePath;
}

bool cZip::Encrpyt() const {
    return m_tOptions->tRecord.fEncrypt != 0;
}
void cZip::setEncrypt(bool bState) {
    m_tOptions->tRecord.fEncrypt = bState ? 1 : 0;
}

bool cZip::IncludeSystemAndHiddenFiles() const {
    return m_tOptions->tRecord.fSystem != 0;
}
void cZip::setIncludeSystemAndHiddenFiles(bool bState) {
    m_tOptions->tRecord.fSystem = bState ? 1 : 0;
}

bool cZip::StoreVolumeLabel() const {
    return m_tOptions->tRecord.fVolume != 0;
}
void cZip::setStoreVolumeLabel(bool bState) {
    m_tOptions->tRecord.fVolume = bState ? 1 : 0;
}

bool cZip::StoreDirectories() const {
    return m_tOptions->tRecord.fNoDirEntries == 0;
}
void cZip::setStoreDirectories(bool bState) {
    m_tOptions->tRecord.fNoDirEntries = bState ? 0 : 1;
}

bool cZip::StoreFolderNames() const {
    return m_tOptions->tRecord.fJunkDir == 0;
}
void cZip::setStoreFolderNames(bool bState) {
    m_tOptions->tRecord.fJunkDir = bState ? 0 : 1;
}

bool cZip::RecurseSubDirs() const {
    return m_tOptions->tRecord.fRecurse != 0;
}
void cZip::setRecurseSubDirs(bool bState) {
    m_tOptions->tRecord.fRecurse = bState ? kMatchInEveryFolder : 0;
}

bool cZip::UpdateOnlyIfNewer() const {
    return m_tOptions->tRecord.fUpdate != 0;
}
void cZip::setUpdateOnlyIfNewer(bool bState) {
    m_tOptions->tRecord.fUpdate = bState ? 1 : 0;
}

bool cZip::FreshenFiles() const {
    return m_tOptions->tRecord.fFreshen != 0;
}
void cZip::setFreshenFiles(bool bState) {
    m_tOptions->tRecord.fFreshen = bState ? 1 : 0;
}

std::int32_t cZip::MessageLevel() const {
    if (m_tOptions->tRecord.fVerbose != 0)
        return 0;
    return m_tOptions->tRecord.fQuiet > 0 ? 1 : 2;
}
void cZip::setMessageLevel(std::int32_t eLevel) {
    if (eLevel < 0 || eLevel > 2)
        return;
    m_tOptions->tRecord.fVerbose = eLevel == 0 ? 1 : 0;
    m_tOptions->tRecord.fQuiet = eLevel == 1 ? 1 : 0;
}

bool cZip::ConvertCRLFToLF() const {
    return m_tOptions->tRecord.fCRLF_LF != 0;
}
void cZip::setConvertCRLFToLF(bool bState) {
    m_tOptions->tRecord.fCRLF_LF = bState ? 1 : 0;
}

bool cZip::ConvertLFToCRLF() const {
    return m_tOptions->tRecord.fLF_CRLF != 0;
}
void cZip::setConvertLFToCRLF(bool bState) {
    m_tOptions->tRecord.fLF_CRLF = bState ? 1 : 0;
}

void cZip::ClearFileSpecs() {
    m_asSpecs.clear();
}

std::int32_t cZip::AddFileSpec(const QString &sSpec) {
    m_asSpecs.append(sSpec);
    return 0;
}

std::int32_t cZip::FileSpecCount() const {
    return static_cast<std::int32_t>(m_asSpecs.size());
}

QVariant cZip::FileSpec(std::int32_t nIndex) const {
    if (nIndex < 1 || nIndex > FileSpecCount())
        throw platform::RuntimeError(
            platform::ErrorNumber::SubscriptOutOfRange,
            platform::describe(platform::ErrorNumber::SubscriptOutOfRange));
    return m_asSpecs.at(nIndex - 1);
}

bool cZip::AllowAppend() const {
    return m_tOptions->tRecord.fGrow != 0;
}
void cZip::setAllowAppend(bool bState) {
    m_tOptions->tRecord.fGrow = bState ? 1 : 0;
}

void cZip::Zip() {
    mZip::CallZipLibrary(*this, *m_tOptions, m_asSpecs, FileSpecCount());
}

void cZip::Delete() {
    // Back to adding however the call ends.
    struct Deleting {
        explicit Deleting(ZPOPT &options) : record(options) { record.fDeleteEntries = 1; }
        ~Deleting() { record.fDeleteEntries = 0; }
        Deleting(const Deleting &) = delete;
        Deleting &operator=(const Deleting &) = delete;
        ZPOPT &record;
    };
    const Deleting deleting(m_tOptions->tRecord);
    mZip::CallZipLibrary(*this, *m_tOptions, m_asSpecs, FileSpecCount());
}

const ZipResult &cZip::LastResult() const {
    return m_tLastResult;
}

std::optional<platform::PackedFiles> cZip::TakePacked() {
    return std::exchange(m_tPacked, std::nullopt);
}

void cZip::RaiseCancel(const QString &sMsg, bool &bCancel) const {
    if (Cancel)
        Cancel(sMsg, bCancel);
}

void cZip::RaisePasswordRequest(QString &sPassword, bool &bCancel) const {
    if (PasswordRequest)
        PasswordRequest(sPassword, bCancel);
}

void cZip::RaiseProgress(const QString &sMsg) const {
    if (Progress)
        Progress(1, sMsg);
}

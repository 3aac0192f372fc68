#include "archive/cZip.h"

#include "archive/mZip.h"
#include "platform/error.h"

#include <QScopeGuard>

#include <utility>

namespace {
// Value of fRecurse that matches the specs against the names in every folder.
constexpr std::int32_t kMatchInEveryFolder = 2;
} // namespace

cZip::cZip() {
    setStoreDirectories(false);
    setStoreFolderNames(false);
}

cZip::~cZip() {
    if (mZip::m_cCurrentZip == this)
        mZip::m_cCurrentZip = nullptr;
}

void cZip::setRecurseSubDirs(bool bState) {
    m_tOptions.fRecurse = bState ? kMatchInEveryFolder : 0;
}

std::int32_t cZip::MessageLevel() const {
    if (m_tOptions.fVerbose != 0)
        return 0;
    return m_tOptions.fQuiet > 0 ? 1 : 2;
}

void cZip::setMessageLevel(std::int32_t eLevel) {
    if (eLevel < 0 || eLevel > 2)
        return;
    m_tOptions.fVerbose = eLevel == 0;
    m_tOptions.fQuiet = eLevel == 1;
}

std::int32_t cZip::AddFileSpec(const QString &sSpec) {
    m_asSpecs.append(sSpec);
    return 0;
}

QVariant cZip::FileSpec(std::int32_t nIndex) const {
    if (nIndex < 1 || nIndex > FileSpecCount())
        platform::raise(platform::ErrorNumber::SubscriptOutOfRange);
    return m_asSpecs.at(nIndex - 1);
}

void cZip::Zip() {
    mZip::CallZipLibrary(*this, m_tOptions, m_asSpecs, FileSpecCount());
}

void cZip::Delete() {
    m_tOptions.fDeleteEntries = 1;
    const auto restore = qScopeGuard([this] { m_tOptions.fDeleteEntries = 0; });
    mZip::CallZipLibrary(*this, m_tOptions, m_asSpecs, FileSpecCount());
}

std::optional<platform::PackedFiles> cZip::TakePacked() {
    return std::exchange(m_tPacked, std::nullopt);
}

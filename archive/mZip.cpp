#include "archive/mZip.h"

#include "archive/cZip.h"
#include "archive/marshalling.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/library.h"
#include "storage/storage.h"

#include <QFileInfo>

using marshalling::attempt;
using platform::ErrorNumber;

cZip *mZip::m_cCurrentZip = nullptr;

namespace {

platform::Library &library() {
    static platform::Library vl2zip(QStringLiteral("vl2zip"));
    return vl2zip;
}

// Raises 76 if the base folder is missing: its specs would match nothing, or files elsewhere.
void requireFolder(const QString &path) {
    if (marshalling::trimBlanks(path).isEmpty())
        return;
    if (!QFileInfo(platform::nativePath(path)).isDir())
        platform::raise(ErrorNumber::PathNotFound);
}

// Returns false if the library lacks this function.
bool reportPackedTo(VL2ZIP_PACKED callback) {
    try {
        library().function<decltype(&ZpReportPacked)>("ZpReportPacked")(callback);
        return true;
    } catch (const platform::RuntimeError &error) {
        if (error.number() != ErrorNumber::EntryPointNotFound)
            throw;
        return false;
    }
}

} // namespace

std::int32_t mZip::CallZipLibrary(cZip &oZip, const ZPOPT &tOptions, const QStringList &asSpecs,
                                  std::int32_t lSpecCount) {
    m_cCurrentZip = &oZip;
    oZip.m_bPasswordCancelled = false;
    oZip.m_tLastResult = {-1, {}, {}};
    oZip.m_tPacked.reset();

    requireFolder(oZip.m_sBasePath);

    ZIPUSERFUNCTIONS functions{};
    functions.print = OnZipPrint;
    functions.password = OnZipPassword;
    functions.comment = OnZipComment;
    functions.ServiceApplication = OnZipService;
    library().function<decltype(&ZpInit)>("ZpInit")(&functions);

    QByteArray rootDir = marshalling::path(oZip.m_sBasePath);
    ZPOPT options = tOptions;
    options.szRootDir = rootDir.data();
    library().function<decltype(&ZpSetOptions)>("ZpSetOptions")(&options);

    if (reportPackedTo(OnZipPacked))
        oZip.m_tPacked.emplace();

    marshalling::NameTable names;
    for (std::int32_t index = 0; index < lSpecCount; ++index)
        names.put(index, asSpecs.at(index));
    names.put(lSpecCount + 1, {});

    QByteArray zipFile = marshalling::path(oZip.m_sZipFile);
    ZCL command{};
    command.argc = lSpecCount;
    command.lpszZipFN = zipFile.data();
    command.FNV = names.table();
    oZip.m_tLastResult.code = library().function<decltype(&ZpArchive)>("ZpArchive")(command);
    if (!oZip.m_tLastResult.ok())
        oZip.m_tPacked.reset();
    return oZip.m_tLastResult.code;
}

std::int32_t mZip::OnZipPrint(char *buffer, std::uint32_t size) noexcept {
    callIdleHandler();
    attempt([&] {
        if (m_cCurrentZip == nullptr)
            return;
        ZipResult &result = m_cCurrentZip->m_tLastResult;
        const QString message = m_cCurrentZip->onPrint(buffer, size, result.message);
        const QLatin1String leftover(VL2ZIP_LEFTOVER);
        if (message.startsWith(leftover))
            result.leftovers.append(message.mid(leftover.size()));
    });
    return 0;
}

std::int32_t mZip::OnZipPassword(char *p, std::int32_t n, char * /*m*/, char * /*name*/) noexcept {
    callIdleHandler();
    return m_cCurrentZip == nullptr ? 1 : m_cCurrentZip->onPassword(p, n);
}

char *mZip::OnZipComment(char *comment) noexcept {
    callIdleHandler();
    return comment;
}

std::int32_t mZip::OnZipService(char *filename, std::uint32_t size) noexcept {
    callIdleHandler();
    if (m_cCurrentZip == nullptr)
        return 0;
    return m_cCurrentZip->onService(filename, size, LibraryEvents::Separators::AsWritten);
}

void mZip::OnZipPacked(const ZPPACKED *file) noexcept {
    attempt([&] {
        if (m_cCurrentZip == nullptr || !m_cCurrentZip->m_tPacked)
            return;
        platform::FileInfo seen;
        seen.kind = platform::FileInfo::Kind::File;
        seen.device = file->device;
        seen.id = file->id;
        seen.size = file->size;
        seen.modified = file->modified;
        seen.changed = file->changed;
        m_cCurrentZip->m_tPacked->add(QString::fromUtf8(file->path), seen, file->crc, file->began);
    });
}

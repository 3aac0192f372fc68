#include "archive/mZip.h"

#include "archive/cZip.h"
#include "archive/idle.h"
#include "archive/marshalling.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/library.h"

#include <QFileInfo>

using crossing::attempt;
using platform::ErrorNumber;
using platform::RuntimeError;

cZip *mZip::m_cCurrentZip = nullptr;
bool mZip::m_bZipPasswordCancelled = false;

namespace {

platform::Library &library() {
    static platform::Library vl2zip(QStringLiteral("vl2zip"));
    return vl2zip;
}

// A base folder that is not there must stop the call: its specs would match nothing, or files
// elsewhere.
void requireFolder(const QString &path) {
    if (crossing::trimBlanks(path).isEmpty())
        return;
    if (!QFileInfo(platform::nativePath(path)).isDir())
        throw RuntimeError(ErrorNumber::PathNotFound,
                           platform::describe(ErrorNumber::PathNotFound));
}

// False where the library is one that only packs.
bool reportPackedTo(VL2ZIP_PACKED callback) {
    try {
        library().function<decltype(&ZpReportPacked)>("ZpReportPacked")(callback);
        return true;
    } catch (const RuntimeError &error) {
        if (error.number() != ErrorNumber::EntryPointNotFound)
            throw;
        return false;
    }
}

} // namespace

std::int32_t mZip::CallZipLibrary(cZip &oZip, const tZipOptions &tOptions,
                                  const QStringList &asSpecs, std::int32_t lSpecCount) {
    m_bZipPasswordCancelled = false;
    m_cCurrentZip = &oZip;
    oZip.m_tLastResult = {-1, {}, {}};
    oZip.m_tPacked.reset();

    requireFolder(oZip.BasePath());

    ZIPUSERFUNCTIONS functions{};
    functions.print = OnZipPrint;
    functions.password = OnZipPassword;
    functions.comment = OnZipComment;
    functions.ServiceApplication = OnZipService;
    library().function<decltype(&ZpInit)>("ZpInit")(&functions);

    // The library gets a record of the call, whose text lives as long as the call does.
    QByteArray rootDir = crossing::path(tOptions.szRootDir);
    ZPOPT record = tOptions.tRecord;
    record.szRootDir = rootDir.data();
    library().function<decltype(&ZpSetOptions)>("ZpSetOptions")(&record);

    if (reportPackedTo(OnZipPacked))
        oZip.m_tPacked.emplace();

    crossing::NameTable names;
    for (std::int32_t index = 0; index < lSpecCount; ++index)
        names.put(index, asSpecs.at(index));
    names.put(lSpecCount + 1, {});

    QByteArray zipFile = crossing::path(oZip.ZipFile());
    ZCL command{};
    command.argc = lSpecCount;
    command.lpszZipFN = zipFile.data();
    command.FNV = names.table();
    oZip.m_tLastResult.code = library().function<decltype(&ZpArchive)>("ZpArchive")(command);
    if (!oZip.m_tLastResult.ok())
        oZip.m_tPacked.reset();
    return oZip.m_tLastResult.code;
}

void mZip::SlashesToBackslashes(QString &sText) {
    sText.replace(u'/', u'\\');
}

std::int32_t mZip::OnZipPrint(char *buffer, std::uint32_t size) noexcept {
    callIdleHandler();
    if (!crossing::isTextSize(size) || m_cCurrentZip == nullptr)
        return 0;
    QString message;
    attempt([&] { message = crossing::text(buffer, size); });
    // Kept as the library wrote it: a person is shown the path that the system knows.
    attempt([&] { m_cCurrentZip->m_tLastResult.message = message.trimmed(); });
    attempt([&] {
        const QLatin1String leftover(VL2ZIP_LEFTOVER);
        if (message.startsWith(leftover))
            m_cCurrentZip->m_tLastResult.leftovers.append(message.mid(leftover.size()));
    });
    attempt([&] { SlashesToBackslashes(message); });
    attempt([&] { m_cCurrentZip->RaiseProgress(message); });
    return 0;
}

std::int32_t mZip::OnZipPassword(char *p, std::int32_t n, char * /*m*/, char * /*name*/) noexcept {
    callIdleHandler();
    const auto ask = [](QString &password, bool &cancel) {
        if (m_cCurrentZip != nullptr)
            m_cCurrentZip->RaisePasswordRequest(password, cancel);
    };
    return crossing::answerPassword(m_bZipPasswordCancelled, ask, p, n);
}

char *mZip::OnZipComment(char *comment) noexcept {
    callIdleHandler();
    return comment;
}

std::int32_t mZip::OnZipService(char *filename, std::uint32_t size) noexcept {
    callIdleHandler();
    if (!crossing::isTextSize(size))
        return 0;
    bool cancel = false;
    QString name;
    attempt([&] { name = crossing::text(filename, size); });
    attempt([&] {
        if (m_cCurrentZip != nullptr)
            m_cCurrentZip->RaiseCancel(name, cancel);
    });
    return cancel ? 1 : 0;
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

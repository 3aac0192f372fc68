#include "archive/mZip.h"

#include "archive/cZip.h"
#include "archive/marshalling.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/library.h"
#include "storage/storage.h"

#include <QFileInfo>

#include <new>
#include <utility>

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

std::int32_t originOf(const EntryVersion &entry) {
    if (entry.known || !entry.written)
        return entry.known ? VL2ZIP_KNOWN : VL2ZIP_LISTED;
    return entry.edited ? VL2ZIP_EDITED : VL2ZIP_EXTRACTED;
}

// Sets what the archive held at the extraction, or none.
void setBase(const cZip::BaseSource &base, VL2ZIP_CONFLICT onConflict) {
    const auto set = library().functionIfThere<decltype(&ZpSetBase)>("ZpSetBase");
    const auto add = library().functionIfThere<decltype(&ZpAddToBase)>("ZpAddToBase");
    if (set == nullptr || add == nullptr)
        return;
    const auto require = [](std::int32_t done) {
        // Without its base, a save could replace newer entries.
        if (done == 0)
            throw std::bad_alloc();
    };
    const ZPVERSION none{}; // not a null pointer, even if the archive held nothing
    require(set(base ? &none : nullptr, 0, onConflict));
    const std::int64_t start = platform::systemStart();
    const auto take = [&](const WorkRecord::Entry &entry) {
        const ZPVERSION version{entry.path.c_str(),
                                entry.size,
                                entry.crc,
                                originOf(entry),
                                entry.provesContent(start) ? 1 : 0,
                                entry.file.device,
                                entry.file.id,
                                entry.file.modified,
                                entry.file.changed};
        require(add(&version, 1));
        callIdleHandler();
    };
    if (base && !base(take))
        require(set(&none, 0, onConflict));
}

} // namespace

std::int32_t mZip::CallZipLibrary(cZip &oZip, const ZPOPT &tOptions, const QStringList &asSpecs,
                                  std::int32_t lSpecCount) {
    m_cCurrentZip = &oZip;
    oZip.m_bPasswordCancelled = false;
    oZip.m_tLastResult = {};
    oZip.m_tLastResult.code = -1;
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

    if (const auto report =
            library().functionIfThere<decltype(&ZpReportPacked)>("ZpReportPacked")) {
        report(OnZipPacked);
        oZip.m_tPacked.emplace();
    }
    setBase(oZip.m_base, OnZipConflict);
    oZip.m_base = nullptr; // copied by the library; the next call must not use it

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
    setBase({}, nullptr); // releases its memory
    if (!oZip.m_tLastResult.ok())
        oZip.m_tPacked.reset();
    return oZip.m_tLastResult.code;
}

void mZip::PreloadLibrary() {
    attempt([] { library().function<decltype(&ZpInit)>("ZpInit"); });
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
    callIdleHandler();
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
        m_cCurrentZip->m_tPacked->add(QString::fromUtf8(file->path), seen, file->crc, file->began,
                                      true);
        const SavedFile::Outcome outcome{file->outcome};
        if (outcome == SavedFile::Outcome::Same)
            return;
        SavedFile saved;
        saved.path = file->path;
        saved.size = file->size;
        saved.crc = file->crc;
        saved.written = true;
        saved.edited = true; // entries of outcomes that are not the user's stay as they were
        saved.file = seen;
        saved.outcome = outcome;
        m_cCurrentZip->m_tLastResult.saved.push_back(std::move(saved));
    });
}

void mZip::OnZipConflict(const ZPVERSION *entry) noexcept {
    attempt([&] {
        if (m_cCurrentZip != nullptr)
            m_cCurrentZip->m_tLastResult.conflicts.push_back(
                {entry->path, entry->size, entry->crc});
    });
}

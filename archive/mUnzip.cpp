#include "archive/mUnzip.h"

#include "archive/cUnzip.h"
#include "archive/marshalling.h"
#include "platform/error.h"
#include "platform/library.h"

using marshalling::attempt;

cUnzip *mUnzip::m_cCurrentUnzip = nullptr;

namespace {

constexpr std::size_t kMaxEntryPath = 256;
constexpr std::size_t kMaxMethod = 256;
constexpr std::size_t kMaxReplacedName = 32801;
constexpr std::int32_t kDoNotReplace = 100;
constexpr char kEncryptedBit = 0x40;

platform::Library &library() {
    static platform::Library vl2uzip(QStringLiteral("vl2uzip"));
    return vl2uzip;
}

// Puts the names from slot 0 on and an empty text after them.
void fillTable(marshalling::NameTable &table, std::int32_t count, const QStringList &names) {
    for (std::int32_t index = 0; index < count; ++index)
        table.put(index, names.at(index));
    table.put(count, {});
}

// A library of the same name may lack this function and the next one.
std::int32_t missingCount(std::int32_t code) {
    const auto count = library().functionIfThere<decltype(&UzpMissingCount)>("UzpMissingCount");
    if (count != nullptr)
        return count();
    return code == 0 ? 0 : 1;
}

// Returns whether the library reports what it extracts.
bool reportExtractedTo(VL2UZIP_EXTRACTED callback) {
    const auto report =
        library().functionIfThere<decltype(&UzpReportExtracted)>("UzpReportExtracted");
    return report != nullptr && report(callback) == 1 && callback != nullptr;
}

} // namespace

std::int32_t mUnzip::CallUnzipLibrary(cUnzip &oUnzip, const DCL &tOptions,
                                      std::int32_t lIncludeCount, const QStringList &asInclude,
                                      std::int32_t lExcludeCount, const QStringList &asExclude) {
    oUnzip.m_lLastCode = -1;
    oUnzip.m_lMissing = 1;
    oUnzip.m_sLastMessage.clear();
    oUnzip.m_tExtracted.reset();
    try {
        m_cCurrentUnzip = &oUnzip;

        USERFUNCTIONS functions{};
        functions.print = OnUnzipPrint;
        functions.replace = OnUnzipReplace;
        functions.password = OnUnzipPassword;
        functions.SendApplicationMessage = OnUnzipEntry;
        functions.ServCallBk = OnUnzipService;

        marshalling::NameTable include;
        fillTable(include, lIncludeCount, asInclude);
        marshalling::NameTable exclude;
        fillTable(exclude, lExcludeCount, asExclude);

        QByteArray zipFile = marshalling::path(oUnzip.m_sZipFile);
        QByteArray folder =
            tOptions.nvflag != 0 ? QByteArray() : marshalling::path(oUnzip.m_sUnzipFolder);
        DCL options = tOptions;
        options.lpszZipFN = zipFile.data();
        options.lpszExtractDir = folder.data();

        const bool extracts = tOptions.nvflag == 0 && tOptions.ntflag == 0;
        if (reportExtractedTo(extracts ? OnUnzipExtracted : nullptr))
            oUnzip.m_tExtracted.emplace().reserve(static_cast<std::size_t>(oUnzip.FileCount()));
        oUnzip.m_bPasswordCancelled = false;
        oUnzip.m_lLastCode = library().function<decltype(&Wiz_SingleEntryUnzip)>(
            "Wiz_SingleEntryUnzip")(lIncludeCount, include.table(), lExcludeCount, exclude.table(),
                                    &options, &functions);
        oUnzip.m_lMissing = missingCount(oUnzip.m_lLastCode);
        return oUnzip.m_lLastCode;
    } catch (const platform::RuntimeError &error) {
        m_cCurrentUnzip = nullptr;
        throw platform::RuntimeError(error.number(), error.description(),
                                     QStringLiteral("Orvel.VBUnzip"));
    } catch (...) {
        m_cCurrentUnzip = nullptr;
        throw;
    }
}

void mUnzip::QueryVersion(UzpVer2 &tVersion) {
    library().function<decltype(&UzpVersion2)>("UzpVersion2")(&tVersion);
}

void mUnzip::SplitEntryPath(QString &sPath, QString &sFolder) {
    const qsizetype nul = sPath.indexOf(QChar(0));
    if (nul >= 0)
        sPath.truncate(nul);
    const qsizetype name = marshalling::SlashesToBackslashes(sPath);
    if (name > 1) {
        sFolder = sPath.left(name - 2);
        sPath = sPath.mid(name - 1); // a copy of its own size, since the list keeps it
    }
}

QDateTime mUnzip::EntryDate(std::int32_t yr, std::int32_t mo, std::int32_t dy, std::int32_t hh,
                            std::int32_t mm) {
    if (yr >= 0 && yr < 100)
        yr += yr < 30 ? 2000 : 1900;
    QDate date(yr, mo, dy);
    if (!date.isValid())
        date = QDate(yr, 1, 1).addMonths(mo - 1).addDays(std::int64_t{dy} - 1);
    if (!date.isValid())
        return {};
    // Zip times have no time zone. As local times, those in the hour that daylight saving time
    // skips would be invalid. Adding to an existing UTC time is the fastest way to construct one.
    static const QDateTime epoch = QDateTime::fromSecsSinceEpoch(0).toUTC();
    constexpr std::int64_t kMinutesADay = 24 * 60;
    const std::int64_t minutes =
        epoch.date().daysTo(date) * kMinutesADay + std::int64_t{hh} * 60 + mm;
    return epoch.addSecs(minutes * 60);
}

void mUnzip::OnUnzipEntry(std::uint32_t /*ucsize*/, std::uint32_t csiz, std::int32_t cfactor,
                          std::int32_t mo, std::int32_t dy, std::int32_t yr, std::int32_t hh,
                          std::int32_t mm, char /*c*/, char *filename, char *methbuf,
                          std::uint32_t crc, char fCrypt) noexcept {
    callIdleHandler();
    QString name;
    QString folder;
    QString method;
    QDateTime date;
    attempt([&] { name = marshalling::text(filename, kMaxEntryPath); });
    attempt([&] { SplitEntryPath(name, folder); });
    attempt([&] { date = EntryDate(yr, mo, dy, hh, mm); });
    attempt([&] { method = marshalling::text(methbuf, kMaxMethod); });
    attempt([&] {
        if (m_cCurrentUnzip != nullptr)
            m_cCurrentUnzip->AddListedEntry(name, folder, date, static_cast<std::int32_t>(csiz),
                                            static_cast<std::int32_t>(crc),
                                            (fCrypt & kEncryptedBit) != 0, cfactor, method);
    });
}

std::int32_t mUnzip::OnUnzipPrint(char *buffer, std::uint32_t size) noexcept {
    callIdleHandler();
    if (m_cCurrentUnzip != nullptr)
        m_cCurrentUnzip->onPrint(buffer, size, m_cCurrentUnzip->m_sLastMessage);
    return 0;
}

std::int32_t mUnzip::OnUnzipReplace(char *filename) noexcept {
    callIdleHandler();
    std::int32_t answer = kDoNotReplace;
    QString name;
    attempt([&] { name = marshalling::text(filename, kMaxReplacedName); });
    attempt([&] { marshalling::SlashesToBackslashes(name); });
    attempt([&] {
        if (m_cCurrentUnzip != nullptr)
            m_cCurrentUnzip->RaiseOverwritePrompt(name, answer);
    });
    return answer;
}

std::int32_t mUnzip::OnUnzipPassword(char *p, std::int32_t n, char * /*m*/,
                                     char * /*name*/) noexcept {
    callIdleHandler();
    return m_cCurrentUnzip == nullptr ? 1 : m_cCurrentUnzip->onPassword(p, n);
}

// Without the idle handler, which OnUnzipService calls for the same entry.
void mUnzip::OnUnzipExtracted(const UZPEXTRACTED *entry) noexcept {
    attempt([&] {
        if (m_cCurrentUnzip == nullptr || !m_cCurrentUnzip->m_tExtracted)
            return;
        RecordEntry known;
        known.path = entry->path;
        known.size = entry->size;
        known.crc = entry->crc;
        known.dosTime = entry->time;
        known.written = entry->written != 0;
        if (known.written) {
            known.file.kind = platform::FileInfo::Kind::File;
            known.file.size = entry->fileSize;
            known.file.modified = entry->modified;
            known.file.changed = entry->changed;
            known.file.device = entry->device;
            known.file.id = entry->id;
            known.file.plain = entry->written == 2;
        }
        m_cCurrentUnzip->m_tExtracted->append(known);
    });
}

std::int32_t mUnzip::OnUnzipService(char *filename, std::uint32_t size) noexcept {
    callIdleHandler();
    if (m_cCurrentUnzip == nullptr)
        return 0;
    return m_cCurrentUnzip->onService(filename, size, LibraryEvents::Separators::Backslashes);
}

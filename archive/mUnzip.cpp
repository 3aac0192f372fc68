#include "archive/mUnzip.h"

#include "archive/cUnzip.h"
#include "archive/idle.h"
#include "archive/marshalling.h"
#include "platform/error.h"
#include "platform/library.h"

using crossing::attempt;

cUnzip *mUnzip::m_cCurrentUnzip = nullptr;
bool mUnzip::m_bPasswordCancelled = false;

namespace {

constexpr std::size_t kLongestEntryPath = 256;
constexpr std::size_t kLongestMethod = 256;
constexpr std::size_t kLongestReplacedName = 32801;
constexpr std::int32_t kDoNotReplace = 100;
constexpr char kEncryptedBit = 0x40;

platform::Library &library() {
    static platform::Library vl2uzip(QStringLiteral("vl2uzip"));
    return vl2uzip;
}

// Names from slot 0 on and an empty text behind them.
void fillTable(crossing::NameTable &table, std::int32_t count, const QStringList &names) {
    for (std::int32_t index = 0; index < count; ++index)
        table.put(index, names.at(index));
    table.put(count, {});
}

// The library gets a record of the call: what a holder has set stays as it is.
std::int32_t callLibrary(const tUnzipOptions &tOptions, std::int32_t includeCount,
                         crossing::NameTable &include, std::int32_t excludeCount,
                         crossing::NameTable &exclude, USERFUNCTIONS &functions) {
    QByteArray zipFile = crossing::path(tOptions.sZipFN);
    QByteArray folder = crossing::path(tOptions.sExtractDir);
    DCL record = tOptions.tRecord;
    record.lpszZipFN = zipFile.data();
    record.lpszExtractDir = folder.data();
    return library().function<decltype(&Wiz_SingleEntryUnzip)>("Wiz_SingleEntryUnzip")(
        includeCount, include.table(), excludeCount, exclude.table(), &record, &functions);
}

// Another library under this name need not offer the count.
std::int32_t missingCount(std::int32_t code) {
    try {
        return library().function<decltype(&UzpMissingCount)>("UzpMissingCount")();
    } catch (const platform::RuntimeError &) {
        return code == 0 ? 0 : 1;
    }
}

} // namespace

std::int32_t mUnzip::CallUnzipLibrary(cUnzip &oUnzip, const tUnzipOptions &tOptions,
                                      std::int32_t lIncludeCount, const QStringList &asInclude,
                                      std::int32_t lExcludeCount, const QStringList &asExclude) {
    oUnzip.m_lLastCode = -1;
    oUnzip.m_lMissing = 1;
    oUnzip.m_sLastMessage.clear();
    try {
        m_cCurrentUnzip = &oUnzip;

        USERFUNCTIONS functions{};
        functions.print = OnUnzipPrint;
        functions.replace = OnUnzipReplace;
        functions.password = OnUnzipPassword;
        functions.SendApplicationMessage = OnUnzipEntry;
        functions.ServCallBk = OnUnzipService;

        crossing::NameTable include;
        fillTable(include, lIncludeCount, asInclude);
        crossing::NameTable exclude;
        fillTable(exclude, lExcludeCount, asExclude);

        m_bPasswordCancelled = false;
        oUnzip.m_lLastCode =
            callLibrary(tOptions, lIncludeCount, include, lExcludeCount, exclude, functions);
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

qsizetype mUnzip::SlashesToBackslashes(QString &sText) {
    const qsizetype last = sText.lastIndexOf(u'/');
    if (last >= 0)
        sText.replace(u'/', u'\\');
    return last < 0 ? 1 : last + 2;
}

void mUnzip::SplitEntryPath(QString &sPath, QString &sFolder) {
    const qsizetype nul = sPath.indexOf(QChar(0));
    if (nul >= 0)
        sPath.truncate(nul);
    const qsizetype name = SlashesToBackslashes(sPath);
    if (name > 1) {
        sFolder = sPath.left(name - 2);
        sPath = sPath.mid(name - 1); // a text of its own size: the list keeps it
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
    // An archive tells the time on its maker's clock and no zone. Taken as local time it would
    // shift or vanish where the clocks are put forward here. Counting from a time that is in UTC
    // already is the fastest way to another one.
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
    attempt([&] { name = crossing::text(filename, kLongestEntryPath); });
    attempt([&] { SplitEntryPath(name, folder); });
    attempt([&] { date = EntryDate(yr, mo, dy, hh, mm); });
    attempt([&] { method = crossing::text(methbuf, kLongestMethod); });
    attempt([&] {
        if (m_cCurrentUnzip != nullptr)
            m_cCurrentUnzip->AddListedEntry(name, folder, date, static_cast<std::int32_t>(csiz),
                                            static_cast<std::int32_t>(crc),
                                            (fCrypt & kEncryptedBit) != 0, cfactor, method);
    });
}

std::int32_t mUnzip::OnUnzipPrint(char *buffer, std::uint32_t size) noexcept {
    callIdleHandler();
    if (!crossing::isTextSize(size) || m_cCurrentUnzip == nullptr)
        return 0;
    QString message;
    attempt([&] { message = crossing::text(buffer, size); });
    // Kept as the library wrote it: a person is shown the path that the system knows.
    attempt([&] { m_cCurrentUnzip->m_sLastMessage = message.trimmed(); });
    attempt([&] { SlashesToBackslashes(message); });
    attempt([&] { m_cCurrentUnzip->RaiseProgress(message); });
    return 0;
}

std::int32_t mUnzip::OnUnzipReplace(char *filename) noexcept {
    callIdleHandler();
    std::int32_t answer = kDoNotReplace;
    QString name;
    attempt([&] { name = crossing::text(filename, kLongestReplacedName); });
    attempt([&] { SlashesToBackslashes(name); });
    attempt([&] {
        if (m_cCurrentUnzip != nullptr)
            m_cCurrentUnzip->RaiseOverwritePrompt(name, answer);
    });
    return answer;
}

std::int32_t mUnzip::OnUnzipPassword(char *p, std::int32_t n, char * /*m*/,
                                     char * /*name*/) noexcept {
    callIdleHandler();
    const auto ask = [](QString &password, bool &cancel) {
        if (m_cCurrentUnzip != nullptr)
            m_cCurrentUnzip->RaisePasswordRequest(password, cancel);
    };
    return crossing::answerPassword(m_bPasswordCancelled, ask, p, n);
}

std::int32_t mUnzip::OnUnzipService(char *filename, std::uint32_t size) noexcept {
    callIdleHandler();
    if (!crossing::isTextSize(size))
        return 0;
    bool cancel = false;
    QString name;
    attempt([&] { name = crossing::text(filename, size); });
    attempt([&] { SlashesToBackslashes(name); });
    attempt([&] {
        if (m_cCurrentUnzip != nullptr)
            m_cCurrentUnzip->RaiseCancel(name, cancel);
    });
    return cancel ? 1 : 0;
}

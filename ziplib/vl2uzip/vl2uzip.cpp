#include "ziplib/vl2uzip.h"

#include "storage/storage.h"
#include "ziplib/codec/codec.h"
#include "ziplib/common/interfaceText.h"
#include "ziplib/format/directory.h"
#include "ziplib/vl2uzip/callResult.h"
#include "ziplib/vl2uzip/caller.h"
#include "ziplib/vl2uzip/extraction.h"
#include "ziplib/vl2uzip/nameFilter.h"
#include "ziplib/vl2uzip/plan.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <exception>

namespace ziplib {

namespace {

using platform::Status;

// The result of UzpMissingCount: each thread makes calls of its own.
thread_local std::int32_t lastMissing = 0;

std::atomic<VL2UZIP_EXTRACTED> onExtracted = nullptr;

std::vector<std::string> names(std::int32_t count, char **table) {
    std::vector<std::string> texts;
    for (std::int32_t i = 0; table != nullptr && i < count; ++i)
        if (table[i] != nullptr)
            texts.push_back(fromProgram(table[i]));
    return texts;
}

Request makeRequest(const DCL &options, std::int32_t wantedCount, char **wanted,
                    std::int32_t unwantedCount, char **unwanted) {
    Request request;
    if (options.nvflag != 0)
        request.work = Request::Work::List;
    else if (options.ntflag != 0)
        request.work = Request::Work::Test;
    request.archive = fromProgram(options.lpszZipFN);
    request.target = fromProgram(options.lpszExtractDir);
    request.wanted = names(wantedCount, wanted);
    request.unwanted = names(unwantedCount, unwanted);
    request.onlyNewer = options.ExtractOnlyNewer != 0;
    request.blanksToUnderscores = options.SpaceToUnderscore != 0;
    // Otherwise the program is asked, whatever PromptToOverwrite says.
    request.replaceAll = options.noflag != 0;
    request.makeFolders = options.ndflag != 0;
    request.convertLineEnds = options.naflag != 0;
    request.ignoreCase = options.C_flag != 0;
    return request;
}

void fail(ReturnCode code, const std::string &message, Caller &caller, CallResult &result) {
    caller.warn(message);
    result.add(code, message);
}

platform::KeepGoing keepAlive(Caller &caller) {
    return [&caller] {
        caller.tick();
        return true;
    };
}

// Warns about each wanted name that matched nothing; the result is NothingMatched if none did.
void reportUnmatched(const NameFilter &filter, bool anyMatched, Caller &caller,
                     CallResult &result) {
    if (!filter.isSelective())
        return;
    for (const std::string &name : filter.unmatched()) {
        const std::string message = name + " is not in the archive";
        caller.warn(message);
        result.add(ReturnCode::Warnings, message);
        result.addMissing(1);
    }
    if (!anyMatched)
        result.replace(ReturnCode::NothingMatched, "none of the names is in the archive");
}

void list(const Directory &directory, NameFilter &filter, Caller &caller, CallResult &result) {
    std::uint64_t size = 0;
    std::uint64_t compressedSize = 0;
    std::uint64_t count = 0;
    for (const Entry entry : directory.entries()) {
        const std::string path = directory.path(entry);
        if (filter.accepts(path)) {
            caller.list(path, entry);
            size += entry.size;
            compressedSize += entry.compressedSize;
            ++count;
        }
        caller.tick();
    }
    caller.setTotals(size, compressedSize, count, directory.archiveComment().size());
    reportUnmatched(filter, count > 0, caller, result);
}

void extract(const platform::InputFile &file, const Directory &directory, const Request &request,
             NameFilter &filter, Caller &caller, CallResult &result) {
    platform::reloadTimeZone();
    const Plan plan = makePlan(directory, request, filter, keepAlive(caller));
    caller.setTotals(plan.size, plan.compressedSize, plan.items.size(),
                     directory.archiveComment().size());
    if (!plan.items.empty() || !filter.isSelective())
        Extraction(file, directory, request, caller, result).run(plan);
    reportUnmatched(filter, !plan.items.empty(), caller, result);
}

void work(const Request &request, Caller &caller, CallResult &result) {
    platform::InputFile file;
    if (Status status = file.open(request.archive); !status.ok()) {
        fail(ReturnCode::NoArchive, status.message, caller, result);
        result.addMissing(1);
        return;
    }
    Directory directory;
    const Status status = directory.read(file, keepAlive(caller));
    if (!status.ok()) {
        fail(codeOfArchive(status), status.message, caller, result);
        result.addMissing(1);
        return;
    }
    if (!directory.damage().ok()) {
        fail(codeOfEntry(directory.damage()), directory.damage().message, caller, result);
        result.addMissing(directory.missing());
    }
    NameFilter filter(request.wanted, request.unwanted, request.ignoreCase, directory,
                      keepAlive(caller));
    if (request.work == Request::Work::List)
        list(directory, filter, caller, result);
    else
        extract(file, directory, request, filter, caller, result);
    // After the entries: the first of two warnings is returned, and a missing entry matters more.
    if (directory.trailing() != 0) {
        const std::uint64_t size = directory.trailing();
        fail(ReturnCode::Warnings,
             request.archive + " is followed by " + std::to_string(size) +
                 (size == 1 ? " byte that does" : " bytes that do") + " not belong to it",
             caller, result);
    }
}

// Copies a text into a field of fixed size, its NUL included.
template<std::size_t Size>
void fill(char (&field)[Size], const char *text) {
    const std::size_t length = std::min(std::strlen(text), Size - 1);
    std::memcpy(field, text, length);
    std::memset(field + length, 0, Size - length);
}

} // namespace

} // namespace ziplib

extern "C" {

int32_t Wiz_SingleEntryUnzip(int32_t ifnc, char **ifnv, int32_t xfnc, char **xfnv, DCL *lpDCL,
                             USERFUNCTIONS *lpUserFunctions) {
    using ziplib::ReturnCode;
    if (lpDCL == nullptr || lpUserFunctions == nullptr)
        return static_cast<int32_t>(ReturnCode::SevereDamage);
    ziplib::CallResult result;
    try {
        ziplib::Caller caller(*lpUserFunctions, ziplib::onExtracted, lpDCL->fQuiet);
        ziplib::work(ziplib::makeRequest(*lpDCL, ifnc, ifnv, xfnc, xfnv), caller, result);
        caller.warnLast(result.message());
        ziplib::lastMissing = result.missing();
        return static_cast<int32_t>(result.code());
    } catch (const std::exception &) {
        // Out of memory; the files written before are complete.
        result.addMissing(1);
        ziplib::lastMissing = result.missing();
        return static_cast<int32_t>(ReturnCode::SevereDamage);
    }
}

int32_t UzpMissingCount(void) {
    return ziplib::lastMissing;
}

int32_t UzpReportExtracted(VL2UZIP_EXTRACTED lpExtracted) {
    ziplib::onExtracted = lpExtracted;
    return 1;
}

void UzpVersion2(UzpVer2 *lpVersion) {
    if (lpVersion == nullptr || lpVersion->structlen < sizeof(UzpVer2))
        return;
    const UzpVersionGroup version = {VL2_VERSION_MAJOR, VL2_VERSION_MINOR, VL2_VERSION_PATCH, 0};
    lpVersion->flag = 0;
    ziplib::fill(lpVersion->betalevel, "");
    ziplib::fill(lpVersion->date, "");
    ziplib::fill(lpVersion->zlib_version, ziplib::streamLibraryVersion());
    lpVersion->unzip = version;
    lpVersion->zipinfo = version;
    lpVersion->os2dll = version;
    lpVersion->windll = version;
}
}

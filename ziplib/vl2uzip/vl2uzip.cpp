#include "ziplib/vl2uzip.h"

#include "storage/storage.h"
#include "ziplib/codec/codec.h"
#include "ziplib/format/directory.h"
#include "ziplib/vl2uzip/callResult.h"
#include "ziplib/vl2uzip/caller.h"
#include "ziplib/vl2uzip/extraction.h"
#include "ziplib/vl2uzip/listing.h"
#include "ziplib/vl2uzip/nameFilter.h"
#include "ziplib/vl2uzip/plan.h"
#include "ziplib/vl2uzip/request.h"

#include <algorithm>
#include <cstring>
#include <exception>

namespace ziplib {

namespace {

using platform::Status;

// The result of UzpMissingCount: each thread makes calls of its own.
thread_local std::int32_t lastMissing = 0;

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
        listEntries(directory, filter, caller, result);
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
        ziplib::Caller caller(*lpUserFunctions, lpDCL->fQuiet);
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

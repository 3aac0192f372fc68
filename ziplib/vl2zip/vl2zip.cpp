#include "ziplib/vl2zip.h"

#include "storage/storage.h"
#include "ziplib/common/interfaceText.h"
#include "ziplib/vl2zip/update.h"

#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

namespace {

// Set by the other functions of the interface for the next ZpArchive.
struct Setting {
    std::mutex mutex;
    ZIPUSERFUNCTIONS callbacks{};
    VL2ZIP_PACKED packed = nullptr;
    VL2ZIP_CONFLICT conflict = nullptr;
    std::shared_ptr<ziplib::Base> base;
    ziplib::PackOptions options;
};

Setting &setting() {
    static Setting instance;
    return instance;
}

bool isBlank(const std::string &text) {
    return text.find_first_not_of(' ') == std::string::npos;
}

ziplib::PackOptions optionsOf(const ZPOPT &given) {
    ziplib::PackOptions options;
    if (given.szRootDir != nullptr && !isBlank(given.szRootDir))
        options.root = ziplib::fromProgram(given.szRootDir);
    options.recurse = given.fRecurse != 0;
    options.junkFolders = given.fJunkDir != 0;
    options.folderEntries = given.fNoDirEntries == 0;
    options.hiddenToo = given.fSystem != 0;
    options.encrypt = given.fEncrypt != 0;
    options.newerOnly = given.fUpdate != 0 || given.fFreshen != 0;
    options.addNew = given.fFreshen == 0;
    options.crlfToLf = given.fCRLF_LF != 0;
    options.lfToCrlf = given.fLF_CRLF != 0 && !options.crlfToLf;
    options.remove = given.fDeleteEntries != 0;
    options.verbose = given.fVerbose != 0;
    options.quiet = given.fQuiet != 0;
    return options;
}

ziplib::BaseVersion baseVersion(const ZPVERSION &given) {
    ziplib::BaseVersion version;
    version.size = given.size;
    version.crc = given.crc;
    version.written = given.written;
    version.timesTell = given.written != 0 && given.timesTell != 0;
    version.device = given.device;
    version.id = given.id;
    version.modified = given.modified;
    version.changed = given.changed;
    return version;
}

// Adds to the base of the setting, which is empty if there was none. False if memory is exhausted:
// then there is none.
bool addToBase(const ZPVERSION *versions, std::uint32_t count) {
    std::shared_ptr<ziplib::Base> &base = setting().base;
    try {
        if (!base)
            base = std::make_shared<ziplib::Base>();
        else if (base.use_count() > 1) // a callback of a call in progress, which has its own
            base = std::make_shared<ziplib::Base>(*base);
        for (std::uint32_t i = 0; i < count; ++i)
            base->add(versions[i].path, baseVersion(versions[i]));
        return true;
    } catch (const std::exception &) {
        base.reset();
        return false;
    }
}

std::int32_t run(const ziplib::PackOptions &options, ziplib::Report &report) {
    using ziplib::Failure;
    using ziplib::Status;
    platform::reloadTimeZone();
    try {
        return report.end(options.remove ? deleteFromArchive(options, report)
                                         : updateArchive(options, report));
    } catch (const std::bad_alloc &) {
        return report.end(Status(Failure::CannotWrite,
                                 options.archive + ": not enough memory; it was left as it is"));
    } catch (const std::exception &error) {
        return report.end(Status(Failure::CannotWrite, options.archive + ": " + error.what()));
    }
}

} // namespace

std::int32_t ZpInit(ZIPUSERFUNCTIONS *lpZipUserFunctions) {
    const std::lock_guard lock(setting().mutex);
    setting().callbacks = lpZipUserFunctions != nullptr ? *lpZipUserFunctions : ZIPUSERFUNCTIONS{};
    return 1;
}

std::int32_t ZpReportPacked(VL2ZIP_PACKED lpPacked) {
    const std::lock_guard lock(setting().mutex);
    setting().packed = lpPacked;
    return 1;
}

std::int32_t ZpSetBase(const ZPVERSION *lpBase, uint32_t count, VL2ZIP_CONFLICT lpConflict) {
    const std::lock_guard lock(setting().mutex);
    setting().conflict = lpConflict;
    setting().base.reset();
    return lpBase == nullptr || addToBase(lpBase, count) ? 1 : 0;
}

std::int32_t ZpAddToBase(const ZPVERSION *lpBase, uint32_t count) {
    const std::lock_guard lock(setting().mutex);
    return setting().base && addToBase(lpBase, count) ? 1 : 0;
}

int32_t ZpSetOptions(ZPOPT *lpZpOpt) {
    try {
        const std::lock_guard lock(setting().mutex);
        setting().options = lpZpOpt != nullptr ? optionsOf(*lpZpOpt) : ziplib::PackOptions();
        return 1;
    } catch (const std::exception &) {
        return 0;
    }
}

std::int32_t ZpArchive(ZCL C) {
    try {
        ziplib::PackOptions options;
        ZIPUSERFUNCTIONS callbacks{};
        VL2ZIP_PACKED packed = nullptr;
        VL2ZIP_CONFLICT conflict = nullptr;
        {
            // A copy: the callbacks may change the options of the next call.
            const std::lock_guard lock(setting().mutex);
            options = setting().options;
            callbacks = setting().callbacks;
            packed = setting().packed;
            conflict = setting().conflict;
            options.base = setting().base;
        }
        options.archive = ziplib::fromProgram(C.lpszZipFN);
        for (std::int32_t i = 0; C.FNV != nullptr && i < C.argc; ++i)
            if (C.FNV[i] != nullptr)
                options.patterns.push_back(ziplib::fromProgram(C.FNV[i]));
        ziplib::Report report(callbacks, packed, conflict, options.verbose, options.quiet);
        return run(options, report);
    } catch (...) {
        return static_cast<std::int32_t>(ziplib::ReturnCode::CannotWrite);
    }
}

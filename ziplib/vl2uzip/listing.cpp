#include "ziplib/vl2uzip/listing.h"

#include "ziplib/format/dosTime.h"

namespace ziplib {

namespace {

Caller::Listed describe(const Entry &entry) {
    const DosTime time = dosTime(entry.date, entry.time);
    Caller::Listed listed;
    listed.size = entry.size;
    listed.compressedSize = entry.compressedSize;
    listed.month = time.month;
    listed.day = time.day;
    listed.year = time.year;
    listed.hour = time.hour;
    listed.minute = time.minute;
    listed.method = methodName(entry.method);
    listed.crc = entry.crc;
    listed.encrypted = entry.isEncrypted();
    return listed;
}

} // namespace

void listEntries(const Directory &directory, NameFilter &filter, Caller &caller,
                 CallResult &result) {
    std::uint64_t size = 0;
    std::uint64_t compressedSize = 0;
    std::uint64_t count = 0;
    for (const Entry &entry : directory.entries()) {
        const std::string path = directory.path(entry);
        if (filter.accepts(path)) {
            caller.list(path, describe(entry));
            size += entry.size;
            compressedSize += entry.compressedSize;
            ++count;
        }
        caller.tick();
    }
    caller.setTotals(size, compressedSize, count, directory.archiveComment().size());
    reportUnmatched(filter, count > 0, caller, result);
}

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

} // namespace ziplib

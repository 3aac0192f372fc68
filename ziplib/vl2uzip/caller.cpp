#include "ziplib/vl2uzip/caller.h"

#include "ziplib/common/interfaceText.h"
#include "ziplib/format/dosTime.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ziplib {

namespace {

constexpr std::int32_t kAnswerReplace = 102;
constexpr std::int32_t kAnswerReplaceAll = 103;
constexpr std::int32_t kAnswerKeepAll = 104;

template<typename Small>
Small clipped(std::uint64_t value) {
    return static_cast<Small>(std::min<std::uint64_t>(value, std::numeric_limits<Small>::max()));
}

// Share of `size` that compression saved, in percent.
std::int32_t percentSaved(std::uint64_t size, std::uint64_t compressedSize) {
    if (size == 0 || compressedSize >= size)
        return 0;
    const double saved = static_cast<double>(size - compressedSize) / static_cast<double>(size);
    return static_cast<std::int32_t>(std::lround(100.0 * saved));
}

} // namespace

Caller::Answer Caller::replace(const std::string &path) {
    if (m_functions.replace == nullptr)
        return Answer::Keep;
    std::string narrow = toProgram(path);
    switch (m_functions.replace(narrow.data())) {
    case kAnswerReplace:
        return Answer::Replace;
    case kAnswerReplaceAll:
        return Answer::ReplaceAll;
    case kAnswerKeepAll:
        return Answer::KeepAll;
    default:
        return Answer::Keep;
    }
}

std::optional<std::string> Caller::password(const std::string &path) {
    return CallbackReporter::password("Password for " + toProgram(path) + ": ", path);
}

void Caller::list(const std::string &path, const Entry &entry) {
    if (m_functions.SendApplicationMessage == nullptr)
        return;
    std::string narrow = toProgram(path);
    std::string method = methodName(entry.method);
    const DosTime time = dosTime(entry.date, entry.time);
    constexpr std::uint64_t kLargest = std::numeric_limits<std::uint32_t>::max();
    const bool clippedSize = entry.size > kLargest || entry.compressedSize > kLargest;
    m_functions.SendApplicationMessage(
        clipped<std::uint32_t>(entry.size), clipped<std::uint32_t>(entry.compressedSize),
        percentSaved(entry.size, entry.compressedSize), time.month, time.day, time.year, time.hour,
        time.minute, clippedSize ? '+' : ' ', narrow.data(), method.data(), entry.crc,
        entry.isEncrypted() ? 'E' : ' ');
}

void Caller::extracted(const std::string &path, const Entry &entry,
                       const platform::FileInfo *written) {
    if (m_extracted == nullptr)
        return;
    UZPEXTRACTED record{};
    record.path = path.c_str();
    record.size = entry.size;
    record.crc = entry.crc;
    record.time = static_cast<std::uint32_t>(entry.date) << 16U | entry.time;
    if (written != nullptr) {
        record.written = written->plain ? 2 : 1;
        record.device = written->device;
        record.id = written->id;
        record.fileSize = written->size;
        record.modified = written->modified;
        record.changed = written->changed;
    }
    m_extracted(&record);
}

void Caller::setTotals(std::uint64_t size, std::uint64_t compressedSize, std::uint64_t entries,
                       std::uint64_t comment) {
    m_functions.TotalSize = clipped<std::int32_t>(size);
    m_functions.TotalSizeComp = clipped<std::int32_t>(compressedSize);
    m_functions.CompFactor = percentSaved(size, compressedSize);
    m_functions.NumMembers = clipped<std::int32_t>(entries);
    m_functions.cchComment = clipped<std::int16_t>(comment);
}

} // namespace ziplib

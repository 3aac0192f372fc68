#include "ziplib/container/dostime.h"

#include "platform/storage.h"

#include <algorithm>
#include <ctime>

namespace ziplib {

namespace {

constexpr std::int64_t second = 1'000'000'000;

} // namespace

DosTime dosTime(std::uint16_t date, std::uint16_t time) {
    DosTime local;
    local.year = 1980 + (date >> 9);
    local.month = std::clamp((date >> 5) & 15, 1, 12);
    local.day = std::clamp(date & 31, 1, 31);
    local.hour = std::min(time >> 11, 23);
    local.minute = std::min((time >> 5) & 63, 59);
    local.second = std::min((time & 31) * 2, 58);
    return local;
}

std::int64_t toNanoseconds(const DosTime &local) {
    std::tm parts{};
    parts.tm_year = local.year - 1900;
    parts.tm_mon = local.month - 1;
    parts.tm_mday = local.day;
    parts.tm_hour = local.hour;
    parts.tm_min = local.minute;
    parts.tm_sec = local.second;
    parts.tm_isdst = -1;
    return static_cast<std::int64_t>(std::mktime(&parts)) * second;
}

std::uint32_t toDosFields(std::int64_t nanoseconds) {
    constexpr std::uint32_t earliest = (1U << 21) | (1U << 16);
    constexpr std::uint32_t latest =
        (127U << 25) | (12U << 21) | (31U << 16) | (23U << 11) | (59U << 5) | 29U;
    std::int64_t seconds = nanoseconds / second + (nanoseconds % second > 0 ? 1 : 0);
    seconds += seconds & 1;
    std::tm parts{};
    if (!platform::localTime(seconds, parts) || parts.tm_year < 80) {
        return earliest;
    }
    if (parts.tm_year > 207) {
        return latest;
    }
    return (static_cast<std::uint32_t>(parts.tm_year - 80) << 25) |
           (static_cast<std::uint32_t>(parts.tm_mon + 1) << 21) |
           (static_cast<std::uint32_t>(parts.tm_mday) << 16) |
           (static_cast<std::uint32_t>(parts.tm_hour) << 11) |
           (static_cast<std::uint32_t>(parts.tm_min) << 5) |
           static_cast<std::uint32_t>(std::min(parts.tm_sec, 59) / 2);
}

} // namespace ziplib

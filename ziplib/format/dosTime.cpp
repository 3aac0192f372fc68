#include "ziplib/format/dosTime.h"

#include "storage/storage.h"

#include <algorithm>
#include <chrono>
#include <ctime>

namespace ziplib {

namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kDay = 24 * 60 * 60;

std::int64_t secondsOf(std::int64_t days, int hour, int minute, int seconds) {
    return days * kDay + (hour * 60 + minute) * 60 + seconds;
}

// Seconds that local clocks are ahead of UTC at an instant.
std::int64_t offsetAt(std::int64_t instant) {
    std::tm parts{};
    if (!platform::localTime(instant, parts))
        return 0;
    const auto days = std::chrono::sys_days(std::chrono::year(parts.tm_year + 1900) /
                                            (parts.tm_mon + 1) / parts.tm_mday);
    return secondsOf(days.time_since_epoch().count(), parts.tm_hour, parts.tm_min, parts.tm_sec) -
           instant;
}

constexpr std::uint32_t kEarliest = (1U << 21) | (1U << 16);

std::int64_t roundedUp(std::int64_t seconds) {
    return seconds + (seconds & 1);
}

std::uint32_t fieldsOf(const std::tm &parts) {
    constexpr std::uint32_t kLatest =
        (127U << 25) | (12U << 21) | (31U << 16) | (23U << 11) | (59U << 5) | 29U;
    if (parts.tm_year < 80)
        return kEarliest;
    if (parts.tm_year > 207)
        return kLatest;
    return (static_cast<std::uint32_t>(parts.tm_year - 80) << 25) |
           (static_cast<std::uint32_t>(parts.tm_mon + 1) << 21) |
           (static_cast<std::uint32_t>(parts.tm_mday) << 16) |
           (static_cast<std::uint32_t>(parts.tm_hour) << 11) |
           (static_cast<std::uint32_t>(parts.tm_min) << 5) |
           static_cast<std::uint32_t>(std::min(parts.tm_sec, 59) / 2);
}

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
    // mktime would check the disk for a new time zone at every call.
    using std::chrono::sys_days;
    const std::chrono::year_month_day date{std::chrono::year(local.year),
                                           std::chrono::month(static_cast<unsigned>(local.month)),
                                           std::chrono::day(static_cast<unsigned>(local.day))};
    const std::int64_t clock = secondsOf(sys_days(date).time_since_epoch().count(), local.hour,
                                         local.minute, local.second);
    // If the clock is set back and a time occurs twice, the first one is taken; if it is set
    // forward and the time does not exist, the one that the old clock would have shown.
    const std::int64_t early = clock - offsetAt(clock - kDay);
    const std::int64_t late = clock - offsetAt(clock + kDay);
    const bool wasEarly = early == late || offsetAt(early) == clock - early;
    return (wasEarly || offsetAt(late) != clock - late ? early : late) * kSecond;
}

std::uint32_t toDosFields(std::int64_t nanoseconds) {
    const std::int64_t seconds =
        roundedUp(nanoseconds / kSecond + (nanoseconds % kSecond > 0 ? 1 : 0));
    std::tm parts{};
    return platform::localTime(seconds, parts) ? fieldsOf(parts) : kEarliest;
}

std::uint32_t toDosFieldsUtc(std::int64_t nanoseconds) {
    using namespace std::chrono;
    const auto whole = floor<seconds>(std::chrono::nanoseconds(nanoseconds));
    const sys_seconds instant{seconds(roundedUp(whole.count()))};
    const auto day = floor<days>(instant);
    const year_month_day date(day);
    const hh_mm_ss time(instant - day);
    std::tm parts{};
    parts.tm_year = static_cast<int>(date.year()) - 1900;
    parts.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
    parts.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
    parts.tm_hour = static_cast<int>(time.hours().count());
    parts.tm_min = static_cast<int>(time.minutes().count());
    parts.tm_sec = static_cast<int>(time.seconds().count());
    return fieldsOf(parts);
}

} // namespace ziplib

#include "storage/windows/system.h"

#include <ctime>
#include <map>
#include <mutex>

// Uses the time zone rules of the given year. The C library knows only the current rules, and
// interprets a variable TZ, which other shells set in another format.
namespace platform {

namespace {

class Zones {
  public:
    void dropCache() {
        const std::lock_guard lock(m_mutex);
        m_years.clear();
    }
    // False if the system has no rules for that year.
    bool find(WORD year, TIME_ZONE_INFORMATION &zone) {
        const std::lock_guard lock(m_mutex);
        auto known = m_years.find(year);
        if (known == m_years.end()) {
            if (!GetTimeZoneInformationForYear(year, nullptr, &zone))
                return false;
            known = m_years.emplace(year, zone).first;
        }
        zone = known->second;
        return true;
    }

  private:
    std::mutex m_mutex;
    std::map<WORD, TIME_ZONE_INFORMATION> m_years;
};

Zones &zones() {
    static Zones known;
    return known;
}

constexpr std::int64_t kTicks = 10'000'000; // in a second

bool calendarOf(std::int64_t seconds, SYSTEMTIME &calendar) {
    if (seconds < -kTicksTo1970 / kTicks || seconds > INT64_MAX / kTicks / 2)
        return false;
    const std::int64_t ticks = seconds * kTicks + kTicksTo1970;
    const FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    return FileTimeToSystemTime(&time, &calendar) != FALSE;
}

} // namespace

void reloadTimeZone() {
    zones().dropCache();
}

bool localTime(std::int64_t seconds, std::tm &parts) {
    SYSTEMTIME utc{};
    SYSTEMTIME local{};
    TIME_ZONE_INFORMATION zone{};
    if (!calendarOf(seconds, utc) || !zones().find(utc.wYear, zone) ||
        !SystemTimeToTzSpecificLocalTime(&zone, &utc, &local))
        return false;
    parts = {};
    parts.tm_year = local.wYear - 1900;
    parts.tm_mon = local.wMonth - 1;
    parts.tm_mday = local.wDay;
    parts.tm_hour = local.wHour;
    parts.tm_min = local.wMinute;
    parts.tm_sec = local.wSecond;
    return true;
}

} // namespace platform

#pragma once

#include <cstdint>

namespace ziplib {

// A date and time as zip records store it, in local time. Parts out of range are clamped.
struct DosTime {
    int year = 1980;
    int month = 1; // from 1
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0; // even
};

// `date` and `time` are the two 16-bit fields of a record.
DosTime dosTime(std::uint16_t date, std::uint16_t time);

// Nanoseconds since 1970, UTC, for a local date and time; the earlier one if it occurs twice.
std::int64_t toNanoseconds(const DosTime &local);

// The two fields for an instant, date in the upper half: rounded up to the even second, clamped to
// 1980 to 2107.
std::uint32_t toDosFields(std::int64_t nanoseconds);
// The same for UTC instead of local time, and without the fraction of the second: it depends
// neither on the machine's time zone nor on how precisely its disk stores times.
std::uint32_t toDosFieldsUtc(std::int64_t nanoseconds);

} // namespace ziplib

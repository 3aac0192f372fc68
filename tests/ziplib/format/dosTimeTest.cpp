#include "ziplib/format/dosTime.h"
#include "tests/support/environment.h"

#include <gtest/gtest.h>

#include <ctime>

namespace {

class TimeZone {
  public:
    explicit TimeZone(const char *zone) {
        setVariable("TZ", zone);
        tzset();
    }
    ~TimeZone() { setVariable("TZ", ""); }
};

constexpr std::int64_t kSecond = 1'000'000'000;

} // namespace

TEST(DosTimes, AreLocalAndComeBackTheSame) {
    const std::pair<const char *, std::int64_t> rows[] = {
        {"UTC", 987514662},      {"CET-1CEST,M3.5.0,M10.5.0/3", 987514662},
        {"PST8PDT", 1400000000}, {"CET-1CEST,M3.5.0,M10.5.0/3", 979514662},
        {"UTC", 315532800},      {"UTC", 4354819198}};
    for (const auto &[name, instant] : rows) {
        SCOPED_TRACE(name);
        const TimeZone zone(name);
        const std::uint32_t fields = ziplib::toDosFields(instant * kSecond);
        const auto local = ziplib::dosTime(static_cast<std::uint16_t>(fields >> 16),
                                           static_cast<std::uint16_t>(fields));
        EXPECT_EQ(ziplib::toNanoseconds(local), instant * kSecond);
    }
}

TEST(DosTimes, AroundAChangeOfTheClock) {
    const char *berlin = "CET-1CEST,M3.5.0,M10.5.0/3";
    const char *pacific = "PST8PDT,M4.1.0,M10.5.0";
    const struct {
        const char *zone;
        ziplib::DosTime local;
        std::int64_t instant; // seconds
    } rows[] = {{berlin, {2001, 3, 25, 1, 59, 58}, 985481998},
                {berlin, {2001, 3, 25, 2, 30, 0}, 985483800}, // left out: an hour after 1:30
                {berlin, {2001, 3, 25, 3, 0, 0}, 985482000},
                {berlin, {2001, 10, 28, 1, 59, 58}, 1004227198},
                {berlin, {2001, 10, 28, 2, 30, 0}, 1004229000}, // comes twice
                {berlin, {2001, 10, 28, 3, 0, 0}, 1004234400},
                {pacific, {2001, 4, 1, 2, 30, 0}, 986121000},
                {pacific, {2001, 4, 1, 3, 0, 0}, 986119200},
                {pacific, {2001, 10, 28, 1, 30, 0}, 1004257800},
                {pacific, {2001, 10, 28, 2, 0, 0}, 1004263200},
                {"UTC-14", {2001, 2, 31, 0, 0, 0}, 983527200}}; // the third of March
    for (const auto &row : rows) {
        SCOPED_TRACE(row.instant);
        const TimeZone zone(row.zone);
        EXPECT_EQ(ziplib::toNanoseconds(row.local), row.instant * kSecond);
    }
}

TEST(DosTimes, AreRoundedUpToTheEvenSecondAndLimitedToTheirRange) {
    const TimeZone zone("UTC");
    const std::uint32_t even = ziplib::toDosFields(987514662 * kSecond);
    EXPECT_EQ(ziplib::toDosFields(987514661 * kSecond), even);
    EXPECT_EQ(ziplib::toDosFields(987514660 * kSecond + 1), even);
    EXPECT_NE(ziplib::toDosFields(987514660 * kSecond), even);
    EXPECT_EQ(ziplib::toDosFields(-5 * kSecond), 0x00210000U);
    EXPECT_EQ(ziplib::toDosFields(9000000000 * kSecond) >> 16, 0xFF9FU);
    EXPECT_EQ(ziplib::toNanoseconds(ziplib::dosTime(0, 0)), 315532800 * kSecond);
    EXPECT_EQ(ziplib::toNanoseconds(ziplib::dosTime(0xFFFF, 0xFFFF)), 4354819198 * kSecond);
}

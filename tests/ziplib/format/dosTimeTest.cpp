#include "ziplib/format/dosTime.h"
#include "tests/support/environment.h"

#include <gtest/gtest.h>

#include <ctime>
#include <tuple>

namespace {

void setZone(const char *zone) {
    setVariable("TZ", zone);
    tzset();
}

constexpr std::int64_t kSecond = 1'000'000'000;

} // namespace

TEST(DosTimes, AreLocalAndComeBackTheSameAroundAChangeOfTheClock) {
    const char *berlin = "CET-1CEST,M3.5.0,M10.5.0/3";
    const char *pacific = "PST8PDT,M4.1.0,M10.5.0";
    const std::tuple<const char *, ziplib::DosTime, std::int64_t> rows[] = {
        {berlin, {2001, 3, 25, 1, 59, 58}, 985481998},
        {berlin, {2001, 3, 25, 2, 30, 0}, 985483800}, // left out: an hour after 1:30
        {berlin, {2001, 3, 25, 3, 0, 0}, 985482000},
        {berlin, {2001, 10, 28, 2, 30, 0}, 1004229000}, // comes twice
        {berlin, {2001, 10, 28, 3, 0, 0}, 1004234400},
        {pacific, {2001, 4, 1, 2, 30, 0}, 986121000},
        {pacific, {2001, 10, 28, 1, 30, 0}, 1004257800},
        {"UTC", {2107, 12, 31, 23, 59, 58}, 4354819198},
        {"UTC-14", {2001, 2, 31, 0, 0, 0}, 983527200}}; // the third of March
    for (const auto &[name, local, instant] : rows) {
        SCOPED_TRACE(instant);
        setZone(name);
        EXPECT_EQ(ziplib::toNanoseconds(local), instant * kSecond);
        const std::uint32_t fields = ziplib::toDosFields(instant * kSecond);
        const auto again = ziplib::dosTime(static_cast<std::uint16_t>(fields >> 16),
                                           static_cast<std::uint16_t>(fields));
        EXPECT_EQ(ziplib::toNanoseconds(again), instant * kSecond);
    }
}

TEST(DosTimes, AreRoundedUpToTheEvenSecondAndLimitedToTheirRange) {
    setZone("UTC");
    const std::uint32_t even = ziplib::toDosFields(987514662 * kSecond);
    EXPECT_EQ(ziplib::toDosFields(987514661 * kSecond), even);
    EXPECT_EQ(ziplib::toDosFields(987514660 * kSecond + 1), even);
    EXPECT_NE(ziplib::toDosFields(987514660 * kSecond), even);
    EXPECT_EQ(ziplib::toDosFields(-5 * kSecond), 0x00210000U);
    EXPECT_EQ(ziplib::toDosFields(9000000000 * kSecond) >> 16, 0xFF9FU);
    EXPECT_EQ(ziplib::toNanoseconds(ziplib::dosTime(0, 0)), 315532800 * kSecond);
    EXPECT_EQ(ziplib::toNanoseconds(ziplib::dosTime(0xFFFF, 0xFFFF)), 4354819198 * kSecond);
}

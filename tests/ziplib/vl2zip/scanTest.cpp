#include "ziplib/vl2zip/select/scan.h"
#include "tests/ziplib/vl2zip/packFaults.h"

#include <cstdint>

namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kNow = 1'700'000'000 * kSecond;

TEST_F(PackFaults, TheClockOfTheDiskIsReadFromANewFile) {
    platform::Folder top;
    platform::FileInfo clock;
    platform::FileInfo file;
    platform::InputFile opened;
    writeFile(work / "a.txt", "written now");
    ASSERT_TRUE(opened.open((work / "a.txt").string(), file).ok());
    ASSERT_TRUE(top.open(work.string()).ok() && top.newFileInfo(clock).ok());
    EXPECT_GE(clock.modified, file.modified);
    EXPECT_LT(clock.modified, file.modified + 3600 * kSecond);
}

// Where the disk's clock may have large steps, times prove nothing.
TEST(Scan, OnlyFineTimesProveThatAFileIsAsExtracted) {
    ziplib::Scan scan;
    scan.began.emplace();
    platform::FileInfo extracted;
    for (const std::int64_t fraction : {0, 1, 1000, 1001}) {
        extracted.changed = kNow + fraction;
        scan.stampsWrites = true;
        EXPECT_EQ(scan.stampsWritesTo(extracted), fraction % 10 == 1) << fraction;
        scan.stampsWrites = false;
        EXPECT_FALSE(scan.stampsWritesTo(extracted));
    }
    extracted.device = 1;
    EXPECT_FALSE(scan.stampsWritesTo(extracted));
}

// A file that gets another time by any write is not read again before the save ends.
TEST(Scan, AWriteShowsInTimesThatAreOlderThanTheDisksClock) {
    ziplib::Scan scan;
    platform::FileInfo file;
    EXPECT_FALSE(scan.timesShowWritesTo(file)) << "the clock is not known";
    struct Row {
        bool hasChanged;       // whether the disk has a time of the last change
        bool invents;          // whether the system may have invented it
        std::int64_t modified; // both before the scan
        std::int64_t changed;
        bool shows;    // whether they show a write
        bool showsAll; // and one by a program that sets the old time again
    };
    int number = 0;
    for (const Row &row :
         {Row{true, false, kSecond, 1, true, true}, Row{true, false, 9 * kSecond, 0, false, false},
          Row{true, true, kSecond, 1, true, true}, Row{true, true, 1, 1, false, false},
          Row{true, true, 3 * kSecond, 3 * kSecond, true, false},
          Row{false, false, 3 * kSecond, 3 * kSecond, true, false},
          Row{false, false, 2 * kSecond, 2 * kSecond, false, false},
          Row{false, true, 3 * kSecond, 3 * kSecond, true, false},
          Row{false, true, -kSecond, -kSecond, false, false}}) {
        SCOPED_TRACE(++number);
        scan.keepsInfo = row.invents;
        scan.began.emplace();
        scan.began->modified = kNow;
        scan.began->changed = row.hasChanged ? kNow : INT64_MIN;
        file = {};
        file.modified = kNow - row.modified;
        file.changed = kNow - row.changed;
        EXPECT_EQ(scan.timesShowWritesTo(file), row.shows);
        EXPECT_EQ(file.changed < scan.beganFor(file), row.showsAll) << "what a clean-up relies on";
        file.device = 1;
        EXPECT_FALSE(scan.timesShowWritesTo(file));
    }
}

} // namespace

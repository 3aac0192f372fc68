#include "tests/support/disk.h"
#include "tests/support/tool.h"
#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

// Archives that are too large to be kept are made once for all these tests.
class LargeArchives : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        folder = std::make_unique<TestFolder>();
        made =
            runTool({"python3", dataFile("make-archives.py"), "--large", folder->path().string()})
                .code == 0;
    }
    static void TearDownTestSuite() { folder.reset(); }
    void SetUp() override { ASSERT_TRUE(made); }

    static std::string archive(const std::string &name) {
        return (*folder / (name + ".vl2")).string();
    }

    static std::unique_ptr<TestFolder> folder;
    static bool made;
};

std::unique_ptr<TestFolder> LargeArchives::folder;
bool LargeArchives::made = false;

} // namespace

TEST_F(LargeArchives, AnyNumberOfEntriesIsListed) {
    const struct {
        const char *name;
        std::size_t entries;
    } rows[] = {{"entries-65535", 65535},
                {"entries-65536", 65536},
                {"entries-70000", 70000},
                {"entries-modulo", 65539}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        UnzipCall call;
        EXPECT_EQ(call.list(archive(row.name)), 0);
        EXPECT_EQ(call.listed.size(), row.entries);
    }
}

TEST_F(LargeArchives, OffsetsAroundFourGigabytesAreFound) {
    for (const char *name : {"offset-4g-2", "offset-4g-1", "offset-4g", "offset-4g+1"}) {
        SCOPED_TRACE(name);
        const TestFolder scratch;
        UnzipCall call;
        EXPECT_EQ(call.extract(archive(name), scratch.path()), 0);
        EXPECT_EQ(readFile(scratch / "good.txt"), "good");
    }
}

TEST_F(LargeArchives, SizesAroundFourGigabytesAreReadToTheirEnd) {
    const struct {
        const char *name;
        std::uint32_t told; // what the callback's 32 bits can hold of it
        bool read;          // takes seconds
    } rows[] = {{"stored-4g-2", 0xFFFFFFFE, false},
                {"stored-4g-1", 0xFFFFFFFF, true},
                {"stored-4g", 0xFFFFFFFF, true},
                {"stored-4g+1", 0xFFFFFFFF, false}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        UnzipCall listing;
        EXPECT_EQ(listing.list(archive(row.name)), 0);
        ASSERT_EQ(listing.listed.size(), 1U);
        EXPECT_EQ(listing.listed[0].size, row.told);
        UnzipCall call;
        EXPECT_EQ(row.read ? call.test(archive(row.name)) : 0, 0);
    }
}

TEST_F(LargeArchives, EntriesOfManyGigabytesNeedLittleMemoryAndKeepTheProgramAlive) {
    for (const char *name : {"stored-5g", "deflated-5g"}) {
        SCOPED_TRACE(name);
        UnzipCall listing;
        EXPECT_EQ(listing.list(archive(name)), 0);
        ASSERT_EQ(listing.listed.size(), 1U);
        EXPECT_EQ(listing.listed[0].size, 0xFFFFFFFFU);
        EXPECT_EQ(listing.listed[0].mark, '+');
        UnzipCall call;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(call.test(archive(name)), 0);
        const std::chrono::duration<double, std::milli> took =
            std::chrono::steady_clock::now() - start;
        // On average as often as is promised; single ones may be late on a busy machine.
        EXPECT_LT(took.count() / (call.heartbeats + 1), 50);
        EXPECT_LT(static_cast<double>(call.longestSilence.count()), took.count() / 4);
    }
#ifndef __SANITIZE_ADDRESS__
    EXPECT_LT(peakMemory(), 160U << 20U);
#endif
}

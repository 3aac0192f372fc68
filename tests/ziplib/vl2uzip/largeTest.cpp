#include "tests/support/disk.h"
#include "tests/support/tool.h"
#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

// Archives that are too large to be kept among the test data. One test, so that they are made once.
TEST(LargeArchives, AreListedAndReadWithLittleMemoryAndRegularCallbacks) {
    const TestFolder folder;
    const auto made =
        runTool({"python3", dataFile("make-archives.py"), "--large", folder.path().string()});
    ASSERT_EQ(made.code, 0) << made.output;
    const auto archive = [&](const char *name) {
        return (folder / (name + std::string(".vl2"))).string();
    };

    const std::pair<const char *, std::size_t> counts[] = {
        {"entries-65535", 65535}, {"entries-65536", 65536}, {"entries-modulo", 65539}};
    for (const auto &[name, entries] : counts) {
        UnzipCall call;
        EXPECT_EQ(call.list(archive(name)), 0) << name;
        EXPECT_EQ(call.listed.size(), entries) << name;
    }

    for (const char *name : {"offset-4g-2", "offset-4g-1", "offset-4g", "offset-4g+1"}) {
        const TestFolder target;
        UnzipCall call;
        EXPECT_EQ(call.extract(archive(name), target.path()), 0) << name;
        EXPECT_EQ(readFile(target / "good.txt"), "good") << name;
    }

    const struct {
        const char *name;
        std::uint32_t size; // as the callback's 32 bits hold it
        char mark;          // whether they hold all of it
        bool read;          // takes seconds
    } rows[] = {{"stored-4g-2", 0xFFFFFFFE, ' ', false},
                {"stored-4g-1", 0xFFFFFFFF, ' ', true},
                {"stored-4g", 0xFFFFFFFF, '+', false},
                {"stored-4g+1", 0xFFFFFFFF, '+', true},
                {"deflated-4g+64m", 0xFFFFFFFF, '+', true}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        UnzipCall listing;
        EXPECT_EQ(listing.list(archive(row.name)), 0);
        ASSERT_EQ(listing.listed.size(), 1U);
        EXPECT_EQ(listing.listed[0].size, row.size);
        EXPECT_EQ(listing.listed[0].mark, row.mark);
        if (!row.read)
            continue;
        UnzipCall call;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(call.test(archive(row.name)), 0);
        const std::chrono::duration<double, std::milli> took =
            std::chrono::steady_clock::now() - start;
        // On average as often as promised; single callbacks may be late on a busy machine.
        EXPECT_LT(took.count() / (call.heartbeats + 1), 50);
        EXPECT_LT(static_cast<double>(call.longestSilence.count()), took.count() / 4);
    }
#ifndef __SANITIZE_ADDRESS__
    EXPECT_LT(peakMemory(), 160U << 20U);
#endif
}

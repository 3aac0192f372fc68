#include "tests/support/disk.h"
#include "tests/support/environment.h"
#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <tuple>

using Paths = std::vector<std::string>;

TEST(Callbacks, ComeInArchiveOrderOnTheCallersThreadWithAndWithoutWorkersAndMayBeMissing) {
    const std::size_t before = openHandles();
    for (const std::string archive :
         {"archives/python-zipfile", "archives/duplicates", "archives/attributes",
          "archives/encrypted", "hostile/file-is-folder", "hostile/overlap-quoted",
          "hostile/checksum-wrong", "hostile/names", "archives/case-only"}) {
        SCOPED_TRACE(archive);
        const TestFolder folder;
        UnzipCall calls[3];
        std::int32_t codes[3];
        for (const int i : {0, 1, 2}) {
            setVariable("ORVEL_WORKERS", i == 0 ? "" : "8");
            calls[i].withCallbacks = i != 2;
            calls[i].passwords = {"secret"};
            codes[i] = calls[i].extract(archive, folder / std::to_string(i));
            EXPECT_FALSE(calls[i].otherThread);
            EXPECT_FALSE(calls[i].wrongVersion);
        }
        EXPECT_EQ(calls[0].events, calls[1].events);
        EXPECT_EQ(calls[0].messages, calls[1].messages);
        for (const int i : {1, archive == "archives/encrypted" ? 1 : 2}) {
            EXPECT_EQ(codes[0], codes[i]);
            EXPECT_EQ(filesIn(folder / "0"), filesIn(folder / std::to_string(i)));
        }
    }
    setVariable("ORVEL_WORKERS", "");
    EXPECT_EQ(openHandles(), before);
}

// Also those that are left out, kept, damaged or not reached.
TEST(Callbacks, EveryEntryOfAnExtractionIsReportedOnceWithItsFile) {
    UnzipCall call;
    writeFile(call.folder / "a.txt", "mine");
    call.options.noflag = 0;
    EXPECT_EQ(call.extract("archives/duplicates"), 0);
    EXPECT_EQ(call.extracted,
              (Paths{"a.txt 3 3F5DD4E5 2A916CB5", "b.txt 1 71BEEFF9 2A916CB5 written",
                     "a.txt 3 6BE34445 2A916CB5"}));
    for (const std::string stop : {"", "a.txt"}) {
        UnzipCall damaged;
        damaged.stopAt = stop;
        damaged.extract("hostile/checksum-wrong");
        EXPECT_EQ(damaged.extracted, (Paths{"a.txt 2440 00000001 2A916CB5",
                                            std::string("good.txt 4 6C844E92 2A916CB5") +
                                                (stop.empty() ? " written" : "")}));
        EXPECT_FALSE(damaged.wrongVersion);
    }
    UnzipCall listing;
    listing.list("archives/duplicates");
    EXPECT_EQ(listing.extracted, Paths{});
}

TEST(Callbacks, TheServiceCallbackStopsTheCall) {
    UnzipCall call;
    call.stopAt = "maps/base/a.png";
    EXPECT_EQ(call.extract("archives/python-zipfile"), 80);
    EXPECT_EQ(call.processed.back(), "maps/base/a.png");
    for (const std::string &name : namesIn(call.folder.path()))
        EXPECT_EQ(name.find(".part"), std::string::npos);
}

TEST(Callbacks, AQuestionIsAskedAfterAllEarlierEntriesAreReported) {
    UnzipCall call;
    writeFile(call.folder / "readme.txt", "mine");
    call.options.noflag = 0;
    call.options.fQuiet = 2;
    call.answer = 102;
    EXPECT_EQ(call.extract("archives/python-zipfile"), 0);
    ASSERT_EQ(call.events.size(), 8U);
    EXPECT_EQ(call.events[4], "replace readme.txt");
    EXPECT_EQ(call.events[5], "service readme.txt");
}

TEST(Passwords, DecideWhatIsExtracted) {
    const Paths all = {"a.txt", "b.txt", "good.txt"};
    // The archive, the answers, the code, the number of requests and the extracted files.
    const std::tuple<std::string, Paths, int, std::size_t, Paths> rows[] = {
        {"encrypted", {"secret"}, 0, 1, all},
        {"encrypted", {"x", "y", "secret"}, 0, 3, all},
        {"encrypted", {"x", "y", "z", "x", "y", "z"}, 82, 6, {"good.txt"}},
        {"encrypted", {}, 82, 2, {"good.txt"}},
        {"encrypted-two", {"one", "two"}, 0, 2, {"a.txt", "b.txt"}},
        {"7zip-encrypted",
         {"secret"},
         0,
         1,
         {"maps/", "maps/base/", "maps/base/a.png", "readme.txt"}},
    };
    for (const auto &[archive, answers, code, asked, files] : rows) {
        SCOPED_TRACE(archive + std::to_string(answers.size()));
        UnzipCall call;
        call.passwords = answers;
        EXPECT_EQ(call.extract("archives/" + archive), code);
        EXPECT_EQ(call.asked, asked);
        EXPECT_EQ(namesIn(call.folder.path()), files);
    }
}

// One password in 256 passes the check byte: enough of them are tried.
TEST(Passwords, AWrongOneThatPassesTheCheckByteIsRefused) {
    const TestFolder folder;
    for (int i = 0; i < 1500; ++i) {
        UnzipCall call;
        call.wanted = {"a.txt"};
        call.passwords = {"wrong" + std::to_string(i)};
        ASSERT_EQ(call.extract("archives/encrypted", folder.path()), 82) << i;
        ASSERT_TRUE(filesIn(folder.path()).empty());
    }
}

#include "tests/support/disk.h"
#include "tests/support/environment.h"
#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

const char *const archives[] = {
    "archives/python-zipfile", "archives/duplicates",    "archives/attributes",
    "archives/encrypted",      "hostile/file-is-folder", "hostile/overlap-quoted",
    "hostile/checksum-wrong",  "hostile/name-dotdot",    "archives/case-only"};

std::int32_t secret(char *p, std::int32_t, const std::string &) {
    std::snprintf(p, 8, "secret");
    return 0;
}

} // namespace

TEST(Callbacks, ComeInArchiveOrderOnTheCallersThreadWithAnyNumberOfWorkersAndMayBeMissing) {
    const std::size_t before = openHandles();
    for (const char *archive : archives) {
        SCOPED_TRACE(archive);
        const TestFolder folder;
        UnzipCall calls[3];
        std::int32_t codes[3];
        for (const int i : {0, 1, 2}) {
            setVariable("ORVEL_WORKERS", i == 0 ? "1" : "8");
            calls[i].withCallbacks = i != 2;
            calls[i].password = secret;
            codes[i] = calls[i].extract(archive, folder / std::to_string(i));
            EXPECT_FALSE(calls[i].otherThread);
        }
        EXPECT_EQ(codes[0], codes[1]);
        EXPECT_EQ(calls[0].events, calls[1].events);
        EXPECT_EQ(calls[0].messages, calls[1].messages);
        EXPECT_EQ(filesIn(folder / "0"), filesIn(folder / "1"));
        if (archive != std::string("archives/encrypted")) {
            EXPECT_EQ(codes[0], codes[2]);
            EXPECT_EQ(filesIn(folder / "0"), filesIn(folder / "2"));
        }
    }
    setVariable("ORVEL_WORKERS", "");
    EXPECT_EQ(openHandles(), before);
}

TEST(Callbacks, TheServiceCallbackStopsTheCall) {
    const TestFolder folder;
    UnzipCall call;
    call.service = [](const std::string &name) { return name == "maps/base/a.png" ? 1 : 0; };
    EXPECT_EQ(call.extract("archives/python-zipfile", folder.path()), 80);
    EXPECT_EQ(call.processed.back(), "maps/base/a.png");
    for (const std::string &name : namesIn(folder.path()))
        EXPECT_EQ(name.find(".part"), std::string::npos);
}

TEST(Callbacks, AQuestionIsAskedAfterAllEarlierEntriesAreReported) {
    const TestFolder folder;
    writeFile(folder / "readme.txt", "mine");
    UnzipCall call;
    call.options.noflag = 0;
    call.options.fQuiet = 2;
    call.replace = [](const std::string &) { return 102; };
    EXPECT_EQ(call.extract("archives/python-zipfile", folder.path()), 0);
    EXPECT_EQ(call.events,
              (std::vector<std::string>{"service maps/", "service maps/base/",
                                        "service maps/base/a.png", "service maps/base/b.mis",
                                        "replace readme.txt", "service readme.txt",
                                        "service scripts/deep/er/x.cs", "service sound/w.wav"}));
}

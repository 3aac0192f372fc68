#include "tests/support/disk.h"
#include "tests/support/environment.h"
#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

// Works with a given number of threads while it lives.
class Workers {
  public:
    explicit Workers(const char *count) { setVariable("ORVEL_WORKERS", count); }
    ~Workers() { setVariable("ORVEL_WORKERS", ""); }
};

const char *const archives[] = {"archives/python-zipfile", "archives/duplicates",
                                "archives/attributes",     "archives/encrypted",
                                "hostile/file-is-folder",  "hostile/overlap-quoted",
                                "hostile/checksum-wrong",  "hostile/name-dotdot"};

std::int32_t secret(char *p, std::int32_t, const std::string &) {
    std::snprintf(p, 8, "secret");
    return 0;
}

} // namespace

TEST(Callbacks, ComeInArchiveOrderOnTheCallersThreadWithAnyNumberOfWorkers) {
    for (const char *name : archives) {
        SCOPED_TRACE(name);
        const ScratchFolder scratch;
        const std::string archive = dataFile(std::string(name) + ".vl2");
        UnzipCall calls[2];
        std::map<std::string, std::string> files[2];
        std::int32_t codes[2];
        for (const int i : {0, 1}) {
            const Workers workers(i == 0 ? "1" : "8");
            calls[i].password = secret;
            codes[i] = calls[i].extract(archive, scratch / std::to_string(i));
            files[i] = filesIn(scratch / std::to_string(i));
            EXPECT_FALSE(calls[i].otherThread);
        }
        EXPECT_EQ(codes[0], codes[1]);
        EXPECT_EQ(calls[0].events, calls[1].events);
        EXPECT_EQ(calls[0].messages, calls[1].messages);
        EXPECT_EQ(files[0], files[1]);
    }
}

TEST(Callbacks, MayAllBeMissing) {
    for (const char *name : archives) {
        const ScratchFolder scratch;
        UnzipCall with;
        const std::int32_t code = with.extract(dataFile(std::string(name) + ".vl2"), scratch / "a");
        UnzipCall without;
        without.withCallbacks = false;
        EXPECT_EQ(without.extract(dataFile(std::string(name) + ".vl2"), scratch / "b"), code);
        EXPECT_EQ(filesIn(scratch / "a"), filesIn(scratch / "b"));
    }
}

TEST(Callbacks, TheServiceCallbackStopsTheCall) {
    const ScratchFolder scratch;
    UnzipCall call;
    call.service = [](const std::string &name) { return name == "maps/base/a.png" ? 1 : 0; };
    EXPECT_EQ(call.extract(dataFile("archives/python-zipfile.vl2"), scratch.path()), 80);
    EXPECT_EQ(call.processed.back(), "maps/base/a.png");
    for (const auto &[name, content] : filesIn(scratch.path())) {
        EXPECT_EQ(name.find(".part"), std::string::npos);
    }
}

TEST(Callbacks, AQuestionIsAskedAfterAllEarlierEntriesAreTold) {
    const ScratchFolder scratch;
    writeFile(scratch / "readme.txt", "mine");
    UnzipCall call;
    call.options.noflag = 0;
    call.options.fQuiet = 2;
    call.replace = [](const std::string &) { return 102; };
    EXPECT_EQ(call.extract(dataFile("archives/python-zipfile.vl2"), scratch.path()), 0);
    EXPECT_EQ(call.events,
              (std::vector<std::string>{"service maps/", "service maps/base/",
                                        "service maps/base/a.png", "service maps/base/b.mis",
                                        "replace readme.txt", "service readme.txt",
                                        "service scripts/deep/er/x.cs", "service sound/w.wav"}));
}

TEST(Callbacks, LeaveNoFileHandleOpen) {
    const std::size_t before = openHandles();
    for (const char *name : archives) {
        const ScratchFolder scratch;
        UnzipCall call;
        call.extract(dataFile(std::string(name) + ".vl2"), scratch.path());
        call.list(dataFile(std::string(name) + ".vl2"));
    }
    EXPECT_EQ(openHandles(), before);
}

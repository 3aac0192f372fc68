#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <cstring>

using Paths = std::vector<std::string>;

namespace {

// Answers with one password after the other, then declines.
auto answering(Paths passwords, int *asked = nullptr) {
    return [passwords, asked, at = std::size_t{0}](char *p, std::int32_t n,
                                                   const std::string &) mutable {
        if (asked != nullptr) {
            ++*asked;
        }
        if (at == passwords.size()) {
            return 1;
        }
        EXPECT_GE(n, 255);
        std::strcpy(p, passwords[at++].c_str());
        return 0;
    };
}

} // namespace

TEST(Passwords, DecideWhatIsExtracted) {
    const struct {
        const char *title;
        const char *archive;
        Paths answers;
        std::int32_t code;
        int asked;
        Paths files;
    } rows[] = {
        {"right at once, asked once",
         "encrypted",
         {"secret"},
         0,
         1,
         {"a.txt", "b.txt", "good.txt"}},
        {"right at the third try",
         "encrypted",
         {"x", "y", "secret"},
         0,
         3,
         {"a.txt", "b.txt", "good.txt"}},
        {"wrong three times, for each",
         "encrypted",
         {"x", "y", "z", "x", "y", "z"},
         82,
         6,
         {"good.txt"}},
        {"declined for each", "encrypted", {}, 82, 2, {"good.txt"}},
        {"another for the second entry", "encrypted-two", {"one", "two"}, 0, 2, {"a.txt", "b.txt"}},
        {"made by 7-Zip",
         "7zip-encrypted",
         {"secret"},
         0,
         1,
         {"maps/", "maps/base/", "maps/base/a.png", "readme.txt"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.title);
        const ScratchFolder scratch;
        int asked = 0;
        UnzipCall call;
        call.password = answering(row.answers, &asked);
        EXPECT_EQ(
            call.extract(dataFile("archives/" + std::string(row.archive) + ".vl2"), scratch.path()),
            row.code);
        EXPECT_EQ(asked, row.asked);
        Paths found;
        for (const auto &[name, content] : filesIn(scratch.path())) {
            found.push_back(name);
        }
        EXPECT_EQ(found, row.files);
    }
}

TEST(Passwords, GiveTheRightContent) {
    const ScratchFolder scratch;
    UnzipCall plain;
    ASSERT_EQ(plain.extract(dataFile("archives/python-zipfile.vl2"), scratch / "plain"), 0);
    UnzipCall call;
    call.password = answering({"secret"});
    ASSERT_EQ(call.extract(dataFile("archives/7zip-encrypted.vl2"), scratch / "x"), 0);
    for (const char *name : {"readme.txt", "maps/base/a.png"}) {
        EXPECT_EQ(contentOf(scratch / "x" / name), contentOf(scratch / "plain" / name));
    }
}

TEST(Passwords, AWrongOneThatPassesTheQuickCheckIsFoundOut) {
    // One password of 256 passes the check byte: try enough to meet some.
    const ScratchFolder scratch;
    for (int i = 0; i < 1500; ++i) {
        UnzipCall call;
        call.options.fQuiet = 2;
        call.wanted = {"a.txt"};
        call.password = answering({"wrong" + std::to_string(i)});
        ASSERT_EQ(call.extract(dataFile("archives/encrypted.vl2"), scratch.path()), 82) << i;
        ASSERT_TRUE(filesIn(scratch.path()).empty());
    }
}

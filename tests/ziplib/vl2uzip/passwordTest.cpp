#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <cstdio>

using Paths = std::vector<std::string>;

namespace {

// Answers with each password in turn, then declines.
auto answering(Paths passwords, int *asked = nullptr) {
    return [passwords, asked, at = std::size_t{0}](char *p, std::int32_t n,
                                                   const std::string &) mutable {
        if (asked != nullptr)
            ++*asked;
        if (at == passwords.size())
            return 1;
        EXPECT_GE(n, 255);
        std::snprintf(p, static_cast<std::size_t>(n), "%s", passwords[at++].c_str());
        return 0;
    };
}

} // namespace

TEST(Passwords, DecideWhatIsExtracted) {
    const std::string one = "archives/encrypted";
    const Paths all = {"a.txt", "b.txt", "good.txt"};
    const struct {
        const char *title;
        std::string archive;
        Paths answers;
        std::int32_t code;
        int asked;
        Paths files;
    } rows[] = {
        {"right at once, asked once", one, {"secret"}, 0, 1, all},
        {"right at the third try", one, {"x", "y", "secret"}, 0, 3, all},
        {"wrong three times, for each", one, {"x", "y", "z", "x", "y", "z"}, 82, 6, {"good.txt"}},
        {"declined for each", one, {}, 82, 2, {"good.txt"}},
        {"two passwords", one + "-two", {"one", "two"}, 0, 2, {"a.txt", "b.txt"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.title);
        const TestFolder folder;
        int asked = 0;
        UnzipCall call;
        call.password = answering(row.answers, &asked);
        EXPECT_EQ(call.extract(row.archive, folder.path()), row.code);
        EXPECT_EQ(asked, row.asked);
        EXPECT_EQ(namesIn(folder.path()), row.files);
    }
}

TEST(Passwords, OpenAnArchiveOfAnotherTool) {
    const TestFolder folder;
    UnzipCall plain;
    plain.wanted = {"readme.txt", "maps/base/a.png"};
    ASSERT_EQ(plain.extract("archives/python-zipfile", folder / "plain"), 0);
    UnzipCall call;
    call.password = answering({"secret"});
    ASSERT_EQ(call.extract("archives/7zip-encrypted", folder / "x"), 0);
    EXPECT_EQ(filesIn(folder / "x"), filesIn(folder / "plain"));
}

TEST(Passwords, AWrongOneThatPassesTheCheckByteIsRefused) {
    // One password in 256 passes the check byte: try enough of them.
    const TestFolder folder;
    for (int i = 0; i < 1500; ++i) {
        UnzipCall call;
        call.options.fQuiet = 2;
        call.wanted = {"a.txt"};
        call.password = answering({"wrong" + std::to_string(i)});
        ASSERT_EQ(call.extract("archives/encrypted", folder.path()), 82) << i;
        ASSERT_TRUE(filesIn(folder.path()).empty());
    }
}

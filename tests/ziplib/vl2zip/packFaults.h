#pragma once

#include "tests/ziplib/vl2zip/packer.h"

#include <gtest/gtest.h>

#include <algorithm>

// An archive, and a work folder with one edited file.
class PackFaults : public testing::Test {
  protected:
    TestFolder folder;
    packer::fs::path base = folder / "base";
    packer::fs::path archive = base / "classic.vl2";
    packer::fs::path work = folder / "work";

    void SetUp() override {
        packer::fs::create_directories(base);
        writeFile(work / "a.txt", "before");
        ASSERT_EQ(packer::run(call()).code, 0);
        writeFile(work / "a.txt", "after");
        before = readFile(archive);
    }
    packer::Call call() { return {archive, work}; }

    // What comes of the call where this happens at its first file.
    packer::Result runWhile(const std::function<void()> &happens) {
        bool happened = false;
        auto pack = call();
        pack.onFile = [&](const std::string & /*name*/) {
            if (!happened) {
                happened = true;
                happens();
            }
            return 0;
        };
        auto result = packer::run(pack);
        EXPECT_TRUE(happened);
        return result;
    }

    // The call fails, says so last, and nothing is lost or left behind.
    void expectRefused(const packer::Result &result, std::vector<int> codes,
                       const std::string &text) {
        EXPECT_NE(std::find(codes.begin(), codes.end(), result.code), codes.end())
            << result.code << ' ' << result.all();
        EXPECT_NE(result.last().find(text), std::string::npos) << result.all();
        EXPECT_EQ(readFile(archive), before);
        EXPECT_TRUE(packer::temporaries(folder.path()).empty());
    }

    std::string before;
};

#pragma once

#include "tests/ziplib/vl2zip/packer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <system_error>
#include <thread>

// Moves a file or folder. Some systems refuse that for as long as somebody reads what is moved or
// replaced: then it is tried again, as whoever wants it moved would.
inline void moveTo(const std::filesystem::path &from, const std::filesystem::path &to) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    std::error_code error;
    for (std::filesystem::rename(from, to, error); error;
         std::filesystem::rename(from, to, error)) {
        ASSERT_LT(std::chrono::steady_clock::now(), end) << from << ": " << error.message();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

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
        return runWhile(call(), happens);
    }
    static packer::Result runWhile(packer::Call pack, const std::function<void()> &happens) {
        bool happened = false;
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

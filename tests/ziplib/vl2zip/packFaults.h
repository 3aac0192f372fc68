#pragma once

#include "tests/ziplib/vl2zip/packer.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <thread>

// Moves a file or folder. Windows refuses that while a file of it is open: then it is tried again.
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
class PackFaults : public packer::Pack {
  protected:
    void SetUp() override {
        Pack::SetUp();
        writeFile(work / "a.txt", "before");
        ASSERT_EQ(packer::run(call()).code, 0);
        writeFile(work / "a.txt", "after");
        before = readFile(archive);
    }

    // The result of the call if this happens at its first file.
    packer::Result runWhile(const std::function<void()> &happens, packer::Names patterns = {"*"}) {
        auto pack = call();
        pack.patterns = std::move(patterns);
        pack.base = mergeBase;
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

    // The call failed, its last message has this text, and nothing is lost or left behind.
    void expectRefused(const packer::Result &result, std::vector<int> codes,
                       const std::string &text) {
        EXPECT_NE(std::find(codes.begin(), codes.end(), result.code), codes.end())
            << result.code << ' ' << result.all();
        EXPECT_NE(result.last().find(text), std::string::npos) << result.all();
        EXPECT_EQ(readFile(archive), before);
        EXPECT_TRUE(packer::temporaries(folder.path()).empty());
    }

    std::string before;
    decltype(packer::Call::base) mergeBase; // of runWhile
};

#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// A folder of its own for each test. Paths in it are absolute.
class ScratchFolder : public testing::Test {
  protected:
    ScratchFolder() {
        static int count = 0;
        const auto now = std::filesystem::file_time_type::clock::now().time_since_epoch().count();
        root = std::filesystem::temp_directory_path() /
               ("orvel-test-" + std::to_string(now) + "-" + std::to_string(++count));
        std::filesystem::create_directories(root);
    }
    ~ScratchFolder() override {
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }

    std::string at(const std::string &name) const { return (root / name).string(); }
    void put(const std::string &name, const std::string &content = "content") const {
        std::filesystem::create_directories((root / name).parent_path());
        std::ofstream(root / name, std::ios::binary) << content;
    }
    std::string content(const std::string &name) const {
        std::ifstream stream(root / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    bool exists(const std::string &name) const { return std::filesystem::exists(root / name); }
    std::size_t count() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(root),
                                                      std::filesystem::directory_iterator()));
    }

    std::filesystem::path root;
};

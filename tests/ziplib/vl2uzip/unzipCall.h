#pragma once

#include "tests/support/files.h"
#include "ziplib/vl2uzip.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <thread>

// One call of the library, with everything that it reported. Archives are files below tests/data
// ("hostile/link"), or absolute paths.
struct UnzipCall {
    struct Listed {
        std::string path;
        std::string method;
        std::string date; // "2001-04-17 13:37"
        std::uint32_t size;
        std::uint32_t compressedSize;
        std::int32_t factor;
        std::uint32_t crc;
        char encrypted;
        char mark;
        bool operator==(const Listed &) const = default;
    };

    UnzipCall();

    DCL options{};
    std::vector<std::string> wanted;
    std::vector<std::string> unwanted;
    // The answers of the program; unset ones are null pointers for the library.
    std::function<std::int32_t(const std::string &)> replace;
    std::function<std::int32_t(char *p, std::int32_t n, const std::string &name)> password;
    std::function<std::int32_t(const std::string &)> service;
    bool withCallbacks = true;

    // The results.
    bool otherThread = false;
    int heartbeats = 0;
    std::chrono::milliseconds longestSilence{0};
    std::vector<std::string> messages;
    std::vector<Listed> listed;
    std::vector<std::string> processed;
    std::vector<std::string> events; // all callbacks but heartbeats, in order
    USERFUNCTIONS functions{};

    std::int32_t list(const std::string &archive);
    std::int32_t extract(const std::string &archive, const std::filesystem::path &target);
    std::int32_t test(const std::string &archive);
    std::vector<std::string> listedPaths() const;

    std::int32_t run(const std::string &archive, std::string target);
    void heard();

    std::chrono::steady_clock::time_point last;
    std::thread::id thread;
};

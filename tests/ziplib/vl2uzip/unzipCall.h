#pragma once

#include "tests/support/files.h"
#include "ziplib/vl2uzip.h"

#include <chrono>
#include <cstdint>
#include <thread>

// One call of the library, with everything that it reported. Archives are files below tests/data
// ("hostile/link"), or absolute paths.
struct UnzipCall {
    UnzipCall() { options.ndflag = options.noflag = 1; }

    TestFolder folder; // the target unless another is given

    DCL options{};
    std::vector<std::string> wanted;
    std::vector<std::string> unwanted;
    std::int32_t answer = 0; // to each question about an existing file; 0 for no such callback
    std::vector<std::string> passwords; // the answers in turn; then requests are declined
    std::string stopAt;                 // the entry at which the program stops the call
    bool withCallbacks = true;

    // The results.
    bool otherThread = false;
    int heartbeats = 0;
    std::chrono::milliseconds longestSilence{0};
    std::size_t asked = 0; // questions and requests for passwords
    std::vector<std::string> messages;
    // "path|method|2001-04-17 13:37|size|compressed size|factor|CRC|marks for encrypted and too
    // large"
    std::vector<std::string> listed;
    std::vector<std::string> paths; // of the listed entries
    std::vector<std::string> processed;
    // "path size CRC time" of each reported entry, and " written" or " not written".
    std::vector<std::string> extracted;
    std::vector<std::string> plain;  // of these, the files without any attribute
    bool wrongVersion = false;       // a reported file is not the one in the folder
    std::vector<std::string> events; // all callbacks but heartbeats, in order
    USERFUNCTIONS functions{};

    std::int32_t list(const std::string &archive);
    std::int32_t extract(const std::string &archive) { return extract(archive, folder.path()); }
    std::int32_t extract(const std::string &archive, const std::filesystem::path &target);

    std::int32_t run(const std::string &archive, std::string target);
    void heard(const std::string &event = {});

    std::chrono::steady_clock::time_point last;
    std::thread::id thread;
};

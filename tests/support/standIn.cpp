#include "tests/support/standIn.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace fs = std::filesystem;

namespace {

void put(const fs::path &file, const std::string &bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

// Saves a file as an editor would.
void save(const std::string &manner, const fs::path &file) {
    const fs::path other = file.string() + ".other";
    if (manner == "by rename") {
        put(other, "changed");
        fs::rename(other, file);
    } else if (manner == "with a backup") {
        fs::rename(file, other);
        put(file, "changed");
        fs::remove(other);
    } else if (!manner.empty()) {
        put(file, "changed");
    }
}

} // namespace

// Stands in for a program of the user: saves the file that it is given, in the manner that a file
// beside it names, and records its command line beside itself or in the file that ORVEL_RECORD
// names. The record gets its name when it is complete.
int main(int, char **arguments) {
    const std::string self = arguments[0];
    const std::string line = ownCommandLine();
    const char *named = std::getenv("ORVEL_RECORD");
    const std::string record = named != nullptr ? named : self + ".started";
    std::string manner;
    std::getline(std::ifstream(self + ".manner"), manner);
    const bool later = manner == "later";
    if (!later)
        save(manner, fileOf(line));
    put(record + ".state", inheritedState());
    put(record + ".part", line);
    fs::rename(record + ".part", record);
    if (later) {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        save(manner, fileOf(line));
    }
    return manner == "fail" ? 3 : 0;
}

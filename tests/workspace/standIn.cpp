#include "tests/workspace/standIn.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace fs = std::filesystem;

namespace {

void put(const fs::path &file, const std::string &bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

// What editors do to a file when their user saves it.
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

// Stands for a program of the user's: saves the file that it was given, in the manner that a file
// beside it names, and writes down the command line that it was started with. Renamed when whole:
// who waits for the record reads it at once.
int main(int, char **arguments) {
    const std::string self = arguments[0];
    const std::string line = ownCommandLine();
    std::string manner;
    std::getline(std::ifstream(self + ".manner"), manner);
    const bool later = manner == "later";
    if (!later)
        save(manner, fileOf(line));
    put(self + ".part", line);
    fs::rename(self + ".part", self + ".started");
    if (later) {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        save(manner, fileOf(line));
    }
}

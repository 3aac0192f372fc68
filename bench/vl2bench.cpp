// Runs one operation on an archive and prints its time, sync time and peak memory as JSON. Each
// operation is a process of its own, so that it can be timed like other tools.

#include "bench/syncClock.h"
#include "bench/treeReader.h"
#include "platform/workFolderCleaner.h"
#include "ziplib/vl2uzip.h"
#include "ziplib/vl2zip.h"

#include <QString>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Listing {
    std::vector<std::string> names;
    std::string lastMessage;
};

Listing &listing() {
    static Listing instance;
    return instance;
}

std::int32_t storeMessage(char *buffer, std::uint32_t size) {
    if (size > 1)
        listing().lastMessage.assign(buffer, size);
    return 0;
}

void storeEntry(std::uint32_t, std::uint32_t, std::int32_t, std::int32_t, std::int32_t,
                std::int32_t, std::int32_t, std::int32_t, char, char *filename, char *,
                std::uint32_t, char) {
    listing().names.emplace_back(filename);
}

std::int32_t continueWork(char *, std::uint32_t) {
    return 0;
}

std::int32_t unzip(std::string archive, std::string folder, bool list) {
    DCL options{};
    options.ndflag = 1;
    options.nvflag = list ? 1 : 0;
    options.lpszZipFN = archive.data();
    options.lpszExtractDir = folder.data();
    USERFUNCTIONS callbacks{};
    callbacks.print = storeMessage;
    callbacks.SendApplicationMessage = storeEntry;
    callbacks.ServCallBk = continueWork;
    return Wiz_SingleEntryUnzip(0, nullptr, 0, nullptr, &options, &callbacks);
}

std::int32_t save(std::string archive, std::string folder) {
    ZIPUSERFUNCTIONS callbacks{storeMessage, nullptr, nullptr, continueWork};
    ZpInit(&callbacks);
    ZPOPT options{};
    options.szRootDir = folder.data();
    options.fNoDirEntries = 1;
    options.fRecurse = 2;
    ZpSetOptions(&options);
    std::string pattern = "*";
    char *names[] = {pattern.data(), nullptr, nullptr};
    ZCL call{};
    call.argc = 1;
    call.lpszZipFN = archive.data();
    call.FNV = names;
    return ZpArchive(call);
}

// The clean-up in the program's order: listed files, other files in the folders, the folders from
// the deepest up, the work folder.
std::int32_t clean(const std::string &archive, const std::string &folder) {
    const std::int32_t code = unzip(archive, "", true);
    if (code > 1)
        return code;
    platform::WorkFolderCleaner cleaner(QString::fromStdString(folder));
    std::set<std::string, std::greater<>> folders; // subfolders first
    for (const std::string &name : listing().names) {
        for (std::size_t cut = name.rfind('/'); cut != std::string::npos && cut > 0;
             cut = name.rfind('/', cut - 1))
            if (!folders.insert(name.substr(0, cut)).second)
                break;
        if (!name.empty() && name.back() != '/')
            cleaner.deleteFile(QString::fromStdString(name));
    }
    for (const std::string &path : folders) {
        cleaner.deleteFilesIn(QString::fromStdString(path));
        cleaner.removeFolder(QString::fromStdString(path));
    }
    cleaner.deleteFilesIn(QString());
    return cleaner.removeFolder(QString()) ? 0 : 1;
}

// Peak memory of this process; getrusage would include the parent's before exec.
long peakKib() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.starts_with("VmHWM:"))
            return std::stol(line.substr(6));
    return -1;
}

int usage() {
    std::fputs("usage: vl2bench list ARCHIVE | extract ARCHIVE FOLDER | save ARCHIVE FOLDER |\n"
               "                clean ARCHIVE FOLDER | read FOLDER\n",
               stderr);
    return 64;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 3)
        return usage();
    const std::string verb = argv[1];
    const auto start = std::chrono::steady_clock::now();
    std::int32_t code = 0;
    std::uint64_t count = 0;
    if (verb == "list" && argc == 3) {
        code = unzip(argv[2], "", true);
        count = listing().names.size();
    } else if (verb == "extract" && argc == 4) {
        code = unzip(argv[2], argv[3], false);
    } else if (verb == "save" && argc == 4) {
        code = save(argv[2], argv[3]);
    } else if (verb == "clean" && argc == 4) {
        code = clean(argv[2], argv[3]);
        count = listing().names.size();
    } else if (verb == "read" && argc == 3) {
        count = bench::readTree(argv[2], std::max(1U, std::thread::hardware_concurrency())).files;
    } else {
        return usage();
    }
    const std::chrono::duration<double, std::milli> spent =
        std::chrono::steady_clock::now() - start;
    std::printf("{\"code\": %d, \"count\": %llu, \"ms\": %.3f, \"sync_ms\": %.3f, \"peak_kib\": "
                "%ld}\n",
                code, static_cast<unsigned long long>(count), spent.count(),
                bench::syncMilliseconds(), peakKib());
    if (code != 0)
        std::fprintf(stderr, "vl2bench: code %d: %s\n", code, listing().lastMessage.c_str());
    return code == 0 ? 0 : 1;
}

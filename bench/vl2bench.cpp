// Runs one operation on an archive and prints its time, sync time and peak memory as JSON. Each
// operation is a process of its own, so that it can be timed like other tools.

#include "archive/cZip.h"
#include "archive/workRecord.h"
#include "bench/syncClock.h"
#include "bench/treeReader.h"
#include "platform/workFolderCleaner.h"
#include "ziplib/vl2uzip.h"
#include "ziplib/vl2zip.h"

#include <QFileInfo>
#include <QString>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Listing {
    std::vector<std::string> names;
    std::vector<std::uint32_t> crcs;
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
                std::uint32_t crc, char) {
    listing().names.emplace_back(filename);
    listing().crcs.push_back(crc);
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

// Writes two files with an archive's bytes and syncs each: what a safe save costs at least.
std::int32_t writeTwice(const std::string &archive, const std::string &folder) {
    std::ifstream source(archive, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(source), {}};
    for (const char *name : {"/first", "/second"}) {
        const int file = open((folder + name).c_str(), O_WRONLY | O_CREAT | O_EXCL, 0666);
        if (file < 0 || write(file, bytes.data(), bytes.size()) != std::ssize(bytes) ||
            fsync(file) != 0 || close(file) != 0)
            return 1;
    }
    return 0;
}

// A save as the window makes it, with what the record knows of the extracted files. `packed`
// receives the files that may be deleted after it.
std::int32_t saveExtracted(const std::string &archive, const std::string &folder,
                           std::optional<platform::PackedFiles> &packed) {
    const QFileInfo path(QString::fromStdString(folder));
    bool known = true;
    cZip zip;
    zip.setZipFile(QString::fromStdString(archive));
    zip.setBasePath(path.absoluteFilePath());
    zip.setStoreFolderNames(true);
    zip.setRecurseSubDirs(true);
    zip.AddFileSpec("*");
    zip.setBase([&](const auto &take) {
        const auto record = WorkRecord::read(path.absolutePath(), path.fileName());
        known = record.has_value();
        if (record)
            std::for_each(record->entries().begin(), record->entries().end(), take);
        return known;
    });
    zip.Zip();
    packed = zip.TakePacked();
    if (!known)
        return 1;
    listing().lastMessage = zip.LastResult().message.toStdString();
    return zip.LastResult().code;
}

// Writes the record of a work folder as an extraction does.
std::int32_t record(const std::string &archive, const std::string &folder) {
    const std::int32_t code = unzip(archive, "", true);
    const QFileInfo path(QString::fromStdString(folder));
    platform::Folder top;
    platform::FileInfo now;
    const auto seen = WorkRecord::archiveAt(QString::fromStdString(archive));
    if (code > 1 || !seen || !top.open(folder).ok() || !top.newFileInfo(now).ok())
        return 1;
    WorkRecord made(*seen, now);
    for (std::size_t i = 0; i < listing().names.size(); ++i) {
        WorkRecord::Entry entry;
        platform::InputFile file;
        entry.path = listing().names[i];
        entry.crc = listing().crcs[i];
        entry.written = file.open(platform::Location{folder, entry.path}, entry.file).ok();
        entry.size = entry.file.size;
        made.put(std::move(entry));
    }
    return made.write(path.absolutePath(), path.fileName()).ok() ? 0 : 1;
}

// The clean-up in the program's order: listed files, other files in the folders, the folders from
// the deepest up, the work folder. `saved`, if there are any: only these are deleted. `cancels`:
// files that the record does not know go to the trash.
std::int32_t clean(const std::string &archive, const std::string &folder, bool cancels,
                   const std::optional<platform::PackedFiles> &saved = {}) {
    const std::int32_t code = unzip(archive, "", true);
    if (code > 1)
        return code;
    platform::WorkFolderCleaner cleaner(QString::fromStdString(folder));
    const QFileInfo place(QString::fromStdString(folder));
    platform::PackedFiles known;
    if (cancels) {
        const auto read = WorkRecord::read(place.absolutePath(), place.fileName());
        if (!read)
            return 1;
        known = read->knownFiles(nullptr);
        cleaner.trashOthers(known);
    }
    if (saved)
        cleaner.deleteOnly(*saved);
    std::set<std::string, std::greater<>> folders; // subfolders first
    const std::vector<std::string> &names = listing().names;
    cleaner.deleteFiles(
        static_cast<int>(names.size()),
        [&](int i) { return QString::fromStdString(names[static_cast<std::size_t>(i)]); },
        [](int, bool) {});
    for (const std::string &name : names) {
        for (std::size_t cut = name.rfind('/'); cut != std::string::npos && cut > 0;
             cut = name.rfind('/', cut - 1))
            if (!folders.insert(name.substr(0, cut)).second)
                break;
    }
    for (const std::string &path : folders) {
        cleaner.deleteFilesIn(QString::fromStdString(path));
        cleaner.removeFolder(QString::fromStdString(path));
    }
    cleaner.deleteFilesIn(QString());
    const bool removed = cleaner.removeFolder(QString());
    WorkRecord::remove(place.absolutePath(), place.fileName());
    return removed ? 0 : 1;
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
               "                record ARCHIVE FOLDER | save-extracted ARCHIVE FOLDER |\n"
               "                save-and-clean ARCHIVE FOLDER |\n"
               "                clean ARCHIVE FOLDER | cancel ARCHIVE FOLDER |\n"
               "                write-twice ARCHIVE FOLDER | read FOLDER\n",
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
    } else if (verb == "write-twice" && argc == 4) {
        code = writeTwice(argv[2], argv[3]);
    } else if ((verb == "save-extracted" || verb == "save-and-clean") && argc == 4) {
        std::optional<platform::PackedFiles> packed;
        code = saveExtracted(argv[2], argv[3], packed);
        if (code == 0 && verb == "save-and-clean")
            code = clean(argv[2], argv[3], false, packed);
    } else if (verb == "record" && argc == 4) {
        code = record(argv[2], argv[3]);
    } else if ((verb == "clean" || verb == "cancel") && argc == 4) {
        code = clean(argv[2], argv[3], verb == "cancel");
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

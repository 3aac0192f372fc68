#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <algorithm>
#include <cstdio>

namespace fs = std::filesystem;

namespace {

// The call in progress: the library passes no data of the caller to the callbacks.
UnzipCall *current = nullptr;

int32_t onPrint(char *buffer, uint32_t size) {
    current->heard();
    if (size == 0) {
        ++current->heartbeats;
    } else {
        current->messages.emplace_back(buffer, size);
        current->events.push_back("print");
    }
    return 0;
}

int32_t onReplace(char *name) {
    current->heard();
    current->events.push_back(std::string("replace ") + name);
    return current->replace(name);
}

int32_t onPassword(char *p, int32_t n, char *, char *name) {
    current->heard();
    current->events.push_back(std::string("password ") + name);
    return current->password(p, n, name);
}

void onEntry(uint32_t size, uint32_t packed, int32_t factor, int32_t month, int32_t day,
             int32_t year, int32_t hour, int32_t minute, char c, char *name, char *method,
             uint32_t crc, char encrypted) {
    current->heard();
    char date[64];
    std::snprintf(date, sizeof date, "%04d-%02d-%02d %02d:%02d", year, month, day, hour, minute);
    current->listed.push_back({name, method, date, size, packed, factor, crc, encrypted, c});
}

int32_t onService(char *name, uint32_t size) {
    current->heard();
    if (size != std::string(name).size() + 1)
        current->events.push_back("wrong size for " + std::string(name));
    current->processed.emplace_back(name);
    current->events.push_back(std::string("service ") + name);
    return current->service ? current->service(name) : 0;
}

std::vector<char *> table(std::vector<std::string> &names) {
    std::vector<char *> slots;
    slots.reserve(names.size() + 1);
    for (std::string &name : names)
        slots.push_back(name.data());
    slots.push_back(nullptr);
    return slots;
}

} // namespace

UnzipCall::UnzipCall() {
    options.ndflag = 1;
    options.noflag = 1;
}

void UnzipCall::heard() {
    const auto now = std::chrono::steady_clock::now();
    longestSilence =
        std::max(longestSilence, std::chrono::duration_cast<std::chrono::milliseconds>(now - last));
    last = now;
    otherThread = otherThread || std::this_thread::get_id() != thread;
}

std::int32_t UnzipCall::run(const std::string &archive, std::string target) {
    const bool whole = archive.empty() || fs::path(archive).is_absolute();
    std::string path = whole ? archive : dataFile(archive + ".vl2");
    options.lpszZipFN = path.data();
    options.lpszExtractDir = target.data();
    if (withCallbacks) {
        functions.print = onPrint;
        functions.replace = replace ? onReplace : nullptr;
        functions.password = password ? onPassword : nullptr;
        functions.SendApplicationMessage = onEntry;
        functions.ServCallBk = onService;
    }
    std::vector<char *> names = table(wanted);
    std::vector<char *> others = table(unwanted);
    current = this;
    thread = std::this_thread::get_id();
    last = std::chrono::steady_clock::now();
    const std::int32_t code = Wiz_SingleEntryUnzip(
        static_cast<std::int32_t>(wanted.size()), names.data(),
        static_cast<std::int32_t>(unwanted.size()), others.data(), &options, &functions);
    heard();
    return code;
}

std::int32_t UnzipCall::list(const std::string &archive) {
    options.nvflag = 1;
    return run(archive, "");
}

std::int32_t UnzipCall::extract(const std::string &archive, const fs::path &target) {
    options.nvflag = 0;
    return run(archive, target.string());
}

std::int32_t UnzipCall::test(const std::string &archive) {
    options.ntflag = 1;
    return run(archive, "");
}

std::vector<std::string> UnzipCall::listedPaths() const {
    std::vector<std::string> paths;
    for (const Listed &entry : listed)
        paths.push_back(entry.path);
    return paths;
}

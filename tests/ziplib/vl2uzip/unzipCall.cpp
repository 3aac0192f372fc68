#include "tests/ziplib/vl2uzip/unzipCall.h"

#include "storage/storage.h"

#include <algorithm>
#include <cstdio>

namespace fs = std::filesystem;

namespace {

// The call in progress: the library passes no data of the caller to the callbacks.
UnzipCall *current = nullptr;

int32_t onPrint(char *buffer, uint32_t size) {
    current->heard(size == 0 ? "" : "print");
    if (size == 0)
        ++current->heartbeats;
    else
        current->messages.emplace_back(buffer, size);
    return 0;
}

int32_t onReplace(char *name) {
    current->heard(std::string("replace ") + name);
    ++current->asked;
    return current->answer;
}

int32_t onPassword(char *p, int32_t n, char *, char *name) {
    current->heard(std::string("password ") + name);
    if (current->asked++ >= current->passwords.size() || n < 255)
        return 1;
    std::snprintf(p, static_cast<std::size_t>(n), "%s",
                  current->passwords[current->asked - 1].c_str());
    return 0;
}

void onEntry(uint32_t size, uint32_t packed, int32_t factor, int32_t month, int32_t day,
             int32_t year, int32_t hour, int32_t minute, char c, char *name, char *method,
             uint32_t crc, char encrypted) {
    current->heard();
    char text[128];
    std::snprintf(text, sizeof text, "|%04d-%02d-%02d %02d:%02d|%u|%u|%d|%08X|%c%c", year, month,
                  day, hour, minute, size, packed, factor, crc, encrypted, c);
    current->paths.push_back(name);
    current->listed.push_back(name + std::string("|") + method + text);
}

int32_t onService(char *name, uint32_t size) {
    const std::string text(name);
    current->heard((size == text.size() + 1 ? "service " : "wrong size for ") + text);
    current->processed.push_back(text);
    return text == current->stopAt && !text.empty() ? 1 : 0;
}

void onExtracted(const UZPEXTRACTED *entry) {
    const std::string path(entry->path);
    current->heard();
    char text[64];
    std::snprintf(text, sizeof text, " %u %08X %08X", static_cast<unsigned>(entry->size),
                  entry->crc, entry->time);
    current->extracted.push_back(path + text + (entry->written != 0 ? " written" : ""));
    if (entry->written == 2)
        current->plain.push_back(path);
    platform::FileInfo info;
    platform::InputFile file;
    if (entry->written != 0 &&
        (!file.open(current->options.lpszExtractDir + ('/' + path), info).ok() ||
         info.device != entry->device || info.id != entry->id || info.size != entry->fileSize ||
         info.modified != entry->modified || info.changed != entry->changed))
        current->wrongVersion = true;
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

void UnzipCall::heard(const std::string &event) {
    const auto now = std::chrono::steady_clock::now();
    longestSilence =
        std::max(longestSilence, std::chrono::duration_cast<std::chrono::milliseconds>(now - last));
    last = now;
    otherThread = otherThread || std::this_thread::get_id() != thread;
    if (!event.empty())
        events.push_back(event);
}

std::int32_t UnzipCall::run(const std::string &archive, std::string target) {
    const bool whole = archive.empty() || fs::path(archive).is_absolute();
    std::string path = whole ? archive : dataFile(archive + ".vl2");
    options.lpszZipFN = path.data();
    options.lpszExtractDir = target.data();
    if (withCallbacks) {
        functions.print = onPrint;
        functions.replace = answer != 0 ? onReplace : nullptr;
        functions.password = onPassword;
        functions.SendApplicationMessage = onEntry;
        functions.ServCallBk = onService;
    }
    UzpReportExtracted(withCallbacks ? onExtracted : nullptr);
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
